// Rectangle copies and trimming against a reference that moves pixels one by
// one, at every depth and over random rectangles, in and out of the source.
#include <random>
#include <vector>

#include "support/test_support.h"

namespace {

using vxkrn_test::get_pixel;
using vxkrn_test::make_bitmap;
using vxkrn_test::OwnedBitmap;
using vxkrn_test::random_rows;
using vxkrn_test::read_rows;
using vxkrn_test::set_pixel;
using vxkrn_test::write_rows;

const int32_t kDepths[] = {1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64};

struct Rect {
  int32_t left, top, width, height;
};

// The rectangle of the source's rows, pixel by pixel; outside the source 0.
std::vector<uint8_t> reference(const std::vector<uint8_t> &source, int32_t source_width,
                               int32_t source_height, int32_t bits, const Rect &r) {
  const auto in_stride = static_cast<size_t>((int64_t{source_width} * bits + 31) / 32 * 4);
  const auto out_stride = static_cast<size_t>((int64_t{r.width} * bits + 31) / 32 * 4);
  std::vector<uint8_t> out(out_stride * static_cast<size_t>(r.height));
  for (int64_t y = 0; y < r.height; ++y)
    for (int64_t x = 0; x < r.width; ++x) {
      const int64_t sx = x + r.left, sy = y + r.top;
      if (sx < 0 || sy < 0 || sx >= source_width || sy >= source_height) continue;
      set_pixel(out.data() + y * out_stride, bits, x,
                get_pixel(source.data() + sy * in_stride, bits, sx));
    }
  return out;
}

class CopyRect : public vxkrn_test::TempDirTest {};

TEST_F(CopyRect, MatchesThePixelReferenceAtEveryDepth) {
  std::mt19937 random(2024);
  auto between = [&](int64_t low, int64_t high) {
    return static_cast<int32_t>(low + static_cast<int64_t>(random() % uint64_t(high - low + 1)));
  };
  for (int32_t bits : kDepths) {
    for (int trial = 0; trial < 40; ++trial) {
      // Mostly memory; every fifth source on disk (and compressed for 1 bit).
      int32_t type = MEM_NO_DISK;
      if (trial % 5 == 4) type = bits == 1 && trial % 10 == 9 ? MEM_COMPRESSED : MEM_TEMP_FILE;
      const int32_t w = between(1, 45), h = between(1, 9);
      const Rect r{between(-w - 2, w + 2), between(-h - 2, h + 2), between(1, 2 * w + 3),
                   between(1, 2 * h + 3)};
      SCOPED_TRACE(::testing::Message()
                   << bits << " bits, " << w << "x" << h << " source, rect " << r.left << ","
                   << r.top << " " << r.width << "x" << r.height << ", type " << type);
      OwnedBitmap source, result;
      make_bitmap(source.bm, w, h, bits, type);
      const std::vector<uint8_t> pixels = random_rows(source.bm, uint32_t(trial));
      write_rows(source.bm, pixels);
      const ResultCode rc = trial % 2
                                ? V_CopyBitmapRect(result.get(), source.get(), BITMAPHANDLE_SIZE,
                                                   r.left, r.top, r.width, r.height)
                                : V_CopyBitmapRect2(result.get(), source.get(), BITMAPHANDLE_SIZE,
                                                    r.left, r.top, r.width, r.height, MEM_NO_DISK);
      ASSERT_EQ(rc, RC_SUCCESS);
      ASSERT_EQ(result->Width, r.width);
      ASSERT_EQ(result->Height, r.height);
      EXPECT_EQ(read_rows(result.bm), reference(pixels, w, h, bits, r));
      EXPECT_EQ(read_rows(source.bm), pixels);
    }
  }
}

TEST_F(CopyRect, APageSizedUnalignedStripMatchesTheReference) {
  for (int32_t bits : {1, 4, 12}) {
    OwnedBitmap source, result;
    make_bitmap(source.bm, 2000, 3, bits, MEM_NO_DISK);
    const std::vector<uint8_t> pixels = random_rows(source.bm, 11);
    write_rows(source.bm, pixels);
    for (int32_t left : {1, 3, 5, 7, 13, -1, -3, -6}) {
      const Rect r{left, 1, 1500, 2};
      ASSERT_EQ(V_CopyBitmapRect(result.get(), source.get(), BITMAPHANDLE_SIZE, r.left, r.top,
                                 r.width, r.height),
                RC_SUCCESS);
      EXPECT_EQ(read_rows(result.bm), reference(pixels, 2000, 3, bits, r)) << bits << " " << left;
      V_FreeBitmap(result.get());
    }
  }
}

// In place, a rectangle that misses the source leaves it as it was, and
// nothing is left over.
TEST_F(CopyRect, ARectangleThatMissesTheSourceLeavesItInPlace) {
  OwnedBitmap source;
  make_bitmap(source.bm, 10, 10, 8, MEM_NO_DISK);
  const std::vector<uint8_t> pixels = random_rows(source.bm, 2);
  write_rows(source.bm, pixels);
  ASSERT_EQ(V_CopyBitmapRect(nullptr, source.get(), BITMAPHANDLE_SIZE, -20, 0, 5, 5), RC_SUCCESS);
  EXPECT_EQ(source->Width, 10);
  EXPECT_EQ(read_rows(source.bm), pixels);
}

TEST_F(CopyRect, TrimKeepsTheClippedRectangleInPlace) {
  for (int32_t type : {MEM_NO_DISK, MEM_TEMP_FILE, MEM_COMPRESSED}) {
    OwnedBitmap bm;
    make_bitmap(bm.bm, 61, 17, 1, type);
    const std::vector<uint8_t> pixels = random_rows(bm.bm, 3);
    write_rows(bm.bm, pixels);
    ASSERT_EQ(V_TrimBitmap(bm.get(), -4, 5, 30, 100), RC_SUCCESS);
    EXPECT_EQ(bm->Width, 26);
    EXPECT_EQ(bm->Height, 12);
    EXPECT_EQ(read_rows(bm.bm), reference(pixels, 61, 17, 1, Rect{0, 5, 26, 12}));
    EXPECT_EQ(bm->Flags & (FLAG_DISK | FLAG_COMPRESSED), type == MEM_TEMP_FILE    ? FLAG_DISK
                                                         : type == MEM_COMPRESSED ? FLAG_COMPRESSED
                                                                                  : 0u);
  }
}

ResultCode stop_at_third(int32_t percent, void *user) {
  auto &calls = *static_cast<int *>(user);
  ++calls;
  (void)percent;
  return calls == 3 ? -100 : RC_SUCCESS;
}

TEST_F(CopyRect, AnAbortedTrimStillTakesThePartlyCopiedBitmap) {
  OwnedBitmap bm;
  make_bitmap(bm.bm, 20, 10, 8, MEM_NO_DISK);
  const std::vector<uint8_t> pixels = random_rows(bm.bm, 4);
  write_rows(bm.bm, pixels);
  int calls = 0;
  V_SetCopyStatusCallBack(&stop_at_third, &calls, nullptr, nullptr);
  const ResultCode rc = V_TrimBitmap(bm.get(), 2, 0, 12, 10);
  V_SetCopyStatusCallBack(nullptr, nullptr, nullptr, nullptr);
  ASSERT_EQ(rc, -100);
  // Calls 0, 10 and 20 percent: two rows were copied before the stop.
  ASSERT_EQ(bm->Width, 12);
  std::vector<uint8_t> want = reference(pixels, 20, 10, 8, Rect{2, 0, 12, 10});
  std::fill(want.begin() + 2 * bm->BytesPerLine, want.end(), 0);
  EXPECT_EQ(read_rows(bm.bm), want);
}

TEST_F(CopyRect, AFailedCopyLeavesTheSourceAndNoStorage) {
  OwnedBitmap source;
  make_bitmap(source.bm, 33, 6, 4, MEM_NO_DISK);
  const std::vector<uint8_t> pixels = random_rows(source.bm, 6);
  write_rows(source.bm, pixels);
  vxkrn_test::sweep_allocation_failures(vxkrn_test::kBothHeaps, [&](unsigned) {
    OwnedBitmap result;
    const BitmapHandle before = source.bm;
    ResultCode rc =
        V_CopyBitmapRect2(result.get(), source.get(), BITMAPHANDLE_SIZE, 3, 1, 20, 4, MEM_NO_DISK);
    if (rc != RC_SUCCESS) {
      EXPECT_EQ(rc, RC_NO_MEMORY);
      EXPECT_FALSE(result->Flags & FLAG_ALLOCATED);
    }
    rc = V_TrimBitmap(source.get(), 1, 1, 31, 4);
    vxkrn_test::stop_failing();
    if (rc == RC_SUCCESS) {
      EXPECT_EQ(read_rows(source.bm), reference(pixels, 33, 6, 4, Rect{1, 1, 31, 4}));
      // Back to the original for the next round.
      V_FreeBitmap(source.get());
      make_bitmap(source.bm, 33, 6, 4, MEM_NO_DISK);
      write_rows(source.bm, pixels);
    } else {
      EXPECT_EQ(rc, RC_NO_MEMORY);
      EXPECT_TRUE(vxkrn_test::same_bytes(source.bm, before));
    }
  });
}

TEST_F(CopyRect, BadArgumentsGiveTheirCodes) {
  OwnedBitmap good, unallocated, out;
  make_bitmap(good.bm, 8, 8, 8, MEM_NO_DISK);
  ASSERT_EQ(V_InitBitmap(unallocated.get(), BITMAPHANDLE_SIZE, 8, 8, 8), RC_SUCCESS);
  const uint32_t S = BITMAPHANDLE_SIZE;
  struct Case {
    const char *what;
    ResultCode got, want;
  } cases[] = {
      {"rect null source", V_CopyBitmapRect(out.get(), nullptr, S, 0, 0, 1, 1),
       RC_INVALID_PARAMETER},
      {"rect unallocated", V_CopyBitmapRect(out.get(), unallocated.get(), S, 0, 0, 1, 1),
       RC_INVALID_PARAMETER},
      {"rect bad size", V_CopyBitmapRect(out.get(), good.get(), 7, 0, 0, 1, 1),
       RC_INVALID_STRUCT_SIZE},
      {"rect2 bad type", V_CopyBitmapRect2(out.get(), good.get(), S, 0, 0, 1, 1, 3),
       RC_INVALID_PARAMETER},
      {"trim null", V_TrimBitmap(nullptr, 0, 0, 1, 1), RC_INVALID_PARAMETER},
      {"trim unallocated", V_TrimBitmap(unallocated.get(), 0, 0, 1, 1), RC_INVALID_PARAMETER},
      {"trim left beyond", V_TrimBitmap(good.get(), 9, 0, 1, 1), RC_EMPTY_AREA},
      {"trim above", V_TrimBitmap(good.get(), 0, -5, 1, 3), RC_EMPTY_AREA},
      // Clipped to a zero width: not refused by the trim, but by the result.
      {"trim to the edge", V_TrimBitmap(good.get(), 8, 0, 5, 5), RC_EMPTY_AREA},
      {"rect negative width", V_CopyBitmapRect(out.get(), good.get(), S, 0, 0, -1, 1),
       RC_INVALID_PARAMETER},
  };
  for (const Case &c : cases)
    EXPECT_EQ(c.got, c.want) << c.what;
  EXPECT_FALSE(out->Flags & FLAG_ALLOCATED);
  EXPECT_EQ(good->Width, 8);
}

}  // namespace
