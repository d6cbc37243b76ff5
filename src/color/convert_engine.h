// The converter's per-call state and its entry points: the general path
// (one template per pair of formats) and the fast paths in front of it.
#pragma once

#include <cstdint>

#include "color/codecs.h"
#include "color/palette_search.h"
#include "color/pixel_format.h"
#include "vxkrn/types.h"

namespace vxkrn::color {

// Everything a conversion needs, built once per call.
struct ConvertContext {
  Side src, dst;
  bool backward;        // walk from the last pixel to the first
  uint16_t alpha_fill;  // alpha of a destination whose source has none
  // By domain pair: index map (palette to palette), gray output per entry
  // (palette to gray), index per gray level (gray to palette).
  uint32_t table[256];
  uint32_t gray_out[256];           // gray8 level to the destination's raw gray value
  Rgba16 colors[256];               // palette entries as samples, alpha filled
  const PaletteEntry *src_palette;  // 2^bits entries (the default when none given)
  const PaletteEntry *dst_palette;
  uint32_t src_count, dst_count;
  NearestSearch *search;  // colour to palette only
};

// Fill the tables the pair of domains needs.
void prepare_context(ConvertContext &c) noexcept;

// The general path for any accepted pair.
void convert_general(uint8_t *buffer, uint64_t width, const ConvertContext &c) noexcept;

// A fast path for the pair (null: none), and whether it reads the tables
// of prepare_context. Each produces the general path's bytes.
using ConvertFn = void (*)(uint8_t *buffer, uint64_t width, const ConvertContext &c);
struct FastPath {
  ConvertFn convert;
  bool needs_tables;
};
FastPath find_fast_path(const ConvertContext &c) noexcept;

// Convert `width` pixels of one row in place from (src_bits, src_order) to
// (dst_bits, dst_order), palettes null meaning the defaults, with the CVT_...
// flags and gray bit range of V_ConvertBufferExt. RC_INVALID_PARAMETER for a
// null buffer, width 0 or a combination not taken. `use_fast_paths` false
// forces the general path (tests compare the two).
int32_t convert_row(void *buffer, uint32_t width, int32_t src_bits, int32_t dst_bits,
                    int32_t src_order, int32_t dst_order, const PaletteEntry *src_palette,
                    const PaletteEntry *dst_palette, int32_t flags, int32_t low_bit,
                    int32_t high_bit, bool use_fast_paths = true) noexcept;

// gray8 = (2 red + 5 green + blue + 4) >> 3, the library's colour-to-gray rule.
constexpr uint32_t gray8(uint32_t red, uint32_t green, uint32_t blue) {
  return (2 * red + 5 * green + blue + 4) >> 3;
}

}  // namespace vxkrn::color
