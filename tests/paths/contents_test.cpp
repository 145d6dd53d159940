// What a Directory finds on disk, over a scratch tree that holds one of each
// kind of entry, and where several directories meet.
#include <ZuPlatform/paths.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>

#include "paths/scratch.h"

using ZuPlatform::Directory;
using ZuPlatform::File;

namespace {

class Contents : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(s.empty());
    for (const char* name : {"sub", "...", "a/b/c", "a/bc", "a/bd", "a/c"}) {
      scratch.makeDirectory(name);
    }
    for (const char* name : {"plain", ".hidden", "sub/inner", "odd\\name"}) {
      std::ofstream(s + name) << "x";
    }
    ASSERT_EQ(mkfifo((s + "fifo").c_str(), 0600), 0);
    ASSERT_EQ(symlink((s + "nowhere").c_str(), (s + "dangling").c_str()), 0);
    ASSERT_EQ(symlink((s + "sub").c_str(), (s + "dirlink").c_str()), 0);
    ASSERT_EQ(symlink((s + "plain").c_str(), (s + "filelink").c_str()), 0);
  }

  template <class Path>
  static std::vector<std::string> textsOf(const std::vector<Path>& paths) {
    std::vector<std::string> texts;
    for (const Path& path : paths) texts.push_back(path.toUniversalPath());
    std::sort(texts.begin(), texts.end());
    return texts;
  }

  Scratch scratch;
  const std::string& s = scratch.path();
};

// Types come from stat through links; FIFOs, dangling links and names that
// do not survive the backslash conversion are in neither list.
TEST_F(Contents, ListsByTypeFollowingLinks) {
  Directory root(s);
  EXPECT_EQ(textsOf(root.directories()),
            (std::vector<std::string>{s + ".../", s + "a/", s + "dirlink/",
                                      s + "sub/"}));
  EXPECT_EQ(
      textsOf(root.files()),
      (std::vector<std::string>{s + ".hidden", s + "filelink", s + "plain"}));
}

TEST_F(Contents, ListingsAppendAndNeverClear) {
  std::vector<File> files{File("/kept")};
  Directory(s + "sub").files(files);
  Directory(s + "sub").files(files);
  EXPECT_EQ(textsOf(files), (std::vector<std::string>{"/kept", s + "sub/inner",
                                                      s + "sub/inner"}));
  std::vector<Directory> directories{Directory("/kept")};
  Directory(s + "sub").directories(directories);  // none inside
  EXPECT_EQ(textsOf(directories), std::vector<std::string>{"/kept/"});
}

TEST_F(Contents, UnreadableDirectoryListsNothing) {
  for (const Directory& directory :
       {Directory(s + "missing"), Directory(s + "plain"), Directory()}) {
    EXPECT_TRUE(directory.directories().empty()) << directory.toUniversalPath();
    EXPECT_TRUE(directory.files().empty()) << directory.toUniversalPath();
  }
}

TEST_F(Contents, ExistenceTestsIgnoreType) {
  EXPECT_TRUE(Directory("/").exists());
  EXPECT_TRUE(Directory(s + "dirlink").exists());
  EXPECT_FALSE(Directory(s + "plain").exists());  // "plain/" is no directory
  EXPECT_FALSE(Directory(s + "missing").exists());
  EXPECT_FALSE(Directory().exists());
  Directory root(s);
  EXPECT_TRUE(root.hasFile("sub"));
  EXPECT_TRUE(root.hasDirectory("plain"));
  EXPECT_TRUE(root.hasFile("fifo"));
  EXPECT_FALSE(root.hasFile("dangling"));
  EXPECT_FALSE(root.hasDirectory("missing"));
  EXPECT_TRUE(root.hasDirectory(""));
  EXPECT_TRUE(File(s + "sub").exists());
}

TEST(DirectoryChild, JoinsTextAndNormalises) {
  Directory ab("/a/b/");
  EXPECT_EQ(ab.directory("..").toUniversalPath(), "/a/");
  EXPECT_EQ(ab.file("../c").toUniversalPath(), "/a/c");
  EXPECT_EQ(ab.directory("c/./d").toUniversalPath(), "/a/b/c/d/");
  EXPECT_EQ(ab.directory("/c").toUniversalPath(), "/a/b//c/");
  EXPECT_EQ(ab.file("c\\d").toUniversalPath(), "/a/b/c/d");
}

// Candidates are under the scratch root unless they begin with "/"; "-" is
// a Directory with an empty path. A want of nullptr is an empty pointer.
TEST_F(Contents, CommonRootClimbsWhileParentExists) {
  struct {
    std::vector<std::string> candidates;
    const char* want;
  } rows[] = {
      {{}, nullptr},
      {{"no/such/"}, "no/such/"},
      {{"a/b/", "a/b/"}, "a/b/"},
      {{"a/b/", "a/b/c/"}, "a/b/"},
      {{"a/b/c/", "a/b/"}, "a/b/"},
      {{"a/bc/", "a/bd/"}, "a/"},
      {{"a/b/", "a/bc/"}, "a/"},
      {{"a/b/", "sub/", "a/c/"}, ""},
      {{"a/b/", "/elsewhere/"}, "/"},
      {{"no/such/a/", "no/such/b/"}, nullptr},
      {{"a/gone/", "a/b/"}, "a/"},
      {{"-", "a/"}, "-"},
      {{"a/", "-"}, nullptr},
  };
  auto make = [&](const std::string& text) {
    if (text == "-") return Directory();
    return Directory(text[0] == '/' ? text : s + text);
  };
  for (auto& row : rows) {
    std::vector<Directory> candidates;
    for (auto& text : row.candidates) candidates.push_back(make(text));
    auto root = Directory::commonRootOf(candidates);
    std::string label = row.candidates.empty() ? "none" : row.candidates[0];
    if (!row.want) {
      EXPECT_FALSE(root) << label;
    } else {
      ASSERT_TRUE(root) << label;
      EXPECT_EQ(root->toUniversalPath(), make(row.want).toUniversalPath())
          << label;
    }
  }
}

}  // namespace
