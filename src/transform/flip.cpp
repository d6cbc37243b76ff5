// Flip and reverse: rows exchanged in place (compressed rows by their
// directory entries where one row group holds them all), rows mirrored in
// place (compressed rows as records).
#include "transform/flip.h"

#include <cstring>
#include <utility>

#if defined(__SSE2__)
#include <emmintrin.h>
#include <xmmintrin.h>
#endif

#include "core/checks.h"
#include "core/compressed_storage.h"
#include "core/progress.h"
#include "core/row_access.h"
#include "core/run_length.h"
#include "platform/heap.h"
#include "transform/mirror.h"

namespace vxkrn::transform {
namespace {

using core::RowAccess;
using core::StorageKind;

// Two buffers of a row, or of a record of the row, taken once.
class RowPair {
 public:
  explicit RowPair(std::uint64_t bytes)
      : block_(platform::rt_alloc(platform::checked_product(bytes, 2))), bytes_(bytes) {}
  explicit operator bool() const { return static_cast<bool>(block_); }
  std::uint8_t *first() const { return static_cast<std::uint8_t *>(block_.get()); }
  std::uint8_t *second() const { return first() + bytes_; }

 private:
  platform::RuntimeBlock block_;
  std::uint64_t bytes_;
};

// Exchange two rows in one pass, 64 bytes at a time through registers:
// each byte is read once and written once, as a copy moves it.
void swap_bytes(std::uint8_t *a, std::uint8_t *b, std::uint64_t bytes) {
  std::uint64_t i = 0;
#if defined(__SSE2__)
  for (; i + 64 <= bytes; i += 64) {
    auto *x = reinterpret_cast<__m128i *>(a + i), *y = reinterpret_cast<__m128i *>(b + i);
    // Both rows are read as two streams running towards each other; ask for
    // their lines ahead so that the two streams overlap their misses.
    _mm_prefetch(reinterpret_cast<const char *>(a + i + 512), _MM_HINT_T0);
    _mm_prefetch(reinterpret_cast<const char *>(b + i + 512), _MM_HINT_T0);
    const __m128i x0 = _mm_loadu_si128(x), x1 = _mm_loadu_si128(x + 1), x2 = _mm_loadu_si128(x + 2),
                  x3 = _mm_loadu_si128(x + 3);
    const __m128i y0 = _mm_loadu_si128(y), y1 = _mm_loadu_si128(y + 1), y2 = _mm_loadu_si128(y + 2),
                  y3 = _mm_loadu_si128(y + 3);
    _mm_storeu_si128(x, y0);
    _mm_storeu_si128(x + 1, y1);
    _mm_storeu_si128(x + 2, y2);
    _mm_storeu_si128(x + 3, y3);
    _mm_storeu_si128(y, x0);
    _mm_storeu_si128(y + 1, x1);
    _mm_storeu_si128(y + 2, x2);
    _mm_storeu_si128(y + 3, x3);
  }
#endif
  for (; i < bytes; ++i)
    std::swap(a[i], b[i]);
}

}  // namespace

ResultCode flip_rows(BitmapHandle &bitmap) noexcept {
  const std::int32_t height = bitmap.Height;
  RowAccess rows(bitmap, core::Lock::ForTheCall);
  core::Progress progress = core::status_progress(static_cast<std::uint32_t>((height + 1) / 2));
  const bool compressed = rows.kind() == StorageKind::Compressed;
  const std::uint64_t bytes = compressed ? core::max_record_bytes(std::uint64_t(bitmap.Width))
                                         : static_cast<std::uint32_t>(bitmap.BytesPerLine);
  RowPair pair(bytes);
  if (!pair) return RC_NO_MEMORY;
  return progress.each_row((height + 1) / 2, [&](std::int32_t top) -> ResultCode {
    const std::int32_t bottom = height - 1 - top;
    if (bottom == top) return RC_SUCCESS;
    if (std::uint8_t *a = rows.row_address(top)) {
      swap_bytes(a, rows.row_address(bottom), bytes);
      return RC_SUCCESS;
    }
    if (compressed) {
      if (core::compressed_swap_rows(bitmap, top, bottom)) return RC_SUCCESS;
      VXKRN_TRY(rows.get_record(top, pair.first()));
      VXKRN_TRY(rows.get_record(bottom, pair.second()));
      VXKRN_TRY(rows.put_record(top, pair.second()));
      return rows.put_record(bottom, pair.first());
    }
    VXKRN_TRY(rows.get_row(top, pair.first()));
    VXKRN_TRY(rows.get_row(bottom, pair.second()));
    VXKRN_TRY(rows.put_row(top, pair.second()));
    return rows.put_row(bottom, pair.first());
  });
}

ResultCode reverse_rows(BitmapHandle &bitmap) noexcept {
  RowAccess rows(bitmap, core::Lock::ForTheCall);
  core::Progress progress = core::status_progress(static_cast<std::uint32_t>(bitmap.Height));
  const bool compressed = rows.kind() == StorageKind::Compressed;
  // A mirrored record may be one word longer than its source.
  const std::uint64_t bytes = compressed ? core::max_record_bytes(std::uint64_t(bitmap.Width)) + 2
                                         : static_cast<std::uint32_t>(bitmap.BytesPerLine);
  RowPair pair(bytes);
  if (!pair) return RC_NO_MEMORY;
  const auto width = static_cast<std::uint64_t>(bitmap.Width);
  return progress.each_row(bitmap.Height, [&](std::int32_t y) -> ResultCode {
    if (std::uint8_t *row = rows.row_address(y)) {
      mirror_row(row, width, bitmap.BitsPerPixel);
      return RC_SUCCESS;
    }
    if (compressed) {
      VXKRN_TRY(rows.get_record(y, pair.first()));
      core::mirror_records(pair.first(), pair.second(), 1);
      return rows.put_record(y, pair.second());
    }
    VXKRN_TRY(rows.get_row(y, pair.first()));
    mirror_row(pair.first(), width, bitmap.BitsPerPixel);
    return rows.put_row(y, pair.first());
  });
}

}  // namespace vxkrn::transform
