// Vector kernels for x86 processors with AVX2: 256-bit versions of the
// busiest pairs. Same block-and-tail scheme as the SSSE3 set, same bytes as
// the scalar kernels. (Palette lookups through gathers measured slower than
// the scalar kernel and are not here.)
#include "color/convert_simd_x86.h"

#if VXKRN_X86

#include <immintrin.h>

#include <cstring>

#include "color/convert_kernels.h"

#define VXKRN_AVX2 __attribute__((target("avx2")))

namespace vxkrn::color::avx2 {
namespace {

// Two 16-byte loads into the low and high lanes.
VXKRN_AVX2 __m256i load_lanes(const uint8_t *low, const uint8_t *high) {
  return _mm256_inserti128_si256(
      _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i *>(low))),
      _mm_loadu_si128(reinterpret_cast<const __m128i *>(high)), 1);
}

VXKRN_AVX2 void rgb24_to_gray8(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  // Per lane: four 3-byte pixels into 4-byte slots, weighted 2/5/1 by
  // position, pairs summed: eight gray8 sums per register.
  const __m256i spread = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1, 0,
                                          1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
  const __m256i weights = _mm256_set1_epi32(gray_weights(c)), ones = _mm256_set1_epi16(1);
  const __m256i round = _mm256_set1_epi32(4);
  const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
  uint64_t i = 0;
  // 32 pixels per step; the last read ends 4 bytes past them.
  for (; i + 34 <= width; i += 32) {
    const uint8_t *s = buffer + 3 * i;
    __m256i g[4];
    for (int k = 0; k < 4; ++k) {
      const __m256i v = _mm256_shuffle_epi8(load_lanes(s + 24 * k, s + 24 * k + 12), spread);
      const __m256i sums = _mm256_madd_epi16(_mm256_maddubs_epi16(v, weights), ones);
      g[k] = _mm256_srli_epi32(_mm256_add_epi32(sums, round), 3);
    }
    // Lane-wise packing leaves 4-pixel groups interleaved by lane: reorder.
    const __m256i bytes =
        _mm256_packus_epi16(_mm256_packs_epi32(g[0], g[1]), _mm256_packs_epi32(g[2], g[3]));
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(buffer + i),
                        _mm256_permutevar8x32_epi32(bytes, order));
  }
  kernels::rgb24_to_gray8(buffer, i, width, c);
}

// 1-bit indices: four source bytes become 32 bytes; backward.
VXKRN_AVX2 void packed1_to_index8(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  const __m256i zero_index = _mm256_set1_epi8(static_cast<char>(c.table[0]));
  const __m256i flip =
      _mm256_xor_si256(zero_index, _mm256_set1_epi8(static_cast<char>(c.table[1])));
  const __m256i spread = _mm256_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 2,
                                          2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3);
  const __m256i bits = _mm256_setr_epi8(-128, 64, 32, 16, 8, 4, 2, 1, -128, 64, 32, 16, 8, 4, 2, 1,
                                        -128, 64, 32, 16, 8, 4, 2, 1, -128, 64, 32, 16, 8, 4, 2, 1);
  const uint64_t blocks = width / 32;
  kernels::NextRowWarmer warmer(buffer, width);
  kernels::packed_to_index8<1>(buffer, 32 * blocks, width, c);
  for (uint64_t k = blocks; k-- > 0;) {
    warmer.advance(width - 32 * k);
    int32_t four;
    std::memcpy(&four, buffer + 4 * k, 4);
    const __m256i set = _mm256_cmpeq_epi8(
        _mm256_and_si256(_mm256_shuffle_epi8(_mm256_set1_epi32(four), spread), bits), bits);
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(buffer + 32 * k),
                        _mm256_xor_si256(zero_index, _mm256_and_si256(set, flip)));
  }
}

