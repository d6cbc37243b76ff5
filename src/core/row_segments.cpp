// Writing only listed segments of a stored row: whole bytes go straight to
// storage, bytes shared with pixels outside a segment are merged.
#include <cstring>

#include "core/checks.h"
#include "core/pixel_layout.h"
#include "core/row_io.h"
#include "platform/heap.h"
#include "vxkrn/rows.h"

using namespace vxkrn::core;

namespace {

// Write `count` bytes at byte offset `at` of the pixel data.
ResultCode put_bytes(const BitmapHandle &bitmap, uint64_t at, const void *bytes, uint32_t count) {
  const int32_t moved =
      transfer_bytes(bitmap, at, const_cast<void *>(bytes), count, Direction::Write);
  if (moved < 0) return moved;
  return moved == static_cast<int32_t>(count) ? RC_SUCCESS : RC_FILE_WRITE;
}

ResultCode get_bytes(const BitmapHandle &bitmap, uint64_t at, void *bytes, uint32_t count) {
  const int32_t moved = transfer_bytes(bitmap, at, bytes, count, Direction::Read);
  if (moved < 0) return moved;
  return moved == static_cast<int32_t>(count) ? RC_SUCCESS : RC_FILE_READ;
}

// Replace the masked bits of one stored byte.
ResultCode merge_byte(const BitmapHandle &bitmap, uint64_t at, uint8_t source, uint8_t mask) {
  uint8_t stored;
  VXKRN_TRY(get_bytes(bitmap, at, &stored, 1));
  stored = static_cast<uint8_t>((stored & ~mask) | (source & mask));
  return put_bytes(bitmap, at, &stored, 1);
}

struct Segment {
  uint64_t row_start;     // byte offset of the row
  const uint8_t *source;  // source bytes of pixel first_column
  uint64_t source_pixel;  // pixel index in source
  uint64_t column;        // first pixel in the row
  uint64_t count;         // pixels
};

// Packed depths where source and row share the bit phase: the middle bytes
// are copied whole, only the two edge bytes are merged.
ResultCode write_same_phase(const BitmapHandle &bitmap, const Segment &s, int32_t bits) {
  const uint64_t start = s.column * static_cast<uint64_t>(bits);
  const uint64_t end = start + s.count * static_cast<uint64_t>(bits) - 1;  // last bit
  const uint8_t *src = s.source + ((s.source_pixel * static_cast<uint64_t>(bits)) >> 3);
  const uint64_t first = start >> 3, last = end >> 3;
  uint8_t head = head_mask(start, bits), tail = tail_mask(end, bits);
  if (first == last) return merge_byte(bitmap, s.row_start + first, src[0], head & tail);
  uint64_t whole_from = first, whole_to = last + 1;
  if (head != 0xFF) {
    VXKRN_TRY(merge_byte(bitmap, s.row_start + first, src[0], head));
    ++whole_from;
  }
  if (tail != 0xFF) {
    VXKRN_TRY(merge_byte(bitmap, s.row_start + last, src[last - first], tail));
    --whole_to;
  }
  if (whole_to == whole_from) return RC_SUCCESS;
  return put_bytes(bitmap, s.row_start + whole_from, src + (whole_from - first),
                   static_cast<uint32_t>(whole_to - whole_from));
}

// Packed depths with different bit phases: rebuild the stored bytes pixel by
// pixel in scratch.
ResultCode write_shifted(const BitmapHandle &bitmap, const Segment &s, int32_t bits) {
  const uint64_t start = s.column * static_cast<uint64_t>(bits);
  const uint64_t first = start >> 3;
  const uint64_t span = ((start + s.count * static_cast<uint64_t>(bits) - 1) >> 3) - first + 1;
  vxkrn::platform::RuntimeBlock scratch(vxkrn::platform::rt_alloc(span));
  if (!scratch) return RC_NO_MEMORY;
  auto *bytes = static_cast<uint8_t *>(scratch.get());
  VXKRN_TRY(get_bytes(bitmap, s.row_start + first, bytes, static_cast<uint32_t>(span)));
  for (uint64_t i = 0; i < s.count; ++i) {
    const uint32_t value =
        get_packed_pixel(s.source, (s.source_pixel + i) * static_cast<uint64_t>(bits), bits);
    set_packed_pixel(bytes, start - first * 8 + i * static_cast<uint64_t>(bits), bits, value);
  }
  return put_bytes(bitmap, s.row_start + first, bytes, static_cast<uint32_t>(span));
}

ResultCode write_segment(const BitmapHandle &bitmap, const Segment &s) {
  const int32_t bits = bitmap.BitsPerPixel;
  if (!is_packed_depth(bits)) {
    const uint64_t pixel = static_cast<uint64_t>(bits) / 8;
    return put_bytes(bitmap, s.row_start + s.column * pixel, s.source + s.source_pixel * pixel,
                     static_cast<uint32_t>(s.count * pixel));
  }
  const uint64_t phase = (s.column - s.source_pixel) * static_cast<uint64_t>(bits);
  return phase % 8 == 0 ? write_same_phase(bitmap, s, bits) : write_shifted(bitmap, s, bits);
}

}  // namespace

extern "C" {

ResultCode V_PutBitmapRowSegments(BitmapHandle *bitmap, const void *source, int32_t row,
                                  int32_t first_column, const int32_t *segments,
                                  int32_t segment_count, int32_t reserved) {
  if (!source || !segments) return RC_INVALID_PARAMETER;
  VXKRN_TRY(check_handle(bitmap, RC_INVALID_PARAMETER));
  if (reserved != 0 || segment_count < 0 || first_column < 0 || row < 0)
    return RC_INVALID_PARAMETER;
  for (int32_t i = 0; i < segment_count; ++i) {
    const int64_t column = segments[2 * i], count = segments[2 * i + 1];
    if (count < 0 || column < first_column || column + count > bitmap->Width)
      return RC_INVALID_PARAMETER;
  }
  const uint64_t row_start = pixel_offset(*bitmap, row, 0);
  for (int32_t i = 0; i < segment_count; ++i) {
    const int32_t column = segments[2 * i], count = segments[2 * i + 1];
    if (count == 0) continue;
    const Segment segment{row_start, static_cast<const uint8_t *>(source),
                          static_cast<uint64_t>(column - first_column),
                          static_cast<uint64_t>(column), static_cast<uint64_t>(count)};
    VXKRN_TRY(write_segment(*bitmap, segment));
  }
  return RC_SUCCESS;
}

}  // extern "C"
