/* vxkrn: duplicates, whole and rectangle copies, and trimming. Row loops
 * report progress through the thread's copy status callback (system.h): 0
 * before the first row, then each time the percentage grows, 100 after the
 * last row; any result other than RC_SUCCESS stops the copy with that
 * result. */
#ifndef VXKRN_COPY_H
#define VXKRN_COPY_H

#include <vxkrn/types.h>

/* Options of V_DupBitmapNewDim and V_FreeDuplicateBitmap. */
#define DUP_ALLOCATE 0x01      /* allocate storage of the source's kind; free it all on release */
#define DUP_OWN_PALETTE 0x02   /* an own copy of the palette, not the source's pointer */
#define DUP_OWN_EXTENSION 0x08 /* keep the Extension pointer on release */

VXKRN_BEGIN_DECLS

/* Make `bitmap` a new record of the given geometry that inherits the
 * source's attributes: storage kind (with DUP_ALLOCATE), view perspective,
 * resolution, order, palette (shared, or copied with DUP_OWN_PALETTE),
 * playback parameters, gray parameters (when allocating at the source's
 * depth) and map table. `bitmap` is overwritten.
 * Returns RC_SUCCESS; RC_INVALID_BITMAP a null record or an unallocated source;
 * RC_INVALID_STRUCT_SIZE the source's StructSize or struct_size; the codes of V_InitBitmap and
 * V_AllocateBitmap; RC_NO_MEMORY no memory for the palette or gray parameters (what was made is
 * released again). */
VXKRN_API ResultCode V_DupBitmapNewDim(BitmapHandle *bitmap, const BitmapHandle *source,
                                       uint32_t struct_size, int32_t width, int32_t height,
                                       int32_t bits_per_pixel, uint32_t options);

/* Release a record made by V_DupBitmapNewDim with the same options: a shared
 * palette pointer (no DUP_OWN_PALETTE) and the Extension pointer (no
 * DUP_OWN_EXTENSION) are cleared first, then the whole bitmap (DUP_ALLOCATE)
 * or just an owned palette is freed. Returns RC_SUCCESS; RC_INVALID_PARAMETER null record. */
VXKRN_API ResultCode V_FreeDuplicateBitmap(BitmapHandle *bitmap, uint32_t options);

/* Copy the source into `destination`, a new bitmap with storage of the
 * source's kind (a compressed source gives a compressed copy) and its own
 * palette. Copying a bitmap onto itself does nothing. A disk bitmap whose
 * file was cut short gives RC_FILE_READ and no copy. Returns RC_SUCCESS; RC_INVALID_PARAMETER a
 * null record or an unallocated source; RC_INVALID_STRUCT_SIZE the source's StructSize or
 * struct_size; the codes of duplication and V_CopyBitmapData (the destination is then freed again).
 */
VXKRN_API ResultCode V_CopyBitmap(BitmapHandle *destination, BitmapHandle *source,
                                  uint32_t struct_size);

/* The same with the destination's storage allocated as memory_type. */
VXKRN_API ResultCode V_CopyBitmap2(BitmapHandle *destination, BitmapHandle *source,
                                   int32_t memory_type, uint32_t struct_size);

/* Copy the rows of one allocated bitmap into another of the same format, as
 * they are (no conversion). Two compressed bitmaps of one width exchange
 * compressed rows as they are, so a compressed copy stays compressed even
 * where its records are larger than the plain rows would be.
 * Both bitmaps are accessed for the copy (when in memory) and released again
 * unless they were accessed already; the same holds for every copy here.
 * Returns RC_SUCCESS (at once for the same record); RC_INVALID_BITMAP a null or unallocated record;
 * RC_INVALID_STRUCT_SIZE either StructSize; RC_NO_MEMORY no memory or a row written short; the
 * codes of the row functions; a callback's result. */
VXKRN_API ResultCode V_CopyBitmapData(BitmapHandle *destination, BitmapHandle *source);

/* Copy the rectangle (left, top, width, height) of the source into a new
 * bitmap of width x height (storage like the source's, own palette). Parts of
 * the rectangle outside the source stay blank. A null destination, or the
 * source itself, trims in place: the source is replaced by the result, also
 * when the callback stopped the copy (the partly copied bitmap then takes the
 * source's place). A rectangle that misses the source gives a blank bitmap
 * (in place: the source is left as it was).
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER a null or unallocated source, or a negative width or
 * height; RC_EMPTY_AREA a zero width or height; RC_INVALID_STRUCT_SIZE; RC_NO_MEMORY no memory; the
 * codes of duplication, allocation and the row functions; a callback's result. */
VXKRN_API ResultCode V_CopyBitmapRect(BitmapHandle *destination, BitmapHandle *source,
                                      uint32_t struct_size, int32_t left, int32_t top,
                                      int32_t width, int32_t height);

/* The same with the result's storage allocated as memory_type. */
VXKRN_API ResultCode V_CopyBitmapRect2(BitmapHandle *destination, BitmapHandle *source,
                                       uint32_t struct_size, int32_t left, int32_t top,
                                       int32_t width, int32_t height, int32_t memory_type);

/* Keep only the rectangle, clipped to the bitmap, in place.
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER null or unallocated; RC_INVALID_STRUCT_SIZE;
 * RC_EMPTY_AREA when the clipped width or height is negative or 0; the codes of V_CopyBitmapRect.
 */
VXKRN_API ResultCode V_TrimBitmap(BitmapHandle *bitmap, int32_t left, int32_t top, int32_t width,
                                  int32_t height);

VXKRN_END_DECLS

#endif /* VXKRN_COPY_H */
