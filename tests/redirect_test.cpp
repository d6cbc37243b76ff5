// The per-thread callback table: defaults, filters chained and restored,
// the redirected calls, chunking, and the fallback record's empty slots.
#include <cstdio>
#include <string>
#include <vector>

#include "core/thread_state.h"
#include "support/test_support.h"

namespace {

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
  auto *sink = static_cast<std::string *>(user_data);
  const uint32_t n = count < 1000 ? count : 1000;
  sink->append(static_cast<const char *>(buffer), n);
  return static_cast<int32_t>(n);
}

int32_t failing_read(int32_t, void *, uint32_t, void *) {
  return -1;
}

struct Table {
  IoOpenFunc open = nullptr;
  IoReadFunc read = nullptr;
  IoWriteFunc write = nullptr;
  IoSeekFunc seek = nullptr;
  IoCloseFunc close = nullptr;
  void *data[5] = {};
};

// Reads the table without changing it: null callback values only read.
Table current_table() {
  Table t;
  V_FilterIO(&t.open, &t.read, &t.write, &t.seek, &t.close, nullptr, nullptr, nullptr, nullptr,
             nullptr);
  V_GetFilterIOData(&t.data[0], &t.data[1], &t.data[2], &t.data[3], &t.data[4]);
  return t;
}

void expect_defaults(const Table &t, void *data) {
  EXPECT_EQ(t.open, V_OsOpen);
  EXPECT_EQ(t.read, V_OsRead);
  EXPECT_EQ(t.write, V_OsWrite);
  EXPECT_EQ(t.seek, V_OsSeek);
  EXPECT_EQ(t.close, V_OsClose);
  for (void *d : t.data)
    EXPECT_EQ(d, data);
}

TEST(Redirect, StartsWithThePrimitivesAndRestoresThem) {
  vxkrn_test::on_new_thread([] {
    expect_defaults(current_table(), nullptr);
    int tag;
    V_RedirectIO(nullptr, failing_read, nullptr, nullptr, nullptr, &tag);
    EXPECT_EQ(current_table().read, failing_read);
    V_RedirectIO(nullptr, nullptr, nullptr, nullptr, nullptr, &tag);
    expect_defaults(current_table(), &tag);
    vxkrn_test::on_new_thread([] { expect_defaults(current_table(), nullptr); });
  });
}

TEST(Redirect, FiltersChainAndRestore) {
  vxkrn_test::on_new_thread([] {
    std::string sink;
    V_RedirectIO(nullptr, nullptr, small_writes, nullptr, nullptr, &sink);
    const Table before = current_table();

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
    EXPECT_EQ(sink, "abcdef");

    V_FilterIO(nullptr, nullptr, &write, nullptr, nullptr, nullptr, nullptr, &write_data, nullptr,
               nullptr);
    const Table after = current_table();
    EXPECT_EQ(after.write, before.write);
    EXPECT_EQ(after.data[2], before.data[2]);
    EXPECT_EQ(write, counting_write) << "the filter gets itself back";
    V_RedirectIO(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  });
}

TEST(Redirect, BigTransfersChunkAndStopOnFailure) {
  vxkrn_test::on_new_thread([] {
    std::string sink;
    V_RedirectIO(nullptr, failing_read, small_writes, nullptr, nullptr, &sink);
    std::vector<char> data(4321, 'q');
    EXPECT_EQ(V_RedirectedWriteBig(7, data.data(), 4321), 4321);
    EXPECT_EQ(sink.size(), 4321u);
    EXPECT_EQ(V_RedirectedReadBig(7, data.data(), 10), -1);
    EXPECT_EQ(V_RedirectedWriteBig(7, data.data(), 0), 0);
    EXPECT_EQ(V_RedirectedRead(7, data.data(), 10), -1);
    V_RedirectIO(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  });
}

TEST(Redirect, FallbackRecordUsesThePrimitives) {
  std::FILE *file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  const int32_t handle = fileno(file);
  vxkrn_test::on_new_thread([handle] {
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
