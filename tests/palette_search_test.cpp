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

}  // namespace
