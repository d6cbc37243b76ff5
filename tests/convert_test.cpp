// The buffer converter and the nearest-colour search against the plain model
// in support/convert_reference, and both against rows worked out by hand.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "support/convert_reference.h"
#include "support/test_support.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Palette = std::vector<PaletteEntry>;
using vxkrn_test::reference_convert;
using vxkrn_test::reference_find_palette_index;

const int32_t kBits[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64};
const int32_t kOrders[] = {ORDER_RGB, ORDER_BGR, ORDER_GRAY, ORDER_MATRIX, 3};
const uint32_t kWidths[] = {1, 2, 3, 7, 31, 100};
constexpr size_t kGuard = 7;      // bytes after the row that no conversion may touch
constexpr int kMaxReported = 10;  // failing cases reported before a sweep gives up
constexpr uint32_t kSweepSeed = 20250611;

// Random cases per (format, format) pair; the first one never draws a
// rejected flag combination, so every accepted pair converts at least once.
// The 32-bit ARM build runs emulated, about fifteen times slower.
#if defined(__arm__)
constexpr int kRounds = 1;
#else
constexpr int kRounds = 4;
#endif

std::string hex(const Bytes &bytes, size_t from = 0, size_t to = SIZE_MAX) {
  std::string text;
  char part[4];
  for (size_t i = from; i < std::min(to, bytes.size()); ++i) {
    std::snprintf(part, sizeof part, i == from ? "%02X" : " %02X", bytes[i]);
    text += part;
  }
  return text;
}

PaletteEntry rgb(int red, int green, int blue) {
  return {static_cast<uint8_t>(blue), static_cast<uint8_t>(green), static_cast<uint8_t>(red), 0};
}

const PaletteEntry *or_null(const Palette &palette) {
  return palette.empty() ? nullptr : palette.data();
}

// Half the palettes take their components from levels 64 apart, so that
// colours halfway between two levels are equally far from several entries;
// some entries repeat earlier ones, some have a reserved byte set.
Palette random_palette(std::mt19937 &random, uint32_t count) {
  const bool coarse = random() % 2 == 0;
  const auto level = [&] {
    return static_cast<uint8_t>(coarse ? std::min<uint32_t>(64 * (random() % 5), 255) : random());
  };
  Palette entries(count);
  for (uint32_t i = 0; i < count; ++i) {
    if (i > 0 && random() % 6 == 0) {
      entries[i] = entries[random() % i];
    } else {
      entries[i] = {level(), level(), level(), 0};
      if (random() % 5 == 0) entries[i].Reserved = static_cast<uint8_t>(random());
    }
  }
  return entries;
}

// Black and white at either end or in the middle, where the search's
// shortcuts look for them.
void place_black_and_white(std::mt19937 &random, Palette &entries) {
  const uint32_t count = static_cast<uint32_t>(entries.size());
  for (const int level : {0, 255}) {
    const uint32_t at[] = {0, count - 1, static_cast<uint32_t>(random() % count)};
    if (random() % 3 == 0) entries[at[random() % 3]] = rgb(level, level, level);
  }
}

// One random conversion, fully determined by its seed, its two formats and
// whether it must be accepted: draw_case with the values a failure prints
// rebuilds it.
struct Case {
  uint32_t seed = 0;
  int32_t src_bits = 0, dst_bits = 0, src_order = 0, dst_order = 0;
  bool accepted_only = false;
  uint32_t width = 1;
  int32_t flags = 0, low = -1, high = -1;
  Palette src_palette, dst_palette;  // empty for null
  const char *dst_palette_kind = "null";
  Bytes buffer;
};

std::string describe(const Case &c) {
  return (::testing::Message() << "case seed " << c.seed
                               << (c.accepted_only ? " (first round)" : "") << ": " << c.src_bits
                               << " bits order " << c.src_order << " ("
                               << (c.src_palette.empty() ? "null" : "own") << " palette) to "
                               << c.dst_bits << " bits order " << c.dst_order << " ("
                               << c.dst_palette_kind << " palette), width " << c.width
                               << ", flags 0x" << std::hex << c.flags << std::dec << ", low "
                               << c.low << ", high " << c.high)
      .GetString();
}

