// The per-thread callback table as V_RedirectIO and V_FilterIO show it:
// defaults, filters chained and restored, chunking, the fallback record.
#include <cstdio>

#include "core/thread_state.h"
#include "support/test_support.h"

namespace {

using vxkrn_test::on_new_thread;

// A write filter: counts bytes, then hands them to what was current before.
struct Counter {
  IoWriteFunc next;
  void *next_data;
  uint32_t bytes;
};

int32_t counting_write(int32_t file, const void *buffer, uint32_t count, void *user_data) {
  auto *counter = static_cast<Counter *>(user_data);
  counter->bytes += count;
  return counter->next(file, buffer, count, counter->next_data);
}

// A sink accepting at most 1000 bytes per call; its user value collects them.
int32_t small_writes(int32_t, const void *buffer, uint32_t count, void *user_data) {
  const uint32_t n = count < 1000 ? count : 1000;
  static_cast<std::string *>(user_data)->append(static_cast<const char *>(buffer), n);
  return static_cast<int32_t>(n);
}

int32_t failing_read(int32_t, void *, uint32_t, void *) {
  return -1;
}

// The table, read without changing it (null exchange values only read):
// the given read and write, the primitives elsewhere, one user value.
void expect_table(IoReadFunc read, IoWriteFunc write, void *data) {
  IoOpenFunc o = nullptr;
  IoReadFunc r = nullptr;
  IoWriteFunc w = nullptr;
  IoSeekFunc s = nullptr;
  IoCloseFunc c = nullptr;
  V_FilterIO(&o, &r, &w, &s, &c, nullptr, nullptr, nullptr, nullptr, nullptr);
  EXPECT_TRUE(o == V_OsOpen && r == read && w == write && s == V_OsSeek && c == V_OsClose);
  void *d[5];
  V_GetFilterIOData(&d[0], &d[1], &d[2], &d[3], &d[4]);
  for (void *each : d)
    EXPECT_EQ(each, data);
}

TEST(Redirect, TableStartsWithThePrimitivesAndFiltersChainAndRestore) {
  on_new_thread([] {
    expect_table(V_OsRead, V_OsWrite, nullptr);
    std::string sink;
    V_RedirectIO(nullptr, failing_read, small_writes, nullptr, nullptr, &sink);
    expect_table(failing_read, small_writes, &sink);
    on_new_thread([] { expect_table(V_OsRead, V_OsWrite, nullptr); });

    Counter counter{counting_write, &counter, 0};
    IoWriteFunc write = counting_write;
    void *write_data = &counter;
    V_FilterIO(nullptr, nullptr, &write, nullptr, nullptr, nullptr, nullptr, &write_data, nullptr,
               nullptr);
    // The filter received what was current, and forwards to it.
    counter.next = write;
    counter.next_data = write_data;
    EXPECT_EQ(V_RedirectedWrite(3, "abcdef", 6), 6);
    EXPECT_EQ(counter.bytes, 6u);
    V_FilterIO(nullptr, nullptr, &write, nullptr, nullptr, nullptr, nullptr, &write_data, nullptr,
               nullptr);
    EXPECT_EQ(write, counting_write) << "the filter gets itself back";
    expect_table(failing_read, small_writes, &sink);

    // Big transfers go on after a partial call and stop at a failure.
    std::vector<char> data(4321, 'q');
    EXPECT_EQ(V_RedirectedWriteBig(7, data.data(), 4321), 4321);
    EXPECT_EQ(sink, "abcdef" + std::string(4321, 'q'));
    EXPECT_EQ(V_RedirectedWriteBig(7, data.data(), 0), 0);
    EXPECT_EQ(V_RedirectedReadBig(7, data.data(), 10), -1);
    EXPECT_EQ(V_RedirectedRead(7, data.data(), 10), -1);
    int tag;
    V_RedirectIO(nullptr, nullptr, nullptr, nullptr, nullptr, &tag);
    expect_table(V_OsRead, V_OsWrite, &tag);
  });
}

TEST(Redirect, FallbackRecordUsesThePrimitives) {
  std::FILE *file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  const int32_t handle = fileno(file);
  on_new_thread([handle] {
    vxkrn::testing::fail_nth_allocation(1, static_cast<unsigned>(vxkrn::platform::Heap::Runtime));
    // The thread's record cannot be made: the zero record's empty slots act
    // as the primitives, so the seek reaches the file.
    EXPECT_EQ(V_RedirectedSeek(handle, 5, SEEK_FROM_START), 5u);
    EXPECT_GE(vxkrn::testing::allocations_attempted(), 1u)
        << "nothing refused: the thread had a record";
    vxkrn::testing::fail_nth_allocation(0, 0);
    EXPECT_FALSE(vxkrn::core::is_fallback(vxkrn::core::thread_state()));
  });
  std::fclose(file);
}

}  // namespace
