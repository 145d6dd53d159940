// The filesystem operations, the tree walks (remove, copy, glob), also on
// trees laid out to lead them astray, and the wildcard matcher.
#include <fcntl.h>

#include <random>

#include "scratch.h"
#include "support/match_model.h"

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
  std::string big;  // three 32 KiB copy blocks and one byte, no two alike
  for (int i = 0; i < 21883; ++i) big += std::to_string(i);
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

using Walks = Scratch;

TEST_F(Walks, RemoveCopyAndGlobActOnlyOnRealEntriesOfTheTree) {
  // Names that a path turns into "..", "." or a sibling, since a backslash
  // becomes a separator: as directories in p/t/ (each holding a file), as
  // files in p/t/f/.
  lay("keep p/ p/keep p/x/ p/x/keep p/y/ p/y/keep p/t/ p/t/f/ p/t/x p/t/y");
  for (const std::string name :
       {"..\\..", "..\\x", "x\\..", "\\", ".\\..\\y"}) {
    lay("p/t/" + name + "/ p/t/" + name + "/in p/t/f/" + name);
  }
  EXPECT_EQ(below(Fs::glob(Directory(at("p/t")), "*", true), true),
            "p/t/x p/t/y ");
  const auto everything = snapshot("c");
  EXPECT_FALSE(Fs::copy(Directory(at("p/t")), Directory(at("c")), true));
  EXPECT_EQ(snapshot("c"), everything);  // nothing written outside c
  const auto outside = snapshot("p/t");
  EXPECT_FALSE(Fs::remove(Directory(at("p/t"))));
  EXPECT_EQ(snapshot("p/t"), outside);
  // A lone directory so named, with no file beside it, fails both the same;
  // so does a lone file so named, beside a file that would go.
  lay("q/ q/x\\../ q/x\\../in r/ r/..\\keep r/y");
  EXPECT_FALSE(Fs::copy(Directory(at("q")), Directory(at("c")), true) ||
               Fs::remove(Directory(at("q"))) ||
               Fs::copy(Directory(at("r")), Directory(at("c")), true) ||
               Fs::remove(Directory(at("r"))));
  EXPECT_EQ(read("q/x\\../in"), "q/x\\../in");
}

TEST_F(Walks, GlobIsDepthFirstOverRegularFilesWithoutCycles) {
  // One subdirectory and one regular file per level, so the listing order
  // can't blur the walk's own order. Hidden names need no dot; a FIFO and a
  // dangling link are never a match; the link back up is not followed round,
  // but started below it the walk goes up once and stops at the start.
  lay("d/ d/.sub/ d/.sub/deep/ d/.top d/.sub/Mid.txt d/.sub/deep/low.txt "
      "d/pipe.txt| d/dangling.txt>none d/.sub/deep/up>d");
  const char* const rows[][4] = {
      {"d", "*", "1", "d/.sub/deep/low.txt d/.sub/Mid.txt d/.top "},
      {"d", "*.txt", "1", "d/.sub/deep/low.txt d/.sub/Mid.txt "},
      {"d", "*", "0", "d/.top "},
      {"missing", "*", "1", ""},
      {"d/.sub", "*", "1",
       "d/.sub/deep/up/.top d/.sub/deep/low.txt d/.sub/Mid.txt "}};
  for (const auto& row : rows) {
    std::vector<File> found = {File(at("kept"))};  // only appended to
    Fs::glob(Directory(at(row[0])), row[1], row[2][0] == '1', found);
    EXPECT_EQ(below(found, false), std::string("kept ") + row[3])
        << row[0] << ' ' << row[1];
  }
}

TEST_F(Walks, CopyMergesStopsAtTheFirstFailureAndNeverLoops) {
  // FIFOs and dangling links are in neither listing; links back up the tree
  // are not entered again, a second way into a directory that is no cycle
  // is. t1 and t2 hold a file already and ask for a merge.
  lay("s/ s/a/ s/a/b/ s/e/ s/top s/a/f s/a/b/low out/ c1/ c2/ c2/a/ p/ p/a/ "
      "p/a/a/ p/a/a/f t1/ t1/a/ t1/a/f t2/ t2/a/ t2/a/f t2/a/theirs s/pipe| "
      "s/dangling>none s/a/up>s s/a/c>s/a/b s/a/b/loop>s/a c1/a>out "
      "c2/a/f>out/f");
  EXPECT_EQ(Fs::glob(Directory(at("s")), "low", true).size(), 2u);
  // Each row: source, target, overwrite, the answer wanted. Without
  // overwrite the walk stops at t1/a/f and "top" is not started; c1 and c2
  // hold links planted at a subdirectory's and a file's name; a copy into
  // its own subtree, run twice, finds the first run's output in the listing
  // and passes it over; onto its own parent, the subdirectory step writes
  // p/a/f, which the level's files, listed after it, then take.
  const char* const rows[] = {"s s/top/x 1 0", "s x/y 0 1",     "s t1 0 0",
                              "s t2 1 1",      "s c1 1 0",      "s c2 1 0",
                              "s s/e/out 1 1", "s s/e/out 1 1", "p/a p 1 1"};
  for (const char* row : rows) {
    std::string from, to;
    bool overwrite, want;
    std::istringstream(row) >> from >> to >> overwrite >> want;
    EXPECT_EQ(Fs::copy(Directory(at(from)), Directory(at(to)), overwrite), want)
        << row;
  }
  EXPECT_EQ(read("x/y/top") + read("x/y/a/f") + read("x/y/a/b/low") +
                read("x/y/a/c/low"),
            "s/tops/a/fs/a/b/lows/a/b/low");
  EXPECT_EQ(S_ISDIR(mode("x/y/e")) + mode("x/y/pipe") + mode("x/y/dangling") +
                mode("x/y/a/up") + mode("x/y/a/b/loop") + mode("t1/top") +
                mode("out/f") + mode("s/e/out/e/out"),
            1u);
  EXPECT_EQ(read("t1/a/f") + read("t2/a/f") + read("t2/a/theirs") +
                read("t2/top") + read("s/e/out/a/b/low") + read("p/f"),
            "t1/a/fs/a/ft2/a/theirss/tops/a/b/lowp/a/a/f");
}

// Case ignored, anchored at both ends, a star that gives back, one '?' per
// byte: all as the model says, on random input.
TEST(WildcardMatch, AgreesWithTheModelOnRandomInput) {
  // Small alphabets so that matches are common: both specials, a case pair,
  // a byte that reaches toupper as a negative value, and "[", "/" and "\"
  // that stand for themselves.
  std::mt19937 random(20240607);
  auto randomText = [&random](const std::string& alphabet, size_t most) {
    std::string text(random() % (most + 1), ' ');
    for (char& byte : text) byte = alphabet[random() % alphabet.size()];
    return text;
  };
  int matches = 0;
  for (int i = 0; i < 100000; ++i) {
    const std::string pattern = randomText("**??aAb\x80[/\\", 12);
    const std::string text = randomText("aAbB\x80?*[/\\", 16);
    const int want = zutest::matchModel(pattern, text);
    matches += want;
    ASSERT_EQ(libwdmatch_match_i(pattern.c_str(), text.c_str()), want)
        << '"' << pattern << "\" \"" << text << '"';
  }
  EXPECT_GT(matches, 4000);  // both answers must be common to mean much
  EXPECT_LT(matches, 95000);
}

}  // namespace
