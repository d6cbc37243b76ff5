// Per-thread state: initial settings kept apart between threads, the
// fallback record; the library's slots; threads it starts.
#include <atomic>
#include <cstdio>

#include "core/thread_state.h"
#include "support/test_support.h"

namespace {

using vxkrn::platform::Heap;
using vxkrn::testing::live_blocks;
using vxkrn_test::on_new_thread;

// Dithering, resolutions, memory type and the five thresholds.
std::vector<int32_t> settings() {
  int32_t type = 0, t[5] = {};
  V_GetDefaultMemoryType(&type);
  V_GetMemoryThresholds(&t[0], &t[1], &t[2], &t[3], &t[4]);
  std::vector<int32_t> all{V_GetDefaultDithering(), V_GetDefaultXResolution(),
                           V_GetDefaultYResolution(), type};
  all.insert(all.end(), t, t + 5);
  return all;
}

// Each thread starts from the initial values, keeps its own, and frees
// them at exit. One whose record (or its slot array) cannot be made works on
// the zero record: its empty callback slots act as the primitives, bitmaps
// still get 150 dpi; the next call that can make the record does.
TEST(ThreadState, EachThreadStartsFromTheInitialValuesOrTheZeroRecord) {
  EXPECT_GE(vxkrn::core::library_attach_count(), 1);
  std::FILE *file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  const auto before = live_blocks(Heap::Runtime);
  on_new_thread([handle = fileno(file)] {
    ASSERT_EQ(V_DefaultDithering(8), RC_SUCCESS);
    EXPECT_EQ(V_SetDefaultXResolution(72), 150) << "setters return the previous value";
    ASSERT_EQ(V_SetDefaultMemoryType(MEM_TEMP_FILE), RC_SUCCESS);
    EXPECT_EQ(V_DefaultDithering(9) + V_SetDefaultMemoryType(256), 2 * RC_INVALID_PARAMETER);
    // Thresholds are set in argument order until one fails.
    EXPECT_EQ(V_SetMemoryThresholds(11, 12, -1, -101, 15, 0x1F), RC_INVALID_PARAMETER);
    for (unsigned failing : {1u, 2u})
      on_new_thread([failing, handle] {
        const unsigned runtime = static_cast<unsigned>(Heap::Runtime);
        vxkrn::testing::fail_nth_allocation(failing, runtime);
        EXPECT_TRUE(vxkrn::core::is_fallback(vxkrn::core::thread_state()));
        vxkrn::testing::fail_nth_allocation(failing, runtime);
        EXPECT_EQ(V_RedirectedSeek(handle, 5, SEEK_FROM_START), 5u);
        vxkrn::testing::fail_nth_allocation(failing, runtime);
        BitmapHandle bm;
        ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 1, 1, 8), RC_SUCCESS);
        EXPECT_TRUE(bm.DitheringMethod == 0 && bm.XResolution == 150) << bm.DitheringMethod;
        vxkrn::testing::fail_nth_allocation(0, 0);
        EXPECT_EQ(settings(),
                  (std::vector<int32_t>{7, 150, 150, MEM_CONVENTIONAL, 0, 0x7FFFFFFF, 0, -100, 1}));
      });
    EXPECT_EQ(settings(), (std::vector<int32_t>{8, 72, 150, MEM_TEMP_FILE, 11, 12, 0, -100, 1}));
  });
  EXPECT_EQ(live_blocks(Heap::Runtime), before) << "the records are freed with their threads";
  std::fclose(file);
}

// Slot indices are process-wide and only this test takes them; values
// belong to each thread. Only the top index gives its place back; when all
// are taken, the first free one is reused. (A braced list runs in order.)
TEST(Slots, HandsOutIndicesReclaimsOnlyTheTopAndKeepsValuesPerThread) {
  const int32_t a = V_TlsAlloc(), b = V_TlsAlloc(), c = V_TlsAlloc();
  int value = 0;
  ASSERT_TRUE(b == a + 1 && c == b + 1);
  EXPECT_EQ(V_TlsSetValue(c, &value), 1);
  on_new_thread([c] { EXPECT_TRUE(!V_TlsGetValue(c) && V_TlsSetValue(c, nullptr) == 1); });
  EXPECT_EQ(V_TlsGetValue(c), &value);
  // b freed twice; a freed slot below the count waits; the top index, once
  // freed, is not handed out (no value) until taken again.
  const auto F = V_TlsFree;
  const auto A = V_TlsAlloc;
  const std::vector<int32_t> steps{
      F(b), F(b), A(), F(c + 1), F(c), V_TlsGetValue(c) != nullptr, V_TlsSetValue(c, &value),
      A(),  F(c), F(a)};
  EXPECT_EQ(steps, (std::vector<int32_t>{1, 0, c + 1, 1, 1, 0, 0, c, 1, 1}));
  for (int32_t bad : {-1, 5000, VXKRN_TLS_SLOTS})
    EXPECT_EQ(V_TlsFree(bad) + (V_TlsGetValue(bad) != nullptr) + V_TlsSetValue(bad, &value), 0);

  int32_t handed_out = 0;
  while (A() != -1)
    ++handed_out;
  ASSERT_EQ(handed_out, VXKRN_TLS_SLOTS);
  const std::vector<int32_t> reuse{F(700), F(300), A(), A(), A()};
  EXPECT_EQ(reuse, (std::vector<int32_t>{1, 1, 300, 700, -1}));
  for (int32_t index = VXKRN_TLS_SLOTS; index-- > 0;)
    EXPECT_EQ(V_TlsFree(index), 1) << index;
  EXPECT_EQ(V_TlsAlloc(), 0) << "freeing from the top down gives every index back";
  EXPECT_EQ(V_TlsFree(0), 1);
}

// A record its routine frees: the handle is in it before the routine runs.
struct Job {
  VeltThread thread;
  std::atomic<uintptr_t> *seen;
};

uint32_t run_job(void *p) {
  auto *job = static_cast<Job *>(p);
  job->seen->store(job->thread.Thread);
  delete job;
  return 7;
}

TEST(VeltThread, RunsTheRoutineWithItsRecordWhichHoldsTheHandle) {
  std::atomic<uintptr_t> seen[16] = {};
  for (auto &slot : seen)
    ASSERT_EQ(V_VeltThreadCreateAndRun(&(new Job{{run_job, 0}, &slot})->thread), RC_SUCCESS);
  for (auto &slot : seen) {
    while (slot.load() == 0)
      std::this_thread::yield();
    uint32_t result = 0;
    EXPECT_EQ(V_VeltThreadJoin(slot.load(), &result), RC_SUCCESS);
    EXPECT_EQ(result, 7u);
  }
  VeltThread no_routine{nullptr, 0};
  EXPECT_EQ(V_VeltThreadCreateAndRun(nullptr), RC_NO_MEMORY);
  EXPECT_EQ(V_VeltThreadCreateAndRun(&no_routine), RC_NO_MEMORY);
}

}  // namespace
