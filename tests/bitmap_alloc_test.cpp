// Storage allocation, freeing and height change, including every allocation
// failing in turn.
#include <cstring>

#include "support/test_support.h"

namespace {

using vxkrn_test::kBothHeaps;
using vxkrn_test::OwnedBitmap;
using vxkrn_test::same_bytes;

class BitmapAlloc : public vxkrn_test::TempDirTest {};

// What each memory type gives. Super-compressed storage is not built yet
// and fails with -1.
struct TypeCase {
  int32_t type;
  int bits;
  ResultCode rc;
  int32_t info;  // reported memory type on success
};

TEST_F(BitmapAlloc, MemoryTypesResolveByDepth) {
  constexpr int32_t kMem = MEM_INFO_MEMORY, kDisk = MEM_INFO_DISK, kRuns = MEM_INFO_COMPRESSED;
  constexpr ResultCode kBad = RC_INVALID_PARAMETER, kOk = RC_SUCCESS, kNone = RC_NO_MEMORY;
  const TypeCase cases[] = {
      {1, 8, kOk, kMem},    {8, 8, kOk, kMem},       {9, 24, kOk, kMem},     {256, 1, kOk, kMem},
      {2, 16, kOk, kMem},   {4, 8, kOk, kDisk},      {128, 8, kOk, kDisk},   {768, 8, kOk, kMem},
      {768, 1, kOk, kRuns}, {0x201, 8, kOk, kMem},   {0x201, 1, kOk, kRuns}, {0x280, 8, kOk, kDisk},
      {1024, 16, kBad, 0},  {1024, 8, kNone, 0},     {1025, 16, kOk, kMem},  {1025, 24, kNone, 0},
      {0x404, 24, kBad, 0}, {0x404, 16, kOk, kDisk}, {0x600, 1, kOk, kRuns}, {0x401, 12, kOk, kMem},
      {0, 8, kBad, 0},      {3, 8, kBad, 0},         {5, 8, kBad, 0},        {6, 8, kBad, 0},
      {7, 8, kBad, 0},      {10, 8, kBad, 0},        {129, 8, kBad, 0},      {-1, 8, kBad, 0},
  };
  for (const TypeCase &c : cases) {
    SCOPED_TRACE(::testing::Message() << "type " << c.type << ", " << c.bits << " bits");
    OwnedBitmap bm;
    ASSERT_EQ(V_InitBitmap(bm.get(), BITMAPHANDLE_SIZE, 33, 7, c.bits), RC_SUCCESS);
    EXPECT_EQ(V_AllocateBitmap(bm.get(), c.type), c.rc);
    if (c.rc == RC_SUCCESS) {
      EXPECT_EQ(vxkrn_test::memory_info(bm.bm), c.info);
    } else {
      EXPECT_EQ(bm->Flags & FLAG_ALLOCATED, 0u);
      EXPECT_EQ(bm->MapTable, nullptr);
    }
  }
}

TEST_F(BitmapAlloc, DiskBitmapIsATemporaryFileOneByteLonger) {
  BitmapHandle bm;
  ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 100, 30, 24), RC_SUCCESS);
  ASSERT_EQ(V_AllocateBitmap(&bm, MEM_TEMP_FILE), RC_SUCCESS);
  EXPECT_EQ(bm.Flags, FLAG_ALLOCATED | FLAG_DISK);
  const std::vector<std::string> files = leftover_files();
  ASSERT_EQ(files.size(), 1u);
  EXPECT_EQ(files[0].rfind("VK", 0), 0u) << files[0];
  EXPECT_EQ(vxkrn_test::file_size(dir_ + files[0]), bm.Size + 1);
  V_AccessBitmap(&bm);
  EXPECT_EQ(bm.Data, nullptr) << "disk bitmaps are never accessed";

  const uint32_t offset = bm.AlignOffset;
  ASSERT_EQ(V_ChangeBitmapHeight(&bm, 45), RC_SUCCESS);
  EXPECT_EQ(vxkrn_test::file_size(dir_ + files[0]), 300 * 45 + offset);
  V_FreeBitmap(&bm);
  EXPECT_TRUE(leftover_files().empty()) << "freeing deletes the file";
}

TEST_F(BitmapAlloc, MemoryBlockIsAlignedZeroedAndMapped) {
  for (int bits : {1, 4, 8, 12, 24, 64}) {
    OwnedBitmap bm;
    ASSERT_EQ(V_InitBitmap(bm.get(), BITMAPHANDLE_SIZE, 37, 11, bits), RC_SUCCESS);
    ASSERT_EQ(V_AllocateBitmap(bm.get(), MEM_CONVENTIONAL), RC_SUCCESS);
    const auto base = reinterpret_cast<uintptr_t>(bm->Storage);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(bm->Data) % 32, 0u);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(bm->Data), base + bm->AlignOffset);
    EXPECT_LT(bm->AlignOffset, 32u);
    EXPECT_EQ(bm->Flags, FLAG_ALLOCATED | FLAG_CONVENTIONAL);
    const auto *bytes = static_cast<const uint8_t *>(bm->Storage);
    for (uint32_t i = 0; i < bm->Size + 31; ++i)
      ASSERT_EQ(bytes[i], 0) << i;
    for (int i = 0; i < 256; ++i)
      ASSERT_EQ(bm->MapTable[i], i);
  }
}

