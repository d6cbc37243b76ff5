// Questions asked of palettes: the nearest entry to a colour, whether a
// palette or bitmap is gray, and a colour expressed for another bitmap.
#include "color/color_value.h"
#include "color/palette.h"
#include "color/palette_search.h"
#include "core/record.h"

namespace vxkrn::color {
namespace {

bool is_gray(const PaletteEntry &e) {
  return e.Red == e.Green && e.Red == e.Blue;
}

constexpr ColorValue kIndexKind = COLOR_KIND_INDEX << 24;

// One palette entry of a bitmap, if it has it.
bool entry_of(const BitmapHandle *bitmap, uint32_t index, PaletteEntry *entry) {
  return read_entries(*bitmap, index, 1, entry) == 1;
}

}  // namespace

int32_t gray_kind(const PaletteEntry *entries, uint32_t count) noexcept {
  if (count == 0) return GRAY_NONE;
  for (uint32_t i = 0; i < count; ++i)
    if (!is_gray(entries[i])) return GRAY_NONE;
  if (count == 1)
    return entries[0].Red == 0     ? GRAY_ORDERED
           : entries[0].Red == 255 ? GRAY_INVERTED
                                   : GRAY_UNORDERED;
  // The expected ramp steps by a truncated 255 / (count - 1), deliberately:
  // ramps whose count - 1 does not divide 255 do not match it.
  const uint32_t step = 255 / (count - 1);
  const bool ascending = entries[0].Red == 0;
  uint32_t expected = ascending ? 0 : 255;
  for (uint32_t i = 0; i < count; ++i) {
    if (entries[i].Red != (expected & 0xFF)) return GRAY_UNORDERED;
    expected = ascending ? expected + step : expected - step;
  }
  return ascending ? GRAY_ORDERED : GRAY_INVERTED;
}

int32_t bitmap_gray_kind(const BitmapHandle &b) noexcept {
  const BitmapHandle *bitmap = &b;
  if (bitmap->Order != ORDER_GRAY) {
    if (bitmap->BitsPerPixel > 8) return GRAY_NONE;
    if (!bitmap->Palette || bitmap->ColorCount <= 0) return GRAY_NONE;
    const int32_t kind = gray_kind(bitmap->Palette, static_cast<uint32_t>(bitmap->ColorCount));
    const bool full = bitmap->ColorCount == (1 << bitmap->BitsPerPixel);
    return kind != GRAY_NONE && !full ? GRAY_UNORDERED : kind;
  }
  if (!core::lut_length_valid(*bitmap)) return RC_INVALID_LUT_LENGTH;
  if (!bitmap->LUT || !(bitmap->Flags & FLAG_USE_LOW_HIGH)) return GRAY_ORDERED;
  // Significant bits of the LowBit..HighBit description, clamped to the
  // pixel rather than rejected.
  const core::GrayBits active = core::active_gray_bits(*bitmap);
  const int32_t low = active.low < 0 ? 0 : active.low;
  int32_t bits = active.high - low + 1;
  if (bits > bitmap->BitsPerPixel) bits = bitmap->BitsPerPixel;
  if (bits < 0) bits = 0;
  for (uint64_t i = (uint64_t{1} << bits); i-- > 0;)
    if (!is_gray(bitmap->LUT[i])) return GRAY_NONE;
  const PaletteEntry &decider =
      bitmap->LUT[(bitmap->Flags & FLAG_RESTRICTED) ? bitmap->LUTLength / 2 : 0];
  return decider.Red == 0 ? GRAY_ORDERED : decider.Red < 255 ? GRAY_UNORDERED : GRAY_INVERTED;
}

uint32_t nearest_index(const BitmapHandle &b, ColorValue color) noexcept {
  const BitmapHandle *bitmap = &b;
  if (!bitmap->Palette || bitmap->ColorCount <= 0) return 0;
  const int32_t index = find_palette_index(
      bitmap->Palette, static_cast<uint32_t>(bitmap->ColorCount), static_cast<int>(red_of(color)),
      static_cast<int>(green_of(color)), static_cast<int>(blue_of(color)));
  return index < 0 ? 0 : static_cast<uint32_t>(index);
}

ColorValue translate_color(const BitmapHandle &d, const BitmapHandle *source,
                           ColorValue color) noexcept {
  const BitmapHandle *destination = &d;
  const uint32_t kind = kind_of(color);
  if (kind == COLOR_KIND_GRAY) {
    if (destination->Order == ORDER_GRAY) {
      if (!destination->LUT || !(destination->Flags & FLAG_USE_LOW_HIGH)) return color;
      const uint32_t length = destination->LUTLength == 65536 ? 65535 : destination->LUTLength;
      const int32_t index =
          find_palette_index(destination->LUT, length, static_cast<int>(red_of(color)),
                             static_cast<int>(green_of(color)), static_cast<int>(blue_of(color)));
      return kIndexKind | (static_cast<uint32_t>(index) & 0xFFFF);
    }
    color = gray_as_rgb(color);
  } else if (kind == COLOR_KIND_INDEX) {
    const uint32_t index = color & 0xFFFF;
    PaletteEntry fetched{};
    const bool usable = source && source->BitsPerPixel <= 8;
    const bool have = usable && entry_of(source, index, &fetched);
    if (destination->BitsPerPixel > 8) return have ? make_rgb(fetched) : 0;
    PaletteEntry own{};
    if (have && entry_of(destination, index, &own) && own.Blue == fetched.Blue &&
        own.Green == fetched.Green && own.Red == fetched.Red)
      return color;
    color = have ? make_rgb(fetched) : 0;
  }
  if (destination->BitsPerPixel > 8) return color;
  return kIndexKind | (nearest_index(*destination, color) & 0xFFFF);
}

}  // namespace vxkrn::color
