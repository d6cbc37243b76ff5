// Peer comparison, Leptonica: pixConvertRGBToLuminance and pixRemoveColormap on the jobs of
// convert_bench.cpp, pixRotateOrth and pixFlipLR on those of orientation_bench.cpp:
// single-threaded, cold caches, out of place as its interface works.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "bench_common.h"
#include "vxkrn/vxkrn.h"
#include <leptonica/allheaders.h>

namespace {

using namespace vxkrn_bench;

PIX *leptonica_source(int depth) {
  PIX *pix = pixCreate(kSide, kSide, depth);
  const std::size_t bytes = static_cast<std::size_t>(pixGetWpl(pix)) * 4 * kSide;
  std::memcpy(pixGetData(pix), source_bytes().data(), bytes);
  if (depth == 8) {
    PIXCMAP *map = pixcmapCreate(8);
    const PaletteEntry *web = V_IntGetNetscapePalette();
    for (int i = 0; i < 256; ++i)
      pixcmapAddColor(map, web[i].Red, web[i].Green, web[i].Blue);
    pixSetColormap(pix, map);
  }
  return pix;
}
void BM_Leptonica_32_to_Gray8(benchmark::State &s) {
  PIX *src = leptonica_source(32);
  cold_loop(
      s, kPixels * 5, [] {},
      [&] {
        PIX *dst = pixConvertRGBToLuminance(src);
        pixDestroy(&dst);
      });
  pixDestroy(&src);
}
void BM_Leptonica_Palette8_to_32(benchmark::State &s) {
  PIX *src = leptonica_source(8);
  cold_loop(
      s, kPixels * 5, [] {},
      [&] {
        PIX *dst = pixRemoveColormap(src, REMOVE_CMAP_TO_FULL_COLOR);
        pixDestroy(&dst);
      });
  pixDestroy(&src);
}
// A 1-bit 8192 x 8192 page of the shared random bytes.
PIX *leptonica_page() {
  PIX *pix = pixCreate(8192, 8192, 1);
  std::memcpy(pixGetData(pix), source_bytes().data(), std::size_t{8192} * 8192 / 8);
  return pix;
}
void BM_Leptonica_Rotate90_1bit(benchmark::State &s) {
  PIX *src = leptonica_page();
  cold_loop(
      s, int64_t{8192} * 8192 / 4, [] {},
      [&] {
        PIX *dst = pixRotateOrth(src, 1);
        pixDestroy(&dst);
      });
  pixDestroy(&src);
}
void BM_Leptonica_Mirror_1bit(benchmark::State &s) {
  PIX *src = leptonica_page();
  cold_loop(
      s, int64_t{8192} * 8192 / 4, [] {}, [&] { pixFlipLR(src, src); });
  pixDestroy(&src);
}
BENCHMARK(BM_Leptonica_Rotate90_1bit)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Leptonica_Mirror_1bit)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Leptonica_32_to_Gray8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Leptonica_Palette8_to_32)->Unit(benchmark::kMillisecond);

}  // namespace
