// Feeds the wildcard matcher pattern/text pairs and traps on any answer that
// differs from the model. The input splits at its first NUL byte: pattern in
// front, text behind. Without a NUL the first half is the pattern.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "../tests/support/match_model.h"
#include "ZuPlatform/filesystem.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The model's table costs len(pattern) x len(text); keep runs quick.
  if (size > 4096) return 0;
  const char* bytes = reinterpret_cast<const char*>(data);
  const void* nul = memchr(bytes, '\0', size);
  const size_t split = nul ? static_cast<const char*>(nul) - bytes : size / 2;
  const std::string pattern(bytes, split);
  const size_t textStart = nul ? split + 1 : split;
  const std::string text(bytes + textStart, size - textStart);
  // Both sides end at their first NUL, as the matcher reads them.
  const int got = libwdmatch_match_i(pattern.c_str(), text.c_str());
  if (got != zutest::matchModel(pattern, text)) __builtin_trap();
  return 0;
}
