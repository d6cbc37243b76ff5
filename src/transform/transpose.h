// Quarter turns of pixel rectangles in memory: the kernel under every
// right-angle rotation, of bitmaps whatever their storage and of bare
// buffers.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vxkrn::transform {

// A rectangle of pixels in memory: `rows` rows `stride` bytes apart, each
// holding `columns` pixels of `bits` from bit 0 of its first byte.
struct PixelRect {
  std::uint8_t *data;
  std::size_t stride;
  std::uint32_t rows, columns;
};

// Turn `source` (h rows of w pixels) into `destination` (w rows of h
// pixels) by a quarter: clockwise, destination (r, c) = source (h-1-c, r);
// otherwise destination (r, c) = source (c, w-1-r). Destination rows are
// written over their h pixels; for depths below a byte the bits after them
// in the last byte become zero. The rectangles must not overlap.
void turn_quarter(const PixelRect &source, const PixelRect &destination, std::int32_t bits,
                  bool clockwise) noexcept;

}  // namespace vxkrn::transform
