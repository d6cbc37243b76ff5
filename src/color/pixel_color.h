// Single pixels as colour values, read and written through the row-access
// layer and converted with the converter's own rules.
#pragma once

#include <cstdint>

#include "vxkrn/types.h"

namespace vxkrn::color {

// The colour of the pixel at (row, column) of an allocated bitmap, locking
// a memory bitmap for the read: a palette entry, an 8-bit-per-component
// colour, or a gray level scaled to 16 bits with COLOR_KIND_GRAY.
// PIXEL_COLOR_FAILED (0x80000000) for a position outside the image, 32-bit
// gray, a missing palette entry or a failed read.
ColorValue get_pixel_color(BitmapHandle &bitmap, std::int32_t row, std::int32_t column) noexcept;

// Write one pixel from a colour value (index, colour or gray) in the
// bitmap's format, keeping alpha and the bits of neighbouring pixels.
// RC_INVALID_PARAMETER a position outside, an unknown kind, an index beyond
// the palette or a palette bitmap without one; the codes of the row access.
ResultCode put_pixel_color(BitmapHandle &bitmap, std::int32_t row, std::int32_t column,
                           ColorValue color) noexcept;

}  // namespace vxkrn::color
