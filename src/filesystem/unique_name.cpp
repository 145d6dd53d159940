#include "filesystem/unique_name.h"

#include <unistd.h>

#include <sstream>

#include "ZuPlatform/filesystem.h"

namespace ZuPlatform {
namespace Filesystem {

std::atomic<uint32_t> uniqueNameCounter{0};

namespace {

// Takes the next number, or 0 once the last one is gone. The limit test and
// the increment are one compare-and-swap, so racing callers can neither get
// the same number nor push the counter past the end and wrap it to 0.
uint32_t takeNumber() {
  uint32_t last = uniqueNameCounter.load();
  do {
    if (last == LAST_UNIQUE_NUMBER) return 0;
  } while (!uniqueNameCounter.compare_exchange_weak(last, last + 1));
  return last + 1;
}

}  // namespace

std::string createUniqueName(const std::string& prefix) {
  const uint32_t number = takeNumber();
  if (number == 0) return std::string();
  std::ostringstream name;
  name << prefix << '_' << getpid() << '_' << number;
  return name.str();
}

}  // namespace Filesystem
}  // namespace ZuPlatform
