// Duplicates and whole copies: attributes carried, pixels identical between
// every pair of storage kinds, progress sequences and stops, and every
// allocation failing in turn.
#include <functional>
#include <vector>

#include "support/test_support.h"

namespace {

using vxkrn_test::kBothHeaps;
using vxkrn_test::memory_info;
using vxkrn_test::OwnedBitmap;
using vxkrn_test::random_rows;
using vxkrn_test::read_rows;
using vxkrn_test::write_rows;

enum class Kind { Memory, Disk, Compressed };

// What each kind is asked for with, and what V_GetBitmapMemoryInfo reports.
const struct {
  int32_t type, info;
} kStorage[] = {{MEM_NO_DISK, MEM_INFO_MEMORY},
                {MEM_TEMP_FILE, MEM_INFO_DISK},
                {MEM_COMPRESSED, MEM_INFO_COMPRESSED}};

int32_t type_of(Kind kind) {
  return kStorage[static_cast<int>(kind)].type;
}
int32_t info_of(Kind kind) {
  return kStorage[static_cast<int>(kind)].info;
}

void make(BitmapHandle &bm, int32_t width, int32_t height, int32_t bits, Kind kind) {
  vxkrn_test::make_bitmap(bm, width, height, bits, type_of(kind));
}

// Records every percent the copy callback sees and answers `stop_code` at
// call number `stop_at` (1-based; 0 never).
struct Recorder {
  std::vector<int32_t> seen;
  size_t stop_at = 0;
  ResultCode stop_code = -100;
  static ResultCode callback(int32_t percent, void *user) {
    auto &self = *static_cast<Recorder *>(user);
    self.seen.push_back(percent);
    return self.seen.size() == self.stop_at ? self.stop_code : RC_SUCCESS;
  }
};

// Installs a recorder as the thread's copy callback for one scope.
class CopyCallback {
 public:
  explicit CopyCallback(Recorder &recorder) {
    V_SetCopyStatusCallBack(&Recorder::callback, &recorder, nullptr, nullptr);
  }
  ~CopyCallback() { V_SetCopyStatusCallBack(nullptr, nullptr, nullptr, nullptr); }
};

// The percents the rule gives for `rows` rows: 0, then floor(100 i / rows)
// after row i whenever it grew.
std::vector<int32_t> expected_percents(int rows) {
  std::vector<int32_t> percents{0};
  for (int i = 1; i <= rows; ++i)
    if (100 * i / rows > 100 * (i - 1) / rows) percents.push_back(100 * i / rows);
  return percents;
}

class Copy : public vxkrn_test::TempDirTest {};

struct KindPair {
  int32_t bits;
  Kind from, to;
};

class CopyKinds : public vxkrn_test::TempDirTest, public ::testing::WithParamInterface<KindPair> {};

// V_CopyBitmap2 into the chosen storage, V_CopyBitmap into the source's.
// Compressed copies stay compressed: at this width the records are smaller
// than plain rows.
TEST_P(CopyKinds, CopiesGiveTheSamePixelsInTheirStorage) {
  const KindPair p = GetParam();
  OwnedBitmap source, copy, same_kind;
  make(source.bm, 77, 23, p.bits, p.from);
  std::vector<PaletteEntry> palette(16, PaletteEntry{1, 2, 3, 0});
  if (p.bits <= 4) {
    ASSERT_EQ(V_SetBitmapNewPalette(source.get(), palette.data(), 1u << p.bits), 1);
  }
  const std::vector<uint8_t> pixels = random_rows(source.bm, 7);
  write_rows(source.bm, pixels);
  ASSERT_EQ(V_CopyBitmap2(copy.get(), source.get(), type_of(p.to), BITMAPHANDLE_SIZE), RC_SUCCESS);
  EXPECT_EQ(memory_info(copy.bm), info_of(p.to));
  EXPECT_EQ(read_rows(copy.bm), pixels);
  if (source->Palette) {
    ASSERT_NE(copy->Palette, source->Palette);
    EXPECT_EQ(copy->Palette[1].Red, 3);
  }
  ASSERT_EQ(V_CopyBitmap(same_kind.get(), source.get(), BITMAPHANDLE_SIZE), RC_SUCCESS);
  EXPECT_EQ(memory_info(same_kind.bm), info_of(p.from));
  EXPECT_EQ(read_rows(same_kind.bm), pixels);
  if (p.from == Kind::Compressed) {
    EXPECT_EQ(same_kind->Size, source->Size);
  }
  EXPECT_EQ(read_rows(source.bm), pixels);
}

std::vector<KindPair> kind_pairs() {
  std::vector<KindPair> pairs;
  for (int32_t bits : {1, 4, 12, 24, 64})
    for (Kind from : {Kind::Memory, Kind::Disk, Kind::Compressed})
      for (Kind to : {Kind::Memory, Kind::Disk, Kind::Compressed})
        if (bits == 1 || (from != Kind::Compressed && to != Kind::Compressed))
          pairs.push_back({bits, from, to});
  return pairs;
}
INSTANTIATE_TEST_SUITE_P(All, CopyKinds, ::testing::ValuesIn(kind_pairs()));

TEST_F(Copy, DataCopyLeavesAccessStateAsItWas) {
  OwnedBitmap a, b;
  make(a.bm, 16, 4, 8, Kind::Memory);
  make(b.bm, 16, 4, 8, Kind::Memory);
  write_rows(a.bm, random_rows(a.bm, 1));
  V_AccessBitmap(a.get());
  ASSERT_EQ(V_CopyBitmapData(b.get(), a.get()), RC_SUCCESS);
  EXPECT_TRUE(a->Flags & FLAG_ACCESSED);
  EXPECT_FALSE(b->Flags & FLAG_ACCESSED);
  EXPECT_EQ(read_rows(b.bm), read_rows(a.bm));
  V_ReleaseBitmap(a.get());
}

TEST_F(Copy, DataCopyIntoAWiderRowClearsTheRest) {
  OwnedBitmap narrow, wide;
  make(narrow.bm, 3, 5, 8, Kind::Memory);
  make(wide.bm, 9, 5, 8, Kind::Memory);
  std::vector<uint8_t> ones(size_t(wide->BytesPerLine) * 5, 0xFF);
  write_rows(wide.bm, ones);
  const std::vector<uint8_t> pixels = random_rows(narrow.bm, 3);
  write_rows(narrow.bm, pixels);
  ASSERT_EQ(V_CopyBitmapData(wide.get(), narrow.get()), RC_SUCCESS);
  const std::vector<uint8_t> got = read_rows(wide.bm);
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < wide->BytesPerLine; ++x)
      EXPECT_EQ(got[size_t(y * wide->BytesPerLine + x)],
                x < narrow->BytesPerLine ? pixels[size_t(y * narrow->BytesPerLine + x)] : 0);
}

