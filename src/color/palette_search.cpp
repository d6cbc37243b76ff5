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

// Distance of the nearest and the farthest point of [low, high]
// along one axis.
int near_axis(int v, int low, int high) {
  return v < low ? low - v : v > high ? v - high : 0;
}
int far_axis(int v, int low, int high) {
  return v - low > high - v ? v - low : high - v;
}

}  // namespace

int32_t find_palette_index(const PaletteEntry *entries, uint32_t count, int red, int green,
                           int blue) noexcept {
  if (!entries) return 0;
  if (count == 0) return -1;
  if (const int end = shortcut(entries, count, red, green, blue); end >= 0) return end;
  const int code = order_code(red, green, blue);
  uint32_t best = 0;
  uint64_t best_distance = wide_distance(entries[0], red, green, blue);
  for (uint32_t i = 1; i < count && best_distance != 0; ++i) {
    const uint64_t d = wide_distance(entries[i], red, green, blue);
    if (d < best_distance) {
      best = i;
      best_distance = d;
    } else if (d == best_distance &&
               order_code(entries[i].Red, entries[i].Green, entries[i].Blue) == code) {
      best = i;
    }
  }
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
  const std::size_t cells = sizeof(Cell) * kCells;
  const std::size_t keys = sizeof(uint32_t) << kMemoBits;
  const std::size_t values = std::size_t{1} << kMemoBits;
  memory_.reset(platform::rt_alloc(cells + keys + values, true));
  if (!memory_) return false;
  auto *base = static_cast<uint8_t *>(memory_.get());
  cells_ = reinterpret_cast<Cell *>(base);
  memo_keys_ = reinterpret_cast<uint32_t *>(base + cells);
  memo_values_ = base + cells + keys;
  return true;
}

const NearestSearch::Cell *NearestSearch::cell_for(int red, int green, int blue) noexcept {
  Cell &cell =
      cells_[((red >> kCellShift) * kCellsPerAxis + (green >> kCellShift)) * kCellsPerAxis +
             (blue >> kCellShift)];
  if (cell.count) return &cell;
  const int mask = ~((1 << kCellShift) - 1);
  const int lo[3] = {red & mask, green & mask, blue & mask};
  const int hi[3] = {lo[0] + (1 << kCellShift) - 1, lo[1] + (1 << kCellShift) - 1,
                     lo[2] + (1 << kCellShift) - 1};
  uint32_t nearest[256];
  uint32_t bound = UINT32_MAX;
  for (uint32_t i = 0; i < count_; ++i) {
    const PaletteEntry &e = entries_[i];
    const int n[3] = {near_axis(e.Red, lo[0], hi[0]), near_axis(e.Green, lo[1], hi[1]),
                      near_axis(e.Blue, lo[2], hi[2])};
    const int f[3] = {far_axis(e.Red, lo[0], hi[0]), far_axis(e.Green, lo[1], hi[1]),
                      far_axis(e.Blue, lo[2], hi[2])};
    nearest[i] = static_cast<uint32_t>(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    const auto farthest = static_cast<uint32_t>(f[0] * f[0] + f[1] * f[1] + f[2] * f[2]);
    if (farthest < bound) bound = farthest;
  }
  uint32_t n = 0;
  for (uint32_t i = 0; i < count_; ++i)
    n += nearest[i] <= bound;
  if (pool_used_ + n > pool_capacity_) {
    const uint32_t capacity = pool_capacity_ ? 2 * pool_capacity_ + n : 16384 + n;
    auto *grown =
        static_cast<uint8_t *>(platform::heap_realloc(platform::Heap::Runtime, pool_, capacity));
    if (!grown) return nullptr;
    pool_ = grown;
    pool_capacity_ = capacity;
  }
  cell.first = pool_used_;
  for (uint32_t i = 0; i < count_; ++i)
    if (nearest[i] <= bound) pool_[pool_used_++] = static_cast<uint8_t>(i);
  cell.count = static_cast<uint16_t>(n);
  return &cell;
}

uint8_t NearestSearch::scan(const uint8_t *candidates, uint32_t n, int red, int green,
                            int blue) const noexcept {
  const int code = order_code(red, green, blue);
  uint32_t best = candidates[0];
  uint32_t best_distance = distance(entries_[best], red, green, blue);
  for (uint32_t k = 1; k < n && best_distance != 0; ++k) {
    const uint32_t i = candidates[k];
    const uint32_t d = distance(entries_[i], red, green, blue);
    if (d < best_distance) {
      best = i;
      best_distance = d;
    } else if (d == best_distance && codes_[i] == code) {
      best = i;
    }
  }
  return static_cast<uint8_t>(best);
}

uint8_t NearestSearch::find(int red, int green, int blue) noexcept {
  if (const int end = shortcut(entries_, count_, red, green, blue); end >= 0)
    return static_cast<uint8_t>(end);
  if (!prepared_ && !prepare()) degraded_ = true;
  if (degraded_) return scan(all_, count_, red, green, blue);

  const uint32_t key = 0x1000000u | static_cast<uint32_t>(red << 16 | green << 8 | blue);
  const uint32_t slot = (key * 2654435761u) >> (32 - kMemoBits);
  if (memo_keys_[slot] == key) return memo_values_[slot];
  const Cell *cell = cell_for(red, green, blue);
  const uint8_t index = cell ? scan(pool_ + cell->first, cell->count, red, green, blue)
                             : scan(all_, count_, red, green, blue);
  memo_keys_[slot] = key;
  memo_values_[slot] = index;
  return index;
}

}  // namespace vxkrn::color
