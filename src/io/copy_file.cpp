// File copy: the source is read from the file system directly, the
// destination written through the thread's redirection, on purpose.
#include "io/copy_file.h"

#include "core/temp_files.h"
#include "io/os_file.h"
#include "io/redirect.h"
#include "platform/files.h"
#include "platform/wide_path.h"

namespace vxkrn::io {
namespace {

using platform::Access;
using platform::Creation;
using platform::ErrorKind;
using platform::Utf8Path;

constexpr std::uint32_t kCopyChunk = 1024;

// The destination while the copy runs. When the system's files take it (no
// redirection of opens) and it did not exist before, a failed copy deletes
// it again: a failure leaves no destination it created.
struct Destination {
  const wchar_t *name;
  bool made_here = false;
  std::int32_t handle = FILE_NO_HANDLE;

  std::int32_t fail(ErrorKind error) {
    redirected_close(handle);
    if (made_here) os_delete(name);
    platform::set_last_error(error);  // after the close and delete, which may change it
    return 0;
  }
};

}  // namespace

std::int32_t copy_file(const wchar_t *source, const wchar_t *destination,
                       std::int32_t fail_if_exists) noexcept {
  const Utf8Path from(source), to(destination);
  if (fail_if_exists) {
    const int32_t existing =
        platform::file_open(to.c_str(), Access::Read, Creation::OpenExisting, 0);
    if (existing >= 0) {
      platform::file_close(existing);
      platform::set_last_error(ErrorKind::FileExists);
      return 0;
    }
  }
  const bool on_disk = opens_on_disk();
  // Opening the destination would empty the source it is.
  if (on_disk && platform::same_file(from.c_str(), to.c_str())) {
    platform::set_last_error(ErrorKind::InvalidArgument);
    return 0;
  }
  // A directory opens but cannot be read: refused before anything is made.
  if (platform::path_kind(from.c_str()) == platform::PathKind::Directory) {
    platform::set_last_error(ErrorKind::IoFault);
    return 0;
  }
  const int32_t in = platform::file_open(from.c_str(), Access::Read, Creation::OpenExisting, 0);
  if (in < 0) return 0;
  Destination out{destination,
                  on_disk && platform::path_kind(to.c_str()) == platform::PathKind::Missing};
  out.handle = redirected_open(destination, OPEN_READ_WRITE | OPEN_CREATE, SHARE_WRITE);
  if (out.handle == FILE_NO_HANDLE) {
    core::close_file(in);
    return 0;
  }
  unsigned char chunk[kCopyChunk];
  for (;;) {
    const std::int64_t n = platform::file_read_some(in, chunk, sizeof chunk);
    if (n > 0 && redirected_write(out.handle, chunk, static_cast<std::uint32_t>(n)) == n) continue;
    core::close_file(in);
    if (n != 0) return out.fail(ErrorKind::IoFault);
    redirected_close(out.handle);
    return 1;
  }
}

}  // namespace vxkrn::io
