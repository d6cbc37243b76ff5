// Palettes: the built-in ones and the calls that create them, a bitmap's palette,
// palette objects, gray classification and colours translated between bitmaps.
#include <cstring>
#include <vector>

#include "support/test_support.h"

namespace {

using vxkrn_test::OwnedBitmap;
using Palette = std::vector<PaletteEntry>;

// An entry as 0xRRGGBB, with its reserved byte above when set.
uint32_t rgb_of(const PaletteEntry &e) {
  return uint32_t{e.Reserved} << 24 | uint32_t{e.Red} << 16 | uint32_t{e.Green} << 8 | e.Blue;
}

Palette grays(std::initializer_list<uint8_t> levels) {
  Palette entries;
  for (const uint8_t v : levels)
    entries.push_back({v, v, v, 0});
  return entries;
}

class Palettes : public vxkrn_test::LeakCheckedTest {
 protected:
  BitmapHandle *make(OwnedBitmap &bm, int32_t bits, int32_t order = 0) {
    EXPECT_EQ(V_CreateBitmap(bm.get(), BITMAPHANDLE_SIZE, MEM_CONVENTIONAL, 4, 4, bits, order,
                             nullptr, 0, nullptr, 0),
              RC_SUCCESS);
    return bm.get();
  }
};

TEST_F(Palettes, BuiltInAndCreatedEntriesWorkedByHand) {
  // {depth, entry, 0xRRGGBB}: depth 0 stands for the web palette (a cube, blue fastest, then
  // zeros), -n for a gray ramp of n bits (-100 for 0, meaning 8).
  // clang-format off
  const struct { int bits, index; uint32_t rgb; } cases[] = {
      {1, 1, 0xFFFFFF}, {2, 2, 0xAAAAAA}, {3, 2, 0x00FF00}, {3, 4, 0xFF0000}, {4, 3, 0x808000},
      {4, 8, 0xC0C0C0}, {4, 14, 0x00FFFF}, {5, 2, 0x005500}, {5, 8, 0x550000}, {6, 3, 0x0000FF},
      {6, 16, 0x550000}, {7, 4, 0x002400}, {7, 127, 0xFFFFFF}, {8, 32, 0x240000}, {8, 0xB6, 0xB6B6AA},
      {0, 1, 0x000033}, {0, 36, 0x330000}, {0, 216, 0}, {-100, 200, 0xC8C8C8}, {-3, 3, 0x6D6D6D},
      {-10, 1, 0}, {-10, 1023, 0xFFFFFF}};
  // clang-format on
  for (const auto &c : cases) {
    PaletteEntry *ramp = c.bits < 0 ? V_CreateGrayPalette(c.bits == -100 ? 0 : -c.bits) : nullptr;
    const PaletteEntry *p = c.bits > 0    ? V_IntGetFixedPalette(c.bits)
                            : c.bits == 0 ? V_IntGetNetscapePalette()
                                          : ramp;
    ASSERT_NE(p, nullptr) << c.bits;
    EXPECT_EQ(rgb_of(p[c.index]), c.rgb) << c.bits << " bits, entry " << c.index;
    V_GlobalFree(ramp);
  }
  // Depth 0 is 256 gray levels to V_GetFixedPalette and 1 bit to V_CreateFixedPalette.
  PaletteEntry levels[256] = {}, mark = {1, 2, 3, 4};
  EXPECT_EQ(V_GetFixedPalette(levels, 0), RC_SUCCESS);
  PaletteEntry *copy = V_CreateNewPalette(&mark, 1), *one = V_CreateFixedPalette(0);
  EXPECT_TRUE(rgb_of(levels[77]) == 0x4D4D4D && rgb_of(one[1]) == 0xFFFFFF);
  EXPECT_EQ(rgb_of(*copy), rgb_of(mark)) << "reserved bytes carried";
  V_GlobalFree(copy);
  V_GlobalFree(one);

  // A bitmap's default follows ColorCount: 4 runs on from the 1-bit table, 6 gets none.
  BitmapHandle bm;
  ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 4, 4, 2), RC_SUCCESS);
  ASSERT_EQ(V_CreateBitmapFixedPalette(&bm), RC_SUCCESS);
  EXPECT_EQ(std::memcmp(bm.Palette, V_IntGetFixedPalette(1), 4 * sizeof(PaletteEntry)), 0);
  V_GlobalFree(bm.Palette);
  ASSERT_EQ(V_CreateBitmapGrayPalette(&bm), RC_SUCCESS);
  EXPECT_EQ(rgb_of(bm.Palette[2]), 0xAAAAAAu);
  V_GlobalFree(bm.Palette);
  bm.ColorCount = 6;
  EXPECT_EQ(V_CreateBitmapFixedPalette(&bm), 0);
}

