// Peer comparison, pixman: pixman_image_composite32 with PIXMAN_OP_SRC, on the jobs of
// convert_bench.cpp: single-threaded, cold caches, out of place as its interface works.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "bench_common.h"
#include "vxkrn/vxkrn.h"
#include <pixman.h>

namespace {

using namespace vxkrn_bench;

void pixman_job(benchmark::State &state, pixman_format_code_t from, int from_bytes,
                pixman_format_code_t to, int to_bytes, bool indexed) {
  static pixman_indexed_t palette;
  const PaletteEntry *web = V_IntGetNetscapePalette();
  for (int i = 0; i < 256; ++i)
    palette.rgba[i] =
        0xFF000000u | uint32_t(web[i].Red) << 16 | uint32_t(web[i].Green) << 8 | web[i].Blue;
  const int src_stride = (kSide * from_bytes + 3) & ~3, dst_stride = (kSide * to_bytes + 3) & ~3;
  pixman_image_t *src = pixman_image_create_bits(
      from, kSide, kSide,
      reinterpret_cast<uint32_t *>(const_cast<uint8_t *>(source_bytes().data())), src_stride);
  if (indexed) pixman_image_set_indexed(src, &palette);
  std::vector<uint32_t> out(static_cast<std::size_t>(dst_stride) * kSide / 4);
  pixman_image_t *dst = pixman_image_create_bits(to, kSide, kSide, out.data(), dst_stride);
  cold_loop(
      state, int64_t{kPixels} * (from_bytes + to_bytes), [] {},
      [&] {
        pixman_image_composite32(PIXMAN_OP_SRC, src, nullptr, dst, 0, 0, 0, 0, 0, 0, kSide, kSide);
      });
  pixman_image_unref(src);
  pixman_image_unref(dst);
}
void BM_Pixman_Palette8_to_24(benchmark::State &s) {
  pixman_job(s, PIXMAN_c8, 1, PIXMAN_r8g8b8, 3, true);
}
void BM_Pixman_24_to_32(benchmark::State &s) {
  pixman_job(s, PIXMAN_r8g8b8, 3, PIXMAN_a8r8g8b8, 4, false);
}
BENCHMARK(BM_Pixman_Palette8_to_24)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Pixman_24_to_32)->Unit(benchmark::kMillisecond);

}  // namespace
