// What a Directory path is, seen from another.
#include <ZuPlatform/paths.h>
#include <gtest/gtest.h>

using ZuPlatform::Directory;

namespace {

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

}  // namespace
