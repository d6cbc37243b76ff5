// Shared test helpers.
#include "support/test_support.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
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

void TempDirTest::SetUp() {
  LeakCheckedTest::SetUp();
  char pattern[] = "/tmp/vxkrn_test_XXXXXX";
  ASSERT_NE(mkdtemp(pattern), nullptr);
  dir_ = std::string(pattern) + "/";
  wdir_.assign(dir_.begin(), dir_.end());
  use_directory();
}

void TempDirTest::use_directory() const {
  ASSERT_EQ(V_SetTempDirectory(wdir_.c_str()), RC_SUCCESS);
}

std::vector<std::string> TempDirTest::leftover_files() const {
  std::vector<std::string> names;
  if (DIR *dir = opendir(dir_.c_str())) {
    while (dirent *entry = readdir(dir)) {
      const std::string name = entry->d_name;
      if (name != "." && name != "..") names.push_back(name);
    }
    closedir(dir);
  }
  return names;
}

void TempDirTest::TearDown() {
  const std::vector<std::string> left = leftover_files();
  EXPECT_TRUE(left.empty()) << "files left in the temporary directory, first: "
                            << (left.empty() ? "" : left.front());
  for (const std::string &name : left)
    unlink((dir_ + name).c_str());
  rmdir(dir_.c_str());
  LeakCheckedTest::TearDown();
}

long long file_size(const std::string &path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 ? static_cast<long long>(st.st_size) : -1;
}

std::string narrow(const std::wstring &wide) {
  std::string text;
  for (wchar_t c : wide)
    text += static_cast<char>(c);
  return text;
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
