// The converter and the nearest-colour search against the plain model in
// support/convert_reference, at every vector level, and against rows worked by hand.
#include <algorithm>
#include <array>
#include <iomanip>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "color/convert_engine.h"
#include "color/convert_simd.h"
#include "color/palette_search.h"
#include "support/convert_reference.h"
#include "support/test_support.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Palette = std::vector<PaletteEntry>;
using vxkrn::color::SimdLevel;
using vxkrn_test::reference_find_palette_index;

constexpr int32_t RGB = ORDER_RGB, BGR = ORDER_BGR, GRAY = ORDER_GRAY, MTX = ORDER_MATRIX;
#if defined(__arm__)  // the 32-bit ARM build runs emulated, about 15 times slower
constexpr int kRounds = 1;
#else
constexpr int kRounds = 4;
#endif

struct Call {
  int32_t src_bits, dst_bits, src_order, dst_order, flags, low, high;
  uint32_t width;
};

// Ways a call is made: the model, the API with flags or without, the general path alone.
enum Path { kModel, kExt, kPlain, kGeneral };
const char *const kPaths[] = {"the model", "V_ConvertBufferExt", "V_ConvertBuffer", "general path"};

ResultCode run(int path, const Call &c, Bytes &b, const PaletteEntry *sp = nullptr,
               const PaletteEntry *dp = nullptr) {
  if (path == kModel)
    return vxkrn_test::reference_convert(b, c.width, c.src_bits, c.dst_bits, c.src_order,
                                         c.dst_order, sp, dp, c.flags, c.low, c.high);
  if (path == kPlain)
    return V_ConvertBuffer(b.data(), c.width, c.src_bits, c.dst_bits, c.src_order, c.dst_order, sp,
                           dp);
  return path == kExt
             ? V_ConvertBufferExt(b.data(), c.width, c.src_bits, c.dst_bits, c.src_order,
                                  c.dst_order, sp, dp, c.flags, c.low, c.high)
             : vxkrn::color::convert_row(b.data(), c.width, c.src_bits, c.dst_bits, c.src_order,
                                         c.dst_order, sp, dp, c.flags, c.low, c.high, false);
}

bool plain_expresses(const Call &c) {
  return (c.flags & ~(CVT_SRC_GRAY | CVT_DST_GRAY)) == 0;
}

std::string hex(const Bytes &bytes, size_t from = 0, size_t to = SIZE_MAX) {
  std::ostringstream text;
  for (size_t i = from; i < std::min(to, bytes.size()); ++i)
    text << (i > from ? " " : "") << std::uppercase << std::hex << std::setw(2) << std::setfill('0')
         << int{bytes[i]};
  return text.str();
}

PaletteEntry rgb(int red, int green, int blue) {
  return {static_cast<uint8_t>(blue), static_cast<uint8_t>(green), static_cast<uint8_t>(red), 0};
}

// Half the palettes take their components from levels 64 apart, so that
// colours halfway between two levels are equally far from several entries;
// some entries repeat earlier ones, some have a reserved byte set. Black and
// white may sit at either end or in the middle, where the search's shortcuts look.
Palette random_palette(std::mt19937 &random, uint32_t count, bool black_and_white = false) {
  const bool coarse = random() % 2 == 0;
  const auto level = [&] {
    return static_cast<uint8_t>(coarse ? std::min<uint32_t>(64 * (random() % 5), 255) : random());
  };
  Palette entries(count);
  for (uint32_t i = 0; i < count; ++i) {
    entries[i] = {level(), level(), level(), 0};
    if (i > 0 && random() % 6 == 0) entries[i] = entries[random() % i];
    if (random() % 5 == 0) entries[i].Reserved = static_cast<uint8_t>(random());
  }
  for (const int level : {0, 255}) {
    const uint32_t at[] = {0, count - 1, static_cast<uint32_t>(random() % count)};
    if (black_and_white && random() % 3 == 0) entries[at[random() % 3]] = rgb(level, level, level);
  }
  return entries;
}

// Which parts of a random conversion are drawn: everything (often a rejected
// combination), accepted flags only, or only palettes and bytes.
enum class Draw { Any, Accepted, Given };

