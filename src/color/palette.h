// The palette family's internal entry points: a bitmap's palette, the
// built-in palettes, palette objects, and the questions asked of palettes.
// Records and pointers are checked by the caller.
#pragma once

#include <cstdint>

#include "vxkrn/palette.h"

// A palette object: up to 256 entries behind an opaque handle.
struct VPaletteObject {
  std::uint32_t count;
  PaletteEntry entries[256];
};

namespace vxkrn::color {

// GRAY_... of count entries: a ramp must step by 255 / (count - 1),
// truncated.
std::int32_t gray_kind(const PaletteEntry *entries, std::uint32_t count) noexcept;
// GRAY_... of a bitmap (its palette, or its gray description and LUT);
// RC_INVALID_LUT_LENGTH when LUTLength does not fit the description.
std::int32_t bitmap_gray_kind(const BitmapHandle &bitmap) noexcept;
// The index of the palette entry nearest to a colour; 0 without palette.
std::uint32_t nearest_index(const BitmapHandle &bitmap, ColorValue color) noexcept;
// A colour expressed for the destination bitmap (docs/color.md).
ColorValue translate_color(const BitmapHandle &destination, const BitmapHandle *source,
                           ColorValue color) noexcept;
// Whether the first count entries (at most ColorCount) equal the given ones
// in blue, green and red; also when the bitmap has no palette.
bool matches_palette(const BitmapHandle &bitmap, const PaletteEntry *entries,
                     std::uint32_t count) noexcept;

// Entries first .. first + count - 1 that the bitmap's palette has, copied
// out; their number.
std::uint32_t read_entries(const BitmapHandle &bitmap, std::uint32_t first, std::uint32_t count,
                           PaletteEntry *out) noexcept;
// Replace entries of a bitmap of up to 8 bits within ColorCount, making a
// zeroed palette first when it has none. RC_INVALID_PARAMETER out of range;
// RC_NO_MEMORY.
ResultCode put_colors(BitmapHandle &bitmap, std::uint32_t first, std::uint32_t count,
                      const PaletteEntry *entries) noexcept;

// A system-heap gray ramp of 2^bits entries (0 meaning 8), or null.
PaletteEntry *gray_ramp(std::int32_t bits) noexcept;
// Give a bitmap of 1 to 8 bits a gray ramp of 2^BitsPerPixel entries.
// RC_INVALID_BITS_PER_PIXEL; RC_NO_MEMORY.
ResultCode give_gray_palette(BitmapHandle &bitmap) noexcept;
// A system-heap copy of the default palette of `bits` (0 meaning 1), or null.
PaletteEntry *fixed_palette(std::int32_t bits) noexcept;
// Give a bitmap the default palette of ColorCount entries: RC_SUCCESS; 0
// for a ColorCount that is not 2, 4, ..., 256; RC_NO_MEMORY.
ResultCode give_fixed_palette(BitmapHandle &bitmap) noexcept;
// The 2^bits entries of the default palette (256 gray levels for 0) into
// entries; RC_INVALID_PARAMETER for a depth outside 0..8.
ResultCode copy_fixed_palette(PaletteEntry *entries, std::int32_t bits) noexcept;

// Palette objects. create: null for null entries, more than 256, or no memory.
VPalette create_object(const PaletteEntry *entries, std::uint32_t count) noexcept;
void delete_object(VPalette palette) noexcept;
// The bitmap's palette replaced by a copy of the object's 2 to 256 entries.
// RC_INVALID_PARAMETER another size; RC_NO_MEMORY (the bitmap is then left
// without palette).
ResultCode set_bitmap_palette(BitmapHandle &bitmap, const VPaletteObject *palette) noexcept;

}  // namespace vxkrn::color
