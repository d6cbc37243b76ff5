// A bitmap's own palette: reading, replacing and copying its entries.
#include <cstring>

#include "color/palette_builtin.h"
#include "core/checks.h"
#include "platform/heap.h"
#include "vxkrn/palette.h"

using namespace vxkrn::core;

extern "C" {

int32_t V_GetBitmapPaletteEntries(const BitmapHandle *bitmap, uint32_t first, uint32_t count,
                                  PaletteEntry *entries) {
  if (!bitmap || !entries) return 0;
  VXKRN_TRY(check_struct_size(bitmap->StructSize));
  if (!bitmap->Palette || bitmap->ColorCount <= 0) return 0;
  const uint32_t n = vxkrn::color::clipped(first, count, static_cast<uint32_t>(bitmap->ColorCount));
  if (n) std::memcpy(entries, bitmap->Palette + first, n * sizeof(PaletteEntry));
  return static_cast<int32_t>(n);
}

ResultCode V_PutBitmapColors(BitmapHandle *bitmap, int32_t first, uint32_t count,
                             const PaletteEntry *entries) {
  VXKRN_TRY(check_allocated_handle(bitmap, RC_INVALID_BITMAP, RC_INVALID_BITMAP));
  if (!entries || first < 0 || bitmap->BitsPerPixel > 8 || bitmap->ColorCount < 0 ||
      uint64_t(uint32_t(first)) + count > uint64_t(uint32_t(bitmap->ColorCount)))
    return RC_INVALID_PARAMETER;
  if (!bitmap->Palette) {
    bitmap->Palette = static_cast<PaletteEntry *>(vxkrn::platform::sys_alloc(
        static_cast<std::size_t>(bitmap->ColorCount) * sizeof(PaletteEntry)));
    if (!bitmap->Palette) return RC_NO_MEMORY;
  }
  if (count) std::memcpy(bitmap->Palette + first, entries, count * sizeof(PaletteEntry));
  return RC_SUCCESS;
}

ResultCode V_GetBitmapColors(const BitmapHandle *bitmap, uint32_t first, uint32_t count,
                             PaletteEntry *entries) {
  VXKRN_TRY(check_handle(bitmap, RC_INVALID_BITMAP));
  if (count == 0 || !entries || bitmap->BitsPerPixel > 8 || !bitmap->Palette ||
      bitmap->ColorCount <= 0 || uint64_t{first} + count > uint64_t(bitmap->ColorCount))
    return RC_INVALID_PARAMETER;
  if (V_GetBitmapPaletteEntries(bitmap, first, count, entries) != static_cast<int32_t>(count))
    return RC_INVALID_PARAMETER;
  return RC_SUCCESS;
}

ResultCode V_SetBitmapNewPalette(BitmapHandle *bitmap, const PaletteEntry *entries,
                                 uint32_t count) {
  if (!bitmap) return RC_INVALID_PARAMETER;
  // Copied before the old array goes, so the entries may come from it.
  PaletteEntry *copy = entries ? V_CreateNewPalette(entries, count) : nullptr;
  vxkrn::platform::sys_free(bitmap->Palette);
  bitmap->Palette = copy;
  if (!entries) return RC_SUCCESS;
  if (!copy) return 0;
  bitmap->ColorCount = static_cast<int32_t>(count);
  return RC_SUCCESS;
}

ResultCode V_CopyBitmapPalette(BitmapHandle *destination, const BitmapHandle *source) {
  if (!destination || !source) return RC_INVALID_PARAMETER;
  VXKRN_TRY(check_struct_size(source->StructSize));
  VXKRN_TRY(check_struct_size(destination->StructSize));
  if (!source->Palette || source->ColorCount <= 0) {
    vxkrn::platform::sys_free(destination->Palette);
    destination->Palette = nullptr;
    destination->ColorCount = 0;
    return RC_SUCCESS;
  }
  return V_SetBitmapNewPalette(destination, source->Palette,
                               static_cast<uint32_t>(source->ColorCount));
}

int32_t V_CompareBitmapToPalette(const BitmapHandle *bitmap, const PaletteEntry *entries,
                                 uint32_t count) {
  if (!bitmap || !entries) return 0;
  if (bitmap->StructSize != BITMAPHANDLE_SIZE || !bitmap->Palette || bitmap->ColorCount <= 0)
    return 1;
  const uint32_t size = static_cast<uint32_t>(bitmap->ColorCount);
  const uint32_t n = count < size ? count : size;
  for (uint32_t i = 0; i < n; ++i) {
    const PaletteEntry &a = bitmap->Palette[i], &b = entries[i];
    if (a.Blue != b.Blue || a.Green != b.Green || a.Red != b.Red) return 0;
  }
  return 1;
}

}  // extern "C"
