#include <ZuPlatform/diagnostics.h>

#include <cstdarg>
#include <string>

#include "diagnostics/log_fixture.h"

namespace {

using Zu::eLogLevel;

void logAt(eLogLevel level, const char* text) {
  switch (level) {
    case Zu::LOG_LEVEL_FATAL:
      Zu::LogFatal("%s", text);
      break;
    case Zu::LOG_LEVEL_ERROR:
      Zu::LogError("%s", text);
      break;
    case Zu::LOG_LEVEL_WARN:
      Zu::LogWarn("%s", text);
      break;
    case Zu::LOG_LEVEL_INFO:
      Zu::LogInfo("%s", text);
      break;
    case Zu::LOG_LEVEL_DEBUG:
      Zu::LogDebug("%s", text);
      break;
    case Zu::LOG_LEVEL_TRACE:
      Zu::LogTrace("%s", text);
      break;
  }
}

// Calls a handler with a va_list, as an entry point would.
void callHandler(Zu::LogHandler handler, eLogLevel level, const char* format,
                 ...) {
  va_list args;
  va_start(args, format);
  handler(level, format, args);
  va_end(args);
}

class Log : public LogTest {};

TEST_F(Log, StateAfterLoad) {
  EXPECT_EQ(Zu::LogGetLevel(), Zu::LOG_LEVEL_DEBUG);
  EXPECT_EQ(runLogged([] { Zu::LogDebug("seen\n"); }).written, "DEBUG: seen\n");
  EXPECT_EQ(runLogged([] { Zu::LogTrace("unseen\n"); }).written, "");
}

// A message passes when its level is at most the threshold; Fatal is left
// to the death tests.
TEST_F(Log, ThresholdIsInclusive) {
  const struct {
    int threshold;
    eLogLevel level;
    std::string want;
  } rows[] = {
      // each prefix, at the threshold after load
      {5, Zu::LOG_LEVEL_ERROR, "ERROR: m\n"},
      {5, Zu::LOG_LEVEL_WARN, "WARN: m\n"},
      {5, Zu::LOG_LEVEL_INFO, "INFO: m\n"},
      {5, Zu::LOG_LEVEL_DEBUG, "DEBUG: m\n"},
      {5, Zu::LOG_LEVEL_TRACE, ""},
      // the boundary
      {3, Zu::LOG_LEVEL_WARN, "WARN: m\n"},
      {3, Zu::LOG_LEVEL_INFO, ""},
      {2, Zu::LOG_LEVEL_ERROR, "ERROR: m\n"},
      {2, Zu::LOG_LEVEL_WARN, ""},
      // 6 and beyond let everything through
      {6, Zu::LOG_LEVEL_TRACE, "TRACE: m\n"},
      {1000, Zu::LOG_LEVEL_TRACE, "TRACE: m\n"},
      // nothing passes at 0 or below
      {1, Zu::LOG_LEVEL_ERROR, ""},
      {0, Zu::LOG_LEVEL_ERROR, ""},
      {-1, Zu::LOG_LEVEL_WARN, ""},
  };
  for (const auto& row : rows) {
    Zu::LogSetLevel(static_cast<eLogLevel>(row.threshold));
    EXPECT_EQ(Zu::LogGetLevel(), row.threshold);
    const LogOutcome outcome = runLogged([&] { logAt(row.level, "m\n"); });
    EXPECT_EQ(outcome.written, row.want)
        << "threshold " << row.threshold << " level " << row.level;
    // Only a printed error throws.
    EXPECT_EQ(outcome.threw,
              row.level == Zu::LOG_LEVEL_ERROR && !row.want.empty());
  }
}

TEST_F(Log, ErrorThrowsTheTextWithoutPrefix) {
  const LogOutcome outcome =
      runLogged([] { Zu::LogError("disk %s at %d%%\n", "full", 100); });
  EXPECT_EQ(outcome.written, "ERROR: disk full at 100%\n");
  ASSERT_TRUE(outcome.threw);
  EXPECT_EQ(outcome.thrown, "disk full at 100%\n");
}

TEST_F(Log, LongTextIsCutAt4999Characters) {
  const struct {
    size_t length;
    size_t kept;
  } rows[] = {{4998, 4998}, {4999, 4999}, {5000, 4999}, {12000, 4999}};
  for (const auto& row : rows) {
    std::string text(row.length, 'x');
    text.back() = 'y';  // shows whether the end survived
    const std::string kept = text.substr(0, row.kept);
    const LogOutcome warned =
        runLogged([&] { Zu::LogWarn("%s", text.c_str()); });
    EXPECT_EQ(warned.written, "WARN: " + kept) << row.length;
    const LogOutcome failed =
        runLogged([&] { Zu::LogError("%s", text.c_str()); });
    EXPECT_EQ(failed.written, "ERROR: " + kept) << row.length;
    EXPECT_EQ(failed.thrown, kept) << row.length;
  }
}

TEST_F(Log, EmptyFormat) {
  const char* empty = "";
  EXPECT_EQ(runLogged([&] { Zu::LogInfo(empty); }).written, "INFO: ");
  const LogOutcome outcome = runLogged([&] { Zu::LogError(empty); });
  EXPECT_EQ(outcome.written, "ERROR: ");
  EXPECT_TRUE(outcome.threw);
  EXPECT_EQ(outcome.thrown, "");
}

TEST_F(Log, FatalExitsWithStatusOne) {
  EXPECT_EXIT(Zu::LogFatal("stopping %d\n", 3), testing::ExitedWithCode(1),
              "^FATAL: stopping 3\n$");
}

TEST_F(Log, FatalThresholdSilencesErrorButStillExits) {
  Zu::LogSetLevel(Zu::LOG_LEVEL_FATAL);
  const LogOutcome outcome = runLogged([] { Zu::LogError("quiet\n"); });
  EXPECT_EQ(outcome.written, "");
  EXPECT_FALSE(outcome.threw);
  EXPECT_EXIT(Zu::LogFatal("loud\n"), testing::ExitedWithCode(1),
              "^FATAL: loud\n$");
}

TEST_F(Log, ThresholdZeroLetsFatalReturn) {
  Zu::LogSetLevel(static_cast<eLogLevel>(0));
  EXPECT_EQ(runLogged([] { Zu::LogFatal("ignored\n"); }).written, "");
}

// Only a caller holding the default handler can hand it a level outside
// 1..6: the text comes without a prefix, and nothing is thrown.
TEST_F(Log, UnknownLevelHasNoPrefix) {
  Zu::LogSetLevel(static_cast<eLogLevel>(100));
  for (int level : {0, 7, 99}) {
    const LogOutcome outcome = runLogged([&] {
      callHandler(savedHandler, static_cast<eLogLevel>(level), "n=%d\n", 5);
    });
    EXPECT_EQ(outcome.written, "n=5\n") << level;
    EXPECT_FALSE(outcome.threw) << level;
  }
}

TEST_F(Log, ReplacedHandlerSeesEverythingAndDecides) {
  recorded = RecordedMessage();
  Zu::LogSetHandler(recordMessage);

  const LogOutcome trace = runLogged([] { Zu::LogTrace("t %d", 1); });
  EXPECT_EQ(trace.written, "");
  EXPECT_EQ(recorded.level, Zu::LOG_LEVEL_TRACE);
  EXPECT_EQ(recorded.format, "t %d");  // unformatted, no prefix
  EXPECT_EQ(recorded.text, "t 1");

  // The handler returns, and so does LogError; LogFatal as well.
  const LogOutcome error = runLogged([] { Zu::LogError("e"); });
  EXPECT_FALSE(error.threw);
  EXPECT_EQ(recorded.level, Zu::LOG_LEVEL_ERROR);
  Zu::LogFatal("f");
  EXPECT_EQ(recorded.level, Zu::LOG_LEVEL_FATAL);

  // The threshold is the default handler's business only.
  Zu::LogSetLevel(static_cast<eLogLevel>(0));
  Zu::LogDebug("d");
  EXPECT_EQ(recorded.level, Zu::LOG_LEVEL_DEBUG);
  EXPECT_EQ(recorded.calls, 4);
}

TEST_F(Log, SetHandlerReturnsThePreviousOne) {
  const Zu::LogHandler original = Zu::LogSetHandler(recordMessage);
  EXPECT_EQ(original, savedHandler);
  EXPECT_EQ(Zu::LogSetHandler(ignoreMessage), recordMessage);
  EXPECT_EQ(Zu::LogSetHandler(original), ignoreMessage);

  // Back to the default policy entirely: printing, filtering and throwing.
  EXPECT_EQ(runLogged([] { Zu::LogInfo("again\n"); }).written, "INFO: again\n");
  EXPECT_EQ(runLogged([] { Zu::LogTrace("filtered\n"); }).written, "");
  EXPECT_TRUE(runLogged([] { Zu::LogError("thrown\n"); }).threw);
}

// A handler may forward to the saved default one and get its policy back.
TEST_F(Log, ForwardingToTheDefaultHandler) {
  static Zu::LogHandler forwardTo;
  forwardTo = savedHandler;
  Zu::LogSetHandler([](eLogLevel level, const char* format, va_list args) {
    forwardTo(level, format, args);
  });
  EXPECT_EQ(runLogged([] { Zu::LogWarn("w%d\n", 2); }).written, "WARN: w2\n");
  EXPECT_TRUE(runLogged([] { Zu::LogError("x"); }).threw);
}

}  // namespace
