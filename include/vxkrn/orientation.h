/* vxkrn: flips, mirroring and right-angle rotation of bitmaps and bare
 * buffers; view perspectives and the mapping of points and rectangles
 * between them.
 *
 * A bitmap's rows are stored in one of eight perspectives (ViewPerspective,
 * the VIEW_ constants of types.h). The functions whose names end in
 * ViewPerspective only rewrite that field: the stored pixels stay where
 * they are and are read in another orientation. The others move pixels, in
 * place in the caller's record, whatever the storage (memory, caller
 * memory, temporary file, compressed 1-bit rows), at every depth; pad bits
 * after the last pixel of a row stay zero.
 *
 * Row loops report progress through the thread's status callback
 * (system.h): the first percent before the first row, then each time the
 * percentage grows, the last percent after the last row; any result other
 * than RC_SUCCESS stops the loop with that result. */
#ifndef VXKRN_ORIENTATION_H
#define VXKRN_ORIENTATION_H

#include <vxkrn/types.h>

/* A rectangle of pixels: Right and Bottom are exclusive. */
typedef struct ViewRect {
  int32_t Left, Top, Right, Bottom;
} ViewRect;

/* Flags of V_RotateBitmap. */
#define ROTATE_RESIZE 0x0001u /* the canvas takes the size of the rotated picture */

VXKRN_BEGIN_DECLS

/* Turn the picture upside down. Rows i and Height - 1 - i are exchanged;
 * for a transposed perspective (VIEW_LEFT_TOP to VIEW_LEFT_BOTTOM), whose
 * stored rows are the picture's columns, every stored row is reversed
 * instead, so that the visible result is always a flip. Compressed rows
 * are exchanged as they are, without decoding. Progress over
 * (Height + 1) / 2 steps (the middle row of an odd height is the last), or
 * Height steps when rows are reversed. A stop or failure part way leaves
 * the rows done so far changed.
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER a null or unallocated record;
 * RC_INVALID_STRUCT_SIZE the record's StructSize; RC_NO_MEMORY no row
 * buffers; the storage codes of the row functions; a callback's result. */
VXKRN_API ResultCode V_FlipBitmap(BitmapHandle *bitmap);

/* The same without the record-size check and without the exchange of
 * roles for transposed perspectives: the stored rows are always flipped.
 * RC_INVALID_BITMAP for a null or unallocated record. */
VXKRN_API ResultCode V_IntFlipBitmap(BitmapHandle *bitmap);

/* Mirror the picture left to right: every stored row is reversed in place
 * (compressed rows as records, without decoding), or, for a transposed
 * perspective, the stored rows are flipped instead. Progress over Height
 * steps (or as for V_FlipBitmap when it flips).
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER a null record;
 * RC_INVALID_STRUCT_SIZE the record's StructSize; then as
 * V_IntReverseBitmap. */
VXKRN_API ResultCode V_ReverseBitmap(BitmapHandle *bitmap);

/* Reverse every stored row, whatever the perspective.
 * Returns RC_SUCCESS; RC_INVALID_BITMAP a null or unallocated record;
 * RC_NO_MEMORY no row buffer; the storage codes; a callback's result. */
VXKRN_API ResultCode V_IntReverseBitmap(BitmapHandle *bitmap);

/* Rewrite ViewPerspective so that the picture reads flipped, mirrored, or
 * turned `angle` whole degrees clockwise, without moving a pixel. Flip and
 * mirror leave a value outside 1..8 as it is. The angle is brought into
 * 0..359 first (-90 is 270, 720 is 0); 0 changes nothing; 90, 180 and 270
 * take one, two or three quarter steps, and 90 and 270 also exchange
 * XResolution and YResolution. A quarter step of a value outside 1..8
 * stores RC_INVALID_PARAMETER in ViewPerspective, as it is.
 * The public functions return RC_SUCCESS; RC_INVALID_PARAMETER a null
 * record or (rotation) an angle that is not a multiple of 90;
 * RC_INVALID_STRUCT_SIZE the record's StructSize. The Int variants skip the
 * size check; their flip and mirror return RC_INVALID_BITMAP for a null
 * record, their rotation RC_INVALID_PARAMETER. */
