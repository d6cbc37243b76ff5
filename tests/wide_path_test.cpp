// Wide paths to UTF-8 and back: the library's own strict conversion, worked
// bytes for every length class, refusals, and a random round trip.
#include <cstring>
#include <random>

#include "platform/wide_path.h"
#include "support/test_support.h"

namespace {

using namespace vxkrn::platform;

// Worked bytes for every length class, and what is refused: surrogates,
// values past U+10FFFF, overlong and cut forms, and a buffer too small.
TEST(WidePath, EncodesEveryLengthClassAndRejectsWhatIsNotUnicode) {
  // ASCII, then one character of each length class, the last the highest.
  const struct {
    const wchar_t *wide;
    const char *utf8;
  } cases[] = {{L"", ""},
               {L"/tmp/a\u00E9\u20AC\U0001F642\U0010FFFF",
                "/tmp/a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x99\x82\xF4\x8F\xBF\xBF"}};
  for (const auto &c : cases) {
    char out[32];
    wchar_t back[16];
    ASSERT_TRUE(wide_to_utf8(c.wide, out, sizeof out) && utf8_to_wide(c.utf8, back, 16));
    EXPECT_STREQ(out, c.utf8);
    EXPECT_EQ(utf8_length(c.wide), std::strlen(c.utf8));
    EXPECT_EQ(std::wstring(back), std::wstring(c.wide));
  }
  for (uint32_t bad : {0xD800u, 0xDFFFu, 0x110000u, 0xFFFFFFFFu}) {
    const wchar_t wide[] = {L'a', static_cast<wchar_t>(bad), 0};
    char out[16] = "x";
    EXPECT_TRUE(sizeof(wchar_t) == 2 || (!wide_to_utf8(wide, out, 16) && !*out)) << bad;
    EXPECT_TRUE(sizeof(wchar_t) == 2 || !Utf8Path(wide).c_str()) << bad;
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
  std::uniform_int_distribution<uint32_t> value(1, sizeof(wchar_t) == 2 ? 0xFFFF : 0x10FFFF);
  for (int round = 0; round < 2000; ++round) {
    std::wstring text;
    while (text.size() < 12)
      if (const uint32_t c = value(random); c < 0xD800 || c > 0xDFFF) text += wchar_t(c);
    Utf8Path encoded(text.c_str());
    wchar_t back[16];
    ASSERT_NE(encoded.c_str(), nullptr) << round;
    ASSERT_TRUE(utf8_to_wide(encoded.c_str(), back, 16)) << round;
    ASSERT_EQ(std::wstring(back), text) << round;
  }
}

}  // namespace
