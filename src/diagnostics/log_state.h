// The log core's two process-wide words, shared inside the library with the
// legacy message functions. Never exported.
#ifndef ZUPLATFORM_SRC_DIAGNOSTICS_LOG_STATE_H
#define ZUPLATFORM_SRC_DIAGNOSTICS_LOG_STATE_H

#include <ZuPlatform/diagnostics.h>

namespace Zu {
namespace detail {

extern LogHandler currentLogHandler;

}  // namespace detail
}  // namespace Zu

#endif  // ZUPLATFORM_SRC_DIAGNOSTICS_LOG_STATE_H