VXKRN_API ResultCode V_FlipBitmapViewPerspective(BitmapHandle *bitmap);
VXKRN_API ResultCode V_IntFlipBitmapViewPerspective(BitmapHandle *bitmap);
VXKRN_API ResultCode V_ReverseBitmapViewPerspective(BitmapHandle *bitmap);
VXKRN_API ResultCode V_IntReverseBitmapViewPerspective(BitmapHandle *bitmap);
VXKRN_API ResultCode V_RotateBitmapViewPerspective(BitmapHandle *bitmap, int32_t angle);
VXKRN_API ResultCode V_IntRotateBitmapViewPerspective(BitmapHandle *bitmap, int32_t angle);

/* Turn the picture by a quarter, clockwise when `clockwise` is nonzero.
 * The turn is the one the viewer sees: for a mirror-image perspective
 * (VIEW_TOP_RIGHT, VIEW_BOTTOM_LEFT, VIEW_LEFT_TOP, VIEW_RIGHT_BOTTOM) the
 * stored rows turn the other way. The result has Width and Height
 * exchanged, XResolution and YResolution exchanged, the same depth,
 * perspective and palette, and storage of the same kind (caller memory
 * becomes library memory; compressed rows stay compressed and are turned
 * in bands, so that a page of any size turns in bounded memory). It
 * replaces the caller's record only after every row was written; on any
 * failure the caller's bitmap is unchanged. Progress runs from
 * first_percent to last_percent (each clamped to 0..100) over the source
 * rows read.
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER a null record;
 * RC_INVALID_STRUCT_SIZE the record's StructSize; RC_INVALID_BITMAP an
 * unallocated record; the codes of V_DupBitmapNewDim (RC_NO_MEMORY, ...);
 * RC_NO_MEMORY no band buffer; the storage codes of the row functions; a
 * callback's result. */
VXKRN_API ResultCode V_RotateBitmap90(BitmapHandle *bitmap, int32_t clockwise,
                                      int32_t first_percent, int32_t last_percent);

/* Rotate the picture clockwise by `angle` hundredths of a degree (negative
 * angles turn against the clock). Multiples of 9000 give exactly the
 * pixels of V_RotateBitmap90 (a half turn those of two quarter turns),
 * with progress from 0 to 100 and the same all-or-nothing replacement.
 * With ROTATE_RESIZE the canvas takes the rotated size; without it the
 * canvas keeps its size, which a half turn and a quarter turn of a square
 * bitmap do. `fill` is the pixel value for canvas the rotated picture does
 * not cover; right-angle turns cover it all.
 * Returns RC_SUCCESS (at once for a multiple of 36000); RC_NOT_SUPPORTED an
 * angle that is not a multiple of 9000, or a quarter turn of a non-square
 * bitmap without ROTATE_RESIZE (rotation by any angle is not there yet);
 * RC_INVALID_PARAMETER unknown flags; otherwise as V_RotateBitmap90. */
VXKRN_API ResultCode V_RotateBitmap(BitmapHandle *bitmap, int32_t angle, uint32_t flags,
                                    uint32_t fill);

/* Bare buffers of packed rows, each row a whole number of 32-bit words:
 * ((width x bits_per_pixel + 31) / 32) x 4 bytes, the first pixel of a byte
 * in its most significant bits. Depths: 1 to 8, 12, 16, 24, 32, 48, 64. */

/* Turn `height` rows of `width` pixels from `source` into `destination`
 * (`width` rows of `height` pixels, rows of the stride of `height`), a
 * quarter clockwise when `clockwise` is nonzero: the last source row
 * becomes the first destination column; otherwise the first source row
 * does, its last pixel at the top. Bits after the last pixel of each
 * destination byte are cleared; bytes after it are left alone. The buffers
 * must not overlap. Returns RC_SUCCESS (at once for no pixels);
 * RC_INVALID_PARAMETER a null buffer or a depth not listed. */
VXKRN_API ResultCode V_RotateBuffer90(const uint8_t *source, uint8_t *destination,
                                      int32_t clockwise, uint32_t width, uint32_t height,
                                      int32_t bits_per_pixel);

/* Turn `height` rows of `width` pixels by a half into `destination` (same
 * stride): source row i becomes destination row height - 1 - i, mirrored.
 * Returns RC_SUCCESS (at once for no pixels); RC_INVALID_PARAMETER a null
 * buffer, the same buffer twice, or a depth not listed. */
