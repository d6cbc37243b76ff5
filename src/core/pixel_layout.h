// Where pixels sit in a stored row: the byte that holds a column's first
// bit, the bytes one pixel spans, and access to packed pixels. Depths below
// 8 bits are bit streams, most significant bit first; 12-bit gray packs two
// pixels in three bytes, least significant bits first.
#pragma once

#include <cstdint>

namespace vxkrn::core {

// Byte offset of column c within a row.
constexpr std::uint64_t column_offset(std::int32_t bits_per_pixel, std::uint64_t c) {
  switch (bits_per_pixel) {
    case 12:
      return c + (c >> 1);
    default:
      return (c * static_cast<std::uint64_t>(bits_per_pixel)) >> 3;
  }
}

// Bytes that hold pixel c alone.
constexpr std::uint32_t pixel_bytes(std::int32_t bits_per_pixel, std::uint64_t c) {
  const std::uint64_t bits = static_cast<std::uint64_t>(bits_per_pixel);
  return static_cast<std::uint32_t>(((c + 1) * bits + 7) / 8 - (c * bits) / 8);
}

// Depths whose pixels share bytes.
constexpr bool is_packed_depth(std::int32_t bits_per_pixel) {
  return bits_per_pixel < 8 || bits_per_pixel == 12;
}

// Value of the packed pixel whose bits start at stream bit `first_bit` of
// `bytes` (depths 1-7 and 12; for 12 the bit counts from the low end).
std::uint32_t get_packed_pixel(const std::uint8_t *bytes, std::uint64_t first_bit,
                               std::int32_t bits_per_pixel) noexcept;
// Store a packed pixel, leaving its neighbours' bits alone.
void set_packed_pixel(std::uint8_t *bytes, std::uint64_t first_bit, std::int32_t bits_per_pixel,
                      std::uint32_t value) noexcept;

// Mask of the bits of byte `bit >> 3` that lie at or after stream bit `bit`
// (head) or at or before it (tail).
constexpr std::uint8_t head_mask(std::uint64_t bit, std::int32_t bits_per_pixel) {
  const unsigned within = static_cast<unsigned>(bit & 7);
  return static_cast<std::uint8_t>(bits_per_pixel == 12 ? 0xFFu << within : 0xFFu >> within);
}
constexpr std::uint8_t tail_mask(std::uint64_t bit, std::int32_t bits_per_pixel) {
  const unsigned within = static_cast<unsigned>(bit & 7);
  return static_cast<std::uint8_t>(bits_per_pixel == 12 ? 0xFFu >> (7 - within)
                                                        : 0xFFu << (7 - within));
}

}  // namespace vxkrn::core
