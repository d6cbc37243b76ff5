// File copy: a real source, a destination on disk or redirected into
// memory, and the errors and files it leaves behind.
#include <sys/stat.h>

#include <cerrno>
#include <fstream>
#include <iterator>

#include "support/test_support.h"

namespace {

class CopyFile : public vxkrn_test::TempDirTest {
 protected:
  std::string read_file(const char *name) const {
    std::ifstream in(dir_ + name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }
  int32_t copy(const char *from, const char *to, int32_t fail_if_exists = 0) {
    errno = 0;
    return V_CopyFile(path(from).c_str(), path(to).c_str(), fail_if_exists);
  }
};

TEST_F(CopyFile, CopiesAndRespectsAnExistingDestination) {
  std::string text;
  for (int i = 0; i < 700; ++i)
    text += "line " + std::to_string(i) + "\n";  // several chunks
  make_file("src", text);
  EXPECT_EQ(copy("src", "dst", 1), 1);
  EXPECT_EQ(read_file("dst"), text);
  EXPECT_EQ(copy("src", "dst", 1), 0);
  EXPECT_EQ(errno, EEXIST);
  make_file("empty", "");
  EXPECT_EQ(copy("empty", "dst"), 1) << "replaces";
  EXPECT_EQ(read_file("dst"), "");
  EXPECT_EQ(copy("missing", "other"), 0);
  EXPECT_EQ(vxkrn_test::file_size(dir_ + "other"), -1) << "nothing made for a missing source";
  for (const char *name : {"src", "dst", "empty"})
    remove(name);
}

// A copy that cannot be made keeps what the destination held and leaves
// no destination it created.
TEST_F(CopyFile, RefusesItselfAndLeavesNothingOnFailure) {
  make_file("src", "keep me");
  EXPECT_EQ(copy("src", "src"), 0);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(read_file("src"), "keep me");
  ASSERT_EQ(::mkdir((dir_ + "dir").c_str(), 0700), 0);
  EXPECT_EQ(copy("dir", "dst"), 0);
  EXPECT_EQ(vxkrn_test::file_size(dir_ + "dst"), -1);
  remove("dir");
  remove("src");
}

// Only the destination is redirected: the source is still read from the
// disk. Creating a file in memory empties the block, as creating it on disk
// does, and a block that refuses writes is a write fault.
TEST_F(CopyFile, IntoAFullBlockReplacesItsData) {
  make_file("src", "0123456789");
  std::vector<char> block(100, '#');
  char read_only[] = "from memory";
  void *context = nullptr;
  uint32_t size = 0;
  ASSERT_EQ(
      V_StartRedirectToBuffer(&context, nullptr, MEMFILE_FULL | MEMFILE_WRITE, block.data(), 100),
      RC_SUCCESS);
  EXPECT_EQ(copy("src", "dst"), 1);
  V_StopRedirectToBuffer(context, nullptr, &size);
  EXPECT_EQ(std::string(block.data(), size), "0123456789");
  EXPECT_EQ(vxkrn_test::file_size(dir_ + "dst"), -1);

  ASSERT_EQ(V_StartRedirectToBuffer(&context, nullptr, MEMFILE_FULL, read_only, 11), RC_SUCCESS);
  EXPECT_EQ(copy("src", "dst"), 0);
  EXPECT_EQ(errno, EIO);
  V_StopRedirectToBuffer(context, nullptr, nullptr);
  remove("src");
}

}  // namespace
