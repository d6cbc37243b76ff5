// POSIX files: open/read/write/lseek on descriptors with 64-bit offsets
// (large-file support on 32-bit targets), stat, unlink. The only environment
// variable the library reads is TMPDIR, for the default temporary directory.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "platform/files.h"

static_assert(sizeof(off_t) == 8, "the library is built with 64-bit file offsets");

namespace vxkrn::platform {

PathKind path_kind(const char *utf8_path) noexcept {
  struct stat st;
  if (!utf8_path || !*utf8_path || stat(utf8_path, &st) != 0) return PathKind::Missing;
  return S_ISDIR(st.st_mode) ? PathKind::Directory : PathKind::Other;
}

bool same_file(const char *first, const char *second) noexcept {
  struct stat a, b;
  if (!first || !second || stat(first, &a) != 0 || stat(second, &b) != 0) return false;
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
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

std::int32_t file_open(const char *utf8_path, Access access, Creation creation,
                       unsigned mode) noexcept {
  if (!utf8_path) {
    errno = ENOENT;
    return -1;
  }
  int flags = O_CLOEXEC;
  switch (access) {
    case Access::Read:
      flags |= O_RDONLY;
      break;
    case Access::Write:
      flags |= O_WRONLY;
      break;
    case Access::ReadWrite:
      flags |= O_RDWR;
      break;
  }
  switch (creation) {
    case Creation::OpenExisting:
      break;
    case Creation::TruncateExisting:
      flags |= O_TRUNC;
      break;
    case Creation::CreateAlways:
      flags |= O_CREAT | O_TRUNC;
      break;
    case Creation::CreateNew:
      flags |= O_CREAT | O_EXCL;
      break;
  }
  int fd;
  do {
    fd = ::open(utf8_path, flags, static_cast<mode_t>(mode));
  } while (fd < 0 && errno == EINTR);
  return fd;
}

bool file_close(std::int32_t file) noexcept {
  return ::close(file) == 0;
}

bool file_delete(const char *utf8_path) noexcept {
  return utf8_path && ::unlink(utf8_path) == 0;
}

namespace {
// One system call moves at most this much, as on Linux.
constexpr std::size_t kLargestTransfer = 0x7FFFF000;
}  // namespace

std::int64_t file_read_some(std::int32_t file, void *buffer, std::size_t count) noexcept {
  if (count > kLargestTransfer) count = kLargestTransfer;
  ssize_t n;
  do {
    n = ::read(file, buffer, count);
  } while (n < 0 && errno == EINTR);
  return n;
}

std::int64_t file_write_some(std::int32_t file, const void *buffer, std::size_t count) noexcept {
  if (count > kLargestTransfer) count = kLargestTransfer;
  ssize_t n;
  do {
    n = ::write(file, buffer, count);
  } while (n < 0 && errno == EINTR);
  return n;
}

std::int64_t file_read_all(std::int32_t file, void *buffer, std::size_t count) noexcept {
  std::size_t done = 0;
  while (done < count) {
    const std::int64_t n = file_read_some(file, static_cast<char *>(buffer) + done, count - done);
    if (n < 0) return done ? static_cast<std::int64_t>(done) : -1;
    if (n == 0) break;
    done += static_cast<std::size_t>(n);
  }
  return static_cast<std::int64_t>(done);
}

std::int64_t file_write_all(std::int32_t file, const void *buffer, std::size_t count) noexcept {
  std::size_t done = 0;
  while (done < count) {
    const std::int64_t n =
        file_write_some(file, static_cast<const char *>(buffer) + done, count - done);
    if (n <= 0) return done ? static_cast<std::int64_t>(done) : -1;
    done += static_cast<std::size_t>(n);
  }
  return static_cast<std::int64_t>(done);
}

std::int64_t file_seek(std::int32_t file, std::int64_t offset, Origin origin) noexcept {
  const int whence = origin == Origin::Start     ? SEEK_SET
                     : origin == Origin::Current ? SEEK_CUR
                                                 : SEEK_END;
  return ::lseek(file, static_cast<off_t>(offset), whence);
}

bool file_truncate_here(std::int32_t file) noexcept {
  const off_t here = ::lseek(file, 0, SEEK_CUR);
  return here >= 0 && ::ftruncate(file, here) == 0;
}

bool last_error_is_disk_full() noexcept {
  return errno == ENOSPC || errno == EDQUOT;
}

void set_last_error(ErrorKind kind) noexcept {
  errno = kind == ErrorKind::FileExists ? EEXIST : kind == ErrorKind::IoFault ? EIO : EINVAL;
}

std::uint32_t process_id() noexcept {
  return static_cast<std::uint32_t>(::getpid());
}

}  // namespace vxkrn::platform
