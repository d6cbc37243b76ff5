// The row-by-row copy of pixel data between two bitmaps: straight between
// memory rows when both are addressable, records between compressed rows,
// and through one row buffer otherwise.
#include "core/pixel_copy.h"

#include <cstring>

#include "core/checks.h"
#include "core/compressed_storage.h"
#include "core/progress.h"
#include "core/row_access.h"
#include "core/run_length.h"
#include "platform/heap.h"

namespace vxkrn::core {
namespace {

// Records move as they are: the copy keeps compressed storage whatever the
// size of its records. Rows past the destination's height are not copied.
ResultCode copy_records(BitmapHandle &destination, BitmapHandle &source) {
  platform::RuntimeBlock buffer(platform::rt_alloc(max_record_bytes(std::uint64_t(source.Width))));
  if (!buffer) return RC_NO_MEMORY;
  auto *record = static_cast<std::uint8_t *>(buffer.get());
  Progress progress = copy_progress(static_cast<std::uint32_t>(source.Height));
  return progress.each_row(source.Height, [&](std::int32_t y) {
    if (y >= destination.Height) return RC_SUCCESS;
    compressed_get_record(source, y, record);
    return compressed_put_record(destination, y, record);
  });
}

ResultCode copy_rows(BitmapHandle &destination, BitmapHandle &source) {
  RowAccess from(source, Lock::ForTheCall), to(destination, Lock::ForTheCall);
  const auto in = static_cast<std::uint32_t>(source.BytesPerLine);
  const auto out = static_cast<std::uint32_t>(destination.BytesPerLine);
  const std::uint32_t common = in < out ? in : out;
  Progress progress = copy_progress(static_cast<std::uint32_t>(source.Height));
  if (from.row_address(0) && to.row_address(source.Height - 1)) {
    // Both in memory: one copy per row, no intermediate buffer.
    return progress.each_row(source.Height, [&](std::int32_t y) {
      std::uint8_t *row = to.row_address(y);
      std::memcpy(row, from.row_address(y), common);
      if (out > common) std::memset(row + common, 0, out - common);
      return RC_SUCCESS;
    });
  }
  platform::RuntimeBlock buffer(platform::rt_alloc(in > out ? in : out, true));
  if (!buffer) return RC_NO_MEMORY;
  auto *row = static_cast<std::uint8_t *>(buffer.get());
  return progress.each_row(source.Height, [&](std::int32_t y) {
    VXKRN_TRY(from.get_row(y, row));
    // A row write that fails in any way is a short write.
    return to.put_row(y, row) == RC_SUCCESS ? RC_SUCCESS : RC_NO_MEMORY;
  });
}

}  // namespace

ResultCode copy_pixels(BitmapHandle &destination, BitmapHandle &source) noexcept {
  if (&destination == &source) return RC_SUCCESS;
  const bool records = (source.Flags & FLAG_COMPRESSED) && (destination.Flags & FLAG_COMPRESSED) &&
                       source.Width == destination.Width;
  return records ? copy_records(destination, source) : copy_rows(destination, source);
}

}  // namespace vxkrn::core
