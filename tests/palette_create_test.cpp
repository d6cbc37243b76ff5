// Built-in palettes against hand-computed entries, and the calls that create
// palettes or give them to bitmaps.
#include <cstring>

#include "support/test_support.h"

namespace {

struct Rgb {
  int red, green, blue;
};

void expect_entry(const PaletteEntry &e, Rgb c, const char *what, int index) {
  EXPECT_EQ(e.Red, c.red) << what << " entry " << index;
  EXPECT_EQ(e.Green, c.green) << what << " entry " << index;
  EXPECT_EQ(e.Blue, c.blue) << what << " entry " << index;
  EXPECT_EQ(e.Reserved, 0) << what << " entry " << index;
}

TEST(DefaultPalettes, HandComputedEntries) {
  const struct {
    int bits, index;
    Rgb color;
  } cases[] = {
      {1, 0, {0, 0, 0}},       {1, 1, {255, 255, 255}},    {2, 1, {85, 85, 85}},
      {2, 2, {170, 170, 170}}, {3, 1, {0, 0, 255}},        {3, 2, {0, 255, 0}},
      {3, 4, {255, 0, 0}},     {4, 1, {128, 0, 0}},        {4, 3, {128, 128, 0}},
      {4, 4, {0, 0, 128}},     {4, 7, {128, 128, 128}},    {4, 8, {192, 192, 192}},
      {4, 9, {255, 0, 0}},     {4, 12, {0, 0, 255}},       {4, 14, {0, 255, 255}},
      {5, 1, {0, 0, 255}},     {5, 2, {0, 85, 0}},         {5, 8, {85, 0, 0}},
      {6, 3, {0, 0, 255}},     {6, 4, {0, 85, 0}},         {6, 16, {85, 0, 0}},
      {7, 4, {0, 36, 0}},      {7, 32, {85, 0, 0}},        {7, 127, {255, 255, 255}},
      {8, 1, {0, 0, 85}},      {8, 4, {0, 36, 0}},         {8, 32, {36, 0, 0}},
      {8, 0x49, {73, 73, 85}}, {8, 0xB6, {182, 182, 170}}, {8, 255, {255, 255, 255}},
  };
  for (const auto &c : cases)
    expect_entry(V_IntGetFixedPalette(c.bits)[c.index], c.color, "default", c.index);
  EXPECT_EQ(V_IntGetFixedPalette(0), nullptr);
  EXPECT_EQ(V_IntGetFixedPalette(9), nullptr);
}

TEST(DefaultPalettes, LieOneAfterAnother) {
  for (int bits = 1; bits < 8; ++bits)
    EXPECT_EQ(V_IntGetFixedPalette(bits) + (1 << bits), V_IntGetFixedPalette(bits + 1));
}

TEST(WebPalette, IsTheCubeThenZeros) {
  const PaletteEntry *web = V_IntGetNetscapePalette();
  expect_entry(web[0], {0, 0, 0}, "web", 0);
  expect_entry(web[1], {0, 0, 51}, "web", 1);
  expect_entry(web[6], {0, 51, 0}, "web", 6);
  expect_entry(web[36], {51, 0, 0}, "web", 36);
  expect_entry(web[215], {255, 255, 255}, "web", 215);
  for (int i = 216; i < 256; ++i)
    expect_entry(web[i], {0, 0, 0}, "web", i);
}

class PaletteCreate : public vxkrn_test::LeakCheckedTest {};

TEST_F(PaletteCreate, GrayRampsTruncate) {
  const struct {
    int bits, index, level;
  } cases[] = {{0, 200, 200}, {1, 1, 255},   {2, 1, 85}, {3, 3, 109},    {3, 2, 72},
               {4, 1, 17},    {8, 128, 128}, {10, 1, 0}, {10, 1023, 255}};
  for (const auto &c : cases) {
    PaletteEntry *ramp = V_CreateGrayPalette(c.bits);
    ASSERT_NE(ramp, nullptr);
    expect_entry(ramp[c.index], {c.level, c.level, c.level}, "gray", c.index);
    V_GlobalFree(ramp);
  }
  EXPECT_EQ(V_CreateGrayPalette(-1), nullptr);
  EXPECT_EQ(V_CreateGrayPalette(31), nullptr);
}

TEST_F(PaletteCreate, CopiesAndFixedPalettes) {
  PaletteEntry entries[3] = {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}};
  PaletteEntry *copy = V_CreateNewPalette(entries, 3);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(std::memcmp(copy, entries, sizeof entries), 0) << "reserved bytes carried";
  V_GlobalFree(copy);
  PaletteEntry big[257] = {};
  EXPECT_EQ(V_CreateNewPalette(big, 257), nullptr);
  EXPECT_EQ(V_CreateNewPalette(big, 0), nullptr);
  EXPECT_EQ(V_CreateNewPalette(nullptr, 2), nullptr);

  PaletteEntry *zero = V_CreateFixedPalette(0), *one = V_CreateFixedPalette(1);
  EXPECT_EQ(std::memcmp(zero, one, 2 * sizeof(PaletteEntry)), 0);
  V_GlobalFree(zero);
  V_GlobalFree(one);
  EXPECT_EQ(V_CreateFixedPalette(9), nullptr);

  PaletteEntry levels[256];
  EXPECT_EQ(V_GetFixedPalette(levels, 0), RC_SUCCESS);
  expect_entry(levels[77], {77, 77, 77}, "levels", 77);
  EXPECT_EQ(V_GetFixedPalette(levels, 4), RC_SUCCESS);
  EXPECT_EQ(std::memcmp(levels, V_IntGetFixedPalette(4), 16 * sizeof(PaletteEntry)), 0);
  EXPECT_EQ(V_GetFixedPalette(levels, 9), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_GetFixedPalette(nullptr, 1), RC_INVALID_PARAMETER);
}

TEST_F(PaletteCreate, BitmapPalettesByDepthAndCount) {
  BitmapHandle bm;
  ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 4, 4, 2), RC_SUCCESS);
  ASSERT_EQ(V_CreateBitmapFixedPalette(&bm), RC_SUCCESS);
  const Rgb four[] = {{0, 0, 0}, {255, 255, 255}, {0, 0, 0}, {85, 85, 85}};
  for (int i = 0; i < 4; ++i)
    expect_entry(bm.Palette[i], four[i], "2-bit fixed", i);
  V_GlobalFree(bm.Palette);

  ASSERT_EQ(V_CreateBitmapGrayPalette(&bm), RC_SUCCESS);
  EXPECT_EQ(bm.ColorCount, 4);
  expect_entry(bm.Palette[2], {170, 170, 170}, "2-bit gray", 2);
  V_GlobalFree(bm.Palette);

  for (int count : {0, 3, 6, 512, -2}) {
    bm.ColorCount = count;
    EXPECT_EQ(V_CreateBitmapFixedPalette(&bm), 0) << count;
  }
  bm.BitsPerPixel = 12;
  EXPECT_EQ(V_CreateBitmapGrayPalette(&bm), RC_INVALID_BITS_PER_PIXEL);
  EXPECT_EQ(V_CreateBitmapGrayPalette(nullptr), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_CreateBitmapFixedPalette(nullptr), RC_INVALID_PARAMETER);
  bm.StructSize = 0;
  EXPECT_EQ(V_CreateBitmapFixedPalette(&bm), RC_INVALID_STRUCT_SIZE);
}

}  // namespace
