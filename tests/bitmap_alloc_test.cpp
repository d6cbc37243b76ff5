// Storage allocation, freeing and height change, including every allocation
// failing in turn.
#include <cstring>

#include "support/test_support.h"

namespace {

using vxkrn_test::kBothHeaps;
using vxkrn_test::OwnedBitmap;
using vxkrn_test::same_bytes;

class BitmapAlloc : public vxkrn_test::LeakCheckedTest {};

// What each memory type gives in this build. Disk, compressed and
// super-compressed storage are not built yet and fail with -1.
struct TypeCase {
  int32_t type;
  int bits;
  ResultCode rc;
};

TEST_F(BitmapAlloc, MemoryTypesResolveByDepth) {
  const TypeCase cases[] = {
      {1, 8, RC_SUCCESS},
      {8, 8, RC_SUCCESS},
      {9, 24, RC_SUCCESS},
      {256, 1, RC_SUCCESS},
      {2, 16, RC_SUCCESS},
      {4, 8, RC_NO_MEMORY},
      {128, 8, RC_NO_MEMORY},
      {768, 8, RC_SUCCESS},
      {768, 1, RC_NO_MEMORY},
      {0x201, 8, RC_SUCCESS},
      {0x201, 1, RC_NO_MEMORY},
      {0x280, 8, RC_NO_MEMORY},
      {1024, 16, RC_INVALID_PARAMETER},
      {1024, 8, RC_NO_MEMORY},
      {1025, 16, RC_SUCCESS},
      {1025, 24, RC_NO_MEMORY},
      {0x404, 24, RC_INVALID_PARAMETER},
      {0x404, 16, RC_NO_MEMORY},
      {0x600, 1, RC_NO_MEMORY},
      {0x401, 12, RC_SUCCESS},
      {0, 8, RC_INVALID_PARAMETER},
      {3, 8, RC_INVALID_PARAMETER},
      {5, 8, RC_INVALID_PARAMETER},
      {6, 8, RC_INVALID_PARAMETER},
      {7, 8, RC_INVALID_PARAMETER},
      {10, 8, RC_INVALID_PARAMETER},
      {129, 8, RC_INVALID_PARAMETER},
      {-1, 8, RC_INVALID_PARAMETER},
  };
  for (const TypeCase &c : cases) {
    SCOPED_TRACE(::testing::Message() << "type " << c.type << ", " << c.bits << " bits");
    OwnedBitmap bm;
    ASSERT_EQ(V_InitBitmap(bm.get(), BITMAPHANDLE_SIZE, 33, 7, c.bits), RC_SUCCESS);
    EXPECT_EQ(V_AllocateBitmap(bm.get(), c.type), c.rc);
    int32_t info = 0;
    if (c.rc == RC_SUCCESS) {
      ASSERT_EQ(V_GetBitmapMemoryInfo(bm.get(), &info, nullptr, nullptr), RC_SUCCESS);
      EXPECT_EQ(info, MEM_INFO_MEMORY);
    } else {
      EXPECT_EQ(bm->Flags & FLAG_ALLOCATED, 0u);
      EXPECT_EQ(bm->MapTable, nullptr);
    }
  }
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
  bm.Flags = 0xFFFFFFFFu;
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

TEST_F(BitmapAlloc, EveryAllocationFailureIsReportedAndLeaksNothing) {
  for (int32_t type : {MEM_CONVENTIONAL, MEM_NO_DISK, MEM_USER}) {
    vxkrn_test::sweep_allocation_failures(kBothHeaps, [type](unsigned nth) {
      BitmapHandle bm;
      ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 64, 64, 8), RC_SUCCESS);
      BitmapHandle expected = bm;
      const ResultCode rc = V_AllocateBitmap(&bm, type);
      if (nth == 0) {
        EXPECT_EQ(rc, RC_SUCCESS);
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
  ASSERT_EQ(V_InitBitmap(bm.get(), BITMAPHANDLE_SIZE, 100, 50, 24), RC_SUCCESS);
  ASSERT_EQ(V_AllocateBitmap(bm.get(), MEM_CONVENTIONAL), RC_SUCCESS);
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
  ASSERT_EQ(V_InitBitmap(bm.get(), BITMAPHANDLE_SIZE, 16, 16, 8), RC_SUCCESS);
  ASSERT_EQ(V_AllocateBitmap(bm.get(), MEM_CONVENTIONAL), RC_SUCCESS);
  const BitmapHandle before = bm.bm;
  vxkrn::testing::fail_nth_allocation(1, kBothHeaps);
  EXPECT_EQ(V_ChangeBitmapHeight(bm.get(), 400), RC_NO_MEMORY);
  vxkrn::testing::fail_nth_allocation(0, 0);
  EXPECT_TRUE(same_bytes(bm.bm, before));
}

}  // namespace
