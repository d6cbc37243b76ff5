// Shared test helpers: a record that frees itself, a fixture that catches
// leaked heap blocks, and the allocation-failure sweep.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>
#include <thread>

#include "platform/heap.h"
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

// Pixel rows for an allocated bitmap, BytesPerLine bytes each with the
// padding bits after the last pixel clear. 1-bit rows are runs of random
// lengths (as scanned pages have), other depths random bytes.
std::vector<std::uint8_t> random_rows(const BitmapHandle &bitmap, std::uint32_t seed);
// Every row through V_PutBitmapRow / V_GetBitmapRow, the bitmap locked for it.
void write_rows(BitmapHandle &bitmap, const std::vector<std::uint8_t> &rows);
std::vector<std::uint8_t> read_rows(BitmapHandle &bitmap);

// Bytes equal to a record's: used to prove a failing call left it alone.
bool same_bytes(const BitmapHandle &a, const BitmapHandle &b);

}  // namespace vxkrn_test
