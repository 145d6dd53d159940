// A slow, obviously right model of libwdmatch_match_i for differential tests,
// the benchmark and the fuzzer: the matcher's rules as a table over every
// pair of suffixes, filled from the ends backwards. Standard library only.
#ifndef ZU_TESTS_SUPPORT_MATCH_MODEL_H
#define ZU_TESTS_SUPPORT_MATCH_MODEL_H

#include <cctype>
#include <string>
#include <vector>

namespace zutest {

// 1 if text matches pattern under the matcher's rules, 0 otherwise. Both are
// taken up to their first NUL, as the matcher sees them.
inline int matchModel(const std::string& patternBytes,
                      const std::string& textBytes) {
  const std::string pattern(patternBytes.c_str());
  const std::string text(textBytes.c_str());
  const size_t m = pattern.size();
  const size_t n = text.size();
  // next[j]: does pattern[i+1..] match text[j..]; row[j]: pattern[i..].
  std::vector<char> next(n + 1, 0), row(n + 1, 0);
  next[n] = 1;  // the empty pattern matches only the empty text
  for (size_t i = m; i-- > 0;) {
    const char p = pattern[i];
    for (size_t j = n + 1; j-- > 0;) {
      const bool textLeft = j < n;
      if (p == '*') {
        // '*' stands for nothing, or takes one byte and stays.
        row[j] = next[j] || (textLeft && row[j + 1]);
      } else if (p == '?') {
        row[j] = textLeft && next[j + 1];
      } else {
        row[j] = textLeft &&
                 toupper(static_cast<int>(p)) ==
                     toupper(static_cast<int>(text[j])) &&
                 next[j + 1];
      }
    }
    next.swap(row);
  }
  return next[0] ? 1 : 0;
}

}  // namespace zutest

#endif  // ZU_TESTS_SUPPORT_MATCH_MODEL_H