// A bit range for a side of `bits`: the whole pixel (dropped), part of it,
// or, unless only accepted ranges are wanted, one that is not a range of it.
void draw_range(std::mt19937 &random, int32_t bits, bool accepted_only, Case &c) {
  const int32_t depth = bits == 0 ? 8 : bits;
  switch (random() % (accepted_only ? 3 : 5)) {
    case 0:
      c.low = random() % 2 ? 0 : -3;
      c.high = random() % 2 ? -1 : depth - 1;
      break;
    case 1:
      c.low = static_cast<int32_t>(random() % depth);
      c.high = c.low + static_cast<int32_t>(random() % (depth - c.low));
      break;
    case 2:
      c.low = static_cast<int32_t>(random() % depth);
      c.high = -1;
      break;
    case 3:
      c.low = random() % 2 ? -1 : 0;
      c.high = depth + static_cast<int32_t>(random() % 3);
      break;
    default:
      c.high = static_cast<int32_t>(random() % depth);
      c.low = c.high + 1 + static_cast<int32_t>(random() % 3);
      break;
  }
}

Case draw_case(uint32_t seed, int32_t src_bits, int32_t dst_bits, int32_t src_order,
               int32_t dst_order, bool accepted_only) {
  std::mt19937 random(seed);
  Case c;
  c.seed = seed;
  c.src_bits = src_bits;
  c.dst_bits = dst_bits;
  c.src_order = src_order;
  c.dst_order = dst_order;
  c.accepted_only = accepted_only;
  c.width = kWidths[random() % std::size(kWidths)];

  const int32_t alpha[] = {0, CVT_ALPHA_FILL, CVT_ALPHA_SET, CVT_ALPHA_FILL | CVT_ALPHA_SET};
  c.flags = alpha[random() % 4];
  if (random() % 4 == 0) c.flags |= static_cast<int32_t>(random() % 4);  // the orders decide these
  switch (random() % 8) {
    case 3:
    case 4:
      c.flags |= CVT_SRC_BITS;
      draw_range(random, src_bits, accepted_only, c);
      break;
    case 5:
    case 6:
      if (accepted_only && dst_order != ORDER_GRAY) break;
      c.flags |= CVT_DST_BITS;
      draw_range(random, dst_bits, accepted_only, c);
      break;
    case 7:
      if (accepted_only) break;
      c.flags |= CVT_SRC_BITS | CVT_DST_BITS;
      draw_range(random, src_bits, accepted_only, c);
      break;
    default:  // no range; the bounds are then never looked at
      if (random() % 2) {
        c.low = static_cast<int32_t>(random() % 40) - 8;
        c.high = static_cast<int32_t>(random() % 40) - 8;
      }
      break;
  }

  // Palettes of exactly 2^bits entries, so that reading past one shows under
  // AddressSanitizer; a side without palette sometimes gets a one-entry array
  // that must not be read at all.
  const auto is_palette = [](int32_t bits) { return bits >= 1 && bits <= 8; };
  if (is_palette(src_bits)) {
    if (random() % 2) c.src_palette = random_palette(random, 1u << src_bits);
  } else if (random() % 4 == 0) {
    c.src_palette = random_palette(random, 1);
  }
  if (is_palette(dst_bits)) {
    const uint32_t count = 1u << dst_bits;
    switch (random() % 4) {
      case 0:
        break;
      case 1:
        c.dst_palette = random_palette(random, count);
        c.dst_palette_kind = "random";
        break;
      default: {  // the source palette first, then other colours
        c.dst_palette = random_palette(random, count);
        c.dst_palette_kind = "random";
        if (!is_palette(src_bits)) break;
        c.dst_palette_kind = "source first";
        const PaletteEntry *source =
            c.src_palette.empty() ? V_IntGetFixedPalette(src_bits) : c.src_palette.data();
        const uint32_t shared = std::min(count, 1u << src_bits);
        std::copy(source, source + shared, c.dst_palette.begin());
        if (random() % 2) {
          c.dst_palette[random() % shared].Reserved ^= static_cast<uint8_t>(1 + random() % 255);
          c.dst_palette_kind = "source first, one reserved byte changed";
        }
        break;
      }
    }
    if (!c.dst_palette.empty()) place_black_and_white(random, c.dst_palette);
  } else if (random() % 4 == 0) {
    c.dst_palette = random_palette(random, 1);
    c.dst_palette_kind = "one-entry";
  }

  const uint64_t row = std::max(vxkrn_test::reference_row_bytes(c.width, src_bits),
                                vxkrn_test::reference_row_bytes(c.width, dst_bits));
  c.buffer.resize(row + kGuard);
  for (uint8_t &b : c.buffer)
    b = static_cast<uint8_t>(random());
  return c;
}

