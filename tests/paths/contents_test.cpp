// What a Directory finds on disk, over a scratch tree that holds one of each
// kind of entry, and where several directories meet.
#include <algorithm>

#include "filesystem/scratch.h"

namespace {

using Texts = std::vector<std::string>;

class Contents : public Scratch {
 protected:
  void SetUp() override {
    Scratch::SetUp();
    lay({"sub/", ".../", "a/", "a/b/", "a/b/c/", "a/bc/", "a/bd/", "plain",
         ".hidden", "sub/inner", "odd\\name"});
    mkfifo(at("fifo").c_str(), 0600);
    symlink(at("nowhere").c_str(), at("dangling").c_str());
    symlink(at("sub").c_str(), at("dirlink").c_str());
    symlink(at("plain").c_str(), at("filelink").c_str());
  }
  template <class Path>
  static Texts sorted(const std::vector<Path>& paths) {
    Texts texts;
    for (const Path& path : paths) texts.push_back(path.toUniversalPath());
    std::sort(texts.begin(), texts.end());
    return texts;
  }
};

// Types come from stat through links; FIFOs, dangling links and a name that
// does not survive the backslash conversion are in neither list. The lists
// are appended to, never cleared, also when they hold the listed directory
// itself and must grow. Existence is access(): any type counts.
TEST_F(Contents, ListsByTypeFollowingLinks) {
  std::vector<Directory> directories{Directory(root)};
  directories.shrink_to_fit();
  directories[0].directories(directories);
  EXPECT_EQ(sorted(directories),
            (Texts{root, at(".../"), at("a/"), at("dirlink/"), at("sub/")}));
  std::vector<File> files{File("/kept")};
  Directory(root).files(files);
  EXPECT_EQ(sorted(files),
            (Texts{"/kept", at(".hidden"), at("filelink"), at("plain")}));
  for (const Directory& none : {Directory(at("plain")), Directory()}) {
    EXPECT_TRUE(none.directories().empty() && none.files().empty());
    EXPECT_FALSE(none.exists());  // "plain/" is no directory
  }
  EXPECT_TRUE(Directory(root).hasFile("sub") &&
              Directory(root).hasDirectory("plain"));
  EXPECT_FALSE(Directory(root).hasFile("dangling"));
}

// A relative path is resolved against the working directory once, when it
// is built.
TEST_F(Contents, RelativePathsAreResolvedOnce) {
  ASSERT_EQ(chdir(root.c_str()), 0);
  Directory relative("a");
  ASSERT_EQ(chdir("/"), 0);
  EXPECT_EQ(relative.toUniversalPath(), at("a/"));
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
    return Directory(text[0] == '/' ? text : at(text));
  };
  for (auto& row : rows) {
    std::vector<Directory> candidates;
    for (auto& text : row.candidates) candidates.push_back(make(text));
    auto common = Directory::commonRootOf(candidates);
    std::string label = row.candidates.empty() ? "none" : row.candidates[0];
    ASSERT_EQ(common != nullptr, row.want != nullptr) << label;
    if (common) {
      EXPECT_EQ(common->toUniversalPath(), make(row.want).toUniversalPath())
          << label;
    }
  }
}

}  // namespace
