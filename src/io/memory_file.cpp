// Redirection of a thread's file traffic into one growable memory block: the
// five memory callbacks and the start and stop calls that swap them in.
#include "io/memory_file.h"

#include <cstring>

#include "io/redirect.h"
#include "platform/heap.h"
#include "vxkrn/file.h"

namespace vxkrn::io {
namespace {

constexpr uint64_t kGrowStep = 32768;

MemoryFile *as_file(void *user_data) {
  return static_cast<MemoryFile *>(user_data);
}

int32_t memory_open(const wchar_t *, int32_t flags, int32_t, void *user_data) {
  MemoryFile *file = as_file(user_data);
  file->position = 0;
  // Creating a file empties it, as on disk.
  if (flags & (OPEN_TRUNCATE | OPEN_CREATE)) file->data_size = 0;
  return MEMFILE_HANDLE;
}

int32_t memory_read(int32_t handle, void *buffer, uint32_t count, void *user_data) {
  MemoryFile *file = as_file(user_data);
  if (!buffer || handle != MEMFILE_HANDLE || file->position > file->data_size || !file->buffer)
    return -1;
  uint32_t n = file->data_size - file->position;
  if (count < n) n = count;
  if (n > INT32_MAX) n = INT32_MAX;
  std::memcpy(buffer, file->buffer + file->position, n);
  file->position += n;
  return static_cast<int32_t>(n);
}

// Grow to hold `end` bytes, rounded up to the growth step. A failure keeps
// the old block: the write is then merely cut short.
void grow(MemoryFile *file, uint64_t end) {
  const uint64_t capacity = (end + kGrowStep - 1) & ~(kGrowStep - 1);
  if (capacity > UINT32_MAX) return;
  void *block = file->buffer
                    ? platform::heap_realloc(platform::Heap::System, file->buffer, capacity)
                    : platform::sys_alloc(capacity);
  if (!block) return;
  file->buffer = static_cast<uint8_t *>(block);
  file->capacity = static_cast<uint32_t>(capacity);
}

int32_t memory_write(int32_t handle, const void *buffer, uint32_t count, void *user_data) {
  MemoryFile *file = as_file(user_data);
  if (!buffer || handle != MEMFILE_HANDLE || !(file->flags & MEMFILE_WRITE)) return -1;
  if (count == 0) {
    // A cut shortens the file; at or past its end it changes nothing.
    if (file->position < file->data_size) file->data_size = file->position;
    return 0;
  }
  const uint64_t end = uint64_t{file->position} + count;
  if (end > file->capacity && (file->flags & MEMFILE_GROW)) grow(file, end);
  if (file->position > file->capacity || !file->buffer) return -1;
  uint32_t n = file->capacity - file->position;
  if (count < n) n = count;
  if (n > INT32_MAX) n = INT32_MAX;
  // A full block takes nothing; the file does not grow either.
  if (n == 0) return 0;
  // Bytes between the old end and a write past it read as zeros, whatever
  // the block held there (a cut, a trim or a reallocation left them).
  if (file->position > file->data_size)
    std::memset(file->buffer + file->data_size, 0, file->position - file->data_size);
  std::memcpy(file->buffer + file->position, buffer, n);
  file->position += n;
  if (file->position > file->data_size) file->data_size = file->position;
  return static_cast<int32_t>(n);
}

uint32_t memory_seek(int32_t, int32_t offset, int32_t origin, void *user_data) {
  MemoryFile *file = as_file(user_data);
  // Positions past the end are accepted: reads there fail, writes grow.
  switch (origin) {
    case SEEK_FROM_START:
      file->position = static_cast<uint32_t>(offset);
      break;
    case SEEK_FROM_CURRENT:
      file->position += static_cast<uint32_t>(offset);
      break;
    case SEEK_FROM_END:
      file->position = file->data_size + static_cast<uint32_t>(offset);
      break;
    default:
      return static_cast<uint32_t>(-1);
  }
  return file->position;
}

int32_t memory_close(int32_t handle, void *user_data) {
  MemoryFile *file = as_file(user_data);
  if (handle != MEMFILE_HANDLE) return -1;
  const uint32_t trim = MEMFILE_GROW | MEMFILE_TRIM;
  if (file->data_size < file->capacity && !(file->flags & MEMFILE_FULL) &&
      (file->flags & trim) == trim && file->buffer) {
    void *block = platform::heap_realloc(platform::Heap::System, file->buffer, file->data_size);
    if (block) {
      file->buffer = static_cast<uint8_t *>(block);
      file->capacity = file->data_size;
    }
  }
  return 0;
}

// Whether the thread's table is this redirection's own: only then does
// stopping it put back what was current before it.
bool is_current(const MemoryFile *file) {
  const core::RedirectTable &t = table();
  return t.open == memory_open && t.read == memory_read && t.write == memory_write &&
         t.seek == memory_seek && t.close == memory_close && t.open_data == file &&
         t.read_data == file && t.write_data == file && t.seek_data == file && t.close_data == file;
}

}  // namespace

MemoryFile *start_memory_redirect(std::uint32_t flags, void *buffer, std::uint32_t size) noexcept {
  auto *file = static_cast<MemoryFile *>(platform::rt_alloc(sizeof(MemoryFile)));
  if (!file) return nullptr;
  file->buffer = static_cast<std::uint8_t *>(buffer);
  file->capacity = size;
  file->data_size = (flags & MEMFILE_FULL) ? size : 0;
  file->position = 0;
  file->flags = flags;
  file->saved =
      core::RedirectTable{memory_open, memory_read, memory_write, memory_seek, memory_close,
                          file,        file,        file,         file,        file};
  swap_table(file->saved);
  return file;
}

ResultCode stop_memory_redirect(MemoryFile *file, void **buffer, std::uint32_t *size) noexcept {
  if (!is_current(file)) return RC_INVALID_PARAMETER;
  swap_table(file->saved);
  if (buffer) *buffer = file->buffer;
  if (size) *size = file->data_size;
  platform::rt_free(file);
  return RC_SUCCESS;
}

}  // namespace vxkrn::io
