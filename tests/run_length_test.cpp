// Run-length records of 1-bit rows: the coders against a plain per-bit
// encoder and decoder, hand-worked records, the buffer functions.
#include <algorithm>
#include <random>
#include <vector>

#include "core/run_length.h"
#include "support/test_support.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint32_t>;
using namespace vxkrn_test;

// The encoder, one byte at a time with runs found bit by bit: the open word
// starts at minus the bit offset, a byte's first run joins it when the
// colours agree (after a zero-length separator if it would pass 65535).
Words reference_encode(const uint8_t *source, unsigned first_bit, uint64_t count) {
  Words words;
  int64_t open = -int64_t{first_bit};
  int colour = 0;
  const uint64_t bits = first_bit + count;
  for (uint64_t byte = 0; byte * 8 < bits; ++byte) {
    std::vector<std::pair<int, int>> runs;  // colour, length
    for (uint64_t b = byte * 8; b < bits && b < byte * 8 + 8; ++b) {
      const int pixel = b < first_bit ? 0 : int(get_pixel(source, 1, b));
      if (!runs.empty() && runs.back().first == pixel)
        ++runs.back().second;
      else
        runs.push_back({pixel, 1});
    }
    for (size_t r = 0; r < runs.size(); ++r) {
      if (r == 0 && runs[0].first == colour) {
        if (byte != 0 && open + runs[0].second > 65535) {
          words.push_back(static_cast<uint32_t>(open));
          words.push_back(0);
          open = 0;
        }
        open += runs[0].second;
      } else {
        words.push_back(static_cast<uint32_t>(open));
        open = runs[r].second;
        colour = runs[r].first;
      }
    }
  }
  words.push_back(static_cast<uint32_t>(open));
  return words;
}

