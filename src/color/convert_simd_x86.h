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
namespace vxkrn::color::ssse3 {
void install(SimdKernels &kernels) noexcept;
}
namespace vxkrn::color::avx2 {
void install(SimdKernels &kernels) noexcept;
}
#endif
