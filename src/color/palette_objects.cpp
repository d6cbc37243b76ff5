// Palette objects: the library's own stand-in for display palettes, up to
// 256 entries in an opaque handle.
#include <cstring>

#include "color/palette_builtin.h"
#include "core/checks.h"
#include "platform/heap.h"
#include "vxkrn/palette.h"

struct VPaletteObject {
  uint32_t count;
  PaletteEntry entries[256];
};

using vxkrn::color::clipped;

extern "C" {

VPalette V_CreatePalette(const PaletteEntry *entries, uint32_t count) {
  if (!entries || count > 256) return nullptr;
  auto *palette = static_cast<VPalette>(vxkrn::platform::rt_alloc(sizeof(VPaletteObject)));
  if (!palette) return nullptr;
  palette->count = count;
  if (count) std::memcpy(palette->entries, entries, count * sizeof(PaletteEntry));
  return palette;
}

VPalette V_CreateSystemPalette(void) {
  return nullptr;
}

void V_DeletePalette(VPalette palette) {
  vxkrn::platform::rt_free(palette);
}

uint32_t V_GetPaletteSize(VPalette palette) {
  return palette ? palette->count : 0;
}

uint32_t V_GetPaletteEntries(VPalette palette, uint32_t first, uint32_t count,
                             PaletteEntry *entries) {
  if (!palette || !entries) return 0;
  const uint32_t n = clipped(first, count, palette->count);
  if (n) std::memcpy(entries, palette->entries + first, n * sizeof(PaletteEntry));
  return n;
}

uint32_t V_SetPaletteEntries(VPalette palette, uint32_t first, uint32_t count,
                             const PaletteEntry *entries) {
  if (!palette || !entries) return 0;
  const uint32_t n = clipped(first, count, palette->count);
  if (n) std::memcpy(palette->entries + first, entries, n * sizeof(PaletteEntry));
  return n;
}

VPalette V_DupPalette(VPalette palette) {
  if (V_GetPaletteSize(palette) == 0) return nullptr;
  return V_CreatePalette(palette->entries, palette->count);
}

VPalette V_DupBitmapPalette(const BitmapHandle *bitmap) {
  if (vxkrn::core::check_handle(bitmap, RC_INVALID_BITMAP) != RC_SUCCESS || !bitmap->Palette ||
      bitmap->ColorCount < 0)
    return nullptr;
  return V_CreatePalette(bitmap->Palette, static_cast<uint32_t>(bitmap->ColorCount));
}

ResultCode V_SetBitmapPalette(BitmapHandle *bitmap, VPalette palette) {
  VXKRN_TRY(vxkrn::core::check_handle(bitmap, RC_INVALID_BITMAP));
  const uint32_t size = V_GetPaletteSize(palette);
  if (size < 2 || size > 256) return RC_INVALID_PARAMETER;
  // The old palette goes first: a failed copy leaves the bitmap without one.
  vxkrn::platform::sys_free(bitmap->Palette);
  bitmap->Palette = V_CreateNewPalette(palette->entries, size);
  if (!bitmap->Palette) return RC_NO_MEMORY;
  bitmap->ColorCount = static_cast<int32_t>(size);
  return RC_SUCCESS;
}

}  // extern "C"
