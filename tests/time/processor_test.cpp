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

TEST(CoreCount, BothOperationsAgreeWithTheSystem) {
  const int online = static_cast<int>(__sysconf(_SC_NPROCESSORS_ONLN));
  EXPECT_GT(online, 0);
  EXPECT_EQ(ZuPlatform::CPU::getCoreCount(), online);
  EXPECT_EQ(Zu::ZuThreadGetCPUCount(), online);
}

// Each operation asks the system at most once per process, and neither
// answers from the other's memory.
TEST(CoreCount, EachOperationAsksOnce) {
  processorQueries = 0;
  for (int i = 0; i < 10; ++i) ZuPlatform::CPU::getCoreCount();
  EXPECT_LE(processorQueries, 1);
  const int afterCoreCount = processorQueries;
  for (int i = 0; i < 10; ++i) Zu::ZuThreadGetCPUCount();
  EXPECT_LE(processorQueries - afterCoreCount, 1);
}

// Run alone, as ctest runs each test, both memories start empty: the two
// operations make exactly one query each.
TEST(CoreCount, SeparateMemories) {
  if (processorQueries != 0) GTEST_SKIP() << "counts already remembered";
  ZuPlatform::CPU::getCoreCount();
  EXPECT_EQ(processorQueries, 1);
  Zu::ZuThreadGetCPUCount();
  EXPECT_EQ(processorQueries, 2);
  ZuPlatform::CPU::getCoreCount();
  Zu::ZuThreadGetCPUCount();
  EXPECT_EQ(processorQueries, 2);
}

TEST(CycleTime, CountsBusyTimeAndNotSleep) {
  const double start = ZuPlatform::CycleTime::getCurrentValue();
  // Spin for 0.2 s of wall time: on a busy machine a good part of it, at
  // least, is this thread's own CPU time.
  volatile unsigned long spins = 0;
  const double until = Zu::ZuTimer::currentTimestamp() + 0.2;
  while (Zu::ZuTimer::currentTimestamp() < until) ++spins;
  const double afterBusy = ZuPlatform::CycleTime::getCurrentValue();
  usleep(200000);
  const double afterSleep = ZuPlatform::CycleTime::getCurrentValue();

  EXPECT_GT(afterBusy - start, 0.02);
  EXPECT_LT(afterSleep - afterBusy, 0.05);
}

}  // namespace
