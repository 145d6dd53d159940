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

struct Row {
  const char* input;
  const char* file;
  const char* directory;
};

void expectRows(const std::string& currentDirectory,
                std::initializer_list<Row> rows) {
  fakeCurrentDirectory = currentDirectory;
  for (const Row& row : rows) {
    EXPECT_EQ(normaliseFileText(row.input, queryFake), row.file)
        << "file of \"" << row.input << "\" in " << currentDirectory;
    EXPECT_EQ(normaliseDirectoryText(row.input, queryFake), row.directory)
        << "directory of \"" << row.input << "\" in " << currentDirectory;
  }
}

TEST(Normalise, KnownAnswersInWorkingDirectory) {
  expectRows("/w/x/", {
                          // relative, put behind the current directory
                          {"", "", "/w/x/"},
                          {".", "/w/x/.", "/w/x/"},
                          {"..", "/w/x/..", "/w/"},
                          {"./", "/w/x/", "/w/x/"},
                          {"../", "/w/", "/w/"},
                          {"a", "/w/x/a", "/w/x/a/"},
                          {"a/b/", "/w/x/a/b/", "/w/x/a/b/"},
                          {".hidden", "/w/x/.hidden", "/w/x/.hidden/"},
                          {"./a", "/w/x/a", "/w/x/a/"},
                          {"../a", "/w/a", "/w/a/"},
                          {"../../a", "/a", "/a/"},
                          {"../../../a", "/../a", "/../a/"},
                          {"D:\\x\\y", "/w/x/D:/x/y", "/w/x/D:/x/y/"},
                          // already absolute
                          {"/a", "/a", "/a/"},
                          {"/", "/", "/"},
                          {"//a//b", "//a//b", "//a//b/"},
                          {"/a/./b", "/a/b", "/a/b/"},
                          {"/a/././b", "/a/b", "/a/b/"},
                          {"/a/.../b", "/a/.../b", "/a/.../b/"},
                          {"\\a\\b", "/a/b", "/a/b/"},
                          {"\\\\a\\b", "//a/b", "//a/b/"},
                          // a last "." or ".." collapses only in a directory
                          {"/.", "/.", "/"},
                          {"/./", "/", "/"},
                          {"/a/b/.", "/a/b/.", "/a/b/"},
                          {"/a/b/..", "/a/b/..", "/a/"},
                          {"/a/..", "/a/..", "/"},
                          {"/a/../", "/", "/"},
                          // dot-dot at the root stops the collapse
                          {"/..", "/..", "/../"},
                          {"/../a", "/../a", "/../a/"},
                          {"/../a/../b", "/../a/../b", "/../a/../b/"},
                          {"/a/../..", "/..", "/../"},
                          // "." goes first; an empty component is climbed
                          {"/a/b/../c", "/a/c", "/a/c/"},
                          {"/a/./../b", "/b", "/b/"},
                          {"/a//../b", "/a/b", "/a/b/"},
                      });
}

TEST(Normalise, KnownAnswersInRoot) {
  expectRows("/", {{"..", "/..", "/../"}, {"a", "/a", "/a/"}});
}

// With no current directory a relative path stays relative, and what stands
// before its first "/" is no component that collapses.
TEST(Normalise, KnownAnswersWithoutWorkingDirectory) {
  expectRows("", {
                     {"", "", "./"},
                     {"a", "a", "a/"},
                     {"./a", "./a", "./a/"},
                     {"a/../b", "a/../b", "a/../b/"},
                     {"a/b/../c/./d", "a/c/d", "a/c/d/"},
                 });
}

std::string randomText(std::mt19937& random) {
  static const char ALPHABET[] = {'/', '\\', '.', 'a', 'b'};
  std::uniform_int_distribution<int> length(0, 24), letter(0, 4);
  std::string text(length(random), ' ');
  for (char& c : text) c = ALPHABET[letter(random)];
  return text;
}

// The one-pass normalisers against the literal search and replace, over
// current directories that are absolute, missing, or oddly shaped.
TEST(Normalise, MatchesLiteralModel) {
  std::mt19937 random(20240611);
  const char* currentDirectories[] = {"/w/x/",  "/",     "",
                                      "/a/../", "//.//", "rel/"};
  for (int i = 0; i < 50000; ++i) {
    std::string text = randomText(random);
    for (const char* currentDirectory : currentDirectories) {
      fakeCurrentDirectory = currentDirectory;
      ASSERT_EQ(normaliseDirectoryText(text, queryFake),
                pathmodel::directory(text, currentDirectory))
          << "directory of \"" << text << "\" in " << currentDirectory;
      ASSERT_EQ(normaliseFileText(text, queryFake),
                pathmodel::file(text, currentDirectory))
          << "file of \"" << text << "\" in " << currentDirectory;
    }
  }
}

}  // namespace
