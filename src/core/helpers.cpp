// Small shared helpers: fixed-point sine and cosine, integer square root,
// the bit-count table and path stripping.
#include <array>
#include <atomic>
#include <bit>
#include <cmath>
#include <cwchar>

#include "core/helpers.h"

#include "core/once.h"

namespace vxkrn::core {
namespace {

constexpr int32_t kQuarter = 9000;  // 90 degrees in hundredths
constexpr int32_t kFull = 36000;

// round(16384 x sin(i / 100 degrees)) for i = 0 .. 9000, filled on first use.
int16_t g_sine[kQuarter + 1];
std::atomic<int> g_sine_state{0};

void fill_sine_table() {
  const double pi = std::acos(-1.0);
  for (int32_t i = 0; i <= kQuarter; ++i)
    g_sine[i] = static_cast<int16_t>(std::lround(16384.0 * std::sin(i * pi / 18000.0)));
}

const int16_t *sine_table() {
  run_once(g_sine_state, fill_sine_table);
  return g_sine;
}

constexpr std::array<uint8_t, 256> kBitCounts = [] {
  std::array<uint8_t, 256> counts{};
  for (int b = 0; b < 256; ++b)
    counts[b] = static_cast<uint8_t>(std::popcount(static_cast<unsigned>(b)));
  return counts;
}();

const wchar_t *after_last(const wchar_t *text, wchar_t separator) {
  const wchar_t *last = std::wcsrchr(text, separator);
  return last ? last + 1 : text;
}

}  // namespace

int32_t sine(int32_t angle) noexcept {
  if (angle < 0 || angle > kFull) return 0;
  const int16_t *t = sine_table();
  if (angle <= 9000) return t[angle];
  if (angle <= 18000) return t[18000 - angle];
  if (angle <= 27000) return -t[angle - 18000];
  return -t[kFull - angle];
}

int32_t cosine(int32_t angle) noexcept {
  if (angle < 0 || angle > kFull) return 0;
  const int16_t *t = sine_table();
  if (angle <= 9000) return t[9000 - angle];
  if (angle <= 18000) return -t[angle - 9000];
  if (angle <= 27000) return -t[27000 - angle];
  return t[angle - 27000];
}

uint32_t isqrt(uint32_t n) noexcept {
  if (n == 0) return 0;
  if (n < 4) return 1;
  // Newton steps from n / 2, halving the gap between x and n / x.
  uint32_t x = n / 2, gap;
  do {
    uint32_t q = n / x;
    gap = x > q ? x - q : q - x;
    x = (q < x ? q : x) + gap / 2;
  } while (gap / 2 != 0);
  return x;
}

const uint8_t *bit_counts() noexcept {
  return kBitCounts.data();
}

const wchar_t *skip_path(const wchar_t *path) noexcept {
  const wchar_t *name = after_last(after_last(after_last(path, L':'), L'\\'), L'/');
  return name;
}

}  // namespace vxkrn::core