// One random conversion between the formats, fully determined by the seed,
// made every way and compared with the model around the first differing byte.
bool convert_case(uint32_t seed, Call c, Draw draw) {
  std::mt19937 random(seed);
  const auto below = [&](int32_t n) { return static_cast<int32_t>(random() % n); };
  const uint32_t widths[] = {1, 2, 3, 7, 31, 100};
  if (draw != Draw::Given) c.width = widths[random() % 6];
  if (draw == Draw::Any) {  // gray flags too, which the orders decide, and any bounds
    c.flags = below(64);
    c.low = below(40) - 8;
    c.high = below(40) - 8;
  } else if (draw == Draw::Accepted) {  // alpha flags, perhaps a range of the source's bits
    const int32_t depth = c.src_bits == 0 ? 8 : std::max(c.src_bits, 1);
    c.flags = below(4) << 4;
    if (below(2)) c.flags |= CVT_SRC_BITS;
    c.low = below(depth);
    c.high = below(2) ? -1 : c.low + below(depth - c.low);
  }
  // Palettes of exactly 2^bits entries, so that reading past one shows under
  // AddressSanitizer; a side without palette sometimes gets a one-entry array
  // that must not be read. Destination palettes may start with the source's.
  const auto count = [](int32_t bits) { return bits >= 1 && bits <= 8 ? 1u << bits : 0u; };
  const uint32_t src_count = count(c.src_bits), dst_count = count(c.dst_bits);
  Palette sp, dp;
  if (below(src_count ? 2 : 4) == 0) sp = random_palette(random, std::max(src_count, 1u));
  const int32_t dst_kind = below(4);  // null, random, source first
  if (dst_count && dst_kind) {
    dp = random_palette(random, dst_count, true);
    if (dst_kind >= 2 && src_count) {
      const PaletteEntry *source = sp.empty() ? V_IntGetFixedPalette(c.src_bits) : sp.data();
      const uint32_t shared = std::min(src_count, dst_count);
      std::copy(source, source + shared, dp.begin());
      if (below(2)) dp[random() % shared].Reserved ^= static_cast<uint8_t>(1 + below(255));
    }
  } else if (!dst_count && dst_kind == 0) {
    dp = random_palette(random, 1);
  }
  Bytes want(std::max(vxkrn_test::reference_row_bytes(c.width, c.src_bits),
                      vxkrn_test::reference_row_bytes(c.width, c.dst_bits)) +
             7);  // bytes after the row that no conversion may touch
  for (uint8_t &b : want)
    b = static_cast<uint8_t>(random());

  SCOPED_TRACE(::testing::Message()
               << "case seed " << seed << ": " << c.src_bits << " bits order " << c.src_order
               << " to " << c.dst_bits << " bits order " << c.dst_order << ", width " << c.width
               << ", flags 0x" << std::hex << c.flags << std::dec << ", bits " << c.low << ".."
               << c.high << ", palettes of " << sp.size() << " and " << dp.size());
  const PaletteEntry *s = sp.empty() ? nullptr : sp.data(), *d = dp.empty() ? nullptr : dp.data();
  const Bytes before = want;
  const ResultCode want_rc = run(kModel, c, want, s, d);
  bool same = true;
  for (const int path : {kExt, kPlain, kGeneral}) {
    if (path == kPlain && !plain_expresses(c)) continue;
    Bytes got = before;
    const ResultCode rc = run(path, c, got, s, d);
    const size_t at = std::mismatch(got.begin(), got.end(), want.begin()).first - got.begin(),
                 from = at < 8 ? 0 : at - 8;
    if (rc == want_rc && at == got.size()) continue;
    same = false;
    ADD_FAILURE() << kPaths[path] << " returned " << rc << ", the model " << want_rc
                  << "; first differing byte " << at << "\n  library: " << hex(got, from, at + 9)
                  << "\n  model:   " << hex(want, from, at + 9);
  }
  return same;
}

class Convert : public vxkrn_test::LeakCheckedTest {};

// Each pair's first round draws no rejected flags, so that every accepted
// pair converts at least once.
TEST_F(Convert, EveryFormatPairMatchesTheModel) {
  const int32_t bits[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64};
  const int32_t orders[] = {RGB, BGR, GRAY, MTX, 3};
  uint32_t seed = 20250611;
  for (const int32_t src_bits : bits)
    for (const int32_t dst_bits : bits)
      for (const int32_t src_order : orders)
        for (const int32_t dst_order : orders)
          for (int round = 0; round < kRounds; ++round)
            ASSERT_TRUE(convert_case(seed++,
                                     {src_bits, dst_bits, src_order, dst_order, 0, -1, -1, 1},
                                     round == 0 ? Draw::Accepted : Draw::Any));
}

