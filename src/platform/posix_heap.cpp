// The two heaps on the C run-time allocator, and the allocation hook.
// Kept as separate families so tests can tell their blocks apart.
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>

#include "platform/heap.h"

namespace vxkrn {
namespace {

struct FailHook {
  unsigned fail_at = 0;  // 0: disarmed
  unsigned mask = 0;
  unsigned attempts = 0;  // counted allocations since arming
};
thread_local FailHook t_hook;

std::atomic<std::int64_t> g_live[3];

// True when this allocation must fail.
bool hook_fails(platform::Heap heap) noexcept {
  FailHook &h = t_hook;
  if (h.mask == 0 || (h.mask & static_cast<unsigned>(heap)) == 0) return false;
  ++h.attempts;
  return h.fail_at != 0 && h.attempts == h.fail_at;
}

std::atomic<std::int64_t> &live(platform::Heap heap) noexcept {
  return g_live[static_cast<unsigned>(heap)];
}

}  // namespace

namespace platform {

std::size_t checked_product(std::uint64_t count, std::uint64_t size) noexcept {
  if (size != 0 && count > SIZE_MAX / size) return SIZE_MAX;
  return static_cast<std::size_t>(count * size);
}

void *heap_alloc(Heap heap, std::size_t bytes, bool zeroed) noexcept {
  if (bytes == SIZE_MAX || hook_fails(heap)) return nullptr;
  if (bytes == 0) bytes = 1;  // every successful call yields a distinct block
  void *block = zeroed ? std::calloc(1, bytes) : std::malloc(bytes);
  if (block) {
    live(heap).fetch_add(1, std::memory_order_relaxed);
  }
  return block;
}

void *heap_realloc(Heap heap, void *block, std::size_t bytes) noexcept {
  if (!block) return heap_alloc(heap, bytes, false);
  if (bytes == SIZE_MAX || hook_fails(heap)) return nullptr;
  return std::realloc(block, bytes ? bytes : 1);
}

// A large zeroed block is fresh mapped memory whose pages the system hands
// out one fault at a time on first touch; bitmaps written across their rows
// (a turn writes columns) touch them in the worst order. Asking for all the
// pages at once costs a fraction of that. Advice only: a system without it
// faults them in as before.
void prefault(void *block, std::size_t bytes) noexcept {
#if defined(__linux__)
  constexpr int kPopulateWrite = 23;  // MADV_POPULATE_WRITE, Linux 5.14
  // Small blocks gain nothing; giant ones may be meant to stay sparse.
  constexpr std::size_t kLarge = std::size_t{4} << 20, kGiant = std::size_t{1} << 30;
  if (bytes < kLarge || bytes > kGiant) return;
  const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  const auto at = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t start = (at + page - 1) & ~(page - 1), end = (at + bytes) & ~(page - 1);
  if (end > start) madvise(reinterpret_cast<void *>(start), end - start, kPopulateWrite);
#else
  (void)block;
  (void)bytes;
#endif
}

void heap_free(Heap heap, void *block) noexcept {
  if (!block) return;
  live(heap).fetch_sub(1, std::memory_order_relaxed);
  std::free(block);
}

}  // namespace platform

namespace testing {

void fail_nth_allocation(unsigned nth, unsigned heap_mask) noexcept {
  t_hook = FailHook{nth, heap_mask, 0};
}

unsigned allocations_attempted() noexcept {
  return t_hook.attempts;
}

std::int64_t live_blocks(platform::Heap heap) noexcept {
  return live(heap).load(std::memory_order_relaxed);
}

}  // namespace testing
}  // namespace vxkrn
