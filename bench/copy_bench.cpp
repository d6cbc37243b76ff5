// Copies: the pixel data of a 4096 x 4096 24-bit bitmap into another, and an
// unaligned 1-bit rectangle of an 8192 x 8192 page, each next to a memcpy of
// the same bytes, all with cold caches.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <vector>

#include "bench_common.h"
#include "vxkrn/vxkrn.h"

namespace {

using namespace vxkrn_bench;

struct Bitmap {
  BitmapHandle bm{};
  Bitmap(int32_t width, int32_t height, int32_t bits) {
    V_InitBitmap(&bm, BITMAPHANDLE_SIZE, width, height, bits);
    if (V_AllocateBitmap(&bm, MEM_NO_DISK) != RC_SUCCESS) std::abort();
    const std::vector<uint8_t> row = random_bytes(static_cast<std::size_t>(bm.BytesPerLine), 5);
    for (int32_t y = 0; y < height; ++y)
      V_PutBitmapRow(&bm, row.data(), y, static_cast<uint32_t>(bm.BytesPerLine));
  }
  ~Bitmap() { V_FreeBitmap(&bm); }
};

const int64_t kImage24 = int64_t{kSide} * 3 * kSide;

void BM_CopyBitmapData_24bit(benchmark::State &state) {
  Bitmap from(kSide, kSide, 24), to(kSide, kSide, 24);
  cold_loop(
      state, kImage24, [] {},
      [&] {
        if (V_CopyBitmapData(&to.bm, &from.bm) != RC_SUCCESS) state.SkipWithError("copy failed");
      });
}
BENCHMARK(BM_CopyBitmapData_24bit)->Unit(benchmark::kMillisecond);

void BM_CopyBitmapData_MemcpyBaseline(benchmark::State &state) {
  std::vector<uint8_t> from = random_bytes(static_cast<std::size_t>(kImage24), 5);
  std::vector<uint8_t> to(from.size(), 0);
  cold_loop(
      state, kImage24, [] {}, [&] { std::memcpy(to.data(), from.data(), to.size()); });
}
BENCHMARK(BM_CopyBitmapData_MemcpyBaseline)->Unit(benchmark::kMillisecond);

// A rectangle of a 1-bit page whose left edge lies inside a byte, so every
// row is shifted by 3 bits; the result is a new bitmap each time.
constexpr int32_t kPage = 8192;
constexpr int32_t kLeft = 3, kTop = 5, kRectWidth = 6000, kRectHeight = 6000;
const int64_t kRectBytes = int64_t{(kRectWidth + 31) / 32 * 4} * kRectHeight;

void copy_rect(benchmark::State &state, int32_t left) {
  Bitmap page(kPage, kPage, 1);
  BitmapHandle result{};
  cold_loop(
      state, kRectBytes, [&] { V_FreeBitmap(&result); },
      [&] {
        if (V_CopyBitmapRect(&result, &page.bm, BITMAPHANDLE_SIZE, left, kTop, kRectWidth,
                             kRectHeight) != RC_SUCCESS)
          state.SkipWithError("rectangle copy failed");
      });
  V_FreeBitmap(&result);
}

void BM_CopyBitmapRect_1bitUnaligned(benchmark::State &state) {
  copy_rect(state, kLeft);
}
BENCHMARK(BM_CopyBitmapRect_1bitUnaligned)->Unit(benchmark::kMillisecond);

// The same rectangle from a byte boundary: no shifting, so the difference
// to the unaligned copy is the cost of realigning the bits; the rest is the
// new bitmap (its pages are touched for the first time) and the row calls.
void BM_CopyBitmapRect_1bitAligned(benchmark::State &state) {
  copy_rect(state, 8);
}
BENCHMARK(BM_CopyBitmapRect_1bitAligned)->Unit(benchmark::kMillisecond);

void BM_CopyBitmapRect_MemcpyBaseline(benchmark::State &state) {
  std::vector<uint8_t> from = random_bytes(static_cast<std::size_t>(kRectBytes), 5);
  std::vector<uint8_t> to(from.size(), 0);
  cold_loop(
      state, kRectBytes, [] {}, [&] { std::memcpy(to.data(), from.data(), to.size()); });
}
BENCHMARK(BM_CopyBitmapRect_MemcpyBaseline)->Unit(benchmark::kMillisecond);

}  // namespace
