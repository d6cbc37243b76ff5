// Fast paths for the pairs that carry most of the traffic, chosen once per
// call in front of the general path. Each gives exactly the general path's
// bytes (the tests compare them on random rows, with and without the vector
// kernels); they skip the general path's 16-bit samples and codec calls.
#include "color/convert_kernels.h"
#include "color/convert_simd.h"

#include <cstring>

// Table lookups written out by hand run faster than the compiler's
// vectorised form of them (which emulates gathers lane by lane).
#if defined(__GNUC__) && !defined(__clang__)
#define VXKRN_SCALAR_LOOPS __attribute__((optimize("no-tree-vectorize")))
#else
#define VXKRN_SCALAR_LOOPS
#endif

namespace vxkrn::color {
namespace {

bool same_positions(const Side &a, const Side &b) {
  return a.red == b.red && a.green == b.green && a.blue == b.blue;
}
bool unranged(const Side &s) {
  return s.low == 0 && s.width == static_cast<uint32_t>(s.bits);
}

// The bytes already hold the result.
void keep(uint8_t *, uint64_t, const ConvertContext &) {}

// A whole row through a scalar range kernel.
template <void (*Kernel)(uint8_t *, uint64_t, uint64_t, const ConvertContext &)>
void whole_row(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  Kernel(buffer, 0, width, c);
}

// 8-bit indices to 24 bits, backward in chunks: the chunk's indices are
// copied aside, then its pixels are written front to back eight at a time as
// three 8-byte words; the chunk's leftover pixels get three bytes each.
VXKRN_SCALAR_LOOPS void index8_to_rgb24(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  // Entry i as its three output bytes, little-endian. A palette entry is
  // blue, green, red in memory: already the blue-first order.
  uint64_t packed[256];
  const bool blue_first = c.dst.blue == 0;
  for (int i = 0; i < 256; ++i) {
    const uint32_t v = load32(reinterpret_cast<const uint8_t *>(c.src_palette + i));
    packed[i] = blue_first ? v & 0xFFFFFF : (v >> 16 & 0xFF) | (v & 0xFF00) | (v & 0xFF) << 16;
  }
  constexpr uint64_t kChunk = 256;
  uint8_t indices[kChunk];
  kernels::NextRowWarmer warmer(buffer, 3 * width);
  for (uint64_t end = width; end > 0;) {
    const uint64_t begin = end > kChunk ? end - kChunk : 0, n = end - begin;
    warmer.advance(3 * (width - begin));
    std::memcpy(indices, buffer + begin, n);
    uint8_t *d = buffer + 3 * begin;
    uint64_t k = 0;
    for (; k + 8 <= n; k += 8, d += 24) {
      const uint64_t *p = packed;
      const uint8_t *x = indices + k;
      store64(d, p[x[0]] | p[x[1]] << 24 | p[x[2]] << 48);
      store64(d + 8, p[x[2]] >> 16 | p[x[3]] << 8 | p[x[4]] << 32 | p[x[5]] << 56);
      store64(d + 16, p[x[5]] >> 8 | p[x[6]] << 16 | p[x[7]] << 40);
    }
    for (; k < n; ++k, d += 3) {
      const uint64_t v = packed[indices[k]];
      d[0] = static_cast<uint8_t>(v);
      d[1] = static_cast<uint8_t>(v >> 8);
      d[2] = static_cast<uint8_t>(v >> 16);
    }
    end = begin;
  }
}

// 8-bit indices through the index map; forward. A map that keeps every
// index (the same palette on both sides, or one whose entries all find
// themselves) leaves the bytes as they are.
VXKRN_SCALAR_LOOPS void index8_map(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  uint32_t i = 0;
  while (i < 256 && c.table[i] == i)
    ++i;
  if (i == 256) return;
  for (uint64_t k = 0; k < width; ++k)
    buffer[k] = static_cast<uint8_t>(c.table[buffer[k]]);
}

// 24 bits to palette indices through the exact search; forward.
void rgb24_to_index8(uint8_t *buffer, uint64_t width, const ConvertContext &c) {
  for (uint64_t i = 0; i < width; ++i) {
    const uint8_t *s = buffer + 3 * i;
    buffer[i] = c.search->find(s[c.src.red], s[1], s[c.src.blue]);
  }
}

FastPath pick(ConvertFn simd, ConvertFn scalar, bool needs_tables) {
  return FastPath{simd ? simd : scalar, needs_tables};
}

}  // namespace

FastPath find_fast_path(const ConvertContext &c) noexcept {
  const SimdKernels &simd = simd_kernels();
  const Format from = c.src.format, to = c.dst.format;
  if (from == Format::Rgb24 && to == Format::Rgb24) {
    if (same_positions(c.src, c.dst)) return FastPath{keep, false};
    return pick(simd.swap_24, whole_row<kernels::swap_24>, false);
  }
  if (from == Format::Rgb24 && to == Format::Rgba32)
    return pick(simd.rgb24_to_rgba32, whole_row<kernels::rgb24_to_rgba32>, false);
  if (from == Format::Rgba32 && to == Format::Rgb24)
    return pick(simd.rgba32_to_rgb24, whole_row<kernels::rgba32_to_rgb24>, false);
  if (from == Format::Rgb24 && to == Format::Gray8 && unranged(c.dst))
    return pick(simd.rgb24_to_gray8, whole_row<kernels::rgb24_to_gray8>, false);
  if (from == Format::Rgb555 && to == Format::Rgb24)
    return pick(simd.rgb555_to_rgb24, whole_row<kernels::rgb555_to_rgb24>, false);
  if (from == Format::Rgb48 && to == Format::Rgb24)
    return pick(same_positions(c.src, c.dst) ? simd.rgb48_to_rgb24 : nullptr,
                whole_row<kernels::rgb48_to_rgb24>, false);
  if (from == Format::Index8 && to == Format::Rgb24) return FastPath{index8_to_rgb24, false};
  if (from == Format::Rgb24 && to == Format::Index8) return FastPath{rgb24_to_index8, false};
  if (from == Format::Index8 && to == Format::Index8) return FastPath{index8_map, true};
  if (from == Format::Packed && to == Format::Index8) {
    if (c.src.bits == 1)
      return pick(simd.packed1_to_index8, whole_row<kernels::packed_to_index8<1>>, true);
    if (c.src.bits == 2) return FastPath{whole_row<kernels::packed_to_index8<2>>, true};
    if (c.src.bits == 4)
      return pick(simd.packed4_to_index8, whole_row<kernels::packed_to_index8<4>>, true);
  }
  return FastPath{nullptr, true};
}

}  // namespace vxkrn::color