TEST_F(Copy, ProgressFollowsTheRuleForEveryRowCount) {
  EXPECT_EQ(expected_percents(7), (std::vector<int32_t>{0, 14, 28, 42, 57, 71, 85, 100}));
  for (int rows : {1, 7, 100, 101, 1000}) {
    SCOPED_TRACE(rows);
    OwnedBitmap a, b;
    make(a.bm, 2, rows, 8, Kind::Memory);
    make(b.bm, 2, rows, 8, Kind::Memory);
    Recorder recorder;
    CopyCallback installed(recorder);
    ASSERT_EQ(V_CopyBitmapData(b.get(), a.get()), RC_SUCCESS);
    EXPECT_EQ(recorder.seen, expected_percents(rows));
  }
}

TEST_F(Copy, ACallbackStopAtAnyCallEndsTheCopyWithItsCode) {
  const size_t calls = expected_percents(10).size();
  for (Kind kind : {Kind::Memory, Kind::Compressed}) {
    for (size_t stop_at : {size_t{1}, calls / 2, calls}) {
      SCOPED_TRACE(::testing::Message() << "stop at call " << stop_at);
      OwnedBitmap source, copy;
      make(source.bm, 20, 10, 1, kind);
      Recorder recorder;
      recorder.stop_at = stop_at;
      CopyCallback installed(recorder);
      EXPECT_EQ(V_CopyBitmap(copy.get(), source.get(), BITMAPHANDLE_SIZE), -100);
      EXPECT_EQ(recorder.seen.size(), stop_at);
      EXPECT_FALSE(copy->Flags & FLAG_ALLOCATED);
      recorder.seen.clear();
      OwnedBitmap other;
      make(other.bm, 20, 10, 1, kind);
      EXPECT_EQ(V_CopyBitmapData(other.get(), source.get()), -100);
    }
  }
}

