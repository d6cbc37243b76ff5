// Nearest palette entry to a colour: the plain scan that defines the answer,
// and an accelerated search that gives the same answer for every colour.
#pragma once

#include <cstdint>

#include "platform/heap.h"
#include "vxkrn/types.h"

namespace vxkrn::color {

// Hue-ordering code used to break ties between equally distant entries.
constexpr int order_code(int red, int green, int blue) {
  const int low = red < blue ? red : blue;
  const int high = red < blue ? blue : red;
  return (red < blue ? 4 : 0) + (green < low ? 2 : 0) +
         (high < (green > low ? green : low) ? 1 : 0);
}

// The index of the nearest entry: black and white shortcuts to the ends of
// the palette, then the first entry at the smallest squared distance, a
// later equally distant entry winning when its order code matches the
// colour's; the scan stops at the first exact match. -1 for count 0.
int32_t find_palette_index(const PaletteEntry *entries, uint32_t count, int red, int green,
                           int blue) noexcept;

// Exact accelerated search over a palette of 1 to 256 entries, for one
// conversion: colours already seen are remembered, and the others scan only
// the entries that can be nearest within their cell of the colour cube.
// Nothing is computed until the first search, and working memory is taken
// then; without it every colour is scanned in full, with the same results.
class NearestSearch {
 public:
  NearestSearch(const PaletteEntry *entries, uint32_t count) noexcept;
  ~NearestSearch();
  NearestSearch(const NearestSearch &) = delete;
  NearestSearch &operator=(const NearestSearch &) = delete;

  uint8_t find(int red, int green, int blue) noexcept;

 private:
  // Fine cells of 16 levels, chosen from coarse cells of 64.
  static constexpr int kCellShift = 4;
  static constexpr int kCellsPerAxis = 256 >> kCellShift;
  static constexpr int kCells = kCellsPerAxis * kCellsPerAxis * kCellsPerAxis;
  static constexpr int kCoarseShift = 6;
  static constexpr int kCoarsePerAxis = 256 >> kCoarseShift;
  static constexpr int kCoarseCells = kCoarsePerAxis * kCoarsePerAxis * kCoarsePerAxis;
  static constexpr int kMemoBits = 10;

  struct Cell {
    uint32_t first;  // into pool_
    uint16_t count;  // 0: not built yet (every cell has at least one candidate)
  };

  bool prepare() noexcept;
  const Cell *cell_for(int red, int green, int blue) noexcept;
  // Append to the pool the entries of `from` that can be nearest somewhere
  // in the cube [low, low + span]; false when the pool cannot grow.
  bool build(const int low[3], int span, const uint8_t *from, uint32_t n, Cell &cell) noexcept;
  uint8_t scan(const uint8_t *candidates, uint32_t n, int red, int green, int blue) const noexcept;

  const PaletteEntry *entries_;
  uint32_t count_;
  uint8_t codes_[256];
  bool prepared_ = false;
  bool degraded_ = false;          // no working memory: scan everything
  platform::RuntimeBlock memory_;  // cells, memo keys and values
  Cell *cells_ = nullptr;
  Cell *coarse_ = nullptr;
  uint32_t *memo_keys_ = nullptr;
  uint8_t *memo_values_ = nullptr;
  uint32_t previous_key_ = 0;  // keys have bit 24 set: 0 matches nothing
  uint8_t previous_index_ = 0;
  uint8_t *pool_ = nullptr;
  uint32_t pool_used_ = 0;
  uint32_t pool_capacity_ = 0;
  uint8_t all_[256];  // 0..count-1, the full scan order
};

}  // namespace vxkrn::color
