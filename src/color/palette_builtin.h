// The library's constant palettes: the defaults of 1 to 8 bits (laid out one
// after another), the web palette and the 256-level gray ramp; and the small
// helpers the palette functions share.
#pragma once

#include <cstdint>

#include "vxkrn/types.h"

namespace vxkrn::color {

// Default palette of 1 to 8 bits (2^bits entries), null for other depths.
// The tables are contiguous in the order 2, 4, 8, ..., 256 entries, so
// reading past the end of one continues with the next.
const PaletteEntry *default_palette(int32_t bits_per_pixel) noexcept;

// 256 entries: a 6x6x6 cube, blue fastest, then 40 zero entries.
const PaletteEntry *web_palette() noexcept;

// 256 entries: entry i is gray level i.
const PaletteEntry *gray_levels_palette() noexcept;

// Entry i of a ramp of count entries: (i x 255) / (count - 1), truncated.
void fill_gray_ramp(PaletteEntry *entries, std::uint32_t count) noexcept;

// An owned system-heap copy of count entries; null on failure.
PaletteEntry *copy_palette(const PaletteEntry *entries, std::uint32_t count) noexcept;

// How many of the entries first .. first + count - 1 a palette of `size`
// entries has.
inline std::uint32_t clipped(std::uint32_t first, std::uint32_t count, std::uint32_t size) {
  if (first >= size) return 0;
  return count < size - first ? count : size - first;
}

}  // namespace vxkrn::color
