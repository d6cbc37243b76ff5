// The offset arena against a plain model of the same rules: scripted cases
// with exact layouts, random sequences, and refused heap requests.
#include <algorithm>
#include <cstring>
#include <random>
#include <tuple>
#include <vector>

#include "core/bitmap_heap.h"
#include "support/test_support.h"
#include "vxkrn/heap.h"

namespace {

using namespace vxkrn::core;
constexpr uint32_t kG = 262144, k4M = 4194304;

using Chunk = std::tuple<uint32_t, uint32_t, bool>;  // offset, data size, in use
struct Layout {
  uint32_t total = 0;
  std::vector<Chunk> chunks;        // address order
  std::vector<uint32_t> free_list;  // from the head
  bool operator==(const Layout &) const = default;
};

const ArenaChunk &at(const void *arena, uint32_t offset) {
  return *reinterpret_cast<const ArenaChunk *>(static_cast<const uint8_t *>(arena) + offset);
}

// Both lists, their links checked on the way: chunks tile the arena from 12
// with right back links up to LastChunk (a trim may leave 24 bytes after
// them); the free list links back. The model checks the rest.
Layout walk(const void *arena) {
  const auto &h = *static_cast<const ArenaHeader *>(arena);
  Layout out{h.total_size, {}, {}};
  uint64_t end = 12;
  uint32_t prev = 0;
  for (uint32_t c = 12; c != 0 && c == end && c + uint64_t{24} <= h.total_size;
       c = at(arena, c).next_chunk) {
    EXPECT_EQ(at(arena, c).prev_chunk, prev) << c;
    out.chunks.emplace_back(c, at(arena, c).data_size, at(arena, c).in_use == 1);
    end = c + uint64_t{24} + at(arena, c).data_size;
    prev = c;
  }
  EXPECT_EQ(h.last_chunk, prev);
  EXPECT_TRUE(h.total_size == end || h.total_size == end + 24) << end << " " << h.total_size;
  prev = 0;
  for (uint32_t c = h.free_head;
       c != 0 && out.free_list.size() <= out.chunks.size() && c + uint64_t{24} <= h.total_size;
       c = at(arena, c).free_next) {
    EXPECT_EQ(at(arena, c).free_prev, prev) << c;
    out.free_list.push_back(prev = c);
  }
  return out;
}

// a: allocate arg bytes, giving an offset; f: free chunk arg; g: grow by arg;
// t: trim (g and t give 1 or 0).
struct Step {
  char op;
  uint32_t arg, result;
};

uint32_t apply(void **arena, const Step &s) {
  if (s.op == 'f') V_HeapFree(*arena, s.arg);
  return s.op == 'a'   ? arena_alloc(arena, s.arg)
         : s.op == 'g' ? arena_grow(arena, s.arg)
         : s.op == 't' ? arena_trim(arena)
                       : 0;
}

// The same rules over vectors.
class Model {
 public:
  explicit Model(uint32_t total) : l_{total, {{12, total - 36, false}}, {12}} {}
  const Layout &layout() const { return l_; }
  uint32_t apply(const Step &s) {
    if (s.op == 'a') return alloc((uint64_t{s.arg} + 3) / 4 * 4);
    if (s.op == 'g') return grow(s.arg);
    if (s.op == 't') return trim();
    const size_t i = index(s.arg);
    if (i < l_.chunks.size() && std::get<0>(l_.chunks[i]) == s.arg && used(i)) {
      used(i) = false;
      push(s.arg);
      merge(i);
      if (i > 0) merge(i - 1);
    }
    return 0;
  }

