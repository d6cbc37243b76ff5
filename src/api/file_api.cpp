// The boundary of file.h: the primitives, the redirection table as callers
// see it, the memory redirection, file copy and the handle close.
#include <climits>

#include "core/temp_files.h"
#include "io/chunked.h"
#include "io/copy_file.h"
#include "io/memory_file.h"
#include "io/os_file.h"
#include "io/redirect.h"
#include "platform/files.h"
#include "vxkrn/file.h"

namespace io = vxkrn::io;

namespace {

// Inside the table an empty slot stands for the primitive; callers see the
// primitive itself, and installing the primitive empties the slot.
template <class Func>
Func shown(Func slot, Func primitive) {
  return slot ? slot : primitive;
}
template <class Func>
Func stored(Func value, Func primitive) {
  return value == primitive ? nullptr : value;
}

// Exchange one callback slot: the current callback goes back through the
// pointer, and a non-null value there becomes current.
template <class Func>
void filter_callback(Func &slot, Func *exchange, Func primitive) {
  if (!exchange) return;
  const Func current = shown(slot, primitive);
  if (*exchange) slot = stored(*exchange, primitive);
  *exchange = current;
}

void filter_data(void *&slot, void **exchange) {
  if (!exchange) return;
  void *current = slot;
  slot = *exchange;
  *exchange = current;
}

}  // namespace

