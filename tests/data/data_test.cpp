#include <ZuPlatform/data.h>
#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <cstring>
#include <tuple>

namespace {

// The published self-check: hash the keys {}, {0}, {0, 1}, ... up to 255
// bytes, each with seed 256 - length, then hash the concatenated results with
// seed 0; its first 4 bytes, in native order, are the check value. Every tail
// length meets every block count below 16, and the keys sit at an odd address.
TEST(MurmurHash3, MatchesPublishedVerificationValues) {
  const std::tuple<decltype(&MurmurHash3_x86_32), int, uint32_t> rows[] = {
      {MurmurHash3_x86_32, 4, 0xB0F57EE3u},
      {MurmurHash3_x86_128, 16, 0xB3ECE62Au},
      {MurmurHash3_x64_128, 16, 0x6384BA69u}};
  for (const auto& [hash, bytes, want] : rows) {
    uint8_t key[257], results[256 * 16];
    for (int i = 0; i < 256; ++i) {
      key[1 + i] = static_cast<uint8_t>(i);
      hash(key + 1, i, 256 - i, &results[i * bytes]);
    }
    uint32_t final[4];
    hash(results, 256 * bytes, 0, final);
    EXPECT_EQ(final[0], want) << bytes << "-byte variant";
  }
}

// The check values, whole and cut in two at every point, the second piece
// continued from the first one's result.
TEST(Crc32, KnownAnswersWholeAndInPieces) {
  const std::pair<const char*, unsigned int> rows[] = {
      {"abc", 0x352441C2u}, {"123456789", 0xCBF43926u}};
  for (const auto& [text, want] : rows) {
    for (int cut = 0, length = int(strlen(text)); cut <= length; ++cut)
      EXPECT_EQ(Zu::calculateCRC32(text + cut, length - cut,
                                   int(Zu::calculateCRC32(text, cut, 0))),
                want)
          << '"' << text << "\" cut at " << cut;
  }
}

// Conversions that hold from bytes to wide ('W'), back ('B') or both ways.
// A wide text takes no more bytes than it has characters, so a character that
// no longer fits ends it; a 0 element ends the text; a sequence the locale
// cannot convert gives the empty string.
TEST(StringConversions, FollowTheLocale) {
  using namespace ZuPlatform::StringConversions;
  const std::tuple<const char*, std::string, std::wstring, const char*> rows[] =
      {{"C", "plain ASCII 0-9 ~!@#$", L"plain ASCII 0-9 ~!@#$", "WB"},
       {"C.UTF-8", "", L"", "WB"},
       {"C.UTF-8", std::string("caf\xC3\xA9\0d", 7), L"caf\u00E9", "W"},
       {"C.UTF-8", "ab", L"ab\u00E9", "B"},
       {"C.UTF-8", "ab\xFF", L"", "W"},
       {"C", "", L"caf\u00E9", "B"}};
  for (const auto& [locale, bytes, wide, ways] : rows) {
    ASSERT_TRUE(setlocale(LC_CTYPE, locale));
    EXPECT_TRUE(!strchr(ways, 'W') || stringToWString(bytes) == wide)
        << locale << ", to wide: \"" << bytes << '"';
    EXPECT_TRUE(!strchr(ways, 'B') || wStringToString(wide) == bytes)
        << locale << ", to bytes: \"" << bytes << '"';
  }
}

}  // namespace
