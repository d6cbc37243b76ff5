// Temporary-file registry: handle to file name under the library lock. The
// close and the deletion happen after the lock is left.
#include "io/temp_registry.h"

#include <cstring>
#include <cwchar>

#include "platform/files.h"
#include "platform/heap.h"
#include "platform/threads.h"
#include "platform/wide_path.h"

namespace vxkrn::io {
namespace {

// Names are kept in the encoding the file system takes, converted when
// registered, so that deleting at close needs no memory.
constexpr std::size_t kNameBytes = VXKRN_MAX_PATH * 4;

struct Entry {
  std::int32_t file;
  char name[kNameBytes];
};

// Guarded by the library lock. The array is freed whenever it empties, so an
// idle registry holds no memory.
Entry *g_entries = nullptr;
int g_count = 0;
int g_capacity = 0;

Entry *find(std::int32_t file) {
  for (int i = 0; i < g_count; ++i)
    if (g_entries[i].file == file) return &g_entries[i];
  return nullptr;
}

}  // namespace

bool register_temp_file(std::int32_t file, const wchar_t *name) noexcept {
  char encoded[kNameBytes];
  if (std::wcslen(name) >= VXKRN_MAX_PATH || !platform::wide_to_utf8(name, encoded, kNameBytes))
    return false;
  platform::LibraryLockGuard guard;
  Entry *entry = find(file);
  if (!entry) {
    if (g_count == g_capacity) {
      const int capacity = g_capacity ? 2 * g_capacity : 8;
      auto *grown = static_cast<Entry *>(platform::heap_realloc(
          platform::Heap::Runtime, g_entries, sizeof(Entry) * static_cast<std::size_t>(capacity)));
      if (!grown) return false;
      g_entries = grown;
      g_capacity = capacity;
    }
    entry = &g_entries[g_count++];
    entry->file = file;
  }
  std::memcpy(entry->name, encoded, kNameBytes);
  return true;
}

bool close_file(std::int32_t file) noexcept {
  char name[kNameBytes];
  bool registered = false;
  {
    platform::LibraryLockGuard guard;
    if (Entry *entry = find(file)) {
      std::memcpy(name, entry->name, kNameBytes);
      *entry = g_entries[--g_count];
      registered = true;
      if (g_count == 0) {
        platform::rt_free(g_entries);
        g_entries = nullptr;
        g_capacity = 0;
      }
    }
  }
  const bool closed = platform::file_close(file);
  if (registered) platform::file_delete(name);
  return closed;
}

ResultCode create_temp_file(std::uint32_t size, std::int32_t *file) noexcept {
  wchar_t name[VXKRN_MAX_PATH];
  if (V_OsGetTempName(name) != RC_SUCCESS) return RC_NO_MEMORY;
  const std::int32_t handle = V_OsCreat(name, 0);
  if (handle == FILE_NO_HANDLE || !register_temp_file(handle, name)) {
    if (handle != FILE_NO_HANDLE) platform::file_close(handle);
    V_OsDelete(name);
    return RC_NO_MEMORY;
  }
  // Registered: closing deletes it from here on.
  if (V_OsSetFileSize(handle, size) != 0) {
    close_file(handle);
    return RC_FILE_WRITE;
  }
  *file = handle;
  return RC_SUCCESS;
}

int registered_temp_files() noexcept {
  platform::LibraryLockGuard guard;
  return g_count;
}

}  // namespace vxkrn::io
