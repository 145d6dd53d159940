// The log core, the legacy message functions and the assertion: what the
// default handler writes and throws, and what a handler of the test's own is
// given.
#include <ZuPlatform/diagnostics.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

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

// A handler that keeps every message: level, format, formatted text.
std::string recorded;
void record(Zu::eLogLevel level, const char* format, va_list args) {
  char text[64];
  vsnprintf(text, sizeof text, format, args);
  recorded += std::to_string(level) + " " + format + " -> " + text + ";";
}
void ignore(int, const char*, va_list) {}

// Holds the default handler; the threshold and handler go back after a test.
class Log : public testing::Test {
 protected:
  void SetUp() override {
    Zu::LogSetHandler(original = Zu::LogSetHandler(record));
  }
  void TearDown() override {
    Zu::LogSetLevel(Zu::LOG_LEVEL_DEBUG);
    Zu::LogSetHandler(original);
  }
  Zu::LogHandler original;
};

// Rows of the table below: a call that returns nothing, and a deprecated
// call, which warns with no newline and returns 0 (or a handler of its own).
#define SAY(...) [] { return __VA_ARGS__, 0; }
#define DEPRECATED(call, name, instead)                                  \
  {                                                                      \
    3, [] { return int(Zu::call); },                                     \
        "WARN: " name "() is deprecated. Use " instead "() instead.|-|0" \
  }
const std::string LONG = std::string(4999, 'x') + "y";

// A message passes when its level is at most the threshold, 5 after load;
// only a passing error throws, with its text alone, cut at 4999 characters
// like the output. The legacy names have fixed levels whatever their int
// says; ZuFatalError is an error. An assertion puts the last component of
// its file and its line ("% 4d") in front of the caller's format.
TEST_F(Log, DefaultHandlerFiltersWritesAndThrows) {
  EXPECT_EQ(Zu::LogGetLevel(), Zu::LOG_LEVEL_DEBUG);
  const std::string cut = LONG.substr(0, 4999);
  const struct {
    int threshold;
    int (*call)();
    std::string want;
  } rows[] = {
      {5, SAY(Zu::LogError("m%d", 1)), "ERROR: m1|m1|"},
      {5, SAY(Zu::LogWarn("m%d", 1)), "WARN: m1|-|0"},
      {5, SAY(Zu::LogInfo("m%d", 1)), "INFO: m1|-|0"},
      {5, SAY(Zu::LogDebug("m%d", 1)), "DEBUG: m1|-|0"},
      {5, SAY(Zu::LogTrace("m%d", 1)), "|-|0"},
      {6, SAY(Zu::LogTrace("m%d", 1)), "TRACE: m1|-|0"},
      {1, SAY(Zu::LogError("m")), "|-|0"},
      {0, SAY(Zu::LogFatal("m")), "|-|0"},
      {5, SAY(Zu::LogError("%s", LONG.c_str() + 1)),
       "ERROR: " + LONG.substr(1) + "|" + LONG.substr(1) + "|"},
      {5, SAY(Zu::LogError("%s", LONG.c_str())),
       "ERROR: " + cut + "|" + cut + "|"},
      {2, SAY(Zu::ZuFatalError(6, "m%d", 1)), "ERROR: m1|m1|"},
      {3, SAY(Zu::ZuWarning(1, "m%d", 1)), "WARN: m1|-|0"},
      {4, SAY(Zu::ZuInfo(-7, "m%d", 1)), "INFO: m1|-|0"},
      {5, SAY(Zu::ZuAssertImplementation("/u/x.y.cpp", 7, false, "v%d", 5)),
       "ERROR: x.y.cpp:   7: v5|x.y.cpp:   7: v5|"},
      {5, SAY(Zu::ZuAssertImplementation("C:\\b.c", 1234, false, "m")),
       "ERROR: b.c: 1234: m|b.c: 1234: m|"},
      {5, SAY(Zu::ZuAssertImplementation("", 12, false, "m")),
       "ERROR: :  12: m|:  12: m|"},
      DEPRECATED(getZuInfoLevel(), "getZuInfoLevel", "Zu::LogGetLevel"),
      DEPRECATED(setZuInfoLevel(4), "setZuInfoLevel", "Zu::LogSetLevel"),
      DEPRECATED(getZuWarningLevel(), "getZuWarningLevel", "Zu::LogGetLevel"),
      DEPRECATED(setZuWarningLevel(2), "setZuWarningLevel", "Zu::LogSetLevel"),
      DEPRECATED(getZuFatalErrorLevel(), "getZuFatalErrorLevel",
                 "Zu::LogGetLevel"),
      DEPRECATED(setZuFatalErrorLevel(0), "setZuFatalErrorLevel",
                 "Zu::LogSetLevel"),
      DEPRECATED(ZuSetInfoHandler(ignore) == ignore, "ZuSetInfoHandler",
                 "ZuSetLogHandler"),
      DEPRECATED(ZuSetWarningHandler(ignore) == ignore, "ZuSetWarningHandler",
                 "ZuSetLogHandler"),
      DEPRECATED(ZuSetFatalErrorHandler(ignore) == ignore,
                 "ZuSetFatalErrorHandler", "ZuSetLogHandler"),
      {2, SAY(Zu::getZuInfoLevel()), "|-|0"}};
  for (const auto& row : rows) {
    Zu::LogSetLevel(Zu::eLogLevel(row.threshold));
    EXPECT_EQ(logged(row.call), row.want) << "row " << &row - rows;
    // Nothing but LogSetLevel and LogSetHandler changes either.
    EXPECT_EQ(Zu::LogGetLevel(), row.threshold) << "row " << &row - rows;
    EXPECT_EQ(Zu::LogSetHandler(original), original) << "row " << &row - rows;
  }
  Zu::LogSetLevel(Zu::LOG_LEVEL_FATAL);
  EXPECT_EXIT(Zu::LogFatal("stop %d\n", 3), testing::ExitedWithCode(1),
              "^FATAL: stop 3\n$");
}

// The threshold, the output and the throw all belong to the default handler:
// a replacement gets every message unformatted, and the calls return. A
// failed assertion hands over its located format, not the expanded text; a
// passing one reads nothing.
TEST_F(Log, ReplacedHandlerGetsEveryMessage) {
  EXPECT_EQ(Zu::LogSetHandler(record), original);
  Zu::LogSetLevel(Zu::eLogLevel(0));
  recorded.clear();
  EXPECT_EQ(
      logged(SAY(Zu::LogTrace("t"), Zu::LogError("e%d", 2),
                 Zu::LogFatal("f %s", "x"),
                 Zu::ZuAssertImplementation(nullptr, 1, true, nullptr),
                 Zu::ZuAssertImplementation("f.cpp", 9, false, "%s", "x"))),
      "|-|0");
  EXPECT_EQ(
      recorded,
      "6 t -> t;2 e%d -> e2;1 f %s -> f x;2 f.cpp:   9: %s -> f.cpp:   9: x;");
  EXPECT_EQ(Zu::LogSetHandler(original), record);
}

}  // namespace
