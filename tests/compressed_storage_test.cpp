// Compressed 1-bit storage: height changes and row groups, the record-level
// row functions on every storage, compression moves, arena growth and trim.
#include <algorithm>
#include <random>
#include <vector>

#include "core/run_length.h"
#include "support/test_support.h"

namespace {

using vxkrn::core::record_bytes;
using namespace vxkrn_test;
using Bytes = std::vector<uint8_t>;

// The record of one stored row, as the bitmap hands it out.
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
  const Bytes rows = random_rows(bm.bm, 8);
  const auto row = [&](int32_t y) { return rows.data() + (y % 40) * 8; };
  const auto holds = [&](int32_t y, bool blank) {
    uint8_t got[8];
    EXPECT_EQ(V_GetBitmapRow(bm.get(), got, y, 8), 8);
    EXPECT_TRUE(blank ? std::count(got, got + 8, 0) == 8 : std::equal(got, got + 8, row(y))) << y;
  };
  for (int32_t y : {0, 9, 32767, 32768, 39999})
    ASSERT_EQ(V_PutBitmapRow(bm.get(), row(y), y, 8), 8);
  const uint32_t full = bm->Size;
  ASSERT_EQ(V_ChangeBitmapHeight(bm.get(), 70000), RC_SUCCESS);
  ASSERT_EQ(V_PutBitmapRow(bm.get(), row(69999), 69999, 8), 8);
  for (int32_t y : {0, 9, 32767, 32768, 39999, 69999, 50000})
    holds(y, y == 50000);
  ASSERT_EQ(V_ChangeBitmapHeight(bm.get(), 5), RC_SUCCESS);
  EXPECT_GE(bm->Size, full) << "Size keeps counting until it is recomputed";
  ASSERT_EQ(V_UpdateBitmapSize(bm.get()), RC_SUCCESS);
  EXPECT_EQ(bm->Size, record_of(bm.bm, 0).size());
  ASSERT_EQ(V_ChangeBitmapHeight(bm.get(), 33000), RC_SUCCESS);
  for (int32_t y : {0, 9, 32768})
    holds(y, y != 0);
}

// Rows nobody wrote read as the encoder's record of a blank row, splits of
// long runs included.
TEST_F(Compressed, ANeverWrittenRowIsTheRecordOfABlankRow) {
  for (int32_t width : {1, 8, 65528, 65535, 65536, 70000, 131056, 131063}) {
    OwnedBitmap bm;
    make_bitmap(bm.bm, width, 2, 1, MEM_COMPRESSED);
    const Bytes zeros((uint32_t(width) + 7) / 8, 0);
    Bytes want(COMPRESSED_RECORD_MAX_BYTES(width));
    ASSERT_EQ(V_CompressRow(want.data(), zeros.data(), 0, uint32_t(width)), width);
    want.resize(record_bytes(want.data()));
    EXPECT_EQ(record_of(bm.bm, 1), want) << width;
  }
}

class RecordRows : public TempDirTest, public ::testing::WithParamInterface<int32_t> {
 protected:
  void make(OwnedBitmap &bm, int32_t width, int32_t height) {
    make_bitmap(bm.bm, width, height, 1, GetParam());
    V_AccessBitmap(bm.get());  // plain memory is read through Data
  }
};

