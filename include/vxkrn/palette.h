/* vxkrn: built-in palettes and palette creation.
 * Palette arrays the library hands out come from the system heap: free them
 * with V_GlobalFree, or let the bitmap that owns them free them. */
#ifndef VXKRN_PALETTE_H
#define VXKRN_PALETTE_H

#include <vxkrn/types.h>

/* Gray classification of palettes and bitmaps. */
#define GRAY_NONE 0      /* not gray */
#define GRAY_ORDERED 1   /* a gray ramp from black upward */
#define GRAY_INVERTED 2  /* a gray ramp from white downward */
#define GRAY_UNORDERED 3 /* only gray entries, but not a ramp of the expected step */

/* A palette object of up to 256 entries, owned by whoever created it until
 * V_DeletePalette. Opaque. */
typedef struct VPaletteObject *VPalette;

VXKRN_BEGIN_DECLS

/* ---- Searching and classifying -------------------------------------------*/

/* Index of the entry nearest to (red, green, blue): black asks entry 0, then
 * the last entry; white the last entry, then entry 0; otherwise the first
 * entry at the smallest squared distance, except that a later entry at the
 * same distance wins when its hue ordering matches the colour's (see
 * docs/color.md). Returns the index; 0 for null entries; -1 for count 0. */
VXKRN_API int32_t V_FindPaletteIndex(const PaletteEntry *entries, uint32_t count, int32_t red,
                                     int32_t green, int32_t blue);

/* GRAY_... for count entries. GRAY_NONE when any entry is not gray (and for
 * count 0). A ramp of count entries must step by 255 / (count - 1),
 * truncated, so 8-entry gray ramps classify GRAY_UNORDERED.
 * Returns the kind; RC_INVALID_PARAMETER for null entries. */
VXKRN_API int32_t V_IsGrayScalePalette(const PaletteEntry *entries, uint32_t count);

/* GRAY_... of a bitmap: its palette up to 8 bits, its gray description and
 * LUT for ORDER_GRAY. Returns the kind; RC_INVALID_PARAMETER null; RC_INVALID_STRUCT_SIZE
 * StructSize; RC_INVALID_LUT_LENGTH a LUTLength that does not fit the gray description. */
VXKRN_API int32_t V_IsGrayScaleBitmap(const BitmapHandle *bitmap);

/* The index, in the bitmap's palette, of the entry nearest to a colour
 * (V_FindPaletteIndex). 0 for a null bitmap or one without palette. */
VXKRN_API uint32_t V_GetNearestPaletteIndex(const BitmapHandle *bitmap, ColorValue color);

/* Express a colour (kind in the top byte) for the destination bitmap: a
 * palette index (COLOR_KIND_INDEX) for bitmaps of 8 bits or fewer, a colour
 * for deeper ones; indices are taken through the source bitmap's palette,
 * gray levels through the destination's LUT. A null destination returns the
 * colour unchanged. */
VXKRN_API ColorValue V_TranslateBitmapColor(const BitmapHandle *destination,
                                            const BitmapHandle *source, ColorValue color);

/* 1 when the first count entries of the bitmap's palette (at most
 * ColorCount) equal the given ones in blue, green and red (reserved bytes
 * ignored), also when the bitmap has no palette to compare; 0 at the first
 * difference, or for a null bitmap or null entries. */
VXKRN_API int32_t V_CompareBitmapToPalette(const BitmapHandle *bitmap, const PaletteEntry *entries,
                                           uint32_t count);

/* ---- A bitmap's palette --------------------------------------------------*/

/* Copy up to count entries from index first of the bitmap's palette.
 * Returns the entries copied (min(first + count, ColorCount) - first); 0 for
 * null arguments, no palette, or first at or beyond ColorCount; RC_INVALID_STRUCT_SIZE
 * StructSize. */
VXKRN_API int32_t V_GetBitmapPaletteEntries(const BitmapHandle *bitmap, uint32_t first,
                                            uint32_t count, PaletteEntry *entries);

/* Replace entries first .. first + count - 1 of an allocated bitmap of up to
 * 8 bits; a bitmap without palette first gets a zeroed one of ColorCount
 * entries. Returns RC_SUCCESS; RC_INVALID_BITMAP null or not allocated; RC_INVALID_STRUCT_SIZE
 * StructSize; RC_INVALID_PARAMETER first negative, first + count beyond ColorCount, more than 8
 * bits per pixel, or null entries; RC_NO_MEMORY no memory. */
VXKRN_API ResultCode V_PutBitmapColors(BitmapHandle *bitmap, int32_t first, uint32_t count,
                                       const PaletteEntry *entries);

/* Read count entries from index first. Returns RC_SUCCESS; RC_INVALID_BITMAP null;
 * RC_INVALID_STRUCT_SIZE StructSize; RC_INVALID_PARAMETER count 0, null entries, more than 8 bits
 * per pixel, or fewer than count entries available. */
VXKRN_API ResultCode V_GetBitmapColors(const BitmapHandle *bitmap, uint32_t first, uint32_t count,
                                       PaletteEntry *entries);

