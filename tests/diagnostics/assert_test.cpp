#include <ZuPlatform/diagnostics.h>

#include <cstdarg>
#include <string>
#include <thread>

#include "diagnostics/log_fixture.h"

namespace {

class Assert : public LogTest {};

TEST_F(Assert, TrueConditionReadsNothing) {
  recorded = RecordedMessage();
  Zu::LogSetHandler(recordMessage);
  Zu::ZuAssertImplementation(nullptr, 1, true, nullptr);
  Zu::ZuAssertImplementation("file.cpp", 2, true, "%s", "x");
  EXPECT_EQ(recorded.calls, 0);
}

// The located text: the file's last component, the line in "% 4d", the
// format. The default handler prints it after "ERROR: " and throws it.
TEST_F(Assert, LocatedMessage) {
  const struct {
    const char* file;
    unsigned int line;
    std::string want;
  } rows[] = {
      // line field: at least 4 wide, a column kept for the sign
      {"a.cpp", 7, "a.cpp:   7: failed\n"},
      {"a.cpp", 1234, "a.cpp: 1234: failed\n"},
      {"a.cpp", 123456, "a.cpp: 123456: failed\n"},
      {"a.cpp", 0, "a.cpp:   0: failed\n"},
      // only the last component shows
      {"/usr/src/lib/module.cpp", 12, "module.cpp:  12: failed\n"},
      {"src/module.h", 12, "module.h:  12: failed\n"},
      {"C:\\work\\win.cpp", 12, "win.cpp:  12: failed\n"},
      {"mixed/dir\\x.y.cpp", 12, "x.y.cpp:  12: failed\n"},
      // an empty file gives an empty name
      {"", 7, ":   7: failed\n"},
  };
  for (const auto& row : rows) {
    const LogOutcome outcome = runLogged([&] {
      Zu::ZuAssertImplementation(row.file, row.line, false, "failed\n");
    });
    EXPECT_EQ(outcome.written, "ERROR: " + row.want) << row.file;
    EXPECT_TRUE(outcome.threw) << row.file;
    EXPECT_EQ(outcome.thrown, row.want) << row.file;
  }
}

// The conversions are the handler's to expand, with the caller's arguments;
// the line is not one of them.
TEST_F(Assert, FormatTakesTheCallersArguments) {
  const LogOutcome outcome = runLogged([] {
    Zu::ZuAssertImplementation("dir/f.cpp", 42, false, "%d of %s%%\n", 3,
                               "all");
  });
  EXPECT_EQ(outcome.thrown, "f.cpp:  42: 3 of all%\n");

  recorded = RecordedMessage();
  Zu::LogSetHandler(recordMessage);
  Zu::ZuAssertImplementation("f.cpp", 9, false, "v=%d", 5);
  EXPECT_EQ(recorded.level, Zu::LOG_LEVEL_ERROR);
  EXPECT_EQ(recorded.format, "f.cpp:   9: v=%d");
  EXPECT_EQ(recorded.text, "f.cpp:   9: v=5");
}

TEST_F(Assert, ReturnsWhenTheHandlerReturns) {
  Zu::LogSetLevel(Zu::LOG_LEVEL_FATAL);
  const LogOutcome outcome = runLogged(
      [] { Zu::ZuAssertImplementation("f.cpp", 1, false, "quiet\n"); });
  EXPECT_EQ(outcome.written, "");
  EXPECT_FALSE(outcome.threw);
}

// The located buffer is released whether the handler returns or throws; the
// sanitizer's leak check at exit fails the test otherwise.
TEST_F(Assert, BufferIsReleasedOnEveryWayOut) {
  Zu::LogSetHandler([](Zu::eLogLevel, const char*, va_list) {
    throw std::runtime_error("from the handler");
  });
  for (int i = 0; i < 3; ++i) {
    EXPECT_THROW(Zu::ZuAssertImplementation("f.cpp", 1, false, "x"),
                 std::runtime_error);
  }
  Zu::LogSetHandler(savedHandler);
  for (int i = 0; i < 3; ++i) {
    EXPECT_THROW(Zu::ZuAssertImplementation("f.cpp", 1, false, "x"),
                 std::runtime_error);
  }
  Zu::LogSetLevel(static_cast<Zu::eLogLevel>(0));
  Zu::ZuAssertImplementation("f.cpp", 1, false, "x");
}

TEST_F(Assert, ThreadsMayFailAtOnce) {
  static std::atomic<int> seen{0};
  Zu::LogSetHandler([](Zu::eLogLevel, const char* format, va_list) {
    if (std::string(format) == "t.cpp:  10: boom") ++seen;
  });
  seen = 0;
  auto fail = [] {
    for (int i = 0; i < 500; ++i)
      Zu::ZuAssertImplementation("t.cpp", 10, false, "boom");
  };
  std::thread first(fail);
  std::thread second(fail);
  first.join();
  second.join();
  EXPECT_EQ(seen.load(), 1000);
}

}  // namespace