// The pairs that have fast paths, in the orders and flags they take.
// clang-format off
const int32_t kFastPairs[][5] = {
    {24, BGR, 24, BGR, 0}, {24, RGB, 24, BGR, 0}, {24, BGR, 24, RGB, 0}, {24, BGR, 32, BGR, CVT_ALPHA_FILL},
    {24, RGB, 32, BGR, 0}, {24, RGB, 32, RGB, CVT_ALPHA_SET}, {32, BGR, 24, BGR, 0}, {32, RGB, 24, BGR, 0},
    {24, BGR, 0, GRAY, 0}, {24, RGB, 0, RGB, 0}, {8, RGB, 24, BGR, 0}, {8, RGB, 24, RGB, 0}, {1, RGB, 8, RGB, 0},
    {2, RGB, 8, RGB, 0}, {4, RGB, 8, RGB, 0}, {8, RGB, 8, RGB, 0}, {16, BGR, 24, BGR, 0}, {16, RGB, 24, BGR, 0},
    {48, BGR, 24, BGR, 0}, {48, RGB, 24, BGR, 0}, {24, BGR, 8, RGB, 0}, {24, RGB, 4, RGB, 0},
};
// clang-format on

// Every kernel set up to the level: the scalar kernels alone, the SSSE3 set, and the AVX2
// set over it (a level the processor lacks is skipped); the general path runs beside them.
class FastPaths : public ::testing::TestWithParam<SimdLevel> {
 protected:
  void SetUp() override {
    if (vxkrn::color::supported_simd_level() < GetParam())
      GTEST_SKIP() << "the processor lacks this instruction set";
    vxkrn::color::set_simd_cap(GetParam());
  }
  void TearDown() override { vxkrn::color::set_simd_cap(SimdLevel::Avx2); }
};

TEST_P(FastPaths, AndTheGeneralPathMatchTheModel) {
  uint32_t seed = 2718;
  for (const auto &p : kFastPairs)
    for (const uint32_t width : {1u, 2u, 3u, 7u, 9u, 33u, 64u, 100u, 257u})
      for (int round = 0; round < 4; ++round)
        ASSERT_TRUE(
            convert_case(seed++, {p[0], p[2], p[1], p[3], p[4], -1, -1, width}, Draw::Given));
}

const char *const kLevelNames[] = {"Scalar", "Ssse3", "Avx2"};
INSTANTIATE_TEST_SUITE_P(VectorKernels, FastPaths,
                         ::testing::Values(SimdLevel::None, SimdLevel::Ssse3, SimdLevel::Avx2),
                         [](const auto &info) { return kLevelNames[int(info.param)]; });

