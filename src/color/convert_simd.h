// The one dispatch point of the vector kernels: chosen once per process
// from what the processor offers. A null entry means no vector kernel; the
// scalar fast path serves.
#pragma once

#include "color/convert_engine.h"

namespace vxkrn::color {

struct SimdKernels {
  ConvertFn swap_24 = nullptr;
  ConvertFn rgb24_to_rgba32 = nullptr;
  ConvertFn rgba32_to_rgb24 = nullptr;
  ConvertFn rgb24_to_gray8 = nullptr;
  ConvertFn packed1_to_index8 = nullptr;
  ConvertFn packed4_to_index8 = nullptr;
  ConvertFn rgb555_to_rgb24 = nullptr;
  ConvertFn rgb48_to_rgb24 = nullptr;  // same channel order on both sides only
};

// Instruction set levels of the kernels, each including the ones before it.
enum class SimdLevel : int { None, Ssse3, Avx2 };

const SimdKernels &simd_kernels() noexcept;

// The highest level this processor runs.
SimdLevel supported_simd_level() noexcept;

// Tests cap the level to run every kernel set, down to the scalar kernels,
// on one machine: a processor with AVX2 otherwise never runs the SSSE3
// versions of the kernels both sets have. The default is no cap.
void set_simd_cap(SimdLevel cap) noexcept;

}  // namespace vxkrn::color
