// The per-thread I/O callback table: installing, filtering and reading it,
// and the redirected calls that dispatch through it.
#include "core/thread_state.h"
#include "io/chunked.h"
#include "vxkrn/file.h"

using vxkrn::core::RedirectTable;

namespace {

RedirectTable &table() {
  return vxkrn::core::thread_state().redirect;
}

// A slot left empty (the process-wide fallback record has no routines) acts
// as the primitive it stands for.
template <class Func>
Func or_default(Func current, Func primitive) {
  return current ? current : primitive;
}

// Exchange one callback slot as V_FilterIO describes.
template <class Func>
void filter_callback(Func &slot, Func *exchange) {
  if (!exchange) return;
  const Func current = slot;
  if (*exchange) slot = *exchange;
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

void V_RedirectIO(IoOpenFunc open, IoReadFunc read, IoWriteFunc write, IoSeekFunc seek,
                  IoCloseFunc close, void *user_data) {
  table() = RedirectTable{or_default(open, V_OsOpen),
                          or_default(read, V_OsRead),
                          or_default(write, V_OsWrite),
                          or_default(seek, V_OsSeek),
                          or_default(close, V_OsClose),
                          user_data,
                          user_data,
                          user_data,
                          user_data,
                          user_data};
}

void V_FilterIO(IoOpenFunc *open, IoReadFunc *read, IoWriteFunc *write, IoSeekFunc *seek,
                IoCloseFunc *close, void **open_data, void **read_data, void **write_data,
                void **seek_data, void **close_data) {
  RedirectTable &t = table();
  filter_callback(t.open, open);
  filter_callback(t.read, read);
  filter_callback(t.write, write);
  filter_callback(t.seek, seek);
  filter_callback(t.close, close);
  filter_data(t.open_data, open_data);
  filter_data(t.read_data, read_data);
  filter_data(t.write_data, write_data);
  filter_data(t.seek_data, seek_data);
  filter_data(t.close_data, close_data);
}

void V_GetFilterIOData(void **open_data, void **read_data, void **write_data, void **seek_data,
                       void **close_data) {
  const RedirectTable &t = table();
  if (open_data) *open_data = t.open_data;
  if (read_data) *read_data = t.read_data;
  if (write_data) *write_data = t.write_data;
  if (seek_data) *seek_data = t.seek_data;
  if (close_data) *close_data = t.close_data;
}

int32_t V_RedirectedOpen(const wchar_t *name, int32_t flags, int32_t share) {
  const RedirectTable &t = table();
  return or_default(t.open, V_OsOpen)(name, flags, share, t.open_data);
}

int32_t V_RedirectedRead(int32_t file, void *buffer, uint32_t count) {
  const RedirectTable &t = table();
  return or_default(t.read, V_OsRead)(file, buffer, count, t.read_data);
}

int32_t V_RedirectedWrite(int32_t file, const void *buffer, uint32_t count) {
  const RedirectTable &t = table();
  return or_default(t.write, V_OsWrite)(file, buffer, count, t.write_data);
}

uint32_t V_RedirectedSeek(int32_t file, int32_t offset, int32_t origin) {
  const RedirectTable &t = table();
  return or_default(t.seek, V_OsSeek)(file, offset, origin, t.seek_data);
}

int32_t V_RedirectedClose(int32_t file) {
  const RedirectTable &t = table();
  return or_default(t.close, V_OsClose)(file, t.close_data);
}

int64_t V_RedirectedReadBig(int32_t file, void *buffer, uint32_t count) {
  return vxkrn::io::chunked_transfer(count, [&](uint32_t offset, uint32_t chunk) {
    return V_RedirectedRead(file, buffer ? static_cast<char *>(buffer) + offset : nullptr, chunk);
  });
}

int64_t V_RedirectedWriteBig(int32_t file, const void *buffer, uint32_t count) {
  return vxkrn::io::chunked_transfer(count, [&](uint32_t offset, uint32_t chunk) {
    return V_RedirectedWrite(file, buffer ? static_cast<const char *>(buffer) + offset : nullptr,
                             chunk);
  });
}

}  // extern "C"