// Reports a difference between a library call and the model, around the first
// byte that differs.
bool same_as_model(const char *call, const Bytes &before, ResultCode got, const Bytes &library,
                   ResultCode want, const Bytes &model) {
  if (got == want && library == model) return true;
  size_t at = 0;
  while (at < library.size() && library[at] == model[at])
    ++at;
  const size_t from = at < 8 ? 0 : at - 8, to = at + 9;
  ADD_FAILURE() << call << " returned " << got << ", the model " << want
                << "; first differing byte " << at << " of " << library.size()
                << "\n  before:  " << hex(before, from, to)
                << "\n  library: " << hex(library, from, to)
                << "\n  model:   " << hex(model, from, to);
  return false;
}

bool run_case(const Case &c) {
  const PaletteEntry *sp = or_null(c.src_palette), *dp = or_null(c.dst_palette);
  Bytes library = c.buffer, model = c.buffer;
  const ResultCode got =
      V_ConvertBufferExt(library.data(), c.width, c.src_bits, c.dst_bits, c.src_order, c.dst_order,
                         sp, dp, c.flags, c.low, c.high);
  const ResultCode want = reference_convert(model, c.width, c.src_bits, c.dst_bits, c.src_order,
                                            c.dst_order, sp, dp, c.flags, c.low, c.high);
  bool same = same_as_model("V_ConvertBufferExt", c.buffer, got, library, want, model);
  if ((c.flags & ~(CVT_SRC_GRAY | CVT_DST_GRAY)) == 0) {  // what V_ConvertBuffer can express
    Bytes plain = c.buffer;
    const ResultCode rc = V_ConvertBuffer(plain.data(), c.width, c.src_bits, c.dst_bits,
                                          c.src_order, c.dst_order, sp, dp);
    same = same_as_model("V_ConvertBuffer", c.buffer, rc, plain, want, model) && same;
  }
  return same;
}

class Convert : public vxkrn_test::LeakCheckedTest {};

TEST_F(Convert, EveryFormatPairMatchesTheModel) {
  uint32_t seed = kSweepSeed;
  int failures = 0;
  for (const int32_t src_bits : kBits) {
    for (const int32_t dst_bits : kBits) {
      for (const int32_t src_order : kOrders) {
        for (const int32_t dst_order : kOrders) {
          for (int round = 0; round < kRounds; ++round) {
            const Case c = draw_case(seed++, src_bits, dst_bits, src_order, dst_order, round == 0);
            SCOPED_TRACE(describe(c));
            if (!run_case(c) && ++failures == kMaxReported)
              FAIL() << "stopping after " << kMaxReported << " failing cases";
          }
        }
      }
    }
  }
}

