#include <ZuPlatform/time.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

// This program's own sysconf stands in front of the C library's, so the count
// of processor queries that the library makes can be watched.
int processorQueries = 0;

}  // namespace

extern "C" long __sysconf(int name);

extern "C" long sysconf(int name) {
  if (name == _SC_NPROCESSORS_ONLN) ++processorQueries;
  return __sysconf(name);
}

namespace {

// Run alone, as ctest runs each test, both memories start empty: each
// operation asks the system once, and neither answers from the other's memory.
TEST(CoreCount, EachOperationAsksTheSystemOnce) {
  if (processorQueries != 0) GTEST_SKIP() << "counts already remembered";
  const int online = static_cast<int>(__sysconf(_SC_NPROCESSORS_ONLN));
  EXPECT_GT(online, 0);
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(ZuPlatform::CPU::getCoreCount(), online);
  EXPECT_EQ(processorQueries, 1);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(Zu::ZuThreadGetCPUCount(), online);
  EXPECT_EQ(processorQueries, 2);
}

}  // namespace
