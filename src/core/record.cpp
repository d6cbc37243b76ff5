// The record itself: initialisation, size, the gray description, and the
// palette, tables and parameters it owns or carries.
#include "core/record.h"

#include <cstring>

#include "core/compressed_storage.h"
#include "core/pixel_layout.h"
#include "core/thread_state.h"
#include "platform/heap.h"

namespace vxkrn::core {
namespace {

// Gray description of a new record: MaxBit = HighBit = the top significant
// bit of a sample (8-bit samples for 24 and 32 bits, 16-bit ones for 48 and
// 64), or of the pixel.
std::int32_t initial_high_bit(std::int32_t bits_per_pixel) {
  switch (bits_per_pixel) {
    case 16:
    case 48:
    case 64:
      return 15;
    case 24:
    case 32:
      return 7;
    default:
      return bits_per_pixel - 1;
  }
}

std::int32_t resolution_or_default(std::int32_t dots_per_inch) {
  return dots_per_inch < 1 ? 150 : dots_per_inch;
}

}  // namespace

StorageKind storage_kind(const BitmapHandle &bitmap) noexcept {
  const std::uint32_t flags = bitmap.Flags;
  if (!(flags & FLAG_ALLOCATED)) return StorageKind::None;
  if (flags & FLAG_USER_MEMORY) return StorageKind::User;
  if (flags & FLAG_COMPRESSED) return StorageKind::Compressed;
  if (flags & FLAG_SUPER_COMPRESSED) return StorageKind::SuperCompressed;
  if (flags & FLAG_CONVENTIONAL) return StorageKind::Memory;
  if (flags & FLAG_DISK) return StorageKind::Disk;
  return StorageKind::None;
}

ResultCode init_bitmap(BitmapHandle &bitmap, std::int32_t width, std::int32_t height,
                       std::int32_t bits_per_pixel) noexcept {
  std::memset(&bitmap, 0, sizeof bitmap);
  bitmap.StructSize = BITMAPHANDLE_SIZE;
  if (width == 0 && height == 0 && bits_per_pixel == 0) return RC_SUCCESS;
  if (!is_bitmap_depth(bits_per_pixel)) return RC_INVALID_BITS_PER_PIXEL;
  if (width < 0 || height < 0) return RC_INVALID_PARAMETER;

  const std::uint64_t stride = bytes_per_line(width, bits_per_pixel);
  const std::uint64_t size = stride * static_cast<std::uint64_t>(height);
  if (!within_size_cap(size) || stride > INT32_MAX) {
    std::memset(&bitmap, 0, sizeof bitmap);
    return RC_IMAGE_TOO_LARGE;
  }
  bitmap.Width = width;
  bitmap.Height = height;
  bitmap.BitsPerPixel = bits_per_pixel;
  bitmap.BytesPerLine = static_cast<std::int32_t>(stride);
  bitmap.Size = static_cast<std::uint32_t>(size);

  const ThreadState &state = thread_state();
  bitmap.DitheringMethod = state.default_dithering;
  bitmap.ViewPerspective = VIEW_BOTTOM_LEFT;
  if (bits_per_pixel <= 8) {
    bitmap.Order = ORDER_RGB;
    bitmap.ColorCount = 1 << bits_per_pixel;
  } else {
    // Packed pixels deeper than a byte hold gray levels only.
    bitmap.Order = is_packed_depth(bits_per_pixel) ? ORDER_GRAY : ORDER_BGR;
  }
  bitmap.XResolution = resolution_or_default(state.default_x_resolution);
  bitmap.YResolution = resolution_or_default(state.default_y_resolution);
  bitmap.MaxBit = initial_high_bit(bits_per_pixel);
  bitmap.HighBit = bitmap.MaxBit;
  // 32-bit pixels mark their high bit as unset: readers take the top bit.
  if (bits_per_pixel == 32) bitmap.HighBit = bitmap.MaxBit = -1;
  bitmap.PaintScale = 100;
  return RC_SUCCESS;
}

std::uint64_t row_bytes(const BitmapHandle &bitmap) noexcept {
  if (bitmap.Flags & FLAG_COMPRESSED)
    return static_cast<std::uint64_t>(bitmap.BytesPerLine) *
           static_cast<std::uint64_t>(bitmap.Height);
  return bitmap.Size;
}

ResultCode update_size(BitmapHandle &bitmap) noexcept {
  const std::uint64_t size = (bitmap.Flags & FLAG_COMPRESSED)
                                 ? compressed_size(bitmap)
                                 : static_cast<std::uint64_t>(bitmap.BytesPerLine) *
                                       static_cast<std::uint64_t>(bitmap.Height);
  bitmap.Size = capped_size(size);
  return within_size_cap(size) ? RC_SUCCESS : RC_IMAGE_TOO_LARGE;
}

GrayBits active_gray_bits(const BitmapHandle &bitmap) noexcept {
  GrayBits bits = (bitmap.Flags & FLAG_USE_LOW_HIGH) ? GrayBits{bitmap.LowBit, bitmap.HighBit}
                                                     : GrayBits{bitmap.MinBit, bitmap.MaxBit};
  if (bits.high < 0) bits.high = bitmap.BitsPerPixel - 1;
  return bits;
}

bool gray_range(std::int32_t low, std::int32_t high, std::int32_t bits, GrayRange *range) noexcept {
  if (low < 0) low = 0;
  if (high < 0) high = bits - 1;
  if (high > bits - 1 || low > high) return false;
  range->low = static_cast<std::uint32_t>(low);
  range->width = static_cast<std::uint32_t>(high - low + 1);
  return true;
}

bool lut_length_valid(const BitmapHandle &bitmap) noexcept {
  if (bitmap.Order != ORDER_GRAY || !bitmap.LUT) return true;
  const GrayBits bits = active_gray_bits(bitmap);
  const std::int64_t width = std::int64_t{bits.high} - bits.low + 1;
  if (width < 0 || width > 31) return false;
  return bitmap.LUTLength == (std::uint32_t{1} << width);
}

void free_gray_params(BitmapHandle &bitmap) noexcept {
  platform::sys_free(bitmap.LUT);
  platform::sys_free(bitmap.MapTable);
  bitmap.LUT = nullptr;
  bitmap.LUTLength = 0;
  bitmap.MapTable = nullptr;
}

ResultCode copy_gray_params(BitmapHandle &destination, const BitmapHandle &source) noexcept {
  PaletteEntry *lut = nullptr;
  if (source.LUT && source.LUTLength) {
    const std::size_t bytes = std::size_t{source.LUTLength} * sizeof(PaletteEntry);
    lut = static_cast<PaletteEntry *>(platform::sys_alloc(bytes));
    if (!lut) return RC_NO_MEMORY;
    std::memcpy(lut, source.LUT, bytes);
  }
  if (destination.LUT != source.LUT) platform::sys_free(destination.LUT);
  destination.LUT = lut;
  destination.LUTLength = lut ? source.LUTLength : 0;
  destination.LowBit = source.LowBit;
  destination.HighBit = source.HighBit;
  destination.MinBit = source.MinBit;
  destination.MaxBit = source.MaxBit;
  destination.MinVal = source.MinVal;
  destination.MaxVal = source.MaxVal;
  destination.Flags = (destination.Flags & ~FLAG_USE_LOW_HIGH) | (source.Flags & FLAG_USE_LOW_HIGH);
  return RC_SUCCESS;
}

void copy_map_table(BitmapHandle &destination, const BitmapHandle &source) noexcept {
  if (!destination.MapTable || !source.MapTable) return;
  std::memcpy(destination.MapTable, source.MapTable, 256);
  destination.Flags =
      (destination.Flags & ~FLAG_MAP_TABLE_SET) | (source.Flags & FLAG_MAP_TABLE_SET);
  destination.PaintScale = source.PaintScale;
  std::memcpy(destination.PaintScaleParms, source.PaintScaleParms,
              sizeof destination.PaintScaleParms);
}

PaletteEntry *new_palette(const PaletteEntry *entries, std::uint32_t count) noexcept {
  if (!entries || count == 0 || count > 256) return nullptr;
  auto *copy =
      static_cast<PaletteEntry *>(platform::sys_alloc(std::size_t{count} * sizeof(PaletteEntry)));
  if (copy) std::memcpy(copy, entries, std::size_t{count} * sizeof(PaletteEntry));
  return copy;
}

bool replace_palette(BitmapHandle &bitmap, const PaletteEntry *entries,
                     std::uint32_t count) noexcept {
  PaletteEntry *copy = entries ? new_palette(entries, count) : nullptr;
  platform::sys_free(bitmap.Palette);
  bitmap.Palette = copy;
  if (!entries) return true;
  if (!copy) return false;
  bitmap.ColorCount = static_cast<std::int32_t>(count);
  return true;
}

bool copy_palette(BitmapHandle &destination, const BitmapHandle &source) noexcept {
  if (!source.Palette || source.ColorCount <= 0) {
    platform::sys_free(destination.Palette);
    destination.Palette = nullptr;
    destination.ColorCount = 0;
    return true;
  }
  return replace_palette(destination, source.Palette,
                         static_cast<std::uint32_t>(source.ColorCount));
}

MemoryBlock aligned_in(void *block) noexcept {
  const auto address = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t aligned = (address + 31) & ~std::uintptr_t{31};
  return MemoryBlock{block, reinterpret_cast<std::uint8_t *>(aligned),
                     static_cast<std::uint32_t>(aligned - address)};
}

}  // namespace vxkrn::core
