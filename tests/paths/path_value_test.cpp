// What a path value says about itself and about another.
#include <ZuPlatform/paths.h>
#include <gtest/gtest.h>

using namespace ZuPlatform;

namespace {

// Only the last component counts, split at its last "."; base name and
// extension always join back to the name. Rows: the path, a blank, then
// name|base name|extension.
TEST(PathValue, NameSplitsAtItsLastDot) {
  for (const std::string row :
       {"/d.x/ ||", "/d.x/a.b.c a.b.c|a.b|.c", "/d/.b .b||.b", "/a. a.|a|."}) {
    File file(row.substr(0, row.find(' ')));
    EXPECT_EQ(file.toUniversalPath() + " " + file.getName() + "|" +
                  file.getBaseName() + "|" + file.getExtension(),
              row);
  }
}

// A directory's name is its last component; the root has none.
TEST(PathValue, DirectoryNameIsItsLastComponent) {
  EXPECT_EQ(Directory("/a/bc/").getName() + Directory("/").getName(), "bc");
}

// Assignment copies the text, also onto itself.
TEST(PathValue, AssignmentCopiesTheText) {
  File file("/a");
  Directory directory("/d");
  file = File("/b");
  file = file;
  directory = Directory("/e");
  EXPECT_EQ(file.toUniversalPath() + directory.toUniversalPath(), "/b/e/");
}

// Only a prefix is taken away: a later hit, or a name that merely begins
// like the base, is no ancestor. Rows: path, base, the path relative to it.
TEST(PathValue, RelativeToTakesAwayOnlyAPrefix) {
  const char* rows[][3] = {{"/a/b/c/", "/a/", "b/c/"},
                           {"/a/b/", "/a/b/", ""},
                           {"/a/bc/", "/a/b/", "/a/bc/"},
                           {"/a/b/c/", "/b/", "/a/b/c/"}};
  for (auto& row : rows) {
    EXPECT_EQ(Directory(row[0]).relativeTo(Directory(row[1])), row[2])
        << row[0] << " from " << row[1];
  }
}

// Every climb tests all candidates again. A literal relative root ("./a/",
// as HOME may give) climbs to an absolute parent that no longer covers the
// candidates it covered before, so the climb goes on to "/" and gives up.
TEST(PathValue, CommonRootRetestsEveryCandidateAfterAClimb) {
  const std::string home = getEnv("HOME");
  std::vector<Directory> candidates;
  for (const char* value : {"./a", "./a/b"}) {
    setenv("HOME", value, 1);
    candidates.emplace_back(Directory::WELL_KNOWN_HOME);
  }
  setenv("HOME", home.c_str(), 1);
  EXPECT_EQ(Directory::commonRootOf(candidates)->toUniversalPath(), "./a/");
  candidates.emplace_back(Directory::WELL_KNOWN_CURRENT);
  EXPECT_EQ(Directory::commonRootOf(candidates), nullptr);
}

}  // namespace
