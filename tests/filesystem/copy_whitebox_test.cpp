// Linked with the library's objects, so the copy's write() calls land in the
// definition below, which moves at most 1000 bytes a call.
#include <sys/syscall.h>

#include <atomic>

#include "ZuPlatform/filesystem.h"
#include "scratch.h"

namespace {
std::atomic<bool> shortWrites{false};
std::atomic<int> shortened{0};
}  // namespace

extern "C" ssize_t write(int fd, const void* buffer, size_t count) {
  if (shortWrites && fd > 2 && count > 1000) {
    count = 1000;
    ++shortened;
  }
  return syscall(SYS_write, fd, buffer, count);
}

namespace {

using CopyShortWrites = Scratch;

TEST_F(CopyShortWrites, ContinueAtTheFirstByteLeftBehind) {
  std::string content(100000, '\0');
  for (size_t i = 0; i < content.size(); ++i)
    content[i] = char(i * 7 + i / 251);
  write("src", content);
  mkdirs({"to"});
  shortWrites = true;
  EXPECT_TRUE(ZuPlatform::Filesystem::copy(
      ZuPlatform::File(at("src")), ZuPlatform::Directory(at("to")), false));
  shortWrites = false;
  EXPECT_GT(shortened.load(), 90);
  EXPECT_TRUE(read("to/src") == content);
}

}  // namespace
