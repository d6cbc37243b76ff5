// Rows exchanged as run-length records with callers: stored as they are in
// compressed bitmaps, expanded into or encoded from plain rows for every
// other storage kind.
#pragma once

#include <cstdint>

#include "vxkrn/types.h"

namespace vxkrn::core {

// The callers' buffers: `work` is a row of BytesPerLine bytes or null (one
// is then taken for the call); records follow each other without gaps. The
// bitmap is 1-bit and allocated; rows past Height are not moved.

// Store row_count records from first_row on. Every record must be one row
// of Width pixels (is_row_record), or nothing is stored and the result is
// RC_INVALID_PARAMETER. Compressed storage whose records come to more bytes
// than its plain rows switches to plain storage afterwards.
ResultCode put_records(BitmapHandle &bitmap, std::uint8_t *work, const std::uint8_t *records,
                       std::int32_t first_row, std::uint32_t row_count) noexcept;

// Read row_count rows from first_row on as records.
ResultCode get_records(BitmapHandle &bitmap, std::uint8_t *work, std::uint8_t *records,
                       std::int32_t first_row, std::uint32_t row_count) noexcept;

// One record of exactly pixel_count pixels into `row` from first_column on
// (the range inside the row), its neighbours kept; and pixel_count pixels
// from first_column on as one record. Return (pixel_count + 7) >> 3 or a
// failure code.
std::int32_t put_record_at(BitmapHandle &bitmap, std::uint8_t *work, const std::uint8_t *record,
                           std::int32_t row, std::int32_t first_column,
                           std::uint32_t pixel_count) noexcept;
std::int32_t get_record_at(BitmapHandle &bitmap, std::uint8_t *work, std::uint8_t *record,
                           std::int32_t row, std::int32_t first_column,
                           std::uint32_t pixel_count) noexcept;

}  // namespace vxkrn::core
