#include "ZuPlatform/filesystem.h"
#include "scratch.h"

namespace {

namespace Fs = ZuPlatform::Filesystem;
using ZuPlatform::Directory;
using ZuPlatform::File;
using Glob = Scratch;

std::vector<std::string> textsOf(const std::vector<File>& files) {
  std::vector<std::string> texts;
  for (const File& file : files) texts.push_back(file.toUniversalPath());
  return texts;
}

// The walk told through the public listings: glob's own single-read listing
// must give exactly these files in exactly this order.
void referenceGlob(const Directory& directory, const std::string& pattern,
                   bool recursive, std::vector<File>& result) {
  if (recursive) {
    for (const Directory& sub : directory.directories()) {
      referenceGlob(sub, pattern, true, result);
    }
  }
  for (const File& file : directory.files()) {
    if (libwdmatch_match_i(pattern.c_str(), file.getName().c_str())) {
      result.push_back(file);
    }
  }
}

TEST_F(Glob, MatchesThePublicListingsInOrder) {
  // Hidden names, links to a file and to a directory, a FIFO and a dangling
  // link (in neither listing), and a name with a backslash, which the path
  // values read as a separator.
  mkdirs({"d", "d/sub", "d/sub/deep", "d/.git", "d/other", "d/we"});
  for (const char* file :
       {"d/a.txt", "d/B.TXT", "d/.profile", "d/sub/c.txt", "d/sub/deep/e.txt",
        "d/.git/config", "d/we/ird.txt", "d/we\\ird.txt"}) {
    write(file, "");
  }
  symlink(at("d/a.txt").c_str(), at("d/sub/alias.txt").c_str());
  symlink(at("d/sub/deep").c_str(), at("d/other/jump").c_str());
  mkfifo(at("d/pipe.txt").c_str(), 0666);
  symlink("/no/such", at("d/dangling.txt").c_str());
  const Directory start(at("d"));
  for (const char* pattern : {"*", "*.txt", "?.*", ".*", "", "c.txt"}) {
    for (bool recursive : {true, false}) {
      std::vector<File> want;
      referenceGlob(start, pattern, recursive, want);
      EXPECT_EQ(textsOf(Fs::glob(start, pattern, recursive)), textsOf(want))
          << pattern << recursive;
    }
  }
  // Depth first: what a subdirectory holds comes before its parent's own.
  const std::vector<std::string> deepFirst = {at("d/sub/deep/e.txt"),
                                              at("d/sub/c.txt")};
  EXPECT_EQ(textsOf(Fs::glob(Directory(at("d/sub")), "?.txt", true)),
            deepFirst);
  std::vector<File> result = {File("/kept")};
  Fs::glob(Directory(at("missing")), "*", true, result);
  Fs::glob(Directory(at("d/sub/deep")), "*", false, result);
  const std::vector<std::string> appended = {"/kept", at("d/sub/deep/e.txt")};
  EXPECT_EQ(textsOf(result), appended);
}

TEST_F(Glob, LinkBackUpTheTreeIsNotFollowedRound) {
  // Each cycle alone: without the guard each would fail fast, together they
  // would multiply the walk.
  mkdirs({"loop", "loop/sub", "self"});
  write("loop/top", "");
  write("loop/sub/low", "");
  write("self/f", "");
  symlink(at("loop").c_str(), at("loop/sub/up").c_str());
  symlink(".", at("self/again").c_str());
  const std::vector<std::string> fromTop = {at("loop/sub/low"), at("loop/top")};
  EXPECT_EQ(textsOf(Fs::glob(Directory(at("loop")), "*", true)), fromTop);
  // Started below the link, the walk goes up once and stops at the start.
  const std::vector<std::string> fromSub = {at("loop/sub/up/top"),
                                            at("loop/sub/low")};
  EXPECT_EQ(textsOf(Fs::glob(Directory(at("loop/sub")), "*", true)), fromSub);
  const std::vector<std::string> fromSelf = {at("self/f")};
  EXPECT_EQ(textsOf(Fs::glob(Directory(at("self")), "*", true)), fromSelf);
}

}  // namespace