/* Free the bitmap's palette and give it a copy of count entries (borrowed)
 * with ColorCount = count. Null entries leave it without palette
 * (ColorCount untouched) and return 1. Returns RC_SUCCESS; 0 when the copy cannot be
 * made (count 0 or above 256, or no memory: the bitmap is then without
 * palette and ColorCount untouched); RC_INVALID_PARAMETER null bitmap. */
VXKRN_API ResultCode V_SetBitmapNewPalette(BitmapHandle *bitmap, const PaletteEntry *entries,
                                           uint32_t count);

/* Give destination a copy of source's palette (or no palette and
 * ColorCount 0 when source has none). Returns RC_SUCCESS, or 0 as
 * V_SetBitmapNewPalette; RC_INVALID_PARAMETER either null; RC_INVALID_STRUCT_SIZE either StructSize
 * (source first). */
VXKRN_API ResultCode V_CopyBitmapPalette(BitmapHandle *destination, const BitmapHandle *source);

/* ---- Palette objects -----------------------------------------------------*/

/* A palette object holding count entries (borrowed, copied). Null for null
 * entries, count above 256, or no memory. */
VXKRN_API VPalette V_CreatePalette(const PaletteEntry *entries, uint32_t count);
/* Null: these systems have no display palette. */
VXKRN_API VPalette V_CreateSystemPalette(void);
/* Free a palette object (null is ignored). */
VXKRN_API void V_DeletePalette(VPalette palette);
/* Number of entries; 0 for null. */
VXKRN_API uint32_t V_GetPaletteSize(VPalette palette);
/* Copy entries first .. first + count - 1 (those that exist) out of / into
 * the object. Return the number copied; 0 for null arguments. */
VXKRN_API uint32_t V_GetPaletteEntries(VPalette palette, uint32_t first, uint32_t count,
                                       PaletteEntry *entries);
VXKRN_API uint32_t V_SetPaletteEntries(VPalette palette, uint32_t first, uint32_t count,
                                       const PaletteEntry *entries);
/* A new object with the same entries; null when the size is 0 or memory
 * fails. */
VXKRN_API VPalette V_DupPalette(VPalette palette);
/* A new object from the bitmap's Palette and ColorCount; null for a null or
 * wrong-size record, no palette, or no memory. */
VXKRN_API VPalette V_DupBitmapPalette(const BitmapHandle *bitmap);
/* Replace the bitmap's palette with the object's entries and set
 * ColorCount. The old palette is freed first, so a failed copy leaves the
 * bitmap without palette. Returns RC_SUCCESS; RC_INVALID_BITMAP null bitmap; RC_INVALID_STRUCT_SIZE
 * StructSize; RC_INVALID_PARAMETER null object or one of fewer than 2 or more than 256 entries;
 * RC_NO_MEMORY no memory. */
VXKRN_API ResultCode V_SetBitmapPalette(BitmapHandle *bitmap, VPalette palette);

/* ---- Built-in palettes and creation ---------------------------------------*/

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
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER null; RC_INVALID_STRUCT_SIZE StructSize;
 * RC_INVALID_BITS_PER_PIXEL BitsPerPixel outside 1..8; RC_NO_MEMORY no memory (bitmap unchanged).
 */
VXKRN_API ResultCode V_CreateBitmapGrayPalette(BitmapHandle *bitmap);

/* An owned copy of the default palette of 1 to 8 bits (0 gives the 1-bit
 * one). Null for other depths or no memory. */
VXKRN_API PaletteEntry *V_CreateFixedPalette(int32_t bits_per_pixel);

/* Give the bitmap a copy of the default palette chosen by ColorCount (not by
 * BitsPerPixel): 2 and 4 both take the 1-bit table, so a 4-entry bitmap gets
 * black, white, black, gray 85 (the default tables lie one after another).
 * Stored over Palette without freeing an existing one.
 * Returns RC_SUCCESS; 0 (not an error code) for a ColorCount other than 2, 4, 8, ...,
 * 256; RC_INVALID_PARAMETER null; RC_INVALID_STRUCT_SIZE StructSize; RC_NO_MEMORY no memory (bitmap
 * unchanged). */
VXKRN_API ResultCode V_CreateBitmapFixedPalette(BitmapHandle *bitmap);

/* The library's read-only default palette of 1 to 8 bits; null otherwise. */
VXKRN_API const PaletteEntry *V_IntGetFixedPalette(int32_t bits_per_pixel);

/* The library's read-only 256-entry web palette (a 6x6x6 cube, blue fastest,
 * entries 216 to 255 zero). */
VXKRN_API const PaletteEntry *V_IntGetNetscapePalette(void);

/* Copy a default palette into entries (room for 2^bits entries, 256 for
 * depth 0): depth 0 fills 256 gray levels, 1 to 8 the default palette.
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER null entries or depth outside 0..8. */
VXKRN_API ResultCode V_GetFixedPalette(PaletteEntry *entries, int32_t bits_per_pixel);

VXKRN_END_DECLS

#endif /* VXKRN_PALETTE_H */
