#include <ZuPlatform/data.h>
#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace {

using ZuPlatform::StringConversions::stringToWString;
using ZuPlatform::StringConversions::wStringToString;

// Each test picks the LC_CTYPE it needs and puts the previous one back.
class StringConversions : public testing::Test {
 protected:
  void SetUp() override { saved = setlocale(LC_CTYPE, nullptr); }
  void TearDown() override { setlocale(LC_CTYPE, saved.c_str()); }

  static bool useLocale(const char* name) {
    return setlocale(LC_CTYPE, name) != nullptr;
  }

  std::string saved;
};

TEST_F(StringConversions, AsciiRoundTripsInBothLocales) {
  const std::string ascii = "plain ASCII text, 0-9 ~!@#$%^&*()";
  for (const char* locale : {"C", "C.UTF-8"}) {
    ASSERT_TRUE(useLocale(locale)) << locale;
    const std::wstring wide = stringToWString(ascii);
    EXPECT_EQ(wide, std::wstring(ascii.begin(), ascii.end())) << locale;
    EXPECT_EQ(wStringToString(wide), ascii) << locale;
    EXPECT_EQ(stringToWString(""), L"") << locale;
    EXPECT_EQ(wStringToString(L""), "") << locale;
  }
}

TEST_F(StringConversions, ZeroElementEndsTheConversion) {
  ASSERT_TRUE(useLocale("C"));
  EXPECT_EQ(stringToWString(std::string("ab\0cd", 5)), L"ab");
  EXPECT_EQ(wStringToString(std::wstring(L"ab\0cd", 5)), "ab");
}

TEST_F(StringConversions, Utf8SequencesBecomeSingleCharacters) {
  ASSERT_TRUE(useLocale("C.UTF-8"));
  // "é" is two bytes, "€" three, "𝄞" four.
  EXPECT_EQ(stringToWString("caf\xC3\xA9"), L"caf\u00E9");
  EXPECT_EQ(stringToWString("\xE2\x82\xAC\xF0\x9D\x84\x9E"),
            L"\u20AC\U0001D11E");
}

// The byte result may be no longer than the wide argument has characters, so
// characters that need more than one byte run out of room.
TEST_F(StringConversions, Utf8OutputIsCutAtTheArgumentsLength) {
  ASSERT_TRUE(useLocale("C.UTF-8"));
  const struct {
    std::wstring wide;
    std::string want;
  } rows[] = {
      {L"\u00E9", ""},                // 2 bytes, room for 1
      {L"\u00E9\u00E9", "\xC3\xA9"},  // 4 bytes, room for 2
      {L"\u00E9ab",
       "\xC3\xA9"
       "a"},                  // 4 bytes, room for 3
      {L"ab\u00E9", "ab"},    // 4 bytes, room for 3
      {L"abc\u00E9", "abc"},  // 5 bytes, room for 4
  };
  for (const auto& row : rows)
    EXPECT_EQ(wStringToString(row.wide), row.want) << row.want;
}

TEST_F(StringConversions, UnconvertibleTextGivesEmptyResult) {
  const struct {
    const char* locale;
    std::string bytes;
  } badBytes[] = {
      {"C", "caf\xC3\xA9"},    // no byte above 0x7F in "C"
      {"C.UTF-8", "ab\xFF"},   // never valid in UTF-8
      {"C.UTF-8", "ab\xC3"},   // sequence cut short
      {"C.UTF-8", "\x80xyz"},  // continuation byte first
  };
  for (const auto& row : badBytes) {
    ASSERT_TRUE(useLocale(row.locale)) << row.locale;
    EXPECT_EQ(stringToWString(row.bytes), L"") << row.locale;
  }
  const struct {
    const char* locale;
    std::wstring wide;
  } badWide[] = {
      {"C", L"caf\u00E9"},                           // not ASCII
      {"C.UTF-8", std::wstring(L"ab") + L'\xD800'},  // lone surrogate
  };
  for (const auto& row : badWide) {
    ASSERT_TRUE(useLocale(row.locale)) << row.locale;
    EXPECT_EQ(wStringToString(row.wide), "") << row.locale;
  }
}

}  // namespace
