// Rectangle copies and trimming against a reference that moves pixels one by
// one: every depth, random rectangles in and out of the source, any storage.
#include <algorithm>
#include <random>

#include "support/test_support.h"

namespace {

using namespace vxkrn_test;
constexpr uint32_t S = BITMAPHANDLE_SIZE;

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

class CopyRect : public TempDirTest {};

// Sources mostly in memory, every fifth on disk (or compressed at 1 bit),
// every eighth page-wide so that rows span many words; copied out, then
// trimmed in place.
TEST_F(CopyRect, MatchesThePixelReferenceAtEveryDepth) {
  std::mt19937 random(2024);
  auto between = [&](int64_t low, int64_t high) {
    return static_cast<int32_t>(low + static_cast<int64_t>(random() % uint64_t(high - low + 1)));
  };
  for (int32_t bits : {1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64}) {
    for (int trial = 0; trial < 40; ++trial) {
      int32_t type = MEM_NO_DISK;
      if (trial % 5 == 4) type = bits == 1 && trial % 10 == 9 ? MEM_COMPRESSED : MEM_TEMP_FILE;
      const int32_t w = trial % 8 == 7 ? between(1500, 2000) : between(1, 45), h = between(1, 9);
      const Rect r{between(-w - 2, w + 2), between(-h - 2, h + 2), between(1, 2 * w + 3),
                   between(1, 2 * h + 3)};
      SCOPED_TRACE(::testing::Message()
                   << bits << " bits, " << w << "x" << h << " source, rect " << r.left << ","
                   << r.top << " " << r.width << "x" << r.height << ", type " << type);
      OwnedBitmap source, result;
      make_bitmap(source.bm, w, h, bits, type);
      const std::vector<uint8_t> pixels = random_rows(source.bm, uint32_t(trial));
      write_rows(source.bm, pixels);
      ASSERT_EQ(trial % 2 ? V_CopyBitmapRect(result.get(), source.get(), S, r.left, r.top, r.width,
                                             r.height)
                          : V_CopyBitmapRect2(result.get(), source.get(), S, r.left, r.top, r.width,
                                              r.height, MEM_NO_DISK),
                RC_SUCCESS);
      ASSERT_TRUE(result->Width == r.width && result->Height == r.height);
      EXPECT_EQ(read_rows(result.bm), reference(pixels, w, h, bits, r));
      EXPECT_EQ(read_rows(source.bm), pixels);
      // In place: the clipped rectangle in the source's storage, or the
      // source as it was when the rectangle misses it.
      const int32_t info = memory_info(source.bm), left = std::max(r.left, 0),
                    top = std::max(r.top, 0);
      const Rect clip{left, top, std::min(r.left + r.width, w) - left,
                      std::min(r.top + r.height, h) - top};
      const bool misses = clip.width < 1 || clip.height < 1;
      ASSERT_EQ(misses
                    ? V_CopyBitmapRect(nullptr, source.get(), S, r.left, r.top, r.width, r.height)
                    : V_TrimBitmap(source.get(), r.left, r.top, r.width, r.height),
                RC_SUCCESS);
      EXPECT_EQ(read_rows(source.bm), misses ? pixels : reference(pixels, w, h, bits, clip));
      EXPECT_EQ(memory_info(source.bm), info);
    }
  }
}

ResultCode stop_at_third(int32_t, void *user) {
  return ++*static_cast<int *>(user) == 3 ? -100 : RC_SUCCESS;
}

// Stopped at the third report (0, 10 and 20 percent), after two rows.
TEST_F(CopyRect, AnAbortedTrimStillTakesThePartlyCopiedBitmap) {
  OwnedBitmap bm;
  make_bitmap(bm.bm, 20, 10, 8, MEM_NO_DISK);
  const std::vector<uint8_t> pixels = random_rows(bm.bm, 4);
  write_rows(bm.bm, pixels);
  int calls = 0;
  V_SetCopyStatusCallBack(&stop_at_third, &calls, nullptr, nullptr);
  const ResultCode rc = V_TrimBitmap(bm.get(), 2, 0, 12, 10);
  V_SetCopyStatusCallBack(nullptr, nullptr, nullptr, nullptr);
  ASSERT_TRUE(rc == -100 && bm->Width == 12);
  std::vector<uint8_t> want = reference(pixels, 20, 10, 8, Rect{2, 0, 12, 10});
  std::fill(want.begin() + 2 * bm->BytesPerLine, want.end(), 0);
  EXPECT_EQ(read_rows(bm.bm), want);
}

TEST_F(CopyRect, AFailedCopyLeavesTheSourceAndNoStorage) {
  OwnedBitmap source;
  make_bitmap(source.bm, 33, 6, 4, MEM_NO_DISK);
  const std::vector<uint8_t> pixels = random_rows(source.bm, 6);
  write_rows(source.bm, pixels);
  sweep_allocation_failures(kBothHeaps, [&](unsigned) {
    OwnedBitmap result;
    const BitmapHandle before = source.bm;
    ResultCode rc = V_CopyBitmapRect2(result.get(), source.get(), S, 3, 1, 20, 4, MEM_NO_DISK);
    if (rc != RC_SUCCESS) {
      EXPECT_EQ(rc, RC_NO_MEMORY);
      EXPECT_FALSE(result->Flags & FLAG_ALLOCATED);
    }
    rc = V_TrimBitmap(source.get(), 1, 1, 31, 4);
    stop_failing();
    if (rc == RC_SUCCESS) {
      EXPECT_EQ(read_rows(source.bm), reference(pixels, 33, 6, 4, Rect{1, 1, 31, 4}));
      // Back to the original for the next round.
      V_FreeBitmap(source.get());
      make_bitmap(source.bm, 33, 6, 4, MEM_NO_DISK);
      write_rows(source.bm, pixels);
    } else {
      EXPECT_EQ(rc, RC_NO_MEMORY);
      EXPECT_TRUE(same_bytes(source.bm, before));
    }
  });
}

// A trim clipped to nothing is an empty area, whether the rectangle misses
// the bitmap or is cut to a zero width by its edge.
TEST_F(CopyRect, BadArgumentsGiveTheirCodes) {
  OwnedBitmap good, out;
  make_bitmap(good.bm, 8, 8, 8, MEM_NO_DISK);
  for (const Rect r : {Rect{9, 0, 1, 1}, Rect{0, -5, 1, 3}, Rect{8, 0, 5, 5}})
    EXPECT_EQ(V_TrimBitmap(good.get(), r.left, r.top, r.width, r.height), RC_EMPTY_AREA) << r.left;
  EXPECT_EQ(V_CopyBitmapRect(out.get(), good.get(), S, 0, 0, -1, 1), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_CopyBitmapRect2(out.get(), good.get(), S, 0, 0, 1, 1, 3), RC_INVALID_PARAMETER);
  EXPECT_FALSE(out->Flags & FLAG_ALLOCATED);
  EXPECT_EQ(good->Width, 8);
}

}  // namespace
