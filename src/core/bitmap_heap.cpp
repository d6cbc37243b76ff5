// The offset arena: first-fit chunks on a free list, grown and trimmed by
// reallocation, and the exported release of one chunk or a whole arena.
#include "core/bitmap_heap.h"

#include "platform/heap.h"
#include "vxkrn/heap.h"

namespace vxkrn::core {
namespace {

constexpr std::uint32_t kFirstChunk = kArenaHeaderBytes;
constexpr std::uint32_t kLargeArena = 4194304;
constexpr std::uint32_t kTrimmedTail = 128;

ArenaHeader &header(void *arena) {
  return *static_cast<ArenaHeader *>(arena);
}

// Every offset is a multiple of 4 inside a heap block, so the cast is aligned.
ArenaChunk &chunk_at(void *arena, std::uint32_t offset) {
  return *reinterpret_cast<ArenaChunk *>(static_cast<std::uint8_t *>(arena) + offset);
}

std::uint64_t round_up(std::uint64_t value, std::uint64_t multiple) {
  return (value + multiple - 1) / multiple * multiple;
}

void push_free(void *arena, std::uint32_t offset) {
  ArenaHeader &h = header(arena);
  ArenaChunk &c = chunk_at(arena, offset);
  c.free_prev = 0;
  c.free_next = h.free_head;
  if (h.free_head) chunk_at(arena, h.free_head).free_prev = offset;
  h.free_head = offset;
}

void unlink_free(void *arena, std::uint32_t offset) {
  ArenaChunk &c = chunk_at(arena, offset);
  if (c.free_prev)
    chunk_at(arena, c.free_prev).free_next = c.free_next;
  else
    header(arena).free_head = c.free_next;
  if (c.free_next) chunk_at(arena, c.free_next).free_prev = c.free_prev;
  c.free_prev = 0;
  c.free_next = 0;
}

bool next_is_free(void *arena, std::uint32_t offset) {
  const std::uint32_t next = chunk_at(arena, offset).next_chunk;
  return next != 0 && !chunk_at(arena, next).in_use;
}

// `first` swallows the free chunk that follows it, header included.
void absorb_next(void *arena, std::uint32_t first) {
  ArenaChunk &f = chunk_at(arena, first);
  const std::uint32_t second = f.next_chunk;
  const ArenaChunk &s = chunk_at(arena, second);
  unlink_free(arena, second);
  f.data_size += kChunkHeaderBytes + s.data_size;
  f.next_chunk = s.next_chunk;
  if (s.next_chunk) chunk_at(arena, s.next_chunk).prev_chunk = first;
  if (header(arena).last_chunk == second) header(arena).last_chunk = first;
}

std::uint32_t first_fit(void *arena, std::uint32_t bytes) {
  for (std::uint32_t c = header(arena).free_head; c != 0; c = chunk_at(arena, c).free_next)
    if (chunk_at(arena, c).data_size >= bytes) return c;
  return 0;
}

// Reallocate to `size` bytes. False: arena unchanged.
bool resize(void **arena, std::uint32_t size) {
  void *moved = platform::heap_realloc(platform::Heap::Runtime, *arena, size);
  if (!moved) return false;
  header(moved).total_size = size;
  *arena = moved;
  return true;
}

}  // namespace

void *arena_create(std::uint32_t expected) noexcept {
  std::uint64_t size = std::uint64_t{expected ? expected : 32u} + kArenaHeaderBytes;
  // Above one granule the estimate is not trusted: the arena starts at 4 MiB
  // whatever was asked and grows on demand, so a large estimate never asks
  // the heap for one huge block up front.
  if (size > kArenaGranule) size = kLargeArena;
  size = round_up(size, kArenaGranule);
  void *arena = platform::rt_alloc(static_cast<std::size_t>(size), true);
  if (!arena) return nullptr;
  ArenaHeader &h = header(arena);
  h.total_size = static_cast<std::uint32_t>(size);
  h.last_chunk = kFirstChunk;
  h.free_head = kFirstChunk;
  chunk_at(arena, kFirstChunk).data_size = h.total_size - kFirstChunk - kChunkHeaderBytes;
  return arena;
}

std::uint32_t arena_alloc(void **arena, std::uint32_t bytes) noexcept {
  if (!arena || !*arena || bytes > UINT32_MAX - 3) return 0;
  const std::uint32_t r = (bytes + 3) & ~3u;
  std::uint32_t offset = first_fit(*arena, r);
  if (offset == 0) {
    if (!arena_grow(arena, r)) return 0;
    offset = first_fit(*arena, r);  // growth leaves a free tail of at least r
    if (offset == 0) return 0;
  }
  void *a = *arena;
  ArenaChunk &c = chunk_at(a, offset);
  c.in_use = 1;
  // A remainder that could not hold a chunk header and some data stays with
  // the chunk.
  if (std::uint64_t{r} + kChunkHeaderBytes < c.data_size) {
    const std::uint32_t rest = offset + kChunkHeaderBytes + r;
    chunk_at(a, rest) =
        ArenaChunk{offset, c.next_chunk, 0, 0, 0, c.data_size - r - kChunkHeaderBytes};
    if (c.next_chunk) chunk_at(a, c.next_chunk).prev_chunk = rest;
    c.next_chunk = rest;
    c.data_size = r;
    if (header(a).last_chunk == offset) header(a).last_chunk = rest;
    // Free chunks never touch, so the one after `rest` is in use: nothing
    // to merge.
    push_free(a, rest);
  }
  unlink_free(a, offset);
  return offset;
}

void arena_free(void *arena, std::uint32_t chunk) noexcept {
  if (!arena || chunk < kFirstChunk || chunk % 4 != 0) return;
  if (std::uint64_t{chunk} + kChunkHeaderBytes > header(arena).total_size) return;
  ArenaChunk &c = chunk_at(arena, chunk);
  if (c.in_use != 1) return;
  c.in_use = 0;
  push_free(arena, chunk);
  if (next_is_free(arena, chunk)) absorb_next(arena, chunk);
  if (c.prev_chunk && !chunk_at(arena, c.prev_chunk).in_use) absorb_next(arena, c.prev_chunk);
}

bool arena_grow(void **arena, std::uint32_t bytes) noexcept {
  if (!arena || !*arena) return false;
  const std::uint32_t last = header(*arena).last_chunk;
  const std::uint32_t old_size = header(*arena).total_size;
  const ArenaChunk &tail = chunk_at(*arena, last);
  const bool tail_used = tail.in_use != 0;
  const std::uint64_t wanted = tail_used ? std::uint64_t{old_size} + bytes + kChunkHeaderBytes
                                         : std::uint64_t{old_size} - tail.data_size + bytes;
  const std::uint64_t size = round_up(wanted, kArenaGranule);
  if (size > UINT32_MAX) return false;
  const std::uint32_t new_size = static_cast<std::uint32_t>(size);
  if (new_size != old_size && !resize(arena, new_size)) return false;

  void *a = *arena;
  ArenaChunk &t = chunk_at(a, last);
  if (tail_used) {
    // The new chunk starts where the last one's data ends, which also takes
    // back the spare bytes a trim leaves.
    const std::uint32_t added = last + kChunkHeaderBytes + t.data_size;
    chunk_at(a, added) = ArenaChunk{last, 0, 0, 0, 0, new_size - added - kChunkHeaderBytes};
    t.next_chunk = added;
    header(a).last_chunk = added;
    push_free(a, added);
  } else {
    t.data_size = new_size - last - kChunkHeaderBytes;
  }
  return true;
}

bool arena_trim(void **arena) noexcept {
  if (!arena || !*arena) return false;
  const std::uint32_t last = header(*arena).last_chunk;
  const ArenaChunk &tail = chunk_at(*arena, last);
  if (tail.in_use || tail.data_size <= kTrimmedTail) return false;
  // 24 spare bytes stay past the tail's data: room for the header of the
  // chunk that a later growth appends there.
  const std::uint32_t size = last + kChunkHeaderBytes + kTrimmedTail + kChunkHeaderBytes;
  if (!resize(arena, size)) return false;
  chunk_at(*arena, last).data_size = kTrimmedTail;
  return true;
}

std::uint8_t *arena_data(void *arena, std::uint32_t chunk) noexcept {
  return arena ? static_cast<std::uint8_t *>(arena) + chunk + kChunkHeaderBytes : nullptr;
}

std::uint32_t arena_size(const void *arena) noexcept {
  return arena ? static_cast<const ArenaHeader *>(arena)->total_size : 0;
}

void arena_destroy(void *arena) noexcept {
  platform::rt_free(arena);
}

}  // namespace vxkrn::core
