/* vxkrn: reading and writing stored rows, row segments and single pixels'
 * bytes, whatever the storage. Rows are addressed as stored (row 0 is the
 * first stored row); no view perspective is applied. */
#ifndef VXKRN_ROWS_H
#define VXKRN_ROWS_H

#include <vxkrn/types.h>

VXKRN_BEGIN_DECLS

/* Read count bytes starting at stored row `row`. A count longer than the row
 * runs on into the following rows, so several rows move in one call; it may
 * not leave the pixel data (Size bytes).
 * A memory bitmap is read through Data: access it first (V_AccessBitmap or
 * V_LockBitmap). Before the first access Data still holds the aligned
 * address allocation left there, 0 to 31 bytes past where access points it,
 * so bytes moved then are not where later calls find them; after
 * V_ReleaseBitmap Data is null and the call fails with RC_INVALID_BITMAP.
 * Returns the bytes read; RC_INVALID_PARAMETER null record or buffer,
 * negative row, count above INT32_MAX, or a range outside the pixel data;
 * RC_INVALID_STRUCT_SIZE StructSize; RC_INVALID_BITMAP a memory bitmap whose
 * Data is null; RC_FILE_SEEK seek, RC_FILE_READ read failure of a disk
 * bitmap, also when its file holds fewer bytes than asked for (cut short
 * behind the library's back); RC_NO_MEMORY no storage. */
VXKRN_API int32_t V_GetBitmapRow(const BitmapHandle *bitmap, void *buffer, int32_t row,
                                 uint32_t count);
/* Write count bytes from buffer at stored row `row`; as V_GetBitmapRow, with
 * RC_FILE_WRITE for a write failure. Returns the bytes written. */
VXKRN_API int32_t V_PutBitmapRow(BitmapHandle *bitmap, const void *buffer, int32_t row,
                                 uint32_t count);
/* The same starting at the byte that holds the first bit of pixel `column`
 * (bits of earlier pixels in that byte are moved too). Negative columns give
 * -13. */
VXKRN_API int32_t V_GetBitmapRowCol(const BitmapHandle *bitmap, void *buffer, int32_t row,
                                    int32_t column, uint32_t count);
VXKRN_API int32_t V_PutBitmapRowCol(BitmapHandle *bitmap, const void *buffer, int32_t row,
                                    int32_t column, uint32_t count);

/* Read the bytes that hold one pixel (for depths below 8 bits the whole byte,
 * neighbours included; 12-bit pixels take 2 bytes).
 * Returns RC_SUCCESS; RC_INVALID_BITMAP null record, not allocated, or null buffer;
 * RC_INVALID_STRUCT_SIZE StructSize; RC_INVALID_PARAMETER buffer_size smaller than the pixel's
 * bytes; RC_NO_MEMORY the transfer moved fewer bytes (a position outside the image included). */
VXKRN_API ResultCode V_GetPixelData(const BitmapHandle *bitmap, void *buffer, int32_t row,
                                    int32_t column, uint32_t buffer_size);
VXKRN_API ResultCode V_PutPixelData(BitmapHandle *bitmap, const void *buffer, int32_t row,
                                    int32_t column, uint32_t buffer_size);

/* Write only the listed pixels of one stored row. source holds pixels from
 * column first_column on, packed as in the bitmap (pixel x is pixel
 * x - first_column of source). segments holds segment_count pairs (first
 * column, pixel count); each must lie within first_column..Width. Pixels
 * outside the segments keep their bits, also inside shared bytes.
 * reserved must be 0. All segments are checked before any is written.
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER null record, source or segments, a bad segment, a
 * negative count or a non-zero reserved value; RC_INVALID_STRUCT_SIZE StructSize; the codes of
 * V_PutBitmapRowCol (a short write gives RC_FILE_WRITE); RC_NO_MEMORY no memory for scratch. */
VXKRN_API ResultCode V_PutBitmapRowSegments(BitmapHandle *bitmap, const void *source, int32_t row,
                                            int32_t first_column, const int32_t *segments,
                                            int32_t segment_count, int32_t reserved);

/* The failure value of V_GetPixelColor, which no colour takes. */
#define PIXEL_COLOR_FAILED 0x80000000u

/* One pixel as a ColorValue (docs/color.md, "Pixels as colours"): the
 * palette entry of an index, the colour of a colour pixel at 8 bits per
 * component, or for 12 and 16-bit gray the value scaled to 16 bits with kind
 * COLOR_KIND_GRAY. The bitmap is accessed for the read if it is not.
 * Returns PIXEL_COLOR_FAILED for a bad or unallocated record, a position
 * outside the image, 32-bit gray, a missing palette entry or a failed read. */
VXKRN_API ColorValue V_GetPixelColor(BitmapHandle *bitmap, int32_t row, int32_t column);

