// File-system queries the core needs: what a path names, and the system's
// temporary directory.
#pragma once

#include <cstddef>

namespace vxkrn::platform {

enum class PathKind { Missing, Directory, Other };

// What a UTF-8 path names (stat). A null path is Missing.
PathKind path_kind(const char *utf8_path) noexcept;

// The system temporary directory, UTF-8, with a trailing '/': $TMPDIR when
// set and a directory, else /tmp. False when it does not fit the buffer.
bool system_temp_directory(char *buffer, std::size_t size) noexcept;

}  // namespace vxkrn::platform
