// The one dispatch point of the vector kernels: chosen once per process
// from what the processor offers. A null entry means no vector kernel; the
// scalar fast path serves.
#pragma once

#include "color/convert_engine.h"
#include "platform/cpu.h"

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

// The kernels of the level platform::simd_level() allows.
const SimdKernels &simd_kernels() noexcept;

// The level and its cap are the platform's, shared by every family.
using platform::set_simd_cap;
using platform::SimdLevel;
using platform::supported_simd_level;

}  // namespace vxkrn::color
