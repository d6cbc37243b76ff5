// Vector kernels for x86 processors with SSSE3 (byte shuffles). Each kernel
// covers whole blocks in the pair's walking direction and hands the
// remaining pixels to its scalar twin, so the bytes are the same.
#include "color/convert_simd_x86.h"

#if VXKRN_X86

#include "platform/shuffle_x86.h"

#include "color/convert_kernels.h"

namespace vxkrn::color::ssse3 {
namespace {

using platform::mask_of;
using platform::permutation;
using platform::Permute48;
using platform::permuted;

VXKRN_SSSE3 void swap_24(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  // Sixteen pixels per three registers, byte 3p + s from byte 3p + 2 - s.
  const Permute48 swap = permutation([](int j) { return j - j % 3 + 2 - j % 3; });
  uint64_t i = 0;
  for (; i + 16 <= width; i += 16) {
    auto *p = reinterpret_cast<__m128i *>(buffer + 3 * i);
    const __m128i in[3] = {_mm_loadu_si128(p), _mm_loadu_si128(p + 1), _mm_loadu_si128(p + 2)};
    for (int k = 0; k < 3; ++k)
      _mm_storeu_si128(p + k, permuted(swap, k, in));
  }
  kernels::swap_24(buffer, i, width, c);
}

VXKRN_SSSE3 void rgb24_to_rgba32(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  int8_t indices[16];
  for (int p = 0; p < 4; ++p) {
    indices[4 * p + c.dst.red] = static_cast<int8_t>(3 * p + c.src.red);
    indices[4 * p + 1] = static_cast<int8_t>(3 * p + 1);
    indices[4 * p + c.dst.blue] = static_cast<int8_t>(3 * p + c.src.blue);
    indices[4 * p + 3] = -1;
  }
  const __m128i m = mask_of(indices);
  const __m128i alpha = _mm_set1_epi32(static_cast<int>(uint32_t{narrow(c.alpha_fill)} << 24));
  const uint64_t blocks = width / 4;
  kernels::NextRowWarmer warmer(buffer, 4 * width);
  kernels::rgb24_to_rgba32(buffer, 4 * blocks, width, c);
  // Backward: a block's 16-byte read ends before the next block's output.
  for (uint64_t k = blocks; k-- > 0;) {
    warmer.advance(4 * width - 16 * k);
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(buffer + 12 * k));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(buffer + 16 * k),
                     _mm_or_si128(_mm_shuffle_epi8(v, m), alpha));
  }
}

VXKRN_SSSE3 void rgba32_to_rgb24(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  int8_t indices[16];
  for (int p = 0; p < 4; ++p) {
    indices[3 * p + c.dst.red] = static_cast<int8_t>(4 * p + c.src.red);
    indices[3 * p + 1] = static_cast<int8_t>(4 * p + 1);
    indices[3 * p + c.dst.blue] = static_cast<int8_t>(4 * p + c.src.blue);
  }
  for (int k = 12; k < 16; ++k)
    indices[k] = -1;
  const __m128i m = mask_of(indices);
  uint64_t i = 0;
  // The 16-byte store must stay inside the 24-bit row.
  for (; i + 6 <= width; i += 4) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(buffer + 4 * i));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(buffer + 3 * i), _mm_shuffle_epi8(v, m));
  }
  kernels::rgba32_to_rgb24(buffer, i, width, c);
}

// Four 3-byte pixels spread into 4-byte slots, the fourth byte zero.
VXKRN_SSSE3 __m128i spread_pixels() {
  return _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
}

// gray8 sums (before rounding) of four pixels at p (reads 16 bytes).
VXKRN_SSSE3 __m128i gray_sums(const uint8_t *p, __m128i spread, __m128i weights) {
  const __m128i v = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(p)), spread);
  return _mm_madd_epi16(_mm_maddubs_epi16(v, weights), _mm_set1_epi16(1));
}

VXKRN_SSSE3 void rgb24_to_gray8(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  const __m128i spread = spread_pixels();
  const __m128i weights = _mm_set1_epi32(gray_weights(c));
  const __m128i round = _mm_set1_epi32(4);
  uint64_t i = 0;
  // Sixteen pixels per step; the last 16-byte read ends 4 bytes past them.
  for (; i + 18 <= width; i += 16) {
    const uint8_t *s = buffer + 3 * i;
    __m128i g[4];
    for (int k = 0; k < 4; ++k)
      g[k] = _mm_srli_epi32(_mm_add_epi32(gray_sums(s + 12 * k, spread, weights), round), 3);
    const __m128i bytes =
        _mm_packus_epi16(_mm_packs_epi32(g[0], g[1]), _mm_packs_epi32(g[2], g[3]));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(buffer + i), bytes);
  }
  kernels::rgb24_to_gray8(buffer, i, width, c);
}

// Sixteen source bytes of 4-bit indices become 32 bytes through a 16-entry
// table; walks backward a block at a time.
VXKRN_SSSE3 void packed4_to_index8(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  int8_t entries[16];
  nibble_table(c, entries);
  const __m128i table = mask_of(entries), low_nibbles = _mm_set1_epi8(0x0F);
  const uint64_t blocks = width / 32;
  kernels::NextRowWarmer warmer(buffer, width);
  kernels::packed_to_index8<4>(buffer, 32 * blocks, width, c);
  for (uint64_t k = blocks; k-- > 0;) {
    warmer.advance(width - 32 * k);
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(buffer + 16 * k));
    const __m128i first = _mm_shuffle_epi8(table, _mm_and_si128(_mm_srli_epi16(v, 4), low_nibbles));
    const __m128i second = _mm_shuffle_epi8(table, _mm_and_si128(v, low_nibbles));
    auto *d = reinterpret_cast<__m128i *>(buffer + 32 * k);
    _mm_storeu_si128(d, _mm_unpacklo_epi8(first, second));
    _mm_storeu_si128(d + 1, _mm_unpackhi_epi8(first, second));
  }
}

