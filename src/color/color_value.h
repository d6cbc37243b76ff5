// The bytes of a colour value: red, green and blue in the low three bytes,
// the kind in the top one.
#pragma once

#include <cstdint>

#include "vxkrn/types.h"

namespace vxkrn::color {

inline std::uint32_t red_of(ColorValue c) {
  return c & 0xFF;
}
inline std::uint32_t green_of(ColorValue c) {
  return (c >> 8) & 0xFF;
}
inline std::uint32_t blue_of(ColorValue c) {
  return (c >> 16) & 0xFF;
}
inline std::uint32_t kind_of(ColorValue c) {
  return c >> 24;
}

inline ColorValue make_rgb(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
  return red | green << 8 | blue << 16;
}
inline ColorValue make_rgb(const PaletteEntry &e) {
  return make_rgb(e.Red, e.Green, e.Blue);
}

// A gray value as the colour of its level's high byte (bits 8-15 of the
// 16-bit level) in all three components.
inline ColorValue gray_as_rgb(ColorValue gray) {
  const std::uint32_t g = green_of(gray);
  return make_rgb(g, g, g);
}

}  // namespace vxkrn::color
