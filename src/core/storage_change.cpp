// Moving a bitmap's pixels into storage of another kind, and the arenas of
// compressed storage as a whole.
//
// Both moves build a complete second bitmap first and copy the pixels into
// it; only when that worked does the caller's record change, and then only
// in its storage fields: palette, tables, gray description and every other
// field stay the caller's.
#include "core/bitmap_core.h"
#include "core/checks.h"
#include "core/compressed_storage.h"
#include "platform/heap.h"
#include "vxkrn/bitmap.h"
#include "vxkrn/compress.h"
#include "vxkrn/copy.h"
#include "vxkrn/heap.h"

using namespace vxkrn::core;

namespace {

// Give `bitmap` the storage of `fresh`, which holds the same pixels: the old
// storage is freed, the new one moves over, and what else `fresh` owns (its
// map table and lookup table; the palette is the bitmap's own, shared) is
// freed with it.
void take_storage(BitmapHandle &bitmap, BitmapHandle &fresh) {
  release_storage(bitmap);
  bitmap.Storage = fresh.Storage;
  bitmap.Data = fresh.Data;
  bitmap.AlignOffset = fresh.AlignOffset;
  bitmap.Size = fresh.Size;
  bitmap.Flags = (bitmap.Flags & ~FLAG_STORAGE_MASK) | (fresh.Flags & FLAG_STORAGE_MASK);
  fresh.Palette = nullptr;
  V_FreeGrayParams(&fresh);
}

// Move the pixels into new storage allocated as `memory_type`, built in
// `work` (a record of the caller's choosing) and swapped in only when full.
ResultCode move_storage(BitmapHandle &bitmap, BitmapHandle &work, int32_t memory_type) {
  VXKRN_TRY(V_DupBitmapNewDim(&work, &bitmap, BITMAPHANDLE_SIZE, bitmap.Width, bitmap.Height,
                              bitmap.BitsPerPixel, 0));
  ResultCode rc = V_AllocateBitmap(&work, memory_type);
  if (rc != RC_SUCCESS) {
    V_FreeDuplicateBitmap(&work, 0);
    return rc;
  }
  rc = V_CopyBitmapData(&work, &bitmap);
  if (rc != RC_SUCCESS) {
    V_FreeDuplicateBitmap(&work, DUP_ALLOCATE);
    return rc;
  }
  take_storage(bitmap, work);
  return RC_SUCCESS;
}

ResultCode check_compressed(const BitmapHandle *bitmap) {
  VXKRN_TRY(check_handle(bitmap, RC_INVALID_PARAMETER));
  return has_flags(*bitmap, FLAG_ALLOCATED | FLAG_COMPRESSED) ? RC_SUCCESS : RC_INVALID_PARAMETER;
}

}  // namespace

extern "C" {

ResultCode V_ChangeBitmapCompression(BitmapHandle *bitmap, int32_t target) {
  if (!bitmap || !(bitmap->Flags & FLAG_ALLOCATED)) return RC_INVALID_BITMAP;
  VXKRN_TRY(check_struct_size(bitmap->StructSize));
  // Each target: the flag that says the bitmap has it, and the memory type
  // that makes it (compressed rows only for 1 bit; other depths get a block).
  constexpr uint32_t kKinds = FLAG_COMPRESSED | FLAG_SUPER_COMPRESSED;
  constexpr struct {
    uint32_t flag;
    int32_t memory_type;
  } kTargets[] = {{0, MEM_CONVENTIONAL},
                  {FLAG_COMPRESSED, MEM_MOD_COMPRESS | MEM_CONVENTIONAL},
                  {FLAG_SUPER_COMPRESSED, MEM_SUPER}};
  if (target < 0 || target > 2) return RC_INVALID_PARAMETER;
  const uint32_t has = bitmap->Flags & kKinds;
  if (kTargets[target].flag ? (has & kTargets[target].flag) != 0 : has == 0) return RC_SUCCESS;
  BitmapHandle work;
  VXKRN_TRY(move_storage(*bitmap, work, kTargets[target].memory_type));
  // The copy grew the arenas row by row; what is left over goes back.
  if (bitmap->Flags & FLAG_COMPRESSED) compressed_trim(*bitmap);
  return RC_SUCCESS;
}

ResultCode V_ToggleBitmapCompression(BitmapHandle *bitmap) {
  if (!bitmap || !(bitmap->Flags & FLAG_ALLOCATED) || bitmap->BitsPerPixel != 1)
    return RC_INVALID_BITMAP;
  VXKRN_TRY(check_struct_size(bitmap->StructSize));
  if (bitmap->Flags & FLAG_RESTRICTED) return RC_BITMAP_RESTRICTED;
  const bool packed = bitmap->Flags & (FLAG_COMPRESSED | FLAG_SUPER_COMPRESSED);
  return V_ChangeBitmapCompression(bitmap, packed ? 0 : 1);
}

ResultCode V_SetBitmapMemoryInfo(BitmapHandle *bitmap, int32_t memory_type, int32_t, int32_t,
                                 int32_t, int32_t, int32_t, uint32_t mask) {
  if (bitmap) VXKRN_TRY(check_struct_size(bitmap->StructSize));
  int32_t current;
  VXKRN_TRY(V_GetBitmapMemoryInfo(bitmap, &current, nullptr, nullptr));
  if (!(mask & MEM_INFO_MASK_TYPE) || current == memory_type) return RC_SUCCESS;

  vxkrn::platform::RuntimeBlock block(vxkrn::platform::rt_alloc(sizeof(BitmapHandle)));
  if (!block) return RC_NO_MEMORY;
  // A temporary file is asked for as memory first, with the file as the
  // fallback when memory runs out.
  return move_storage(*bitmap, *static_cast<BitmapHandle *>(block.get()),
                      memory_type == MEM_DISK ? MEM_CONVENTIONAL : memory_type);
}

ResultCode V_GrowBitmapHeap(BitmapHandle *bitmap, uint32_t bytes) {
  VXKRN_TRY(check_compressed(bitmap));
  const bool grown = compressed_grow(*bitmap, bytes);
  V_UpdateBitmapSize(bitmap);
  return grown ? RC_SUCCESS : 0;
}

ResultCode V_TrimBitmapHeap(BitmapHandle *bitmap) {
  VXKRN_TRY(check_compressed(bitmap));
  const bool trimmed = compressed_trim(*bitmap);
  V_UpdateBitmapSize(bitmap);
  return trimmed ? RC_SUCCESS : 0;
}

}  // extern "C"
