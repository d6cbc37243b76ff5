// Compressed storage of 1-bit bitmaps: rows kept as run words in groups of
// 32768 rows, each group with its own offset arena.
#pragma once

#include <cstdint>

#include "vxkrn/types.h"

namespace vxkrn::core {

constexpr uint32_t kRowsPerGroup = 32768;

// Storage for `height` rows of `width` pixels, every row never written (it
// reads as 0 pixels). Returns the table (Data and Storage of the bitmap) or
// null when memory ran out, with nothing left allocated.
void *compressed_create(int32_t width, int32_t height) noexcept;
void compressed_free(void *table, int32_t height) noexcept;

// Rows at and above the new height are freed; new rows read as never
// written. Groups are added (or dropped) as the height needs. RC_NO_MEMORY
// leaves the storage as it was.
ResultCode compressed_resize(BitmapHandle &bitmap, int32_t new_height) noexcept;

// Bytes of the stored records, (N + 2) * 2 for every row written.
uint64_t compressed_size(const BitmapHandle &bitmap) noexcept;

// Decode `count` pixels from pixel `column` of a row into dest (bits from
// the most significant bit of dest[0]; (count + 7) / 8 bytes written).
void compressed_read(const BitmapHandle &bitmap, int32_t row, uint64_t column, uint64_t count,
                     uint8_t *dest) noexcept;

// The row as a record (count and run words) into out, which has room for
// max_record_bytes(Width). A row never written is a run of Width 0 pixels.
void compressed_get_record(const BitmapHandle &bitmap, int32_t row, uint8_t *out) noexcept;

// Store a record (its N run words, covering the row's Width pixels) as the
// row, replacing what it held; Size follows. RC_NO_MEMORY leaves the row as
// it was.
ResultCode compressed_put_record(BitmapHandle &bitmap, int32_t row, const uint8_t *record) noexcept;

// Exchange rows a and b when they lie in one row group (their records stay
// where they are in its arena); false, nothing changed, when they do not.
bool compressed_swap_rows(BitmapHandle &bitmap, int32_t a, int32_t b) noexcept;

// Grow every group's arena by a share of `bytes`, or trim every arena, from
// the last group to the first; false at the first arena that cannot.
bool compressed_grow(BitmapHandle &bitmap, uint32_t bytes) noexcept;
bool compressed_trim(BitmapHandle &bitmap) noexcept;

}  // namespace vxkrn::core
