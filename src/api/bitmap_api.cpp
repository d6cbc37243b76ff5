// The boundary of bitmap.h: the record's lifecycle. Each entry checks its
// arguments in the documented order and calls the core.
#include <cstring>

#include "color/palette.h"
#include "core/checks.h"
#include "core/record.h"
#include "core/storage.h"
#include "core/storage_change.h"
#include "core/thread_state.h"
#include "vxkrn/bitmap.h"

using namespace vxkrn::core;

namespace {

bool known_order(int32_t order) {
  return order == ORDER_RGB || order == ORDER_BGR || order == ORDER_GRAY || order == ORDER_MATRIX;
}

// A record whose Data this library may point at memory: a valid size field.
bool addressable_record(const BitmapHandle *bitmap) {
  return bitmap && bitmap->StructSize == BITMAPHANDLE_SIZE;
}

ResultCode set_data_pointer(BitmapHandle &bitmap, void *data, uint32_t data_size) {
  const bool caller_pointer =
      has_flags(bitmap, FLAG_ALLOCATED | FLAG_USER_MEMORY) && !(bitmap.Flags & FLAG_USER_BLOCK);
  if (!caller_pointer && data && data_size != bitmap.Size) return RC_INVALID_PARAMETER;
  VXKRN_TRY(check_struct_size(bitmap.StructSize));
  bitmap.Data = static_cast<uint8_t *>(data);
  return RC_SUCCESS;
}

// The palette of a bitmap of 8 bits or fewer: gray, the default, or a copy
// of the caller's entries.
ResultCode give_palette(BitmapHandle &bitmap, bool gray, const PaletteEntry *palette) {
  if (gray) return vxkrn::color::give_gray_palette(bitmap);
  if (!palette)
    return vxkrn::color::give_fixed_palette(bitmap) == RC_SUCCESS ? RC_SUCCESS : RC_NO_MEMORY;
  PaletteEntry *copy = new_palette(palette, static_cast<uint32_t>(bitmap.ColorCount));
  if (!copy) return RC_NO_MEMORY;
  bitmap.Palette = copy;
  return RC_SUCCESS;
}

}  // namespace

