// File copy: a real source, a redirected destination, and the errors it
// leaves behind.
#include <sys/stat.h>

#include <cerrno>
#include <string>
#include <vector>

#include "support/test_support.h"

namespace {

class CopyFile : public vxkrn_test::TempDirTest {
 protected:
  std::string read_file(const char *name) const {
    std::string text(static_cast<size_t>(vxkrn_test::file_size(dir_ + name)), '\0');
    const int32_t file = V_OsOpen(path(name).c_str(), OPEN_READ, 0, nullptr);
    V_OsReadBig(file, text.data(), static_cast<uint32_t>(text.size()), nullptr);
    V_OsClose(file, nullptr);
    return text;
  }
};

TEST_F(CopyFile, CopiesAndRespectsAnExistingDestination) {
  std::string text;
  for (int i = 0; i < 700; ++i)
    text += "line " + std::to_string(i) + "\n";  // several chunks
  make_file("src", text);
  EXPECT_EQ(V_CopyFile(path("src").c_str(), path("dst").c_str(), 1), 1);
  EXPECT_EQ(read_file("dst"), text);
  errno = 0;
  EXPECT_EQ(V_CopyFile(path("src").c_str(), path("dst").c_str(), 1), 0);
  EXPECT_EQ(errno, EEXIST);
  make_file("empty", "");
  EXPECT_EQ(V_CopyFile(path("empty").c_str(), path("dst").c_str(), 0), 1) << "replaces";
  EXPECT_EQ(vxkrn_test::file_size(dir_ + "dst"), 0);
  EXPECT_EQ(V_CopyFile(path("missing").c_str(), path("other").c_str(), 0), 0);
  EXPECT_EQ(vxkrn_test::file_size(dir_ + "other"), -1) << "nothing made for a missing source";
  for (const char *name : {"src", "dst", "empty"})
    V_OsDelete(path(name).c_str());
}

// A copy that cannot be made keeps what the destination held and leaves
// no destination it created.
TEST_F(CopyFile, RefusesItselfAndLeavesNothingOnFailure) {
  make_file("src", "keep me");
  errno = 0;
  EXPECT_EQ(V_CopyFile(path("src").c_str(), path("src").c_str(), 0), 0);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(read_file("src"), "keep me");
  ASSERT_EQ(::mkdir((dir_ + "dir").c_str(), 0700), 0);
  EXPECT_EQ(V_CopyFile(path("dir").c_str(), path("dst").c_str(), 0), 0);
  EXPECT_EQ(vxkrn_test::file_size(dir_ + "dst"), -1);
  remove("dir");
  V_OsDelete(path("src").c_str());
}

// Creating a file in memory empties the block, as creating it on disk does.
TEST_F(CopyFile, IntoAFullBlockReplacesItsData) {
  make_file("src", "0123456789");
  std::vector<char> block(100, '#');
  void *context;
  ASSERT_EQ(
      V_StartRedirectToBuffer(&context, nullptr, MEMFILE_FULL | MEMFILE_WRITE, block.data(), 100),
      RC_SUCCESS);
  EXPECT_EQ(V_CopyFile(path("src").c_str(), path("dst").c_str(), 0), 1);
  uint32_t size = 0;
  V_StopRedirectToBuffer(context, nullptr, &size);
  EXPECT_EQ(size, 10u);
  EXPECT_EQ(std::string(block.data(), 10), "0123456789");
  V_OsDelete(path("src").c_str());
}

TEST_F(CopyFile, OnlyTheDestinationIsRedirected) {
  make_file("src", "from the disk");
  // Reads and writes both go to an empty block: the copy still reads the
  // disk file, and only its writes land in the block.
  void *context;
  ASSERT_EQ(V_StartRedirectToBuffer(&context, nullptr, MEMFILE_GROW | MEMFILE_WRITE, nullptr, 0),
            RC_SUCCESS);
  EXPECT_EQ(V_CopyFile(path("src").c_str(), path("dst").c_str(), 0), 1);
  void *block;
  uint32_t size;
  V_StopRedirectToBuffer(context, &block, &size);
  EXPECT_EQ(std::string(static_cast<char *>(block), size), "from the disk");
  V_GlobalFree(block);
  EXPECT_EQ(vxkrn_test::file_size(dir_ + "dst"), -1);

  // A destination that refuses writes is a write fault.
  char other[] = "from memory";
  ASSERT_EQ(V_StartRedirectToBuffer(&context, nullptr, MEMFILE_FULL, other, 11), RC_SUCCESS);
  errno = 0;
  EXPECT_EQ(V_CopyFile(path("src").c_str(), path("dst").c_str(), 0), 0) << "block is read-only";
  EXPECT_EQ(errno, EIO);
  V_StopRedirectToBuffer(context, nullptr, nullptr);
  V_OsDelete(path("src").c_str());
}

}  // namespace
