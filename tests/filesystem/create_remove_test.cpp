#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <climits>
#include <string>

#include "ZuPlatform/filesystem.h"
#include "scratch.h"

namespace {

namespace Fs = ZuPlatform::Filesystem;
using ZuPlatform::Directory;
using ZuPlatform::File;

// The umask for the duration of one test.
class UmaskScope {
 public:
  explicit UmaskScope(mode_t mask) : saved(umask(mask)) {}
  ~UmaskScope() { umask(saved); }

 private:
  mode_t saved;
};

using CreateDirectory = Scratch;

TEST_F(CreateDirectory, ExistingDirectoryAndRootGiveTrue) {
  makeDirectory("here");
  writeFile("here/keep", "kept");
  EXPECT_TRUE(Fs::create(Directory(at("here"))));
  EXPECT_EQ(readFile("here/keep"), "kept");
  EXPECT_TRUE(Fs::create(Directory("/")));
}

TEST_F(CreateDirectory, MakesMissingParentsOutermostFirst) {
  makeDirectory("a");
  UmaskScope mask(022);
  ASSERT_TRUE(Fs::create(Directory(at("a/b/c"))));
  EXPECT_EQ(permissions("a/b"), 0755u);
  EXPECT_EQ(permissions("a/b/c"), 0755u);
}

TEST_F(CreateDirectory, RegularFileInTheWayGivesFalse) {
  writeFile("plain", "x");
  EXPECT_FALSE(Fs::create(Directory(at("plain"))));
  // A path that runs through a regular file refuses new entries even to
  // root, for whom permission bits don't bite.
  EXPECT_FALSE(Fs::create(Directory(at("plain/sub/deeper"))));
  EXPECT_EQ(readFile("plain"), "x");
}

TEST_F(CreateDirectory, ReadOnlyParentGivesFalse) {
  if (geteuid() == 0) {
    GTEST_SKIP() << "root ignores the permission bits this test relies on";
  }
  makeDirectory("locked");
  ASSERT_EQ(chmod(at("locked").c_str(), 0555), 0);
  EXPECT_FALSE(Fs::create(Directory(at("locked/a/b"))));
  EXPECT_FALSE(present("locked/a"));
}

using CreateFile = Scratch;

TEST_F(CreateFile, MakesAnEmptyFileAndItsDirectories) {
  UmaskScope mask(027);
  ASSERT_TRUE(Fs::create(File(at("x/y/new.txt"))));
  EXPECT_EQ(readFile("x/y/new.txt"), "");
  EXPECT_EQ(permissions("x/y/new.txt"), 0750u);
}

TEST_F(CreateFile, AnythingAlreadyThereGivesFalseAndStays) {
  writeFile("old", "content");
  makeDirectory("dir");
  writeFile("plain", "p");
  EXPECT_FALSE(Fs::create(File(at("old"))));
  EXPECT_EQ(readFile("old"), "content");
  EXPECT_FALSE(Fs::create(File(at("dir"))));
  EXPECT_FALSE(Fs::create(File(at("plain/inside"))));
}

using RemoveFile = Scratch;

TEST_F(RemoveFile, RemovesFilesAndEmptyDirectoriesOnly) {
  writeFile("f", "x");
  makeDirectory("empty");
  makeDirectory("full");
  writeFile("full/f", "x");
  EXPECT_TRUE(Fs::remove(File(at("f"))));
  EXPECT_FALSE(present("f"));
  EXPECT_FALSE(Fs::remove(File(at("f"))));
  EXPECT_TRUE(Fs::remove(File(at("empty"))));
  EXPECT_FALSE(Fs::remove(File(at("full"))));
  EXPECT_TRUE(present("full/f"));
}

using RemoveDirectory = Scratch;

TEST_F(RemoveDirectory, RemovesAWholeTree) {
  makeDirectory("t");
  makeDirectory("t/a");
  makeDirectory("t/a/b");
  makeDirectory("t/.hidden");
  writeFile("t/top", "1");
  writeFile("t/a/mid", "2");
  writeFile("t/a/b/low", "3");
  writeFile("t/.hidden/.dot", "4");
  EXPECT_TRUE(Fs::remove(Directory(at("t"))));
  EXPECT_FALSE(present("t"));
  EXPECT_FALSE(Fs::remove(Directory(at("t"))));
}

TEST_F(RemoveDirectory, EntriesNoListingShowsKeepTheDirectory) {
  struct Case {
    const char* what;
    void (*plant)(const std::string& path);
  };
  const Case cases[] = {
      {"named pipe", [](const std::string& p) { mkfifo(p.c_str(), 0666); }},
      {"dangling link",
       [](const std::string& p) { symlink("/no/such/target", p.c_str()); }},
  };
  for (const Case& c : cases) {
    const std::string dir = std::string("t_") + (c.what[0] == 'n' ? "p" : "l");
    makeDirectory(dir);
    makeDirectory(dir + "/sub");
    writeFile(dir + "/file", "x");
    c.plant(at(dir + "/odd"));
    ASSERT_TRUE(present(dir + "/odd")) << c.what;
    EXPECT_FALSE(Fs::remove(Directory(at(dir)))) << c.what;
    // Everything listed went before the rmdir failed.
    EXPECT_FALSE(present(dir + "/sub")) << c.what;
    EXPECT_FALSE(present(dir + "/file")) << c.what;
    EXPECT_TRUE(present(dir + "/odd")) << c.what;
  }
}

TEST_F(RemoveDirectory, LinkToOutsideGoesAsALink) {
  makeDirectory("outside");
  makeDirectory("outside/deep");
  writeFile("outside/precious", "keep me");
  writeFile("outside/deep/also", "keep me too");
  makeDirectory("tree");
  makeDirectory("tree/inner");
  writeFile("tree/inner/f", "x");
  ASSERT_EQ(symlink(at("outside").c_str(), at("tree/escape").c_str()), 0);
  ASSERT_EQ(symlink(at("tree/inner").c_str(), at("tree/loop").c_str()), 0);

  EXPECT_TRUE(Fs::remove(Directory(at("tree"))));
  EXPECT_FALSE(present("tree"));
  EXPECT_EQ(readFile("outside/precious"), "keep me");
  EXPECT_EQ(readFile("outside/deep/also"), "keep me too");
}

using Rename = Scratch;

TEST_F(Rename, FileNameIsTakenRelativeToItsDirectory) {
  struct Case {
    const char* newName;
    const char* landsAt;  // nullptr: the rename fails
  };
  const Case cases[] = {
      {"g", "a/g"},
      {"sub/g", "a/sub/g"},
      {"none/g", nullptr},  // no directory is created on the way
      {"../g", "g"},
      {"", nullptr},  // the new path is the directory itself
  };
  makeDirectory("a");
  makeDirectory("a/sub");
  for (const Case& c : cases) {
    writeFile("a/f", c.newName);
    const bool done = Fs::rename(File(at("a/f")), c.newName);
    if (c.landsAt == nullptr) {
      EXPECT_FALSE(done) << '"' << c.newName << '"';
      EXPECT_TRUE(present("a/f")) << '"' << c.newName << '"';
      continue;
    }
    EXPECT_TRUE(done) << c.newName;
    EXPECT_FALSE(present("a/f")) << c.newName;
    EXPECT_EQ(readFile(c.landsAt), c.newName);
  }
}

TEST_F(Rename, DirectoryNameIsTakenRelativeToItsParent) {
  makeDirectory("a");
  makeDirectory("a/b");
  writeFile("a/b/f", "x");
  EXPECT_FALSE(Fs::rename(Directory(at("a/b")), ""));
  ASSERT_TRUE(Fs::rename(Directory(at("a/b")), "c"));
  EXPECT_EQ(readFile("a/c/f"), "x");
  EXPECT_FALSE(present("a/b"));
  EXPECT_FALSE(Fs::rename(Directory(at("a/b")), "d"));
}

using CurrentDirectory = Scratch;

TEST_F(CurrentDirectory, ChangesOnlyToAnExistingDirectory) {
  char saved[PATH_MAX];
  ASSERT_NE(getcwd(saved, sizeof saved), nullptr);
  makeDirectory("work");
  EXPECT_FALSE(Fs::changeCurrentDirectory(Directory(at("missing"))));
  char now[PATH_MAX];
  ASSERT_NE(getcwd(now, sizeof now), nullptr);
  EXPECT_STREQ(now, saved);

  ASSERT_TRUE(Fs::changeCurrentDirectory(Directory(at("work"))));
  ASSERT_NE(getcwd(now, sizeof now), nullptr);
  char expected[PATH_MAX];
  ASSERT_NE(realpath(at("work").c_str(), expected), nullptr);
  EXPECT_STREQ(now, expected);
  ASSERT_EQ(chdir(saved), 0);
}

using ModifiedTime = Scratch;

TEST_F(ModifiedTime, ReportsTheTimeOrLeavesTheValueAlone) {
  writeFile("f", "x");
  const struct utimbuf times = {1000000000, 1234567890};
  ASSERT_EQ(utime(at("f").c_str(), &times), 0);
  ASSERT_EQ(symlink(at("f").c_str(), at("link").c_str()), 0);

  EXPECT_FALSE(Fs::getLastModifiedTime(File(at("f")), nullptr));
  long time = 42;
  EXPECT_FALSE(Fs::getLastModifiedTime(File(at("missing")), &time));
  EXPECT_EQ(time, 42);
  ASSERT_TRUE(Fs::getLastModifiedTime(File(at("f")), &time));
  EXPECT_EQ(time, 1234567890);
  time = 0;
  ASSERT_TRUE(Fs::getLastModifiedTime(File(at("link")), &time));
  EXPECT_EQ(time, 1234567890);  // the link answers for its target
}

}  // namespace