// 4-bit indices: 32 source bytes become 64 bytes through a 16-entry table;
// backward.
VXKRN_AVX2 void packed4_to_index8(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  int8_t entries[16];
  nibble_table(c, entries);
  const __m256i table =
      _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i *>(entries)));
  const __m256i low_nibbles = _mm256_set1_epi8(0x0F);
  const uint64_t blocks = width / 64;
  kernels::NextRowWarmer warmer(buffer, width);
  kernels::packed_to_index8<4>(buffer, 64 * blocks, width, c);
  for (uint64_t k = blocks; k-- > 0;) {
    warmer.advance(width - 64 * k);
    const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(buffer + 32 * k));
    const __m256i first =
        _mm256_shuffle_epi8(table, _mm256_and_si256(_mm256_srli_epi16(v, 4), low_nibbles));
    const __m256i second = _mm256_shuffle_epi8(table, _mm256_and_si256(v, low_nibbles));
    const __m256i low = _mm256_unpacklo_epi8(first, second);
    const __m256i high = _mm256_unpackhi_epi8(first, second);
    auto *d = reinterpret_cast<__m256i *>(buffer + 64 * k);
    _mm256_storeu_si256(d, _mm256_permute2x128_si256(low, high, 0x20));
    _mm256_storeu_si256(d + 1, _mm256_permute2x128_si256(low, high, 0x31));
  }
}

// A 16-byte shuffle mask in both lanes.
VXKRN_AVX2 __m256i both_lanes(const int8_t (&mask)[16]) {
  return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i *>(mask)));
}

// The 5-bit field at `shift` of sixteen words, widened to 8 bits.
template <int Shift>
VXKRN_AVX2 __m256i widened_field(__m256i words) {
  const __m256i v = _mm256_and_si256(_mm256_srli_epi16(words, Shift), _mm256_set1_epi16(0x1F));
  return _mm256_or_si256(_mm256_slli_epi16(v, 3), _mm256_srli_epi16(v, 2));
}

// 5-5-5 words to 24 bits, sixteen per step (eight per lane, 24 bytes each);
// backward. Swap: the field in bits 0-4 goes to output byte 2, not 0.
template <bool Swap>
VXKRN_AVX2 void rgb555_to_rgb24(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  const EightPixelLayout &layout = kEightPixelLayout;
  const __m256i m_lo_pair = both_lanes(layout.head_pair),
                m_lo_third = both_lanes(layout.head_third);
  const __m256i m_hi_pair = both_lanes(layout.tail_pair),
                m_hi_third = both_lanes(layout.tail_third);
  const uint64_t blocks = width / 16;
  kernels::NextRowWarmer warmer(buffer, 3 * width);
  kernels::rgb555_to_rgb24(buffer, 16 * blocks, width, c);
  for (uint64_t k = blocks; k-- > 0;) {
    warmer.advance(3 * width - 48 * k);
    const __m256i words = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(buffer + 32 * k));
    const __m256i low = widened_field<0>(words), green = widened_field<5>(words),
                  high = widened_field<10>(words);
    const __m256i first = Swap ? high : low, third = Swap ? low : high;
    const __m256i pair =
        _mm256_unpacklo_epi8(_mm256_packus_epi16(first, first), _mm256_packus_epi16(green, green));
    const __m256i thirds = _mm256_packus_epi16(third, third);
    const __m256i head = _mm256_or_si256(_mm256_shuffle_epi8(pair, m_lo_pair),
                                         _mm256_shuffle_epi8(thirds, m_lo_third));
    const __m256i tail = _mm256_or_si256(_mm256_shuffle_epi8(pair, m_hi_pair),
                                         _mm256_shuffle_epi8(thirds, m_hi_third));
    uint8_t *d = buffer + 48 * k;
    _mm_storeu_si128(reinterpret_cast<__m128i *>(d), _mm256_castsi256_si128(head));
    _mm_storel_epi64(reinterpret_cast<__m128i *>(d + 16), _mm256_castsi256_si128(tail));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(d + 24), _mm256_extracti128_si256(head, 1));
    _mm_storel_epi64(reinterpret_cast<__m128i *>(d + 40), _mm256_extracti128_si256(tail, 1));
  }
}

// Picks the variant by where the low field has to go.
void rgb555_to_rgb24_any(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  if (rgb555_field_order(c).first_shift == 0)
    rgb555_to_rgb24<false>(buffer, width, c);
  else
    rgb555_to_rgb24<true>(buffer, width, c);
}

}  // namespace

void install(SimdKernels &kernels) noexcept {
  kernels.rgb555_to_rgb24 = rgb555_to_rgb24_any;
  kernels.rgb24_to_gray8 = rgb24_to_gray8;
  kernels.packed1_to_index8 = packed1_to_index8;
  kernels.packed4_to_index8 = packed4_to_index8;
}

}  // namespace vxkrn::color::avx2

#endif  // VXKRN_X86
