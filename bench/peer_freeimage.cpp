// Peer comparison, FreeImage: FreeImage_ConvertTo..., on the jobs of convert_bench.cpp:
// single-threaded, cold caches, out of place as its interface works.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "bench_common.h"
#include "vxkrn/vxkrn.h"
#include <FreeImage.h>

namespace {

using namespace vxkrn_bench;

FIBITMAP *freeimage_source(int bpp) {
  FIBITMAP *image = FreeImage_Allocate(kSide, kSide, bpp);
  for (int y = 0; y < kSide; ++y)
    std::memcpy(FreeImage_GetScanLine(image, y), source_bytes().data() + y * kSide * (bpp / 8),
                static_cast<std::size_t>(kSide) * (bpp / 8));
  if (bpp == 8) {
    RGBQUAD *palette = FreeImage_GetPalette(image);
    const PaletteEntry *web = V_IntGetNetscapePalette();
    for (int i = 0; i < 256; ++i)
      palette[i] = RGBQUAD{web[i].Blue, web[i].Green, web[i].Red, 0};
  }
  return image;
}
template <FIBITMAP *(DLL_CALLCONV *Convert)(FIBITMAP *)>
void freeimage_job(benchmark::State &state, int from_bpp, int to_bpp) {
  FIBITMAP *src = freeimage_source(from_bpp);
  cold_loop(
      state, kPixels * (from_bpp + to_bpp) / 8, [] {},
      [&] {
        FIBITMAP *dst = Convert(src);
        benchmark::DoNotOptimize(dst);
        FreeImage_Unload(dst);
      });
  FreeImage_Unload(src);
}
void BM_FreeImage_24_to_Gray8(benchmark::State &s) {
  freeimage_job<FreeImage_ConvertToGreyscale>(s, 24, 8);
}
void BM_FreeImage_Palette8_to_24(benchmark::State &s) {
  freeimage_job<FreeImage_ConvertTo24Bits>(s, 8, 24);
}
void BM_FreeImage_24_to_32(benchmark::State &s) {
  freeimage_job<FreeImage_ConvertTo32Bits>(s, 24, 32);
}
BENCHMARK(BM_FreeImage_24_to_Gray8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FreeImage_Palette8_to_24)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FreeImage_24_to_32)->Unit(benchmark::kMillisecond);

}  // namespace
