// Moving a bitmap's pixels into storage of another kind. Both moves build a
// complete second bitmap first and copy the pixels into it; only when that
// worked does the caller's record change, and then only in its storage
// fields: palette, tables, gray description and every other field stay.
#pragma once

#include <cstdint>

#include "vxkrn/types.h"

namespace vxkrn::core {

// Storage allocated as `memory_type` (allocate's types) holding the same
// pixels. The codes of duplicate, allocate and copy_pixels; on failure the
// bitmap is as it was.
ResultCode move_storage(BitmapHandle &bitmap, std::int32_t memory_type) noexcept;

// Target 0 plain rows, 1 compressed 1-bit rows (other depths get a memory
// block), 2 codec-compressed strips. A bitmap already of that kind is left
// alone. Compressed storage is trimmed afterwards. RC_INVALID_PARAMETER
// another target; the codes of move_storage.
ResultCode change_compression(BitmapHandle &bitmap, std::int32_t target) noexcept;

}  // namespace vxkrn::core
