// Row transfers: a whole 4096 x 4096 24-bit image copied row by row between
// memory bitmaps and to and from a disk bitmap, with the plain-memory and
// plain-file baselines measured the same way.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "vxkrn/vxkrn.h"

namespace {

constexpr int kSide = 4096;
constexpr int kStride = kSide * 3;
constexpr int64_t kImageBytes = int64_t{kStride} * kSide;

struct Image {
  BitmapHandle bm;
  explicit Image(int32_t memory_type) {
    V_InitBitmap(&bm, BITMAPHANDLE_SIZE, kSide, kSide, 24);
    if (V_AllocateBitmap(&bm, memory_type) != RC_SUCCESS) std::abort();
    V_AccessBitmap(&bm);
    std::vector<uint8_t> row(kStride, 0x5C);
    for (int y = 0; y < kSide; ++y)
      V_PutBitmapRow(&bm, row.data(), y, kStride);
  }
  ~Image() { V_FreeBitmap(&bm); }
};

void copy_rows(benchmark::State &state, BitmapHandle &from, BitmapHandle &to) {
  std::vector<uint8_t> row(kStride);
  for (auto _ : state) {
    for (int y = 0; y < kSide; ++y) {
      if (V_GetBitmapRow(&from, row.data(), y, kStride) != kStride ||
          V_PutBitmapRow(&to, row.data(), y, kStride) != kStride)
        state.SkipWithError("row transfer failed");
    }
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * kImageBytes);
}

void BM_RowCopy_MemoryToMemory(benchmark::State &state) {
  Image from(MEM_NO_DISK), to(MEM_NO_DISK);
  copy_rows(state, from.bm, to.bm);
}
BENCHMARK(BM_RowCopy_MemoryToMemory)->Unit(benchmark::kMillisecond);

// The same bytes in one memcpy between two plain buffers.
void BM_RowCopy_MemcpyBaseline(benchmark::State &state) {
  std::vector<uint8_t> from(kImageBytes, 0x5C), to(kImageBytes, 0);
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), kImageBytes);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * kImageBytes);
}
BENCHMARK(BM_RowCopy_MemcpyBaseline)->Unit(benchmark::kMillisecond);

// The two transfers a row copy through the API makes (source row into a
// buffer, buffer into the destination), done with memcpy alone: the bound
// for any get/put row interface.
void BM_RowCopy_MemcpyViaRowBuffer(benchmark::State &state) {
  std::vector<uint8_t> from(kImageBytes, 0x5C), to(kImageBytes, 0), row(kStride);
  for (auto _ : state) {
    for (int64_t y = 0; y < kSide; ++y) {
      std::memcpy(row.data(), from.data() + y * kStride, kStride);
      benchmark::ClobberMemory();
      std::memcpy(to.data() + y * kStride, row.data(), kStride);
    }
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * kImageBytes);
}
BENCHMARK(BM_RowCopy_MemcpyViaRowBuffer)->Unit(benchmark::kMillisecond);

void BM_RowCopy_MemoryToDisk(benchmark::State &state) {
  Image from(MEM_NO_DISK), to(MEM_DISK);
  copy_rows(state, from.bm, to.bm);
}
BENCHMARK(BM_RowCopy_MemoryToDisk)->Unit(benchmark::kMillisecond);

void BM_RowCopy_DiskToMemory(benchmark::State &state) {
  Image from(MEM_DISK), to(MEM_NO_DISK);
  copy_rows(state, from.bm, to.bm);
}
BENCHMARK(BM_RowCopy_DiskToMemory)->Unit(benchmark::kMillisecond);

// The same rows through pwrite and pread on a plain file in the same
// directory, page cache warm.
struct PlainFile {
  int fd;
  PlainFile() {
    char name[] = "/tmp/vxkrn_bench_XXXXXX";
    fd = mkstemp(name);
    unlink(name);
    std::vector<uint8_t> row(kStride, 0x5C);
    for (int y = 0; y < kSide; ++y)
      if (pwrite(fd, row.data(), kStride, off_t{y} * kStride) != kStride) std::abort();
  }
  ~PlainFile() { close(fd); }
};

void BM_RowCopy_PwriteBaseline(benchmark::State &state) {
  PlainFile file;
  Image from(MEM_NO_DISK);
  std::vector<uint8_t> row(kStride);
  for (auto _ : state) {
    for (int y = 0; y < kSide; ++y) {
      std::memcpy(row.data(), from.bm.Data + int64_t{y} * kStride, kStride);
      if (pwrite(file.fd, row.data(), kStride, off_t{y} * kStride) != kStride)
        state.SkipWithError("pwrite");
    }
  }
  state.SetBytesProcessed(state.iterations() * kImageBytes);
}
BENCHMARK(BM_RowCopy_PwriteBaseline)->Unit(benchmark::kMillisecond);

void BM_RowCopy_PreadBaseline(benchmark::State &state) {
  PlainFile file;
  Image to(MEM_NO_DISK);
  std::vector<uint8_t> row(kStride);
  for (auto _ : state) {
    for (int y = 0; y < kSide; ++y) {
      if (pread(file.fd, row.data(), kStride, off_t{y} * kStride) != kStride)
        state.SkipWithError("pread");
      std::memcpy(to.bm.Data + int64_t{y} * kStride, row.data(), kStride);
    }
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * kImageBytes);
}
BENCHMARK(BM_RowCopy_PreadBaseline)->Unit(benchmark::kMillisecond);

}  // namespace
