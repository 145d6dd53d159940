#include <gtest/gtest.h>

#include <random>

#include "ZuPlatform/filesystem.h"
#include "support/match_model.h"

namespace {

// Case ignored, anchored at both ends, a star that gives back, one '?' per
// byte: all as the model says, on random input.
TEST(WildcardMatch, AgreesWithTheModelOnRandomInput) {
  // Small alphabets so that matches are common: both specials, a case pair,
  // a byte that reaches toupper as a negative value, and "[", "/" and "\"
  // that stand for themselves.
  std::mt19937 random(20240607);
  auto randomText = [&random](const std::string& alphabet, size_t most) {
    std::string text(random() % (most + 1), ' ');
    for (char& byte : text) byte = alphabet[random() % alphabet.size()];
    return text;
  };
  int matches = 0;
  for (int i = 0; i < 100000; ++i) {
    const std::string pattern = randomText("**??aAb\x80[/\\", 12);
    const std::string text = randomText("aAbB\x80?*[/\\", 16);
    const int want = zutest::matchModel(pattern, text);
    matches += want;
    ASSERT_EQ(libwdmatch_match_i(pattern.c_str(), text.c_str()), want)
        << '"' << pattern << "\" \"" << text << '"';
  }
  EXPECT_GT(matches, 4000);  // both answers must be common to mean much
  EXPECT_LT(matches, 95000);
}

}  // namespace
