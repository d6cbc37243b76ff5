// Packed pixel access: a bit stream read and written one bit at a time, for
// the places that move a few packed pixels (segment edges, single pixels).
#include "core/pixel_layout.h"

namespace vxkrn::core {
namespace {

// Bit `bit` of the row's stream: MSB-first below 8 bits, LSB-first for 12.
struct BitRef {
  std::uint64_t byte;
  unsigned shift;
};

BitRef locate(std::uint64_t bit, std::int32_t bits_per_pixel) {
  const unsigned within = static_cast<unsigned>(bit & 7);
  return BitRef{bit >> 3, bits_per_pixel == 12 ? within : 7 - within};
}

}  // namespace

std::uint32_t get_packed_pixel(const std::uint8_t *bytes, std::uint64_t first,
                               std::int32_t bits_per_pixel) noexcept {
  const bool msb_first = bits_per_pixel != 12;
  std::uint32_t value = 0;
  for (std::int32_t i = 0; i < bits_per_pixel; ++i) {
    const BitRef ref = locate(first + static_cast<std::uint64_t>(i), bits_per_pixel);
    const std::uint32_t bit = (bytes[ref.byte] >> ref.shift) & 1u;
    value |= msb_first ? bit << (bits_per_pixel - 1 - i) : bit << i;
  }
  return value;
}

void set_packed_pixel(std::uint8_t *bytes, std::uint64_t first, std::int32_t bits_per_pixel,
                      std::uint32_t value) noexcept {
  const bool msb_first = bits_per_pixel != 12;
  for (std::int32_t i = 0; i < bits_per_pixel; ++i) {
    const BitRef ref = locate(first + static_cast<std::uint64_t>(i), bits_per_pixel);
    const std::uint32_t bit =
        msb_first ? (value >> (bits_per_pixel - 1 - i)) & 1u : (value >> i) & 1u;
    bytes[ref.byte] =
        static_cast<std::uint8_t>((bytes[ref.byte] & ~(1u << ref.shift)) | (bit << ref.shift));
  }
}

}  // namespace vxkrn::core
