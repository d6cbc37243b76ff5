// Copying the pixel data of one allocated bitmap into another of the same
// format, whatever the storage of either.
#pragma once

#include "vxkrn/types.h"

namespace vxkrn::core {

// Copy every row of `source` into `destination` verbatim, locking (for the
// call) whichever memory bitmap is not accessed, and reporting progress
// through the thread's copy callback. Compressed rows move as records and
// stay compressed; a wider destination row gets zeros past the source's.
// RC_NO_MEMORY scratch or a row write that fell short; the storage codes of
// the row transfers (RC_FILE_READ ...); a callback's stop code.
ResultCode copy_pixels(BitmapHandle &destination, BitmapHandle &source) noexcept;

}  // namespace vxkrn::core
