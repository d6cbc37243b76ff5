// The boundary of system.h for memory: the run-time heap (V_Local...), the
// system heap (V_Global..., V_Os...Handle) and the byte routines.
#include <cstring>

#include "platform/heap.h"
#include "vxkrn/system.h"

using vxkrn::platform::checked_product;
using vxkrn::platform::Heap;
using vxkrn::platform::heap_alloc;
using vxkrn::platform::heap_free;
using vxkrn::platform::heap_realloc;

namespace {

constexpr uint32_t kZeroInit = 0x40;  // the allocation flag that clears a block

void *alloc_product(Heap heap, uint32_t count, uint32_t size, bool zeroed) {
  return heap_alloc(heap, checked_product(count, size), zeroed);
}

}  // namespace

extern "C" {

void *V_LocalAlloc(uint32_t count, uint32_t size) {
  return alloc_product(Heap::Runtime, count, size, false);
}

void *V_LocalAllocInit(uint32_t count, uint32_t size) {
  return alloc_product(Heap::Runtime, count, size, true);
}

void *V_LocalRealloc(void *block, uint32_t size) {
  return heap_realloc(Heap::Runtime, block, size);
}

void *V_LocalReallocInit(void *block, uint32_t size) {
  void *resized = heap_realloc(Heap::Runtime, block, size);
  if (resized) std::memset(resized, 0, size);
  return resized;
}

void V_LocalFree(void *block) {
  heap_free(Heap::Runtime, block);
}

void *V_GlobalAlloc(uint32_t count, uint32_t size) {
  return alloc_product(Heap::System, count, size, true);
}

void *V_GlobalAllocInit(uint32_t count, uint32_t size) {
  std::size_t bytes = checked_product(count, size);
  void *block = heap_alloc(Heap::System, bytes, true);
  if (block) std::memset(block, 0, bytes);
  return block;
}

void *V_GlobalRealloc(void *block, uint32_t size) {
  return heap_realloc(Heap::System, block, size);
}

int32_t V_GlobalFree(void *block) {
  heap_free(Heap::System, block);
  return 1;
}

void *V_OsAllocHandle(uint32_t flags, uint32_t size) {
  return heap_alloc(Heap::System, size, (flags & kZeroInit) != 0);
}

void *V_OsAllocHandleInit(uint32_t /*flags*/, uint32_t size) {
  return heap_alloc(Heap::System, size, true);
}

void *V_OsReallocHandle(void *block, uint32_t size) {
  return heap_realloc(Heap::System, block, size);
}

int32_t V_OsFreeHandle(void *block) {
  heap_free(Heap::System, block);
  return 0;
}

void *V_MemoryCopy(void *destination, const void *source, size_t count) {
  return count ? std::memcpy(destination, source, count) : destination;
}

void *V_MemoryMove(void *destination, const void *source, size_t count) {
  return count ? std::memmove(destination, source, count) : destination;
}

void *V_MemorySet(void *destination, int value, size_t count) {
  return count ? std::memset(destination, value, count) : destination;
}

int V_MemoryCompare(const void *first, const void *second, size_t count) {
  return count ? std::memcmp(first, second, count) : 0;
}

int V_MemoryCompareI(const void *first, const void *second, size_t count) {
  auto *a = static_cast<const unsigned char *>(first);
  auto *b = static_cast<const unsigned char *>(second);
  for (size_t i = 0; i < count; ++i) {
    // ASCII folding only: the result must not depend on the process locale.
    int ca = (a[i] >= 'A' && a[i] <= 'Z') ? a[i] + ('a' - 'A') : a[i];
    int cb = (b[i] >= 'A' && b[i] <= 'Z') ? b[i] + ('a' - 'A') : b[i];
    if (ca != cb) return ca - cb;
  }
  return 0;
}

void *V_MemoryChr(const void *block, int value, size_t count) {
  return count ? const_cast<void *>(std::memchr(block, value, count)) : nullptr;
}

}  // extern "C"
