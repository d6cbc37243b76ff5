// Rectangle copies and trimming: a new bitmap of the rectangle's size, the
// overlap with the source copied row by row with its bits realigned.
#include <algorithm>
#include <cstring>

#include "core/checks.h"
#include "core/duplicate.h"
#include "core/pixel_layout.h"
#include "core/progress.h"
#include "core/row_access.h"
#include "core/storage.h"
#include "platform/heap.h"
#include "transform/bit_stream.h"
#include "transform/copy.h"

namespace vxkrn::transform {
namespace {

using core::RowAccess;

uint32_t bytes_for(uint64_t bits) {
  return static_cast<uint32_t>((bits + 7) / 8);
}

// Pixels that fill bytes from their low bits, moved from bit offset `from`
// to `to`: pixel by pixel (for 12 bits the low nibble of a pair's middle
// byte belongs to the first pixel).
void shift_low_first(const uint8_t *in, uint8_t *out, uint32_t bytes, uint32_t from, uint32_t to,
                     uint64_t pixels, int32_t bits) {
  std::memset(out, 0, bytes);
  for (uint64_t p = 0; p < pixels; ++p)
    core::set_packed_pixel(out, to + uint64_t(bits) * p, bits,
                           core::get_packed_pixel(in, from + uint64_t(bits) * p, bits));
}

// Clear the bits after the copied pixels in the last byte written: they
// belong to destination pixels outside the rectangle, which stay blank.
void clear_tail(uint8_t *row, uint32_t bytes, uint64_t used_bits, int32_t bits) {
  const uint32_t spare = static_cast<uint32_t>(bytes * 8 - used_bits);
  if (spare == 0) return;
  uint8_t &last = row[bytes - 1];
  last = static_cast<uint8_t>(core::fills_from_low_bits(bits) ? last & (0xFFu >> spare)
                                                              : last & (0xFFu << spare));
}

struct Rect {
  int64_t first_column, end_column, first_row, end_row;
};

// The part of the rectangle (left, top, width, height) inside the bitmap.
Rect clip(const BitmapHandle &bitmap, int32_t left, int32_t top, int32_t width, int32_t height) {
  return Rect{left > 0 ? left : 0, std::min<int64_t>(int64_t{left} + width, bitmap.Width),
              top > 0 ? top : 0, std::min<int64_t>(int64_t{top} + height, bitmap.Height)};
}

// How the overlap's rows move: `read` bytes from the source column, moved
// from bit offset `from` to `to`, `write` bytes at the result column.
struct Geometry {
  int32_t bits;
  uint64_t columns, used;
  uint32_t from, to, read, write;
};

Geometry geometry_of(int32_t bits, const Rect &r, int32_t left) {
  Geometry g{};
  g.bits = bits;
  g.columns = static_cast<uint64_t>(r.end_column - r.first_column);
  g.used = static_cast<uint64_t>(bits) * g.columns;
  g.from = core::column_bit(bits, static_cast<uint64_t>(r.first_column));
  g.to = core::column_bit(bits, static_cast<uint64_t>(r.first_column - left));
  g.read = bytes_for(g.from + g.used);
  g.write = bytes_for(g.to + g.used);
  return g;
}

// One row's pixels from `in` into `out`, which must not overlap.
void realign(const uint8_t *in, uint8_t *out, const Geometry &g) {
  if (g.from == g.to)
    std::memcpy(out, in, g.write);
  else if (core::fills_from_low_bits(g.bits))
    shift_low_first(in, out, g.write, g.from, g.to, g.columns, g.bits);
  else
    shift_stream(in, g.read, out, g.write, static_cast<int>(g.from) - static_cast<int>(g.to));
  clear_tail(out, g.write, g.to + g.used, g.bits);
}

// Copy the overlap rows of `source` into `result`. `stopped` tells a
// callback's stop apart from a failure.
ResultCode copy_rows(BitmapHandle &result, BitmapHandle &source, int32_t left, int32_t top,
                     int32_t height, const Rect &r, bool *stopped) {
  const Geometry g = geometry_of(source.BitsPerPixel, r, left);
  RowAccess from(source, core::Lock::ForTheCall), to(result, core::Lock::ForTheCall);
  // Both in memory: straight from row to row. Otherwise through two buffers.
  const bool direct = from.row_address(0) && to.row_address(0);
  platform::RuntimeBlock buffer(direct ? nullptr
                                       : platform::rt_alloc(uint64_t{g.read} + g.write, true));
  if (!direct && !buffer) return RC_NO_MEMORY;
  auto *in = static_cast<uint8_t *>(buffer.get());
  uint8_t *out = direct ? nullptr : in + g.read;
  core::Progress progress = core::copy_progress(static_cast<uint32_t>(height));
  // A callback's stop is told apart from a failure.
  auto reported = [stopped](ResultCode rc) {
    *stopped = rc != RC_SUCCESS;
    return rc;
  };
  VXKRN_TRY(reported(progress.start()));
  const auto source_column = static_cast<int32_t>(r.first_column);
  const auto result_column = static_cast<int32_t>(r.first_column - left);
  for (int64_t y = r.first_row; y < r.end_row; ++y) {
    const auto source_row = static_cast<int32_t>(y), result_row = static_cast<int32_t>(y - top);
    const uint64_t from_offset = from.offset_of(source_row, source_column);
    const uint64_t to_offset = to.offset_of(result_row, result_column);
    if (direct) {
      realign(source.Data + from_offset, result.Data + to_offset, g);
    } else {
      VXKRN_TRY(from.get(from_offset, in, g.read));
      realign(in, out, g);
      if (to.put(to_offset, out, g.write) != RC_SUCCESS) return RC_NO_MEMORY;
    }
    VXKRN_TRY(reported(progress.row_done()));
  }
  return RC_SUCCESS;
}

}  // namespace

ResultCode copy_rect(BitmapHandle *destination, BitmapHandle &source, int32_t left, int32_t top,
                     int32_t width, int32_t height, const int32_t *memory_type) noexcept {
  // Without a separate destination the result replaces the source.
  const bool in_place = !destination || destination == &source;
  BitmapHandle scratch;
  BitmapHandle &result = in_place ? scratch : *destination;
  VXKRN_TRY(core::duplicate_for_copy(result, source, width, height, memory_type));
  const Rect r = clip(source, left, top, width, height);
  if (r.end_column - r.first_column < 1 || r.end_row - r.first_row < 1) {
    if (in_place) core::free_bitmap(result);  // nothing to copy: the source stays as it was
    return RC_SUCCESS;
  }
  bool stopped = false;
  const ResultCode rc = copy_rows(result, source, left, top, height, r, &stopped);
  if (in_place && (rc == RC_SUCCESS || stopped)) {
    // Also when the callback stopped the copy, deliberately: the partly
    // copied bitmap takes the source's place.
    core::free_bitmap(source);
    source = scratch;
  } else if (rc != RC_SUCCESS) {
    core::free_bitmap(result);  // a failure leaves no storage behind
  }
  return rc;
}

ResultCode trim(BitmapHandle &bitmap, int32_t left, int32_t top, int32_t width,
                int32_t height) noexcept {
  const Rect r = clip(bitmap, left, top, width, height);
  if (r.end_column < r.first_column || r.end_row < r.first_row) return RC_EMPTY_AREA;
  return copy_rect(nullptr, bitmap, static_cast<int32_t>(r.first_column),
                   static_cast<int32_t>(r.first_row),
                   static_cast<int32_t>(r.end_column - r.first_column),
                   static_cast<int32_t>(r.end_row - r.first_row), nullptr);
}

}  // namespace vxkrn::transform
