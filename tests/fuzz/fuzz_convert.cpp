// The row converter on fuzzed formats, flags, bit ranges, palettes and
// widths: never a byte written outside the row, and the same bytes and code
// as the plain reference model.
#include <cstdlib>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "support/convert_reference.h"
#include "vxkrn/vxkrn.h"

namespace {

void expect(bool condition) {
  if (!condition) std::abort();
}

// Mostly depths and orders that exist, sometimes any value at all.
int32_t pick(FuzzInput &in, const std::vector<int32_t> &choices) {
  const uint8_t b = in.byte();
  return b < 240 ? choices[b % choices.size()] : static_cast<int8_t>(in.byte());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzInput in(data, size);
  const std::vector<int32_t> depths = {0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64};
  const std::vector<int32_t> orders = {ORDER_RGB, ORDER_BGR, ORDER_GRAY, ORDER_MATRIX};
  const int32_t src_bits = pick(in, depths), dst_bits = pick(in, depths);
  const int32_t src_order = pick(in, orders), dst_order = pick(in, orders);
  const int32_t flags = in.byte() & 0x3F;
  const int32_t low = static_cast<int8_t>(in.byte()), high = static_cast<int8_t>(in.byte());
  const uint32_t width = in.byte() % 70;
  std::vector<PaletteEntry> palettes[2];
  for (auto &palette : palettes) {
    if (in.byte() % 2) continue;
    palette.resize(256);
    for (PaletteEntry &e : palette)
      e = {in.byte(), in.byte(), in.byte(), in.byte()};
  }
  const auto row = [width](int32_t bits) {
    const bool known = bits == 0 || (bits > 0 && bits <= 8) || bits == 12 || bits == 16 ||
                       bits == 24 || bits == 32 || bits == 48 || bits == 64;
    return known ? vxkrn_test::reference_row_bytes(width, bits) : 0;
  };
  const uint64_t room = row(src_bits) > row(dst_bits) ? row(src_bits) : row(dst_bits);
  // Exactly the room the row needs (at least one byte): an overrun shows.
  std::vector<uint8_t> buffer(room ? room : 1);
  for (uint8_t &b : buffer)
    b = in.byte();
  std::vector<uint8_t> model = buffer;
  const PaletteEntry *sp = palettes[0].empty() ? nullptr : palettes[0].data();
  const PaletteEntry *dp = palettes[1].empty() ? nullptr : palettes[1].data();
  const ResultCode got = V_ConvertBufferExt(buffer.data(), width, src_bits, dst_bits, src_order,
                                            dst_order, sp, dp, flags, low, high);
  if (!room) {
    expect(got == RC_INVALID_PARAMETER);
    return 0;
  }
  const ResultCode want = vxkrn_test::reference_convert(model, width, src_bits, dst_bits,
                                                        src_order, dst_order, sp, dp, flags, low,
                                                        high);
  expect(got == want && buffer == model);
  return 0;
}
