// Run-length records of 1-bit rows: the coders against a plain per-bit
// encoder and decoder, hand-worked records and edges, the buffer functions.
#include <algorithm>
#include <random>

#include "core/run_length.h"
#include "support/test_support.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint32_t>;
using namespace vxkrn_test;

// The encoder, bit by bit: the open word starts at minus the bit offset; a
// new colour, or a byte's first run taking it past 65535, closes it.
Words reference_encode(const uint8_t *source, unsigned first_bit, uint64_t count) {
  Words words;
  int64_t open = -int64_t{first_bit};
  int colour = 0;
  const uint64_t bits = first_bit + count;
  const auto pixel = [&](uint64_t b) { return b < first_bit ? 0 : int(get_pixel(source, 1, b)); };
  for (uint64_t b = 0; b < bits; ++b, ++open) {
    uint64_t run = 0;
    while (b % 8 == 0 && b + run < bits && run < 8 && pixel(b + run) == colour)
      ++run;
    if (pixel(b) != colour || (b > 0 && open + int64_t(run) > 65535)) {
      words.push_back(uint32_t(open));
      if (pixel(b) == colour) words.push_back(0);
      open = 0;
      colour = pixel(b);
    }
  }
  words.push_back(uint32_t(open));
  return words;
}

// V_CompressRow in room for exactly `want`: nothing past it may change.
::testing::AssertionResult compresses_to(const uint8_t *row, uint32_t column, uint32_t count,
                                         const Bytes &want) {
  Bytes room(want.size() + kGuardBytes, kGuardByte);
  const int32_t n = V_CompressRow(room.data(), row, column, count);
  const bool intact = guard_intact(room.data() + want.size());
  room.resize(want.size());
  if (n == int32_t(count) && intact && room == want) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "gave " << n << (intact ? "" : ", written past it");
}

// Rows of runs with geometric lengths of the given mean, from a seed.
Bytes random_row(uint64_t width, double mean_run, uint32_t seed) {
  std::mt19937 random(seed);
  std::geometric_distribution<uint64_t> length(1.0 / mean_run);
  Bytes row((width + 7) / 8 + 1);
  int colour = int(random() & 1);
  for (uint64_t at = 0; at < width; colour ^= 1) {
    const uint64_t end = std::min(width, at + 1 + length(random));
    for (; at < end; ++at)
      set_pixel(row.data(), 1, at, colour);
  }
  row.back() = static_cast<uint8_t>(random());  // bits past the width must not matter
  return row;
}

// `count` pixels from `column` on, as the decoder writes them.
Bytes slice(const uint8_t *row, uint64_t width, uint64_t column, uint64_t count) {
  Bytes out((count + 7) / 8);
  for (uint64_t i = 0; i < count; ++i)
    set_pixel(out.data(), 1, i, column + i < width ? get_pixel(row, 1, column + i) : 0);
  return out;
}

// Hand-worked records pin the rules the plain encoder shares with the code.
TEST(RunLength, ExactRecords) {
  const Bytes zeros(10000, 0x00), ones(10000, 0xFF);
  Bytes high_then_zeros(8300, 0x00), ones_then_zeros(8300, 0x00);
  high_then_zeros[0] = 0x80;
  high_then_zeros[8192] = 0x01;  // a mixed byte whose first run no longer fits
  std::fill(ones_then_zeros.begin(), ones_then_zeros.begin() + 8191, 0xFF);
  ones_then_zeros[8191] = 0xFE;  // the run reaches 65535 inside a byte
  Words alternating(33, 1);      // a word per pixel and a leading 0
  alternating[0] = 0;
  const struct {
    Bytes row;
    uint32_t column, count;
    Words words;
  } cases[] = {
      {Bytes(4, 0xAA), 0, 32, alternating},
      {ones, 0, 70000, {0, 65528, 0, 4472}},
      {zeros, 0, 65536, {65528, 0, 8}},
      {zeros, 0, 65529, {65529}},  // a partial byte fits in the word
      {high_then_zeros, 0, 8 * 8193, {0, 1, 65535, 0, 7, 1}},
      {ones_then_zeros, 0, 65544, {0, 65535, 9}},
      {{0x04, 0x3F}, 5, 6, {0, 1, 4, 1}},
      {zeros, 5, 65600, {65531, 0, 69}},
      {zeros, 5, 65537, {65531, 0, 6}},  // the last, partial byte no longer fits
      {{0xFF}, 4, 0, {0}},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(&c - cases);
    EXPECT_TRUE(compresses_to(c.row.data(), c.column, c.count, make_record(c.words)));
    EXPECT_EQ(reference_encode(c.row.data(), c.column, c.count), c.words);
  }
}

