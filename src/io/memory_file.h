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

}  // namespace vxkrn::io
