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

}  // namespace
