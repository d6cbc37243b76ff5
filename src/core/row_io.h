// The one byte-transfer path under every row function: storage kind chosen
// once per call, bounds checked, then memory copy or file transfer.
#pragma once

#include <cstdint>

#include "vxkrn/types.h"

namespace vxkrn::core {

enum class Direction { Read, Write };

// Move count bytes between buffer and the pixel data at byte `offset`.
// Returns count (or a short count from a file), or a negative code: -13 the
// range leaves the pixel data or count exceeds INT32_MAX; -2 a memory bitmap
// that is not accessed; -4 seek, -7 read, -5 write failure of a disk bitmap;
// -1 no storage this path can reach.
std::int32_t transfer_bytes(const BitmapHandle &bitmap, std::uint64_t offset, void *buffer,
                            std::uint32_t count, Direction direction) noexcept;

// Bytes of pixel data as rows: Size, or BytesPerLine x Height for
// compressed storage (whose Size counts its stored records).
std::uint64_t data_bytes(const BitmapHandle &bitmap) noexcept;

// Byte offset of (row, column) in the pixel data, or UINT64_MAX when either
// is negative.
std::uint64_t pixel_offset(const BitmapHandle &bitmap, std::int32_t row,
                           std::int32_t column) noexcept;

// Temporary-file storage (made by io::create_temp_file, Size + 1 bytes).
// Set the file to exactly `bytes`. RC_NO_MEMORY when it cannot be done.
ResultCode resize_disk_storage(std::int32_t file, std::uint64_t bytes) noexcept;
// Close the file, which deletes it.
void free_disk_storage(std::int32_t file) noexcept;

// A disk bitmap's handle kept in Storage.
inline std::int32_t disk_file(const BitmapHandle &bitmap) {
  return static_cast<std::int32_t>(reinterpret_cast<std::intptr_t>(bitmap.Storage));
}
inline void *disk_storage(std::int32_t file) {
  return reinterpret_cast<void *>(static_cast<std::intptr_t>(file));
}

}  // namespace vxkrn::core
