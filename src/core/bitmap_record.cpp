// The bitmap record itself: initialisation, copying, size, gray description
// and the small field-copy helpers.
#include <cstring>

#include "core/bitmap_core.h"
#include "core/checks.h"
#include "core/compressed_storage.h"
#include "core/thread_state.h"
#include "platform/heap.h"
#include "vxkrn/bitmap.h"

namespace vxkrn::core {

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

bool is_bitmap_depth(std::int32_t bits_per_pixel) noexcept {
  switch (bits_per_pixel) {
    case 1:
    case 2:
    case 3:
    case 4:
    case 5:
    case 6:
    case 7:
    case 8:
    case 12:
    case 16:
    case 24:
    case 32:
    case 48:
    case 64:
      return true;
    default:
      return false;
  }
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

MemoryBlock aligned_in(void *block) noexcept {
  const auto address = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t aligned = (address + 31) & ~std::uintptr_t{31};
  return MemoryBlock{block, reinterpret_cast<std::uint8_t *>(aligned),
                     static_cast<std::uint32_t>(aligned - address)};
}

}  // namespace vxkrn::core

using namespace vxkrn::core;

namespace {

// Gray description of a new record: MaxBit = HighBit = the top significant bit.
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

extern "C" {

ResultCode V_InitBitmap(BitmapHandle *bitmap, uint32_t struct_size, int32_t width, int32_t height,
                        int32_t bits_per_pixel) {
  VXKRN_TRY(check_record(bitmap, RC_INVALID_PARAMETER));
  VXKRN_TRY(check_struct_size(struct_size));
  std::memset(bitmap, 0, sizeof *bitmap);
  bitmap->StructSize = BITMAPHANDLE_SIZE;
  if (width == 0 && height == 0 && bits_per_pixel == 0) return RC_SUCCESS;
  if (!is_bitmap_depth(bits_per_pixel)) return RC_INVALID_BITS_PER_PIXEL;
  if (width < 0 || height < 0) return RC_INVALID_PARAMETER;

  const std::uint64_t stride = bytes_per_line(width, bits_per_pixel);
  const std::uint64_t size = stride * static_cast<std::uint64_t>(height);
  if (!within_size_cap(size) || stride > INT32_MAX) {
    std::memset(bitmap, 0, sizeof *bitmap);
    return RC_IMAGE_TOO_LARGE;
  }
  bitmap->Width = width;
  bitmap->Height = height;
  bitmap->BitsPerPixel = bits_per_pixel;
  bitmap->BytesPerLine = static_cast<int32_t>(stride);
  bitmap->Size = static_cast<uint32_t>(size);

  const ThreadState &state = thread_state();
  bitmap->DitheringMethod = state.default_dithering;
  bitmap->ViewPerspective = 4;
  if (bits_per_pixel <= 8) {
    bitmap->Order = ORDER_RGB;
    bitmap->ColorCount = 1 << bits_per_pixel;
  } else {
    bitmap->Order = bits_per_pixel == 12 ? ORDER_GRAY : ORDER_BGR;
  }
  bitmap->XResolution = resolution_or_default(state.default_x_resolution);
  bitmap->YResolution = resolution_or_default(state.default_y_resolution);
  bitmap->MaxBit = initial_high_bit(bits_per_pixel);
  bitmap->HighBit = bitmap->MaxBit;
  if (bits_per_pixel == 32) bitmap->HighBit = bitmap->MaxBit = -1;
  bitmap->PaintScale = 100;
  return RC_SUCCESS;
}

ResultCode V_CopyBitmapHandle(BitmapHandle *destination, const BitmapHandle *source,
                              uint32_t struct_size) {
  if (!destination) return RC_SUCCESS;
  VXKRN_TRY(check_handle(source, RC_INVALID_PARAMETER));
  VXKRN_TRY(check_struct_size(struct_size));
  std::memcpy(destination, source, sizeof *destination);
  return RC_SUCCESS;
}

ResultCode V_UpdateBitmapSize(BitmapHandle *bitmap) {
  VXKRN_TRY(check_allocated_handle(bitmap, RC_INVALID_PARAMETER, RC_INVALID_BITMAP));
  // Compressed storage holds its stored records; the others whole rows.
  const std::uint64_t size = (bitmap->Flags & FLAG_COMPRESSED)
                                 ? compressed_size(*bitmap)
                                 : static_cast<std::uint64_t>(bitmap->BytesPerLine) *
                                       static_cast<std::uint64_t>(bitmap->Height);
  bitmap->Size = capped_size(size);
  return within_size_cap(size) ? RC_SUCCESS : RC_IMAGE_TOO_LARGE;
}

int32_t V_IsBitmapLUTLengthValid(const BitmapHandle *bitmap) {
  if (!bitmap) return 0;
  if (bitmap->Order != ORDER_GRAY || !bitmap->LUT) return 1;
  const GrayBits bits = active_gray_bits(*bitmap);
  const std::int64_t width = std::int64_t{bits.high} - bits.low + 1;
  if (width < 0 || width > 31) return 0;
  return bitmap->LUTLength == (std::uint32_t{1} << width) ? 1 : 0;
}

ResultCode V_CopyPlaybackParms(BitmapHandle *destination, const BitmapHandle *source) {
  VXKRN_TRY(check_handle(destination, RC_INVALID_PARAMETER));
  VXKRN_TRY(check_handle(source, RC_INVALID_PARAMETER));
  std::memcpy(destination->Playback, source->Playback, sizeof destination->Playback);
  return RC_SUCCESS;
}

ResultCode V_FreeGrayParams(BitmapHandle *bitmap) {
  VXKRN_TRY(check_handle(bitmap, RC_INVALID_PARAMETER));
  vxkrn::platform::sys_free(bitmap->LUT);
  vxkrn::platform::sys_free(bitmap->MapTable);
  bitmap->LUT = nullptr;
  bitmap->LUTLength = 0;
  bitmap->MapTable = nullptr;
  return RC_SUCCESS;
}

ResultCode V_CopyGrayParams(BitmapHandle *destination, const BitmapHandle *source) {
  VXKRN_TRY(check_handle(destination, RC_INVALID_PARAMETER));
  VXKRN_TRY(check_handle(source, RC_INVALID_PARAMETER));
  PaletteEntry *lut = nullptr;
  if (source->LUT && source->LUTLength) {
    const std::size_t bytes = std::size_t{source->LUTLength} * sizeof(PaletteEntry);
    lut = static_cast<PaletteEntry *>(vxkrn::platform::sys_alloc(bytes));
    if (!lut) return RC_NO_MEMORY;
    std::memcpy(lut, source->LUT, bytes);
  }
  if (destination->LUT != source->LUT) vxkrn::platform::sys_free(destination->LUT);
  destination->LUT = lut;
  destination->LUTLength = lut ? source->LUTLength : 0;
  destination->LowBit = source->LowBit;
  destination->HighBit = source->HighBit;
  destination->MinBit = source->MinBit;
  destination->MaxBit = source->MaxBit;
  destination->MinVal = source->MinVal;
  destination->MaxVal = source->MaxVal;
  destination->Flags =
      (destination->Flags & ~FLAG_USE_LOW_HIGH) | (source->Flags & FLAG_USE_LOW_HIGH);
  return RC_SUCCESS;
}

}  // extern "C"
