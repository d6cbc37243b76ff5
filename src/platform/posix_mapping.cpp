// POSIX mappings: memfd_create for anonymous shared memory, mmap/munmap for
// views, sysconf for the page size, and the test hooks that make them fail.
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

#include "platform/mapping.h"

namespace vxkrn {
namespace {

thread_local bool t_fail_shared_memory = false;
thread_local std::size_t t_view_limit = 0;  // 0: no limit
thread_local unsigned t_views_mapped = 0;

}  // namespace

namespace platform {

std::int32_t shared_memory_create(std::uint64_t bytes) noexcept {
  if (t_fail_shared_memory) {
    errno = ENOMEM;
    return -1;
  }
  if (bytes > static_cast<std::uint64_t>(INT64_MAX)) return -1;
  // The name only labels the object in /proc; it does not have to be unique.
  const int fd = ::memfd_create("vxkrn-block", MFD_CLOEXEC);
  if (fd < 0) return -1;
  int rc;
  do {
    rc = ::ftruncate(fd, static_cast<off_t>(bytes));
  } while (rc != 0 && errno == EINTR);
  if (rc != 0) {
    const int reason = errno;
    ::close(fd);
    errno = reason;
    return -1;
  }
  return fd;
}

void *view_map(std::int32_t object, std::uint64_t offset, std::size_t length) noexcept {
  if (length == 0 || (t_view_limit != 0 && length > t_view_limit)) {
    errno = ENOMEM;
    return nullptr;
  }
  if (offset > static_cast<std::uint64_t>(INT64_MAX)) return nullptr;
  void *view = ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, object,
                      static_cast<off_t>(offset));
  if (view == MAP_FAILED) return nullptr;
  ++t_views_mapped;
  return view;
}

void view_unmap(void *address, std::size_t length) noexcept {
  if (address) ::munmap(address, length);
}

std::uint32_t page_size() noexcept {
  const long size = ::sysconf(_SC_PAGESIZE);
  return size > 0 ? static_cast<std::uint32_t>(size) : 1u;
}

}  // namespace platform

namespace testing {

void fail_shared_memory(bool fail) noexcept {
  t_fail_shared_memory = fail;
}

void fail_views_longer_than(std::size_t bytes) noexcept {
  t_view_limit = bytes;
}

unsigned views_mapped() noexcept {
  return t_views_mapped;
}

}  // namespace testing
}  // namespace vxkrn
