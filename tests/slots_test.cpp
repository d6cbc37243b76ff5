// The library's own thread-local slots: index allocation under the lock,
// reclaiming only the top index, per-thread values.
#include <algorithm>
#include <functional>
#include <vector>

#include "support/test_support.h"

namespace {

// Slot indices are process-wide; this program is the only user.
TEST(Slots, HandsOutIndicesAndReclaimsOnlyTheTop) {
  const int32_t a = V_TlsAlloc();
  const int32_t b = V_TlsAlloc();
  const int32_t c = V_TlsAlloc();
  int value = 0;
  ASSERT_EQ(b, a + 1);
  ASSERT_EQ(c, b + 1);
  EXPECT_EQ(V_TlsSetValue(c, &value), 1);
  EXPECT_EQ(V_TlsGetValue(c), &value);

  EXPECT_EQ(V_TlsFree(b), 1);
  EXPECT_EQ(V_TlsFree(b), 0) << "already free";
  EXPECT_EQ(V_TlsAlloc(), c + 1) << "below the count, a freed slot waits";
  EXPECT_EQ(V_TlsFree(c + 1), 1);
  EXPECT_EQ(V_TlsFree(c), 1);
  EXPECT_EQ(V_TlsGetValue(c), nullptr) << "the top index is no longer handed out";
  EXPECT_EQ(V_TlsSetValue(c, &value), 0);
  EXPECT_EQ(V_TlsAlloc(), c) << "only the top index moved back, by one";
  EXPECT_EQ(V_TlsFree(c), 1);
  EXPECT_EQ(V_TlsFree(a), 1);
  for (int32_t bad : {-1, 5000, VXKRN_TLS_SLOTS}) {
    EXPECT_EQ(V_TlsFree(bad), 0);
    EXPECT_EQ(V_TlsGetValue(bad), nullptr);
    EXPECT_EQ(V_TlsSetValue(bad, &value), 0);
  }
}

TEST(Slots, ValuesBelongToEachThread) {
  const int32_t slot = V_TlsAlloc();
  ASSERT_GE(slot, 0);
  int mine = 1;
  ASSERT_EQ(V_TlsSetValue(slot, &mine), 1);
  vxkrn_test::on_new_thread([slot] {
    EXPECT_EQ(V_TlsGetValue(slot), nullptr);
    int theirs = 2;
    EXPECT_EQ(V_TlsSetValue(slot, &theirs), 1);
  });
  EXPECT_EQ(V_TlsGetValue(slot), &mine);
  EXPECT_EQ(V_TlsFree(slot), 1);
}

TEST(Slots, ExhaustionReusesTheFirstFreeSlot) {
  std::vector<int32_t> taken;
  for (int32_t index; (index = V_TlsAlloc()) != -1;)
    taken.push_back(index);
  ASSERT_EQ(taken.size(), static_cast<size_t>(VXKRN_TLS_SLOTS));
  EXPECT_EQ(V_TlsFree(700), 1);
  EXPECT_EQ(V_TlsFree(300), 1);
  EXPECT_EQ(V_TlsAlloc(), 300);
  EXPECT_EQ(V_TlsAlloc(), 700);
  EXPECT_EQ(V_TlsAlloc(), -1);
  std::sort(taken.begin(), taken.end(), std::greater<>());
  for (int32_t index : taken)
    EXPECT_EQ(V_TlsFree(index), 1);
  EXPECT_EQ(V_TlsAlloc(), 0) << "freeing from the top down gives every index back";
  EXPECT_EQ(V_TlsFree(0), 1);
}

}  // namespace
