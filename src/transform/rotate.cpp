// Right-angle rotation of bitmaps. A quarter turn fills the result in bands
// of its rows: all of them at once when the result lies in memory, else as
// many as a fixed budget holds, written out band by band. Each band needs
// a run of source columns from every source row; those pieces are read in
// chunks of rows (or used where they lie, in memory) and turned into the
// band by the memory kernel. So neither side is ever held whole unless it
// is in memory already, and compressed rows are decoded a piece at a time.
#include "transform/rotate.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "core/checks.h"
#include "core/duplicate.h"
#include "core/orientation.h"
#include "core/progress.h"
#include "core/row_access.h"
#include "core/run_length.h"
#include "core/storage.h"
#include "platform/heap.h"
#include "transform/mirror.h"
#include "transform/transpose.h"
#include "vxkrn/orientation.h"

namespace vxkrn::transform {
namespace {

using core::Lock;
using core::RowAccess;
using platform::RuntimeBlock;

// Result rows held at once when the result is not in memory, and source
// pieces held at once when they must be read.
constexpr std::uint64_t kBandBytes = std::uint64_t{16} << 20;
constexpr std::uint64_t kChunkBytes = std::uint64_t{1} << 20;
std::atomic<std::uint64_t> band_bytes{kBandBytes};

class QuarterTurn {
 public:
  QuarterTurn(BitmapHandle &result, BitmapHandle &source, bool clockwise)
      : in_(source, Lock::ForTheCall),
        out_(result, Lock::ForTheCall),
        clockwise_(clockwise),
        width_(static_cast<std::uint32_t>(source.Width)),
        height_(static_cast<std::uint32_t>(source.Height)),
        bits_(source.BitsPerPixel),
        in_stride_(static_cast<std::uint32_t>(source.BytesPerLine)),
        out_stride_(static_cast<std::uint32_t>(result.BytesPerLine)),
        out_base_(out_.row_address(0)),
        band_(out_base_ ? width_
                        : static_cast<std::uint32_t>(
                              std::clamp<std::uint64_t>(kBandBytes / out_stride_, 1, width_))),
        piece_room_(static_cast<std::size_t>(
            (std::uint64_t{band_} * static_cast<std::uint64_t>(bits_) + 7) / 8 + 1)),
        chunk_(static_cast<std::uint32_t>(
            std::clamp<std::uint64_t>(kChunkBytes / piece_room_, 8, 1024) & ~std::uint64_t{7})) {}

  ResultCode run(std::int32_t first, std::int32_t last) {
    if (!out_base_) {
      band_block_.reset(platform::rt_alloc(platform::checked_product(band_, out_stride_), true));
      if (!band_block_) return RC_NO_MEMORY;
    }
    // Progress counts source rows read, pass after pass; a page so large
    // that those do not fit the counter reports once per pass.
    const std::uint32_t passes = (width_ + band_ - 1) / band_;
    per_row_ = std::uint64_t{height_} * passes <= UINT32_MAX;
    core::Progress progress = core::status_progress(
        static_cast<std::uint32_t>(per_row_ ? std::uint64_t{height_} * passes : passes), first,
        last);
    VXKRN_TRY(progress.start());
    for (std::uint32_t r0 = 0; r0 < width_; r0 += band_) {
      VXKRN_TRY(band(r0, std::min(band_, width_ - r0), progress));
      if (!per_row_) VXKRN_TRY(progress.row_done());
    }
    return RC_SUCCESS;
  }

