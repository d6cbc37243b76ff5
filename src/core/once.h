// One-time initialisation shared by threads, without the C++ run-time's
// static guards, so the archive links into plain C programs.
#pragma once

#include <atomic>
#include <thread>

namespace vxkrn::core {

// Runs init exactly once; concurrent callers wait until it has finished.
inline void run_once(std::atomic<int> &state, void (*init)()) {
  enum { kNotRun, kRunning, kDone };
  if (state.load(std::memory_order_acquire) == kDone) return;
  int expected = kNotRun;
  if (state.compare_exchange_strong(expected, kRunning, std::memory_order_acq_rel)) {
    init();
    state.store(kDone, std::memory_order_release);
    return;
  }
  while (state.load(std::memory_order_acquire) != kDone)
    std::this_thread::yield();
}

}  // namespace vxkrn::core
