// Per-call tables of the converter and the resolution of formats: what a
// (bits, order) pair means on one side of a conversion.
#include <cstring>

#include "color/convert_engine.h"
#include "core/pixel_layout.h"
#include "vxkrn/types.h"

namespace vxkrn::color {
namespace {

// gray8 to a gray value of `width` bits at bit `low`: a wide destination
// scales by the maxima, a narrow one keeps the top bits.
uint32_t gray8_to(uint32_t g, const Side &dst) {
  const uint64_t value = dst.width > 8 ? g * dst.mask / 255 : g >> (8 - dst.width);
  return static_cast<uint32_t>(value << dst.low);
}

uint32_t entry_gray8(const PaletteEntry &e) {
  return gray8(e.Red, e.Green, e.Blue);
}

}  // namespace

bool resolve_side(int32_t bits, int32_t order, bool transform_matrix, Side *side) noexcept {
  Side s{};
  s.bits = bits == 0 ? 8 : bits;
  const bool bgr = order == ORDER_BGR || order == ORDER_MATRIX;
  // Components at byte (or sample) positions of blue-green-red or red-green-blue.
  s.red = bgr ? 2 : 0;
  s.green = 1;
  s.blue = bgr ? 0 : 2;
  const bool color = order == ORDER_RGB || order == ORDER_BGR;
  const bool matrix = order == ORDER_MATRIX;
  const bool gray = order == ORDER_GRAY;
  // Formats follow the depth table: bit streams, pixels that fill bytes from
  // the low bits (gray only), then whole bytes per pixel. Depth 0 is 8-bit
  // gray.
  const core::Depth *depth = bits == 0 ? nullptr : core::find_depth(bits);
  if (bits == 0) {
    s.format = Format::Gray8;
  } else if (!depth) {
    return false;
  } else if (depth->bytes == 0) {
    if (depth->low_first && !gray) return false;
    s.format = depth->low_first ? Format::Gray12 : Format::Packed;
  } else {
    switch (depth->bytes) {
      case 1:
        s.format = Format::Index8;
        break;
      case 2:
        if (!color && !gray) return false;
        s.format = gray ? Format::Gray16 : Format::Rgb555;
        s.red = bgr ? 10 : 0;
        s.green = 5;
        s.blue = bgr ? 0 : 10;
        break;
      case 3:
        if (!color && !matrix) return false;
        s.format = matrix && transform_matrix ? Format::Rgb24Matrix : Format::Rgb24;
        break;
      case 6:
        if (!color && !matrix) return false;
        s.format = matrix && transform_matrix ? Format::Rgb48Matrix : Format::Rgb48;
        break;
      case 4:
        if (!color && !gray) return false;
        s.format = gray ? Format::Gray32 : Format::Rgba32;
        break;
      default:  // 8 bytes
        if (!color) return false;
        s.format = Format::Rgba64;
    }
  }
  s.width = static_cast<uint32_t>(s.bits);
  s.mask = s.width >= 64 ? ~uint64_t{0} : (uint64_t{1} << s.width) - 1;
  *side = s;
  return true;
}

void prepare_context(ConvertContext &c) noexcept {
  const Domain from = traits(c.src.format).domain, to = traits(c.dst.format).domain;
  if (to == Domain::Gray)
    for (uint32_t g = 0; g < 256; ++g)
      c.gray_out[g] = gray8_to(g, c.dst);
  if (from == Domain::Palette) {
    const PaletteEntry *in = c.src_palette;
    if (to == Domain::Palette) {
      // The same leading entries map straight through.
      const bool same = c.dst_count >= c.src_count &&
                        std::memcmp(in, c.dst_palette, c.src_count * sizeof(PaletteEntry)) == 0;
      for (uint32_t i = 0; i < c.src_count; ++i)
        c.table[i] = same ? i
                          : static_cast<uint32_t>(find_palette_index(
                                c.dst_palette, c.dst_count, in[i].Red, in[i].Green, in[i].Blue));
    } else if (to == Domain::Gray) {
      for (uint32_t i = 0; i < c.src_count; ++i)
        c.table[i] = c.gray_out[entry_gray8(in[i])];
    } else {
      for (uint32_t i = 0; i < c.src_count; ++i)
        c.colors[i] = Rgba16{widen(in[i].Red), widen(in[i].Green), widen(in[i].Blue), c.alpha_fill};
    }
  } else if (from == Domain::Gray && to == Domain::Palette) {
    for (uint32_t g = 0; g < 256; ++g)
      c.table[g] =
          static_cast<uint32_t>(find_palette_index(c.dst_palette, c.dst_count, static_cast<int>(g),
                                                   static_cast<int>(g), static_cast<int>(g)));
  }
}

}  // namespace vxkrn::color
