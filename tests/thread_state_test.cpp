// Per-thread state lifetime: created on first use, freed at thread exit, the
// fallback record when creation fails; thread start for callers.
#include <atomic>

#include "core/thread_state.h"
#include "support/test_support.h"

namespace {

using vxkrn::platform::Heap;
using vxkrn_test::on_new_thread;

TEST(ThreadState, LoadedWithTheLibrary) {
  EXPECT_GE(vxkrn::core::library_attach_count(), 1);
}

TEST(ThreadState, FreedWhenTheThreadExits) {
  const auto before = vxkrn::testing::live_blocks(Heap::Runtime);
  for (int i = 0; i < 8; ++i) {
    on_new_thread([] {
      EXPECT_EQ(V_GetDefaultDithering(), 7);
      EXPECT_GT(vxkrn::testing::live_blocks(Heap::Runtime), 0);
    });
  }
  EXPECT_EQ(vxkrn::testing::live_blocks(Heap::Runtime), before);
}

TEST(ThreadState, FallsBackToTheZeroRecordAndRetries) {
  for (unsigned failing : {1u, 2u}) {  // the record, then its slot array
    const auto before = vxkrn::testing::live_blocks(Heap::Runtime);
    on_new_thread([failing] {
      const unsigned runtime = static_cast<unsigned>(Heap::Runtime);
      vxkrn::testing::fail_nth_allocation(failing, runtime);
      EXPECT_TRUE(vxkrn::core::is_fallback(vxkrn::core::thread_state()));
      vxkrn::testing::fail_nth_allocation(failing, runtime);
      BitmapHandle bm;
      ASSERT_EQ(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 1, 1, 8), RC_SUCCESS);
      EXPECT_EQ(bm.DitheringMethod, 0) << "the fallback record's zero";
      EXPECT_EQ(bm.XResolution, 150) << "bitmaps still get 150 dpi";
      vxkrn::testing::fail_nth_allocation(0, 0);
      EXPECT_EQ(V_GetDefaultDithering(), 7) << "the next call creates the record";
    });
    EXPECT_EQ(vxkrn::testing::live_blocks(Heap::Runtime), before);
  }
}

uint32_t record_routine(void *p) {
  auto *record = static_cast<VeltThread *>(p);
  return record->Routine == record_routine ? 42u : 0u;
}

TEST(VeltThread, RunsTheRoutineWithItsRecord) {
  VeltThread record{record_routine, 0};
  ASSERT_EQ(V_VeltThreadCreateAndRun(&record), RC_SUCCESS);
  EXPECT_NE(record.Thread, 0u);
  uint32_t result = 0;
  EXPECT_EQ(V_VeltThreadJoin(record.Thread, &result), RC_SUCCESS);
  EXPECT_EQ(result, 42u);
  EXPECT_EQ(V_VeltThreadCreateAndRun(nullptr), RC_NO_MEMORY);
  VeltThread empty{nullptr, 0};
  EXPECT_EQ(V_VeltThreadCreateAndRun(&empty), RC_NO_MEMORY);
  EXPECT_EQ(V_VeltThreadJoin(0, nullptr), RC_INVALID_PARAMETER);
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

TEST(VeltThread, HandleIsStoredBeforeTheRoutineRuns) {
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
}

}  // namespace
