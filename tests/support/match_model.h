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
  const std::string pattern(patternBytes.c_str()), text(textBytes.c_str());
  const size_t n = text.size();
  // next[j]: does pattern[i+1..] match text[j..]; row[j]: pattern[i..]. The
  // empty pattern matches only the empty text.
  std::vector<char> next(n + 1, 0), row(n + 1, 0);
  next[n] = 1;
  for (size_t i = pattern.size(); i-- > 0;) {
    const int p = pattern[i];
    for (size_t j = n + 1; j-- > 0;) {
      const bool left = j < n;
      // '*' stands for nothing, or takes one byte and stays.
      row[j] = p == '*' ? next[j] || (left && row[j + 1])
               : p == '?'
                   ? left && next[j + 1]
                   : left && toupper(p) == toupper(text[j]) && next[j + 1];
    }
    next.swap(row);
  }
  return next[0];
}

}  // namespace zutest

#endif  // ZU_TESTS_SUPPORT_MATCH_MODEL_H