TEST_F(BitmapAlloc, FailuresKeepTheRecordAsDocumented) {
  BitmapHandle bm;
  ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 8, 8, 8), RC_SUCCESS);
  bm.Flags = ~FLAG_ALLOCATED;
  const BitmapHandle before = bm;
  EXPECT_EQ(V_AllocateBitmap(nullptr, 1), RC_INVALID_PARAMETER);
  bm.StructSize = 0;
  EXPECT_EQ(V_AllocateBitmap(&bm, 1), RC_INVALID_STRUCT_SIZE);
  bm.StructSize = BITMAPHANDLE_SIZE;
  bm.Size = 0;
  EXPECT_EQ(V_AllocateBitmap(&bm, 1), RC_EMPTY_AREA);
  bm.Size = before.Size;
  EXPECT_TRUE(same_bytes(bm, before)) << "checks before the type touch nothing";
  EXPECT_EQ(V_AllocateBitmap(&bm, 3), RC_INVALID_PARAMETER);
  BitmapHandle expected = before;
  expected.Flags = ~FLAG_STORAGE_MASK;
  EXPECT_TRUE(same_bytes(bm, expected)) << "only the storage bits are cleared";
}

// Storage is never replaced behind the caller's back: allocating an
// allocated record is refused, and nothing of it changes (or leaks).
TEST_F(BitmapAlloc, AnAllocatedRecordIsRefused) {
  for (int32_t type : {MEM_NO_DISK, MEM_USER, MEM_TEMP_FILE, MEM_COMPRESSED}) {
    SCOPED_TRACE(type);
    vxkrn_test::OwnedBitmap bm;
    vxkrn_test::make_bitmap(bm.bm, 64, 4, 1, type);
    const BitmapHandle before = bm.bm;
    EXPECT_EQ(V_AllocateBitmap(bm.get(), MEM_NO_DISK), RC_INVALID_PARAMETER);
    EXPECT_TRUE(same_bytes(bm.bm, before));
  }
}

TEST_F(BitmapAlloc, EveryAllocationFailureIsReportedAndLeaksNothing) {
  for (int32_t type : {MEM_CONVENTIONAL, MEM_NO_DISK, MEM_USER, MEM_DISK}) {
    SCOPED_TRACE(type);
    vxkrn_test::sweep_allocation_failures(kBothHeaps, [type](unsigned nth) {
      BitmapHandle bm;
      ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 64, 64, 8), RC_SUCCESS);
      BitmapHandle expected = bm;
      const ResultCode rc = V_AllocateBitmap(&bm, type);
      // Type 1 survives a missing block (its second allocation) on disk.
      const bool falls_back = type == MEM_CONVENTIONAL && nth == 2;
      if (nth == 0 || falls_back) {
        EXPECT_EQ(rc, RC_SUCCESS);
        EXPECT_EQ(vxkrn_test::memory_info(bm),
                  falls_back || type == MEM_DISK ? MEM_INFO_DISK : MEM_INFO_MEMORY);
      } else {
        EXPECT_EQ(rc, RC_NO_MEMORY);
        EXPECT_TRUE(same_bytes(bm, expected));
      }
      V_FreeBitmap(&bm);
    });
  }
}

TEST_F(BitmapAlloc, FreeReleasesEverythingAndKeepsGeometry) {
  BitmapHandle bm;
  EXPECT_EQ(V_CreateBitmap(&bm, BITMAPHANDLE_SIZE, MEM_CONVENTIONAL, 10, 10, 8, ORDER_RGB, nullptr,
                           1, nullptr, 0),
            RC_SUCCESS);
  bm.LUT = static_cast<PaletteEntry *>(V_GlobalAlloc(4, sizeof(PaletteEntry)));
  void *storage = bm.Storage;
  V_AccessBitmap(&bm);
  V_FreeBitmap(&bm);
  EXPECT_EQ(bm.Flags, 0u);
  EXPECT_EQ(bm.Palette, nullptr);
  EXPECT_EQ(bm.LUT, nullptr);
  EXPECT_EQ(bm.MapTable, nullptr);
  EXPECT_EQ(bm.Data, nullptr);
  EXPECT_EQ(bm.Storage, storage) << "Storage keeps its old value";
  EXPECT_EQ(bm.Width, 10);
  EXPECT_EQ(V_AllocateBitmap(&bm, MEM_CONVENTIONAL), RC_SUCCESS) << "can be allocated again";
  V_FreeBitmap(&bm);
  V_FreeBitmap(nullptr);
  bm.StructSize = 3;
  V_FreeBitmap(&bm);  // ignored
}