TEST_F(Convert, RejectionsLeaveTheBufferAlone) {
  const struct {
    const char *what;
    int32_t src_bits, dst_bits, src_order, dst_order, flags, low, high;
    uint32_t width;
  } cases[] = {
      {"width 0", 8, 8, ORDER_BGR, ORDER_BGR, 0, -1, -1, 0},
      {"ranges on both sides", 16, 16, ORDER_GRAY, ORDER_GRAY, CVT_SRC_BITS | CVT_DST_BITS, 2, 9,
       4},
      {"both sides, before a whole range is dropped", 16, 16, ORDER_GRAY, ORDER_GRAY,
       CVT_SRC_BITS | CVT_DST_BITS, 0, 15, 4},
      {"destination range on a colour destination", 8, 24, ORDER_GRAY, ORDER_BGR, CVT_DST_BITS, 0,
       3, 4},
      {"destination range on a palette in RGB order", 0, 4, ORDER_GRAY, ORDER_RGB, CVT_DST_BITS, 0,
       1, 4},
      {"12-bit source in RGB", 12, 8, ORDER_RGB, ORDER_GRAY, 0, -1, -1, 4},
      {"12-bit destination in BGR", 0, 12, ORDER_GRAY, ORDER_BGR, 0, -1, -1, 4},
      {"12-bit source in matrix order", 12, 24, ORDER_MATRIX, ORDER_MATRIX, 0, -1, -1, 4},
      {"9-bit source", 9, 8, ORDER_GRAY, ORDER_GRAY, 0, -1, -1, 4},
      {"10-bit destination", 8, 10, ORDER_BGR, ORDER_BGR, 0, -1, -1, 4},
      {"17-bit source", 17, 24, ORDER_BGR, ORDER_BGR, 0, -1, -1, 4},
      {"33-bit destination", 24, 33, ORDER_BGR, ORDER_BGR, 0, -1, -1, 4},
      {"negative depth", -1, 8, ORDER_BGR, ORDER_BGR, 0, -1, -1, 4},
      {"16-bit matrix source", 16, 24, ORDER_MATRIX, ORDER_BGR, 0, -1, -1, 4},
      {"32-bit matrix destination", 24, 32, ORDER_BGR, ORDER_MATRIX, 0, -1, -1, 4},
      {"64-bit matrix source", 64, 48, ORDER_MATRIX, ORDER_MATRIX, 0, -1, -1, 4},
      {"24-bit gray source", 24, 8, ORDER_GRAY, ORDER_BGR, 0, -1, -1, 4},
      {"48-bit gray destination", 16, 48, ORDER_GRAY, ORDER_GRAY, 0, -1, -1, 4},
      {"64-bit gray destination", 0, 64, ORDER_GRAY, ORDER_GRAY, 0, -1, -1, 4},
      {"order 3 on 16 bits", 16, 24, 3, ORDER_BGR, 0, -1, -1, 4},
      {"order 3 on 24 bits", 8, 24, ORDER_BGR, 3, 0, -1, -1, 4},
      {"range above a 16-bit pixel", 16, 0, ORDER_GRAY, ORDER_GRAY, CVT_SRC_BITS, 0, 16, 4},
      {"range above a gray8 pixel", 0, 16, ORDER_GRAY, ORDER_GRAY, CVT_SRC_BITS, 2, 8, 4},
      {"low bit above the high bit", 12, 0, ORDER_GRAY, ORDER_GRAY, CVT_SRC_BITS, 7, 6, 4},
      {"low bit above the top bit", 0, 16, ORDER_GRAY, ORDER_GRAY, CVT_SRC_BITS, 9, -1, 4},
      {"destination range above the pixel", 24, 32, ORDER_BGR, ORDER_GRAY, CVT_DST_BITS, 3, 32, 4},
      {"range on a palette side is still checked", 8, 24, ORDER_GRAY, ORDER_BGR, CVT_SRC_BITS, 5, 4,
       4},
  };
  std::mt19937 random(3);
  Bytes before(64);
  for (uint8_t &b : before)
    b = static_cast<uint8_t>(random());
  for (const auto &c : cases) {
    SCOPED_TRACE(c.what);
    Bytes library = before, model = before;
    EXPECT_EQ(V_ConvertBufferExt(library.data(), c.width, c.src_bits, c.dst_bits, c.src_order,
                                 c.dst_order, nullptr, nullptr, c.flags, c.low, c.high),
              RC_INVALID_PARAMETER);
    EXPECT_EQ(library, before);
    EXPECT_EQ(reference_convert(model, c.width, c.src_bits, c.dst_bits, c.src_order, c.dst_order,
                                nullptr, nullptr, c.flags, c.low, c.high),
              RC_INVALID_PARAMETER)
        << "model";
    if (c.flags == 0) {
      EXPECT_EQ(V_ConvertBuffer(library.data(), c.width, c.src_bits, c.dst_bits, c.src_order,
                                c.dst_order, nullptr, nullptr),
                RC_INVALID_PARAMETER);
      EXPECT_EQ(library, before);
    }
  }
  EXPECT_EQ(
      V_ConvertBufferExt(nullptr, 1, 8, 24, ORDER_BGR, ORDER_BGR, nullptr, nullptr, 0, -1, -1),
      RC_INVALID_PARAMETER);
  EXPECT_EQ(V_ConvertBuffer(nullptr, 1, 8, 24, ORDER_BGR, ORDER_BGR, nullptr, nullptr),
            RC_INVALID_PARAMETER);
}

// Bytes written as hex pairs, "FF 0F 00".
Bytes from_hex(const char *text) {
  Bytes bytes;
  unsigned value = 0;
  int used = 0;
  while (std::sscanf(text, "%2x%n", &value, &used) == 1) {
    bytes.push_back(static_cast<uint8_t>(value));
    text += used;
  }
  return bytes;
}

// Arguments of one conversion call, palettes null.
struct Call {
  int32_t src_bits, dst_bits, src_order, dst_order, flags, low, high;
  uint32_t width;
};

