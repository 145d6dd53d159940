#include <cctype>

#include "ZuPlatform/filesystem.h"

namespace {

// Bytes are compared as the signed char they arrive as, widened to int, so
// bytes from 0x80 up reach toupper as negative values.
int upper(char byte) { return toupper(static_cast<int>(byte)); }

}  // namespace

// One pass with a single point to come back to: the position just behind the
// last '*' seen, and the text position that '*' has so far swallowed up to.
// When the pattern after it fails, that '*' takes one more byte and the rest
// is tried again. Earlier stars never need revisiting: whatever they could
// still absorb, the later star can absorb as well, so the answer is the same
// as trying every split, in at most len(pattern) x len(text) steps and with
// no stack.
extern "C" int libwdmatch_match_i(const char* pattern, const char* text) {
  const char* resume = nullptr;     // pattern byte behind the last '*'
  const char* swallowed = nullptr;  // text the last '*' has taken up to
  while (*text != '\0') {
    if (*pattern == '*') {
      resume = ++pattern;
      swallowed = text;
      continue;
    }
    if (*pattern != '\0' &&
        (*pattern == '?' || upper(*pattern) == upper(*text))) {
      ++pattern;
      ++text;
      continue;
    }
    if (resume == nullptr) return 0;
    pattern = resume;
    text = ++swallowed;
  }
  // The text is used up: only stars, standing for nothing, may remain.
  while (*pattern == '*') ++pattern;
  return *pattern == '\0' ? 1 : 0;
}
