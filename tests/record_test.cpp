// The bitmap record: fields per depth, the size cap, its C layout, copies and
// the gray description.
#include <cstddef>
#include <cstring>
#include <tuple>

#include "support/test_support.h"

namespace {

using namespace vxkrn_test;

TEST(InitBitmap, SetsTheFieldsOfEveryDepthAndRefusesOthers) {
  // bits, order, colour count, HighBit (and MaxBit); other depths are refused.
  const int depths[][4] = {{1, ORDER_RGB, 2, 0},   {2, ORDER_RGB, 4, 1},   {3, ORDER_RGB, 8, 2},
                           {4, ORDER_RGB, 16, 3},  {5, ORDER_RGB, 32, 4},  {6, ORDER_RGB, 64, 5},
                           {7, ORDER_RGB, 128, 6}, {8, ORDER_RGB, 256, 7}, {12, ORDER_GRAY, 0, 11},
                           {16, ORDER_BGR, 0, 15}, {24, ORDER_BGR, 0, 7},  {32, ORDER_BGR, 0, -1},
                           {48, ORDER_BGR, 0, 15}, {64, ORDER_BGR, 0, 15}};
  for (int bits = -1; bits <= 70; ++bits) {
    const int *c = nullptr;
    for (const auto &d : depths)
      c = d[0] == bits ? d : c;
    for (int width : {0, 1, 5, 7, 32, 33, 37}) {
      BitmapHandle bm;
      std::memset(&bm, 0xAB, sizeof bm);
      const ResultCode rc = V_InitBitmap(&bm, BITMAPHANDLE_SIZE, width, 3, bits);
      ASSERT_EQ(rc, c ? RC_SUCCESS : RC_INVALID_BITS_PER_PIXEL) << bits;
      EXPECT_EQ(bm.StructSize, BITMAPHANDLE_SIZE);
      if (!c) {
        EXPECT_EQ(bm.Width, 0) << "a refused record is left zeroed";
        continue;
      }
      // Rows are padded to 4 bytes.
      EXPECT_EQ(bm.BytesPerLine, (width * bits + 31) / 32 * 4) << width << " x " << bits;
      EXPECT_TRUE(bm.Size == uint32_t(bm.BytesPerLine) * 3u && bm.Order == c[1] &&
                  bm.ColorCount == c[2] && bm.HighBit == c[3] && bm.MaxBit == c[3] &&
                  bm.LowBit == 0 && bm.MinBit == 0 && bm.Flags == 0u && bm.ViewPerspective == 4 &&
                  bm.PaintScale == 100)
          << bits;
    }
  }
}

TEST(InitBitmap, EmptyRecordsSizeCapAndThreadDefaults) {
  BitmapHandle bm, empty{};
  std::memset(&bm, 0x11, sizeof bm);
  EXPECT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, -1, 5, 8), RC_INVALID_PARAMETER);
  ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 0, 0, 0), RC_SUCCESS);
  empty.StructSize = BITMAPHANDLE_SIZE;
  EXPECT_TRUE(same_bytes(bm, empty)) << "the empty record has only its size";
  // 65536 bytes x 65535 rows is exactly the cap; the next stride is over it,
  // and so are products beyond 32 bits and strides beyond a signed field.
  ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 65536, 65535, 8), RC_SUCCESS);
  EXPECT_EQ(bm.Size, BITMAP_SIZE_CAP);
  EXPECT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 65537, 65535, 8), RC_IMAGE_TOO_LARGE);
  EXPECT_TRUE(same_bytes(bm, BitmapHandle{}));
  EXPECT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 0x7FFFFFFF, 0x7FFFFFFF, 64), RC_IMAGE_TOO_LARGE);
  EXPECT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 0x7FFFFFFF, 0, 64), RC_IMAGE_TOO_LARGE);
  on_new_thread([] {  // a new record takes its thread's defaults
    BitmapHandle fresh;
    V_SetDefaultXResolution(0);
    V_SetDefaultYResolution(300);
    ASSERT_EQ(V_DefaultDithering(3), RC_SUCCESS);
    ASSERT_EQ(V_InitBitmap(&fresh, BITMAPHANDLE_SIZE, 1, 1, 1), RC_SUCCESS);
    EXPECT_EQ(fresh.XResolution, 150) << "a default below 1 gives 150";
    EXPECT_TRUE(fresh.YResolution == 300 && fresh.DitheringMethod == 3);
  });
}

