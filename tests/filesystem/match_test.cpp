#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>

#include "ZuPlatform/filesystem.h"
#include "support/match_model.h"

namespace {

struct MatchRow {
  const char* pattern;
  const char* text;
  int want;
};

TEST(WildcardMatch, FollowsTheRuleTable) {
  const MatchRow rows[] = {
      // empty pattern and empty text
      {"", "", 1},
      {"", "x", 0},
      {"*", "", 1},
      {"**", "", 1},
      {"?", "", 0},
      {"?*", "", 0},
      // one byte each
      {"?*", "a", 1},
      {"a*", "a", 1},
      {"a?c", "ABC", 1},
      // case is ignored, anchored at both ends
      {"*.TXT", "readme.txt", 1},
      {"*.txt", "readme.txt.bak", 0},
      {"read", "readme", 0},
      {"*.*", "noext", 0},
      // a star that has to give back what it took
      {"*a*b", "xxaybzb", 1},
      {"*ab", "aab", 1},
      {"a*b*c", "abbbcbc", 1},
      {"a*b*c", "abbbcb", 0},
      // no separator rule, no classes, no escape
      {"a/*", "A/b/c", 1},
      {"?", "/", 1},
      {"*", ".hidden", 1},
      {"[ab]", "a", 0},
      {"[AB]", "[ab]", 1},
      {"\\*", "\\anything", 1},
      {"\\*", "*", 0},
      // '?' and '*' in the text are plain bytes
      {"a", "?", 0},
      {"?", "*", 1},
      // bytes from 0x80 up compare as themselves
      {"\xc3\xa9", "\xc3\xa9", 1},
      {"?", "\xc3\xa9", 0},
      {"??", "\xc3\xa9", 1},
      {"*\xff", "x\xff", 1},
  };
  for (const MatchRow& row : rows) {
    EXPECT_EQ(libwdmatch_match_i(row.pattern, row.text), row.want)
        << "pattern \"" << row.pattern << "\" text \"" << row.text << "\"";
  }
}

// Alphabets small enough that random strings match now and then, with the
// two special bytes, a case pair and a byte that toupper sees as negative.
std::string randomString(std::mt19937& random, const std::string& alphabet,
                         size_t maxLength) {
  std::uniform_int_distribution<size_t> lengthOf(0, maxLength);
  std::uniform_int_distribution<size_t> pick(0, alphabet.size() - 1);
  std::string text(lengthOf(random), ' ');
  for (char& byte : text) byte = alphabet[pick(random)];
  return text;
}

TEST(WildcardMatch, AgreesWithTheModelOnRandomInput) {
  std::mt19937 random(20240607);
  const std::string patternBytes = "**??aAb\x80.";
  const std::string textBytes = "aAbB\x80?*.";
  int matches = 0;
  for (int i = 0; i < 200000; ++i) {
    const std::string pattern = randomString(random, patternBytes, 12);
    const std::string text = randomString(random, textBytes, 16);
    const int want = zutest::matchModel(pattern, text);
    matches += want;
    ASSERT_EQ(libwdmatch_match_i(pattern.c_str(), text.c_str()), want)
        << "pattern \"" << pattern << "\" text \"" << text << "\"";
  }
  // The comparison is only worth something if both answers occur often.
  EXPECT_GT(matches, 10000);
  EXPECT_LT(matches, 190000);
}

TEST(WildcardMatch, ManyStarsOnALongRunStayPolynomial) {
  // Trying every split of ten stars over 10,000 bytes would never finish;
  // the single-backtrack loop answers at once.
  const std::string text(10000, 'a');
  EXPECT_EQ(libwdmatch_match_i("*a*a*a*a*a*a*a*a*a*a*b", text.c_str()), 0);
  EXPECT_EQ(libwdmatch_match_i("*a*a*a*a*a*a*a*a*a*a*a", text.c_str()), 1);
}

TEST(WildcardMatch, MegabyteTextNeedsNoStack) {
  // A recursive matcher would need a frame per byte here.
  std::string text(1 << 20, 'x');
  text.back() = 'y';
  EXPECT_EQ(libwdmatch_match_i("*y", text.c_str()), 1);
  EXPECT_EQ(libwdmatch_match_i("x*x", text.c_str()), 0);
  const std::string longPattern(1 << 20, '?');
  EXPECT_EQ(libwdmatch_match_i(longPattern.c_str(), text.c_str()), 1);
}

}  // namespace
