// Record initialisation, copying, size and gray-description helpers.
#include <cstring>

#include "support/test_support.h"

namespace {

using vxkrn_test::LeakCheckedTest;
using vxkrn_test::same_bytes;

bool accepted_depth(int bits) {
  return (bits >= 1 && bits <= 8) || bits == 12 || bits == 16 || bits == 24 || bits == 32 ||
         bits == 48 || bits == 64;
}

TEST(InitBitmap, AcceptsExactlyTheBitmapDepths) {
  for (int bits = -1; bits <= 70; ++bits) {
    BitmapHandle bm;
    std::memset(&bm, 0xAB, sizeof bm);
    const ResultCode rc = V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 10, 3, bits);
    EXPECT_EQ(rc, accepted_depth(bits) ? RC_SUCCESS : RC_INVALID_BITS_PER_PIXEL) << bits;
    EXPECT_EQ(bm.StructSize, BITMAPHANDLE_SIZE) << bits;
    if (rc != RC_SUCCESS) {
      EXPECT_EQ(bm.Width, 0) << "rejected record is left zeroed";
    }
  }
}

// Fields a new record gets per depth.
struct DepthCase {
  int bits;
  int order;
  int color_count;
  int high_bit;  // HighBit and MaxBit
};

TEST(InitBitmap, SetsDepthDependentFields) {
  const DepthCase cases[] = {
      {1, ORDER_RGB, 2, 0},   {2, ORDER_RGB, 4, 1},   {3, ORDER_RGB, 8, 2},
      {4, ORDER_RGB, 16, 3},  {5, ORDER_RGB, 32, 4},  {6, ORDER_RGB, 64, 5},
      {7, ORDER_RGB, 128, 6}, {8, ORDER_RGB, 256, 7}, {12, ORDER_GRAY, 0, 11},
      {16, ORDER_BGR, 0, 15}, {24, ORDER_BGR, 0, 7},  {32, ORDER_BGR, 0, -1},
      {48, ORDER_BGR, 0, 15}, {64, ORDER_BGR, 0, 15},
  };
  for (const DepthCase &c : cases) {
    SCOPED_TRACE(c.bits);
    BitmapHandle bm;
    ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 7, 5, c.bits), RC_SUCCESS);
    EXPECT_EQ(bm.Order, c.order);
    EXPECT_EQ(bm.ColorCount, c.color_count);
    EXPECT_EQ(bm.HighBit, c.high_bit);
    EXPECT_EQ(bm.MaxBit, c.high_bit);
    EXPECT_EQ(bm.LowBit, 0);
    EXPECT_EQ(bm.MinBit, 0);
    EXPECT_EQ(bm.ViewPerspective, 4);
    EXPECT_EQ(bm.PaintScale, 100);
    EXPECT_EQ(bm.Flags, 0u);
    EXPECT_EQ(bm.Size, static_cast<uint32_t>(bm.BytesPerLine) * 5u);
  }
}

TEST(InitBitmap, PadsRowsToFourBytes) {
  struct {
    int width, bits, stride;
  } const cases[] = {{1, 1, 4},  {32, 1, 4},   {33, 1, 8}, {3, 24, 12}, {5, 12, 8},
                     {1, 12, 4}, {10, 64, 80}, {7, 3, 4},  {11, 3, 8},  {1, 48, 8},
                     {0, 8, 0},  {4, 8, 4},    {5, 8, 8},  {2, 16, 4},  {3, 32, 12}};
  for (const auto &c : cases) {
    BitmapHandle bm;
    ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, c.width, 2, c.bits), RC_SUCCESS);
    EXPECT_EQ(bm.BytesPerLine, c.stride) << c.width << " x " << c.bits;
  }
}

TEST(InitBitmap, EmptyRecordHasOnlyItsSize) {
  BitmapHandle bm;
  std::memset(&bm, 0x5A, sizeof bm);
  ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 0, 0, 0), RC_SUCCESS);
  BitmapHandle expected{};
  expected.StructSize = BITMAPHANDLE_SIZE;
  EXPECT_TRUE(same_bytes(bm, expected));
}

