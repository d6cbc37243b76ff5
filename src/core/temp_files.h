// Temporary files: unique names in the thread's temporary directory, and
// the process-wide registry whose files are deleted when their handle is
// closed through the library.
#pragma once

#include <cstdint>

#include "vxkrn/file.h"

namespace vxkrn::core {

// Enter (file, name); an entry for the same handle is replaced. False when
// the name is too long or memory ran out.
bool register_temp_file(std::int32_t file, const wchar_t *name) noexcept;

// Close a handle and, if it was registered, delete its file after the close.
// Returns whether the close succeeded.
bool close_file(std::int32_t file) noexcept;

// A new, empty file with a unique name ("VK" and hexadecimal digits) in the
// calling thread's temporary directory; its full path goes to `out`
// (VXKRN_MAX_PATH wide characters). RC_NO_MEMORY when no name can be made.
ResultCode temp_name(wchar_t *out) noexcept;

// A new registered temporary file of exactly `size` bytes in the thread's
// temporary directory: RC_NO_MEMORY when no file could be made and
// registered, RC_FILE_WRITE when it could not be given its size (it is
// deleted again).
ResultCode create_temp_file(std::uint32_t size, std::int32_t *file) noexcept;

// Entries currently held (tests).
int registered_temp_files() noexcept;

}  // namespace vxkrn::core
