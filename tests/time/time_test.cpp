#include <ZuPlatform/time.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <ctime>
#include <tuple>

// This program's own clock_gettime stands in front of the C library's, so
// that the clock can be set, or made to fail as an unreadable clock does
// (writing nothing). A stand-in may be called before ThreadSanitizer's
// runtime can run instrumented code, so under it the C library's own serves
// and the test that needs the stand-in is left out.
#ifndef __SANITIZE_THREAD__
long nanos = -2;  // what the clock reads; -1: unreadable; below: the real clock
extern "C" int clock_gettime(clockid_t clock, timespec* stamp) {
  if (nanos < -1) return int(syscall(SYS_clock_gettime, clock, stamp));
  if (nanos >= 0) *stamp = {nanos / 1000000000, nanos % 1000000000};
  return nanos >= 0 ? 0 : -1;
}

namespace {

// Calls on a timer whose clock reads 1.5 s when it is built and 1.5 s more at
// each call: 'S' start, 'P' stop, 'R' reset, 'G' getTime, on a timer built
// started ('+') or not ('-'). Then what is logged ('A' for "already running",
// 'N' for "not running"), the total, the last time and the last call's result.
TEST(Timer, FollowsTheStateTable) {
  const std::tuple<const char*, const char*, double, double, double> rows[] = {
      {"+", "", 0, -1.5, 0},         {"-P", "N", 3, 3, 3},
      {"+PP", "N", 4.5, 3, 3},       {"+SP", "A", 1.5, 1.5, 1.5},
      {"+RP", "N", 4.5, 4.5, 4.5},   {"+PR", "", 0, 0, 0},
      {"-SPSG", "", 1.5, -1.5, 1.5}, {"+PG", "N", 1.5, 1.5, 3},
      {"+SPP", "AN", 4.5, 3, 3},     {"-RG", "N", 0, 0, 4.5}};
  for (const auto& [calls, messages, total, last, result] : rows) {
    nanos = 1500000000;
    testing::internal::CaptureStderr();
    Zu::ZuTimer timer(calls[0] == '+');
    double returned = 0;
    for (const char* call = calls + 1; *call; ++call) {
      nanos += 1500000000;
      returned = *call == 'P' ? timer.stop()
                 : *call == 'G'
                     ? timer.getTime()
                     : (*call == 'S' ? timer.start() : timer.reset(), 0);
    }
    std::string logged;
    for (const char* message = messages; *message; ++message)
      logged += *message == 'A' ? "DEBUG: ZuTimer: Timer already running.\n"
                                : "DEBUG: ZuTimer: Timer is not running.\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), logged) << calls;
    EXPECT_EQ(timer.getTotalTime(), total) << calls;
    EXPECT_EQ(timer.getLastTime(), last) << calls;
    EXPECT_EQ(returned, result) << calls;
  }
  // An unreadable clock reads 0, whatever the stack held before.
  nanos = 2500000000;
  EXPECT_EQ(Zu::ZuTimer::currentTimestamp(), 2.5);
  nanos = -1;
  EXPECT_EQ(Zu::ZuTimer::currentTimestamp(), 0.0);
  nanos = -2;
}

}  // namespace
#endif

namespace {

// The process timer runs from load, so it reads less than the clock itself;
// both processor counts are the processors online; user CPU time grows with a
// busy loop.
TEST(Processor, ProcessTimesAndCounts) {
  const double stamp = Zu::ZuTimer::currentTimestamp();
  EXPECT_LT(Zu::ZuTimer::now(), stamp);
  EXPECT_EQ(ZuPlatform::CPU::getCoreCount(), sysconf(_SC_NPROCESSORS_ONLN));
  EXPECT_EQ(Zu::ZuThreadGetCPUCount(), sysconf(_SC_NPROCESSORS_ONLN));
  const double start = ZuPlatform::CycleTime::getCurrentValue();
  while (ZuPlatform::CycleTime::getCurrentValue() < start + 0.01)
    ASSERT_LT(Zu::ZuTimer::currentTimestamp(), stamp + 10);
}

}  // namespace
