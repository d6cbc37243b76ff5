// The accelerated nearest-colour search against the plain scan, on palettes
// built to produce ties, duplicates and the black and white shortcuts.
#include <random>
#include <vector>

#include "color/palette_search.h"
#include "support/test_support.h"

namespace {

using vxkrn::color::find_palette_index;
using vxkrn::color::NearestSearch;

// Random palettes of every kind that stresses the search: few or many
// entries, a coarse lattice (so many colours are equidistant from two or
// more entries), duplicates, black or white at either end.
std::vector<PaletteEntry> random_palette(std::mt19937 &random, uint32_t count, int style) {
  std::vector<PaletteEntry> entries(count);
  for (PaletteEntry &e : entries) {
    const auto level = [&] {
      return static_cast<uint8_t>(style == 0 ? random() % 256 : (random() % 6) * 51);
    };
    e = PaletteEntry{level(), level(), level(), 0};
  }
  if (style == 2 && count > 3) {
    entries[count / 2] = entries[1];  // duplicates
    entries[0] = PaletteEntry{255, 255, 255, 0};
    entries[count - 1] = PaletteEntry{0, 0, 0, 0};
  }
  return entries;
}

TEST(NearestSearch, EqualsThePlainScanForEveryColourTried) {
  std::mt19937 random(31337);
  for (int round = 0; round < 60; ++round) {
    const uint32_t count = round < 6 ? round + 1 : 1 + random() % 256;
    const int style = round % 3;
    const std::vector<PaletteEntry> palette = random_palette(random, count, style);
    NearestSearch search(palette.data(), count);
    for (int q = 0; q < 3000; ++q) {
      // Lattice colours and their neighbours produce exact ties.
      const int r =
          q % 5 == 0 ? static_cast<int>(random() % 6) * 51 : static_cast<int>(random() % 256);
      const int g = q % 7 == 0 ? 102 : static_cast<int>(random() % 256);
      const int b = q % 11 == 0 ? 0 : static_cast<int>(random() % 256);
      ASSERT_EQ(search.find(r, g, b), find_palette_index(palette.data(), count, r, g, b))
          << "round " << round << " count " << count << " colour " << r << "," << g << "," << b;
    }
    for (int v : {0, 255})
      ASSERT_EQ(search.find(v, v, v), find_palette_index(palette.data(), count, v, v, v));
  }
}

TEST(NearestSearch, WithoutWorkingMemoryGivesTheSameIndices) {
  std::mt19937 random(7);
  const std::vector<PaletteEntry> palette = random_palette(random, 256, 1);
  for (unsigned failing : {1u, 2u}) {  // the cells and memo, then the candidate pool
    NearestSearch search(palette.data(), 256);
    vxkrn::testing::fail_nth_allocation(failing, vxkrn_test::kBothHeaps);
    for (int q = 0; q < 2000; ++q) {
      const int r = random() % 256, g = random() % 256, b = random() % 256;
      ASSERT_EQ(search.find(r, g, b), find_palette_index(palette.data(), 256, r, g, b));
    }
    vxkrn::testing::fail_nth_allocation(0, 0);
  }
}

TEST(FindPaletteIndex, ShortcutsAndTies) {
  const PaletteEntry gray_then_black[] = {{9, 9, 9, 0}, {1, 1, 1, 0}, {0, 0, 0, 0}};
  EXPECT_EQ(V_FindPaletteIndex(gray_then_black, 3, 0, 0, 0), 2) << "black goes to the end";
  const PaletteEntry white_first[] = {{255, 255, 255, 0}, {0, 0, 0, 0}, {250, 250, 250, 0}};
  EXPECT_EQ(V_FindPaletteIndex(white_first, 3, 255, 255, 255), 0);
  EXPECT_EQ(V_FindPaletteIndex(white_first, 3, 0, 0, 0), 1) << "no shortcut: scanned";
  // (200, 100, 50) is 55 away from both; the later one orders its
  // components like the request (red > green > blue) and wins.
  const PaletteEntry tie[] = {{50, 45, 200, 0}, {50, 100, 255, 0}};  // blue, green, red
  EXPECT_EQ(V_FindPaletteIndex(tie, 2, 200, 100, 50), 1);
  const PaletteEntry tie_reversed[] = {{50, 100, 255, 0}, {50, 45, 200, 0}};
  EXPECT_EQ(V_FindPaletteIndex(tie_reversed, 2, 200, 100, 50), 0) << "the match keeps its place";
  const PaletteEntry exact_twice[] = {{1, 2, 3, 0}, {7, 7, 7, 0}, {1, 2, 3, 0}};
  EXPECT_EQ(V_FindPaletteIndex(exact_twice, 3, 3, 2, 1), 0) << "first exact match";
  EXPECT_EQ(V_FindPaletteIndex(nullptr, 3, 1, 2, 3), 0);
  EXPECT_EQ(V_FindPaletteIndex(tie, 0, 1, 2, 3), -1);
  EXPECT_EQ(V_FindPaletteIndex(tie, 2, 100000, -100000, 7), 0) << "far outside the cube";
}

}  // namespace