// Random rows of every run length, long ones crossing 65528 and 65535, at
// every bit offset (higher bits of the column ignored).
TEST(RunLength, EncoderMatchesThePlainEncoder) {
  uint32_t seed = 1;
  for (uint64_t width : {1, 2, 7, 8, 9, 15, 31, 33, 64, 65, 100, 257, 999, 2481, 70001, 200003}) {
    for (double mean : {1.2, 4.0, 40.0, 3000.0, 70000.0, 100000.0}) {
      const Bytes row = random_row(width + 7, mean, ++seed);
      for (unsigned column = 0; column < 8; ++column)
        ASSERT_TRUE(compresses_to(row.data(), column + 8 * (seed % 3), uint32_t(width),
                                  make_record(reference_encode(row.data(), column, width))))
            << width << " / " << mean << " / " << column;
    }
  }
}

// The decoder reads runs of any length, zero included, but refuses untouched
// to decode pixels a record lacks; whole rows take records of exactly their
// width, a bad record anywhere refusing the call before any row is written.
TEST(RunLength, DecoderEdgesAndRecordsOfAnotherWidth) {
  const struct {
    const char *name;
    Words words;
    uint32_t column, count;
    Bytes expected;  // empty: refused
  } cases[] = {
      {"at the end of the first run", {4, 7, 1}, 4, 8, {0xFE}},
      {"at the end of the second run", {4, 7, 1}, 11, 1, {0x00}},
      {"leading zero-length run", {0, 5}, 0, 5, {0xF8}},
      {"zero-length runs inside", {3, 0, 2, 2, 0, 3}, 0, 10, {0x07, 0xC0}},
      {"long one run", {1, 40}, 0, 41, {0x7F, 0xFF, 0xFF, 0xFF, 0xFF, 0x80}},
      {"runs beyond the count", {3, 2, 9}, 1, 4, {0x30}},
      {"runs short of the count", {3, 2}, 0, 16, {}},
      {"column past the runs", {3, 2}, 9, 8, {}},
      {"no runs", {}, 0, 8, {}},
      {"only empty runs", Words(200, 0), 0, 8, {}},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.name);
    const Bytes record = make_record(c.words);  // exact size: nothing past it is read
    Bytes got(c.expected.empty() ? 2 : c.expected.size(), 0xFF);
    const Bytes before = got;
    ASSERT_EQ(V_ExpandRow(record.data(), got.data(), c.column, c.count),
              c.expected.empty() ? RC_INVALID_PARAMETER : RC_SUCCESS);
    EXPECT_EQ(got, c.expected.empty() ? before : c.expected);
  }
  for (const auto &bad : bad_records_of_8_pixels()) {
    Bytes records = make_record({3, 5});
    records.insert(records.end(), bad.record.begin(), bad.record.end());
    Bytes rows(8, 0x5A);
    EXPECT_EQ(V_ExpandRows(records.data(), rows.data(), 8, 2), RC_INVALID_PARAMETER) << bad.what;
    EXPECT_EQ(rows, Bytes(8, 0x5A)) << bad.what;
  }
}

