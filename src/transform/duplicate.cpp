// Duplicates with new dimensions: the destination record every transform
// makes, inheriting the source's attributes, and its release.
#include <cstring>

#include "core/bitmap_core.h"
#include "core/checks.h"
#include "platform/heap.h"
#include "transform/copy_internal.h"
#include "vxkrn/bitmap.h"
#include "vxkrn/copy.h"
#include "vxkrn/palette.h"

using namespace vxkrn::core;

namespace vxkrn::transform {

int32_t storage_type_of(const BitmapHandle &source) {
  if (source.Flags & FLAG_COMPRESSED) return MEM_MOD_COMPRESS | MEM_CONVENTIONAL;
  if (source.Flags & FLAG_SUPER_COMPRESSED) return MEM_SUPER;
  if (source.Flags & FLAG_DISK) return MEM_TEMP_FILE;
  return MEM_CONVENTIONAL;
}

bool addressable(const BitmapHandle &bitmap) {
  const StorageKind kind = storage_kind(bitmap);
  return (kind == StorageKind::Memory || kind == StorageKind::User) && bitmap.Data;
}

void copy_map_table(BitmapHandle &destination, const BitmapHandle &source) {
  if (!destination.MapTable || !source.MapTable) return;
  std::memcpy(destination.MapTable, source.MapTable, 256);
  destination.Flags =
      (destination.Flags & ~FLAG_MAP_TABLE_SET) | (source.Flags & FLAG_MAP_TABLE_SET);
  destination.PaintScale = source.PaintScale;
  std::memcpy(destination.PaintScaleParms, source.PaintScaleParms,
              sizeof destination.PaintScaleParms);
}

ResultCode duplicate_for_copy(BitmapHandle *result, const BitmapHandle *source, int32_t width,
                              int32_t height, const int32_t *memory_type) {
  if (!memory_type)
    return V_DupBitmapNewDim(result, source, BITMAPHANDLE_SIZE, width, height, source->BitsPerPixel,
                             kOwnCopy);
  VXKRN_TRY(V_DupBitmapNewDim(result, source, BITMAPHANDLE_SIZE, width, height,
                              source->BitsPerPixel, kNoStorage));
  ResultCode rc = RC_SUCCESS;
  if (source->Order == ORDER_GRAY) {
    result->Order = ORDER_GRAY;
    rc = V_CopyGrayParams(result, source);
  }
  if (rc == RC_SUCCESS) rc = V_AllocateBitmap(result, *memory_type);
  if (rc != RC_SUCCESS) {
    V_FreeDuplicateBitmap(result, kNoStorage);
    V_FreeGrayParams(result);
    return rc;
  }
  copy_map_table(*result, *source);
  return RC_SUCCESS;
}

}  // namespace vxkrn::transform

using namespace vxkrn::transform;

extern "C" {

ResultCode V_DupBitmapNewDim(BitmapHandle *bitmap, const BitmapHandle *source, uint32_t struct_size,
                             int32_t width, int32_t height, int32_t bits_per_pixel,
                             uint32_t options) {
  VXKRN_TRY(check_record(bitmap, RC_INVALID_BITMAP));
  VXKRN_TRY(check_handle(source, RC_INVALID_BITMAP));
  VXKRN_TRY(check_struct_size(struct_size));
  VXKRN_TRY(check_allocated(source, RC_INVALID_BITMAP));
  bitmap->StructSize = BITMAPHANDLE_SIZE;
  VXKRN_TRY(V_InitBitmap(bitmap, BITMAPHANDLE_SIZE, width, height, bits_per_pixel));

  constexpr uint32_t kInherited =
      FLAG_CARRIED | FLAG_COMPRESSED | FLAG_SUPER_COMPRESSED | FLAG_DISK | FLAG_RESTRICTED;
  bitmap->Flags |= source->Flags & kInherited;
  bitmap->ViewPerspective = source->ViewPerspective;
  bitmap->XResolution = source->XResolution;
  bitmap->YResolution = source->YResolution;
  bitmap->Order = source->Order;
  bitmap->Reserved2[0] = source->Reserved2[0];
  if (options & DUP_ALLOCATE) VXKRN_TRY(V_AllocateBitmap(bitmap, storage_type_of(*source)));

  if (options & DUP_OWN_PALETTE) {
    if (V_CopyBitmapPalette(bitmap, source) != RC_SUCCESS) {
      V_FreeDuplicateBitmap(bitmap, options);
      return RC_NO_MEMORY;
    }
  } else {
    bitmap->Palette = source->Palette;
  }
  bitmap->ColorCount = source->ColorCount;
  V_CopyPlaybackParms(bitmap, source);

  if ((options & DUP_ALLOCATE) && source->Order == ORDER_GRAY &&
      source->BitsPerPixel == bits_per_pixel) {
    bitmap->Order = ORDER_GRAY;
    if (const ResultCode rc = V_CopyGrayParams(bitmap, source); rc != RC_SUCCESS) {
      V_FreeDuplicateBitmap(bitmap, options);
      return rc;
    }
  }
  copy_map_table(*bitmap, *source);
  return RC_SUCCESS;
}

ResultCode V_FreeDuplicateBitmap(BitmapHandle *bitmap, uint32_t options) {
  if (!bitmap) return RC_INVALID_PARAMETER;
  if (!(options & DUP_OWN_PALETTE)) bitmap->Palette = nullptr;
  if (!(options & DUP_OWN_EXTENSION)) bitmap->Extension = nullptr;
  if (options & DUP_ALLOCATE) {
    V_FreeBitmap(bitmap);
  } else {
    vxkrn::platform::sys_free(bitmap->Palette);
    bitmap->Palette = nullptr;
  }
  return RC_SUCCESS;
}

}  // extern "C"
