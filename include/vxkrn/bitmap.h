/* vxkrn: the bitmap record's lifecycle: initialise, allocate storage, access,
 * change height, free. */
#ifndef VXKRN_BITMAP_H
#define VXKRN_BITMAP_H

#include <vxkrn/types.h>

/* Memory types for V_AllocateBitmap and V_CreateBitmap. */
#define MEM_CONVENTIONAL 1 /* one memory block; a temporary file if none can be had */
#define MEM_USER 2         /* the caller's memory, supplied by V_SetBitmapDataPointer */
#define MEM_DISK 4         /* a temporary file */
#define MEM_TEMP_FILE 128  /* a temporary file */
#define MEM_NO_DISK 256    /* one memory block, no fallback */
#define MEM_COMPRESSED 768 /* run-length compressed 1-bit rows (256 for other depths) */
#define MEM_SUPER 1024     /* codec-compressed strips */
#define MEM_SUPER_OR_CONVENTIONAL 1025
/* Modifier bits that may be added to a memory type. */
#define MEM_MOD_COMPRESS 0x200 /* 1-bit bitmaps become MEM_COMPRESSED; dropped otherwise */
#define MEM_MOD_SUPER 0x400    /* kept for 1, 8 and 24 bits per pixel only */
/* Codes reported by V_GetBitmapMemoryInfo. */
#define MEM_INFO_MEMORY 1       /* memory block or caller's memory */
#define MEM_INFO_DISK 128       /* temporary file */
#define MEM_INFO_COMPRESSED 512 /* compressed 1-bit rows */
#define MEM_INFO_SUPER 1024     /* codec-compressed strips */

VXKRN_BEGIN_DECLS

/* Fill a record for an image of the given geometry. Nothing is allocated.
 * The record is zeroed first; width, height and bits per pixel all 0 leave an
 * empty record (StructSize set, everything else 0) and return 1.
 * struct_size: BITMAPHANDLE_SIZE. bits_per_pixel: 1-8, 12, 16, 24, 32, 48, 64.
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER null record, or a negative width or height (record left
 * zeroed with StructSize set); RC_INVALID_STRUCT_SIZE wrong struct_size (record untouched);
 * RC_INVALID_BITS_PER_PIXEL bits per pixel not accepted (record zeroed with StructSize set);
 * RC_IMAGE_TOO_LARGE the pixel data would exceed BITMAP_SIZE_CAP bytes (record entirely zeroed). */
VXKRN_API ResultCode V_InitBitmap(BitmapHandle *bitmap, uint32_t struct_size, int32_t width,
                                  int32_t height, int32_t bits_per_pixel);

/* Copy a whole record. The copy shares storage, palette and tables with the
 * source: exactly one of the two may be freed.
 * Returns RC_SUCCESS (also, doing nothing, for a null destination); RC_INVALID_PARAMETER null
 * source; RC_INVALID_STRUCT_SIZE the source's StructSize or struct_size is wrong (destination
 * untouched). */
VXKRN_API ResultCode V_CopyBitmapHandle(BitmapHandle *destination, const BitmapHandle *source,
                                        uint32_t struct_size);

/* Recompute Size from the storage: BytesPerLine x Height for plain storage.
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER null; RC_INVALID_STRUCT_SIZE StructSize;
 * RC_INVALID_BITMAP not allocated; RC_IMAGE_TOO_LARGE the size exceeds the cap (Size is then
 * BITMAP_SIZE_CAP). */
VXKRN_API ResultCode V_UpdateBitmapSize(BitmapHandle *bitmap);

/* 1 when the gray lookup table fits the active gray description (or does not
 * apply: Order not ORDER_GRAY, or no LUT), 0 otherwise and for a null record. */
VXKRN_API int32_t V_IsBitmapLUTLengthValid(const BitmapHandle *bitmap);

/* Copy the six playback words (Playback) from source to destination.
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER either null; RC_INVALID_STRUCT_SIZE either StructSize.
 */
VXKRN_API ResultCode V_CopyPlaybackParms(BitmapHandle *destination, const BitmapHandle *source);

/* Free the record's LUT and MapTable and zero both fields (LUTLength too).
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER null; RC_INVALID_STRUCT_SIZE StructSize. */
VXKRN_API ResultCode V_FreeGrayParams(BitmapHandle *bitmap);

