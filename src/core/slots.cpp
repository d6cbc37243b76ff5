// The library's own thread-local slots: process-wide indices handed out
// under the library lock, values kept in each thread's state record.
#include <atomic>

#include "core/slots.h"

#include "core/thread_state.h"
#include "platform/threads.h"
#include "vxkrn/system.h"

namespace vxkrn::core {
namespace {

constexpr unsigned char kInUse = 255;

// Indices handed out so far; read without the lock by the value accessors.
std::atomic<int32_t> g_slot_count{0};
unsigned char g_slot_marks[VXKRN_TLS_SLOTS];

bool slot_handed_out(int32_t index) {
  return index >= 0 && index < g_slot_count.load(std::memory_order_acquire);
}

}  // namespace

int32_t slot_alloc() noexcept {
  platform::LibraryLockGuard guard;
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

bool slot_free(int32_t index) noexcept {
  platform::LibraryLockGuard guard;
  int32_t count = g_slot_count.load(std::memory_order_relaxed);
  if (index < 0 || index >= count || g_slot_marks[index] != kInUse) return false;
  g_slot_marks[index] = 0;
  // Only the top index gives its place back; free slots below it stay
  // counted until slot_alloc reuses them.
  if (index == count - 1) g_slot_count.store(count - 1, std::memory_order_release);
  return true;
}

void *slot_value(int32_t index) noexcept {
  const ThreadState &state = thread_state();
  if (!slot_handed_out(index) || !state.user_slots) return nullptr;
  return state.user_slots[index];
}

bool set_slot_value(int32_t index, void *value) noexcept {
  ThreadState &state = thread_state();
  if (!slot_handed_out(index) || !state.user_slots) return false;
  state.user_slots[index] = value;
  return true;
}

}  // namespace vxkrn::core
