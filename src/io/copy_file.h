// File copy: the source read from the system's files, the destination
// written through the thread's redirection.
#pragma once

#include <cstdint>

namespace vxkrn::io {

// 1 on success; 0 with the system's last error set: exists (fail_if_exists
// and a destination there), a read or write fault (a directory as the
// source included), an invalid argument (a file onto itself). A failed copy
// deletes a destination on disk it created.
std::int32_t copy_file(const wchar_t *source, const wchar_t *destination,
                       std::int32_t fail_if_exists) noexcept;

}  // namespace vxkrn::io
