// How each pixel format is read and written: one small codec per format,
// shared by the general converter templates and the fast paths. Palette
// codecs move indices, gray codecs raw pixel values, colour codecs 16-bit
// samples (8-bit components widened by x 257, which >> 8 undoes exactly).
#pragma once

#include <cstdint>

#include "color/pixel_format.h"
#include "core/byte_order.h"
#include "core/pixel_layout.h"

namespace vxkrn::color {

struct Rgba16 {
  uint16_t r, g, b, a;
};

inline uint16_t widen(uint32_t v8) {
  return static_cast<uint16_t>(v8 * 257);
}
inline uint8_t narrow(uint32_t v16) {
  return static_cast<uint8_t>(v16 >> 8);
}

// The 5-bit field at `shift` of a word, widened to 8 bits: its top bits
// repeat below it, so 0 and 31 become 0 and 255.
inline uint8_t expand5(uint32_t word, int shift) {
  const uint32_t v = (word >> shift) & 31;
  return static_cast<uint8_t>((v << 3) | (v >> 2));
}

using core::load16;
using core::load32;
using core::store16;
using core::store32;
using core::store64;

// The matrix space: forward from and inverse to blue-green-red samples,
// fixed point with 13 fraction bits. Samples b0 blue, b1 green, b2 red.
// The blue row's weights add up to 8193, so near white a 16-bit sample
// overshoots: results are clamped to `top`.
inline void matrix_forward(uint32_t s[3], uint32_t top) {
  const uint32_t b0 = s[0], b1 = s[1], b2 = s[2];
  const auto clamp = [top](uint32_t v) { return v > top ? top : v; };
  s[2] = clamp((4284 * b2 + 2841 * b1 + 1067 * b0 + 4095) >> 13);
  s[1] = clamp((731 * b2 + 7067 * b1 + 394 * b0 + 4095) >> 13);
  s[0] = clamp((145 * b2 + 897 * b1 + 7151 * b0 + 4095) >> 13);
}
inline int64_t clamp_sample(int64_t v, int64_t top) {
  return v < 0 ? 0 : v > top ? top : v;
}
inline void matrix_inverse(uint32_t s[3], int64_t top) {
  const int64_t b0 = s[0], b1 = s[1], b2 = s[2];
  s[0] = static_cast<uint32_t>(clamp_sample((9467 * b0 - 1151 * b1 - 125 * b2 + 4095) / 8192, top));
  s[1] =
      static_cast<uint32_t>(clamp_sample((-305 * b0 + 10232 * b1 - 1735 * b2 + 4095) / 8192, top));
  s[2] =
      static_cast<uint32_t>(clamp_sample((-2156 * b0 - 6498 * b1 + 16846 * b2 + 4095) / 8192, top));
}

template <Format F>
struct Codec;

template <>
struct Codec<Format::Packed> {
  using Value = uint32_t;
  static Value read(const uint8_t *row, uint64_t i, const Side &s) {
    return core::get_msb_pixel(row, i * static_cast<uint64_t>(s.bits), s.bits);
  }
  static void write(uint8_t *row, uint64_t i, const Side &s, Value v) {
    core::set_msb_pixel(row, i * static_cast<uint64_t>(s.bits), s.bits, v);
  }
};

// One byte per pixel: palette indices and 8-bit gray.
struct ByteCodec {
  using Value = uint32_t;
  static Value read(const uint8_t *row, uint64_t i, const Side &) { return row[i]; }
  static void write(uint8_t *row, uint64_t i, const Side &, Value v) {
    row[i] = static_cast<uint8_t>(v);
  }
};
template <>
struct Codec<Format::Index8> : ByteCodec {};
template <>
struct Codec<Format::Gray8> : ByteCodec {};
template <>
struct Codec<Format::Gray8Ranged> : ByteCodec {};

template <>
struct Codec<Format::Gray12> {
  using Value = uint32_t;
  static Value read(const uint8_t *row, uint64_t i, const Side &) {
    return core::get_low_pixel(row, 12 * i, 12);
  }
  static void write(uint8_t *row, uint64_t i, const Side &, Value v) {
    core::set_low_pixel(row, 12 * i, 12, v);
  }
};

template <>
struct Codec<Format::Gray16> {
  using Value = uint32_t;
  static Value read(const uint8_t *row, uint64_t i, const Side &) { return load16(row + 2 * i); }
  static void write(uint8_t *row, uint64_t i, const Side &, Value v) { store16(row + 2 * i, v); }
};

template <>
struct Codec<Format::Gray32> {
  using Value = uint32_t;
  static Value read(const uint8_t *row, uint64_t i, const Side &) { return load32(row + 4 * i); }
  static void write(uint8_t *row, uint64_t i, const Side &, Value v) { store32(row + 4 * i, v); }
};

template <>
struct Codec<Format::Rgb555> {
  using Value = Rgba16;
  static Value read(const uint8_t *row, uint64_t i, const Side &s) {
    const uint32_t w = load16(row + 2 * i);
    return {widen(expand5(w, s.red)), widen(expand5(w, s.green)), widen(expand5(w, s.blue)), 0};
  }
  static void write(uint8_t *row, uint64_t i, const Side &s, const Value &v) {
    const uint32_t w = uint32_t(narrow(v.r) >> 3) << s.red | uint32_t(narrow(v.g) >> 3) << s.green |
                       uint32_t(narrow(v.b) >> 3) << s.blue;
    store16(row + 2 * i, w);
  }
};

// Byte components at positions red, green, blue of a pixel of N bytes,
// alpha (when present) in byte 3.
template <int N, bool Alpha>
struct ByteColorCodec {
  using Value = Rgba16;
  static Value read(const uint8_t *row, uint64_t i, const Side &s) {
    const uint8_t *p = row + N * i;
    return {widen(p[s.red]), widen(p[s.green]), widen(p[s.blue]),
            Alpha ? widen(p[3]) : uint16_t{0}};
  }
  static void write(uint8_t *row, uint64_t i, const Side &s, const Value &v) {
    uint8_t *p = row + N * i;
    p[s.red] = narrow(v.r);
    p[s.green] = narrow(v.g);
    p[s.blue] = narrow(v.b);
    if constexpr (Alpha) p[3] = narrow(v.a);
  }
};
template <>
struct Codec<Format::Rgb24> : ByteColorCodec<3, false> {};
template <>
struct Codec<Format::Rgba32> : ByteColorCodec<4, true> {};

template <int N, bool Alpha>
struct SampleColorCodec {
  using Value = Rgba16;
  static Value read(const uint8_t *row, uint64_t i, const Side &s) {
    const uint8_t *p = row + 2 * N * i;
    return {static_cast<uint16_t>(load16(p + 2 * s.red)),
            static_cast<uint16_t>(load16(p + 2 * s.green)),
            static_cast<uint16_t>(load16(p + 2 * s.blue)),
            Alpha ? static_cast<uint16_t>(load16(p + 6)) : uint16_t{0}};
  }
  static void write(uint8_t *row, uint64_t i, const Side &s, const Value &v) {
    uint8_t *p = row + 2 * N * i;
    store16(p + 2 * s.red, v.r);
    store16(p + 2 * s.green, v.g);
    store16(p + 2 * s.blue, v.b);
    if constexpr (Alpha) store16(p + 6, v.a);
  }
};
template <>
struct Codec<Format::Rgb48> : SampleColorCodec<3, false> {};
template <>
struct Codec<Format::Rgba64> : SampleColorCodec<4, true> {};

// Matrix-space pixels stored blue, green, red: read through the inverse,
// written through the forward transform.
template <>
struct Codec<Format::Rgb24Matrix> {
  using Value = Rgba16;
  static Value read(const uint8_t *row, uint64_t i, const Side &) {
    const uint8_t *p = row + 3 * i;
    uint32_t s[3] = {p[0], p[1], p[2]};
    matrix_inverse(s, 255);
    return {widen(s[2]), widen(s[1]), widen(s[0]), 0};
  }
  static void write(uint8_t *row, uint64_t i, const Side &, const Value &v) {
    uint32_t s[3] = {narrow(v.b), narrow(v.g), narrow(v.r)};
    matrix_forward(s, 255);
    uint8_t *p = row + 3 * i;
    p[0] = static_cast<uint8_t>(s[0]);
    p[1] = static_cast<uint8_t>(s[1]);
    p[2] = static_cast<uint8_t>(s[2]);
  }
};

template <>
struct Codec<Format::Rgb48Matrix> {
  using Value = Rgba16;
  static Value read(const uint8_t *row, uint64_t i, const Side &) {
    const uint8_t *p = row + 6 * i;
    uint32_t s[3] = {load16(p), load16(p + 2), load16(p + 4)};
    matrix_inverse(s, 65535);
    return {static_cast<uint16_t>(s[2]), static_cast<uint16_t>(s[1]), static_cast<uint16_t>(s[0]),
            0};
  }
  static void write(uint8_t *row, uint64_t i, const Side &, const Value &v) {
    uint32_t s[3] = {v.b, v.g, v.r};
    matrix_forward(s, 65535);
    uint8_t *p = row + 6 * i;
    store16(p, s[0]);
    store16(p + 2, s[1]);
    store16(p + 4, s[2]);
  }
};

}  // namespace vxkrn::color
