// Segment writes at every depth against a pixel-by-pixel reference, on
// memory and disk storage, with random segments and source phases.
#include <random>
#include <vector>

#include "support/test_support.h"

namespace {

using vxkrn_test::get_pixel;
using vxkrn_test::set_pixel;

const int kDepths[] = {1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64};

class Segments : public vxkrn_test::TempDirTest, public ::testing::WithParamInterface<int32_t> {};

TEST_P(Segments, WriteOnlyTheListedPixels) {
  std::mt19937 random(static_cast<uint32_t>(GetParam()));
  for (int bits : kDepths) {
    SCOPED_TRACE(bits);
    constexpr int kWidth = 77, kHeight = 3;
    vxkrn_test::OwnedBitmap bm;
    vxkrn_test::make_bitmap(bm.bm, kWidth, kHeight, bits, GetParam());
    V_AccessBitmap(bm.get());
    const uint32_t stride = static_cast<uint32_t>(bm->BytesPerLine);
    std::vector<uint8_t> image = vxkrn_test::fill_random_image(bm.bm, random());

    for (int round = 0; round < 40; ++round) {
      const int row = static_cast<int>(random() % kHeight);
      const int first = static_cast<int>(random() % 20);
      std::vector<uint8_t> source(stride + 8);
      for (uint8_t &b : source)
        b = static_cast<uint8_t>(random());
      std::vector<int32_t> pairs;
      pairs.reserve(8);  // a valid array even with no segments
      const int count = static_cast<int>(random() % 4);
      for (int i = 0; i < count; ++i) {
        const int column = first + static_cast<int>(random() % (kWidth - first));
        const int pixels = static_cast<int>(random() % (kWidth - column + 1));
        pairs.insert(pairs.end(), {column, pixels});
      }
      std::vector<uint8_t> expected(image.begin() + row * stride,
                                    image.begin() + (row + 1) * stride);
      for (size_t i = 0; i < pairs.size(); i += 2)
        for (int p = 0; p < pairs[i + 1]; ++p)
          set_pixel(expected.data(), bits, uint64_t(pairs[i] + p),
                    get_pixel(source.data(), bits, uint64_t(pairs[i] + p - first)));
      ASSERT_EQ(V_PutBitmapRowSegments(bm.get(), source.data(), row, first, pairs.data(), count, 0),
                RC_SUCCESS);
      std::copy(expected.begin(), expected.end(), image.begin() + row * stride);
      ASSERT_EQ(vxkrn_test::read_image(bm.bm), image)
          << "round " << round << ", first column " << first;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(BothKinds, Segments, ::testing::Values(MEM_NO_DISK, MEM_DISK));

TEST(SegmentsArguments, AreCheckedBeforeAnyWrite) {
  vxkrn_test::OwnedBitmap bm;
  ASSERT_EQ(
      V_CreateBitmap(bm.get(), BITMAPHANDLE_SIZE, MEM_NO_DISK, 16, 2, 8, 0, nullptr, 0, nullptr, 0),
      RC_SUCCESS);
  V_AccessBitmap(bm.get());
  const uint8_t source[16] = {9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9};
  const struct {
    int32_t first;
    std::vector<int32_t> pairs;
    int32_t reserved;
  } bad[] = {{0, {0, 4, 14, 3}, 0},  // the second runs past the width
             {4, {0, 4, 8, 2}, 0},   // the first starts before the source
             {0, {2, -1}, 0},        // a negative count
             {0, {0, 4}, 1}};        // reserved must be 0
  for (const auto &c : bad) {
    EXPECT_EQ(V_PutBitmapRowSegments(bm.get(), source, 1, c.first, c.pairs.data(),
                                     int32_t(c.pairs.size() / 2), c.reserved),
              RC_INVALID_PARAMETER);
  }
  uint8_t row[16];
  ASSERT_EQ(V_GetBitmapRow(bm.get(), row, 1, 16), 16);
  for (uint8_t b : row)
    EXPECT_EQ(b, 0) << "nothing written";
  const int32_t pair[2] = {0, 1};
  EXPECT_EQ(V_PutBitmapRowSegments(bm.get(), nullptr, 0, 0, pair, 1, 0), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_PutBitmapRowSegments(bm.get(), source, 0, 0, nullptr, 1, 0), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_PutBitmapRowSegments(bm.get(), source, 0, 0, pair, -1, 0), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_PutBitmapRowSegments(bm.get(), source, 0, 0, pair, 0, 0), RC_SUCCESS);
  V_ReleaseBitmap(bm.get());
  EXPECT_EQ(V_PutBitmapRowSegments(bm.get(), source, 0, 0, pair, 1, 0), RC_INVALID_BITMAP);
}

}  // namespace