/* Copy the gray parameters of source into destination: LowBit, HighBit,
 * MinBit, MaxBit, MinVal, MaxVal, FLAG_USE_LOW_HIGH, and an own copy of the
 * LUT (LUTLength entries; destination's old LUT is freed).
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER either null; RC_INVALID_STRUCT_SIZE either StructSize;
 * RC_NO_MEMORY no memory (destination unchanged). */
VXKRN_API ResultCode V_CopyGrayParams(BitmapHandle *destination, const BitmapHandle *source);

/* Give an initialised, unallocated record its storage. memory_type: MEM_...
 * with optional MEM_MOD_... bits. Also creates MapTable (the identity map).
 * A memory block is Size + 31 zero bytes; Data is left at its first 32-byte
 * aligned byte and AlignOffset tells how far that is from Storage (see
 * V_AccessBitmap for where Data points once accessed). A temporary file
 * (MEM_DISK, MEM_TEMP_FILE, or types 1, 8 and 9 when no block can be had) is
 * Size + 1 bytes in the thread's temporary directory, and Storage holds its
 * handle. MEM_COMPRESSED (or MEM_MOD_COMPRESS) gives a 1-bit bitmap
 * run-length compressed rows (compress.h); other depths get a memory block.
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER null record, a record that is
 * already allocated (free it first; nothing changes), or a memory type not
 * accepted; RC_INVALID_STRUCT_SIZE StructSize; RC_EMPTY_AREA Size is 0;
 * RC_NO_MEMORY no memory, no temporary file, a failed seek, or
 * codec-compressed strips (MEM_SUPER), which this build cannot make;
 * RC_FILE_WRITE the temporary file could not be extended.
 * On RC_INVALID_PARAMETER for the memory type and on later failures the
 * storage bits (FLAG_STORAGE_MASK) of Flags are cleared and nothing else in
 * the record changes; earlier failures leave the record untouched. */
VXKRN_API ResultCode V_AllocateBitmap(BitmapHandle *bitmap, int32_t memory_type);

/* Initialise and allocate in one call.
 * bits_per_pixel 0 makes an 8-bit bitmap with a gray palette. order: for more
 * than 8 bits per pixel (ORDER_MATRIX only with 24 or 48); up to 8 bits the
 * order is ORDER_RGB and the palette is a copy of `palette` (ColorCount
 * entries, borrowed) or the default palette when it is null.
 * view_perspective: 1 to 8, 0 meaning 1. data, data_size: for MEM_USER, the
 * caller's pixel memory (borrowed; see V_SetBitmapDataPointer).
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER null record, memory type not accepted, or view
 * perspective outside 0..8 (the bitmap is then left allocated: free it); RC_INVALID_STRUCT_SIZE
 * struct_size; RC_INVALID_BITS_PER_PIXEL bits per pixel or ORDER_MATRIX not accepted; the codes of
 * V_InitBitmap, V_AllocateBitmap and V_SetBitmapDataPointer; RC_NO_MEMORY when the
 * palette cannot be made (the storage is freed again). */
VXKRN_API ResultCode V_CreateBitmap(BitmapHandle *bitmap, uint32_t struct_size, int32_t memory_type,
                                    int32_t width, int32_t height, int32_t bits_per_pixel,
                                    int32_t order, const PaletteEntry *palette,
                                    int32_t view_perspective, void *data, uint32_t data_size);

/* Free the record's palette, storage, LUT and MapTable. The record stays
 * initialised (geometry, resolution, order) and may be allocated again;
 * Storage keeps its old value. Ignores a null record or a wrong StructSize.
 * Caller's memory is never freed. */
VXKRN_API void V_FreeBitmap(BitmapHandle *bitmap);

/* Make Data valid for a bitmap in memory: Data is pointed at the start of
 * the block (Storage), or Storage + AlignOffset for a caller's block
 * (FLAG_USER_BLOCK). Note that this is not where allocation left Data (the
 * first 32-byte boundary, 0 to 31 bytes further on): rows written before the
 * first access land at the aligned address and are not where they are read
 * afterwards. Access first, then read and write rows.
 * Does nothing for disk, compressed or already accessed bitmaps, for
 * caller's memory with a ready data pointer, for a record that is not
 * allocated, or a bad record. */
