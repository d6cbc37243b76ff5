// Vector kernels of the flips and turns, chosen by platform::simd_level()
// at each call. Each covers whole blocks and leaves the rest to the scalar
// code, so the bytes are the same at every level.
#pragma once

#include <cstdint>

#include "transform/transpose.h"

#if defined(__x86_64__) || defined(__i386__)
#define VXKRN_ORIENT_X86 1
#else
#define VXKRN_ORIENT_X86 0
#endif

#if VXKRN_ORIENT_X86
namespace vxkrn::transform::ssse3 {

// Mirror 3-byte pixels of a row by blocks of sixteen. In place (in == out),
// blocks are exchanged from both ends while at least 32 pixels remain
// between them; returns how many pixels are done at each end. Out of
// place, returns how many leading pixels of `out` are written (a multiple
// of 16).
std::uint64_t mirror_24(const std::uint8_t *in, std::uint8_t *out, std::uint64_t width) noexcept;

// The same for whole bytes of 1-, 2- or 4-bit pixels: bytes in reverse
// order, each through `table` (its fields reversed). Pad bits are left to
// the caller.
std::uint64_t mirror_bytes(const std::uint8_t *in, std::uint8_t *out, std::uint64_t bytes,
                           const std::uint8_t *table) noexcept;

// A 16 x 16 block of 3-byte pixels, destination rows r .. r + 15 and
// columns c .. c + 15, turned as turn_quarter turns it.
void turn_block_24(const PixelRect &source, const PixelRect &destination, std::uint32_t r,
                   std::uint32_t c, bool clockwise) noexcept;

}  // namespace vxkrn::transform::ssse3
#endif
