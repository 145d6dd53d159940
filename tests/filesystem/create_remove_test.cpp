#include <fcntl.h>

#include <climits>

#include "ZuPlatform/filesystem.h"
#include "scratch.h"

namespace {

namespace Fs = ZuPlatform::Filesystem;
using ZuPlatform::Directory;
using ZuPlatform::File;
using CreateRemove = Scratch;

TEST_F(CreateRemove, CreateDirectoryAndFile) {
  mkdirs({"a"});
  write("plain", "x");
  const mode_t saved = umask(027);
  EXPECT_TRUE(Fs::create(Directory(at("a/b/c"))));  // parents first
  EXPECT_TRUE(Fs::create(File(at("x/y/new"))));
  umask(saved);
  EXPECT_EQ(mode("a/b/c") & 07777, 0750u);
  EXPECT_EQ(mode("x/y/new") & 07777, 0750u);
  EXPECT_EQ(read("x/y/new"), "");
  EXPECT_TRUE(Fs::create(Directory(at("a"))));  // already there
  EXPECT_TRUE(Fs::create(Directory("/")));
  // The empty path is its own parent and has no ancestor to stop at.
  EXPECT_FALSE(Fs::create(Directory()));
  EXPECT_FALSE(Fs::create(File()));
  // Refused whatever the permissions, so these hold under root as well.
  EXPECT_FALSE(Fs::create(Directory(at("plain"))));
  EXPECT_FALSE(Fs::create(Directory(at("plain/sub/deeper"))));
  EXPECT_FALSE(Fs::create(File(at("plain/inside"))));
  // A file is only ever new: anything at the path gives false and stays.
  EXPECT_FALSE(Fs::create(File(at("plain"))));
  EXPECT_FALSE(Fs::create(File(at("a"))));
  EXPECT_EQ(read("plain"), "x");
}

TEST_F(CreateRemove, RemoveFile) {
  mkdirs({"empty", "full"});
  write("f", "x");
  write("full/f", "x");
  EXPECT_TRUE(Fs::remove(File(at("f"))));
  EXPECT_FALSE(Fs::remove(File(at("f"))));
  EXPECT_TRUE(Fs::remove(File(at("empty"))));
  EXPECT_FALSE(Fs::remove(File(at("full"))));
}

TEST_F(CreateRemove, RemoveDirectoryStaysInsideTheTree) {
  mkdirs({"out", "out/deep", "t", "t/a", "t/a/b", "t/.h"});
  write("out/keep", "1");
  write("out/deep/keep", "2");
  write("t/top", "");
  write("t/a/b/low", "");
  write("t/.h/.dot", "");
  // Links to a directory outside and inside: each goes as a link only.
  symlink(at("out").c_str(), at("t/a/escape").c_str());
  symlink(at("t/a/b").c_str(), at("t/inner").c_str());
  EXPECT_TRUE(Fs::remove(Directory(at("t"))));
  EXPECT_EQ(mode("t"), 0u);
  EXPECT_EQ(read("out/keep") + read("out/deep/keep"), "12");
  EXPECT_FALSE(Fs::remove(Directory(at("t"))));
}

TEST_F(CreateRemove, UnlistedEntryKeepsTheDirectory) {
  mkdirs({"p", "p/sub", "l", "l/sub"});
  mkfifo(at("p/odd").c_str(), 0666);
  symlink("/no/such/target", at("l/odd").c_str());
  for (const char* dir : {"p", "l"}) {
    write(std::string(dir) + "/f", "x");
    EXPECT_FALSE(Fs::remove(Directory(at(dir)))) << dir;
    // What the listings show went before rmdir failed.
    EXPECT_EQ(mode(std::string(dir) + "/sub"), 0u) << dir;
    EXPECT_EQ(mode(std::string(dir) + "/f"), 0u) << dir;
    EXPECT_NE(mode(std::string(dir) + "/odd"), 0u) << dir;
  }
}

TEST_F(CreateRemove, RenameIsRelativeToTheContainingDirectory) {
  const struct {
    const char* newName;
    const char* landsAt;  // nullptr: refused, the file stays
  } cases[] = {{"g", "a/g"},
               {"sub/g", "a/sub/g"},
               {"none/g", nullptr},
               {"../g", "g"},
               {"", nullptr}};
  mkdirs({"a", "a/sub", "d", "d/b"});
  for (const auto& c : cases) {
    write("a/f", c.newName);
    EXPECT_EQ(Fs::rename(File(at("a/f")), c.newName), c.landsAt != nullptr)
        << '"' << c.newName << '"';
    if (c.landsAt) {
      EXPECT_EQ(read(c.landsAt), c.newName);
    }
  }
  EXPECT_FALSE(Fs::rename(Directory(at("d/b")), ""));
  EXPECT_TRUE(Fs::rename(Directory(at("d/b")), "c"));
  EXPECT_TRUE(S_ISDIR(mode("d/c")));
}

TEST_F(CreateRemove, WorkingDirectoryAndModifiedTime) {
  char saved[PATH_MAX], now[PATH_MAX], real[PATH_MAX];
  ASSERT_NE(getcwd(saved, sizeof saved), nullptr);
  ASSERT_NE(realpath(root.c_str(), real), nullptr);
  EXPECT_FALSE(Fs::changeCurrentDirectory(Directory(at("missing"))));
  EXPECT_STREQ(getcwd(now, sizeof now), saved);
  EXPECT_TRUE(Fs::changeCurrentDirectory(Directory(root)));
  EXPECT_STREQ(getcwd(now, sizeof now), real);
  ASSERT_EQ(chdir(saved), 0);

  write("f", "x");
  const struct timespec times[2] = {{1, 0}, {1234567890, 0}};
  utimensat(AT_FDCWD, at("f").c_str(), times, 0);
  symlink(at("f").c_str(), at("link").c_str());
  long time = 42;
  EXPECT_FALSE(Fs::getLastModifiedTime(File(at("f")), nullptr));
  EXPECT_FALSE(Fs::getLastModifiedTime(File(at("missing")), &time));
  EXPECT_EQ(time, 42);
  EXPECT_TRUE(Fs::getLastModifiedTime(File(at("link")), &time));  // followed
  EXPECT_EQ(time, 1234567890);
}

}  // namespace
