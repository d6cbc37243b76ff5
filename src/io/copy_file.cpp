// File copy: the source is read from the file system directly, the
// destination written through the thread's redirection, on purpose.
#include "io/temp_registry.h"
#include "platform/files.h"
#include "platform/wide_path.h"
#include "vxkrn/file.h"

using namespace vxkrn::platform;

namespace {

constexpr uint32_t kCopyChunk = 1024;

// Close both ends; the last error is set afterwards so closing cannot
// overwrite it.
int32_t finish(int32_t source, int32_t destination, int32_t result, const ErrorKind *error) {
  vxkrn::io::close_file(source);
  V_RedirectedClose(destination);
  if (error) set_last_error(*error);
  return result;
}

}  // namespace

extern "C" {

int32_t V_CopyFile(const wchar_t *source, const wchar_t *destination, int32_t fail_if_exists) {
  if (fail_if_exists) {
    const int32_t existing =
        file_open(Utf8Path(destination).c_str(), Access::Read, Creation::OpenExisting, 0);
    if (existing >= 0) {
      file_close(existing);
      set_last_error(ErrorKind::FileExists);
      return 0;
    }
  }
  const int32_t in = file_open(Utf8Path(source).c_str(), Access::Read, Creation::OpenExisting, 0);
  if (in < 0) return 0;
  const int32_t out = V_RedirectedOpen(destination, OPEN_READ_WRITE | OPEN_CREATE, SHARE_WRITE);
  if (out == FILE_NO_HANDLE) {
    vxkrn::io::close_file(in);
    return 0;
  }
  const ErrorKind fault = ErrorKind::IoFault;
  unsigned char chunk[kCopyChunk];
  for (;;) {
    const int64_t n = file_read_some(in, chunk, sizeof chunk);
    if (n < 0) return finish(in, out, 0, &fault);
    if (n == 0) return finish(in, out, 1, nullptr);
    if (V_RedirectedWrite(out, chunk, static_cast<uint32_t>(n)) != n)
      return finish(in, out, 0, &fault);
  }
}

}  // extern "C"
