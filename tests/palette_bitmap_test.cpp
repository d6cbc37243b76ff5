// A bitmap's palette and palette objects: reading, replacing, copying and
// the failure paths that decide who owns what.
#include <cstring>

#include "support/test_support.h"

namespace {

using vxkrn_test::OwnedBitmap;

class PaletteBitmap : public vxkrn_test::LeakCheckedTest {
 protected:
  void SetUp() override {
    LeakCheckedTest::SetUp();
    ASSERT_EQ(V_CreateBitmap(bm.get(), BITMAPHANDLE_SIZE, MEM_CONVENTIONAL, 4, 4, 8, 0, nullptr, 0,
                             nullptr, 0),
              RC_SUCCESS);
  }
  void TearDown() override {
    V_FreeBitmap(bm.get());
    LeakCheckedTest::TearDown();
  }
  OwnedBitmap bm;
};

TEST_F(PaletteBitmap, EntriesAreReadAndWrittenInRange) {
  PaletteEntry out[16];
  EXPECT_EQ(V_GetBitmapPaletteEntries(bm.get(), 250, 10, out), 6);
  EXPECT_EQ(std::memcmp(out, V_IntGetFixedPalette(8) + 250, 6 * sizeof(PaletteEntry)), 0);
  EXPECT_EQ(V_GetBitmapPaletteEntries(bm.get(), 256, 1, out), 0);
  EXPECT_EQ(V_GetBitmapPaletteEntries(nullptr, 0, 1, out), 0);

  const PaletteEntry mine[2] = {{1, 2, 3, 4}, {5, 6, 7, 8}};
  EXPECT_EQ(V_PutBitmapColors(bm.get(), 254, 2, mine), RC_SUCCESS);
  EXPECT_EQ(V_GetBitmapColors(bm.get(), 254, 2, out), RC_SUCCESS);
  EXPECT_EQ(std::memcmp(out, mine, sizeof mine), 0);
  const struct {
    int32_t first;
    uint32_t count;
  } bad[] = {{-1, 1}, {255, 2}, {0, 257}};
  for (const auto &c : bad)
    EXPECT_EQ(V_PutBitmapColors(bm.get(), c.first, c.count, mine), RC_INVALID_PARAMETER);
  const struct {
    uint32_t first, count;
    ResultCode want;
  } gets[] = {{255, 2, RC_INVALID_PARAMETER},           {0, 0, RC_INVALID_PARAMETER},
              {255, 0xFFFFFFF2u, RC_INVALID_PARAMETER}, {256, 1, RC_INVALID_PARAMETER},
              {0xFFFFFFFFu, 2, RC_INVALID_PARAMETER},   {255, 1, RC_SUCCESS}};
  for (const auto &c : gets)
    EXPECT_EQ(V_GetBitmapColors(bm.get(), c.first, c.count, out), c.want)
        << c.first << " + " << c.count;
  EXPECT_EQ(V_PutBitmapColors(nullptr, 0, 1, mine), RC_INVALID_BITMAP);

  EXPECT_EQ(V_CompareBitmapToPalette(bm.get(), out, 2), 0);
  PaletteEntry same[256];
  V_GetBitmapColors(bm.get(), 0, 256, same);
  same[7].Reserved = 99;  // reserved bytes are not compared
  EXPECT_EQ(V_CompareBitmapToPalette(bm.get(), same, 300), 1);
}

TEST_F(PaletteBitmap, MissingPaletteIsMadeOnFirstPut) {
  V_SetBitmapNewPalette(bm.get(), nullptr, 0);
  EXPECT_EQ(bm->Palette, nullptr);
  EXPECT_EQ(bm->ColorCount, 256) << "untouched";
  const PaletteEntry one = {9, 9, 9, 0};
  ASSERT_EQ(V_PutBitmapColors(bm.get(), 3, 1, &one), RC_SUCCESS);
  PaletteEntry out[4];
  ASSERT_EQ(V_GetBitmapColors(bm.get(), 0, 4, out), RC_SUCCESS);
  EXPECT_EQ(out[0].Blue, 0) << "zeroed";
  EXPECT_EQ(out[3].Blue, 9);
}

TEST_F(PaletteBitmap, CopyAndReplace) {
  OwnedBitmap other;
  ASSERT_EQ(V_InitBitmap(other.get(), BITMAPHANDLE_SIZE, 2, 2, 4), RC_SUCCESS);
  EXPECT_EQ(V_CopyBitmapPalette(other.get(), bm.get()), RC_SUCCESS);
  EXPECT_EQ(other->ColorCount, 256);
  EXPECT_NE(other->Palette, bm->Palette);
  EXPECT_EQ(V_CompareBitmapToPalette(other.get(), bm->Palette, 256), 1);
  EXPECT_EQ(V_CopyBitmapPalette(bm.get(), bm.get()), RC_SUCCESS) << "a bitmap onto itself";
  EXPECT_EQ(V_CompareBitmapToPalette(bm.get(), other->Palette, 256), 1);

  BitmapHandle none;
  ASSERT_EQ(V_InitBitmap(&none, BITMAPHANDLE_SIZE, 2, 2, 24), RC_SUCCESS);
  EXPECT_EQ(V_CopyBitmapPalette(other.get(), &none), RC_SUCCESS);
  EXPECT_EQ(other->Palette, nullptr);
  EXPECT_EQ(other->ColorCount, 0);
  none.StructSize = 0;
  EXPECT_EQ(V_CopyBitmapPalette(other.get(), &none), RC_INVALID_STRUCT_SIZE);
  EXPECT_EQ(V_CopyBitmapPalette(nullptr, bm.get()), RC_INVALID_PARAMETER);

  EXPECT_EQ(V_SetBitmapNewPalette(bm.get(), V_IntGetFixedPalette(4), 16), RC_SUCCESS);
  EXPECT_EQ(bm->ColorCount, 16);
  EXPECT_EQ(V_SetBitmapNewPalette(bm.get(), V_IntGetFixedPalette(4), 0), 0);
  EXPECT_EQ(bm->Palette, nullptr) << "the old palette is gone, the copy failed";
  EXPECT_EQ(V_SetBitmapNewPalette(nullptr, nullptr, 0), RC_INVALID_PARAMETER);
}

TEST_F(PaletteBitmap, PaletteObjects) {
  VPalette palette = V_CreatePalette(V_IntGetFixedPalette(4), 16);
  ASSERT_NE(palette, nullptr);
  EXPECT_EQ(V_GetPaletteSize(palette), 16u);
  PaletteEntry out[16];
  EXPECT_EQ(V_GetPaletteEntries(palette, 10, 10, out), 6u);
  EXPECT_EQ(std::memcmp(out, V_IntGetFixedPalette(4) + 10, 6 * sizeof(PaletteEntry)), 0);
  const PaletteEntry mark = {1, 2, 3, 4};
  EXPECT_EQ(V_SetPaletteEntries(palette, 15, 5, &mark), 1u);
  VPalette copy = V_DupPalette(palette);
  EXPECT_EQ(V_GetPaletteEntries(copy, 15, 1, out), 1u);
  EXPECT_EQ(std::memcmp(out, &mark, sizeof mark), 0);

  EXPECT_EQ(V_SetBitmapPalette(bm.get(), copy), RC_SUCCESS);
  EXPECT_EQ(bm->ColorCount, 16);
  VPalette from_bitmap = V_DupBitmapPalette(bm.get());
  EXPECT_EQ(V_GetPaletteSize(from_bitmap), 16u);

  VPalette tiny = V_CreatePalette(&mark, 1);
  EXPECT_EQ(V_SetBitmapPalette(bm.get(), tiny), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_SetBitmapPalette(bm.get(), nullptr), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_SetBitmapPalette(nullptr, palette), RC_INVALID_BITMAP);
  vxkrn::testing::fail_nth_allocation(1, vxkrn_test::kBothHeaps);
  EXPECT_EQ(V_SetBitmapPalette(bm.get(), palette), RC_NO_MEMORY);
  vxkrn::testing::fail_nth_allocation(0, 0);
  EXPECT_EQ(bm->Palette, nullptr) << "freed before the failed copy";

  EXPECT_EQ(V_CreatePalette(nullptr, 4), nullptr);
  EXPECT_EQ(V_CreatePalette(out, 257), nullptr);
  EXPECT_EQ(V_DupPalette(V_CreateSystemPalette()), nullptr);
  EXPECT_EQ(V_GetPaletteEntries(nullptr, 0, 1, out), 0u);
  for (VPalette p : {palette, copy, from_bitmap, tiny})
    V_DeletePalette(p);
}

}  // namespace