/* Write one pixel from a ColorValue: a palette index (COLOR_KIND_INDEX), a
 * colour (kind 0, matched to the palette or converted to the pixel's format)
 * or a 16-bit gray value (COLOR_KIND_GRAY). Alpha and the bits of
 * neighbouring pixels keep their values.
 * Returns RC_SUCCESS; RC_INVALID_BITMAP null or unallocated record; RC_INVALID_STRUCT_SIZE
 * StructSize; RC_INVALID_PARAMETER a position outside the image, an unknown kind, an index beyond
 * the palette, or a palette bitmap without palette; the codes of the row functions. */
VXKRN_API ResultCode V_PutPixelColor(BitmapHandle *bitmap, int32_t row, int32_t column,
                                     ColorValue color);

/* Run-length records (compress.h): a 4-byte word count N, low byte first,
 * then N 16-bit run lengths starting with a 0 run; (N + 2) x 2 bytes each,
 * records back to back. These four functions take 1-bit bitmaps of any
 * storage: a compressed bitmap stores and hands out its records as they are,
 * any other bitmap is read or written through plain rows, with the access
 * rules of the row functions (a memory bitmap is not accessed for the
 * caller). `work` is a buffer of BytesPerLine bytes for that, or null to
 * have one taken for the call; the caller owns it. Rows from first_row on
 * that lie beyond Height are not moved.
 * A record given to a put must be exactly one row: at most pixels + 1 run
 * words, runs adding up to the pixel count, and zero-length runs only first
 * or between two words of one colour that together exceed 65535 (a long run
 * split). Any other record is refused before anything is stored, so a row
 * never comes back larger than COMPRESSED_RECORD_MAX_BYTES of its pixels.
 */

/* Store row_count records from first_row on. A compressed bitmap whose
 * records come to more bytes than its plain rows is switched to plain
 * storage afterwards.
 * Returns RC_SUCCESS (also for a count of 0 or first_row at Height);
 * RC_INVALID_PARAMETER null record or records, a negative first_row, or a
 * record that is not one row of Width pixels (no row is then stored);
 * RC_INVALID_STRUCT_SIZE StructSize; RC_INVALID_BITS_PER_PIXEL not 1-bit;
 * RC_NO_MEMORY no memory for the work buffer or the records; RC_FILE_WRITE a
 * row written short; the codes of the row functions (RC_INVALID_BITMAP for
 * a released memory bitmap). */
VXKRN_API ResultCode V_PutBitmapRowCompressed(BitmapHandle *bitmap, void *work, const void *records,
                                              int32_t first_row, uint32_t row_count);

/* Read row_count rows from first_row on as records; `records` needs room for
 * COMPRESSED_RECORD_MAX_BYTES(Width) (compress.h) per row; nothing past the
 * records is written. A row never written to a compressed bitmap reads as
 * one 0 run.
 * Returns as V_PutBitmapRowCompressed, RC_FILE_READ for a row read short. */
VXKRN_API ResultCode V_GetBitmapRowCompressed(const BitmapHandle *bitmap, void *work, void *records,
                                              int32_t first_row, uint32_t row_count);

/* Write the pixel_count pixels of one record into `row` from first_column
 * on; the pixels around them keep their values, also inside shared bytes.
 * Returns the bytes the pixels fill, (pixel_count + 7) >> 3, as a row write
 * of them does (0 for no pixels); RC_INVALID_PARAMETER null record or
 * record, a column range outside the row, or a record that is not exactly
 * pixel_count pixels; RC_INVALID_STRUCT_SIZE; RC_INVALID_BITS_PER_PIXEL;
 * RC_NO_MEMORY no work buffer; the codes of V_PutBitmapRowSegments. */
VXKRN_API int32_t V_PutBitmapRowColCompressed(BitmapHandle *bitmap, void *work, const void *record,
                                              int32_t row, int32_t first_column,
                                              uint32_t pixel_count);

/* Encode pixel_count pixels of `row` from first_column on as one record;
 * `record` needs room for COMPRESSED_RECORD_MAX_BYTES(pixel_count); nothing
 * past the record is written.
 * Returns (pixel_count + 7) >> 3, the bytes the pixels fill, as a row read
 * of them does; RC_INVALID_PARAMETER null record or output, or a column
 * range outside the row; RC_INVALID_STRUCT_SIZE; RC_INVALID_BITS_PER_PIXEL;
 * RC_NO_MEMORY no work buffer; the codes of V_GetBitmapRowCol. */
VXKRN_API int32_t V_GetBitmapRowColCompressed(const BitmapHandle *bitmap, void *work, void *record,
                                              int32_t row, int32_t first_column,
                                              uint32_t pixel_count);

VXKRN_END_DECLS

#endif /* VXKRN_ROWS_H */
