// The memory redirection's context: the block that stands for one file, and
// the callbacks and user values that were current before the redirection.
#pragma once

#include <cstdint>

#include "core/thread_state.h"

namespace vxkrn::io {

struct MemoryFile {
  std::uint8_t *buffer;     // system-heap block (when the library made or grew it)
  std::uint32_t capacity;   // bytes in buffer
  std::uint32_t data_size;  // bytes of the file
  std::uint32_t position;
  std::uint32_t flags;  // MEMFILE_...
  // While the redirection stands: what was current before it.
  core::RedirectTable saved;
};

// Redirect the calling thread's file traffic into a block (the caller's
// `buffer` of `size` bytes, or none): the memory callbacks become current
// and what was current is kept in the context. Null when the context cannot
// be allocated.
MemoryFile *start_memory_redirect(std::uint32_t flags, void *buffer, std::uint32_t size) noexcept;

// Put back what was current before the redirection and free the context;
// the block goes to the caller through the non-null outputs.
// RC_INVALID_PARAMETER when this redirection is not the current one (stop
// in the reverse order of starting): nothing changes then.
ResultCode stop_memory_redirect(MemoryFile *file, void **buffer, std::uint32_t *size) noexcept;

}  // namespace vxkrn::io
