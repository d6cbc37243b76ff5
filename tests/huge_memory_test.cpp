// Large blocks on both paths: plain heap blocks, mapped sections with a
// moving view, the temporary-file fallback, and failures at every step.
#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <string>

#include "platform/mapping.h"
#include "support/test_support.h"
#include "vxkrn/heap.h"

namespace {

namespace hooks = vxkrn::testing;
constexpr unsigned kRuntime = static_cast<unsigned>(vxkrn_test::Heap::Runtime);
const uint32_t G = static_cast<uint32_t>(sysconf(_SC_PAGESIZE));

// Open descriptors, and views still mapped from shared memory or from `dir`.
int open_descriptors() {
  int n = 0;
  DIR *dir = opendir("/proc/self/fd");
  while (dir && readdir(dir))
    ++n;
  if (dir) closedir(dir);
  return n;
}
int mapped_views(const std::string &dir) {
  std::ifstream maps("/proc/self/maps");
  int n = 0;
  for (std::string line; std::getline(maps, line);)
    n += line.find("memfd:vxkrn") != std::string::npos || line.find(dir) != std::string::npos;
  return n;
}

// Temporary files must be gone at the end, and no heap block, descriptor or
// view may leak.
class HugeMemoryTest : public vxkrn_test::TempDirTest {
 protected:
  void SetUp() override {
    TempDirTest::SetUp();
    descriptors_ = open_descriptors();
  }
  void TearDown() override {
    hooks::fail_shared_memory(false);
    hooks::fail_views_longer_than(0);
    EXPECT_EQ(open_descriptors(), descriptors_) << "descriptors leaked";
    EXPECT_EQ(mapped_views(dir_), 0) << "views left mapped";
    TempDirTest::TearDown();
  }
  // A block the heap refuses (the record is the first allocation), so mapped.
  static HugeMemory *mapped(uint32_t size) {
    hooks::fail_nth_allocation(2, kRuntime);
    HugeMemory *memory = V_AllocHugeMemory(size);
    hooks::fail_nth_allocation(0, 0);
    return memory;
  }
  static uint8_t *at(HugeMemory *memory, uint32_t offset, uint32_t length = 1) {
    void *p = nullptr;
    EXPECT_EQ(V_AccessHugeMemory(memory, &p, offset, length), RC_SUCCESS) << offset;
    return static_cast<uint8_t *>(p);
  }
  int descriptors_ = 0;
};

TEST_F(HugeMemoryTest, PlainBlock) {
  HugeMemory *memory = V_AllocHugeMemory(1000);
  ASSERT_NE(memory, nullptr);
  EXPECT_TRUE(memory->Mapped == 0 && memory->BlockSize == 1000 && memory->BackingFile == -1);
  uint8_t *base = static_cast<uint8_t *>(memory->Address);
  EXPECT_EQ(at(memory, 5000, 5), base + 5000) << "plain blocks are not bounds-checked";
  // The offset is the fill value, and filling starts at the block's start.
  std::memset(base, 0xEE, 4);
  EXPECT_EQ(V_ZeroHugeMemory(memory, 0x105, 3), RC_SUCCESS);
  EXPECT_EQ(std::string(base, base + 4), "\x05\x05\x05\xEE");
  V_FreeHugeMemory(memory);
}

// Views of at most two pages: a view is halved until it maps, halving stops
// at the length counted from the page start, and a range longer than any
// view that maps fails and leaves no view. Accesses in the view move nothing.
TEST_F(HugeMemoryTest, MappedBoundsAndViews) {
  const uint32_t size = 10 * G + 100;
  HugeMemory *memory = mapped(size);
  ASSERT_NE(memory, nullptr);
  EXPECT_TRUE(memory->Mapped == 1 && memory->Mapping >= 0 && memory->BackingFile == -1);
  EXPECT_TRUE(memory->Granularity == G && memory->ViewSize == size) << "the first view is whole";
  const uint32_t bounds[][3] = {{size - 10, 10, 1}, {size - 10, 11, 0}, {size, 0, 1},
                                {size, 1, 0},       {0, size, 1},       {UINT32_MAX, 2, 0}};
  void *p;
  for (const auto &b : bounds)
    EXPECT_EQ(V_AccessHugeMemory(memory, &p, b[0], b[1]), b[2] ? RC_SUCCESS : RC_INVALID_PARAMETER)
        << b[0] << " + " << b[1];
  V_FreeHugeMemory(memory);
  hooks::fail_views_longer_than(2 * G);
  memory = mapped(size);
  ASSERT_NE(memory, nullptr);
  EXPECT_EQ(memory->ViewSize, size / 2 / 2 / 2);
  EXPECT_EQ(V_AccessHugeMemory(memory, &p, 0, 3 * G), RC_NO_MEMORY);
  EXPECT_EQ(memory->Address, nullptr);
  const uint32_t views[][5] = {// offset, length, view offset, view size, moves
                               {3 * G + 5, 10, 3 * G, (size - 3 * G) / 4, 1},
                               {3 * G + 100, 200, 3 * G, (size - 3 * G) / 4, 0},
                               {2 * G + 1, 1, 2 * G, (size - 2 * G) / 8, 1},
                               {size - 1, 1, 10 * G, 100, 1},
                               {4 * G + 1, 2 * G, 4 * G, 2 * G, 1}};
  for (const auto &v : views) {
    const unsigned maps = hooks::views_mapped();
    ASSERT_EQ(V_AccessHugeMemory(memory, &p, v[0], v[1]), RC_SUCCESS) << v[0];
    EXPECT_TRUE(memory->ViewOffset == v[2] && memory->ViewSize == v[3]) << v[0];
    EXPECT_EQ(p, static_cast<uint8_t *>(memory->Address) + (v[0] - v[2]));
    EXPECT_EQ(hooks::views_mapped() - maps, v[4]) << v[0];
  }
  V_FreeHugeMemory(memory);
}

TEST_F(HugeMemoryTest, BytesSurviveViewMovesAndZeroing) {
  // Views limited from creation on (a first view needs a page), then to
  // `limit`: 16 bytes gives views that end before most offsets of their page.
  const std::pair<bool, size_t> cases[] = {{false, 0}, {false, 2 * G}, {false, 16}, {true, 3 * G}};
  for (auto [file_backed, limit] : cases) {
    SCOPED_TRACE(::testing::Message() << "file " << file_backed << " limit " << limit);
    hooks::fail_shared_memory(file_backed);
    hooks::fail_views_longer_than(limit ? std::max<size_t>(limit, G) : 0);
    const uint32_t size = 8 * G + 50;
    HugeMemory *memory = mapped(size);
    ASSERT_NE(memory, nullptr);
    const std::vector<std::string> files = leftover_files();
    ASSERT_EQ(files.size(), file_backed ? 1u : 0u);
    EXPECT_TRUE(!file_backed || (memory->Mapping == memory->BackingFile &&
                                 vxkrn_test::file_size(dir_ + files[0]) == size));
    hooks::fail_views_longer_than(limit);
    for (uint32_t o = 0; o < size; o += 61)
      *at(memory, o) = static_cast<uint8_t>(o % 251 + 1);
    // Zeroing crosses views; bytes outside the range keep their value.
    const uint32_t from = G - 3 * 61, length = 5 * G;
    EXPECT_EQ(V_ZeroHugeMemory(memory, from, length), RC_SUCCESS);
    for (uint32_t k = (size - 1) / 61 + 1; k-- > 0;) {  // backwards: views move back too
      const uint32_t o = k * 61;
      ASSERT_EQ(*at(memory, o), o >= from && o < from + length ? 0 : o % 251 + 1) << o;
    }
    *at(memory, size - 5) = 0x77;
    EXPECT_EQ(V_ZeroHugeMemory(memory, size - 5, 6), RC_INVALID_PARAMETER);
    EXPECT_EQ(*at(memory, size - 5), 0x77) << "nothing cleared";
    V_FreeHugeMemory(memory);
    EXPECT_TRUE(leftover_files().empty()) << "the backing file is deleted";
  }
}

// No shared memory and no temporary name, or no view that maps: null, and
// nothing left behind.
TEST_F(HugeMemoryTest, NoSectionOrNoViewGivesNull) {
  const std::string deep_name = make_too_deep_directory();
  const std::wstring deep = path(deep_name) + L"/";
  const std::tuple<bool, bool, size_t> cases[] = {
      {true, true, 0}, {false, false, 1}, {true, false, 1}};
  for (auto [no_shared_memory, no_temp_name, view_limit] : cases) {
    hooks::fail_shared_memory(no_shared_memory);
    hooks::fail_views_longer_than(view_limit);
    ASSERT_EQ(V_SetTempDirectory(no_temp_name ? deep.c_str() : wdir_.c_str()), RC_SUCCESS);
    EXPECT_EQ(mapped(4 * G), nullptr) << no_shared_memory << no_temp_name;
    EXPECT_EQ(leftover_files(), std::vector<std::string>{deep_name});
  }
  use_directory();
  remove(deep_name);
}

TEST_F(HugeMemoryTest, EveryAllocationFailingInTurn) {
  for (bool file_backed : {false, true}) {
    hooks::fail_shared_memory(file_backed);
    vxkrn_test::sweep_allocation_failures(kRuntime, [&](unsigned nth) {
      HugeMemory *memory = V_AllocHugeMemory(3 * G);
      ASSERT_EQ(memory != nullptr, nth != 1) << "only a missing record fails";
      if (!memory) return;
      EXPECT_EQ(memory->Mapped, nth == 2 ? 1u : 0u);
      EXPECT_EQ(memory->BackingFile >= 0, nth == 2 && file_backed);
      EXPECT_EQ(V_ZeroHugeMemory(memory, 0, 3 * G), RC_SUCCESS);
      EXPECT_EQ(*at(memory, 3 * G - 1), 0) << "offset 0 clears on both paths";
      V_FreeHugeMemory(memory);
    });
  }
}

}  // namespace
