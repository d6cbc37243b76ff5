// The per-thread callback table as V_RedirectIO and V_FilterIO show it:
// defaults, filters chained and restored, chunked transfers through it.
#include <algorithm>

#include "support/test_support.h"

namespace {

// A sink taking at most 1000 bytes a call into the string its value points at.
int32_t small_writes(int32_t, const void *buffer, uint32_t count, void *sink) {
  const uint32_t n = count < 1000 ? count : 1000;
  static_cast<std::string *>(sink)->append(static_cast<const char *>(buffer), n);
  return static_cast<int32_t>(n);
}

constexpr IoReadFunc failing_read = [](int32_t, void *, uint32_t, void *) { return -1; };

// A filter that only counts the bytes, into the number its value points at.
constexpr IoWriteFunc counting = [](int32_t, const void *, uint32_t count, void *bytes) {
  *static_cast<uint32_t *>(bytes) += count;
  return static_cast<int32_t>(count);
};

// The table, read without changing it (null exchange values only read): the
// given read and write, the primitives elsewhere, `data` in all five values.
void expect_table(IoReadFunc read, IoWriteFunc write, void *data) {
  IoOpenFunc o = nullptr;
  IoReadFunc r = nullptr;
  IoWriteFunc w = nullptr;
  IoSeekFunc s = nullptr;
  IoCloseFunc c = nullptr;
  void *d[5];
  V_FilterIO(&o, &r, &w, &s, &c, nullptr, nullptr, nullptr, nullptr, nullptr);
  V_GetFilterIOData(&d[0], &d[1], &d[2], &d[3], &d[4]);
  EXPECT_TRUE(o == V_OsOpen && r == read && w == write && s == V_OsSeek && c == V_OsClose);
  EXPECT_EQ(std::count(d, d + 5, data), 5);
}

TEST(Redirect, TableStartsWithThePrimitivesAndFiltersChainAndRestore) {
  vxkrn_test::on_new_thread([] {
    expect_table(V_OsRead, V_OsWrite, nullptr);
    std::string sink;
    V_RedirectIO(nullptr, failing_read, small_writes, nullptr, nullptr, &sink);
    expect_table(failing_read, small_writes, &sink);
    vxkrn_test::on_new_thread([] { expect_table(V_OsRead, V_OsWrite, nullptr); });

    // A filter gets what was current in exchange, and gets itself back when
    // that is put back; only its own slot changes.
    uint32_t counted = 0;
    IoWriteFunc write = counting;
    void *write_data = &counted;
    const auto exchange = [&] {
      V_FilterIO(nullptr, nullptr, &write, nullptr, nullptr, nullptr, nullptr, &write_data, nullptr,
                 nullptr);
    };
    exchange();
    EXPECT_TRUE(write == small_writes && write_data == &sink);
    EXPECT_EQ(V_RedirectedWrite(3, "abcdef", 6), 6);
    EXPECT_EQ(counted, 6u);
    exchange();
    EXPECT_TRUE(write == counting && write_data == &counted);
    expect_table(failing_read, small_writes, &sink);

    // Chunked transfers go on after a partial call and stop at a failure.
    std::vector<char> data(4321, 'q');
    EXPECT_EQ(V_RedirectedWriteBig(7, data.data(), 4321), 4321);
    EXPECT_EQ(sink, std::string(4321, 'q'));
    EXPECT_EQ(V_RedirectedWriteBig(7, data.data(), 0), 0);
    EXPECT_EQ(V_RedirectedReadBig(7, data.data(), 10), -1);
    EXPECT_EQ(V_RedirectedRead(7, data.data(), 10), -1);
    int tag;
    V_RedirectIO(nullptr, nullptr, nullptr, nullptr, nullptr, &tag);
    expect_table(V_OsRead, V_OsWrite, &tag);
  });
}

}  // namespace
