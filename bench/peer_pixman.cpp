// Peer comparison, pixman: pixman_image_composite32 with PIXMAN_OP_SRC on the jobs of
// convert_bench.cpp, and with a quarter-turn transform on the turns of orientation_bench.cpp:
// single-threaded, cold caches, out of place as its interface works.
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
// Destination (x, y) samples source (y, side - 1 - x): a clockwise quarter turn.
void pixman_turn(benchmark::State &state, pixman_format_code_t format, int bytes) {
  const int stride = (kSide * bytes + 3) & ~3;
  pixman_image_t *src = pixman_image_create_bits(
      format, kSide, kSide,
      reinterpret_cast<uint32_t *>(const_cast<uint8_t *>(source_bytes().data())), stride);
  std::vector<uint32_t> out(static_cast<std::size_t>(stride) * kSide / 4);
  pixman_image_t *dst = pixman_image_create_bits(format, kSide, kSide, out.data(), stride);
  pixman_transform_t turn;
  pixman_transform_init_rotate(&turn, 0, -pixman_fixed_1);
  pixman_transform_translate(&turn, nullptr, 0, pixman_int_to_fixed(kSide));
  pixman_image_set_transform(src, &turn);
  pixman_image_set_filter(src, PIXMAN_FILTER_NEAREST, nullptr, 0);
  cold_loop(
      state, int64_t{kPixels} * 2 * bytes, [] {},
      [&] {
        pixman_image_composite32(PIXMAN_OP_SRC, src, nullptr, dst, 0, 0, 0, 0, 0, 0, kSide, kSide);
      });
  pixman_image_unref(src);
  pixman_image_unref(dst);
}
void BM_Pixman_Rotate90_8bit(benchmark::State &s) {
  pixman_turn(s, PIXMAN_a8, 1);
}
void BM_Pixman_Rotate90_24bit(benchmark::State &s) {
  pixman_turn(s, PIXMAN_r8g8b8, 3);
}
BENCHMARK(BM_Pixman_Rotate90_8bit)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Pixman_Rotate90_24bit)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Pixman_Palette8_to_24)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Pixman_24_to_32)->Unit(benchmark::kMillisecond);

}  // namespace
