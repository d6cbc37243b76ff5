// The bitmap record: fields per depth, the size cap and the record's size,
// copies, and the gray description.
#include <cstddef>
#include <cstring>
#include <tuple>

#include "support/test_support.h"

namespace {

using namespace vxkrn_test;

// Fields of every depth, refused depths and sizes (the record zeroed but for
// its size), and the size cap: 65536 bytes x 65535 rows is exactly it.
TEST(InitBitmap, SetsTheFieldsOfEveryDepthAndRefusesOthers) {
  // bits, order, colour count, HighBit (and MaxBit)
  const int depths[][4] = {{1, ORDER_RGB, 2, 0},   {2, ORDER_RGB, 4, 1},   {3, ORDER_RGB, 8, 2},
                           {4, ORDER_RGB, 16, 3},  {5, ORDER_RGB, 32, 4},  {6, ORDER_RGB, 64, 5},
                           {7, ORDER_RGB, 128, 6}, {8, ORDER_RGB, 256, 7}, {12, ORDER_GRAY, 0, 11},
                           {16, ORDER_BGR, 0, 15}, {24, ORDER_BGR, 0, 7},  {32, ORDER_BGR, 0, -1},
                           {48, ORDER_BGR, 0, 15}, {64, ORDER_BGR, 0, 15}};
  BitmapHandle bm, empty{};
  for (int bits = -1; bits <= 70; ++bits) {
    const int *c = nullptr;
    for (const auto &d : depths)
      c = d[0] == bits ? d : c;
    for (int width : {0, 1, 5, 7, 32, 33, 37}) {
      std::memset(&bm, 0xAB, sizeof bm);
      ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, width, 3, bits),
                c ? RC_SUCCESS : RC_INVALID_BITS_PER_PIXEL);
      EXPECT_TRUE(bm.StructSize == BITMAPHANDLE_SIZE && (c || bm.Width == 0)) << bits;
      EXPECT_TRUE(!c || (bm.BytesPerLine == (width * bits + 31) / 32 * 4 &&
                         bm.Size == uint32_t(bm.BytesPerLine) * 3u && bm.Order == c[1] &&
                         bm.ColorCount == c[2] && bm.HighBit == c[3] && bm.MaxBit == c[3] &&
                         bm.LowBit == 0 && bm.MinBit == 0 && bm.Flags == 0u &&
                         bm.ViewPerspective == 4 && bm.PaintScale == 100))
          << width << " x " << bits;
    }
  }
  EXPECT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, -1, 5, 8), RC_INVALID_PARAMETER);
  ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 0, 0, 0), RC_SUCCESS);
  empty.StructSize = BITMAPHANDLE_SIZE;
  EXPECT_TRUE(same_bytes(bm, empty)) << "the empty record has only its size";
  ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 65536, 65535, 8), RC_SUCCESS);
  EXPECT_EQ(bm.Size, BITMAP_SIZE_CAP);
  EXPECT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 65537, 65535, 8), RC_IMAGE_TOO_LARGE);
  EXPECT_TRUE(same_bytes(bm, BitmapHandle{}));
  EXPECT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 0x7FFFFFFF, 0x7FFFFFFF, 64), RC_IMAGE_TOO_LARGE);
  EXPECT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 0x7FFFFFFF, 0, 64), RC_IMAGE_TOO_LARGE);
  // Callers compile against the layout: 41 words, 164 bytes on 32-bit targets.
  EXPECT_EQ(sizeof(BitmapHandle), sizeof(void *) == 4 ? 164u : 208u);
  EXPECT_EQ(offsetof(BitmapHandle, Reserved2[1]), sizeof(void *) == 4 ? 160u : 204u);
}

// The whole record, or the six playback words only.
TEST(CopyBitmapHandle, CopiesTheWholeRecordAndPlaybackTheSixWordsOnly) {
  BitmapHandle src, dst;
  ASSERT_EQ(V_InitBitmap(&src, BITMAPHANDLE_SIZE, 9, 9, 24), RC_SUCCESS);
  std::tie(src.Extension, src.Playback[0], src.Playback[5]) = std::tuple{&src, 100, 105};
  ASSERT_EQ(V_InitBitmap(&dst, BITMAPHANDLE_SIZE, 2, 2, 1), RC_SUCCESS);
  BitmapHandle expected = dst;
  std::memcpy(expected.Playback, src.Playback, sizeof src.Playback);
  EXPECT_TRUE(V_CopyPlaybackParms(&dst, &src) == RC_SUCCESS && same_bytes(dst, expected));
  EXPECT_EQ(V_CopyBitmapHandle(&dst, &src, BITMAPHANDLE_SIZE), RC_SUCCESS);
  EXPECT_TRUE(same_bytes(dst, src));
}

class BitmapRecord : public LeakCheckedTest {};

// A gray record's table needs an entry for every value of its active bit
// range (low/high or min/max; high -1 means bits - 1); records that are not
// gray or have no table always pass; inverted or over-32-bit ranges never.
TEST_F(BitmapRecord, LutLengthFollowsTheActiveGrayDescriptionAndIsFreedWithIt) {
  PaletteEntry lut[1];
  // bits, gray, has LUT, low/high (else min/max), low, high, min, max, length, valid
  const int cases[][10] = {{8, 0, 1, 1, 0, 7, 0, 7, 3, 1},      {16, 1, 0, 1, 0, 7, 0, 7, 3, 1},
                           {16, 1, 1, 1, 4, 11, 0, 0, 256, 1},  {16, 1, 1, 1, 0, 7, 0, 0, 255, 0},
                           {12, 1, 1, 1, 0, -1, 0, 0, 4096, 1}, {16, 1, 1, 0, 0, 7, 0, 9, 1024, 1},
                           {16, 1, 1, 0, 0, 7, 0, 9, 256, 0},   {16, 1, 1, 0, 0, 0, 9, 3, 1, 0},
                           {64, 1, 1, 0, 0, 0, 0, 40, 0, 0}};
  BitmapHandle bm;
  for (const auto &c : cases) {
    ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 1, 1, c[0]), RC_SUCCESS);
    std::tie(bm.Order, bm.LUT, bm.Flags) = std::tuple(
        c[1] ? ORDER_GRAY : ORDER_RGB, c[2] ? lut : nullptr, c[3] ? FLAG_USE_LOW_HIGH : 0u);
    std::tie(bm.LowBit, bm.HighBit, bm.MinBit, bm.MaxBit) = std::tie(c[4], c[5], c[6], c[7]);
    bm.LUTLength = uint32_t(c[8]);
    EXPECT_EQ(V_IsBitmapLUTLengthValid(&bm), c[9]) << "case " << (&c - cases);
  }
  bm.LUT = static_cast<PaletteEntry *>(V_GlobalAlloc(256, sizeof(PaletteEntry)));
  bm.MapTable = static_cast<uint8_t *>(V_GlobalAlloc(256, 1));
  EXPECT_EQ(V_FreeGrayParams(&bm), RC_SUCCESS);
  EXPECT_TRUE(bm.LUT == nullptr && bm.MapTable == nullptr);
}

}  // namespace
