// The boundary of palette.h: searching and classifying palettes, a
// bitmap's palette, palette objects and the built-in palettes.
#include <cstring>

#include "color/palette.h"
#include "color/palette_builtin.h"
#include "color/palette_search.h"
#include "core/checks.h"
#include "core/record.h"
#include "platform/heap.h"

using namespace vxkrn::core;
namespace color = vxkrn::color;

namespace {

bool valid_record(const BitmapHandle *bitmap) {
  return bitmap && bitmap->StructSize == BITMAPHANDLE_SIZE;
}

}  // namespace

extern "C" {

int32_t V_FindPaletteIndex(const PaletteEntry *entries, uint32_t count, int32_t red, int32_t green,
                           int32_t blue) {
  return color::find_palette_index(entries, count, red, green, blue);
}

int32_t V_IsGrayScalePalette(const PaletteEntry *entries, uint32_t count) {
  if (!entries) return RC_INVALID_PARAMETER;
  return color::gray_kind(entries, count);
}

int32_t V_IsGrayScaleBitmap(const BitmapHandle *bitmap) {
  VXKRN_TRY(check_handle(bitmap, RC_INVALID_PARAMETER));
  return color::bitmap_gray_kind(*bitmap);
}

uint32_t V_GetNearestPaletteIndex(const BitmapHandle *bitmap, ColorValue color) {
  return valid_record(bitmap) ? color::nearest_index(*bitmap, color) : 0;
}

ColorValue V_TranslateBitmapColor(const BitmapHandle *destination, const BitmapHandle *source,
                                  ColorValue color) {
  if (!valid_record(destination)) return color;
  return color::translate_color(*destination, valid_record(source) ? source : nullptr, color);
}

int32_t V_CompareBitmapToPalette(const BitmapHandle *bitmap, const PaletteEntry *entries,
                                 uint32_t count) {
  if (!bitmap || !entries) return 0;
  if (bitmap->StructSize != BITMAPHANDLE_SIZE) return 1;
  return color::matches_palette(*bitmap, entries, count) ? 1 : 0;
}

int32_t V_GetBitmapPaletteEntries(const BitmapHandle *bitmap, uint32_t first, uint32_t count,
                                  PaletteEntry *entries) {
  if (!bitmap || !entries) return 0;
  VXKRN_TRY(check_struct_size(bitmap->StructSize));
  return static_cast<int32_t>(color::read_entries(*bitmap, first, count, entries));
}

ResultCode V_PutBitmapColors(BitmapHandle *bitmap, int32_t first, uint32_t count,
                             const PaletteEntry *entries) {
  VXKRN_TRY(check_allocated_handle(bitmap, RC_INVALID_BITMAP, RC_INVALID_BITMAP));
  if (!entries || first < 0) return RC_INVALID_PARAMETER;
  return color::put_colors(*bitmap, static_cast<uint32_t>(first), count, entries);
}

ResultCode V_GetBitmapColors(const BitmapHandle *bitmap, uint32_t first, uint32_t count,
                             PaletteEntry *entries) {
  VXKRN_TRY(check_handle(bitmap, RC_INVALID_BITMAP));
  if (count == 0 || !entries || bitmap->BitsPerPixel > 8 || !bitmap->Palette ||
      bitmap->ColorCount <= 0 || uint64_t{first} + count > uint64_t(bitmap->ColorCount))
    return RC_INVALID_PARAMETER;
  color::read_entries(*bitmap, first, count, entries);
  return RC_SUCCESS;
}

ResultCode V_SetBitmapNewPalette(BitmapHandle *bitmap, const PaletteEntry *entries,
                                 uint32_t count) {
  if (!bitmap) return RC_INVALID_PARAMETER;
  return replace_palette(*bitmap, entries, count) ? RC_SUCCESS : 0;
}

ResultCode V_CopyBitmapPalette(BitmapHandle *destination, const BitmapHandle *source) {
  if (!destination || !source) return RC_INVALID_PARAMETER;
  VXKRN_TRY(check_struct_size(source->StructSize));
  VXKRN_TRY(check_struct_size(destination->StructSize));
  return copy_palette(*destination, *source) ? RC_SUCCESS : 0;
}

VPalette V_CreatePalette(const PaletteEntry *entries, uint32_t count) {
  return color::create_object(entries, count);
}

VPalette V_CreateSystemPalette(void) {
  return nullptr;
}

void V_DeletePalette(VPalette palette) {
  color::delete_object(palette);
}

uint32_t V_GetPaletteSize(VPalette palette) {
  return palette ? palette->count : 0;
}

uint32_t V_GetPaletteEntries(VPalette palette, uint32_t first, uint32_t count,
                             PaletteEntry *entries) {
  if (!palette || !entries) return 0;
  const uint32_t n = color::clipped(first, count, palette->count);
  if (n) std::memcpy(entries, palette->entries + first, n * sizeof(PaletteEntry));
  return n;
}

uint32_t V_SetPaletteEntries(VPalette palette, uint32_t first, uint32_t count,
                             const PaletteEntry *entries) {
  if (!palette || !entries) return 0;
  const uint32_t n = color::clipped(first, count, palette->count);
  if (n) std::memcpy(palette->entries + first, entries, n * sizeof(PaletteEntry));
  return n;
}

VPalette V_DupPalette(VPalette palette) {
  if (!palette || palette->count == 0) return nullptr;
  return color::create_object(palette->entries, palette->count);
}

VPalette V_DupBitmapPalette(const BitmapHandle *bitmap) {
  if (!valid_record(bitmap) || !bitmap->Palette || bitmap->ColorCount < 0) return nullptr;
  return color::create_object(bitmap->Palette, static_cast<uint32_t>(bitmap->ColorCount));
}

ResultCode V_SetBitmapPalette(BitmapHandle *bitmap, VPalette palette) {
  VXKRN_TRY(check_handle(bitmap, RC_INVALID_BITMAP));
  return color::set_bitmap_palette(*bitmap, palette);
}

PaletteEntry *V_CreateNewPalette(const PaletteEntry *entries, uint32_t count) {
  return new_palette(entries, count);
}

PaletteEntry *V_CreateGrayPalette(int32_t bits_per_pixel) {
  return color::gray_ramp(bits_per_pixel);
}

ResultCode V_CreateBitmapGrayPalette(BitmapHandle *bitmap) {
  VXKRN_TRY(check_handle(bitmap, RC_INVALID_PARAMETER));
  return color::give_gray_palette(*bitmap);
}

PaletteEntry *V_CreateFixedPalette(int32_t bits_per_pixel) {
  return color::fixed_palette(bits_per_pixel);
}

ResultCode V_CreateBitmapFixedPalette(BitmapHandle *bitmap) {
  VXKRN_TRY(check_handle(bitmap, RC_INVALID_PARAMETER));
  return color::give_fixed_palette(*bitmap);
}

const PaletteEntry *V_IntGetFixedPalette(int32_t bits_per_pixel) {
  return color::default_palette(bits_per_pixel);
}

const PaletteEntry *V_IntGetNetscapePalette(void) {
  return color::web_palette();
}

ResultCode V_GetFixedPalette(PaletteEntry *entries, int32_t bits_per_pixel) {
  if (!entries) return RC_INVALID_PARAMETER;
  return color::copy_fixed_palette(entries, bits_per_pixel);
}

}  // extern "C"
