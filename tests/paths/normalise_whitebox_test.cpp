// The normalisers with the current directory handed in, against a slow
// literal model, and the byte order that both path values compare by.
#include <gtest/gtest.h>

#include <random>

#include "paths/normalise.h"
#include "support/path_model.h"

using namespace ZuPlatform::detail;

namespace {

std::string fakeCurrentDirectory;
std::string queryFake() { return fakeCurrentDirectory; }

// The one-pass normalisers against the literal search and replace, on random
// texts over current directories that are absolute, missing (getcwd failed)
// or oddly shaped; a backslash in the current directory is a name. A few
// answers worked out by hand keep the model itself honest.
TEST(Normalise, MatchesLiteralModel) {
  const char* known[][4] = {
      // current directory, input, file, directory
      {"", "a/b/../c/./d/..", "a/c/d/..", "a/c/"},
      {"/", "\\\\a//.../b/.", "//a//.../b/.", "//a//.../b/"},
      {"/w/", "/a/./../b//../../../c/../d", "/../c/../d", "/../c/../d/"}};
  for (auto& row : known) {
    EXPECT_EQ(pathmodel::file(row[1], row[0]) + " " +
                  pathmodel::directory(row[1], row[0]),
              std::string(row[2]) + " " + row[3])
        << row[1] << " in " << row[0];
  }
  std::mt19937 random(20240611);
  std::uniform_int_distribution<int> length(0, 24), letter(0, 4);
  for (int i = 0; i < 50000; ++i) {
    std::string text(length(random), ' ');
    for (char& c : text) c = "/\\.ab"[letter(random)];
    for (const char* here : {"/w/x/", "/", "", "/a/../", "//.//", "/b\\./"}) {
      fakeCurrentDirectory = here;
      ASSERT_EQ(
          normaliseFileText(text, queryFake) + " " +
              normaliseDirectoryText(text, queryFake),
          pathmodel::file(text, here) + " " + pathmodel::directory(text, here))
          << "\"" << text << "\" in " << here;
    }
  }
}

// Unsigned bytes, and a proper prefix first: "/a/" before "/a/b/", "/B/"
// before "/a/", "\xff" after every letter.
TEST(Normalise, PathsOrderByUnsignedBytes) {
  const char* ascending[] = {"", "/", "/B/", "/a/", "/a/b/", "/a/b/c", "/\xff"};
  for (size_t i = 0; i < 7; ++i) {
    for (size_t j = 0; j < 7; ++j) {
      EXPECT_EQ(lessByBytes(ascending[i], ascending[j]), i < j)
          << ascending[i] << " < " << ascending[j];
    }
  }
}

}  // namespace
