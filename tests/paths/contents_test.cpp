// What a Directory finds on disk, over a scratch tree that holds one of each
// kind of entry, and where several directories meet.
#include <ZuPlatform/paths.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

using ZuPlatform::Directory;
using ZuPlatform::File;

namespace {

using Texts = std::vector<std::string>;

class Contents : public ::testing::Test {
 protected:
  void SetUp() override {
    char name[] = "/tmp/zu-paths-XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    s = std::string(name) + "/";
    for (const char* name : {"sub", "...", "a/b/c", "a/bc", "a/bd"}) {
      std::filesystem::create_directories(s + name);
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
  static Texts sorted(const std::vector<Path>& paths) {
    Texts texts;
    for (const Path& path : paths) texts.push_back(path.toUniversalPath());
    std::sort(texts.begin(), texts.end());
    return texts;
  }

  // Puts the working directory back too.
  void TearDown() override {
    std::filesystem::current_path(previous);
    std::filesystem::remove_all(s);
  }

  std::filesystem::path previous = std::filesystem::current_path();
  std::string s;  // the scratch directory, ending in "/"
};

// Types come from stat through links; FIFOs, dangling links and a name that
// does not survive the backslash conversion are in neither list. The lists
// are appended to, never cleared. Existence is access(): any type counts.
TEST_F(Contents, ListsByTypeFollowingLinks) {
  Directory root(s);
  EXPECT_EQ(sorted(root.directories()),
            (Texts{s + ".../", s + "a/", s + "dirlink/", s + "sub/"}));
  std::vector<File> files{File("/kept")};
  root.files(files);
  EXPECT_EQ(sorted(files),
            (Texts{"/kept", s + ".hidden", s + "filelink", s + "plain"}));
  for (const Directory& none : {Directory(s + "plain"), Directory()}) {
    EXPECT_TRUE(none.directories().empty() && none.files().empty());
    EXPECT_FALSE(none.exists());  // "plain/" is no directory
  }
  EXPECT_TRUE(root.hasFile("sub") && root.hasDirectory("plain"));
  EXPECT_FALSE(root.hasFile("dangling"));
}

// A relative path is resolved against the working directory once, when it
// is built.
TEST_F(Contents, RelativePathsAreResolvedOnce) {
  ASSERT_EQ(chdir(s.c_str()), 0);
  Directory relative("a");
  ASSERT_EQ(chdir("/"), 0);
  EXPECT_EQ(relative.toUniversalPath(), s + "a/");
  EXPECT_EQ(Directory(Directory::WELL_KNOWN_CURRENT).toUniversalPath(), "/");
}

// Candidates lie under the scratch root unless they begin with "/"; "-" is a
// Directory with an empty path; a want of nullptr is an empty pointer.
TEST_F(Contents, CommonRootClimbsWhileParentExists) {
  struct {
    Texts candidates;
    const char* want;
  } rows[] = {{{}, nullptr},
              {{"no/such/"}, "no/such/"},
              {{"a/b/", "a/b/c/"}, "a/b/"},
              {{"a/b/c/", "a/b/"}, "a/b/"},
              {{"a/b/", "a/bc/"}, "a/"},
              {{"a/b/", "sub/", "a/bd/"}, ""},
              {{"a/b/", "/elsewhere/"}, "/"},
              {{"no/such/a/", "no/such/b/"}, nullptr},
              {{"a/gone/", "a/b/"}, "a/"},
              {{"-", "a/"}, "-"},
              {{"a/", "-"}, nullptr}};
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
