// Fast paths for the pairs that carry most of the traffic. Each one gives
// exactly the bytes of the general path (the tests compare them on random
// rows); they only skip the general path's widening to 16-bit samples and
// its per-pixel codec calls.
#include <cstring>

#include "color/convert_engine.h"

namespace vxkrn::color {
namespace {

bool same_positions(const Side &a, const Side &b) {
  return a.red == b.red && a.green == b.green && a.blue == b.blue;
}

// The bytes already hold the result.
void keep(uint8_t *, uint64_t, const ConvertContext &) {}

// 24 bits between RGB and BGR: exchange bytes 0 and 2.
void swap_24(uint8_t *p, uint64_t width, const ConvertContext &) {
  for (uint64_t i = 0; i < width; ++i, p += 3) {
    const uint8_t t = p[0];
    p[0] = p[2];
    p[2] = t;
  }
}

// 24 to 32 bits with the alpha of the call; walks backward.
void rgb24_to_rgba32(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  const uint8_t alpha = narrow(c.alpha_fill);
  const uint8_t r = c.src.red, b = c.src.blue, dr = c.dst.red, db = c.dst.blue;
  for (uint64_t i = width; i-- > 0;) {
    const uint8_t *s = buffer + 3 * i;
    const uint8_t red = s[r], green = s[1], blue = s[b];
    uint8_t *d = buffer + 4 * i;
    d[dr] = red;
    d[1] = green;
    d[db] = blue;
    d[3] = alpha;
  }
}

// 32 to 24 bits, dropping alpha; walks forward.
void rgba32_to_rgb24(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  const uint8_t r = c.src.red, b = c.src.blue, dr = c.dst.red, db = c.dst.blue;
  for (uint64_t i = 0; i < width; ++i) {
    const uint8_t *s = buffer + 4 * i;
    const uint8_t red = s[r], green = s[1], blue = s[b];
    uint8_t *d = buffer + 3 * i;
    d[dr] = red;
    d[1] = green;
    d[db] = blue;
  }
}

// 24 bits to 8-bit gray (depth 0, no range); walks forward.
void rgb24_to_gray8(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  const uint8_t r = c.src.red, b = c.src.blue;
  for (uint64_t i = 0; i < width; ++i) {
    const uint8_t *s = buffer + 3 * i;
    buffer[i] = static_cast<uint8_t>(gray8(s[r], s[1], s[b]));
  }
}

// 8-bit indices to 24 bits through the palette; walks backward.
void index8_to_rgb24(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  uint8_t rgb[256][3];
  for (int i = 0; i < 256; ++i) {
    rgb[i][c.dst.red] = narrow(c.colors[i].r);
    rgb[i][1] = narrow(c.colors[i].g);
    rgb[i][c.dst.blue] = narrow(c.colors[i].b);
  }
  for (uint64_t i = width; i-- > 0;) {
    const uint8_t *entry = rgb[buffer[i]];
    uint8_t *d = buffer + 3 * i;
    d[0] = entry[0];
    d[1] = entry[1];
    d[2] = entry[2];
  }
}

// 1, 2 or 4-bit indices to 8-bit ones through the index map; walks
// backward a source byte at a time, then the leftover pixels.
template <int Bits>
void packed_to_index8(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  constexpr int kPerByte = 8 / Bits;
  constexpr uint32_t kMask = (1u << Bits) - 1;
  const uint64_t whole = width / kPerByte;
  for (uint64_t i = width; i-- > whole * kPerByte;) {
    const uint32_t v = (buffer[i / kPerByte] >> (8 - Bits * (1 + i % kPerByte))) & kMask;
    buffer[i] = static_cast<uint8_t>(c.table[v]);
  }
  for (uint64_t byte = whole; byte-- > 0;) {
    const uint32_t packed = buffer[byte];
    uint8_t *d = buffer + byte * kPerByte;
    for (int k = kPerByte; k-- > 0;)
      d[k] = static_cast<uint8_t>(c.table[(packed >> (8 - Bits * (1 + k))) & kMask]);
  }
}

// 5-5-5 words to 24 bits; walks backward.
void rgb555_to_rgb24(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  const auto expand = [](uint32_t word, int shift) {
    const uint32_t v = (word >> shift) & 31;
    return static_cast<uint8_t>((v << 3) | (v >> 2));
  };
  for (uint64_t i = width; i-- > 0;) {
    const uint32_t word = load16(buffer + 2 * i);
    uint8_t *d = buffer + 3 * i;
    const uint8_t red = expand(word, c.src.red), green = expand(word, c.src.green),
                  blue = expand(word, c.src.blue);
    d[c.dst.red] = red;
    d[1] = green;
    d[c.dst.blue] = blue;
  }
}

// 48 to 24 bits by the high bytes; walks forward.
void rgb48_to_rgb24(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  for (uint64_t i = 0; i < width; ++i) {
    const uint8_t *s = buffer + 6 * i;
    const uint8_t red = s[2 * c.src.red + 1], green = s[3], blue = s[2 * c.src.blue + 1];
    uint8_t *d = buffer + 3 * i;
    d[c.dst.red] = red;
    d[1] = green;
    d[c.dst.blue] = blue;
  }
}

// 24 bits to palette indices through the exact search; walks forward.
void rgb24_to_index8(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  for (uint64_t i = 0; i < width; ++i) {
    const uint8_t *s = buffer + 3 * i;
    buffer[i] = c.search->find(s[c.src.red], s[1], s[c.src.blue]);
  }
}

bool unranged(const Side &s) {
  return s.low == 0 && s.width == static_cast<uint32_t>(s.bits);
}

}  // namespace

ConvertFn find_fast_path(const ConvertContext &c) noexcept {
  const Format from = c.src.format, to = c.dst.format;
  if (from == Format::Rgb24 && to == Format::Rgb24)
    return same_positions(c.src, c.dst) ? keep : swap_24;
  if (from == Format::Index8 && to == Format::Index8) {
    bool identity = true;
    for (uint32_t i = 0; i < 256; ++i)
      identity = identity && c.table[i] == i;
    return identity ? keep : nullptr;
  }
  if (from == Format::Rgb24 && to == Format::Rgba32) return rgb24_to_rgba32;
  if (from == Format::Rgba32 && to == Format::Rgb24) return rgba32_to_rgb24;
  if (from == Format::Rgb24 && to == Format::Gray8 && unranged(c.dst)) return rgb24_to_gray8;
  if (from == Format::Index8 && to == Format::Rgb24) return index8_to_rgb24;
  if (from == Format::Packed && to == Format::Index8) {
    if (c.src.bits == 1) return packed_to_index8<1>;
    if (c.src.bits == 2) return packed_to_index8<2>;
    if (c.src.bits == 4) return packed_to_index8<4>;
  }
  if (from == Format::Rgb555 && to == Format::Rgb24) return rgb555_to_rgb24;
  if (from == Format::Rgb48 && to == Format::Rgb24) return rgb48_to_rgb24;
  if (from == Format::Rgb24 && to == Format::Index8) return rgb24_to_index8;
  return nullptr;
}

}  // namespace vxkrn::color
