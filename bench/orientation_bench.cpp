// Flips, mirrors and quarter turns: 1-bit 8192 x 8192 pages, 8- and 24-bit
// 4096 x 4096 images, a memcpy of the same bytes beside the flip, and a
// compressed text page turned without expanding it. The peers' versions of
// the same jobs are in the peer_*.cpp files of this program.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstring>
#include <vector>

#include "bench_common.h"
#include "vxkrn/vxkrn.h"

namespace {

using namespace vxkrn_bench;

constexpr uint32_t kPage = 8192;  // 1-bit side

// A memory bitmap holding the shared random bytes.
struct Bitmap {
  BitmapHandle bm{};
  Bitmap(int32_t width, int32_t height, int32_t bits, int32_t memory_type = MEM_CONVENTIONAL) {
    V_InitBitmap(&bm, BITMAPHANDLE_SIZE, width, height, bits);
    V_AllocateBitmap(&bm, memory_type);
    V_AccessBitmap(&bm);
  }
  ~Bitmap() { V_FreeBitmap(&bm); }
};

void buffer_turn(benchmark::State &state, uint32_t side, int32_t bits) {
  const std::size_t bytes = std::size_t{side} * side * std::size_t(bits) / 8;
  std::vector<uint8_t> out(bytes);
  cold_loop(
      state, int64_t(2 * bytes), [] {},
      [&] { V_RotateBuffer90(source_bytes().data(), out.data(), 1, side, side, bits); });
}
void BM_Rotate90_1bit_Buffer(benchmark::State &s) {
  buffer_turn(s, kPage, 1);
}
void BM_Rotate90_8bit_Buffer(benchmark::State &s) {
  buffer_turn(s, kSide, 8);
}
void BM_Rotate90_24bit_Buffer(benchmark::State &s) {
  buffer_turn(s, kSide, 24);
}
BENCHMARK(BM_Rotate90_1bit_Buffer)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Rotate90_8bit_Buffer)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Rotate90_24bit_Buffer)->Unit(benchmark::kMillisecond);

// The whole bitmap operation: a new result record, the old one freed.
void bitmap_turn(benchmark::State &state, uint32_t side, int32_t bits) {
  Bitmap image(static_cast<int32_t>(side), static_cast<int32_t>(side), bits);
  const std::size_t bytes = std::size_t(image.bm.BytesPerLine) * side;
  std::memcpy(image.bm.Data, source_bytes().data(), bytes);
  cold_loop(
      state, int64_t(2 * bytes), [] {}, [&] { V_RotateBitmap90(&image.bm, 1, 0, 100); });
}
void BM_Rotate90_1bit_Bitmap(benchmark::State &s) {
  bitmap_turn(s, kPage, 1);
}
void BM_Rotate90_8bit_Bitmap(benchmark::State &s) {
  bitmap_turn(s, kSide, 8);
}
void BM_Rotate90_24bit_Bitmap(benchmark::State &s) {
  bitmap_turn(s, kSide, 24);
}
BENCHMARK(BM_Rotate90_1bit_Bitmap)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Rotate90_8bit_Bitmap)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Rotate90_24bit_Bitmap)->Unit(benchmark::kMillisecond);

// Mirror (reverse every row) and flip in place, and the memcpy of the same
// bytes the flip moves.
void reverse_or_flip(benchmark::State &state, uint32_t side, int32_t bits, bool flip) {
  Bitmap image(static_cast<int32_t>(side), static_cast<int32_t>(side), bits);
  const std::size_t bytes = std::size_t(image.bm.BytesPerLine) * side;
  std::memcpy(image.bm.Data, source_bytes().data(), bytes);
  cold_loop(
      state, int64_t(2 * bytes), [] {},
      [&] {
        if (flip)
          V_FlipBitmap(&image.bm);
        else
          V_ReverseBitmap(&image.bm);
      });
}
void BM_Mirror_1bit(benchmark::State &s) {
  reverse_or_flip(s, kPage, 1, false);
}
void BM_Mirror_24bit(benchmark::State &s) {
  reverse_or_flip(s, kSide, 24, false);
}
void BM_Flip_24bit(benchmark::State &s) {
  reverse_or_flip(s, kSide, 24, true);
}
void BM_Flip_MemcpyBaseline(benchmark::State &s) {
  const std::size_t bytes = std::size_t{kSide} * kSide * 3;
  std::vector<uint8_t> from(source_bytes().begin(), source_bytes().begin() + long(bytes)),
      to(bytes);
  cold_loop(
      s, int64_t(2 * bytes), [] {}, [&] { std::memcpy(to.data(), from.data(), bytes); });
}
BENCHMARK(BM_Mirror_1bit)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Mirror_24bit)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Flip_24bit)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Flip_MemcpyBaseline)->Unit(benchmark::kMillisecond);

// A scanned A4 page at 300 dpi, compressed: text lines of word-like ink
// runs. The status callback samples the heap in use, so the counter shows
// the most the turn held beyond the page before it (its band, its pieces
// and the growing result).
std::size_t heap_in_use() {
  return mallinfo2().uordblks;
}
struct Peak {
  std::size_t base, most;
};
ResultCode sample_heap(int32_t, void *user) {
  auto *peak = static_cast<Peak *>(user);
  peak->most = std::max(peak->most, heap_in_use());
  return RC_SUCCESS;
}
void BM_Rotate90_CompressedTextPage(benchmark::State &state) {
  Bitmap page(2480, 3508, 1, MEM_CONVENTIONAL | MEM_MOD_COMPRESS);
  std::vector<uint8_t> row(std::size_t(page.bm.BytesPerLine));
  uint32_t seed = 7;
  for (int32_t y = 0; y < page.bm.Height; ++y) {
    std::fill(row.begin(), row.end(), 0);
    if (y % 50 >= 20 && y > 200 && y < 3300)
      for (uint32_t x = 300; x < 2180;) {
        seed = seed * 1664525 + 1013904223;
        const uint32_t ink = 2 + (seed >> 28), gap = 3 + (seed >> 24) % 9;
        for (uint32_t i = x; i < x + ink && i < 2180; ++i)
          row[i / 8] |= uint8_t(0x80 >> i % 8);
        x += ink + gap + ((seed >> 20) % 7 == 0 ? 12 : 0);
      }
    V_PutBitmapRow(&page.bm, row.data(), y, uint32_t(row.size()));
  }
  Peak peak{0, 0};
  for (auto _ : state) {
    peak.base = peak.most = heap_in_use();
    V_SetStatusCallBack(sample_heap, &peak, nullptr, nullptr);
    V_RotateBitmap90(&page.bm, 1, 0, 100);
    V_SetStatusCallBack(nullptr, nullptr, nullptr, nullptr);
  }
  state.counters["peak_extra_KiB"] = double(peak.most - peak.base) / 1024;
  state.counters["plain_page_KiB"] = double(std::size_t{2480} * 3508 / 8) / 1024;
  state.counters["compressed_KiB"] = double(page.bm.Size) / 1024;
}
BENCHMARK(BM_Rotate90_CompressedTextPage)->Unit(benchmark::kMillisecond);

}  // namespace
