// Per-thread state: initial settings kept apart between threads, the
// temporary directory, the fallback record; the library's slots; threads.
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "core/thread_state.h"
#include "support/test_support.h"

namespace {

using vxkrn::platform::Heap;
using vxkrn::testing::live_blocks;
using vxkrn_test::on_new_thread;

// Dithering, resolutions, memory type and the five thresholds.
std::vector<int32_t> settings() {
  int32_t type = 0, t[5] = {};
  EXPECT_EQ(V_GetDefaultMemoryType(&type), RC_SUCCESS);
  EXPECT_EQ(V_GetMemoryThresholds(&t[0], &t[1], &t[2], &t[3], &t[4]), RC_SUCCESS);
  std::vector<int32_t> all{V_GetDefaultDithering(), V_GetDefaultXResolution(),
                           V_GetDefaultYResolution(), type};
  all.insert(all.end(), t, t + 5);
  return all;
}

TEST(ThreadState, EachThreadStartsFromTheInitialValuesAndFreesThemAtExit) {
  EXPECT_GE(vxkrn::core::library_attach_count(), 1);
  const auto before = live_blocks(Heap::Runtime);
  on_new_thread([] {
    ASSERT_EQ(V_DefaultDithering(8), RC_SUCCESS);
    EXPECT_EQ(V_SetDefaultXResolution(72), 150) << "setters return the previous value";
    ASSERT_EQ(V_SetDefaultMemoryType(MEM_TEMP_FILE), RC_SUCCESS);
    EXPECT_EQ(V_DefaultDithering(9) + V_SetDefaultMemoryType(256), 2 * RC_INVALID_PARAMETER);
    // Thresholds are set in argument order until one fails.
    EXPECT_EQ(V_SetMemoryThresholds(11, 12, -1, -101, 15, 0x1F), RC_INVALID_PARAMETER);
    on_new_thread([] {
      EXPECT_EQ(settings(),
                (std::vector<int32_t>{7, 150, 150, MEM_CONVENTIONAL, 0, 0x7FFFFFFF, 0, -100, 1}));
    });
    EXPECT_EQ(settings(), (std::vector<int32_t>{8, 72, 150, MEM_TEMP_FILE, 11, 12, 0, -100, 1}));
  });
  EXPECT_EQ(live_blocks(Heap::Runtime), before) << "the records are freed with their threads";
}

std::wstring temp_directory() {
  wchar_t buffer[VXKRN_TEMP_PATH_CHARS];
  EXPECT_EQ(V_GetTempDirectory(buffer), RC_SUCCESS);
  return buffer;
}

// The system's directory at first; only an existing directory whose name
// fits replaces it, in any encoding.
TEST(ThreadState, TemporaryDirectoryIsAnExistingDirectory) {
  on_new_thread([] {
    const std::wstring before = temp_directory(), wide = L"/tmp/vxkrn_\u00E9\U0001F642";
    struct stat st;
    EXPECT_TRUE(before.back() == L'/' && stat(vxkrn_test::narrow(before).c_str(), &st) == 0);
    ASSERT_TRUE(mkdir("/tmp/vxkrn_\xC3\xA9\xF0\x9F\x99\x82", 0700) == 0 || errno == EEXIST);
    const std::wstring too_long(VXKRN_TEMP_PATH_CHARS, L'/');
    const wchar_t invalid[] = {L'/', L't', static_cast<wchar_t>(0xD800), 0}, *none = nullptr;
    for (const wchar_t *bad :
         {L"/no/such/directory", L"/proc/self/status", L"", too_long.c_str(), invalid, none})
      EXPECT_EQ(V_SetTempDirectory(bad), RC_INVALID_PARAMETER);
    EXPECT_EQ(temp_directory(), before);
    EXPECT_EQ(V_SetTempDirectory(wide.c_str()), RC_SUCCESS);
    EXPECT_EQ(temp_directory(), wide);
    rmdir("/tmp/vxkrn_\xC3\xA9\xF0\x9F\x99\x82");
  });
}

TEST(ThreadState, FallsBackToTheZeroRecordAndRetries) {
  for (unsigned failing : {1u, 2u}) {  // the record, then its slot array
    const auto before = live_blocks(Heap::Runtime);
    on_new_thread([failing] {
      vxkrn::testing::fail_nth_allocation(failing, static_cast<unsigned>(Heap::Runtime));
      EXPECT_TRUE(vxkrn::core::is_fallback(vxkrn::core::thread_state()));
      vxkrn::testing::fail_nth_allocation(failing, static_cast<unsigned>(Heap::Runtime));
      BitmapHandle bm;
      ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 1, 1, 8), RC_SUCCESS);
      EXPECT_EQ(bm.DitheringMethod, 0) << "the fallback record's zero";
      EXPECT_EQ(bm.XResolution, 150) << "bitmaps still get 150 dpi";
      vxkrn::testing::fail_nth_allocation(0, 0);
      EXPECT_EQ(V_GetDefaultDithering(), 7) << "the next call creates the record";
    });
    EXPECT_EQ(live_blocks(Heap::Runtime), before);
  }
}

