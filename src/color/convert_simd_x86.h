// The x86 vector kernel sets. Each install() fills the entries its
// instruction set serves; the dispatch point calls them in order of
// preference after asking the processor what it supports.
#pragma once

#include "color/convert_simd.h"

#if defined(__x86_64__) || defined(__i386__)
#define VXKRN_X86 1
#else
#define VXKRN_X86 0
#endif

#if VXKRN_X86
namespace vxkrn::color {

// Shuffle masks that lay out eight 3-byte pixels (24 bytes: 16, then 8)
// from two registers: one holding each pixel's first and green bytes
// interleaved, one holding each pixel's third byte.
struct EightPixelLayout {
  int8_t head_pair[16], head_third[16], tail_pair[16], tail_third[16];
};
inline constexpr EightPixelLayout kEightPixelLayout = [] {
  EightPixelLayout m{};
  for (int k = 0; k < 32; ++k) {
    const int p = k / 3, slot = k % 3;
    const bool inside = k < 24;
    int8_t &pair = k < 16 ? m.head_pair[k] : m.tail_pair[k - 16];
    int8_t &third = k < 16 ? m.head_third[k] : m.tail_third[k - 16];
    pair = static_cast<int8_t>(inside && slot != 2 ? 2 * p + slot : -1);
    third = static_cast<int8_t>(inside && slot == 2 ? p : -1);
  }
  return m;
}();

}  // namespace vxkrn::color

namespace vxkrn::color::ssse3 {
void install(SimdKernels &kernels) noexcept;
}
namespace vxkrn::color::avx2 {
void install(SimdKernels &kernels) noexcept;
}
#endif