// Rows worked out by hand (default palettes, EE bytes guards), then rejections, which leave the
// bytes alone: those the sweep cannot draw, and subtle ones. The model must agree too.
// clang-format off
const struct HandRow {
  Call call;
  const char *before = "01 23 45 67 89 AB CD EF 10 32 54 76 98 BA DC FE 00 11 22 33 44 55 66 77 88 99 AA BB CC DD EE FF";
  const char *after = nullptr;  // rejected
} kHandRows[] = {
    {{1, 24, BGR, BGR, 0, -1, -1, 3}, "A5 01 02 03 04 05 06 07 08 EE", "FF FF FF 00 00 00 FF FF FF EE"},
    {{4, 24, BGR, BGR, 0, -1, -1, 3}, "19 C7 01 02 03 04 05 06 07 EE", "00 00 80 00 00 FF FF 00 00 EE"},
    {{4, 24, GRAY, RGB, 0, -1, -1, 2}, "19 01 02 03 04 05 EE", "80 00 00 FF 00 00 EE"},
    {{3, 0, RGB, GRAY, 0, -1, -1, 3}, "2A 3F 77 EE", "20 9F 40 EE"},
    {{1, 12, RGB, GRAY, 0, -1, -1, 2}, "95 33 44 EE", "FF 0F 00 EE"},
    {{0, 12, GRAY, GRAY, 0, -1, -1, 3}, "FF 00 80 5C A3 EE", "FF 0F 00 07 A8 EE"},
    {{12, 0, GRAY, GRAY, 0, -1, -1, 3}, "FF 0F 00 07 A8 EE", "FF 00 7F 07 A8 EE"},
    {{12, 16, GRAY, GRAY, 0, -1, -1, 1}, "07 A8 EE", "77 80 EE"},
    {{0, 32, GRAY, GRAY, 0, -1, -1, 2}, "01 FF 01 02 03 04 05 06 EE", "01 01 01 01 FF FF FF FF EE"},
    {{16, 0, GRAY, GRAY, CVT_SRC_BITS, 4, 11, 1}, "CD AB EE", "BC AB EE"},
    {{0, 16, GRAY, GRAY, CVT_DST_BITS, 4, 11, 1}, "80 55 EE", "00 08 EE"},
    {{0, 16, GRAY, GRAY, CVT_DST_BITS, 0, 15, 1}, "80 55 EE", "80 80 EE"},
    {{24, 0, RGB, GRAY, CVT_SRC_GRAY | CVT_SRC_BITS, 5, 2, 1}, "FF 00 00 EE", "40 00 00 EE"},
    {{24, 16, RGB, RGB, 0, -1, -1, 1}, "FF 80 08 EE", "1F 06 08 EE"},
    {{24, 16, RGB, BGR, 0, -1, -1, 1}, "FF 80 08 EE", "01 7E 08 EE"},
    {{16, 24, BGR, BGR, 0, -1, -1, 1}, "01 FE 55 EE", "08 84 FF EE"},
    {{24, 48, BGR, BGR, 0, -1, -1, 1}, "01 80 FF 01 02 03 EE", "01 01 80 80 FF FF EE"},
    {{48, 24, BGR, BGR, 0, -1, -1, 1}, "FF 12 00 34 CD AB EE", "12 34 AB 34 CD AB EE"},
    {{64, 32, RGB, RGB, 0, -1, -1, 1}, "00 11 00 22 00 33 FF 7F EE", "11 22 33 7F 00 33 FF 7F EE"},
    {{32, 64, BGR, BGR, 0, -1, -1, 1}, "01 02 03 80 09 09 09 09 EE", "01 01 02 02 03 03 80 80 EE"},
    {{24, 32, BGR, BGR, 0, -1, -1, 1}, "01 02 03 99 EE", "01 02 03 00 EE"},
    {{24, 32, BGR, BGR, CVT_ALPHA_FILL, -1, -1, 1}, "01 02 03 99 EE", "01 02 03 FF EE"},
    {{24, 32, BGR, BGR, CVT_ALPHA_SET, -1, -1, 1}, "01 02 03 99 EE", "01 02 03 FF EE"},
    {{24, 64, BGR, RGB, CVT_ALPHA_FILL, -1, -1, 1}, "01 02 03 09 09 09 09 09 EE", "03 03 02 02 01 01 FF FF EE"},
    {{0, 64, GRAY, RGB, 0, -1, -1, 1}, "80 09 09 09 09 09 09 09 EE", "80 80 80 80 80 80 00 00 EE"},
    {{24, 24, BGR, MTX, 0, -1, -1, 2}, "00 00 FF FF FF FF EE", "05 17 85 FF FF FF EE"},
    {{24, 24, MTX, BGR, 0, -1, -1, 2}, "05 17 85 64 C8 32 EE", "01 00 FE 57 EB 00 EE"},
    {{24, 48, RGB, MTX, 0, -1, -1, 1}, "FF 00 00 09 09 09 EE", "88 04 D8 16 DF 85 EE"},
    {{24, 48, MTX, MTX, 0, -1, -1, 1}, "05 17 85 09 09 09 EE", "05 05 17 17 85 85 EE"},
    {{8, 8, BGR, BGR, 0, -1, -1, 0}}, {{9, 8, GRAY, GRAY, 0, -1, -1, 4}}, {{8, 10, BGR, BGR, 0, -1, -1, 4}},
    {{17, 24, BGR, BGR, 0, -1, -1, 4}}, {{24, 33, BGR, BGR, 0, -1, -1, 4}}, {{-1, 8, BGR, BGR, 0, -1, -1, 4}},
    {{16, 16, GRAY, GRAY, CVT_SRC_BITS | CVT_DST_BITS, 0, 15, 4}},  // both ranges, even whole ones
    {{0, 4, GRAY, RGB, CVT_DST_BITS, 0, 1, 4}},  // a destination range on a palette in RGB order
    {{8, 24, GRAY, BGR, CVT_SRC_BITS, 5, 4, 4}},  // a range on a palette source is still checked
};
// clang-format on