extern "C" {

ResultCode V_InitBitmap(BitmapHandle *bitmap, uint32_t struct_size, int32_t width, int32_t height,
                        int32_t bits_per_pixel) {
  VXKRN_TRY(check_record(bitmap, RC_INVALID_PARAMETER));
  VXKRN_TRY(check_struct_size(struct_size));
  return init_bitmap(*bitmap, width, height, bits_per_pixel);
}

ResultCode V_CopyBitmapHandle(BitmapHandle *destination, const BitmapHandle *source,
                              uint32_t struct_size) {
  if (!destination) return RC_SUCCESS;
  VXKRN_TRY(check_handle(source, RC_INVALID_PARAMETER));
  VXKRN_TRY(check_struct_size(struct_size));
  std::memcpy(destination, source, sizeof *destination);
  return RC_SUCCESS;
}

ResultCode V_UpdateBitmapSize(BitmapHandle *bitmap) {
  VXKRN_TRY(check_allocated_handle(bitmap, RC_INVALID_PARAMETER, RC_INVALID_BITMAP));
  return update_size(*bitmap);
}

int32_t V_IsBitmapLUTLengthValid(const BitmapHandle *bitmap) {
  return bitmap && lut_length_valid(*bitmap) ? 1 : 0;
}

ResultCode V_CopyPlaybackParms(BitmapHandle *destination, const BitmapHandle *source) {
  VXKRN_TRY(check_handle(destination, RC_INVALID_PARAMETER));
  VXKRN_TRY(check_handle(source, RC_INVALID_PARAMETER));
  std::memcpy(destination->Playback, source->Playback, sizeof destination->Playback);
  return RC_SUCCESS;
}

ResultCode V_FreeGrayParams(BitmapHandle *bitmap) {
  VXKRN_TRY(check_handle(bitmap, RC_INVALID_PARAMETER));
  free_gray_params(*bitmap);
  return RC_SUCCESS;
}

ResultCode V_CopyGrayParams(BitmapHandle *destination, const BitmapHandle *source) {
  VXKRN_TRY(check_handle(destination, RC_INVALID_PARAMETER));
  VXKRN_TRY(check_handle(source, RC_INVALID_PARAMETER));
  return copy_gray_params(*destination, *source);
}

ResultCode V_AllocateBitmap(BitmapHandle *bitmap, int32_t memory_type) {
  thread_state();
  VXKRN_TRY(check_handle(bitmap, RC_INVALID_PARAMETER));
  // Allocating over storage would lose it: the caller frees first.
  if (bitmap->Flags & FLAG_ALLOCATED) return RC_INVALID_PARAMETER;
  return allocate(*bitmap, memory_type);
}

ResultCode V_CreateBitmap(BitmapHandle *bitmap, uint32_t struct_size, int32_t memory_type,
                          int32_t width, int32_t height, int32_t bits_per_pixel, int32_t order,
                          const PaletteEntry *palette, int32_t view_perspective, void *data,
                          uint32_t data_size) {
  VXKRN_TRY(check_record(bitmap, RC_INVALID_PARAMETER));
  VXKRN_TRY(check_struct_size(struct_size));
  if (!known_order(order)) return RC_INVALID_PARAMETER;
  const bool gray = bits_per_pixel == 0;
  if (gray) bits_per_pixel = 8;
  VXKRN_TRY(init_bitmap(*bitmap, width, height, bits_per_pixel));
  bitmap->Order = order;
  if (order == ORDER_MATRIX && bits_per_pixel != 24 && bits_per_pixel != 48)
    return RC_INVALID_BITS_PER_PIXEL;
  VXKRN_TRY(allocate(*bitmap, memory_type));

  if (bits_per_pixel > 8) {
    bitmap->Order = order;
  } else {
    bitmap->Order = ORDER_RGB;
    if (const ResultCode rc = give_palette(*bitmap, gray, palette); rc != RC_SUCCESS) {
      free_bitmap(*bitmap);
      return rc;
    }
  }
  if (view_perspective == 0) view_perspective = VIEW_TOP_LEFT;
  // Deliberately after allocation: the bitmap stays allocated on this failure.
  if (view_perspective < VIEW_TOP_LEFT || view_perspective > VIEW_LEFT_BOTTOM)
    return RC_INVALID_PARAMETER;
  bitmap->ViewPerspective = view_perspective;
  if ((bitmap->Flags & FLAG_USER_MEMORY) && data) return set_data_pointer(*bitmap, data, data_size);
  return RC_SUCCESS;
}

void V_FreeBitmap(BitmapHandle *bitmap) {
  if (check_handle(bitmap, RC_INVALID_PARAMETER) != RC_SUCCESS) return;
  free_bitmap(*bitmap);
}

void V_AccessBitmap(BitmapHandle *bitmap) {
  if (addressable_record(bitmap)) access(*bitmap);
}

void V_ReleaseBitmap(BitmapHandle *bitmap) {
  if (addressable_record(bitmap)) release(*bitmap);
}

int32_t V_LockBitmap(BitmapHandle *bitmap) {
  if (!bitmap) return 0;
  if (bitmap->Flags & FLAG_ACCESSED) return 1;
  if (addressable_record(bitmap)) access(*bitmap);
  return 0;
}

void V_UnlockBitmap(BitmapHandle *bitmap, int32_t was_accessed) {
  if (was_accessed == 0 && addressable_record(bitmap)) release(*bitmap);
}

ResultCode V_SetBitmapDataPointer(BitmapHandle *bitmap, void *data, uint32_t data_size) {
  VXKRN_TRY(check_record(bitmap, RC_INVALID_PARAMETER));
  return set_data_pointer(*bitmap, data, data_size);
}

ResultCode V_GetBitmapMemoryInfo(const BitmapHandle *bitmap, int32_t *memory_type,
                                 int32_t * /*reserved1*/, int32_t * /*reserved2*/) {
  VXKRN_TRY(check_allocated_handle(bitmap, RC_INVALID_BITMAP, RC_INVALID_BITMAP));
  if (!memory_type) return RC_INVALID_PARAMETER;
  *memory_type = memory_info(*bitmap);
  return RC_SUCCESS;
}

ResultCode V_SetBitmapMemoryInfo(BitmapHandle *bitmap, int32_t memory_type, int32_t, int32_t,
                                 int32_t, int32_t, int32_t, uint32_t mask) {
  if (bitmap) VXKRN_TRY(check_struct_size(bitmap->StructSize));
  VXKRN_TRY(check_allocated_handle(bitmap, RC_INVALID_BITMAP, RC_INVALID_BITMAP));
  if (!(mask & MEM_INFO_MASK_TYPE) || memory_info(*bitmap) == memory_type) return RC_SUCCESS;
  // A temporary file is asked for as memory first, with the file as the
  // fallback when memory runs out.
  return move_storage(*bitmap, memory_type == MEM_DISK ? MEM_CONVENTIONAL : memory_type);
}

ResultCode V_ChangeBitmapHeight(BitmapHandle *bitmap, int32_t new_height) {
  VXKRN_TRY(check_allocated_handle(bitmap, RC_INVALID_BITMAP, RC_INVALID_BITMAP));
  if (bitmap->Flags & (FLAG_USER_MEMORY | FLAG_ACCESSED)) return RC_INVALID_PARAMETER;
  return change_height(*bitmap, new_height);
}

}  // extern "C"
