// Built-in palettes, computed at compile time from their rules so that the
// tables and the rules cannot drift apart.
#include "color/palette_builtin.h"

#include <array>
#include <cstring>

#include "platform/heap.h"

namespace vxkrn::color {
namespace {

constexpr PaletteEntry rgb(int red, int green, int blue) {
  return PaletteEntry{static_cast<std::uint8_t>(blue), static_cast<std::uint8_t>(green),
                      static_cast<std::uint8_t>(red), 0};
}

// Level k of a field of `bits` bits: k x 255 / (2^bits - 1), nearest integer.
constexpr int field_level(int k, int bits) {
  const int top = (1 << bits) - 1;
  return (2 * k * 255 + top) / (2 * top);
}

// Fields taken from the low bits of the index upward: blue, green, red.
struct FieldWidths {
  int blue, green, red;
};
constexpr FieldWidths kWidths[9] = {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {1, 1, 1}, {0, 0, 0},
                                    {1, 2, 2}, {2, 2, 2}, {2, 3, 2}, {2, 3, 3}};

constexpr PaletteEntry kVga16[16] = {
    rgb(0, 0, 0),       rgb(128, 0, 0),   rgb(0, 128, 0),   rgb(128, 128, 0),
    rgb(0, 0, 128),     rgb(128, 0, 128), rgb(0, 128, 128), rgb(128, 128, 128),
    rgb(192, 192, 192), rgb(255, 0, 0),   rgb(0, 255, 0),   rgb(255, 255, 0),
    rgb(0, 0, 255),     rgb(255, 0, 255), rgb(0, 255, 255), rgb(255, 255, 255)};

constexpr PaletteEntry default_entry(int bits, int index) {
  if (bits == 1) return index ? rgb(255, 255, 255) : rgb(0, 0, 0);
  if (bits == 2) return rgb(85 * index, 85 * index, 85 * index);
  if (bits == 4) return kVga16[index];
  const FieldWidths w = kWidths[bits];
  const int blue = index & ((1 << w.blue) - 1);
  const int green = (index >> w.blue) & ((1 << w.green) - 1);
  const int red = (index >> (w.blue + w.green)) & ((1 << w.red) - 1);
  return rgb(field_level(red, w.red), field_level(green, w.green), field_level(blue, w.blue));
}

constexpr int kDefaultEntries = 2 + 4 + 8 + 16 + 32 + 64 + 128 + 256;

// Depth d starts at entry 2^d - 2.
constexpr std::array<PaletteEntry, kDefaultEntries> kDefaults = [] {
  std::array<PaletteEntry, kDefaultEntries> all{};
  for (int bits = 1; bits <= 8; ++bits)
    for (int i = 0; i < (1 << bits); ++i)
      all[(1 << bits) - 2 + i] = default_entry(bits, i);
  return all;
}();

constexpr std::array<PaletteEntry, 256> kWeb = [] {
  constexpr int level[6] = {0, 51, 102, 153, 204, 255};
  std::array<PaletteEntry, 256> web{};
  for (int i = 0; i < 216; ++i)
    web[i] = rgb(level[i / 36], level[(i / 6) % 6], level[i % 6]);
  return web;
}();

constexpr std::array<PaletteEntry, 256> kGrayLevels = [] {
  std::array<PaletteEntry, 256> gray{};
  for (int i = 0; i < 256; ++i)
    gray[i] = rgb(i, i, i);
  return gray;
}();

}  // namespace

const PaletteEntry *default_palette(int32_t bits_per_pixel) noexcept {
  if (bits_per_pixel < 1 || bits_per_pixel > 8) return nullptr;
  return kDefaults.data() + (1 << bits_per_pixel) - 2;
}

const PaletteEntry *web_palette() noexcept {
  return kWeb.data();
}

const PaletteEntry *gray_levels_palette() noexcept {
  return kGrayLevels.data();
}

void fill_gray_ramp(PaletteEntry *entries, std::uint32_t count) noexcept {
  for (std::uint32_t i = 0; i < count; ++i) {
    auto level = static_cast<std::uint8_t>(count > 1 ? (std::uint64_t{i} * 255) / (count - 1) : 0);
    entries[i] = PaletteEntry{level, level, level, 0};
  }
}

PaletteEntry *copy_palette(const PaletteEntry *entries, std::uint32_t count) noexcept {
  auto *copy =
      static_cast<PaletteEntry *>(platform::sys_alloc(std::size_t{count} * sizeof(PaletteEntry)));
  if (copy && count) std::memcpy(copy, entries, std::size_t{count} * sizeof(PaletteEntry));
  return copy;
}

}  // namespace vxkrn::color
