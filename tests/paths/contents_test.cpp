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
    for (const char* name : {"sub", "...", "a/b/c", "a/bc", "a/bd"}) {
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
  static std::vector<std::string> sorted(const std::vector<Path>& paths) {
    std::vector<std::string> texts;
    for (const Path& path : paths) texts.push_back(path.toUniversalPath());
    std::sort(texts.begin(), texts.end());
    return texts;
  }

  Scratch scratch;
  const std::string& s = scratch.path();
};

using Texts = std::vector<std::string>;

// Types come from stat through links; FIFOs, dangling links and a name that
// does not survive the backslash conversion are in neither list.
TEST_F(Contents, ListsByTypeFollowingLinks) {
  Directory root(s);
  EXPECT_EQ(sorted(root.directories()),
            (Texts{s + ".../", s + "a/", s + "dirlink/", s + "sub/"}));
  EXPECT_EQ(sorted(root.files()),
            (Texts{s + ".hidden", s + "filelink", s + "plain"}));
  for (const Directory& none : {Directory(s + "plain"), Directory()}) {
    EXPECT_TRUE(none.directories().empty() && none.files().empty());
  }
}

TEST_F(Contents, ListingsAppendAndNeverClear) {
  std::vector<File> files{File("/kept")};
  Directory(s + "sub").files(files);
  Directory(s + "sub").files(files);
  EXPECT_EQ(sorted(files), (Texts{"/kept", s + "sub/inner", s + "sub/inner"}));
  std::vector<Directory> directories{Directory("/kept")};
  Directory(s + "sub").directories(directories);
  EXPECT_EQ(sorted(directories), Texts{"/kept/"});
}

TEST_F(Contents, ExistenceTestsIgnoreType) {
  EXPECT_TRUE(Directory(s + "dirlink").exists());
  EXPECT_FALSE(Directory(s + "plain").exists());  // "plain/" is no directory
  EXPECT_FALSE(Directory().exists());
  Directory root(s);
  EXPECT_TRUE(root.hasFile("sub") && root.hasDirectory("plain"));
  EXPECT_FALSE(root.hasFile("dangling"));
  EXPECT_TRUE(File(s + "sub").exists());
  EXPECT_EQ(root.directory("sub/..").toUniversalPath(), s);
  EXPECT_EQ(root.file("/c\\d").toUniversalPath(), s + "/c/d");
}

// Candidates lie under the scratch root unless they begin with "/"; "-" is a
// Directory with an empty path; a want of nullptr is an empty pointer.
TEST_F(Contents, CommonRootClimbsWhileParentExists) {
  struct {
    Texts candidates;
    const char* want;
  } rows[] = {
      {{}, nullptr},
      {{"no/such/"}, "no/such/"},
      {{"a/b/", "a/b/c/"}, "a/b/"},
      {{"a/b/c/", "a/b/"}, "a/b/"},
      {{"a/b/", "a/bc/"}, "a/"},
      {{"a/b/", "sub/", "a/bd/"}, ""},
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
    ASSERT_EQ(root != nullptr, row.want != nullptr) << label;
    if (root) {
      EXPECT_EQ(root->toUniversalPath(), make(row.want).toUniversalPath())
          << label;
    }
  }
}

}  // namespace
