// Row, row-column and pixel-data transfers at every depth, on memory and
// disk storage alike, against byte offsets worked out from the depth.
#include <unistd.h>

#include <random>
#include <vector>

#include "core/storage.h"
#include "support/test_support.h"

namespace {

using vxkrn_test::fill_random_image;
using vxkrn_test::make_bitmap;
using vxkrn_test::read_image;

enum class Kind { Memory, Disk };

const int kDepths[] = {1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64};

// Byte of the row that holds the first bit of column c.
uint64_t reference_offset(int bits, uint64_t c) {
  return c * uint64_t(bits) / 8;
}

class Rows : public vxkrn_test::TempDirTest, public ::testing::WithParamInterface<Kind> {
 protected:
  void make(BitmapHandle &bm, int width, int height, int bits) {
    make_bitmap(bm, width, height, bits, GetParam() == Kind::Disk ? MEM_DISK : MEM_NO_DISK);
    V_AccessBitmap(&bm);
  }
};

TEST_P(Rows, RowColumnOffsetsAtEveryDepth) {
  for (int bits : kDepths) {
    SCOPED_TRACE(bits);
    vxkrn_test::OwnedBitmap bm;
    make(bm.bm, 37, 5, bits);
    std::vector<uint8_t> image = fill_random_image(bm.bm, static_cast<uint32_t>(bits));
    const uint32_t stride = static_cast<uint32_t>(bm->BytesPerLine);
    for (int row : {0, 2, 4}) {
      for (int column = 0; column < 37; ++column) {
        const uint64_t at = row * stride + reference_offset(bits, static_cast<uint64_t>(column));
        const uint32_t count = static_cast<uint32_t>((row + 1) * stride - at);  // rest of the row
        std::vector<uint8_t> got(count);
        ASSERT_EQ(V_GetBitmapRowCol(bm.get(), got.data(), row, column, count), int32_t(count));
        ASSERT_TRUE(std::equal(got.begin(), got.end(), image.begin() + long(at))) << column;
      }
    }
    // A write at a column lands at the same offset and nowhere else.
    const uint8_t marks[3] = {0xA5, 0x5A, 0xC3};
    ASSERT_EQ(V_PutBitmapRowCol(bm.get(), marks, 3, 29, 3), 3);
    const uint64_t at = 3 * stride + reference_offset(bits, 29);
    std::copy(marks, marks + 3, image.begin() + long(at));
    EXPECT_EQ(read_image(bm.bm), image);
  }
}

TEST_P(Rows, PixelDataMovesThePixelsBytes) {
  const struct {
    int bits, column;
    uint32_t bytes;
  } cases[] = {{1, 9, 1},  {3, 2, 2},  {4, 3, 1},  {5, 1, 2},  {7, 8, 1},  {8, 4, 1},
               {12, 1, 2}, {12, 2, 2}, {16, 3, 2}, {24, 3, 3}, {48, 1, 6}, {64, 2, 8}};
  for (const auto &c : cases) {
    SCOPED_TRACE(c.bits);
    vxkrn_test::OwnedBitmap bm;
    make(bm.bm, 16, 3, c.bits);
    std::vector<uint8_t> image = fill_random_image(bm.bm, 99);
    const uint64_t at = 2u * uint32_t(bm->BytesPerLine) + reference_offset(c.bits, c.column);
    uint8_t pixel[8] = {};
    EXPECT_EQ(V_GetPixelData(bm.get(), pixel, 2, c.column, c.bytes - 1), RC_INVALID_PARAMETER);
    ASSERT_EQ(V_GetPixelData(bm.get(), pixel, 2, c.column, 8), RC_SUCCESS);
    EXPECT_TRUE(std::equal(pixel, pixel + c.bytes, image.begin() + long(at)));
    for (uint32_t i = 0; i < c.bytes; ++i)
      pixel[i] = static_cast<uint8_t>(~pixel[i]);
    ASSERT_EQ(V_PutPixelData(bm.get(), pixel, 2, c.column, c.bytes), RC_SUCCESS);
    std::copy(pixel, pixel + c.bytes, image.begin() + long(at));
    EXPECT_EQ(read_image(bm.bm), image);
    EXPECT_EQ(V_GetPixelData(bm.get(), pixel, 3, c.column, 8), RC_NO_MEMORY) << "outside";
  }
}

TEST_P(Rows, RejectsBadArguments) {
  vxkrn_test::OwnedBitmap bm;
  make(bm.bm, 8, 4, 8);
  uint8_t buffer[64];
  EXPECT_EQ(V_GetBitmapRow(nullptr, buffer, 0, 8), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_GetBitmapRow(bm.get(), nullptr, 0, 8), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_GetBitmapRow(bm.get(), buffer, -1, 8), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_GetBitmapRowCol(bm.get(), buffer, 0, -1, 8), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_GetBitmapRow(bm.get(), buffer, 3, 9), RC_INVALID_PARAMETER) << "past the data";
  EXPECT_EQ(V_PutBitmapRow(bm.get(), buffer, 4, 1), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_GetBitmapRow(bm.get(), buffer, 0, 0x80000000u), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_GetPixelData(nullptr, buffer, 0, 0, 8), RC_INVALID_BITMAP);
  EXPECT_EQ(V_GetPixelData(bm.get(), nullptr, 0, 0, 8), RC_INVALID_BITMAP);
  bm->StructSize = 0;
  EXPECT_EQ(V_GetBitmapRow(bm.get(), buffer, 0, 8), RC_INVALID_STRUCT_SIZE);
  EXPECT_EQ(V_GetPixelData(bm.get(), buffer, 0, 0, 8), RC_INVALID_STRUCT_SIZE);
  bm->StructSize = BITMAPHANDLE_SIZE;
  V_ReleaseBitmap(bm.get());
  const int32_t released = V_GetBitmapRow(bm.get(), buffer, 0, 8);
  EXPECT_EQ(released, GetParam() == Kind::Memory ? RC_INVALID_BITMAP : 8);
  BitmapHandle unallocated;
  V_InitBitmap(&unallocated, BITMAPHANDLE_SIZE, 8, 4, 8);
  EXPECT_EQ(V_GetBitmapRow(&unallocated, buffer, 0, 8), RC_NO_MEMORY);
  EXPECT_EQ(V_GetPixelData(&unallocated, buffer, 0, 0, 8), RC_INVALID_BITMAP);
}

INSTANTIATE_TEST_SUITE_P(BothKinds, Rows, ::testing::Values(Kind::Memory, Kind::Disk),
                         [](const auto &info) {
                           return info.param == Kind::Memory ? "Memory" : "Disk";
                         });

class DiskRows : public vxkrn_test::TempDirTest {};

TEST_F(DiskRows, MemoryAndDiskHoldTheSameBytes) {
  vxkrn_test::OwnedBitmap memory, disk;
  make_bitmap(memory.bm, 61, 40, 12, MEM_NO_DISK);
  make_bitmap(disk.bm, 61, 40, 12, MEM_DISK);
  V_AccessBitmap(memory.get());
  std::mt19937 random(5);
  uint8_t bytes[200];
  for (int i = 0; i < 500; ++i) {
    for (uint8_t &b : bytes)
      b = static_cast<uint8_t>(random());
    const int row = static_cast<int>(random() % 40), column = static_cast<int>(random() % 61);
    const uint32_t room = memory->Size - uint32_t(row * memory->BytesPerLine) - column * 3 / 2;
    const uint32_t count = static_cast<uint32_t>(random() % 200) % room + 1;
    ASSERT_EQ(V_PutBitmapRowCol(memory.get(), bytes, row, column, count),
              V_PutBitmapRowCol(disk.get(), bytes, row, column, count));
  }
  EXPECT_EQ(read_image(memory.bm), read_image(disk.bm));
}

TEST_F(DiskRows, TruncatedFileGivesReadError) {
  vxkrn_test::OwnedBitmap bm;
  make_bitmap(bm.bm, 100, 10, 8, MEM_DISK);
  ASSERT_EQ(ftruncate(vxkrn::core::disk_file(bm.bm), 950), 0);  // behind the library's back
  uint8_t row[100];
  EXPECT_EQ(V_GetBitmapRow(bm.get(), row, 9, 100), RC_FILE_READ);
  EXPECT_EQ(V_GetBitmapRow(bm.get(), row, 0, 100), 100);
}

TEST_F(DiskRows, SparseBitmapAtTheSizeCap) {
  vxkrn_test::OwnedBitmap bm;
  make_bitmap(bm.bm, 65536, 65535, 8, MEM_TEMP_FILE);
  ASSERT_EQ(bm->Size, BITMAP_SIZE_CAP);
  EXPECT_EQ(vxkrn_test::file_size(dir_ + leftover_files().at(0)), 0xFFFF0001LL);
  std::vector<uint8_t> row(65536), back(65536);
  for (size_t i = 0; i < row.size(); ++i)
    row[i] = static_cast<uint8_t>(i ^ (i >> 8));
  ASSERT_EQ(V_PutBitmapRow(bm.get(), row.data(), 65534, 65536), 65536);
  ASSERT_EQ(V_GetBitmapRow(bm.get(), back.data(), 65534, 65536), 65536);
  EXPECT_EQ(back, row);
  ASSERT_EQ(V_GetBitmapRowCol(bm.get(), back.data(), 65534, 65535, 1), 1);
  EXPECT_EQ(back[0], row[65535]);
}

}  // namespace
