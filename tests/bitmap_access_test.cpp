// Access, release and lock nesting; the caller's data pointer; the storage
// report.
#include "support/test_support.h"

namespace {

using vxkrn_test::OwnedBitmap;

class BitmapAccess : public vxkrn_test::LeakCheckedTest {
 protected:
  void SetUp() override {
    LeakCheckedTest::SetUp();
    vxkrn_test::make_bitmap(bm.bm, 20, 20, 8, MEM_CONVENTIONAL);
  }
  void TearDown() override {
    V_FreeBitmap(bm.get());
    LeakCheckedTest::TearDown();
  }
  OwnedBitmap bm;
};

TEST_F(BitmapAccess, AccessPointsAtTheBlockStart) {
  V_AccessBitmap(bm.get());
  EXPECT_EQ(bm->Data, static_cast<uint8_t *>(bm->Storage));
  EXPECT_TRUE(bm->Flags & FLAG_ACCESSED);
  V_AccessBitmap(bm.get());  // twice is harmless
  V_ReleaseBitmap(bm.get());
  EXPECT_EQ(bm->Data, nullptr);
  EXPECT_FALSE(bm->Flags & FLAG_ACCESSED);
}

// A freed record has no storage to point at, whatever flags it kept.
TEST(FreedBitmap, AccessLeavesItAlone) {
  for (int32_t type : {MEM_NO_DISK, MEM_TEMP_FILE, MEM_COMPRESSED, MEM_USER}) {
    SCOPED_TRACE(type);
    BitmapHandle bm;
    vxkrn_test::make_bitmap(bm, 64, 4, 1, type);
    V_FreeBitmap(&bm);
    const BitmapHandle freed = bm;
    V_AccessBitmap(&bm);
    EXPECT_TRUE(vxkrn_test::same_bytes(bm, freed));
    EXPECT_EQ(V_LockBitmap(&bm), 0);
    EXPECT_TRUE(vxkrn_test::same_bytes(bm, freed));
  }
}

TEST_F(BitmapAccess, LockNestsByTheCallersValue) {
  const int32_t outer = V_LockBitmap(bm.get());
  EXPECT_EQ(outer, 0);
  const int32_t inner = V_LockBitmap(bm.get());
  EXPECT_EQ(inner, 1);
  V_UnlockBitmap(bm.get(), inner);
  EXPECT_TRUE(bm->Flags & FLAG_ACCESSED) << "the inner unlock keeps it accessed";
  V_UnlockBitmap(bm.get(), outer);
  EXPECT_FALSE(bm->Flags & FLAG_ACCESSED);
  EXPECT_EQ(V_LockBitmap(nullptr), 0);
  V_UnlockBitmap(nullptr, 0);
}

TEST_F(BitmapAccess, AccessSkipsStorageItCannotAddress) {
  const uint32_t blockers[] = {FLAG_COMPRESSED, FLAG_NO_DIRECT_ACCESS, FLAG_SUPER_COMPRESSED,
                               FLAG_USER_MEMORY};
  for (uint32_t flag : blockers) {
    bm->Flags |= flag;
    V_AccessBitmap(bm.get());
    EXPECT_FALSE(bm->Flags & FLAG_ACCESSED) << std::hex << flag;
    bm->Flags &= ~flag;
  }
  bm->StructSize = 0;
  V_AccessBitmap(bm.get());
  EXPECT_FALSE(bm->Flags & FLAG_ACCESSED);
  bm->StructSize = BITMAPHANDLE_SIZE;
}

TEST(CallerBlock, AccessAddsTheAlignOffset) {
  uint8_t block[512];
  BitmapHandle bm;
  ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 16, 16, 8), RC_SUCCESS);
  bm.Flags = FLAG_ALLOCATED | FLAG_CONVENTIONAL | FLAG_USER_MEMORY | FLAG_USER_BLOCK;
  bm.Storage = block;
  bm.AlignOffset = 9;
  V_AccessBitmap(&bm);
  EXPECT_EQ(bm.Data, block + 9);
  V_ReleaseBitmap(&bm);
  EXPECT_EQ(bm.Data, nullptr);
}

TEST(SetBitmapDataPointer, ChecksSizeExceptForCallerMemory) {
  uint8_t pixels[16 * 4];
  BitmapHandle user;
  ASSERT_EQ(V_CreateBitmap(&user, BITMAPHANDLE_SIZE, MEM_USER, 16, 4, 8, 0, nullptr, 0, nullptr, 0),
            RC_SUCCESS);
  EXPECT_EQ(V_SetBitmapDataPointer(&user, pixels, 3), RC_SUCCESS) << "not checked";
  EXPECT_EQ(user.Data, pixels);
  V_FreeBitmap(&user);

  BitmapHandle plain;
  ASSERT_EQ(V_InitBitmap(&plain, BITMAPHANDLE_SIZE, 16, 4, 8), RC_SUCCESS);
  EXPECT_EQ(V_SetBitmapDataPointer(&plain, pixels, 3), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_SetBitmapDataPointer(&plain, pixels, plain.Size), RC_SUCCESS);
  EXPECT_EQ(V_SetBitmapDataPointer(&plain, nullptr, 0), RC_SUCCESS);
  EXPECT_EQ(plain.Data, nullptr);
  plain.StructSize = 0;
  EXPECT_EQ(V_SetBitmapDataPointer(&plain, pixels, 3), RC_INVALID_PARAMETER) << "size first";
  EXPECT_EQ(V_SetBitmapDataPointer(&plain, pixels, 64), RC_INVALID_STRUCT_SIZE);
  EXPECT_EQ(V_SetBitmapDataPointer(nullptr, pixels, 64), RC_INVALID_PARAMETER);
}

TEST_F(BitmapAccess, MemoryInfoReportsWhatTheBitmapHas) {
  int32_t type = 0;
  EXPECT_EQ(V_GetBitmapMemoryInfo(bm.get(), &type, nullptr, nullptr), RC_SUCCESS);
  EXPECT_EQ(type, MEM_INFO_MEMORY);
  EXPECT_EQ(V_GetBitmapMemoryInfo(bm.get(), nullptr, nullptr, nullptr), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_GetBitmapMemoryInfo(nullptr, &type, nullptr, nullptr), RC_INVALID_BITMAP);
  // Flag combinations another storage kind leaves behind.
  const std::pair<uint32_t, int32_t> kinds[] = {
      {FLAG_ALLOCATED | FLAG_CONVENTIONAL | FLAG_COMPRESSED, MEM_INFO_COMPRESSED},
      {FLAG_ALLOCATED | FLAG_CONVENTIONAL | FLAG_SUPER_COMPRESSED, MEM_INFO_SUPER},
      {FLAG_ALLOCATED | FLAG_DISK, MEM_INFO_DISK},
      {FLAG_ALLOCATED | FLAG_CONVENTIONAL | FLAG_USER_MEMORY, MEM_INFO_MEMORY}};
  BitmapHandle probe = bm.bm;
  for (auto [flags, expected] : kinds) {
    probe.Flags = flags;
    ASSERT_EQ(V_GetBitmapMemoryInfo(&probe, &type, nullptr, nullptr), RC_SUCCESS);
    EXPECT_EQ(type, expected) << std::hex << flags;
  }
  probe.Flags = 0;
  EXPECT_EQ(V_GetBitmapMemoryInfo(&probe, &type, nullptr, nullptr), RC_INVALID_BITMAP);
  probe.StructSize = 0;
  EXPECT_EQ(V_GetBitmapMemoryInfo(&probe, &type, nullptr, nullptr), RC_INVALID_STRUCT_SIZE);
}

}  // namespace
