// Large blocks on both paths: plain heap blocks, mapped sections with a
// moving view, the temporary-file fallback, and failures at every step.
#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <tuple>

#include "platform/mapping.h"
#include "support/test_support.h"

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

// No heap block, descriptor, view or temporary file may be left behind.
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

// Bytes survive views moving both ways and zeroing across views; views are
// halved until they map (a first view needs a page), or fail, leaving none.
TEST_F(HugeMemoryTest, BytesSurviveViewMovesAndZeroing) {
  const uint32_t size = 8 * G + 50;
  // backed by a file, view limit, the first view
  const std::tuple<bool, size_t, uint32_t> cases[] = {
      {false, 0, size}, {false, 2 * G, size / 8}, {false, 16, G}, {true, 3 * G, size / 4}};
  for (auto [file_backed, limit, view] : cases) {
    SCOPED_TRACE(::testing::Message() << "file " << file_backed << " limit " << limit);
    hooks::fail_shared_memory(file_backed);
    hooks::fail_views_longer_than(limit ? std::max<size_t>(limit, G) : 0);
    HugeMemory *memory = mapped(size);
    ASSERT_NE(memory, nullptr);
    EXPECT_TRUE(memory->Mapped == 1 && memory->Granularity == G && memory->ViewSize == view);
    ASSERT_EQ(leftover_files().size(), file_backed ? 1u : 0u);
    EXPECT_EQ(memory->BackingFile, file_backed ? memory->Mapping : -1);
    EXPECT_TRUE(!file_backed || vxkrn_test::file_size(dir_ + leftover_files()[0]) == size);
    hooks::fail_views_longer_than(limit);
    void *p;
    EXPECT_TRUE(!limit || (V_AccessHugeMemory(memory, &p, 0, 4 * G) == RC_NO_MEMORY &&
                           memory->Address == nullptr));
    for (auto [offset, length] : {std::pair{size - 10, 11u}, {size, 1u}, {UINT32_MAX, 2u}})
      EXPECT_EQ(V_AccessHugeMemory(memory, &p, offset, length), RC_INVALID_PARAMETER) << offset;
    for (uint32_t o = 0; o < size; o += 61)
      *at(memory, o) = static_cast<uint8_t>(o % 251 + 1);
    const uint32_t from = G - 3 * 61, length = 5 * G;
    EXPECT_EQ(V_ZeroHugeMemory(memory, from, length), RC_SUCCESS);
    for (uint32_t k = (size - 1) / 61 + 1; k-- > 0;) {  // backwards: views move back too
      const uint32_t o = k * 61;
      ASSERT_EQ(*at(memory, o), o >= from && o < from + length ? 0 : o % 251 + 1) << o;
    }
    EXPECT_EQ(V_ZeroHugeMemory(memory, size - 61, 62), RC_INVALID_PARAMETER);
    EXPECT_EQ(*at(memory, size - 61), (size - 61) % 251 + 1) << "nothing cleared";
    V_FreeHugeMemory(memory);
    EXPECT_TRUE(leftover_files().empty()) << "the backing file is deleted";
  }
}

// Each allocation failing in turn: a missing heap block gives a section
// (file-backed without shared memory), or null when no section or no view
// can be made. A plain block is not bounds-checked and, deliberately, fills
// its first bytes with the low byte of the offset; both clear from 0.
TEST_F(HugeMemoryTest, EveryAllocationFailingInTurn) {
  const std::string deep = make_too_deep_directory();
  const std::wstring too_deep = path(deep) + L"/";
  // no shared memory, temporary directory, view limit, a section can be made
  const std::tuple<bool, const wchar_t *, size_t, bool> modes[] = {
      {false, wdir_.c_str(), 0, true},
      {true, wdir_.c_str(), 0, true},
      {true, too_deep.c_str(), 0, false},
      {false, wdir_.c_str(), 1, false}};
  for (const auto &mode : modes) {
    // named copies: lambdas cannot capture structured bindings before C++20 in clang 14
    const bool no_shared_memory = std::get<0>(mode), maps = std::get<3>(mode);
    const wchar_t *directory = std::get<1>(mode);
    const size_t view_limit = std::get<2>(mode);
    hooks::fail_shared_memory(no_shared_memory);
    hooks::fail_views_longer_than(view_limit);
    ASSERT_EQ(V_SetTempDirectory(directory), RC_SUCCESS);
    vxkrn_test::sweep_allocation_failures(kRuntime, [&](unsigned nth) {
      HugeMemory *memory = V_AllocHugeMemory(3 * G);
      const bool plain = nth != 2, file = !plain && no_shared_memory && memory;
      ASSERT_EQ(memory != nullptr, nth != 1 && (plain || maps));
      EXPECT_EQ(leftover_files().size(), file ? 2u : 1u) << "the deep directory, a backing file";
      if (!memory) return;
      EXPECT_TRUE(memory->Mapped == !plain && memory->BlockSize == 3 * G);
      EXPECT_EQ(memory->BackingFile >= 0, file);
      void *p;
      EXPECT_EQ(V_AccessHugeMemory(memory, &p, 4 * G, 5),
                plain ? RC_SUCCESS : RC_INVALID_PARAMETER);
      std::memset(at(memory, 0, 8), 0xEE, 8);
      EXPECT_EQ(V_ZeroHugeMemory(memory, 0x105, 3), RC_SUCCESS);
      EXPECT_EQ(std::string(reinterpret_cast<char *>(at(memory, 0, 4)), 4),
                plain ? "\x05\x05\x05\xEE" : "\xEE\xEE\xEE\xEE");
      EXPECT_EQ(V_ZeroHugeMemory(memory, 0, 3 * G), RC_SUCCESS);
      EXPECT_EQ(*at(memory, 3 * G - 1), 0);
      V_FreeHugeMemory(memory);
    });
  }
  use_directory();
  remove(deep);
}

}  // namespace
