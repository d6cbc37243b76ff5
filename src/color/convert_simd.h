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

const SimdKernels &simd_kernels() noexcept;

// Tests turn the vector kernels off to compare them with the scalar ones.
void set_simd_enabled(bool enabled) noexcept;

}  // namespace vxkrn::color
