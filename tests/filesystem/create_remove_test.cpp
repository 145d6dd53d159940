#include <fcntl.h>

#include "scratch.h"

namespace {

using CreateRemove = Scratch;
enum Step { CREATE_DIR, CREATE_FILE, REMOVE_FILE, REMOVE_DIR };

TEST_F(CreateRemove, CreateAndRemoveRows) {
  // Run in order. Parents are made outermost first; a directory may be there
  // already, a file never (and what stands there stays, a dangling link too:
  // nothing is made where it points). A path through a regular file refuses
  // new entries whatever the permissions, so those rows hold under root as
  // well. remove(File) takes an empty directory too.
  const struct {
    Step step;
    const char* path;
    bool want;
  } rows[] = {
      {CREATE_DIR, "a/b/c", true},      {CREATE_FILE, "x/y/new", true},
      {CREATE_DIR, "a", true},          {CREATE_FILE, "plain", false},
      {CREATE_FILE, "a", false},        {CREATE_DIR, "plain", false},
      {CREATE_DIR, "plain/sub", false}, {CREATE_FILE, "plain/in", false},
      {CREATE_FILE, "dangling", false}, {REMOVE_FILE, "plain", true},
      {REMOVE_FILE, "plain", false},    {REMOVE_FILE, "empty", true},
      {REMOVE_FILE, "a", false},        {REMOVE_DIR, "missing", false}};
  lay({"a/", "empty/", "plain"});
  symlink(at("made").c_str(), at("dangling").c_str());
  const mode_t saved = umask(027);
  for (const auto& row : rows) {
    const std::string path = at(row.path);
    const bool done = row.step == CREATE_DIR    ? Fs::create(Directory(path))
                      : row.step == CREATE_FILE ? Fs::create(File(path))
                      : row.step == REMOVE_FILE ? Fs::remove(File(path))
                                                : Fs::remove(Directory(path));
    EXPECT_EQ(done, row.want) << row.step << ' ' << row.path;
  }
  umask(saved);
  EXPECT_EQ(mode("a/b") & 07777, 0750u);
  EXPECT_EQ(mode("x/y/new"), S_IFREG | 0750u);
  EXPECT_EQ(read("x/y/new") + std::to_string(mode("made")), "0");
  // The empty path is its own parent and has no ancestor to stop at.
  EXPECT_FALSE(Fs::create(Directory()) || Fs::create(File()));
  // Tens of thousands of missing levels below a regular file: an answer,
  // not an exception, and nothing made.
  std::string deep = at("x/y/new/");
  for (int level = 0; level < 60000; ++level) deep += "d/";
  EXPECT_FALSE(Fs::create(Directory(deep)) || Fs::create(File(deep + "f")));
}

TEST_F(CreateRemove, RemoveDirectoryStaysInsideTheTree) {
  lay({"out/", "out/keep", "t/", "t/a/", "t/.h/", "t/top", "t/a/low",
       "t/.h/.dot", "p/", "p/sub/", "p/f", "l/", "l/sub/", "l/f"});
  // Links to a directory outside and inside: each goes as a link only.
  symlink(at("out").c_str(), at("t/a/escape").c_str());
  symlink(at("t/a").c_str(), at("t/inner").c_str());
  EXPECT_TRUE(Fs::remove(Directory(at("t"))));
  EXPECT_EQ(mode("t"), 0u);
  EXPECT_EQ(read("out/keep"), "out/keep");
  // An entry neither listing shows keeps its directory; what the listings
  // show went before rmdir failed.
  mkfifo(at("p/odd").c_str(), 0666);
  symlink("/no/such", at("l/odd").c_str());
  for (const std::string dir : {"p/", "l/"}) {
    EXPECT_FALSE(Fs::remove(Directory(at(dir)))) << dir;
    EXPECT_EQ(mode(dir + "sub") | mode(dir + "f"), 0u) << dir;
    EXPECT_NE(mode(dir + "odd"), 0u) << dir;
  }
}

TEST_F(CreateRemove, RenameIsRelativeToTheContainingDirectory) {
  // Where a/f lands under each new name; nullptr: refused, and it stays.
  const struct {
    const char* newName;
    const char* landsAt;
  } rows[] = {{"g", "a/g"},
              {"sub/g", "a/sub/g"},
              {"none/g", nullptr},
              {"../g", "g"},
              {"", nullptr}};
  lay({"a/", "a/sub/", "d/", "d/b/"});
  for (const auto& row : rows) {
    write("a/f", row.newName);
    EXPECT_EQ(Fs::rename(File(at("a/f")), row.newName), row.landsAt != nullptr)
        << '"' << row.newName << '"';
    EXPECT_EQ(read(row.landsAt ? row.landsAt : "a/f"), row.newName);
  }
  EXPECT_FALSE(Fs::rename(Directory(at("d/b")), ""));
  EXPECT_TRUE(Fs::rename(Directory(at("d/b")), "c"));
  EXPECT_TRUE(S_ISDIR(mode("d/c")));
}

TEST_F(CreateRemove, LastModifiedTimeFollowsLinks) {
  write("f", "x");
  const struct timespec times[2] = {{1, 0}, {1234567890, 0}};
  utimensat(AT_FDCWD, at("f").c_str(), times, 0);
  symlink(at("f").c_str(), at("link").c_str());
  long time = 42;
  EXPECT_FALSE(Fs::getLastModifiedTime(File(at("f")), nullptr));
  EXPECT_FALSE(Fs::getLastModifiedTime(File(at("missing")), &time));
  EXPECT_EQ(time, 42);
  EXPECT_TRUE(Fs::getLastModifiedTime(File(at("link")), &time));
  EXPECT_EQ(time, 1234567890);
}

}  // namespace
