#include <ZuPlatform/diagnostics.h>

#include <cstdarg>

#include "diagnostics/log_state.h"

namespace Zu {
namespace {

// What the deprecated handler setters hand back: callable, and harmless.
void nullMessageHandler(int, const char*, va_list) {}

}  // namespace

// The legacy message functions are the log entry points under older names:
// the same single call of the current handler, at a fixed level, with no
// filter of their own; the int has no effect.
void ZuInfo(int, const char* format, ...) {
  ZU_FORWARD_TO_HANDLER(LOG_LEVEL_INFO, format);
}
void ZuWarning(int, const char* format, ...) {
  ZU_FORWARD_TO_HANDLER(LOG_LEVEL_WARN, format);
}
// An error, not a fatal message: it throws under the default handler and
// never ends the process.
void ZuFatalError(int, const char* format, ...) {
  ZU_FORWARD_TO_HANDLER(LOG_LEVEL_ERROR, format);
}

// The level accessors read and store nothing: the log has one threshold,
// reached through LogGetLevel and LogSetLevel. The warnings carry no newline.
int getZuInfoLevel() {
  LogWarn("getZuInfoLevel() is deprecated. Use Zu::LogGetLevel() instead.");
  return 0;
}

int setZuInfoLevel(int) {
  LogWarn("setZuInfoLevel() is deprecated. Use Zu::LogSetLevel() instead.");
  return 0;
}

int getZuWarningLevel() {
  LogWarn("getZuWarningLevel() is deprecated. Use Zu::LogGetLevel() instead.");
  return 0;
}

int setZuWarningLevel(int) {
  LogWarn("setZuWarningLevel() is deprecated. Use Zu::LogSetLevel() instead.");
  return 0;
}

int getZuFatalErrorLevel() {
  LogWarn(
      "getZuFatalErrorLevel() is deprecated. Use Zu::LogGetLevel() instead.");
  return 0;
}

int setZuFatalErrorLevel(int) {
  LogWarn(
      "setZuFatalErrorLevel() is deprecated. Use Zu::LogSetLevel() instead.");
  return 0;
}

// The handler setters drop what they are given: the one handler of the log
// is set with LogSetHandler.
LegacyMessageHandler ZuSetInfoHandler(LegacyMessageHandler) {
  LogWarn("ZuSetInfoHandler() is deprecated. Use ZuSetLogHandler() instead.");
  return nullMessageHandler;
}

LegacyMessageHandler ZuSetWarningHandler(LegacyMessageHandler) {
  LogWarn(
      "ZuSetWarningHandler() is deprecated. Use ZuSetLogHandler() instead.");
  return nullMessageHandler;
}

LegacyMessageHandler ZuSetFatalErrorHandler(LegacyMessageHandler) {
  LogWarn(
      "ZuSetFatalErrorHandler() is deprecated. Use ZuSetLogHandler() "
      "instead.");
  return nullMessageHandler;
}

}  // namespace Zu
