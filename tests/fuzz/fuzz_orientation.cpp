// Quarter and half turns and row mirrors of bare buffers on fuzzed depths,
// sizes, directions and vector levels, in buffers of exactly their size:
// every pixel where moving pixels one at a time puts it, pad bits clear.
#include <cstdlib>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "platform/cpu.h"
#include "support/pixel_reference.h"
#include "vxkrn/vxkrn.h"

using vxkrn_test::get_pixel;
using vxkrn_test::set_pixel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzInput in(data, size);
  const int depths[] = {1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64};
  const int bits = depths[in.byte() % 14];
  const uint32_t w = 1 + in.u16() % 400, h = 1 + in.byte() % 80;
  const int op = in.byte() % 3;  // clockwise, against the clock, half
  vxkrn::platform::set_simd_cap(static_cast<vxkrn::platform::SimdLevel>(in.byte() % 3));
  const auto stride = [bits](uint32_t n) { return (uint64_t{n} * bits + 31) / 32 * 4; };
  const uint64_t in_stride = stride(w), out_stride = op == 2 ? in_stride : stride(h);
  const uint32_t ow = op == 2 ? w : h, oh = op == 2 ? h : w;
  std::vector<uint8_t> source(in_stride * h), got(out_stride * oh, 0x5A), want(got.size(), 0);
  for (uint8_t &b : source)
    b = in.byte();
  const ResultCode rc = op == 2 ? V_RotateBuffer180(source.data(), got.data(), w, h, bits)
                                : V_RotateBuffer90(source.data(), got.data(), op == 0, w, h, bits);
  if (rc != RC_SUCCESS) std::abort();
  for (uint64_t y = 0; y < h; ++y)
    for (uint64_t x = 0; x < w; ++x) {
      const uint64_t tx = op == 0 ? h - 1 - y : op == 1 ? y : w - 1 - x;
      const uint64_t ty = op == 0 ? x : op == 1 ? w - 1 - x : h - 1 - y;
      set_pixel(&want[ty * out_stride], bits, tx, get_pixel(&source[y * in_stride], bits, x));
    }
  // Bytes past each row's pixels keep what was there.
  const uint64_t used = (uint64_t{ow} * bits + 7) / 8;
  for (uint64_t y = 0; y < oh; ++y)
    for (uint64_t k = used; k < out_stride; ++k)
      want[y * out_stride + k] = 0x5A;
  if (got != want) std::abort();
  // A source row mirrored in place: the reference row moved the other way.
  std::vector<uint8_t> row(source.begin(), source.begin() + long(in_stride));
  std::vector<uint8_t> mirrored(in_stride, 0);
  for (uint64_t x = 0; x < w; ++x)
    set_pixel(mirrored.data(), bits, w - 1 - x, get_pixel(row.data(), bits, x));
  if (V_MirrorLine(row.data(), w, bits) != RC_SUCCESS) std::abort();
  for (uint64_t x = 0; x < w; ++x)
    if (get_pixel(row.data(), bits, x) != get_pixel(mirrored.data(), bits, x)) std::abort();
  return 0;
}
