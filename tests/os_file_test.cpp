// The primitive file operations, temporary names and the registry that
// deletes registered files when they are closed.
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "core/storage.h"
#include "core/temp_files.h"
#include "support/test_support.h"

namespace {

using vxkrn_test::file_size;

class OsFile : public vxkrn_test::TempDirTest {};

TEST_F(OsFile, OpenFlagsFollowTheirTable) {
  const struct {
    int32_t flags;
    bool existing;
    bool opens;
    long long size_after;  // of a 5-byte file, -1: still missing
  } cases[] = {
      {OPEN_READ, true, true, 5},
      {OPEN_READ, false, false, -1},
      {OPEN_WRITE, false, false, -1},
      {OPEN_READ_WRITE | OPEN_CREATE, true, true, 0},
      {OPEN_READ | OPEN_CREATE, true, true, 0},
      {OPEN_WRITE | OPEN_CREATE, false, true, 0},
      {OPEN_READ_WRITE | OPEN_TRUNCATE, true, true, 0},
      {OPEN_TRUNCATE | 3, false, false, -1},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.flags);
    if (c.existing) make_file("f", "hello");
    const int32_t file = V_OsOpen(path("f").c_str(), c.flags, SHARE_READ | SHARE_WRITE, nullptr);
    EXPECT_EQ(file >= 0, c.opens);
    if (file >= 0) {
      EXPECT_EQ(V_OsClose(file, nullptr), 0);
    }
    EXPECT_EQ(file_size(dir_ + "f"), c.size_after);
    remove("f");
  }
  EXPECT_EQ(V_OsOpen(nullptr, OPEN_READ, 0, nullptr), FILE_NO_HANDLE);
  const wchar_t invalid[] = {L'/', static_cast<wchar_t>(0xDC00), 0};
  EXPECT_EQ(V_OsOpen(invalid, OPEN_READ_WRITE | OPEN_CREATE, 0, nullptr), FILE_NO_HANDLE);
}

TEST_F(OsFile, ReadWriteSeekAndCut) {
  const int32_t file = V_OsCreat(path("rw").c_str(), 0);
  ASSERT_GE(file, 0);
  EXPECT_EQ(V_OsWrite(file, "0123456789", 10, nullptr), 10);
  EXPECT_EQ(V_OsSeek(file, -4, SEEK_FROM_CURRENT, nullptr), 6u);
  char buffer[8] = {};
  EXPECT_EQ(V_OsRead(file, buffer, 8, nullptr), 4);
  EXPECT_EQ(std::string(buffer, 4), "6789");
  EXPECT_EQ(V_OsRead(file, buffer, 8, nullptr), 0) << "end of file";
  EXPECT_EQ(V_OsSeek(file, -3, 7, nullptr), 7u) << "unknown origins count from the end";
  EXPECT_EQ(V_OsWrite(file, nullptr, 0, nullptr), 0) << "a count of 0 cuts here";
  EXPECT_EQ(file_size(dir_ + "rw"), 7);
  EXPECT_EQ(V_OsRead(file, nullptr, 1, nullptr), -1);
  EXPECT_EQ(V_OsWrite(file, nullptr, 1, nullptr), -1);
  EXPECT_EQ(V_OsSetFileSize(file, 3), 0);
  EXPECT_EQ(file_size(dir_ + "rw"), 3);
  EXPECT_EQ(V_OsSeek(file, 0, SEEK_FROM_CURRENT, nullptr), 3u) << "left at the new size";
  // Offsets past 4 GiB on every target (the file stays sparse).
  EXPECT_EQ(V_OsSeekBig(file, 16, 1, SEEK_FROM_START), (uint64_t{1} << 32) + 16);
  EXPECT_EQ(V_OsSeek(file, 0, SEEK_FROM_CURRENT, nullptr), 16u) << "low 32 bits";
  EXPECT_EQ(V_OsClose(file, nullptr), 0);
  EXPECT_EQ(V_OsSeek(file, 0, SEEK_FROM_START, nullptr), 0u) << "failure looks like the start";
  EXPECT_EQ(V_OsSeekBig(file, 5, 0, SEEK_FROM_START), 0u);
  EXPECT_EQ(V_OsClose(file, nullptr), -1);
  EXPECT_EQ(V_OsDelete(path("rw").c_str()), 0);
  EXPECT_EQ(V_OsDelete(path("rw").c_str()), -1);
  EXPECT_EQ(V_OsDelete(nullptr), -1);
}

