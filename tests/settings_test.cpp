// Per-thread settings: isolation between real threads, validation, the
// temporary directory and the callback pairs.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "support/test_support.h"

namespace {

using vxkrn_test::on_new_thread;

TEST(Settings, EachThreadStartsFromTheInitialValues) {
  on_new_thread([] {
    ASSERT_EQ(V_DefaultDithering(2), RC_SUCCESS);
    V_SetDefaultXResolution(72);
    V_SetDefaultYResolution(96);
    ASSERT_EQ(V_SetDefaultMemoryType(MEM_TEMP_FILE), RC_SUCCESS);
    on_new_thread([] {
      int32_t type = 0;
      EXPECT_EQ(V_GetDefaultDithering(), 7);
      EXPECT_EQ(V_GetDefaultXResolution(), 150);
      EXPECT_EQ(V_GetDefaultYResolution(), 150);
      ASSERT_EQ(V_GetDefaultMemoryType(&type), RC_SUCCESS);
      EXPECT_EQ(type, MEM_CONVENTIONAL);
    });
    int32_t type = 0;
    EXPECT_EQ(V_GetDefaultDithering(), 2);
    EXPECT_EQ(V_SetDefaultXResolution(10), 72) << "setters return the previous value";
    EXPECT_EQ(V_GetDefaultYResolution(), 96);
    ASSERT_EQ(V_GetDefaultMemoryType(&type), RC_SUCCESS);
    EXPECT_EQ(type, MEM_TEMP_FILE);
  });
}

TEST(Settings, ValidatesDitheringAndMemoryType) {
  on_new_thread([] {
    EXPECT_EQ(V_DefaultDithering(9), RC_INVALID_PARAMETER);
    EXPECT_EQ(V_DefaultDithering(0xFFFFFFFFu), RC_INVALID_PARAMETER);
    EXPECT_EQ(V_DefaultDithering(8), RC_SUCCESS);
    for (int32_t type : {0, 2, 4, 256, -1})
      EXPECT_EQ(V_SetDefaultMemoryType(type), RC_INVALID_PARAMETER);
    EXPECT_EQ(V_GetDefaultMemoryType(nullptr), RC_INVALID_PARAMETER);
  });
}

TEST(Settings, ThresholdsSetInArgumentOrderUntilOneFails) {
  on_new_thread([] {
    int32_t t[5];
    ASSERT_EQ(V_GetMemoryThresholds(&t[0], &t[1], &t[2], &t[3], &t[4]), RC_SUCCESS);
    EXPECT_EQ(t[0], 0);
    EXPECT_EQ(t[1], 0x7FFFFFFF);
    EXPECT_EQ(t[2], 0);
    EXPECT_EQ(t[3], -100);
    EXPECT_EQ(t[4], 1);
    EXPECT_EQ(V_SetMemoryThresholds(-100, 0, 0, 0, 0, 1), RC_SUCCESS);
    EXPECT_EQ(V_SetMemoryThresholds(0, 0, -1, 0, 0, 4), RC_INVALID_PARAMETER);
    EXPECT_EQ(V_SetMemoryThresholds(11, 12, -1, 14, 15, 0x1F), RC_INVALID_PARAMETER);
    EXPECT_EQ(V_SetMemoryThresholds(0, 0, 0, -101, 0, 8), RC_INVALID_PARAMETER);
    EXPECT_EQ(V_SetMemoryThresholds(0, 0, 0, 0, 55, 16), RC_SUCCESS);
    ASSERT_EQ(V_GetMemoryThresholds(&t[0], nullptr, &t[2], nullptr, &t[4]), RC_SUCCESS);
    EXPECT_EQ(t[0], 11) << "values before the failing one stay set";
    EXPECT_EQ(t[2], 0);
    EXPECT_EQ(t[4], 55);
    ASSERT_EQ(V_GetMemoryThresholds(nullptr, &t[1], nullptr, &t[3], nullptr), RC_SUCCESS);
    EXPECT_EQ(t[1], 12);
    EXPECT_EQ(t[3], -100);
  });
}

std::wstring temp_directory() {
  wchar_t buffer[VXKRN_TEMP_PATH_CHARS];
  EXPECT_EQ(V_GetTempDirectory(buffer), RC_SUCCESS);
  return buffer;
}

TEST(Settings, TemporaryDirectoryDefaultsToTheSystemOne) {
  const char *env = std::getenv("TMPDIR");
  struct stat st;
  std::string expected = (env && stat(env, &st) == 0 && S_ISDIR(st.st_mode)) ? env : "/tmp";
  if (expected.back() != '/') expected += '/';
  EXPECT_EQ(temp_directory(), std::wstring(expected.begin(), expected.end()));
  EXPECT_EQ(V_GetTempDirectory(nullptr), RC_INVALID_PARAMETER);
}

TEST(Settings, TemporaryDirectoryMustBeAnExistingDirectory) {
  on_new_thread([] {
    const std::wstring before = temp_directory();
    // A directory whose name needs more than ASCII, to prove the encoding.
    const std::string made = "/tmp/vxkrn_settings_\xC3\xA9\xF0\x9F\x99\x82";
    const std::wstring wide = L"/tmp/vxkrn_settings_\u00E9\U0001F642";
    ASSERT_EQ(mkdir(made.c_str(), 0700) == 0 || errno == EEXIST, true);
    const std::wstring too_long(VXKRN_TEMP_PATH_CHARS, L'/');
    const wchar_t invalid[] = {L'/', L't', static_cast<wchar_t>(0xD800), 0};
    for (const wchar_t *bad :
         {L"/no/such/directory", L"/proc/self/status", L"", too_long.c_str(), invalid})
      EXPECT_EQ(V_SetTempDirectory(bad), RC_INVALID_PARAMETER);
    EXPECT_EQ(V_SetTempDirectory(nullptr), RC_INVALID_PARAMETER);
    EXPECT_EQ(temp_directory(), before);
    EXPECT_EQ(V_SetTempDirectory(wide.c_str()), RC_SUCCESS);
    EXPECT_EQ(temp_directory(), wide);
    rmdir(made.c_str());
  });
}

ResultCode callback_a(int32_t, void *) {
  return RC_SUCCESS;
}
ResultCode callback_b(int32_t, void *) {
  return RC_SUCCESS;
}

TEST(Settings, CallbackPairsAreSeparateAndSwapped) {
  on_new_thread([] {
    int a = 0, b = 0;
    StatusCallbackFunc old = callback_b;
    void *old_user = &b;
    V_SetStatusCallBack(callback_a, &a, &old, &old_user);
    EXPECT_EQ(old, nullptr);
    EXPECT_EQ(old_user, nullptr);
    V_SetCopyStatusCallBack(callback_b, &b, nullptr, nullptr);
    void *user = nullptr;
    EXPECT_EQ(V_GetStatusCallBack(&user), callback_a);
    EXPECT_EQ(user, &a);
    EXPECT_EQ(V_GetCopyStatusCallBack(&user), callback_b);
    EXPECT_EQ(user, &b);
    V_SetStatusCallBack(nullptr, nullptr, &old, &old_user);
    EXPECT_EQ(old, callback_a);
    EXPECT_EQ(old_user, &a);
    EXPECT_EQ(V_GetStatusCallBack(nullptr), nullptr);
    on_new_thread([] { EXPECT_EQ(V_GetCopyStatusCallBack(nullptr), nullptr); });

    uint32_t table[4];
    EXPECT_EQ(V_SetUserMatchTable(table), nullptr);
    EXPECT_EQ(V_SetUserMatchTable(nullptr), table);
  });
}

}  // namespace
