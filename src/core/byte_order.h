// Little-endian values at any address: the byte order of records and pixel
// words is the same on every host.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace vxkrn::core {

inline std::uint32_t load16(const std::uint8_t *p) {
  std::uint16_t v;
  std::memcpy(&v, p, 2);
  if constexpr (std::endian::native == std::endian::big)
    v = static_cast<std::uint16_t>(v >> 8 | v << 8);
  return v;
}
inline void store16(std::uint8_t *p, std::uint32_t value) {
  auto v = static_cast<std::uint16_t>(value);
  if constexpr (std::endian::native == std::endian::big)
    v = static_cast<std::uint16_t>(v >> 8 | v << 8);
  std::memcpy(p, &v, 2);
}
inline std::uint32_t load32(const std::uint8_t *p) {
  std::uint32_t v;
  std::memcpy(&v, p, 4);
  if constexpr (std::endian::native == std::endian::big) v = __builtin_bswap32(v);
  return v;
}
inline void store32(std::uint8_t *p, std::uint32_t v) {
  if constexpr (std::endian::native == std::endian::big) v = __builtin_bswap32(v);
  std::memcpy(p, &v, 4);
}
inline void store64(std::uint8_t *p, std::uint64_t v) {
  if constexpr (std::endian::native == std::endian::big) v = __builtin_bswap64(v);
  std::memcpy(p, &v, 8);
}

// Big-endian words: eight bytes of packed pixels, the first pixel in the
// most significant bits.
inline std::uint64_t load_be64(const std::uint8_t *p) {
  std::uint64_t v;
  std::memcpy(&v, p, 8);
  if constexpr (std::endian::native == std::endian::little) v = __builtin_bswap64(v);
  return v;
}
inline void store_be64(std::uint8_t *p, std::uint64_t v) {
  if constexpr (std::endian::native == std::endian::little) v = __builtin_bswap64(v);
  std::memcpy(p, &v, 8);
}

}  // namespace vxkrn::core