// Rows worked out by hand from the rules, default palettes throughout; EE
// bytes are guards. The model must agree too, which keeps it honest.
// clang-format off
const struct HandRow {
  const char *what;
  Call call;
  const char *before, *after;
} kHandRows[] = {
    {"1-bit palette to 24 BGR", {1, 24, ORDER_BGR, ORDER_BGR, 0, -1, -1, 3},
     "A5 01 02 03 04 05 06 07 08 EE", "FF FF FF 00 00 00 FF FF FF EE"},
    {"4-bit palette (maroon, red, blue) to 24 BGR", {4, 24, ORDER_BGR, ORDER_BGR, 0, -1, -1, 3},
     "19 C7 01 02 03 04 05 06 07 EE", "00 00 80 00 00 FF FF 00 00 EE"},
    {"4-bit palette to 24 RGB", {4, 24, ORDER_GRAY, ORDER_RGB, 0, -1, -1, 2},
     "19 01 02 03 04 05 EE", "80 00 00 FF 00 00 EE"},
    {"3-bit palette (blue, green, red) to gray8", {3, 0, ORDER_RGB, ORDER_GRAY, 0, -1, -1, 3},
     "2A 3F 77 EE", "20 9F 40 EE"},
    {"white and black entries to 12-bit gray", {1, 12, ORDER_RGB, ORDER_GRAY, 0, -1, -1, 2},
     "95 33 44 EE", "FF 0F 00 EE"},
    {"gray8 to 12 bits, odd width keeps the last high nibble",
     {0, 12, ORDER_GRAY, ORDER_GRAY, 0, -1, -1, 3}, "FF 00 80 5C A3 EE", "FF 0F 00 07 A8 EE"},
    {"12 bits to gray8 truncates", {12, 0, ORDER_GRAY, ORDER_GRAY, 0, -1, -1, 3},
     "FF 0F 00 07 A8 EE", "FF 00 7F 07 A8 EE"},
    {"12 bits to 16-bit gray", {12, 16, ORDER_GRAY, ORDER_GRAY, 0, -1, -1, 1},
     "07 A8 EE", "77 80 EE"},
    {"gray8 to 32-bit gray", {0, 32, ORDER_GRAY, ORDER_GRAY, 0, -1, -1, 2},
     "01 FF 01 02 03 04 05 06 EE", "01 01 01 01 FF FF FF FF EE"},
    {"bits 4..11 of 16-bit gray to gray8", {16, 0, ORDER_GRAY, ORDER_GRAY, CVT_SRC_BITS, 4, 11, 1},
     "CD AB EE", "BC AB EE"},
    {"gray8 into bits 4..11 of 16-bit gray",
     {0, 16, ORDER_GRAY, ORDER_GRAY, CVT_DST_BITS, 4, 11, 1}, "80 55 EE", "00 08 EE"},
    {"a range of the whole pixel is no range",
     {0, 16, ORDER_GRAY, ORDER_GRAY, CVT_DST_BITS, 0, 15, 1}, "80 55 EE", "80 80 EE"},
    {"a range flag on a colour source is dropped",
     {24, 0, ORDER_RGB, ORDER_GRAY, CVT_SRC_GRAY | CVT_SRC_BITS, 5, 2, 1},
     "FF 00 00 EE", "40 00 00 EE"},
    {"24 RGB to 16 RGB", {24, 16, ORDER_RGB, ORDER_RGB, 0, -1, -1, 1},
     "FF 80 08 EE", "1F 06 08 EE"},
    {"24 RGB to 16 BGR", {24, 16, ORDER_RGB, ORDER_BGR, 0, -1, -1, 1},
     "FF 80 08 EE", "01 7E 08 EE"},
    {"16 BGR to 24 BGR widens 5-bit components", {16, 24, ORDER_BGR, ORDER_BGR, 0, -1, -1, 1},
     "01 FE 55 EE", "08 84 FF EE"},
    {"24 to 48 bits repeats each byte", {24, 48, ORDER_BGR, ORDER_BGR, 0, -1, -1, 1},
     "01 80 FF 01 02 03 EE", "01 01 80 80 FF FF EE"},
    {"48 to 24 bits keeps the high bytes", {48, 24, ORDER_BGR, ORDER_BGR, 0, -1, -1, 1},
     "FF 12 00 34 CD AB EE", "12 34 AB 34 CD AB EE"},
    {"64 to 32 bits carries the alpha's high byte", {64, 32, ORDER_RGB, ORDER_RGB, 0, -1, -1, 1},
     "00 11 00 22 00 33 FF 7F EE", "11 22 33 7F 00 33 FF 7F EE"},
    {"32 to 64 bits carries alpha x 257", {32, 64, ORDER_BGR, ORDER_BGR, 0, -1, -1, 1},
     "01 02 03 80 09 09 09 09 EE", "01 01 02 02 03 03 80 80 EE"},
    {"a created alpha is 0 without a flag", {24, 32, ORDER_BGR, ORDER_BGR, 0, -1, -1, 1},
     "01 02 03 99 EE", "01 02 03 00 EE"},
    {"CVT_ALPHA_FILL makes it 255", {24, 32, ORDER_BGR, ORDER_BGR, CVT_ALPHA_FILL, -1, -1, 1},
     "01 02 03 99 EE", "01 02 03 FF EE"},
    {"CVT_ALPHA_SET makes it 255", {24, 32, ORDER_BGR, ORDER_BGR, CVT_ALPHA_SET, -1, -1, 1},
     "01 02 03 99 EE", "01 02 03 FF EE"},
    {"a created 64-bit alpha is 65535", {24, 64, ORDER_BGR, ORDER_RGB, CVT_ALPHA_FILL, -1, -1, 1},
     "01 02 03 09 09 09 09 09 EE", "03 03 02 02 01 01 FF FF EE"},
    {"gray8 to 64 bits without a flag", {0, 64, ORDER_GRAY, ORDER_RGB, 0, -1, -1, 1},
     "80 09 09 09 09 09 09 09 EE", "80 80 80 80 80 80 00 00 EE"},
    {"into matrix space on 8-bit samples", {24, 24, ORDER_BGR, ORDER_MATRIX, 0, -1, -1, 2},
     "00 00 FF FF FF FF EE", "05 17 85 FF FF FF EE"},
    {"out of matrix space, clamped", {24, 24, ORDER_MATRIX, ORDER_BGR, 0, -1, -1, 2},
     "05 17 85 64 C8 32 EE", "01 00 FE 57 EB 00 EE"},
    {"24 RGB into 48-bit matrix space", {24, 48, ORDER_RGB, ORDER_MATRIX, 0, -1, -1, 1},
     "FF 00 00 09 09 09 EE", "88 04 D8 16 DF 85 EE"},
    {"matrix to matrix moves samples only", {24, 48, ORDER_MATRIX, ORDER_MATRIX, 0, -1, -1, 1},
     "05 17 85 09 09 09 EE", "05 05 17 17 85 85 EE"},
};
// clang-format on

