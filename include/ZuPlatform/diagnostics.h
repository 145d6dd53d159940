// Diagnostics: the leveled log with its one replaceable handler, the legacy
// message names and the assertion entry point.
//
// Every message of the process goes through one handler slot. The handler
// installed at load (reachable only as the first result of LogSetHandler)
// holds the whole policy: it drops messages above the threshold, writes the
// level's prefix and the text to stderr (no newline added, no time stamp),
// throws std::runtime_error with the text after an ERROR and calls exit(1)
// after a FATAL. A replaced handler receives every message of every level and
// replaces all of that policy. The threshold and the handler are plain words:
// set them before starting threads.
#ifndef ZUPLATFORM_DIAGNOSTICS_H
#define ZUPLATFORM_DIAGNOSTICS_H

#include <cstdarg>

#ifndef ZUPLATFORM_API
#define ZUPLATFORM_API __attribute__((visibility("default")))
#endif

// The library checks its own log calls against their formats. A client opts
// in with ZUPLATFORM_CHECK_LOG_FORMATS: the check also rejects an empty
// format, which is a valid message, in a build with -Wall -Werror.
#if defined(ZUPLATFORM_BUILDING) || defined(ZUPLATFORM_CHECK_LOG_FORMATS)
#define ZUPLATFORM_LOG_FORMAT(formatIndex, firstArgument) \
  __attribute__((format(printf, formatIndex, firstArgument)))
#else
#define ZUPLATFORM_LOG_FORMAT(formatIndex, firstArgument)
#endif

namespace Zu {

// Severity of a message; a lower number is more severe. Held in 32 bits.
enum eLogLevel : int {
  LOG_LEVEL_FATAL = 1,
  LOG_LEVEL_ERROR = 2,
  LOG_LEVEL_WARN = 3,
  LOG_LEVEL_INFO = 4,
  LOG_LEVEL_DEBUG = 5,
  LOG_LEVEL_TRACE = 6
};

// The process's one message handler: level, printf-style format, arguments.
// The list belongs to the caller; read it at most once, do not keep it.
typedef void (*LogHandler)(eLogLevel level, const char* format, va_list args);

// Sets the threshold of the default handler; any value is stored as given.
ZUPLATFORM_API void LogSetLevel(eLogLevel level);

// The current threshold (5, LOG_LEVEL_DEBUG, after load).
ZUPLATFORM_API eLogLevel LogGetLevel();

// Installs handler and returns the previous one (the default handler at the
// first call). handler must not be null; install it before starting threads.
ZUPLATFORM_API LogHandler LogSetHandler(LogHandler handler);

// Each entry point hands format and its arguments to the current handler once,
// at its own level, and returns when the handler returns. Under the default
// handler LogError throws std::runtime_error and LogFatal calls exit(1) when
// the threshold lets them through; otherwise both return.
ZUPLATFORM_API void LogFatal(const char* format, ...)
    ZUPLATFORM_LOG_FORMAT(1, 2);
ZUPLATFORM_API void LogError(const char* format, ...)
    ZUPLATFORM_LOG_FORMAT(1, 2);
ZUPLATFORM_API void LogWarn(const char* format, ...)
    ZUPLATFORM_LOG_FORMAT(1, 2);
ZUPLATFORM_API void LogInfo(const char* format, ...)
    ZUPLATFORM_LOG_FORMAT(1, 2);
ZUPLATFORM_API void LogDebug(const char* format, ...)
    ZUPLATFORM_LOG_FORMAT(1, 2);
ZUPLATFORM_API void LogTrace(const char* format, ...)
    ZUPLATFORM_LOG_FORMAT(1, 2);

// --- Legacy names -----------------------------------------------------------

// Handler type of the deprecated handler setters; the int is the level.
typedef void (*LegacyMessageHandler)(int level, const char* format,
                                     va_list args);

// Hands the message to the current handler at LOG_LEVEL_INFO; the int is
// ignored.
ZUPLATFORM_API void ZuInfo(int ignored, const char* format, ...)
    ZUPLATFORM_LOG_FORMAT(2, 3);

// Hands the message to the current handler at LOG_LEVEL_WARN; the int is
// ignored.
ZUPLATFORM_API void ZuWarning(int ignored, const char* format, ...)
    ZUPLATFORM_LOG_FORMAT(2, 3);

// Hands the message to the current handler at LOG_LEVEL_ERROR (an error, not a
// fatal message: under the default handler it throws and does not exit).
ZUPLATFORM_API void ZuFatalError(int ignored, const char* format, ...)
    ZUPLATFORM_LOG_FORMAT(2, 3);

// Deprecated: each logs a warning naming its replacement, changes nothing and
// returns 0.
ZUPLATFORM_API int getZuInfoLevel();
ZUPLATFORM_API int setZuInfoLevel(int ignored);
ZUPLATFORM_API int getZuWarningLevel();
ZUPLATFORM_API int setZuWarningLevel(int ignored);
ZUPLATFORM_API int getZuFatalErrorLevel();
ZUPLATFORM_API int setZuFatalErrorLevel(int ignored);

// Deprecated: each logs a warning, drops the handler unused and returns a
// handler that does nothing. Use LogSetHandler.
ZUPLATFORM_API LegacyMessageHandler ZuSetInfoHandler(LegacyMessageHandler);
ZUPLATFORM_API LegacyMessageHandler ZuSetWarningHandler(LegacyMessageHandler);
ZUPLATFORM_API LegacyMessageHandler
    ZuSetFatalErrorHandler(LegacyMessageHandler);

// On a false condition, hands "<name>:<line>: <format>" to the current handler
// at LOG_LEVEL_ERROR, name being the last component of file and line printed
// as "% 4d"; format's conversions take the arguments after it. A true
// condition returns at once and reads nothing. On a false condition file and
// format must not be null, and file must hold no '%'.
ZUPLATFORM_API void ZuAssertImplementation(const char* file, unsigned int line,
                                           bool condition, const char* format,
                                           ...);

}  // namespace Zu

#undef ZUPLATFORM_LOG_FORMAT

#endif  // ZUPLATFORM_DIAGNOSTICS_H
