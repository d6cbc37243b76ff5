// Shared test helpers.
#include "support/test_support.h"

#include <cstring>

namespace vxkrn_test {

void LeakCheckedTest::SetUp() {
  runtime_before_ = vxkrn::testing::live_blocks(Heap::Runtime);
  system_before_ = vxkrn::testing::live_blocks(Heap::System);
}

void LeakCheckedTest::TearDown() {
  vxkrn::testing::fail_nth_allocation(0, 0);
  EXPECT_EQ(vxkrn::testing::live_blocks(Heap::Runtime), runtime_before_)
      << "run-time heap blocks leaked";
  EXPECT_EQ(vxkrn::testing::live_blocks(Heap::System), system_before_)
      << "system heap blocks leaked";
}

unsigned count_allocations(unsigned heap_mask, const std::function<void()> &action) {
  vxkrn::testing::fail_nth_allocation(0, heap_mask);
  action();
  const unsigned n = vxkrn::testing::allocations_attempted();
  vxkrn::testing::fail_nth_allocation(0, 0);
  return n;
}

void sweep_allocation_failures(unsigned heap_mask, const std::function<void(unsigned)> &action) {
  const unsigned total = count_allocations(heap_mask, [&] { action(0); });
  ASSERT_GT(total, 0u) << "the action allocates nothing";
  for (unsigned nth = 1; nth <= total; ++nth) {
    SCOPED_TRACE(::testing::Message() << "failing allocation " << nth << " of " << total);
    vxkrn::testing::fail_nth_allocation(nth, heap_mask);
    action(nth);
    vxkrn::testing::fail_nth_allocation(0, 0);
  }
}

bool same_bytes(const BitmapHandle &a, const BitmapHandle &b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

}  // namespace vxkrn_test
