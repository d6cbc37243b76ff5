/* vxkrn: reading and writing stored rows, row segments and single pixels'
 * bytes, whatever the storage. Rows are addressed as stored (row 0 is the
 * first stored row); no view perspective is applied. */
#ifndef VXKRN_ROWS_H
#define VXKRN_ROWS_H

#include <vxkrn/types.h>

VXKRN_BEGIN_DECLS

/* Read count bytes starting at stored row `row`. A count longer than the row
 * runs on into the following rows, so several rows move in one call; it may
 * not leave the pixel data (Size bytes). A memory bitmap must be accessed.
 * Returns the bytes read (a disk file truncated behind the library's back
 * gives a short count); -13 null record or buffer, negative row, count above
 * INT32_MAX, or a range outside the pixel data; -789 StructSize; -2 memory
 * bitmap not accessed; -4 seek, -7 read failure of a disk bitmap; -1 no
 * storage. */
VXKRN_API int32_t V_GetBitmapRow(const BitmapHandle *bitmap, void *buffer, int32_t row,
                                 uint32_t count);
/* Write count bytes from buffer at stored row `row`; as V_GetBitmapRow, with
 * -5 for a write failure. Returns the bytes written. */
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
 * Returns 1; -2 null record, not allocated, or null buffer; -789 StructSize;
 * -13 buffer_size smaller than the pixel's bytes; -1 the transfer moved
 * fewer bytes (a position outside the image included). */
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
 * Returns 1; -13 null record, source or segments, a bad segment, a negative
 * count or a non-zero reserved value; -789 StructSize; the codes of
 * V_PutBitmapRowCol (a short write gives -5); -1 no memory for scratch. */
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
 * Returns 1; -2 null or unallocated record; -789 StructSize; -13 a position
 * outside the image, an unknown kind, an index beyond the palette, or a
 * palette bitmap without palette; the codes of the row functions. */
VXKRN_API ResultCode V_PutPixelColor(BitmapHandle *bitmap, int32_t row, int32_t column,
                                     ColorValue color);

/* Run-length records (compress.h): a 4-byte word count N, low byte first,
 * then N 16-bit run lengths starting with a 0 run; (N + 2) x 2 bytes each,
 * records back to back. These four functions take 1-bit bitmaps of any
 * storage: a compressed bitmap stores and hands out its records as they are,
 * any other bitmap is read or written through plain rows. `work` is a buffer
 * of BytesPerLine bytes for that, or null to have one taken for the call;
 * the caller owns it. Rows from first_row on that lie beyond Height are not
 * moved.
 */

/* Store row_count records from first_row on. A compressed bitmap whose
 * records come to more bytes than its plain rows is switched to plain
 * storage afterwards.
 * Returns 1 (also for a count of 0 or first_row at Height); -13 null record
 * or records, or a negative first_row; -789 StructSize; -27 not 1-bit; -1 no
 * memory for the work buffer or the records; -5 a row written short; the
 * codes of the row functions. */
VXKRN_API ResultCode V_PutBitmapRowCompressed(BitmapHandle *bitmap, void *work, const void *records,
                                              int32_t first_row, uint32_t row_count);

/* Read row_count rows from first_row on as records; `records` needs room for
 * COMPRESSED_RECORD_MAX_BYTES(Width) (compress.h) per row, and bytes of that
 * room past the records written may change. A row never written to a
 * compressed bitmap reads as one 0 run.
 * Returns as V_PutBitmapRowCompressed, -7 for a row read short. */
VXKRN_API ResultCode V_GetBitmapRowCompressed(const BitmapHandle *bitmap, void *work, void *records,
                                              int32_t first_row, uint32_t row_count);

/* Write pixel_count pixels of one record into `row` from first_column on;
 * the pixels around them keep their values.
 * Returns 1; -13 null record or record, or a column range outside the row;
 * -789; -27; -1 no work buffer; the codes of V_PutBitmapRowSegments. */
VXKRN_API ResultCode V_PutBitmapRowColCompressed(BitmapHandle *bitmap, void *work,
                                                 const void *record, int32_t row,
                                                 int32_t first_column, uint32_t pixel_count);

/* Encode pixel_count pixels of `row` from first_column on as one record;
 * `record` needs room for COMPRESSED_RECORD_MAX_BYTES(pixel_count), and
 * bytes of it past the record may change.
 * Returns 1; -13 null record or output, or a column range outside the row;
 * -789; -27; -1 no work buffer; the codes of V_GetBitmapRowCol. */
VXKRN_API ResultCode V_GetBitmapRowColCompressed(const BitmapHandle *bitmap, void *work,
                                                 void *record, int32_t row, int32_t first_column,
                                                 uint32_t pixel_count);

VXKRN_END_DECLS

#endif /* VXKRN_ROWS_H */
