// Palette objects: the library's own stand-in for display palettes, up to
// 256 entries in an opaque handle.
#include <cstring>

#include "color/palette.h"
#include "core/record.h"
#include "platform/heap.h"

namespace vxkrn::color {

VPalette create_object(const PaletteEntry *entries, std::uint32_t count) noexcept {
  if (!entries || count > 256) return nullptr;
  auto *palette = static_cast<VPalette>(platform::rt_alloc(sizeof(VPaletteObject)));
  if (!palette) return nullptr;
  palette->count = count;
  if (count) std::memcpy(palette->entries, entries, count * sizeof(PaletteEntry));
  return palette;
}

void delete_object(VPalette palette) noexcept {
  platform::rt_free(palette);
}

ResultCode set_bitmap_palette(BitmapHandle &bitmap, const VPaletteObject *palette) noexcept {
  const std::uint32_t size = palette ? palette->count : 0;
  if (size < 2 || size > 256) return RC_INVALID_PARAMETER;
  // The old palette goes first: a failed copy leaves the bitmap without one.
  platform::sys_free(bitmap.Palette);
  bitmap.Palette = core::new_palette(palette->entries, size);
  if (!bitmap.Palette) return RC_NO_MEMORY;
  bitmap.ColorCount = static_cast<std::int32_t>(size);
  return RC_SUCCESS;
}

}  // namespace vxkrn::color