TEST_F(Copy, CompressedCopyMovesRecordsUnexpanded) {
  OwnedBitmap source, copy;
  make(source.bm, 5000, 40, 1, Kind::Compressed);
  const std::vector<uint8_t> pixels = random_rows(source.bm, 4);
  write_rows(source.bm, pixels);
  // Expanding a row would take a run-time block of a plain row; the
  // compressed path takes one record buffer and nothing per row.
  OwnedBitmap target;
  make(target.bm, 5000, 40, 1, Kind::Compressed);
  const unsigned allocations = vxkrn_test::count_allocations(
      static_cast<unsigned>(vxkrn::platform::Heap::Runtime),
      [&] { EXPECT_EQ(V_CopyBitmapData(target.get(), source.get()), RC_SUCCESS); });
  EXPECT_LE(allocations, 4u);
  EXPECT_EQ(read_rows(target.bm), pixels);
  EXPECT_EQ(target->Size, source->Size);
}

// A copy keeps the source's storage kind: compressed rows stay compressed
// even where their records are larger than the plain rows.
TEST_F(Copy, CompressedRowsCopyAsCompressedRowsWhateverTheirSize) {
  OwnedBitmap source, copy;
  make(source.bm, 64, 4, 1, Kind::Compressed);
  const std::vector<uint8_t> pixels(4 * 8, 0x55);  // a run per pixel
  write_rows(source.bm, pixels);
  ASSERT_EQ(V_CopyBitmap(copy.get(), source.get(), BITMAPHANDLE_SIZE), RC_SUCCESS);
  EXPECT_EQ(memory_info(copy.bm), MEM_INFO_COMPRESSED);
  EXPECT_EQ(copy->Size, source->Size);
  EXPECT_EQ(read_rows(copy.bm), pixels);
}