TEST(InitBitmap, EnforcesTheSizeCap) {
  BitmapHandle bm;
  // 65536 bytes x 65535 rows is exactly the cap.
  ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 65536, 65535, 8), RC_SUCCESS);
  EXPECT_EQ(bm.Size, BITMAP_SIZE_CAP);
  // Four bytes more per row (the next stride) is over it: zeroed, size included.
  EXPECT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 65537, 65535, 8), RC_IMAGE_TOO_LARGE);
  EXPECT_TRUE(same_bytes(bm, BitmapHandle{}));
  // Products beyond 32 bits, and strides beyond a signed 32-bit field.
  EXPECT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 0x7FFFFFFF, 0x7FFFFFFF, 64), RC_IMAGE_TOO_LARGE);
  EXPECT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 0x7FFFFFFF, 0, 64), RC_IMAGE_TOO_LARGE);
}

TEST(InitBitmap, RejectsBadArgumentsInOrder) {
  BitmapHandle bm;
  std::memset(&bm, 0x11, sizeof bm);
  const BitmapHandle before = bm;
  EXPECT_EQ(V_InitBitmap(nullptr, BITMAPHANDLE_SIZE, 1, 1, 8), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE - 1, 1, 1, 8), RC_INVALID_STRUCT_SIZE);
  EXPECT_TRUE(same_bytes(bm, before)) << "a wrong size leaves the record alone";
  EXPECT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 5, 0, 0), RC_INVALID_BITS_PER_PIXEL);
  EXPECT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, -1, 5, 8), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 5, -1, 8), RC_INVALID_PARAMETER);
}

TEST(InitBitmap, TakesThreadDefaults) {
  vxkrn_test::on_new_thread([] {
    BitmapHandle bm;
    V_SetDefaultXResolution(0);
    V_SetDefaultYResolution(300);
    ASSERT_EQ(V_DefaultDithering(3), RC_SUCCESS);
    ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 1, 1, 1), RC_SUCCESS);
    EXPECT_EQ(bm.XResolution, 150) << "a default below 1 gives 150";
    EXPECT_EQ(bm.YResolution, 300);
    EXPECT_EQ(bm.DitheringMethod, 3);
  });
}

TEST(CopyBitmapHandle, CopiesWholeRecordOrNothing) {
  BitmapHandle src, dst;
  ASSERT_EQ(V_InitBitmap(&src, BITMAPHANDLE_SIZE, 9, 9, 24), RC_SUCCESS);
  src.Extension = &src;
  std::memset(&dst, 0x77, sizeof dst);
  const BitmapHandle untouched = dst;

  EXPECT_EQ(V_CopyBitmapHandle(nullptr, &src, BITMAPHANDLE_SIZE), RC_SUCCESS);
  EXPECT_EQ(V_CopyBitmapHandle(&dst, nullptr, BITMAPHANDLE_SIZE), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_CopyBitmapHandle(&dst, &src, BITMAPHANDLE_SIZE + 1), RC_INVALID_STRUCT_SIZE);
  src.StructSize = BITMAPHANDLE_SIZE - 1;
  EXPECT_EQ(V_CopyBitmapHandle(&dst, &src, BITMAPHANDLE_SIZE), RC_INVALID_STRUCT_SIZE);
  EXPECT_TRUE(same_bytes(dst, untouched));
  src.StructSize = BITMAPHANDLE_SIZE;
  EXPECT_EQ(V_CopyBitmapHandle(&dst, &src, BITMAPHANDLE_SIZE), RC_SUCCESS);
  EXPECT_TRUE(same_bytes(dst, src));
}

class BitmapRecord : public LeakCheckedTest {};

TEST_F(BitmapRecord, UpdateBitmapSizeRecomputesFromGeometry) {
  vxkrn_test::OwnedBitmap bm;
  EXPECT_EQ(V_UpdateBitmapSize(nullptr), RC_INVALID_PARAMETER);
  ASSERT_EQ(V_InitBitmap(bm.get(), BITMAPHANDLE_SIZE, 10, 10, 8), RC_SUCCESS);
  EXPECT_EQ(V_UpdateBitmapSize(bm.get()), RC_INVALID_BITMAP);
  ASSERT_EQ(V_AllocateBitmap(bm.get(), MEM_CONVENTIONAL), RC_SUCCESS);
  const uint32_t offset = bm->AlignOffset;
  ASSERT_EQ(V_ChangeBitmapHeight(bm.get(), 20), RC_SUCCESS);
  EXPECT_EQ(bm->Size, 12u * 20u + offset) << "a height change counts the offset";
  EXPECT_EQ(V_UpdateBitmapSize(bm.get()), RC_SUCCESS);
  EXPECT_EQ(bm->Size, 12u * 20u);
  bm->StructSize = 0;
  EXPECT_EQ(V_UpdateBitmapSize(bm.get()), RC_INVALID_STRUCT_SIZE);
  bm->StructSize = BITMAPHANDLE_SIZE;
}

