// Directory and File as values: the real working directory, names, parents,
// order and relations.
#include <ZuPlatform/paths.h>
#include <gtest/gtest.h>

#include "paths/scratch.h"

using ZuPlatform::Directory;
using ZuPlatform::File;

namespace {

class PathValue : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(s.empty());
    scratch.makeDirectory("a");
    ASSERT_EQ(chdir(s.c_str()), 0);
  }
  Scratch scratch;  // puts the working directory back
  const std::string& s = scratch.path();
};

TEST_F(PathValue, RelativeTextIsResolvedOnceAtConstruction) {
  EXPECT_EQ(Directory("").toUniversalPath(), s);
  EXPECT_EQ(File("a/../b").toUniversalPath(), s + "b");
  Directory before("a");
  ASSERT_EQ(chdir("/"), 0);
  EXPECT_EQ(before.toUniversalPath(), s + "a/");
  EXPECT_EQ(Directory(Directory::WELL_KNOWN_CURRENT).toUniversalPath(), "/");
}

// hasParent looks at the disk: "a" exists under the scratch root, "no" not.
TEST_F(PathValue, NamesAndParents) {
  struct {
    Directory path;
    std::string name, parent;
    bool hasParent;
  } rows[] = {
      {Directory(), "", "", false},
      {Directory("/"), "", "/", false},
      {Directory("//"), "", "/", true},
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
      {"/a/", "/a/b/", "/a/"},       {"/a/bc/", "/a/b/", "/a/bc/"},
      {"/a/b/c/", "/b/", "/a/b/c/"},  // a later hit is no ancestor
  };
  for (auto& row : rows) {
    EXPECT_EQ(Directory(row.path).relativeTo(Directory(row.base)), row.want)
        << row.path << " from " << row.base;
  }
  EXPECT_EQ(Directory("/a/b/").relativeTo(Directory(), true), "/a/b/");
}

TEST(PathOrder, ByUnsignedBytesWithPrefixFirst) {
  struct {
    const char *left, *right;
    bool less;
  } rows[] = {{"/a/", "/a/b/", true},
              {"/a/b/", "/a/", false},
              {"/B/", "/a/", true},
              {"/a/b/", "/a/b/", false},
              {"/a/", "/\xe9/", true}};
  for (auto& row : rows) {
    EXPECT_EQ(Directory(row.left) < Directory(row.right), row.less)
        << row.left << " < " << row.right;
    EXPECT_EQ(File(row.left) < File(row.right), row.less)
        << row.left << " < " << row.right;
  }
}

TEST(DirectoryOfFile, KeepsTextUpToLastSlash) {
  EXPECT_EQ(Directory(File("/a/b.c")).toUniversalPath(), "/a/");
  EXPECT_EQ(Directory(File("/w/x/..")).toUniversalPath(), "/w/x/");
  EXPECT_EQ(Directory(File()).toUniversalPath(), "");
}

TEST(FileName, SplitsAtLastDotOfName) {
  struct {
    const char *path, *name, *base, *extension;
  } rows[] = {{"/a", "a", "a", ""},
              {"/.b", ".b", "", ".b"},
              {"/a.b.c", "a.b.c", "a.b", ".c"},
              {"/a.", "a.", "a", "."},
              {"/..", "..", ".", "."},
              {"/", "", "", ""},
              {"/d.x/a", "a", "a", ""}};
  for (auto& row : rows) {
    File file(row.path);
    EXPECT_EQ(file.getName(), row.name) << row.path;
    EXPECT_EQ(file.getBaseName(), row.base) << row.path;
    EXPECT_EQ(file.getExtension(), row.extension) << row.path;
  }
}

}  // namespace
