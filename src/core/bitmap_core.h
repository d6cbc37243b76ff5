// Internal view of a bitmap record shared by the bitmap families: storage
// kinds, the size cap and the gray description.
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

// Row stride of width pixels: bits rounded up to 32 and given in bytes.
inline std::uint64_t bytes_per_line(std::int64_t width, std::int64_t bits_per_pixel) {
  return (static_cast<std::uint64_t>(width * bits_per_pixel) + 31) >> 3 & ~std::uint64_t{3};
}

// Depths a bitmap may have: 1-8, 12, 16, 24, 32, 48, 64.
bool is_bitmap_depth(std::int32_t bits_per_pixel) noexcept;

// The active gray description: (LowBit, HighBit) while FLAG_USE_LOW_HIGH is
// set, else (MinBit, MaxBit); a negative high bit means BitsPerPixel - 1.
struct GrayBits {
  std::int32_t low, high;
};
GrayBits active_gray_bits(const BitmapHandle &bitmap) noexcept;

// Gray bits low..high of a pixel of `bits` as the value's first bit and
// width: a negative low bit means 0 and a negative high bit the top bit.
// False when that is not a range of the pixel (high above the top bit, or
// below low).
struct GrayRange {
  std::uint32_t low, width;
  std::uint64_t mask() const { return (std::uint64_t{1} << width) - 1; }
};
bool gray_range(std::int32_t low, std::int32_t high, std::int32_t bits, GrayRange *range) noexcept;

// Free a bitmap's storage, whatever its kind, and clear its kind's flags;
// palette, tables and FLAG_ALLOCATED are left to the caller.
void release_storage(BitmapHandle &bitmap) noexcept;

// A memory block of Size + 31 bytes with Data at its first 32-byte boundary.
struct MemoryBlock {
  void *storage;
  std::uint8_t *data;
  std::uint32_t align_offset;
};
MemoryBlock aligned_in(void *block) noexcept;

}  // namespace vxkrn::core
