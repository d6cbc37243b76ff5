/* Compiles as strict C99 against the public headers and exercises the
 * library through its C ABI: exits non-zero on the first surprise. */
#include <stdio.h>
#include <string.h>

#include <vxkrn/vxkrn.h>

/* The reference layout holds on every 32-bit target. */
typedef char
    record_is_164_bytes_on_32_bit[(sizeof(void *) != 4 || sizeof(BitmapHandle) == 164) ? 1 : -1];

static int failures = 0;

static void expect(int condition, const char *what) {
  if (!condition) {
    fprintf(stderr, "c_check: %s\n", what);
    ++failures;
  }
}

int main(void) {
  BitmapHandle bitmap;
  wchar_t directory[VXKRN_TEMP_PATH_CHARS];
  int32_t type = 0;
  int32_t y;

  expect(V_InitBitmap(&bitmap, BITMAPHANDLE_SIZE, 0, 0, 0) == RC_SUCCESS, "empty init");
  expect(V_InitBitmap(&bitmap, 3, 1, 1, 1) == RC_INVALID_STRUCT_SIZE, "size check");
  expect(V_CreateBitmap(&bitmap, BITMAPHANDLE_SIZE, MEM_CONVENTIONAL, 31, 7, 24, ORDER_BGR, NULL, 1,
                        NULL, 0) == RC_SUCCESS,
         "create");
  expect(V_GetBitmapMemoryInfo(&bitmap, &type, NULL, NULL) == RC_SUCCESS, "memory info");
  expect(type == MEM_INFO_MEMORY, "memory type");

  V_AccessBitmap(&bitmap);
  for (y = 0; y < bitmap.Height; ++y)
    memset(bitmap.Data + (size_t)y * (size_t)bitmap.BytesPerLine, y + 1,
           (size_t)bitmap.BytesPerLine);
  V_ReleaseBitmap(&bitmap);
  expect(V_ChangeBitmapHeight(&bitmap, 70) == RC_SUCCESS, "height change");
  V_AccessBitmap(&bitmap);
  expect(bitmap.Data[6 * bitmap.BytesPerLine] == 7, "rows survive the height change");
  V_ReleaseBitmap(&bitmap);
  V_FreeBitmap(&bitmap);
  expect(!(bitmap.Flags & FLAG_ALLOCATED), "freed");

  expect(V_GetTempDirectory(directory) == RC_SUCCESS && directory[0] != 0, "temp directory");
  expect(V_SinValue(9000) == 16384 && V_SQRT(1000000u) == 1000u, "helpers");
  expect(V_GetDefaultDithering() == 7, "thread defaults");

  if (failures == 0) printf("c_check: C99 client ran against vxkrn\n");
  return failures == 0 ? 0 : 1;
}
