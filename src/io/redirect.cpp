// The per-thread callback table and the redirected calls that dispatch
// through it, a null slot meaning the primitive.
#include "io/redirect.h"

#include <utility>

#include "io/os_file.h"

namespace vxkrn::io {

core::RedirectTable &table() noexcept {
  return core::thread_state().redirect;
}

void swap_table(core::RedirectTable &other) noexcept {
  std::swap(table(), other);
}

std::int32_t redirected_open(const wchar_t *name, std::int32_t flags, std::int32_t share) noexcept {
  const core::RedirectTable &t = table();
  return (t.open ? t.open : os_open)(name, flags, share, t.open_data);
}

std::int32_t redirected_read(std::int32_t file, void *buffer, std::uint32_t count) noexcept {
  const core::RedirectTable &t = table();
  return (t.read ? t.read : os_read)(file, buffer, count, t.read_data);
}

std::int32_t redirected_write(std::int32_t file, const void *buffer, std::uint32_t count) noexcept {
  const core::RedirectTable &t = table();
  return (t.write ? t.write : os_write)(file, buffer, count, t.write_data);
}

std::uint32_t redirected_seek(std::int32_t file, std::int32_t offset,
                              std::int32_t origin) noexcept {
  const core::RedirectTable &t = table();
  return (t.seek ? t.seek : os_seek)(file, offset, origin, t.seek_data);
}

std::int32_t redirected_close(std::int32_t file) noexcept {
  const core::RedirectTable &t = table();
  return (t.close ? t.close : os_close)(file, t.close_data);
}

bool opens_on_disk() noexcept {
  return table().open == nullptr;
}

}  // namespace vxkrn::io
