// Right-angle rotation of whole bitmaps, whatever their storage: the turned
// pixels go into a new record of the same storage kind, which takes the
// caller's place only when every row was written.
#pragma once

#include <cstdint>

#include "vxkrn/types.h"

namespace vxkrn::transform {

// Make `result` the stored rows of `source` turned by `quarters` clockwise
// quarter turns (1, 2 or 3), as stored: the view perspective is not
// consulted. The result has the source's depth, perspective, palette
// (the pointer shared unless the options ask for a copy) and storage kind (library memory for
// caller memory); for odd quarters its width and height and its resolutions are exchanged. Progress
// through the thread's status callback from `first` to `last` percent over the source rows read.
// `options` are the duplicate options of the result (DUP_ALLOCATE always added). The source is not
// changed; on failure nothing is left in `result`. RC_NO_MEMORY, the codes of duplication and of
// the row access, a callback's result.
ResultCode turn_bitmap(BitmapHandle &result, BitmapHandle &source, int quarters, std::int32_t first,
                       std::int32_t last, std::uint32_t options) noexcept;

// Put `result` (made by turn_bitmap from `bitmap`) in the place of
// `bitmap`, whose storage is freed; the palette they share stays, and so
// does an access the caller held.
void replace_with(BitmapHandle &bitmap, const BitmapHandle &result) noexcept;

// A quarter turn the viewer sees: clockwise or not, inverted for the
// mirror-image perspectives. The caller's record changes only on success.
ResultCode rotate_quarter(BitmapHandle &bitmap, bool clockwise, std::int32_t first,
                          std::int32_t last) noexcept;

// Rotation by `angle` hundredths of a degree, clockwise, for multiples of
// 9000 (RC_NOT_SUPPORTED otherwise, and for a quarter turn of a non-square
// bitmap that must keep its canvas). ROTATE_RESIZE is the only flag.
ResultCode rotate_bitmap(BitmapHandle &bitmap, std::int32_t angle, std::uint32_t flags) noexcept;

}  // namespace vxkrn::transform

namespace vxkrn::testing {
// The bytes of result rows a quarter turn holds at once when the result is
// not in memory (0: the default of 16 MiB), so that tests see several
// bands on small pictures.
void set_turn_band_bytes(std::uint64_t bytes) noexcept;
}  // namespace vxkrn::testing
