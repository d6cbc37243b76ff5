// Shared test helpers.
#include "support/test_support.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>

#include "core/run_length.h"

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

std::wstring TempDirTest::path(const std::string &name) const {
  const std::string full = dir_ + name;
  return std::wstring(full.begin(), full.end());
}

void TempDirTest::make_file(const std::string &name, const std::string &text) const {
  const int fd = ::open((dir_ + name).c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(::write(fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  ::close(fd);
}

void TempDirTest::remove(const std::string &name) const {
  std::remove((dir_ + name).c_str());
}

std::string TempDirTest::make_too_deep_directory() const {
  const std::string name(240 - dir_.size(), 'd');
  EXPECT_EQ(::mkdir((dir_ + name).c_str(), 0700), 0);
  return name;
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

void make_bitmap(BitmapHandle &bitmap, std::int32_t width, std::int32_t height, std::int32_t bits,
                 std::int32_t memory_type) {
  ASSERT_EQ(V_InitBitmap(&bitmap, BITMAPHANDLE_SIZE, width, height, bits), RC_SUCCESS);
  ASSERT_EQ(V_AllocateBitmap(&bitmap, memory_type), RC_SUCCESS);
}

std::int32_t memory_info(const BitmapHandle &bitmap) {
  std::int32_t code = 0;
  EXPECT_EQ(V_GetBitmapMemoryInfo(&bitmap, &code, nullptr, nullptr), RC_SUCCESS);
  return code;
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
  // Each row is read into a buffer with a guard zone after it.
  std::vector<std::uint8_t> row(stride + kGuardBytes);
  const std::int32_t was_accessed = V_LockBitmap(&bitmap);
  for (std::int32_t y = 0; y < bitmap.Height; ++y) {
    std::fill(row.begin() + stride, row.end(), kGuardByte);
    EXPECT_EQ(V_GetBitmapRow(&bitmap, row.data(), y, stride), static_cast<std::int32_t>(stride));
    EXPECT_TRUE(guard_intact(row.data() + stride)) << "row " << y << " read past its end";
    std::copy(row.begin(), row.begin() + stride, rows.begin() + std::size_t(y) * stride);
  }
  V_UnlockBitmap(&bitmap, was_accessed);
  return rows;
}

bool guard_intact(const std::uint8_t *guard) {
  return std::all_of(guard, guard + kGuardBytes, [](std::uint8_t b) { return b == kGuardByte; });
}

namespace {
std::uint32_t image_bytes(const BitmapHandle &bitmap) {
  return static_cast<std::uint32_t>(bitmap.BytesPerLine) *
         static_cast<std::uint32_t>(bitmap.Height);
}
}  // namespace

std::vector<std::uint8_t> fill_random_image(BitmapHandle &bitmap, std::uint32_t seed) {
  std::vector<std::uint8_t> image(image_bytes(bitmap));
  std::mt19937 random(seed);
  for (std::uint8_t &b : image)
    b = static_cast<std::uint8_t>(random());
  EXPECT_EQ(V_PutBitmapRow(&bitmap, image.data(), 0, image_bytes(bitmap)),
            static_cast<std::int32_t>(image_bytes(bitmap)));
  return image;
}

std::vector<std::uint8_t> read_image(const BitmapHandle &bitmap) {
  std::vector<std::uint8_t> image(image_bytes(bitmap) + kGuardBytes, kGuardByte);
  EXPECT_EQ(V_GetBitmapRow(&bitmap, image.data(), 0, image_bytes(bitmap)),
            static_cast<std::int32_t>(image_bytes(bitmap)));
  EXPECT_TRUE(guard_intact(image.data() + image_bytes(bitmap))) << "read past the image";
  image.resize(image_bytes(bitmap));
  return image;
}

std::vector<std::uint8_t> compress_rows(const std::vector<std::uint8_t> &rows, std::uint32_t width,
                                        std::uint32_t count) {
  const std::size_t room = count * COMPRESSED_RECORD_MAX_BYTES(width);
  std::vector<std::uint8_t> records(room + kGuardBytes, kGuardByte);
  EXPECT_EQ(V_CompressRows(records.data(), rows.data(), width, count), RC_SUCCESS);
  EXPECT_TRUE(guard_intact(records.data() + room)) << "records written past their room";
  std::size_t used = 0;
  for (std::uint32_t k = 0; k < count; ++k)
    used += vxkrn::core::record_bytes(records.data() + used);
  records.resize(used);
  return records;
}

std::vector<std::uint8_t> make_record(const std::vector<std::uint32_t> &words,
                                      std::int64_t claimed) {
  std::vector<std::uint8_t> r(4 + 2 * words.size());
  const auto n = static_cast<std::uint32_t>(claimed < 0 ? std::int64_t(words.size()) : claimed);
  for (int i = 0; i < 4; ++i)
    r[i] = static_cast<std::uint8_t>(n >> (8 * i));
  for (std::size_t i = 0; i < words.size(); ++i) {
    r[4 + 2 * i] = static_cast<std::uint8_t>(words[i]);
    r[5 + 2 * i] = static_cast<std::uint8_t>(words[i] >> 8);
  }
  return r;
}

std::vector<BadRecord> bad_records_of_8_pixels() {
  return {
      {"200 empty runs", make_record(std::vector<std::uint32_t>(200, 0))},
      {"too few pixels", make_record({7})},
      {"too many pixels", make_record({4, 5})},
      {"an empty run inside a short run", make_record({3, 0, 5})},
      {"an empty last run", make_record({8, 0})},
      {"two empty runs first", make_record({0, 0, 8})},
      {"a count beyond its words", make_record({8}, 0xFFFFFFFF)},
  };
}

bool same_bytes(const BitmapHandle &a, const BitmapHandle &b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

}  // namespace vxkrn_test
