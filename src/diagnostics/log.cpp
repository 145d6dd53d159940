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

// The six entry points are one operation at six levels; a dropped message
// costs one indirect call plus the handler's one comparison.
void LogFatal(const char* format, ...) {
  ZU_FORWARD_TO_HANDLER(LOG_LEVEL_FATAL, format);
}
void LogError(const char* format, ...) {
  ZU_FORWARD_TO_HANDLER(LOG_LEVEL_ERROR, format);
}
void LogWarn(const char* format, ...) {
  ZU_FORWARD_TO_HANDLER(LOG_LEVEL_WARN, format);
}
void LogInfo(const char* format, ...) {
  ZU_FORWARD_TO_HANDLER(LOG_LEVEL_INFO, format);
}
void LogDebug(const char* format, ...) {
  ZU_FORWARD_TO_HANDLER(LOG_LEVEL_DEBUG, format);
}
void LogTrace(const char* format, ...) {
  ZU_FORWARD_TO_HANDLER(LOG_LEVEL_TRACE, format);
}

}  // namespace Zu
