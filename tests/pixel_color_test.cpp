// Pixels as colour values at every depth, on memory and disk storage: against the
// converter both ways, round trips, gray bit ranges, neighbours and alpha kept.
#include <vector>

#include "support/test_support.h"

namespace {

using vxkrn_test::get_pixel;
using vxkrn_test::OwnedBitmap;

struct Depth {
  int bits, order;
  bool bytes_kept;  // writing back every pixel read leaves every byte as it was
};
// The 2-bit default palette of a bitmap repeats black, 16-bit colour words
// lose their unused top bit, the matrix space and 16-bit samples are not
// reached exactly from 8-bit colours.
// clang-format off
const Depth kDepths[] = {{1, 0, true}, {2, 0, false}, {3, 0, true}, {4, 0, true}, {5, 0, true},
    {6, 0, true}, {7, 0, true}, {8, 0, true}, {12, 2, true}, {16, 0, false}, {16, 1, false},
    {16, 2, true}, {24, 0, true}, {24, 1, true}, {24, 5, false}, {32, 1, true}, {48, 1, false},
    {48, 5, false}, {64, 0, false}};
// clang-format on

class PixelColor : public vxkrn_test::TempDirTest, public ::testing::WithParamInterface<int32_t> {
 protected:
  // 13 x 3 random pixels in the storage of the parameter.
  BitmapHandle *make(OwnedBitmap &bm, int bits, int order) {
    EXPECT_EQ(V_CreateBitmap(bm.get(), BITMAPHANDLE_SIZE, GetParam(), 13, 3, bits, order, nullptr,
                             0, nullptr, 0),
              RC_SUCCESS);
    V_AccessBitmap(bm.get());
    vxkrn_test::fill_random_image(bm.bm, static_cast<uint32_t>(bits * 10 + order));
    return bm.get();
  }
};

TEST_P(PixelColor, AgreeWithTheConverter) {
  for (const Depth &d : kDepths) {
    SCOPED_TRACE(::testing::Message() << d.bits << " bits, order " << d.order);
    OwnedBitmap owned;
    BitmapHandle *bm = make(owned, d.bits, d.order);
    const std::vector<uint8_t> before = vxkrn_test::read_image(*bm);
    // Gray values are 16-bit levels of their own kind: gray pixels are taken
    // to 16-bit gray, the others to 24-bit RGB.
    const bool gray = d.order == ORDER_GRAY;
    const int32_t as_bits = gray ? 16 : 24, as_order = gray ? ORDER_GRAY : ORDER_RGB;
    const ColorValue kind = gray ? COLOR_KIND_GRAY << 24 : 0;
    std::vector<uint8_t> row(static_cast<size_t>(bm->BytesPerLine) * 8 + 64);
    for (int y = 0; y < 3; ++y) {
      ASSERT_EQ(V_GetBitmapRow(bm, row.data(), y, bm->BytesPerLine), bm->BytesPerLine);
      ASSERT_EQ(
          V_ConvertBuffer(row.data(), 13, d.bits, as_bits, d.order, as_order, bm->Palette, nullptr),
          RC_SUCCESS);
      for (int x = 0; x < 13; ++x) {
        const ColorValue color = V_GetPixelColor(bm, y, x);
        EXPECT_EQ(color, kind | get_pixel(row.data(), as_bits, x)) << x;
        ASSERT_EQ(V_PutPixelColor(bm, y, x, color), RC_SUCCESS);
        // The matrix space does not invert exactly: within a step or two.
        const ColorValue again = V_GetPixelColor(bm, y, x);
        for (int shift : {0, 8, 16, 24})
          EXPECT_NEAR(int(again >> shift & 0xFF), int(color >> shift & 0xFF),
                      d.order == ORDER_MATRIX ? 2 : 0)
              << x;
      }
    }
    const std::vector<uint8_t> kept = vxkrn_test::read_image(*bm);
    EXPECT_TRUE(!d.bytes_kept || kept == before);

    // A value written is the pixel the converter makes of it, with its alpha
    // kept, and reads back as the converter takes it back; every other pixel
    // keeps its bits. Gray goes into bits 4..11 of the pixel.
    if (gray) {
      bm->MinBit = 4;
      bm->MaxBit = 11;
    }
    uint8_t pixel[8] = {0xF0, 0xA0, 0x40};
    ASSERT_EQ(V_PutPixelColor(bm, 2, 5, kind | get_pixel(pixel, as_bits, 0)), RC_SUCCESS);
    ASSERT_EQ(V_ConvertBufferExt(pixel, 1, as_bits, d.bits, as_order, d.order, nullptr, bm->Palette,
                                 gray ? CVT_DST_BITS : 0, 4, 11),
              RC_SUCCESS);
    const uint64_t written = get_pixel(pixel, d.bits, 0);
    ASSERT_EQ(V_ConvertBufferExt(pixel, 1, d.bits, as_bits, d.order, as_order, bm->Palette, nullptr,
                                 gray ? CVT_SRC_BITS : 0, 4, 11),
              RC_SUCCESS);
    EXPECT_EQ(V_GetPixelColor(bm, 2, 5), kind | get_pixel(pixel, as_bits, 0));
    const std::vector<uint8_t> now = vxkrn_test::read_image(*bm);
    const uint64_t alpha = d.bits == 32 ? 0xFF000000u : d.bits == 64 ? 0xFFFFull << 48 : 0;
    for (size_t y = 0; y < 3; ++y) {
      for (uint64_t x = 0; x < 13; ++x) {
        const size_t at = y * static_cast<size_t>(bm->BytesPerLine);
        const uint64_t was = get_pixel(&kept[at], d.bits, x);
        const uint64_t want = y == 2 && x == 5 ? (written & ~alpha) | (was & alpha) : was;
        EXPECT_EQ(get_pixel(&now[at], d.bits, x), want) << y << ", " << x;
      }
    }
  }
}

TEST_P(PixelColor, IndicesAndRefusals) {
  OwnedBitmap indexed, rgba, gray16, gray32;
  BitmapHandle *bm = make(indexed, 3, 0), *colour = make(rgba, 32, ORDER_BGR);
  ASSERT_EQ(V_PutPixelColor(bm, 1, 6, (COLOR_KIND_INDEX << 24) | 5), RC_SUCCESS);
  EXPECT_EQ(V_GetPixelColor(bm, 1, 6), 0xFF00FFu) << "entry 5: red and blue";
  BitmapHandle *gray = make(gray16, 16, ORDER_GRAY);
  ASSERT_EQ(V_PutPixelColor(gray, 0, 2, 0x00FFFFFF), RC_SUCCESS) << "white as a colour";
  EXPECT_EQ(V_GetPixelColor(gray, 0, 2), (COLOR_KIND_GRAY << 24) | 0xFFFF);

  EXPECT_EQ(V_GetPixelColor(make(gray32, 32, ORDER_GRAY), 0, 0), PIXEL_COLOR_FAILED);
  EXPECT_EQ(V_GetPixelColor(bm, 3, 0), PIXEL_COLOR_FAILED) << "row = Height";
  EXPECT_EQ(V_PutPixelColor(bm, 0, 13, 0), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_PutPixelColor(bm, 0, 0, (COLOR_KIND_INDEX << 24) | 8), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_PutPixelColor(bm, 0, 0, 0x02000000), RC_INVALID_PARAMETER) << "unknown kind";
  EXPECT_EQ(V_PutPixelColor(colour, 0, 0, (COLOR_KIND_INDEX << 24) | 1), RC_INVALID_PARAMETER);
}

INSTANTIATE_TEST_SUITE_P(BothKinds, PixelColor, ::testing::Values(MEM_NO_DISK, MEM_DISK));

}  // namespace
