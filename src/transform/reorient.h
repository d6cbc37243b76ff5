// Storing a bitmap's pixels in another view perspective without changing
// the picture it shows.
#pragma once

#include <cstdint>

#include "vxkrn/types.h"

namespace vxkrn::transform {

// Flip and turn the stored rows of `source` from its perspective to `view`
// and record `view`. In place when `destination` is null or the source;
// otherwise `destination` becomes a new bitmap (duplicated with `options`,
// storage always allocated) and the source is left alone. No progress is
// reported. A turn is built aside, so a failure leaves the bitmap as it
// was. RC_INVALID_PARAMETER either perspective outside 1..8; the codes of
// duplication, copy, flip and rotation.
ResultCode change_view(BitmapHandle *destination, BitmapHandle &source, std::int32_t view,
                       std::uint32_t options) noexcept;

}  // namespace vxkrn::transform
