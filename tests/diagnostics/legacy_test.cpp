#include <ZuPlatform/diagnostics.h>

#include <cstdarg>
#include <string>

#include "diagnostics/log_fixture.h"

namespace {

class Legacy : public LogTest {};

TEST_F(Legacy, MessageFunctionsUseFixedLevels) {
  const struct {
    const char* name;
    void (*call)();
    std::string want;
    bool throws;
  } rows[] = {
      // the int has no effect on anything
      {"ZuInfo", [] { Zu::ZuInfo(0, "i%d\n", 1); }, "INFO: i1\n", false},
      {"ZuInfo", [] { Zu::ZuInfo(-7, "i%d\n", 1); }, "INFO: i1\n", false},
      {"ZuWarning", [] { Zu::ZuWarning(99, "w%s\n", "!"); }, "WARN: w!\n",
       false},
      // an error, not a fatal message: it throws and the process goes on
      {"ZuFatalError", [] { Zu::ZuFatalError(1, "f\n"); }, "ERROR: f\n", true},
  };
  for (const auto& row : rows) {
    const LogOutcome outcome = runLogged(row.call);
    EXPECT_EQ(outcome.written, row.want) << row.name;
    EXPECT_EQ(outcome.threw, row.throws) << row.name;
  }
  EXPECT_EQ(runLogged([] { Zu::ZuFatalError(0, "text\n"); }).thrown, "text\n");
}

TEST_F(Legacy, FatalErrorReturnsBelowErrorThreshold) {
  Zu::LogSetLevel(Zu::LOG_LEVEL_FATAL);
  const LogOutcome outcome = runLogged([] { Zu::ZuFatalError(0, "gone\n"); });
  EXPECT_EQ(outcome.written, "");
  EXPECT_FALSE(outcome.threw);
}

TEST_F(Legacy, ReplacedHandlerSeesLegacyLevels) {
  recorded = RecordedMessage();
  Zu::LogSetHandler(recordMessage);
  Zu::ZuInfo(Zu::LOG_LEVEL_TRACE, "%s", "a");
  EXPECT_EQ(recorded.level, Zu::LOG_LEVEL_INFO);
  Zu::ZuWarning(0, "%s", "b");
  EXPECT_EQ(recorded.level, Zu::LOG_LEVEL_WARN);
  Zu::ZuFatalError(0, "%s", "c");
  EXPECT_EQ(recorded.level, Zu::LOG_LEVEL_ERROR);
  EXPECT_EQ(recorded.text, "c");
}

TEST_F(Legacy, LevelAccessorsWarnAndChangeNothing) {
  const struct {
    int (*call)();
    const char* message;
  } rows[] = {
      {[] { return Zu::getZuInfoLevel(); },
       "getZuInfoLevel() is deprecated. Use Zu::LogGetLevel() instead."},
      {[] { return Zu::setZuInfoLevel(1); },
       "setZuInfoLevel() is deprecated. Use Zu::LogSetLevel() instead."},
      {[] { return Zu::getZuWarningLevel(); },
       "getZuWarningLevel() is deprecated. Use Zu::LogGetLevel() instead."},
      {[] { return Zu::setZuWarningLevel(6); },
       "setZuWarningLevel() is deprecated. Use Zu::LogSetLevel() instead."},
      {[] { return Zu::getZuFatalErrorLevel(); },
       "getZuFatalErrorLevel() is deprecated. Use Zu::LogGetLevel() instead."},
      {[] { return Zu::setZuFatalErrorLevel(0); },
       "setZuFatalErrorLevel() is deprecated. Use Zu::LogSetLevel() instead."},
  };
  for (const auto& row : rows) {
    int first = -1, second = -1;
    // No newline of their own: two calls share one line.
    const LogOutcome outcome = runLogged([&] {
      first = row.call();
      second = row.call();
    });
    EXPECT_EQ(outcome.written,
              std::string("WARN: ") + row.message + "WARN: " + row.message);
    EXPECT_EQ(first, 0) << row.message;
    EXPECT_EQ(second, 0) << row.message;
    EXPECT_EQ(Zu::LogGetLevel(), savedLevel) << row.message;
  }
}

int droppedHandlerCalls = 0;
void droppedHandler(int, const char*, va_list) { ++droppedHandlerCalls; }

// Calls a legacy handler with a va_list of its own.
void callLegacy(Zu::LegacyMessageHandler handler, const char* format, ...) {
  va_list args;
  va_start(args, format);
  handler(3, format, args);
  va_end(args);
}

TEST_F(Legacy, HandlerSettersDropTheirHandler) {
  const struct {
    Zu::LegacyMessageHandler (*set)(Zu::LegacyMessageHandler);
    const char* message;
  } rows[] = {
      {Zu::ZuSetInfoHandler,
       "ZuSetInfoHandler() is deprecated. Use ZuSetLogHandler() instead."},
      {Zu::ZuSetWarningHandler,
       "ZuSetWarningHandler() is deprecated. Use ZuSetLogHandler() instead."},
      {Zu::ZuSetFatalErrorHandler,
       "ZuSetFatalErrorHandler() is deprecated. Use ZuSetLogHandler() "
       "instead."},
  };
  for (const auto& row : rows) {
    droppedHandlerCalls = 0;
    Zu::LegacyMessageHandler returned = nullptr;
    const LogOutcome outcome =
        runLogged([&] { returned = row.set(droppedHandler); });
    EXPECT_EQ(outcome.written, std::string("WARN: ") + row.message);
    ASSERT_NE(returned, nullptr);
    EXPECT_NE(returned, droppedHandler);
    // What comes back takes any arguments and does nothing.
    EXPECT_EQ(runLogged([&] { callLegacy(returned, "%s %d", "x", 1); }).written,
              "");
    // The log's handler is still the one it was, and the dropped one never
    // hears of a message.
    EXPECT_EQ(Zu::LogSetHandler(savedHandler), savedHandler);
    runLogged([] { Zu::ZuWarning(0, "after\n"); });
    EXPECT_EQ(droppedHandlerCalls, 0);
  }
}

TEST_F(Legacy, AccessorWarningsFollowTheThreshold) {
  Zu::LogSetLevel(Zu::LOG_LEVEL_ERROR);
  EXPECT_EQ(runLogged([] { Zu::getZuInfoLevel(); }).written, "");
  recorded = RecordedMessage();
  Zu::LogSetHandler(recordMessage);
  Zu::ZuSetInfoHandler(droppedHandler);
  EXPECT_EQ(recorded.level, Zu::LOG_LEVEL_WARN);
}

}  // namespace
