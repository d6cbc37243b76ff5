// Pieces the copy family shares: the storage kind a duplicate inherits and
// the map table carried with it.
#pragma once

#include <cstdint>

#include "vxkrn/types.h"

namespace vxkrn::transform {

// The memory type that gives a new bitmap the source's kind of storage.
int32_t storage_type_of(const BitmapHandle &source);

// Whether the pixels can be addressed through Data right now: memory
// storage (the library's or the caller's) that is accessed.
bool addressable(const BitmapHandle &bitmap);

// The map table's bytes, FLAG_MAP_TABLE_SET, PaintScale and the two words
// after it, when both records have a map table.
void copy_map_table(BitmapHandle &destination, const BitmapHandle &source);

}  // namespace vxkrn::transform
