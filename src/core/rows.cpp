// Row, row-column and single-pixel byte transfers: argument checks, then the
// shared transfer path.
#include "core/checks.h"
#include "core/pixel_layout.h"
#include "core/row_io.h"
#include "vxkrn/rows.h"

using namespace vxkrn::core;

namespace {

int32_t row_transfer(const BitmapHandle *bitmap, const void *buffer, int32_t row, int32_t column,
                     uint32_t count, Direction direction) {
  if (!buffer) return RC_INVALID_PARAMETER;
  VXKRN_TRY(check_handle(bitmap, RC_INVALID_PARAMETER));
  const uint64_t offset = pixel_offset(*bitmap, row, column);
  if (offset == UINT64_MAX) return RC_INVALID_PARAMETER;
  return transfer_bytes(*bitmap, offset, const_cast<void *>(buffer), count, direction);
}

ResultCode pixel_transfer(const BitmapHandle *bitmap, const void *buffer, int32_t row,
                          int32_t column, uint32_t buffer_size, Direction direction) {
  VXKRN_TRY(check_allocated_handle(bitmap, RC_INVALID_BITMAP, RC_INVALID_BITMAP));
  if (!buffer) return RC_INVALID_BITMAP;
  const uint32_t bytes = pixel_bytes(bitmap->BitsPerPixel, static_cast<uint32_t>(column));
  if (buffer_size < bytes) return RC_INVALID_PARAMETER;
  const int32_t moved = row_transfer(bitmap, buffer, row, column, bytes, direction);
  return moved == static_cast<int32_t>(bytes) ? RC_SUCCESS : RC_NO_MEMORY;
}

}  // namespace

extern "C" {

int32_t V_GetBitmapRow(const BitmapHandle *bitmap, void *buffer, int32_t row, uint32_t count) {
  return row_transfer(bitmap, buffer, row, 0, count, Direction::Read);
}

int32_t V_PutBitmapRow(BitmapHandle *bitmap, const void *buffer, int32_t row, uint32_t count) {
  return row_transfer(bitmap, buffer, row, 0, count, Direction::Write);
}

int32_t V_GetBitmapRowCol(const BitmapHandle *bitmap, void *buffer, int32_t row, int32_t column,
                          uint32_t count) {
  return row_transfer(bitmap, buffer, row, column, count, Direction::Read);
}

int32_t V_PutBitmapRowCol(BitmapHandle *bitmap, const void *buffer, int32_t row, int32_t column,
                          uint32_t count) {
  return row_transfer(bitmap, buffer, row, column, count, Direction::Write);
}

ResultCode V_GetPixelData(const BitmapHandle *bitmap, void *buffer, int32_t row, int32_t column,
                          uint32_t buffer_size) {
  return pixel_transfer(bitmap, buffer, row, column, buffer_size, Direction::Read);
}

ResultCode V_PutPixelData(BitmapHandle *bitmap, const void *buffer, int32_t row, int32_t column,
                          uint32_t buffer_size) {
  return pixel_transfer(bitmap, buffer, row, column, buffer_size, Direction::Write);
}

}  // extern "C"
