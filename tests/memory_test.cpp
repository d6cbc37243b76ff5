// The exported memory routines: two heaps kept apart, clearing rules,
// overflow of count x size, and the case-blind byte comparison.
#include <algorithm>

#include "support/test_support.h"

namespace {

using vxkrn::platform::Heap;

class Memory : public vxkrn_test::LeakCheckedTest {};

// Each family takes 300 bytes from its own heap, cleared where it says so;
// a reallocation keeps the contents, or clears them all.
TEST_F(Memory, EachFamilyUsesItsOwnHeapAndClearingRule) {
  const struct {
    void *(*alloc)(uint32_t, uint32_t);
    Heap heap;
    uint32_t first, second;
    bool cleared;
  } families[] = {{V_LocalAllocInit, Heap::Runtime, 3, 100, true},
                  {V_LocalAlloc, Heap::Runtime, 3, 100, false},
                  {V_GlobalAlloc, Heap::System, 3, 100, true},
                  {V_GlobalAllocInit, Heap::System, 100, 3, true},
                  {V_OsAllocHandle, Heap::System, 0x40, 300, true},
                  {V_OsAllocHandleInit, Heap::System, 0, 300, true}};
  for (const auto &f : families) {
    const auto before = vxkrn::testing::live_blocks(f.heap);
    auto *block = static_cast<uint8_t *>(f.alloc(f.first, f.second));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(vxkrn::testing::live_blocks(f.heap), before + 1);
    EXPECT_TRUE(!f.cleared || std::count(block, block + 300, 0) == 300);
    block[299] = 0x5C;
    const bool runtime = f.heap == Heap::Runtime;
    block = static_cast<uint8_t *>(runtime ? V_LocalRealloc(block, 4096)
                                           : V_OsReallocHandle(block, 1 << 20));
    EXPECT_EQ(block[299], 0x5C);
    if (runtime) block = static_cast<uint8_t *>(V_LocalReallocInit(block, 400));
    EXPECT_TRUE(!runtime || std::count(block, block + 400, 0) == 400) << "all cleared";
    if (runtime) V_LocalFree(block);
    if (!runtime) V_GlobalFree(block);
  }
  EXPECT_EQ(V_LocalAlloc(0xFFFFFFFFu, 0xFFFFFFFFu), nullptr);
  EXPECT_EQ(V_GlobalAlloc(0x80000000u, 0x80000000u), nullptr);
  EXPECT_TRUE(sizeof(void *) > 4 || !V_LocalAllocInit(0x10000, 0x10000)) << "past 32-bit space";
}

TEST(ByteRoutines, CaseBlindComparisonFoldsOnlyAscii) {
  EXPECT_EQ(V_MemoryCompareI("Hello, World", "hELLO, wORLD", 12), 0);
  EXPECT_LT(V_MemoryCompareI("abc", "ABD", 3), 0);
  const unsigned char high[] = {0xC4}, other[] = {0xE4};  // not folded: not ASCII
  EXPECT_NE(V_MemoryCompareI(high, other, 1), 0);
}

}  // namespace