// V_CompressRow into a buffer of exactly the worst-case size; the record.
Bytes compress(const Bytes &row, uint32_t column, uint32_t count) {
  Bytes out(vxkrn::core::max_record_bytes(count));
  EXPECT_EQ(V_CompressRow(out.data(), row.data(), column, count), int32_t(count));
  out.resize(vxkrn::core::record_bytes(out.data()));
  return out;
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

// Hand-worked records pin the rules the plain encoder shares with the code:
// where long runs split, and how a partial first byte counts.
TEST(RunLength, ExactRecords) {
  const Bytes zeros(10000, 0x00), ones(10000, 0xFF);
  Bytes high_then_zeros(8300, 0x00);
  high_then_zeros[0] = 0x80;
  Words alternating(33, 1);  // the worst case: a word per pixel and a leading 0
  alternating[0] = 0;
  const struct {
    Bytes row;
    uint32_t column, count;
    Words words;
  } cases[] = {
      {ones, 0, 100, {0, 100}},
      {{0x0F, 0xEF}, 0, 12, {4, 7, 1}},  // bits past the count ignored
      {Bytes(4, 0xAA), 0, 32, alternating},
      {ones, 0, 70000, {0, 65528, 0, 4472}},
      {zeros, 0, 65536, {65528, 0, 8}},
      {zeros, 0, 65529, {65529}},  // a partial byte fits in the word
      {high_then_zeros, 0, 8 * 8193, {0, 1, 65535, 0, 8}},
      {{0xFE}, 7, 1, {1}},
      {{0x04, 0x3F}, 5, 6, {0, 1, 4, 1}},
      {zeros, 5, 65600, {65531, 0, 69}},
      {{0xFF}, 4, 0, {0}},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(compress(c.row, c.column, c.count), make_record(c.words)) << (&c - cases);
    EXPECT_EQ(reference_encode(c.row.data(), c.column, c.count), c.words) << (&c - cases);
  }
}

// Random rows of every run length at every bit offset, and runs crossing
// 65528 and 65535 from every bit of a byte in either colour.
TEST(RunLength, EncoderMatchesThePlainEncoder) {
  uint32_t seed = 1;
  for (uint64_t width : {1, 2, 7, 8, 9, 15, 31, 33, 64, 65, 100, 257, 2481, 70001, 200003}) {
    for (double mean : {1.5, 4.0, 40.0, 3000.0, 100000.0}) {
      const Bytes row = random_row(width + 7, mean, ++seed);
      for (unsigned column = 0; column < 8; ++column)
        ASSERT_EQ(compress(row, column + 8 * (seed % 3), uint32_t(width)),
                  make_record(reference_encode(row.data(), column, width)))
            << width << " / " << mean << " / " << column;
    }
  }
  for (uint64_t length : {65527u, 65528u, 65535u, 65536u, 65543u, 131057u, 131071u, 196608u}) {
    for (unsigned start = 9; start < 17; ++start) {
      for (bool colour : {false, true}) {
        const uint64_t width = start + length + 5;
        Bytes row((width + 7) / 8);
        for (uint64_t i = 0; i < width; ++i)
          set_pixel(row.data(), 1, i, (i >= start && i < start + length) == colour);
        ASSERT_EQ(compress(row, 0, uint32_t(width)),
                  make_record(reference_encode(row.data(), 0, width)))
            << length << " from " << start << " colour " << colour;
      }
    }
  }
}

TEST(RunLength, DecodesAnyRangeOfTheRow) {
  std::mt19937 random(77);
  for (uint64_t width : {1u, 9u, 64u, 333u, 70000u}) {
    for (double mean : {1.5, 12.0, 900.0, 80000.0}) {
      const Bytes row = random_row(width, mean, random());
      const Bytes record = compress(row, 0, uint32_t(width));
      for (int trial = 0; trial < 40; ++trial) {
        const uint32_t column = random() % (width + 1);
        const uint32_t count = random() % (width + 1 - column);
        Bytes got((count + 7) / 8 + 1, 0xA5);
        ASSERT_EQ(V_ExpandRow(record.data(), got.data(), column, count), RC_SUCCESS);
        ASSERT_EQ(got.back(), 0xA5) << "wrote past (count + 7) / 8 bytes";
        got.pop_back();
        ASSERT_EQ(got, slice(row.data(), width, column, count))
            << width << " / " << mean << ": " << column << " + " << count;
      }
    }
  }
}

// The decoder reads runs of any length, zero included, but never decodes
// pixels a record does not have: such a request is refused untouched.
TEST(RunLength, DecoderEdges) {
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
    const Bytes record = make_record(c.words);  // exact size: nothing past it is read
    Bytes got(c.expected.empty() ? 2 : c.expected.size(), 0xFF);
    const Bytes before = got;
    ASSERT_EQ(V_ExpandRow(record.data(), got.data(), c.column, c.count),
              c.expected.empty() ? RC_INVALID_PARAMETER : RC_SUCCESS)
        << c.name;
    EXPECT_EQ(got, c.expected.empty() ? before : c.expected) << c.name;
  }
  Bytes cleared(3, 0xFF);
  vxkrn::core::decode_runs(nullptr, 5, 0, 20, cleared.data());
  EXPECT_EQ(cleared, Bytes(3, 0x00));
}

// Whole rows take records of exactly their width; a bad record anywhere
// refuses the call before any row is written.
TEST(RunLength, ExpandRowsRefusesRecordsOfAnotherWidth) {
  for (const auto &bad : bad_records_of_8_pixels()) {
    Bytes records = make_record({3, 5});
    records.insert(records.end(), bad.record.begin(), bad.record.end());
    Bytes rows(8, 0x5A);
    EXPECT_EQ(V_ExpandRows(records.data(), rows.data(), 8, 2), RC_INVALID_PARAMETER) << bad.what;
    EXPECT_EQ(rows, Bytes(8, 0x5A)) << bad.what;
  }
}

// Several rows at the padded stride, with garbage in the padding.
struct Page {
  uint32_t width, rows;
  size_t stride;
  Bytes plain;
  Page(uint32_t w, uint32_t h, uint32_t seed)
      : width(w), rows(h), stride(((w + 31) >> 3) & ~size_t{3}), plain(stride * h) {
    for (uint32_t r = 0; r < h; ++r) {
      const Bytes row = random_row(stride * 8, r % 2 ? 3.0 : 300.0, seed + r);
      std::copy(row.begin(), row.begin() + long(stride), plain.begin() + long(r * stride));
    }
  }
  const uint8_t *row(uint32_t r) const { return plain.data() + r * stride; }
  Bytes records() const { return compress_rows(plain, width, rows); }
};

