#include <ZuPlatform/data.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#ifdef ZU_TEST_HAVE_ZLIB
#include <zlib.h>
#endif

namespace {

unsigned int crcOf(const char* text) {
  return Zu::calculateCRC32(text, static_cast<int>(strlen(text)), 0);
}

TEST(Crc32, KnownAnswers) {
  struct {
    const char* text;
    unsigned int want;
  } const rows[] = {
      {"", 0x00000000u},
      {"abc", 0x352441C2u},
      {"123456789", 0xCBF43926u},
      {"The quick brown fox jumps over the lazy dog", 0x414FA339u},
  };
  for (const auto& row : rows)
    EXPECT_EQ(crcOf(row.text), row.want) << '"' << row.text << '"';
}

TEST(Crc32, PiecesContinueIntoTheWhole) {
  const char text[] = "The quick brown fox jumps over the lazy dog";
  const int length = static_cast<int>(strlen(text));
  for (int split = 0; split <= length; ++split) {
    const unsigned int first = Zu::calculateCRC32(text, split, 0);
    EXPECT_EQ(Zu::calculateCRC32(text + split, length - split,
                                 static_cast<int>(first)),
              0x414FA339u)
        << "split at " << split;
  }
}

#ifdef ZU_TEST_HAVE_ZLIB
TEST(Crc32, AgreesWithZlib) {
  std::mt19937 random(3);
  for (int round = 0; round < 200; ++round) {
    const size_t length = random() % 3000;
    std::vector<uint8_t> bytes(length);
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
    const int seed = static_cast<int>(random());
    const uLong want = crc32(static_cast<unsigned int>(seed), bytes.data(),
                             static_cast<uInt>(length));
    EXPECT_EQ(Zu::calculateCRC32(bytes.data(), static_cast<int>(length), seed),
              want)
        << "length " << length << " seed " << seed;
  }
}
#endif

}  // namespace
