// Quarter turns in memory: square tiles of whole-byte pixels, 8 x 8 bit
// matrices for 1-bit pixels, and pixel fields one at a time for the other
// packed depths.
#include "transform/transpose.h"

#include <algorithm>
#include <cstring>

#include "core/pixel_layout.h"
#include "platform/cpu.h"
#include "transform/orient_simd.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vxkrn::transform {
namespace {

// Pixel n of a row of N-byte pixels. Three-byte pixels move as four bytes
// (one load, one store) wherever the fourth byte is known to be inside the
// row and overwritten afterwards; `last` says it is not.
template <int N>
inline void move_pixel(std::uint8_t *out, const std::uint8_t *in, bool last) {
  if constexpr (N == 3) {
    if (!last) {
      std::memcpy(out, in, 4);
      return;
    }
  }
  std::memcpy(out, in, N);
}

#if defined(__SSE2__)
// 16 rows of 16 bytes transposed: out[j] byte k = in[k] byte j.
inline void transpose16(__m128i a[16]) {
  __m128i b[16], c[16];
  for (int i = 0; i < 8; ++i) {
    b[i] = _mm_unpacklo_epi8(a[2 * i], a[2 * i + 1]);
    b[i + 8] = _mm_unpackhi_epi8(a[2 * i], a[2 * i + 1]);
  }
  for (int half = 0; half < 16; half += 8)
    for (int i = 0; i < 4; ++i) {
      c[half + i] = _mm_unpacklo_epi16(b[half + 2 * i], b[half + 2 * i + 1]);
      c[half + i + 4] = _mm_unpackhi_epi16(b[half + 2 * i], b[half + 2 * i + 1]);
    }
  // c[4g + i]: columns 4g .. 4g + 3 of rows 4i .. 4i + 3.
  for (int g = 0; g < 4; ++g) {
    const __m128i d0 = _mm_unpacklo_epi32(c[4 * g], c[4 * g + 1]),
                  d1 = _mm_unpacklo_epi32(c[4 * g + 2], c[4 * g + 3]),
                  d2 = _mm_unpackhi_epi32(c[4 * g], c[4 * g + 1]),
                  d3 = _mm_unpackhi_epi32(c[4 * g + 2], c[4 * g + 3]);
    a[4 * g] = _mm_unpacklo_epi64(d0, d1);
    a[4 * g + 1] = _mm_unpackhi_epi64(d0, d1);
    a[4 * g + 2] = _mm_unpacklo_epi64(d2, d3);
    a[4 * g + 3] = _mm_unpackhi_epi64(d2, d3);
  }
}

// One 16 x 16 block of byte pixels: destination rows r .. r + 15, columns
// c .. c + 15, turned as turn_units does.
inline void turn_block16(const PixelRect &s, const PixelRect &d, std::uint32_t r, std::uint32_t c,
                         bool clockwise) {
  const std::uint32_t h = s.rows, w = s.columns;
  __m128i a[16];
  const std::uint32_t column = clockwise ? r : w - 16 - r;
  for (std::uint32_t k = 0; k < 16; ++k) {
    const std::uint32_t row = clockwise ? h - 1 - (c + k) : c + k;
    a[k] = _mm_loadu_si128(reinterpret_cast<const __m128i *>(s.data + row * s.stride + column));
  }
  transpose16(a);
  for (std::uint32_t j = 0; j < 16; ++j)
    _mm_storeu_si128(reinterpret_cast<__m128i *>(d.data + (r + j) * d.stride + c),
                     a[clockwise ? j : 15 - j]);
}
#endif

// One 16 x 16 block of N-byte pixels through two small buffers: each row
// is read and written whole, and the pixels cross over inside the first
// level of cache. (Rows 4096 bytes apart map onto the same cache sets; read
// a pixel at a time, such a block would miss on almost every pixel.)
template <int N>
inline void turn_block(const PixelRect &s, const PixelRect &d, std::uint32_t r, std::uint32_t c,
                       bool clockwise) {
  constexpr std::uint32_t kRow = 16 * N;
  alignas(16) std::uint8_t in[16][kRow + 4], out[16][kRow + 4];
  const std::uint32_t h = s.rows, w = s.columns;
  const std::size_t column = std::size_t{clockwise ? r : w - 16 - r} * N;
  for (std::uint32_t k = 0; k < 16; ++k)
    std::memcpy(in[k], s.data + (clockwise ? h - 1 - (c + k) : c + k) * s.stride + column, kRow);
  for (std::uint32_t j = 0; j < 16; ++j) {
    const std::uint32_t x = clockwise ? j : 15 - j;
    for (std::uint32_t k = 0; k < 16; ++k)
      move_pixel<N>(out[j] + k * N, in[k] + x * N, false);
  }
  for (std::uint32_t j = 0; j < 16; ++j)
    std::memcpy(d.data + (r + j) * d.stride + std::size_t{c} * N, out[j], kRow);
}

// Whole-byte pixels of N bytes, in square tiles so that the source rows a
// tile reads stay in cache while its destination rows are written.
template <int N>
void turn_units(const PixelRect &s, const PixelRect &d, bool clockwise) {
  constexpr std::uint32_t kTile = 64;
  const std::uint32_t h = s.rows, w = s.columns;
  [[maybe_unused]] const bool ssse3 = platform::simd_level() >= platform::SimdLevel::Ssse3;
  for (std::uint32_t r0 = 0; r0 < w; r0 += kTile) {
    const std::uint32_t r1 = std::min(r0 + kTile, w);
    for (std::uint32_t c0 = 0; c0 < h; c0 += kTile) {
      const std::uint32_t c1 = std::min(c0 + kTile, h);
      if (r1 - r0 == kTile && c1 - c0 == kTile) {
        for (std::uint32_t r = r0; r < r1; r += 16)
          for (std::uint32_t c = c0; c < c1; c += 16) {
#if defined(__SSE2__)
            if constexpr (N == 1) {
              turn_block16(s, d, r, c, clockwise);
              continue;
            }
#endif
#if VXKRN_ORIENT_X86
            if constexpr (N == 3) {
              if (ssse3) {
                ssse3::turn_block_24(s, d, r, c, clockwise);
                continue;
              }
            }
#endif
            turn_block<N>(s, d, r, c, clockwise);
          }
        continue;
      }
      for (std::uint32_t r = r0; r < r1; ++r) {
        std::uint8_t *out = d.data + r * d.stride + std::size_t{c0} * N;
        const std::size_t x = clockwise ? r : w - 1 - r;
        const std::uint8_t *column = s.data + x * N;
        // The fourth byte of a 3-byte pixel is inside the source row unless
        // the pixel is its last, and inside the destination row (and written
        // after) unless the pixel is the destination's last.
        const bool last_column = x == w - 1;
        if (clockwise) {
          const std::uint8_t *in = column + (h - 1 - c0) * s.stride;
          for (std::uint32_t c = c0; c < c1; ++c, out += N, in -= s.stride)
            move_pixel<N>(out, in, last_column || c == h - 1);
        } else {
          const std::uint8_t *in = column + c0 * s.stride;
          for (std::uint32_t c = c0; c < c1; ++c, out += N, in += s.stride)
            move_pixel<N>(out, in, last_column || c == h - 1);
        }
      }
    }
  }
}

// An 8 x 8 bit matrix, row i in byte 7 - i of the word (row 0 on top, as
// the bytes were loaded big-end first), transposed: column j becomes row j.
std::uint64_t transpose8(std::uint64_t x) {
  std::uint64_t t = (x ^ (x >> 7)) & 0x00AA00AA00AA00AAull;
  x = x ^ t ^ (t << 7);
  t = (x ^ (x >> 14)) & 0x0000CCCC0000CCCCull;
  x = x ^ t ^ (t << 14);
  t = (x ^ (x >> 28)) & 0x00000000F0F0F0F0ull;
  return x ^ t ^ (t << 28);
}

// 1-bit pixels, eight source rows and eight columns at a time. Destination
// byte m of a row gathers source rows 8m .. 8m + 7 (turning against the
// clock) or h - 1 - 8m down to h - 8 - 8m (with it); rows outside the
// source count as 0, which leaves the pad bits zero.
void turn_bits(const PixelRect &s, const PixelRect &d, bool clockwise) {
  const std::uint32_t h = s.rows, w = s.columns;
  const std::uint32_t groups = (h + 7) / 8, column_bytes = (w + 7) / 8;
  constexpr std::uint32_t kGroupTile = 32, kByteTile = 16;
  for (std::uint32_t g0 = 0; g0 < groups; g0 += kGroupTile) {
    for (std::uint32_t b0 = 0; b0 < column_bytes; b0 += kByteTile) {
      for (std::uint32_t g = g0; g < std::min(g0 + kGroupTile, groups); ++g) {
        const std::uint8_t *rows[8];
        for (std::uint32_t i = 0; i < 8; ++i) {
          const std::int64_t r = clockwise ? std::int64_t{h} - 1 - (8 * g + i) : 8 * g + i;
          rows[i] = r >= 0 && r < h ? s.data + std::size_t(r) * s.stride : nullptr;
        }
        for (std::uint32_t b = b0; b < std::min(b0 + kByteTile, column_bytes); ++b) {
          std::uint64_t x = 0;
          for (int i = 0; i < 8; ++i)
            x = x << 8 | (rows[i] ? rows[i][b] : 0u);
          x = transpose8(x);
          const std::uint32_t columns = std::min(8u, w - 8 * b);
          for (std::uint32_t j = 0; j < columns; ++j) {
            const std::uint32_t r = clockwise ? 8 * b + j : w - 1 - (8 * b + j);
            d.data[r * d.stride + g] = static_cast<std::uint8_t>(x >> (56 - 8 * j));
          }
        }
      }
    }
  }
}

#if defined(__SSE2__)
// 1-bit pixels by blocks of 16 source rows x 128 source columns: a 16 x 16
// byte transpose puts each source byte's 16 rows in one register, and each
// byte-sign mask then yields two destination bytes (16 destination
// columns) of one destination row. Register byte i holds the row of
// destination column c + 15 - i, so that the mask's high byte is the first.
void turn_bits_blocks(const PixelRect &s, const PixelRect &d, std::uint32_t rows,
                      std::uint32_t byte_blocks, bool clockwise) {
  const std::uint32_t h = s.rows, w = s.columns;
  // Four blocks use whole source lines; their 512 destination rows stay in
  // cache while the source rows go by.
  for (std::uint32_t block0 = 0; block0 < byte_blocks; block0 += 4)
    for (std::uint32_t c = 0; c < rows; c += 16)
      for (std::uint32_t block = block0; block < std::min(block0 + 4, byte_blocks); ++block) {
        __m128i a[16];
        for (std::uint32_t i = 0; i < 16; ++i) {
          const std::uint32_t column = c + 15 - i, row = clockwise ? h - 1 - column : column;
          a[i] = _mm_loadu_si128(
              reinterpret_cast<const __m128i *>(s.data + row * s.stride + 16 * block));
        }
        transpose16(a);
        for (std::uint32_t j = 0; j < 16; ++j) {
          __m128i v = a[j];
          for (std::uint32_t t = 0; t < 8; ++t, v = _mm_add_epi8(v, v)) {
            const auto mask = static_cast<unsigned>(_mm_movemask_epi8(v));
            const std::uint32_t x = 128 * block + 8 * j + t, r = clockwise ? x : w - 1 - x;
            std::uint8_t *out = d.data + r * d.stride + c / 8;
            out[0] = static_cast<std::uint8_t>(mask >> 8);
            out[1] = static_cast<std::uint8_t>(mask);
          }
        }
      }
}
#endif

// 1-bit pixels: whole blocks by vector where they fit, the edges (the last
// destination columns, the last source columns) by 8 x 8 bit matrices.
void turn_bits_any(const PixelRect &s, const PixelRect &d, bool clockwise) {
#if defined(__SSE2__)
  const std::uint32_t h = s.rows, w = s.columns;
  const std::uint32_t rows = h / 16 * 16, byte_blocks = w / 128;
  if (rows && byte_blocks) {
    turn_bits_blocks(s, d, rows, byte_blocks, clockwise);
    // Destination columns from `rows` on: the source rows that give them.
    const std::uint32_t left = h - rows;
    if (left) {
      const PixelRect source{s.data + std::size_t{clockwise ? 0 : rows} * s.stride, s.stride, left,
                             w};
      turn_bits(source, PixelRect{d.data + rows / 8, d.stride, w, left}, clockwise);
    }
    // Source columns from 128 x byte_blocks on, for the first `rows`
    // destination columns.
    const std::uint32_t done = 128 * byte_blocks, rest = w - done;
    if (rest) {
      const PixelRect source{s.data + std::size_t{clockwise ? left : 0} * s.stride + done / 8,
                             s.stride, rows, rest};
      const std::uint32_t first_row = clockwise ? done : 0;
      turn_bits(source, PixelRect{d.data + std::size_t{first_row} * d.stride, d.stride, rest, rows},
                clockwise);
    }
    return;
  }
#endif
  turn_bits(s, d, clockwise);
}

// Other packed depths: each destination row cleared, then its pixels set
// one by one from the source.
void turn_fields(const PixelRect &s, const PixelRect &d, std::int32_t bits, bool clockwise) {
  const std::uint32_t h = s.rows, w = s.columns;
  const auto b = static_cast<std::uint64_t>(bits);
  for (std::uint32_t r = 0; r < w; ++r) {
    std::uint8_t *out = d.data + r * d.stride;
    std::memset(out, 0, (h * b + 7) / 8);
    const std::uint64_t column = clockwise ? r : w - 1 - r;
    for (std::uint32_t c = 0; c < h; ++c) {
      const std::uint32_t row = clockwise ? h - 1 - c : c;
      core::set_packed_pixel(out, c * b, bits,
                             core::get_packed_pixel(s.data + row * s.stride, column * b, bits));
    }
  }
}

}  // namespace

void turn_quarter(const PixelRect &source, const PixelRect &destination, std::int32_t bits,
                  bool clockwise) noexcept {
  if (source.rows == 0 || source.columns == 0) return;
  switch (bits) {
    case 1:
      return turn_bits_any(source, destination, clockwise);
    case 8:
      return turn_units<1>(source, destination, clockwise);
    case 16:
      return turn_units<2>(source, destination, clockwise);
    case 24:
      return turn_units<3>(source, destination, clockwise);
    case 32:
      return turn_units<4>(source, destination, clockwise);
    case 48:
      return turn_units<6>(source, destination, clockwise);
    case 64:
      return turn_units<8>(source, destination, clockwise);
    default:
      if (core::is_packed_depth(bits)) turn_fields(source, destination, bits, clockwise);
  }
}

}  // namespace vxkrn::transform
