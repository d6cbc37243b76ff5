// Duplicates, whole copies and data copies between every pair of storage
// kinds: pixels, attributes, allocation failures, progress and read errors.
#include <tuple>

#include "support/test_support.h"

namespace {

using namespace vxkrn_test;
constexpr uint32_t S = BITMAPHANDLE_SIZE;

// A storage kind: what it is asked for with, what V_GetBitmapMemoryInfo says.
struct Kind {
  int32_t type, info;
};
constexpr Kind kMemory{MEM_NO_DISK, MEM_INFO_MEMORY}, kDisk{MEM_TEMP_FILE, MEM_INFO_DISK},
    kCompressed{MEM_COMPRESSED, MEM_INFO_COMPRESSED};

class Copy : public TempDirTest {};

// Every allocation of `action` failing in turn, or the action once when it
// makes none.
void each_failure(const std::function<void(unsigned)> &action) {
  if (count_allocations(kBothHeaps, [&] { action(0); }) > 0)
    sweep_allocation_failures(kBothHeaps, action);
}

struct KindPair {
  int32_t bits;
  Kind from, to;
};
class CopyKinds : public TempDirTest, public ::testing::WithParamInterface<KindPair> {};

// V_CopyBitmap2 into the chosen storage, V_CopyBitmap into the source's and
// V_CopyBitmapData into a wider bitmap of the chosen storage (the rest of
// its rows cleared), each with every allocation failing in turn: the pixels,
// the storage, an own palette and the view perspective, or RC_NO_MEMORY and
// nothing kept. The data copy leaves the access state of both as it was.
TEST_P(CopyKinds, CopiesKeepThePixelsInTheirStorageOrFailCleanly) {
  const KindPair p = GetParam();
  OwnedBitmap source, target;
  make_bitmap(source.bm, 77, 23, p.bits, p.from.type);
  make_bitmap(target.bm, 77 + 70, 23, p.bits, p.to.type);
  std::vector<PaletteEntry> palette(16, PaletteEntry{1, 2, 3, 0});
  ASSERT_TRUE(p.bits > 4 || V_SetBitmapNewPalette(source.get(), palette.data(), 1u << p.bits) == 1);
  source->ViewPerspective = VIEW_TOP_LEFT;
  const std::vector<uint8_t> pixels = random_rows(source.bm, 7);
  write_rows(source.bm, pixels);
  write_rows(target.bm, random_rows(target.bm, 8));
  EXPECT_EQ(V_CopyBitmapData(source.get(), source.get()), RC_SUCCESS) << "onto itself";
  EXPECT_EQ(V_CopyBitmap(source.get(), source.get(), S), RC_SUCCESS) << "onto itself";
  for (bool chosen : {true, false})
    each_failure([&](unsigned nth) {
      OwnedBitmap copy;
      const ResultCode rc = chosen ? V_CopyBitmap2(copy.get(), source.get(), p.to.type, S)
                                   : V_CopyBitmap(copy.get(), source.get(), S);
      stop_failing();
      if (rc != RC_SUCCESS) {
        EXPECT_EQ(rc, RC_NO_MEMORY);
        EXPECT_TRUE(!(copy->Flags & FLAG_ALLOCATED) && !copy->Palette);
        return;
      }
      // A copy of the source's kind may fall back to a disk file when memory
      // of that kind cannot be had.
      const int32_t info = memory_info(copy.bm);
      EXPECT_TRUE(info == (chosen ? p.to.info : p.from.info) ||
                  (nth && !chosen && info == MEM_INFO_DISK))
          << info;
      EXPECT_EQ(read_rows(copy.bm), pixels);
      EXPECT_EQ(copy->ViewPerspective, VIEW_TOP_LEFT);
      EXPECT_TRUE(!source->Palette ||
                  (copy->Palette != source->Palette && copy->Palette[1].Red == 3));
    });
  std::vector<uint8_t> wide(size_t(target->BytesPerLine) * 23);
  for (size_t y = 0; y < 23; ++y)
    std::copy_n(&pixels[y * size_t(source->BytesPerLine)], source->BytesPerLine,
                &wide[y * size_t(target->BytesPerLine)]);
  V_AccessBitmap(source.get());
  each_failure([&](unsigned) {
    const ResultCode rc = V_CopyBitmapData(target.get(), source.get());
    stop_failing();
    EXPECT_TRUE(rc == RC_SUCCESS || rc == RC_NO_MEMORY) << rc;
    EXPECT_EQ(rc == RC_SUCCESS ? read_rows(target.bm) : wide, wide);
  });
  EXPECT_EQ(source->Flags & FLAG_ACCESSED, p.from.type == MEM_NO_DISK ? FLAG_ACCESSED : 0u);
  EXPECT_FALSE(target->Flags & FLAG_ACCESSED);
  V_ReleaseBitmap(source.get());
  EXPECT_EQ(read_rows(source.bm), pixels);
}

std::vector<KindPair> kind_pairs() {
  std::vector<KindPair> pairs;
  for (int32_t bits : {1, 4, 12, 24, 64})
    for (Kind from : {kMemory, kDisk, kCompressed})
      for (Kind to : {kMemory, kDisk, kCompressed})
        if (bits == 1 || (from.type != MEM_COMPRESSED && to.type != MEM_COMPRESSED))
          pairs.push_back({bits, from, to});
  return pairs;
}
INSTANTIATE_TEST_SUITE_P(All, CopyKinds, ::testing::ValuesIn(kind_pairs()));

// Records every percent the copy callback sees; answers -100 at call
// `stop_at` (1-based; 0: never).
struct Recorder {
  std::vector<int32_t> seen;
  size_t stop_at;
  static ResultCode callback(int32_t percent, void *user) {
    auto &self = *static_cast<Recorder *>(user);
    self.seen.push_back(percent);
    return self.seen.size() == self.stop_at ? -100 : RC_SUCCESS;
  }
};

// 0, then floor(100 i / rows) after row i whenever it grew.
std::vector<int32_t> expected_percents(int rows) {
  std::vector<int32_t> percents{0};
  for (int i = 1; i <= rows; ++i)
    if (100 * i / rows > 100 * (i - 1) / rows) percents.push_back(100 * i / rows);
  return percents;
}

TEST_F(Copy, ProgressFollowsTheRuleAndAStopAtAnyCallEndsTheCopy) {
  EXPECT_EQ(expected_percents(7), (std::vector<int32_t>{0, 14, 28, 42, 57, 71, 85, 100}));
  for (Kind kind : {kMemory, kDisk, kCompressed})
    for (int rows : {1, 7, 10, 101, 1000}) {
      const std::vector<int32_t> all = expected_percents(rows);
      for (size_t stop_at : {size_t{0}, size_t{1}, all.size() / 2, all.size()}) {
        SCOPED_TRACE(::testing::Message()
                     << kind.type << ", " << rows << " rows, stop at call " << stop_at);
        OwnedBitmap source, copy, target;
        make_bitmap(source.bm, 20, rows, 1, kind.type);
        make_bitmap(target.bm, 20, rows, 1, kind.type);
        const std::vector<int32_t> seen(all.begin(),
                                        all.begin() + long(stop_at ? stop_at : all.size()));
        const ResultCode want = stop_at ? -100 : RC_SUCCESS;
        Recorder recorder{{}, stop_at};
        V_SetCopyStatusCallBack(&Recorder::callback, &recorder, nullptr, nullptr);
        EXPECT_EQ(V_CopyBitmap(copy.get(), source.get(), S), want);
        EXPECT_EQ(recorder.seen, seen);
        EXPECT_EQ(copy->Flags & FLAG_ALLOCATED, stop_at ? 0u : FLAG_ALLOCATED);
        recorder.seen.clear();
        EXPECT_EQ(V_CopyBitmapData(target.get(), source.get()), want);
        EXPECT_EQ(recorder.seen, seen);
        V_SetCopyStatusCallBack(nullptr, nullptr, nullptr, nullptr);
      }
    }
}

// A copy keeps the source's storage kind: compressed rows stay compressed
// even where their records are larger than the plain rows (a run per pixel
// at 64 pixels), and move as records, without a plain row per row.
TEST_F(Copy, CompressedRowsCopyAsCompressedRowsWhateverTheirSize) {
  for (int32_t width : {64, 5000}) {
    OwnedBitmap source, copy, target;
    make_bitmap(source.bm, width, 40, 1, MEM_COMPRESSED);
    make_bitmap(target.bm, width, 40, 1, MEM_COMPRESSED);
    const std::vector<uint8_t> pixels =
        width == 64 ? std::vector<uint8_t>(40 * 8, 0x55) : random_rows(source.bm, 4);
    write_rows(source.bm, pixels);
    ASSERT_EQ(V_CopyBitmap(copy.get(), source.get(), S), RC_SUCCESS);
    EXPECT_EQ(memory_info(copy.bm), MEM_INFO_COMPRESSED);
    EXPECT_EQ(copy->Size, source->Size);
    EXPECT_EQ(read_rows(copy.bm), pixels);
    EXPECT_LE(count_allocations(
                  static_cast<unsigned>(Heap::Runtime),
                  [&] { EXPECT_EQ(V_CopyBitmapData(target.get(), source.get()), RC_SUCCESS); }),
              4u);
    EXPECT_EQ(target->Size, source->Size);
    EXPECT_EQ(read_rows(target.bm), pixels);
  }
}

// A disk bitmap whose file someone else cut short: every operation that
// reads its rows fails with RC_FILE_READ, leaves the source as it was and
// keeps nothing it made (the fixture checks heaps and files).
TEST_F(Copy, ATruncatedDiskFileFailsEveryReaderWithReadError) {
  using B = BitmapHandle *;
  using P = uint8_t *;
  constexpr int32_t T = MEM_INFO_MASK_TYPE, M = MEM_NO_DISK;
  const struct {
    int32_t bits;
    ResultCode (*op)(B bitmap, B made, P buffer);
  } cases[] = {{8, [](B b, B m, P) { return V_CopyBitmap(m, b, S); }},
               {8, [](B b, B m, P) { return V_CopyBitmap2(m, b, M, S); }},
               {8, [](B b, B m, P) { return V_CopyBitmapRect(m, b, S, 1, 1, 5, 3); }},
               {8, [](B b, B, P) { return V_SetBitmapMemoryInfo(b, M, 0, 0, 0, 0, 0, T); }},
               {8, [](B b, B, P) { return V_TrimBitmap(b, 1, 1, 5, 3); }},
               {1, [](B b, B, P) { return V_ChangeBitmapCompression(b, 1); }},
               {1, [](B b, B, P r) { return V_GetBitmapRowCompressed(b, nullptr, r, 0, 3); }},
               {1, [](B b, B, P r) { return V_GetBitmapRowColCompressed(b, nullptr, r, 3, 3, 9); }},
               {8, [](B b, B, P r) { return V_GetBitmapRow(b, r, 2, 20); }}};
  for (const auto &c : cases) {
    SCOPED_TRACE(&c - cases);
    OwnedBitmap bm, made;
    uint8_t buffer[4096];
    make_bitmap(bm.bm, 20, 6, c.bits, MEM_TEMP_FILE);
    write_rows(bm.bm, random_rows(bm.bm, 8));
    ASSERT_EQ(V_OsSetFileSize(static_cast<int32_t>(reinterpret_cast<intptr_t>(bm->Storage)), 10),
              0);
    const BitmapHandle before = bm.bm;
    EXPECT_EQ(c.op(bm.get(), made.get(), buffer), RC_FILE_READ);
    EXPECT_TRUE(same_bytes(bm.bm, before));
    EXPECT_FALSE(made->Flags & FLAG_ALLOCATED) << "a failed copy keeps nothing";
  }
}

// A duplicate has the source's attributes and its own geometry; what it
// owns follows the options, each with every allocation failing in turn.
TEST_F(Copy, DuplicatesInheritTheSourcesAttributes) {
  OwnedBitmap source;
  BitmapHandle &s = source.bm;
  make_bitmap(s, 30, 20, 12, MEM_NO_DISK);  // gray, as 12-bit bitmaps start
  std::vector<PaletteEntry> palette(16, PaletteEntry{0, 0, 255, 0});
  ASSERT_EQ(V_SetBitmapNewPalette(&s, palette.data(), 16), RC_SUCCESS);
  s.LUT = static_cast<PaletteEntry *>(vxkrn::platform::sys_alloc(4096 * sizeof(PaletteEntry)));
  ASSERT_NE(s.LUT, nullptr);
  s.LUTLength = 4096, s.LUT[7].Red = 42, s.ViewPerspective = VIEW_RIGHT_TOP;
  s.Flags |= FLAG_CARRIED | FLAG_RESTRICTED | FLAG_MAP_TABLE_SET;
  s.XResolution = 300, s.YResolution = 200, s.Playback[2] = 9, s.Reserved2[0] = 1234;
  s.PaintScale = 250, s.PaintScaleParms[1] = 77, s.MapTable[5] = 99;
  // What every duplicate takes over, and what only an allocated one does.
  const auto kept = [](const BitmapHandle &b) {
    return std::tuple(b.Order, b.ViewPerspective, b.XResolution, b.YResolution, b.Playback[2],
                      b.Reserved2[0], b.ColorCount, b.Flags & (FLAG_CARRIED | FLAG_RESTRICTED));
  };
  const auto owned = [](const BitmapHandle &b) {
    return std::tuple(b.Flags & (FLAG_ALLOCATED | FLAG_MAP_TABLE_SET), b.MapTable[5], b.PaintScale,
                      b.PaintScaleParms[1], b.LUTLength, b.LUT[7].Red);
  };
  for (uint32_t options : {0u, 1u, 2u, 63u}) {  // shared, allocated, own palette, both
    SCOPED_TRACE(options);
    each_failure([&](unsigned) {
      BitmapHandle dup;
      const ResultCode rc = V_DupBitmapNewDim(&dup, &s, S, 8, 6, 12, options);
      stop_failing();
      if (rc == RC_NO_MEMORY) return;
      ASSERT_EQ(rc, RC_SUCCESS);
      EXPECT_TRUE(dup.Width == 8 && dup.Height == 6);
      EXPECT_EQ(kept(dup), kept(s));
      EXPECT_EQ((options & DUP_OWN_PALETTE) != 0, dup.Palette != s.Palette);
      if (options & DUP_ALLOCATE) {
        EXPECT_EQ(owned(dup), owned(s));
        EXPECT_NE(dup.LUT, s.LUT);
      } else {
        EXPECT_TRUE(!(dup.Flags & FLAG_ALLOCATED) && !dup.MapTable);
      }
      dup.Extension = &s;  // cleared or kept, never freed
      EXPECT_EQ(V_FreeDuplicateBitmap(&dup, options), RC_SUCCESS);
      EXPECT_EQ(dup.Extension, options & DUP_OWN_EXTENSION ? &s : nullptr);
      EXPECT_EQ(s.Palette[15].Red, 255) << "the palette survives a shared duplicate";
    });
  }
}

}  // namespace
