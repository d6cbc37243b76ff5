// Temporary files: names made with exclusive creation, and the registry of
// handle to file name under the library lock. The close and the deletion
// happen after the lock is left.
#include "core/temp_files.h"

#include <atomic>
#include <cstring>
#include <cwchar>

#include "core/checks.h"
#include "core/thread_state.h"
#include "platform/files.h"
#include "platform/heap.h"
#include "platform/threads.h"
#include "platform/wide_path.h"

namespace vxkrn::core {
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

constexpr unsigned kFileMode = 0666;      // before the process umask
constexpr unsigned kTempFileMode = 0600;  // scratch names are private

std::atomic<std::uint32_t> g_temp_counter{0};

// Appends the lowercase hex digits of value.
wchar_t *append_hex(wchar_t *out, std::uint32_t value) {
  wchar_t digits[8];
  int n = 0;
  do {
    digits[n++] = L"0123456789abcdef"[value & 15];
    value >>= 4;
  } while (value);
  while (n)
    *out++ = digits[--n];
  return out;
}

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

ResultCode temp_name(wchar_t *out) noexcept {
  const ThreadState &state = thread_state();
  // <directory>/VK<process>_<counter>.tmp, made with exclusive creation.
  const std::size_t dir_length = std::wcslen(state.temp_directory);
  const bool slash = dir_length > 0 && state.temp_directory[dir_length - 1] == L'/';
  constexpr std::size_t kSuffixChars = 2 + 8 + 1 + 8 + 4 + 1;
  if (dir_length + 1 + kSuffixChars > VXKRN_MAX_PATH) return RC_NO_MEMORY;
  wchar_t name[VXKRN_MAX_PATH];
  std::wmemcpy(name, state.temp_directory, dir_length);
  wchar_t *tail = name + dir_length;
  if (!slash) *tail++ = L'/';
  for (int attempt = 0; attempt < 1000; ++attempt) {
    wchar_t *p = tail;
    *p++ = L'V';
    *p++ = L'K';
    p = append_hex(p, platform::process_id());
    *p++ = L'_';
    p = append_hex(p, g_temp_counter.fetch_add(1, std::memory_order_relaxed));
    std::wmemcpy(p, L".tmp", 5);
    char path[kNameBytes];
    if (!platform::wide_to_utf8(name, path, sizeof path)) break;
    const std::int32_t file = platform::file_open(path, platform::Access::Write,
                                                  platform::Creation::CreateNew, kTempFileMode);
    if (file >= 0) {
      platform::file_close(file);
      std::wmemcpy(out, name, std::wcslen(name) + 1);
      return RC_SUCCESS;
    }
    if (platform::path_kind(path) == platform::PathKind::Missing) break;  // not a name clash
  }
  return RC_NO_MEMORY;
}

ResultCode create_temp_file(std::uint32_t size, std::int32_t *file) noexcept {
  wchar_t name[VXKRN_MAX_PATH];
  VXKRN_TRY(temp_name(name));
  // Converted on the stack: once the name exists, nothing may fail to
  // delete it again.
  char path[kNameBytes];
  if (!platform::wide_to_utf8(name, path, sizeof path)) return RC_NO_MEMORY;
  const std::int32_t handle = platform::file_open(path, platform::Access::ReadWrite,
                                                  platform::Creation::CreateAlways, kFileMode);
  if (handle < 0 || !register_temp_file(handle, name)) {
    if (handle >= 0) platform::file_close(handle);
    platform::file_delete(path);
    return RC_NO_MEMORY;
  }
  // Registered: closing deletes it from here on.
  if (platform::file_seek(handle, size, platform::Origin::Start) != std::int64_t{size} ||
      !platform::file_truncate_here(handle)) {
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

}  // namespace vxkrn::core
