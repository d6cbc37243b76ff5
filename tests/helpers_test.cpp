// Shared helpers checked against their definitions over their domains:
// fixed-point sine and cosine, integer square root, path names, result texts.
#include <cmath>
#include <numeric>
#include <random>
#include <set>

#include "support/test_support.h"

namespace {

TEST(Helpers, TrigMatchesTheRoundedSineAndCosineEverywhere) {
  const auto exact = [](int angle) {  // 16384 sin(angle / 100 degrees)
    return std::lround(16384.0L * std::sin(angle * std::acos(-1.0L) / 18000.0L));
  };
  for (int angle = 0; angle <= 36000; ++angle) {
    ASSERT_EQ(V_SinValue(angle), exact(angle)) << angle;
    ASSERT_EQ(V_CosValue(angle), exact(angle + 9000)) << angle;
  }
  for (int outside : {-1, 36001, -36000, 1 << 30})
    EXPECT_EQ(V_SinValue(outside) | V_CosValue(outside), 0) << outside;
}

// Every small value, both sides of every perfect square and random ones. A
// double root of a 32-bit value never rounds across an integer.
TEST(Helpers, SquareRootIsTheFloorOfTheRealRoot) {
  std::vector<uint32_t> values(1u << 18);
  std::iota(values.begin(), values.end(), 0u);
  for (uint64_t k = 512; k <= 65536; ++k)
    values.insert(values.end(), {uint32_t(k * k - 1), uint32_t(k * k), uint32_t(k * k + 1)});
  std::mt19937 random(12345);
  for (int i = 0; i < 200000; ++i)
    values.push_back(random());
  for (uint32_t n : values)
    ASSERT_EQ(V_SQRT(n), static_cast<uint32_t>(std::sqrt(static_cast<double>(n)))) << n;
}

TEST(Helpers, SkipPathReturnsTheNamePart) {
  const struct {
    const wchar_t *path;
    size_t name_offset;
  } cases[] = {{L"A:\\dir/x.bmp", 7}, {L"x.bmp", 0}, {L"/usr/lib/", 9},     {L"C:name", 2},
               {L"a\\b\\c", 4},       {L"", 0},      {L"dir/sub\\f:g", 10}, {L"a/b:c\\d/e", 8}};
  for (const auto &c : cases)
    EXPECT_EQ(V_SkipPath(c.path), c.path + c.name_offset) << c.path;
  EXPECT_EQ(V_SkipPath(nullptr), nullptr);
}

// Every code types.h defines has a text of its own, none the text of
// unknown codes.
TEST(ResultText, NamesEveryCode) {
  const std::string unknown = V_ResultText(0);
  std::set<std::string> texts;
  for (ResultCode code = -2000; code <= 1; ++code)
    texts.insert(V_ResultText(code));
  EXPECT_EQ(texts.size(), 17u + 1u) << "the 17 RC_ codes and the unknown";
  EXPECT_TRUE(texts.count(unknown) && unknown != V_ResultText(RC_NOT_SUPPORTED));
}

}  // namespace
