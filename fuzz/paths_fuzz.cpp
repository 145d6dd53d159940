// Feeds arbitrary bytes to the two path normalisers and traps when either
// differs from the literal model. The first byte picks how the rest is read:
// as an absolute path (a "/" put in front unless one is there), or as a
// relative one, which the model puts behind the working directory read here
// at start-up. The fuzzer never changes directory: libFuzzer keeps relative
// corpus and artifact paths.
#include <ZuPlatform/paths.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "../tests/support/path_model.h"

namespace {

std::string workingDirectoryText() {
  char buffer[4096];
  if (getcwd(buffer, sizeof buffer) == nullptr) return std::string();
  std::string text = buffer;
  if (text.back() != '/') text += '/';
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string here = workingDirectoryText();
  if (size == 0) return 0;
  bool relative = data[0] & 1;
  std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  if (!relative && (text.empty() || (text[0] != '/' && text[0] != '\\'))) {
    text.insert(0, "/");
  }
  if (ZuPlatform::Directory(text).toUniversalPath() !=
      pathmodel::directory(text, here)) {
    __builtin_trap();
  }
  if (ZuPlatform::File(text).toUniversalPath() != pathmodel::file(text, here)) {
    __builtin_trap();
  }
  return 0;
}
