// The host file system: what a path names, the temporary directory, and
// file handles with 64-bit offsets. Paths are UTF-8; handles are int32_t
// descriptors with -1 for none. Failures leave the reason as the last error.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vxkrn::platform {

enum class PathKind { Missing, Directory, Other };

// What a UTF-8 path names (stat). A null path is Missing.
PathKind path_kind(const char *utf8_path) noexcept;
// Whether two paths name one existing file (links and other spellings
// included).
bool same_file(const char *first, const char *second) noexcept;

// The system temporary directory, UTF-8, with a trailing '/': $TMPDIR when
// set and a directory, else /tmp. False when it does not fit the buffer.
bool system_temp_directory(char *buffer, std::size_t size) noexcept;

enum class Access { Read, Write, ReadWrite };
enum class Creation {
  OpenExisting,  // fails when missing
  TruncateExisting,
  CreateAlways,  // replaces an existing file
  CreateNew,     // fails when it exists
};

// Open; mode applies to a newly made file. Returns the handle or -1.
std::int32_t file_open(const char *utf8_path, Access access, Creation creation,
                       unsigned mode) noexcept;
bool file_close(std::int32_t file) noexcept;
bool file_delete(const char *utf8_path) noexcept;

// One system transfer of at most `count` bytes (retried when interrupted).
// Returns the bytes moved, 0 at the end of the file, or -1.
std::int64_t file_read_some(std::int32_t file, void *buffer, std::size_t count) noexcept;
std::int64_t file_write_some(std::int32_t file, const void *buffer, std::size_t count) noexcept;

// Repeats transfers until count bytes moved, the end of the file (read) or
// a failure. Returns the bytes moved, or -1 when nothing could be moved.
std::int64_t file_read_all(std::int32_t file, void *buffer, std::size_t count) noexcept;
std::int64_t file_write_all(std::int32_t file, const void *buffer, std::size_t count) noexcept;

enum class Origin { Start, Current, End };
// The new position, or -1.
std::int64_t file_seek(std::int32_t file, std::int64_t offset, Origin origin) noexcept;
// Make the current position the end of the file.
bool file_truncate_here(std::int32_t file) noexcept;

// The last error of the calling thread.
bool last_error_is_disk_full() noexcept;
// FileExists: the file is there already; IoFault: a read or write failed;
// InvalidArgument: a request that cannot be carried out as made.
enum class ErrorKind { FileExists, IoFault, InvalidArgument };
void set_last_error(ErrorKind kind) noexcept;

// A number that differs between processes running at the same time.
std::uint32_t process_id() noexcept;

}  // namespace vxkrn::platform
