// The one way into a bitmap's stored rows, whatever the storage: memory
// (the library's block or the caller's), a temporary file, or compressed
// 1-bit rows. Every family reads and writes pixels through it.
#pragma once

#include <cstdint>

#include "core/record.h"
#include "platform/heap.h"
#include "vxkrn/types.h"

namespace vxkrn::core {

// How an accessor treats a memory bitmap the caller has not accessed: as it
// is (a transfer then fails with RC_INVALID_BITMAP when Data is null), or
// accessed for the accessor's life and released again afterwards (the rule
// for operations that lock what they read and write).
enum class Lock { AsIs, ForTheCall };

// Reads and writes the rows of one bitmap. The storage kind is decided once,
// when the accessor is made; scratch memory is taken once and kept for the
// accessor's life, so a loop over rows allocates at most once. Rows are
// addressed as stored; offsets count bytes of plain rows BytesPerLine apart,
// whatever the storage holds. Reading never changes the record; writing
// compressed rows changes its storage and Size.
class RowAccess {
 public:
  explicit RowAccess(BitmapHandle &bitmap, Lock lock = Lock::AsIs) noexcept;
  ~RowAccess();
  RowAccess(const RowAccess &) = delete;
  RowAccess &operator=(const RowAccess &) = delete;

  StorageKind kind() const { return kind_; }
  const BitmapHandle &bitmap() const { return bitmap_; }

  // Byte offset of (row, column), or UINT64_MAX when either is negative.
  std::uint64_t offset_of(std::int32_t row, std::int32_t column) const noexcept;

  // Move count bytes between buffer and the pixel data at `offset`; a count
  // may run on over several rows but not past the data. Returns count, or
  // RC_INVALID_PARAMETER (range outside the data, count above INT32_MAX),
  // RC_INVALID_BITMAP (memory without Data), RC_FILE_SEEK, RC_FILE_READ or
  // RC_FILE_WRITE (a disk file that failed or moved fewer bytes),
  // RC_NO_MEMORY (scratch for compressed rows; storage of no kind handled).
  std::int32_t read(std::uint64_t offset, void *buffer, std::uint32_t count) noexcept;
  std::int32_t write(std::uint64_t offset, const void *buffer, std::uint32_t count) noexcept;

  // The same with RC_SUCCESS for the whole count.
  ResultCode get(std::uint64_t offset, void *buffer, std::uint32_t count) noexcept;
  ResultCode put(std::uint64_t offset, const void *buffer, std::uint32_t count) noexcept;

  // Row y, BytesPerLine bytes.
  ResultCode get_row(std::int32_t y, void *row) noexcept;
  ResultCode put_row(std::int32_t y, const void *row) noexcept;

  // Row y's first byte when the pixels lie in memory that Data addresses
  // now, else null (disk, compressed, a memory bitmap not accessed).
  std::uint8_t *row_address(std::int32_t y) const noexcept;

  // Write `count` pixels into row y from `column` on, taken from pixel
  // `source_pixel` of `source` (packed as the bitmap packs them). Pixels
  // outside the range keep their bits, also in bytes they share with it.
  ResultCode put_pixels(std::int32_t y, std::uint64_t column, std::uint64_t count,
                        const std::uint8_t *source, std::uint64_t source_pixel) noexcept;

  // A 1-bit row as a run-length record, into room for
  // max_record_bytes(Width). A compressed bitmap hands out what it stores
  // (a row never written is one blank run); other storage is read and
  // encoded. `work`, when not null, is a caller's row of BytesPerLine bytes
  // used instead of the accessor's scratch.
  ResultCode get_record(std::int32_t y, std::uint8_t *record,
                        std::uint8_t *work = nullptr) noexcept;
  // Store a record of Width pixels (checked by the caller) as row y: as it
  // is in compressed storage, decoded into a plain row elsewhere.
  ResultCode put_record(std::int32_t y, const std::uint8_t *record,
                        std::uint8_t *work = nullptr) noexcept;

 private:
  std::int32_t transfer(std::uint64_t offset, std::uint8_t *buffer, std::uint32_t count,
                        bool write) noexcept;
  std::int32_t compressed_transfer(std::uint64_t offset, std::uint8_t *buffer, std::uint32_t count,
                                   bool write) noexcept;
  // A plain row and a worst-case record of it, taken once.
  std::uint8_t *scratch() noexcept;

  BitmapHandle &bitmap_;
  StorageKind kind_;
  bool accessed_here_ = false;
  platform::RuntimeBlock scratch_;
};

}  // namespace vxkrn::core
