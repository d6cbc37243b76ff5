// Scalar kernels of the fast paths, over a range of pixels [from, to) in the
// direction the pair walks. The SIMD kernels use them for the pixels their
// blocks do not cover.
#pragma once

#include <cstdint>

#include "color/convert_engine.h"

namespace vxkrn::color::kernels {

// Cache warming for a backward walk over the `row_bytes` bytes at `buffer`.
// On construction the row itself is pulled into the caches in ascending
// order: rows converted one after another otherwise start every backward
// walk with a cold stream the hardware prefetchers have not seen. While the
// walk covers its row, the bytes that follow the row are warmed in
// ascending order too: rows of one image converted in turn are the common
// case, and the next call then starts on warm lines. A prefetch is only a
// hint and never touches memory, so the bytes beyond the buffer are safe.
class NextRowWarmer {
 public:
  NextRowWarmer(const uint8_t *buffer, uint64_t row_bytes)
      : next_(reinterpret_cast<uintptr_t>(buffer) + row_bytes), row_bytes_(row_bytes) {
    for (uint64_t offset = 0; offset < row_bytes; offset += 64)
      __builtin_prefetch(buffer + offset);
  }
  // The walk has covered `covered` bytes of its row.
  void advance(uint64_t covered) {
    for (; warmed_ < covered && warmed_ < row_bytes_; warmed_ += 64)
      __builtin_prefetch(reinterpret_cast<const void *>(next_ + warmed_));
  }

 private:
  uintptr_t next_;
  uint64_t row_bytes_;
  uint64_t warmed_ = 0;
};

// 24 bits between RGB and BGR; forward (the pixel stays in place).
inline void swap_24(uint8_t *buffer, uint64_t from, uint64_t to, const ConvertContext &) {
  for (uint8_t *p = buffer + 3 * from; from < to; ++from, p += 3) {
    const uint8_t t = p[0];
    p[0] = p[2];
    p[2] = t;
  }
}

// 24 to 32 bits with the call's alpha; backward.
inline void rgb24_to_rgba32(uint8_t *buffer, uint64_t from, uint64_t to, const ConvertContext &c) {
  const uint8_t alpha = narrow(c.alpha_fill);
  for (uint64_t i = to; i-- > from;) {
    const uint8_t *s = buffer + 3 * i;
    const uint8_t red = s[c.src.red], green = s[1], blue = s[c.src.blue];
    uint8_t *d = buffer + 4 * i;
    d[c.dst.red] = red;
    d[1] = green;
    d[c.dst.blue] = blue;
    d[3] = alpha;
  }
}

// 32 to 24 bits, dropping alpha; forward.
inline void rgba32_to_rgb24(uint8_t *buffer, uint64_t from, uint64_t to, const ConvertContext &c) {
  for (uint64_t i = from; i < to; ++i) {
    const uint8_t *s = buffer + 4 * i;
    const uint8_t red = s[c.src.red], green = s[1], blue = s[c.src.blue];
    uint8_t *d = buffer + 3 * i;
    d[c.dst.red] = red;
    d[1] = green;
    d[c.dst.blue] = blue;
  }
}

// 24 bits to 8-bit gray; forward.
inline void rgb24_to_gray8(uint8_t *buffer, uint64_t from, uint64_t to, const ConvertContext &c) {
  for (uint64_t i = from; i < to; ++i) {
    const uint8_t *s = buffer + 3 * i;
    buffer[i] = static_cast<uint8_t>(gray8(s[c.src.red], s[1], s[c.src.blue]));
  }
}

// Packed indices of Bits bits to bytes through the index map; backward.
template <int Bits>
inline void packed_to_index8(uint8_t *buffer, uint64_t from, uint64_t to, const ConvertContext &c) {
  constexpr uint64_t kPerByte = 8 / Bits;
  constexpr uint32_t kMask = (1u << Bits) - 1;
  for (uint64_t i = to; i-- > from;) {
    const uint32_t shift = 8 - Bits * static_cast<uint32_t>(1 + i % kPerByte);
    buffer[i] = static_cast<uint8_t>(c.table[(buffer[i / kPerByte] >> shift) & kMask]);
  }
}

// 5-5-5 words to 24 bits; backward.
inline void rgb555_to_rgb24(uint8_t *buffer, uint64_t from, uint64_t to, const ConvertContext &c) {
  for (uint64_t i = to; i-- > from;) {
    const uint32_t word = load16(buffer + 2 * i);
    const uint8_t red = expand5(word, c.src.red), green = expand5(word, c.src.green),
                  blue = expand5(word, c.src.blue);
    uint8_t *d = buffer + 3 * i;
    d[c.dst.red] = red;
    d[1] = green;
    d[c.dst.blue] = blue;
  }
}

// 48 to 24 bits by the high bytes; forward.
inline void rgb48_to_rgb24(uint8_t *buffer, uint64_t from, uint64_t to, const ConvertContext &c) {
  for (uint64_t i = from; i < to; ++i) {
    const uint8_t *s = buffer + 6 * i;
    const uint8_t red = s[2 * c.src.red + 1], green = s[3], blue = s[2 * c.src.blue + 1];
    uint8_t *d = buffer + 3 * i;
    d[c.dst.red] = red;
    d[1] = green;
    d[c.dst.blue] = blue;
  }
}

}  // namespace vxkrn::color::kernels
