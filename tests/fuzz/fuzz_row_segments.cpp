// Row segments on fuzzed depths, widths, storage and segment lists: either
// every segment is refused before anything is written, or exactly the
// listed pixels change, as a pixel-by-pixel model says, on memory and on
// compressed rows alike.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "support/pixel_reference.h"
#include "vxkrn/vxkrn.h"

namespace {

void expect(bool condition) {
  if (!condition) std::abort();
}

std::vector<uint8_t> image_of(const BitmapHandle &bm) {
  std::vector<uint8_t> image(size_t(bm.BytesPerLine) * size_t(bm.Height));
  expect(V_GetBitmapRow(&bm, image.data(), 0, uint32_t(image.size())) == int32_t(image.size()));
  return image;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzInput in(data, size);
  const int32_t depths[] = {1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64};
  const int32_t bits = depths[in.byte() % 14];
  const bool compressed = bits == 1 && in.byte() % 2;
  const int32_t width = 1 + in.byte() % 200, height = 2;
  const int32_t row = in.byte() % height, first_column = in.byte() % (width + 4);
  const int32_t count = in.byte() % 6;
  std::vector<int32_t> segments(2 * size_t(count) + 2);  // never a null array
  int64_t end = first_column;  // the source holds pixels first_column .. end - 1
  for (int32_t i = 0; i < count; ++i) {
    segments[2 * i] = first_column + static_cast<int8_t>(in.byte());
    segments[2 * i + 1] = static_cast<int8_t>(in.byte());
    if (segments[2 * i + 1] > 0 && segments[2 * i] + segments[2 * i + 1] > end)
      end = segments[2 * i] + segments[2 * i + 1];
  }
  // Exactly the source bytes the segments may take (one at least).
  std::vector<uint8_t> source(std::max<uint64_t>(1, (uint64_t(end - first_column) * bits + 7) / 8));
  for (uint8_t &b : source)
    b = in.byte();

  BitmapHandle bm;
  expect(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, width, height, bits) == RC_SUCCESS);
  expect(V_AllocateBitmap(&bm, compressed ? MEM_COMPRESSED : MEM_NO_DISK) == RC_SUCCESS);
  V_AccessBitmap(&bm);
  std::vector<uint8_t> image(size_t(bm.BytesPerLine) * height);
  for (uint8_t &b : image)
    b = in.byte();
  expect(V_PutBitmapRow(&bm, image.data(), 0, uint32_t(image.size())) == int32_t(image.size()));
  std::vector<uint8_t> model = image_of(bm);  // compressed rows drop the padding bits
  const ResultCode rc = V_PutBitmapRowSegments(&bm, source.data(), row, first_column,
                                               segments.data(), count, 0);
  bool valid = true;
  for (int32_t i = 0; i < count; ++i)
    valid = valid && segments[2 * i + 1] >= 0 && segments[2 * i] >= first_column &&
            int64_t{segments[2 * i]} + segments[2 * i + 1] <= width;
  expect(rc == (valid ? RC_SUCCESS : RC_INVALID_PARAMETER));
  if (valid) {
    uint8_t *stored = model.data() + size_t(row) * size_t(bm.BytesPerLine);
    for (int32_t i = 0; i < count; ++i)
      for (int32_t x = segments[2 * i]; x < segments[2 * i] + segments[2 * i + 1]; ++x)
        vxkrn_test::set_pixel(stored, bits, uint64_t(x),
                              vxkrn_test::get_pixel(source.data(), bits, uint64_t(x - first_column)));
  }
  expect(image_of(bm) == model);
  V_FreeBitmap(&bm);
  return 0;
}
