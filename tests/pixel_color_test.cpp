// Pixels as colour values at every depth, on memory and disk storage:
// round trips, agreement with the converter, and neighbours left alone.
#include <vector>

#include "support/test_support.h"

namespace {

using vxkrn_test::read_image;

struct Depth {
  int bits, order;
  bool bytes_kept;  // writing back every pixel read leaves every byte as it was
};
// The 2-bit default palette of a bitmap repeats black, 16-bit colour words
// lose their unused top bit, the matrix space and 16-bit samples are not
// reached exactly from 8-bit colours.
const Depth kDepths[] = {{1, 0, true},   {2, 0, false},  {3, 0, true},   {4, 0, true},
                         {5, 0, true},   {6, 0, true},   {7, 0, true},   {8, 0, true},
                         {12, 2, true},  {16, 0, false}, {16, 1, false}, {16, 2, true},
                         {24, 0, true},  {24, 1, true},  {24, 5, false}, {32, 1, true},
                         {48, 1, false}, {48, 5, false}, {64, 0, false}};

class PixelColor : public vxkrn_test::TempDirTest, public ::testing::WithParamInterface<int32_t> {
 protected:
  void make(BitmapHandle &bm, const Depth &d) {
    ASSERT_EQ(V_CreateBitmap(&bm, BITMAPHANDLE_SIZE, GetParam(), 13, 3, d.bits, d.order, nullptr, 0,
                             nullptr, 0),
              RC_SUCCESS);
    V_AccessBitmap(&bm);
    vxkrn_test::fill_random_image(bm, static_cast<uint32_t>(d.bits * 10 + d.order));
  }
};

TEST_P(PixelColor, WritingBackWhatWasReadChangesNothing) {
  for (const Depth &d : kDepths) {
    SCOPED_TRACE(::testing::Message() << d.bits << " bits, order " << d.order);
    vxkrn_test::OwnedBitmap bm;
    make(bm.bm, d);
    const std::vector<uint8_t> before = read_image(bm.bm);
    for (int row = 0; row < 3; ++row) {
      for (int column = 0; column < 13; ++column) {
        const ColorValue color = V_GetPixelColor(bm.get(), row, column);
        ASSERT_NE(color, PIXEL_COLOR_FAILED);
        ASSERT_EQ(V_PutPixelColor(bm.get(), row, column, color), RC_SUCCESS);
        const ColorValue again = V_GetPixelColor(bm.get(), row, column);
        if (d.order != ORDER_MATRIX) {
          EXPECT_EQ(again, color) << column;
          continue;
        }
        // The matrix space does not invert exactly: within a step or two.
        for (int shift : {0, 8, 16})
          EXPECT_NEAR(int(again >> shift & 0xFF), int(color >> shift & 0xFF), 2) << column;
      }
    }
    if (d.bytes_kept) {
      EXPECT_EQ(read_image(bm.bm), before);
    }
  }
}

TEST_P(PixelColor, ColoursAgreeWithTheConverter) {
  for (const Depth &d : kDepths) {
    if (d.order == ORDER_GRAY) continue;
    SCOPED_TRACE(::testing::Message() << d.bits << " bits, order " << d.order);
    vxkrn_test::OwnedBitmap bm;
    make(bm.bm, d);
    std::vector<uint8_t> row(static_cast<size_t>(bm->BytesPerLine) * 8 + 64);
    ASSERT_EQ(V_GetBitmapRow(bm.get(), row.data(), 1, bm->BytesPerLine), bm->BytesPerLine);
    ASSERT_EQ(V_ConvertBuffer(row.data(), 13, d.bits, 24, d.order, ORDER_RGB, bm->Palette, nullptr),
              RC_SUCCESS);
    for (int column = 0; column < 13; ++column) {
      const uint8_t *p = row.data() + 3 * column;
      EXPECT_EQ(V_GetPixelColor(bm.get(), 1, column), uint32_t(p[0] | p[1] << 8 | p[2] << 16))
          << column;
    }
    // And a colour written is the colour the converter makes of it.
    const ColorValue orange = 0x0040A0F0;
    ASSERT_EQ(V_PutPixelColor(bm.get(), 2, 5, orange), RC_SUCCESS);
    uint8_t pixel[8] = {0xF0, 0xA0, 0x40};
    V_ConvertBuffer(pixel, 1, 24, d.bits, ORDER_RGB, d.order, nullptr, bm->Palette);
    V_ConvertBuffer(pixel, 1, d.bits, 24, d.order, ORDER_RGB, bm->Palette, nullptr);
    EXPECT_EQ(V_GetPixelColor(bm.get(), 2, 5), uint32_t(pixel[0] | pixel[1] << 8 | pixel[2] << 16));
  }
}

TEST_P(PixelColor, NeighboursAlphaAndFailures) {
  vxkrn_test::OwnedBitmap bm;
  make(bm.bm, Depth{3, 0, true});
  std::vector<uint8_t> before = read_image(bm.bm);
  ASSERT_EQ(V_PutPixelColor(bm.get(), 1, 6, (COLOR_KIND_INDEX << 24) | 5), RC_SUCCESS);
  EXPECT_EQ(V_GetPixelColor(bm.get(), 1, 6), 0xFF00FFu) << "entry 5: red and blue";
  std::vector<uint8_t> after = read_image(bm.bm);
  int changed_bits = 0;
  for (size_t i = 0; i < after.size(); ++i)
    changed_bits += __builtin_popcount(unsigned(after[i] ^ before[i]));
  EXPECT_LE(changed_bits, 3) << "only the pixel's three bits";

  vxkrn_test::OwnedBitmap rgba;
  make(rgba.bm, Depth{32, ORDER_BGR, true});
  uint8_t pixel[4];
  V_GetPixelData(rgba.get(), pixel, 0, 3, 4);
  ASSERT_EQ(V_PutPixelColor(rgba.get(), 0, 3, 0x00112233), RC_SUCCESS);
  uint8_t written[4];
  V_GetPixelData(rgba.get(), written, 0, 3, 4);
  EXPECT_EQ(written[0], 0x11) << "blue first";
  EXPECT_EQ(written[2], 0x33);
  EXPECT_EQ(written[3], pixel[3]) << "alpha kept";

  EXPECT_EQ(V_GetPixelColor(bm.get(), 3, 0), PIXEL_COLOR_FAILED) << "row = Height";
  EXPECT_EQ(V_GetPixelColor(bm.get(), 0, -1), PIXEL_COLOR_FAILED);
  EXPECT_EQ(V_GetPixelColor(nullptr, 0, 0), PIXEL_COLOR_FAILED);
  EXPECT_EQ(V_PutPixelColor(bm.get(), 0, 13, 0), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_PutPixelColor(bm.get(), 0, 0, (COLOR_KIND_INDEX << 24) | 8), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_PutPixelColor(bm.get(), 0, 0, 0x02000000), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_PutPixelColor(rgba.get(), 0, 0, (COLOR_KIND_INDEX << 24) | 1), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_PutPixelColor(nullptr, 0, 0, 0), RC_INVALID_BITMAP);
}

TEST_P(PixelColor, GrayValuesThroughTheActiveDescription) {
  vxkrn_test::OwnedBitmap bm;
  make(bm.bm, Depth{16, ORDER_GRAY, true});
  const ColorValue gray = COLOR_KIND_GRAY << 24;
  ASSERT_EQ(V_PutPixelColor(bm.get(), 0, 0, gray | 0xFFFF), RC_SUCCESS);
  uint8_t raw[2];
  V_GetPixelData(bm.get(), raw, 0, 0, 2);
  EXPECT_EQ(raw[0] | raw[1] << 8, 0xFFFF);
  bm->MinBit = 4;  // the value sits in bits 4..11
  bm->MaxBit = 11;
  ASSERT_EQ(V_PutPixelColor(bm.get(), 0, 1, gray | 0x8080), RC_SUCCESS);
  V_GetPixelData(bm.get(), raw, 0, 1, 2);
  EXPECT_EQ(raw[0] | raw[1] << 8, 0x80 << 4);
  EXPECT_EQ(V_GetPixelColor(bm.get(), 0, 1), gray | 0x8080);
  ASSERT_EQ(V_PutPixelColor(bm.get(), 0, 2, 0x00FFFFFF), RC_SUCCESS) << "white as a colour";
  EXPECT_EQ(V_GetPixelColor(bm.get(), 0, 2), gray | 0xFFFF);
  vxkrn_test::OwnedBitmap wide;
  make(wide.bm, Depth{32, ORDER_GRAY, true});
  EXPECT_EQ(V_GetPixelColor(wide.get(), 0, 0), PIXEL_COLOR_FAILED);
}

INSTANTIATE_TEST_SUITE_P(BothKinds, PixelColor, ::testing::Values(MEM_NO_DISK, MEM_DISK));

}  // namespace
