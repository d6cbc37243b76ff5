/* vxkrn: built-in palettes and palette creation.
 * Palette arrays the library hands out come from the system heap: free them
 * with V_GlobalFree, or let the bitmap that owns them free them. */
#ifndef VXKRN_PALETTE_H
#define VXKRN_PALETTE_H

#include <vxkrn/types.h>

VXKRN_BEGIN_DECLS

/* An owned copy of count entries (borrowed). Null for null entries, count 0
 * or above 256, or no memory. */
VXKRN_API PaletteEntry *V_CreateNewPalette(const PaletteEntry *entries, uint32_t count);

/* An owned gray ramp of 2^bits entries (bits 0 means 8): entry i is
 * (i x 255) / (entries - 1), truncated. Null when memory fails or the ramp
 * cannot be represented (bits negative or above 30). */
VXKRN_API PaletteEntry *V_CreateGrayPalette(int32_t bits_per_pixel);

/* Give the bitmap a gray palette of 2^BitsPerPixel entries and set
 * ColorCount. The array is stored over Palette without freeing an existing
 * one: use it on bitmaps that have no palette yet.
 * Returns 1; -13 null; -789 StructSize; -27 BitsPerPixel outside 1..8; -1 no
 * memory (bitmap unchanged). */
VXKRN_API ResultCode V_CreateBitmapGrayPalette(BitmapHandle *bitmap);

/* An owned copy of the default palette of 1 to 8 bits (0 gives the 1-bit
 * one). Null for other depths or no memory. */
VXKRN_API PaletteEntry *V_CreateFixedPalette(int32_t bits_per_pixel);

/* Give the bitmap a copy of the default palette chosen by ColorCount (not by
 * BitsPerPixel): 2 and 4 both take the 1-bit table, so a 4-entry bitmap gets
 * black, white, black, gray 85 (the default tables lie one after another).
 * Stored over Palette without freeing an existing one.
 * Returns 1; 0 (not an error code) for a ColorCount other than 2, 4, 8, ...,
 * 256; -13 null; -789 StructSize; -1 no memory (bitmap unchanged). */
VXKRN_API ResultCode V_CreateBitmapFixedPalette(BitmapHandle *bitmap);

/* The library's read-only default palette of 1 to 8 bits; null otherwise. */
VXKRN_API const PaletteEntry *V_IntGetFixedPalette(int32_t bits_per_pixel);

/* The library's read-only 256-entry web palette (a 6x6x6 cube, blue fastest,
 * entries 216 to 255 zero). */
VXKRN_API const PaletteEntry *V_IntGetNetscapePalette(void);

/* Copy a default palette into entries (room for 2^bits entries, 256 for
 * depth 0): depth 0 fills 256 gray levels, 1 to 8 the default palette.
 * Returns 1; -13 null entries or depth outside 0..8. */
VXKRN_API ResultCode V_GetFixedPalette(PaletteEntry *entries, int32_t bits_per_pixel);

VXKRN_END_DECLS

#endif /* VXKRN_PALETTE_H */
