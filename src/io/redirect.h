// The calling thread's table of I/O callbacks and the calls that dispatch
// through it. A slot left null stands for its primitive (io::os_...), so
// the table's initial state and the process-wide fallback record, which
// holds no routines, both mean "the system's files".
#pragma once

#include <cstdint>

#include "core/thread_state.h"

namespace vxkrn::io {

// The calling thread's table (the fallback record's when it has none).
core::RedirectTable &table() noexcept;

// Exchange the whole table with `other`, every slot and value as it is.
void swap_table(core::RedirectTable &other) noexcept;

// Through the current callbacks, each with its own slot's user value.
std::int32_t redirected_open(const wchar_t *name, std::int32_t flags, std::int32_t share) noexcept;
std::int32_t redirected_read(std::int32_t file, void *buffer, std::uint32_t count) noexcept;
std::int32_t redirected_write(std::int32_t file, const void *buffer, std::uint32_t count) noexcept;
std::uint32_t redirected_seek(std::int32_t file, std::int32_t offset, std::int32_t origin) noexcept;
std::int32_t redirected_close(std::int32_t file) noexcept;

// Whether opens go to the system's files (no open callback installed).
bool opens_on_disk() noexcept;

}  // namespace vxkrn::io
