// The log core's two process-wide words, shared inside the library with the
// legacy message functions. Never exported.
#ifndef ZUPLATFORM_SRC_DIAGNOSTICS_LOG_STATE_H
#define ZUPLATFORM_SRC_DIAGNOSTICS_LOG_STATE_H

#include <ZuPlatform/diagnostics.h>

#include <cstdarg>

namespace Zu {
namespace detail {

extern LogHandler currentLogHandler;

}  // namespace detail
}  // namespace Zu

// The body of every message function: collect the arguments after format,
// read the handler slot once and call it once. No filter stands here, so a
// replaced handler sees everything. va_end runs on every way out, the
// handler's exception included.
#define ZU_FORWARD_TO_HANDLER(level, format)                \
  do {                                                      \
    va_list args;                                           \
    va_start(args, format);                                 \
    try {                                                   \
      ::Zu::detail::currentLogHandler(level, format, args); \
    } catch (...) {                                         \
      va_end(args);                                         \
      throw;                                                \
    }                                                       \
    va_end(args);                                           \
  } while (false)

#endif  // ZUPLATFORM_SRC_DIAGNOSTICS_LOG_STATE_H
