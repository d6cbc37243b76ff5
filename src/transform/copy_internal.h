// Pieces the copy family shares: the storage kind a duplicate inherits and
// the map table carried with it.
#pragma once

#include <cstdint>

#include "vxkrn/types.h"

namespace vxkrn::transform {

// The memory type that gives a new bitmap the source's kind of storage.
int32_t storage_type_of(const BitmapHandle &source);

// The map table's bytes, FLAG_MAP_TABLE_SET, PaintScale and the two words
// after it, when both records have a map table.
void copy_map_table(BitmapHandle &destination, const BitmapHandle &source);

}  // namespace vxkrn::transform
