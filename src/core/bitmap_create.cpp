// One-call creation of a bitmap: initialise, allocate, give it its palette,
// view perspective and, for caller memory, its data pointer.
#include "core/checks.h"
#include "vxkrn/bitmap.h"
#include "vxkrn/palette.h"

using namespace vxkrn::core;

namespace {

// The palette of a bitmap of 8 bits or fewer: gray, the default, or a copy
// of the caller's entries.
ResultCode give_palette(BitmapHandle *bitmap, bool gray, const PaletteEntry *palette) {
  if (gray) return V_CreateBitmapGrayPalette(bitmap);
  if (!palette) return V_CreateBitmapFixedPalette(bitmap) == RC_SUCCESS ? RC_SUCCESS : RC_NO_MEMORY;
  PaletteEntry *copy = V_CreateNewPalette(palette, static_cast<uint32_t>(bitmap->ColorCount));
  if (!copy) return RC_NO_MEMORY;
  bitmap->Palette = copy;
  return RC_SUCCESS;
}

}  // namespace

extern "C" {

ResultCode V_CreateBitmap(BitmapHandle *bitmap, uint32_t struct_size, int32_t memory_type,
                          int32_t width, int32_t height, int32_t bits_per_pixel, int32_t order,
                          const PaletteEntry *palette, int32_t view_perspective, void *data,
                          uint32_t data_size) {
  VXKRN_TRY(check_record(bitmap, RC_INVALID_PARAMETER));
  VXKRN_TRY(check_struct_size(struct_size));
  if (order != ORDER_RGB && order != ORDER_BGR && order != ORDER_GRAY && order != ORDER_MATRIX)
    return RC_INVALID_PARAMETER;
  bitmap->StructSize = BITMAPHANDLE_SIZE;
  const bool gray = bits_per_pixel == 0;
  if (gray) bits_per_pixel = 8;
  VXKRN_TRY(V_InitBitmap(bitmap, struct_size, width, height, bits_per_pixel));
  bitmap->Order = order;
  if (order == ORDER_MATRIX && bits_per_pixel != 24 && bits_per_pixel != 48)
    return RC_INVALID_BITS_PER_PIXEL;
  VXKRN_TRY(V_AllocateBitmap(bitmap, memory_type));

  if (bits_per_pixel > 8) {
    bitmap->Order = order;
  } else {
    bitmap->Order = ORDER_RGB;
    if (const ResultCode rc = give_palette(bitmap, gray, palette); rc != RC_SUCCESS) {
      V_FreeBitmap(bitmap);
      return rc;
    }
  }
  if (view_perspective == 0) view_perspective = 1;
  // Deliberately after allocation: the bitmap stays allocated on this failure.
  if (view_perspective < 1 || view_perspective > 8) return RC_INVALID_PARAMETER;
  bitmap->ViewPerspective = view_perspective;
  if ((bitmap->Flags & FLAG_USER_MEMORY) && data)
    return V_SetBitmapDataPointer(bitmap, data, data_size);
  return RC_SUCCESS;
}

}  // extern "C"
