// Run-length coding of a scanned-text-like 1-bit page, 2480 x 3508 pixels,
// with cold caches; a memcpy of the same plain bytes is the baseline.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "bench_common.h"
#include "core/run_length.h"
#include "vxkrn/vxkrn.h"

namespace {

using namespace vxkrn_bench;

constexpr uint32_t kWidth = 2480;
constexpr uint32_t kHeight = 3508;
constexpr std::size_t kStride = ((kWidth + 31) >> 3) & ~std::size_t{3};
constexpr int64_t kPlainBytes = int64_t{kStride} * kHeight;

struct Random {
  uint32_t state;
  uint32_t below(uint32_t n) {
    state = state * 1664525 + 1013904223;
    return static_cast<uint32_t>((uint64_t{state >> 8} * n) >> 24);
  }
};

void fill_box(std::vector<uint8_t> &page, uint32_t x0, uint32_t y0, uint32_t w, uint32_t h) {
  for (uint32_t y = y0; y < y0 + h && y < kHeight; ++y)
    for (uint32_t x = x0; x < x0 + w && x < kWidth; ++x)
      page[y * kStride + (x >> 3)] |= static_cast<uint8_t>(0x80u >> (x & 7));
}

// One letter-like blob: stems and bars of 4-pixel strokes in a cell
// of the x-height, some with an ascender or descender.
void draw_glyph(std::vector<uint8_t> &page, Random &random, uint32_t x, uint32_t base,
                uint32_t width) {
  constexpr uint32_t kXHeight = 26, kStroke = 4;
  const uint32_t top = base - kXHeight;
  const uint32_t shape = random.below(8);
  const uint32_t rise = random.below(5) == 0 ? 14 : 0;
  const uint32_t drop = random.below(7) == 0 ? 12 : 0;
  if (shape != 3) fill_box(page, x, top - rise, kStroke, kXHeight + rise + drop);  // left stem
  if (shape & 1) fill_box(page, x + width - kStroke, top, kStroke, kXHeight);      // right stem
  if (shape & 2) fill_box(page, x, top, width, kStroke);                           // top bar
  if (shape & 4) fill_box(page, x, base - kStroke, width, kStroke);                // bottom bar
  if (shape == 3 || shape == 6) fill_box(page, x, top + kXHeight / 2, width, kStroke);
}

// Margins, lines of words with ragged right ends, paragraph gaps.
std::vector<uint8_t> text_page() {
  std::vector<uint8_t> page(static_cast<std::size_t>(kPlainBytes), 0);
  Random random{2024};
  constexpr uint32_t kLeft = 250, kRight = kWidth - 250, kPitch = 58;
  uint32_t line = 0;
  for (uint32_t base = 330; base + 40 < kHeight - 260; base += kPitch, ++line) {
    if (line % 14 == 13) continue;  // paragraph gap
    const uint32_t end = line % 14 == 12 ? kLeft + 300 + random.below(900) : kRight;
    for (uint32_t x = kLeft + (line % 14 == 0 ? 80 : 0); x < end;) {
      const uint32_t letters = 2 + random.below(8);
      for (uint32_t i = 0; i < letters && x + 30 < end; ++i) {
        const uint32_t width = 13 + random.below(12);
        draw_glyph(page, random, x, base, width);
        x += width + 4 + random.below(3);
      }
      x += 18 + random.below(8);
    }
  }
  return page;
}

const std::vector<uint8_t> &plain_page() {
  static const std::vector<uint8_t> page = text_page();
  return page;
}

double black_fraction(const std::vector<uint8_t> &page) {
  uint64_t ones = 0;
  for (uint8_t b : page)
    ones += static_cast<uint64_t>(__builtin_popcount(b));
  return static_cast<double>(ones) / (double{kWidth} * kHeight);
}

std::vector<uint8_t> records_of(const std::vector<uint8_t> &plain, std::size_t *size) {
  std::vector<uint8_t> records(
      static_cast<std::size_t>(kHeight * COMPRESSED_RECORD_MAX_BYTES(kWidth)));
  if (V_CompressRows(records.data(), plain.data(), kWidth, kHeight) != RC_SUCCESS) std::abort();
  std::size_t at = 0;
  for (uint32_t row = 0; row < kHeight; ++row)
    at += static_cast<std::size_t>(vxkrn::core::record_bytes(records.data() + at));
  *size = at;
  return records;
}

void BM_CompressRows_TextPage(benchmark::State &state) {
  const std::vector<uint8_t> &plain = plain_page();
  std::size_t size = 0;
  std::vector<uint8_t> records = records_of(plain, &size);
  cold_loop(
      state, kPlainBytes, [] {},
      [&] { V_CompressRows(records.data(), plain.data(), kWidth, kHeight); });
  state.counters["compressed_fraction"] = static_cast<double>(size) / kPlainBytes;
  state.counters["black_fraction"] = black_fraction(plain);
}
BENCHMARK(BM_CompressRows_TextPage)->Unit(benchmark::kMicrosecond);

// Reports the plain bytes written per second.
void BM_ExpandRows_TextPage(benchmark::State &state) {
  const std::vector<uint8_t> &plain = plain_page();
  std::size_t size = 0;
  const std::vector<uint8_t> records = records_of(plain, &size);
  std::vector<uint8_t> out(plain.size());
  V_ExpandRows(records.data(), out.data(), kWidth, kHeight);
  if (out != plain) state.SkipWithError("the expanded page differs");
  cold_loop(
      state, kPlainBytes, [] {},
      [&] { V_ExpandRows(records.data(), out.data(), kWidth, kHeight); });
  state.counters["compressed_fraction"] = static_cast<double>(size) / kPlainBytes;
}
BENCHMARK(BM_ExpandRows_TextPage)->Unit(benchmark::kMicrosecond);

// A plain 1-bit bitmap of the page moved into compressed storage and back,
// the whole bitmap-level round trip (new storage, row copy, trim).
void BM_ToggleCompression_TextPage(benchmark::State &state) {
  const std::vector<uint8_t> &plain = plain_page();
  BitmapHandle page{};
  V_InitBitmap(&page, BITMAPHANDLE_SIZE, kWidth, kHeight, 1);
  if (V_AllocateBitmap(&page, MEM_NO_DISK) != RC_SUCCESS) std::abort();
  V_AccessBitmap(&page);
  V_PutBitmapRow(&page, plain.data(), 0, static_cast<uint32_t>(kPlainBytes));
  V_ReleaseBitmap(&page);
  cold_loop(
      state, kPlainBytes, [] {},
      [&] {
        if (V_ToggleBitmapCompression(&page) != RC_SUCCESS ||
            V_ToggleBitmapCompression(&page) != RC_SUCCESS)
          state.SkipWithError("toggle failed");
      });
  V_FreeBitmap(&page);
}
BENCHMARK(BM_ToggleCompression_TextPage)->Unit(benchmark::kMicrosecond);

void BM_Memcpy_TextPage(benchmark::State &state) {
  const std::vector<uint8_t> &plain = plain_page();
  std::vector<uint8_t> out(plain.size());
  cold_loop(
      state, kPlainBytes, [] {}, [&] { std::memcpy(out.data(), plain.data(), plain.size()); });
}
BENCHMARK(BM_Memcpy_TextPage)->Unit(benchmark::kMicrosecond);

}  // namespace
