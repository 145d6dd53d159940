#include "scratch.h"

namespace {

using Copy = Scratch;

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
  mkdirs({"old", "new"});
  write("src", "new");
  chmod(at("src").c_str(), 0777);
  write("old/src", "longer old content");
  chmod(at("old/src").c_str(), 0600);
  const mode_t saved = umask(022);
  EXPECT_FALSE(Fs::copy(File(at("src")), Directory(at("old")), false));
  EXPECT_EQ(read("old/src"), "longer old content");
  EXPECT_TRUE(Fs::copy(File(at("src")), Directory(at("old")), true));
  EXPECT_TRUE(Fs::copy(File(at("src")), Directory(at("new")), true));
  umask(saved);
  // Overwritten: cut to the source, own mode kept. New: the source's mode,
  // less the umask.
  EXPECT_EQ(read("old/src") + read("new/src"), "newnew");
  EXPECT_EQ(mode("old/src"), S_IFREG | 0600u);
  EXPECT_EQ(mode("new/src"), S_IFREG | 0755u);
  // The target directory is never made for a single file.
  EXPECT_FALSE(Fs::copy(File(at("src")), Directory(at("nowhere")), true));
}

TEST_F(Copy, NeverReadsItsOwnOutput) {
  mkdirs({"s", "s/a", "s/hard", "s/soft"});
  write("s/f", randomBytes(100000));
  link(at("s/f").c_str(), at("s/hard/f").c_str());
  symlink(at("s/f").c_str(), at("s/soft/f").c_str());
  // The same path, a hard link and a symbolic link all reach the source,
  // which a truncating open would empty before the first read.
  for (const char* into : {"s", "s/hard", "s/soft"}) {
    EXPECT_FALSE(Fs::copy(File(at("s/f")), Directory(at(into)), true)) << into;
  }
  EXPECT_TRUE(read("s/f") == randomBytes(100000));
  // Into its own subtree, twice: the second run finds the first one's output
  // in the listing and must pass it over.
  for (int run = 0; run < 2; ++run) {
    EXPECT_TRUE(Fs::copy(Directory(at("s")), Directory(at("s/a/out")), true));
    EXPECT_TRUE(read("s/a/out/hard/f") == randomBytes(100000));
    EXPECT_EQ(mode("s/a/out/a/out"), 0u);
  }
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

}  // namespace
