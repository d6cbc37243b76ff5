// The boundary of rows.h: row, row-column, segment and single-pixel
// transfers, pixels as colours, and rows as run-length records.
#include "color/pixel_color.h"
#include "core/checks.h"
#include "core/compressed_rows.h"
#include "core/pixel_layout.h"
#include "core/row_access.h"
#include "vxkrn/rows.h"

using namespace vxkrn::core;

namespace {

// Reads never change the record; the row access takes it writable for both.
BitmapHandle &writable(const BitmapHandle *bitmap) {
  return *const_cast<BitmapHandle *>(bitmap);
}

int32_t row_transfer(const BitmapHandle *bitmap, const void *buffer, int32_t row, int32_t column,
                     uint32_t count, bool write) {
  if (!buffer) return RC_INVALID_PARAMETER;
  VXKRN_TRY(check_handle(bitmap, RC_INVALID_PARAMETER));
  RowAccess rows(writable(bitmap));
  const uint64_t offset = rows.offset_of(row, column);
  if (offset == UINT64_MAX) return RC_INVALID_PARAMETER;
  return write ? rows.write(offset, buffer, count)
               : rows.read(offset, const_cast<void *>(buffer), count);
}

ResultCode pixel_transfer(const BitmapHandle *bitmap, const void *buffer, int32_t row,
                          int32_t column, uint32_t buffer_size, bool write) {
  VXKRN_TRY(check_allocated_handle(bitmap, RC_INVALID_BITMAP, RC_INVALID_BITMAP));
  if (!buffer) return RC_INVALID_BITMAP;
  const uint32_t bytes = pixel_bytes(bitmap->BitsPerPixel, static_cast<uint32_t>(column));
  if (buffer_size < bytes) return RC_INVALID_PARAMETER;
  const int32_t moved = row_transfer(bitmap, buffer, row, column, bytes, write);
  return moved == static_cast<int32_t>(bytes) ? RC_SUCCESS : RC_NO_MEMORY;
}

// The record functions take 1-bit bitmaps only.
ResultCode check_records(const BitmapHandle *bitmap, const void *records) {
  if (!bitmap || !records) return RC_INVALID_PARAMETER;
  VXKRN_TRY(check_struct_size(bitmap->StructSize));
  return bitmap->BitsPerPixel == 1 ? RC_SUCCESS : RC_INVALID_BITS_PER_PIXEL;
}

ResultCode check_column_range(const BitmapHandle *bitmap, int32_t first_column, uint32_t count) {
  const bool inside = first_column >= 0 && int64_t{first_column} + count <= bitmap->Width;
  return inside ? RC_SUCCESS : RC_INVALID_PARAMETER;
}

}  // namespace