TEST_F(Convert, HandComputedRowsAndRejections) {
  for (const HandRow &row : kHandRows) {
    SCOPED_TRACE(::testing::Message() << "row " << &row - kHandRows);
    Bytes before;
    std::istringstream in(row.before);
    for (unsigned byte; in >> std::hex >> byte;)
      before.push_back(static_cast<uint8_t>(byte));
    for (const int path : {kModel, kExt, kPlain, kGeneral}) {
      if (path == kPlain && !plain_expresses(row.call)) continue;
      Bytes got = before;
      EXPECT_EQ(run(path, row.call, got), row.after ? RC_SUCCESS : RC_INVALID_PARAMETER)
          << kPaths[path];
      EXPECT_EQ(hex(got), row.after ? row.after : hex(before)) << kPaths[path];
    }
  }
  EXPECT_EQ(V_ConvertBufferExt(nullptr, 1, 8, 24, BGR, BGR, nullptr, nullptr, 0, -1, -1),
            RC_INVALID_PARAMETER);
  EXPECT_EQ(V_ConvertBuffer(nullptr, 1, 8, 24, BGR, BGR, nullptr, nullptr), RC_INVALID_PARAMETER);
}

// {width, bits, new width, new bits, bytes}: any stride may win; 0 from 2^32 bytes on.
TEST(ConvertSize, LargestOfTheThreeStrides) {
  // clang-format off
  const uint32_t cases[][5] = {
      {10, 1, 10, 24, 32}, {5, 0, 5, 1, 8}, {5, 1, 5, 0, 8}, {7, 0, 9, 0, 12}, {5, 24, 2, 0, 16},
      {4, 32, 10, 8, 40}, {100, 12, 7, 64, 152}, {0, 8, 0, 8, 0}, {0x3FFFFFFF, 32, 1, 8, 0xFFFFFFFC},
      {0x40000000, 32, 1, 8, 0}, {1, 8, 0x20000000, 64, 0}};
  // clang-format on
  for (const auto &c : cases)
    EXPECT_EQ(V_CalcConvertSize(c[0], c[1], c[2], c[3]), c[4])
        << c[0] << " x " << c[1] << ", " << c[2] << " x " << c[3];
}

class NearestColour : public vxkrn_test::LeakCheckedTest {};

// A scan would stop at the first black or white entry; the shortcuts look at
// the ends first. Two entries 7200 away from (200, 100, 50) tie; the later
// wins only when it orders its components like the request.
TEST_F(NearestColour, ShortcutsAndTies) {
  const PaletteEntry black = rgb(0, 0, 0), white = rgb(255, 255, 255), tie_a = rgb(140, 160, 50),
                     tie_b = rgb(116, 112, 50);
  // clang-format off
  const struct { Palette palette; uint32_t count; int red, green, blue, index; } cases[] = {
      {{}, 3, 1, 2, 3, 0}, {{black}, 0, 1, 2, 3, -1}, {{rgb(9, 9, 9), black, black}, 3, 0, 0, 0, 2},
      {{rgb(9, 9, 9), black, black}, 3, 1, 1, 1, 2},  // two blacks tie: the later has the order
      {{rgb(1, 1, 1), white, white}, 3, 255, 255, 255, 2}, {{white, black, white}, 2, 255, 255, 255, 0},
      {{white, black, white}, 2, 0, 0, 0, 1}, {{white, black, white}, 3, 0, 0, 0, 1},  // the scan
      {{tie_a, tie_b}, 2, 200, 100, 50, 1}, {{tie_b, tie_a}, 2, 200, 100, 50, 0},
      {{rgb(3, 2, 1), rgb(7, 7, 7), rgb(3, 2, 1)}, 3, 3, 2, 1, 0},  // the first exact match
      {{tie_a, tie_b}, 2, 100000, -100000, 7, 1}};  // far outside the cube
  // clang-format on
  for (const auto &c : cases) {
    const PaletteEntry *entries = c.palette.empty() ? nullptr : c.palette.data();
    EXPECT_EQ(V_FindPaletteIndex(entries, c.count, c.red, c.green, c.blue), c.index)
        << c.red << "," << c.green << "," << c.blue;
    EXPECT_EQ(reference_find_palette_index(entries, c.count, c.red, c.green, c.blue), c.index);
  }
}