extern "C" {

int32_t V_OsOpen(const wchar_t *name, int32_t flags, int32_t share, void *user_data) {
  return io::os_open(name, flags, share, user_data);
}

int32_t V_OsCreat(const wchar_t *name, int32_t attributes) {
  return io::os_creat(name, attributes);
}

int32_t V_OsRead(int32_t file, void *buffer, uint32_t count, void *user_data) {
  return io::os_read(file, buffer, count, user_data);
}

int32_t V_OsWrite(int32_t file, const void *buffer, uint32_t count, void *user_data) {
  return io::os_write(file, buffer, count, user_data);
}

int64_t V_OsReadBig(int32_t file, void *buffer, uint32_t count, void *user_data) {
  return io::chunked_transfer(count, [&](uint32_t offset, uint32_t chunk) {
    return io::os_read(file, buffer ? static_cast<char *>(buffer) + offset : nullptr, chunk,
                       user_data);
  });
}

int64_t V_OsWriteBig(int32_t file, const void *buffer, uint32_t count, void *user_data) {
  return io::chunked_transfer(count, [&](uint32_t offset, uint32_t chunk) {
    return io::os_write(file, buffer ? static_cast<const char *>(buffer) + offset : nullptr, chunk,
                        user_data);
  });
}

uint32_t V_OsSeek(int32_t file, int32_t offset, int32_t origin, void *user_data) {
  return io::os_seek(file, offset, origin, user_data);
}

uint64_t V_OsSeekBig(int32_t file, int32_t offset_low, int32_t offset_high, int32_t origin) {
  const auto offset =
      static_cast<int64_t>((static_cast<uint64_t>(static_cast<uint32_t>(offset_high)) << 32) |
                           static_cast<uint32_t>(offset_low));
  return io::os_seek_big(file, offset, origin);
}

int32_t V_OsSetFileSize(int32_t file, uint32_t size) {
  return io::os_set_file_size(file, size);
}

int32_t V_OsClose(int32_t file, void *user_data) {
  return io::os_close(file, user_data);
}

int32_t V_OsDelete(const wchar_t *name) {
  return io::os_delete(name);
}

ResultCode V_OsGetLastError(ResultCode fallback) {
  return vxkrn::platform::last_error_is_disk_full() ? RC_DISK_FULL : fallback;
}

ResultCode V_OsGetTempName(wchar_t *out) {
  if (!out) return RC_INVALID_PARAMETER;
  return vxkrn::core::temp_name(out);
}

void V_RedirectIO(IoOpenFunc open, IoReadFunc read, IoWriteFunc write, IoSeekFunc seek,
                  IoCloseFunc close, void *user_data) {
  io::table() = vxkrn::core::RedirectTable{stored(open, V_OsOpen),
                                           stored(read, V_OsRead),
                                           stored(write, V_OsWrite),
                                           stored(seek, V_OsSeek),
                                           stored(close, V_OsClose),
                                           user_data,
                                           user_data,
                                           user_data,
                                           user_data,
                                           user_data};
}

void V_FilterIO(IoOpenFunc *open, IoReadFunc *read, IoWriteFunc *write, IoSeekFunc *seek,
                IoCloseFunc *close, void **open_data, void **read_data, void **write_data,
                void **seek_data, void **close_data) {
  vxkrn::core::RedirectTable &t = io::table();
  filter_callback(t.open, open, &V_OsOpen);
  filter_callback(t.read, read, &V_OsRead);
  filter_callback(t.write, write, &V_OsWrite);
  filter_callback(t.seek, seek, &V_OsSeek);
  filter_callback(t.close, close, &V_OsClose);
  filter_data(t.open_data, open_data);
  filter_data(t.read_data, read_data);
  filter_data(t.write_data, write_data);
  filter_data(t.seek_data, seek_data);
  filter_data(t.close_data, close_data);
}

void V_GetFilterIOData(void **open_data, void **read_data, void **write_data, void **seek_data,
                       void **close_data) {
  const vxkrn::core::RedirectTable &t = io::table();
  if (open_data) *open_data = t.open_data;
  if (read_data) *read_data = t.read_data;
  if (write_data) *write_data = t.write_data;
  if (seek_data) *seek_data = t.seek_data;
  if (close_data) *close_data = t.close_data;
}

int32_t V_RedirectedOpen(const wchar_t *name, int32_t flags, int32_t share) {
  return io::redirected_open(name, flags, share);
}

int32_t V_RedirectedRead(int32_t file, void *buffer, uint32_t count) {
  return io::redirected_read(file, buffer, count);
}

int32_t V_RedirectedWrite(int32_t file, const void *buffer, uint32_t count) {
  return io::redirected_write(file, buffer, count);
}

uint32_t V_RedirectedSeek(int32_t file, int32_t offset, int32_t origin) {
  return io::redirected_seek(file, offset, origin);
}

int32_t V_RedirectedClose(int32_t file) {
  return io::redirected_close(file);
}

int64_t V_RedirectedReadBig(int32_t file, void *buffer, uint32_t count) {
  return io::chunked_transfer(count, [&](uint32_t offset, uint32_t chunk) {
    return io::redirected_read(file, buffer ? static_cast<char *>(buffer) + offset : nullptr,
                               chunk);
  });
}

int64_t V_RedirectedWriteBig(int32_t file, const void *buffer, uint32_t count) {
  return io::chunked_transfer(count, [&](uint32_t offset, uint32_t chunk) {
    return io::redirected_write(file, buffer ? static_cast<const char *>(buffer) + offset : nullptr,
                                chunk);
  });
}

ResultCode V_StartRedirectToBuffer(void **context, int32_t *handle, uint32_t flags, void *buffer,
                                   uint32_t size) {
  if (!context) return RC_INVALID_PARAMETER;
  io::MemoryFile *file = io::start_memory_redirect(flags, buffer, size);
  if (!file) return RC_NO_MEMORY;
  *context = file;
  if (handle) *handle = MEMFILE_HANDLE;
  return RC_SUCCESS;
}

ResultCode V_StopRedirectToBuffer(void *context, void **buffer, uint32_t *size) {
  if (!context) return RC_INVALID_PARAMETER;
  return io::stop_memory_redirect(static_cast<io::MemoryFile *>(context), buffer, size);
}

int32_t V_CopyFile(const wchar_t *source, const wchar_t *destination, int32_t fail_if_exists) {
  return io::copy_file(source, destination, fail_if_exists);
}

int32_t V_WinCloseHandle(intptr_t handle, int32_t /*line*/, const wchar_t * /*source_file*/) {
  const auto value = static_cast<int64_t>(handle);
  if (value < INT32_MIN || value > INT32_MAX) return 0;
  return vxkrn::core::close_file(static_cast<int32_t>(handle)) ? 1 : 0;
}

}  // extern "C"
