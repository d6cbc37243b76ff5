// Making pixel data addressable: access, release, lock nesting, the caller's
// data pointer, and the storage report.
#include "core/bitmap_core.h"
#include "core/checks.h"
#include "vxkrn/bitmap.h"

using namespace vxkrn::core;

namespace {

// Memory storage whose Data this library computes: not compressed, not
// behind a codec, not the caller's ready pointer.
bool directly_accessible(const BitmapHandle *bitmap) {
  if (!bitmap || bitmap->StructSize != BITMAPHANDLE_SIZE) return false;
  const std::uint32_t flags = bitmap->Flags;
  // A freed record may keep FLAG_CONVENTIONAL; it has nothing to point at.
  if ((flags & (FLAG_ALLOCATED | FLAG_CONVENTIONAL)) != (FLAG_ALLOCATED | FLAG_CONVENTIONAL))
    return false;
  if (flags & (FLAG_COMPRESSED | FLAG_NO_DIRECT_ACCESS | FLAG_SUPER_COMPRESSED)) return false;
  return !(flags & FLAG_USER_MEMORY) || (flags & FLAG_USER_BLOCK);
}

}  // namespace

extern "C" {

void V_AccessBitmap(BitmapHandle *bitmap) {
  if (!directly_accessible(bitmap) || (bitmap->Flags & FLAG_ACCESSED)) return;
  // A block this library allocated is addressed from its start; only a
  // caller's block is addressed at its aligned offset.
  auto *base = static_cast<std::uint8_t *>(bitmap->Storage);
  bitmap->Data = (bitmap->Flags & FLAG_USER_BLOCK) ? base + bitmap->AlignOffset : base;
  bitmap->Flags |= FLAG_ACCESSED;
}

void V_ReleaseBitmap(BitmapHandle *bitmap) {
  if (!directly_accessible(bitmap) || !(bitmap->Flags & FLAG_ACCESSED)) return;
  bitmap->Flags &= ~FLAG_ACCESSED;
  bitmap->Data = nullptr;
}

int32_t V_LockBitmap(BitmapHandle *bitmap) {
  if (!bitmap) return 0;
  if (bitmap->Flags & FLAG_ACCESSED) return 1;
  V_AccessBitmap(bitmap);
  return 0;
}

void V_UnlockBitmap(BitmapHandle *bitmap, int32_t was_accessed) {
  if (was_accessed == 0) V_ReleaseBitmap(bitmap);
}

ResultCode V_SetBitmapDataPointer(BitmapHandle *bitmap, void *data, uint32_t data_size) {
  VXKRN_TRY(check_record(bitmap, RC_INVALID_PARAMETER));
  const bool caller_pointer = (bitmap->Flags & (FLAG_ALLOCATED | FLAG_USER_MEMORY)) ==
                                  (FLAG_ALLOCATED | FLAG_USER_MEMORY) &&
                              !(bitmap->Flags & FLAG_USER_BLOCK);
  if (!caller_pointer && data && data_size != bitmap->Size) return RC_INVALID_PARAMETER;
  VXKRN_TRY(check_struct_size(bitmap->StructSize));
  bitmap->Data = static_cast<std::uint8_t *>(data);
  return RC_SUCCESS;
}

ResultCode V_GetBitmapMemoryInfo(const BitmapHandle *bitmap, int32_t *memory_type,
                                 int32_t * /*reserved1*/, int32_t * /*reserved2*/) {
  VXKRN_TRY(check_allocated_handle(bitmap, RC_INVALID_BITMAP, RC_INVALID_BITMAP));
  if (!memory_type) return RC_INVALID_PARAMETER;
  switch (storage_kind(*bitmap)) {
    case StorageKind::Compressed:
      *memory_type = MEM_INFO_COMPRESSED;
      break;
    case StorageKind::SuperCompressed:
      *memory_type = MEM_INFO_SUPER;
      break;
    default:
      *memory_type = (bitmap->Flags & FLAG_CONVENTIONAL) ? MEM_INFO_MEMORY : MEM_INFO_DISK;
  }
  return RC_SUCCESS;
}

}  // extern "C"
