// The library's own thread-local slots: process-wide indices handed out
// under the library lock, values kept in each thread's state record.
#include <atomic>

#include "core/thread_state.h"
#include "platform/threads.h"
#include "vxkrn/system.h"

namespace {

constexpr unsigned char kInUse = 255;

// Indices handed out so far; read without the lock by the value accessors.
std::atomic<int32_t> g_slot_count{0};
unsigned char g_slot_marks[VXKRN_TLS_SLOTS];

bool slot_handed_out(int32_t index) {
  return index >= 0 && index < g_slot_count.load(std::memory_order_acquire);
}

}  // namespace

extern "C" {

int32_t V_TlsAlloc(void) {
  vxkrn::platform::LibraryLockGuard guard;
  int32_t count = g_slot_count.load(std::memory_order_relaxed);
  if (count < VXKRN_TLS_SLOTS) {
    g_slot_marks[count] = kInUse;
    g_slot_count.store(count + 1, std::memory_order_release);
    return count;
  }
  for (int32_t index = 0; index < count; ++index) {
    if (g_slot_marks[index] != kInUse) {
      g_slot_marks[index] = kInUse;
      return index;
    }
  }
  return -1;
}

int32_t V_TlsFree(int32_t index) {
  vxkrn::platform::LibraryLockGuard guard;
  int32_t count = g_slot_count.load(std::memory_order_relaxed);
  if (index < 0 || index >= count || g_slot_marks[index] != kInUse) return 0;
  g_slot_marks[index] = 0;
  // Only the top index gives its place back; free slots below it stay
  // counted until V_TlsAlloc reuses them.
  if (index == count - 1) g_slot_count.store(count - 1, std::memory_order_release);
  return 1;
}

void *V_TlsGetValue(int32_t index) {
  const vxkrn::core::ThreadState &state = vxkrn::core::thread_state();
  if (!slot_handed_out(index) || !state.user_slots) return nullptr;
  return state.user_slots[index];
}

int32_t V_TlsSetValue(int32_t index, void *value) {
  vxkrn::core::ThreadState &state = vxkrn::core::thread_state();
  if (!slot_handed_out(index) || !state.user_slots) return 0;
  state.user_slots[index] = value;
  return 1;
}

}  // extern "C"