 private:
  // Result rows r0 .. r0 + n - 1, which are source columns r0 .. (turning
  // with the clock) or the mirror of them (against it).
  ResultCode band(std::uint32_t r0, std::uint32_t n, core::Progress &progress) {
    auto *rows = out_base_ ? out_base_ + std::uint64_t{r0} * out_stride_
                           : static_cast<std::uint8_t *>(band_block_.get());
    const std::uint32_t column = clockwise_ ? r0 : width_ - r0 - n;
    const std::uint64_t first_bit = std::uint64_t{column} * static_cast<std::uint64_t>(bits_);
    const auto shift = static_cast<unsigned>(first_bit % 8);
    const std::uint64_t piece =
        (shift + std::uint64_t{n} * static_cast<std::uint64_t>(bits_) + 7) / 8;
    // Result columns c0 .. c0 + m - 1 come from source rows y0 .. y0 + m - 1;
    // c0 is a multiple of 8, so every chunk starts at a whole result byte.
    for (std::uint32_t c0 = 0; c0 < height_; c0 += chunk_) {
      const std::uint32_t m = std::min(chunk_, height_ - c0);
      const std::uint32_t y0 = clockwise_ ? height_ - c0 - m : c0;
      PixelRect pieces{nullptr, in_stride_, m, n};
      const std::uint8_t *in_place =
          shift ? nullptr : in_.row_address(static_cast<std::int32_t>(y0));
      if (in_place) {
        pieces.data = const_cast<std::uint8_t *>(in_place) + first_bit / 8;
      } else {
        VXKRN_TRY(read_pieces(y0, m, first_bit / 8, piece, shift));
        pieces = PixelRect{static_cast<std::uint8_t *>(chunk_block_.get()), piece_room_, m, n};
      }
      const PixelRect target{rows + std::uint64_t{c0} * static_cast<std::uint64_t>(bits_) / 8,
                             out_stride_, n, m};
      turn_quarter(pieces, target, bits_, clockwise_);
      for (std::uint32_t i = 0; per_row_ && i < m; ++i)
        VXKRN_TRY(progress.row_done());
    }
    if (out_base_) return RC_SUCCESS;
    for (std::uint32_t i = 0; i < n; ++i)
      VXKRN_TRY(
          out_.put_row(static_cast<std::int32_t>(r0 + i), rows + std::uint64_t{i} * out_stride_));
    return RC_SUCCESS;
  }

  // `bytes` bytes from byte `from` of source rows y0 .. y0 + m - 1, each
  // shifted so that its first pixel starts the piece.
  ResultCode read_pieces(std::uint32_t y0, std::uint32_t m, std::uint64_t from, std::uint64_t bytes,
                         unsigned shift) {
    if (!chunk_block_) {
      chunk_block_.reset(platform::rt_alloc(platform::checked_product(chunk_, piece_room_)));
      if (!chunk_block_) return RC_NO_MEMORY;
    }
    auto *piece = static_cast<std::uint8_t *>(chunk_block_.get());
    for (std::uint32_t i = 0; i < m; ++i, piece += piece_room_) {
      const std::uint64_t at = in_.offset_of(static_cast<std::int32_t>(y0 + i), 0) + from;
      VXKRN_TRY(in_.get(at, piece, static_cast<std::uint32_t>(bytes)));
      if (shift) shift_towards_start(piece, bytes, shift);
    }
    return RC_SUCCESS;
  }

