// The pixel reference: one bit, nibble or byte at a time.
#include "support/pixel_reference.h"

namespace vxkrn_test {

std::uint64_t get_pixel(const std::uint8_t *row, int bits, std::uint64_t x) {
  if (bits == 12) {
    const std::uint8_t *pair = row + 3 * (x / 2);
    return x % 2 == 0 ? pair[0] | (pair[1] & 0x0Fu) << 8 : (pair[1] >> 4) | pair[2] << 4;
  }
  std::uint64_t value = 0;
  if (bits < 8) {
    for (std::uint64_t bit = x * bits; bit < (x + 1) * bits; ++bit)
      value = value << 1 | ((row[bit / 8] >> (7 - bit % 8)) & 1);
    return value;
  }
  for (int k = 0; k < bits / 8; ++k)
    value |= std::uint64_t{row[x * (bits / 8) + k]} << (8 * k);
  return value;
}

void set_pixel(std::uint8_t *row, int bits, std::uint64_t x, std::uint64_t value) {
  if (bits == 12) {
    std::uint8_t *pair = row + 3 * (x / 2);
    if (x % 2 == 0) {
      pair[0] = static_cast<std::uint8_t>(value);
      pair[1] = static_cast<std::uint8_t>((pair[1] & 0xF0) | ((value >> 8) & 0x0F));
    } else {
      pair[1] = static_cast<std::uint8_t>((pair[1] & 0x0F) | (value & 0x0F) << 4);
      pair[2] = static_cast<std::uint8_t>(value >> 4);
    }
    return;
  }
  if (bits < 8) {
    for (std::uint64_t bit = (x + 1) * bits; bit-- > x * bits; value >>= 1) {
      const auto mask = static_cast<std::uint8_t>(0x80 >> (bit % 8));
      row[bit / 8] =
          static_cast<std::uint8_t>(value & 1 ? row[bit / 8] | mask : row[bit / 8] & ~mask);
    }
    return;
  }
  for (int k = 0; k < bits / 8; ++k)
    row[x * (bits / 8) + k] = static_cast<std::uint8_t>(value >> (8 * k));
}

}  // namespace vxkrn_test
