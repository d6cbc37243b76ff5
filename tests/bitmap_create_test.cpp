// One-call creation: palettes chosen by depth and arguments, orders, view
// perspectives, caller memory, and every allocation failing in turn.
#include <cstring>

#include "support/test_support.h"

namespace {

using vxkrn_test::OwnedBitmap;

class BitmapCreate : public vxkrn_test::TempDirTest {};

ResultCode create(BitmapHandle *bm, int32_t type, int bits, int order,
                  const PaletteEntry *palette = nullptr, int view = 0) {
  return V_CreateBitmap(bm, BITMAPHANDLE_SIZE, type, 17, 9, bits, order, palette, view, nullptr, 0);
}

TEST_F(BitmapCreate, DepthZeroMakesEightBitGray) {
  OwnedBitmap bm;
  ASSERT_EQ(create(bm.get(), MEM_CONVENTIONAL, 0, ORDER_BGR), RC_SUCCESS);
  EXPECT_EQ(bm->BitsPerPixel, 8);
  EXPECT_EQ(bm->Order, ORDER_RGB);
  ASSERT_EQ(bm->ColorCount, 256);
  for (int i = 0; i < 256; ++i)
    EXPECT_EQ(bm->Palette[i].Green, i);
  EXPECT_EQ(bm->ViewPerspective, 1) << "0 means 1";
}

TEST_F(BitmapCreate, NullPaletteGivesTheFixedPaletteByCount) {
  for (int bits = 1; bits <= 8; ++bits) {
    OwnedBitmap bm;
    ASSERT_EQ(create(bm.get(), MEM_CONVENTIONAL, bits, ORDER_RGB), RC_SUCCESS);
    // Four entries take the 2-entry table and run on into the 4-entry one.
    const PaletteEntry *table = V_IntGetFixedPalette(bits == 2 ? 1 : bits);
    EXPECT_EQ(std::memcmp(bm->Palette, table, sizeof(PaletteEntry) << bits), 0) << bits;
  }
}

TEST_F(BitmapCreate, CopiesTheCallersPalette) {
  PaletteEntry mine[16];
  for (int i = 0; i < 16; ++i)
    mine[i] = PaletteEntry{uint8_t(i), uint8_t(2 * i), 9, 1};
  OwnedBitmap bm;
  ASSERT_EQ(create(bm.get(), MEM_CONVENTIONAL, 4, ORDER_RGB, mine, 8), RC_SUCCESS);
  EXPECT_NE(bm->Palette, mine);
  EXPECT_EQ(std::memcmp(bm->Palette, mine, sizeof mine), 0);
  EXPECT_EQ(bm->ViewPerspective, 8);
}

TEST_F(BitmapCreate, OrdersAndViewPerspectives) {
  OwnedBitmap rgb;
  ASSERT_EQ(create(rgb.get(), MEM_CONVENTIONAL, 24, ORDER_RGB), RC_SUCCESS);
  EXPECT_EQ(rgb->Order, ORDER_RGB);
  OwnedBitmap matrix;
  EXPECT_EQ(create(matrix.get(), MEM_CONVENTIONAL, 48, ORDER_MATRIX), RC_SUCCESS);
  for (int bits : {8, 16, 32}) {
    OwnedBitmap bm;
    EXPECT_EQ(create(bm.get(), MEM_CONVENTIONAL, bits, ORDER_MATRIX), RC_INVALID_BITS_PER_PIXEL);
    EXPECT_FALSE(bm->Flags & FLAG_ALLOCATED);
  }
  for (int view : {9, -1}) {
    OwnedBitmap bm;
    EXPECT_EQ(create(bm.get(), MEM_CONVENTIONAL, 8, ORDER_RGB, nullptr, view),
              RC_INVALID_PARAMETER);
    EXPECT_TRUE(bm->Flags & FLAG_ALLOCATED) << "left allocated for the caller to free";
  }
}

TEST_F(BitmapCreate, RejectsBadRecordsAndPassesOnFailures) {
  BitmapHandle bm{};
  EXPECT_EQ(V_CreateBitmap(nullptr, BITMAPHANDLE_SIZE, 1, 1, 1, 1, 0, nullptr, 0, nullptr, 0),
            RC_INVALID_PARAMETER);
  EXPECT_EQ(V_CreateBitmap(&bm, BITMAPHANDLE_SIZE + 4, 1, 1, 1, 1, 0, nullptr, 0, nullptr, 0),
            RC_INVALID_STRUCT_SIZE);
  EXPECT_EQ(create(&bm, MEM_CONVENTIONAL, 9, 0), RC_INVALID_BITS_PER_PIXEL);
  EXPECT_EQ(create(&bm, 3, 8, 0), RC_INVALID_PARAMETER);
  EXPECT_FALSE(bm.Flags & FLAG_ALLOCATED);
  EXPECT_EQ(bm.Width, 17) << "the record stays initialised";
}

// Orders outside RGB, BGR, gray and the matrix space are refused at every
// depth before anything is allocated.
TEST_F(BitmapCreate, UnknownOrdersAreRefused) {
  for (int32_t order : {-1, 3, 4, 6, 77}) {
    for (int32_t bits : {1, 8, 16, 24}) {
      BitmapHandle bm{};
      EXPECT_EQ(create(&bm, MEM_CONVENTIONAL, bits, order, nullptr), RC_INVALID_PARAMETER)
          << order << " at " << bits;
      EXPECT_FALSE(bm.Flags & FLAG_ALLOCATED);
      V_FreeBitmap(&bm);
    }
  }
}

TEST_F(BitmapCreate, EveryAllocationFailureIsReportedAndLeaksNothing) {
  PaletteEntry mine[4] = {};
  struct Case {
    int bits;
    const PaletteEntry *palette;
  } const cases[] = {{0, nullptr}, {2, nullptr}, {2, mine}, {24, nullptr}};
  for (const Case &c : cases) {
    SCOPED_TRACE(c.bits);
    vxkrn_test::sweep_allocation_failures(vxkrn_test::kBothHeaps, [&c](unsigned nth) {
      BitmapHandle bm;
      const ResultCode rc = create(&bm, MEM_CONVENTIONAL, c.bits, ORDER_BGR, c.palette);
      const bool on_disk = nth == 2;  // the block: a temporary file stands in
      EXPECT_EQ(rc, nth == 0 || on_disk ? RC_SUCCESS : RC_NO_MEMORY);
      if (on_disk) {
        EXPECT_TRUE(bm.Flags & FLAG_DISK);
      }
      if (nth != 0 && !on_disk) {
        EXPECT_FALSE(bm.Flags & FLAG_ALLOCATED);
        EXPECT_EQ(bm.Palette, nullptr);
        EXPECT_EQ(bm.MapTable, nullptr);
      }
      V_FreeBitmap(&bm);
    });
  }
}

}  // namespace
