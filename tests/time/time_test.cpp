#include <ZuPlatform/diagnostics.h>
#include <ZuPlatform/time.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using Zu::ZuTimer;

const std::string ALREADY_RUNNING = "DEBUG: ZuTimer: Timer already running.\n";
const std::string NOT_RUNNING = "DEBUG: ZuTimer: Timer is not running.\n";

// Waits until the clock has visibly moved, so that two stamps differ.
void letClockAdvance() {
  const double start = ZuTimer::currentTimestamp();
  while (ZuTimer::currentTimestamp() == start) {
  }
}

class Timer : public testing::Test {
 protected:
  void SetUp() override { Zu::LogSetLevel(Zu::LOG_LEVEL_DEBUG); }
};

// What each sequence of calls writes; 'S' start, 'P' stop, 'R' reset,
// 'G' getTime, on a timer built with or without autoStart.
TEST_F(Timer, MessagesFollowTheStateTable) {
  const struct {
    bool autoStart;
    const char* calls;
    std::string want;
  } rows[] = {
      // right use: silent
      {true, "", ""},
      {false, "SPSG", ""},
      // start while running: restart, one message
      {true, "S", ALREADY_RUNNING},
      {false, "SSP", ALREADY_RUNNING},
      // stop or getTime while stopped
      {false, "P", NOT_RUNNING},
      {true, "PG", NOT_RUNNING},
      {true, "RP", NOT_RUNNING},
      {true, "SPP", ALREADY_RUNNING + NOT_RUNNING},
  };
  for (const auto& row : rows) {
    testing::internal::CaptureStderr();
    ZuTimer timer(row.autoStart);
    for (const char* call = row.calls; *call; ++call) {
      if (*call == 'S') timer.start();
      if (*call == 'P') timer.stop();
      if (*call == 'R') timer.reset();
      if (*call == 'G') timer.getTime();
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.want)
        << "autoStart " << row.autoStart << " calls " << row.calls;
  }
}

// A second stop measures again from the same start, so that interval counts
// twice; a start after a stop leaves the last time negative until the next
// stop; a reset forgets the old start, so stop measures from stamp 0.
TEST_F(Timer, StopsMeasureFromTheLatestStart) {
  testing::internal::CaptureStderr();
  ZuTimer timer;
  letClockAdvance();
  const double first = timer.stop();
  EXPECT_GT(first, 0.0);
  letClockAdvance();
  const double second = timer.stop();
  EXPECT_GT(second, first);
  EXPECT_EQ(timer.getLastTime(), second);
  EXPECT_DOUBLE_EQ(timer.getTotalTime(), first + second);
  letClockAdvance();
  timer.start();
  EXPECT_LT(timer.getLastTime(), 0.0);
  timer.reset();
  EXPECT_EQ(timer.getTotalTime(), 0.0);
  EXPECT_GE(timer.stop(), ZuTimer::currentTimestamp() - 1.0);
  testing::internal::GetCapturedStderr();
}

}  // namespace
