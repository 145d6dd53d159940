#include <random>

#include "ZuPlatform/filesystem.h"
#include "scratch.h"

namespace {

namespace Fs = ZuPlatform::Filesystem;
using ZuPlatform::Directory;
using ZuPlatform::File;
using Copy = Scratch;

std::string randomBytes(size_t size) {
  std::mt19937 random(static_cast<unsigned>(size));
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

TEST_F(Copy, SizesAroundTheBlockArriveWhole) {
  mkdirs({"to"});
  for (size_t size : {0, 32768, 32769, 1 << 20}) {
    const std::string name = std::to_string(size);
    write(name, randomBytes(size));
    EXPECT_TRUE(Fs::copy(File(at(name)), Directory(at("to")), false)) << size;
    EXPECT_TRUE(read("to/" + name) == randomBytes(size)) << size;
  }
}

TEST_F(Copy, OverwriteAndModeRules) {
  mkdirs({"to", "dir"});
  write("src", "new");
  chmod(at("src").c_str(), 0777);
  write("to/src", "longer old content");
  chmod(at("to/src").c_str(), 0600);
  const mode_t saved = umask(022);
  EXPECT_FALSE(Fs::copy(File(at("src")), Directory(at("to")), false));
  EXPECT_EQ(read("to/src"), "longer old content");
  EXPECT_TRUE(Fs::copy(File(at("src")), Directory(at("to")), true));
  EXPECT_EQ(read("to/src"), "new");  // cut to the source, own mode kept
  EXPECT_EQ(mode("to/src") & 07777, 0600u);
  EXPECT_TRUE(Fs::copy(File(at("src")), Directory(at("dir")), true));
  EXPECT_EQ(mode("dir/src") & 07777, 0755u);  // the source's, less the umask
  umask(saved);
  EXPECT_FALSE(Fs::copy(File(at("gone")), Directory(at("to")), true));
  EXPECT_FALSE(Fs::copy(File(at("src")), Directory(at("nowhere")), true));
  // A File naming a directory opens, and its first read fails.
  EXPECT_FALSE(Fs::copy(File(at("dir")), Directory(at("to")), true));
  EXPECT_TRUE(S_ISREG(mode("to/dir")));
}

TEST_F(Copy, NeverOntoItself) {
  mkdirs({"hard", "soft", "d", "d/sub"});
  write("self", randomBytes(100000));
  write("d/sub/f", "precious");
  link(at("self").c_str(), at("hard/self").c_str());
  symlink(at("self").c_str(), at("soft/self").c_str());
  // The same path, a hard link and a symbolic link all reach the source,
  // which a truncating open would empty before the first read.
  for (const char* into : {"", "hard", "soft"}) {
    for (bool overwrite : {true, false}) {
      EXPECT_FALSE(Fs::copy(File(at("self")), Directory(at(into)), overwrite))
          << into << overwrite;
    }
  }
  EXPECT_FALSE(Fs::copy(Directory(at("d")), Directory(at("d")), true));
  EXPECT_TRUE(read("self") == randomBytes(100000));
  EXPECT_EQ(read("d/sub/f"), "precious");
}

TEST_F(Copy, TreeIntoMissingTargetAndMerge) {
  mkdirs({"s", "s/a", "s/a/b", "s/e", "t", "t/a"});
  write("s/top", "1");
  write("s/a/f", "2");
  write("s/a/b/low", "3");
  mkfifo(at("s/pipe").c_str(), 0666);  // in neither listing: passed over
  symlink("/no/such", at("s/dangling").c_str());
  EXPECT_TRUE(Fs::copy(Directory(at("s")), Directory(at("x/y")), false));
  EXPECT_EQ(read("x/y/top") + read("x/y/a/f") + read("x/y/a/b/low"), "123");
  EXPECT_TRUE(S_ISDIR(mode("x/y/e")));
  EXPECT_EQ(mode("x/y/pipe") | mode("x/y/dangling"), 0u);

  write("t/a/f", "old");
  write("t/a/theirs", "stays");
  // The walk stops at the first file there already; "top" is not started.
  EXPECT_FALSE(Fs::copy(Directory(at("s")), Directory(at("t")), false));
  EXPECT_EQ(read("t/a/f") + read("t/top"), "old");
  EXPECT_TRUE(Fs::copy(Directory(at("s")), Directory(at("t")), true));
  EXPECT_EQ(read("t/a/f") + read("t/a/theirs") + read("t/top"), "2stays1");
}

TEST_F(Copy, IntoItsOwnSubtreeEnds) {
  mkdirs({"s", "s/a"});
  write("s/f", "top");
  write("s/a/g", "deep");
  // Twice: the second run finds the first one's output in the listing.
  for (int run = 0; run < 2; ++run) {
    EXPECT_TRUE(Fs::copy(Directory(at("s")), Directory(at("s/a/out")), true));
    EXPECT_EQ(read("s/a/out/f") + read("s/a/out/a/g"), "topdeep");
    EXPECT_EQ(mode("s/a/out/a/out"), 0u);
  }
}

}  // namespace
