// SSSE3 kernels of the 3-byte pixel turns and mirrors, where byte shuffles
// pay most: sixteen pixels reversed by one 48-byte permutation, and a
// 16 x 16 block turned by spreading its pixels to 4-byte slots, transposing
// 4 x 4 blocks of those and packing them again.
#include "transform/orient_simd.h"

#if VXKRN_ORIENT_X86

#include <cstring>

#include "platform/shuffle_x86.h"

namespace vxkrn::transform::ssse3 {
namespace {

using platform::mask_of;
using platform::permutation;
using platform::Permute48;
using platform::permuted;

VXKRN_SSSE3 void load48(const std::uint8_t *p, __m128i v[3]) {
  for (int k = 0; k < 3; ++k)
    v[k] = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p) + k);
}
VXKRN_SSSE3 void store48(std::uint8_t *p, const __m128i v[3]) {
  for (int k = 0; k < 3; ++k)
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p) + k, v[k]);
}

// Pixel 15 - p of a block as pixel p.
VXKRN_SSSE3 void reverse16(const Permute48 &reverse, const __m128i in[3], __m128i out[3]) {
  for (int k = 0; k < 3; ++k)
    out[k] = permuted(reverse, k, in);
}

VXKRN_SSSE3 Permute48 reversal() {
  return permutation([](int j) { return 3 * (15 - j / 3) + j % 3; });
}

// Four pixels of 3 bytes into four 4-byte slots (fourth byte zero), and back.
VXKRN_SSSE3 __m128i spread_mask() {
  const int8_t m[16] = {0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1};
  return mask_of(m);
}
VXKRN_SSSE3 __m128i pack_mask() {
  const int8_t m[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1};
  return mask_of(m);
}

}  // namespace

VXKRN_SSSE3 std::uint64_t mirror_24(const std::uint8_t *in, std::uint8_t *out,
                                    std::uint64_t width) noexcept {
  const Permute48 reverse = reversal();
  __m128i a[3], b[3], ra[3], rb[3];
  if (in == out) {
    std::uint64_t done = 0;
    for (; width - 2 * done >= 32; done += 16) {
      std::uint8_t *left = out + 3 * done, *right = out + 3 * (width - done - 16);
      load48(left, a);
      load48(right, b);
      reverse16(reverse, a, ra);
      reverse16(reverse, b, rb);
      store48(left, rb);
      store48(right, ra);
    }
    return done;
  }
  std::uint64_t done = 0;
  for (; done + 16 <= width; done += 16) {
    load48(in + 3 * (width - done - 16), a);
    reverse16(reverse, a, ra);
    store48(out + 3 * done, ra);
  }
  return done;
}

VXKRN_SSSE3 std::uint64_t mirror_bytes(const std::uint8_t *in, std::uint8_t *out,
                                       std::uint64_t bytes, const std::uint8_t *table) noexcept {
  // The reversal is a permutation of bits, so a byte's image is the OR of
  // its nibbles' images: two 16-entry shuffles per 16 bytes.
  int8_t low[16], high[16], backwards[16];
  for (int n = 0; n < 16; ++n) {
    low[n] = static_cast<int8_t>(table[n]);
    high[n] = static_cast<int8_t>(table[n << 4]);
    backwards[n] = static_cast<int8_t>(15 - n);
  }
  const __m128i t_low = mask_of(low), t_high = mask_of(high), order = mask_of(backwards),
                nibble = _mm_set1_epi8(0x0F);
  const auto reverse = [&](const std::uint8_t *p) VXKRN_SSSE3 {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
    const __m128i bits =
        _mm_or_si128(_mm_shuffle_epi8(t_low, _mm_and_si128(v, nibble)),
                     _mm_shuffle_epi8(t_high, _mm_and_si128(_mm_srli_epi16(v, 4), nibble)));
    return _mm_shuffle_epi8(bits, order);
  };
  std::uint64_t done = 0;
  if (in == out) {
    for (; bytes - 2 * done >= 32; done += 16) {
      std::uint8_t *left = out + done, *right = out + bytes - done - 16;
      const __m128i a = reverse(left), b = reverse(right);
      _mm_storeu_si128(reinterpret_cast<__m128i *>(left), b);
      _mm_storeu_si128(reinterpret_cast<__m128i *>(right), a);
    }
    return done;
  }
  for (; done + 16 <= bytes; done += 16)
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out + done), reverse(in + bytes - done - 16));
  return done;
}

VXKRN_SSSE3 void turn_block_24(const PixelRect &s, const PixelRect &d, std::uint32_t r,
                               std::uint32_t c, bool clockwise) noexcept {
  const std::uint32_t h = s.rows, w = s.columns;
  const std::size_t column = std::size_t{clockwise ? r : w - 16 - r} * 3;
  const __m128i spread = spread_mask(), pack = pack_mask();
  __m128i rows[16][4];  // [source row k][pixels 4q .. 4q + 3] in 4-byte slots
  for (std::uint32_t k = 0; k < 16; ++k) {
    const std::uint32_t row = clockwise ? h - 1 - (c + k) : c + k;
    __m128i v[3];
    load48(s.data + row * s.stride + column, v);
    rows[k][0] = _mm_shuffle_epi8(v[0], spread);
    rows[k][1] = _mm_shuffle_epi8(_mm_alignr_epi8(v[1], v[0], 12), spread);
    rows[k][2] = _mm_shuffle_epi8(_mm_alignr_epi8(v[2], v[1], 8), spread);
    rows[k][3] = _mm_shuffle_epi8(_mm_srli_si128(v[2], 4), spread);
  }
  // 4 x 4 blocks of slots transposed: column group q of row group g becomes
  // row group q, column group g.
  __m128i cols[16][4];
  for (int g = 0; g < 4; ++g)
    for (int q = 0; q < 4; ++q) {
      const __m128i t0 = _mm_unpacklo_epi32(rows[4 * g][q], rows[4 * g + 1][q]),
                    t1 = _mm_unpacklo_epi32(rows[4 * g + 2][q], rows[4 * g + 3][q]),
                    t2 = _mm_unpackhi_epi32(rows[4 * g][q], rows[4 * g + 1][q]),
                    t3 = _mm_unpackhi_epi32(rows[4 * g + 2][q], rows[4 * g + 3][q]);
      cols[4 * q][g] = _mm_unpacklo_epi64(t0, t1);
      cols[4 * q + 1][g] = _mm_unpackhi_epi64(t0, t1);
      cols[4 * q + 2][g] = _mm_unpacklo_epi64(t2, t3);
      cols[4 * q + 3][g] = _mm_unpackhi_epi64(t2, t3);
    }
  for (std::uint32_t j = 0; j < 16; ++j) {
    const __m128i *slots = cols[clockwise ? j : 15 - j];
    const __m128i p0 = _mm_shuffle_epi8(slots[0], pack), p1 = _mm_shuffle_epi8(slots[1], pack),
                  p2 = _mm_shuffle_epi8(slots[2], pack), p3 = _mm_shuffle_epi8(slots[3], pack);
    const __m128i out[3] = {_mm_or_si128(p0, _mm_slli_si128(p1, 12)),
                            _mm_or_si128(_mm_srli_si128(p1, 4), _mm_slli_si128(p2, 8)),
                            _mm_or_si128(_mm_srli_si128(p2, 8), _mm_slli_si128(p3, 4))};
    store48(d.data + (r + j) * d.stride + std::size_t{c} * 3, out);
  }
}

}  // namespace vxkrn::transform::ssse3

#endif
