// Processor features, asked once per call of the cheap builtin (it reads
// what the run-time found at start-up), and the cap.
#include "platform/cpu.h"

#include <atomic>

namespace vxkrn::platform {
namespace {

std::atomic<int> g_cap{static_cast<int>(SimdLevel::Avx2)};

}  // namespace

SimdLevel supported_simd_level() noexcept {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_cpu_init();
  if (!__builtin_cpu_supports("ssse3")) return SimdLevel::None;
  return __builtin_cpu_supports("avx2") ? SimdLevel::Avx2 : SimdLevel::Ssse3;
#else
  return SimdLevel::None;
#endif
}

SimdLevel simd_level() noexcept {
  const int supported = static_cast<int>(supported_simd_level());
  const int cap = g_cap.load(std::memory_order_relaxed);
  return static_cast<SimdLevel>(supported < cap ? supported : cap);
}

void set_simd_cap(SimdLevel cap) noexcept {
  g_cap.store(static_cast<int>(cap));
}

}  // namespace vxkrn::platform
