// Shared test helpers.
#include "support/test_support.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <algorithm>
#include <cstring>
#include <random>

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

namespace {
// Allocations counted up to stop_failing(), or -1 when it was not called.
thread_local long long counted_before_stop = -1;
}  // namespace

void stop_failing() {
  counted_before_stop = vxkrn::testing::allocations_attempted();
  vxkrn::testing::fail_nth_allocation(0, 0);
}

unsigned count_allocations(unsigned heap_mask, const std::function<void()> &action) {
  counted_before_stop = -1;
  vxkrn::testing::fail_nth_allocation(0, heap_mask);
  action();
  const unsigned n = counted_before_stop >= 0 ? static_cast<unsigned>(counted_before_stop)
                                              : vxkrn::testing::allocations_attempted();
  counted_before_stop = -1;
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

std::vector<std::uint8_t> random_rows(const BitmapHandle &bitmap, std::uint32_t seed) {
  const auto stride = static_cast<std::size_t>(bitmap.BytesPerLine);
  const auto used = static_cast<std::uint64_t>(bitmap.Width) * bitmap.BitsPerPixel;
  std::vector<std::uint8_t> rows(stride * static_cast<std::size_t>(bitmap.Height));
  std::mt19937 random(seed);
  for (std::size_t y = 0; y < static_cast<std::size_t>(bitmap.Height); ++y) {
    std::uint8_t *row = rows.data() + y * stride;
    if (bitmap.BitsPerPixel == 1) {
      bool ink = random() % 2;
      for (std::uint64_t x = 0; x < used;) {
        const std::uint64_t run = 1 + random() % (ink ? 12 : 150);
        for (std::uint64_t end = std::min(used, x + run); x < end; ++x)
          if (ink) row[x / 8] |= static_cast<std::uint8_t>(0x80 >> (x % 8));
        ink = !ink;
      }
      continue;
    }
    for (std::uint64_t i = 0; i < (used + 7) / 8; ++i)
      row[i] = static_cast<std::uint8_t>(random());
    // 12-bit pixels fill bytes from the low end, the other depths from the top.
    if (used % 8)
      row[used / 8] &=
          static_cast<std::uint8_t>(bitmap.BitsPerPixel == 12 ? 0x0F : 0xFF << (8 - used % 8));
  }
  return rows;
}

void write_rows(BitmapHandle &bitmap, const std::vector<std::uint8_t> &rows) {
  const auto stride = static_cast<std::uint32_t>(bitmap.BytesPerLine);
  const std::int32_t was_accessed = V_LockBitmap(&bitmap);
  for (std::int32_t y = 0; y < bitmap.Height; ++y)
    EXPECT_EQ(V_PutBitmapRow(&bitmap, rows.data() + std::size_t(y) * stride, y, stride),
              static_cast<std::int32_t>(stride));
  V_UnlockBitmap(&bitmap, was_accessed);
}

std::vector<std::uint8_t> read_rows(BitmapHandle &bitmap) {
  const auto stride = static_cast<std::uint32_t>(bitmap.BytesPerLine);
  std::vector<std::uint8_t> rows(std::size_t(stride) * static_cast<std::size_t>(bitmap.Height));
  const std::int32_t was_accessed = V_LockBitmap(&bitmap);
  for (std::int32_t y = 0; y < bitmap.Height; ++y)
    EXPECT_EQ(V_GetBitmapRow(&bitmap, rows.data() + std::size_t(y) * stride, y, stride),
              static_cast<std::int32_t>(stride));
  V_UnlockBitmap(&bitmap, was_accessed);
  return rows;
}

bool same_bytes(const BitmapHandle &a, const BitmapHandle &b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

}  // namespace vxkrn_test