// Whole rows as records, then records into and out of the middle of rows
// against a bit model and the encoder's record of it.
TEST_P(RecordRows, PutAndGetRecordsOnEveryStorage) {
  const int32_t width = 517, height = 12;
  OwnedBitmap bm;
  make(bm, width, height);
  const auto stride = size_t(bm->BytesPerLine);
  const Bytes pixels = random_rows(bm.bm, 21), records = compress_rows(pixels, width, height);
  ASSERT_EQ(V_PutBitmapRowCompressed(bm.get(), nullptr, records.data(), 0, height), RC_SUCCESS);
  EXPECT_EQ(read_rows(bm.bm), pixels);
  EXPECT_TRUE(GetParam() != MEM_COMPRESSED || bm->Size == records.size()) << "what is stored";
  Bytes work(stride), got(height * COMPRESSED_RECORD_MAX_BYTES(width));
  ASSERT_EQ(V_GetBitmapRowCompressed(bm.get(), work.data(), got.data(), 0, height), RC_SUCCESS);
  EXPECT_EQ(Bytes(got.begin(), got.begin() + long(records.size())), records);
  // A count past the last row is cut there.
  ASSERT_EQ(V_GetBitmapRowCompressed(bm.get(), nullptr, got.data(), height - 1, 50), RC_SUCCESS);
  const long last = long(record_bytes(got.data()));
  EXPECT_TRUE(std::equal(got.begin(), got.begin() + last, records.end() - last));
  std::mt19937 random(3);
  Bytes model = pixels;
  for (int trial = 0; trial < 30; ++trial) {
    const auto row = int32_t(random() % height), column = int32_t(random() % width);
    const auto count = uint32_t(random() % uint32_t(width - column + 1));
    const uint8_t *from = pixels.data() + ((row + 1) % height) * stride;
    uint8_t *model_row = model.data() + row * stride;
    Bytes record(COMPRESSED_RECORD_MAX_BYTES(count)), out(record.size()), want(record.size());
    ASSERT_EQ(V_CompressRow(record.data(), from, 0, count), int32_t(count));
    EXPECT_EQ(V_PutBitmapRowColCompressed(bm.get(), nullptr, record.data(), row, column, count),
              int32_t((count + 7) / 8));
    for (uint32_t k = 0; k < count; ++k)
      set_pixel(model_row, 1, column + k, get_pixel(from, 1, k));
    EXPECT_EQ(V_GetBitmapRowColCompressed(bm.get(), nullptr, out.data(), row, column, count),
              int32_t((count + 7) / 8));
    V_CompressRow(want.data(), model_row + column / 8, uint32_t(column), count);
    const long n = long(record_bytes(want.data()));
    EXPECT_TRUE(std::equal(out.begin(), out.begin() + n, want.begin())) << "trial " << trial;
  }
  EXPECT_EQ(read_rows(bm.bm), model);
}

// A record that is not exactly one row of the bitmap is refused before any
// row is stored, so that no later read hands out more than a row can need.
TEST_P(RecordRows, BadRecordsAreRefusedBeforeAnythingIsStored) {
  OwnedBitmap bm, wide;
  make(bm, 8, 2);
  const Bytes pixels = random_rows(bm.bm, 4);
  write_rows(bm.bm, pixels);
  for (const auto &bad : bad_records_of_8_pixels()) {
    Bytes records = make_record({8});
    records.insert(records.end(), bad.record.begin(), bad.record.end());
    EXPECT_EQ(V_PutBitmapRowCompressed(bm.get(), nullptr, records.data(), 0, 2),
              RC_INVALID_PARAMETER)
        << bad.what;
    EXPECT_EQ(V_PutBitmapRowColCompressed(bm.get(), nullptr, bad.record.data(), 1, 0, 8),
              RC_INVALID_PARAMETER)
        << bad.what;
    EXPECT_EQ(read_rows(bm.bm), pixels) << bad.what;
  }
  // Empty runs are accepted only where they split a run too long for a word.
  make(wide, 70000, 1);
  const auto split = make_record({30000, 0, 40000}),
             short_split = make_record({30000, 0, 30000, 10000});
  EXPECT_EQ(V_PutBitmapRowCompressed(wide.get(), nullptr, split.data(), 0, 1), RC_SUCCESS);
  EXPECT_EQ(V_PutBitmapRowCompressed(wide.get(), nullptr, short_split.data(), 0, 1),
            RC_INVALID_PARAMETER);
  Bytes row(size_t(wide->BytesPerLine));
  ASSERT_EQ(V_GetBitmapRow(wide.get(), row.data(), 0, uint32_t(row.size())), wide->BytesPerLine);
  EXPECT_EQ(std::count(row.begin(), row.end(), 0), long(row.size())) << "the split zero run";
}

