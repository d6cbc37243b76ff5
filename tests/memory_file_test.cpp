// The memory redirection beyond what its fuzz model sees: block capacities
// after growth and trim, past regressions, and failure of its allocations.
#include <algorithm>
#include <string_view>

#include "io/memory_file.h"
#include "support/test_support.h"

namespace {

using vxkrn::io::MemoryFile;
using MemoryRedirect = vxkrn_test::LeakCheckedTest;
constexpr int32_t H = MEMFILE_HANDLE;

MemoryFile *start(uint32_t flags, void *block = nullptr, uint32_t size = 0) {
  void *context = nullptr;
  int32_t handle = 0;
  EXPECT_EQ(V_StartRedirectToBuffer(&context, &handle, flags, block, size), RC_SUCCESS);
  EXPECT_EQ(handle, H);
  return static_cast<MemoryFile *>(context);
}

// Stop, free the block unless it is the caller's, and return the data.
std::string stop(MemoryFile *file, bool ours = true) {
  void *block = nullptr;
  uint32_t size = 99;
  EXPECT_EQ(V_StopRedirectToBuffer(file, &block, &size), RC_SUCCESS);
  const std::string data = block ? std::string(static_cast<const char *>(block), size) : "";
  if (ours) V_GlobalFree(block);
  return data;
}

// Seek to `at` and write `text` (an empty one cuts there): the write's result.
int32_t write_at(uint32_t at, std::string_view text, bool big = false) {
  V_RedirectedSeek(H, static_cast<int32_t>(at), SEEK_FROM_START);
  const auto n = static_cast<uint32_t>(text.size());
  return big ? int32_t(V_RedirectedWriteBig(H, text.data(), n))
             : V_RedirectedWrite(H, text.data(), n);
}

// Seek to `at` and read up to n bytes: what was read, or "failed".
std::string read_at(uint32_t at, uint32_t n, bool big = false) {
  V_RedirectedSeek(H, static_cast<int32_t>(at), SEEK_FROM_START);
  std::string in(n, '\0');
  const int64_t got =
      big ? V_RedirectedReadBig(H, in.data(), n) : V_RedirectedRead(H, in.data(), n);
  return got < 0 ? "failed" : in.substr(0, size_t(got));
}

// No trim without MEMFILE_TRIM, nor of a full block (the sweep below sees
// growth and trim); other handles are not the redirection's.
TEST_F(MemoryRedirect, TrimsOnlyWhenAskedAndTakesOnlyItsHandle) {
  for (uint32_t block : {0u, 8u}) {
    const uint32_t flags = MEMFILE_GROW | MEMFILE_WRITE | (block ? MEMFILE_TRIM | MEMFILE_FULL : 0);
    MemoryFile *file = start(flags, block ? V_GlobalAlloc(1, block) : nullptr, block);
    EXPECT_EQ(write_at(0, "ww") + write_at(2, ""), 2);
    EXPECT_EQ(V_RedirectedClose(H), 0);
    EXPECT_EQ(file->capacity, block ? 8u : 32768u);
    char byte;
    EXPECT_EQ(V_RedirectedRead(6, &byte, 1) + V_RedirectedWrite(6, "x", 1) + V_RedirectedClose(6),
              -3);
    EXPECT_EQ(stop(file), "ww");
  }
}

// The file a block stands for never reaches past the block, a cut never
// lengthens it, and bytes nobody wrote read as zeros, as on a real file.
TEST_F(MemoryRedirect, SizeStaysInTheBlockAndGapsReadAsZeros) {
  char one[1] = {'q'}, full[8] = {'A', 'B', 'C', 'D', 'E', 'F', 'G', 'H'};
  MemoryFile *file = start(MEMFILE_WRITE, one, 1);
  EXPECT_EQ(write_at(57102, ""), 0);
  EXPECT_EQ(read_at(0, 64), "");
  EXPECT_EQ(stop(file, false), "") << "a cut past the end changes nothing";
  file = start(MEMFILE_FULL | MEMFILE_WRITE, full, 8);
  V_RedirectedOpen(L"x", OPEN_READ_WRITE | OPEN_TRUNCATE, 0);
  EXPECT_EQ(write_at(6, ""), 0);
  EXPECT_EQ(stop(file, false), "") << "truncated bytes stay gone";

  // Gaps behind a seek, after growth and after a cut, a trim and regrowth.
  file = start(MEMFILE_GROW | MEMFILE_TRIM | MEMFILE_WRITE);
  write_at(0, std::string(50000, 'j'));
  write_at(1, "");       // cut to one byte
  V_RedirectedClose(H);  // and trimmed
  std::string expected(200001, '\0');
  expected[0] = 'j';
  for (uint32_t at : {30000u, 60000u, 200000u}) {
    EXPECT_EQ(write_at(at, "x"), 1);
    expected[at] = 'x';
  }
  EXPECT_EQ(stop(file), expected);
}

// Reads and writes of any size end where the file or the block ends.
TEST_F(MemoryRedirect, BigTransfersStopAtTheEnd) {
  MemoryFile *file = start(MEMFILE_WRITE, V_GlobalAlloc(1, 16), 16);
  EXPECT_EQ(write_at(0, "0123456789abcdefXYZ", true), 16);
  EXPECT_EQ(read_at(4, 64, true), "456789abcdef");
  EXPECT_EQ(read_at(16, 64, true), "");
  EXPECT_EQ(stop(file), "0123456789abcdef");
}

// Redirections nest. Stopping one that is not the current one would bring
// back a table that points at a stopped one: it is refused, changes nothing.
TEST_F(MemoryRedirect, StoppingOutOfOrderIsRefused) {
  vxkrn_test::on_new_thread([] {
    MemoryFile *outer = start(MEMFILE_GROW | MEMFILE_WRITE);
    write_at(0, "outer");
    MemoryFile *inner = start(MEMFILE_GROW | MEMFILE_WRITE);
    EXPECT_EQ(V_StopRedirectToBuffer(outer, nullptr, nullptr), RC_INVALID_PARAMETER);
    write_at(0, "inner");
    EXPECT_EQ(stop(inner), "inner");
    write_at(5, "+");
    EXPECT_EQ(stop(outer), "outer+");
    IoWriteFunc write = nullptr;
    V_FilterIO(nullptr, nullptr, &write, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
               nullptr);
    EXPECT_EQ(write, V_OsWrite) << "back on the system's files";
  });
}

// Each allocation failing in turn: the start is refused, or a growth that
// fails keeps the old block and cuts the write short. Blocks grow in 32 KiB
// steps, and with MEMFILE_TRIM a close trims them to the data.
TEST_F(MemoryRedirect, RejectsNullsAndSurvivesNoMemory) {
  EXPECT_EQ(V_StartRedirectToBuffer(nullptr, nullptr, 0, nullptr, 0), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_StopRedirectToBuffer(nullptr, nullptr, nullptr), RC_INVALID_PARAMETER);
  const std::string data(40000, 'd');
  vxkrn_test::sweep_allocation_failures(vxkrn_test::kBothHeaps, [&](unsigned) {
    void *context = nullptr;
    const ResultCode rc = V_StartRedirectToBuffer(
        &context, nullptr, MEMFILE_GROW | MEMFILE_TRIM | MEMFILE_WRITE, nullptr, 0);
    if (rc == RC_NO_MEMORY) return;
    ASSERT_EQ(rc, RC_SUCCESS);
    auto *file = static_cast<MemoryFile *>(context);
    const int32_t first = V_RedirectedWrite(H, data.data(), 10);
    const uint32_t grown = file->capacity;
    const int32_t second = V_RedirectedWrite(H, data.data(), 40000);
    const uint32_t regrown = file->capacity;
    vxkrn_test::stop_failing();
    EXPECT_EQ(grown, first == 10 ? 32768u : 0u) << "no block at all";
    EXPECT_EQ(regrown, second == 40000 ? 65536u : grown);
    EXPECT_EQ(second, regrown > grown ? 40000 : grown ? int32_t(grown) - 10 : -1);
    const auto size = size_t(std::max(first, 0) + std::max(second, 0));
    V_RedirectedClose(H);
    EXPECT_EQ(file->capacity, size);
    EXPECT_EQ(stop(file), std::string(size, 'd'));
  });
}

}  // namespace
