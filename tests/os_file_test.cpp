// The primitive file operations, temporary names and the registry that
// deletes registered files when they are closed.
#include <numeric>
#include <set>

#include "core/storage.h"
#include "core/temp_files.h"
#include "support/test_support.h"

namespace {

using vxkrn_test::file_size;

class OsFile : public vxkrn_test::TempDirTest {};

// Each flag set opened on a 5-byte file and where there is none: the size
// afterwards, -1 when nothing was opened or made.
TEST_F(OsFile, OpenFlagsFollowTheirTable) {
  const struct {
    int32_t flags;
    long long existing, missing;
  } cases[] = {{OPEN_READ, 5, -1},
               {OPEN_WRITE, 5, -1},
               {OPEN_READ_WRITE | OPEN_CREATE, 0, 0},
               {OPEN_READ | OPEN_CREATE, 0, 0},
               {OPEN_WRITE | OPEN_CREATE, 0, 0},
               {OPEN_READ_WRITE | OPEN_TRUNCATE, 0, -1},
               {OPEN_TRUNCATE | 3, 0, -1}};
  for (const auto &c : cases)
    for (bool existing : {true, false}) {
      if (existing) make_file("f", "hello");
      const int32_t file = V_OsOpen(path("f").c_str(), c.flags, SHARE_READ | SHARE_WRITE, nullptr);
      const long long want = existing ? c.existing : c.missing;
      EXPECT_EQ(file >= 0 ? V_OsClose(file, nullptr) : -1, want >= 0 ? 0 : -1) << c.flags;
      EXPECT_EQ(file_size(dir_ + "f"), want) << c.flags << (existing ? " existing" : " missing");
      remove("f");
    }
  const wchar_t invalid[] = {L'/', static_cast<wchar_t>(0xDC00), 0};
  EXPECT_EQ(V_OsOpen(invalid, OPEN_READ_WRITE | OPEN_CREATE, 0, nullptr), FILE_NO_HANDLE);
}

TEST_F(OsFile, ReadWriteSeekCutAndFail) {
  const int32_t file = V_OsCreat(path("rw").c_str(), 0);
  char buffer[8] = {};
  EXPECT_EQ(V_OsWrite(file, "0123456789", 10, nullptr), 10);
  EXPECT_EQ(V_OsSeek(file, -4, SEEK_FROM_CURRENT, nullptr), 6u);
  EXPECT_EQ(V_OsRead(file, buffer, 8, nullptr), 4);
  EXPECT_EQ(std::string(buffer, 4), "6789");
  EXPECT_EQ(V_OsRead(file, buffer, 8, nullptr), 0) << "end of file";
  EXPECT_EQ(V_OsSeek(file, -3, 7, nullptr), 7u) << "unknown origins count from the end";
  EXPECT_EQ(V_OsWrite(file, nullptr, 0, nullptr), 0) << "a count of 0 cuts here";
  EXPECT_EQ(file_size(dir_ + "rw"), 7);
  EXPECT_EQ(V_OsSetFileSize(file, 3), 0);
  EXPECT_EQ(file_size(dir_ + "rw"), 3);
  EXPECT_EQ(V_OsSeek(file, 0, SEEK_FROM_CURRENT, nullptr), 3u) << "left at the new size";
  // Offsets past 4 GiB on every target (the file stays sparse).
  EXPECT_EQ(V_OsSeekBig(file, 16, 1, SEEK_FROM_START), (uint64_t{1} << 32) + 16);
  EXPECT_EQ(V_OsSeek(file, 0, SEEK_FROM_CURRENT, nullptr), 16u) << "low 32 bits";
  EXPECT_EQ(V_OsClose(file, nullptr), 0);
  EXPECT_EQ(V_OsSeek(file, 0, SEEK_FROM_END, nullptr), 0u) << "a failed seek looks like the start";
  EXPECT_EQ(V_OsClose(file, nullptr), -1);
  EXPECT_EQ(V_OsDelete(path("rw").c_str()), 0);

  const int32_t full = V_OsOpen(L"/dev/full", OPEN_WRITE, 0, nullptr);
  EXPECT_EQ(V_OsWrite(full, "data", 4, nullptr), -1);
  EXPECT_EQ(V_OsGetLastError(RC_FILE_WRITE), RC_DISK_FULL);
  V_OsClose(full, nullptr);
  EXPECT_EQ(V_OsWrite(12345, "data", 4, nullptr), -1);  // not a handle
  EXPECT_EQ(V_OsGetLastError(RC_FILE_WRITE), RC_FILE_WRITE);
}

TEST_F(OsFile, BigTransfersAndCreateAttributes) {
  std::vector<uint8_t> data(300000), back(data.size());
  std::iota(data.begin(), data.end(), uint8_t{0});
  const int32_t file = V_OsCreat(path("big").c_str(), CREAT_DELETE_ON_CLOSE);
  EXPECT_EQ(file_size(dir_ + "big"), -1) << "the name is gone at once";
  EXPECT_EQ(V_OsWriteBig(file, data.data(), 300000, nullptr), 300000);
  V_OsSeek(file, 0, SEEK_FROM_START, nullptr);
  EXPECT_EQ(V_OsReadBig(file, back.data(), 300000, nullptr), 300000);
  EXPECT_EQ(back, data);
  V_OsSeek(file, -10, SEEK_FROM_END, nullptr);
  EXPECT_EQ(V_OsReadBig(file, back.data(), 300000, nullptr), 10) << "what was there";
  V_OsClose(file, nullptr);
  const int32_t read_only = V_OsCreat(path("ro").c_str(), CREAT_READ_ONLY);
  EXPECT_EQ(V_OsWrite(read_only, "x", 1, nullptr), -1);
  EXPECT_EQ(V_OsClose(read_only, nullptr), 0);
  remove("ro");
}

// Threads make disk bitmaps (registered temporary files) and plain
// temporary names side by side: freeing deletes exactly the registered
// files, and the names are unique, empty and kept when closed.
TEST_F(OsFile, RegistryDeletesExactlyTheRegisteredFiles) {
  std::vector<std::string> names[4];
  std::vector<std::thread> threads;
  for (auto &list : names)
    threads.emplace_back([this, &list] {
      use_directory();
      for (int i = 0; i < 50; ++i) {
        BitmapHandle bm;
        vxkrn_test::make_bitmap(bm, 64, 4, 8, MEM_DISK);
        wchar_t name[VXKRN_MAX_PATH] = {};
        EXPECT_EQ(V_OsGetTempName(name), RC_SUCCESS);
        list.push_back(vxkrn_test::narrow(name).substr(dir_.size()));
        V_OsClose(V_OsOpen(name, OPEN_READ, 0, nullptr), nullptr);
        // The handle close honours the registry too.
        EXPECT_EQ(i % 2 ? V_WinCloseHandle(vxkrn::core::disk_file(bm), 42, L"here.c") : 1, 1);
        if (i % 2) bm.Flags &= ~FLAG_DISK;  // its storage is gone
        V_FreeBitmap(&bm);
      }
    });
  for (auto &t : threads)
    t.join();
  EXPECT_EQ(vxkrn::core::registered_temp_files(), 0);
  std::set<std::string> made;
  for (auto &list : names)
    for (auto &name : list) {
      EXPECT_TRUE(name.starts_with("VK") && name.ends_with(".tmp")) << name;
      EXPECT_EQ(file_size(dir_ + name), 0) << name;
      made.insert(name);
    }
  EXPECT_EQ(made.size(), 200u);
  const std::vector<std::string> left = leftover_files();
  EXPECT_EQ(std::set<std::string>(left.begin(), left.end()), made);
  for (const std::string &name : left)
    remove(name);
  EXPECT_EQ(V_WinCloseHandle(intptr_t{-1}, 0, nullptr), 0);

  const std::string too_deep = make_too_deep_directory();  // accepted, but no room for a name
  ASSERT_EQ(V_SetTempDirectory((path(too_deep) + L"/").c_str()), RC_SUCCESS);
  wchar_t name[VXKRN_MAX_PATH];
  EXPECT_EQ(V_OsGetTempName(name), RC_NO_MEMORY) << "the path would not fit";
  use_directory();
  remove(too_deep);
}

}  // namespace