TEST_F(Convert, HandComputedRows) {
  for (const HandRow &row : kHandRows) {
    SCOPED_TRACE(row.what);
    const Call &c = row.call;
    Bytes library = from_hex(row.before), model = library;
    EXPECT_EQ(V_ConvertBufferExt(library.data(), c.width, c.src_bits, c.dst_bits, c.src_order,
                                 c.dst_order, nullptr, nullptr, c.flags, c.low, c.high),
              RC_SUCCESS);
    EXPECT_EQ(hex(library), row.after) << "library";
    EXPECT_EQ(reference_convert(model, c.width, c.src_bits, c.dst_bits, c.src_order, c.dst_order,
                                nullptr, nullptr, c.flags, c.low, c.high),
              RC_SUCCESS);
    EXPECT_EQ(hex(model), row.after) << "model";
  }
}

TEST(ConvertSize, LargestOfTheThreeStrides) {
  const struct {
    uint32_t width, bits, new_width, new_bits, bytes;
  } cases[] = {
      {10, 1, 10, 24, 32},       {5, 0, 5, 1, 8},   {5, 1, 5, 0, 8},
      {7, 0, 9, 0, 12},          {5, 24, 2, 0, 16}, {4, 32, 10, 8, 40},  // the middle stride wins
      {100, 12, 7, 64, 152},     {0, 8, 0, 8, 0},   {0x3FFFFFFF, 32, 1, 8, 0xFFFFFFFC},
      {0x40000000, 32, 1, 8, 0},  // 2^32 bytes
      {1, 8, 0x20000000, 64, 0},  // only the converted row is too large
  };
  for (const auto &c : cases)
    EXPECT_EQ(V_CalcConvertSize(c.width, c.bits, c.new_width, c.new_bits), c.bytes)
        << c.width << " x " << c.bits << ", " << c.new_width << " x " << c.new_bits;
}

