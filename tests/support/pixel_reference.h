// Pixels worked out from the layout rather than taken from the library: the
// reference the row, copy and segment tests compare with.
#pragma once

#include <cstdint>

namespace vxkrn_test {

// Pixel x of a row, worked out from the layout rather than taken from the
// library: depths below 8 are a bit stream from the most significant bit;
// 12-bit pixels go in pairs over three bytes (pixel 2k is byte 0 and the
// low nibble of byte 1, pixel 2k + 1 the high nibble of byte 1 and byte 2);
// deeper pixels are little-endian bytes.
std::uint64_t get_pixel(const std::uint8_t *row, int bits, std::uint64_t x);
void set_pixel(std::uint8_t *row, int bits, std::uint64_t x, std::uint64_t value);

}  // namespace vxkrn_test
