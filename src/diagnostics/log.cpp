#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "diagnostics/log_state.h"

namespace Zu {
namespace {

// Includes the terminator: a message keeps at most 4999 characters.
constexpr int MESSAGE_BUFFER_SIZE = 5000;

int logLevelThreshold = LOG_LEVEL_DEBUG;

const char* prefixOf(eLogLevel level) {
  switch (level) {
    case LOG_LEVEL_FATAL:
      return "FATAL: ";
    case LOG_LEVEL_ERROR:
      return "ERROR: ";
    case LOG_LEVEL_WARN:
      return "WARN: ";
    case LOG_LEVEL_INFO:
      return "INFO: ";
    case LOG_LEVEL_DEBUG:
      return "DEBUG: ";
    case LOG_LEVEL_TRACE:
      return "TRACE: ";
  }
  return "";
}

// The whole policy of the library's log. The buffer lives on this frame, so
// nothing on the way to stderr touches the heap and threads never share one;
// only the exception allocates.
void defaultLogHandler(eLogLevel level, const char* format, va_list args) {
  if (level > logLevelThreshold) return;  // before anything reads args
  fputs(prefixOf(level), stderr);
  char text[MESSAGE_BUFFER_SIZE];
  vsnprintf(text, sizeof text, format, args);
  fputs(text, stderr);
  if (level == LOG_LEVEL_ERROR) throw std::runtime_error(text);
  if (level == LOG_LEVEL_FATAL) exit(1);
}

}  // namespace

namespace detail {
LogHandler currentLogHandler = defaultLogHandler;
}  // namespace detail

void LogSetLevel(eLogLevel level) { logLevelThreshold = level; }

eLogLevel LogGetLevel() { return static_cast<eLogLevel>(logLevelThreshold); }

LogHandler LogSetHandler(LogHandler handler) {
  LogHandler previous = detail::currentLogHandler;
  detail::currentLogHandler = handler;
  return previous;
}

// The six entry points are one operation at six levels: no filter here, so a
// replaced handler sees everything, and a dropped message costs one indirect
// call plus the handler's one comparison.
#define ZU_LOG_ENTRY_POINT(name, level)               \
  void name(const char* format, ...) {                \
    va_list args;                                     \
    va_start(args, format);                           \
    try {                                             \
      detail::currentLogHandler(level, format, args); \
    } catch (...) {                                   \
      va_end(args);                                   \
      throw;                                          \
    }                                                 \
    va_end(args);                                     \
  }

ZU_LOG_ENTRY_POINT(LogFatal, LOG_LEVEL_FATAL)
ZU_LOG_ENTRY_POINT(LogError, LOG_LEVEL_ERROR)
ZU_LOG_ENTRY_POINT(LogWarn, LOG_LEVEL_WARN)
ZU_LOG_ENTRY_POINT(LogInfo, LOG_LEVEL_INFO)
ZU_LOG_ENTRY_POINT(LogDebug, LOG_LEVEL_DEBUG)
ZU_LOG_ENTRY_POINT(LogTrace, LOG_LEVEL_TRACE)

#undef ZU_LOG_ENTRY_POINT

}  // namespace Zu