TEST_F(BitmapAlloc, FreeLeavesCallerMemoryAlone) {
  uint8_t pixels[64] = {1, 2, 3};
  BitmapHandle bm;
  ASSERT_EQ(V_CreateBitmap(&bm, BITMAPHANDLE_SIZE, MEM_USER, 16, 4, 8, ORDER_RGB, nullptr, 1,
                           pixels, sizeof pixels),
            RC_SUCCESS);
  EXPECT_EQ(bm.Data, pixels);
  V_FreeBitmap(&bm);
  EXPECT_EQ(bm.Flags & (FLAG_ALLOCATED | FLAG_USER_MEMORY | FLAG_CONVENTIONAL), 0u);
  EXPECT_EQ(pixels[2], 3);
}

TEST_F(BitmapAlloc, ChangeHeightChecksInOrder) {
  OwnedBitmap bm;
  EXPECT_EQ(V_ChangeBitmapHeight(nullptr, 5), RC_INVALID_BITMAP);
  ASSERT_EQ(V_InitBitmap(bm.get(), BITMAPHANDLE_SIZE, 8, 8, 8), RC_SUCCESS);
  EXPECT_EQ(V_ChangeBitmapHeight(bm.get(), 5), RC_INVALID_BITMAP);
  ASSERT_EQ(V_AllocateBitmap(bm.get(), MEM_CONVENTIONAL), RC_SUCCESS);
  bm->StructSize = 1;
  EXPECT_EQ(V_ChangeBitmapHeight(bm.get(), 5), RC_INVALID_STRUCT_SIZE);
  bm->StructSize = BITMAPHANDLE_SIZE;
  V_AccessBitmap(bm.get());
  EXPECT_EQ(V_ChangeBitmapHeight(bm.get(), 8), RC_INVALID_PARAMETER) << "accessed";
  V_ReleaseBitmap(bm.get());
  const BitmapHandle before = bm.bm;
  EXPECT_EQ(V_ChangeBitmapHeight(bm.get(), 8), RC_SUCCESS);
  EXPECT_EQ(V_ChangeBitmapHeight(bm.get(), -3), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_ChangeBitmapHeight(bm.get(), 0), RC_EMPTY_AREA);
  EXPECT_TRUE(same_bytes(bm.bm, before));

  OwnedBitmap user;
  ASSERT_EQ(
      V_CreateBitmap(user.get(), BITMAPHANDLE_SIZE, MEM_USER, 8, 8, 8, 0, nullptr, 0, nullptr, 0),
      RC_SUCCESS);
  EXPECT_EQ(V_ChangeBitmapHeight(user.get(), 4), RC_INVALID_PARAMETER) << "caller's memory";
}

TEST_F(BitmapAlloc, ChangeHeightKeepsRowsAndCountsTheOffset) {
  OwnedBitmap bm;
  vxkrn_test::make_bitmap(bm.bm, 100, 50, 24, MEM_CONVENTIONAL);
  const uint32_t stride = static_cast<uint32_t>(bm->BytesPerLine);
  V_AccessBitmap(bm.get());
  for (uint32_t i = 0; i < stride * 50; ++i)
    bm->Data[i] = static_cast<uint8_t>(i * 7);
  V_ReleaseBitmap(bm.get());

  for (int32_t height : {5000, 20, 31}) {
    const uint32_t offset = bm->AlignOffset;
    ASSERT_EQ(V_ChangeBitmapHeight(bm.get(), height), RC_SUCCESS);
    EXPECT_EQ(bm->Height, height);
    EXPECT_EQ(bm->Size, stride * static_cast<uint32_t>(height) + offset);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(bm->Data),
              reinterpret_cast<uintptr_t>(bm->Storage) + bm->AlignOffset);
    V_AccessBitmap(bm.get());
    for (uint32_t i = 0; i < stride * 20; ++i)
      ASSERT_EQ(bm->Data[i], uint8_t(i * 7)) << i;
    V_ReleaseBitmap(bm.get());
  }
}

TEST_F(BitmapAlloc, ChangeHeightFailureLeavesTheRecord) {
  OwnedBitmap bm;
  vxkrn_test::make_bitmap(bm.bm, 16, 16, 8, MEM_CONVENTIONAL);
  const BitmapHandle before = bm.bm;
  vxkrn::testing::fail_nth_allocation(1, kBothHeaps);
  EXPECT_EQ(V_ChangeBitmapHeight(bm.get(), 400), RC_NO_MEMORY);
  vxkrn::testing::fail_nth_allocation(0, 0);
  EXPECT_TRUE(same_bytes(bm.bm, before));
}

}  // namespace
