// The x86 vector kernel sets. Each install() fills the entries its
// instruction set serves; the dispatch point calls them in order of
// preference after asking the processor what it supports. The scalar setup
// the sets share lives here too: target attributes do not reach shared
// templates, so only plain data and scalar helpers are common.
#pragma once

#include "color/convert_simd.h"

#if defined(__x86_64__) || defined(__i386__)
#define VXKRN_X86 1
#else
#define VXKRN_X86 0
#endif

#if VXKRN_X86
namespace vxkrn::color {

// Shuffle masks that lay out eight 3-byte pixels (24 bytes: 16, then 8)
// from two registers: one holding each pixel's first and green bytes
// interleaved, one holding each pixel's third byte.
struct EightPixelLayout {
  int8_t head_pair[16], head_third[16], tail_pair[16], tail_third[16];
};
inline constexpr EightPixelLayout kEightPixelLayout = [] {
  EightPixelLayout m{};
  for (int k = 0; k < 32; ++k) {
    const int p = k / 3, slot = k % 3;
    const bool inside = k < 24;
    int8_t &pair = k < 16 ? m.head_pair[k] : m.tail_pair[k - 16];
    int8_t &third = k < 16 ? m.head_third[k] : m.tail_third[k - 16];
    pair = static_cast<int8_t>(inside && slot != 2 ? 2 * p + slot : -1);
    third = static_cast<int8_t>(inside && slot == 2 ? p : -1);
  }
  return m;
}();

// gray8's weights (red 2, green 5, blue 1) by byte position of a 3-byte
// pixel, as the bytes of a little-endian word whose fourth byte is zero: the
// multiplier of a pixel spread into a 4-byte slot.
inline int32_t gray_weights(const ConvertContext &c) {
  const uint32_t first = c.src.red == 0 ? 2 : 1, third = c.src.red == 2 ? 2 : 1;
  return static_cast<int32_t>(first | 5u << 8 | third << 16);
}

// Where the fields of a 5-5-5 word land in a 3-byte pixel: the shifts of the
// fields written to bytes 0 and 2 (green, at shift 5, always goes to byte 1).
struct FieldOrder {
  int first_shift, third_shift;
};
inline FieldOrder rgb555_field_order(const ConvertContext &c) {
  return c.dst.red == 0 ? FieldOrder{c.src.red, c.src.blue} : FieldOrder{c.src.blue, c.src.red};
}

// The index map's first 16 entries as bytes: the shuffle table that maps
// 4-bit indices. Filled in place, as a returned array is taken apart into
// single bytes by some compilers.
inline void nibble_table(const ConvertContext &c, int8_t (&entries)[16]) {
  for (int k = 0; k < 16; ++k)
    entries[k] = static_cast<int8_t>(c.table[k]);
}

}  // namespace vxkrn::color

namespace vxkrn::color::ssse3 {
void install(SimdKernels &kernels) noexcept;
}
namespace vxkrn::color::avx2 {
void install(SimdKernels &kernels) noexcept;
}
#endif
