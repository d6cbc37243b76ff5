// The library's two heaps and the allocation hook tests use to fail them.
// Every allocation of the library goes through here; nothing else calls malloc.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vxkrn::platform {

// Run-time heap: scratch memory. System heap: what a bitmap owns (storage,
// palette, tables). Blocks must be freed by the heap that made them.
enum class Heap : unsigned { Runtime = 1, System = 2 };

void *heap_alloc(Heap heap, std::size_t bytes, bool zeroed) noexcept;
// Resizes; null block allocates. On failure returns null and the block stays.
void *heap_realloc(Heap heap, void *block, std::size_t bytes) noexcept;
void heap_free(Heap heap, void *block) noexcept;

inline void *sys_alloc(std::size_t bytes) noexcept {
  return heap_alloc(Heap::System, bytes, true);
}
inline void sys_free(void *block) noexcept {
  heap_free(Heap::System, block);
}
inline void *rt_alloc(std::size_t bytes, bool zeroed = false) noexcept {
  return heap_alloc(Heap::Runtime, bytes, zeroed);
}
inline void rt_free(void *block) noexcept {
  heap_free(Heap::Runtime, block);
}

// Ask the system for every page of a large fresh block now rather than one
// fault at a time on first touch (pixel blocks about to be written whole).
// Advice only; small blocks and systems without it are left as they are.
void prefault(void *block, std::size_t bytes) noexcept;

// count x size in bytes, or SIZE_MAX when the product does not fit.
std::size_t checked_product(std::uint64_t count, std::uint64_t size) noexcept;

// Owns one block of a heap until released; frees it otherwise.
template <Heap H>
class HeapBlock {
 public:
  HeapBlock() = default;
  explicit HeapBlock(void *block) : block_(block) {}
  HeapBlock(const HeapBlock &) = delete;
  HeapBlock &operator=(const HeapBlock &) = delete;
  ~HeapBlock() { heap_free(H, block_); }
  void *get() const { return block_; }
  void *release() {
    void *b = block_;
    block_ = nullptr;
    return b;
  }
  void reset(void *block) {
    heap_free(H, block_);
    block_ = block;
  }
  explicit operator bool() const { return block_ != nullptr; }

 private:
  void *block_ = nullptr;
};
using SystemBlock = HeapBlock<Heap::System>;
using RuntimeBlock = HeapBlock<Heap::Runtime>;

}  // namespace vxkrn::platform

// Test instrumentation. Costs one thread-local test per allocation when not
// armed; never armed by the library itself.
namespace vxkrn::testing {

// Fail the nth allocation (1-based) made by the calling thread from the given
// heaps (a mask of Heap values), counting from this call. nth 0 only counts;
// a mask of 0 disarms.
void fail_nth_allocation(unsigned nth, unsigned heap_mask) noexcept;
// Allocations the calling thread attempted since the last fail_nth_allocation.
unsigned allocations_attempted() noexcept;
// Blocks currently held by the whole process from one heap.
std::int64_t live_blocks(platform::Heap heap) noexcept;

}  // namespace vxkrn::testing
