// Row, row-column, pixel-data and segment transfers on memory, disk and
// compressed storage, against a plain image and a pixel-by-pixel reference.
#include <unistd.h>

#include <random>
#include <vector>

#include "core/storage.h"
#include "support/test_support.h"

namespace {

using namespace vxkrn_test;
using Bytes = std::vector<uint8_t>;

const int kDepths[] = {1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64};

// Byte of a row that holds the first bit of column c, and the bytes a pixel
// spans, worked out from the depth.
uint32_t byte_of(int bits, uint32_t c) {
  return uint32_t(uint64_t{c} * uint64_t(bits) / 8);
}
uint32_t pixel_bytes(int bits, uint32_t c) {
  return uint32_t((uint64_t{c} * uint64_t(bits) + uint64_t(bits) - 1) / 8) - byte_of(bits, c) + 1;
}

class RowAccess : public TempDirTest, public ::testing::WithParamInterface<int32_t> {};

// Every transfer at random places, checked after each against a plain image
// (compressed storage keeps no bits past the width: the model clears them).
TEST_P(RowAccess, TransfersMatchAPlainImage) {
  const bool compressed = GetParam() == MEM_COMPRESSED;
  std::mt19937 random{uint32_t(GetParam())};
  for (int bits : kDepths) {
    if (compressed && bits != 1) continue;
    SCOPED_TRACE(bits);
    constexpr int kWidth = 77, kHeight = 5;
    OwnedBitmap bm;
    make_bitmap(bm.bm, kWidth, kHeight, bits, GetParam());
    V_AccessBitmap(bm.get());
    const uint32_t stride = uint32_t(bm->BytesPerLine), size = stride * kHeight;
    Bytes image = fill_random_image(bm.bm, random());
    const auto clean = [&] {
      for (uint32_t y = 0; compressed && y < kHeight; ++y)
        for (uint32_t x = kWidth; x < stride * 8; ++x)
          set_pixel(image.data() + y * stride, 1, x, 0);
    };
    clean();
    ASSERT_EQ(read_image(bm.bm), image);
    for (int row : {0, 2, 4}) {
      for (uint32_t column = 0; column < kWidth; ++column) {
        const uint32_t at = row * stride + byte_of(bits, column), count = (row + 1) * stride - at;
        Bytes got(count);
        ASSERT_EQ(V_GetBitmapRowCol(bm.get(), got.data(), row, int32_t(column), count),
                  int32_t(count));
        ASSERT_TRUE(std::equal(got.begin(), got.end(), image.begin() + at)) << column;
      }
    }
    for (int round = 0; round < 120; ++round) {
      const auto row = int32_t(random() % kHeight);
      const auto column = uint32_t(random() % kWidth);
      const uint32_t at = row * stride + byte_of(bits, column);
      Bytes source(stride + 8);
      for (uint8_t &b : source)
        b = static_cast<uint8_t>(random());
      SCOPED_TRACE(::testing::Message() << "round " << round << ": " << row << ", " << column);
      if (round % 3 == 0) {  // bytes from a column on, possibly over several rows
        const uint32_t count =
            1 + random() % std::min<uint32_t>(size - at, uint32_t(source.size()));
        ASSERT_EQ(V_PutBitmapRowCol(bm.get(), source.data(), row, int32_t(column), count),
                  int32_t(count));
        std::copy(source.begin(), source.begin() + count, image.begin() + at);
      } else if (round % 3 == 1) {  // the bytes of one pixel
        const uint32_t n = pixel_bytes(bits, column);
        uint8_t pixel[8];
        EXPECT_EQ(V_GetPixelData(bm.get(), pixel, row, int32_t(column), n - 1),
                  RC_INVALID_PARAMETER);
        ASSERT_EQ(V_GetPixelData(bm.get(), pixel, row, int32_t(column), 8), RC_SUCCESS);
        ASSERT_TRUE(std::equal(pixel, pixel + n, image.begin() + at));
        ASSERT_EQ(V_PutPixelData(bm.get(), source.data(), row, int32_t(column), n), RC_SUCCESS);
        std::copy(source.begin(), source.begin() + n, image.begin() + at);
        EXPECT_EQ(V_GetPixelData(bm.get(), pixel, kHeight, int32_t(column), 8), RC_NO_MEMORY);
      } else {  // segments: only the listed pixels, taken from the source
        const int first = int(random() % 20);
        std::vector<int32_t> pairs;
        pairs.reserve(8);  // a valid array even with no segments
        for (int i = int(random() % 4); i > 0; --i) {
          const int at_column = first + int(random() % (kWidth - first));
          pairs.insert(pairs.end(), {at_column, int(random() % (kWidth - at_column + 1))});
        }
        uint8_t *expected = image.data() + row * stride;
        for (size_t i = 0; i < pairs.size(); i += 2)
          for (int p = 0; p < pairs[i + 1]; ++p)
            set_pixel(expected, bits, uint64_t(pairs[i] + p),
                      get_pixel(source.data(), bits, uint64_t(pairs[i] + p - first)));
        ASSERT_EQ(V_PutBitmapRowSegments(bm.get(), source.data(), row, first, pairs.data(),
                                         int32_t(pairs.size() / 2), 0),
                  RC_SUCCESS);
      }
      clean();
      ASSERT_EQ(read_image(bm.bm), image);
    }
  }
}

// Ranges outside the pixel data, and bad segments, are refused before any
// write; a memory bitmap its caller released is refused, other storage not.
TEST_P(RowAccess, RefusesBadRangesBeforeAnyWrite) {
  OwnedBitmap bm;
  make_bitmap(bm.bm, 16, 4, GetParam() == MEM_COMPRESSED ? 1 : 8, GetParam());
  V_AccessBitmap(bm.get());
  const uint32_t stride = uint32_t(bm->BytesPerLine);
  uint8_t buffer[64] = {9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9};
  const int32_t seg[][4] = {{0, 4, 14, 3}, {0, 4, 8, 2}, {2, -1}, {0, 4}};
  const int32_t got[] = {V_PutBitmapRow(bm.get(), buffer, 3, stride + 1),
                         V_PutBitmapRow(bm.get(), buffer, 0, 0x80000000u),
                         V_PutBitmapRowCol(bm.get(), buffer, 0, -1, 8),
                         V_PutBitmapRowSegments(bm.get(), buffer, 1, 0, seg[0], 2, 0),
                         V_PutBitmapRowSegments(bm.get(), buffer, 1, 4, seg[1], 2, 0),
                         V_PutBitmapRowSegments(bm.get(), buffer, 1, 0, seg[2], 1, 0),
                         V_PutBitmapRowSegments(bm.get(), buffer, 1, 0, seg[3], 1, 1)};
  for (const int32_t &rc : got)
    EXPECT_EQ(rc, RC_INVALID_PARAMETER) << (&rc - got);
  EXPECT_EQ(read_image(bm.bm), Bytes(stride * 4, 0)) << "nothing written";
  V_ReleaseBitmap(bm.get());
  const bool memory = GetParam() == MEM_NO_DISK;
  EXPECT_EQ(V_GetBitmapRow(bm.get(), buffer, 0, 8), memory ? RC_INVALID_BITMAP : 8);
  EXPECT_EQ(V_PutBitmapRowSegments(bm.get(), buffer, 0, 0, seg[3], 1, 0),
            memory ? RC_INVALID_BITMAP : RC_SUCCESS);
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

TEST_F(DiskRows, SparseBitmapAtTheSizeCap) {
  OwnedBitmap bm;
  make_bitmap(bm.bm, 65536, 65535, 8, MEM_TEMP_FILE);
  ASSERT_EQ(bm->Size, BITMAP_SIZE_CAP);
  EXPECT_EQ(file_size(dir_ + leftover_files().at(0)), 0xFFFF0001LL);
  Bytes row(65536), back(65536);
  for (size_t i = 0; i < row.size(); ++i)
    row[i] = static_cast<uint8_t>(i ^ (i >> 8));
  ASSERT_EQ(V_PutBitmapRow(bm.get(), row.data(), 65534, 65536), 65536);
  ASSERT_EQ(V_GetBitmapRow(bm.get(), back.data(), 65534, 65536), 65536);
  EXPECT_EQ(back, row);
  ASSERT_EQ(V_GetBitmapRowCol(bm.get(), back.data(), 65534, 65535, 1), 1);
  EXPECT_EQ(back[0], row[65535]);
}

}  // namespace
