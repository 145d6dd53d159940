// Shared by the diagnostics tests: a fixture that puts the log's level and
// handler back after each test, and a runner that captures what a call wrote
// to stderr and what it threw.
#ifndef ZUPLATFORM_TESTS_DIAGNOSTICS_LOG_FIXTURE_H
#define ZUPLATFORM_TESTS_DIAGNOSTICS_LOG_FIXTURE_H

#include <ZuPlatform/diagnostics.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <stdexcept>
#include <string>

struct LogOutcome {
  std::string written;  // stderr
  bool threw = false;
  std::string thrown;  // what() of the runtime_error
};

template <typename Call>
LogOutcome runLogged(Call call) {
  LogOutcome outcome;
  testing::internal::CaptureStderr();
  try {
    call();
  } catch (const std::runtime_error& error) {
    outcome.threw = true;
    outcome.thrown = error.what();
  }
  outcome.written = testing::internal::GetCapturedStderr();
  return outcome;
}

class LogTest : public testing::Test {
 protected:
  void SetUp() override {
    savedLevel = Zu::LogGetLevel();
    savedHandler = Zu::LogSetHandler(ignoreMessage);
    Zu::LogSetHandler(savedHandler);
  }
  void TearDown() override {
    Zu::LogSetLevel(savedLevel);
    Zu::LogSetHandler(savedHandler);
  }

  static void ignoreMessage(Zu::eLogLevel, const char*, va_list) {}

  Zu::eLogLevel savedLevel;
  Zu::LogHandler savedHandler;
};

// A handler that records the last message it was given, formatted.
struct RecordedMessage {
  int calls = 0;
  Zu::eLogLevel level = Zu::eLogLevel(0);
  std::string format;
  std::string text;
};

inline RecordedMessage recorded;

inline void recordMessage(Zu::eLogLevel level, const char* format,
                          va_list args) {
  char text[256];
  vsnprintf(text, sizeof text, format, args);
  recorded.calls++;
  recorded.level = level;
  recorded.format = format;
  recorded.text = text;
}

#endif  // ZUPLATFORM_TESTS_DIAGNOSTICS_LOG_FIXTURE_H
