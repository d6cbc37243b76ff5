// The bitmap record as every family sees it: its storage kind, the size
// cap, initialisation, and what a record owns besides its pixels (palette,
// gray parameters, map table).
#pragma once

#include <cstdint>

#include "vxkrn/types.h"

namespace vxkrn::core {

// Where a record's pixels live, decided from its flags (first match wins in
// the order listed, as freeing needs).
enum class StorageKind { None, User, Compressed, SuperCompressed, Memory, Disk };
StorageKind storage_kind(const BitmapHandle &bitmap) noexcept;

// Whether bytes fit the size cap, and the capped value otherwise.
inline bool within_size_cap(std::uint64_t bytes) {
  return bytes <= BITMAP_SIZE_CAP;
}
inline std::uint32_t capped_size(std::uint64_t bytes) {
  return within_size_cap(bytes) ? static_cast<std::uint32_t>(bytes) : BITMAP_SIZE_CAP;
}

// Zero the record and fill it for an image of the given geometry; all three
// 0 leave an empty record. RC_INVALID_BITS_PER_PIXEL and
// RC_INVALID_PARAMETER leave it zeroed with StructSize set;
// RC_IMAGE_TOO_LARGE zeroes it entirely.
ResultCode init_bitmap(BitmapHandle &bitmap, std::int32_t width, std::int32_t height,
                       std::int32_t bits_per_pixel) noexcept;

// Size from the storage: the stored records of compressed rows, else
// BytesPerLine x Height, through the cap (RC_IMAGE_TOO_LARGE beyond it).
ResultCode update_size(BitmapHandle &bitmap) noexcept;

// Bytes of pixel data as rows: BytesPerLine x Height for compressed storage
// (whose Size counts its stored records), Size otherwise.
std::uint64_t row_bytes(const BitmapHandle &bitmap) noexcept;

// The active gray description: (LowBit, HighBit) while FLAG_USE_LOW_HIGH is
// set, else (MinBit, MaxBit); a negative high bit means BitsPerPixel - 1.
struct GrayBits {
  std::int32_t low, high;
};
GrayBits active_gray_bits(const BitmapHandle &bitmap) noexcept;

// Gray bits low..high of a pixel of `bits` as the value's first bit and
// width: a negative low bit means 0 and a negative high bit the top bit.
// False when that is not a range of the pixel.
struct GrayRange {
  std::uint32_t low, width;
  std::uint64_t mask() const { return (std::uint64_t{1} << width) - 1; }
};
bool gray_range(std::int32_t low, std::int32_t high, std::int32_t bits, GrayRange *range) noexcept;

// Whether LUTLength fits the active gray description (or no LUT applies).
bool lut_length_valid(const BitmapHandle &bitmap) noexcept;

// Free LUT and MapTable and clear their fields.
void free_gray_params(BitmapHandle &bitmap) noexcept;

// The gray description, FLAG_USE_LOW_HIGH and an own copy of the LUT.
// RC_NO_MEMORY leaves the destination unchanged.
ResultCode copy_gray_params(BitmapHandle &destination, const BitmapHandle &source) noexcept;

// The map table's bytes, FLAG_MAP_TABLE_SET, PaintScale and the two words
// after it, when both records have a map table.
void copy_map_table(BitmapHandle &destination, const BitmapHandle &source) noexcept;

// A system-heap copy of count entries (1 to 256), or null.
PaletteEntry *new_palette(const PaletteEntry *entries, std::uint32_t count) noexcept;

// Replace the record's palette by a copy of count entries, made before the
// old one is freed (the entries may come from it); ColorCount becomes count.
// Null entries only free the palette. False when the copy cannot be made:
// the record is then left without palette, ColorCount untouched.
bool replace_palette(BitmapHandle &bitmap, const PaletteEntry *entries,
                     std::uint32_t count) noexcept;

// The destination gets its own copy of the source's palette, or none and
// ColorCount 0 when the source has none. False as replace_palette.
bool copy_palette(BitmapHandle &destination, const BitmapHandle &source) noexcept;

// A memory block of Size + 31 bytes with Data at its first 32-byte boundary.
struct MemoryBlock {
  void *storage;
  std::uint8_t *data;
  std::uint32_t align_offset;
};
MemoryBlock aligned_in(void *block) noexcept;

}  // namespace vxkrn::core
