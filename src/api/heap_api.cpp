// The boundary of heap.h: large blocks, and the offset arenas that hold
// compressed rows.
#include "core/bitmap_heap.h"
#include "core/checks.h"
#include "core/compressed_storage.h"
#include "core/huge_memory.h"
#include "core/record.h"
#include "vxkrn/heap.h"

using namespace vxkrn::core;

namespace {

ResultCode check_compressed(const BitmapHandle *bitmap) {
  VXKRN_TRY(check_handle(bitmap, RC_INVALID_PARAMETER));
  return has_flags(*bitmap, FLAG_ALLOCATED | FLAG_COMPRESSED) ? RC_SUCCESS : RC_INVALID_PARAMETER;
}

}  // namespace

extern "C" {

HugeMemory *V_AllocHugeMemory(uint32_t size) {
  return alloc_huge(size);
}

ResultCode V_AccessHugeMemory(HugeMemory *memory, void **out, uint32_t offset, uint32_t length) {
  if (!memory) return RC_INVALID_HANDLE;
  if (!out) return RC_INVALID_PARAMETER;
  return access_huge(memory, out, offset, length);
}

ResultCode V_ZeroHugeMemory(HugeMemory *memory, uint32_t offset, uint32_t length) {
  if (!memory) return RC_INVALID_HANDLE;
  return zero_huge(memory, offset, length);
}

void V_FreeHugeMemory(HugeMemory *memory) {
  if (memory) free_huge(memory);
}

ResultCode V_GrowBitmapHeap(BitmapHandle *bitmap, uint32_t bytes) {
  VXKRN_TRY(check_compressed(bitmap));
  const bool grown = compressed_grow(*bitmap, bytes);
  update_size(*bitmap);
  return grown ? RC_SUCCESS : 0;
}

ResultCode V_TrimBitmapHeap(BitmapHandle *bitmap) {
  VXKRN_TRY(check_compressed(bitmap));
  const bool trimmed = compressed_trim(*bitmap);
  update_size(*bitmap);
  return trimmed ? RC_SUCCESS : 0;
}

void V_HeapFree(void *arena, uint32_t chunk_offset) {
  arena_free(arena, chunk_offset);
}

void V_HeapTerm(void *arena) {
  arena_destroy(arena);
}

}  // extern "C"
