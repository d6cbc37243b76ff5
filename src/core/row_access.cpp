// Byte and row transfers between callers' buffers and a bitmap's storage:
// memory copies, file transfers at 64-bit offsets, and compressed rows
// decoded, patched and encoded whole.
#include "core/row_access.h"

#include <cstring>

#include "core/checks.h"
#include "core/compressed_storage.h"
#include "core/pixel_layout.h"
#include "core/run_length.h"
#include "core/storage.h"
#include "platform/files.h"

namespace vxkrn::core {

RowAccess::RowAccess(BitmapHandle &bitmap, Lock lock) noexcept
    : bitmap_(bitmap), kind_(storage_kind(bitmap)) {
  if (lock == Lock::ForTheCall && !(bitmap.Flags & FLAG_ACCESSED)) {
    access(bitmap);
    accessed_here_ = (bitmap.Flags & FLAG_ACCESSED) != 0;
  }
}

RowAccess::~RowAccess() {
  if (accessed_here_) release(bitmap_);
}

std::uint64_t RowAccess::offset_of(std::int32_t row, std::int32_t column) const noexcept {
  if (row < 0 || column < 0) return UINT64_MAX;
  return static_cast<std::uint64_t>(row) * static_cast<std::uint32_t>(bitmap_.BytesPerLine) +
         column_offset(bitmap_.BitsPerPixel, static_cast<std::uint64_t>(column));
}

std::uint8_t *RowAccess::scratch() noexcept {
  if (!scratch_) {
    const auto stride = static_cast<std::uint64_t>(bitmap_.BytesPerLine);
    scratch_.reset(platform::rt_alloc(
        platform::checked_product(stride + max_record_bytes(std::uint64_t(bitmap_.Width)), 1)));
  }
  return static_cast<std::uint8_t *>(scratch_.get());
}

std::int32_t RowAccess::read(std::uint64_t offset, void *buffer, std::uint32_t count) noexcept {
  return transfer(offset, static_cast<std::uint8_t *>(buffer), count, false);
}

std::int32_t RowAccess::write(std::uint64_t offset, const void *buffer,
                              std::uint32_t count) noexcept {
  // The buffer is only read on this path.
  return transfer(offset, static_cast<std::uint8_t *>(const_cast<void *>(buffer)), count, true);
}

ResultCode RowAccess::get(std::uint64_t offset, void *buffer, std::uint32_t count) noexcept {
  const std::int32_t moved = read(offset, buffer, count);
  return moved < 0 ? moved : RC_SUCCESS;
}

ResultCode RowAccess::put(std::uint64_t offset, const void *buffer, std::uint32_t count) noexcept {
  const std::int32_t moved = write(offset, buffer, count);
  return moved < 0 ? moved : RC_SUCCESS;
}

ResultCode RowAccess::get_row(std::int32_t y, void *row) noexcept {
  return get(offset_of(y, 0), row, static_cast<std::uint32_t>(bitmap_.BytesPerLine));
}

ResultCode RowAccess::put_row(std::int32_t y, const void *row) noexcept {
  return put(offset_of(y, 0), row, static_cast<std::uint32_t>(bitmap_.BytesPerLine));
}

std::uint8_t *RowAccess::row_address(std::int32_t y) const noexcept {
  if ((kind_ != StorageKind::Memory && kind_ != StorageKind::User) || !bitmap_.Data || y < 0 ||
      y >= bitmap_.Height)
    return nullptr;
  return bitmap_.Data +
         static_cast<std::uint64_t>(y) * static_cast<std::uint32_t>(bitmap_.BytesPerLine);
}

std::int32_t RowAccess::transfer(std::uint64_t offset, std::uint8_t *buffer, std::uint32_t count,
                                 bool write) noexcept {
  // A count may run on over several rows, but never past the pixel data.
  const std::uint64_t size = row_bytes(bitmap_);
  if (count > INT32_MAX || offset > size || count > size - offset) return RC_INVALID_PARAMETER;
  switch (kind_) {
    case StorageKind::User:
    case StorageKind::Memory: {
      if (!bitmap_.Data) return RC_INVALID_BITMAP;
      std::uint8_t *pixels = bitmap_.Data + offset;
      if (write)
        std::memcpy(pixels, buffer, count);
      else
        std::memcpy(buffer, pixels, count);
      return static_cast<std::int32_t>(count);
    }
    case StorageKind::Disk: {
      const std::int32_t file = disk_file(bitmap_);
      const auto at = static_cast<std::int64_t>(offset);
      if (platform::file_seek(file, at, platform::Origin::Start) != at) return RC_FILE_SEEK;
      const std::int64_t moved = write ? platform::file_write_all(file, buffer, count)
                                       : platform::file_read_all(file, buffer, count);
      // A file cut short behind the library's back reads short: the bytes
      // asked for are not there.
      if (moved != static_cast<std::int64_t>(count)) return write ? RC_FILE_WRITE : RC_FILE_READ;
      return static_cast<std::int32_t>(count);
    }
    case StorageKind::Compressed:
      return compressed_transfer(offset, buffer, count, write);
    default:
      return RC_NO_MEMORY;
  }
}

// Rows of compressed storage are decoded, patched and encoded whole. Whole
// rows are read straight into the caller's buffer; only a partial row or a
// write goes through the scratch row and record.
std::int32_t RowAccess::compressed_transfer(std::uint64_t offset, std::uint8_t *buffer,
                                            std::uint32_t count, bool write) noexcept {
  const auto stride = static_cast<std::uint64_t>(bitmap_.BytesPerLine);
  const auto width = static_cast<std::uint64_t>(bitmap_.Width);
  const std::uint64_t pixel_bytes = (width + 7) / 8;
  for (std::uint64_t done = 0; done < count;) {
    const auto y = static_cast<std::int32_t>((offset + done) / stride);
    const std::uint64_t at = (offset + done) % stride;
    const std::uint64_t piece = count - done < stride - at ? count - done : stride - at;
    const bool whole_row = at == 0 && piece == stride;
    if (!write && whole_row) {
      compressed_read(bitmap_, y, 0, width, buffer + done);
      // The padding after the pixels reads as 0.
      std::memset(buffer + done + pixel_bytes, 0, stride - pixel_bytes);
      done += piece;
      continue;
    }
    std::uint8_t *row = scratch();
    if (!row) return RC_NO_MEMORY;
    if (write && whole_row) {
      // A whole row is encoded straight from the caller's buffer.
      std::uint8_t *record = row + stride;
      encode_row(buffer + done, 0, width, record);
      VXKRN_TRY(compressed_put_record(bitmap_, y, record));
      done += piece;
      continue;
    }
    if (!whole_row) {
      compressed_read(bitmap_, y, 0, width, row);
      std::memset(row + pixel_bytes, 0, stride - pixel_bytes);
    }
    if (!write) {
      std::memcpy(buffer + done, row + at, piece);
    } else {
      std::uint8_t *record = row + stride;
      std::memcpy(row + at, buffer + done, piece);
      encode_row(row, 0, width, record);
      VXKRN_TRY(compressed_put_record(bitmap_, y, record));
    }
    done += piece;
  }
  return static_cast<std::int32_t>(count);
}

ResultCode RowAccess::get_record(std::int32_t y, std::uint8_t *record,
                                 std::uint8_t *work) noexcept {
  if (kind_ == StorageKind::Compressed) {
    compressed_get_record(bitmap_, y, record);
    return RC_SUCCESS;
  }
  std::uint8_t *row = work ? work : scratch();
  if (!row) return RC_NO_MEMORY;
  VXKRN_TRY(get_row(y, row));
  encode_row(row, 0, std::uint64_t(bitmap_.Width), record);
  return RC_SUCCESS;
}

ResultCode RowAccess::put_record(std::int32_t y, const std::uint8_t *record,
                                 std::uint8_t *work) noexcept {
  if (kind_ == StorageKind::Compressed) return compressed_put_record(bitmap_, y, record);
  std::uint8_t *row = work ? work : scratch();
  if (!row) return RC_NO_MEMORY;
  const auto stride = static_cast<std::size_t>(bitmap_.BytesPerLine);
  const std::uint64_t width = std::uint64_t(bitmap_.Width);
  decode_runs(record + 4, record_words(record), 0, width, row);
  // The padding after the pixels is written as 0.
  std::memset(row + (width + 7) / 8, 0, stride - (width + 7) / 8);
  return put_row(y, row);
}

}  // namespace vxkrn::core
