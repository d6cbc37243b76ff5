// Shared pieces of the conversion benchmarks: the image size, cold-cache
// iterations, and deterministic test images.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace vxkrn_bench {

constexpr int kSide = 4096;
constexpr int64_t kPixels = int64_t{kSide} * kSide;

// Read more memory than the caches hold, so each iteration starts cold.
// (Reads, not memset: large memsets bypass the caches and evict nothing.)
inline void evict_caches() {
  static std::vector<uint64_t> sweep((std::size_t{96} << 20) / sizeof(uint64_t), 1);
  uint64_t sum = 0;
  for (std::size_t i = 0; i < sweep.size(); i += 8)
    sum += sweep[i];
  benchmark::DoNotOptimize(sum);
}

// Time `run` only: `prepare` (restoring inputs) and the cache sweep are
// outside the measured region. Reports input + output bytes per second.
template <class Prepare, class Run>
void cold_loop(benchmark::State &state, int64_t bytes_moved, Prepare prepare, Run run) {
  for (auto _ : state) {
    state.PauseTiming();
    prepare();
    evict_caches();
    state.ResumeTiming();
    run();
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * bytes_moved);
}

// A photo-like image: smooth gradients with fine noise, many colours but
// strong local coherence. 24-bit, blue-green-red, rows of 3 x kSide bytes.
inline std::vector<uint8_t> photo_like_bgr() {
  std::vector<uint8_t> image(static_cast<std::size_t>(kPixels) * 3);
  uint32_t noise = 12345;
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      noise = noise * 1103515245 + 12345;
      const int n = static_cast<int>((noise >> 16) & 7) - 3;
      uint8_t *p = image.data() + (static_cast<std::size_t>(y) * kSide + x) * 3;
      auto clamp = [](int v) { return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v); };
      p[0] = clamp((x * 255) / kSide + n);
      p[1] = clamp((y * 255) / kSide + n);
      p[2] = clamp(((x + y) * 255) / (2 * kSide) + ((x / 64 + y / 64) % 2) * 40 + n);
    }
  }
  return image;
}

// Random bytes from a fixed seed.
inline std::vector<uint8_t> random_bytes(std::size_t count, uint32_t seed) {
  std::vector<uint8_t> bytes(count);
  for (uint8_t &b : bytes) {
    seed = seed * 1664525 + 1013904223;
    b = static_cast<uint8_t>(seed >> 24);
  }
  return bytes;
}

// The input every peer job reads: random bytes for 4096 x 4096 x 4.
inline const std::vector<uint8_t> &source_bytes() {
  static const std::vector<uint8_t> bytes = random_bytes(static_cast<std::size_t>(kPixels) * 4, 99);
  return bytes;
}

}  // namespace vxkrn_bench
