// Realigning packed pixel rows: a most-significant-bit-first stream copied
// with its bits moved by less than a byte.
#pragma once

#include <cstdint>

namespace vxkrn::transform {

// Write out_bytes bytes of the stream `in` (in_bytes long, zeros after it)
// moved by `shift` bits, -7 to 7: positive towards the start (each byte
// takes the high bits of its successor), negative towards the end (zeros
// come in at the start). The buffers must not overlap.
void shift_stream(const std::uint8_t *in, std::uint32_t in_bytes, std::uint8_t *out,
                  std::uint32_t out_bytes, int shift) noexcept;

}  // namespace vxkrn::transform
