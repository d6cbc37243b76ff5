// Transfers of any 32-bit size cut into chunks a single call can move.
#pragma once

#include <cstdint>

namespace vxkrn::io {

// Largest chunk one call is asked to move.
constexpr std::uint32_t kChunkBytes = 0x7FFFFFF;

// transfer(byte offset, chunk size) returns what one call moved or a
// negative failure. A call that moves nothing is repeated: chunked transfers
// are only asked for bytes that exist.
template <class Transfer>
std::int64_t chunked_transfer(std::uint32_t count, Transfer transfer) {
  if (count == 0) return 0;
  std::uint32_t done = 0;
  for (;;) {
    const std::uint32_t remaining = count - done;
    const std::int32_t moved = transfer(done, remaining < kChunkBytes ? remaining : kChunkBytes);
    if (moved < 0) return -1;
    if (static_cast<std::uint32_t>(moved) == remaining) return count;
    done += static_cast<std::uint32_t>(moved);
  }
}

}  // namespace vxkrn::io