// Two source bytes of 1-bit indices become 16 bytes: each bit selects one of
// the two mapped indices; walks backward.
VXKRN_SSSE3 void packed1_to_index8(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  const __m128i zero_index = _mm_set1_epi8(static_cast<char>(c.table[0]));
  const __m128i flip = _mm_xor_si128(zero_index, _mm_set1_epi8(static_cast<char>(c.table[1])));
  const __m128i spread = _mm_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1);
  const __m128i bits = _mm_setr_epi8(-128, 64, 32, 16, 8, 4, 2, 1, -128, 64, 32, 16, 8, 4, 2, 1);
  const uint64_t blocks = width / 16;
  kernels::NextRowWarmer warmer(buffer, width);
  kernels::packed_to_index8<1>(buffer, 16 * blocks, width, c);
  for (uint64_t k = blocks; k-- > 0;) {
    warmer.advance(width - 16 * k);
    const int pair = buffer[2 * k] | buffer[2 * k + 1] << 8;
    const __m128i set = _mm_cmpeq_epi8(
        _mm_and_si128(_mm_shuffle_epi8(_mm_cvtsi32_si128(pair), spread), bits), bits);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(buffer + 16 * k),
                     _mm_xor_si128(zero_index, _mm_and_si128(set, flip)));
  }
}

// One 5-bit field of eight words, widened to 8 bits in 16-bit lanes.
VXKRN_SSSE3 __m128i expand_field(__m128i words, int shift) {
  const __m128i v =
      _mm_and_si128(_mm_srl_epi16(words, _mm_cvtsi32_si128(shift)), _mm_set1_epi16(0x1F));
  return _mm_or_si128(_mm_slli_epi16(v, 3), _mm_srli_epi16(v, 2));
}

// Eight 5-5-5 words become 24 bytes; walks backward.
VXKRN_SSSE3 void rgb555_to_rgb24(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  const EightPixelLayout &layout = kEightPixelLayout;
  const __m128i m_lo_pair = mask_of(layout.head_pair), m_lo_third = mask_of(layout.head_third),
                m_hi_pair = mask_of(layout.tail_pair), m_hi_third = mask_of(layout.tail_third);
  const FieldOrder order = rgb555_field_order(c);
  const uint64_t blocks = width / 8;
  kernels::NextRowWarmer warmer(buffer, 3 * width);
  kernels::rgb555_to_rgb24(buffer, 8 * blocks, width, c);
  for (uint64_t k = blocks; k-- > 0;) {
    warmer.advance(3 * width - 24 * k);
    const __m128i words = _mm_loadu_si128(reinterpret_cast<const __m128i *>(buffer + 16 * k));
    const __m128i first = expand_field(words, order.first_shift);
    const __m128i green = expand_field(words, c.src.green);
    const __m128i third = expand_field(words, order.third_shift);
    const __m128i firsts_and_greens =
        _mm_unpacklo_epi8(_mm_packus_epi16(first, first), _mm_packus_epi16(green, green));
    const __m128i thirds = _mm_packus_epi16(third, third);
    uint8_t *d = buffer + 24 * k;
    _mm_storeu_si128(reinterpret_cast<__m128i *>(d),
                     _mm_or_si128(_mm_shuffle_epi8(firsts_and_greens, m_lo_pair),
                                  _mm_shuffle_epi8(thirds, m_lo_third)));
    _mm_storel_epi64(reinterpret_cast<__m128i *>(d + 16),
                     _mm_or_si128(_mm_shuffle_epi8(firsts_and_greens, m_hi_pair),
                                  _mm_shuffle_epi8(thirds, m_hi_third)));
  }
}

// Eight 48-bit pixels become 24 bytes of their high bytes, channel order
// kept; walks forward.
VXKRN_SSSE3 void rgb48_to_rgb24(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  uint64_t i = 0;
  for (; i + 8 <= width; i += 8) {
    const auto *s = reinterpret_cast<const __m128i *>(buffer + 6 * i);
    const __m128i a = _mm_srli_epi16(_mm_loadu_si128(s), 8);
    const __m128i b = _mm_srli_epi16(_mm_loadu_si128(s + 1), 8);
    const __m128i d = _mm_srli_epi16(_mm_loadu_si128(s + 2), 8);
    uint8_t *out = buffer + 3 * i;
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out), _mm_packus_epi16(a, b));
    _mm_storel_epi64(reinterpret_cast<__m128i *>(out + 16), _mm_packus_epi16(d, d));
  }
  kernels::rgb48_to_rgb24(buffer, i, width, c);
}

}  // namespace

void install(SimdKernels &kernels) noexcept {
  kernels.swap_24 = swap_24;
  kernels.rgb24_to_rgba32 = rgb24_to_rgba32;
  kernels.rgba32_to_rgb24 = rgba32_to_rgb24;
  kernels.rgb24_to_gray8 = rgb24_to_gray8;
  kernels.packed1_to_index8 = packed1_to_index8;
  kernels.packed4_to_index8 = packed4_to_index8;
  kernels.rgb555_to_rgb24 = rgb555_to_rgb24;
  kernels.rgb48_to_rgb24 = rgb48_to_rgb24;
}

}  // namespace vxkrn::color::ssse3

#endif  // VXKRN_X86
