// The copy loop against a write() that moves at most a few bytes per call.
// This program is linked with the library's objects, so the copy's calls to
// write() land in the definition below.
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <random>
#include <string>

#include "ZuPlatform/filesystem.h"
#include "scratch.h"

namespace {

std::atomic<bool> shortWrites{false};
std::atomic<int> writeCalls{0};
constexpr size_t MOST_PER_WRITE = 1000;

}  // namespace

extern "C" ssize_t write(int fd, const void* buffer, size_t count) {
  if (shortWrites && fd > 2 && count > MOST_PER_WRITE) {
    count = MOST_PER_WRITE;
    ++writeCalls;
  }
  return syscall(SYS_write, fd, buffer, count);
}

namespace {

using CopyShortWrites = Scratch;

TEST_F(CopyShortWrites, ContinueAtTheFirstByteLeftBehind) {
  std::mt19937 random(11);
  std::string content(100000, '\0');
  for (char& byte : content) byte = static_cast<char>(random());
  writeFile("src", content);
  makeDirectory("to");

  shortWrites = true;
  const bool done = ZuPlatform::Filesystem::copy(
      ZuPlatform::File(at("src")), ZuPlatform::Directory(at("to")), false);
  shortWrites = false;
  ASSERT_TRUE(done);
  // Each 32768-byte block took many writes, all of them shortened.
  EXPECT_GT(writeCalls.load(), 90);
  EXPECT_TRUE(readFile("to/src") == content);
}

}  // namespace
