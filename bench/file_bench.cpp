// The memory redirection: 64 MiB written in 4 KiB writes into a growing
// block, against a std::vector growing the same way.
#include <benchmark/benchmark.h>

#include <vector>

#include "vxkrn/vxkrn.h"

namespace {

constexpr uint32_t kWrite = 4096;
constexpr int64_t kTotal = int64_t{64} << 20;

void BM_MemoryRedirect_64MiB_4KiBWrites(benchmark::State &state) {
  std::vector<uint8_t> chunk(kWrite, 0x3C);
  for (auto _ : state) {
    void *context;
    if (V_StartRedirectToBuffer(&context, nullptr, MEMFILE_GROW | MEMFILE_WRITE, nullptr, 0) !=
        RC_SUCCESS)
      state.SkipWithError("start");
    const int32_t file = V_RedirectedOpen(L"memory", OPEN_READ_WRITE | OPEN_CREATE, 0);
    for (int64_t done = 0; done < kTotal; done += kWrite)
      if (V_RedirectedWrite(file, chunk.data(), kWrite) != int32_t{kWrite})
        state.SkipWithError("write");
    V_RedirectedClose(file);
    void *block;
    uint32_t size;
    V_StopRedirectToBuffer(context, &block, &size);
    benchmark::DoNotOptimize(block);
    V_GlobalFree(block);
  }
  state.SetBytesProcessed(state.iterations() * kTotal);
}
BENCHMARK(BM_MemoryRedirect_64MiB_4KiBWrites)->Unit(benchmark::kMillisecond);

void BM_VectorGrowth_64MiB_4KiBWrites(benchmark::State &state) {
  std::vector<uint8_t> chunk(kWrite, 0x3C);
  for (auto _ : state) {
    std::vector<uint8_t> sink;
    for (int64_t done = 0; done < kTotal; done += kWrite)
      sink.insert(sink.end(), chunk.begin(), chunk.end());
    benchmark::DoNotOptimize(sink.data());
  }
  state.SetBytesProcessed(state.iterations() * kTotal);
}
BENCHMARK(BM_VectorGrowth_64MiB_4KiBWrites)->Unit(benchmark::kMillisecond);

}  // namespace
