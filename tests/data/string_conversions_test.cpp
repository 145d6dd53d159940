#include <ZuPlatform/data.h>
#include <gtest/gtest.h>

#include <clocale>
#include <iterator>
#include <string>

namespace {

using ZuPlatform::StringConversions::stringToWString;
using ZuPlatform::StringConversions::wStringToString;

// Each test picks the LC_CTYPE it needs and puts the previous one back.
class StringConversions : public testing::Test {
 protected:
  void SetUp() override { saved = setlocale(LC_CTYPE, nullptr); }
  void TearDown() override { setlocale(LC_CTYPE, saved.c_str()); }
  std::string saved;
};

const char ASCII[] = "plain ASCII text, 0-9 ~!@#$%^&*()";
const wchar_t WIDE_ASCII[] = L"plain ASCII text, 0-9 ~!@#$%^&*()";

// Any text that does not convert as a whole gives an empty result.
TEST_F(StringConversions, BytesToWide) {
  const struct {
    const char* locale;
    std::string bytes;
    std::wstring want;
  } rows[] = {
      {"C", ASCII, WIDE_ASCII},
      // "é" is two bytes
      {"C.UTF-8", "caf\xC3\xA9", L"caf\u00E9"},
      // unconvertible
      {"C", "caf\xC3\xA9", L""},    // no byte above 0x7F in "C"
      {"C.UTF-8", "ab\xFF", L""},   // never valid in UTF-8
      {"C.UTF-8", "\x80xyz", L""},  // continuation byte first
  };
  for (const auto& row : rows) {
    ASSERT_TRUE(setlocale(LC_CTYPE, row.locale)) << row.locale;
    EXPECT_EQ(stringToWString(row.bytes), row.want)
        << row.locale << " \"" << row.bytes << '"';
  }
}

// The byte result may be no longer than the wide argument has characters, so
// characters that need more than one byte run out of room.
TEST_F(StringConversions, WideToBytes) {
  const struct {
    const char* locale;
    std::wstring wide;
    std::string want;
  } rows[] = {
      {"C", WIDE_ASCII, ASCII},
      // cut at the argument's length
      {"C.UTF-8", L"\u00E9", ""},        // 2 bytes, room for 1
      {"C.UTF-8", L"ab\u00E9", "ab"},    // 4 bytes, room for 3
      {"C.UTF-8", L"abc\u00E9", "abc"},  // 5 bytes, room for 4
      // unconvertible
      {"C", L"caf\u00E9", ""},                           // not ASCII
      {"C.UTF-8", std::wstring(L"ab") + L'\xD800', ""},  // lone surrogate
  };
  for (size_t i = 0; i < std::size(rows); ++i) {
    ASSERT_TRUE(setlocale(LC_CTYPE, rows[i].locale)) << rows[i].locale;
    EXPECT_EQ(wStringToString(rows[i].wide), rows[i].want)
        << rows[i].locale << " row " << i;
  }
}

}  // namespace