// Callers compile against this layout: 41 words in this order, exactly 164
// bytes on 32-bit targets, pointers naturally aligned on 64-bit ones.
TEST(BitmapLayout, FieldsInOrderAtTheirOffsets) {
#define F(m) offsetof(BitmapHandle, m)
  // clang-format off
  const std::size_t fields[] = {
      F(StructSize), F(Storage), F(Data), F(Width), F(Height), F(BitsPerPixel), F(BytesPerLine),
      F(Reserved1[0]), F(Reserved1[1]), F(Flags), F(ColorCount), F(Palette), F(ViewPerspective),
      F(Order), F(Size), F(DitherState), F(DitheringMethod), F(XResolution), F(YResolution),
      F(Playback[0]), F(Playback[1]), F(Playback[2]), F(Playback[3]), F(Playback[4]),
      F(Playback[5]), F(LowBit), F(HighBit), F(LUT), F(LUTLength), F(AlignOffset), F(MinVal),
      F(MaxVal), F(MinBit), F(MaxBit), F(PaintScale), F(PaintScaleParms[0]),
      F(PaintScaleParms[1]), F(MapTable), F(Extension), F(Reserved2[0]), F(Reserved2[1])};
  // clang-format on
  for (std::size_t offset :
       {F(Storage), F(Data), F(Palette), F(DitherState), F(LUT), F(MapTable), F(Extension)})
    EXPECT_EQ(offset % sizeof(void *), 0u);
#undef F
  static_assert(std::size(fields) == 41 && BITMAPHANDLE_SIZE == sizeof(BitmapHandle));
  EXPECT_EQ(sizeof(BitmapHandle), sizeof(void *) == 4 ? 164u : 208u);
  for (std::size_t i = 0; i < std::size(fields); ++i) {
    EXPECT_TRUE(i == 0 || fields[i] > fields[i - 1]) << "field " << i + 1;
    EXPECT_TRUE(sizeof(void *) != 4 || fields[i] == 4 * i) << "field " << i + 1;
  }
}

TEST(CopyBitmapHandle, CopiesTheWholeRecordAndPlaybackTheSixWordsOnly) {
  BitmapHandle src, dst;
  ASSERT_EQ(V_InitBitmap(&src, BITMAPHANDLE_SIZE, 9, 9, 24), RC_SUCCESS);
  src.Extension = &src;
  for (int i = 0; i < 6; ++i)
    src.Playback[i] = 100 + i;
  std::memset(&dst, 0x77, sizeof dst);
  const BitmapHandle untouched = dst;
  EXPECT_EQ(V_CopyBitmapHandle(&dst, &src, BITMAPHANDLE_SIZE + 1), RC_INVALID_STRUCT_SIZE);
  EXPECT_TRUE(same_bytes(dst, untouched));
  EXPECT_EQ(V_CopyBitmapHandle(&dst, &src, BITMAPHANDLE_SIZE), RC_SUCCESS);
  EXPECT_TRUE(same_bytes(dst, src));
  ASSERT_EQ(V_InitBitmap(&dst, BITMAPHANDLE_SIZE, 2, 2, 1), RC_SUCCESS);
  BitmapHandle expected = dst;
  std::memcpy(expected.Playback, src.Playback, sizeof src.Playback);
  EXPECT_EQ(V_CopyPlaybackParms(&dst, &src), RC_SUCCESS);
  EXPECT_TRUE(same_bytes(dst, expected));
}

class BitmapRecord : public LeakCheckedTest {};

TEST_F(BitmapRecord, LutLengthFollowsTheActiveGrayDescriptionAndIsFreedWithIt) {
  PaletteEntry lut[1];
  // bits, gray, has LUT, low/high (else min/max), low, high, min, max, length, valid
  const int cases[][10] = {
      {8, 0, 1, 1, 0, 7, 0, 7, 3, 1},   // not gray: always valid
      {16, 1, 0, 1, 0, 7, 0, 7, 3, 1},  // no table
      {16, 1, 1, 1, 0, 7, 0, 0, 256, 1},  {16, 1, 1, 1, 0, 7, 0, 0, 255, 0},
      {16, 1, 1, 1, 4, 11, 0, 0, 256, 1}, {12, 1, 1, 1, 0, -1, 0, 0, 4096, 1},  // -1: bits - 1
      {16, 1, 1, 0, 0, 7, 0, 9, 1024, 1}, {16, 1, 1, 0, 0, 7, 0, 9, 256, 0},
      {16, 1, 1, 0, 0, 0, 9, 3, 1, 0},    // inverted range
      {64, 1, 1, 0, 0, 0, 0, 40, 0, 0}};  // wider than 32 bits
  for (const auto &c : cases) {
    BitmapHandle bm;
    ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 1, 1, c[0]), RC_SUCCESS);
    bm.Order = c[1] ? ORDER_GRAY : ORDER_RGB;
    bm.LUT = c[2] ? lut : nullptr;
    bm.Flags = c[3] ? FLAG_USE_LOW_HIGH : 0;
    std::tie(bm.LowBit, bm.HighBit, bm.MinBit, bm.MaxBit) = std::tie(c[4], c[5], c[6], c[7]);
    bm.LUTLength = uint32_t(c[8]);
    EXPECT_EQ(V_IsBitmapLUTLengthValid(&bm), c[9]) << "case " << (&c - cases);
  }
  BitmapHandle bm;
  ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 4, 4, 16), RC_SUCCESS);
  bm.LUT = static_cast<PaletteEntry *>(V_GlobalAlloc(256, sizeof(PaletteEntry)));
  bm.LUTLength = 256;
  bm.MapTable = static_cast<uint8_t *>(V_GlobalAlloc(256, 1));
  EXPECT_EQ(V_FreeGrayParams(&bm), RC_SUCCESS);
  EXPECT_TRUE(bm.LUT == nullptr && bm.MapTable == nullptr);
}

}  // namespace
