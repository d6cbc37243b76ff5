// The one dispatch point of the vector kernels: the set is chosen once per
// process from what the processor supports.
#include "color/convert_simd.h"

#include <atomic>

#include "color/convert_simd_x86.h"
#include "core/once.h"

namespace vxkrn::color {
namespace {

SimdKernels g_kernels;
std::atomic<int> g_kernels_state{0};
std::atomic<bool> g_enabled{true};
const SimdKernels kNone{};

void choose_kernels() {
#if VXKRN_X86
  if (__builtin_cpu_supports("ssse3")) ssse3::install(g_kernels);
  if (__builtin_cpu_supports("avx2")) avx2::install(g_kernels);
#endif
}

}  // namespace

const SimdKernels &simd_kernels() noexcept {
  if (!g_enabled.load(std::memory_order_relaxed)) return kNone;
  core::run_once(g_kernels_state, choose_kernels);
  return g_kernels;
}

void set_simd_enabled(bool enabled) noexcept {
  g_enabled.store(enabled);
}

}  // namespace vxkrn::color