// Slot indices are process-wide and only these tests take them; values
// belong to each thread. Only the top index gives its place back.
TEST(Slots, HandsOutIndicesReclaimsOnlyTheTopAndKeepsValuesPerThread) {
  const int32_t a = V_TlsAlloc(), b = V_TlsAlloc(), c = V_TlsAlloc();
  int value = 0;
  ASSERT_TRUE(b == a + 1 && c == b + 1);
  EXPECT_EQ(V_TlsSetValue(c, &value), 1);
  on_new_thread([c] {
    EXPECT_EQ(V_TlsGetValue(c), nullptr);
    EXPECT_EQ(V_TlsSetValue(c, nullptr), 1);
  });
  EXPECT_EQ(V_TlsGetValue(c), &value);
  EXPECT_EQ(V_TlsFree(b), 1);
  EXPECT_EQ(V_TlsFree(b), 0) << "already free";
  EXPECT_EQ(V_TlsAlloc(), c + 1) << "below the count, a freed slot waits";
  EXPECT_EQ(V_TlsFree(c + 1) + V_TlsFree(c), 2);
  EXPECT_EQ(V_TlsGetValue(c), nullptr) << "the top index is no longer handed out";
  EXPECT_EQ(V_TlsSetValue(c, &value), 0);
  EXPECT_EQ(V_TlsAlloc(), c) << "only the top index moved back, by one";
  EXPECT_EQ(V_TlsFree(c) + V_TlsFree(a), 2);
  for (int32_t bad : {-1, 5000, VXKRN_TLS_SLOTS})
    EXPECT_EQ(V_TlsFree(bad) + (V_TlsGetValue(bad) != nullptr) + V_TlsSetValue(bad, &value), 0);

  // When all are taken, the first free one is reused.
  int32_t handed_out = 0;
  while (V_TlsAlloc() != -1)
    ++handed_out;
  ASSERT_EQ(handed_out, VXKRN_TLS_SLOTS);
  EXPECT_EQ(V_TlsFree(700) + V_TlsFree(300), 2);
  EXPECT_EQ(std::vector<int32_t>({V_TlsAlloc(), V_TlsAlloc(), V_TlsAlloc()}),
            (std::vector<int32_t>{300, 700, -1}));
  for (int32_t index = VXKRN_TLS_SLOTS; index-- > 0;)
    EXPECT_EQ(V_TlsFree(index), 1) << index;
  EXPECT_EQ(V_TlsAlloc(), 0) << "freeing from the top down gives every index back";
  EXPECT_EQ(V_TlsFree(0), 1);
}

// A record the routine frees itself: the handle is in it before it runs.
struct OwnedRecord {
  VeltThread thread;
  std::atomic<uintptr_t> *handle_seen;
};

uint32_t freeing_routine(void *p) {
  auto *record = static_cast<OwnedRecord *>(p);
  record->handle_seen->store(record->thread.Thread);
  delete record;
  return 7;
}

TEST(VeltThread, RunsTheRoutineWithItsRecordWhichHoldsTheHandle) {
  std::atomic<uintptr_t> seen[16] = {};
  for (auto &slot : seen)
    ASSERT_EQ(V_VeltThreadCreateAndRun(&(new OwnedRecord{{freeing_routine, 0}, &slot})->thread),
              RC_SUCCESS);
  for (auto &slot : seen) {
    while (slot.load() == 0)
      std::this_thread::yield();
    uint32_t result = 0;
    EXPECT_EQ(V_VeltThreadJoin(slot.load(), &result), RC_SUCCESS);
    EXPECT_EQ(result, 7u);
  }
  EXPECT_EQ(V_VeltThreadCreateAndRun(nullptr), RC_NO_MEMORY);
}

}  // namespace