TEST(LutLength, FollowsTheActiveGrayDescription) {
  PaletteEntry lut[1];
  struct Case {
    int bits, order;
    bool has_lut, low_high;
    int low, high, min_bit, max_bit;
    uint32_t length;
    int valid;
  } const cases[] = {
      {8, ORDER_RGB, true, true, 0, 7, 0, 7, 3, 1},      // not gray: always valid
      {16, ORDER_GRAY, false, true, 0, 7, 0, 7, 3, 1},   // no table
      {16, ORDER_GRAY, true, true, 0, 7, 0, 0, 256, 1},  // LowBit..HighBit
      {16, ORDER_GRAY, true, true, 0, 7, 0, 0, 255, 0},
      {16, ORDER_GRAY, true, true, 4, 11, 0, 0, 256, 1},
      {12, ORDER_GRAY, true, true, 0, -1, 0, 0, 4096, 1},  // -1: BitsPerPixel - 1
      {16, ORDER_GRAY, true, false, 0, 7, 0, 9, 1024, 1},  // MinBit..MaxBit
      {16, ORDER_GRAY, true, false, 0, 7, 0, 9, 256, 0},
      {16, ORDER_GRAY, true, false, 0, 0, 9, 3, 1, 0},   // inverted range
      {64, ORDER_GRAY, true, false, 0, 0, 0, 40, 0, 0},  // wider than 32 bits
  };
  for (const Case &c : cases) {
    BitmapHandle bm;
    ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 1, 1, c.bits), RC_SUCCESS);
    bm.Order = c.order;
    bm.LUT = c.has_lut ? lut : nullptr;
    bm.Flags = c.low_high ? FLAG_USE_LOW_HIGH : 0;
    bm.LowBit = c.low;
    bm.HighBit = c.high;
    bm.MinBit = c.min_bit;
    bm.MaxBit = c.max_bit;
    bm.LUTLength = c.length;
    EXPECT_EQ(V_IsBitmapLUTLengthValid(&bm), c.valid)
        << c.bits << " bits, length " << c.length << (c.low_high ? " low/high" : " min/max");
  }
  EXPECT_EQ(V_IsBitmapLUTLengthValid(nullptr), 0);
}

TEST_F(BitmapRecord, FreeGrayParamsReleasesBothTables) {
  BitmapHandle bm;
  ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 4, 4, 16), RC_SUCCESS);
  bm.LUT = static_cast<PaletteEntry *>(V_GlobalAlloc(256, sizeof(PaletteEntry)));
  bm.LUTLength = 256;
  bm.MapTable = static_cast<uint8_t *>(V_GlobalAlloc(256, 1));
  EXPECT_EQ(V_FreeGrayParams(&bm), RC_SUCCESS);
  EXPECT_EQ(bm.LUT, nullptr);
  EXPECT_EQ(bm.MapTable, nullptr);
  EXPECT_EQ(V_FreeGrayParams(nullptr), RC_INVALID_PARAMETER);
}

TEST(PlaybackParms, CopiesTheSixWordsOnly) {
  BitmapHandle a, b;
  ASSERT_EQ(V_InitBitmap(&a, BITMAPHANDLE_SIZE, 4, 4, 8), RC_SUCCESS);
  ASSERT_EQ(V_InitBitmap(&b, BITMAPHANDLE_SIZE, 2, 2, 1), RC_SUCCESS);
  for (int i = 0; i < 6; ++i)
    a.Playback[i] = 100 + i;
  BitmapHandle expected = b;
  std::memcpy(expected.Playback, a.Playback, sizeof a.Playback);
  EXPECT_EQ(V_CopyPlaybackParms(&b, &a), RC_SUCCESS);
  EXPECT_TRUE(same_bytes(b, expected));
  EXPECT_EQ(V_CopyPlaybackParms(&b, nullptr), RC_INVALID_PARAMETER);
  a.StructSize = 1;
  EXPECT_EQ(V_CopyPlaybackParms(&b, &a), RC_INVALID_STRUCT_SIZE);
}

}  // namespace
