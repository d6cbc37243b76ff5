// Palette creation: owned copies, gray ramps and default palettes, and the
// calls that give a bitmap one of them.
#include <bit>
#include <cstring>

#include "color/palette_builtin.h"
#include "core/checks.h"
#include "platform/heap.h"
#include "vxkrn/palette.h"

using vxkrn::color::copy_palette;
using vxkrn::color::default_palette;

namespace {

constexpr int32_t kMaxRampBits = 30;  // 2^30 entries of 4 bytes still fit a size_t on 64 bits

PaletteEntry *make_gray_ramp(uint32_t count) {
  auto *entries = static_cast<PaletteEntry *>(
      vxkrn::platform::sys_alloc(vxkrn::platform::checked_product(count, sizeof(PaletteEntry))));
  if (entries) vxkrn::color::fill_gray_ramp(entries, count);
  return entries;
}

}  // namespace

extern "C" {

PaletteEntry *V_CreateNewPalette(const PaletteEntry *entries, uint32_t count) {
  if (!entries || count == 0 || count > 256) return nullptr;
  return copy_palette(entries, count);
}

PaletteEntry *V_CreateGrayPalette(int32_t bits_per_pixel) {
  if (bits_per_pixel == 0) bits_per_pixel = 8;
  if (bits_per_pixel < 0 || bits_per_pixel > kMaxRampBits) return nullptr;
  return make_gray_ramp(uint32_t{1} << bits_per_pixel);
}

ResultCode V_CreateBitmapGrayPalette(BitmapHandle *bitmap) {
  VXKRN_TRY(vxkrn::core::check_handle(bitmap, RC_INVALID_PARAMETER));
  if (bitmap->BitsPerPixel < 1 || bitmap->BitsPerPixel > 8) return RC_INVALID_BITS_PER_PIXEL;
  const uint32_t count = uint32_t{1} << bitmap->BitsPerPixel;
  PaletteEntry *entries = make_gray_ramp(count);
  if (!entries) return RC_NO_MEMORY;
  bitmap->Palette = entries;
  bitmap->ColorCount = static_cast<int32_t>(count);
  return RC_SUCCESS;
}

PaletteEntry *V_CreateFixedPalette(int32_t bits_per_pixel) {
  if (bits_per_pixel == 0) bits_per_pixel = 1;
  const PaletteEntry *table = default_palette(bits_per_pixel);
  return table ? copy_palette(table, uint32_t{1} << bits_per_pixel) : nullptr;
}

ResultCode V_CreateBitmapFixedPalette(BitmapHandle *bitmap) {
  VXKRN_TRY(vxkrn::core::check_handle(bitmap, RC_INVALID_PARAMETER));
  const int32_t count = bitmap->ColorCount;
  if (count < 2 || count > 256 || !std::has_single_bit(static_cast<uint32_t>(count))) return 0;
  // Chosen by count: 4 deliberately takes the 2-entry table and runs on into
  // the next one, which the contiguous layout of the defaults makes defined.
  const int bits = count == 4 ? 1 : std::countr_zero(static_cast<uint32_t>(count));
  PaletteEntry *entries = copy_palette(default_palette(bits), static_cast<uint32_t>(count));
  if (!entries) return RC_NO_MEMORY;
  bitmap->Palette = entries;
  return RC_SUCCESS;
}

const PaletteEntry *V_IntGetFixedPalette(int32_t bits_per_pixel) {
  return default_palette(bits_per_pixel);
}

const PaletteEntry *V_IntGetNetscapePalette(void) {
  return vxkrn::color::web_palette();
}

ResultCode V_GetFixedPalette(PaletteEntry *entries, int32_t bits_per_pixel) {
  if (!entries || bits_per_pixel < 0 || bits_per_pixel > 8) return RC_INVALID_PARAMETER;
  const PaletteEntry *table =
      bits_per_pixel == 0 ? vxkrn::color::gray_levels_palette() : default_palette(bits_per_pixel);
  const std::size_t count = bits_per_pixel == 0 ? 256 : std::size_t{1} << bits_per_pixel;
  std::memcpy(entries, table, count * sizeof(PaletteEntry));
  return RC_SUCCESS;
}

}  // extern "C"
