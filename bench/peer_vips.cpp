// Peer comparison, libvips: vips_rot on the turns of orientation_bench.cpp, evaluated into
// memory on one thread with cold caches.
#include <benchmark/benchmark.h>
#include <vips/vips.h>

#include <cstring>

#include "bench_common.h"

namespace {

using namespace vxkrn_bench;

void vips_turn(benchmark::State &state, int bands) {
  static const bool started = [] {
    if (VIPS_INIT("vxkrn_bench")) return false;
    vips_concurrency_set(1);
    vips_cache_set_max(0);
    return true;
  }();
  if (!started) {
    state.SkipWithError("libvips did not start");
    return;
  }
  const std::size_t bytes = std::size_t{kPixels} * std::size_t(bands);
  VipsImage *in = vips_image_new_from_memory(source_bytes().data(), bytes, kSide, kSide, bands,
                                             VIPS_FORMAT_UCHAR);
  cold_loop(
      state, int64_t(2 * bytes), [] {},
      [&] {
        VipsImage *out = nullptr;
        std::size_t size = 0;
        if (vips_rot(in, &out, VIPS_ANGLE_D90, nullptr) == 0) {
          void *pixels = vips_image_write_to_memory(out, &size);
          g_free(pixels);
          g_object_unref(out);
        }
        benchmark::DoNotOptimize(size);
      });
  g_object_unref(in);
}
void BM_Vips_Rotate90_8bit(benchmark::State &s) {
  vips_turn(s, 1);
}
void BM_Vips_Rotate90_24bit(benchmark::State &s) {
  vips_turn(s, 3);
}
BENCHMARK(BM_Vips_Rotate90_8bit)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Vips_Rotate90_24bit)->Unit(benchmark::kMillisecond);

}  // namespace
