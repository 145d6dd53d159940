#include "scratch.h"

namespace {

using Glob = Scratch;

TEST_F(Glob, DepthFirstOverEveryRegularFileAndNoCycle) {
  // One subdirectory and one regular file per level, so the listing order
  // can't blur the walk's own order; a FIFO and a dangling link are in
  // neither listing, so never a match.
  lay({"d/", "d/.sub/", "d/.sub/deep/", "d/.top", "d/.sub/Mid.txt",
       "d/.sub/deep/low.txt"});
  mkfifo(at("d/pipe.txt").c_str(), 0666);
  symlink("/no/such", at("d/dangling.txt").c_str());
  symlink(at("d").c_str(), at("d/.sub/deep/up").c_str());
  // Each row: start, pattern, recursive, then the matches in order. Hidden
  // names need no dot, and the link back up is not followed round; started
  // below it, the walk goes up once and stops at the start.
  const struct {
    const char *start, *pattern;
    bool recursive;
    const char* want;
  } rows[] = {{"d", "*", true, "d/.sub/deep/low.txt d/.sub/Mid.txt d/.top "},
              {"d", "*.txt", true, "d/.sub/deep/low.txt d/.sub/Mid.txt "},
              {"d", "*", false, "d/.top "},
              {"d", "", true, ""},
              {"missing", "*", true, ""},
              {"d/.sub", "*", true,
               "d/.sub/deep/up/.top d/.sub/deep/low.txt d/.sub/Mid.txt "}};
  for (const auto& row : rows) {
    std::vector<File> found = {File(at("kept"))};  // only ever appended to
    Fs::glob(Directory(at(row.start)), row.pattern, row.recursive, found);
    std::string text;
    for (const File& file : found) {
      text += file.toUniversalPath().substr(root.size()) + " ";
    }
    EXPECT_EQ(text, std::string("kept ") + row.want)
        << row.start << ' ' << row.pattern;
  }
}

}  // namespace