 private:
  uint32_t alloc(uint64_t r) {
    if (r > UINT32_MAX) return 0;
    size_t i = fit(r);
    if (i == SIZE_MAX && grow(uint32_t(r))) i = fit(r);
    if (i == SIZE_MAX) return 0;
    used(i) = true;
    const auto [offset, size, _] = l_.chunks[i];
    if (r + 24 < size) {
      std::get<1>(l_.chunks[i]) = uint32_t(r);
      l_.chunks.insert(l_.chunks.begin() + long(i) + 1,
                       Chunk(uint32_t(offset + 24 + r), uint32_t(size - r - 24), false));
      push(uint32_t(offset + 24 + r));
      merge(i + 1);
    }
    unlist(offset);
    return offset;
  }
  bool grow(uint32_t n) {
    const auto [offset, size, in_use] = l_.chunks.back();
    const uint64_t want = in_use ? uint64_t{l_.total} + n + 24 : uint64_t{l_.total} - size + n;
    if ((want + kG - 1) / kG * kG > UINT32_MAX) return false;
    l_.total = uint32_t((want + kG - 1) / kG * kG);
    if (!in_use) {
      std::get<1>(l_.chunks.back()) = l_.total - offset - 24;
    } else {
      l_.chunks.emplace_back(offset + 24 + size, l_.total - offset - size - 48, false);
      push(offset + 24 + size);
    }
    return true;
  }
  bool trim() {
    auto &[offset, size, in_use] = l_.chunks.back();
    if (in_use || size <= 128) return false;
    size = 128;
    l_.total = offset + 176;
    return true;
  }
  bool &used(size_t i) { return std::get<2>(l_.chunks[i]); }
  size_t index(uint32_t offset) {
    return size_t(std::lower_bound(l_.chunks.begin(), l_.chunks.end(), Chunk(offset, 0, 0)) -
                  l_.chunks.begin());
  }
  size_t fit(uint64_t r) {
    for (uint32_t offset : l_.free_list)
      if (std::get<1>(l_.chunks[index(offset)]) >= r) return index(offset);
    return SIZE_MAX;
  }
  void push(uint32_t offset) { l_.free_list.insert(l_.free_list.begin(), offset); }
  void unlist(uint32_t offset) {
    l_.free_list.erase(std::find(l_.free_list.begin(), l_.free_list.end(), offset));
  }
  void merge(size_t i) {  // chunk i swallows chunk i + 1 when both are free
    if (i + 1 >= l_.chunks.size() || used(i) || used(i + 1)) return;
    std::get<1>(l_.chunks[i]) += 24 + std::get<1>(l_.chunks[i + 1]);
    unlist(std::get<0>(l_.chunks[i + 1]));
    l_.chunks.erase(l_.chunks.begin() + long(i) + 1);
  }
  Layout l_;
};

class BitmapHeap : public vxkrn_test::LeakCheckedTest {};

// Layouts worked out by hand: they pin the rules the model shares with the
// arena, and both must give them.
TEST_F(BitmapHeap, ScriptsGiveExactLayouts) {
  const uint32_t T = kG - 212 - 24;  // the free tail after chunks of 16, 32, 48 and 8
  const std::vector<Step> four = {{'a', 16, 12}, {'a', 32, 52}, {'a', 48, 108}, {'a', 8, 180}};
  const struct {
    uint32_t expected;  // argument of arena_create
    std::vector<Step> steps;
    uint32_t total;
    std::vector<Chunk> chunks;
  } cases[] = {
      // clang-format off
      // Creation: e (32 for 0) + 12 rounded up to 256 KiB; above that 4 MiB.
      {0, {}, kG, {{12, kG - 36, 0}}},
      {262132, {}, kG, {{12, kG - 36, 0}}},
      {262133, {}, k4M, {{12, k4M - 36, 0}}},
      {UINT32_MAX, {}, k4M, {{12, k4M - 36, 0}}},
      // Requests round up to 4; a chunk with exactly r + 24 bytes is used whole.
      {0, {{'a', 5, 12}}, kG, {{12, 8, 1}, {44, kG - 68, 0}}},
      {0, {{'a', 100, 12}, {'a', 8, 136}, {'f', 12, 0}, {'a', 76, 12}}, kG,
       {{12, 100, 1}, {136, 8, 1}, {168, kG - 192, 0}}},
      {0, {{'a', 100, 12}, {'a', 8, 136}, {'f', 12, 0}, {'a', 69, 12}}, kG,
       {{12, 72, 1}, {108, 4, 0}, {136, 8, 1}, {168, kG - 192, 0}}},
      // First fit walks the free list (last freed first), not the addresses.
      {0, {{'a', 64, 12}, {'a', 4, 100}, {'a', 128, 128}, {'a', 4, 280}, {'a', 256, 308},
           {'a', 4, 588}, {'f', 308, 0}, {'f', 12, 0}, {'f', 128, 0}, {'a', 60, 128},
           {'a', 64, 12}, {'a', 200, 308}, {'a', 44, 212}}, kG,
       {{12, 64, 1}, {100, 4, 1}, {128, 60, 1}, {212, 44, 1}, {280, 4, 1}, {308, 200, 1},
        {532, 32, 0}, {588, 4, 1}, {616, kG - 640, 0}}},
      // Freeing merges with a free next, then a free previous neighbour;
      // offsets that are not chunks in use are ignored.
      {0, {{'f', 52, 0}, {'f', 12, 0}}, kG, {{12, 72, 0}, {108, 48, 1}, {180, 8, 1}, {212, T, 0}}},
      {0, {{'f', 12, 0}, {'f', 108, 0}, {'f', 52, 0}}, kG, {{12, 144, 0}, {180, 8, 1}, {212, T, 0}}},
      {0, {{'f', 180, 0}, {'f', 180, 0}, {'f', 0, 0}, {'f', 54, 0}, {'f', kG - 8, 0},
           {'f', UINT32_MAX - 3, 0}}, kG,
       {{12, 16, 1}, {52, 32, 1}, {108, 48, 1}, {180, T + 32, 0}}},
      // Growth: a free tail ends up holding n (so a large one shrinks); after
      // a used tail, TotalSize + n + 24 holds a new free chunk.
      {0, {{'a', 300000, 12}}, 2 * kG, {{12, 300000, 1}, {300036, 2 * kG - 300060, 0}}},
      {300000, {{'a', 100, 12}, {'g', 1000, 1}}, kG, {{12, 100, 1}, {136, kG - 160, 0}}},
      {0, {{'a', kG - 36, 12}, {'a', 8, kG}}, 2 * kG,
       {{12, kG - 36, 1}, {kG, 8, 1}, {kG + 32, kG - 56, 0}}},
      {0, {{'g', UINT32_MAX, 0}, {'a', UINT32_MAX - 2, 0}}, kG, {{12, kG - 36, 0}}},
      // Trim keeps a 128-byte free tail and 24 bytes after it, only when the
      // tail is free and larger; 132 bytes make it grow by 20. Growth after a
      // trim starts the new chunk right behind the last one.
      {0, {{'t', 0, 1}, {'t', 0, 0}}, 188, {{12, 128, 0}}},
      {0, {{'a', kG - 192, 12}, {'t', 0, 1}}, kG + 20, {{12, kG - 192, 1}, {kG - 156, 128, 0}}},
      {0, {{'a', kG - 188, 12}, {'t', 0, 0}}, kG, {{12, kG - 188, 1}, {kG - 152, 128, 0}}},
      {0, {{'t', 0, 1}, {'a', 128, 12}, {'a', 4, 164}}, kG,
       {{12, 128, 1}, {164, 4, 1}, {192, kG - 216, 0}}},
      // clang-format on
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(::testing::Message() << "case " << (&c - cases));
    void *arena = arena_create(c.expected);
    ASSERT_NE(arena, nullptr);
    Model model(arena_size(arena));
    std::vector<Step> steps = c.steps;
    if (!steps.empty() && steps[0].op == 'f') steps.insert(steps.begin(), four.begin(), four.end());
    for (const Step &s : steps) {
      EXPECT_EQ(apply(&arena, s), s.result) << s.op << s.arg;
      EXPECT_EQ(model.apply(s), s.result) << "model " << s.op << s.arg;
    }
    const Layout got = walk(arena);
    EXPECT_EQ(got.total, c.total);
    EXPECT_EQ(got.chunks, c.chunks);
    EXPECT_EQ(got, model.layout());
    V_HeapTerm(arena);
  }
}

TEST_F(BitmapHeap, RandomSequencesMatchTheModel) {
  for (uint32_t seed : {1u, 2u, 3u}) {
    SCOPED_TRACE(::testing::Message() << "seed " << seed);
    std::mt19937 engine(seed);
    const auto rng = [&engine] { return uint32_t(engine()); };
    void *arena = arena_create(0);
    ASSERT_EQ(std::count(arena_data(arena, 12), arena_data(arena, 12) + kG - 36, 0), long(kG - 36))
        << "created zero-filled";
    Model model(kG);
    std::vector<std::pair<uint32_t, uint32_t>> live;  // chunk, bytes; data bytes = chunk % 251
    for (int step = 0; step < 3000 && !HasFailure(); ++step) {
      const unsigned dice = rng() % 100;
      Step s{'a', rng() % 20 == 0 ? rng() % 150000 : rng() % 400, 0};
      if (dice >= 95) {
        s = {dice < 98 ? 't' : 'g', rng() % 600000, 0};
      } else if (dice >= 55 && !live.empty()) {
        const size_t k = rng() % live.size();
        const auto [chunk, bytes] = live[k];
        const uint8_t *data = arena_data(arena, chunk);
        ASSERT_EQ(std::count(data, data + bytes, chunk % 251), long(bytes)) << "overwritten";
        live.erase(live.begin() + long(k));
        s = {'f', chunk, 0};
      }
      const uint32_t result = apply(&arena, s);
      ASSERT_EQ(result, model.apply(s)) << "step " << step;
      if (s.op == 'a') {
        ASSERT_NE(result, 0u);
        std::memset(arena_data(arena, result), result % 251, s.arg);
        live.emplace_back(result, s.arg);
      }
      ASSERT_EQ(walk(arena), model.layout()) << "step " << step;
    }
    V_HeapTerm(arena);
  }
  V_HeapTerm(nullptr);
  V_HeapFree(nullptr, 12);
}

TEST_F(BitmapHeap, RefusedAllocationsLeaveTheArenaAsItWas) {
  constexpr auto kRuntime = static_cast<unsigned>(vxkrn_test::Heap::Runtime);
  vxkrn_test::sweep_allocation_failures(kRuntime, [](unsigned) {
    void *arena = arena_create(0);
    if (!arena) return;
    // Two growths and a trim, any of which may be refused.
    for (const Step &s : {Step{'a', 200000, 0}, Step{'a', 300000, 0}, Step{'f', 12, 0},
                          Step{'a', 400000, 0}, Step{'t', 0, 0}}) {
      const auto *b = static_cast<const uint8_t *>(arena);
      const std::vector<uint8_t> before(b, b + arena_size(arena));
      const bool refused = apply(&arena, s) == 0 && s.op != 'f';
      b = static_cast<const uint8_t *>(arena);
      EXPECT_TRUE(!refused || std::vector<uint8_t>(b, b + arena_size(arena)) == before) << s.op;
    }
    walk(arena);
    V_HeapTerm(arena);
  });
}

}  // namespace
