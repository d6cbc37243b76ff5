// The memory redirection: growth, trim, cut, full and read-only blocks,
// positions past the end, nesting, and failure of its own allocation.
#include <cstring>
#include <string>
#include <vector>

#include "io/memory_file.h"
#include "support/test_support.h"

namespace {

using vxkrn::io::MemoryFile;

class MemoryRedirect : public vxkrn_test::LeakCheckedTest {
 protected:
  MemoryFile *start(uint32_t flags, void *buffer = nullptr, uint32_t size = 0) {
    void *context = nullptr;
    int32_t handle = 0;
    EXPECT_EQ(V_StartRedirectToBuffer(&context, &handle, flags, buffer, size), RC_SUCCESS);
    EXPECT_EQ(handle, MEMFILE_HANDLE);
    return static_cast<MemoryFile *>(context);
  }
  // Stop, free the block, and return what it held.
  std::string stop(MemoryFile *file) {
    void *buffer = nullptr;
    uint32_t size = 0;
    EXPECT_EQ(V_StopRedirectToBuffer(file, &buffer, &size), RC_SUCCESS);
    std::string data(static_cast<const char *>(buffer), buffer ? size : 0);
    V_GlobalFree(buffer);
    return data;
  }
};

TEST_F(MemoryRedirect, GrowsInStepsAndTrimsOnClose) {
  MemoryFile *file = start(MEMFILE_GROW | MEMFILE_WRITE);
  const int32_t h = V_RedirectedOpen(L"ignored", OPEN_READ_WRITE | OPEN_CREATE, 0);
  EXPECT_EQ(V_RedirectedWrite(h, "0123456789", 10), 10);
  EXPECT_EQ(file->capacity, 32768u);
  EXPECT_EQ(file->data_size, 10u);
  EXPECT_EQ(file->buffer[10], 0) << "a new block is zero-filled";
  EXPECT_EQ(V_RedirectedClose(h), 0);
  EXPECT_EQ(file->capacity, 32768u) << "no trim without MEMFILE_TRIM";
  EXPECT_EQ(stop(file), "0123456789");

  file = start(MEMFILE_GROW | MEMFILE_TRIM | MEMFILE_WRITE);
  std::vector<char> data(40000, 'z');
  EXPECT_EQ(V_RedirectedWrite(MEMFILE_HANDLE, data.data(), 40000), 40000);
  EXPECT_EQ(file->capacity, 65536u);
  EXPECT_EQ(V_RedirectedClose(MEMFILE_HANDLE), 0);
  EXPECT_EQ(file->capacity, 40000u);
  EXPECT_EQ(stop(file).size(), 40000u);
}

TEST_F(MemoryRedirect, CutsTruncatesAndSeeksFreely) {
  MemoryFile *file = start(MEMFILE_GROW | MEMFILE_WRITE);
  std::vector<char> data(100, 'a');
  V_RedirectedWrite(MEMFILE_HANDLE, data.data(), 100);
  EXPECT_EQ(V_RedirectedSeek(MEMFILE_HANDLE, 50, SEEK_FROM_START), 50u);
  EXPECT_EQ(V_RedirectedWrite(MEMFILE_HANDLE, nullptr, 0), -1) << "null buffer";
  EXPECT_EQ(V_RedirectedWrite(MEMFILE_HANDLE, "", 0), 0);
  EXPECT_EQ(file->data_size, 50u) << "a zero-byte write cuts";
  EXPECT_EQ(V_RedirectedSeek(MEMFILE_HANDLE, -10, SEEK_FROM_END), 40u);
  EXPECT_EQ(V_RedirectedSeek(MEMFILE_HANDLE, 5, SEEK_FROM_CURRENT), 45u);
  EXPECT_EQ(V_RedirectedSeek(MEMFILE_HANDLE, 0, 3), uint32_t(-1)) << "no fourth origin";
  char buffer[16];
  EXPECT_EQ(V_RedirectedRead(MEMFILE_HANDLE, buffer, 16), 5);
  EXPECT_EQ(V_RedirectedRead(MEMFILE_HANDLE, buffer, 16), 0);
  V_RedirectedSeek(MEMFILE_HANDLE, 100000, SEEK_FROM_START);
  EXPECT_EQ(V_RedirectedRead(MEMFILE_HANDLE, buffer, 1), -1) << "past the end";
  EXPECT_EQ(V_RedirectedWrite(MEMFILE_HANDLE, "x", 1), 1) << "writing there grows";
  EXPECT_EQ(file->data_size, 100001u);
  EXPECT_EQ(V_RedirectedRead(6, buffer, 1), -1) << "only its own handle";
  EXPECT_EQ(V_RedirectedWrite(6, "x", 1), -1);
  EXPECT_EQ(V_RedirectedClose(6), -1);
  V_RedirectedOpen(nullptr, OPEN_TRUNCATE, 0);
  EXPECT_EQ(file->data_size, 0u);
  EXPECT_EQ(file->position, 0u);
  stop(file);
}

TEST_F(MemoryRedirect, FullAndReadOnlyBlocks) {
  char *block = static_cast<char *>(V_GlobalAlloc(1, 8));
  std::memcpy(block, "ABCDEFGH", 8);
  MemoryFile *file = start(MEMFILE_FULL | MEMFILE_GROW | MEMFILE_TRIM | MEMFILE_WRITE, block, 8);
  EXPECT_EQ(file->data_size, 8u) << "a full block starts with its data";
  V_RedirectedSeek(MEMFILE_HANDLE, 4, SEEK_FROM_START);
  V_RedirectedWrite(MEMFILE_HANDLE, "", 0);
  V_RedirectedClose(MEMFILE_HANDLE);
  EXPECT_EQ(file->capacity, 8u) << "a full block is never trimmed";
  EXPECT_EQ(stop(file), "ABCD");

  char text[] = "read only";
  file = start(MEMFILE_FULL, text, 9);
  EXPECT_EQ(V_RedirectedWrite(MEMFILE_HANDLE, "x", 1), -1) << "no MEMFILE_WRITE";
  char buffer[16] = {};
  EXPECT_EQ(V_RedirectedRead(MEMFILE_HANDLE, buffer, 16), 9);
  EXPECT_STREQ(buffer, "read only");
  V_StopRedirectToBuffer(file, nullptr, nullptr);

  char fixed[4];
  file = start(MEMFILE_WRITE, fixed, sizeof fixed);
  EXPECT_EQ(V_RedirectedWrite(MEMFILE_HANDLE, "123456", 6), 4) << "cut short, not grown";
  void *buffer_out = nullptr;
  EXPECT_EQ(V_StopRedirectToBuffer(file, &buffer_out, nullptr), RC_SUCCESS);
  EXPECT_EQ(buffer_out, fixed);
}

// The file a block stands for never reaches past the block, a cut never
// lengthens it, and bytes nobody wrote read as zeros, as on a real file.
TEST_F(MemoryRedirect, SizeStaysInTheBlockAndGapsReadAsZeros) {
  char one[1] = {'q'};
  MemoryFile *file = start(MEMFILE_WRITE, one, 1);
  V_RedirectedSeek(MEMFILE_HANDLE, 57102, SEEK_FROM_START);
  EXPECT_EQ(V_RedirectedWrite(MEMFILE_HANDLE, "", 0), 0);
  EXPECT_EQ(file->data_size, 0u) << "a cut past the end changes nothing";
  char buffer[64];
  V_RedirectedSeek(MEMFILE_HANDLE, 0, SEEK_FROM_START);
  EXPECT_EQ(V_RedirectedRead(MEMFILE_HANDLE, buffer, 64), 0);
  uint32_t size = 99;
  ASSERT_EQ(V_StopRedirectToBuffer(file, nullptr, &size), RC_SUCCESS);
  EXPECT_EQ(size, 0u);

  char full[8] = {'A', 'B', 'C', 'D', 'E', 'F', 'G', 'H'};
  file = start(MEMFILE_FULL | MEMFILE_WRITE, full, 8);
  V_RedirectedOpen(L"x", OPEN_READ_WRITE | OPEN_TRUNCATE, 0);
  V_RedirectedSeek(MEMFILE_HANDLE, 6, SEEK_FROM_START);
  EXPECT_EQ(V_RedirectedWrite(MEMFILE_HANDLE, "", 0), 0);
  ASSERT_EQ(V_StopRedirectToBuffer(file, nullptr, &size), RC_SUCCESS);
  EXPECT_EQ(size, 0u) << "truncated bytes stay gone";

  // Gaps behind a seek, after growth and after a trim and regrowth.
  file = start(MEMFILE_GROW | MEMFILE_TRIM | MEMFILE_WRITE);
  std::vector<char> junk(50000, 'j');
  V_RedirectedWrite(MEMFILE_HANDLE, junk.data(), 50000);
  V_RedirectedSeek(MEMFILE_HANDLE, 1, SEEK_FROM_START);
  V_RedirectedWrite(MEMFILE_HANDLE, "", 0);  // cut to one byte
  V_RedirectedClose(MEMFILE_HANDLE);         // and trimmed
  for (uint32_t at : {30000u, 60000u, 200000u}) {
    V_RedirectedSeek(MEMFILE_HANDLE, int32_t(at), SEEK_FROM_START);
    EXPECT_EQ(V_RedirectedWrite(MEMFILE_HANDLE, "x", 1), 1);
  }
  const std::string data = stop(file);
  ASSERT_EQ(data.size(), 200001u);
  std::string expected(200001, '\0');
  expected[0] = 'j';
  expected[30000] = expected[60000] = expected[200000] = 'x';
  EXPECT_EQ(data, expected);
}

// Reads and writes of any size end where the file or the block ends.
TEST_F(MemoryRedirect, BigTransfersStopAtTheEnd) {
  MemoryFile *file = start(MEMFILE_WRITE, V_GlobalAlloc(1, 16), 16);
  EXPECT_EQ(V_RedirectedWriteBig(MEMFILE_HANDLE, "0123456789abcdefXYZ", 19), 16);
  V_RedirectedSeek(MEMFILE_HANDLE, 4, SEEK_FROM_START);
  char out[64];
  EXPECT_EQ(V_RedirectedReadBig(MEMFILE_HANDLE, out, 64), 12);
  EXPECT_EQ(V_RedirectedReadBig(MEMFILE_HANDLE, out, 64), 0);
  EXPECT_EQ(stop(file), "0123456789abcdef");
}

// Stopping a redirection that is not the current one would bring back a
// table that points at a stopped one: it is refused and changes nothing.
TEST_F(MemoryRedirect, StoppingOutOfOrderIsRefused) {
  vxkrn_test::on_new_thread([this] {
    MemoryFile *outer = start(MEMFILE_GROW | MEMFILE_WRITE);
    MemoryFile *inner = start(MEMFILE_GROW | MEMFILE_WRITE);
    EXPECT_EQ(V_StopRedirectToBuffer(outer, nullptr, nullptr), RC_INVALID_PARAMETER);
    V_RedirectedWrite(MEMFILE_HANDLE, "inner", 5);
    EXPECT_EQ(stop(inner), "inner");
    V_RedirectedWrite(MEMFILE_HANDLE, "outer", 5);
    EXPECT_EQ(stop(outer), "outer");
    EXPECT_EQ(V_RedirectedWrite(-1, "x", 1), -1) << "back on the system's files";
  });
}

TEST_F(MemoryRedirect, NestedRedirectionsStopInOrder) {
  vxkrn_test::on_new_thread([this] {
    MemoryFile *outer = start(MEMFILE_GROW | MEMFILE_WRITE);
    V_RedirectedWrite(MEMFILE_HANDLE, "outer", 5);
    MemoryFile *inner = start(MEMFILE_GROW | MEMFILE_WRITE);
    V_RedirectedWrite(MEMFILE_HANDLE, "inner", 5);
    EXPECT_EQ(stop(inner), "inner");
    V_RedirectedWrite(MEMFILE_HANDLE, "+", 1);
    EXPECT_EQ(stop(outer), "outer+");
    IoWriteFunc write = nullptr;
    V_FilterIO(nullptr, nullptr, &write, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
               nullptr);
    EXPECT_EQ(write, V_OsWrite);
  });
}

TEST_F(MemoryRedirect, RejectsNullsAndSurvivesNoMemory) {
  EXPECT_EQ(V_StartRedirectToBuffer(nullptr, nullptr, 0, nullptr, 0), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_StopRedirectToBuffer(nullptr, nullptr, nullptr), RC_INVALID_PARAMETER);
  void *context = nullptr;
  vxkrn::testing::fail_nth_allocation(1, vxkrn_test::kBothHeaps);
  EXPECT_EQ(V_StartRedirectToBuffer(&context, nullptr, MEMFILE_WRITE, nullptr, 0), RC_NO_MEMORY);
  vxkrn::testing::fail_nth_allocation(0, 0);
  EXPECT_EQ(context, nullptr);

  // Growth that fails keeps the old block and cuts the write short.
  char fixed[4];
  MemoryFile *file = start(MEMFILE_GROW | MEMFILE_WRITE);
  vxkrn::testing::fail_nth_allocation(1, vxkrn_test::kBothHeaps);
  EXPECT_EQ(V_RedirectedWrite(MEMFILE_HANDLE, fixed, 4), -1) << "no block at all";
  vxkrn::testing::fail_nth_allocation(0, 0);
  stop(file);
}

}  // namespace