// A bitmap's entries read, written and compared; its palette copied from a bitmap, from
// entries and from palette objects, each copy owned, also when it fails.
TEST_F(Palettes, BitmapPaletteReadWrittenCopiedAndReplaced) {
  OwnedBitmap owned, other;
  BitmapHandle *bm = make(owned, 8), none;
  PaletteEntry out[256];
  const PaletteEntry mine[2] = {{1, 2, 3, 4}, {5, 6, 7, 8}};
  EXPECT_EQ(V_GetBitmapPaletteEntries(bm, 250, 10, out), 6);
  EXPECT_EQ(rgb_of(out[5]), 0xFFFFFFu);
  EXPECT_EQ(V_PutBitmapColors(bm, 254, 2, mine), RC_SUCCESS);
  EXPECT_EQ(V_GetBitmapColors(bm, 254, 2, out), RC_SUCCESS);
  EXPECT_EQ(std::memcmp(out, mine, sizeof mine), 0);
  // Ranges whose end wraps around 32 bits must not pass.
  // clang-format off
  const struct { uint32_t first, count; ResultCode want; } gets[] = {
      {255, 2, RC_INVALID_PARAMETER}, {0, 0, RC_INVALID_PARAMETER},
      {255, 0xFFFFFFF2u, RC_INVALID_PARAMETER}, {256, 1, RC_INVALID_PARAMETER},
      {0xFFFFFFFFu, 2, RC_INVALID_PARAMETER}, {255, 1, RC_SUCCESS}};
  // clang-format on
  for (const auto &c : gets)
    EXPECT_EQ(V_GetBitmapColors(bm, c.first, c.count, out), c.want) << c.first << " + " << c.count;
  EXPECT_EQ(V_PutBitmapColors(bm, -1, 1, mine), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_PutBitmapColors(bm, 255, 2, mine), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_CompareBitmapToPalette(bm, mine, 2), 0);
  V_GetBitmapColors(bm, 0, 256, out);
  out[7].Reserved = 99;  // reserved bytes are not compared
  EXPECT_EQ(V_CompareBitmapToPalette(bm, out, 300), 1);

  ASSERT_EQ(V_InitBitmap(other.get(), BITMAPHANDLE_SIZE, 2, 2, 4), RC_SUCCESS);
  ASSERT_EQ(V_InitBitmap(&none, BITMAPHANDLE_SIZE, 2, 2, 24), RC_SUCCESS);
  EXPECT_EQ(V_CopyBitmapPalette(other.get(), bm), RC_SUCCESS);
  EXPECT_EQ(V_CompareBitmapToPalette(other.get(), bm->Palette, 256), 1);
  EXPECT_EQ(V_CopyBitmapPalette(bm, bm), RC_SUCCESS) << "a bitmap onto itself";
  EXPECT_EQ(V_CompareBitmapToPalette(bm, other->Palette, 256), 1);
  EXPECT_EQ(V_CopyBitmapPalette(other.get(), &none), RC_SUCCESS) << "no palette to copy";
  EXPECT_TRUE(other->Palette == nullptr && other->ColorCount == 0);
  EXPECT_EQ(V_SetBitmapNewPalette(bm, V_IntGetFixedPalette(4), 0), 0);
  EXPECT_EQ(bm->Palette, nullptr) << "the old palette is gone, the copy failed";
  VPalette palette = V_CreatePalette(V_IntGetFixedPalette(4), 16), copy = V_DupPalette(palette),
           tiny = V_CreatePalette(mine, 1);
  EXPECT_EQ(V_SetBitmapPalette(bm, copy), RC_SUCCESS);
  EXPECT_EQ(V_CompareBitmapToPalette(bm, V_IntGetFixedPalette(4), 16), 1);
  VPalette from_bitmap = V_DupBitmapPalette(bm);
  EXPECT_EQ(V_GetPaletteSize(from_bitmap), 16u);
  EXPECT_EQ(V_SetBitmapPalette(bm, tiny), RC_INVALID_PARAMETER);
  vxkrn::testing::fail_nth_allocation(1, vxkrn_test::kBothHeaps);
  EXPECT_EQ(V_SetBitmapPalette(bm, palette), RC_NO_MEMORY);
  vxkrn::testing::fail_nth_allocation(0, 0);
  EXPECT_EQ(bm->Palette, nullptr) << "freed before the failed copy";
  for (VPalette p : {palette, copy, from_bitmap, tiny})
    V_DeletePalette(p);
  EXPECT_EQ(V_SetBitmapNewPalette(bm, nullptr, 0), RC_SUCCESS);
  EXPECT_EQ(bm->ColorCount, 16) << "the count of the last copy, untouched";
  // A bitmap left without palette gets a zeroed one on the first put.
  ASSERT_EQ(V_PutBitmapColors(bm, 3, 1, mine), RC_SUCCESS);
  ASSERT_EQ(V_GetBitmapColors(bm, 0, 4, out), RC_SUCCESS);
  EXPECT_TRUE(rgb_of(out[0]) == 0 && rgb_of(out[3]) == rgb_of(mine[0]));
}

