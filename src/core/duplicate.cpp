// Duplicates: a new record like a source, with its own geometry, and the
// release that knows which of its parts are shared.
#include "core/duplicate.h"

#include <cstring>

#include "core/checks.h"
#include "core/record.h"
#include "core/storage.h"
#include "platform/heap.h"

namespace vxkrn::core {

ResultCode duplicate(BitmapHandle &bitmap, const BitmapHandle &source, std::int32_t width,
                     std::int32_t height, std::int32_t bits_per_pixel,
                     std::uint32_t options) noexcept {
  VXKRN_TRY(init_bitmap(bitmap, width, height, bits_per_pixel));
  constexpr std::uint32_t kInherited =
      FLAG_CARRIED | FLAG_COMPRESSED | FLAG_SUPER_COMPRESSED | FLAG_DISK | FLAG_RESTRICTED;
  bitmap.Flags |= source.Flags & kInherited;
  bitmap.ViewPerspective = source.ViewPerspective;
  bitmap.XResolution = source.XResolution;
  bitmap.YResolution = source.YResolution;
  bitmap.Order = source.Order;
  bitmap.Reserved2[0] = source.Reserved2[0];
  if (options & DUP_ALLOCATE) VXKRN_TRY(allocate(bitmap, storage_type_of(source)));

  if (options & DUP_OWN_PALETTE) {
    if (!copy_palette(bitmap, source)) {
      free_duplicate(bitmap, options);
      return RC_NO_MEMORY;
    }
  } else {
    bitmap.Palette = source.Palette;
  }
  bitmap.ColorCount = source.ColorCount;
  std::memcpy(bitmap.Playback, source.Playback, sizeof bitmap.Playback);

  if ((options & DUP_ALLOCATE) && source.Order == ORDER_GRAY &&
      source.BitsPerPixel == bits_per_pixel) {
    bitmap.Order = ORDER_GRAY;
    if (const ResultCode rc = copy_gray_params(bitmap, source); rc != RC_SUCCESS) {
      free_duplicate(bitmap, options);
      return rc;
    }
  }
  copy_map_table(bitmap, source);
  return RC_SUCCESS;
}

void free_duplicate(BitmapHandle &bitmap, std::uint32_t options) noexcept {
  if (!(options & DUP_OWN_PALETTE)) bitmap.Palette = nullptr;
  if (!(options & DUP_OWN_EXTENSION)) bitmap.Extension = nullptr;
  if (options & DUP_ALLOCATE) {
    free_bitmap(bitmap);
  } else {
    platform::sys_free(bitmap.Palette);
    bitmap.Palette = nullptr;
  }
}

ResultCode duplicate_for_copy(BitmapHandle &result, const BitmapHandle &source, std::int32_t width,
                              std::int32_t height, const std::int32_t *memory_type) noexcept {
  if (!memory_type)
    return duplicate(result, source, width, height, source.BitsPerPixel, kDupOwnCopy);
  VXKRN_TRY(duplicate(result, source, width, height, source.BitsPerPixel, kDupNoStorage));
  ResultCode rc = RC_SUCCESS;
  if (source.Order == ORDER_GRAY) {
    result.Order = ORDER_GRAY;
    rc = copy_gray_params(result, source);
  }
  if (rc == RC_SUCCESS) rc = allocate(result, *memory_type);
  if (rc != RC_SUCCESS) {
    free_duplicate(result, kDupNoStorage);
    free_gray_params(result);
    return rc;
  }
  copy_map_table(result, source);
  return RC_SUCCESS;
}

}  // namespace vxkrn::core