// Rows encode in room for exactly their records and decode leaving the
// padding alone; mirror gives the mirrored rows, flip reverses the records.
TEST(RunLength, RowsRangesMirrorAndFlipMatchThePlainRows) {
  constexpr uint32_t kRows = 8;
  constexpr double means[] = {1.2, 3, 300, 1e5};
  std::mt19937 random(77);
  for (uint32_t width : {1u, 5u, 13u, 31u, 32u, 33u, 64u, 257u, 999u, 2481u, 70001u}) {
    SCOPED_TRACE(width);
    const size_t used = (width + 7) / 8, stride = ((width + 31) >> 3) & ~size_t{3};
    Bytes page(stride * kRows), expected, flipped_records;
    for (uint32_t r = 0; r < kRows; ++r) {
      const Bytes row = random_row(stride * 8, means[r % 4], width + r);
      std::copy(row.begin(), row.begin() + long(stride), page.begin() + long(r * stride));
      const Bytes one = make_record(reference_encode(row.data(), 0, width));
      for (int trial = 0; trial < 20; ++trial) {
        const uint32_t column = random() % (width + 1), count = random() % (width + 1 - column);
        Bytes got((count + 7) / 8 + 1);  // never empty: a null buffer is refused
        ASSERT_EQ(V_ExpandRow(one.data(), got.data(), column, count), RC_SUCCESS);
        got.pop_back();
        ASSERT_EQ(got, slice(row.data(), width, column, count)) << column << " + " << count;
      }
      expected.insert(expected.end(), one.begin(), one.end());
      flipped_records.insert(flipped_records.begin(), one.begin(), one.end());
    }
    Bytes records(expected.size() + kGuardBytes, kGuardByte);
    ASSERT_EQ(V_CompressRows(records.data(), page.data(), width, kRows), RC_SUCCESS);
    EXPECT_TRUE(guard_intact(records.data() + expected.size())) << "written past the records";
    records.resize(expected.size());
    ASSERT_EQ(records, expected);
    Bytes mirrored(records.size() + 2 * kRows), flipped(records.size() + 1, 0xEE);
    ASSERT_EQ(V_MirrorCompressedBuffer(records.data(), mirrored.data(), kRows), RC_SUCCESS);
    ASSERT_EQ(V_FlipCompressedBuffer(records.data(), flipped.data(), kRows), RC_SUCCESS);
    EXPECT_TRUE(flipped.back() == 0xEE &&
                Bytes(flipped.begin(), flipped.end() - 1) == flipped_records);
    Bytes plain(page.size(), 0x5A), from_mirror(plain);
    ASSERT_EQ(V_ExpandRows(records.data(), plain.data(), width, kRows), RC_SUCCESS);
    ASSERT_EQ(V_ExpandRows(mirrored.data(), from_mirror.data(), width, kRows), RC_SUCCESS);
    for (uint32_t r = 0; r < kRows; ++r) {
      const uint8_t *row = page.data() + r * stride, *got = plain.data() + r * stride;
      const uint8_t *m = from_mirror.data() + r * stride;
      Bytes reversed(used);
      for (uint32_t i = 0; i < width; ++i)
        set_pixel(reversed.data(), 1, i, get_pixel(row, 1, width - 1 - i));
      EXPECT_EQ(Bytes(got, got + used), slice(row, width, 0, width)) << r;
      EXPECT_EQ(Bytes(got + used, got + stride), Bytes(stride - used, 0x5A)) << "padding, " << r;
      EXPECT_EQ(Bytes(m, m + used), reversed) << r;
    }
  }
  uint8_t b[8] = {7, 7, 7, 7, 7, 7, 7, 7};
  EXPECT_EQ(V_CompressRows(b, b, 100, 0), RC_SUCCESS);
  EXPECT_EQ(V_ExpandRows(b, b, 100, 0), RC_SUCCESS);
  EXPECT_EQ(Bytes(b, b + 8), Bytes(8, 7)) << "no rows, no bytes";
  EXPECT_EQ(V_CompressRow(b, b, 0, 0x80000000u), RC_INVALID_PARAMETER) << "not an int32_t";
}

}  // namespace
