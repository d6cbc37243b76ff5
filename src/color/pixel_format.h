// Pixel formats as data: every format the converter takes, its domain, and
// the resolved description of one side of a conversion.
#pragma once

#include <cstdint>

namespace vxkrn::color {

// Which rules apply: palette indices, gray values, or colour components.
enum class Domain : uint8_t { Palette, Gray, Color };

enum class Format : uint8_t {
  Packed,       // palette indices of 1 to 7 bits, most significant bit first
  Index8,       // one palette index per byte
  Gray8,        // depth 0: an 8-bit gray level
  Gray8Ranged,  // depth 0 read through a bit range: a wide gray value
  Gray12,       // two pixels in three bytes, low bits first
  Gray16,
  Gray32,
  Rgb555,  // 5 bits per component in a little-endian word
  Rgb24,
  Rgb24Matrix,  // 24 bits in the matrix space (transformed on this side)
  Rgba32,
  Rgb48,
  Rgb48Matrix,
  Rgba64,
};
inline constexpr int kFormatCount = 14;

struct FormatTraits {
  Domain domain;
  bool alpha;         // carries an alpha channel
  bool wide_samples;  // colour samples of 16 bits
};

inline constexpr FormatTraits kFormatTraits[kFormatCount] = {
    {Domain::Palette, false, false}, {Domain::Palette, false, false}, {Domain::Gray, false, false},
    {Domain::Gray, false, false},    {Domain::Gray, false, false},    {Domain::Gray, false, false},
    {Domain::Gray, false, false},    {Domain::Color, false, false},   {Domain::Color, false, false},
    {Domain::Color, false, false},   {Domain::Color, true, false},    {Domain::Color, false, true},
    {Domain::Color, false, true},    {Domain::Color, true, true},
};

constexpr const FormatTraits &traits(Format f) {
  return kFormatTraits[static_cast<int>(f)];
}

// One side of a conversion: the format and what the call adds to it.
struct Side {
  Format format;
  int32_t bits;              // bits per pixel, depth 0 counting as 8
  uint8_t red, green, blue;  // component positions: bytes, samples or 5-bit fields
  uint32_t low;              // gray range: the value sits at bit `low`...
  uint32_t width;            // ...and is `width` bits wide
  uint64_t mask;             // 2^width - 1
};

// Resolve bits and order to a side. `transform_matrix` says whether
// ORDER_MATRIX is converted on this side (not when both sides are in it).
// False for a combination the converter does not take.
bool resolve_side(int32_t bits, int32_t order, bool transform_matrix, Side *side) noexcept;

}  // namespace vxkrn::color
