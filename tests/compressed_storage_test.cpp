// Compressed 1-bit storage: height changes and row groups, the record-level
// row functions on every storage, compression moves and allocation failures.
#include <algorithm>
#include <random>

#include "core/run_length.h"
#include "support/test_support.h"

namespace {

using vxkrn::core::record_bytes;
using namespace vxkrn_test;
using Bytes = std::vector<uint8_t>;

Bytes record_of(const BitmapHandle &bm, int32_t row) {
  Bytes record(COMPRESSED_RECORD_MAX_BYTES(bm.Width));
  EXPECT_EQ(V_GetBitmapRowCompressed(&bm, nullptr, record.data(), row, 1), RC_SUCCESS);
  record.resize(record_bytes(record.data()));
  return record;
}

class Compressed : public TempDirTest {};

// Rows on both sides of a row group's end, past the groups made at
// allocation, and rows dropped by a shrink and blank when grown again.
TEST_F(Compressed, HeightChangesKeepRowsAndClearNewOnesAcrossRowGroups) {
  OwnedBitmap bm;
  make_bitmap(bm.bm, 64, 40000, 1, MEM_COMPRESSED);
  const Bytes rows = random_rows(bm.bm, 8), blank(8, 0);
  const auto row = [&](int32_t y) { return rows.data() + (y % 40) * 8; };
  const auto holds = [&](int32_t y, bool none) {
    uint8_t got[8];
    EXPECT_TRUE(V_GetBitmapRow(bm.get(), got, y, 8) == 8 &&
                std::equal(got, got + 8, none ? blank.data() : row(y)))
        << y;
  };
  for (int32_t y : {0, 9, 32767, 32768, 39999})
    ASSERT_EQ(V_PutBitmapRow(bm.get(), row(y), y, 8), 8);
  const uint32_t full = bm->Size;
  ASSERT_TRUE(V_ChangeBitmapHeight(bm.get(), 70000) == RC_SUCCESS &&
              V_PutBitmapRow(bm.get(), row(69999), 69999, 8) == 8);
  for (int32_t y : {0, 9, 32767, 32768, 39999, 69999, 50000})
    holds(y, y == 50000);
  ASSERT_EQ(V_ChangeBitmapHeight(bm.get(), 5), RC_SUCCESS);
  EXPECT_GE(bm->Size, full) << "Size keeps counting until it is recomputed";
  EXPECT_EQ(V_UpdateBitmapSize(bm.get()), RC_SUCCESS);
  EXPECT_EQ(bm->Size, record_of(bm.bm, 0).size());
  ASSERT_EQ(V_ChangeBitmapHeight(bm.get(), 33000), RC_SUCCESS);
  for (int32_t y : {0, 9, 32768})
    holds(y, y != 0);
}

// Rows nobody wrote read as the encoder's record of a blank row.
TEST_F(Compressed, ANeverWrittenRowIsTheRecordOfABlankRow) {
  for (int32_t width : {1, 8, 65528, 65535, 65536, 70000, 131056, 131063}) {
    OwnedBitmap bm;
    make_bitmap(bm.bm, width, 2, 1, MEM_COMPRESSED);
    const Bytes zeros((uint32_t(width) + 7) / 8, 0);
    EXPECT_EQ(record_of(bm.bm, 1), compress_rows(zeros, uint32_t(width), 1)) << width;
  }
}

class RecordRows : public TempDirTest, public ::testing::WithParamInterface<int32_t> {
 protected:
  void make(OwnedBitmap &bm, int32_t width, int32_t height) {
    make_bitmap(bm.bm, width, height, 1, GetParam());
    V_AccessBitmap(bm.get());  // plain memory is read through Data
  }
};

// Records in and out of whole rows and of the middle of rows, against a bit
// model and the encoder; row-column forms answer with the bytes filled.
TEST_P(RecordRows, PutAndGetRecordsOnEveryStorage) {
  const int32_t width = 517, height = 12;
  OwnedBitmap bm;
  make(bm, width, height);
  const auto stride = size_t(bm->BytesPerLine);
  const Bytes pixels = random_rows(bm.bm, 21), records = compress_rows(pixels, width, height);
  ASSERT_EQ(V_PutBitmapRowCompressed(bm.get(), nullptr, records.data(), 0, height), RC_SUCCESS);
  EXPECT_TRUE(GetParam() != MEM_COMPRESSED || bm->Size == records.size()) << "what is stored";
  Bytes work(stride), got(height * COMPRESSED_RECORD_MAX_BYTES(width));
  ASSERT_EQ(V_GetBitmapRowCompressed(bm.get(), work.data(), got.data(), 0, height), RC_SUCCESS);
  EXPECT_EQ(Bytes(got.begin(), got.begin() + long(records.size())), records);
  std::mt19937 random(3);
  Bytes model = pixels;
  // Edges first: a pixel, a byte's worth, over three bytes, all, the end, none.
  const uint32_t edges[][2] = {{0, 1}, {3, 8}, {5, 9}, {0, 517}, {513, 4}, {7, 0}};
  for (int trial = 0; trial < 36; ++trial) {
    const auto row = int32_t(random() % height);
    uint32_t column = random() % width, count = random() % (width - column + 1);
    if (trial < 6) column = edges[trial][0], count = edges[trial][1];
    const uint8_t *from = pixels.data() + ((row + 1) % height) * stride;
    uint8_t *model_row = model.data() + row * stride;
    Bytes record(COMPRESSED_RECORD_MAX_BYTES(count)), out(record.size()), want(record.size());
    ASSERT_EQ(V_CompressRow(record.data(), from, 0, count), int32_t(count));
    const auto bytes = int32_t((count + 7) / 8);
    EXPECT_EQ(V_PutBitmapRowColCompressed(bm.get(), nullptr, record.data(), row, column, count),
              bytes);
    for (uint32_t k = 0; k < count; ++k)
      set_pixel(model_row, 1, column + k, get_pixel(from, 1, k));
    EXPECT_EQ(V_GetBitmapRowColCompressed(bm.get(), nullptr, out.data(), row, column, count),
              bytes);
    V_CompressRow(want.data(), model_row + column / 8, column, count);
    const long n = long(record_bytes(want.data()));
    EXPECT_TRUE(std::equal(out.begin(), out.begin() + n, want.begin())) << "trial " << trial;
  }
  EXPECT_EQ(read_rows(bm.bm), model);
}

// A record that is not exactly one row is refused before any row is stored
// (no later read may hand out more than a row can need); empty runs are
// accepted only where they split a run too long for a word.
TEST_P(RecordRows, BadRecordsAreRefusedBeforeAnythingIsStored) {
  OwnedBitmap bm, wide;
  make(bm, 8, 2);
  const Bytes pixels = random_rows(bm.bm, 4);
  write_rows(bm.bm, pixels);
  for (const auto &bad : bad_records_of_8_pixels()) {
    SCOPED_TRACE(bad.what);
    Bytes records = make_record({8});
    records.insert(records.end(), bad.record.begin(), bad.record.end());
    EXPECT_EQ(V_PutBitmapRowCompressed(bm.get(), nullptr, records.data(), 0, 2),
              RC_INVALID_PARAMETER);
    EXPECT_EQ(V_PutBitmapRowColCompressed(bm.get(), nullptr, bad.record.data(), 1, 0, 8),
              RC_INVALID_PARAMETER);
    EXPECT_EQ(read_rows(bm.bm), pixels);
  }
  make(wide, 70000, 1);
  const auto split = make_record({30000, 0, 40000}), bad = make_record({30000, 0, 30000, 10000});
  EXPECT_EQ(V_PutBitmapRowCompressed(wide.get(), nullptr, split.data(), 0, 1), RC_SUCCESS);
  EXPECT_EQ(V_PutBitmapRowCompressed(wide.get(), nullptr, bad.data(), 0, 1), RC_INVALID_PARAMETER);
  EXPECT_EQ(read_rows(wide.bm), Bytes(size_t(wide->BytesPerLine), 0)) << "the split zero run";
}

INSTANTIATE_TEST_SUITE_P(Storage, RecordRows,
                         ::testing::Values(MEM_NO_DISK, MEM_TEMP_FILE, MEM_COMPRESSED));

// A released memory bitmap stays released and refuses records; records
// larger than plain rows switch a compressed bitmap to plain.
TEST_F(Compressed, RecordPutsLeaveAccessToTheCaller) {
  OwnedBitmap bm, packed;
  make_bitmap(bm.bm, 64, 2, 1, MEM_NO_DISK);
  V_AccessBitmap(bm.get());
  V_ReleaseBitmap(bm.get());
  const auto record = make_record({64});
  EXPECT_EQ(V_PutBitmapRowCompressed(bm.get(), nullptr, record.data(), 0, 1), RC_INVALID_BITMAP);
  EXPECT_EQ(V_PutBitmapRowColCompressed(bm.get(), nullptr, record.data(), 0, 0, 64),
            RC_INVALID_BITMAP);
  EXPECT_TRUE(!(bm->Flags & FLAG_ACCESSED) && bm->Data == nullptr);
  make_bitmap(packed.bm, 64, 4, 1, MEM_COMPRESSED);
  const Bytes rows(4 * 8, 0x55);  // every pixel a run of its own
  const Bytes records = compress_rows(rows, 64, 4);
  ASSERT_EQ(V_PutBitmapRowCompressed(packed.get(), nullptr, records.data(), 0, 4), RC_SUCCESS);
  EXPECT_TRUE(!(packed->Flags & FLAG_COMPRESSED) && packed->Size == 32u);
  EXPECT_EQ(read_rows(packed.bm), rows);
}

// Growth past two full row groups builds a new group table aside: any
// allocation failing leaves the record byte for byte as it was.
TEST_F(Compressed, AFailedGrowthPastTheRowGroupsLeavesTheRecordAsItWas) {
  sweep_allocation_failures(kBothHeaps, [&](unsigned nth) {
    OwnedBitmap bm;
    ASSERT_EQ(V_InitBitmap(bm.get(), BITMAPHANDLE_SIZE, 64, 2 * 32768, 1), RC_SUCCESS);
    ResultCode rc = V_AllocateBitmap(bm.get(), MEM_COMPRESSED);
    EXPECT_TRUE(rc == RC_SUCCESS || (rc == RC_NO_MEMORY && !(bm->Flags & FLAG_ALLOCATED)));
    if (rc != RC_SUCCESS) return;
    const BitmapHandle before = bm.bm;
    rc = V_ChangeBitmapHeight(bm.get(), 3 * 32768 + 5);
    EXPECT_EQ(rc, nth == 0 ? RC_SUCCESS : RC_NO_MEMORY);
    EXPECT_TRUE(rc == RC_SUCCESS || same_bytes(bm.bm, before));
  });
}

// Every allocation failing in turn: each row keeps its old or new pixels, a
// whole-row write every row, a move (undone after success) the record.
TEST_F(Compressed, EveryAllocationFailureIsReported) {
  using B = BitmapHandle *;
  using R = const Bytes &;  // the new rows, plain and as records
  enum Keeps { kRows, kEveryRow, kRecord };
  const struct {
    const char *what;
    int32_t type;
    Keeps keeps;
    ResultCode (*call)(B bm, R plain, R records, bool undo);
  } cases[] = {
      {"records into a trimmed arena", MEM_COMPRESSED, kRows,
       [](B bm, R, R r, bool) {
         V_TrimBitmapHeap(bm);
         V_GrowBitmapHeap(bm, 64);  // which, after a trim, shrinks it further
         return V_PutBitmapRowCompressed(bm, nullptr, r.data(), 0, 20);
       }},
      {"600 pixels at column 17", MEM_COMPRESSED, kRows,
       [](B bm, R p, R, bool) {
         Bytes part(COMPRESSED_RECORD_MAX_BYTES(600));
         V_CompressRow(part.data(), p.data(), 0, 600);
         const int32_t n = V_PutBitmapRowColCompressed(bm, nullptr, part.data(), 3, 17, 600);
         return n == 75 ? RC_SUCCESS : RC_NO_MEMORY;
       }},
      {"a plain row", MEM_COMPRESSED, kEveryRow,
       [](B bm, R p, R, bool) {
         return V_PutBitmapRow(bm, p.data(), 1, 116) == 116 ? RC_SUCCESS : RC_NO_MEMORY;
       }},
      {"height past the first row group", MEM_COMPRESSED, kRecord,
       [](B bm, R, R, bool undo) { return V_ChangeBitmapHeight(bm, undo ? 20 : 3 * 32768 + 5); }},
      {"toggle to plain rows", MEM_COMPRESSED, kRecord,
       [](B bm, R, R, bool undo) {
         return undo ? V_ChangeBitmapCompression(bm, COMPRESSION_RUNS)
                     : V_ToggleBitmapCompression(bm);
       }},
      {"move to runs", MEM_NO_DISK, kRecord, [](B bm, R, R, bool undo) {
         return V_SetBitmapMemoryInfo(bm, undo ? MEM_NO_DISK : MEM_COMPRESSED, 0, 0, 0, 0, 0,
                                      MEM_INFO_MASK_TYPE);
       }}};
  for (const auto &c : cases) {
    SCOPED_TRACE(c.what);
    OwnedBitmap bm;
    make_bitmap(bm.bm, 900, 20, 1, c.type);
    if (c.keeps != kRecord) V_AccessBitmap(bm.get());
    const Bytes pixels = random_rows(bm.bm, 31), other = random_rows(bm.bm, 32);
    const Bytes records = compress_rows(other, 900, 20);
    const auto stride = long(bm->BytesPerLine);
    write_rows(bm.bm, pixels);
    sweep_allocation_failures(kBothHeaps, [&](unsigned) {
      const BitmapHandle before = bm.bm;
      const ResultCode rc = c.call(bm.get(), other, records, false);
      stop_failing();
      EXPECT_TRUE(rc == RC_SUCCESS || (rc == RC_NO_MEMORY && bm->Height == 20)) << rc;
      EXPECT_TRUE(rc == RC_SUCCESS || c.keeps != kRecord || same_bytes(bm.bm, before));
      const Bytes now = read_rows(bm.bm);
      for (long y = 0; y < 20 && (rc != RC_SUCCESS || c.keeps == kRecord); ++y) {
        const auto row = now.begin() + y * stride;
        EXPECT_TRUE(std::equal(row, row + stride, pixels.begin() + y * stride) ||
                    (c.keeps == kRows && std::equal(row, row + stride, other.begin() + y * stride)))
            << "row " << y;
      }
      EXPECT_TRUE(c.keeps != kRecord || rc != RC_SUCCESS ||
                  c.call(bm.get(), other, records, true) == RC_SUCCESS)
          << "undone";
      write_rows(bm.bm, pixels);
    });
  }
}

}  // namespace
