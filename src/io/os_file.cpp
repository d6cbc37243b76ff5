// The primitive file operations over the platform's descriptors, the
// temporary names, and the handle close that honours the registry.
#include <atomic>
#include <climits>
#include <cwchar>

#include "core/thread_state.h"
#include "io/chunked.h"
#include "io/temp_registry.h"
#include "platform/files.h"
#include "platform/wide_path.h"
#include "vxkrn/file.h"

using namespace vxkrn::platform;

namespace {

constexpr unsigned kFileMode = 0666;  // before the process umask
constexpr unsigned kReadOnlyMode = 0444;
constexpr unsigned kTempFileMode = 0600;  // scratch files are private

Access access_of(int32_t flags) {
  switch (flags & 3) {
    case 0:
      return Access::Read;
    case 1:
      return Access::Write;
    default:
      return Access::ReadWrite;
  }
}

Origin origin_of(int32_t origin) {
  return origin == SEEK_FROM_START     ? Origin::Start
         : origin == SEEK_FROM_CURRENT ? Origin::Current
                                       : Origin::End;
}

// Appends the lowercase hex digits of value.
wchar_t *append_hex(wchar_t *out, uint32_t value) {
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

std::atomic<uint32_t> g_temp_counter{0};

}  // namespace

extern "C" {

int32_t V_OsOpen(const wchar_t *name, int32_t flags, int32_t /*share*/, void * /*user_data*/) {
  if (!name) return FILE_NO_HANDLE;
  const Creation creation = (flags & OPEN_CREATE)     ? Creation::CreateAlways
                            : (flags & OPEN_TRUNCATE) ? Creation::TruncateExisting
                                                      : Creation::OpenExisting;
  return file_open(Utf8Path(name).c_str(), access_of(flags), creation, kFileMode);
}

int32_t V_OsCreat(const wchar_t *name, int32_t attributes) {
  if (!name) return FILE_NO_HANDLE;
  Utf8Path path(name);
  const bool read_only = attributes & CREAT_READ_ONLY;
  const int32_t file = file_open(path.c_str(), read_only ? Access::Read : Access::ReadWrite,
                                 Creation::CreateAlways, read_only ? kReadOnlyMode : kFileMode);
  // Removing the name now leaves the file alive until its last close.
  if (file >= 0 && (attributes & CREAT_DELETE_ON_CLOSE)) file_delete(path.c_str());
  return file;
}

int32_t V_OsRead(int32_t file, void *buffer, uint32_t count, void * /*user_data*/) {
  if (!buffer) return -1;
  return static_cast<int32_t>(file_read_some(file, buffer, count));
}

int32_t V_OsWrite(int32_t file, const void *buffer, uint32_t count, void * /*user_data*/) {
  if (count == 0) return file_truncate_here(file) ? 0 : -1;
  if (!buffer) return -1;
  return static_cast<int32_t>(file_write_some(file, buffer, count));
}

int64_t V_OsReadBig(int32_t file, void *buffer, uint32_t count, void *user_data) {
  return vxkrn::io::chunked_transfer(count, [&](uint32_t offset, uint32_t chunk) {
    return V_OsRead(file, buffer ? static_cast<char *>(buffer) + offset : nullptr, chunk,
                    user_data);
  });
}

int64_t V_OsWriteBig(int32_t file, const void *buffer, uint32_t count, void *user_data) {
  return vxkrn::io::chunked_transfer(count, [&](uint32_t offset, uint32_t chunk) {
    return V_OsWrite(file, buffer ? static_cast<const char *>(buffer) + offset : nullptr, chunk,
                     user_data);
  });
}

uint32_t V_OsSeek(int32_t file, int32_t offset, int32_t origin, void * /*user_data*/) {
  const int64_t position = file_seek(file, offset, origin_of(origin));
  return position < 0 ? 0 : static_cast<uint32_t>(position);
}

uint64_t V_OsSeekBig(int32_t file, int32_t offset_low, int32_t offset_high, int32_t origin) {
  const int64_t offset =
      static_cast<int64_t>((static_cast<uint64_t>(static_cast<uint32_t>(offset_high)) << 32) |
                           static_cast<uint32_t>(offset_low));
  const int64_t position = file_seek(file, offset, origin_of(origin));
  return position < 0 ? 0 : static_cast<uint64_t>(position);
}

int32_t V_OsSetFileSize(int32_t file, uint32_t size) {
  if (file_seek(file, size, Origin::Start) != static_cast<int64_t>(size)) return -1;
  return file_truncate_here(file) ? 0 : -1;
}

int32_t V_OsClose(int32_t file, void * /*user_data*/) {
  return vxkrn::io::close_file(file) ? 0 : -1;
}

int32_t V_OsDelete(const wchar_t *name) {
  if (!name) return -1;
  return file_delete(Utf8Path(name).c_str()) ? 0 : -1;
}

ResultCode V_OsGetLastError(ResultCode fallback) {
  return last_error_is_disk_full() ? RC_DISK_FULL : fallback;
}

ResultCode V_OsGetTempName(wchar_t *out) {
  const vxkrn::core::ThreadState &state = vxkrn::core::thread_state();
  if (!out) return RC_INVALID_PARAMETER;
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
    p = append_hex(p, process_id());
    *p++ = L'_';
    p = append_hex(p, g_temp_counter.fetch_add(1, std::memory_order_relaxed));
    std::wmemcpy(p, L".tmp", 5);
    const int32_t file =
        file_open(Utf8Path(name).c_str(), Access::Write, Creation::CreateNew, kTempFileMode);
    if (file >= 0) {
      file_close(file);
      std::wmemcpy(out, name, std::wcslen(name) + 1);
      return RC_SUCCESS;
    }
    if (path_kind(Utf8Path(name).c_str()) == PathKind::Missing) break;  // not a name clash
  }
  return RC_NO_MEMORY;
}

int32_t V_WinCloseHandle(intptr_t handle, int32_t /*line*/, const wchar_t * /*source_file*/) {
  const int64_t value = static_cast<int64_t>(handle);
  if (value < INT32_MIN || value > INT32_MAX) return 0;
  return vxkrn::io::close_file(static_cast<int32_t>(handle)) ? 1 : 0;
}

}  // extern "C"
