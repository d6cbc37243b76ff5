// A bitmap's own palette and the built-in palettes it can be given: reading
// and replacing entries, gray ramps and the defaults.
#include <bit>
#include <cstring>

#include "color/palette.h"
#include "color/palette_builtin.h"
#include "core/record.h"
#include "platform/heap.h"

namespace vxkrn::color {
namespace {

constexpr std::int32_t kMaxRampBits = 30;  // 2^30 entries of 4 bytes still fit a size_t

PaletteEntry *make_gray_ramp(std::uint32_t count) {
  auto *entries = static_cast<PaletteEntry *>(
      platform::sys_alloc(platform::checked_product(count, sizeof(PaletteEntry))));
  if (entries) fill_gray_ramp(entries, count);
  return entries;
}

}  // namespace

std::uint32_t read_entries(const BitmapHandle &bitmap, std::uint32_t first, std::uint32_t count,
                           PaletteEntry *out) noexcept {
  if (!bitmap.Palette || bitmap.ColorCount <= 0) return 0;
  const std::uint32_t n = clipped(first, count, static_cast<std::uint32_t>(bitmap.ColorCount));
  if (n) std::memcpy(out, bitmap.Palette + first, n * sizeof(PaletteEntry));
  return n;
}

ResultCode put_colors(BitmapHandle &bitmap, std::uint32_t first, std::uint32_t count,
                      const PaletteEntry *entries) noexcept {
  if (bitmap.BitsPerPixel > 8 || bitmap.ColorCount < 0 ||
      std::uint64_t{first} + count > std::uint64_t(std::uint32_t(bitmap.ColorCount)))
    return RC_INVALID_PARAMETER;
  if (!bitmap.Palette) {
    bitmap.Palette = static_cast<PaletteEntry *>(
        platform::sys_alloc(static_cast<std::size_t>(bitmap.ColorCount) * sizeof(PaletteEntry)));
    if (!bitmap.Palette) return RC_NO_MEMORY;
  }
  if (count) std::memcpy(bitmap.Palette + first, entries, count * sizeof(PaletteEntry));
  return RC_SUCCESS;
}

PaletteEntry *gray_ramp(std::int32_t bits) noexcept {
  if (bits == 0) bits = 8;
  if (bits < 0 || bits > kMaxRampBits) return nullptr;
  return make_gray_ramp(std::uint32_t{1} << bits);
}

ResultCode give_gray_palette(BitmapHandle &bitmap) noexcept {
  if (bitmap.BitsPerPixel < 1 || bitmap.BitsPerPixel > 8) return RC_INVALID_BITS_PER_PIXEL;
  const std::uint32_t count = std::uint32_t{1} << bitmap.BitsPerPixel;
  PaletteEntry *entries = make_gray_ramp(count);
  if (!entries) return RC_NO_MEMORY;
  bitmap.Palette = entries;
  bitmap.ColorCount = static_cast<std::int32_t>(count);
  return RC_SUCCESS;
}

PaletteEntry *fixed_palette(std::int32_t bits) noexcept {
  if (bits == 0) bits = 1;
  const PaletteEntry *table = default_palette(bits);
  return table ? copy_palette(table, std::uint32_t{1} << bits) : nullptr;
}

ResultCode give_fixed_palette(BitmapHandle &bitmap) noexcept {
  const std::int32_t count = bitmap.ColorCount;
  if (count < 2 || count > 256 || !std::has_single_bit(static_cast<std::uint32_t>(count))) return 0;
  // Chosen by count: 4 deliberately takes the 2-entry table and runs on into
  // the next one, which the contiguous layout of the defaults makes defined.
  const int bits = count == 4 ? 1 : std::countr_zero(static_cast<std::uint32_t>(count));
  PaletteEntry *entries = copy_palette(default_palette(bits), static_cast<std::uint32_t>(count));
  if (!entries) return RC_NO_MEMORY;
  bitmap.Palette = entries;
  return RC_SUCCESS;
}

ResultCode copy_fixed_palette(PaletteEntry *entries, std::int32_t bits) noexcept {
  if (bits < 0 || bits > 8) return RC_INVALID_PARAMETER;
  const PaletteEntry *table = bits == 0 ? gray_levels_palette() : default_palette(bits);
  const std::size_t count = bits == 0 ? 256 : std::size_t{1} << bits;
  std::memcpy(entries, table, count * sizeof(PaletteEntry));
  return RC_SUCCESS;
}

bool matches_palette(const BitmapHandle &bitmap, const PaletteEntry *entries,
                     std::uint32_t count) noexcept {
  if (!bitmap.Palette || bitmap.ColorCount <= 0) return true;
  const auto size = static_cast<std::uint32_t>(bitmap.ColorCount);
  const std::uint32_t n = count < size ? count : size;
  for (std::uint32_t i = 0; i < n; ++i) {
    const PaletteEntry &a = bitmap.Palette[i], &b = entries[i];
    if (a.Blue != b.Blue || a.Green != b.Green || a.Red != b.Red) return false;
  }
  return true;
}

}  // namespace vxkrn::color