VXKRN_API ResultCode V_RotateBuffer180(const uint8_t *source, uint8_t *destination, uint32_t width,
                                       uint32_t height, int32_t bits_per_pixel);

/* Reverse the order of `width` pixels of one packed row, in place. Depths
 * of 1, 2 and 4 bits leave the pad bits after the last pixel zero; no byte
 * past the last pixel's byte is read or written (older callers that keep a
 * spare byte after the row lose nothing). A depth not listed leaves the row
 * unchanged. Returns RC_SUCCESS; RC_INVALID_PARAMETER a null row. */
VXKRN_API ResultCode V_MirrorLine(uint8_t *row, uint32_t width, int32_t bits_per_pixel);

/* The vertical flip (0 or 1, applied first: row y becomes row H - 1 - y)
 * and the clockwise angle (0, 90, 180 or 270, applied second) that take the
 * stored rows of perspective `from` to perspective `to`. The angle is
 * always in 0..359.
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER a null output or a perspective
 * outside 1..8. */
VXKRN_API ResultCode V_GetChangeViewPerspectiveParams(int32_t from, int32_t to, int32_t *flip,
                                                      int32_t *angle);

/* Map a rectangle of a width x height frame seen in perspective `from` to
 * perspective `to`, in place. A perspective outside 1..8 leaves it as it
 * is. Returns RC_SUCCESS; RC_INVALID_PARAMETER a null rectangle. */
VXKRN_API ResultCode V_ChangeRectViewPerspective(int32_t from, int32_t width, int32_t height,
                                                 int32_t to, ViewRect *rect);

/* Map a point or rectangle from the bitmap's own perspective to `view`
 * (From), or from `view` to the bitmap's (To), in place; nothing changes
 * when the two are equal. From works in the stored Width x Height frame;
 * To in the viewed frame (Width and Height exchanged for a transposed
 * bitmap, and exchanged once more when `view` is VIEW_RIGHT_TOP or
 * VIEW_LEFT_BOTTOM, but not for the other two transposed ones, so that for a
 * non-square bitmap To does not undo From towards VIEW_LEFT_TOP or
 * VIEW_RIGHT_BOTTOM; callers rely on this frame rule). The record need not
 * be allocated.
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER a null record or output;
 * RC_INVALID_STRUCT_SIZE the record's StructSize. */
VXKRN_API ResultCode V_PointFromBitmap(const BitmapHandle *bitmap, int32_t view, int32_t *x,
                                       int32_t *y);
VXKRN_API ResultCode V_PointToBitmap(const BitmapHandle *bitmap, int32_t view, int32_t *x,
                                     int32_t *y);
VXKRN_API ResultCode V_RectFromBitmap(const BitmapHandle *bitmap, int32_t view, ViewRect *rect);
VXKRN_API ResultCode V_RectToBitmap(const BitmapHandle *bitmap, int32_t view, ViewRect *rect);

/* Store the pixels in perspective `view` without changing the picture: the
 * stored rows are flipped and turned (V_GetChangeViewPerspectiveParams)
 * and ViewPerspective becomes `view`. With a null destination, or the
 * source itself, in place; otherwise `destination` becomes a new bitmap
 * holding the re-oriented copy (own palette) and the source is left alone.
 * No progress is reported. A turn builds the new pixels aside: on failure
 * the bitmap is unchanged (a flip alone works row by row in place).
 * Returns RC_SUCCESS (at once when the perspective is already `view`);
 * RC_INVALID_PARAMETER a null or unallocated source or a perspective
 * outside 1..8; RC_INVALID_STRUCT_SIZE the source's StructSize or a
 * struct_size other than BITMAPHANDLE_SIZE with a destination; the codes
 * of duplication, copy, flip and rotation (a destination made here is
 * freed again). */
VXKRN_API ResultCode V_ChangeBitmapViewPerspective(BitmapHandle *destination, BitmapHandle *source,
                                                   uint32_t struct_size, int32_t view);

/* The same without the argument checks, the destination duplicated with
 * the given DUP_ options. */
VXKRN_API ResultCode V_IntChangeBitmapViewPerspective(BitmapHandle *destination,
                                                      BitmapHandle *source, uint32_t struct_size,
                                                      int32_t view, uint32_t duplicate_options);

VXKRN_END_DECLS

#endif /* VXKRN_ORIENTATION_H */
