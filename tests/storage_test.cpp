// Storage of a record: allocation by memory type, access and locks, height
// changes, freeing, one-call creation and allocation failures.
#include <cstring>

#include "support/test_support.h"

namespace {

using namespace vxkrn_test;

class Storage : public TempDirTest {};

ResultCode create(BitmapHandle *bm, int bits, int order, const PaletteEntry *palette = nullptr,
                  int view = 0, int32_t type = MEM_CONVENTIONAL) {
  return V_CreateBitmap(bm, BITMAPHANDLE_SIZE, type, 17, 9, bits, order, palette, view, nullptr, 0);
}

// What each memory type gives by depth (1024 fails for want of memory: no
// super-compressed storage yet); refused types leave nothing allocated.
TEST_F(Storage, MemoryTypesResolveByDepth) {
  constexpr int kMem = MEM_INFO_MEMORY, kDisk = MEM_INFO_DISK, kRuns = MEM_INFO_COMPRESSED;
  constexpr int kOk = RC_SUCCESS, kBad = RC_INVALID_PARAMETER, kNone = RC_NO_MEMORY;
  const int cases[][4] = {
      // type, bits, result code, memory report
      {1, 8, kOk, kMem},    {8, 8, kOk, kMem},       {9, 24, kOk, kMem},     {256, 1, kOk, kMem},
      {2, 16, kOk, kMem},   {4, 8, kOk, kDisk},      {128, 8, kOk, kDisk},   {768, 8, kOk, kMem},
      {768, 1, kOk, kRuns}, {0x201, 8, kOk, kMem},   {0x201, 1, kOk, kRuns}, {0x280, 8, kOk, kDisk},
      {1024, 16, kBad, 0},  {1024, 8, kNone, 0},     {1025, 16, kOk, kMem},  {1025, 24, kNone, 0},
      {0x404, 24, kBad, 0}, {0x404, 16, kOk, kDisk}, {0x600, 1, kOk, kRuns}, {0x401, 12, kOk, kMem},
      {0, 8, kBad, 0},      {3, 8, kBad, 0},         {129, 8, kBad, 0},      {-1, 8, kBad, 0}};
  for (const auto &c : cases) {
    OwnedBitmap bm;
    ASSERT_EQ(V_InitBitmap(bm.get(), BITMAPHANDLE_SIZE, 33, 7, c[1]), RC_SUCCESS);
    SCOPED_TRACE(::testing::Message() << "type " << c[0] << ", " << c[1] << " bits");
    ASSERT_EQ(V_AllocateBitmap(bm.get(), c[0]), c[2]);
    EXPECT_TRUE(c[2] != kOk ? !(bm->Flags & FLAG_ALLOCATED) && !bm->MapTable
                            : memory_info(bm.bm) == c[3]);
  }
}

// A block is 32-byte aligned and zeroed past Size to its 31 spare bytes, with
// an identity map table; a temporary file follows height changes.
TEST_F(Storage, MemoryIsAlignedAndZeroedAndAFileFollowsTheHeight) {
  for (int bits : {1, 4, 8, 12, 24, 64}) {
    OwnedBitmap bm;
    make_bitmap(bm.bm, 37, 11, bits, MEM_CONVENTIONAL);
    const auto *bytes = static_cast<const uint8_t *>(bm->Storage);
    EXPECT_TRUE(bm->Flags == (FLAG_ALLOCATED | FLAG_CONVENTIONAL) && bm->MapTable[200] == 200);
    EXPECT_TRUE(bm->Data == bytes + bm->AlignOffset && uintptr_t(bm->Data) % 32 == 0);
    EXPECT_EQ(std::count(bytes, bytes + bm->Size + 31, 0), bm->Size + 31) << "zeroed";
  }
  OwnedBitmap bm;
  make_bitmap(bm.bm, 100, 30, 24, MEM_TEMP_FILE);
  EXPECT_TRUE(bm->Flags == (FLAG_ALLOCATED | FLAG_DISK) &&
              leftover_files().at(0).rfind("VK", 0) == 0);
  EXPECT_EQ(file_size(dir_ + leftover_files().at(0)), bm->Size + 1) << "one byte longer";
  ASSERT_EQ(V_ChangeBitmapHeight(bm.get(), 45), RC_SUCCESS);
  EXPECT_EQ(file_size(dir_ + leftover_files().at(0)), 300 * 45 + bm->AlignOffset);
}

// Allocating an allocated record is refused untouched; only a memory block
// is accessed; freeing keeps geometry, Storage and a caller's pixels, and
// access and lock leave a freed record alone, whatever flags it kept.
TEST_F(Storage, AnAllocatedRecordIsRefusedAndAFreedOneLeftAlone) {
  uint8_t pixels[256] = {1, 2, 3};
  for (int32_t type : {MEM_NO_DISK, MEM_USER, MEM_TEMP_FILE, MEM_COMPRESSED}) {
    BitmapHandle bm;
    make_bitmap(bm, 64, 4, 1, type);
    ASSERT_TRUE(type != MEM_USER || V_SetBitmapDataPointer(&bm, pixels, 3) == RC_SUCCESS);
    bm.LUT = static_cast<PaletteEntry *>(V_GlobalAlloc(4, sizeof(PaletteEntry)));
    const BitmapHandle before = bm;
    EXPECT_EQ(V_AllocateBitmap(&bm, MEM_NO_DISK), RC_INVALID_PARAMETER) << type;
    EXPECT_TRUE(same_bytes(bm, before)) << type;
    V_AccessBitmap(&bm);
    EXPECT_EQ(bool(bm.Flags & FLAG_ACCESSED), type == MEM_NO_DISK) << type;
    V_FreeBitmap(&bm);
    EXPECT_TRUE(!(bm.Flags & FLAG_ALLOCATED) && !bm.Palette && !bm.LUT && !bm.MapTable) << type;
    EXPECT_TRUE(bm.Storage == before.Storage && bm.Width == 64 && pixels[2] == 3) << type;
    EXPECT_TRUE(type != MEM_NO_DISK || (!bm.Data && bm.Flags == 0)) << "the accessed block";
    const BitmapHandle freed = bm;
    V_AccessBitmap(&bm);
    EXPECT_EQ(V_LockBitmap(&bm), 0);
    EXPECT_TRUE(same_bytes(bm, freed)) << type;
  }
}

// Each allocation failing in turn leaves the record as it was (create:
// nothing allocated); a missing block of type 1 is made on disk instead.
TEST_F(Storage, EveryAllocationFailureIsReportedAndLeaksNothing) {
  enum { kAllocate, kCreate, kCreateWithPalette, kHeight };
  const int cases[][3] = {{kAllocate, MEM_CONVENTIONAL, 8},
                          {kAllocate, MEM_NO_DISK, 8},
                          {kAllocate, MEM_USER, 8},
                          {kAllocate, MEM_DISK, 8},
                          {kCreate, MEM_CONVENTIONAL, 0},
                          {kCreate, MEM_CONVENTIONAL, 2},
                          {kCreateWithPalette, MEM_CONVENTIONAL, 2},
                          {kCreate, MEM_CONVENTIONAL, 24},
                          {kHeight, MEM_CONVENTIONAL, 24}};
  const PaletteEntry mine[4] = {};
  for (const auto &c : cases) {
    const int op = c[0], type = c[1], bits = c[2];
    SCOPED_TRACE(::testing::Message() << "op " << op << ", type " << type << ", " << bits);
    OwnedBitmap bm;
    if (op == kHeight) make_bitmap(bm.bm, 100, 50, bits, type);
    sweep_allocation_failures(kBothHeaps, [&](unsigned nth) {
      ASSERT_TRUE(op == kHeight ||
                  V_InitBitmap(bm.get(), BITMAPHANDLE_SIZE, 17, 9, 8) == RC_SUCCESS);
      const BitmapHandle before = bm.bm;
      const ResultCode rc = op == kAllocate ? V_AllocateBitmap(bm.get(), type)
                            : op == kHeight
                                ? V_ChangeBitmapHeight(bm.get(), 400)
                                : create(bm.get(), bits, ORDER_BGR, op == kCreate ? nullptr : mine);
      stop_failing();
      const bool on_disk = op != kHeight && type == MEM_CONVENTIONAL && nth == 2,
                 ok = !nth || on_disk;
      EXPECT_EQ(rc, ok ? RC_SUCCESS : RC_NO_MEMORY);
      EXPECT_TRUE(ok ? memory_info(bm.bm) ==
                           (on_disk || type == MEM_DISK ? MEM_INFO_DISK : MEM_INFO_MEMORY)
                  : op == kAllocate || op == kHeight
                      ? same_bytes(bm.bm, before)
                      : !(bm->Flags & FLAG_ALLOCATED) && !bm->Palette && !bm->MapTable);
      if (op != kHeight) V_FreeBitmap(bm.get());
      EXPECT_TRUE(op != kHeight || !ok || V_ChangeBitmapHeight(bm.get(), 50) == RC_SUCCESS);
    });
  }
}

// Locks nest; rows keep their bytes, and Size counts the align offset until
// it is recomputed; an accessed bitmap keeps its height.
TEST_F(Storage, LocksNestAndHeightChangesKeepRows) {
  OwnedBitmap bm;
  make_bitmap(bm.bm, 100, 50, 24, MEM_CONVENTIONAL);
  const uint32_t stride = uint32_t(bm->BytesPerLine);
  const int32_t outer = V_LockBitmap(bm.get()), inner = V_LockBitmap(bm.get());
  EXPECT_TRUE(outer == 0 && inner == 1 && bm->Data == static_cast<uint8_t *>(bm->Storage));
  for (uint32_t i = 0; i < stride * 50; ++i)
    bm->Data[i] = static_cast<uint8_t>(i * 7);
  V_UnlockBitmap(bm.get(), inner);
  EXPECT_EQ(V_ChangeBitmapHeight(bm.get(), 8), RC_INVALID_PARAMETER) << "still accessed";
  V_UnlockBitmap(bm.get(), outer);
  EXPECT_TRUE(bm->Data == nullptr && !(bm->Flags & FLAG_ACCESSED));
  EXPECT_EQ(V_ChangeBitmapHeight(bm.get(), 0), RC_EMPTY_AREA);
  for (int32_t height : {5000, 20, 31}) {
    const uint32_t offset = bm->AlignOffset;
    ASSERT_EQ(V_ChangeBitmapHeight(bm.get(), height), RC_SUCCESS);
    EXPECT_EQ(bm->Size, stride * uint32_t(height) + offset);
    V_AccessBitmap(bm.get());
    for (uint32_t i = 0; i < stride * 20; ++i)
      ASSERT_EQ(bm->Data[i], uint8_t(i * 7)) << i;
    V_ReleaseBitmap(bm.get());
  }
  EXPECT_TRUE(V_UpdateBitmapSize(bm.get()) == RC_SUCCESS && bm->Size == stride * 31);
}

// Depth 0 is 8-bit gray; a caller's palette is copied; view 0 means 1.
// Orders outside RGB, BGR, gray and the matrix space (which only 48 and 64
// bits have) are refused before anything is allocated, as are bad depths and
// types; a bad view is found after allocation, which the caller then frees.
TEST_F(Storage, UnknownOrdersAreRefused) {
  OwnedBitmap gray, vga, matrix;
  const PaletteEntry mine[16] = {{1, 2, 3, 4}, {5, 6, 7, 8}};
  ASSERT_EQ(create(gray.get(), 0, ORDER_BGR), RC_SUCCESS);
  EXPECT_TRUE(gray->BitsPerPixel == 8 && gray->Order == ORDER_RGB && gray->ViewPerspective == 1);
  EXPECT_TRUE(gray->Palette[77].Red == 77 && gray->Palette[77].Blue == 77);
  ASSERT_EQ(create(vga.get(), 4, ORDER_RGB, mine, 8), RC_SUCCESS);
  EXPECT_TRUE(vga->Palette != mine && !std::memcmp(vga->Palette, mine, sizeof mine) &&
              vga->ViewPerspective == 8);
  EXPECT_EQ(create(matrix.get(), 48, ORDER_MATRIX), RC_SUCCESS);
  const struct {
    std::vector<int32_t> orders, depths;
    ResultCode rc;
    int32_t type = MEM_CONVENTIONAL, view = 0;
  } cases[] = {{{-1, 3, 4, 6, 77}, {1, 8, 16, 24}, RC_INVALID_PARAMETER},
               {{ORDER_MATRIX}, {8, 16, 32}, RC_INVALID_BITS_PER_PIXEL},
               {{ORDER_RGB}, {9}, RC_INVALID_BITS_PER_PIXEL},
               {{ORDER_RGB}, {8}, RC_INVALID_PARAMETER, 3},
               {{ORDER_RGB}, {8}, RC_INVALID_PARAMETER, MEM_CONVENTIONAL, 9},
               {{ORDER_RGB}, {8}, RC_INVALID_PARAMETER, MEM_CONVENTIONAL, -1}};
  for (const auto &c : cases) {
    for (int32_t order : c.orders) {
      for (int32_t bits : c.depths) {
        BitmapHandle bm{};
        EXPECT_EQ(create(&bm, bits, order, nullptr, c.view, c.type), c.rc) << order << ", " << bits;
        EXPECT_EQ(bool(bm.Flags & FLAG_ALLOCATED), c.view != 0) << order << ", " << bits;
        EXPECT_TRUE(c.type == MEM_CONVENTIONAL || bm.Width == 17) << "initialised";
        V_FreeBitmap(&bm);
      }
    }
  }
}

}  // namespace