  RowAccess in_, out_;
  const bool clockwise_;
  const std::uint32_t width_, height_;
  const std::int32_t bits_;
  const std::size_t in_stride_, out_stride_;
  std::uint8_t *const out_base_;
  const std::uint32_t band_;
  const std::size_t piece_room_;
  const std::uint32_t chunk_;
  bool per_row_ = true;
  RuntimeBlock band_block_, chunk_block_;
};

// A half turn, row by row: source row y mirrored into result row
// Height - 1 - y; compressed rows as records.
ResultCode turn_half(BitmapHandle &result, BitmapHandle &source, std::int32_t first,
                     std::int32_t last) {
  RowAccess in(source, Lock::ForTheCall), out(result, Lock::ForTheCall);
  const bool records =
      in.kind() == core::StorageKind::Compressed && out.kind() == core::StorageKind::Compressed;
  const auto width = static_cast<std::uint64_t>(source.Width);
  // A mirrored record may be one word longer than its source.
  const std::uint64_t bytes =
      records ? core::max_record_bytes(width) + 2 : static_cast<std::uint32_t>(source.BytesPerLine);
  // Zeroed: mirroring leaves the bytes after the pixels alone.
  RuntimeBlock block(platform::rt_alloc(platform::checked_product(bytes, 2), true));
  if (!block) return RC_NO_MEMORY;
  auto *a = static_cast<std::uint8_t *>(block.get());
  std::uint8_t *b = a + bytes;
  core::Progress progress =
      core::status_progress(static_cast<std::uint32_t>(source.Height), first, last);
  return progress.each_row(source.Height, [&](std::int32_t y) -> ResultCode {
    const std::int32_t to = source.Height - 1 - y;
    if (records) {
      VXKRN_TRY(in.get_record(y, a));
      core::mirror_records(a, b, 1);
      return out.put_record(to, b);
    }
    const std::uint8_t *row = in.row_address(y);
    if (!row) {
      VXKRN_TRY(in.get_row(y, a));
      row = a;
    }
    if (std::uint8_t *target = out.row_address(to)) {
      mirror_row_into(row, target, width, source.BitsPerPixel);
      return RC_SUCCESS;
    }
    mirror_row_into(row, b, width, source.BitsPerPixel);
    return out.put_row(to, b);
  });
}

}  // namespace

ResultCode turn_bitmap(BitmapHandle &result, BitmapHandle &source, int quarters, std::int32_t first,
                       std::int32_t last, std::uint32_t options) noexcept {
  const bool odd = quarters % 2 != 0;
  BitmapHandle made;
  VXKRN_TRY(core::duplicate(made, source, odd ? source.Height : source.Width,
                            odd ? source.Width : source.Height, source.BitsPerPixel,
                            options | DUP_ALLOCATE));
  if (odd) std::swap(made.XResolution, made.YResolution);
  ResultCode rc;
  if (odd) {
    QuarterTurn turn(made, source, quarters == 1);
    rc = turn.run(first, last);
  } else {
    rc = turn_half(made, source, first, last);
  }
  if (rc != RC_SUCCESS) {
    core::free_duplicate(made, options | DUP_ALLOCATE);
    return rc;
  }
  result = made;
  return RC_SUCCESS;
}

void replace_with(BitmapHandle &bitmap, const BitmapHandle &result) noexcept {
  // A caller that had the bitmap accessed keeps it accessed.
  const bool accessed = bitmap.Flags & FLAG_ACCESSED;
  core::free_duplicate(bitmap, DUP_ALLOCATE);
  bitmap = result;
  if (accessed) core::access(bitmap);
}

ResultCode rotate_quarter(BitmapHandle &bitmap, bool clockwise, std::int32_t first,
                          std::int32_t last) noexcept {
  // A mirror image turns the other way in storage than on screen.
  const bool stored_clockwise = clockwise != core::is_mirrored_view(bitmap.ViewPerspective);
  BitmapHandle result;
  VXKRN_TRY(turn_bitmap(result, bitmap, stored_clockwise ? 1 : 3, first, last, DUP_ALLOCATE));
  replace_with(bitmap, result);
  return RC_SUCCESS;
}

ResultCode rotate_bitmap(BitmapHandle &bitmap, std::int32_t angle, std::uint32_t flags) noexcept {
  if (flags & ~ROTATE_RESIZE) return RC_INVALID_PARAMETER;
  const std::int32_t within = angle % 36000, turned = within < 0 ? within + 36000 : within;
  if (turned % 9000 != 0) return RC_NOT_SUPPORTED;
  const int quarters = turned / 9000;
  if (quarters == 0) return RC_SUCCESS;
  if (quarters == 2) {
    BitmapHandle result;
    VXKRN_TRY(turn_bitmap(result, bitmap, 2, 0, 100, DUP_ALLOCATE));
    replace_with(bitmap, result);
    return RC_SUCCESS;
  }
  if (!(flags & ROTATE_RESIZE) && bitmap.Width != bitmap.Height) return RC_NOT_SUPPORTED;
  return rotate_quarter(bitmap, quarters == 1, 0, 100);
}

}  // namespace vxkrn::transform

namespace vxkrn::testing {
void set_turn_band_bytes(std::uint64_t bytes) noexcept {
  transform::band_bytes = bytes ? bytes : transform::kBandBytes;
}
}  // namespace vxkrn::testing
