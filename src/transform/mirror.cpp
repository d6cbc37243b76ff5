// Row mirroring: whole bytes through a reversal table for depths that pack
// several pixels in a byte, pixel fields exchanged from both ends for the
// others, and whole units swapped for byte-sized depths.
#include "transform/mirror.h"

#include <array>
#include <cstring>

#include "core/byte_order.h"
#include "core/pixel_layout.h"
#include "platform/cpu.h"
#include "transform/orient_simd.h"

namespace vxkrn::transform {
namespace {

// Each byte with its 1-, 2- or 4-bit fields in reverse order.
template <int Field>
constexpr std::array<std::uint8_t, 256> reversal_table() {
  std::array<std::uint8_t, 256> table{};
  for (unsigned value = 0; value < 256; ++value) {
    unsigned reversed = 0;
    for (int at = 0; at < 8; at += Field)
      reversed |= ((value >> at) & ((1u << Field) - 1)) << (8 - Field - at);
    table[value] = static_cast<std::uint8_t>(reversed);
  }
  return table;
}
constexpr auto kReverse1 = reversal_table<1>();
constexpr auto kReverse2 = reversal_table<2>();
constexpr auto kReverse4 = reversal_table<4>();

// Bytes in reverse order, each through the table; then the pad bits that
// came first are shifted out again.
void mirror_packed(const std::uint8_t *in, std::uint8_t *out, std::uint64_t width, int bits,
                   const std::uint8_t *table) {
  const std::uint64_t used = width * static_cast<std::uint64_t>(bits);
  const std::uint64_t bytes = (used + 7) / 8;
  std::uint64_t done = 0;
#if VXKRN_ORIENT_X86
  if (platform::simd_level() >= platform::SimdLevel::Ssse3)
    done = ssse3::mirror_bytes(in, out, bytes, table);
#endif
  if (in == out) {
    for (std::uint64_t i = done, j = bytes - 1 - done; i < j; ++i, --j) {
      const std::uint8_t a = out[i];
      out[i] = table[out[j]];
      out[j] = table[a];
    }
    if ((bytes - 2 * done) % 2) out[bytes / 2] = table[out[bytes / 2]];
  } else {
    for (std::uint64_t i = done; i < bytes; ++i)
      out[i] = table[in[bytes - 1 - i]];
  }
  const unsigned pad = static_cast<unsigned>(bytes * 8 - used);
  if (pad) shift_towards_start(out, bytes, pad);
}

// Whole units of N bytes in reverse order.
template <int N>
void mirror_units(const std::uint8_t *in, std::uint8_t *out, std::uint64_t width) {
  if (width == 0) return;
  if (in == out) {
    std::uint8_t a[N];
    for (std::uint64_t i = 0, j = width - 1; i < j; ++i, --j) {
      std::memcpy(a, out + N * i, N);
      std::memcpy(out + N * i, out + N * j, N);
      std::memcpy(out + N * j, a, N);
    }
  } else {
    for (std::uint64_t i = 0; i < width; ++i)
      std::memcpy(out + N * i, in + N * (width - 1 - i), N);
  }
}

// Pixel fields that straddle bytes (3, 5, 6, 7 and 12 bits), one at a time.
void mirror_fields(const std::uint8_t *in, std::uint8_t *out, std::uint64_t width, int bits) {
  const auto b = static_cast<std::uint64_t>(bits);
  if (in == out) {
    for (std::uint64_t i = 0, j = width - 1; i < j; ++i, --j) {
      const std::uint32_t first = core::get_packed_pixel(out, i * b, bits);
      core::set_packed_pixel(out, i * b, bits, core::get_packed_pixel(out, j * b, bits));
      core::set_packed_pixel(out, j * b, bits, first);
    }
  } else {
    // Cleared first, so that the pad bits after the last pixel are zero.
    std::memset(out, 0, (width * b + 7) / 8);
    for (std::uint64_t i = 0; i < width; ++i)
      core::set_packed_pixel(out, i * b, bits,
                             core::get_packed_pixel(in, (width - 1 - i) * b, bits));
  }
}

void mirror(const std::uint8_t *in, std::uint8_t *out, std::uint64_t width, int bits) {
  if (width == 0) return;
  switch (bits) {
    case 1:
      return mirror_packed(in, out, width, bits, kReverse1.data());
    case 2:
      return mirror_packed(in, out, width, bits, kReverse2.data());
    case 4:
      return mirror_packed(in, out, width, bits, kReverse4.data());
    case 8:
      return mirror_units<1>(in, out, width);
    case 16:
      return mirror_units<2>(in, out, width);
    case 24: {
#if VXKRN_ORIENT_X86
      if (platform::simd_level() >= platform::SimdLevel::Ssse3) {
        const std::uint64_t done = ssse3::mirror_24(in, out, width);
        if (in == out) return mirror_units<3>(out + 3 * done, out + 3 * done, width - 2 * done);
        return mirror_units<3>(in, out + 3 * done, width - done);
      }
#endif
      return mirror_units<3>(in, out, width);
    }
    case 32:
      return mirror_units<4>(in, out, width);
    case 48:
      return mirror_units<6>(in, out, width);
    case 64:
      return mirror_units<8>(in, out, width);
    default:
      if (core::is_packed_depth(bits)) mirror_fields(in, out, width, bits);
  }
}

}  // namespace

void shift_towards_start(std::uint8_t *row, std::uint64_t bytes, unsigned shift) noexcept {
  // Eight bytes at a time as a big-endian word, while a ninth follows.
  std::uint64_t i = 0;
  for (; i + 9 <= bytes; i += 8) {
    const std::uint64_t word = core::load_be64(row + i);
    core::store_be64(row + i, word << shift | row[i + 8] >> (8 - shift));
  }
  for (; i + 1 < bytes; ++i)
    row[i] = static_cast<std::uint8_t>(row[i] << shift | row[i + 1] >> (8 - shift));
  row[bytes - 1] = static_cast<std::uint8_t>(row[bytes - 1] << shift);
}

void mirror_row(std::uint8_t *row, std::uint64_t width, std::int32_t bits) noexcept {
  mirror(row, row, width, bits);
}

void mirror_row_into(const std::uint8_t *in, std::uint8_t *out, std::uint64_t width,
                     std::int32_t bits) noexcept {
  mirror(in, out, width, bits);
}

}  // namespace vxkrn::transform
