// The depths a bitmap may have and where their pixels sit in a stored row.
// Depths below 8 bits are bit streams, most significant bit first; 12-bit
// gray packs two pixels in three bytes from the low bits up; deeper pixels
// are whole little-endian bytes. The colour format table builds on this one.
#pragma once

#include <cstdint>

namespace vxkrn::core {

// One row of the depth table.
struct Depth {
  std::int32_t bits;
  std::uint8_t bytes;  // bytes per pixel; 0 where pixels share bytes
  bool low_first;      // shared bytes fill from their low bits (12-bit gray)
};

inline constexpr Depth kDepths[] = {
    {1, 0, false},  {2, 0, false},  {3, 0, false},  {4, 0, false},  {5, 0, false},
    {6, 0, false},  {7, 0, false},  {8, 1, false},  {12, 0, true},  {16, 2, false},
    {24, 3, false}, {32, 4, false}, {48, 6, false}, {64, 8, false},
};

// The table row of a depth, or null for a depth no bitmap has.
constexpr const Depth *find_depth(std::int32_t bits) {
  for (const Depth &depth : kDepths)
    if (depth.bits == bits) return &depth;
  return nullptr;
}

constexpr bool is_bitmap_depth(std::int32_t bits) {
  return find_depth(bits) != nullptr;
}

// Depths whose pixels share bytes.
constexpr bool is_packed_depth(std::int32_t bits) {
  const Depth *depth = find_depth(bits);
  return depth && depth->bytes == 0;
}

// Packed depths whose bytes fill from the low bits up.
constexpr bool fills_from_low_bits(std::int32_t bits) {
  const Depth *depth = find_depth(bits);
  return depth && depth->low_first;
}

// Row stride of width pixels: bits rounded up to 32 and given in bytes.
constexpr std::uint64_t bytes_per_line(std::int64_t width, std::int64_t bits) {
  return (static_cast<std::uint64_t>(width * bits) + 31) >> 3 & ~std::uint64_t{3};
}

// The byte that holds the first bit of column c (for 12 bits, c + c / 2).
constexpr std::uint64_t column_offset(std::int32_t bits, std::uint64_t c) {
  return (c * static_cast<std::uint64_t>(bits)) >> 3;
}

// Where column c's bits start within that byte: 0 for whole-byte depths,
// 0 or 4 for 12 bits.
constexpr std::uint32_t column_bit(std::int32_t bits, std::uint64_t c) {
  return static_cast<std::uint32_t>((c * static_cast<std::uint64_t>(bits)) & 7);
}

// Bytes that hold pixel c alone.
constexpr std::uint32_t pixel_bytes(std::int32_t bits, std::uint64_t c) {
  const std::uint64_t b = static_cast<std::uint64_t>(bits);
  return static_cast<std::uint32_t>(((c + 1) * b + 7) / 8 - (c * b) / 8);
}

// A pixel of `bits` (1 to 16) whose bits start at stream bit `bit`: read
// and written in a window of the bytes it touches, most significant bit
// first (msb) or from the low bits up (low). No byte outside the pixel's is
// read or written.
inline std::uint32_t get_msb_pixel(const std::uint8_t *bytes, std::uint64_t bit,
                                   std::int32_t bits) {
  const std::uint8_t *p = bytes + (bit >> 3);
  const int end = static_cast<int>(bit & 7) + bits;  // bits of the window used
  std::uint32_t window = std::uint32_t{p[0]} << 16;
  if (end > 8) window |= std::uint32_t{p[1]} << 8;
  if (end > 16) window |= p[2];
  return (window >> (24 - end)) & ((1u << bits) - 1);
}
inline void set_msb_pixel(std::uint8_t *bytes, std::uint64_t bit, std::int32_t bits,
                          std::uint32_t value) {
  std::uint8_t *p = bytes + (bit >> 3);
  const int end = static_cast<int>(bit & 7) + bits;
  const std::uint32_t mask = ((1u << bits) - 1) << (24 - end);
  const std::uint32_t placed = (value << (24 - end)) & mask;
  p[0] = static_cast<std::uint8_t>((p[0] & ~(mask >> 16)) | (placed >> 16));
  if (end > 8) p[1] = static_cast<std::uint8_t>((p[1] & ~(mask >> 8)) | (placed >> 8));
  if (end > 16) p[2] = static_cast<std::uint8_t>((p[2] & ~mask) | placed);
}
inline std::uint32_t get_low_pixel(const std::uint8_t *bytes, std::uint64_t bit,
                                   std::int32_t bits) {
  const std::uint8_t *p = bytes + (bit >> 3);
  const int within = static_cast<int>(bit & 7), end = within + bits;
  std::uint32_t window = p[0];
  if (end > 8) window |= std::uint32_t{p[1]} << 8;
  if (end > 16) window |= std::uint32_t{p[2]} << 16;
  return (window >> within) & ((1u << bits) - 1);
}
inline void set_low_pixel(std::uint8_t *bytes, std::uint64_t bit, std::int32_t bits,
                          std::uint32_t value) {
  std::uint8_t *p = bytes + (bit >> 3);
  const int within = static_cast<int>(bit & 7), end = within + bits;
  const std::uint32_t mask = ((1u << bits) - 1) << within;
  const std::uint32_t placed = (value << within) & mask;
  p[0] = static_cast<std::uint8_t>((p[0] & ~mask) | placed);
  if (end > 8) p[1] = static_cast<std::uint8_t>((p[1] & ~(mask >> 8)) | (placed >> 8));
  if (end > 16) p[2] = static_cast<std::uint8_t>((p[2] & ~(mask >> 16)) | (placed >> 16));
}

// A packed pixel (depths 1-7 and 12) at stream bit `bit`, in its depth's
// bit order; setting leaves the neighbours' bits alone.
inline std::uint32_t get_packed_pixel(const std::uint8_t *bytes, std::uint64_t bit,
                                      std::int32_t bits) {
  return fills_from_low_bits(bits) ? get_low_pixel(bytes, bit, bits)
                                   : get_msb_pixel(bytes, bit, bits);
}
inline void set_packed_pixel(std::uint8_t *bytes, std::uint64_t bit, std::int32_t bits,
                             std::uint32_t value) {
  if (fills_from_low_bits(bits))
    set_low_pixel(bytes, bit, bits, value);
  else
    set_msb_pixel(bytes, bit, bits, value);
}

// Mask of the bits of byte `bit >> 3` that lie at or after stream bit `bit`
// (head) or at or before it (tail).
constexpr std::uint8_t head_mask(std::uint64_t bit, std::int32_t bits) {
  const unsigned within = static_cast<unsigned>(bit & 7);
  return static_cast<std::uint8_t>(fills_from_low_bits(bits) ? 0xFFu << within : 0xFFu >> within);
}
constexpr std::uint8_t tail_mask(std::uint64_t bit, std::int32_t bits) {
  const unsigned within = static_cast<unsigned>(bit & 7);
  return static_cast<std::uint8_t>(fills_from_low_bits(bits) ? 0xFFu >> (7 - within)
                                                             : 0xFFu << (7 - within));
}

}  // namespace vxkrn::core
