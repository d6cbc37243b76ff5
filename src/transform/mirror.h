// Reversing the order of the pixels of a packed row, in place, at every
// depth: the row operation behind reversing a bitmap and turning one by
// 180 degrees.
#pragma once

#include <cstdint>

namespace vxkrn::transform {

// Reverse `width` pixels of `bits` bits in `row`. Depths of 1, 2 and 4 bits
// work on whole bytes and leave the pad bits after the last pixel zero;
// other depths move pixel fields and leave the bytes after the last pixel
// as they were. Nothing past the pixels' bytes is read or written. A depth
// no bitmap has leaves the row unchanged.
void mirror_row(std::uint8_t *row, std::uint64_t width, std::int32_t bits) noexcept;

// The same, out of place: `out` receives the mirrored pixels of `in` (the
// buffers must not overlap). Bytes of `out` past the pixels are left alone.
void mirror_row_into(const std::uint8_t *in, std::uint8_t *out, std::uint64_t width,
                     std::int32_t bits) noexcept;

// Shift `bytes` bytes (at least one) towards the start by `shift` bits
// (1..7), zeros entering at the end: brings a pixel that starts inside a
// byte to the first bit.
void shift_towards_start(std::uint8_t *row, std::uint64_t bytes, unsigned shift) noexcept;

}  // namespace vxkrn::transform
