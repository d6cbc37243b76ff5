// The converter and the nearest-colour search against the plain model in
// support/convert_reference, at every vector level, and against rows worked by hand.
#include <algorithm>
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
constexpr auto row_bytes = &vxkrn_test::reference_row_bytes;

constexpr int32_t RGB = ORDER_RGB, BGR = ORDER_BGR, GRAY = ORDER_GRAY, MTX = ORDER_MATRIX;
#if defined(__arm__)  // the 32-bit ARM build runs emulated, about 15 times slower
constexpr int kRounds = 1;
#else
constexpr int kRounds = 10;
#endif

struct Call {
  int32_t src_bits, dst_bits, src_order, dst_order;
  uint32_t width = 1;
  int32_t flags = 0, low = -1, high = -1;
};

// The model; the converter, as V_ConvertBufferExt calls it; V_ConvertBuffer (when it can express
// the flags); the general path alone.
enum Path { kModel, kFast, kPlain, kGeneral };
const char *const kPaths[] = {"the model", "fast paths", "V_ConvertBuffer", "general path"};

ResultCode run(int path, const Call &c, Bytes &b, const PaletteEntry *sp = nullptr,
               const PaletteEntry *dp = nullptr) {
  if (path == kModel)
    return vxkrn_test::reference_convert(b, c.width, c.src_bits, c.dst_bits, c.src_order,
                                         c.dst_order, sp, dp, c.flags, c.low, c.high);
  if (path == kPlain && (c.flags & ~(CVT_SRC_GRAY | CVT_DST_GRAY)) == 0)
    return V_ConvertBuffer(b.data(), c.width, c.src_bits, c.dst_bits, c.src_order, c.dst_order, sp,
                           dp);
  return vxkrn::color::convert_row(b.data(), c.width, c.src_bits, c.dst_bits, c.src_order,
                                   c.dst_order, sp, dp, c.flags, c.low, c.high, path != kGeneral);
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

// Half the palettes take levels 64 apart, so that colours between two levels tie; entries
// repeat, carry reserved bytes, or are black and white at the ends, where shortcuts look.
Palette random_palette(std::mt19937 &random, uint32_t count) {
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
  for (const uint8_t level : {0, 255})
    if (random() % 3 == 0) entries[random() % 2 ? 0 : count - 1] = {level, level, level, 0};
  return entries;
}

// One conversion drawn from the seed, made every way and compared with the model. Ten seeds
// in a row take every width: past the blocks of every vector kernel, tails of all sizes.
bool convert_case(uint32_t seed, Call c) {
  std::mt19937 random(seed);
  const auto below = [&](int32_t n) { return static_cast<int32_t>(random() % n); };
  const uint32_t widths[] = {1, 2, 3, 7, 9, 31, 33, 64, 100, 257};
  c.width = widths[seed % 10];
  // Any flags, and bounds for the side whose range they name, sometimes one past its pixel.
  c.flags = below(64);
  const int32_t ranged = c.flags & CVT_SRC_BITS ? c.src_bits : c.dst_bits;
  const int32_t depth = ranged ? ranged : 8;
  c.low = below(depth + 1) - 1;
  c.high = below(2) ? -1 : c.low + below(depth + 1 - c.low);
  // Palettes of exactly 2^bits entries (one for a side without), so that AddressSanitizer sees
  // a read past one; a destination may start with the source's, which keeps the indices.
  const auto count = [](int32_t bits) { return bits >= 1 && bits <= 8 ? 1u << bits : 0u; };
  const uint32_t src_count = count(c.src_bits), dst_count = count(c.dst_bits);
  Palette sp = below(2) ? Palette{} : random_palette(random, std::max(src_count, 1u));
  Palette dp = below(4) ? random_palette(random, std::max(dst_count, 1u)) : Palette{};
  if (dst_count && !dp.empty() && src_count && below(2)) {
    const PaletteEntry *source = sp.empty() ? V_IntGetFixedPalette(c.src_bits) : sp.data();
    const uint32_t shared = std::min(src_count, dst_count);
    std::copy(source, source + shared, dp.begin());
    if (below(2)) dp[random() % shared].Reserved ^= static_cast<uint8_t>(1 + below(255));
  }
  // Bytes after the row, which no conversion may touch.
  Bytes want(std::max(row_bytes(c.width, c.src_bits), row_bytes(c.width, c.dst_bits)) + 7);
  std::generate(want.begin(), want.end(), [&] { return static_cast<uint8_t>(random()); });

  SCOPED_TRACE(::testing::Message() << "case seed " << seed << ": " << c.src_bits << " bits/order "
                                    << c.src_order << " to " << c.dst_bits << "/" << c.dst_order
                                    << ", width " << c.width << ", flags " << c.flags);
  const PaletteEntry *s = sp.empty() ? nullptr : sp.data(), *d = dp.empty() ? nullptr : dp.data();
  const Bytes before = want;
  const ResultCode want_rc = run(kModel, c, want, s, d);
  for (const int path : {kFast, kPlain, kGeneral}) {
    Bytes got = before;
    const ResultCode rc = run(path, c, got, s, d);
    const size_t at = std::mismatch(got.begin(), got.end(), want.begin()).first - got.begin();
    if (rc == want_rc && at == got.size()) continue;
    ADD_FAILURE() << kPaths[path] << " returned " << rc << ", the model " << want_rc
                  << "; from byte " << at << ":\n  library: " << hex(got, at, at + 9)
                  << "\n  model:   " << hex(want, at, at + 9);
    return false;
  }
  return true;
}

class Convert : public vxkrn_test::LeakCheckedTest {
 protected:
  void TearDown() override {
    vxkrn::color::set_simd_cap(SimdLevel::Avx2);  // no cap
    LeakCheckedTest::TearDown();
  }
};

// With the kernel sets up to each level the processor has: scalar, SSSE3, AVX2 over SSSE3; the
// general path runs beside them. Depths 9 and 33 and order 3 do not exist.
TEST_F(Convert, EveryFormatPairMatchesTheModelAtEveryVectorLevel) {
  const int32_t bits[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 12, 16, 24, 32, 33, 48, 64};
  const int32_t orders[] = {RGB, BGR, GRAY, MTX, 3};
  for (const SimdLevel level : {SimdLevel::None, SimdLevel::Ssse3, SimdLevel::Avx2}) {
    if (vxkrn::color::supported_simd_level() < level) break;
    vxkrn::color::set_simd_cap(level);
    SCOPED_TRACE(::testing::Message() << "vector level " << int(level));
    uint32_t seed = 20250611 + 1000000 * static_cast<uint32_t>(level);
    for (const int32_t src_bits : bits)
      for (const int32_t dst_bits : bits)
        for (const int32_t src_order : orders)
          for (const int32_t dst_order : orders)
            for (int round = 0; round < kRounds; ++round)
              ASSERT_TRUE(convert_case(seed++, {src_bits, dst_bits, src_order, dst_order}));
  }
}

// Rows worked out by hand (default palettes, EE guard bytes), the model's too; then rejections
// the sweep does not draw, which leave the bytes alone.
// clang-format off
const struct HandRow {
  Call call;
  const char *before = "01 23 45 67 89 AB CD EF 10 32 54 76 98 BA DC FE";
  const char *after = nullptr;  // rejected
} kHandRows[] = {
    {{1, 24, BGR, BGR, 3}, "A5 01 02 03 04 05 06 07 08 EE", "FF FF FF 00 00 00 FF FF FF EE"},
    {{4, 24, BGR, BGR, 3}, "19 C7 01 02 03 04 05 06 07 EE", "00 00 80 00 00 FF FF 00 00 EE"},
    {{4, 24, GRAY, RGB, 2}, "19 01 02 03 04 05 EE", "80 00 00 FF 00 00 EE"},
    {{3, 0, RGB, GRAY, 3}, "2A 3F 77 EE", "20 9F 40 EE"},
    {{1, 12, RGB, GRAY, 2}, "95 33 44 EE", "FF 0F 00 EE"},
    {{0, 12, GRAY, GRAY, 3}, "FF 00 80 5C A3 EE", "FF 0F 00 07 A8 EE"},
    {{12, 0, GRAY, GRAY, 3}, "FF 0F 00 07 A8 EE", "FF 00 7F 07 A8 EE"},
    {{16, 0, GRAY, GRAY, 1, CVT_SRC_BITS, 4, 11}, "CD AB EE", "BC AB EE"},
    {{0, 32, GRAY, GRAY, 2}, "01 FF 01 02 03 04 05 06 EE", "01 01 01 01 FF FF FF FF EE"},
    {{0, 16, GRAY, GRAY, 1, CVT_DST_BITS, 4, 11}, "80 55 EE", "00 08 EE"},
    {{0, 16, GRAY, GRAY, 1, CVT_DST_BITS, 0, 15}, "80 55 EE", "80 80 EE"},
    {{24, 0, RGB, GRAY, 1, CVT_SRC_GRAY | CVT_SRC_BITS, 5, 2}, "FF 00 00 EE", "40 00 00 EE"},
    {{24, 16, RGB, RGB}, "FF 80 08 EE", "1F 06 08 EE"},
    {{16, 24, BGR, BGR}, "01 FE 55 EE", "08 84 FF EE"},
    {{24, 16, RGB, BGR}, "FF 80 08 EE", "01 7E 08 EE"},
    {{24, 32, BGR, BGR}, "01 02 03 99 EE", "01 02 03 00 EE"},
    {{24, 48, BGR, BGR}, "01 80 FF 01 02 03 EE", "01 01 80 80 FF FF EE"},
    {{48, 24, BGR, BGR}, "FF 12 00 34 CD AB EE", "12 34 AB 34 CD AB EE"},
    {{64, 32, RGB, RGB}, "00 11 00 22 00 33 FF 7F EE", "11 22 33 7F 00 33 FF 7F EE"},
    {{32, 64, BGR, BGR}, "01 02 03 80 09 09 09 09 EE", "01 01 02 02 03 03 80 80 EE"},
    {{24, 32, BGR, BGR, 1, CVT_ALPHA_SET}, "01 02 03 99 EE", "01 02 03 FF EE"},
    {{24, 64, BGR, RGB, 1, CVT_ALPHA_FILL}, "01 02 03 09 09 09 09 09 EE", "03 03 02 02 01 01 FF FF EE"},
    {{0, 64, GRAY, RGB}, "80 09 09 09 09 09 09 09 EE", "80 80 80 80 80 80 00 00 EE"},
    {{24, 24, BGR, MTX, 2}, "00 00 FF FF FF FF EE", "05 17 85 FF FF FF EE"},
    {{24, 24, MTX, BGR, 2}, "05 17 85 64 C8 32 EE", "01 00 FE 57 EB 00 EE"},
    {{24, 48, RGB, MTX}, "FF 00 00 09 09 09 EE", "88 04 D8 16 DF 85 EE"},
    {{24, 48, MTX, MTX}, "05 17 85 09 09 09 EE", "05 05 17 17 85 85 EE"},
    {{8, 8, BGR, BGR, 0}},  // no pixels
    {{8, 24, GRAY, BGR, 4, CVT_SRC_BITS, 5, 4}},  // a range on a palette source is still checked
};
// clang-format on

TEST_F(Convert, HandComputedRowsAndRejections) {
  for (const HandRow &row : kHandRows) {
    SCOPED_TRACE(::testing::Message() << "row " << &row - kHandRows);
    Bytes before;
    std::istringstream in(row.before);
    for (unsigned byte; in >> std::hex >> byte;)
      before.push_back(static_cast<uint8_t>(byte));
    for (const int path : {kModel, kFast, kPlain, kGeneral}) {
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
      {10, 1, 10, 24, 32}, {5, 0, 5, 1, 8}, {7, 0, 9, 0, 12}, {5, 24, 2, 0, 16}, {4, 32, 10, 8, 40},
      {100, 12, 7, 64, 152}, {0x3FFFFFFF, 32, 1, 8, 0xFFFFFFFC}, {0x40000000, 32, 1, 8, 0},
      {1, 8, 0x20000000, 64, 0}, {5, 1, 5, 0, 8}, {0, 8, 0, 8, 0}};
  // clang-format on
  for (const auto &c : cases)
    EXPECT_EQ(V_CalcConvertSize(c[0], c[1], c[2], c[3]), c[4]) << "case " << &c - cases;
}

// Black and white look at the ends before scanning. Two entries 7200 away from (200, 100, 50)
// tie; the later wins only when it orders its components like the request.
TEST_F(Convert, NearestColourShortcutsAndTies) {
  const PaletteEntry black = rgb(0, 0, 0), white = rgb(255, 255, 255), tie_a = rgb(140, 160, 50),
                     tie_b = rgb(116, 112, 50);
  // clang-format off
  const struct { Palette palette; uint32_t count; int red, green, blue, index; } cases[] = {
      {{}, 3, 1, 2, 3, 0}, {{black}, 0, 1, 2, 3, -1}, {{rgb(9, 9, 9), black, black}, 3, 0, 0, 0, 2},
      {{rgb(9, 9, 9), black, black}, 3, 1, 1, 1, 2},  // two blacks tie: the later has the order
      {{rgb(1, 1, 1), white, white}, 3, 255, 255, 255, 2}, {{white, black, white}, 2, 255, 255, 255, 0},
      {{white, black, white}, 2, 0, 0, 0, 1}, {{white, black, white}, 3, 0, 0, 0, 1},  // the scan
      {{white, black, white}, 3, 255, 255, 255, 2}, {{tie_a, tie_b}, 2, 200, 100, 50, 1},
      {{tie_b, tie_a}, 2, 200, 100, 50, 0}, {{tie_a, tie_b}, 2, 100000, -100000, 7, 1},
      {{rgb(3, 2, 1), rgb(7, 7, 7), rgb(3, 2, 1)}, 3, 3, 2, 1, 0}};  // the first exact match
  // clang-format on
  for (const auto &c : cases) {
    const PaletteEntry *entries = c.palette.empty() ? nullptr : c.palette.data();
    EXPECT_EQ(V_FindPaletteIndex(entries, c.count, c.red, c.green, c.blue), c.index) << &c - cases;
    EXPECT_EQ(reference_find_palette_index(entries, c.count, c.red, c.green, c.blue), c.index);
  }
}

// The exported scan and a conversion's accelerated search against the model: entries, colours
// anywhere followed by a neighbour the search's memo must tell apart, and colours between the
// levels of coarse palettes, where the tie-break decides. With 256 entries the queries are also
// converted as a row with each allocation failing in turn: the same indices without memory.
TEST_F(Convert, NearestColourSearchesAndConversionsMatchTheModel) {
  std::mt19937 random(1234);
  const auto any = [&](int n) { return static_cast<int>(random() % n); };
  for (int round = 0; round < 150; ++round) {
    const uint32_t count = round < 3 ? 1 + round : round % 50 == 3 ? 256 : 1 + random() % 256;
    Palette palette = random_palette(random, count), queries = {rgb(0, 0, 0), rgb(255, 255, 255)};
    for (int i = 0; i < 150; ++i) {
      const int r = any(256), g = any(256), b = any(256), half[3] = {any(4), any(4), any(4)};
      queries.insert(queries.end(), {palette[random() % count], rgb(r, g, b), rgb(r, g, b ^ 1),
                                     rgb(64 * half[0] + 32, 64 * half[1] + 32, 64 * half[2] + 32)});
    }
    vxkrn::color::NearestSearch search(palette.data(), count);
    Bytes row, indices;
    for (const PaletteEntry &q : queries) {
      const int32_t want =
          reference_find_palette_index(palette.data(), count, q.Red, q.Green, q.Blue);
      const int32_t got = V_FindPaletteIndex(palette.data(), count, q.Red, q.Green, q.Blue),
                    fast = search.find(q.Red, q.Green, q.Blue);
      ASSERT_TRUE(got == want && fast == want)
          << "round " << round << ", query " << &q - &queries[0] << ": " << got << ", accelerated "
          << fast << ", the model " << want;
      row.insert(row.end(), {q.Blue, q.Green, q.Red});
      indices.push_back(static_cast<uint8_t>(want));
    }
    if (count != 256) continue;
    vxkrn_test::sweep_allocation_failures(vxkrn_test::kBothHeaps, [&](unsigned) {
      Bytes converted = row;
      EXPECT_EQ(run(kFast, {24, 8, BGR, BGR, uint32_t(queries.size())}, converted, nullptr,
                    palette.data()),
                RC_SUCCESS);
      EXPECT_TRUE(std::equal(indices.begin(), indices.end(), converted.begin()));
    });
  }
}

}  // namespace
