// Argument checks shared by every entry point that takes a bitmap record.
// Entry points call them in one order: record, size, allocated, arguments.
#pragma once

#include <cstdint>

#include "vxkrn/types.h"

namespace vxkrn::core {

// Null record: `if_null` (RC_INVALID_PARAMETER for public entry points,
// RC_INVALID_BITMAP for the internal variants and where a family says so).
inline ResultCode check_record(const BitmapHandle *bitmap, ResultCode if_null) {
  return bitmap ? RC_SUCCESS : if_null;
}

inline ResultCode check_struct_size(std::uint32_t struct_size) {
  return struct_size == BITMAPHANDLE_SIZE ? RC_SUCCESS : RC_INVALID_STRUCT_SIZE;
}

inline ResultCode check_allocated(const BitmapHandle *bitmap, ResultCode if_not) {
  return (bitmap->Flags & FLAG_ALLOCATED) ? RC_SUCCESS : if_not;
}

// Null record, then StructSize.
inline ResultCode check_handle(const BitmapHandle *bitmap, ResultCode if_null) {
  ResultCode rc = check_record(bitmap, if_null);
  return rc == RC_SUCCESS ? check_struct_size(bitmap->StructSize) : rc;
}

// Null record, StructSize, then FLAG_ALLOCATED.
inline ResultCode check_allocated_handle(const BitmapHandle *bitmap, ResultCode if_null,
                                         ResultCode if_unallocated) {
  ResultCode rc = check_handle(bitmap, if_null);
  return rc == RC_SUCCESS ? check_allocated(bitmap, if_unallocated) : rc;
}

inline bool has_flags(const BitmapHandle &bitmap, std::uint32_t flags) {
  return (bitmap.Flags & flags) == flags;
}

}  // namespace vxkrn::core

// Return early from the enclosing function when a check fails.
#define VXKRN_TRY(expression)                      \
  do {                                             \
    const ResultCode vxkrn_rc_ = (expression);     \
    if (vxkrn_rc_ != RC_SUCCESS) return vxkrn_rc_; \
  } while (0)
