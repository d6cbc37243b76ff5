// The boundary of convert.h: the in-place row converter and the buffer size
// a conversion needs.
#include "color/convert_engine.h"
#include "vxkrn/convert.h"

extern "C" {

ResultCode V_ConvertBufferExt(void *buffer, uint32_t width, int32_t src_bits, int32_t dst_bits,
                              int32_t src_order, int32_t dst_order, const PaletteEntry *src_palette,
                              const PaletteEntry *dst_palette, int32_t flags, int32_t low_bit,
                              int32_t high_bit) {
  return vxkrn::color::convert_row(buffer, width, src_bits, dst_bits, src_order, dst_order,
                                   src_palette, dst_palette, flags, low_bit, high_bit);
}

ResultCode V_ConvertBuffer(void *buffer, uint32_t width, int32_t src_bits, int32_t dst_bits,
                           int32_t src_order, int32_t dst_order, const PaletteEntry *src_palette,
                           const PaletteEntry *dst_palette) {
  const int32_t flags =
      (src_order == ORDER_GRAY ? CVT_SRC_GRAY : 0) | (dst_order == ORDER_GRAY ? CVT_DST_GRAY : 0);
  return vxkrn::color::convert_row(buffer, width, src_bits, dst_bits, src_order, dst_order,
                                   src_palette, dst_palette, flags, -1, -1);
}

uint32_t V_CalcConvertSize(uint32_t width, uint32_t bits, uint32_t new_width, uint32_t new_bits) {
  auto row = [](uint64_t pixels, uint64_t depth) {
    return ((pixels * (depth == 0 ? 8 : depth) + 31) >> 3) & ~uint64_t{3};
  };
  uint64_t size = row(width, bits);
  if (row(new_width, bits) > size) size = row(new_width, bits);
  if (row(new_width, new_bits) > size) size = row(new_width, new_bits);
  return size > UINT32_MAX ? 0 : static_cast<uint32_t>(size);
}

}  // extern "C"
