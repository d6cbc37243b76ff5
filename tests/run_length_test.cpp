// Run-length records of 1-bit rows: exact bytes, the table-driven encoder
// against a plain per-bit one, decoding, and the buffer functions.
#include <algorithm>
#include <random>
#include <vector>

#include "core/run_length.h"
#include "support/test_support.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint32_t>;
using vxkrn::core::max_record_bytes;
using vxkrn_test::get_pixel;
using vxkrn_test::set_pixel;

Bytes record_of(const Words &words) {
  return vxkrn_test::make_record(words);
}
Bytes records_of(std::initializer_list<Words> rows) {
  Bytes out;
  for (const Words &words : rows) {
    const Bytes one = record_of(words);
    out.insert(out.end(), one.begin(), one.end());
  }
  return out;
}

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
      const int pixel = b < first_bit ? 0 : get_pixel(source, 1, b);
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
  Bytes out(max_record_bytes(count));
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
Bytes slice(const Bytes &row, uint64_t width, uint64_t column, uint64_t count) {
  Bytes out((count + 7) / 8);
  for (uint64_t i = 0; i < count; ++i)
    set_pixel(out.data(), 1, i, column + i < width ? get_pixel(row.data(), 1, column + i) : 0);
  return out;
}

TEST(RunLength, ExactRecords) {
  const Bytes zeros(10000, 0x00), ones(10000, 0xFF);
  Bytes high_then_zeros(8300, 0x00);
  high_then_zeros[0] = 0x80;
  Words alternating(33, 1);  // the worst case: a word per pixel and a leading 0
  alternating[0] = 0;
  const struct {
    const char *name;
    Bytes row;
    uint32_t column, count;
    Words words;
  } cases[] = {
      {"all zero", zeros, 0, 100, {100}},
      {"all one", ones, 0, 100, {0, 100}},
      {"first pixel one", {0x80, 0x00}, 0, 16, {0, 1, 15}},
      {"twelve pixels", {0x0F, 0xE0}, 0, 12, {4, 7, 1}},
      {"bits past the count ignored", {0x0F, 0xEF}, 0, 12, {4, 7, 1}},
      {"partial last byte of ones", {0xFF, 0xFF}, 0, 13, {0, 13}},
      {"alternating", Bytes(4, 0xAA), 0, 32, alternating},
      {"alternating from column 1", Bytes(4, 0xAA), 1, 31, Words(31, 1)},
      {"70000 ones", ones, 0, 70000, {0, 65528, 0, 4472}},
      {"70000 zeros", zeros, 0, 70000, {65528, 0, 4472}},
      {"65536 zeros", zeros, 0, 65536, {65528, 0, 8}},
      {"a partial byte fits in the word", zeros, 0, 65529, {65529}},
      {"zero run from bit 1 fills to 65535", high_then_zeros, 0, 8 * 8193, {0, 1, 65535, 0, 8}},
      {"column 3 of 0xFF", {0xFF}, 3, 5, {0, 5}},
      {"column 7, one pixel set", {0x01}, 7, 1, {0, 1}},
      {"column 7, one pixel clear", {0xFE}, 7, 1, {1}},
      {"column 5 into the next byte", {0x04, 0x3F}, 5, 6, {0, 1, 4, 1}},
      {"column 5 of zero bytes", zeros, 5, 65600, {65531, 0, 69}},
      {"no pixels", {0xFF}, 4, 0, {0}},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.name);
    const Bytes before = c.row;
    EXPECT_EQ(compress(c.row, c.column, c.count), record_of(c.words));
    EXPECT_EQ(c.row, before) << "the source is only read";
  }
}

TEST(RunLength, EncoderMatchesThePlainEncoder) {
  const uint64_t widths[] = {1, 2, 7, 8, 9, 15, 31, 33, 64, 65, 100, 257, 2481, 70001, 200003};
  const double mean_runs[] = {1.5, 4, 40, 3000, 100000};
  uint32_t seed = 1;
  for (uint64_t width : widths) {
    for (double mean : mean_runs) {
      const Bytes row = random_row(width + 7, mean, ++seed);
      for (unsigned column = 0; column < 8; ++column) {
        SCOPED_TRACE(::testing::Message() << width << " / " << mean << " / " << column);
        ASSERT_EQ(compress(row, column + 8 * (seed % 3), uint32_t(width)),
                  record_of(reference_encode(row.data(), column, width)));
      }
    }
  }
}

