#include <ZuPlatform/data.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

#ifdef ZU_TEST_HAVE_ZLIB
#include <zlib.h>
#endif

namespace {

std::vector<uint8_t> randomBytes(size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<uint8_t> bytes(count);
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
  return bytes;
}

// Bit by bit, no table: slow and independent of the library's table.
uint32_t bitwiseCrc32(const uint8_t* data, size_t length) {
  uint32_t crc = 0xFFFFFFFFu;
  for (size_t i = 0; i < length; ++i) {
    crc ^= data[i];
    for (int bit = 0; bit < 8; ++bit)
      crc = (crc & 1) ? (crc >> 1) ^ 0xEDB88320u : crc >> 1;
  }
  return ~crc;
}

unsigned int crcOf(const char* text) {
  return Zu::calculateCRC32(text, static_cast<int>(strlen(text)), 0);
}

TEST(Crc32, KnownAnswers) {
  struct {
    const char* text;
    unsigned int want;
  } const rows[] = {
      {"", 0x00000000u},
      {"a", 0xE8B7BE43u},
      {"abc", 0x352441C2u},
      {"123456789", 0xCBF43926u},
      {"The quick brown fox jumps over the lazy dog", 0x414FA339u},
  };
  for (const auto& row : rows)
    EXPECT_EQ(crcOf(row.text), row.want) << '"' << row.text << '"';
}

TEST(Crc32, EmptyRangeReturnsSeedWithoutReadingData) {
  for (int seed : {0, 1, 0x12345678, -1, INT_MIN, INT_MAX})
    EXPECT_EQ(Zu::calculateCRC32(nullptr, 0, seed),
              static_cast<unsigned int>(seed))
        << seed;
}

TEST(Crc32, PiecesContinueIntoTheWhole) {
  const std::vector<uint8_t> bytes = randomBytes(100, 1);
  const unsigned int whole = Zu::calculateCRC32(bytes.data(), 100, 0);
  for (int split = 0; split <= 100; ++split) {
    const unsigned int first = Zu::calculateCRC32(bytes.data(), split, 0);
    const unsigned int both = Zu::calculateCRC32(
        bytes.data() + split, 100 - split, static_cast<int>(first));
    EXPECT_EQ(both, whole) << "split at " << split;
  }
}

TEST(Crc32, AgreesWithBitwiseComputation) {
  for (size_t length : {1u, 2u, 255u, 256u, 1000u, 4096u}) {
    const std::vector<uint8_t> bytes = randomBytes(length, length);
    EXPECT_EQ(Zu::calculateCRC32(bytes.data(), static_cast<int>(length), 0),
              bitwiseCrc32(bytes.data(), length))
        << "length " << length;
  }
}

#ifdef ZU_TEST_HAVE_ZLIB
TEST(Crc32, AgreesWithZlib) {
  std::mt19937 random(3);
  for (int round = 0; round < 200; ++round) {
    const size_t length = random() % 3000;
    const std::vector<uint8_t> bytes = randomBytes(length, round);
    const int seed = static_cast<int>(random());
    const uLong want =
        crc32(static_cast<uLong>(static_cast<unsigned int>(seed)), bytes.data(),
              static_cast<uInt>(length));
    EXPECT_EQ(Zu::calculateCRC32(bytes.data(), static_cast<int>(length), seed),
              want)
        << "length " << length << " seed " << seed;
  }
}
#endif

// Each test runs in a process of its own under ctest, so this is the very
// first use of the table: both threads must see it complete.
TEST(Crc32, ConcurrentFirstUseGivesCorrectResults) {
  const std::vector<uint8_t> bytes = randomBytes(4096, 11);
  const unsigned int want = bitwiseCrc32(bytes.data(), bytes.size());
  unsigned int results[2][50];
  auto work = [&](int thread) {
    for (unsigned int& result : results[thread])
      result = Zu::calculateCRC32(bytes.data(), 4096, 0);
  };
  std::thread first(work, 0);
  std::thread second(work, 1);
  first.join();
  second.join();
  for (const auto& row : results)
    for (unsigned int result : row) ASSERT_EQ(result, want);
}

}  // namespace
