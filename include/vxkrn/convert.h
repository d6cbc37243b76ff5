/* vxkrn: in-place conversion of a row of pixels between bit depths, colour
 * orders and palettes. docs/color.md states every rule. */
#ifndef VXKRN_CONVERT_H
#define VXKRN_CONVERT_H

#include <vxkrn/types.h>

/* Conversion flags of V_ConvertBufferExt. */
#define CVT_SRC_GRAY 0x01   /* source data are gray levels (follows the source order) */
#define CVT_DST_GRAY 0x02   /* destination data are gray levels (follows the order) */
#define CVT_SRC_BITS 0x04   /* the source gray value occupies only low_bit..high_bit */
#define CVT_DST_BITS 0x08   /* the destination gray value is to occupy low_bit..high_bit */
#define CVT_ALPHA_FILL 0x10 /* a created alpha channel is opaque */
#define CVT_ALPHA_SET 0x20  /* the same as CVT_ALPHA_FILL */

VXKRN_BEGIN_DECLS

/* Convert `width` pixels in place from one format to another. The buffer
 * must hold width pixels of the wider of the two formats. Bits per pixel:
 * 0 (8-bit gray, no palette), 1 to 8 (palette indices), 12, 16, 24, 32, 48,
 * 64; orders ORDER_RGB, ORDER_BGR, ORDER_GRAY, ORDER_MATRIX as the format
 * table of docs/color.md allows. Palettes (borrowed; 2^bits entries) may be
 * null for the default palette of the depth.
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER for a null buffer, width 0, or any rejected combination,
 * with the buffer untouched. */
VXKRN_API ResultCode V_ConvertBuffer(void *buffer, uint32_t width, int32_t src_bits,
                                     int32_t dst_bits, int32_t src_order, int32_t dst_order,
                                     const PaletteEntry *src_palette,
                                     const PaletteEntry *dst_palette);

/* The same, with CVT_... flags and a gray bit range low_bit..high_bit
 * (a negative low_bit means 0, a negative high_bit the pixel's top bit) for
 * the side CVT_SRC_BITS or CVT_DST_BITS names. */
VXKRN_API ResultCode V_ConvertBufferExt(void *buffer, uint32_t width, int32_t src_bits,
                                        int32_t dst_bits, int32_t src_order, int32_t dst_order,
                                        const PaletteEntry *src_palette,
                                        const PaletteEntry *dst_palette, int32_t flags,
                                        int32_t low_bit, int32_t high_bit);

/* Bytes a row buffer needs to hold a row of `width` pixels of `bits`, the row
 * after a width change to `new_width`, and after conversion to `new_bits`
 * (bits 0 counts as 8): the largest of the three row strides, each a
 * multiple of 4. 0 when the size does not fit 32 bits. */
VXKRN_API uint32_t V_CalcConvertSize(uint32_t width, uint32_t bits, uint32_t new_width,
                                     uint32_t new_bits);

VXKRN_END_DECLS

#endif /* VXKRN_CONVERT_H */
