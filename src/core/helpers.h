// Small shared helpers: fixed-point sine and cosine, integer square root,
// the bit-count table and path stripping.
#pragma once

#include <cstdint>

namespace vxkrn::core {

// Sine and cosine x 16384 of an angle in hundredths of a degree, 0 to
// 36000 (0 outside), from a table of the first quadrant.
std::int32_t sine(std::int32_t angle) noexcept;
std::int32_t cosine(std::int32_t angle) noexcept;

// The integer square root by Newton steps (0 for 0, 1 below 4).
std::uint32_t isqrt(std::uint32_t n) noexcept;

// 256 entries: the number of set bits of each byte value.
const std::uint8_t *bit_counts() noexcept;

// The file-name part of a non-null wide path: after the last ':', then the
// last '\\', then the last '/'.
const wchar_t *skip_path(const wchar_t *path) noexcept;

}  // namespace vxkrn::core
