// The process environment and the separator of path lists.
#include <cstdlib>

#include "ZuPlatform/paths.h"

namespace ZuPlatform {

namespace {

// A name that no variable can have. getenv would read "A=B" as variable A
// with a value that starts with "B=", and hand back the rest of that value.
// A NUL ends the name early, so the system would see another name.
bool isVariableName(const std::string& name) {
  return !name.empty() &&
         name.find_first_of(std::string("=\0", 2)) == std::string::npos;
}

}  // namespace

std::string getEnv(const std::string& name) {
  if (!isVariableName(name)) return std::string();
  const char* value = getenv(name.c_str());
  return value ? value : "";
}

bool putEnv(const std::string& name, const std::string& value) {
  if (!isVariableName(name)) return false;
  return setenv(name.c_str(), value.c_str(), 1) == 0;
}

const std::string& getPathSeparator() {
  static const std::string separator(":");
  return separator;
}

}  // namespace ZuPlatform
