// Shared test helpers: a record that frees itself, fixtures that catch leaked
// heap blocks and leftover files, the allocation-failure sweep, whole-image
// transfers and a pixel reference independent of the library.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>
#include <thread>

#include "platform/heap.h"
#include "support/pixel_reference.h"
#include "vxkrn/vxkrn.h"

namespace vxkrn_test {

using vxkrn::platform::Heap;
constexpr unsigned kBothHeaps =
    static_cast<unsigned>(Heap::Runtime) | static_cast<unsigned>(Heap::System);

// A zeroed record freed at scope exit.
struct OwnedBitmap {
  BitmapHandle bm{};
  OwnedBitmap() = default;
  OwnedBitmap(const OwnedBitmap &) = delete;
  OwnedBitmap &operator=(const OwnedBitmap &) = delete;
  ~OwnedBitmap() { V_FreeBitmap(&bm); }
  BitmapHandle *operator->() { return &bm; }
  BitmapHandle *get() { return &bm; }
};

// Fails a test that leaves blocks behind in either heap.
class LeakCheckedTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

 private:
  std::int64_t runtime_before_ = 0;
  std::int64_t system_before_ = 0;
};

// A leak-checked test whose thread keeps temporary files in a fresh
// directory; the test fails if any file is left there, and the directory is
// removed afterwards. Other threads call use_directory() themselves.
class TempDirTest : public LeakCheckedTest {
 protected:
  void SetUp() override;
  void TearDown() override;
  void use_directory() const;  // for threads the test starts
  std::vector<std::string> leftover_files() const;
  // The wide path of `name` in the directory.
  std::wstring path(const std::string &name) const;
  // A file holding `text`, made without the library.
  void make_file(const std::string &name, const std::string &text) const;
  // Removes a file or an empty directory from the directory.
  void remove(const std::string &name) const;
  // Makes a directory whose path (with its '/') the library accepts but which
  // is too deep to hold a temporary name; returns its name.
  std::string make_too_deep_directory() const;
  std::string dir_;    // with a trailing '/'
  std::wstring wdir_;  // the same, wide
};

// Size of a file, or -1.
long long file_size(const std::string &path);
std::string narrow(const std::wstring &wide);

// How many allocations from the heaps in mask `action` attempts.
unsigned count_allocations(unsigned heap_mask, const std::function<void()> &action);

// Disarm the hook inside a swept action, so that the checks after the call
// under test may allocate; only the allocations before it are swept.
void stop_failing();

// Run `action` once per allocation it makes, failing exactly that one
// (1-based index passed to it); `action` checks the outcome itself.
void sweep_allocation_failures(unsigned heap_mask, const std::function<void(unsigned)> &action);

// Run f on a new thread and wait for it.
template <class F>
void on_new_thread(F f) {
  std::thread thread(f);
  thread.join();
}

// V_InitBitmap and V_AllocateBitmap, both asserted to succeed.
void make_bitmap(BitmapHandle &bitmap, std::int32_t width, std::int32_t height, std::int32_t bits,
                 std::int32_t memory_type);

// The report of V_GetBitmapMemoryInfo (MEM_INFO_...), expected to succeed.
std::int32_t memory_info(const BitmapHandle &bitmap);

// Buffers the helpers below hand to the library carry a guard zone of
// kGuardBytes bytes of kGuardByte after what the call may write; an overrun
// fails the test instead of passing silently.
constexpr std::size_t kGuardBytes = 32;
constexpr std::uint8_t kGuardByte = 0xA7;
bool guard_intact(const std::uint8_t *guard);

// Pixel rows for an allocated bitmap, BytesPerLine bytes each with the
// padding bits after the last pixel clear. 1-bit rows are runs of random
// lengths (as scanned pages have), other depths random bytes.
std::vector<std::uint8_t> random_rows(const BitmapHandle &bitmap, std::uint32_t seed);
// Every row through V_PutBitmapRow / V_GetBitmapRow (each row read with a
// guard zone after it), the bitmap locked for it.
void write_rows(BitmapHandle &bitmap, const std::vector<std::uint8_t> &rows);
std::vector<std::uint8_t> read_rows(BitmapHandle &bitmap);
// Random bytes over the whole image, padding included, written with one
// V_PutBitmapRow call that runs over every row; and the whole image read
// back with one V_GetBitmapRow call.
std::vector<std::uint8_t> fill_random_image(BitmapHandle &bitmap, std::uint32_t seed);
std::vector<std::uint8_t> read_image(const BitmapHandle &bitmap);

// Run-length records of `count` plain rows of `width` pixels at the padded
// stride, made by V_CompressRows and cut to the bytes they use.
std::vector<std::uint8_t> compress_rows(const std::vector<std::uint8_t> &rows, std::uint32_t width,
                                        std::uint32_t count);

// A record from its run words; `claimed` replaces the word count it states.
std::vector<std::uint8_t> make_record(const std::vector<std::uint32_t> &words,
                                      std::int64_t claimed = -1);

// Records that no 1-bit row of 8 pixels has: each must be refused whole.
struct BadRecord {
  const char *what;
  std::vector<std::uint8_t> record;
};
std::vector<BadRecord> bad_records_of_8_pixels();

// Bytes equal to a record's: used to prove a failing call left it alone.
bool same_bytes(const BitmapHandle &a, const BitmapHandle &b);

}  // namespace vxkrn_test
