/* A tour of the colour functions: one 24-bit row converted through several
 * depths and back, pixels read and written as colours, and a palette search. */
#include <stdio.h>
#include <string.h>

#include <vxkrn/vxkrn.h>

#define WIDTH 6

static const uint8_t kColours[WIDTH][3] = {/* red, green, blue */
                                           {255, 0, 0},   {0, 200, 0},     {30, 60, 240},
                                           {255, 255, 0}, {128, 128, 128}, {250, 250, 250}};

static void print_row(const char *what, const uint8_t *rgb) {
  int i;
  printf("%-34s", what);
  for (i = 0; i < WIDTH; ++i)
    printf(" %02X%02X%02X", rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2]);
  printf("\n");
}

/* Convert the row to `bits` (through the default palette at 8 bits and
 * below) and back to 24-bit RGB, and show what survived. */
static int round_trip(const char *what, int32_t bits, int32_t order) {
  uint8_t row[WIDTH * 8];
  memcpy(row, kColours, sizeof kColours);
  ResultCode rc = V_ConvertBuffer(row, WIDTH, 24, bits, ORDER_RGB, order, NULL, NULL);
  if (rc == RC_SUCCESS) rc = V_ConvertBuffer(row, WIDTH, bits, 24, order, ORDER_RGB, NULL, NULL);
  if (rc != RC_SUCCESS) {
    fprintf(stderr, "color_tour: %s failed: %s (%d)\n", what, V_ResultText(rc), (int)rc);
    return 1;
  }
  print_row(what, row);
  return 0;
}

int main(void) {
  BitmapHandle bitmap;
  PaletteEntry vga[16];
  ColorValue color;
  ResultCode rc;
  int failures = 0, x;

  print_row("original (24-bit RGB)", &kColours[0][0]);
  failures += round_trip("via 16-bit 5-5-5", 16, ORDER_BGR);
  failures += round_trip("via 8-bit default palette", 8, ORDER_RGB);
  failures += round_trip("via 4-bit VGA palette", 4, ORDER_RGB);
  failures += round_trip("via 1-bit black and white", 1, ORDER_RGB);
  failures += round_trip("via 8-bit gray", 0, ORDER_GRAY);
  failures += round_trip("via 12-bit gray", 12, ORDER_GRAY);
  failures += round_trip("via 48-bit matrix space", 48, ORDER_MATRIX);

  /* Pixels as colours on a 4-bit bitmap: written as colours, read back as
   * the palette entries they were matched to. */
  rc = V_CreateBitmap(&bitmap, BITMAPHANDLE_SIZE, MEM_CONVENTIONAL, WIDTH, 1, 4, ORDER_RGB, NULL,
                      VIEW_TOP_LEFT, NULL, 0);
  if (rc != RC_SUCCESS) {
    fprintf(stderr, "color_tour: bitmap: %s (%d)\n", V_ResultText(rc), (int)rc);
    return 1;
  }
  printf("%-34s", "4-bit bitmap pixels as colours");
  for (x = 0; x < WIDTH; ++x) {
    color = (ColorValue)kColours[x][0] | (ColorValue)kColours[x][1] << 8 |
            (ColorValue)kColours[x][2] << 16;
    failures += V_PutPixelColor(&bitmap, 0, x, color) != RC_SUCCESS;
    color = V_GetPixelColor(&bitmap, 0, x);
    printf(" %06X", (unsigned)(color & 0xFF) << 16 | (unsigned)(color & 0xFF00) |
                        (unsigned)(color >> 16 & 0xFF));
  }
  printf("\n");
  V_GetBitmapColors(&bitmap, 0, 16, vga);
  printf("nearest VGA entry to orange (255,128,0): %d; palette is %s\n",
         (int)V_FindPaletteIndex(vga, 16, 255, 128, 0),
         V_IsGrayScaleBitmap(&bitmap) == GRAY_NONE ? "colour" : "gray");
  V_FreeBitmap(&bitmap);
  return failures == 0 ? 0 : 1;
}
