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
SimdLevel g_supported = SimdLevel::None;
std::atomic<int> g_tables_state{0};
std::atomic<int> g_cap{static_cast<int>(SimdLevel::Avx2)};

// Kept out of line: inlined, it costs every call register saves.
[[gnu::noinline]] void build_tables() {
#if VXKRN_X86
  if (__builtin_cpu_supports("ssse3")) {
    ssse3::install(g_tables[static_cast<int>(SimdLevel::Ssse3)]);
    g_supported = SimdLevel::Ssse3;
  }
  g_tables[static_cast<int>(SimdLevel::Avx2)] = g_tables[static_cast<int>(SimdLevel::Ssse3)];
  if (__builtin_cpu_supports("avx2")) {
    avx2::install(g_tables[static_cast<int>(SimdLevel::Avx2)]);
    g_supported = SimdLevel::Avx2;
  }
#endif
}

}  // namespace

const SimdKernels &simd_kernels() noexcept {
  core::run_once(g_tables_state, build_tables);
  return g_tables[g_cap.load(std::memory_order_relaxed)];
}

SimdLevel supported_simd_level() noexcept {
  core::run_once(g_tables_state, build_tables);
  return g_supported;
}

void set_simd_cap(SimdLevel cap) noexcept {
  g_cap.store(static_cast<int>(cap));
}

}  // namespace vxkrn::color