// A disk bitmap whose file someone else cut short: every operation that
// reads its rows fails with RC_FILE_READ, leaves the source as it was and
// keeps nothing it made (the fixture checks heaps and files).
TEST_F(Copy, ATruncatedDiskFileFailsEveryReaderWithReadError) {
  using Op = std::function<ResultCode(BitmapHandle *)>;
  const auto into_new = [](auto call) {
    return [call](BitmapHandle *b) {
      BitmapHandle made{};
      const ResultCode rc = call(&made, b);
      EXPECT_EQ(made.Flags & FLAG_ALLOCATED, 0u) << "a failed copy keeps nothing";
      if (made.Flags & FLAG_ALLOCATED) V_FreeBitmap(&made);
      return rc;
    };
  };
  uint8_t buffer[4096];
  const struct {
    const char *what;
    int32_t bits;
    Op op;
  } cases[] = {
      {"copy", 8, into_new([](BitmapHandle *d, BitmapHandle *s) {
         return V_CopyBitmap(d, s, BITMAPHANDLE_SIZE);
       })},
      {"copy into memory", 8, into_new([](BitmapHandle *d, BitmapHandle *s) {
         return V_CopyBitmap2(d, s, MEM_NO_DISK, BITMAPHANDLE_SIZE);
       })},
      {"rectangle", 8, into_new([](BitmapHandle *d, BitmapHandle *s) {
         return V_CopyBitmapRect(d, s, BITMAPHANDLE_SIZE, 1, 1, 5, 3);
       })},
      {"move into memory", 8,
       [](BitmapHandle *b) {
         return V_SetBitmapMemoryInfo(b, MEM_NO_DISK, 0, 0, 0, 0, 0, MEM_INFO_MASK_TYPE);
       }},
      {"trim", 8, [](BitmapHandle *b) { return V_TrimBitmap(b, 1, 1, 5, 3); }},
      {"compress", 1, [](BitmapHandle *b) { return V_ChangeBitmapCompression(b, 1); }},
      {"rows as records", 1,
       [&](BitmapHandle *b) { return V_GetBitmapRowCompressed(b, nullptr, buffer, 0, 3); }},
      {"part of a row as a record", 1,
       [&](BitmapHandle *b) { return V_GetBitmapRowColCompressed(b, nullptr, buffer, 3, 3, 9); }},
      {"row", 8, [&](BitmapHandle *b) { return V_GetBitmapRow(b, buffer, 2, 20); }},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.what);
    OwnedBitmap bm;
    make(bm.bm, 20, 6, c.bits, Kind::Disk);
    write_rows(bm.bm, random_rows(bm.bm, 8));
    ASSERT_EQ(V_OsSetFileSize(static_cast<int32_t>(reinterpret_cast<intptr_t>(bm->Storage)), 10),
              0);
    const BitmapHandle before = bm.bm;
    EXPECT_EQ(c.op(bm.get()), RC_FILE_READ);
    EXPECT_TRUE(vxkrn_test::same_bytes(bm.bm, before));
  }
}

struct DupCase {
  const char *name;
  uint32_t options;
};

class Dup : public vxkrn_test::LeakCheckedTest, public ::testing::WithParamInterface<DupCase> {};

TEST_P(Dup, InheritsTheSourcesAttributes) {
  const uint32_t options = GetParam().options;
  OwnedBitmap source;
  make(source.bm, 30, 20, 12, Kind::Memory);  // gray, as 12-bit bitmaps start
  std::vector<PaletteEntry> palette(16, PaletteEntry{0, 0, 0, 0});
  palette[15].Red = 255;
  ASSERT_EQ(V_SetBitmapNewPalette(source.get(), palette.data(), 16), RC_SUCCESS);
  source->LUT =
      static_cast<PaletteEntry *>(vxkrn::platform::sys_alloc(4096 * sizeof(PaletteEntry)));
  ASSERT_NE(source->LUT, nullptr);
  source->LUTLength = 4096;
  source->LUT[7].Red = 42;
  source->Flags |= FLAG_CARRIED | FLAG_RESTRICTED | FLAG_MAP_TABLE_SET;
  source->ViewPerspective = 4;
  source->XResolution = 300;
  source->YResolution = 200;
  source->Playback[2] = 9;
  source->PaintScale = 250;
  source->PaintScaleParms[1] = 77;
  source->MapTable[5] = 99;
  source->Reserved2[0] = 1234;

  BitmapHandle dup;
  ASSERT_EQ(V_DupBitmapNewDim(&dup, source.get(), BITMAPHANDLE_SIZE, 8, 6, 12, options),
            RC_SUCCESS);
  EXPECT_EQ(dup.Width, 8);
  EXPECT_EQ(dup.Height, 6);
  EXPECT_EQ(dup.ViewPerspective, 4);
  EXPECT_EQ(dup.XResolution, 300);
  EXPECT_EQ(dup.YResolution, 200);
  EXPECT_EQ(dup.Playback[2], 9);
  EXPECT_EQ(dup.Reserved2[0], 1234u);
  EXPECT_EQ(dup.Order, ORDER_GRAY);
  EXPECT_EQ(dup.ColorCount, source->ColorCount);
  EXPECT_TRUE(dup.Flags & FLAG_CARRIED);
  EXPECT_TRUE(dup.Flags & FLAG_RESTRICTED);
  EXPECT_EQ((options & DUP_OWN_PALETTE) != 0, dup.Palette != source->Palette);
  if (options & DUP_ALLOCATE) {
    EXPECT_TRUE(dup.Flags & FLAG_ALLOCATED);
    EXPECT_EQ(dup.MapTable[5], 99);
    EXPECT_EQ(dup.PaintScale, 250);
    EXPECT_EQ(dup.PaintScaleParms[1], 77);
    EXPECT_TRUE(dup.Flags & FLAG_MAP_TABLE_SET);
    ASSERT_EQ(dup.LUTLength, 4096u);
    EXPECT_NE(dup.LUT, source->LUT);
    EXPECT_EQ(dup.LUT[7].Red, 42);
  } else {
    EXPECT_FALSE(dup.Flags & FLAG_ALLOCATED);
    EXPECT_EQ(dup.MapTable, nullptr);
  }
  dup.Extension = source.get();  // cleared or kept, never freed
  EXPECT_EQ(V_FreeDuplicateBitmap(&dup, options), RC_SUCCESS);
  EXPECT_EQ(dup.Extension, options & DUP_OWN_EXTENSION ? source.get() : nullptr);
  // The source's palette survives a shared duplicate.
  EXPECT_NE(source->Palette, nullptr);
  EXPECT_EQ(source->Palette[15].Red, 255);
}

