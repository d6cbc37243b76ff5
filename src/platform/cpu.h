// What the processor offers the vector kernels, and the one cap on it that
// tests use to run every kernel set, down to the scalar code, on one
// machine. Every family's kernels are chosen from simd_level().
#pragma once

namespace vxkrn::platform {

// Instruction set levels, each including the ones before it.
enum class SimdLevel : int { None, Ssse3, Avx2 };

// The highest level this processor runs.
SimdLevel supported_simd_level() noexcept;

// The level kernels may use now: the supported one, capped.
SimdLevel simd_level() noexcept;

// Cap the level (the default is no cap: SimdLevel::Avx2).
void set_simd_cap(SimdLevel cap) noexcept;

}  // namespace vxkrn::platform