VXKRN_API void V_AccessBitmap(BitmapHandle *bitmap);

/* Undo V_AccessBitmap: clear FLAG_ACCESSED and zero Data. Same conditions. */
VXKRN_API void V_ReleaseBitmap(BitmapHandle *bitmap);

/* Access the bitmap if it is not accessed yet. Returns 1 when it already was,
 * 0 when this call accessed it (and for a null record); pass the value to
 * V_UnlockBitmap, which releases only what this call accessed. */
VXKRN_API int32_t V_LockBitmap(BitmapHandle *bitmap);

/* Release the bitmap when was_accessed (V_LockBitmap's result) is 0. */
VXKRN_API void V_UnlockBitmap(BitmapHandle *bitmap, int32_t was_accessed);

/* Set Data to the caller's pixel memory (borrowed: the caller keeps it alive
 * and frees it after V_FreeBitmap). For a MEM_USER bitmap the size is not
 * checked and the caller guarantees Size bytes; for any other record a
 * non-null pointer must come with data_size equal to Size.
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER null record or a size mismatch; RC_INVALID_STRUCT_SIZE
 * StructSize. */
VXKRN_API ResultCode V_SetBitmapDataPointer(BitmapHandle *bitmap, void *data, uint32_t data_size);

/* Report what storage the bitmap has: MEM_INFO_MEMORY, MEM_INFO_DISK,
 * MEM_INFO_COMPRESSED or MEM_INFO_SUPER. reserved1 and reserved2 are not
 * touched and may be null.
 * Returns RC_SUCCESS; RC_INVALID_BITMAP null or not allocated; RC_INVALID_STRUCT_SIZE StructSize;
 * RC_INVALID_PARAMETER null memory_type. */
VXKRN_API ResultCode V_GetBitmapMemoryInfo(const BitmapHandle *bitmap, int32_t *memory_type,
                                           int32_t *reserved1, int32_t *reserved2);

/* Mask bits of V_SetBitmapMemoryInfo. */
#define MEM_INFO_MASK_TYPE 0x01 /* change the storage to memory_type */

/* Move the bitmap's pixels into storage of another kind: memory_type as for
 * V_AllocateBitmap (MEM_DISK gives a memory block, falling back to a
 * temporary file). Nothing happens unless `mask` has MEM_INFO_MASK_TYPE and
 * memory_type differs from the code V_GetBitmapMemoryInfo reports. The
 * palette and gray parameters stay; the record keeps its geometry. The five
 * values after memory_type are accepted and ignored (other mask bits).
 * On failure the bitmap is left as it was.
 * Returns RC_SUCCESS; RC_INVALID_STRUCT_SIZE StructSize; RC_NO_MEMORY no memory; the codes of
 * V_GetBitmapMemoryInfo, V_AllocateBitmap and V_CopyBitmapData. */
VXKRN_API ResultCode V_SetBitmapMemoryInfo(BitmapHandle *bitmap, int32_t memory_type,
                                           int32_t value1, int32_t value2, int32_t value3,
                                           int32_t value4, int32_t value5, uint32_t mask);

/* Change the number of stored rows in place; existing rows keep their bytes,
 * new rows of a memory block are not cleared. The data become
 * BytesPerLine x new_height + AlignOffset bytes (a memory block is
 * reallocated for them, keeping its 31 spare bytes; a temporary file is set to
 * that size), and Size becomes that count (capped at BITMAP_SIZE_CAP
 * without an error). Compressed rows are dropped or added (new rows read as
 * blank) and Size keeps counting the stored records.
 * Returns RC_SUCCESS (at once for the same height); RC_INVALID_BITMAP null
 * or not allocated; RC_INVALID_STRUCT_SIZE StructSize; RC_INVALID_PARAMETER
 * caller's memory, an accessed bitmap, or a negative height; RC_EMPTY_AREA
 * height 0; RC_NO_MEMORY the reallocation or the file-size change failed
 * (record unchanged). */
VXKRN_API ResultCode V_ChangeBitmapHeight(BitmapHandle *bitmap, int32_t new_height);

VXKRN_END_DECLS

#endif /* VXKRN_BITMAP_H */
