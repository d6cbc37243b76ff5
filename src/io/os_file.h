// The primitive file operations over the platform's files, with the open
// flags, origins and -1/0 conventions of the file layer. They are the
// default of every slot of the redirection table.
#pragma once

#include <cstdint>

#include "vxkrn/file.h"

namespace vxkrn::io {

// Each has the callback shape of its slot (user data ignored).
std::int32_t os_open(const wchar_t *name, std::int32_t flags, std::int32_t share,
                     void *user_data) noexcept;
std::int32_t os_read(std::int32_t file, void *buffer, std::uint32_t count,
                     void *user_data) noexcept;
std::int32_t os_write(std::int32_t file, const void *buffer, std::uint32_t count,
                      void *user_data) noexcept;
std::uint32_t os_seek(std::int32_t file, std::int32_t offset, std::int32_t origin,
                      void *user_data) noexcept;
std::int32_t os_close(std::int32_t file, void *user_data) noexcept;

// Create with attribute bits (CREAT_...): the handle or -1.
std::int32_t os_creat(const wchar_t *name, std::int32_t attributes) noexcept;
// The 64-bit position, 0 on failure.
std::uint64_t os_seek_big(std::int32_t file, std::int64_t offset, std::int32_t origin) noexcept;
// 0, or -1.
std::int32_t os_set_file_size(std::int32_t file, std::uint32_t size) noexcept;
std::int32_t os_delete(const wchar_t *name) noexcept;

}  // namespace vxkrn::io
