/* A tour of orientation: a small 1-bit picture of the letter F turned a
 * quarter clockwise, its stored rows re-oriented from the bottom-up
 * perspective of new bitmaps to the top-down one without changing the
 * picture, and a point mapped between the viewer's coordinates and the
 * stored ones. */
#include <stdio.h>
#include <string.h>

#include <vxkrn/vxkrn.h>

static const char *const kLetter[] = {"#####", "#....", "####.", "#....", "#....", "#...."};

static int fail(const char *what, ResultCode rc) {
  fprintf(stderr, "orientation_tour: %s failed: %s (%d)\n", what, V_ResultText(rc), (int)rc);
  return 1;
}

/* Stored pixel (x, y): bit 7 - x % 8 of byte x / 8 of stored row y. */
static int stored_pixel(BitmapHandle *bitmap, int32_t x, int32_t y) {
  uint8_t byte = 0;
  V_GetBitmapRowCol(bitmap, &byte, y, x, 1);
  return (byte >> (7 - x % 8)) & 1;
}

/* Print the picture as the viewer sees it: each viewed pixel is found in
 * the stored rows through V_PointToBitmap. */
static void show(const char *title, BitmapHandle *bitmap) {
  const int transposed = bitmap->ViewPerspective >= VIEW_LEFT_TOP;
  const int32_t width = transposed ? bitmap->Height : bitmap->Width;
  const int32_t height = transposed ? bitmap->Width : bitmap->Height;
  int32_t x, y;
  printf("%s (%d x %d, perspective %d)\n", title, (int)width, (int)height,
         (int)bitmap->ViewPerspective);
  for (y = 0; y < height; ++y) {
    printf("  ");
    for (x = 0; x < width; ++x) {
      int32_t sx = x, sy = y;
      V_PointToBitmap(bitmap, VIEW_TOP_LEFT, &sx, &sy);
      putchar(stored_pixel(bitmap, sx, sy) ? '#' : '.');
    }
    putchar('\n');
  }
}

int main(void) {
  BitmapHandle bitmap;
  uint8_t row[4];
  int32_t y, x, flip, angle, px = 4, py = 0;
  ResultCode rc = V_CreateBitmap(&bitmap, BITMAPHANDLE_SIZE, MEM_CONVENTIONAL, 5, 6, 1, ORDER_RGB,
                                 NULL, VIEW_BOTTOM_LEFT, NULL, 0);
  if (rc != RC_SUCCESS) return fail("V_CreateBitmap", rc);
  V_AccessBitmap(&bitmap); /* memory rows are read and written while accessed */
  /* New bitmaps store the bottom row first. */
  for (y = 0; y < 6; ++y) {
    memset(row, 0, sizeof row);
    for (x = 0; x < 5; ++x)
      if (kLetter[5 - y][x] == '#') row[0] |= (uint8_t)(0x80 >> x);
    V_PutBitmapRow(&bitmap, row, y, 1);
  }
  show("as drawn", &bitmap);

  if ((rc = V_RotateBitmap90(&bitmap, 1, 0, 100)) != RC_SUCCESS)
    return fail("V_RotateBitmap90", rc);
  show("turned a quarter clockwise", &bitmap);

  V_GetChangeViewPerspectiveParams(bitmap.ViewPerspective, VIEW_TOP_LEFT, &flip, &angle);
  printf("to store it top-down: flip %d, then turn %d degrees\n", (int)flip, (int)angle);
  rc = V_ChangeBitmapViewPerspective(NULL, &bitmap, BITMAPHANDLE_SIZE, VIEW_TOP_LEFT);
  if (rc != RC_SUCCESS) return fail("V_ChangeBitmapViewPerspective", rc);
  show("stored top-down, the same picture", &bitmap);

  if ((rc = V_PointToBitmap(&bitmap, VIEW_BOTTOM_LEFT, &px, &py)) != RC_SUCCESS)
    return fail("V_PointToBitmap", rc);
  printf("point (4, 0) of the bottom-up view is stored at (%d, %d)\n", (int)px, (int)py);
  V_ReleaseBitmap(&bitmap);
  V_FreeBitmap(&bitmap);
  return 0;
}
