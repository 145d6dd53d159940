// The process environment and the separator of path lists.
#include <cstdlib>

#include "ZuPlatform/paths.h"

namespace ZuPlatform {

std::string getEnv(const std::string& name) {
  const char* value = getenv(name.c_str());
  return value ? value : "";
}

// setenv itself refuses an empty name or one holding "=".
bool putEnv(const std::string& name, const std::string& value) {
  return setenv(name.c_str(), value.c_str(), 1) == 0;
}

const std::string& getPathSeparator() {
  static const std::string separator(":");
  return separator;
}

}  // namespace ZuPlatform
