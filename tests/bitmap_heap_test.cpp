// The offset arena against a plain model of the same rules: creation sizes,
// a hand-worked script, random sequences and refused heap requests.
#include <algorithm>
#include <cstring>
#include <random>
#include <tuple>

#include "core/bitmap_heap.h"
#include "support/test_support.h"

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

// Both lists, their back links checked on the way: chunks tile the arena
// from 12 up to LastChunk (a trim may leave 24 bytes after them).
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

// a: allocate arg bytes; f: free chunk arg; g: grow by arg; t: trim.
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
struct Model {
  explicit Model(uint32_t total) : l{total, {{12, total - 36, false}}, {12}} {}
  uint32_t apply(const Step &s) {
    if (s.op == 'a') return alloc((uint64_t{s.arg} + 3) / 4 * 4);
    if (s.op == 'g') return grow(s.arg);
    if (s.op == 't') return trim();
    const size_t i = index(s.arg);
    if (i < l.chunks.size() && offset(i) == s.arg && used(i)) {
      used(i) = false;
      push(s.arg);
      merge(i);
      if (i > 0) merge(i - 1);
    }
    return 0;
  }
  uint32_t alloc(uint64_t r) {
    size_t i = r > UINT32_MAX ? SIZE_MAX : fit(r);
    if (i == SIZE_MAX && r <= UINT32_MAX && grow(uint32_t(r))) i = fit(r);
    if (i == SIZE_MAX) return 0;
    used(i) = true;
    const uint32_t at = offset(i), rest = size(i) - uint32_t(r) - 24;
    if (r + 24 < size(i)) {
      size(i) = uint32_t(r);
      l.chunks.insert(l.chunks.begin() + long(i) + 1, Chunk(at + 24 + uint32_t(r), rest, false));
      push(at + 24 + uint32_t(r));
      merge(i + 1);
    }
    l.free_list.erase(std::find(l.free_list.begin(), l.free_list.end(), at));
    return at;
  }
  bool grow(uint32_t n) {
    const size_t last = l.chunks.size() - 1;
    const uint64_t want =
        used(last) ? uint64_t{l.total} + n + 24 : uint64_t{l.total} - size(last) + n;
    if ((want + kG - 1) / kG * kG > UINT32_MAX) return false;
    l.total = uint32_t((want + kG - 1) / kG * kG);
    if (used(last)) l.chunks.emplace_back(offset(last) + 24 + size(last), 0, false);
    if (l.chunks.size() > last + 1) push(offset(last + 1));
    size(l.chunks.size() - 1) = l.total - offset(l.chunks.size() - 1) - 24;
    return true;
  }
  bool trim() {
    const size_t last = l.chunks.size() - 1;
    if (used(last) || size(last) <= 128) return false;
    size(last) = 128;
    l.total = offset(last) + 176;
    return true;
  }
  uint32_t offset(size_t i) { return std::get<0>(l.chunks[i]); }
  uint32_t &size(size_t i) { return std::get<1>(l.chunks[i]); }
  bool &used(size_t i) { return std::get<2>(l.chunks[i]); }
  size_t index(uint32_t at) {
    return size_t(std::lower_bound(l.chunks.begin(), l.chunks.end(), Chunk(at, 0, 0)) -
                  l.chunks.begin());
  }
  size_t fit(uint64_t r) {
    for (uint32_t at : l.free_list)
      if (size(index(at)) >= r) return index(at);
    return SIZE_MAX;
  }
  void push(uint32_t at) { l.free_list.insert(l.free_list.begin(), at); }
  void merge(size_t i) {  // chunk i swallows chunk i + 1 when both are free
    if (i + 1 >= l.chunks.size() || used(i) || used(i + 1)) return;
    size(i) += 24 + size(i + 1);
    l.free_list.erase(std::find(l.free_list.begin(), l.free_list.end(), offset(i + 1)));
    l.chunks.erase(l.chunks.begin() + long(i) + 1);
  }
  Layout l;
};

class BitmapHeap : public vxkrn_test::LeakCheckedTest {};

// Hand-worked results pin the rules the model shares with the arena: sizes,
// rounding, first fit in free-list order, whole use of a chunk of r + 24
// bytes, merges, ignored frees, growth after a free or used tail, trims.
TEST_F(BitmapHeap, CreationAndAScriptGiveExactLayouts) {
  for (auto [expected, total] :
       {std::pair{0u, kG}, {262132u, kG}, {262133u, k4M}, {UINT32_MAX, k4M}}) {
    void *arena = arena_create(expected);
    EXPECT_EQ(walk(arena), Model(total).l) << expected;
    V_HeapTerm(arena);
  }
  // clang-format off
  const Step steps[] = {
      {'a', 100, 12}, {'a', 8, 136}, {'a', 64, 168}, {'a', 4, 256}, {'f', 12, 0}, {'f', 168, 0},
      {'a', 40, 168}, {'a', 69, 12}, {'f', 136, 0}, {'f', 256, 0}, {'f', 136, 0}, {'f', 54, 0},
      {'f', UINT32_MAX - 3, 0}, {'a', kG, 256}, {'t', 0, 1}, {'t', 0, 0}, {'a', 200, 262424},
      {'a', 261616, 262648}, {'a', 8, 108}, {'a', 100, 524288}, {'g', UINT32_MAX, 0},
      {'a', UINT32_MAX - 2, 0}};
  const Layout want{3 * kG,
                    {{12, 72, 1}, {108, 8, 1}, {140, 4, 0}, {168, 64, 1}, {256, kG, 1},
                     {262424, 200, 1}, {262648, 261616, 1}, {524288, 100, 1},
                     {524412, 261996, 0}},
                    {524412, 140}};
  // clang-format on
  void *arena = arena_create(0);
  Model model(kG);
  for (const Step &s : steps) {
    EXPECT_EQ(apply(&arena, s), s.result) << s.op << s.arg;
    EXPECT_EQ(model.apply(s), s.result) << "model " << s.op << s.arg;
  }
  EXPECT_EQ(walk(arena), want);
  EXPECT_EQ(model.l, want);
  V_HeapTerm(arena);
}

// Data written to each chunk must survive every later step.
TEST_F(BitmapHeap, RandomSequencesMatchTheModel) {
  for (uint32_t seed : {1u, 2u, 3u}) {
    SCOPED_TRACE(::testing::Message() << "seed " << seed);
    std::mt19937 engine(seed);
    const auto rng = [&engine] { return uint32_t(engine()); };
    void *arena = arena_create(0);
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
      ASSERT_EQ(walk(arena), model.l) << "step " << step;
    }
    V_HeapTerm(arena);
  }
}

// Growths and a trim the heap refuses leave the arena byte for byte as it was.
TEST_F(BitmapHeap, RefusedAllocationsLeaveTheArenaAsItWas) {
  vxkrn_test::sweep_allocation_failures(unsigned(vxkrn_test::Heap::Runtime), [](unsigned) {
    void *arena = arena_create(0);
    if (!arena) return;
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