INSTANTIATE_TEST_SUITE_P(Options, Dup,
                         ::testing::Values(DupCase{"Shared", 0}, DupCase{"OwnPalette", 2},
                                           DupCase{"Allocate", 1}, DupCase{"Both", 63}),
                         [](const auto &info) { return info.param.name; });

TEST_F(Copy, BadArgumentsGiveTheirCodes) {
  OwnedBitmap good, unallocated, wrong_size, out;
  make(good.bm, 4, 4, 8, Kind::Memory);
  ASSERT_EQ(V_InitBitmap(unallocated.get(), BITMAPHANDLE_SIZE, 4, 4, 8), RC_SUCCESS);
  make(wrong_size.bm, 4, 4, 8, Kind::Memory);
  wrong_size->StructSize = 100;
  const uint32_t S = BITMAPHANDLE_SIZE;
  struct Case {
    const char *what;
    ResultCode got, want;
  } cases[] = {
      {"copy null destination", V_CopyBitmap(nullptr, good.get(), S), RC_INVALID_PARAMETER},
      {"copy null source", V_CopyBitmap(out.get(), nullptr, S), RC_INVALID_PARAMETER},
      {"copy unallocated", V_CopyBitmap(out.get(), unallocated.get(), S), RC_INVALID_PARAMETER},
      {"copy bad size", V_CopyBitmap(out.get(), good.get(), S + 1), RC_INVALID_STRUCT_SIZE},
      {"copy bad record", V_CopyBitmap(out.get(), wrong_size.get(), S), RC_INVALID_STRUCT_SIZE},
      {"copy onto itself", V_CopyBitmap(good.get(), good.get(), S), RC_SUCCESS},
      {"copy2 bad type", V_CopyBitmap2(out.get(), good.get(), 3, S), RC_INVALID_PARAMETER},
      {"data null", V_CopyBitmapData(nullptr, good.get()), RC_INVALID_BITMAP},
      {"data unallocated", V_CopyBitmapData(unallocated.get(), good.get()), RC_INVALID_BITMAP},
      {"data bad record", V_CopyBitmapData(good.get(), wrong_size.get()), RC_INVALID_STRUCT_SIZE},
      {"data same", V_CopyBitmapData(good.get(), good.get()), RC_SUCCESS},
      {"dup null", V_DupBitmapNewDim(nullptr, good.get(), S, 1, 1, 8, 0), RC_INVALID_BITMAP},
      {"dup unallocated", V_DupBitmapNewDim(out.get(), unallocated.get(), S, 1, 1, 8, 0),
       RC_INVALID_BITMAP},
      {"dup bad size", V_DupBitmapNewDim(out.get(), good.get(), 0, 1, 1, 8, 0),
       RC_INVALID_STRUCT_SIZE},
      {"free dup null", V_FreeDuplicateBitmap(nullptr, 0), RC_INVALID_PARAMETER},
  };
  for (const Case &c : cases)
    EXPECT_EQ(c.got, c.want) << c.what;
  EXPECT_FALSE(out->Flags & FLAG_ALLOCATED);
  wrong_size->StructSize = BITMAPHANDLE_SIZE;
}

