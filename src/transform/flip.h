// Flipping a bitmap's stored rows top to bottom and reversing every row
// left to right, in place, whatever the storage.
#pragma once

#include "vxkrn/types.h"

namespace vxkrn::transform {

// Exchange stored rows i and Height - 1 - i, reporting progress through the
// thread's status callback over (Height + 1) / 2 steps (the middle row of an
// odd height is the last). A memory bitmap is accessed for the call. A stop
// or failure leaves the rows exchanged so far exchanged. RC_NO_MEMORY no
// row buffer; the storage codes of the row access; a callback's code.
ResultCode flip_rows(BitmapHandle &bitmap) noexcept;

// Reverse every stored row (Height steps of progress), with the same rules.
ResultCode reverse_rows(BitmapHandle &bitmap) noexcept;

}  // namespace vxkrn::transform