// Gray kinds of palettes and bitmaps, and colours translated between bitmaps by kind and depth.
TEST_F(Palettes, GrayKindsAndColoursTranslated) {
  // Ordered steps by exactly 255 / (count - 1) truncated: the 3-bit ramp is only unordered.
  const int o = GRAY_ORDERED, u = GRAY_UNORDERED, n = GRAY_NONE, i = GRAY_INVERTED;
  PaletteEntry *ramp = V_CreateGrayPalette(3);
  const PaletteEntry *two = V_IntGetFixedPalette(2), *three = V_IntGetFixedPalette(3);
  // clang-format off
  const struct { Palette entries; int kind; } cases[] = {
      {grays({0}), o}, {grays({255}), i}, {grays({7}), u}, {grays({128, 0}), u},
      {grays({255, 170, 85, 0}), i}, {grays({0, 85, 171, 255}), u}, {Palette(ramp, ramp + 8), u},
      {Palette(two, two + 4), o}, {Palette(three, three + 8), n}, {{{0, 0, 0, 0}, {255, 255, 254, 0}}, n},
      {{}, n}};
  // clang-format on
  V_GlobalFree(ramp);
  for (const auto &c : cases)
    EXPECT_EQ(V_IsGrayScalePalette(c.entries.empty() ? V_IntGetFixedPalette(1) : c.entries.data(),
                                   uint32_t(c.entries.size())),
              c.kind);

  // Bitmaps: a palette of the wrong length; 16-bit gray whose LUT (bits LowBit..HighBit)
  // sets the kind and turns gray levels into indices.
  OwnedBitmap gray8, vga, rgb;
  BitmapHandle *g = make(gray8, 0), *v = make(vga, 4), *c = make(rgb, 24, ORDER_BGR), deep;
  EXPECT_EQ(V_IsGrayScaleBitmap(g), o);
  g->ColorCount = 128;
  EXPECT_EQ(V_IsGrayScaleBitmap(g), u);
  g->ColorCount = 256;
  ASSERT_EQ(V_InitBitmap(&deep, BITMAPHANDLE_SIZE, 4, 4, 16), RC_SUCCESS);
  EXPECT_EQ(V_IsGrayScaleBitmap(&deep), n) << "16-bit colour";
  deep.Order = ORDER_GRAY;
  const ColorValue index = COLOR_KIND_INDEX << 24, gray = COLOR_KIND_GRAY << 24;
  EXPECT_EQ(V_IsGrayScaleBitmap(&deep), o) << "no LUT";
  EXPECT_EQ(V_TranslateBitmapColor(&deep, nullptr, gray | 0x505050), gray | 0x505050) << "no LUT";
  Palette lut = grays({255, 200, 100, 0});
  deep.LUT = lut.data();
  deep.Flags = FLAG_USE_LOW_HIGH;
  deep.HighBit = 1;
  deep.LUTLength = 4;
  EXPECT_EQ(V_IsGrayScaleBitmap(&deep), i);

  // {to, from, colour, expected}: colour into colour as is; the nearest entry (gray by its
  // green byte); an index through the source palette (none: black; the same entry: kept).
  // clang-format off
  const struct { BitmapHandle *to, *from; ColorValue color, expected; } translations[] = {
      {&deep, nullptr, gray | 0x505050, index | 2}, {nullptr, nullptr, 0x123456, 0x123456},
      {c, nullptr, 0x00FF8040, 0x00FF8040}, {g, nullptr, 0x00404040, index | 0x40},
      {v, nullptr, 0x000000FF, index | 9}, {c, v, index | 9, 0x000000FF}, {c, nullptr, index | 9, 0},
      {v, v, index | 12, index | 12}, {g, v, index | 15, index | 255},
      {v, nullptr, gray | 0x8000, index | 7}, {c, nullptr, gray | 0x2211, 0x222222}};
  // clang-format on
  for (const auto &t : translations)
    EXPECT_EQ(V_TranslateBitmapColor(t.to, t.from, t.color), t.expected) << std::hex << t.color;
  EXPECT_EQ(V_GetNearestPaletteIndex(v, 0x00FFFF00), 14u) << "cyan";

  deep.Flags |= FLAG_RESTRICTED;  // entry LUTLength / 2 decides
  EXPECT_EQ(V_IsGrayScaleBitmap(&deep), u);
  lut[3].Blue = 1;
  EXPECT_EQ(V_IsGrayScaleBitmap(&deep), n);
  deep.LUTLength = 5;
  EXPECT_EQ(V_IsGrayScaleBitmap(&deep), RC_INVALID_LUT_LENGTH);
}

}  // namespace
