// The normalisers with the current directory handed in, so the known answers
// can name it, and so a failed getcwd (no directory at all) can be tried.
#include <gtest/gtest.h>

#include <random>

#include "paths/normalise.h"
#include "support/path_model.h"

using ZuPlatform::detail::normaliseDirectoryText;
using ZuPlatform::detail::normaliseFileText;

namespace {

std::string fakeCurrentDirectory;
std::string queryFake() { return fakeCurrentDirectory; }

// Anchors the model as much as the library: the differential test below
// trusts the model everywhere else.
TEST(Normalise, KnownAnswers) {
  struct {
    const char *here, *input, *file, *directory;
  } rows[] = {
      // relative: behind the current directory, or left alone without one
      {"/w/x/", "", "", "/w/x/"},
      {"/w/x/", "../../../a", "/../a", "/../a/"},
      {"/w/x/", "D:\\x\\y", "/w/x/D:/x/y", "/w/x/D:/x/y/"},
      {"", "", "", "./"},
      {"", "a/b/../c/./d", "a/c/d", "a/c/d/"},
      // "//" and names of dots stay; a last "." or ".." collapses in a
      // directory only; "." goes first, and ".." climbs an empty component
      {"/", "\\\\a//.../b/..", "//a//.../b/..", "//a//.../"},
      {"/", "/a/b/.", "/a/b/.", "/a/b/"},
      {"/", "/a/./../b", "/b", "/b/"},
      {"/", "/a//../b", "/a/b", "/a/b/"},
      // dot-dot at the root stops the collapse, for the rest of the text too
      {"/", "/../a/../b", "/../a/../b", "/../a/../b/"},
  };
  for (auto& row : rows) {
    fakeCurrentDirectory = row.here;
    EXPECT_EQ(normaliseFileText(row.input, queryFake), row.file)
        << "file of \"" << row.input << "\" in " << row.here;
    EXPECT_EQ(normaliseDirectoryText(row.input, queryFake), row.directory)
        << "directory of \"" << row.input << "\" in " << row.here;
  }
}

// The one-pass normalisers against the literal search and replace, on random
// texts over current directories that are absolute, missing, or oddly
// shaped; a backslash in the current directory is a name, not a separator.
TEST(Normalise, MatchesLiteralModel) {
  std::mt19937 random(20240611);
  std::uniform_int_distribution<int> length(0, 24), letter(0, 4);
  for (int i = 0; i < 50000; ++i) {
    std::string text(length(random), ' ');
    for (char& c : text) c = "/\\.ab"[letter(random)];
    for (const char* here : {"/w/x/", "/", "", "/a/../", "//.//", "/b\\./"}) {
      fakeCurrentDirectory = here;
      ASSERT_EQ(normaliseDirectoryText(text, queryFake),
                pathmodel::directory(text, here))
          << "directory of \"" << text << "\" in " << here;
      ASSERT_EQ(normaliseFileText(text, queryFake), pathmodel::file(text, here))
          << "file of \"" << text << "\" in " << here;
    }
  }
}

}  // namespace
