// Whole copies: a new bitmap like the source (or with a chosen storage), and
// the row-by-row copy of pixel data between two bitmaps of one format.
#include <cstring>

#include "core/bitmap_core.h"
#include "core/bitmap_lock.h"
#include "core/checks.h"
#include "core/compressed_storage.h"
#include "core/progress.h"
#include "io/run_length.h"
#include "platform/heap.h"
#include "transform/copy_internal.h"
#include "vxkrn/bitmap.h"
#include "vxkrn/copy.h"
#include "vxkrn/rows.h"

using namespace vxkrn::core;
using vxkrn::transform::addressable;

namespace {

ResultCode check_copy(const BitmapHandle *destination, const BitmapHandle *source,
                      uint32_t struct_size) {
  VXKRN_TRY(check_record(destination, RC_INVALID_PARAMETER));
  VXKRN_TRY(check_handle(source, RC_INVALID_PARAMETER));
  VXKRN_TRY(check_struct_size(struct_size));
  return check_allocated(source, RC_INVALID_PARAMETER);
}

// Copy rows 0 .. Height - 1 through `step(row)`, reporting progress.
template <class Step>
ResultCode each_row(const BitmapHandle &source, Step step) {
  Progress progress = copy_progress(static_cast<uint32_t>(source.Height));
  VXKRN_TRY(progress.start());
  for (int32_t y = 0; y < source.Height; ++y) {
    VXKRN_TRY(step(y));
    VXKRN_TRY(progress.row_done());
  }
  return RC_SUCCESS;
}

// Records move as they are: the copy keeps compressed storage whatever the
// size of its records. Rows past the destination's height are not copied.
ResultCode copy_compressed(BitmapHandle *destination, BitmapHandle *source) {
  vxkrn::platform::RuntimeBlock buffer(
      vxkrn::platform::rt_alloc(vxkrn::io::max_record_bytes(uint64_t(source->Width))));
  if (!buffer) return RC_NO_MEMORY;
  auto *record = static_cast<uint8_t *>(buffer.get());
  return each_row(*source, [&](int32_t y) {
    if (y >= destination->Height) return RC_SUCCESS;
    compressed_get_record(*source, y, record);
    return compressed_put_record(*destination, y, record);
  });
}

ResultCode copy_plain(BitmapHandle *destination, BitmapHandle *source) {
  const auto from = static_cast<uint32_t>(source->BytesPerLine);
  const auto to = static_cast<uint32_t>(destination->BytesPerLine);
  if (addressable(*source) && addressable(*destination) &&
      uint64_t{to} * static_cast<uint64_t>(source->Height) <= destination->Size) {
    // Both in memory: one copy per row, no intermediate buffer. A wider
    // destination row gets zeros past the source row, as through a buffer.
    const uint32_t common = from < to ? from : to;
    return each_row(*source, [&](int32_t y) {
      uint8_t *out = destination->Data + uint64_t(y) * to;
      std::memcpy(out, source->Data + uint64_t(y) * from, common);
      if (to > common) std::memset(out + common, 0, to - common);
      return RC_SUCCESS;
    });
  }
  // Into compressed rows that all exist: each row encoded here into one
  // record buffer, instead of a scratch block per row write.
  const bool encodes = has_flags(*destination, FLAG_ALLOCATED | FLAG_COMPRESSED) &&
                       destination->Height >= source->Height;
  const uint64_t row_bytes = from > to ? from : to;
  const uint64_t record_bytes =
      encodes ? vxkrn::io::max_record_bytes(uint64_t(destination->Width)) : 0;
  vxkrn::platform::RuntimeBlock buffer(vxkrn::platform::rt_alloc(row_bytes + record_bytes, true));
  if (!buffer) return RC_NO_MEMORY;
  auto *row = static_cast<uint8_t *>(buffer.get());
  uint8_t *record = row + row_bytes;
  return each_row(*source, [&](int32_t y) {
    const int32_t got = V_GetBitmapRow(source, row, y, from);
    if (got < 0) return got;
    if (encodes) {
      vxkrn::io::encode_row(row, 0, uint64_t(destination->Width), record);
      return compressed_put_record(*destination, y, record);
    }
    return V_PutBitmapRow(destination, row, y, to) == static_cast<int32_t>(to) ? RC_SUCCESS
                                                                               : RC_NO_MEMORY;
  });
}

// A new bitmap like the source holding its pixels; freed again on failure.
ResultCode copy_whole(BitmapHandle *destination, BitmapHandle *source, uint32_t struct_size,
                      const int32_t *memory_type) {
  VXKRN_TRY(check_copy(destination, source, struct_size));
  if (destination == source) return RC_SUCCESS;
  VXKRN_TRY(vxkrn::transform::duplicate_for_copy(destination, source, source->Width, source->Height,
                                                 memory_type));
  const ResultCode rc = V_CopyBitmapData(destination, source);
  if (rc != RC_SUCCESS) V_FreeBitmap(destination);
  return rc;
}

}  // namespace

extern "C" {

ResultCode V_CopyBitmapData(BitmapHandle *destination, BitmapHandle *source) {
  VXKRN_TRY(check_record(destination, RC_INVALID_BITMAP));
  VXKRN_TRY(check_record(source, RC_INVALID_BITMAP));
  VXKRN_TRY(check_struct_size(destination->StructSize));
  VXKRN_TRY(check_struct_size(source->StructSize));
  VXKRN_TRY(check_allocated(destination, RC_INVALID_BITMAP));
  VXKRN_TRY(check_allocated(source, RC_INVALID_BITMAP));
  if (destination == source) return RC_SUCCESS;
  BitmapLock locked_source(source), locked_destination(destination);
  const bool both_compressed = (source->Flags & FLAG_COMPRESSED) &&
                               (destination->Flags & FLAG_COMPRESSED) &&
                               source->Width == destination->Width;
  return both_compressed ? copy_compressed(destination, source) : copy_plain(destination, source);
}

ResultCode V_CopyBitmap(BitmapHandle *destination, BitmapHandle *source, uint32_t struct_size) {
  return copy_whole(destination, source, struct_size, nullptr);
}

ResultCode V_CopyBitmap2(BitmapHandle *destination, BitmapHandle *source, int32_t memory_type,
                         uint32_t struct_size) {
  return copy_whole(destination, source, struct_size, &memory_type);
}

}  // extern "C"
