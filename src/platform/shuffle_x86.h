// Byte shuffles shared by the SSSE3 kernels of every family: masks and
// 48-byte permutations (sixteen 3-byte pixels in three registers). Only
// for x86; include it from files that check VXKRN_X86 first.
#pragma once

#include <tmmintrin.h>

#include <cstdint>

#define VXKRN_SSSE3 __attribute__((target("ssse3")))

namespace vxkrn::platform {

// A shuffle mask from 16 byte indices (-1: zero).
inline VXKRN_SSSE3 __m128i mask_of(const int8_t (&indices)[16]) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i *>(indices));
}

// A permutation of 48 bytes held in three registers: output register k
// takes from input register r the bytes mask[k][r] names.
struct Permute48 {
  __m128i mask[3][3];
};
template <class SourceOf>
inline VXKRN_SSSE3 Permute48 permutation(SourceOf source_of) {
  Permute48 p;
  for (int k = 0; k < 3; ++k) {
    for (int r = 0; r < 3; ++r) {
      int8_t indices[16];
      for (int j = 0; j < 16; ++j) {
        const int from = source_of(16 * k + j);
        indices[j] = static_cast<int8_t>(from >= 0 && from / 16 == r ? from % 16 : -1);
      }
      p.mask[k][r] = mask_of(indices);
    }
  }
  return p;
}
inline VXKRN_SSSE3 __m128i permuted(const Permute48 &p, int k, const __m128i in[3]) {
  return _mm_or_si128(
      _mm_or_si128(_mm_shuffle_epi8(in[0], p.mask[k][0]), _mm_shuffle_epi8(in[1], p.mask[k][1])),
      _mm_shuffle_epi8(in[2], p.mask[k][2]));
}

}  // namespace vxkrn::platform
