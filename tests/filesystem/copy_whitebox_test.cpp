// Linked with the library's objects, so the copy's write() calls land in the
// definition below, which moves at most 1000 bytes a call.
#include <sys/syscall.h>

#include <atomic>

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
  write("src", randomBytes(100000));
  mkdirs({"to"});
  shortWrites = true;
  EXPECT_TRUE(Fs::copy(File(at("src")), Directory(at("to")), false));
  shortWrites = false;
  EXPECT_GT(shortened.load(), 90);
  EXPECT_TRUE(read("to/src") == randomBytes(100000));
}

}  // namespace
