// Directory and File as values: the public constructors against the literal
// model in a known working directory, names, parents, order and relations.
#include <ZuPlatform/paths.h>
#include <gtest/gtest.h>

#include <random>

#include "paths/scratch.h"
#include "support/path_model.h"

using ZuPlatform::Directory;
using ZuPlatform::File;

namespace {

class PathValue : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(scratch.path().empty());
    scratch.makeDirectory("w/x");
    scratch.makeDirectory("a");
    ASSERT_EQ(chdir((scratch.path() + "w/x").c_str()), 0);
  }
  Scratch scratch;  // puts the working directory back
};

// The model is told the working directory the library should find itself.
TEST_F(PathValue, ConstructorsMatchLiteralModel) {
  const std::string here = scratch.path() + "w/x/";
  std::mt19937 random(7);
  std::uniform_int_distribution<int> length(0, 24), letter(0, 4);
  for (int i = 0; i < 200000; ++i) {
    std::string text(length(random), ' ');
    for (char& c : text) c = "/\\.ab"[letter(random)];
    if (i % 2 == 0) text.insert(0, "/");
    ASSERT_EQ(Directory(text).toUniversalPath(),
              pathmodel::directory(text, here))
        << "directory of \"" << text << "\"";
    ASSERT_EQ(File(text).toUniversalPath(), pathmodel::file(text, here))
        << "file of \"" << text << "\"";
  }
}

TEST_F(PathValue, RelativeTextFollowsWorkingDirectory) {
  EXPECT_EQ(Directory("").toUniversalPath(), scratch.path() + "w/x/");
  EXPECT_EQ(File("../y").toUniversalPath(), scratch.path() + "w/y");
  Directory before("a");
  ASSERT_EQ(chdir("/"), 0);
  EXPECT_EQ(before.toUniversalPath(), scratch.path() + "w/x/a/");
  EXPECT_EQ(Directory("..").toUniversalPath(), "/../");
  EXPECT_EQ(Directory(Directory::WELL_KNOWN_CURRENT).toUniversalPath(), "/");
}

// hasParent looks at the disk: "a" exists under the scratch root, "no" not.
TEST_F(PathValue, NamesAndParents) {
  const std::string s = scratch.path();
  struct {
    Directory path;
    std::string name, parent;
    bool hasParent;
  } rows[] = {
      {Directory(), "", "", false},
      {Directory("/"), "", "/", false},
      {Directory("//"), "", "/", true},
      {Directory(s + "a"), "a", s, true},
      {Directory(s + "a/b"), "b", s + "a/", true},
      {Directory(s + "a//"), "", s + "a/", true},
      {Directory(s + "no/b"), "b", s + "no/", false},
  };
  for (auto& row : rows) {
    std::string text = row.path.toUniversalPath();
    EXPECT_EQ(row.path.getName(), row.name) << text;
    EXPECT_EQ(row.path.parent().toUniversalPath(), row.parent) << text;
    EXPECT_EQ(row.path.hasParent(), row.hasParent) << text;
  }
}

TEST(DirectoryRelativeTo, OnlyPrefixIsTakenAway) {
  struct {
    const char *path, *base, *want;
  } rows[] = {
      {"/a/b/c/", "/a/", "b/c/"},    {"/a/b/", "/a/b/", ""},
      {"/a/b/", "/x/", "/a/b/"},     {"/a/", "/a/b/", "/a/"},
      {"/a/b/c/", "/b/", "/a/b/c/"},  // a hit further on is no ancestor
      {"/a/bc/", "/a/b/", "/a/bc/"},
  };
  for (auto& row : rows) {
    Directory path(row.path);
    EXPECT_EQ(path.relativeTo(Directory(row.base)), row.want) << row.path;
    EXPECT_EQ(path.relativeTo(Directory(row.base), true), row.want);
  }
  EXPECT_EQ(Directory("/a/b/").relativeTo(Directory()), "/a/b/");
}

TEST(PathOrder, ByUnsignedBytesWithPrefixFirst) {
  struct {
    const char *left, *right;
    bool less;
  } rows[] = {
      {"/a/", "/a/b/", true},    {"/a/b/", "/a/", false},
      {"/a/", "/b/", true},      {"/B/", "/a/", true},
      {"/a/b/", "/a/b/", false}, {"/a/", "/\xe9/", true},
      {"/\xe9/", "/a/", false},
  };
  for (auto& row : rows) {
    EXPECT_EQ(Directory(row.left) < Directory(row.right), row.less)
        << row.left << " < " << row.right;
    EXPECT_EQ(File(row.left) < File(row.right), row.less)
        << row.left << " < " << row.right;
  }
}

TEST(DirectoryOfFile, KeepsTextUpToLastSlash) {
  EXPECT_EQ(Directory(File("/a/b.c")).toUniversalPath(), "/a/");
  EXPECT_EQ(Directory(File("/a/")).toUniversalPath(), "/a/");
  EXPECT_EQ(Directory(File("/w/x/..")).toUniversalPath(), "/w/x/");
  EXPECT_EQ(Directory(File()).toUniversalPath(), "");
}

TEST(FileName, SplitsAtLastDotOfName) {
  struct {
    const char *path, *name, *base, *extension;
  } rows[] = {
      {"/a", "a", "a", ""},    {"/a.b", "a.b", "a", ".b"},
      {"/.b", ".b", "", ".b"}, {"/a.b.c", "a.b.c", "a.b", ".c"},
      {"/a.", "a.", "a", "."}, {"/a..b", "a..b", "a.", ".b"},
      {"/..", "..", ".", "."}, {"/.", ".", "", "."},
      {"/", "", "", ""},       {"/d.x/a", "a", "a", ""},
  };
  for (auto& row : rows) {
    File file(row.path);
    EXPECT_EQ(file.getName(), row.name) << row.path;
    EXPECT_EQ(file.getBaseName(), row.base) << row.path;
    EXPECT_EQ(file.getExtension(), row.extension) << row.path;
  }
  File none;
  EXPECT_EQ(none.getName() + none.getBaseName() + none.getExtension(), "");
  EXPECT_FALSE(none.exists());
}

TEST(PathCopy, CopiesAreIndependentAndSelfAssignmentKeepsText) {
  Directory directory("/a/");
  Directory copy(directory);
  copy = Directory("/b/");
  directory = *&directory;
  EXPECT_EQ(directory.toUniversalPath(), "/a/");
  EXPECT_EQ(copy.toUniversalPath(), "/b/");
  File file("/f");
  File fileCopy = file;
  fileCopy = File("/g");
  file = *&file;
  EXPECT_EQ(file.toNativePath(), "/f");
  EXPECT_EQ(fileCopy.toNativePath(), "/g");
}

}  // namespace
