// Whole and rectangle copies of bitmaps, and trimming: the copy family's
// internal entry points. Records are checked by the caller.
#pragma once

#include <cstdint>

#include "vxkrn/types.h"

namespace vxkrn::transform {

// Make `destination` a new bitmap like the allocated `source` holding its
// pixels, with storage of the source's kind (memory_type null) or of
// *memory_type. A copy onto itself does nothing. On failure nothing is left
// allocated: the codes of the duplicate, allocation and pixel copy.
ResultCode copy_bitmap(BitmapHandle &destination, BitmapHandle &source,
                       const std::int32_t *memory_type) noexcept;

// Copy the rectangle (left, top, width, height) of `source`, clipped to it,
// into a new bitmap of the rectangle's size (parts outside the source stay
// blank), into `destination`, or in place of the source when destination
// is null or the source. A callback's stop in place still swaps the partly
// copied bitmap in. Storage as for copy_bitmap.
ResultCode copy_rect(BitmapHandle *destination, BitmapHandle &source, std::int32_t left,
                     std::int32_t top, std::int32_t width, std::int32_t height,
                     const std::int32_t *memory_type) noexcept;

// The rectangle clipped first, then copied in place. RC_EMPTY_AREA when the
// clipped width or height is negative.
ResultCode trim(BitmapHandle &bitmap, std::int32_t left, std::int32_t top, std::int32_t width,
                std::int32_t height) noexcept;

}  // namespace vxkrn::transform
