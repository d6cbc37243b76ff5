// Large blocks: one run-time heap block when the heap can give one, else a
// section (shared memory, or a registered temporary file) seen through one
// movable view.
#pragma once

#include <cstdint>

#include "vxkrn/heap.h"

namespace vxkrn::core {

// A new block of `size` bytes and its record, or null.
HugeMemory *alloc_huge(std::uint32_t size) noexcept;
// Address of byte `offset` for `length` bytes, moving a section's view when
// needed. RC_INVALID_PARAMETER a range past the block (sections);
// RC_NO_MEMORY no view could be mapped.
ResultCode access_huge(HugeMemory *memory, void **out, std::uint32_t offset,
                       std::uint32_t length) noexcept;
// Clear `length` bytes from `offset` (a plain block: from its start, with the
// offset's low byte as the value; see heap.h).
ResultCode zero_huge(HugeMemory *memory, std::uint32_t offset, std::uint32_t length) noexcept;
void free_huge(HugeMemory *memory) noexcept;

}  // namespace vxkrn::core
