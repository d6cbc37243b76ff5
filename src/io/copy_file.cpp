// File copy: the source is read from the file system directly, the
// destination written through the thread's redirection, on purpose.
#include "core/thread_state.h"
#include "io/temp_registry.h"
#include "platform/files.h"
#include "platform/wide_path.h"
#include "vxkrn/file.h"

using namespace vxkrn::platform;

namespace {

constexpr uint32_t kCopyChunk = 1024;

// The destination while the copy runs. When the system's files take it (no
// redirection of opens) and it did not exist before, a failed copy deletes
// it again: a failure leaves no destination it created.
struct Destination {
  const wchar_t *name;
  bool made_here = false;
  int32_t handle = FILE_NO_HANDLE;

  ResultCode fail(ErrorKind error) {
    V_RedirectedClose(handle);
    if (made_here) V_OsDelete(name);
    set_last_error(error);  // after the close and delete, which may change it
    return 0;
  }
};

bool opens_on_disk() {
  const IoOpenFunc open = vxkrn::core::thread_state().redirect.open;
  return !open || open == V_OsOpen;
}

}  // namespace

extern "C" {

int32_t V_CopyFile(const wchar_t *source, const wchar_t *destination, int32_t fail_if_exists) {
  const Utf8Path from(source), to(destination);
  if (fail_if_exists) {
    const int32_t existing = file_open(to.c_str(), Access::Read, Creation::OpenExisting, 0);
    if (existing >= 0) {
      file_close(existing);
      set_last_error(ErrorKind::FileExists);
      return 0;
    }
  }
  const bool on_disk = opens_on_disk();
  // Opening the destination would empty the source it is.
  if (on_disk && same_file(from.c_str(), to.c_str())) {
    set_last_error(ErrorKind::InvalidArgument);
    return 0;
  }
  // A directory opens but cannot be read: refused before anything is made.
  if (path_kind(from.c_str()) == PathKind::Directory) {
    set_last_error(ErrorKind::IoFault);
    return 0;
  }
  const int32_t in = file_open(from.c_str(), Access::Read, Creation::OpenExisting, 0);
  if (in < 0) return 0;
  Destination out{destination, on_disk && path_kind(to.c_str()) == PathKind::Missing};
  out.handle = V_RedirectedOpen(destination, OPEN_READ_WRITE | OPEN_CREATE, SHARE_WRITE);
  if (out.handle == FILE_NO_HANDLE) {
    vxkrn::io::close_file(in);
    return 0;
  }
  unsigned char chunk[kCopyChunk];
  for (;;) {
    const int64_t n = file_read_some(in, chunk, sizeof chunk);
    if (n > 0 && V_RedirectedWrite(out.handle, chunk, static_cast<uint32_t>(n)) == n) continue;
    vxkrn::io::close_file(in);
    if (n != 0) return out.fail(ErrorKind::IoFault);
    V_RedirectedClose(out.handle);
    return 1;
  }
}

}  // extern "C"
