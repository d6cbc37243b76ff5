// Byte transfers to and from pixel storage, row segments, and the temporary
// file behind a disk bitmap.
#include "core/row_io.h"

#include <cstring>

#include "core/bitmap_core.h"
#include "core/checks.h"
#include "core/compressed_storage.h"
#include "core/pixel_layout.h"
#include "io/run_length.h"
#include "platform/heap.h"
#include "io/temp_registry.h"
#include "platform/files.h"
#include "vxkrn/file.h"

namespace vxkrn::core {

std::uint64_t pixel_offset(const BitmapHandle &bitmap, std::int32_t row,
                           std::int32_t column) noexcept {
  if (row < 0 || column < 0) return UINT64_MAX;
  return static_cast<std::uint64_t>(row) * static_cast<std::uint32_t>(bitmap.BytesPerLine) +
         column_offset(bitmap.BitsPerPixel, static_cast<std::uint64_t>(column));
}

namespace {

// Rows of compressed storage are decoded, patched and encoded whole; `count`
// bytes from byte `offset` of the rows as plain data. Whole rows are read
// straight into the caller's buffer; only a partial row or a write needs the
// scratch row and record, taken once for the call.
std::int32_t compressed_transfer(const BitmapHandle &bitmap, std::uint64_t offset, uint8_t *buffer,
                                 std::uint32_t count, Direction direction) {
  const auto stride = static_cast<std::uint64_t>(bitmap.BytesPerLine);
  const auto width = static_cast<std::uint64_t>(bitmap.Width);
  const std::uint64_t pixel_bytes = (width + 7) / 8;
  platform::RuntimeBlock scratch;
  // Writing changes the storage behind the record (and its Size): only the
  // put entry points, which hold the record writable, come here to write.
  auto &target = const_cast<BitmapHandle &>(bitmap);
  for (std::uint64_t done = 0; done < count;) {
    const auto y = static_cast<int32_t>((offset + done) / stride);
    const std::uint64_t at = (offset + done) % stride;
    const std::uint64_t piece = count - done < stride - at ? count - done : stride - at;
    const bool whole_row = at == 0 && piece == stride;
    if (direction == Direction::Read && whole_row) {
      compressed_read(bitmap, y, 0, width, buffer + done);
      // The padding after the pixels reads as 0.
      std::memset(buffer + done + pixel_bytes, 0, stride - pixel_bytes);
      done += piece;
      continue;
    }
    if (!scratch) {
      scratch.reset(platform::rt_alloc(stride + io::max_record_bytes(width)));
      if (!scratch) return RC_NO_MEMORY;
    }
    auto *row = static_cast<uint8_t *>(scratch.get());
    if (!whole_row) {
      compressed_read(bitmap, y, 0, width, row);
      std::memset(row + pixel_bytes, 0, stride - pixel_bytes);
    }
    if (direction == Direction::Read) {
      std::memcpy(buffer + done, row + at, piece);
    } else {
      uint8_t *record = row + stride;
      std::memcpy(row + at, buffer + done, piece);
      io::encode_row(row, 0, width, record);
      VXKRN_TRY(compressed_put_record(target, y, record));
    }
    done += piece;
  }
  return static_cast<std::int32_t>(count);
}

}  // namespace

std::uint64_t data_bytes(const BitmapHandle &bitmap) noexcept {
  // Compressed storage counts its stored records in Size; as rows it holds
  // BytesPerLine x Height bytes.
  if (bitmap.Flags & FLAG_COMPRESSED)
    return static_cast<std::uint64_t>(bitmap.BytesPerLine) *
           static_cast<std::uint64_t>(bitmap.Height);
  return bitmap.Size;
}

std::int32_t transfer_bytes(const BitmapHandle &bitmap, std::uint64_t offset, void *buffer,
                            std::uint32_t count, Direction direction) noexcept {
  // A count may run on over several rows, but never past the pixel data.
  const std::uint64_t size = data_bytes(bitmap);
  if (count > INT32_MAX || offset > size || count > size - offset) return RC_INVALID_PARAMETER;
  switch (storage_kind(bitmap)) {
    case StorageKind::User:
    case StorageKind::Memory: {
      if (!bitmap.Data) return RC_INVALID_BITMAP;
      std::uint8_t *pixels = bitmap.Data + offset;
      if (direction == Direction::Read)
        std::memcpy(buffer, pixels, count);
      else
        std::memcpy(pixels, buffer, count);
      return static_cast<std::int32_t>(count);
    }
    case StorageKind::Disk: {
      const std::int32_t file = disk_file(bitmap);
      const std::int64_t at = static_cast<std::int64_t>(offset);
      if (platform::file_seek(file, at, platform::Origin::Start) != at) return RC_FILE_SEEK;
      const std::int64_t moved = direction == Direction::Read
                                     ? platform::file_read_all(file, buffer, count)
                                     : platform::file_write_all(file, buffer, count);
      // A file cut short behind the library's back reads short: the bytes
      // asked for are not there.
      if (moved != static_cast<std::int64_t>(count))
        return direction == Direction::Read ? RC_FILE_READ : RC_FILE_WRITE;
      return static_cast<std::int32_t>(moved);
    }
    case StorageKind::Compressed:
      return compressed_transfer(bitmap, offset, static_cast<uint8_t *>(buffer), count, direction);
    default:
      return RC_NO_MEMORY;
  }
}

ResultCode resize_disk_storage(std::int32_t file, std::uint64_t bytes) noexcept {
  if (bytes > UINT32_MAX) return RC_NO_MEMORY;
  return V_OsSetFileSize(file, static_cast<std::uint32_t>(bytes)) == 0 ? RC_SUCCESS : RC_NO_MEMORY;
}

void free_disk_storage(std::int32_t file) noexcept {
  io::close_file(file);
}

}  // namespace vxkrn::core