// The exported scan and the accelerated search a conversion builds, against
// the model, on palettes with stars: entries all at one distance from a
// centre, in directions that order the components differently, so that the
// tie-break decides.
TEST_F(NearestColour, SearchesMatchTheModel) {
  std::mt19937 random(1234);
  const auto any = [&](int from, int n) { return from + static_cast<int>(random() % n); };
  for (int round = 0; round < 150; ++round) {
    const uint32_t sizes[] = {1, 2, 3, 255, 256};
    const uint32_t count = round < 5 ? sizes[round] : 1 + static_cast<uint32_t>(random() % 256);
    Palette palette = random_palette(random, count, true),
            queries = {rgb(0, 0, 0), rgb(255, 255, 255)};
    for (int stars = any(0, 4); stars > 0; --stars) {
      const int centre[3] = {any(12, 232), any(12, 232), any(12, 232)};
      const int a = any(1, 12), b = any(0, 12), d = any(0, 12);
      queries.push_back(rgb(centre[0], centre[1], centre[2]));
      for (const auto &o :
           {std::array{a, b, d}, {a, d, b}, {b, a, d}, {b, d, a}, {d, a, b}, {d, b, a}})
        for (int signs = 0; signs < 8; ++signs) {
          const auto at = [&](int k) { return centre[k] + (signs >> k & 1 ? -o[k] : o[k]); };
          if (random() % 8 == 0) palette[random() % count] = rgb(at(0), at(1), at(2));
        }
    }
    // Entries, colours anywhere, and colours halfway between the levels of coarse palettes.
    for (int i = 0; i < 400; ++i) {
      const int level[3] = {any(0, 4) * 64 + 32, any(0, 4) * 64 + 32, any(0, 4) * 64 + 32};
      queries.push_back(i % 3 == 0   ? palette[random() % count]
                        : i % 3 == 1 ? rgb(any(0, 256), any(0, 256), any(0, 256))
                                     : rgb(level[0], level[1], level[2]));
    }
    vxkrn::color::NearestSearch search(palette.data(), count);
    for (const PaletteEntry &q : queries) {
      const int32_t want =
          reference_find_palette_index(palette.data(), count, q.Red, q.Green, q.Blue);
      const int32_t got = V_FindPaletteIndex(palette.data(), count, q.Red, q.Green, q.Blue),
                    fast = search.find(q.Red, q.Green, q.Blue);
      ASSERT_TRUE(got == want && fast == want)
          << "round " << round << ", " << count << " entries: search for " << int{q.Red} << ","
          << int{q.Green} << "," << int{q.Blue} << " gives " << got << ", accelerated " << fast
          << ", the model " << want;
    }
  }
}

TEST_F(NearestColour, ConversionWithoutWorkingMemoryGivesTheSameIndices) {
  std::mt19937 random(77);
  const Palette palette = random_palette(random, 256);
  Bytes colours(3 * 300);
  for (uint8_t &b : colours)
    b = static_cast<uint8_t>(random() % 2 ? random() : 64 * (random() % 4) + 32);
  const Call call{24, 8, BGR, BGR, 0, -1, -1, 300};
  Bytes expected = colours;
  ASSERT_EQ(run(kModel, call, expected, nullptr, palette.data()), RC_SUCCESS);
  const auto convert = [&] {
    Bytes row = colours;
    EXPECT_EQ(run(kExt, call, row, nullptr, palette.data()), RC_SUCCESS);
    EXPECT_TRUE(row == expected);
  };
  if (vxkrn_test::count_allocations(vxkrn_test::kBothHeaps, convert) == 0)
    GTEST_SKIP() << "this conversion takes no working memory, so there is none to withhold";
  vxkrn_test::sweep_allocation_failures(vxkrn_test::kBothHeaps, [&](unsigned) { convert(); });
}

}  // namespace