struct Colour {
  int red, green, blue;
};

// Entries all at one distance from a centre, in directions that order the
// components differently, so that the tie-break decides.
void add_star(std::mt19937 &random, Palette &entries, std::vector<Colour> &queries) {
  const Colour centre{12 + static_cast<int>(random() % 232), 12 + static_cast<int>(random() % 232),
                      12 + static_cast<int>(random() % 232)};
  queries.push_back(centre);
  const int a = 1 + static_cast<int>(random() % 12), b = static_cast<int>(random() % 12),
            d = static_cast<int>(random() % 12);
  const int offsets[6][3] = {{a, b, d}, {a, d, b}, {b, a, d}, {b, d, a}, {d, a, b}, {d, b, a}};
  for (const auto &o : offsets) {
    for (int signs = 0; signs < 8; ++signs) {
      if (random() % 8) continue;
      const auto at = [&](int k, int base) { return base + (signs >> k & 1 ? -o[k] : o[k]); };
      entries.push_back(rgb(at(0, centre.red), at(1, centre.green), at(2, centre.blue)));
    }
  }
}

class NearestColour : public vxkrn_test::LeakCheckedTest {};

TEST_F(NearestColour, ShortcutsAndTies) {
  // A scan would stop at the first black or white entry; the shortcuts look
  // at the ends first.
  const Palette black_last = {rgb(9, 9, 9), rgb(0, 0, 0), rgb(0, 0, 0)};
  const Palette white_last = {rgb(1, 1, 1), rgb(255, 255, 255), rgb(255, 255, 255)};
  const Palette white_first = {rgb(255, 255, 255), rgb(0, 0, 0), rgb(255, 255, 255)};
  const Palette exact_twice = {rgb(3, 2, 1), rgb(7, 7, 7), rgb(3, 2, 1)};
  // Both 7200 away from (200, 100, 50); only the second orders its
  // components like the request.
  const Palette tie = {rgb(140, 160, 50), rgb(116, 112, 50)};
  const Palette tie_reversed = {tie[1], tie[0]};
  const struct {
    const Palette *palette;
    uint32_t count;
    Colour query;
    int32_t index;
  } cases[] = {
      {nullptr, 3, {1, 2, 3}, 0},
      {&black_last, 0, {1, 2, 3}, -1},
      {&black_last, 3, {0, 0, 0}, 2},
      {&black_last, 3, {1, 1, 1}, 2},  // two blacks tie; the later one has the same order
      {&white_last, 3, {255, 255, 255}, 2},
      {&white_first, 2, {255, 255, 255}, 0},
      {&white_first, 2, {0, 0, 0}, 1},
      {&white_first, 3, {0, 0, 0}, 1},  // black in the middle: found by the scan
      {&tie, 2, {200, 100, 50}, 1},
      {&tie_reversed, 2, {200, 100, 50}, 0},
      {&exact_twice, 3, {3, 2, 1}, 0},     // the first of two exact matches
      {&tie, 2, {100000, -100000, 7}, 1},  // far outside the cube
  };
  for (const auto &c : cases) {
    const PaletteEntry *entries = c.palette ? c.palette->data() : nullptr;
    const Colour &q = c.query;
    EXPECT_EQ(V_FindPaletteIndex(entries, c.count, q.red, q.green, q.blue), c.index)
        << q.red << "," << q.green << "," << q.blue;
    EXPECT_EQ(reference_find_palette_index(entries, c.count, q.red, q.green, q.blue), c.index)
        << "model";
  }
}

