// Rows exchanged as run-length records: stored as they are in compressed
// bitmaps, expanded into or encoded from plain rows for every other kind.
#include "core/checks.h"
#include "core/progress.h"
#include "core/row_io.h"
#include "core/compressed_storage.h"
#include "io/run_length.h"
#include "platform/heap.h"
#include "vxkrn/compress.h"
#include "vxkrn/rows.h"

using namespace vxkrn::core;

namespace {

// The caller's work buffer of BytesPerLine bytes, or one taken for the call.
class WorkRow {
 public:
  WorkRow(void *given, uint64_t bytes)
      : owned_(given ? nullptr : vxkrn::platform::rt_alloc(bytes, true)),
        row_(static_cast<uint8_t *>(given ? given : owned_.get())) {}
  uint8_t *get() const { return row_; }

 private:
  vxkrn::platform::RuntimeBlock owned_;
  uint8_t *row_;
};

ResultCode check_bitmap(const BitmapHandle *bitmap, const void *records) {
  if (!bitmap || !records) return RC_INVALID_PARAMETER;
  VXKRN_TRY(check_struct_size(bitmap->StructSize));
  return bitmap->BitsPerPixel == 1 ? RC_SUCCESS : RC_INVALID_BITS_PER_PIXEL;
}

// The rows first_row .. first_row + row_count - 1 that exist; 0 for none.
uint32_t rows_to_move(const BitmapHandle &bitmap, int32_t first_row, uint32_t row_count) {
  if (first_row >= bitmap.Height || row_count == 0) return 0;
  const auto left = static_cast<uint32_t>(bitmap.Height - first_row);
  return row_count < left ? row_count : left;
}

bool compressed(const BitmapHandle &bitmap) {
  return has_flags(bitmap, FLAG_ALLOCATED | FLAG_COMPRESSED);
}

// Records longer than the plain rows they stand for are no saving: the
// bitmap goes back to plain storage, deliberately, quietly, and whether or
// not that works the store itself succeeded.
void switch_if_larger(BitmapHandle *bitmap) {
  if (!compressed(*bitmap) || compressed_size(*bitmap) <= data_bytes(*bitmap)) return;
  QuietCallbacks quiet;
  V_ChangeBitmapCompression(bitmap, 0);
}

}  // namespace

