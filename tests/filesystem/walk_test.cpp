// The tree walks (remove, copy, glob), also on trees laid out to lead them
// astray.

#include "scratch.h"

namespace {

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
  // A lone directory so named, with no file beside it, fails both the same.
  lay("q/ q/x\\../ q/x\\../in");
  EXPECT_FALSE(Fs::copy(Directory(at("q")), Directory(at("c")), true) ||
               Fs::remove(Directory(at("q"))));
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
      {"d", "", "1", ""},
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

}  // namespace
