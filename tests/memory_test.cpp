// The exported memory routines: two heaps kept apart, clearing rules,
// overflow of count x size, and the byte routines.
#include <cstring>

#include "support/test_support.h"

namespace {

using vxkrn::platform::Heap;
using vxkrn::testing::live_blocks;

class Memory : public vxkrn_test::LeakCheckedTest {};

TEST_F(Memory, EachFamilyUsesItsOwnHeap) {
  struct Family {
    void *(*alloc)(uint32_t, uint32_t);
    Heap heap;
  } const families[] = {{V_LocalAlloc, Heap::Runtime},   {V_LocalAllocInit, Heap::Runtime},
                        {V_GlobalAlloc, Heap::System},   {V_GlobalAllocInit, Heap::System},
                        {V_OsAllocHandle, Heap::System}, {V_OsAllocHandleInit, Heap::System}};
  for (const Family &f : families) {
    const auto before = live_blocks(f.heap);
    void *block = f.alloc(0x40, 16);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(live_blocks(f.heap), before + 1);
    if (f.heap == Heap::Runtime)
      V_LocalFree(block);
    else
      EXPECT_EQ(V_GlobalFree(block), 1);
  }
  EXPECT_EQ(V_OsFreeHandle(V_OsAllocHandle(0, 8)), 0);
}

bool all_zero(const void *block, size_t n) {
  auto *bytes = static_cast<const uint8_t *>(block);
  for (size_t i = 0; i < n; ++i)
    if (bytes[i]) return false;
  return true;
}

TEST_F(Memory, ClearingFollowsEachRoutine) {
  void *runtime = V_LocalAllocInit(100, 3);
  EXPECT_TRUE(all_zero(runtime, 300));
  V_LocalFree(runtime);
  for (void *block : {V_GlobalAlloc(3, 100), V_GlobalAllocInit(3, 100), V_OsAllocHandle(0x40, 300),
                      V_OsAllocHandleInit(0, 300)}) {
    EXPECT_TRUE(all_zero(block, 300));
    V_GlobalFree(block);
  }
}

TEST_F(Memory, ReallocKeepsOrClearsContents) {
  auto *block = static_cast<uint8_t *>(V_LocalAlloc(1, 64));
  std::memset(block, 0x5C, 64);
  block = static_cast<uint8_t *>(V_LocalRealloc(block, 4096));
  EXPECT_EQ(block[63], 0x5C);
  block = static_cast<uint8_t *>(V_LocalReallocInit(block, 128));
  EXPECT_TRUE(all_zero(block, 128)) << "old contents are cleared too";
  V_LocalFree(block);
  void *fresh = V_LocalReallocInit(nullptr, 32);
  EXPECT_TRUE(all_zero(fresh, 32));
  V_LocalFree(fresh);
  auto *sys = static_cast<uint8_t *>(V_GlobalRealloc(nullptr, 8));
  sys[7] = 9;
  sys = static_cast<uint8_t *>(V_OsReallocHandle(sys, 1 << 20));
  EXPECT_EQ(sys[7], 9);
  V_GlobalFree(sys);
}

TEST_F(Memory, ImpossibleSizesGiveNull) {
  EXPECT_EQ(V_LocalAlloc(0xFFFFFFFFu, 0xFFFFFFFFu), nullptr);
  EXPECT_EQ(V_GlobalAlloc(0x80000000u, 0x80000000u), nullptr);
  if (sizeof(void *) == 4) {
    EXPECT_EQ(V_LocalAllocInit(0x10000, 0x10000), nullptr) << "beyond a 32-bit address space";
  }
}

TEST(ByteRoutines, BehaveAsTheStandardOnes) {
  char a[] = "Hello, World";
  char b[] = "hELLO, wORLD";
  EXPECT_EQ(V_MemoryCompareI(a, b, sizeof a), 0);
  EXPECT_NE(V_MemoryCompare(a, b, sizeof a), 0);
  EXPECT_LT(V_MemoryCompareI("abc", "ABD", 3), 0);
  const unsigned char high[] = {0xC4}, other[] = {0xE4};  // not folded: not ASCII
  EXPECT_NE(V_MemoryCompareI(high, other, 1), 0);
  EXPECT_EQ(V_MemoryChr(a, 'W', sizeof a), a + 7);
  EXPECT_EQ(V_MemoryChr(a, 'W', 7), nullptr);
  V_MemoryMove(a + 1, a, 5);
  EXPECT_EQ(std::memcmp(a, "HHello World", 6), 0);
  V_MemorySet(a, 'x', 3);
  V_MemoryCopy(b, a, 4);
  EXPECT_EQ(std::memcmp(b, "xxxl", 4), 0);
  EXPECT_EQ(V_MemoryCopy(nullptr, nullptr, 0), nullptr);
}

}  // namespace
