// Nearest-colour search. The accelerated search is exact: for every cell of
// the colour cube it keeps, in palette order, each entry whose distance to
// the cell's nearest point does not exceed the smallest farthest-point
// distance of any entry. Any entry at the minimum distance from a colour in
// the cell passes that test, so scanning the list with the plain scan's
// comparisons yields the plain scan's index.
#include "color/palette_search.h"

#include <cstring>

namespace vxkrn::color {
namespace {

uint32_t distance(const PaletteEntry &e, int red, int green, int blue) {
  const int dr = e.Red - red, dg = e.Green - green, db = e.Blue - blue;
  return static_cast<uint32_t>(dr * dr + dg * dg + db * db);
}

// The same for any requested components, which callers may pass outside
// 0..255.
uint64_t wide_distance(const PaletteEntry &e, int64_t red, int64_t green, int64_t blue) {
  const int64_t dr = e.Red - red, dg = e.Green - green, db = e.Blue - blue;
  return static_cast<uint64_t>(dr * dr + dg * dg + db * db);
}

bool is_black(const PaletteEntry &e) {
  return e.Red == 0 && e.Green == 0 && e.Blue == 0;
}
bool is_white(const PaletteEntry &e) {
  return e.Red == 255 && e.Green == 255 && e.Blue == 255;
}

// The ends of the palette answer black and white before any search.
int shortcut(const PaletteEntry *entries, uint32_t count, int red, int green, int blue) {
  if ((red | green | blue) == 0) {
    if (is_black(entries[0])) return 0;
    if (is_black(entries[count - 1])) return static_cast<int>(count - 1);
  } else if (red == 255 && green == 255 && blue == 255) {
    if (is_white(entries[count - 1])) return static_cast<int>(count - 1);
    if (is_white(entries[0])) return 0;
  }
  return -1;
}

// The scan both searches share, over n candidates: the first at the
// smallest distance, a later equally distant one winning when its order
// code matches `code`; it stops at an exact match. index_of(k) is candidate
// k's entry; distance_of and code_of describe an entry.
template <class IndexOf, class DistanceOf, class CodeOf>
uint32_t nearest_of(uint32_t n, int code, IndexOf index_of, DistanceOf distance_of,
                    CodeOf code_of) {
  uint32_t best = index_of(0);
  auto best_distance = distance_of(best);
  for (uint32_t k = 1; k < n && best_distance != 0; ++k) {
    const uint32_t i = index_of(k);
    const auto d = distance_of(i);
    if (d < best_distance) {
      best = i;
      best_distance = d;
    } else if (d == best_distance && code_of(i) == code) {
      best = i;
    }
  }
  return best;
}

}  // namespace

int32_t find_palette_index(const PaletteEntry *entries, uint32_t count, int red, int green,
                           int blue) noexcept {
  if (!entries) return 0;
  if (count == 0) return -1;
  if (const int end = shortcut(entries, count, red, green, blue); end >= 0) return end;
  const uint32_t best = nearest_of(
      count, order_code(red, green, blue), [](uint32_t k) { return k; },
      [&](uint32_t i) { return wide_distance(entries[i], red, green, blue); },
      [&](uint32_t i) { return order_code(entries[i].Red, entries[i].Green, entries[i].Blue); });
  return static_cast<int32_t>(best);
}

NearestSearch::NearestSearch(const PaletteEntry *entries, uint32_t count) noexcept
    : entries_(entries), count_(count) {}

NearestSearch::~NearestSearch() {
  platform::rt_free(pool_);
}

bool NearestSearch::prepare() noexcept {
  prepared_ = true;
  for (uint32_t i = 0; i < count_; ++i) {
    const PaletteEntry &e = entries_[i];
    codes_[i] = static_cast<uint8_t>(order_code(e.Red, e.Green, e.Blue));
    all_[i] = static_cast<uint8_t>(i);
  }
  const std::size_t cells = sizeof(Cell) * (kCells + kCoarseCells);
  const std::size_t keys = sizeof(uint32_t) << kMemoBits;
  const std::size_t values = std::size_t{1} << kMemoBits;
  memory_.reset(platform::rt_alloc(cells + keys + values, true));
  if (!memory_) return false;
  auto *base = static_cast<uint8_t *>(memory_.get());
  cells_ = reinterpret_cast<Cell *>(base);
  coarse_ = cells_ + kCells;
  memo_keys_ = reinterpret_cast<uint32_t *>(base + cells);
  memo_values_ = base + cells + keys;
  return true;
}

bool NearestSearch::build(const int low[3], int span, const uint8_t *from, uint32_t n,
                          Cell &cell) noexcept {
  uint32_t nearest[256];
  uint32_t bound = UINT32_MAX;
  for (uint32_t k = 0; k < n; ++k) {
    const PaletteEntry &e = entries_[from[k]];
    const int v[3] = {e.Red, e.Green, e.Blue};
    uint32_t near = 0, far = 0;
    for (int axis = 0; axis < 3; ++axis) {
      const int lo = low[axis], hi = low[axis] + span;
      const int a = v[axis] < lo ? lo - v[axis] : v[axis] > hi ? v[axis] - hi : 0;
      const int b = v[axis] - lo > hi - v[axis] ? v[axis] - lo : hi - v[axis];
      near += static_cast<uint32_t>(a * a);
      far += static_cast<uint32_t>(b * b);
    }
    nearest[k] = near;
    if (far < bound) bound = far;
  }
  uint32_t kept = 0;
  for (uint32_t k = 0; k < n; ++k)
    kept += nearest[k] <= bound;
  if (pool_used_ + kept > pool_capacity_) {
    const uint32_t capacity = pool_capacity_ ? 2 * pool_capacity_ + kept : 16384 + kept;
    auto *grown =
        static_cast<uint8_t *>(platform::heap_realloc(platform::Heap::Runtime, pool_, capacity));
    if (!grown) return false;
    pool_ = grown;
    pool_capacity_ = capacity;
  }
  cell.first = pool_used_;
  for (uint32_t k = 0; k < n; ++k)
    if (nearest[k] <= bound) pool_[pool_used_++] = from[k];
  cell.count = static_cast<uint16_t>(kept);
  return true;
}

const NearestSearch::Cell *NearestSearch::cell_for(int red, int green, int blue) noexcept {
  Cell &cell =
      cells_[((red >> kCellShift) * kCellsPerAxis + (green >> kCellShift)) * kCellsPerAxis +
             (blue >> kCellShift)];
  if (cell.count) return &cell;
  // The fine cell lies inside a coarse one: only the coarse cell's
  // candidates can be nearest anywhere in it, so the fine list is chosen
  // from them (its bound may come out looser, never tighter).
  Cell &coarse =
      coarse_[((red >> kCoarseShift) * kCoarsePerAxis + (green >> kCoarseShift)) * kCoarsePerAxis +
              (blue >> kCoarseShift)];
  if (!coarse.count) {
    const int mask = ~((1 << kCoarseShift) - 1);
    const int low[3] = {red & mask, green & mask, blue & mask};
    if (!build(low, (1 << kCoarseShift) - 1, all_, count_, coarse)) return nullptr;
  }
  uint8_t from[256];  // a copy: building may move the pool
  std::memcpy(from, pool_ + coarse.first, coarse.count);
  const int mask = ~((1 << kCellShift) - 1);
  const int low[3] = {red & mask, green & mask, blue & mask};
  return build(low, (1 << kCellShift) - 1, from, coarse.count, cell) ? &cell : nullptr;
}

uint8_t NearestSearch::scan(const uint8_t *candidates, uint32_t n, int red, int green,
                            int blue) const noexcept {
  const uint32_t best = nearest_of(
      n, order_code(red, green, blue),
      [candidates](uint32_t k) -> uint32_t { return candidates[k]; },
      [&](uint32_t i) { return distance(entries_[i], red, green, blue); },
      [this](uint32_t i) -> int { return codes_[i]; });
  return static_cast<uint8_t>(best);
}

uint8_t NearestSearch::find(int red, int green, int blue) noexcept {
  if (const int end = shortcut(entries_, count_, red, green, blue); end >= 0)
    return static_cast<uint8_t>(end);
  if (!prepared_ && !prepare()) degraded_ = true;
  if (degraded_) return scan(all_, count_, red, green, blue);

  // Runs of one colour ask once; other repeats are remembered in the memo.
  const uint32_t key = 0x1000000u | static_cast<uint32_t>(red << 16 | green << 8 | blue);
  if (key == previous_key_) return previous_index_;
  const uint32_t slot = (key * 2654435761u) >> (32 - kMemoBits);
  previous_key_ = key;
  if (memo_keys_[slot] == key) return previous_index_ = memo_values_[slot];
  const Cell *cell = cell_for(red, green, blue);
  const uint8_t index = cell ? scan(pool_ + cell->first, cell->count, red, green, blue)
                             : scan(all_, count_, red, green, blue);
  memo_keys_[slot] = key;
  memo_values_[slot] = index;
  return previous_index_ = index;
}

}  // namespace vxkrn::color
