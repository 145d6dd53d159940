// The log core, the legacy message functions and the assertion: what the
// default handler writes and throws, and what a handler of the test's own is
// given.
#include <ZuPlatform/diagnostics.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <tuple>

using namespace Zu;

namespace {

// What a call wrote to stderr, "|", the text of the runtime_error it threw
// ("-" for none), "|" and what it returned.
std::string logged(int (*call)()) {
  testing::internal::CaptureStderr();
  std::string thrown = "-", returned;
  try {
    returned = std::to_string(call());
  } catch (const std::runtime_error& error) {
    thrown = error.what();
  }
  return testing::internal::GetCapturedStderr() + "|" + thrown + "|" + returned;
}

// What a deprecated accessor gives: a warning with no newline that names
// what to use instead, and 0.
std::string warning(const std::string& name, const std::string& instead) {
  return "WARN: " + name + "() is deprecated. Use " + instead +
         "() instead.|-|0";
}

// A handler that keeps every message: level, format, formatted text.
std::string recorded;
void record(eLogLevel level, const char* format, va_list args) {
  char text[64];
  vsnprintf(text, sizeof text, format, args);
  recorded += std::to_string(level) + " " + format + " -> " + text + ";";
}

// A message passes when its level is at most the threshold, 5 after load;
// only a passing error throws, with its text alone, cut at 4999 characters
// like the output. The legacy names have fixed levels whatever their int
// says; ZuFatalError is an error. An assertion puts the last component of
// its file and its line ("% 4d") in front of the caller's format. The
// deprecated accessors warn like any warning and change nothing: a handler
// setter gives a handler of its own, not null. A call of a function without
// a result returns 0 after it.
TEST(Log, DefaultHandlerFiltersWritesAndThrowsAReplacementGetsAll) {
  const LogHandler original = LogSetHandler(record);
  LogSetHandler(original);
  EXPECT_EQ(LogGetLevel(), LOG_LEVEL_DEBUG);
  const std::string cut(4999, 'x');
  const std::tuple<int, int (*)(), std::string> rows[] = {
      {5, [] { return LogInfo("m%d", 1), 0; }, "INFO: m1|-|0"},
      {5, [] { return LogDebug("m%d", 1), 0; }, "DEBUG: m1|-|0"},
      {6, [] { return LogTrace("m%d", 1), 0; }, "TRACE: m1|-|0"},
      {1, [] { return LogError("m"), 0; }, "|-|0"},
      {0, [] { return LogFatal("m"), 0; }, "|-|0"},
      {2, getZuInfoLevel, "|-|0"},
      {5, [] { return LogError("%s", std::string(5000, 'x').c_str()), 0; },
       "ERROR: " + cut + "|" + cut + "|"},
      {2, [] { return ZuFatalError(6, "m%d", 1), 0; }, "ERROR: m1|m1|"},
      {3, [] { return ZuWarning(1, "m%d", 1), 0; }, "WARN: m1|-|0"},
      {4, [] { return ZuInfo(-7, "m%d", 1), 0; }, "INFO: m1|-|0"},
      {5, [] { return ZuAssertImplementation("/d/x.c", 7, false, "%d", 5), 0; },
       "ERROR: x.c:   7: 5|x.c:   7: 5|"},
      {5, [] { return ZuAssertImplementation("C:\\b.c", 1234, false, "m"), 0; },
       "ERROR: b.c: 1234: m|b.c: 1234: m|"},
      {5, getZuInfoLevel, warning("getZuInfoLevel", "Zu::LogGetLevel")},
      {5, [] { return setZuInfoLevel(4); },
       warning("setZuInfoLevel", "Zu::LogSetLevel")},
      {5, getZuWarningLevel, warning("getZuWarningLevel", "Zu::LogGetLevel")},
      {5, [] { return setZuWarningLevel(2); },
       warning("setZuWarningLevel", "Zu::LogSetLevel")},
      {5, getZuFatalErrorLevel,
       warning("getZuFatalErrorLevel", "Zu::LogGetLevel")},
      {5, [] { return setZuFatalErrorLevel(0); },
       warning("setZuFatalErrorLevel", "Zu::LogSetLevel")},
      {5, [] { return int(!ZuSetInfoHandler(nullptr)); },
       warning("ZuSetInfoHandler", "ZuSetLogHandler")},
      {5, [] { return int(!ZuSetWarningHandler(nullptr)); },
       warning("ZuSetWarningHandler", "ZuSetLogHandler")},
      {5, [] { return int(!ZuSetFatalErrorHandler(nullptr)); },
       warning("ZuSetFatalErrorHandler", "ZuSetLogHandler")}};
  for (const auto& [threshold, call, want] : rows) {
    LogSetLevel(eLogLevel(threshold));
    EXPECT_EQ(logged(call), want) << "at level " << threshold;
    // Nothing but LogSetLevel and LogSetHandler changes either.
    EXPECT_EQ(LogGetLevel(), threshold) << want;
    EXPECT_EQ(LogSetHandler(original), original) << want;
  }
  LogSetLevel(LOG_LEVEL_FATAL);
  EXPECT_EXIT(LogFatal("stop %d\n", 3), testing::ExitedWithCode(1),
              "^FATAL: stop 3\n$");
  // The threshold, the output and the throw all belong to the default
  // handler: a replacement gets every message unformatted, and the calls
  // return. A failed assertion hands over its located format, not the
  // expanded text; a passing one reads nothing.
  LogSetHandler(record);
  LogSetLevel(eLogLevel(0));
  EXPECT_EQ(logged([] {
              return LogTrace("t"), LogError("e%d", 2), LogFatal("f %s", "x"),
                     ZuAssertImplementation(nullptr, 1, true, nullptr),
                     ZuAssertImplementation("f.cpp", 9, false, "%s", "x"), 0;
            }),
            "|-|0");
  EXPECT_EQ(
      recorded,
      "6 t -> t;2 e%d -> e2;1 f %s -> f x;2 f.cpp:   9: %s -> f.cpp:   9: x;");
  EXPECT_EQ(LogSetHandler(original), record);
  LogSetLevel(LOG_LEVEL_DEBUG);
}

}  // namespace