// Runs that cross 65528 and 65535 start at every bit of a byte and in either
// colour; their words depend on where the whole bytes begin.
TEST(RunLength, LongRunsAtEveryAlignment) {
  for (uint64_t length : {65527u, 65528u, 65535u, 65536u, 65543u, 131057u, 131071u, 196608u}) {
    for (unsigned start = 0; start < 8; ++start) {
      for (int colour : {0, 1}) {
        const uint64_t width = 9 + start + length + 5;
        Bytes row((width + 7) / 8);
        for (uint64_t i = 0; i < width; ++i)
          set_pixel(row.data(), 1, i, (i >= 9 + start && i < 9 + start + length) == bool(colour));
        SCOPED_TRACE(::testing::Message() << length << " from " << start << " colour " << colour);
        const Words words = reference_encode(row.data(), 0, width);
        ASSERT_EQ(compress(row, 0, uint32_t(width)), record_of(words));
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
        ASSERT_EQ(got, slice(row, width, column, count)) << column << " + " << count;
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
    SCOPED_TRACE(c.name);
    const Bytes record = record_of(c.words);  // exact size: nothing past it is read
    Bytes got(c.expected.empty() ? 2 : c.expected.size(), 0xFF);
    const Bytes before = got;
    ASSERT_EQ(V_ExpandRow(record.data(), got.data(), c.column, c.count),
              c.expected.empty() ? RC_INVALID_PARAMETER : RC_SUCCESS);
    EXPECT_EQ(got, c.expected.empty() ? before : c.expected);
  }
  Bytes cleared(3, 0xFF);
  vxkrn::core::decode_runs(nullptr, 5, 0, 20, cleared.data());
  EXPECT_EQ(cleared, Bytes(3, 0x00));
}

// Whole rows take records of exactly their width; a bad record anywhere
// refuses the call before any row is written.
TEST(RunLength, ExpandRowsRefusesRecordsOfAnotherWidth) {
  for (const auto &bad : vxkrn_test::bad_records_of_8_pixels()) {
    SCOPED_TRACE(bad.what);
    Bytes records = record_of({3, 5});
    records.insert(records.end(), bad.record.begin(), bad.record.end());
    Bytes rows(8, 0x5A);
    EXPECT_EQ(V_ExpandRows(records.data(), rows.data(), 8, 2), RC_INVALID_PARAMETER);
    EXPECT_EQ(rows, Bytes(8, 0x5A));
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
  // Row r's pixels with the bits past the width cleared, as decoded.
  Bytes pixels(uint32_t r) const { return slice(Bytes(row(r), row(r) + stride), width, 0, width); }
  Bytes records() const { return vxkrn_test::compress_rows(plain, width, rows); }
};

TEST(RunLength, RowsAtThePaddedStride) {
  for (uint32_t width : {1u, 31u, 32u, 33u, 100u, 2481u}) {
    SCOPED_TRACE(width);
    const Page page(width, 6, width);
    const Bytes records = page.records();
    Bytes expected;
    for (uint32_t r = 0; r < page.rows; ++r)
      for (uint8_t b : record_of(reference_encode(page.row(r), 0, width)))
        expected.push_back(b);
    ASSERT_EQ(records, expected);
    Bytes plain(page.plain.size(), 0x5A);
    ASSERT_EQ(V_ExpandRows(records.data(), plain.data(), width, page.rows), RC_SUCCESS);
    const size_t used = (width + 7) / 8;
    for (uint32_t r = 0; r < page.rows; ++r) {
      const uint8_t *got = plain.data() + r * page.stride;
      EXPECT_EQ(Bytes(got, got + used), page.pixels(r));
      EXPECT_EQ(Bytes(got + used, got + page.stride), Bytes(page.stride - used, 0x5A))
          << "padding is left alone";
    }
  }
  uint8_t untouched[8] = {7, 7, 7, 7, 7, 7, 7, 7};
  EXPECT_EQ(V_CompressRows(untouched, untouched, 100, 0), RC_SUCCESS);
  EXPECT_EQ(V_ExpandRows(untouched, untouched, 100, 0), RC_SUCCESS);
  EXPECT_EQ(Bytes(untouched, untouched + 8), Bytes(8, 7));
}

TEST(RunLength, MirrorAndFlipExamples) {
  const Bytes source = records_of({{0, 5}, {4, 7, 1}, {3, 5}, {0, 5, 2}, {0}, {6, 0, 2}});
  Bytes got(source.size() + 2 * 6, 0xEE);
  ASSERT_EQ(V_MirrorCompressedBuffer(source.data(), got.data(), 6), RC_SUCCESS);
  const Bytes mirrored = records_of({{0, 5}, {1, 7, 4}, {0, 5, 3}, {2, 5}, {}, {2, 0, 6}});
  EXPECT_EQ(Bytes(got.begin(), got.begin() + long(mirrored.size())), mirrored);
  // Records of different lengths, reversed in a block of the same length.
  std::fill(got.begin(), got.end(), 0xEE);
  ASSERT_EQ(V_FlipCompressedBuffer(source.data(), got.data(), 3), RC_SUCCESS);
  const Bytes flipped = records_of({{3, 5}, {4, 7, 1}, {0, 5}});
  EXPECT_EQ(Bytes(got.begin(), got.begin() + long(flipped.size())), flipped);
  EXPECT_EQ(got[flipped.size()], 0xEE);
}

// Mirror and flip of records give the records of the mirrored and flipped
// rows, read back through the decoder.
TEST(RunLength, MirrorAndFlipMatchThePlainRows) {
  for (uint32_t width : {5u, 64u, 257u, 70001u}) {
    SCOPED_TRACE(width);
    const Page page(width, 5, 3 * width);
    const Bytes records = page.records();
    Bytes mirrored(records.size() + 2 * page.rows), flipped(records.size());
    ASSERT_EQ(V_MirrorCompressedBuffer(records.data(), mirrored.data(), page.rows), RC_SUCCESS);
    ASSERT_EQ(V_FlipCompressedBuffer(records.data(), flipped.data(), page.rows), RC_SUCCESS);
    Bytes from_mirror(page.plain.size()), from_flip(page.plain.size());
    ASSERT_EQ(V_ExpandRows(mirrored.data(), from_mirror.data(), width, page.rows), RC_SUCCESS);
    ASSERT_EQ(V_ExpandRows(flipped.data(), from_flip.data(), width, page.rows), RC_SUCCESS);
    for (uint32_t r = 0; r < page.rows; ++r) {
      const uint8_t *row = page.row(r);
      Bytes reversed((width + 7) / 8);
      for (uint32_t i = 0; i < width; ++i)
        set_pixel(reversed.data(), 1, i, get_pixel(row, 1, width - 1 - i));
      const uint8_t *m = from_mirror.data() + r * page.stride;
      EXPECT_EQ(Bytes(m, m + reversed.size()), reversed) << r;
      const uint8_t *f = from_flip.data() + (page.rows - 1 - r) * page.stride;
      EXPECT_EQ(Bytes(f, f + reversed.size()), page.pixels(r)) << r;
    }
  }
}

TEST(RunLength, NullBuffers) {
  uint8_t b[64] = {};
  for (auto [x, y] : {std::pair<uint8_t *, uint8_t *>{nullptr, b}, {b, nullptr}}) {
    EXPECT_EQ(V_CompressRow(x, y, 0, 8), RC_INVALID_PARAMETER);
    EXPECT_EQ(V_CompressRows(x, y, 8, 1), RC_INVALID_PARAMETER);
    EXPECT_EQ(V_ExpandRow(x, y, 0, 8), RC_INVALID_PARAMETER);
    EXPECT_EQ(V_ExpandRows(x, y, 8, 1), RC_INVALID_PARAMETER);
    EXPECT_EQ(V_MirrorCompressedBuffer(x, y, 1), RC_INVALID_PARAMETER);
    EXPECT_EQ(V_FlipCompressedBuffer(x, y, 1), RC_INVALID_PARAMETER);
  }
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
      const Bytes exact = page.records();
      Bytes got(exact.size() + kGuard, 0xC3);
      ASSERT_EQ(V_CompressRows(got.data(), page.plain.data(), width, page.rows), RC_SUCCESS);
      EXPECT_EQ(got, [&] {
        Bytes want = exact;
        want.resize(exact.size() + kGuard, 0xC3);
        return want;
      }());
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
