#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ZuPlatform/filesystem.h"
#include "scratch.h"

namespace {

namespace Fs = ZuPlatform::Filesystem;
using ZuPlatform::Directory;
using ZuPlatform::File;

std::vector<std::string> textsOf(const std::vector<File>& files) {
  std::vector<std::string> texts;
  for (const File& file : files) texts.push_back(file.toUniversalPath());
  return texts;
}

// The walk told in terms of the public listings, one call each: glob's own
// single-read listing has to give exactly this, in this order.
void referenceGlob(const Directory& directory, const std::string& pattern,
                   bool recursive, std::vector<File>& result) {
  if (recursive) {
    for (const Directory& sub : directory.directories()) {
      referenceGlob(sub, pattern, true, result);
    }
  }
  for (const File& file : directory.files()) {
    if (libwdmatch_match_i(pattern.c_str(), file.getName().c_str()) == 1) {
      result.push_back(file);
    }
  }
}

class Glob : public Scratch {
 protected:
  // A tree with most of what a listing has to tell apart: nested and hidden
  // directories, dot files, a link to a file and one to a directory (entered
  // like a subdirectory), a FIFO and a dangling link (in neither listing),
  // and a name with a backslash, which the path values read as a separator.
  void SetUp() override {
    Scratch::SetUp();
    makeDirectory("d");
    for (const char* dir :
         {"d/sub", "d/sub/deep", "d/.git", "d/other", "d/we"}) {
      makeDirectory(dir);
    }
    for (const char* file :
         {"d/a.txt", "d/B.TXT", "d/.profile", "d/notes", "d/sub/c.txt",
          "d/sub/deep/e.txt", "d/sub/deep/f.log", "d/.git/config",
          "d/other/g.txt", "d/we/ird.txt", "d/we\\ird.txt"}) {
      writeFile(file, file);
    }
    ASSERT_EQ(symlink(at("d/a.txt").c_str(), at("d/sub/alias.txt").c_str()), 0);
    ASSERT_EQ(symlink(at("d/sub/deep").c_str(), at("d/other/jump").c_str()), 0);
    ASSERT_EQ(mkfifo(at("d/pipe.txt").c_str(), 0666), 0);
    ASSERT_EQ(symlink("/no/such", at("d/dangling.txt").c_str()), 0);
  }
};

TEST_F(Glob, MatchesThePublicListingsInOrder) {
  const Directory start(at("d"));
  for (const char* pattern : {"*", "*.txt", "?.*", ".*", "*e*", "", "notes"}) {
    for (bool recursive : {true, false}) {
      std::vector<File> want;
      referenceGlob(start, pattern, recursive, want);
      EXPECT_EQ(textsOf(Fs::glob(start, pattern, recursive)), textsOf(want))
          << "pattern \"" << pattern << "\" recursive " << recursive;
    }
  }
}

TEST_F(Glob, SubdirectoryMatchesComeFirst) {
  const std::vector<std::string> got =
      textsOf(Fs::glob(Directory(at("d")), "*.txt", true));
  // Names only are matched: *.txt takes c.txt but not the directory "sub".
  const std::vector<std::string> expectedSet = {
      at("d/a.txt"), at("d/B.TXT"), at("d/sub/c.txt"), at("d/sub/alias.txt"),
      at("d/sub/deep/e.txt"), at("d/other/g.txt"), at("d/other/jump/e.txt"),
      // once as itself and once for the entry "we\ird.txt"
      at("d/we/ird.txt"), at("d/we/ird.txt")};
  EXPECT_EQ(got.size(), expectedSet.size());
  for (const std::string& text : expectedSet) {
    EXPECT_NE(std::find(got.begin(), got.end(), text), got.end()) << text;
  }
  auto position = [&got](const std::string& text) {
    return std::find(got.begin(), got.end(), text) - got.begin();
  };
  EXPECT_LT(position(at("d/sub/deep/e.txt")), position(at("d/sub/c.txt")));
  EXPECT_LT(position(at("d/sub/c.txt")), position(at("d/a.txt")));
  EXPECT_LT(position(at("d/other/g.txt")), position(at("d/B.TXT")));
}

TEST_F(Glob, AppendsAndLeavesTheVectorOtherwiseAlone) {
  std::vector<File> result = {File("/kept/first")};
  Fs::glob(Directory(at("missing")), "*", true, result);
  ASSERT_EQ(result.size(), 1u);
  EXPECT_TRUE(Fs::glob(Directory(at("missing")), "*", true).empty());

  Fs::glob(Directory(at("d/sub/deep")), "*", false, result);
  Fs::glob(Directory(at("d/sub/deep")), "*", false, result);
  ASSERT_EQ(result.size(), 5u);
  EXPECT_EQ(result[0].toUniversalPath(), "/kept/first");
  EXPECT_EQ(result[1].toUniversalPath(), result[3].toUniversalPath());
}

TEST_F(Glob, LinkBackUpTheTreeIsNotFollowedRound) {
  makeDirectory("loop");
  makeDirectory("loop/sub");
  writeFile("loop/top.txt", "");
  writeFile("loop/sub/low.txt", "");
  ASSERT_EQ(symlink(at("loop").c_str(), at("loop/sub/up").c_str()), 0);
  const std::vector<std::string> want = {at("loop/sub/low.txt"),
                                         at("loop/top.txt")};
  EXPECT_EQ(textsOf(Fs::glob(Directory(at("loop")), "*.txt", true)), want);
  // Started below the link, the walk goes up once and stops at the start.
  const std::vector<std::string> wantFromSub = {at("loop/sub/up/top.txt"),
                                                at("loop/sub/low.txt")};
  EXPECT_EQ(textsOf(Fs::glob(Directory(at("loop/sub")), "*.txt", true)),
            wantFromSub);
}

TEST_F(Glob, LinkToItsOwnDirectoryIsNotEntered) {
  makeDirectory("self");
  writeFile("self/f.txt", "");
  ASSERT_EQ(symlink(".", at("self/again").c_str()), 0);
  const std::vector<std::string> want = {at("self/f.txt")};
  EXPECT_EQ(textsOf(Fs::glob(Directory(at("self")), "*", true)), want);
}

}  // namespace
