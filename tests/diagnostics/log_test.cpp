// The log core, the legacy message functions and the assertion, through the
// default handler (what reaches stderr, what is thrown) and through handlers
// of the test's own.
#include <ZuPlatform/diagnostics.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <stdexcept>
#include <string>

namespace {

using Zu::eLogLevel;

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

// A handler that records the last message it was given, formatted.
struct RecordedMessage {
  int calls = 0;
  eLogLevel level = eLogLevel(0);
  std::string format, text;
} recorded;

void recordMessage(eLogLevel level, const char* format, va_list args) {
  char text[256];
  vsnprintf(text, sizeof text, format, args);
  recorded = {recorded.calls + 1, level, format, text};
}

void ignoreMessage(eLogLevel, const char*, va_list) {}

// Puts the log's level and handler back after each test.
class Log : public testing::Test {
 protected:
  void SetUp() override {
    recorded = RecordedMessage();
    savedLevel = Zu::LogGetLevel();
    savedHandler = Zu::LogSetHandler(ignoreMessage);
    Zu::LogSetHandler(savedHandler);
  }
  void TearDown() override {
    Zu::LogSetLevel(savedLevel);
    Zu::LogSetHandler(savedHandler);
  }
  eLogLevel savedLevel;
  Zu::LogHandler savedHandler;
};

using Entry = void (*)(const char*, ...);
const Entry ENTRY_AT_LEVEL[] = {nullptr,     Zu::LogFatal, Zu::LogError,
                                Zu::LogWarn, Zu::LogInfo,  Zu::LogDebug,
                                Zu::LogTrace};

// A message passes when its level is at most the threshold; a passing Fatal
// is left to the death test.
TEST_F(Log, ThresholdIsInclusive) {
  EXPECT_EQ(savedLevel, Zu::LOG_LEVEL_DEBUG);  // after load
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
      // 6 and beyond let everything through
      {6, Zu::LOG_LEVEL_TRACE, "TRACE: m\n"},
      // Fatal alone passes at 1; nothing passes at 0 or below
      {1, Zu::LOG_LEVEL_ERROR, ""},
      {0, Zu::LOG_LEVEL_FATAL, ""},
      {-1, Zu::LOG_LEVEL_WARN, ""},
  };
  for (const auto& row : rows) {
    Zu::LogSetLevel(static_cast<eLogLevel>(row.threshold));
    const LogOutcome outcome =
        runLogged([&] { ENTRY_AT_LEVEL[row.level]("m\n"); });
    EXPECT_EQ(outcome.written, row.want)
        << "threshold " << row.threshold << " level " << row.level;
    // Only a printed error throws.
    EXPECT_EQ(outcome.threw,
              row.level == Zu::LOG_LEVEL_ERROR && !row.want.empty())
        << "threshold " << row.threshold << " level " << row.level;
  }
}

TEST_F(Log, FatalExitsWithStatusOneAtAnyPassingThreshold) {
  EXPECT_EXIT(Zu::LogFatal("stopping %d\n", 3), testing::ExitedWithCode(1),
              "^FATAL: stopping 3\n$");
  Zu::LogSetLevel(Zu::LOG_LEVEL_FATAL);
  EXPECT_EXIT(Zu::LogFatal("loud\n"), testing::ExitedWithCode(1),
              "^FATAL: loud\n$");
}

// The error's text is thrown without its prefix, and both are cut alike.
TEST_F(Log, LongTextIsCutAt4999Characters) {
  for (size_t length : {4998, 4999, 5000, 12000}) {
    std::string text(length, 'x');
    text.back() = 'y';  // shows whether the end survived
    const std::string kept = text.substr(0, 4999);
    EXPECT_EQ(runLogged([&] { Zu::LogWarn("%s", text.c_str()); }).written,
              "WARN: " + kept)
        << length;
    const LogOutcome failed =
        runLogged([&] { Zu::LogError("%s", text.c_str()); });
    EXPECT_EQ(failed.written, "ERROR: " + kept) << length;
    EXPECT_EQ(failed.thrown, kept) << length;
  }
  // The other end: an empty format is a message of its own, written literally
  // as a client would.
  EXPECT_EQ(runLogged([] { Zu::LogInfo(""); }).written, "INFO: ");
  const LogOutcome empty = runLogged([] { Zu::LogError(""); });
  EXPECT_EQ(empty.written, "ERROR: ");
  EXPECT_TRUE(empty.threw);
  EXPECT_EQ(empty.thrown, "");
}

