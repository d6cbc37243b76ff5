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
  int32_t copy(const char *from, const char *to, int32_t fail_if_exists = 0) {
    errno = 0;
    return V_CopyFile(path(from).c_str(), path(to).c_str(), fail_if_exists);
  }
};

// In order on one directory: what each copy returns, its errno (0: not
// looked at) and what the destination holds after it (null: no file). A
// copy that cannot be made keeps what the destination held and leaves no
// destination it created; a file is never copied onto itself.
TEST_F(CopyFile, RefusesItselfAndLeavesNothingOnFailure) {
  std::string text;
  for (int i = 0; i < 700; ++i)
    text += "line " + std::to_string(i) + "\n";  // several chunks
  make_file("src", text);
  make_file("empty", "");
  ASSERT_EQ(::mkdir((dir_ + "dir").c_str(), 0700), 0);
  const struct {
    const char *from, *to;
    int32_t fail_if_exists, result, error;
    const char *after;
  } cases[] = {{"src", "dst", 1, 1, 0, text.c_str()},
               {"src", "dst", 1, 0, EEXIST, text.c_str()},
               {"empty", "dst", 0, 1, 0, ""},
               {"missing", "other", 0, 0, 0, nullptr},
               {"src", "src", 0, 0, EINVAL, text.c_str()},
               {"dir", "other", 0, 0, 0, nullptr}};
  for (const auto &c : cases) {
    SCOPED_TRACE(::testing::Message() << c.from << " to " << c.to);
    EXPECT_EQ(copy(c.from, c.to, c.fail_if_exists), c.result);
    EXPECT_EQ(c.error ? errno : 0, c.error);
    std::ifstream in(dir_ + c.to, std::ios::binary);
    EXPECT_EQ(in ? std::string(std::istreambuf_iterator<char>(in), {}) : "none",
              c.after ? c.after : "none");
  }
  for (const char *name : {"src", "dst", "empty", "dir"})
    remove(name);
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
