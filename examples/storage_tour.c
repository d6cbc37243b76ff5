/* A tour of the storage kinds: makes a bitmap of each kind this library
 * offers, writes a pattern into it, reads it back and reports what it did. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <vxkrn/vxkrn.h>

static int fail(const char *what, ResultCode rc) {
  fprintf(stderr, "storage_tour: %s failed with %d\n", what, (int)rc);
  return 1;
}

/* Row y holds bytes (y + x) & 255. */
static void write_pattern(BitmapHandle *bitmap) {
  int32_t y, x;
  int32_t was_accessed = V_LockBitmap(bitmap);
  for (y = 0; y < bitmap->Height; ++y) {
    uint8_t *row = bitmap->Data + (size_t)y * (size_t)bitmap->BytesPerLine;
    for (x = 0; x < bitmap->BytesPerLine; ++x)
      row[x] = (uint8_t)(y + x);
  }
  V_UnlockBitmap(bitmap, was_accessed);
}

/* Bytes of the first `rows` rows that differ from the pattern. */
static long count_mismatches(BitmapHandle *bitmap, int32_t rows) {
  long bad = 0;
  int32_t y, x;
  int32_t was_accessed = V_LockBitmap(bitmap);
  for (y = 0; y < rows; ++y) {
    const uint8_t *row = bitmap->Data + (size_t)y * (size_t)bitmap->BytesPerLine;
    for (x = 0; x < bitmap->BytesPerLine; ++x)
      bad += row[x] != (uint8_t)(y + x);
  }
  V_UnlockBitmap(bitmap, was_accessed);
  return bad;
}

static long write_and_verify(BitmapHandle *bitmap) {
  write_pattern(bitmap);
  return count_mismatches(bitmap, bitmap->Height);
}

static void describe(const char *kind, const BitmapHandle *bitmap, long bad) {
  int32_t type = 0;
  V_GetBitmapMemoryInfo(bitmap, &type, NULL, NULL);
  printf("%-22s %4d x %-4d %2d bpp  %8u bytes  memory type %4d  %s\n", kind, (int)bitmap->Width,
         (int)bitmap->Height, (int)bitmap->BitsPerPixel, (unsigned)bitmap->Size, (int)type,
         bad == 0 ? "read back intact" : "MISMATCH");
}

int main(void) {
  BitmapHandle block, caller, gray;
  uint8_t *pixels;
  long bad;
  ResultCode rc;

  printf("vxkrn storage tour (record size %u bytes)\n", (unsigned)BITMAPHANDLE_SIZE);

  rc = V_CreateBitmap(&block, BITMAPHANDLE_SIZE, MEM_CONVENTIONAL, 640, 480, 24, ORDER_BGR, NULL, 1,
                      NULL, 0);
  if (rc != RC_SUCCESS) return fail("memory block bitmap", rc);
  bad = write_and_verify(&block);
  describe("memory block", &block, bad);
  rc = V_ChangeBitmapHeight(&block, 960);
  if (rc != RC_SUCCESS) return fail("height change", rc);
  describe("  grown to 960 rows", &block, count_mismatches(&block, 480));
  V_FreeBitmap(&block);

  /* Caller memory: the library allocates nothing for the pixels. */
  rc = V_InitBitmap(&caller, BITMAPHANDLE_SIZE, 100, 50, 8);
  if (rc != RC_SUCCESS) return fail("init", rc);
  pixels = malloc(caller.Size);
  if (!pixels) return fail("malloc", RC_NO_MEMORY);
  rc = V_CreateBitmap(&caller, BITMAPHANDLE_SIZE, MEM_USER, 100, 50, 8, ORDER_RGB, NULL, 1, pixels,
                      caller.Size);
  if (rc != RC_SUCCESS) return fail("caller memory bitmap", rc);
  bad = write_and_verify(&caller);
  describe("caller memory", &caller, bad);
  V_FreeBitmap(&caller);
  printf("%-22s caller's buffer still ours: first bytes %u %u %u\n", "", pixels[0], pixels[1],
         pixels[2]);
  free(pixels);

  /* Depth 0 asks for 8-bit gray with a gray palette. */
  rc = V_CreateBitmap(&gray, BITMAPHANDLE_SIZE, MEM_NO_DISK, 256, 16, 0, ORDER_RGB, NULL, 0, NULL,
                      0);
  if (rc != RC_SUCCESS) return fail("gray bitmap", rc);
  bad = write_and_verify(&gray);
  describe("8-bit gray palette", &gray, bad);
  printf("%-22s palette entry 128 = (%u, %u, %u)\n", "", gray.Palette[128].Red,
         gray.Palette[128].Green, gray.Palette[128].Blue);
  V_FreeBitmap(&gray);

  printf("temporary-file and compressed storage are not in this build yet\n");
  return 0;
}
