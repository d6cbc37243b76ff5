// Duplicates with new dimensions: the destination record every transform
// makes, inheriting the source's attributes, and its release.
#pragma once

#include <cstdint>

#include "vxkrn/copy.h"

namespace vxkrn::core {

// The two sets of duplicate options (DUP_...) the copies use.
constexpr std::uint32_t kDupOwnCopy = 63;    // allocate like the source, own palette
constexpr std::uint32_t kDupNoStorage = 14;  // own palette, storage allocated by the caller

// Make `bitmap` a record of width x height x bits_per_pixel that inherits
// the source's storage-kind flags, view perspective, resolutions, order,
// palette (own copy with DUP_OWN_PALETTE, shared otherwise), playback words,
// map table and, at the same depth, gray parameters; with DUP_ALLOCATE it
// gets storage of the source's kind. The source must be allocated. On
// failure nothing is left allocated (the codes of init_bitmap and allocate,
// RC_NO_MEMORY).
ResultCode duplicate(BitmapHandle &bitmap, const BitmapHandle &source, std::int32_t width,
                     std::int32_t height, std::int32_t bits_per_pixel,
                     std::uint32_t options) noexcept;

// Release a duplicate made with the same options: a shared palette and,
// without DUP_OWN_EXTENSION, the extension pointer are forgotten first.
void free_duplicate(BitmapHandle &bitmap, std::uint32_t options) noexcept;

// A bitmap of width x height like `source` for a copy: own palette, the
// source's kind of storage (memory_type null) or storage of *memory_type,
// the source's gray parameters and map table. On failure nothing is left
// allocated.
ResultCode duplicate_for_copy(BitmapHandle &result, const BitmapHandle &source, std::int32_t width,
                              std::int32_t height, const std::int32_t *memory_type) noexcept;

}  // namespace vxkrn::core
