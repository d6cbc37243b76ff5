// Every fast path against the general path, in place, on random rows of odd
// widths and with random palettes.
#include <random>
#include <string>
#include <vector>

#include "color/convert_engine.h"
#include "color/convert_simd.h"
#include "support/test_support.h"

namespace {

struct Pair {
  int src_bits, src_order, dst_bits, dst_order, flags;
};

// The pairs that have fast paths, in the orders and flags they take.
const Pair kPairs[] = {
    {24, ORDER_BGR, 24, ORDER_BGR, 0}, {24, ORDER_RGB, 24, ORDER_BGR, 0},
    {24, ORDER_BGR, 24, ORDER_RGB, 0}, {24, ORDER_BGR, 32, ORDER_BGR, CVT_ALPHA_FILL},
    {24, ORDER_RGB, 32, ORDER_BGR, 0}, {24, ORDER_RGB, 32, ORDER_RGB, CVT_ALPHA_SET},
    {32, ORDER_BGR, 24, ORDER_BGR, 0}, {32, ORDER_RGB, 24, ORDER_BGR, 0},
    {24, ORDER_BGR, 0, ORDER_GRAY, 0}, {24, ORDER_RGB, 0, ORDER_RGB, 0},
    {8, ORDER_RGB, 24, ORDER_BGR, 0},  {8, ORDER_RGB, 24, ORDER_RGB, 0},
    {1, ORDER_RGB, 8, ORDER_RGB, 0},   {2, ORDER_RGB, 8, ORDER_RGB, 0},
    {4, ORDER_RGB, 8, ORDER_RGB, 0},   {8, ORDER_RGB, 8, ORDER_RGB, 0},
    {16, ORDER_BGR, 24, ORDER_BGR, 0}, {16, ORDER_RGB, 24, ORDER_BGR, 0},
    {48, ORDER_BGR, 24, ORDER_BGR, 0}, {48, ORDER_RGB, 24, ORDER_BGR, 0},
    {24, ORDER_BGR, 8, ORDER_RGB, 0},  {24, ORDER_RGB, 4, ORDER_RGB, 0},
};

using vxkrn::color::SimdLevel;

// Every kernel set up to the level: the scalar kernels alone, the SSSE3 set,
// and the AVX2 set over it. A level the processor lacks is skipped.
class FastPaths : public ::testing::TestWithParam<SimdLevel> {
 protected:
  void SetUp() override {
    if (vxkrn::color::supported_simd_level() < GetParam())
      GTEST_SKIP() << "the processor lacks this instruction set";
    vxkrn::color::set_simd_cap(GetParam());
  }
  void TearDown() override { vxkrn::color::set_simd_cap(SimdLevel::Avx2); }
};

TEST_P(FastPaths, GiveTheGeneralPathsBytes) {
  std::mt19937 random(2718);
  for (const Pair &p : kPairs) {
    for (uint32_t width : {1u, 2u, 3u, 7u, 9u, 33u, 64u, 100u, 257u}) {
      for (int palettes = 0; palettes < 4; ++palettes) {
        SCOPED_TRACE(::testing::Message()
                     << p.src_bits << "/" << p.src_order << " -> " << p.dst_bits << "/"
                     << p.dst_order << " width " << width << " palettes " << palettes);
        // Null palettes, random ones, for 8 to 8 the same one on both sides,
        // and the same distinct colours with other reserved bytes: the map
        // keeps every index although the palettes differ.
        std::vector<PaletteEntry> src_palette(256), dst_palette(256);
        for (auto *palette : {&src_palette, &dst_palette})
          for (PaletteEntry &e : *palette)
            e = PaletteEntry{uint8_t(random()), uint8_t(random() % 4 * 85), uint8_t(random()), 0};
        if (palettes >= 2) dst_palette = src_palette;
        if (palettes == 3)
          for (int i = 0; i < 256; ++i) {
            src_palette[i].Blue = dst_palette[i].Blue = static_cast<uint8_t>(i);
            dst_palette[i].Reserved = 1;
          }
        const PaletteEntry *in = palettes ? src_palette.data() : nullptr;
        const PaletteEntry *out = palettes ? dst_palette.data() : nullptr;
        std::vector<uint8_t> fast(width * 8 + 16);
        for (uint8_t &b : fast)
          b = static_cast<uint8_t>(random());
        std::vector<uint8_t> general = fast;
        ASSERT_EQ(vxkrn::color::convert_row(fast.data(), width, p.src_bits, p.dst_bits, p.src_order,
                                            p.dst_order, in, out, p.flags, -1, -1, true),
                  RC_SUCCESS);
        ASSERT_EQ(
            vxkrn::color::convert_row(general.data(), width, p.src_bits, p.dst_bits, p.src_order,
                                      p.dst_order, in, out, p.flags, -1, -1, false),
            RC_SUCCESS);
        ASSERT_EQ(fast, general);
      }
    }
  }
}

std::string level_name(const ::testing::TestParamInfo<SimdLevel> &info) {
  const char *const names[] = {"Scalar", "Ssse3", "Avx2"};
  return names[static_cast<int>(info.param)];
}

INSTANTIATE_TEST_SUITE_P(VectorKernels, FastPaths,
                         ::testing::Values(SimdLevel::None, SimdLevel::Ssse3, SimdLevel::Avx2),
                         level_name);

}  // namespace
