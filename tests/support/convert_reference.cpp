// Each helper of the model does one thing, to be checked against docs/color.md by eye.
#include "support/convert_reference.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "support/pixel_reference.h"

namespace vxkrn_test {
namespace {

using Bytes = std::vector<uint8_t>;

int64_t depth_of(int32_t bits) {
  return bits == 0 ? 8 : bits;
}

enum class Domain { None, Palette, Gray, Colour };

// What the pixels of each depth hold in each order (None: not taken); up to 8 bits, any order.
Domain domain_of(int32_t bits, int32_t order) {
  const bool colour = order == ORDER_RGB || order == ORDER_BGR, gray = order == ORDER_GRAY;
  if (bits >= 1 && bits <= 8) return Domain::Palette;
  if (bits == 0 || (gray && (bits == 12 || bits == 16 || bits == 32))) return Domain::Gray;
  if ((colour && (bits == 16 || bits == 32 || bits == 64)) ||
      ((colour || order == ORDER_MATRIX) && (bits == 24 || bits == 48)))
    return Domain::Colour;
  return Domain::None;
}

// Only 24 and 48-bit pixels hold matrix samples: on other sides ORDER_MATRIX means nothing.
bool in_matrix_space(int32_t bits, int32_t order) {
  return (bits == 24 || bits == 48) && order == ORDER_MATRIX;
}

// A source pixel once read.
struct Pixel {
  uint32_t index = 0;  // palette formats
  bool wide = false;   // gray: v over the mask s, else v is a gray8 value
  uint64_t v = 0, s = 255;
  bool deep = false;  // colour: 16-bit samples, else 8-bit components
  uint32_t red = 0, green = 0, blue = 0;
  bool has_alpha = false;
  uint32_t alpha = 0;  // as wide as the components
};

struct Rgb {
  uint32_t red, green, blue;
};

// Pixels go through the plain layout of pixel_reference; gray8 pixels are 8-bit ones.
uint64_t get(const Bytes &b, int32_t bits, uint64_t i) {
  return get_pixel(b.data(), static_cast<int>(depth_of(bits)), i);
}

void put(Bytes &b, int32_t bits, uint64_t i, uint64_t value) {
  set_pixel(b.data(), static_cast<int>(depth_of(bits)), i, value);
}

// RGB stores red first; BGR and matrix samples store blue first.
Pixel read_colour(const Bytes &b, uint64_t i, int32_t bits, int32_t order) {
  Pixel p;
  uint32_t c[4] = {};
  const uint64_t v = get(b, bits, i);
  if (bits == 16) {  // 5 bits each, widened by repeating their top; bit 15 is unused
    for (int k = 0; k < 3; ++k) {
      const uint32_t f = static_cast<uint32_t>(v >> (5 * k)) & 31u;
      c[k] = f << 3 | f >> 2;
    }
  } else {  // components of one byte, or of two on 48 and 64 bits
    p.deep = bits >= 48;
    const int size = p.deep ? 16 : 8;
    for (int k = 0; k < bits / size; ++k)
      c[k] = static_cast<uint32_t>(v >> (size * k) & ((1u << size) - 1));
  }
  const bool rgb = order == ORDER_RGB;
  p.red = rgb ? c[0] : c[2];
  p.green = c[1];
  p.blue = rgb ? c[2] : c[0];
  p.has_alpha = bits == 32 || bits == 64;
  p.alpha = c[3];
  return p;
}

// Matrix samples back to BGR, on the pixel's own sample width.
void leave_matrix_space(Pixel &p) {
  const int64_t top = p.deep ? 65535 : 255;
  const int64_t b0 = p.blue, b1 = p.green, b2 = p.red;
  // C++ division truncates toward zero, as the transform requires.
  const auto sample = [top](int64_t sum) {
    return static_cast<uint32_t>(std::clamp<int64_t>(sum / 8192, 0, top));
  };
  p.blue = sample(9467 * b0 - 1151 * b1 - 125 * b2 + 4095);
  p.green = sample(-305 * b0 + 10232 * b1 - 1735 * b2 + 4095);
  p.red = sample(-2156 * b0 - 6498 * b1 + 16846 * b2 + 4095);
}

// BGR samples into matrix space; the blue weights sum to 8193, so near-white 16 bits clamp.
void enter_matrix_space(Rgb &c, uint32_t top) {
  const uint64_t b0 = c.blue, b1 = c.green, b2 = c.red;
  const auto clamp = [top](uint64_t v) { return static_cast<uint32_t>(v > top ? top : v); };
  c.red = clamp((4284 * b2 + 2841 * b1 + 1067 * b0 + 4095) >> 13);
  c.green = clamp((731 * b2 + 7067 * b1 + 394 * b0 + 4095) >> 13);
  c.blue = clamp((145 * b2 + 897 * b1 + 7151 * b0 + 4095) >> 13);
}

void write_colour(Bytes &b, uint64_t i, int32_t bits, int32_t order, const Rgb &c, uint32_t alpha) {
  const bool rgb = order == ORDER_RGB;
  const uint32_t v[4] = {rgb ? c.red : c.blue, c.green, rgb ? c.blue : c.red, alpha};
  uint64_t pixel = 0;
  if (bits == 16) {  // the top 5 bits of each component; bit 15 stays zero
    pixel = v[0] >> 3 | (v[1] >> 3) << 5 | (v[2] >> 3) << 10;
  } else {  // components of one byte, or of two on 48 and 64 bits
    const int size = bits >= 48 ? 16 : 8;
    for (int k = 0; k < bits / size; ++k)
      pixel |= uint64_t{v[k]} << (size * k);
  }
  put(b, bits, i, pixel);
}

// The source pixel as 8-bit components or 16-bit samples: a palette entry, a gray level three
// times, or a colour. 8 bits widen to 16 by repeating the byte, 16 narrow to the high byte.
Rgb components(const Pixel &p, Domain from, const PaletteEntry *palette, bool sixteen) {
  const uint32_t w = sixteen ? 257 : 1;
  if (from == Domain::Palette) {
    const PaletteEntry &e = palette[p.index];
    return {e.Red * w, e.Green * w, e.Blue * w};
  }
  if (from == Domain::Gray) {
    const auto g = static_cast<uint32_t>(p.wide ? p.v * (255 * w) / p.s : p.v * w);
    return {g, g, g};
  }
  if (p.deep == sixteen) return {p.red, p.green, p.blue};
  if (sixteen) return {p.red * w, p.green * w, p.blue * w};
  return {p.red >> 8, p.green >> 8, p.blue >> 8};
}

// The gray value of n bits (before its shift) that the source pixel gives.
uint64_t gray_value(const Pixel &p, Domain from, const PaletteEntry *palette, uint32_t n) {
  const uint64_t m = (uint64_t{1} << n) - 1;
  if (from == Domain::Gray && p.wide) return p.v * m / p.s;  // fits: both below 2^32
  const Rgb c = components(p, from, palette, false);
  const uint64_t g = from == Domain::Gray ? p.v : (2 * c.red + 5 * c.green + c.blue + 4) >> 3;
  return n > 8 ? g * m / 255 : g >> (8 - n);
}

int order_code(int32_t r, int32_t g, int32_t b) {
  return (r < b ? 4 : 0) + (g < std::min(r, b) ? 2 : 0) +
         (std::max(r, b) < std::max(g, std::min(r, b)) ? 1 : 0);
}

}  // namespace

int32_t reference_find_palette_index(const PaletteEntry *entries, uint32_t count, int32_t red,
                                     int32_t green, int32_t blue) {
  if (entries == nullptr) return 0;
  if (count == 0) return -1;
  const int32_t last = static_cast<int32_t>(count - 1);
  // Black is looked for at the first entry, then the last; white the other way round.
  if (red == green && green == blue && (red == 0 || red == 255)) {
    for (const int32_t end : {red == 0 ? 0 : last, red == 0 ? last : 0}) {
      const PaletteEntry &e = entries[end];
      if (e.Red == red && e.Green == red && e.Blue == red) return end;
    }
  }
  const int wanted = order_code(red, green, blue);
  int32_t best = 0;
  int64_t best_distance = -1;
  for (uint32_t i = 0; i < count; ++i) {
    const PaletteEntry &e = entries[i];
    const int64_t dr = e.Red - red, dg = e.Green - green, db = e.Blue - blue;
    const int64_t distance = dr * dr + dg * dg + db * db;
    if (best_distance < 0 || distance < best_distance) {
      best = static_cast<int32_t>(i);
      best_distance = distance;
    } else if (distance == best_distance && order_code(e.Red, e.Green, e.Blue) == wanted) {
      best = static_cast<int32_t>(i);
    }
    if (best_distance == 0) break;
  }
  return best;
}

uint64_t reference_row_bytes(uint32_t width, int32_t bits) {
  return (uint64_t{width} * static_cast<uint64_t>(depth_of(bits)) + 7) / 8;
}

ResultCode reference_convert(Bytes &buffer, uint32_t width, int32_t src_bits, int32_t dst_bits,
                             int32_t src_order, int32_t dst_order, const PaletteEntry *src_palette,
                             const PaletteEntry *dst_palette, int32_t flags, int32_t low_bit,
                             int32_t high_bit) {
  // Validation: nothing is written unless it all passes.
  const Domain from = domain_of(src_bits, src_order), to = domain_of(dst_bits, dst_order);
  if (width == 0 || from == Domain::None || to == Domain::None) return RC_INVALID_PARAMETER;
  if (src_order != ORDER_GRAY) flags &= ~CVT_SRC_BITS;  // the orders decide the gray flags
  if ((flags & CVT_SRC_BITS) && (flags & CVT_DST_BITS)) return RC_INVALID_PARAMETER;
  if ((flags & CVT_DST_BITS) && dst_order != ORDER_GRAY) return RC_INVALID_PARAMETER;
  const bool src_side = (flags & CVT_SRC_BITS) != 0;
  const int64_t depth = depth_of(src_side ? src_bits : dst_bits);
  const int64_t low = std::max<int64_t>(low_bit, 0), high = high_bit < 0 ? depth - 1 : high_bit;
  // A range of the whole pixel is no range; any other must lie in the pixel.
  const bool ranged = (flags & (CVT_SRC_BITS | CVT_DST_BITS)) && (low != 0 || high != depth - 1);
  if (ranged && (high > depth - 1 || low > high)) return RC_INVALID_PARAMETER;
  // Where each side's gray value sits: `n` bits from bit `shift` up.
  const bool src_range = ranged && src_side, dst_range = ranged && !src_side;
  const auto n = static_cast<uint32_t>(high - low + 1), shift = static_cast<uint32_t>(low);
  const uint32_t src_shift = src_range ? shift : 0, dst_shift = dst_range ? shift : 0;
  const uint32_t src_n = src_range ? n : static_cast<uint32_t>(depth_of(src_bits));
  const uint32_t dst_n = dst_range ? n : static_cast<uint32_t>(depth_of(dst_bits));

  if (buffer.size() <
      std::max(reference_row_bytes(width, src_bits), reference_row_bytes(width, dst_bits)))
    throw std::length_error("reference_convert: the buffer does not hold the row");

  if (from == Domain::Palette && src_palette == nullptr)
    src_palette = V_IntGetFixedPalette(src_bits);
  if (to == Domain::Palette && dst_palette == nullptr) dst_palette = V_IntGetFixedPalette(dst_bits);
  const uint32_t src_count = from == Domain::Palette ? 1u << src_bits : 0;
  const uint32_t dst_count = to == Domain::Palette ? 1u << dst_bits : 0;
  const bool src_matrix = in_matrix_space(src_bits, src_order);
  const bool dst_matrix = in_matrix_space(dst_bits, dst_order);

  std::vector<Pixel> pixels(width);  // the whole row is decoded first
  for (uint32_t i = 0; i < width; ++i) {
    Pixel &p = pixels[i];
    if (from == Domain::Palette) {
      p.index = static_cast<uint32_t>(get(buffer, src_bits, i));
    } else if (from == Domain::Colour) {
      p = read_colour(buffer, i, src_bits, src_order);
      if (src_matrix && !dst_matrix) leave_matrix_space(p);
    } else if (src_bits == 0 && !src_range) {
      p.v = get(buffer, src_bits, i);
    } else {
      p.wide = true;
      p.s = (uint64_t{1} << src_n) - 1;
      p.v = get(buffer, src_bits, i) >> src_shift & p.s;
    }
  }

  // Palette to palette keeps the indices when the destination starts with the source's entries.
  const bool same_indices =
      from == Domain::Palette && to == Domain::Palette && dst_count >= src_count &&
      std::memcmp(src_palette, dst_palette, src_count * sizeof(PaletteEntry)) == 0;

  Bytes out = buffer;  // encoded into a copy: bits after the destination row keep their values
  const bool deep_dst = dst_bits == 48 || dst_bits == 64;
  const bool fill_alpha = (flags & (CVT_ALPHA_FILL | CVT_ALPHA_SET)) != 0;
  for (uint32_t i = 0; i < width; ++i) {
    const Pixel &p = pixels[i];
    if (to == Domain::Palette) {
      const Rgb c = components(p, from, src_palette, false);
      const int32_t nearest =
          reference_find_palette_index(dst_palette, dst_count, c.red, c.green, c.blue);
      put(out, dst_bits, i, same_indices ? p.index : static_cast<uint32_t>(nearest));
    } else if (to == Domain::Gray) {
      put(out, dst_bits, i, gray_value(p, from, src_palette, dst_n) << dst_shift);
    } else {
      Rgb c = components(p, from, src_palette, deep_dst);
      if (dst_matrix && !src_matrix) enter_matrix_space(c, deep_dst ? 0xFFFF : 0xFF);
      uint32_t alpha = fill_alpha ? (deep_dst ? 0xFFFF : 0xFF) : 0;
      if (p.has_alpha)
        alpha = p.deep == deep_dst ? p.alpha : deep_dst ? p.alpha * 257 : p.alpha >> 8;
      write_colour(out, i, dst_bits, dst_order, c, alpha);
    }
  }
  buffer = out;
  return RC_SUCCESS;
}

}  // namespace vxkrn_test