extern "C" {

int32_t V_GetBitmapRow(const BitmapHandle *bitmap, void *buffer, int32_t row, uint32_t count) {
  return row_transfer(bitmap, buffer, row, 0, count, false);
}

int32_t V_PutBitmapRow(BitmapHandle *bitmap, const void *buffer, int32_t row, uint32_t count) {
  return row_transfer(bitmap, buffer, row, 0, count, true);
}

int32_t V_GetBitmapRowCol(const BitmapHandle *bitmap, void *buffer, int32_t row, int32_t column,
                          uint32_t count) {
  return row_transfer(bitmap, buffer, row, column, count, false);
}

int32_t V_PutBitmapRowCol(BitmapHandle *bitmap, const void *buffer, int32_t row, int32_t column,
                          uint32_t count) {
  return row_transfer(bitmap, buffer, row, column, count, true);
}

ResultCode V_GetPixelData(const BitmapHandle *bitmap, void *buffer, int32_t row, int32_t column,
                          uint32_t buffer_size) {
  return pixel_transfer(bitmap, buffer, row, column, buffer_size, false);
}

ResultCode V_PutPixelData(BitmapHandle *bitmap, const void *buffer, int32_t row, int32_t column,
                          uint32_t buffer_size) {
  return pixel_transfer(bitmap, buffer, row, column, buffer_size, true);
}

ResultCode V_PutBitmapRowSegments(BitmapHandle *bitmap, const void *source, int32_t row,
                                  int32_t first_column, const int32_t *segments,
                                  int32_t segment_count, int32_t reserved) {
  if (!source || !segments) return RC_INVALID_PARAMETER;
  VXKRN_TRY(check_handle(bitmap, RC_INVALID_PARAMETER));
  if (reserved != 0 || segment_count < 0 || first_column < 0 || row < 0)
    return RC_INVALID_PARAMETER;
  // Every segment is checked before the first is written.
  for (int32_t i = 0; i < segment_count; ++i) {
    const int64_t column = segments[2 * i], count = segments[2 * i + 1];
    if (count < 0 || column < first_column || column + count > bitmap->Width)
      return RC_INVALID_PARAMETER;
  }
  RowAccess rows(*bitmap);
  for (int32_t i = 0; i < segment_count; ++i) {
    const auto column = static_cast<uint64_t>(segments[2 * i]);
    VXKRN_TRY(rows.put_pixels(row, column, static_cast<uint64_t>(segments[2 * i + 1]),
                              static_cast<const uint8_t *>(source),
                              column - static_cast<uint64_t>(first_column)));
  }
  return RC_SUCCESS;
}

ColorValue V_GetPixelColor(BitmapHandle *bitmap, int32_t row, int32_t column) {
  if (check_allocated_handle(bitmap, RC_INVALID_BITMAP, RC_INVALID_BITMAP) != RC_SUCCESS)
    return PIXEL_COLOR_FAILED;
  return vxkrn::color::get_pixel_color(*bitmap, row, column);
}

ResultCode V_PutPixelColor(BitmapHandle *bitmap, int32_t row, int32_t column, ColorValue color) {
  VXKRN_TRY(check_allocated_handle(bitmap, RC_INVALID_BITMAP, RC_INVALID_BITMAP));
  return vxkrn::color::put_pixel_color(*bitmap, row, column, color);
}

ResultCode V_PutBitmapRowCompressed(BitmapHandle *bitmap, void *work, const void *records,
                                    int32_t first_row, uint32_t row_count) {
  VXKRN_TRY(check_records(bitmap, records));
  if (first_row < 0) return RC_INVALID_PARAMETER;
  return put_records(*bitmap, static_cast<uint8_t *>(work), static_cast<const uint8_t *>(records),
                     first_row, row_count);
}

ResultCode V_GetBitmapRowCompressed(const BitmapHandle *bitmap, void *work, void *records,
                                    int32_t first_row, uint32_t row_count) {
  VXKRN_TRY(check_records(bitmap, records));
  if (first_row < 0) return RC_INVALID_PARAMETER;
  return get_records(writable(bitmap), static_cast<uint8_t *>(work),
                     static_cast<uint8_t *>(records), first_row, row_count);
}

int32_t V_PutBitmapRowColCompressed(BitmapHandle *bitmap, void *work, const void *record,
                                    int32_t row, int32_t first_column, uint32_t pixel_count) {
  VXKRN_TRY(check_records(bitmap, record));
  VXKRN_TRY(check_column_range(bitmap, first_column, pixel_count));
  return put_record_at(*bitmap, static_cast<uint8_t *>(work), static_cast<const uint8_t *>(record),
                       row, first_column, pixel_count);
}

int32_t V_GetBitmapRowColCompressed(const BitmapHandle *bitmap, void *work, void *record,
                                    int32_t row, int32_t first_column, uint32_t pixel_count) {
  VXKRN_TRY(check_records(bitmap, record));
  VXKRN_TRY(check_column_range(bitmap, first_column, pixel_count));
  return get_record_at(writable(bitmap), static_cast<uint8_t *>(work),
                       static_cast<uint8_t *>(record), row, first_column, pixel_count);
}

}  // extern "C"
