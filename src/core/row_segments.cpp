// Writing only some pixels of a stored row: whole bytes go straight to
// storage, bytes shared with pixels outside the range are merged.
#include <cstring>

#include "core/checks.h"
#include "core/pixel_layout.h"
#include "core/row_access.h"

namespace vxkrn::core {
namespace {

// Replace the masked bits of one stored byte.
ResultCode merge_byte(RowAccess &rows, uint64_t at, uint8_t source, uint8_t mask) {
  uint8_t stored;
  VXKRN_TRY(rows.get(at, &stored, 1));
  stored = static_cast<uint8_t>((stored & ~mask) | (source & mask));
  return rows.put(at, &stored, 1);
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
ResultCode write_same_phase(RowAccess &rows, const Segment &s, int32_t bits) {
  const uint64_t start = s.column * static_cast<uint64_t>(bits);
  const uint64_t end = start + s.count * static_cast<uint64_t>(bits) - 1;  // last bit
  const uint8_t *src = s.source + ((s.source_pixel * static_cast<uint64_t>(bits)) >> 3);
  const uint64_t first = start >> 3, last = end >> 3;
  uint8_t head = head_mask(start, bits), tail = tail_mask(end, bits);
  if (first == last) return merge_byte(rows, s.row_start + first, src[0], head & tail);
  uint64_t whole_from = first, whole_to = last + 1;
  if (head != 0xFF) {
    VXKRN_TRY(merge_byte(rows, s.row_start + first, src[0], head));
    ++whole_from;
  }
  if (tail != 0xFF) {
    VXKRN_TRY(merge_byte(rows, s.row_start + last, src[last - first], tail));
    --whole_to;
  }
  if (whole_to == whole_from) return RC_SUCCESS;
  return rows.put(s.row_start + whole_from, src + (whole_from - first),
                  static_cast<uint32_t>(whole_to - whole_from));
}

// Packed depths with different bit phases: rebuild the stored bytes pixel by
// pixel in scratch.
ResultCode write_shifted(RowAccess &rows, const Segment &s, int32_t bits) {
  const uint64_t start = s.column * static_cast<uint64_t>(bits);
  const uint64_t first = start >> 3;
  const uint64_t span = ((start + s.count * static_cast<uint64_t>(bits) - 1) >> 3) - first + 1;
  platform::RuntimeBlock scratch(platform::rt_alloc(span));
  if (!scratch) return RC_NO_MEMORY;
  auto *bytes = static_cast<uint8_t *>(scratch.get());
  VXKRN_TRY(rows.get(s.row_start + first, bytes, static_cast<uint32_t>(span)));
  for (uint64_t i = 0; i < s.count; ++i) {
    const uint32_t value =
        get_packed_pixel(s.source, (s.source_pixel + i) * static_cast<uint64_t>(bits), bits);
    set_packed_pixel(bytes, start - first * 8 + i * static_cast<uint64_t>(bits), bits, value);
  }
  return rows.put(s.row_start + first, bytes, static_cast<uint32_t>(span));
}

}  // namespace

ResultCode RowAccess::put_pixels(std::int32_t y, std::uint64_t column, std::uint64_t count,
                                 const std::uint8_t *source, std::uint64_t source_pixel) noexcept {
  if (count == 0) return RC_SUCCESS;
  const std::int32_t bits = bitmap_.BitsPerPixel;
  const Segment s{offset_of(y, 0), source, source_pixel, column, count};
  if (!is_packed_depth(bits)) {
    const std::uint64_t pixel = static_cast<std::uint64_t>(bits) / 8;
    return put(s.row_start + column * pixel, source + source_pixel * pixel,
               static_cast<std::uint32_t>(count * pixel));
  }
  const std::uint64_t phase = (column - source_pixel) * static_cast<std::uint64_t>(bits);
  return phase % 8 == 0 ? write_same_phase(*this, s, bits) : write_shifted(*this, s, bits);
}

}  // namespace vxkrn::core
