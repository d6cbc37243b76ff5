// Compressed 1-bit storage: a table of row groups, each holding every row's
// place in the group's arena and its word count; records are encoded and
// decoded by the run-length codec.
#include "core/compressed_storage.h"

#include <cstring>
#include <utility>

#include "core/record.h"
#include "core/bitmap_heap.h"
#include "core/byte_order.h"
#include "core/run_length.h"
#include "platform/heap.h"

namespace vxkrn::core {
namespace {

struct RowRef {
  uint32_t chunk;  // offset of the row's run words in the arena; 0: never written
  uint32_t words;  // N
};

// Sized for the rows it holds: a small bitmap pays for its rows only.
struct RowGroup {
  void *arena;
  uint32_t capacity;  // entries in rows
  RowRef rows[1];
};

std::size_t group_bytes(uint32_t rows) {
  return sizeof(RowGroup) + sizeof(RowRef) * (rows ? rows - 1 : 0);
}

// What Data points to: the bytes stored, then one pointer per group.
struct Table {
  uint64_t stored_bytes;
  RowGroup *groups[1];
};

uint32_t groups_for(int64_t height) {
  return static_cast<uint32_t>((height + kRowsPerGroup - 1) / kRowsPerGroup);
}

std::size_t table_bytes(uint32_t groups) {
  return sizeof(Table) + sizeof(RowGroup *) * (groups ? groups - 1 : 0);
}

Table *table_of(const BitmapHandle &b) {
  return static_cast<Table *>(static_cast<void *>(b.Data));
}

RowGroup *group_of(const Table *table, int64_t row) {
  return table->groups[static_cast<uint64_t>(row) / kRowsPerGroup];
}

RowRef &row_ref(RowGroup *group, int64_t row) {
  return group->rows[static_cast<uint64_t>(row) % kRowsPerGroup];
}

// A group for `rows` rows of `width` pixels; null when memory ran out.
RowGroup *make_group(int32_t width, uint32_t rows) {
  auto *group = static_cast<RowGroup *>(platform::sys_alloc(group_bytes(rows)));
  if (!group) return nullptr;
  group->capacity = rows;
  group->arena = arena_create(static_cast<uint32_t>(uint64_t{rows} * uint64_t(width) / 64));
  if (!group->arena) {
    platform::sys_free(group);
    return nullptr;
  }
  return group;
}

void free_group(RowGroup *group) {
  if (!group) return;
  arena_destroy(group->arena);
  platform::sys_free(group);
}

uint32_t rows_in_group(int32_t height, uint32_t group) {
  const uint64_t begin = uint64_t{group} * kRowsPerGroup;
  const uint64_t end = begin + kRowsPerGroup < uint64_t(height) ? begin + kRowsPerGroup : height;
  return static_cast<uint32_t>(end - begin);
}

void forget_row(Table *table, RowGroup *group, RowRef &ref) {
  if (!ref.chunk) return;
  arena_free(group->arena, ref.chunk);
  table->stored_bytes -= words_to_record_bytes(ref.words);
  ref = RowRef{0, 0};
}

// The record the encoder makes of `pixels` 0 pixels: whole bytes add up to
// 65528 per word, the bits of a last partial byte join the word while it
// stays within 65535, and words are separated by 1 runs of no pixels.
void blank_record(uint64_t pixels, uint8_t *out) {
  constexpr uint64_t kWholeBytesPerWord = kMaxRunWord / 8 * 8;
  uint32_t n = 0;
  auto put = [&](uint64_t word) { core::store16(out + 4 + 2 * uint64_t{n++}, uint32_t(word)); };
  uint64_t whole = pixels / 8 * 8;
  const uint64_t rest = pixels % 8;
  for (; whole > kWholeBytesPerWord; whole -= kWholeBytesPerWord) {
    put(kWholeBytesPerWord);
    put(0);
  }
  if (whole + rest > kMaxRunWord) {
    put(whole);
    put(0);
    whole = 0;
  }
  put(whole + rest);
  core::store32(out, n);
}

}  // namespace

void *compressed_create(int32_t width, int32_t height) noexcept {
  const uint32_t groups = groups_for(height);
  auto *table = static_cast<Table *>(platform::sys_alloc(table_bytes(groups)));
  if (!table) return nullptr;
  for (uint32_t g = 0; g < groups; ++g) {
    table->groups[g] = make_group(width, rows_in_group(height, g));
    if (!table->groups[g]) {
      compressed_free(table, static_cast<int32_t>(uint64_t{g} * kRowsPerGroup));
      return nullptr;
    }
  }
  return table;
}

void compressed_free(void *table, int32_t height) noexcept {
  auto *t = static_cast<Table *>(table);
  if (!t) return;
  for (uint32_t g = 0; g < groups_for(height); ++g)
    free_group(t->groups[g]);
  platform::sys_free(t);
}

ResultCode compressed_resize(BitmapHandle &bitmap, int32_t new_height) noexcept {
  Table *table = table_of(bitmap);
  const uint32_t had = groups_for(bitmap.Height), needs = groups_for(new_height);
  if (new_height > bitmap.Height && had > 0) {
    // The last group takes rows up to its end or the new height; entries
    // beyond those it had read as never written.
    RowGroup *&last = table->groups[had - 1];
    const uint32_t rows = rows_in_group(new_height, had - 1);
    if (rows > last->capacity) {
      auto *bigger = static_cast<RowGroup *>(
          platform::heap_realloc(platform::Heap::System, last, group_bytes(rows)));
      if (!bigger) return RC_NO_MEMORY;
      std::memset(static_cast<void *>(bigger->rows + bigger->capacity), 0,
                  sizeof(RowRef) * (rows - bigger->capacity));
      bigger->capacity = rows;
      last = bigger;
    }
  }
  if (needs > had) {
    // Growing past the groups made at allocation adds groups, in a new table
    // built aside: a failure leaves the record pointing at the old one.
    auto *grown = static_cast<Table *>(platform::sys_alloc(table_bytes(needs)));
    if (!grown) return RC_NO_MEMORY;
    std::memcpy(static_cast<void *>(grown), table, table_bytes(had));
    for (uint32_t g = had; g < needs; ++g) {
      grown->groups[g] = make_group(bitmap.Width, rows_in_group(new_height, g));
      if (!grown->groups[g]) {
        for (uint32_t k = had; k < g; ++k)
          free_group(grown->groups[k]);
        platform::sys_free(grown);
        return RC_NO_MEMORY;
      }
    }
    platform::sys_free(table);
    table = grown;
    bitmap.Storage = table;
    bitmap.Data = reinterpret_cast<uint8_t *>(table);
  }
  // Rows at and above the new height are freed; rows between the heights
  // (when growing) were never written or were freed by an earlier shrink.
  for (int64_t row = new_height; row < bitmap.Height; ++row) {
    RowGroup *group = group_of(table, row);
    forget_row(table, group, row_ref(group, row));
  }
  for (uint32_t g = needs; g < had; ++g) {
    free_group(table->groups[g]);
    table->groups[g] = nullptr;
  }
  return RC_SUCCESS;
}

uint64_t compressed_size(const BitmapHandle &bitmap) noexcept {
  return table_of(bitmap)->stored_bytes;
}

void compressed_read(const BitmapHandle &bitmap, int32_t row, uint64_t column, uint64_t count,
                     uint8_t *dest) noexcept {
  RowGroup *group = group_of(table_of(bitmap), row);
  const RowRef &ref = row_ref(group, row);
  const uint8_t *words = ref.chunk ? arena_data(group->arena, ref.chunk) : nullptr;
  decode_runs(words, ref.words, column, count, dest);
}

void compressed_get_record(const BitmapHandle &bitmap, int32_t row, uint8_t *out) noexcept {
  RowGroup *group = group_of(table_of(bitmap), row);
  const RowRef &ref = row_ref(group, row);
  if (!ref.chunk) return blank_record(static_cast<uint64_t>(bitmap.Width), out);
  core::store32(out, ref.words);
  std::memcpy(out + 4, arena_data(group->arena, ref.chunk), 2 * uint64_t{ref.words});
}

ResultCode compressed_put_record(BitmapHandle &bitmap, int32_t row,
                                 const uint8_t *record) noexcept {
  Table *table = table_of(bitmap);
  RowGroup *group = group_of(table, row);
  RowRef &ref = row_ref(group, row);
  const uint32_t words = record_words(record);
  // The new chunk first: a failure keeps the old row.
  const uint32_t chunk = arena_alloc(&group->arena, words ? 2 * words : 2);
  if (!chunk) return RC_NO_MEMORY;
  if (words) std::memcpy(arena_data(group->arena, chunk), record + 4, 2 * uint64_t{words});
  forget_row(table, group, ref);
  ref = RowRef{chunk, words};
  table->stored_bytes += words_to_record_bytes(words);
  bitmap.Size = capped_size(table->stored_bytes);
  return RC_SUCCESS;
}

bool compressed_swap_rows(BitmapHandle &bitmap, int32_t a, int32_t b) noexcept {
  Table *table = table_of(bitmap);
  RowGroup *group = group_of(table, a);
  if (group != group_of(table, b)) return false;
  std::swap(row_ref(group, a), row_ref(group, b));
  return true;
}

bool compressed_grow(BitmapHandle &bitmap, uint32_t bytes) noexcept {
  Table *table = table_of(bitmap);
  const uint32_t groups = groups_for(bitmap.Height);
  for (uint32_t g = groups; g-- > 0;)
    if (!arena_grow(&table->groups[g]->arena, bytes / groups)) return false;
  return true;
}

bool compressed_trim(BitmapHandle &bitmap) noexcept {
  Table *table = table_of(bitmap);
  for (uint32_t g = groups_for(bitmap.Height); g-- > 0;)
    if (!arena_trim(&table->groups[g]->arena)) return false;
  return true;
}

}  // namespace vxkrn::core