TEST_F(OsFile, BigTransfersAndCreateAttributes) {
  std::vector<uint8_t> data(300000);
  for (size_t i = 0; i < data.size(); ++i)
    data[i] = static_cast<uint8_t>(i * 31);
  const int32_t file = V_OsCreat(path("big").c_str(), CREAT_DELETE_ON_CLOSE);
  ASSERT_GE(file, 0);
  EXPECT_EQ(file_size(dir_ + "big"), -1) << "the name is gone at once";
  EXPECT_EQ(V_OsWriteBig(file, data.data(), 300000, nullptr), 300000);
  V_OsSeek(file, 0, SEEK_FROM_START, nullptr);
  std::vector<uint8_t> back(data.size());
  EXPECT_EQ(V_OsReadBig(file, back.data(), 300000, nullptr), 300000);
  EXPECT_EQ(back, data);
  EXPECT_EQ(V_OsReadBig(file, back.data(), 0, nullptr), 0);
  V_OsSeek(file, -10, SEEK_FROM_END, nullptr);
  EXPECT_EQ(V_OsReadBig(file, back.data(), 300000, nullptr), 10) << "what was there";
  EXPECT_EQ(V_OsWriteBig(file, nullptr, 5, nullptr), -1);
  V_OsClose(file, nullptr);

  const int32_t read_only = V_OsCreat(path("ro").c_str(), CREAT_READ_ONLY);
  ASSERT_GE(read_only, 0);
  EXPECT_EQ(V_OsWrite(read_only, "x", 1, nullptr), -1);
  V_OsClose(read_only, nullptr);
  remove("ro");
}

TEST_F(OsFile, FullDiskIsReportedAsSuch) {
  const int32_t full = V_OsOpen(L"/dev/full", OPEN_WRITE, 0, nullptr);
  ASSERT_GE(full, 0);
  EXPECT_EQ(V_OsWrite(full, "data", 4, nullptr), -1);
  EXPECT_EQ(V_OsGetLastError(RC_FILE_WRITE), RC_DISK_FULL);
  V_OsClose(full, nullptr);
  EXPECT_EQ(V_OsWrite(12345, "data", 4, nullptr), -1);  // not a handle
  EXPECT_EQ(V_OsGetLastError(RC_FILE_WRITE), RC_FILE_WRITE);
}

TEST_F(OsFile, TempNamesAreUniqueEmptyAndUnregistered) {
  wchar_t name[VXKRN_MAX_PATH];
  EXPECT_EQ(V_OsGetTempName(nullptr), RC_INVALID_PARAMETER);
  ASSERT_EQ(V_OsGetTempName(name), RC_SUCCESS);
  const std::string made = vxkrn_test::narrow(name);
  EXPECT_EQ(made.rfind(dir_ + "VK", 0), 0u) << made;
  EXPECT_EQ(made.substr(made.size() - 4), ".tmp");
  EXPECT_EQ(file_size(made), 0);
  const int32_t file = V_OsOpen(name, OPEN_READ, 0, nullptr);
  V_OsClose(file, nullptr);
  EXPECT_EQ(file_size(made), 0) << "closing an unregistered file keeps it";
  V_OsDelete(name);

  // Many threads at once never share a name.
  std::vector<std::wstring> names[4];
  std::vector<std::thread> threads;
  for (auto &list : names)
    threads.emplace_back([this, &list] {
      use_directory();
      wchar_t made_here[VXKRN_MAX_PATH];
      for (int i = 0; i < 50; ++i)
        if (V_OsGetTempName(made_here) == RC_SUCCESS) list.push_back(made_here);
    });
  for (auto &t : threads)
    t.join();
  std::set<std::wstring> unique;
  for (auto &list : names) {
    for (auto &n : list) {
      unique.insert(n);
      V_OsDelete(n.c_str());
    }
  }
  EXPECT_EQ(unique.size(), 200u);

  // A directory the library accepts, but too long to hold a name.
  const std::string too_deep = make_too_deep_directory();
  ASSERT_EQ(V_SetTempDirectory((path(too_deep) + L"/").c_str()), RC_SUCCESS);
  EXPECT_EQ(V_OsGetTempName(name), RC_NO_MEMORY) << "the path would not fit";
  use_directory();
  remove(too_deep);
}

TEST_F(OsFile, RegistryDeletesExactlyTheRegisteredFiles) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([this, t] {
      use_directory();
      for (int i = 0; i < 25; ++i) {
        BitmapHandle bm;
        vxkrn_test::make_bitmap(bm, 64, 4, 8, MEM_DISK);
        if (i % 5 == 0) {  // an unregistered file beside the registered ones
          const std::wstring keep = path("keep" + std::to_string(t * 100 + i));
          V_OsClose(V_OsCreat(keep.c_str(), 0), nullptr);
        }
        V_FreeBitmap(&bm);
      }
    });
  for (auto &t : threads)
    t.join();
  EXPECT_EQ(vxkrn::core::registered_temp_files(), 0);
  std::vector<std::string> left = leftover_files();
  EXPECT_EQ(left.size(), 20u);
  for (const std::string &name : left) {
    EXPECT_EQ(name.rfind("keep", 0), 0u) << name;
    remove(name.c_str());
  }
}

TEST_F(OsFile, WinCloseHandleHonoursTheRegistry) {
  BitmapHandle bm;
  vxkrn_test::make_bitmap(bm, 8, 8, 8, MEM_DISK);
  EXPECT_NE(V_WinCloseHandle(vxkrn::core::disk_file(bm), 42, L"here.c"), 0);
  EXPECT_TRUE(leftover_files().empty());
  EXPECT_EQ(V_WinCloseHandle(vxkrn::core::disk_file(bm), 43, nullptr), 0) << "already closed";
  EXPECT_EQ(V_WinCloseHandle(intptr_t{-1}, 0, nullptr), 0);
  bm.Flags &= ~FLAG_DISK;  // its storage is gone
  V_FreeBitmap(&bm);
}

}  // namespace
