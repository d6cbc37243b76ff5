// The converter's entry: validation of the formats in their documented
// order, the per-call context, then a fast path or the general path.
#include <cstring>

#include "color/convert_engine.h"
#include "color/palette_builtin.h"
#include "core/record.h"
#include "vxkrn/convert.h"

namespace vxkrn::color {
namespace {

// A gray range applied to a side. False when it is not a range of the
// side's pixel.
bool apply_range(int32_t low_bit, int32_t high_bit, Side &side) {
  vxkrn::core::GrayRange range;
  if (!vxkrn::core::gray_range(low_bit, high_bit, side.bits, &range)) return false;
  side.low = range.low;
  side.width = range.width;
  side.mask = range.mask();
  return true;
}

// The whole pixel: a range that changes nothing.
bool covers_pixel(int32_t low_bit, int32_t high_bit, int32_t bits) {
  const int32_t effective = bits == 0 ? 8 : bits;
  return low_bit < 1 && (high_bit < 0 || high_bit == effective - 1);
}

}  // namespace

int32_t convert_row(void *buffer, uint32_t width, int32_t src_bits, int32_t dst_bits,
                    int32_t src_order, int32_t dst_order, const PaletteEntry *src_palette,
                    const PaletteEntry *dst_palette, int32_t flags, int32_t low_bit,
                    int32_t high_bit, bool use_fast_paths) noexcept {
  if (!buffer || width == 0) return RC_INVALID_PARAMETER;
  if (src_order == ORDER_GRAY)
    flags |= CVT_SRC_GRAY;
  else
    flags &= ~(CVT_SRC_GRAY | CVT_SRC_BITS);
  if (dst_order == ORDER_GRAY)
    flags |= CVT_DST_GRAY;
  else
    flags &= ~CVT_DST_GRAY;
  if ((flags & CVT_SRC_BITS) && (flags & CVT_DST_BITS)) return RC_INVALID_PARAMETER;
  if ((flags & CVT_DST_BITS) && dst_order != ORDER_GRAY) return RC_INVALID_PARAMETER;
  if ((flags & CVT_SRC_BITS) && covers_pixel(low_bit, high_bit, src_bits))
    flags &= ~CVT_SRC_BITS;
  else if ((flags & CVT_DST_BITS) && covers_pixel(low_bit, high_bit, dst_bits))
    flags &= ~CVT_DST_BITS;

  // ORDER_MATRIX is transformed only on the side that has it alone; it means
  // something on 24 and 48-bit sides only.
  const auto matrix_side = [](int32_t bits, int32_t order) {
    return order == ORDER_MATRIX && (bits == 24 || bits == 48);
  };
  const bool both_matrix = matrix_side(src_bits, src_order) && matrix_side(dst_bits, dst_order);
  ConvertContext c;
  if (!resolve_side(src_bits, src_order, !both_matrix, &c.src) ||
      !resolve_side(dst_bits, dst_order, !both_matrix, &c.dst))
    return RC_INVALID_PARAMETER;
  // A remaining range must be a range of its side's pixel; it applies to
  // gray formats only.
  const Domain from = traits(c.src.format).domain, to = traits(c.dst.format).domain;
  Side ranged = (flags & CVT_SRC_BITS) ? c.src : c.dst;
  if ((flags & (CVT_SRC_BITS | CVT_DST_BITS)) && !apply_range(low_bit, high_bit, ranged))
    return RC_INVALID_PARAMETER;
  if ((flags & CVT_SRC_BITS) && from == Domain::Gray) {
    c.src = ranged;
    if (c.src.format == Format::Gray8) c.src.format = Format::Gray8Ranged;
  }
  if ((flags & CVT_DST_BITS) && to == Domain::Gray) c.dst = ranged;

  c.backward = c.dst.bits > c.src.bits;
  // Opaque is 255 in 8 bits and 65535 in 16: the 16-bit sample narrows to both.
  c.alpha_fill = (flags & (CVT_ALPHA_FILL | CVT_ALPHA_SET)) ? 65535 : 0;
  c.src_count = from == Domain::Palette ? 1u << c.src.bits : 0;
  c.dst_count = to == Domain::Palette ? 1u << c.dst.bits : 0;
  c.src_palette = src_palette ? src_palette : default_palette(c.src.bits);
  c.dst_palette = dst_palette ? dst_palette : default_palette(c.dst.bits);
  NearestSearch search(c.dst_palette, c.dst_count);
  c.search = from == Domain::Color && to == Domain::Palette ? &search : nullptr;

  auto *bytes = static_cast<uint8_t *>(buffer);
  const FastPath fast = use_fast_paths ? find_fast_path(c) : FastPath{nullptr, true};
  if (fast.needs_tables) prepare_context(c);
  if (fast.convert)
    fast.convert(bytes, width, c);
  else
    convert_general(bytes, width, c);
  return RC_SUCCESS;
}

}  // namespace vxkrn::color
