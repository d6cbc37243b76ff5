// Pieces the copy family shares: the storage kind a duplicate inherits and
// the map table carried with it.
#pragma once

#include <cstdint>

#include "vxkrn/types.h"

namespace vxkrn::transform {

// Options of V_DupBitmapNewDim the copies use.
constexpr std::uint32_t kOwnCopy = 63;    // allocate like the source, own palette
constexpr std::uint32_t kNoStorage = 14;  // own palette, storage allocated by the caller

// Make `result` a bitmap of width x height like `source` for a copy: own
// palette, storage of the source's kind (memory_type null) or allocated as
// *memory_type, with the source's gray parameters and map table. On failure
// nothing is left allocated.
ResultCode duplicate_for_copy(BitmapHandle *result, const BitmapHandle *source, std::int32_t width,
                              std::int32_t height, const std::int32_t *memory_type);

// The memory type that gives a new bitmap the source's kind of storage.
int32_t storage_type_of(const BitmapHandle &source);

// Whether the pixels can be addressed through Data right now: memory
// storage (the library's or the caller's) that is accessed.
bool addressable(const BitmapHandle &bitmap);

// The map table's bytes, FLAG_MAP_TABLE_SET, PaintScale and the two words
// after it, when both records have a map table.
void copy_map_table(BitmapHandle &destination, const BitmapHandle &source);

}  // namespace vxkrn::transform
