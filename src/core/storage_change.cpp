// Moving a bitmap's pixels into storage of another kind, built aside in a
// second record and swapped in only when complete.
#include "core/storage_change.h"

#include "core/checks.h"
#include "core/compressed_storage.h"
#include "core/duplicate.h"
#include "core/pixel_copy.h"
#include "core/record.h"
#include "core/storage.h"
#include "vxkrn/bitmap.h"
#include "vxkrn/compress.h"

namespace vxkrn::core {
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
  free_gray_params(fresh);
}

}  // namespace

ResultCode move_storage(BitmapHandle &bitmap, std::int32_t memory_type) noexcept {
  BitmapHandle work;
  VXKRN_TRY(duplicate(work, bitmap, bitmap.Width, bitmap.Height, bitmap.BitsPerPixel, 0));
  ResultCode rc = allocate(work, memory_type);
  if (rc != RC_SUCCESS) {
    free_duplicate(work, 0);
    return rc;
  }
  rc = copy_pixels(work, bitmap);
  if (rc != RC_SUCCESS) {
    free_duplicate(work, DUP_ALLOCATE);
    return rc;
  }
  take_storage(bitmap, work);
  return RC_SUCCESS;
}

ResultCode change_compression(BitmapHandle &bitmap, std::int32_t target) noexcept {
  // Each target: the flag that says the bitmap has it, and the memory type
  // that makes it (compressed rows only for 1 bit; other depths get a block).
  constexpr std::uint32_t kKinds = FLAG_COMPRESSED | FLAG_SUPER_COMPRESSED;
  constexpr struct {
    std::uint32_t flag;
    std::int32_t memory_type;
  } kTargets[] = {{0, MEM_CONVENTIONAL},
                  {FLAG_COMPRESSED, MEM_MOD_COMPRESS | MEM_CONVENTIONAL},
                  {FLAG_SUPER_COMPRESSED, MEM_SUPER}};
  if (target < COMPRESSION_NONE || target > COMPRESSION_SUPER) return RC_INVALID_PARAMETER;
  const std::uint32_t has = bitmap.Flags & kKinds;
  if (kTargets[target].flag ? (has & kTargets[target].flag) != 0 : has == 0) return RC_SUCCESS;
  VXKRN_TRY(move_storage(bitmap, kTargets[target].memory_type));
  // The copy grew the arenas row by row; what is left over goes back.
  if (bitmap.Flags & FLAG_COMPRESSED) compressed_trim(bitmap);
  return RC_SUCCESS;
}

}  // namespace vxkrn::core