// The row-column forms answer with the bytes the pixels fill, as a row
// transfer of them does.
TEST_P(RecordRows, RowColumnFormsReturnTheBytesOfThePixels) {
  OwnedBitmap bm;
  make(bm, 64, 2);
  const uint8_t ones[8] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  for (auto [column, count] : {std::pair{0, 1u}, {3, 8u}, {5, 9u}, {0, 64u}, {60, 4u}, {7, 0u}}) {
    Bytes record(COMPRESSED_RECORD_MAX_BYTES(count));
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

// Storing records reads and writes rows as the row functions do: a memory
// bitmap its caller released stays released, and the put fails. Records
// larger than plain rows switch a compressed bitmap to plain.
TEST_F(Compressed, RecordPutsLeaveAccessToTheCaller) {
  OwnedBitmap bm, packed, eight;
  make_bitmap(bm.bm, 64, 2, 1, MEM_NO_DISK);
  V_AccessBitmap(bm.get());
  V_ReleaseBitmap(bm.get());
  const auto record = make_record({64});
  EXPECT_EQ(V_PutBitmapRowCompressed(bm.get(), nullptr, record.data(), 0, 1), RC_INVALID_BITMAP);
  EXPECT_EQ(V_PutBitmapRowColCompressed(bm.get(), nullptr, record.data(), 0, 0, 64),
            RC_INVALID_BITMAP);
  EXPECT_TRUE(!(bm->Flags & FLAG_ACCESSED) && bm->Data == nullptr);
  make_bitmap(eight.bm, 8, 2, 8, MEM_NO_DISK);
  EXPECT_EQ(V_PutBitmapRowCompressed(eight.get(), nullptr, record.data(), 0, 1),
            RC_INVALID_BITS_PER_PIXEL);
  make_bitmap(packed.bm, 64, 4, 1, MEM_COMPRESSED);
  const Bytes rows(4 * 8, 0x55);  // every pixel a run of its own
  const Bytes records = compress_rows(rows, 64, 4);
  ASSERT_EQ(V_PutBitmapRowCompressed(packed.get(), nullptr, records.data(), 0, 4), RC_SUCCESS);
  EXPECT_FALSE(packed->Flags & FLAG_COMPRESSED);
  EXPECT_EQ(packed->Size, 32u);
  EXPECT_EQ(read_rows(packed.bm), rows);
}

// Toggling and moving between storage kinds keep the pixels, the palette and
// the tables; what cannot be done is refused with the record left alone.
TEST_F(Compressed, ToggleAndMovesKeepThePixelsAndEverythingElse) {
  OwnedBitmap bm;
  make_bitmap(bm.bm, 1000, 200, 1, MEM_NO_DISK);
  const Bytes pixels = random_rows(bm.bm, 12);
  write_rows(bm.bm, pixels);
  const BitmapHandle plain = bm.bm;
  ASSERT_EQ(V_ToggleBitmapCompression(bm.get()), RC_SUCCESS);
  EXPECT_TRUE(bm->Flags & FLAG_COMPRESSED);
  EXPECT_LT(bm->Size, plain.Size);
  EXPECT_EQ(V_ChangeBitmapCompression(bm.get(), COMPRESSION_RUNS), RC_SUCCESS);
  EXPECT_EQ(read_rows(bm.bm), pixels);
  ASSERT_EQ(V_ToggleBitmapCompression(bm.get()), RC_SUCCESS);
  EXPECT_EQ(bm->Flags & (FLAG_COMPRESSED | FLAG_CONVENTIONAL), FLAG_CONVENTIONAL);
  EXPECT_EQ(bm->Size, plain.Size);
  const BitmapHandle before = bm.bm;
  EXPECT_EQ(V_SetBitmapMemoryInfo(bm.get(), MEM_TEMP_FILE, 0, 0, 0, 0, 0, 0), RC_SUCCESS);
  EXPECT_EQ(V_ChangeBitmapCompression(bm.get(), 3), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_ChangeBitmapCompression(bm.get(), COMPRESSION_SUPER), RC_NO_MEMORY);
  EXPECT_EQ(V_SetBitmapMemoryInfo(bm.get(), 3, 0, 0, 0, 0, 0, MEM_INFO_MASK_TYPE),
            RC_INVALID_PARAMETER);
  bm->Flags |= FLAG_RESTRICTED;
  EXPECT_EQ(V_ToggleBitmapCompression(bm.get()), RC_BITMAP_RESTRICTED);
  bm->Flags &= ~FLAG_RESTRICTED;
  EXPECT_TRUE(same_bytes(bm.bm, before));
  const std::pair<int32_t, int32_t> moves[] = {
      {MEM_TEMP_FILE, MEM_INFO_DISK},
      {MEM_COMPRESSED, MEM_INFO_COMPRESSED},
      {MEM_DISK, MEM_INFO_MEMORY},
      {MEM_MOD_COMPRESS | MEM_CONVENTIONAL, MEM_INFO_COMPRESSED},
      {MEM_CONVENTIONAL, MEM_INFO_MEMORY}};
  for (auto [type, code] : moves) {
    ASSERT_EQ(V_SetBitmapMemoryInfo(bm.get(), type, 0, 0, 0, 0, 0, MEM_INFO_MASK_TYPE), RC_SUCCESS);
    EXPECT_EQ(memory_info(bm.bm), code) << type;
    EXPECT_TRUE(bm->Palette == plain.Palette && bm->MapTable == plain.MapTable);
    EXPECT_EQ(read_rows(bm.bm), pixels);
  }
}

TEST_F(Compressed, HeapGrowthAndTrimKeepThePixels) {
  OwnedBitmap bm, plain, fresh;
  make_bitmap(bm.bm, 800, 50, 1, MEM_COMPRESSED);
  make_bitmap(plain.bm, 8, 8, 1, MEM_NO_DISK);
  const Bytes pixels = random_rows(bm.bm, 15);
  write_rows(bm.bm, pixels);
  EXPECT_EQ(V_GrowBitmapHeap(bm.get(), 1 << 20), RC_SUCCESS);
  EXPECT_EQ(V_TrimBitmapHeap(bm.get()), RC_SUCCESS);
  EXPECT_EQ(V_TrimBitmapHeap(bm.get()), 0) << "nothing left to give back";
  vxkrn::testing::fail_nth_allocation(1, kBothHeaps);
  EXPECT_EQ(V_GrowBitmapHeap(bm.get(), 1 << 22), 0);
  stop_failing();
  EXPECT_EQ(read_rows(bm.bm), pixels);
  EXPECT_EQ(V_GrowBitmapHeap(plain.get(), 10), RC_INVALID_PARAMETER);
  // A trimmed arena has no room for rows; grown, it takes them all without
  // asking the heap.
  make_bitmap(fresh.bm, 800, 50, 1, MEM_COMPRESSED);
  const Bytes records = compress_rows(pixels, 800, 50);
  ASSERT_EQ(V_TrimBitmapHeap(fresh.get()), RC_SUCCESS);
  ASSERT_EQ(V_GrowBitmapHeap(fresh.get(), 1 << 20), RC_SUCCESS);
  const auto put = [&] { V_PutBitmapRowCompressed(fresh.get(), nullptr, records.data(), 0, 50); };
  EXPECT_EQ(count_allocations(kBothHeaps, put), 0u);
  EXPECT_EQ(read_rows(fresh.bm), pixels);
}

// The calls swept below: whole-bitmap moves (toggles, the move to another
// kind, the height change) are undone after each success.
enum Call { kPutPlain, kPutPacked, kPutAtColumn, kPutRow, kGet, kHeight, kToggle, kMove };

ResultCode call(Call k, BitmapHandle &bm, const Bytes &records, bool undo = false) {
  Bytes out(size_t(bm.Height) * COMPRESSED_RECORD_MAX_BYTES(bm.Width)), other(records);
  uint8_t pixels[75];
  switch (k) {
    case kPutPacked:
      V_TrimBitmapHeap(&bm);  // so that the records need the arena to grow
      [[fallthrough]];
    case kPutPlain:
      return V_PutBitmapRowCompressed(&bm, nullptr, records.data(), 0, uint32_t(bm.Height));
    case kPutAtColumn:  // the first 600 pixels of the first record's row
      V_ExpandRow(records.data(), pixels, 0, 600);
      V_CompressRow(out.data(), pixels, 0, 600);
      return V_PutBitmapRowColCompressed(&bm, nullptr, out.data(), 3, 17, 600) == 75 ? RC_SUCCESS
                                                                                     : RC_NO_MEMORY;
    case kPutRow:
      return V_PutBitmapRow(&bm, other.data(), 1, uint32_t(bm.BytesPerLine)) == bm.BytesPerLine
                 ? RC_SUCCESS
                 : RC_NO_MEMORY;
    case kGet:
      return V_GetBitmapRowCompressed(&bm, nullptr, out.data(), 0, uint32_t(bm.Height));
    case kHeight:
      return V_ChangeBitmapHeight(&bm, undo ? 20 : 3 * 32768 + 5);
    case kToggle:
      return V_ToggleBitmapCompression(&bm);
    case kMove:
      return V_SetBitmapMemoryInfo(&bm, undo ? MEM_NO_DISK : MEM_COMPRESSED, 0, 0, 0, 0, 0,
                                   MEM_INFO_MASK_TYPE);
  }
  return RC_SUCCESS;
}

// Every allocation of each call failing in turn: the call reports it, leaks
// nothing, and leaves each row with its old or its new pixels (a whole-row
// write, a read or a move leaves everything as it was).
TEST_F(Compressed, EveryAllocationFailureIsReported) {
  const struct {
    Call call;
    int32_t type;
    bool whole;
  } cases[] = {{kPutPlain, MEM_NO_DISK, false},
               {kPutPacked, MEM_COMPRESSED, false},
               {kPutAtColumn, MEM_COMPRESSED, false},
               {kPutRow, MEM_COMPRESSED, true},
               {kGet, MEM_TEMP_FILE, true},
               {kHeight, MEM_COMPRESSED, true},
               {kToggle, MEM_NO_DISK, true},
               {kToggle, MEM_COMPRESSED, true},
               {kMove, MEM_NO_DISK, true}};
  for (const auto &c : cases) {
    SCOPED_TRACE(::testing::Message() << "call " << c.call << ", type " << c.type);
    const bool moves = c.call >= kHeight;
    OwnedBitmap bm;
    make_bitmap(bm.bm, 900, 20, 1, c.type);
    if (!moves) V_AccessBitmap(bm.get());
    const Bytes pixels = random_rows(bm.bm, 31), other = random_rows(bm.bm, 32);
    const Bytes records = c.call == kPutRow ? other : compress_rows(other, 900, 20);
    const auto stride = long(bm->BytesPerLine);
    write_rows(bm.bm, pixels);
    sweep_allocation_failures(kBothHeaps, [&](unsigned) {
      const BitmapHandle before = bm.bm;
      const ResultCode rc = call(c.call, bm.bm, records);
      stop_failing();
      EXPECT_TRUE(rc == RC_SUCCESS || rc == RC_NO_MEMORY) << rc;
      EXPECT_TRUE(rc == RC_SUCCESS || bm->Height == 20);
      EXPECT_TRUE(rc == RC_SUCCESS || !moves ||
                  (c.call == kHeight ? bm->Size == before.Size : same_bytes(bm.bm, before)));
      const Bytes now = read_rows(bm.bm);
      for (long y = 0; y < 20 && rc != RC_SUCCESS; ++y) {
        const auto row = now.begin() + y * stride;
        EXPECT_TRUE(std::equal(row, row + stride, pixels.begin() + y * stride) ||
                    (!c.whole && std::equal(row, row + stride, other.begin() + y * stride)))
            << "row " << y;
      }
      EXPECT_TRUE(
          !moves || rc != RC_SUCCESS ||
          (now.size() >= pixels.size() && std::equal(pixels.begin(), pixels.end(), now.begin())));
      EXPECT_EQ(moves && rc == RC_SUCCESS ? call(c.call, bm.bm, records, true) : RC_SUCCESS,
                RC_SUCCESS);
      write_rows(bm.bm, pixels);
    });
  }
  // Allocation itself, over several groups: nothing left behind.
  sweep_allocation_failures(kBothHeaps, [&](unsigned) {
    OwnedBitmap bm;
    ASSERT_EQ(V_InitBitmap(bm.get(), BITMAPHANDLE_SIZE, 64, 3 * 32768, 1), RC_SUCCESS);
    const ResultCode rc = V_AllocateBitmap(bm.get(), MEM_COMPRESSED);
    EXPECT_TRUE(rc == RC_SUCCESS || (rc == RC_NO_MEMORY && !(bm->Flags & FLAG_ALLOCATED)));
  });
}

}  // namespace