// Rows at the padded stride encode row by row and decode leaving the padding
// alone; mirror and flip give the records of the mirrored and flipped rows.
TEST(RunLength, RowsMirrorAndFlipMatchThePlainRows) {
  for (uint32_t width : {1u, 5u, 31u, 32u, 33u, 64u, 257u, 2481u, 70001u}) {
    SCOPED_TRACE(width);
    const Page page(width, 5, 3 * width);
    const Bytes records = page.records();
    const size_t used = (width + 7) / 8, stride = page.stride;
    Bytes expected, plain(page.plain.size(), 0x5A), from_mirror(plain), from_flip(plain);
    for (uint32_t r = 0; r < page.rows; ++r) {
      const Bytes one = make_record(reference_encode(page.row(r), 0, width));
      expected.insert(expected.end(), one.begin(), one.end());
    }
    ASSERT_EQ(records, expected);
    Bytes mirrored(records.size() + 2 * page.rows), flipped(records.size() + 1, 0xEE);
    ASSERT_EQ(V_MirrorCompressedBuffer(records.data(), mirrored.data(), page.rows), RC_SUCCESS);
    ASSERT_EQ(V_FlipCompressedBuffer(records.data(), flipped.data(), page.rows), RC_SUCCESS);
    EXPECT_EQ(flipped.back(), 0xEE) << "flipped in a block of the same size";
    ASSERT_EQ(V_ExpandRows(records.data(), plain.data(), width, page.rows), RC_SUCCESS);
    ASSERT_EQ(V_ExpandRows(mirrored.data(), from_mirror.data(), width, page.rows), RC_SUCCESS);
    ASSERT_EQ(V_ExpandRows(flipped.data(), from_flip.data(), width, page.rows), RC_SUCCESS);
    for (uint32_t r = 0; r < page.rows; ++r) {
      Bytes reversed(used);
      for (uint32_t i = 0; i < width; ++i)
        set_pixel(reversed.data(), 1, i, get_pixel(page.row(r), 1, width - 1 - i));
      const Bytes pixels = slice(page.row(r), width, 0, width);
      const uint8_t *got = plain.data() + r * stride, *m = from_mirror.data() + r * stride;
      const uint8_t *f = from_flip.data() + (page.rows - 1 - r) * stride;
      EXPECT_EQ(Bytes(got, got + used), pixels) << r;
      EXPECT_EQ(Bytes(got + used, got + stride), Bytes(stride - used, 0x5A)) << "padding, " << r;
      EXPECT_EQ(Bytes(m, m + used), reversed) << r;
      EXPECT_EQ(Bytes(f, f + used), pixels) << r;
    }
  }
  uint8_t b[8] = {7, 7, 7, 7, 7, 7, 7, 7};
  EXPECT_EQ(V_CompressRows(b, b, 100, 0), RC_SUCCESS);
  EXPECT_EQ(V_ExpandRows(b, b, 100, 0), RC_SUCCESS);
  EXPECT_EQ(Bytes(b, b + 8), Bytes(8, 7)) << "no rows, no bytes";
  EXPECT_EQ(V_CompressRow(b, b, 0, 0x80000000u), RC_INVALID_PARAMETER) << "not an int32_t";
}

// Buffers sized exactly for the records they receive: nothing after them
// may change (callers keep other data there).
TEST(RunLength, EncodersWriteNothingPastTheirRecords) {
  constexpr size_t kGuard = 40;
  for (uint32_t width : {1u, 7u, 13u, 64u, 100u, 999u}) {
    for (double mean : {1.2, 3.0, 40.0}) {
      SCOPED_TRACE(::testing::Message() << width << " / " << mean);
      const Page page(width, 3, uint32_t(width * mean));
      Bytes want = page.records(), got(want.size() + kGuard, 0xC3);
      want.resize(got.size(), 0xC3);
      ASSERT_EQ(V_CompressRows(got.data(), page.plain.data(), width, page.rows), RC_SUCCESS);
      EXPECT_EQ(got, want);
      for (uint32_t column : {0u, 3u}) {
        const uint32_t count = width > column ? width - column : 0;
        const Bytes one = compress(Bytes(page.row(0), page.row(0) + page.stride), column, count);
        Bytes room(one.size() + kGuard, 0xC3);
        ASSERT_EQ(V_CompressRow(room.data(), page.row(0), column, count), int32_t(count));
        EXPECT_EQ(Bytes(room.begin() + long(one.size()), room.end()), Bytes(kGuard, 0xC3));
      }
    }
  }
}

}  // namespace
