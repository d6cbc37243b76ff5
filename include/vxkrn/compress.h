/* vxkrn: run-length records of 1-bit rows, the form compressed bitmaps keep
 * their rows in and exchange with callers, and the buffer-level coders. */
#ifndef VXKRN_COMPRESS_H
#define VXKRN_COMPRESS_H

#include <vxkrn/types.h>

/* A record describes one row of 1-bit pixels (pixel 0 in the most
 * significant bit of byte 0):
 *   bytes 0-3  N, the number of run words that follow, little-endian;
 *   then N     16-bit little-endian run lengths in pixels, alternating in
 *              colour and starting with a run of 0 pixels (a row that begins
 *              with a 1 pixel starts with a run of length 0).
 * A record is (N + 2) x 2 bytes; records in a buffer follow each other with
 * no gap, so a record is only 2-byte aligned. A run longer than 65535 is
 * written as several runs of its colour separated by zero-length runs of the
 * other colour; the coders here split long runs of whole bytes at 65528.
 * Plain rows in buffers of several rows are ((width + 31) >> 3) bytes with
 * the two low bits cleared apart (multiples of 4 bytes). */

/* Room an encoder may need for one record of `pixels` pixels: every pixel
 * a run of its own, plus the leading run and the count. */
#define COMPRESSED_RECORD_MAX_BYTES(pixels) (4u + 2u * ((uint64_t)(pixels) + 1u))

VXKRN_BEGIN_DECLS

/* Encode `count` pixels of a plain row into one record at destination.
 * source points at the byte that holds the first pixel; only column & 7 is
 * used (the first pixel's bit within that byte, 0 the most significant).
 * source is only read. destination needs COMPRESSED_RECORD_MAX_BYTES(count)
 * bytes; bytes of that room past the record may be overwritten.
 * Returns count; RC_INVALID_PARAMETER for a null buffer or a count above INT32_MAX. */
VXKRN_API int32_t V_CompressRow(void *destination, const void *source, uint32_t column,
                                uint32_t count);

/* Encode `rows` plain rows of `width` pixels, each from column 0, into
 * records back to back. Rows are read at the padded stride above.
 * destination needs rows x COMPRESSED_RECORD_MAX_BYTES(width) bytes; bytes
 * of that room past the last record may be overwritten.
 * Returns RC_SUCCESS (0 rows write nothing); RC_INVALID_PARAMETER for a null buffer. */
VXKRN_API ResultCode V_CompressRows(void *destination, const void *source, uint32_t width,
                                    uint32_t rows);

/* Decode `count` pixels of the row that `record` describes, starting at
 * pixel `column`, into destination from its most significant bit on:
 * (count + 7) / 8 bytes are written and bits past count cleared. Runs may
 * add up to more or fewer pixels than the row's width: pixels beyond the
 * record's last run read as 0, and nothing past its N words is read.
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER for a null buffer. */
VXKRN_API ResultCode V_ExpandRow(const void *record, void *destination, uint32_t column,
                                 uint32_t count);

/* Decode `rows` records back to back, each from column 0 over `width`
 * pixels, into plain rows at the padded stride. Per row (width + 7) / 8
 * bytes are written; the padding bytes after them are left as they were.
 * Returns RC_SUCCESS (0 rows write nothing); RC_INVALID_PARAMETER for a null buffer. */
VXKRN_API ResultCode V_ExpandRows(const void *records, void *destination, uint32_t width,
                                  uint32_t rows);

/* Reverse every one of `rows` records left to right into destination,
 * records back to back. A mirrored record may be one word longer than its
 * source (a row ending in a 1 run gains a leading zero-length run), so
 * destination needs the source's size plus 2 bytes per row. The buffers
 * must not overlap.
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER for a null buffer. */
VXKRN_API ResultCode V_MirrorCompressedBuffer(const void *source, void *destination, uint32_t rows);

/* Copy `rows` records into destination in reverse order (the last row
 * first), in a block of the same total size. The buffers must not overlap.
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER for a null buffer. */
VXKRN_API ResultCode V_FlipCompressedBuffer(const void *source, void *destination, uint32_t rows);

/* Targets of V_ChangeBitmapCompression. */
#define COMPRESSION_NONE 0  /* plain rows: a memory block */
#define COMPRESSION_RUNS 1  /* run-length records in memory */
#define COMPRESSION_SUPER 2 /* codec-compressed strips: not in this build */

/* Move an allocated bitmap's pixels into storage of the target kind. A
 * bitmap already of that kind is left alone. The new storage is built and
 * filled first; then the old storage is freed and the record takes the new
 * one, keeping its palette, tables and every other field. Compressed storage
 * is trimmed to what its records use. Records hold 1-bit rows only: asked
 * for COMPRESSION_RUNS, a bitmap of another depth gets a memory block.
 * Returns RC_SUCCESS; RC_INVALID_BITMAP a null or unallocated bitmap; RC_INVALID_STRUCT_SIZE
 * StructSize; RC_INVALID_PARAMETER another target; the codes of V_DupBitmapNewDim, V_AllocateBitmap
 * (RC_NO_MEMORY for COMPRESSION_SUPER) and V_CopyBitmapData, the bitmap then left as it was. */
VXKRN_API ResultCode V_ChangeBitmapCompression(BitmapHandle *bitmap, int32_t target);

/* Plain 1-bit storage becomes compressed and compressed becomes plain.
 * Returns RC_SUCCESS; RC_INVALID_BITMAP a null or unallocated bitmap or one that is not 1-bit;
 * RC_INVALID_STRUCT_SIZE; RC_BITMAP_RESTRICTED FLAG_RESTRICTED set; the codes of
 * V_ChangeBitmapCompression. */
VXKRN_API ResultCode V_ToggleBitmapCompression(BitmapHandle *bitmap);

VXKRN_END_DECLS

#endif /* VXKRN_COMPRESS_H */
