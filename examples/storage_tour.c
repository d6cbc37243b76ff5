/* A tour of the storage kinds: makes a bitmap of each kind this library
 * offers, writes a pattern into it row by row, reads it back and reports
 * what it did; copies a file into memory through the redirection; and keeps
 * a 1-bit page run-length compressed. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <vxkrn/vxkrn.h>

static int fail(const char *what, ResultCode rc) {
  fprintf(stderr, "storage_tour: %s failed: %s (%d)\n", what, V_ResultText(rc), (int)rc);
  return 1;
}

/* Row y holds bytes (y + x) & 255. Returns the first failing code, or 1. */
static ResultCode write_pattern(BitmapHandle *bitmap, uint8_t *row) {
  int32_t y, x, written;
  for (y = 0; y < bitmap->Height; ++y) {
    for (x = 0; x < bitmap->BytesPerLine; ++x)
      row[x] = (uint8_t)(y + x);
    written = V_PutBitmapRow(bitmap, row, y, (uint32_t)bitmap->BytesPerLine);
    if (written != bitmap->BytesPerLine) return written < 0 ? written : RC_FILE_WRITE;
  }
  return RC_SUCCESS;
}

/* Bytes of the first `rows` rows that differ from the pattern, or -1. */
static long count_mismatches(const BitmapHandle *bitmap, int32_t rows, uint8_t *row) {
  long bad = 0;
  int32_t y, x;
  for (y = 0; y < rows; ++y) {
    if (V_GetBitmapRow(bitmap, row, y, (uint32_t)bitmap->BytesPerLine) != bitmap->BytesPerLine)
      return -1;
    for (x = 0; x < bitmap->BytesPerLine; ++x)
      bad += row[x] != (uint8_t)(y + x);
  }
  return bad;
}

static void describe(const char *kind, const BitmapHandle *bitmap, long bad) {
  int32_t type = 0;
  V_GetBitmapMemoryInfo(bitmap, &type, NULL, NULL);
  printf("%-20s %4d x %-4d %2d bpp %9u bytes  memory type %3d  %s\n", kind, (int)bitmap->Width,
         (int)bitmap->Height, (int)bitmap->BitsPerPixel, (unsigned)bitmap->Size, (int)type,
         bad == 0 ? "read back intact" : "MISMATCH");
}

/* Create, fill, verify and free one bitmap; `data` is for caller memory. */
static int tour(const char *kind, int32_t memory_type, int32_t width, int32_t height, int32_t bits,
                void *data, uint32_t data_size) {
  BitmapHandle bitmap;
  uint8_t *row;
  long bad;
  int32_t was_accessed;
  ResultCode rc = V_CreateBitmap(&bitmap, BITMAPHANDLE_SIZE, memory_type, width, height, bits,
                                 ORDER_BGR, NULL, 1, data, data_size);
  if (rc != RC_SUCCESS) return fail(kind, rc);
  row = malloc((size_t)bitmap.BytesPerLine);
  if (!row) return fail("malloc", RC_NO_MEMORY);
  was_accessed = V_LockBitmap(&bitmap); /* memory bitmaps are read and written while accessed */
  rc = write_pattern(&bitmap, row);
  if (rc != RC_SUCCESS) return fail("write", rc);
  bad = count_mismatches(&bitmap, bitmap.Height, row);
  describe(kind, &bitmap, bad);
  V_UnlockBitmap(&bitmap, was_accessed);

  rc = V_ChangeBitmapHeight(&bitmap, height * 2);
  if (rc == RC_SUCCESS) {
    was_accessed = V_LockBitmap(&bitmap);
    describe("  grown to twice", &bitmap, count_mismatches(&bitmap, height, row));
    V_UnlockBitmap(&bitmap, was_accessed);
  }
  V_FreeBitmap(&bitmap);
  free(row);
  return bad == 0 ? 0 : 1;
}

/* Write a small file, then copy it into a memory block: the source is read
 * from the disk, the destination goes through the redirection. */
static int copy_into_memory(void) {
  static const char text[] = "bytes that travel from a file into memory";
  wchar_t source[VXKRN_MAX_PATH];
  void *context, *block;
  uint32_t size;
  int32_t file, copied;

  if (V_OsGetTempName(source) != RC_SUCCESS) return fail("temporary name", RC_NO_MEMORY);
  file = V_OsOpen(source, OPEN_WRITE | OPEN_CREATE, 0, NULL);
  if (file < 0 || V_OsWrite(file, text, sizeof text - 1, NULL) != (int32_t)(sizeof text - 1))
    return fail("writing the source", V_OsGetLastError(RC_FILE_WRITE));
  V_OsClose(file, NULL);

  if (V_StartRedirectToBuffer(&context, NULL, MEMFILE_GROW | MEMFILE_TRIM | MEMFILE_WRITE, NULL,
                              0) != RC_SUCCESS)
    return fail("redirect", RC_NO_MEMORY);
  copied = V_CopyFile(source, L"in-memory copy", 0);
  V_StopRedirectToBuffer(context, &block, &size);
  V_OsDelete(source);
  if (!copied) return fail("copy", 0);
  printf("redirected copy      %u bytes landed in memory: \"%.*s\"\n", (unsigned)size, (int)size,
         (const char *)block);
  V_GlobalFree(block);
  return size == sizeof text - 1 ? 0 : 1;
}

