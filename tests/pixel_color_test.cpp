// Pixels as colour values at every depth, on memory and disk storage, against the
// model converter both ways: gray bit ranges, indices, neighbours and alpha kept, refusals.
#include <random>
#include <vector>

#include "support/convert_reference.h"
#include "support/test_support.h"

namespace {

// One pixel through the model; the bitmap's palette serves whichever side has one.
uint64_t model(uint64_t value, int32_t from_bits, int32_t from_order, int32_t to_bits,
               int32_t to_order, const BitmapHandle &bm, int32_t flags) {
  std::vector<uint8_t> pixel(8);
  vxkrn_test::set_pixel(pixel.data(), from_bits, 0, value);
  EXPECT_EQ(vxkrn_test::reference_convert(pixel, 1, from_bits, to_bits, from_order, to_order,
                                          bm.Palette, bm.Palette, flags, bm.MinBit, bm.MaxBit),
            RC_SUCCESS);
  return vxkrn_test::get_pixel(pixel.data(), to_bits, 0);
}

// clang-format off
const struct Depth { int bits, order, low = 0, high = -1; } kDepths[] = {  // gray in bits low..high
    {1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}, {6, 0}, {7, 0}, {8, 0}, {12, ORDER_GRAY, 0, 11},
    {12, ORDER_GRAY, 3, 9}, {16, ORDER_GRAY, 4, 11}, {16, ORDER_GRAY, 0, 15}, {16, ORDER_RGB},
    {16, ORDER_BGR}, {24, ORDER_RGB}, {24, ORDER_BGR}, {24, ORDER_MATRIX}, {32, ORDER_BGR},
    {48, ORDER_BGR}, {48, ORDER_MATRIX}, {64, ORDER_RGB}};
// clang-format on

class PixelColor : public vxkrn_test::TempDirTest, public ::testing::WithParamInterface<int32_t> {};

// Each of 13 x 3 random pixels reads as the model takes it to 24-bit RGB (gray: 16-bit gray);
// half are written with colours, gray levels or indices, to be what the model makes of them,
// alpha and the other pixels kept. Gray levels round, so that writing back a read restores.
TEST_P(PixelColor, EveryPixelAsTheModelConvertsIt) {
  std::mt19937 random(31);
  for (const Depth &d : kDepths) {
    SCOPED_TRACE(::testing::Message() << "row " << &d - kDepths << " of the depths");
    vxkrn_test::OwnedBitmap owned;
    BitmapHandle *const bm = owned.get();
    ASSERT_EQ(V_CreateBitmap(bm, BITMAPHANDLE_SIZE, GetParam(), 13, 3, d.bits, d.order, nullptr, 0,
                             nullptr, 0),
              RC_SUCCESS);
    V_AccessBitmap(bm);
    vxkrn_test::fill_random_image(*bm, static_cast<uint32_t>(d.bits * 10 + d.order));
    const bool gray = d.order == ORDER_GRAY, indexed = d.bits <= 8;
    bm->MinBit = d.low;  // only gray pixels read them
    bm->MaxBit = d.high;
    const int32_t as_bits = gray ? 16 : 24, as_order = gray ? ORDER_GRAY : ORDER_RGB;
    const ColorValue kind = gray ? COLOR_KIND_GRAY << 24 : 0, index = COLOR_KIND_INDEX << 24;
    const uint64_t alpha = d.bits == 32 ? 0xFF000000u : d.bits == 64 ? 0xFFFFull << 48 : 0;
    const uint64_t mask = gray ? (1u << ((d.high < 0 ? d.bits - 1 : d.high) - d.low + 1)) - 1 : 0;
    std::vector<uint8_t> image = vxkrn_test::read_image(*bm);
    for (int k = 0; k < 3 * 13; ++k) {
      const int y = k / 13, x = k % 13;
      SCOPED_TRACE(::testing::Message() << "pixel " << x << ", " << y);
      uint8_t *row = image.data() + y * bm->BytesPerLine;
      const uint64_t was = vxkrn_test::get_pixel(row, d.bits, x);
      EXPECT_EQ(V_GetPixelColor(bm, y, x), kind | model(was, d.bits, d.order, as_bits, as_order,
                                                        *bm, gray ? CVT_SRC_BITS : 0));
      const uint32_t how = random() % 4, level = random() % 0x10000;
      if (how < 2) continue;
      ColorValue value = random() % 0x1000000;  // a colour, a gray level or an index
      uint64_t made;
      if (how == 3 && gray) {  // the level into the bits, the others cleared
        value = kind | level;
        made = (level * mask + 32767) / 65535 << d.low;
      } else if (how == 3 && indexed) {
        value = index | (value & ((1u << d.bits) - 1));
        made = value & 0xFF;
      } else {
        made = model(value, 24, ORDER_RGB, d.bits, d.order, *bm, gray ? CVT_DST_BITS : 0);
      }
      ASSERT_EQ(V_PutPixelColor(bm, y, x, value), RC_SUCCESS);
      vxkrn_test::set_pixel(row, d.bits, x, (made & ~alpha) | (was & alpha));
    }
    EXPECT_TRUE(vxkrn_test::read_image(*bm) == image);
    // Refused: a row past the end, any pixel of 32-bit gray (no colour value carries its
    // levels), an index past the palette or on a deeper pixel, an unknown kind.
    if (d.bits == 32) bm->Order = ORDER_GRAY;
    EXPECT_EQ(V_GetPixelColor(bm, d.bits == 32 ? 0 : 3, 0), PIXEL_COLOR_FAILED);
    EXPECT_EQ(V_PutPixelColor(bm, 0, 0, index | (indexed ? 1u << d.bits : 0)),
              RC_INVALID_PARAMETER);
    EXPECT_EQ(V_PutPixelColor(bm, 0, 0, 0x02000000), RC_INVALID_PARAMETER);
  }
}

INSTANTIATE_TEST_SUITE_P(BothKinds, PixelColor, ::testing::Values(MEM_NO_DISK, MEM_DISK));

}  // namespace
