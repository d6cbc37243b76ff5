// POSIX file-system queries. The only environment variable the library reads
// is TMPDIR, for the default temporary directory.
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>

#include "platform/files.h"

namespace vxkrn::platform {

PathKind path_kind(const char *utf8_path) noexcept {
  struct stat st;
  if (!utf8_path || !*utf8_path || stat(utf8_path, &st) != 0) return PathKind::Missing;
  return S_ISDIR(st.st_mode) ? PathKind::Directory : PathKind::Other;
}

bool system_temp_directory(char *buffer, std::size_t size) noexcept {
  const char *dir = std::getenv("TMPDIR");
  if (!dir || path_kind(dir) != PathKind::Directory) dir = "/tmp";
  std::size_t n = std::strlen(dir);
  bool slash = n > 0 && dir[n - 1] == '/';
  if (n + (slash ? 0 : 1) + 1 > size) return false;
  std::memcpy(buffer, dir, n);
  if (!slash) buffer[n++] = '/';
  buffer[n] = '\0';
  return true;
}

}  // namespace vxkrn::platform
