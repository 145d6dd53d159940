#include <cctype>
#include <cstdint>

#include "ZuPlatform/filesystem.h"

namespace {

// Case folding as toupper does it, for bytes taken as the signed char they
// arrive as and widened to int (bytes from 0x80 up are negative). With glibc
// the table behind toupper is fetched once per match instead of calling the
// function for every byte; it covers -128 to 255 and follows the current
// locale just as toupper does.
class CaseFold {
 public:
#ifdef __GLIBC__
  CaseFold() : table(*__ctype_toupper_loc()) {}
  int upper(char byte) const { return table[static_cast<int>(byte)]; }
#else
  int upper(char byte) const { return toupper(static_cast<int>(byte)); }
#endif
  bool same(char patternByte, char textByte) const {
    return patternByte == textByte || upper(patternByte) == upper(textByte);
  }

 private:
#ifdef __GLIBC__
  const int32_t* table;
#endif
};

}  // namespace

// One pass with a single point to come back to: the pattern just behind the
// last '*' seen, and the text position that star has swallowed up to. When
// the pattern after it fails, that star takes one more byte and the rest is
// tried again. Earlier stars never need revisiting: whatever they could still
// absorb, the later star can absorb as well, so the answer is that of trying
// every split, in at most len(pattern) x len(text) steps and with no stack.
extern "C" int libwdmatch_match_i(const char* pattern, const char* text) {
  const CaseFold fold;
  const char* resume = nullptr;     // pattern byte behind the last '*'
  const char* swallowed = nullptr;  // text the last '*' has taken up to
  for (;;) {
    if (*pattern == '*') {
      while (*pattern == '*') ++pattern;  // a run of stars is one star
      if (*pattern == '\0') return 1;     // a last star takes all the rest
      resume = pattern;
      swallowed = text;
      continue;
    }
    // The bytes between two stars take exactly as many text bytes, so once
    // the text is used up no star can help: only the pattern's end matches.
    if (*text == '\0') return *pattern == '\0' ? 1 : 0;
    if (*pattern != '\0' && (*pattern == '?' || fold.same(*pattern, *text))) {
      ++pattern;
      ++text;
      continue;
    }
    if (resume == nullptr) return 0;
    // The star takes one more byte. Where the pattern goes on with a plain
    // byte, every text position that can't match it would fail at once, so
    // the star takes those bytes in one go.
    ++swallowed;
    if (*resume != '?') {
      while (*swallowed != '\0' && !fold.same(*resume, *swallowed)) {
        ++swallowed;
      }
    }
    pattern = resume;
    text = swallowed;
  }
}
