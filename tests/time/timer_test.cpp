#include <ZuPlatform/diagnostics.h>
#include <ZuPlatform/time.h>
#include <gtest/gtest.h>
#include <unistd.h>

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
  void captureLog() { testing::internal::CaptureStderr(); }
  std::string capturedLog() { return testing::internal::GetCapturedStderr(); }
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
      {false, "S", ""},
      {true, "P", ""},
      {true, "G", ""},
      {false, "SPSP", ""},
      {true, "R", ""},
      {false, "SPSG", ""},
      // start while running: restart, one message
      {true, "S", ALREADY_RUNNING},
      {false, "SSP", ALREADY_RUNNING},
      // stop or getTime while stopped
      {false, "P", NOT_RUNNING},
      {false, "G", NOT_RUNNING},
      {true, "PP", NOT_RUNNING},
      {true, "PG", NOT_RUNNING},
      {true, "RP", NOT_RUNNING},
      {true, "SPP", ALREADY_RUNNING + NOT_RUNNING},
  };
  for (const auto& row : rows) {
    captureLog();
    ZuTimer timer(row.autoStart);
    for (const char* call = row.calls; *call; ++call) {
      switch (*call) {
        case 'S':
          timer.start();
          break;
        case 'P':
          timer.stop();
          break;
        case 'R':
          timer.reset();
          break;
        case 'G':
          timer.getTime();
          break;
      }
    }
    EXPECT_EQ(capturedLog(), row.want)
        << "autoStart " << row.autoStart << " calls " << row.calls;
  }
}

TEST_F(Timer, MessagesReachAReplacedHandlerAtDebugLevel) {
  static int debugMessages;
  debugMessages = 0;
  Zu::LogHandler previous =
      Zu::LogSetHandler([](Zu::eLogLevel level, const char*, va_list) {
        if (level == Zu::LOG_LEVEL_DEBUG) ++debugMessages;
      });
  ZuTimer timer(false);
  timer.stop();
  timer.getTime();
  timer.start();
  timer.start();
  Zu::LogSetHandler(previous);
  EXPECT_EQ(debugMessages, 3);
}

TEST_F(Timer, UnstartedTimerIsEmpty) {
  ZuTimer timer(false);
  EXPECT_FALSE(timer.isRunning());
  EXPECT_EQ(timer.getTotalTime(), 0.0);
  EXPECT_EQ(timer.getLastTime(), 0.0);
  // Measured from stamp 0: the clock's present value.
  captureLog();
  const double before = ZuTimer::currentTimestamp();
  const double time = timer.getTime();
  const double after = ZuTimer::currentTimestamp();
  capturedLog();
  EXPECT_GE(time, before);
  EXPECT_LE(time, after);
}

TEST_F(Timer, DefaultTimerRunsAtOnce) {
  ZuTimer timer;
  EXPECT_TRUE(timer.isRunning());
}

TEST_F(Timer, StopReturnsTheIntervalAndAddsIt) {
  ZuTimer timer(false);
  timer.start();
  letClockAdvance();
  const double first = timer.stop();
  EXPECT_GT(first, 0.0);
  EXPECT_EQ(first, timer.getLastTime());
  EXPECT_EQ(first, timer.getTotalTime());
  EXPECT_FALSE(timer.isRunning());

  timer.start();
  letClockAdvance();
  const double second = timer.stop();
  EXPECT_EQ(timer.getLastTime(), second);
  EXPECT_DOUBLE_EQ(timer.getTotalTime(), first + second);
}

// A second stop measures again from the same start, so the first interval
// counts twice in the total.
TEST_F(Timer, SecondStopMeasuresFromTheSameStart) {
  ZuTimer timer;
  letClockAdvance();
  const double first = timer.stop();
  letClockAdvance();
  captureLog();
  const double second = timer.stop();
  EXPECT_EQ(capturedLog(), NOT_RUNNING);
  EXPECT_GT(second, first);
  EXPECT_DOUBLE_EQ(timer.getTotalTime(), first + second);
}

TEST_F(Timer, RestartCountsFromTheSecondStart) {
  ZuTimer timer;
  usleep(20000);
  captureLog();
  const double beforeRestart = ZuTimer::currentTimestamp();
  timer.start();
  const double sinceRestart = timer.getTime();
  const double afterRestart = ZuTimer::currentTimestamp();
  capturedLog();
  EXPECT_GE(sinceRestart, 0.0);
  EXPECT_LE(sinceRestart, afterRestart - beforeRestart);
  EXPECT_EQ(timer.getTotalTime(), 0.0);
}

TEST_F(Timer, LastTimeIsNegativeWhileRestarted) {
  ZuTimer timer;
  timer.stop();
  letClockAdvance();
  timer.start();
  EXPECT_LT(timer.getLastTime(), 0.0);
}

TEST_F(Timer, ResetStopsAndClears) {
  ZuTimer timer;
  letClockAdvance();
  timer.stop();
  timer.start();
  timer.reset();
  EXPECT_FALSE(timer.isRunning());
  EXPECT_EQ(timer.getTotalTime(), 0.0);
  EXPECT_EQ(timer.getLastTime(), 0.0);
  // Nothing of the old start is left: stop measures from stamp 0.
  captureLog();
  const double before = ZuTimer::currentTimestamp();
  EXPECT_GE(timer.stop(), before);
  capturedLog();
}

// now() runs from the load of the library: positive, never decreasing, no
// message, and it does not run ahead of the clock itself.
TEST_F(Timer, NowNeverGoesBack) {
  captureLog();
  double previous = ZuTimer::now();
  EXPECT_GT(previous, 0.0);
  for (int i = 0; i < 1000; ++i) {
    const double next = ZuTimer::now();
    ASSERT_GE(next, previous);
    previous = next;
  }
  EXPECT_LE(previous, ZuTimer::currentTimestamp());
  EXPECT_EQ(capturedLog(), "");
}

}  // namespace
