// Compressed 1-bit storage against a plain model: random writes of every
// shape, height changes, row groups past 32768 rows, the record-level row
// functions on every storage kind, and the moves between storage kinds.
#include <algorithm>
#include <functional>
#include <random>
#include <set>
#include <vector>

#include "core/run_length.h"
#include "support/test_support.h"

namespace {

using vxkrn::core::record_bytes;
using vxkrn_test::compress_rows;
using vxkrn_test::kBothHeaps;
using vxkrn_test::make_bitmap;
using vxkrn_test::OwnedBitmap;
using vxkrn_test::random_rows;
using vxkrn_test::read_rows;
using vxkrn_test::same_bytes;
using vxkrn_test::write_rows;

// The record of one stored row, as the bitmap hands it out.
std::vector<uint8_t> record_of(const BitmapHandle &bm, int32_t row) {
  std::vector<uint8_t> record(COMPRESSED_RECORD_MAX_BYTES(bm.Width));
  EXPECT_EQ(V_GetBitmapRowCompressed(&bm, nullptr, record.data(), row, 1), RC_SUCCESS);
  record.resize(record_bytes(record.data()));
  return record;
}

// Plain rows with the bits past `width` clear, as compressed storage keeps them.
std::vector<uint8_t> clean(std::vector<uint8_t> rows, int32_t width, int32_t stride) {
  for (size_t y = 0; y < rows.size() / size_t(stride); ++y)
    for (int64_t bit = width; bit < int64_t{stride} * 8; ++bit)
      rows[y * size_t(stride) + size_t(bit / 8)] &= static_cast<uint8_t>(~(0x80 >> (bit % 8)));
  return rows;
}

class Compressed : public vxkrn_test::TempDirTest {};

TEST_F(Compressed, RandomWritesGiveThePixelsOfPlainStorage) {
  OwnedBitmap packed;
  const int32_t width = 333, height = 40;
  make_bitmap(packed.bm, width, height, 1, MEM_COMPRESSED);
  const auto stride = static_cast<uint32_t>(packed->BytesPerLine);
  std::vector<uint8_t> model(size_t(stride) * height, 0);
  std::set<int32_t> written;
  std::mt19937 random(99);
  const std::vector<uint8_t> source = random_rows(packed.bm, 5);
  for (int step = 0; step < 400; ++step) {
    const auto row = static_cast<int32_t>(random() % height);
    const uint8_t *from = source.data() + (random() % height) * stride;
    switch (step % 4) {
      case 0: {  // whole rows, possibly several in one call
        const uint32_t rows = std::min<uint32_t>(1 + random() % 3, uint32_t(height - row));
        std::vector<uint8_t> bytes(source.begin(), source.begin() + rows * stride);
        ASSERT_EQ(V_PutBitmapRow(packed.get(), bytes.data(), row, rows * stride),
                  int32_t(rows * stride));
        std::copy(bytes.begin(), bytes.end(), model.begin() + row * stride);
        for (uint32_t k = 0; k < rows; ++k)
          written.insert(row + int32_t(k));
        break;
      }
      case 1: {  // bytes from a column on
        const auto column = static_cast<int32_t>(random() % width);
        const uint32_t first = column / 8, count = 1 + random() % (stride - first);
        ASSERT_EQ(V_PutBitmapRowCol(packed.get(), from, row, column, count), int32_t(count));
        std::copy(from, from + count, model.begin() + row * stride + first);
        written.insert(row);
        break;
      }
      case 2: {  // single pixels
        const auto column = static_cast<int32_t>(random() % width);
        const uint32_t value = random() % 2;
        ASSERT_EQ(V_PutPixelColor(packed.get(), row, column, COLOR_KIND_INDEX << 24 | value),
                  RC_SUCCESS);
        uint8_t &byte = model[row * stride + uint32_t(column) / 8];
        const auto mask = static_cast<uint8_t>(0x80 >> (column % 8));
        byte = static_cast<uint8_t>(value ? byte | mask : byte & ~mask);
        written.insert(row);
        break;
      }
      default: {  // reads from a column on
        const auto column = static_cast<int32_t>(random() % width);
        const uint32_t first = column / 8, count = stride - first;
        std::vector<uint8_t> got(count);
        ASSERT_EQ(V_GetBitmapRowCol(packed.get(), got.data(), row, column, count), int32_t(count));
        const std::vector<uint8_t> want = clean(
            std::vector<uint8_t>(model.begin() + row * stride, model.begin() + (row + 1) * stride),
            width, int32_t(stride));
        EXPECT_TRUE(std::equal(got.begin(), got.end(), want.begin() + first));
      }
    }
  }
  EXPECT_EQ(read_rows(packed.bm), clean(model, width, int32_t(stride)));
  uint64_t stored = 0;
  for (int32_t row : written)
    stored += record_of(packed.bm, row).size();
  EXPECT_EQ(packed->Size, stored);
}

TEST_F(Compressed, HeightChangesKeepRowsAndClearNewOnes) {
  OwnedBitmap bm;
  make_bitmap(bm.bm, 100, 30, 1, MEM_COMPRESSED);
  const std::vector<uint8_t> pixels = random_rows(bm.bm, 8);
  write_rows(bm.bm, pixels);
  const uint32_t full = bm->Size;
  const auto stride = size_t(bm->BytesPerLine);
  ASSERT_EQ(V_ChangeBitmapHeight(bm.get(), 10), RC_SUCCESS);
  EXPECT_EQ(bm->Height, 10);
  // Size keeps counting until it is recomputed.
  EXPECT_EQ(bm->Size, full);
  ASSERT_EQ(V_UpdateBitmapSize(bm.get()), RC_SUCCESS);
  EXPECT_LT(bm->Size, full);
  ASSERT_EQ(V_ChangeBitmapHeight(bm.get(), 25), RC_SUCCESS);
  std::vector<uint8_t> want(pixels.begin(), pixels.begin() + 10 * stride);
  want.resize(25 * stride, 0);
  EXPECT_EQ(read_rows(bm.bm), want);
}

TEST_F(Compressed, RowGroupsPastTheFirstWorkAndGrowOnDemand) {
  OwnedBitmap bm;
  make_bitmap(bm.bm, 64, 40000, 1, MEM_COMPRESSED);
  const uint8_t row_a[8] = {0xF0, 0x0F, 0, 0, 0xFF, 0, 0, 1};
  const uint8_t row_b[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  ASSERT_EQ(V_PutBitmapRow(bm.get(), row_a, 32767, 8), 8);
  ASSERT_EQ(V_PutBitmapRow(bm.get(), row_b, 32768, 8), 8);
  ASSERT_EQ(V_PutBitmapRow(bm.get(), row_a, 39999, 8), 8);
  // Grown past the groups made at allocation.
  ASSERT_EQ(V_ChangeBitmapHeight(bm.get(), 70000), RC_SUCCESS);
  ASSERT_EQ(V_PutBitmapRow(bm.get(), row_b, 69999, 8), 8);
  uint8_t got[8];
  for (auto [row, want] :
       {std::pair{32767, row_a}, {32768, row_b}, {39999, row_a}, {69999, row_b}}) {
    ASSERT_EQ(V_GetBitmapRow(bm.get(), got, row, 8), 8);
    EXPECT_TRUE(std::equal(got, got + 8, want)) << row;
  }
  ASSERT_EQ(V_GetBitmapRow(bm.get(), got, 50000, 8), 8);
  EXPECT_EQ(std::count(got, got + 8, 0), 8);
  // Shrunk into the first group and grown again: the dropped rows are blank.
  ASSERT_EQ(V_ChangeBitmapHeight(bm.get(), 30000), RC_SUCCESS);
  ASSERT_EQ(V_ChangeBitmapHeight(bm.get(), 33000), RC_SUCCESS);
  ASSERT_EQ(V_GetBitmapRow(bm.get(), got, 32768, 8), 8);
  EXPECT_EQ(std::count(got, got + 8, 0), 8);
  ASSERT_EQ(V_UpdateBitmapSize(bm.get()), RC_SUCCESS);
  EXPECT_EQ(bm->Size, 0u);
}

// Rows nobody wrote read as the encoder's record of a blank row, splits of
// long runs included.
TEST_F(Compressed, ANeverWrittenRowIsTheRecordOfABlankRow) {
  for (int32_t width : {1, 8, 65528, 65535, 65536, 70000, 131056, 131063}) {
    SCOPED_TRACE(width);
    OwnedBitmap bm;
    make_bitmap(bm.bm, width, 2, 1, MEM_COMPRESSED);
    const std::vector<uint8_t> zeros((uint32_t(width) + 7) / 8, 0);
    std::vector<uint8_t> want(COMPRESSED_RECORD_MAX_BYTES(width));
    ASSERT_EQ(V_CompressRow(want.data(), zeros.data(), 0, uint32_t(width)), width);
    want.resize(record_bytes(want.data()));
    EXPECT_EQ(record_of(bm.bm, 1), want);
  }
}

class RecordRows : public vxkrn_test::TempDirTest, public ::testing::WithParamInterface<int32_t> {};

TEST_P(RecordRows, PutAndGetRecordsOnEveryStorage) {
  const int32_t width = 517, height = 12;
  OwnedBitmap bm;
  make_bitmap(bm.bm, width, height, 1, GetParam());
  V_AccessBitmap(bm.get());  // plain memory is read through Data
  const auto stride = size_t(bm->BytesPerLine);
  const std::vector<uint8_t> pixels = random_rows(bm.bm, 21);
  const std::vector<uint8_t> records = compress_rows(pixels, width, height);
  ASSERT_EQ(V_PutBitmapRowCompressed(bm.get(), nullptr, records.data(), 0, height), RC_SUCCESS);
  EXPECT_EQ(read_rows(bm.bm), pixels);

  std::vector<uint8_t> work(stride), got(height * COMPRESSED_RECORD_MAX_BYTES(width));
  ASSERT_EQ(V_GetBitmapRowCompressed(bm.get(), work.data(), got.data(), 0, height), RC_SUCCESS);
  got.resize(records.size());
  EXPECT_EQ(got, records);
  // A count past the last row is cut there.
  ASSERT_EQ(V_GetBitmapRowCompressed(bm.get(), nullptr, got.data(), height - 1, 50), RC_SUCCESS);
  EXPECT_TRUE(std::equal(got.begin(), got.begin() + long(record_bytes(got.data())),
                         records.end() - long(record_bytes(got.data()))));

  // One record into the middle of a row, and one read from a column.
  std::mt19937 random(3);
  std::vector<uint8_t> model = pixels;
  for (int trial = 0; trial < 30; ++trial) {
    const auto row = int32_t(random() % height), column = int32_t(random() % width);
    const auto count = uint32_t(random() % uint32_t(width - column + 1));
    const uint8_t *from = pixels.data() + ((row + 1) % height) * stride;
    std::vector<uint8_t> record(COMPRESSED_RECORD_MAX_BYTES(count));
    ASSERT_EQ(V_CompressRow(record.data(), from, 0, count), int32_t(count));
    ASSERT_EQ(V_PutBitmapRowColCompressed(bm.get(), nullptr, record.data(), row, column, count),
              int32_t((count + 7) / 8));
    for (uint32_t k = 0; k < count; ++k) {
      const bool bit = from[k / 8] >> (7 - k % 8) & 1;
      uint8_t &byte = model[row * stride + (column + k) / 8];
      const auto mask = static_cast<uint8_t>(0x80 >> ((column + k) % 8));
      byte = static_cast<uint8_t>(bit ? byte | mask : byte & ~mask);
    }
    std::vector<uint8_t> out(COMPRESSED_RECORD_MAX_BYTES(count)), want(out.size());
    ASSERT_EQ(V_GetBitmapRowColCompressed(bm.get(), nullptr, out.data(), row, column, count),
              int32_t((count + 7) / 8));
    std::vector<uint8_t> row_bytes(model.begin() + row * stride,
                                   model.begin() + (row + 1) * stride);
    ASSERT_EQ(V_CompressRow(want.data(), row_bytes.data() + column / 8, uint32_t(column), count),
              int32_t(count));
    EXPECT_TRUE(
        std::equal(out.begin(), out.begin() + long(record_bytes(want.data())), want.begin()));
  }
  EXPECT_EQ(read_rows(bm.bm), model);
}

// A record that is not exactly one row of the bitmap is refused before any
// row is stored, so that no later read hands out more than a row can need.
TEST_P(RecordRows, BadRecordsAreRefusedBeforeAnythingIsStored) {
  OwnedBitmap bm;
  make_bitmap(bm.bm, 8, 2, 1, GetParam());
  V_AccessBitmap(bm.get());
  const std::vector<uint8_t> pixels = random_rows(bm.bm, 4);
  write_rows(bm.bm, pixels);
  for (const auto &bad : vxkrn_test::bad_records_of_8_pixels()) {
    SCOPED_TRACE(bad.what);
    std::vector<uint8_t> records = vxkrn_test::make_record({8});
    records.insert(records.end(), bad.record.begin(), bad.record.end());
    EXPECT_EQ(V_PutBitmapRowCompressed(bm.get(), nullptr, records.data(), 0, 2),
              RC_INVALID_PARAMETER);
    EXPECT_EQ(V_PutBitmapRowColCompressed(bm.get(), nullptr, bad.record.data(), 1, 0, 8),
              RC_INVALID_PARAMETER);
    EXPECT_EQ(read_rows(bm.bm), pixels);
  }
  // Empty runs are accepted only where they split a run too long for a word.
  OwnedBitmap wide;
  make_bitmap(wide.bm, 70000, 1, 1, GetParam());
  V_AccessBitmap(wide.get());
  const auto split = vxkrn_test::make_record({30000, 0, 40000});
  EXPECT_EQ(V_PutBitmapRowCompressed(wide.get(), nullptr, split.data(), 0, 1), RC_SUCCESS);
  const auto short_split = vxkrn_test::make_record({30000, 0, 30000, 10000});
  EXPECT_EQ(V_PutBitmapRowCompressed(wide.get(), nullptr, short_split.data(), 0, 1),
            RC_INVALID_PARAMETER);
  std::vector<uint8_t> row(size_t(wide->BytesPerLine));
  ASSERT_EQ(V_GetBitmapRow(wide.get(), row.data(), 0, uint32_t(row.size())), wide->BytesPerLine);
  EXPECT_EQ(std::count(row.begin(), row.end(), 0), long(row.size())) << "the split zero run";
}

// The row-column forms answer with the bytes the pixels fill, as a row
// transfer of them does.
TEST_P(RecordRows, RowColumnFormsReturnTheBytesOfThePixels) {
  OwnedBitmap bm;
  make_bitmap(bm.bm, 64, 2, 1, GetParam());
  V_AccessBitmap(bm.get());
  const uint8_t ones[8] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  for (auto [column, count] : {std::pair{0, 1u}, {3, 8u}, {5, 9u}, {0, 64u}, {60, 4u}, {7, 0u}}) {
    SCOPED_TRACE(::testing::Message() << column << " + " << count);
    std::vector<uint8_t> record(COMPRESSED_RECORD_MAX_BYTES(count));
    ASSERT_EQ(V_CompressRow(record.data(), ones, 0, count), int32_t(count));
    const auto bytes = int32_t((count + 7) >> 3);
    EXPECT_EQ(V_PutBitmapRowColCompressed(bm.get(), nullptr, record.data(), 1, column, count),
              bytes);
    EXPECT_EQ(V_GetBitmapRowColCompressed(bm.get(), nullptr, record.data(), 1, column, count),
              bytes);
  }
}

INSTANTIATE_TEST_SUITE_P(Storage, RecordRows,
                         ::testing::Values(MEM_NO_DISK, MEM_TEMP_FILE, MEM_COMPRESSED));

TEST_F(Compressed, RecordsLargerThanPlainRowsSwitchTheBitmapToPlain) {
  OwnedBitmap bm;
  make_bitmap(bm.bm, 64, 4, 1, MEM_COMPRESSED);
  std::vector<uint8_t> rows(4 * 8, 0x55);  // every pixel a run of its own
  const std::vector<uint8_t> records = compress_rows(rows, 64, 4);
  ASSERT_EQ(V_PutBitmapRowCompressed(bm.get(), nullptr, records.data(), 0, 4), RC_SUCCESS);
  EXPECT_FALSE(bm->Flags & FLAG_COMPRESSED);
  EXPECT_EQ(bm->Size, 32u);
  EXPECT_EQ(read_rows(bm.bm), rows);
}

// Storing records reads and writes rows as the row functions do: a memory
// bitmap its caller released stays released, and the put fails.
TEST_F(Compressed, RecordPutsLeaveAccessToTheCaller) {
  OwnedBitmap bm;
  make_bitmap(bm.bm, 64, 2, 1, MEM_NO_DISK);
  V_AccessBitmap(bm.get());
  V_ReleaseBitmap(bm.get());
  const auto record = vxkrn_test::make_record({64});
  EXPECT_EQ(V_PutBitmapRowCompressed(bm.get(), nullptr, record.data(), 0, 1), RC_INVALID_BITMAP);
  EXPECT_EQ(V_PutBitmapRowColCompressed(bm.get(), nullptr, record.data(), 0, 0, 64),
            RC_INVALID_BITMAP);
  EXPECT_EQ(bm->Flags & FLAG_ACCESSED, 0u);
  EXPECT_EQ(bm->Data, nullptr);
}

TEST_F(Compressed, RecordFunctionsRejectBadArguments) {
  OwnedBitmap one, eight;
  make_bitmap(one.bm, 16, 2, 1, MEM_COMPRESSED);
  make_bitmap(eight.bm, 16, 2, 8, MEM_NO_DISK);
  uint8_t buffer[64] = {1, 0, 0, 0, 16, 0};
  struct Case {
    const char *what;
    ResultCode got, want;
  } cases[] = {
      {"put null", V_PutBitmapRowCompressed(nullptr, nullptr, buffer, 0, 1), RC_INVALID_PARAMETER},
      {"put no records", V_PutBitmapRowCompressed(one.get(), nullptr, nullptr, 0, 1),
       RC_INVALID_PARAMETER},
      {"put 8-bit", V_PutBitmapRowCompressed(eight.get(), nullptr, buffer, 0, 1),
       RC_INVALID_BITS_PER_PIXEL},
      {"put count 0", V_PutBitmapRowCompressed(one.get(), nullptr, buffer, 0, 0), RC_SUCCESS},
      {"put at height", V_PutBitmapRowCompressed(one.get(), nullptr, buffer, 2, 1), RC_SUCCESS},
      {"get null out", V_GetBitmapRowCompressed(one.get(), nullptr, nullptr, 0, 1),
       RC_INVALID_PARAMETER},
      {"col past width", V_PutBitmapRowColCompressed(one.get(), nullptr, buffer, 0, 10, 7),
       RC_INVALID_PARAMETER},
      {"get col negative", V_GetBitmapRowColCompressed(one.get(), nullptr, buffer, 0, -1, 2),
       RC_INVALID_PARAMETER},
  };
  for (const Case &c : cases)
    EXPECT_EQ(c.got, c.want) << c.what;
}

TEST_F(Compressed, ToggleMovesBetweenPlainAndCompressedKeepingEverythingElse) {
  OwnedBitmap bm;
  make_bitmap(bm.bm, 1000, 200, 1, MEM_NO_DISK);
  const std::vector<uint8_t> pixels = random_rows(bm.bm, 12);
  write_rows(bm.bm, pixels);
  const PaletteEntry *palette = bm->Palette;
  const uint8_t *map = bm->MapTable;
  const uint32_t plain = bm->Size;
  ASSERT_EQ(V_ToggleBitmapCompression(bm.get()), RC_SUCCESS);
  EXPECT_TRUE(bm->Flags & FLAG_COMPRESSED);
  EXPECT_LT(bm->Size, plain);
  EXPECT_EQ(bm->Palette, palette);
  EXPECT_EQ(bm->MapTable, map);
  EXPECT_EQ(read_rows(bm.bm), pixels);
  EXPECT_EQ(V_ChangeBitmapCompression(bm.get(), COMPRESSION_RUNS), RC_SUCCESS);
  ASSERT_EQ(V_ToggleBitmapCompression(bm.get()), RC_SUCCESS);
  EXPECT_EQ(bm->Flags & (FLAG_COMPRESSED | FLAG_CONVENTIONAL), FLAG_CONVENTIONAL);
  EXPECT_EQ(bm->Size, plain);
  EXPECT_EQ(read_rows(bm.bm), pixels);
}

TEST_F(Compressed, ToggleAndChangeRefuseWhatTheyCannotDo) {
  OwnedBitmap one, eight, unallocated;
  make_bitmap(one.bm, 8, 8, 1, MEM_NO_DISK);
  make_bitmap(eight.bm, 8, 8, 8, MEM_NO_DISK);
  ASSERT_EQ(V_InitBitmap(unallocated.get(), BITMAPHANDLE_SIZE, 8, 8, 1), RC_SUCCESS);
  EXPECT_EQ(V_ToggleBitmapCompression(nullptr), RC_INVALID_BITMAP);
  EXPECT_EQ(V_ToggleBitmapCompression(eight.get()), RC_INVALID_BITMAP);
  EXPECT_EQ(V_ToggleBitmapCompression(unallocated.get()), RC_INVALID_BITMAP);
  EXPECT_EQ(V_ChangeBitmapCompression(unallocated.get(), 1), RC_INVALID_BITMAP);
  EXPECT_EQ(V_ChangeBitmapCompression(one.get(), 3), RC_INVALID_PARAMETER);
  const BitmapHandle before = one.bm;
  EXPECT_EQ(V_ChangeBitmapCompression(one.get(), COMPRESSION_SUPER), RC_NO_MEMORY);
  EXPECT_TRUE(same_bytes(one.bm, before));
  one->Flags |= FLAG_RESTRICTED;
  EXPECT_EQ(V_ToggleBitmapCompression(one.get()), RC_BITMAP_RESTRICTED);
  one->Flags &= ~FLAG_RESTRICTED;
  one->StructSize = 1;
  EXPECT_EQ(V_ToggleBitmapCompression(one.get()), RC_INVALID_STRUCT_SIZE);
  one->StructSize = BITMAPHANDLE_SIZE;
}

TEST_F(Compressed, AFailedToggleLeavesTheRecordAsItWas) {
  for (int32_t type : {MEM_NO_DISK, MEM_COMPRESSED}) {
    OwnedBitmap bm;
    make_bitmap(bm.bm, 300, 20, 1, type);
    const std::vector<uint8_t> pixels = random_rows(bm.bm, 13);
    write_rows(bm.bm, pixels);
    vxkrn_test::sweep_allocation_failures(kBothHeaps, [&](unsigned) {
      const BitmapHandle before = bm.bm;
      const ResultCode rc = V_ToggleBitmapCompression(bm.get());
      vxkrn_test::stop_failing();
      if (rc == RC_SUCCESS) {
        EXPECT_EQ(read_rows(bm.bm), pixels);
        ASSERT_EQ(V_ToggleBitmapCompression(bm.get()), RC_SUCCESS);
      } else {
        EXPECT_EQ(rc, RC_NO_MEMORY);
        EXPECT_TRUE(same_bytes(bm.bm, before));
      }
      EXPECT_EQ(read_rows(bm.bm), pixels);
    });
  }
}

TEST_F(Compressed, SetMemoryInfoMovesThePixelsBetweenKinds) {
  OwnedBitmap bm;
  make_bitmap(bm.bm, 90, 14, 1, MEM_NO_DISK);
  const std::vector<uint8_t> pixels = random_rows(bm.bm, 14);
  write_rows(bm.bm, pixels);
  const PaletteEntry *palette = bm->Palette;
  const BitmapHandle before = bm.bm;
  EXPECT_EQ(V_SetBitmapMemoryInfo(bm.get(), MEM_TEMP_FILE, 0, 0, 0, 0, 0, 0), RC_SUCCESS);
  EXPECT_TRUE(same_bytes(bm.bm, before));
  struct Step {
    int32_t type, code;
  } steps[] = {{MEM_TEMP_FILE, MEM_INFO_DISK},
               {MEM_COMPRESSED, MEM_INFO_COMPRESSED},
               {MEM_DISK, MEM_INFO_MEMORY},
               {MEM_MOD_COMPRESS | MEM_CONVENTIONAL, MEM_INFO_COMPRESSED},
               {MEM_CONVENTIONAL, MEM_INFO_MEMORY}};
  for (const Step &s : steps) {
    ASSERT_EQ(V_SetBitmapMemoryInfo(bm.get(), s.type, 0, 0, 0, 0, 0, MEM_INFO_MASK_TYPE),
              RC_SUCCESS);
    EXPECT_EQ(vxkrn_test::memory_info(bm.bm), s.code) << s.type;
    EXPECT_EQ(bm->Palette, palette);
    EXPECT_EQ(read_rows(bm.bm), pixels);
  }
  EXPECT_EQ(V_SetBitmapMemoryInfo(bm.get(), 3, 0, 0, 0, 0, 0, MEM_INFO_MASK_TYPE),
            RC_INVALID_PARAMETER);
  EXPECT_EQ(V_SetBitmapMemoryInfo(nullptr, 1, 0, 0, 0, 0, 0, MEM_INFO_MASK_TYPE),
            RC_INVALID_BITMAP);

  vxkrn_test::sweep_allocation_failures(kBothHeaps, [&](unsigned) {
    const BitmapHandle kept = bm.bm;
    const ResultCode rc =
        V_SetBitmapMemoryInfo(bm.get(), MEM_COMPRESSED, 0, 0, 0, 0, 0, MEM_INFO_MASK_TYPE);
    vxkrn_test::stop_failing();
    if (rc == RC_SUCCESS) {
      ASSERT_EQ(V_SetBitmapMemoryInfo(bm.get(), MEM_NO_DISK, 0, 0, 0, 0, 0, MEM_INFO_MASK_TYPE),
                RC_SUCCESS);
    } else {
      EXPECT_EQ(rc, RC_NO_MEMORY);
      EXPECT_TRUE(same_bytes(bm.bm, kept));
    }
    EXPECT_EQ(read_rows(bm.bm), pixels);
  });
}

TEST_F(Compressed, HeapGrowthAndTrimKeepThePixels) {
  OwnedBitmap bm, plain;
  make_bitmap(bm.bm, 800, 50, 1, MEM_COMPRESSED);
  make_bitmap(plain.bm, 8, 8, 1, MEM_NO_DISK);
  const std::vector<uint8_t> pixels = random_rows(bm.bm, 15);
  write_rows(bm.bm, pixels);
  EXPECT_EQ(V_GrowBitmapHeap(bm.get(), 1 << 20), RC_SUCCESS);
  EXPECT_EQ(V_TrimBitmapHeap(bm.get()), RC_SUCCESS);
  // Nothing left to give back the second time: reported as 0.
  EXPECT_EQ(V_TrimBitmapHeap(bm.get()), 0);
  EXPECT_EQ(read_rows(bm.bm), pixels);
  vxkrn::testing::fail_nth_allocation(1, kBothHeaps);
  EXPECT_EQ(V_GrowBitmapHeap(bm.get(), 1 << 22), 0);
  vxkrn_test::stop_failing();
  EXPECT_EQ(read_rows(bm.bm), pixels);
  // A trimmed arena has no room for rows; grown, it takes them all without
  // asking the heap.
  OwnedBitmap fresh;
  make_bitmap(fresh.bm, 800, 50, 1, MEM_COMPRESSED);
  const std::vector<uint8_t> records = compress_rows(pixels, 800, 50);
  ASSERT_EQ(V_TrimBitmapHeap(fresh.get()), RC_SUCCESS);
  ASSERT_EQ(V_GrowBitmapHeap(fresh.get(), 1 << 20), RC_SUCCESS);
  const auto put = [&] {
    EXPECT_EQ(V_PutBitmapRowCompressed(fresh.get(), nullptr, records.data(), 0, 50), RC_SUCCESS);
  };
  EXPECT_EQ(vxkrn_test::count_allocations(kBothHeaps, put), 0u);
  EXPECT_EQ(read_rows(fresh.bm), pixels);
  EXPECT_EQ(V_GrowBitmapHeap(plain.get(), 10), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_TrimBitmapHeap(nullptr), RC_INVALID_PARAMETER);
}

TEST_F(Compressed, EveryAllocationFailureOfTheRowFunctionsIsReported) {
  const int32_t width = 900, height = 20;
  struct Case {
    const char *what;
    int32_t type;
    std::function<ResultCode(BitmapHandle &, const std::vector<uint8_t> &)> call;
    bool changes_pixels;
  } cases[] = {
      {"records into plain rows", MEM_NO_DISK,
       [](BitmapHandle &bm, const std::vector<uint8_t> &records) {
         return V_PutBitmapRowCompressed(&bm, nullptr, records.data(), 0, uint32_t(bm.Height));
       },
       true},
      {"records into compressed rows", MEM_COMPRESSED,
       [](BitmapHandle &bm, const std::vector<uint8_t> &records) {
         V_TrimBitmapHeap(&bm);  // so that the records need the arena to grow
         return V_PutBitmapRowCompressed(&bm, nullptr, records.data(), 0, uint32_t(bm.Height));
       },
       true},
      {"one record at a column", MEM_COMPRESSED,
       [](BitmapHandle &bm, const std::vector<uint8_t> &records) {
         uint8_t pixels[75];  // the first 600 pixels of the first record's row
         std::vector<uint8_t> record(COMPRESSED_RECORD_MAX_BYTES(600));
         V_ExpandRow(records.data(), pixels, 0, 600);
         V_CompressRow(record.data(), pixels, 0, 600);
         const int32_t rc = V_PutBitmapRowColCompressed(&bm, nullptr, record.data(), 3, 17, 600);
         return rc == 75 ? RC_SUCCESS : rc;
       },
       true},
      {"records out of plain rows", MEM_TEMP_FILE,
       [](BitmapHandle &bm, const std::vector<uint8_t> &) {
         std::vector<uint8_t> out(size_t(bm.Height) * COMPRESSED_RECORD_MAX_BYTES(bm.Width));
         return V_GetBitmapRowCompressed(&bm, nullptr, out.data(), 0, uint32_t(bm.Height));
       },
       false},
      {"height past the row groups", MEM_COMPRESSED,
       [](BitmapHandle &bm, const std::vector<uint8_t> &) {
         const int32_t before = bm.Height;
         const ResultCode rc = V_ChangeBitmapHeight(&bm, 3 * 32768 + 5);
         if (rc == RC_SUCCESS) {
           EXPECT_EQ(V_ChangeBitmapHeight(&bm, before), RC_SUCCESS);
         }
         return rc;
       },
       false},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.what);
    OwnedBitmap bm;
    make_bitmap(bm.bm, width, height, 1, c.type);
    V_AccessBitmap(bm.get());
    const std::vector<uint8_t> pixels = random_rows(bm.bm, 31);
    write_rows(bm.bm, pixels);
    const std::vector<uint8_t> other = random_rows(bm.bm, 32);
    const std::vector<uint8_t> records = compress_rows(other, width, height);
    const auto stride = size_t(bm->BytesPerLine);
    vxkrn_test::sweep_allocation_failures(kBothHeaps, [&](unsigned) {
      const ResultCode rc = c.call(bm.bm, records);
      vxkrn_test::stop_failing();
      if (rc != RC_SUCCESS) {
        EXPECT_EQ(rc, RC_NO_MEMORY);
        EXPECT_EQ(bm->Height, height);
        // Rows are stored one by one: each holds its old or its new pixels.
        const std::vector<uint8_t> now = read_rows(bm.bm);
        for (size_t y = 0; y < size_t(height); ++y) {
          const auto row = now.begin() + long(y * stride);
          EXPECT_TRUE(std::equal(row, row + long(stride), pixels.begin() + long(y * stride)) ||
                      std::equal(row, row + long(stride), other.begin() + long(y * stride)))
              << "row " << y;
        }
      }
      if (c.changes_pixels) write_rows(bm.bm, pixels);
      EXPECT_EQ(read_rows(bm.bm), pixels);
    });
  }
  // Allocation itself, over several groups: nothing left behind.
  vxkrn_test::sweep_allocation_failures(kBothHeaps, [&](unsigned) {
    OwnedBitmap bm;
    ASSERT_EQ(V_InitBitmap(bm.get(), BITMAPHANDLE_SIZE, 64, 3 * 32768, 1), RC_SUCCESS);
    const ResultCode rc = V_AllocateBitmap(bm.get(), MEM_COMPRESSED);
    if (rc != RC_SUCCESS) {
      EXPECT_EQ(rc, RC_NO_MEMORY);
      EXPECT_FALSE(bm->Flags & FLAG_ALLOCATED);
    }
  });
}

TEST_F(Compressed, AFailedRowWriteKeepsTheRow) {
  OwnedBitmap bm;
  make_bitmap(bm.bm, 200, 3, 1, MEM_COMPRESSED);
  const std::vector<uint8_t> pixels = random_rows(bm.bm, 16);
  write_rows(bm.bm, pixels);
  const std::vector<uint8_t> other = random_rows(bm.bm, 17);
  vxkrn_test::sweep_allocation_failures(kBothHeaps, [&](unsigned nth) {
    const int32_t rc = V_PutBitmapRow(bm.get(), other.data(), 1, uint32_t(bm->BytesPerLine));
    vxkrn_test::stop_failing();
    if (nth == 0) {
      ASSERT_EQ(rc, bm->BytesPerLine);
      write_rows(bm.bm, pixels);
      return;
    }
    EXPECT_EQ(rc, RC_NO_MEMORY);
    EXPECT_EQ(read_rows(bm.bm), pixels);
  });
}

}  // namespace
