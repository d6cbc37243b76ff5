// Row, row-column, pixel-data and segment transfers on memory, disk and
// compressed storage against a plain image; a disk file cut short.
#include <unistd.h>

#include <random>

#include "core/storage.h"
#include "support/test_support.h"

namespace {

using namespace vxkrn_test;
using Bytes = std::vector<uint8_t>;

class RowAccess : public TempDirTest, public ::testing::WithParamInterface<int32_t> {};

// Every transfer at random places, checked after each against a plain image
// (compressed storage keeps no bits past the width: the model clears them).
TEST_P(RowAccess, TransfersMatchAPlainImage) {
  const bool compressed = GetParam() == MEM_COMPRESSED;
  std::mt19937 random{uint32_t(GetParam())};
  for (int bits : {1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64}) {
    if (compressed && bits != 1) continue;
    SCOPED_TRACE(bits);
    constexpr uint32_t kWidth = 77, kHeight = 5;
    OwnedBitmap bm;
    make_bitmap(bm.bm, kWidth, kHeight, bits, GetParam());
    V_AccessBitmap(bm.get());
    const uint32_t stride = uint32_t(bm->BytesPerLine), size = stride * kHeight;
    const auto byte_of = [bits](uint64_t c, int bit = 0) { return uint32_t((c * bits + bit) / 8); };
    Bytes image = fill_random_image(bm.bm, random());
    const auto clean = [&] {
      for (uint32_t y = 0; compressed && y < kHeight; ++y)
        for (uint32_t x = kWidth; x < stride * 8; ++x)
          set_pixel(image.data() + y * stride, 1, x, 0);
    };
    clean();
    ASSERT_EQ(read_image(bm.bm), image);
    for (int round = 0; round < 120; ++round) {
      const auto row = int32_t(random() % kHeight);
      const auto column = uint32_t(random() % kWidth);
      const uint32_t at = row * stride + byte_of(column);
      Bytes source(stride + 8);
      for (uint8_t &b : source)
        b = static_cast<uint8_t>(random());
      SCOPED_TRACE(::testing::Message() << "round " << round << ": " << row << ", " << column);
      if (round % 3 == 0) {  // bytes from a column on, possibly over several rows, and back
        const uint32_t count = 1 + random() % std::min(size - at, uint32_t(source.size()));
        ASSERT_EQ(V_PutBitmapRowCol(bm.get(), source.data(), row, int32_t(column), count),
                  int32_t(count));
        std::copy(source.begin(), source.begin() + count, image.begin() + at);
        clean();
        Bytes got(count);
        ASSERT_EQ(V_GetBitmapRowCol(bm.get(), got.data(), row, int32_t(column), count),
                  int32_t(count));
        ASSERT_TRUE(std::equal(got.begin(), got.end(), image.begin() + at));
      } else if (round % 3 == 1) {  // the bytes of one pixel
        const uint32_t n = byte_of(column, bits - 1) - byte_of(column) + 1;
        uint8_t pixel[8];
        EXPECT_EQ(V_GetPixelData(bm.get(), pixel, row, int32_t(column), n - 1),
                  RC_INVALID_PARAMETER);
        ASSERT_EQ(V_GetPixelData(bm.get(), pixel, row, int32_t(column), 8), RC_SUCCESS);
        ASSERT_TRUE(std::equal(pixel, pixel + n, image.begin() + at));
        ASSERT_EQ(V_PutPixelData(bm.get(), source.data(), row, int32_t(column), n), RC_SUCCESS);
        std::copy(source.begin(), source.begin() + n, image.begin() + at);
        EXPECT_EQ(V_GetPixelData(bm.get(), pixel, kHeight, int32_t(column), 8), RC_NO_MEMORY);
      } else {  // a segment: its pixels only, from the source pixel of `first` on
        const uint32_t first = column - random() % (column + 1);
        const int32_t segment[] = {int32_t(column), int32_t(random() % (kWidth - column + 1))};
        ASSERT_EQ(
            V_PutBitmapRowSegments(bm.get(), source.data(), row, int32_t(first), segment, 1, 0),
            RC_SUCCESS);
        for (uint32_t p = column; p < column + uint32_t(segment[1]); ++p)
          set_pixel(image.data() + row * stride, bits, p,
                    get_pixel(source.data(), bits, p - first));
      }
      clean();
      ASSERT_EQ(read_image(bm.bm), image);
    }
  }
}

// Ranges outside the pixel data are refused before any write; a memory
// bitmap its caller released is refused, other storage not.
TEST_P(RowAccess, RefusesBadRangesBeforeAnyWrite) {
  OwnedBitmap bm;
  make_bitmap(bm.bm, 16, 4, GetParam() == MEM_COMPRESSED ? 1 : 8, GetParam());
  const uint32_t stride = uint32_t(bm->BytesPerLine);
  Bytes nines(64, 9);
  uint8_t *buffer = nines.data();
  EXPECT_EQ(V_PutBitmapRow(bm.get(), buffer, 3, stride + 1), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_PutBitmapRow(bm.get(), buffer, 0, 0x80000000u), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_PutBitmapRowCol(bm.get(), buffer, 0, -1, 8), RC_INVALID_PARAMETER);
  EXPECT_EQ(read_image(bm.bm), Bytes(stride * 4, 0)) << "nothing written";
  V_AccessBitmap(bm.get());
  V_ReleaseBitmap(bm.get());
  EXPECT_EQ(V_GetBitmapRow(bm.get(), buffer, 0, 8),
            GetParam() == MEM_NO_DISK ? RC_INVALID_BITMAP : 8);
}

INSTANTIATE_TEST_SUITE_P(Storage, RowAccess,
                         ::testing::Values(MEM_NO_DISK, MEM_DISK, MEM_COMPRESSED));

class DiskRows : public TempDirTest {};

TEST_F(DiskRows, TruncatedFileGivesReadError) {
  OwnedBitmap bm;
  make_bitmap(bm.bm, 100, 10, 8, MEM_DISK);
  ASSERT_EQ(ftruncate(vxkrn::core::disk_file(bm.bm), 950), 0);  // behind the library's back
  uint8_t row[100];
  EXPECT_EQ(V_GetBitmapRow(bm.get(), row, 9, 100), RC_FILE_READ);
  EXPECT_EQ(V_GetBitmapRow(bm.get(), row, 0, 100), 100);
}

}  // namespace