TEST_F(NearestColour, SearchAndConversionMatchTheModel) {
  std::mt19937 random(1234);
  int failures = 0;
  const auto report = [&](bool same, const ::testing::Message &what) {
    if (!same && ++failures <= kMaxReported) ADD_FAILURE() << what;
  };
  for (int round = 0; round < 150; ++round) {
    const uint32_t sizes[] = {1, 2, 255, 256};
    const uint32_t count = round < 4 ? sizes[round] : 1 + static_cast<uint32_t>(random() % 256);
    std::vector<Colour> queries = {{0, 0, 0}, {255, 255, 255}};
    Palette palette;
    for (int stars = static_cast<int>(random() % 4); stars > 0; --stars)
      add_star(random, palette, queries);
    const Palette others = random_palette(random, count);
    palette.insert(palette.end(), others.begin(), others.end());
    std::shuffle(palette.begin(), palette.end(), random);
    palette.resize(count);
    place_black_and_white(random, palette);
    for (int i = 0; i < 8; ++i) {
      const PaletteEntry &e = palette[random() % count];
      queries.push_back({e.Red, e.Green, e.Blue});
    }
    for (int i = 0; i < 40; ++i) {
      const auto any = [&] { return static_cast<int>(random() % 256); };
      const auto between = [&] { return 32 + 64 * static_cast<int>(random() % 4); };
      queries.push_back(i % 2 ? Colour{any(), any(), any()}
                              : Colour{between(), between(), between()});
    }
    SCOPED_TRACE(::testing::Message() << "round " << round << ", " << count << " entries");

    for (const Colour &q : queries) {
      const int32_t got = V_FindPaletteIndex(palette.data(), count, q.red, q.green, q.blue);
      const int32_t want =
          reference_find_palette_index(palette.data(), count, q.red, q.green, q.blue);
      report(got == want, ::testing::Message() << "search for " << q.red << "," << q.green << ","
                                               << q.blue << ": " << got << ", the model " << want);
    }

    // The converter through an 8-bit palette: this one first, then repeats
    // of its entries or other colours.
    Palette padded = palette;
    while (padded.size() < 256)
      padded.push_back(random() % 2 ? padded[random() % padded.size()]
                                    : rgb(random() % 256, random() % 256, random() % 256));
    const uint32_t n = static_cast<uint32_t>(queries.size());
    Bytes bgr(3 * n), rgb48(6 * n);  // 48-bit samples carry noise in their low bytes
    for (uint32_t i = 0; i < n; ++i) {
      const int c[3] = {queries[i].red, queries[i].green, queries[i].blue};
      for (int k = 0; k < 3; ++k) {
        bgr[3 * i + k] = static_cast<uint8_t>(c[2 - k]);
        rgb48[6 * i + 2 * k] = static_cast<uint8_t>(random());
        rgb48[6 * i + 2 * k + 1] = static_cast<uint8_t>(c[k]);
      }
    }
    ASSERT_EQ(V_ConvertBufferExt(bgr.data(), n, 24, 8, ORDER_BGR, ORDER_BGR, nullptr, padded.data(),
                                 0, -1, -1),
              RC_SUCCESS);
    ASSERT_EQ(V_ConvertBufferExt(rgb48.data(), n, 48, 8, ORDER_RGB, ORDER_RGB, nullptr,
                                 padded.data(), 0, -1, -1),
              RC_SUCCESS);
    for (uint32_t i = 0; i < n; ++i) {
      const Colour &q = queries[i];
      const int32_t want = reference_find_palette_index(padded.data(), 256, q.red, q.green, q.blue);
      report(bgr[i] == want && rgb48[i] == want,
             ::testing::Message() << "converting " << q.red << "," << q.green << "," << q.blue
                                  << ": " << int(bgr[i]) << " from 24 bits, " << int(rgb48[i])
                                  << " from 48 bits, the model " << want);
    }
  }
  EXPECT_EQ(failures, 0);
}

TEST_F(NearestColour, ConversionWithoutWorkingMemoryGivesTheSameIndices) {
  std::mt19937 random(77);
  const Palette palette = random_palette(random, 256);
  Bytes colours(3 * 300);
  for (uint8_t &b : colours)
    b = static_cast<uint8_t>(random() % 2 ? random() : 64 * (random() % 4) + 32);
  Bytes expected = colours;
  ASSERT_EQ(reference_convert(expected, 300, 24, 8, ORDER_BGR, ORDER_BGR, nullptr, palette.data(),
                              0, -1, -1),
            RC_SUCCESS);
  const auto convert = [&] {
    Bytes row = colours;
    EXPECT_EQ(V_ConvertBufferExt(row.data(), 300, 24, 8, ORDER_BGR, ORDER_BGR, nullptr,
                                 palette.data(), 0, -1, -1),
              RC_SUCCESS);
    EXPECT_TRUE(row == expected);
  };
  if (vxkrn_test::count_allocations(vxkrn_test::kBothHeaps, convert) == 0)
    GTEST_SKIP() << "this conversion takes no working memory, so there is none to withhold";
  vxkrn_test::sweep_allocation_failures(vxkrn_test::kBothHeaps, [&](unsigned) { convert(); });
}

}  // namespace
