// The primitive file operations, the temporary directory and names, and the
// registry that deletes registered files when they are closed.
#include <sys/stat.h>

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
  constexpr int32_t R = OPEN_READ, W = OPEN_WRITE, RW = OPEN_READ_WRITE, C = OPEN_CREATE,
                    T = OPEN_TRUNCATE;
  const int32_t cases[][3] = {{R, 5, -1},    {W, 5, -1},      {RW | C, 0, 0}, {R | C, 0, 0},
                              {W | C, 0, 0}, {RW | T, 0, -1}, {T | 3, 0, -1}};
  for (const auto &[flags, existing, missing] : cases)
    for (bool there : {true, false}) {
      if (there) make_file("f", "hello");
      const int32_t file = V_OsOpen(path("f").c_str(), flags, SHARE_READ | SHARE_WRITE, nullptr);
      const long long want = there ? existing : missing;
      EXPECT_EQ(file >= 0 ? V_OsClose(file, nullptr) : -1, want >= 0 ? 0 : -1) << flags;
      EXPECT_EQ(file_size(dir_ + "f"), want) << flags << (there ? " existing" : " missing");
      remove("f");
    }
}

// Chunked reads stop at the end of the file instead of waiting there; seeks
// from every origin and past 4 GiB; cuts; the errors failures leave.
TEST_F(OsFile, TransfersSeeksCutsAndFailures) {
  std::vector<uint8_t> data(300000), back(data.size());
  std::iota(data.begin(), data.end(), uint8_t{0});
  const int32_t file = V_OsCreat(path("rw").c_str(), 0);
  EXPECT_EQ(V_OsWriteBig(file, data.data(), 300000, nullptr), 300000);
  V_OsSeek(file, 0, SEEK_FROM_START, nullptr);
  EXPECT_EQ(V_OsReadBig(file, back.data(), 300000, nullptr), 300000);
  EXPECT_EQ(back, data);
  EXPECT_EQ(V_OsSeek(file, -10, SEEK_FROM_END, nullptr), 299990u);
  EXPECT_EQ(V_OsReadBig(file, back.data(), 300000, nullptr), 10) << "what was there";
  EXPECT_EQ(V_OsRead(file, back.data(), 8, nullptr), 0) << "end of file";
  EXPECT_EQ(V_OsSeek(file, -3, 7, nullptr), 299997u) << "unknown origins count from the end";
  EXPECT_EQ(V_OsWrite(file, nullptr, 0, nullptr), 0) << "a count of 0 cuts here";
  EXPECT_EQ(file_size(dir_ + "rw"), 299997);
  EXPECT_EQ(V_OsSetFileSize(file, 3), 0);
  EXPECT_EQ(file_size(dir_ + "rw"), 3);
  EXPECT_EQ(V_OsSeek(file, 0, SEEK_FROM_CURRENT, nullptr), 3u) << "left at the new size";
  EXPECT_EQ(V_OsSeekBig(file, 16, 1, SEEK_FROM_START), (uint64_t{1} << 32) + 16);
  EXPECT_EQ(V_OsSeek(file, 0, SEEK_FROM_CURRENT, nullptr), 16u) << "low 32 bits";
  EXPECT_EQ(V_OsClose(file, nullptr), 0);
  EXPECT_EQ(V_OsSeek(file, 0, SEEK_FROM_END, nullptr), 0u) << "a failed seek looks like the start";
  EXPECT_EQ(V_OsClose(file, nullptr), -1);
  EXPECT_EQ(V_OsDelete(path("rw").c_str()), 0);

  const int32_t gone = V_OsCreat(path("gone").c_str(), CREAT_DELETE_ON_CLOSE),
                read_only = V_OsCreat(path("ro").c_str(), CREAT_READ_ONLY),
                full = V_OsOpen(L"/dev/full", OPEN_WRITE, 0, nullptr);
  EXPECT_EQ(file_size(dir_ + "gone"), -1) << "the name is gone at once";
  EXPECT_EQ(V_OsWrite(gone, "data", 4, nullptr), 4);
  EXPECT_EQ(V_OsWrite(read_only, "x", 1, nullptr), -1);
  EXPECT_EQ(V_OsWrite(full, "data", 4, nullptr), -1);
  EXPECT_EQ(V_OsGetLastError(RC_FILE_WRITE), RC_DISK_FULL);
  EXPECT_EQ(V_OsWrite(12345, "data", 4, nullptr), -1);  // not a handle
  EXPECT_EQ(V_OsGetLastError(RC_FILE_WRITE), RC_FILE_WRITE);
  for (int32_t each : {gone, read_only, full})
    EXPECT_EQ(V_OsClose(each, nullptr), 0);
  remove("ro");
}

// Each thread starts in the system's directory; only an existing directory
// whose name fits replaces it, in any encoding. One too deep to hold a
// temporary name is taken, but no name can be made in it.
TEST_F(OsFile, TemporaryDirectoryIsAnExistingDirectoryWithRoomForNames) {
  const std::string deep = make_too_deep_directory(), unicode = "\xC3\xA9\xF0\x9F\x99\x82";
  ASSERT_EQ(::mkdir((dir_ + unicode).c_str(), 0700), 0);
  make_file("file", "");
  vxkrn_test::on_new_thread([&] {
    wchar_t got[VXKRN_TEMP_PATH_CHARS], name[VXKRN_MAX_PATH];
    const auto current = [&] { return V_GetTempDirectory(got) == RC_SUCCESS ? got : L"?"; };
    const std::wstring system = current(), file = path("file"),
                       too_long(VXKRN_TEMP_PATH_CHARS, '/');
    EXPECT_TRUE(system.back() == L'/' && file_size(vxkrn_test::narrow(system)) >= 0);
    const wchar_t invalid[] = {L'/', L't', static_cast<wchar_t>(0xD800), 0}, *none = nullptr;
    for (const wchar_t *bad :
         {L"/no/such/directory", file.c_str(), L"", too_long.c_str(), invalid, none})
      EXPECT_EQ(V_SetTempDirectory(bad), RC_INVALID_PARAMETER);
    EXPECT_EQ(current(), system);
    EXPECT_EQ(V_SetTempDirectory((wdir_ + L"\u00E9\U0001F642").c_str()), RC_SUCCESS);
    EXPECT_EQ(current(), wdir_ + L"\u00E9\U0001F642");
    ASSERT_EQ(V_SetTempDirectory((path(deep) + L"/").c_str()), RC_SUCCESS);
    EXPECT_EQ(V_OsGetTempName(name), RC_NO_MEMORY) << "the path would not fit";
  });
  for (const std::string &name : {deep, unicode, std::string("file")})
    remove(name);
}

// Threads make disk bitmaps (registered temporary files) and plain
// temporary names side by side: freeing or closing deletes exactly the
// registered files; the names are unique and kept when closed.
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
    made.insert(list.begin(), list.end());
  const std::vector<std::string> left = leftover_files();
  EXPECT_EQ(made.size(), 200u);
  EXPECT_EQ(std::set<std::string>(left.begin(), left.end()), made);
  for (const std::string &name : left)
    remove(name);
  EXPECT_EQ(V_WinCloseHandle(intptr_t{-1}, 0, nullptr), 0);
}

}  // namespace
