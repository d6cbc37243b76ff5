// Transfers of any 32-bit size cut into chunks a single call can move.
#pragma once

#include <cstdint>

namespace vxkrn::io {

// Largest chunk one call is asked to move.
constexpr std::uint32_t kChunkBytes = 0x7FFFFFF;

// transfer(byte offset, chunk size) returns what one call moved or a
// negative failure. Returns the bytes moved: count, fewer when a call moved
// nothing (the end of the file, or a file that takes no more), or -1.
template <class Transfer>
std::int64_t chunked_transfer(std::uint32_t count, Transfer transfer) {
  std::uint32_t done = 0;
  while (done < count) {
    const std::uint32_t remaining = count - done;
    const std::int32_t moved = transfer(done, remaining < kChunkBytes ? remaining : kChunkBytes);
    if (moved < 0) return -1;
    if (moved == 0) break;
    done += static_cast<std::uint32_t>(moved);
  }
  return done;
}

}  // namespace vxkrn::io