// The threshold, the printing and the throwing are all the default handler's.
TEST_F(Log, ReplacedHandlerSeesEverythingAndDecides) {
  EXPECT_EQ(Zu::LogSetHandler(recordMessage), savedHandler);
  Zu::LogSetLevel(static_cast<eLogLevel>(0));
  const LogOutcome outcome = runLogged([] {
    Zu::LogTrace("t %d", 1);
    Zu::LogError("e");
    Zu::LogFatal("f %s", "x");
  });
  EXPECT_EQ(outcome.written, "");
  EXPECT_FALSE(outcome.threw);
  EXPECT_EQ(recorded.calls, 3);
  EXPECT_EQ(recorded.level, Zu::LOG_LEVEL_FATAL);
  EXPECT_EQ(recorded.format, "f %s");  // unformatted, no prefix
  EXPECT_EQ(recorded.text, "f x");

  EXPECT_EQ(Zu::LogSetHandler(savedHandler), recordMessage);
}

// The int of the legacy functions has no effect on anything; ZuFatalError is
// an error, not a fatal message: it throws and the process goes on.
TEST_F(Log, LegacyMessageFunctionsUseFixedLevels) {
  EXPECT_EQ(runLogged([] { Zu::ZuInfo(-7, "i%d\n", 1); }).written,
            "INFO: i1\n");
  EXPECT_EQ(runLogged([] { Zu::ZuWarning(99, "w%s\n", "!"); }).written,
            "WARN: w!\n");
  const LogOutcome error = runLogged([] { Zu::ZuFatalError(6, "f\n"); });
  EXPECT_EQ(error.written, "ERROR: f\n");
  EXPECT_EQ(error.thrown, "f\n");
}

int droppedHandlerCalls = 0;
void droppedHandler(int, const char*, va_list) { ++droppedHandlerCalls; }

template <Zu::LegacyMessageHandler (*set)(Zu::LegacyMessageHandler)>
bool dropsHandler() {
  const Zu::LegacyMessageHandler returned = set(droppedHandler);
  return returned != nullptr && returned != droppedHandler;
}

// Each deprecated call warns once, without a newline, through the log (so
// the threshold applies), and changes neither the level nor the handler.
TEST_F(Log, DeprecatedCallsWarnAndChangeNothing) {
  const struct {
    bool (*call)();  // true when the value returned is the one expected
    const char* message;
  } rows[] = {
      {[] { return Zu::getZuInfoLevel() == 0; },
       "getZuInfoLevel() is deprecated. Use Zu::LogGetLevel() instead."},
      {[] { return Zu::setZuInfoLevel(1) == 0; },
       "setZuInfoLevel() is deprecated. Use Zu::LogSetLevel() instead."},
      {[] { return Zu::getZuWarningLevel() == 0; },
       "getZuWarningLevel() is deprecated. Use Zu::LogGetLevel() instead."},
      {[] { return Zu::setZuWarningLevel(6) == 0; },
       "setZuWarningLevel() is deprecated. Use Zu::LogSetLevel() instead."},
      {[] { return Zu::getZuFatalErrorLevel() == 0; },
       "getZuFatalErrorLevel() is deprecated. Use Zu::LogGetLevel() instead."},
      {[] { return Zu::setZuFatalErrorLevel(0) == 0; },
       "setZuFatalErrorLevel() is deprecated. Use Zu::LogSetLevel() instead."},
      // What comes back is a harmless handler of the library's own.
      {dropsHandler<Zu::ZuSetInfoHandler>,
       "ZuSetInfoHandler() is deprecated. Use ZuSetLogHandler() instead."},
      {dropsHandler<Zu::ZuSetWarningHandler>,
       "ZuSetWarningHandler() is deprecated. Use ZuSetLogHandler() instead."},
      {dropsHandler<Zu::ZuSetFatalErrorHandler>,
       "ZuSetFatalErrorHandler() is deprecated. Use ZuSetLogHandler() "
       "instead."},
  };
  for (const auto& row : rows) {
    bool returned = false;
    const LogOutcome outcome = runLogged([&] { returned = row.call(); });
    EXPECT_EQ(outcome.written, std::string("WARN: ") + row.message);
    EXPECT_TRUE(returned) << row.message;
    EXPECT_EQ(Zu::LogGetLevel(), savedLevel) << row.message;
    EXPECT_EQ(Zu::LogSetHandler(savedHandler), savedHandler) << row.message;
    Zu::LogSetLevel(Zu::LOG_LEVEL_ERROR);
    EXPECT_EQ(runLogged(row.call).written, "") << row.message;
    Zu::LogSetLevel(savedLevel);
  }
  runLogged([] { Zu::ZuWarning(0, "after\n"); });
  EXPECT_EQ(droppedHandlerCalls, 0);
}

