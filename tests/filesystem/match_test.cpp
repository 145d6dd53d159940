#include <gtest/gtest.h>

#include <random>
#include <string>

#include "ZuPlatform/filesystem.h"
#include "support/match_model.h"

namespace {

TEST(WildcardMatch, RuleTable) {
  // In order: empty pattern or text; case ignored, anchored at both ends, a
  // star that gives back; no separator rule, no classes, no escape, and one
  // '?' per byte of a two-byte character.
  const struct {
    const char* pattern;
    const char* text;
    int want;
  } rows[] = {{"", "", 1},          {"", "x", 0},
              {"*", "", 1},         {"**", "", 1},
              {"?", "", 0},         {"?*", "", 0},
              {"?*", "a", 1},       {"a*", "a", 1},
              {"a?c", "ABC", 1},    {"*.TXT", "readme.txt", 1},
              {"*.*", "noext", 0},  {"*a*b", "xxaybzb", 1},
              {"a/*", "A/b/c", 1},  {"[ab]", "a", 0},
              {"[AB]", "[ab]", 1},  {"\\*", "*", 0},
              {"??", "\xc3\xa9", 1}};
  for (const auto& row : rows) {
    EXPECT_EQ(libwdmatch_match_i(row.pattern, row.text), row.want)
        << '"' << row.pattern << "\" \"" << row.text << '"';
  }
}

TEST(WildcardMatch, AgreesWithTheModelOnRandomInput) {
  // Small alphabets so that matches are common: both specials, a case pair
  // and a byte that reaches toupper as a negative value.
  std::mt19937 random(20240607);
  auto randomText = [&random](const std::string& alphabet, size_t most) {
    std::string text(random() % (most + 1), ' ');
    for (char& byte : text) byte = alphabet[random() % alphabet.size()];
    return text;
  };
  int matches = 0;
  for (int i = 0; i < 200000; ++i) {
    const std::string pattern = randomText("**??aAb\x80.", 12);
    const std::string text = randomText("aAbB\x80?*.", 16);
    const int want = zutest::matchModel(pattern, text);
    matches += want;
    ASSERT_EQ(libwdmatch_match_i(pattern.c_str(), text.c_str()), want)
        << '"' << pattern << "\" \"" << text << '"';
  }
  EXPECT_GT(matches, 10000);  // both answers must be common to mean much
  EXPECT_LT(matches, 190000);
}

TEST(WildcardMatch, LongInputsNeedNoStackAndNoSplitSearch) {
  // Trying every split of ten stars over 10,000 bytes would not finish
  // within the test's time limit; a recursive matcher would need a frame per
  // byte of the megabyte.
  const std::string run(10000, 'a');
  EXPECT_EQ(libwdmatch_match_i("*a*a*a*a*a*a*a*a*a*a*b", run.c_str()), 0);
  std::string megabyte(1 << 20, 'x');
  megabyte.back() = 'y';
  EXPECT_EQ(libwdmatch_match_i("*y", megabyte.c_str()), 1);
  EXPECT_EQ(libwdmatch_match_i("x*x", megabyte.c_str()), 0);
}

}  // namespace
