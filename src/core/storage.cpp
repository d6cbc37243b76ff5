// Storage of a bitmap: choosing the kind from the memory type, allocating,
// access and release, changing the height in place, and freeing.
#include "core/storage.h"

#include <array>
#include <cstring>

#include "core/checks.h"
#include "core/compressed_storage.h"
#include "core/record.h"
#include "core/temp_files.h"
#include "platform/files.h"
#include "platform/heap.h"
#include "vxkrn/bitmap.h"

namespace vxkrn::core {
namespace {

// The memory type after its modifier bits are applied, or 0 when it is not
// accepted for this depth.
std::int32_t resolve_memory_type(std::int32_t type, std::int32_t bits_per_pixel) {
  if (type & MEM_MOD_COMPRESS)
    type = bits_per_pixel == 1 ? MEM_COMPRESSED : type & ~MEM_MOD_COMPRESS;
  if (type & MEM_MOD_SUPER) {
    const bool keeps = bits_per_pixel == 1 || bits_per_pixel == 8 || bits_per_pixel == 24;
    if (!keeps)
      type &= ~MEM_MOD_SUPER;
    else if (type != MEM_SUPER && type != MEM_SUPER_OR_CONVENTIONAL)
      return 0;
  }
  switch (type) {
    case MEM_CONVENTIONAL:
    case MEM_USER:
    case MEM_DISK:
    case 8:
    case 9:
    case MEM_TEMP_FILE:
    case MEM_NO_DISK:
    case MEM_COMPRESSED:
    case MEM_SUPER:
    case MEM_SUPER_OR_CONVENTIONAL:
      return type;
    default:
      return 0;
  }
}

constexpr std::array<std::uint8_t, 256> kIdentityMap = [] {
  std::array<std::uint8_t, 256> map{};
  for (int i = 0; i < 256; ++i)
    map[i] = static_cast<std::uint8_t>(i);
  return map;
}();

// What allocation decided, written to the record only on success.
struct NewStorage {
  void *storage = nullptr;
  std::uint8_t *data = nullptr;
  std::uint32_t align_offset = 0;
  std::uint32_t flags = 0;
  bool sets_align_offset = false;
};

// One zero-filled block of Size + 31 bytes. False when it cannot be had.
bool allocate_memory_block(const BitmapHandle &bitmap, NewStorage &out) {
  const std::size_t bytes = platform::checked_product(std::uint64_t{bitmap.Size} + 31, 1);
  void *block = platform::sys_alloc(bytes);
  if (!block) return false;
  platform::prefault(block, bytes);
  const MemoryBlock aligned = aligned_in(block);
  out = NewStorage{block, aligned.data, aligned.align_offset, FLAG_ALLOCATED | FLAG_CONVENTIONAL,
                   true};
  return true;
}

// A registered temporary file of Size + 1 bytes.
ResultCode make_disk_storage(const BitmapHandle &bitmap, NewStorage &out) {
  std::int32_t file;
  VXKRN_TRY(create_temp_file(bitmap.Size + 1, &file));
  out = NewStorage{reinterpret_cast<void *>(static_cast<std::intptr_t>(file)), nullptr, 0,
                   FLAG_ALLOCATED | FLAG_DISK, false};
  return RC_SUCCESS;
}

ResultCode create_storage(const BitmapHandle &bitmap, std::int32_t type, NewStorage &out) {
  switch (type) {
    case MEM_USER:
      out = NewStorage{nullptr, nullptr, 0, FLAG_ALLOCATED | FLAG_CONVENTIONAL | FLAG_USER_MEMORY,
                       false};
      return RC_SUCCESS;
    case MEM_NO_DISK:
      return allocate_memory_block(bitmap, out) ? RC_SUCCESS : RC_NO_MEMORY;
    case MEM_CONVENTIONAL:
    case 8:
    case 9:
      return allocate_memory_block(bitmap, out) ? RC_SUCCESS : make_disk_storage(bitmap, out);
    case MEM_DISK:
    case MEM_TEMP_FILE:
      return make_disk_storage(bitmap, out);
    case MEM_COMPRESSED: {
      void *table = compressed_create(bitmap.Width, bitmap.Height);
      if (!table) return RC_NO_MEMORY;
      out = NewStorage{table, static_cast<std::uint8_t *>(table), 0,
                       FLAG_ALLOCATED | FLAG_CONVENTIONAL | FLAG_COMPRESSED, false};
      return RC_SUCCESS;
    }
    default:
      // Codec-compressed strips are not built.
      return RC_NO_MEMORY;
  }
}

// Reallocate a memory block for `count` bytes of data. The block keeps 31
// bytes beyond them, as at allocation, so data addressed from the aligned
// Data stay inside it too.
ResultCode resize_memory_block(BitmapHandle &bitmap, std::uint64_t count) {
  if (count == bitmap.Size) return RC_SUCCESS;
  void *block = platform::heap_realloc(platform::Heap::System, bitmap.Storage,
                                       platform::checked_product(count + 31, 1));
  if (!block) return RC_NO_MEMORY;
  const MemoryBlock aligned = aligned_in(block);
  bitmap.Storage = block;
  bitmap.Data = aligned.data;
  bitmap.AlignOffset = aligned.align_offset;
  return RC_SUCCESS;
}

// Set a disk bitmap's file to exactly `bytes`.
ResultCode resize_disk_storage(std::int32_t file, std::uint64_t bytes) {
  if (bytes > UINT32_MAX) return RC_NO_MEMORY;
  const auto at = static_cast<std::int64_t>(bytes);
  const bool sized = platform::file_seek(file, at, platform::Origin::Start) == at &&
                     platform::file_truncate_here(file);
  return sized ? RC_SUCCESS : RC_NO_MEMORY;
}

// Memory storage whose Data this library computes: allocated, not
// compressed, not behind a codec, not the caller's ready pointer.
bool directly_accessible(const BitmapHandle &bitmap) {
  const std::uint32_t flags = bitmap.Flags;
  // A freed record may keep FLAG_CONVENTIONAL; it has nothing to point at.
  if ((flags & (FLAG_ALLOCATED | FLAG_CONVENTIONAL)) != (FLAG_ALLOCATED | FLAG_CONVENTIONAL))
    return false;
  if (flags & (FLAG_COMPRESSED | FLAG_NO_DIRECT_ACCESS | FLAG_SUPER_COMPRESSED)) return false;
  return !(flags & FLAG_USER_MEMORY) || (flags & FLAG_USER_BLOCK);
}

}  // namespace

ResultCode allocate(BitmapHandle &bitmap, std::int32_t memory_type) noexcept {
  if (bitmap.Size == 0) return RC_EMPTY_AREA;
  bitmap.Flags &= ~FLAG_STORAGE_MASK;
  const std::int32_t type = resolve_memory_type(memory_type, bitmap.BitsPerPixel);
  if (type == 0) return RC_INVALID_PARAMETER;

  platform::SystemBlock map(platform::sys_alloc(kIdentityMap.size()));
  if (!map) return RC_NO_MEMORY;
  std::memcpy(map.get(), kIdentityMap.data(), kIdentityMap.size());
  NewStorage made;
  VXKRN_TRY(create_storage(bitmap, type, made));

  bitmap.Storage = made.storage;
  bitmap.Data = made.data;
  if (made.sets_align_offset) bitmap.AlignOffset = made.align_offset;
  bitmap.Flags |= made.flags;
  bitmap.MapTable = static_cast<std::uint8_t *>(map.release());
  return RC_SUCCESS;
}

void release_storage(BitmapHandle &bitmap) noexcept {
  switch (storage_kind(bitmap)) {
    case StorageKind::None:
      break;
    case StorageKind::User:
      bitmap.Flags &= ~(FLAG_COMPRESSED | FLAG_CONVENTIONAL | FLAG_DISK | FLAG_USER_MEMORY);
      break;
    case StorageKind::Compressed:
      compressed_free(bitmap.Data, bitmap.Height);
      bitmap.Data = nullptr;
      bitmap.Flags &= ~FLAG_COMPRESSED;
      break;
    case StorageKind::Memory:
      release(bitmap);
      platform::sys_free(bitmap.Storage);
      bitmap.Flags &= ~FLAG_CONVENTIONAL;
      break;
    case StorageKind::Disk:
      close_file(disk_file(bitmap));
      bitmap.Flags &= ~FLAG_DISK;
      break;
    case StorageKind::SuperCompressed:
      // No allocation path makes codec strips; a record that claims them was
      // not made here and its storage is not ours to free.
      break;
  }
}

void free_bitmap(BitmapHandle &bitmap) noexcept {
  platform::sys_free(bitmap.Palette);
  bitmap.Palette = nullptr;
  if (!(bitmap.Flags & FLAG_ALLOCATED)) return;
  release_storage(bitmap);
  bitmap.Flags &= ~FLAG_ALLOCATED;
  free_gray_params(bitmap);
}

void access(BitmapHandle &bitmap) noexcept {
  if (!directly_accessible(bitmap) || (bitmap.Flags & FLAG_ACCESSED)) return;
  // A block this library allocated is addressed from its start; only a
  // caller's block is addressed at its aligned offset.
  auto *base = static_cast<std::uint8_t *>(bitmap.Storage);
  bitmap.Data = (bitmap.Flags & FLAG_USER_BLOCK) ? base + bitmap.AlignOffset : base;
  bitmap.Flags |= FLAG_ACCESSED;
}

void release(BitmapHandle &bitmap) noexcept {
  if (!directly_accessible(bitmap) || !(bitmap.Flags & FLAG_ACCESSED)) return;
  bitmap.Flags &= ~FLAG_ACCESSED;
  bitmap.Data = nullptr;
}

std::int32_t memory_info(const BitmapHandle &bitmap) noexcept {
  switch (storage_kind(bitmap)) {
    case StorageKind::Compressed:
      return MEM_INFO_COMPRESSED;
    case StorageKind::SuperCompressed:
      return MEM_INFO_SUPER;
    default:
      return (bitmap.Flags & FLAG_CONVENTIONAL) ? MEM_INFO_MEMORY : MEM_INFO_DISK;
  }
}

std::int32_t storage_type_of(const BitmapHandle &source) noexcept {
  if (source.Flags & FLAG_COMPRESSED) return MEM_MOD_COMPRESS | MEM_CONVENTIONAL;
  if (source.Flags & FLAG_SUPER_COMPRESSED) return MEM_SUPER;
  if (source.Flags & FLAG_DISK) return MEM_TEMP_FILE;
  return MEM_CONVENTIONAL;
}

ResultCode change_height(BitmapHandle &bitmap, std::int32_t new_height) noexcept {
  if (new_height == bitmap.Height) return RC_SUCCESS;
  if (new_height < 0) return RC_INVALID_PARAMETER;
  if (new_height == 0) return RC_EMPTY_AREA;
  const std::uint64_t count =
      static_cast<std::uint64_t>(bitmap.BytesPerLine) * static_cast<std::uint64_t>(new_height) +
      bitmap.AlignOffset;
  switch (storage_kind(bitmap)) {
    case StorageKind::Memory:
      VXKRN_TRY(resize_memory_block(bitmap, count));
      break;
    case StorageKind::Disk:
      VXKRN_TRY(resize_disk_storage(disk_file(bitmap), count));
      break;
    case StorageKind::Compressed:
      // Rows come and go; Size keeps counting the stored records.
      VXKRN_TRY(compressed_resize(bitmap, new_height));
      bitmap.Height = new_height;
      return RC_SUCCESS;
    default:
      return RC_INVALID_BITMAP;
  }
  // Size now includes AlignOffset, and a count beyond the cap is not an error.
  bitmap.Size = capped_size(count);
  bitmap.Height = new_height;
  return RC_SUCCESS;
}

}  // namespace vxkrn::core
