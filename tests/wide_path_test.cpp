// Wide paths to UTF-8 and back: the library's own strict conversion.
#include <cstring>
#include <random>
#include <string>

#include "platform/wide_path.h"
#include "support/test_support.h"

namespace {

using namespace vxkrn::platform;

TEST(WidePath, EncodesEveryLengthClass) {
  const struct {
    const wchar_t *wide;
    const char *utf8;
  } cases[] = {{L"", ""},
               {L"/tmp/a", "/tmp/a"},
               {L"\u00E9", "\xC3\xA9"},
               {L"\u20AC", "\xE2\x82\xAC"},
               {L"\U0001F642", "\xF0\x9F\x99\x82"},
               {L"\U0010FFFF", "\xF4\x8F\xBF\xBF"}};
  for (const auto &c : cases) {
    char out[16];
    ASSERT_TRUE(wide_to_utf8(c.wide, out, sizeof out));
    EXPECT_STREQ(out, c.utf8);
    EXPECT_EQ(utf8_length(c.wide), std::strlen(c.utf8));
    wchar_t back[8];
    ASSERT_TRUE(utf8_to_wide(c.utf8, back, 8));
    EXPECT_EQ(std::wstring(back), std::wstring(c.wide));
  }
}

TEST(WidePath, RejectsWhatIsNotUnicode) {
  if (sizeof(wchar_t) == 4) {
    for (uint32_t bad : {0xD800u, 0xDFFFu, 0x110000u, 0xFFFFFFFFu}) {
      const wchar_t wide[] = {L'a', static_cast<wchar_t>(bad), 0};
      char out[16] = "x";
      EXPECT_FALSE(wide_to_utf8(wide, out, sizeof out)) << bad;
      EXPECT_STREQ(out, "");
      EXPECT_EQ(Utf8Path(wide).c_str(), nullptr);
    }
  }
  for (const char *bad : {"\x80", "\xC0\xAF", "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80",
                          "\xC3", "\xF8\x88\x80\x80\x80"}) {
    wchar_t out[8];
    EXPECT_FALSE(utf8_to_wide(bad, out, 8)) << bad;
  }
  char small[3];
  EXPECT_FALSE(wide_to_utf8(L"\u20AC", small, sizeof small)) << "does not fit";
  EXPECT_EQ(Utf8Path(nullptr).c_str(), nullptr);
}

TEST(WidePath, RoundTripsRandomScalarValues) {
  std::mt19937 random(2024);
  std::uniform_int_distribution<uint32_t> value(1, 0x10FFFF);
  for (int round = 0; round < 2000; ++round) {
    std::wstring text;
    while (text.size() < 12) {
      const uint32_t c = value(random);
      if (c >= 0xD800 && c <= 0xDFFF) continue;
      if (sizeof(wchar_t) == 2 && c > 0xFFFF) continue;
      text += static_cast<wchar_t>(c);
    }
    Utf8Path encoded(text.c_str());
    ASSERT_NE(encoded.c_str(), nullptr);
    wchar_t back[16];
    ASSERT_TRUE(utf8_to_wide(encoded.c_str(), back, 16));
    ASSERT_EQ(std::wstring(back), text);
  }
}

}  // namespace
