#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <random>
#include <string>

#include "ZuPlatform/filesystem.h"
#include "scratch.h"

namespace {

namespace Fs = ZuPlatform::Filesystem;
using ZuPlatform::Directory;
using ZuPlatform::File;

class UmaskScope {
 public:
  explicit UmaskScope(mode_t mask) : saved(umask(mask)) {}
  ~UmaskScope() { umask(saved); }

 private:
  mode_t saved;
};

std::string randomBytes(size_t size, unsigned seed) {
  std::mt19937 random(seed);
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

using CopyFile = Scratch;

TEST_F(CopyFile, SizesAroundTheBlockArriveWhole) {
  makeDirectory("to");
  const size_t sizes[] = {0, 1, 32767, 32768, 32769, 65536, 1 << 20};
  for (size_t size : sizes) {
    const std::string name = "f" + std::to_string(size);
    const std::string content = randomBytes(size, static_cast<unsigned>(size));
    writeFile(name, content);
    ASSERT_TRUE(Fs::copy(File(at(name)), Directory(at("to")), false)) << size;
    EXPECT_TRUE(readFile("to/" + name) == content) << "size " << size;
  }
}

TEST_F(CopyFile, OverwriteRules) {
  UmaskScope mask(022);
  makeDirectory("to");
  writeFile("src", "new");
  ASSERT_EQ(chmod(at("src").c_str(), 0777), 0);
  writeFile("to/src", "much longer old content");
  ASSERT_EQ(chmod(at("to/src").c_str(), 0600), 0);

  // Without overwrite an existing target stays as it is.
  EXPECT_FALSE(Fs::copy(File(at("src")), Directory(at("to")), false));
  EXPECT_EQ(readFile("to/src"), "much longer old content");
  // With it, the target is cut to the source and keeps its own mode.
  EXPECT_TRUE(Fs::copy(File(at("src")), Directory(at("to")), true));
  EXPECT_EQ(readFile("to/src"), "new");
  EXPECT_EQ(permissions("to/src"), 0600u);
  // A new target takes the source's mode, narrowed by the umask.
  ASSERT_EQ(unlink(at("to/src").c_str()), 0);
  EXPECT_TRUE(Fs::copy(File(at("src")), Directory(at("to")), true));
  EXPECT_EQ(permissions("to/src"), 0755u);
  writeFile("narrow", "n");
  ASSERT_EQ(chmod(at("narrow").c_str(), 0640), 0);
  EXPECT_TRUE(Fs::copy(File(at("narrow")), Directory(at("to")), false));
  EXPECT_EQ(permissions("to/narrow"), 0640u);
}

TEST_F(CopyFile, NeverCopiesAFileOntoItself) {
  const std::string content = randomBytes(100000, 7);
  writeFile("self", content);
  makeDirectory("other");
  ASSERT_EQ(link(at("self").c_str(), at("other/self").c_str()), 0);
  makeDirectory("linked");
  ASSERT_EQ(symlink(at("self").c_str(), at("linked/self").c_str()), 0);
  // The same path, a hard link and a symbolic link all lead to the source:
  // truncating any of them would empty it before the first read.
  for (const char* into : {"", "other", "linked"}) {
    for (bool overwrite : {true, false}) {
      EXPECT_FALSE(Fs::copy(File(at("self")), Directory(at(into)), overwrite))
          << '"' << into << "\" overwrite " << overwrite;
      ASSERT_TRUE(readFile("self") == content)
          << '"' << into << "\" overwrite " << overwrite;
    }
  }
}

TEST_F(CopyFile, FailuresBeforeAndDuringTheTransfer) {
  writeFile("f", "x");
  makeDirectory("dir");
  makeDirectory("to");
  EXPECT_FALSE(Fs::copy(File(at("missing")), Directory(at("to")), true));
  EXPECT_FALSE(Fs::copy(File(at("f")), Directory(at("nowhere")), true));
  EXPECT_FALSE(present("nowhere"));
  // A File that names a directory opens, and its first read fails.
  EXPECT_FALSE(Fs::copy(File(at("dir")), Directory(at("to")), true));
  EXPECT_TRUE(present("to/dir"));
  EXPECT_EQ(readFile("to/dir"), "");
}

using CopyTree = Scratch;

TEST_F(CopyTree, CopiesIntoAMissingTargetWithItsParents) {
  makeDirectory("src");
  makeDirectory("src/a");
  makeDirectory("src/a/b");
  makeDirectory("src/empty");
  writeFile("src/top", "1");
  writeFile("src/a/mid", "2");
  writeFile("src/a/b/low", randomBytes(40000, 3));
  ASSERT_TRUE(Fs::copy(Directory(at("src")), Directory(at("x/y/dst")), false));
  EXPECT_EQ(readFile("x/y/dst/top"), "1");
  EXPECT_EQ(readFile("x/y/dst/a/mid"), "2");
  EXPECT_TRUE(readFile("x/y/dst/a/b/low") == randomBytes(40000, 3));
  EXPECT_TRUE(present("x/y/dst/empty"));
  // A missing source lists nothing: the target is made all the same.
  EXPECT_TRUE(Fs::copy(Directory(at("nothing")), Directory(at("made")), true));
  EXPECT_TRUE(present("made"));
}

TEST_F(CopyTree, MergesWithAnExistingTree) {
  makeDirectory("src");
  makeDirectory("src/a");
  writeFile("src/a/f", "source");
  writeFile("src/g", "source g");
  makeDirectory("dst");
  makeDirectory("dst/a");
  writeFile("dst/a/f", "old");
  writeFile("dst/a/theirs", "stays");

  // Without overwrite the walk stops at the first file already there, and
  // the files of the level above are not started.
  EXPECT_FALSE(Fs::copy(Directory(at("src")), Directory(at("dst")), false));
  EXPECT_EQ(readFile("dst/a/f"), "old");
  EXPECT_FALSE(present("dst/g"));

  EXPECT_TRUE(Fs::copy(Directory(at("src")), Directory(at("dst")), true));
  EXPECT_EQ(readFile("dst/a/f"), "source");
  EXPECT_EQ(readFile("dst/a/theirs"), "stays");
  EXPECT_EQ(readFile("dst/g"), "source g");
}

TEST_F(CopyTree, PassesOverEntriesNoListingShows) {
  makeDirectory("src");
  writeFile("src/f", "x");
  ASSERT_EQ(mkfifo(at("src/pipe").c_str(), 0666), 0);
  ASSERT_EQ(symlink("/no/such/target", at("src/dangling").c_str()), 0);
  EXPECT_TRUE(Fs::copy(Directory(at("src")), Directory(at("dst")), false));
  EXPECT_EQ(readFile("dst/f"), "x");
  EXPECT_FALSE(present("dst/pipe"));
  EXPECT_FALSE(present("dst/dangling"));
}

TEST_F(CopyTree, CopyIntoItsOwnSubtreeEnds) {
  makeDirectory("src");
  makeDirectory("src/a");
  writeFile("src/f", "top");
  writeFile("src/a/g", "deep");
  // The output shows up in the source's listing; it must not be copied again.
  ASSERT_TRUE(Fs::copy(Directory(at("src")), Directory(at("src/a/out")), true));
  EXPECT_EQ(readFile("src/a/out/f"), "top");
  EXPECT_EQ(readFile("src/a/out/a/g"), "deep");
  EXPECT_FALSE(present("src/a/out/a/out"));
  // A second run finds the earlier output in place and still ends.
  ASSERT_TRUE(Fs::copy(Directory(at("src")), Directory(at("src/a/out")), true));
  EXPECT_FALSE(present("src/a/out/a/out"));
}

TEST_F(CopyTree, CopyOntoItselfKeepsTheContent) {
  makeDirectory("d");
  makeDirectory("d/sub");
  writeFile("d/sub/f", "precious");
  EXPECT_FALSE(Fs::copy(Directory(at("d")), Directory(at("d")), true));
  EXPECT_FALSE(Fs::copy(Directory(at("d")), Directory(at("d")), false));
  EXPECT_EQ(readFile("d/sub/f"), "precious");
}

}  // namespace
