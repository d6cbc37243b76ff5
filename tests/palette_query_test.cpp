// Gray classification, nearest index of a bitmap and colour translation.
#include <vector>

#include "support/test_support.h"

namespace {

using vxkrn_test::OwnedBitmap;

std::vector<PaletteEntry> grays(std::initializer_list<int> levels) {
  std::vector<PaletteEntry> entries;
  for (int v : levels)
    entries.push_back(PaletteEntry{uint8_t(v), uint8_t(v), uint8_t(v), 0});
  return entries;
}

TEST(GrayPalettes, ClassifyBuiltInAndRampPalettes) {
  // Default palettes: 1 and 2 bits are ramps, the others colour.
  const int expected_default[9] = {0,         GRAY_ORDERED, GRAY_ORDERED, GRAY_NONE, GRAY_NONE,
                                   GRAY_NONE, GRAY_NONE,    GRAY_NONE,    GRAY_NONE};
  for (int bits = 1; bits <= 8; ++bits)
    EXPECT_EQ(V_IsGrayScalePalette(V_IntGetFixedPalette(bits), 1u << bits), expected_default[bits])
        << bits;
  EXPECT_EQ(V_IsGrayScalePalette(V_IntGetNetscapePalette(), 256), GRAY_NONE);
  // Gray ramps: a truncated step matches only when count - 1 divides 255.
  const int expected_ramp[9] = {0,
                                GRAY_ORDERED,
                                GRAY_ORDERED,
                                GRAY_UNORDERED,
                                GRAY_ORDERED,
                                GRAY_UNORDERED,
                                GRAY_UNORDERED,
                                GRAY_UNORDERED,
                                GRAY_ORDERED};
  for (int bits = 1; bits <= 8; ++bits) {
    PaletteEntry *ramp = V_CreateGrayPalette(bits);
    EXPECT_EQ(V_IsGrayScalePalette(ramp, 1u << bits), expected_ramp[bits]) << bits;
    V_GlobalFree(ramp);
  }
  PaletteEntry levels[256];
  V_GetFixedPalette(levels, 0);
  EXPECT_EQ(V_IsGrayScalePalette(levels, 256), GRAY_ORDERED);
  const struct {
    std::vector<PaletteEntry> entries;
    int kind;
  } cases[] = {{grays({0}), GRAY_ORDERED},
               {grays({255}), GRAY_INVERTED},
               {grays({7}), GRAY_UNORDERED},
               {grays({255, 170, 85, 0}), GRAY_INVERTED},
               {grays({0, 85, 171, 255}), GRAY_UNORDERED},
               {grays({128, 0}), GRAY_UNORDERED},
               {{{0, 0, 0, 0}, {255, 255, 254, 0}}, GRAY_NONE},
               {{}, GRAY_NONE}};
  for (const auto &c : cases)
    EXPECT_EQ(V_IsGrayScalePalette(c.entries.data() ? c.entries.data() : levels,
                                   uint32_t(c.entries.size())),
              c.kind);
  EXPECT_EQ(V_IsGrayScalePalette(nullptr, 2), RC_INVALID_PARAMETER);
}

TEST(GrayBitmaps, PaletteAndLutDescriptions) {
  OwnedBitmap gray;
  ASSERT_EQ(V_CreateBitmap(gray.get(), BITMAPHANDLE_SIZE, MEM_CONVENTIONAL, 4, 4, 0, 0, nullptr, 0,
                           nullptr, 0),
            RC_SUCCESS);
  EXPECT_EQ(V_IsGrayScaleBitmap(gray.get()), GRAY_ORDERED);
  gray->ColorCount = 128;  // a gray palette of the wrong length
  EXPECT_EQ(V_IsGrayScaleBitmap(gray.get()), GRAY_UNORDERED);
  gray->ColorCount = 256;

  BitmapHandle deep;
  ASSERT_EQ(V_InitBitmap(&deep, BITMAPHANDLE_SIZE, 4, 4, 16), RC_SUCCESS);
  EXPECT_EQ(V_IsGrayScaleBitmap(&deep), GRAY_NONE) << "16-bit colour";
  deep.Order = ORDER_GRAY;
  EXPECT_EQ(V_IsGrayScaleBitmap(&deep), GRAY_ORDERED) << "no LUT";
  std::vector<PaletteEntry> lut = grays({255, 200, 100, 0});
  deep.LUT = lut.data();
  deep.Flags = FLAG_USE_LOW_HIGH;
  deep.LowBit = 0;
  deep.HighBit = 1;
  deep.LUTLength = 4;
  EXPECT_EQ(V_IsGrayScaleBitmap(&deep), GRAY_INVERTED);
  deep.Flags |= FLAG_RESTRICTED;  // entry LUTLength / 2 decides
  EXPECT_EQ(V_IsGrayScaleBitmap(&deep), GRAY_UNORDERED);
  lut[3].Blue = 1;
  EXPECT_EQ(V_IsGrayScaleBitmap(&deep), GRAY_NONE);
  deep.LUTLength = 5;
  EXPECT_EQ(V_IsGrayScaleBitmap(&deep), RC_INVALID_LUT_LENGTH);
  EXPECT_EQ(V_IsGrayScaleBitmap(nullptr), RC_INVALID_PARAMETER);
}

TEST(TranslateColor, FollowsKindAndDepth) {
  OwnedBitmap gray8, vga, rgb;
  ASSERT_EQ(V_CreateBitmap(gray8.get(), BITMAPHANDLE_SIZE, MEM_CONVENTIONAL, 2, 2, 0, 0, nullptr, 0,
                           nullptr, 0),
            RC_SUCCESS);
  ASSERT_EQ(V_CreateBitmap(vga.get(), BITMAPHANDLE_SIZE, MEM_CONVENTIONAL, 2, 2, 4, 0, nullptr, 0,
                           nullptr, 0),
            RC_SUCCESS);
  ASSERT_EQ(V_CreateBitmap(rgb.get(), BITMAPHANDLE_SIZE, MEM_CONVENTIONAL, 2, 2, 24, ORDER_BGR,
                           nullptr, 0, nullptr, 0),
            RC_SUCCESS);
  const ColorValue index = COLOR_KIND_INDEX << 24, gray = COLOR_KIND_GRAY << 24;
  const struct {
    BitmapHandle *to, *from;
    ColorValue color, expected;
  } cases[] = {
      {nullptr, nullptr, 0x123456, 0x123456},
      {rgb.get(), nullptr, 0x00FF8040, 0x00FF8040},       // colour into colour: as is
      {gray8.get(), nullptr, 0x00404040, index | 0x40},   // nearest gray level
      {vga.get(), nullptr, 0x000000FF, index | 9},        // red 255 is VGA entry 9
      {rgb.get(), vga.get(), index | 9, 0x000000FF},      // index through the source
      {rgb.get(), nullptr, index | 9, 0},                 // no source: black
      {vga.get(), vga.get(), index | 12, index | 12},     // same entry: kept
      {gray8.get(), vga.get(), index | 15, index | 255},  // white to the end of gray
      {vga.get(), nullptr, gray | 0x8000, index | 7},     // gray 128 from the green byte
      {rgb.get(), nullptr, gray | 0x2211, 0x222222},
  };
  for (const auto &c : cases)
    EXPECT_EQ(V_TranslateBitmapColor(c.to, c.from, c.color), c.expected) << std::hex << c.color;
  EXPECT_EQ(V_GetNearestPaletteIndex(vga.get(), 0x00FFFF00), 14u) << "cyan";
  EXPECT_EQ(V_GetNearestPaletteIndex(nullptr, 0), 0u);
}

TEST(TranslateColor, GrayLevelsThroughTheLut) {
  BitmapHandle deep;
  ASSERT_EQ(V_InitBitmap(&deep, BITMAPHANDLE_SIZE, 2, 2, 16), RC_SUCCESS);
  deep.Order = ORDER_GRAY;
  const ColorValue gray = (COLOR_KIND_GRAY << 24) | 0x505050;
  EXPECT_EQ(V_TranslateBitmapColor(&deep, nullptr, gray), gray) << "no LUT: unchanged";
  std::vector<PaletteEntry> lut = grays({0, 40, 80, 120});
  deep.LUT = lut.data();
  deep.LUTLength = 4;
  deep.Flags = FLAG_USE_LOW_HIGH;
  EXPECT_EQ(V_TranslateBitmapColor(&deep, nullptr, gray), (COLOR_KIND_INDEX << 24) | 2);
}

}  // namespace
