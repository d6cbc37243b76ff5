// Single pixels as colour values: read and written through the row
// functions, converted with the converter's own rules.
#include "color/pixel_color.h"

#include "color/color_value.h"
#include "color/convert_engine.h"
#include "color/palette_search.h"
#include "core/checks.h"
#include "core/pixel_layout.h"
#include "core/record.h"
#include "core/row_access.h"
#include "vxkrn/convert.h"
#include "vxkrn/rows.h"

namespace vxkrn::color {
namespace {

using core::column_offset;
using core::get_packed_pixel;
using core::GrayBits;
using core::GrayRange;
using core::pixel_bytes;
using core::set_packed_pixel;

// The bytes of one pixel, where its bits start in them, and the row access
// that locks a memory bitmap for the call while they move.
struct PixelBytes {
  BitmapHandle *bitmap;
  core::RowAccess rows;
  std::uint64_t offset;
  std::uint32_t count;
  std::uint64_t first_bit;
  std::uint8_t bytes[8];

  PixelBytes(BitmapHandle *b, std::int32_t r, std::int32_t c)
      : bitmap(b),
        rows(*b, core::Lock::ForTheCall),
        offset(rows.offset_of(r, c)),
        count(pixel_bytes(b->BitsPerPixel, static_cast<std::uint64_t>(c))),
        first_bit(static_cast<std::uint64_t>(c) * static_cast<std::uint64_t>(b->BitsPerPixel) -
                  8 * column_offset(b->BitsPerPixel, static_cast<std::uint64_t>(c))),
        bytes{} {}
  bool read() { return rows.get(offset, bytes, count) == RC_SUCCESS; }
  ResultCode write() { return rows.put(offset, bytes, count); }
  std::uint32_t packed() const { return get_packed_pixel(bytes, first_bit, bitmap->BitsPerPixel); }
  void set_packed(std::uint32_t value) {
    set_packed_pixel(bytes, first_bit, bitmap->BitsPerPixel, value);
  }
};

bool inside(const BitmapHandle &b, int32_t row, int32_t column) {
  return row >= 0 && row < b.Height && column >= 0 && column < b.Width;
}

// Pixels deeper than a byte that hold gray levels (not palette indices).
bool is_gray_format(const BitmapHandle &b) {
  Side side;
  return b.Order == ORDER_GRAY && b.BitsPerPixel > 8 &&
         resolve_side(b.BitsPerPixel, ORDER_GRAY, false, &side) &&
         traits(side.format).domain == Domain::Gray;
}

// The active gray description as a range; false when it is not a range of
// the pixel.
bool active_range(const BitmapHandle &b, GrayRange *range) {
  const GrayBits bits = core::active_gray_bits(b);
  return core::gray_range(bits.low, bits.high, b.BitsPerPixel, range);
}

uint32_t raw_gray(const PixelBytes &p) {
  if (core::is_packed_depth(p.bitmap->BitsPerPixel)) return p.packed();
  uint32_t v = 0;
  for (uint32_t i = p.count; i-- > 0;)
    v = v << 8 | p.bytes[i];
  return v;
}

void set_raw_gray(PixelBytes &p, uint32_t v) {
  if (core::is_packed_depth(p.bitmap->BitsPerPixel)) return p.set_packed(v);
  for (uint32_t i = 0; i < p.count; ++i, v >>= 8)
    p.bytes[i] = static_cast<uint8_t>(v);
}

}  // namespace

ColorValue get_pixel_color(BitmapHandle &b, std::int32_t row, std::int32_t column) noexcept {
  BitmapHandle *bitmap = &b;
  if (!inside(*bitmap, row, column) || (bitmap->Order == ORDER_GRAY && bitmap->BitsPerPixel == 32))
    return PIXEL_COLOR_FAILED;
  PixelBytes pixel(bitmap, row, column);
  if (!pixel.read()) return PIXEL_COLOR_FAILED;
  const int32_t bits = bitmap->BitsPerPixel;
  if (bits <= 8) {
    const uint32_t index = bits == 8 ? pixel.bytes[0] : pixel.packed();
    if (!bitmap->Palette || bitmap->ColorCount <= 0 ||
        index >= static_cast<uint32_t>(bitmap->ColorCount))
      return PIXEL_COLOR_FAILED;
    return make_rgb(bitmap->Palette[index]);
  }
  if (is_gray_format(*bitmap)) {
    GrayRange range;
    if (!active_range(*bitmap, &range)) return PIXEL_COLOR_FAILED;
    const uint64_t mask = range.mask();
    const uint64_t v = (raw_gray(pixel) >> range.low) & mask;
    return (COLOR_KIND_GRAY << 24) | static_cast<uint32_t>(v * 65535 / mask);
  }
  if (convert_row(pixel.bytes, 1, bits, 24, bitmap->Order, ORDER_RGB, nullptr, nullptr, 0, -1,
                  -1) != RC_SUCCESS)
    return PIXEL_COLOR_FAILED;
  return make_rgb(pixel.bytes[0], pixel.bytes[1], pixel.bytes[2]);
}

ResultCode put_pixel_color(BitmapHandle &b, std::int32_t row, std::int32_t column,
                           ColorValue color) noexcept {
  BitmapHandle *bitmap = &b;
  if (!inside(*bitmap, row, column)) return RC_INVALID_PARAMETER;
  const uint32_t kind = kind_of(color);
  const int32_t bits = bitmap->BitsPerPixel;
  const bool gray_bitmap = is_gray_format(*bitmap);
  if (kind != COLOR_KIND_RGB && kind != COLOR_KIND_INDEX && kind != COLOR_KIND_GRAY)
    return RC_INVALID_PARAMETER;
  if (kind == COLOR_KIND_INDEX &&
      (bits > 8 || (color & 0xFFFF) >= static_cast<uint32_t>(bitmap->ColorCount)))
    return RC_INVALID_PARAMETER;
  if (kind == COLOR_KIND_GRAY && !gray_bitmap) color = gray_as_rgb(color);
  PixelBytes pixel(bitmap, row, column);
  if (!pixel.read()) return RC_FILE_READ;
  const uint32_t red = red_of(color), green = green_of(color), blue = blue_of(color);

  if (bits <= 8) {
    uint32_t index = color & 0xFFFF;
    if (kind != COLOR_KIND_INDEX) {
      if (!bitmap->Palette || bitmap->ColorCount <= 0) return RC_INVALID_PARAMETER;
      index = static_cast<uint32_t>(find_palette_index(
          bitmap->Palette, static_cast<uint32_t>(bitmap->ColorCount), static_cast<int>(red),
          static_cast<int>(green), static_cast<int>(blue)));
    }
    if (bits == 8)
      pixel.bytes[0] = static_cast<uint8_t>(index);
    else
      pixel.set_packed(index);
    return pixel.write();
  }
  if (gray_bitmap && kind == COLOR_KIND_GRAY) {
    GrayRange range;
    if (!active_range(*bitmap, &range)) return RC_INVALID_PARAMETER;
    // Rounded, so that writing back a value read by V_GetPixelColor
    // restores the pixel.
    const uint64_t v = ((color & 0xFFFF) * range.mask() + 32767) / 65535;
    set_raw_gray(pixel, static_cast<uint32_t>(v << range.low));
    return pixel.write();
  }
  // A colour through the converter, from 24-bit RGB into the pixel's format.
  uint8_t converted[8] = {static_cast<uint8_t>(red), static_cast<uint8_t>(green),
                          static_cast<uint8_t>(blue)};
  int32_t flags = 0, low_bit = -1, high_bit = -1;
  if (gray_bitmap) {
    const GrayBits active = core::active_gray_bits(*bitmap);
    flags = CVT_DST_BITS;
    low_bit = active.low;
    high_bit = active.high;
  }
  VXKRN_TRY(convert_row(converted, 1, 24, bits, ORDER_RGB, bitmap->Order, nullptr, nullptr, flags,
                        low_bit, high_bit));
  if (core::is_packed_depth(bits)) {
    pixel.set_packed(get_packed_pixel(converted, 0, bits));
  } else {
    // Alpha keeps its value: only the colour bytes are replaced.
    const uint32_t colour_bytes = bits == 32 && !gray_bitmap ? 3 : bits == 64 ? 6 : pixel.count;
    for (uint32_t i = 0; i < colour_bytes; ++i)
      pixel.bytes[i] = converted[i];
  }
  return pixel.write();
}

}  // namespace vxkrn::color
