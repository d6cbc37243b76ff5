// Shared helpers checked against their definitions over their domains.
#include <bit>
#include <cmath>
#include <random>
#include <set>
#include <string>

#include "support/test_support.h"

namespace {

long double exact_sine(int angle) {
  const long double pi = std::acos(-1.0L);
  return 16384.0L * std::sin(static_cast<long double>(angle) * pi / 18000.0L);
}

TEST(Trig, MatchesRoundedSineAndCosineEverywhere) {
  for (int angle = 0; angle <= 36000; ++angle) {
    ASSERT_EQ(V_SinValue(angle), std::lround(exact_sine(angle))) << angle;
    ASSERT_EQ(V_CosValue(angle), std::lround(exact_sine(angle + 9000))) << angle;
  }
  for (int outside : {-1, 36001, -36000, 1 << 30}) {
    EXPECT_EQ(V_SinValue(outside), 0);
    EXPECT_EQ(V_CosValue(outside), 0);
  }
}

uint32_t floor_sqrt(uint32_t n) {
  uint64_t r = static_cast<uint64_t>(std::sqrt(static_cast<double>(n)));
  while (r * r > n)
    --r;
  while ((r + 1) * (r + 1) <= n)
    ++r;
  return static_cast<uint32_t>(r);
}

TEST(SquareRoot, IsTheFloorOfTheRealRoot) {
  for (uint32_t n = 0; n < (1u << 18); ++n)
    ASSERT_EQ(V_SQRT(n), floor_sqrt(n)) << n;
  // Around every perfect square, where an off-by-one would show.
  for (uint64_t k = 2; k <= 65535; ++k) {
    for (uint64_t n : {k * k - 1, k * k, k * k + 1})
      ASSERT_EQ(V_SQRT(uint32_t(n)), floor_sqrt(uint32_t(n))) << n;
  }
  std::mt19937 random(12345);
  for (int i = 0; i < 200000; ++i) {
    const uint32_t n = random();
    ASSERT_EQ(V_SQRT(n), floor_sqrt(n)) << n;
  }
  EXPECT_EQ(V_SQRT(0xFFFFFFFFu), 65535u);
}

TEST(BitCount, CountsSetBits) {
  const uint8_t *table = V_Get1BitOnTable();
  for (unsigned b = 0; b < 256; ++b)
    EXPECT_EQ(table[b], std::popcount(b)) << b;
}

TEST(SkipPath, ReturnsTheNamePart) {
  const struct {
    const wchar_t *path;
    size_t name_offset;
  } cases[] = {{L"A:\\dir/x.bmp", 7}, {L"x.bmp", 0}, {L"/usr/lib/", 9},     {L"C:name", 2},
               {L"a\\b\\c", 4},       {L"", 0},      {L"dir/sub\\f:g", 10}, {L"a/b:c\\d/e", 8}};
  for (const auto &c : cases)
    EXPECT_EQ(V_SkipPath(c.path), c.path + c.name_offset) << c.path;
  EXPECT_EQ(V_SkipPath(nullptr), nullptr);
}

// Every code has a text of its own; anything else is unknown.
TEST(ResultText, NamesEveryCode) {
  const ResultCode codes[] = {RC_SUCCESS,
                              RC_NO_MEMORY,
                              RC_INVALID_BITMAP,
                              RC_IMAGE_TOO_LARGE,
                              RC_FILE_SEEK,
                              RC_FILE_WRITE,
                              RC_FILE_READ,
                              RC_EMPTY_AREA,
                              RC_INVALID_PARAMETER,
                              RC_INVALID_FORMAT,
                              RC_INVALID_BITS_PER_PIXEL,
                              RC_DISK_FULL,
                              RC_INVALID_STRUCT_SIZE,
                              RC_INVALID_HANDLE,
                              RC_BITMAP_RESTRICTED,
                              RC_INVALID_LUT_LENGTH};
  const std::string unknown = V_ResultText(0);
  std::set<std::string> texts;
  for (ResultCode code : codes) {
    const std::string text = V_ResultText(code);
    EXPECT_NE(text, unknown) << code;
    texts.insert(text);
  }
  EXPECT_EQ(texts.size(), std::size(codes));
  EXPECT_EQ(V_ResultText(-6), unknown);
}

}  // namespace