TEST_F(Copy, EveryAllocationFailureIsReportedAndLeavesNothing) {
  struct Case {
    int32_t bits;
    Kind from;
    int32_t to;  // memory type of V_CopyBitmap2, 0 for V_CopyBitmap
  } cases[] = {{8, Kind::Memory, 0},
               {8, Kind::Memory, MEM_TEMP_FILE},
               {1, Kind::Compressed, 0},
               {1, Kind::Memory, MEM_COMPRESSED},
               {12, Kind::Disk, MEM_NO_DISK}};
  for (const Case &c : cases) {
    SCOPED_TRACE(::testing::Message() << c.bits << "-bit to type " << c.to);
    OwnedBitmap source;
    make(source.bm, 300, 12, c.bits, c.from);
    const std::vector<uint8_t> pixels = random_rows(source.bm, 5);
    write_rows(source.bm, pixels);
    vxkrn_test::sweep_allocation_failures(kBothHeaps, [&](unsigned) {
      OwnedBitmap copy;
      const ResultCode rc = c.to ? V_CopyBitmap2(copy.get(), source.get(), c.to, BITMAPHANDLE_SIZE)
                                 : V_CopyBitmap(copy.get(), source.get(), BITMAPHANDLE_SIZE);
      if (rc == RC_SUCCESS) {
        vxkrn_test::stop_failing();
        EXPECT_EQ(read_rows(copy.bm), pixels);
      } else {
        EXPECT_EQ(rc, RC_NO_MEMORY);
        EXPECT_FALSE(copy->Flags & FLAG_ALLOCATED);
        EXPECT_EQ(copy->Palette, nullptr);
      }
    });
  }
}

TEST_F(Copy, DataCopiesAndDuplicatesReportAllocationFailures) {
  OwnedBitmap source, target;
  make(source.bm, 700, 15, 1, Kind::Compressed);
  make(target.bm, 700, 15, 1, Kind::Compressed);
  const std::vector<uint8_t> pixels = random_rows(source.bm, 9);
  write_rows(source.bm, pixels);
  vxkrn_test::sweep_allocation_failures(kBothHeaps, [&](unsigned) {
    const ResultCode rc = V_CopyBitmapData(target.get(), source.get());
    vxkrn_test::stop_failing();
    if (rc == RC_SUCCESS) {
      EXPECT_EQ(read_rows(target.bm), pixels);
    } else {
      EXPECT_EQ(rc, RC_NO_MEMORY);
    }
  });

  OwnedBitmap gray;
  make(gray.bm, 30, 20, 8, Kind::Memory);
  gray->Order = ORDER_GRAY;
  std::vector<PaletteEntry> palette(256, PaletteEntry{9, 9, 9, 0});
  ASSERT_EQ(V_SetBitmapNewPalette(gray.get(), palette.data(), 256), RC_SUCCESS);
  gray->LUT = static_cast<PaletteEntry *>(vxkrn::platform::sys_alloc(256 * sizeof(PaletteEntry)));
  gray->LUTLength = 256;
  vxkrn_test::sweep_allocation_failures(kBothHeaps, [&](unsigned) {
    BitmapHandle dup;
    const ResultCode rc = V_DupBitmapNewDim(&dup, gray.get(), BITMAPHANDLE_SIZE, 30, 20, 8, 63);
    vxkrn_test::stop_failing();
    if (rc == RC_SUCCESS) {
      EXPECT_EQ(dup.LUTLength, 256u);
      V_FreeDuplicateBitmap(&dup, 63);
    } else {
      EXPECT_EQ(rc, RC_NO_MEMORY);
    }
  });
}

}  // namespace
