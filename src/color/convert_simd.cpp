// The one dispatch point of the vector kernels: one table per level is
// built once per process from what the processor supports, and each call
// takes the table of the current cap.
#include "color/convert_simd.h"

#include <atomic>

#include "color/convert_simd_x86.h"
#include "core/once.h"

namespace vxkrn::color {
namespace {

constexpr int kLevels = static_cast<int>(SimdLevel::Avx2) + 1;

// By level: none, SSSE3 alone, SSSE3 with the AVX2 kernels over it.
SimdKernels g_tables[kLevels];
std::atomic<int> g_tables_state{0};

// Kept out of line: inlined, it costs every call register saves.
[[gnu::noinline]] void build_tables() {
#if VXKRN_X86
  const SimdLevel supported = supported_simd_level();
  if (supported >= SimdLevel::Ssse3) ssse3::install(g_tables[static_cast<int>(SimdLevel::Ssse3)]);
  g_tables[static_cast<int>(SimdLevel::Avx2)] = g_tables[static_cast<int>(SimdLevel::Ssse3)];
  if (supported >= SimdLevel::Avx2) avx2::install(g_tables[static_cast<int>(SimdLevel::Avx2)]);
#endif
}

}  // namespace

const SimdKernels &simd_kernels() noexcept {
  core::run_once(g_tables_state, build_tables);
  return g_tables[static_cast<int>(platform::simd_level())];
}

}  // namespace vxkrn::color
