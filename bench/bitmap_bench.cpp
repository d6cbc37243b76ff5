// Bitmap lifecycle costs, and the memcpy baseline later figures are given
// against. Run: build/native/bench/vxkrn_bench
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "vxkrn/vxkrn.h"

namespace {

constexpr int kLarge = 4096;
constexpr std::size_t k48MiB = std::size_t{48} << 20;

// The full road of a small bitmap: initialise, allocate (block and map
// table), free.
void BM_InitAllocateFree_64x64x8(benchmark::State &state) {
  for (auto _ : state) {
    BitmapHandle bm;
    V_InitBitmap(&bm, BITMAPHANDLE_SIZE, 64, 64, 8);
    if (V_AllocateBitmap(&bm, MEM_CONVENTIONAL) != RC_SUCCESS) state.SkipWithError("allocate");
    benchmark::DoNotOptimize(bm.Storage);
    V_FreeBitmap(&bm);
  }
}
BENCHMARK(BM_InitAllocateFree_64x64x8);

// The same through V_CreateBitmap, which also copies the default palette.
void BM_CreateFree_64x64x8(benchmark::State &state) {
  for (auto _ : state) {
    BitmapHandle bm;
    if (V_CreateBitmap(&bm, BITMAPHANDLE_SIZE, MEM_CONVENTIONAL, 64, 64, 8, ORDER_RGB, nullptr, 1,
                       nullptr, 0) != RC_SUCCESS)
      state.SkipWithError("create");
    benchmark::DoNotOptimize(bm.Storage);
    V_FreeBitmap(&bm);
  }
}
BENCHMARK(BM_CreateFree_64x64x8);

void BM_AllocateFree_4096x4096x24(benchmark::State &state) {
  BitmapHandle bm;
  V_InitBitmap(&bm, BITMAPHANDLE_SIZE, kLarge, kLarge, 24);
  for (auto _ : state) {
    if (V_AllocateBitmap(&bm, MEM_CONVENTIONAL) != RC_SUCCESS) state.SkipWithError("allocate");
    benchmark::DoNotOptimize(bm.Storage);
    V_FreeBitmap(&bm);
  }
}
BENCHMARK(BM_AllocateFree_4096x4096x24);

// What the allocation above costs at the least: calloc and free of the same
// bytes.
void BM_CallocFree_4096x4096x24(benchmark::State &state) {
  const std::size_t bytes = std::size_t{kLarge} * kLarge * 3 + 31;
  for (auto _ : state) {
    void *block = std::calloc(1, bytes);
    benchmark::DoNotOptimize(block);
    std::free(block);
  }
}
BENCHMARK(BM_CallocFree_4096x4096x24);

// The baseline every throughput figure of the library is compared with.
void BM_Memcpy_48MiB(benchmark::State &state) {
  std::vector<unsigned char> source(k48MiB, 1), destination(k48MiB, 0);
  for (auto _ : state) {
    std::memcpy(destination.data(), source.data(), k48MiB);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * int64_t{k48MiB});
}
BENCHMARK(BM_Memcpy_48MiB)->Unit(benchmark::kMillisecond);

}  // namespace
