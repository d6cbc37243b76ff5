// A record's pixel storage: allocating it by memory type, making memory
// addressable (access, release, lock), changing the height in place,
// reporting the kind, and freeing it.
#pragma once

#include <cstdint>

#include "vxkrn/types.h"

namespace vxkrn::core {

// Give an initialised, unallocated record storage of a memory type (with
// its modifier bits) and its identity map table. The storage bits of Flags
// are cleared first; on failure nothing else of the record changes.
// RC_INVALID_PARAMETER a type not accepted for the depth; RC_EMPTY_AREA
// Size 0; RC_NO_MEMORY; RC_FILE_WRITE the temporary file could not be sized.
ResultCode allocate(BitmapHandle &bitmap, std::int32_t memory_type) noexcept;

// Free the palette, and when allocated the storage, LUT and MapTable; the
// record keeps its geometry and may be allocated again.
void free_bitmap(BitmapHandle &bitmap) noexcept;

// Free the storage whatever its kind and clear its kind's flags; palette,
// tables and FLAG_ALLOCATED are left to the caller.
void release_storage(BitmapHandle &bitmap) noexcept;

// Point Data at memory storage this library addresses (FLAG_ACCESSED), and
// undo it. Other storage, and records not allocated, are left alone.
void access(BitmapHandle &bitmap) noexcept;
void release(BitmapHandle &bitmap) noexcept;

// Access a bitmap that is not accessed, and release it again at scope end;
// one the caller accessed stays as it is.
class ScopedAccess {
 public:
  explicit ScopedAccess(BitmapHandle &bitmap) noexcept
      : bitmap_(bitmap), was_accessed_(bitmap.Flags & FLAG_ACCESSED) {
    if (!was_accessed_) access(bitmap_);
  }
  ~ScopedAccess() {
    if (!was_accessed_) release(bitmap_);
  }
  ScopedAccess(const ScopedAccess &) = delete;
  ScopedAccess &operator=(const ScopedAccess &) = delete;

 private:
  BitmapHandle &bitmap_;
  bool was_accessed_;
};

// What storage the bitmap has: MEM_INFO_MEMORY, MEM_INFO_DISK,
// MEM_INFO_COMPRESSED or MEM_INFO_SUPER.
std::int32_t memory_info(const BitmapHandle &bitmap) noexcept;

// The memory type that gives a new bitmap the source's kind of storage.
std::int32_t storage_type_of(const BitmapHandle &source) noexcept;

// Change the stored rows of an allocated bitmap that is not accessed and
// not the caller's memory. RC_EMPTY_AREA height 0; RC_INVALID_PARAMETER a
// negative height; RC_INVALID_BITMAP storage of no kind handled;
// RC_NO_MEMORY the storage could not follow (record unchanged).
ResultCode change_height(BitmapHandle &bitmap, std::int32_t new_height) noexcept;

// A disk bitmap's file handle, kept in Storage.
inline std::int32_t disk_file(const BitmapHandle &bitmap) {
  return static_cast<std::int32_t>(reinterpret_cast<std::intptr_t>(bitmap.Storage));
}

}  // namespace vxkrn::core
