#include <ZuPlatform/diagnostics.h>
#include <ZuPlatform/paths.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "diagnostics/log_state.h"

namespace Zu {

// A passing assertion costs one test. A failing one puts "<name>:<line>: "
// in front of the caller's format and hands that, with the caller's
// arguments, to the handler at error level: the handler expands the
// conversions, so the located text is a format in its own right. That is why
// the file's name must hold no '%'.
void ZuAssertImplementation(const char* file, unsigned int line, bool condition,
                            const char* format, ...) {
  if (condition) return;

  const std::string name = ZuPlatform::File(file).getName();
  // ':' + at most 11 characters of a signed int + ": " + terminator fit in
  // 17 with room to spare.
  const size_t size = name.size() + strlen(format) + 17;
  std::unique_ptr<char[]> located(new char[size]);
  snprintf(located.get(), size, "%s:% 4d: %s", name.c_str(),
           static_cast<int>(line), format);

  va_list args;
  va_start(args, format);
  try {
    detail::currentLogHandler(LOG_LEVEL_ERROR, located.get(), args);
  } catch (...) {
    va_end(args);
    throw;
  }
  va_end(args);
}

}  // namespace Zu
