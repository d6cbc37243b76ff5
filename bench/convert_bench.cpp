// Row conversions of a 4096 x 4096 image, in place row by row as the library
// does them, with cold caches; memcpy of the same input + output bytes and
// the plain per-pixel palette scan are the baselines.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "bench_common.h"
#include "color/palette_search.h"
#include "vxkrn/vxkrn.h"

namespace {

using namespace vxkrn_bench;

struct Job {
  int src_bits, src_order, dst_bits, dst_order, flags;
};

// Rows laid out at the wider format's stride; each iteration restores the
// source rows and converts them all.
void convert_image(benchmark::State &state, const Job &job, const PaletteEntry *src_palette,
                   const PaletteEntry *dst_palette, const std::vector<uint8_t> *source = nullptr) {
  const int wide = job.src_bits > job.dst_bits ? job.src_bits : job.dst_bits;
  const std::size_t stride = (static_cast<std::size_t>(kSide) * (wide ? wide : 8) + 7) / 8;
  const std::size_t src_row =
      (static_cast<std::size_t>(kSide) * (job.src_bits ? job.src_bits : 8) + 7) / 8;
  const std::size_t dst_row =
      (static_cast<std::size_t>(kSide) * (job.dst_bits ? job.dst_bits : 8) + 7) / 8;
  std::vector<uint8_t> original = source ? *source : random_bytes(src_row * kSide, 99);
  std::vector<uint8_t> rows(stride * kSide);
  cold_loop(
      state, static_cast<int64_t>((src_row + dst_row) * kSide),
      [&] {
        for (int y = 0; y < kSide; ++y)
          std::memcpy(rows.data() + y * stride, original.data() + y * src_row, src_row);
      },
      [&] {
        for (int y = 0; y < kSide; ++y)
          V_ConvertBufferExt(rows.data() + y * stride, kSide, job.src_bits, job.dst_bits,
                             job.src_order, job.dst_order, src_palette, dst_palette, job.flags, -1,
                             -1);
      });
}

void BM_Convert_24_to_Gray8(benchmark::State &s) {
  convert_image(s, {24, ORDER_BGR, 0, ORDER_GRAY, 0}, nullptr, nullptr);
}
void BM_Convert_Palette8_to_24(benchmark::State &s) {
  convert_image(s, {8, ORDER_RGB, 24, ORDER_BGR, 0}, V_IntGetNetscapePalette(), nullptr);
}
void BM_Convert_24_to_32_AlphaFill(benchmark::State &s) {
  convert_image(s, {24, ORDER_BGR, 32, ORDER_BGR, CVT_ALPHA_FILL}, nullptr, nullptr);
}
void BM_Convert_24_RgbToBgr(benchmark::State &s) {
  convert_image(s, {24, ORDER_RGB, 24, ORDER_BGR, 0}, nullptr, nullptr);
}
void BM_Convert_32_to_24(benchmark::State &s) {
  convert_image(s, {32, ORDER_BGR, 24, ORDER_BGR, 0}, nullptr, nullptr);
}
// Index expansion: the deeper palette begins with the shallower one, as when
// an image keeps its colours at a greater depth.
void BM_Convert_1_to_8(benchmark::State &s) {
  const PaletteEntry *web = V_IntGetNetscapePalette();
  convert_image(s, {1, ORDER_RGB, 8, ORDER_RGB, 0}, web, web);
}
void BM_Convert_4_to_8(benchmark::State &s) {
  const PaletteEntry *web = V_IntGetNetscapePalette();
  convert_image(s, {4, ORDER_RGB, 8, ORDER_RGB, 0}, web, web);
}
void BM_Convert_16_to_24(benchmark::State &s) {
  convert_image(s, {16, ORDER_BGR, 24, ORDER_BGR, 0}, nullptr, nullptr);
}
void BM_Convert_48_to_24(benchmark::State &s) {
  convert_image(s, {48, ORDER_BGR, 24, ORDER_BGR, 0}, nullptr, nullptr);
}
BENCHMARK(BM_Convert_24_to_Gray8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Convert_Palette8_to_24)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Convert_24_to_32_AlphaFill)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Convert_24_RgbToBgr)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Convert_32_to_24)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Convert_1_to_8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Convert_4_to_8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Convert_16_to_24)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Convert_48_to_24)->Unit(benchmark::kMillisecond);

// An arbitrary 256-entry palette: colours spread over the cube.
std::vector<PaletteEntry> arbitrary_palette() {
  std::vector<PaletteEntry> palette(256);
  const std::vector<uint8_t> bytes = random_bytes(256 * 3, 4242);
  for (int i = 0; i < 256; ++i)
    palette[i] = PaletteEntry{bytes[3 * i], bytes[3 * i + 1], bytes[3 * i + 2], 0};
  return palette;
}

void BM_Convert_Photo24_to_Palette8(benchmark::State &s) {
  static const std::vector<uint8_t> photo = photo_like_bgr();
  static const std::vector<PaletteEntry> palette = arbitrary_palette();
  convert_image(s, {24, ORDER_BGR, 8, ORDER_RGB, 0}, nullptr, palette.data(), &photo);
}
BENCHMARK(BM_Convert_Photo24_to_Palette8)->Unit(benchmark::kMillisecond);

// The same job with the plain scan for every pixel: what the search saves.
void BM_PlainScan_Photo24_to_Palette8(benchmark::State &s) {
  static const std::vector<uint8_t> photo = photo_like_bgr();
  static const std::vector<PaletteEntry> palette = arbitrary_palette();
  std::vector<uint8_t> out(static_cast<std::size_t>(kPixels));
  cold_loop(
      s, kPixels * 4, [] {},
      [&] {
        for (int64_t i = 0; i < kPixels; ++i) {
          const uint8_t *p = photo.data() + 3 * i;
          out[static_cast<std::size_t>(i)] = static_cast<uint8_t>(
              vxkrn::color::find_palette_index(palette.data(), 256, p[2], p[1], p[0]));
        }
      });
}
BENCHMARK(BM_PlainScan_Photo24_to_Palette8)->Unit(benchmark::kMillisecond)->Iterations(1);

// memcpy moving `megabytes` of input and output: half of it read, half written.
void BM_MemcpyTraffic(benchmark::State &s) {
  const std::size_t half = static_cast<std::size_t>(s.range(0)) << 19;
  std::vector<uint8_t> from(half, 1), to(half, 2);
  cold_loop(
      s, static_cast<int64_t>(2 * half), [] {}, [&] { std::memcpy(to.data(), from.data(), half); });
}
// Input + output MiB of the jobs above: 48+16, 16+48, 48+64, 48+48, 64+48,
// 2+16, 8+16, 32+48, 96+48.
BENCHMARK(BM_MemcpyTraffic)
    ->Arg(64)
    ->Arg(112)
    ->Arg(96)
    ->Arg(18)
    ->Arg(24)
    ->Arg(80)
    ->Arg(144)
    ->Unit(benchmark::kMillisecond);

}  // namespace