static int pixel_bit(const uint8_t *row, int32_t x) {
  return row[x >> 3] >> (7 - (x & 7)) & 1;
}

/* A 1-bit page of text-like lines kept run-length compressed: the same
 * pixels in a fraction of the memory, every row function unchanged. */
static int compressed_page(void) {
  BitmapHandle page, copy;
  uint8_t *row, *back;
  uint32_t plain;
  int32_t y, x, type = 0;
  long bad = 0;
  ResultCode rc = V_CreateBitmap(&page, BITMAPHANDLE_SIZE, MEM_CONVENTIONAL, 2480, 3508, 1,
                                 ORDER_BGR, NULL, 1, NULL, 0);
  if (rc != RC_SUCCESS) return fail("page", rc);
  row = malloc((size_t)page.BytesPerLine * 2);
  if (!row) return fail("malloc", RC_NO_MEMORY);
  back = row + page.BytesPerLine;
  V_AccessBitmap(&page);
  for (y = 0; y < page.Height; ++y) {
    /* Lines of 40 rows every 60 rows; "words" of 2 to 9 bytes of ink. */
    memset(row, 0, (size_t)page.BytesPerLine);
    if (y % 60 >= 10 && y % 60 < 50 && y > 200 && y < 3300)
      for (x = 20; x < 290; x += 3 + (x * 7 + y / 60) % 9)
        row[x] = (uint8_t)((y * 31 + x * 17) % 3 ? 0xF3 : 0x3C);
    V_PutBitmapRow(&page, row, y, (uint32_t)page.BytesPerLine);
  }
  V_ReleaseBitmap(&page);
  plain = page.Size;

  rc = V_ChangeBitmapCompression(&page, COMPRESSION_RUNS);
  if (rc != RC_SUCCESS) return fail("compressing", rc);
  V_GetBitmapMemoryInfo(&page, &type, NULL, NULL);
  printf(
      "compressed 1-bit     %4d x %-4d  %9u bytes of rows instead of %u (%.1f%%)  "
      "memory type %d\n",
      (int)page.Width, (int)page.Height, (unsigned)page.Size, (unsigned)plain,
      100.0 * page.Size / plain, (int)type);

  /* A copy of the whole page and a rectangle of it stay compressed too. */
  rc = V_CopyBitmapRect(&copy, &page, BITMAPHANDLE_SIZE, 3, 1000, 1200, 500);
  if (rc != RC_SUCCESS) return fail("rectangle copy", rc);
  printf("  rectangle copied   %4d x %-4d  %9u bytes of rows\n", (int)copy.Width, (int)copy.Height,
         (unsigned)copy.Size);
  for (y = 0; y < copy.Height; ++y) {
    V_GetBitmapRow(&page, row, y + 1000, (uint32_t)page.BytesPerLine);
    V_GetBitmapRow(&copy, back, y, (uint32_t)copy.BytesPerLine);
    for (x = 0; x < copy.Width; ++x)
      bad += pixel_bit(row, x + 3) != pixel_bit(back, x);
  }
  V_FreeBitmap(&copy);

  rc = V_ToggleBitmapCompression(&page);
  if (rc != RC_SUCCESS) return fail("expanding", rc);
  printf("  back to plain      %9u bytes, %s\n", (unsigned)page.Size,
         bad ? "MISMATCH" : "pixels identical");
  V_FreeBitmap(&page);
  free(row);
  return bad == 0 ? 0 : 1;
}

int main(void) {
  uint8_t *pixels;
  BitmapHandle probe;
  int failures = 0;

  printf("vxkrn storage tour (record size %u bytes)\n", (unsigned)BITMAPHANDLE_SIZE);
  failures += tour("memory block", MEM_CONVENTIONAL, 640, 480, 24, NULL, 0);

  /* Caller memory: the library allocates nothing for the pixels. */
  V_InitBitmap(&probe, BITMAPHANDLE_SIZE, 100, 50, 8);
  pixels = malloc(probe.Size);
  if (!pixels) return fail("malloc", RC_NO_MEMORY);
  failures += tour("caller memory", MEM_USER, 100, 50, 8, pixels, probe.Size);
  free(pixels);

  failures += tour("temporary file", MEM_DISK, 1000, 300, 32, NULL, 0);
  failures += copy_into_memory();
  failures += compressed_page();
  return failures == 0 ? 0 : 1;
}
