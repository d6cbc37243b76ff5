// The offset arena of compressed storage: one run-time heap block holding a
// chunk list, addressed by offsets so that the block may move when it grows.
#pragma once

#include <cstdint>

namespace vxkrn::core {

// Layout, all 32-bit words, offsets from the arena's start:
//   header (12 bytes) at 0: TotalSize, LastChunk, FreeHead (0: no free chunk);
//   chunks from offset 12 on, each a 24-byte header followed by its data:
//   PrevChunk, NextChunk (0 at the ends), InUse (1 or 0), FreePrev, FreeNext
//   (free-list links, 0 at the ends), DataSize.
// Chunks follow each other without gaps; only a trim leaves 24 bytes past
// the last chunk, which the next growth takes back.
struct ArenaHeader {
  std::uint32_t total_size;
  std::uint32_t last_chunk;
  std::uint32_t free_head;
};
struct ArenaChunk {
  std::uint32_t prev_chunk;
  std::uint32_t next_chunk;
  std::uint32_t in_use;
  std::uint32_t free_prev;
  std::uint32_t free_next;
  std::uint32_t data_size;
};
static_assert(sizeof(ArenaHeader) == 12 && sizeof(ArenaChunk) == 24);

constexpr std::uint32_t kArenaHeaderBytes = sizeof(ArenaHeader);
constexpr std::uint32_t kChunkHeaderBytes = sizeof(ArenaChunk);
// Arenas are sized in multiples of this.
constexpr std::uint32_t kArenaGranule = 262144;

// A new zero-filled arena for about `expected` bytes of data, holding one
// free chunk: (expected, 32 if 0) + 12 rounded up to the granule, but
// 4194304 bytes whenever that sum exceeds one granule. Null on failure.
void *arena_create(std::uint32_t expected) noexcept;

// Allocate `bytes` rounded up to 4 from the first free chunk that fits, in
// free-list order, growing the arena by that much when none does. A chunk
// with more than 24 bytes to spare is split. Returns the chunk's offset, 0
// when the arena cannot grow (or *arena is null). The arena may move:
// *arena is updated.
std::uint32_t arena_alloc(void **arena, std::uint32_t bytes) noexcept;

// Free a chunk, merging it with a free next and then a free previous
// neighbour. Null arena, chunk 0, offsets outside the arena and chunks that
// are not in use are ignored.
void arena_free(void *arena, std::uint32_t chunk) noexcept;

// Make the arena end in a free chunk of at least `bytes`: the size becomes
// (TotalSize - last free DataSize + bytes), or (TotalSize + bytes + 24) when
// the last chunk is in use, rounded up to the granule. An arena whose free
// tail is already larger therefore shrinks. False, arena unchanged, when the
// heap refuses (or the size would not fit 32 bits). Bytes added are not
// cleared.
bool arena_grow(void **arena, std::uint32_t bytes) noexcept;

// Give back the free tail beyond 128 data bytes: only when the last chunk is
// free with more than 128 data bytes, that chunk keeps 128 and the arena ends
// 24 bytes after them (TotalSize - DataSize + 152 when nothing lay past the
// chunk). False in every other case and when the heap refuses (arena
// unchanged).
bool arena_trim(void **arena) noexcept;

// The data bytes of a chunk (offset + 24).
std::uint8_t *arena_data(void *arena, std::uint32_t chunk) noexcept;

// Free the whole arena (null is ignored).
void arena_destroy(void *arena) noexcept;

// TotalSize; 0 for a null arena.
std::uint32_t arena_size(const void *arena) noexcept;

}  // namespace vxkrn::core
