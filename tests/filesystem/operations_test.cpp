#include <fcntl.h>

#include "scratch.h"

namespace {

using Operations = Scratch;

// A process starts counting at 1; the death test runs in a fresh one.
TEST(UniqueName, AProcessStartsAtOne) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      exit(Fs::createUniqueName("n") != "n_" + std::to_string(getpid()) + "_1"),
      testing::ExitedWithCode(0), "");
}

TEST_F(Operations, RowsRunInOrder) {
  // Each row: operation, path, second argument ("-" for none), the answer
  // wanted. d/f: create a directory/file; r/R: remove a file/directory; m/M:
  // rename a file/directory; c/C: copy a file into a directory with/without
  // overwrite; h: change directory; t: modification time. Paths are below
  // the scratch root unless they begin with "/"; "%" stands for a NUL byte,
  // where the system would see a shorter path.
  const char* const rows[] = {
      // Parents outermost first; a directory may be there already, a file
      // never, and nothing is made through a path through a regular file
      // (whatever the permissions) or where a dangling link points.
      "d a/b/c - 1", "d a - 1", "d plain - 0", "d plain/x - 0", "f x/y/new - 1",
      "f plain - 0", "f a - 0", "f plain/in - 0", "f dangling - 0",
      // remove(File) takes an empty directory too.
      // A dangling link (or a FIFO), in neither listing, keeps its directory
      // after what the listings show went; the walk stops at the first
      // subdirectory that stays (u/a, for its FIFO), and u/f is not started.
      // Links in a tree, also up and out of it, go as links.
      "r empty - 1", "r empty - 0", "r a - 0", "R missing - 0", "R q - 0",
      "R u - 0", "R w - 1", "h a - 1",
      // A new name is relative to the containing directory.
      "m a/f g 1", "m a/g b/g 1", "m a/b/g ../f 1", "m a/f none/g 0",
      "m a/f - 0", "M a/b/c - 0", "M a/b/c e 1", "h missing - 0",
      "t missing - 0", "t stamped - 1",
      // Only a regular source (or a directory, whose first read fails) and
      // a regular target, never the source itself, nothing that blocks.
      "C src old 0", "c src old 1", "c src new 1", "c big new 1",
      "c src nowhere 0", "c fifo new 0", "c /dev/zero new 0", "c src pipe 0",
      "c src ln 0", "c dir new 0", "c old/src old 0", "c old/src hard 0",
      "d nul% - 0", "f nul% - 0", "r plain% - 0", "R a% - 0", "m plain% g 0",
      "h a% - 0", "t plain% - 0", "c plain% new 0"};
  lay("a/ empty/ plain a/f src old/ old/src new/ dir/ ln/ pipe/ hard/ stamped "
      "dangling>made ln/src>victim fifo| pipe/src| q/ q/sub/ q/f "
      "q/dead>none u/ u/a/ u/a/odd| u/f w/ w/in/ w/in/f w/up>u/a w/out>u/f");
  link(at("old/src").c_str(), at("hard/src").c_str());
  const struct timespec times[2] = {{1, 0}, {1234567890, 0}};
  utimensat(AT_FDCWD, at("stamped").c_str(), times, 0);
  std::string big;  // several blocks of the copy, no two alike
  for (int i = 0; i < 20000; ++i) big += std::to_string(i);
  std::ofstream(at("big")) << big;
  chmod(at("src").c_str(), 0777);
  chmod(at("old/src").c_str(), 0600);
  const mode_t saved = umask(027);
  long time = 42;
  for (const char* row : rows) {
    char op;
    std::string a, b;
    bool want;
    std::istringstream(row) >> op >> a >> b >> want;
    a = a[0] == '/' ? a : at(a);
    std::replace(a.begin(), a.end(), '%', '\0');
    b = b == "-" ? "" : b;
    const bool done = op == 'd'   ? Fs::create(Directory(a))
                      : op == 'f' ? Fs::create(File(a))
                      : op == 'r' ? Fs::remove(File(a))
                      : op == 'R' ? Fs::remove(Directory(a))
                      : op == 'm' ? Fs::rename(File(a), b)
                      : op == 'M' ? Fs::rename(Directory(a), b)
                      : op == 'h' ? Fs::changeCurrentDirectory(Directory(a))
                      : op == 't'
                          ? Fs::getLastModifiedTime(File(a), &time)
                          : Fs::copy(File(a), Directory(at(b)), op == 'c');
    EXPECT_EQ(done, want) << row;
  }
  umask(saved);
  EXPECT_EQ(time, 1234567890);
  EXPECT_TRUE(read("new/big") == big);
  EXPECT_EQ(mode("a/b") + mode("x/y/new"), S_IFDIR + S_IFREG + 2 * 0750u);
  EXPECT_EQ(read("a/f") + read("plain") + read("old/src") + read("x/y/new"),
            "a/fplainsrc");
  // Overwritten: cut to the source, own mode kept. New: the source's mode,
  // less the umask.
  EXPECT_EQ(mode("old/src") + mode("new/src"), 2 * S_IFREG + 0600u + 0750u);
  EXPECT_TRUE(S_ISDIR(mode("a/b/e")) && S_ISFIFO(mode("pipe/src")) &&
              S_ISFIFO(mode("u/a/odd")) && S_ISLNK(mode("q/dead")) &&
              read("u/f") == "u/f");
  EXPECT_EQ(mode("made") | mode("victim") | mode("new/fifo") |
                mode("new/zero") | mode("q/sub") | mode("q/f") | mode("w") |
                mode("nul") | mode("new/plain"),
            0u);
  EXPECT_TRUE(S_ISREG(mode("new/dir")) && read("new/dir").empty());
  EXPECT_FALSE(Fs::create(Directory()) || Fs::create(File()));
  // Tens of thousands of missing levels below a regular file: an
  // answer, not an exception, in time and memory that grow with the
  // path alone.
  std::string deep = at("plain/");
  for (int level = 0; level < 60000; ++level) deep += "d/";
  EXPECT_FALSE(Fs::create(Directory(deep)) || Fs::create(File(deep + "f")));
}

}  // namespace
