// What a path value says about itself and about another.
#include <ZuPlatform/paths.h>
#include <gtest/gtest.h>

using ZuPlatform::Directory;
using ZuPlatform::File;

namespace {

// Only the last component counts, split at its last "."; base name and
// extension always join back to the name.
TEST(PathValue, NameSplitsAtItsLastDot) {
  struct {
    const char *path, *name, *base, *extension;
  } rows[] = {
      {"/d.x/a", "a", "a", ""},        {"/a.b.c", "a.b.c", "a.b", ".c"},
      {"/d/.b", ".b", "", ".b"},       {"/a.", "a.", "a", "."},
      {"/d/a..b", "a..b", "a.", ".b"}, {"/", "", "", ""},
  };
  for (auto& row : rows) {
    File file(row.path);
    EXPECT_EQ(
        file.getName() + "|" + file.getBaseName() + "|" + file.getExtension(),
        std::string(row.name) + "|" + row.base + "|" + row.extension)
        << row.path;
  }
}

TEST(PathValue, RelativeToTakesAwayOnlyAPrefix) {
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
}

// Every climb tests all candidates again. A literal relative root ("./a/",
// as HOME may give) climbs to an absolute parent that no longer covers the
// candidates it covered before, so the climb goes on to "/" and gives up.
TEST(PathValue, CommonRootRetestsEveryCandidateAfterAClimb) {
  const char* saved = getenv("HOME");
  const std::string home = saved ? saved : "";
  std::vector<Directory> candidates;
  for (const char* value : {"./a", "./a/b"}) {
    setenv("HOME", value, 1);
    candidates.emplace_back(Directory::WELL_KNOWN_HOME);
  }
  saved ? setenv("HOME", home.c_str(), 1) : unsetenv("HOME");
  candidates.emplace_back(Directory::WELL_KNOWN_CURRENT);
  EXPECT_EQ(Directory::commonRootOf(candidates), nullptr);
  candidates.pop_back();
  EXPECT_EQ(Directory::commonRootOf(candidates)->toUniversalPath(), "./a/");
}

}  // namespace