// The located text: the file's last component, the line in "% 4d", the
// format. The default handler expands it with the caller's arguments, prints
// it after "ERROR: " and throws it.
TEST_F(Log, AssertionLocatesItsMessage) {
  Zu::LogSetHandler(recordMessage);
  Zu::ZuAssertImplementation(nullptr, 1, true, nullptr);  // reads nothing
  EXPECT_EQ(recorded.calls, 0);
  Zu::LogSetHandler(savedHandler);
  const struct {
    const char* file;
    unsigned int line;
    std::string want;
  } rows[] = {
      // line field: at least 4 wide, a column kept for the sign
      {"a.cpp", 7, "a.cpp:   7: failed\n"},
      {"a.cpp", 1234, "a.cpp: 1234: failed\n"},
      {"a.cpp", 123456, "a.cpp: 123456: failed\n"},
      // only the last component shows, after either separator
      {"/usr/src/lib/module.cpp", 12, "module.cpp:  12: failed\n"},
      {"C:\\work\\win.cpp", 12, "win.cpp:  12: failed\n"},
      {"mixed/dir\\x.y.cpp", 12, "x.y.cpp:  12: failed\n"},
      {"", 7, ":   7: failed\n"},
  };
  for (const auto& row : rows) {
    const LogOutcome outcome = runLogged([&] {
      Zu::ZuAssertImplementation(row.file, row.line, false, "%s\n", "failed");
    });
    EXPECT_EQ(outcome.written, "ERROR: " + row.want) << row.file;
    EXPECT_TRUE(outcome.threw) << row.file;
    EXPECT_EQ(outcome.thrown, row.want) << row.file;
  }
  // The line is no conversion of the located format; the handler gets the
  // caller's arguments.
  Zu::LogSetHandler(recordMessage);
  Zu::ZuAssertImplementation("f.cpp", 9, false, "v=%d%%", 5);
  EXPECT_EQ(recorded.level, Zu::LOG_LEVEL_ERROR);
  EXPECT_EQ(recorded.format, "f.cpp:   9: v=%d%%");
  EXPECT_EQ(recorded.text, "f.cpp:   9: v=5%");
}

// The located buffer is released whether the handler returns or throws; the
// sanitizer's leak check at exit fails the test otherwise.
TEST_F(Log, AssertionReleasesItsBufferOnEveryWayOut) {
  Zu::LogSetHandler([](eLogLevel, const char*, va_list) {
    throw std::logic_error("from the handler");
  });
  EXPECT_THROW(Zu::ZuAssertImplementation("f.cpp", 1, false, "x"),
               std::logic_error);
  Zu::LogSetHandler(savedHandler);
  EXPECT_THROW(Zu::ZuAssertImplementation("f.cpp", 1, false, "x"),
               std::runtime_error);
  Zu::LogSetLevel(Zu::LOG_LEVEL_FATAL);
  const LogOutcome quiet =
      runLogged([] { Zu::ZuAssertImplementation("f.cpp", 1, false, "x"); });
  EXPECT_EQ(quiet.written, "");
  EXPECT_FALSE(quiet.threw);
}

}  // namespace