extern "C" {

ResultCode V_PutBitmapRowCompressed(BitmapHandle *bitmap, void *work, const void *records,
                                    int32_t first_row, uint32_t row_count) {
  VXKRN_TRY(check_bitmap(bitmap, records));
  if (first_row < 0) return RC_INVALID_PARAMETER;
  const uint32_t rows = rows_to_move(*bitmap, first_row, row_count);
  const auto *record = static_cast<const uint8_t *>(records);
  // Every record is checked before the first is stored.
  const uint8_t *check = record;
  for (uint32_t k = 0; k < rows; ++k, check += vxkrn::io::record_bytes(check))
    if (!vxkrn::io::is_row_record(check, uint64_t(bitmap->Width))) return RC_INVALID_PARAMETER;
  if (rows && compressed(*bitmap)) {
    for (uint32_t k = 0; k < rows; ++k, record += vxkrn::io::record_bytes(record))
      VXKRN_TRY(compressed_put_record(*bitmap, first_row + static_cast<int32_t>(k), record));
    switch_if_larger(bitmap);
    return RC_SUCCESS;
  }
  if (!rows) return RC_SUCCESS;
  const auto stride = static_cast<uint32_t>(bitmap->BytesPerLine);
  WorkRow row(work, stride);
  if (!row.get()) return RC_NO_MEMORY;
  for (uint32_t k = 0; k < rows; ++k, record += vxkrn::io::record_bytes(record)) {
    vxkrn::io::decode_runs(record + 4, vxkrn::io::record_words(record), 0, uint64_t(bitmap->Width),
                           row.get());
    const int32_t written =
        V_PutBitmapRowCol(bitmap, row.get(), first_row + static_cast<int32_t>(k), 0, stride);
    if (written != static_cast<int32_t>(stride)) return written < 1 ? written : RC_FILE_WRITE;
  }
  return RC_SUCCESS;
}

ResultCode V_GetBitmapRowCompressed(const BitmapHandle *bitmap, void *work, void *records,
                                    int32_t first_row, uint32_t row_count) {
  VXKRN_TRY(check_bitmap(bitmap, records));
  if (first_row < 0) return RC_INVALID_PARAMETER;
  const uint32_t rows = rows_to_move(*bitmap, first_row, row_count);
  auto *record = static_cast<uint8_t *>(records);
  if (rows && compressed(*bitmap)) {
    for (uint32_t k = 0; k < rows; ++k, record += vxkrn::io::record_bytes(record))
      compressed_get_record(*bitmap, first_row + static_cast<int32_t>(k), record);
    return RC_SUCCESS;
  }
  if (!rows) return RC_SUCCESS;
  const auto stride = static_cast<uint32_t>(bitmap->BytesPerLine);
  WorkRow row(work, stride);
  if (!row.get()) return RC_NO_MEMORY;
  for (uint32_t k = 0; k < rows; ++k, record += vxkrn::io::record_bytes(record)) {
    const int32_t got =
        V_GetBitmapRowCol(bitmap, row.get(), first_row + static_cast<int32_t>(k), 0, stride);
    if (got != static_cast<int32_t>(stride)) return got < 1 ? got : RC_FILE_READ;
    vxkrn::io::encode_row(row.get(), 0, uint64_t(bitmap->Width), record);
  }
  return RC_SUCCESS;
}

int32_t V_PutBitmapRowColCompressed(BitmapHandle *bitmap, void *work, const void *record,
                                    int32_t row, int32_t first_column, uint32_t pixel_count) {
  VXKRN_TRY(check_bitmap(bitmap, record));
  if (first_column < 0 || int64_t{first_column} + pixel_count > bitmap->Width)
    return RC_INVALID_PARAMETER;
  const auto *r = static_cast<const uint8_t *>(record);
  if (!vxkrn::io::is_row_record(r, pixel_count)) return RC_INVALID_PARAMETER;
  if (pixel_count == 0) return 0;
  WorkRow pixels(work, static_cast<uint32_t>(bitmap->BytesPerLine));
  if (!pixels.get()) return RC_NO_MEMORY;
  vxkrn::io::decode_runs(r + 4, vxkrn::io::record_words(r), 0, pixel_count, pixels.get());
  // The pixels land at their columns exactly; neighbours keep their bits.
  const int32_t segment[2] = {first_column, static_cast<int32_t>(pixel_count)};
  VXKRN_TRY(V_PutBitmapRowSegments(bitmap, pixels.get(), row, first_column, segment, 1, 0));
  switch_if_larger(bitmap);
  return static_cast<int32_t>((uint64_t{pixel_count} + 7) >> 3);
}

int32_t V_GetBitmapRowColCompressed(const BitmapHandle *bitmap, void *work, void *record,
                                    int32_t row, int32_t first_column, uint32_t pixel_count) {
  VXKRN_TRY(check_bitmap(bitmap, record));
  if (first_column < 0 || int64_t{first_column} + pixel_count > bitmap->Width)
    return RC_INVALID_PARAMETER;
  const uint32_t first_bit = static_cast<uint32_t>(first_column) & 7;
  const auto bytes = static_cast<uint32_t>((first_bit + uint64_t{pixel_count} + 7) / 8);
  WorkRow pixels(work, static_cast<uint32_t>(bitmap->BytesPerLine));
  if (!pixels.get()) return RC_NO_MEMORY;
  if (bytes) {
    const int32_t got = V_GetBitmapRowCol(bitmap, pixels.get(), row, first_column, bytes);
    if (got != static_cast<int32_t>(bytes)) return got < 1 ? got : RC_FILE_READ;
  }
  vxkrn::io::encode_row(pixels.get(), first_bit, pixel_count, static_cast<uint8_t *>(record));
  return static_cast<int32_t>((uint64_t{pixel_count} + 7) >> 3);
}

}  // extern "C"
