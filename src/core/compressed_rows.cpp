// Records in and out of a bitmap through the row-access layer: one record
// per row, validated before anything is stored.
#include "core/compressed_rows.h"

#include "core/checks.h"
#include "core/compressed_storage.h"
#include "core/progress.h"
#include "core/row_access.h"
#include "core/run_length.h"
#include "core/storage_change.h"

namespace vxkrn::core {
namespace {

// The rows first_row .. first_row + row_count - 1 that exist; 0 for none.
std::uint32_t rows_to_move(const BitmapHandle &bitmap, std::int32_t first_row,
                           std::uint32_t row_count) {
  if (first_row >= bitmap.Height || row_count == 0) return 0;
  const auto left = static_cast<std::uint32_t>(bitmap.Height - first_row);
  return row_count < left ? row_count : left;
}

// Records longer than the plain rows they stand for are no saving: the
// bitmap goes back to plain storage, deliberately, quietly, and whether or
// not that works the store itself succeeded.
void switch_if_larger(BitmapHandle &bitmap) {
  if (!(bitmap.Flags & FLAG_COMPRESSED) || compressed_size(bitmap) <= row_bytes(bitmap)) return;
  QuietCallbacks quiet;
  change_compression(bitmap, 0);
}

std::int32_t bytes_of(std::uint32_t pixels) {
  return static_cast<std::int32_t>((std::uint64_t{pixels} + 7) >> 3);
}

}  // namespace

ResultCode put_records(BitmapHandle &bitmap, std::uint8_t *work, const std::uint8_t *records,
                       std::int32_t first_row, std::uint32_t row_count) noexcept {
  const std::uint32_t rows = rows_to_move(bitmap, first_row, row_count);
  const std::uint8_t *check = records;
  for (std::uint32_t k = 0; k < rows; ++k, check += record_bytes(check))
    if (!is_row_record(check, std::uint64_t(bitmap.Width))) return RC_INVALID_PARAMETER;
  if (!rows) return RC_SUCCESS;
  {
    RowAccess access(bitmap);
    for (std::uint32_t k = 0; k < rows; ++k, records += record_bytes(records))
      VXKRN_TRY(access.put_record(first_row + static_cast<std::int32_t>(k), records, work));
  }
  switch_if_larger(bitmap);
  return RC_SUCCESS;
}

ResultCode get_records(BitmapHandle &bitmap, std::uint8_t *work, std::uint8_t *records,
                       std::int32_t first_row, std::uint32_t row_count) noexcept {
  const std::uint32_t rows = rows_to_move(bitmap, first_row, row_count);
  RowAccess access(bitmap);
  for (std::uint32_t k = 0; k < rows; ++k, records += record_bytes(records))
    VXKRN_TRY(access.get_record(first_row + static_cast<std::int32_t>(k), records, work));
  return RC_SUCCESS;
}

std::int32_t put_record_at(BitmapHandle &bitmap, std::uint8_t *work, const std::uint8_t *record,
                           std::int32_t row, std::int32_t first_column,
                           std::uint32_t pixel_count) noexcept {
  if (!is_row_record(record, pixel_count)) return RC_INVALID_PARAMETER;
  if (pixel_count == 0) return 0;
  {
    RowAccess access(bitmap);
    platform::RuntimeBlock owned(work ? nullptr
                                      : platform::rt_alloc(std::uint32_t(bitmap.BytesPerLine)));
    auto *pixels = work ? work : static_cast<std::uint8_t *>(owned.get());
    if (!pixels) return RC_NO_MEMORY;
    decode_runs(record + 4, record_words(record), 0, pixel_count, pixels);
    // The pixels land at their columns exactly; neighbours keep their bits.
    VXKRN_TRY(
        access.put_pixels(row, static_cast<std::uint64_t>(first_column), pixel_count, pixels, 0));
  }
  switch_if_larger(bitmap);
  return bytes_of(pixel_count);
}

std::int32_t get_record_at(BitmapHandle &bitmap, std::uint8_t *work, std::uint8_t *record,
                           std::int32_t row, std::int32_t first_column,
                           std::uint32_t pixel_count) noexcept {
  const std::uint32_t first_bit = static_cast<std::uint32_t>(first_column) & 7;
  const auto bytes = static_cast<std::uint32_t>((first_bit + std::uint64_t{pixel_count} + 7) / 8);
  platform::RuntimeBlock owned(work ? nullptr
                                    : platform::rt_alloc(std::uint32_t(bitmap.BytesPerLine)));
  auto *pixels = work ? work : static_cast<std::uint8_t *>(owned.get());
  if (!pixels) return RC_NO_MEMORY;
  if (bytes) {
    RowAccess access(bitmap);
    VXKRN_TRY(access.get(access.offset_of(row, first_column), pixels, bytes));
  }
  encode_row(pixels, first_bit, pixel_count, record);
  return bytes_of(pixel_count);
}

}  // namespace vxkrn::core
