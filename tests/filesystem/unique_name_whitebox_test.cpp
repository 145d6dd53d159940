// The end of the numbers, reached by setting the library's counter.
#include <gtest/gtest.h>
#include <unistd.h>

#include "ZuPlatform/filesystem.h"
#include "filesystem/unique_name.h"

namespace {

namespace Fs = ZuPlatform::Filesystem;

TEST(UniqueNameCounter, StartsAtOneAndStopsAfterTheLastNumber) {
  Fs::uniqueNameCounter = 0;
  const std::string pid = std::to_string(getpid());
  EXPECT_EQ(Fs::createUniqueName("job"), "job_" + pid + "_1");
  Fs::uniqueNameCounter = 4294967294u;
  EXPECT_EQ(Fs::createUniqueName("job"), "job_" + pid + "_4294967295");
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Fs::createUniqueName("job"), "");
    EXPECT_EQ(_getTempFileName(), "");
    EXPECT_EQ(Fs::createTempFile().toUniversalPath(), "");
    EXPECT_EQ(Fs::createTempFileName().toUniversalPath(), "");
  }
  EXPECT_EQ(Fs::uniqueNameCounter.load(), 4294967295u);  // never wraps
}

}  // namespace
