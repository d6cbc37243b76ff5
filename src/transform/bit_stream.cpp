// Bit realignment, sixteen bytes at a time where SSE2 is there: each pair of
// neighbouring bytes forms a 16-bit lane, one lane shift moves the bits, and
// the wanted byte of each lane is packed back.
#include "transform/bit_stream.h"

#include <algorithm>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vxkrn::transform {
namespace {

// Byte i of the stream, zero outside it.
inline uint32_t at(const uint8_t *in, uint32_t in_bytes, int64_t i) {
  return i >= 0 && i < in_bytes ? in[i] : 0;
}

// Bytes [0, end) towards the start, every byte and its successor inside `in`.
uint32_t left_block(const uint8_t *in, uint8_t *out, uint32_t end, int shift) {
  uint32_t i = 0;
#if defined(__SSE2__)
  const __m128i count = _mm_cvtsi32_si128(shift);
  for (; i + 16 <= end; i += 16) {
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i *>(in + i));
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i *>(in + i + 1));
    // Lanes a << 8 | b: after the shift the high byte is the result.
    const __m128i lo = _mm_srli_epi16(_mm_sll_epi16(_mm_unpacklo_epi8(b, a), count), 8);
    const __m128i hi = _mm_srli_epi16(_mm_sll_epi16(_mm_unpackhi_epi8(b, a), count), 8);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out + i), _mm_packus_epi16(lo, hi));
  }
#endif
  for (; i < end; ++i)
    out[i] = static_cast<uint8_t>(in[i] << shift | in[i + 1] >> (8 - shift));
  return i;
}

// Bytes [1, end) towards the end, every byte and its predecessor inside `in`.
uint32_t right_block(const uint8_t *in, uint8_t *out, uint32_t end, int shift) {
  uint32_t i = 1;
#if defined(__SSE2__)
  const __m128i count = _mm_cvtsi32_si128(shift);
  const __m128i low_bytes = _mm_set1_epi16(0xFF);
  for (; i + 16 <= end; i += 16) {
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i *>(in + i));
    const __m128i p = _mm_loadu_si128(reinterpret_cast<const __m128i *>(in + i - 1));
    // Lanes p << 8 | a: after the shift the low byte is the result.
    const __m128i lo = _mm_and_si128(_mm_srl_epi16(_mm_unpacklo_epi8(a, p), count), low_bytes);
    const __m128i hi = _mm_and_si128(_mm_srl_epi16(_mm_unpackhi_epi8(a, p), count), low_bytes);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out + i), _mm_packus_epi16(lo, hi));
  }
#endif
  for (; i < end; ++i)
    out[i] = static_cast<uint8_t>(in[i] >> shift | in[i - 1] << (8 - shift));
  return i;
}

}  // namespace

void shift_stream(const uint8_t *in, uint32_t in_bytes, uint8_t *out, uint32_t out_bytes,
                  int shift) noexcept {
  if (out_bytes == 0) return;
  uint32_t i = 0;
  if (shift > 0) {
    // Bytes whose successor lies in the stream first; the rest take zeros.
    if (in_bytes > 1) i = left_block(in, out, std::min(in_bytes - 1, out_bytes), shift);
    for (; i < out_bytes; ++i)
      out[i] = static_cast<uint8_t>(at(in, in_bytes, i) << shift |
                                    at(in, in_bytes, int64_t{i} + 1) >> (8 - shift));
  } else if (shift < 0) {
    const int s = -shift;
    out[0] = static_cast<uint8_t>(at(in, in_bytes, 0) >> s);
    i = right_block(in, out, std::min(in_bytes, out_bytes), s);
    for (; i < out_bytes; ++i)
      out[i] = static_cast<uint8_t>(at(in, in_bytes, i) >> s | at(in, in_bytes, int64_t{i} - 1)
                                                                   << (8 - s));
  } else {
    for (; i < out_bytes; ++i)
      out[i] = static_cast<uint8_t>(at(in, in_bytes, i));
  }
}

}  // namespace vxkrn::transform
