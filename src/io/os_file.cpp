// The primitive file operations over the platform's descriptors; closing
// honours the temporary-file registry.
#include "io/os_file.h"

#include "core/temp_files.h"
#include "platform/files.h"
#include "platform/wide_path.h"

namespace vxkrn::io {
namespace {

using platform::Access;
using platform::Creation;
using platform::Origin;
using platform::Utf8Path;

constexpr unsigned kFileMode = 0666;  // before the process umask
constexpr unsigned kReadOnlyMode = 0444;

Access access_of(std::int32_t flags) {
  switch (flags & 3) {
    case 0:
      return Access::Read;
    case 1:
      return Access::Write;
    default:
      return Access::ReadWrite;
  }
}

Origin origin_of(std::int32_t origin) {
  return origin == SEEK_FROM_START     ? Origin::Start
         : origin == SEEK_FROM_CURRENT ? Origin::Current
                                       : Origin::End;
}

}  // namespace

std::int32_t os_open(const wchar_t *name, std::int32_t flags, std::int32_t /*share*/,
                     void * /*user_data*/) noexcept {
  if (!name) return FILE_NO_HANDLE;
  const Creation creation = (flags & OPEN_CREATE)     ? Creation::CreateAlways
                            : (flags & OPEN_TRUNCATE) ? Creation::TruncateExisting
                                                      : Creation::OpenExisting;
  return platform::file_open(Utf8Path(name).c_str(), access_of(flags), creation, kFileMode);
}

std::int32_t os_creat(const wchar_t *name, std::int32_t attributes) noexcept {
  if (!name) return FILE_NO_HANDLE;
  const Utf8Path path(name);
  const bool read_only = attributes & CREAT_READ_ONLY;
  const std::int32_t file =
      platform::file_open(path.c_str(), read_only ? Access::Read : Access::ReadWrite,
                          Creation::CreateAlways, read_only ? kReadOnlyMode : kFileMode);
  // Removing the name now leaves the file alive until its last close.
  if (file >= 0 && (attributes & CREAT_DELETE_ON_CLOSE)) platform::file_delete(path.c_str());
  return file;
}

std::int32_t os_read(std::int32_t file, void *buffer, std::uint32_t count,
                     void * /*user_data*/) noexcept {
  if (!buffer) return -1;
  return static_cast<std::int32_t>(platform::file_read_some(file, buffer, count));
}

std::int32_t os_write(std::int32_t file, const void *buffer, std::uint32_t count,
                      void * /*user_data*/) noexcept {
  if (count == 0) return platform::file_truncate_here(file) ? 0 : -1;
  if (!buffer) return -1;
  return static_cast<std::int32_t>(platform::file_write_some(file, buffer, count));
}

std::uint32_t os_seek(std::int32_t file, std::int32_t offset, std::int32_t origin,
                      void * /*user_data*/) noexcept {
  const std::int64_t position = platform::file_seek(file, offset, origin_of(origin));
  return position < 0 ? 0 : static_cast<std::uint32_t>(position);
}

std::uint64_t os_seek_big(std::int32_t file, std::int64_t offset, std::int32_t origin) noexcept {
  const std::int64_t position = platform::file_seek(file, offset, origin_of(origin));
  return position < 0 ? 0 : static_cast<std::uint64_t>(position);
}

std::int32_t os_set_file_size(std::int32_t file, std::uint32_t size) noexcept {
  if (platform::file_seek(file, size, Origin::Start) != static_cast<std::int64_t>(size)) return -1;
  return platform::file_truncate_here(file) ? 0 : -1;
}

std::int32_t os_close(std::int32_t file, void * /*user_data*/) noexcept {
  return core::close_file(file) ? 0 : -1;
}

std::int32_t os_delete(const wchar_t *name) noexcept {
  if (!name) return -1;
  return platform::file_delete(Utf8Path(name).c_str()) ? 0 : -1;
}

}  // namespace vxkrn::io
