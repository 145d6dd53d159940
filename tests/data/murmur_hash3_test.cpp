#include <ZuPlatform/data.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace {

using HashFunction = void (*)(const void*, int, unsigned int, void*);

struct Variant {
  const char* name;
  HashFunction hash;
  int outputBytes;
};

const Variant VARIANTS[] = {
    {"x86_32", MurmurHash3_x86_32, 4},
    {"x86_128", MurmurHash3_x86_128, 16},
    {"x64_128", MurmurHash3_x64_128, 16},
};

std::vector<uint8_t> hashOf(const Variant& variant, const void* key, int len,
                            unsigned int seed) {
  std::vector<uint8_t> out(variant.outputBytes);
  variant.hash(key, len, seed, out.data());
  return out;
}

// The published self-check of the algorithm: hash the keys {}, {0}, {0,1}, ...
// up to 255 bytes, each with seed 256 - length, then hash the concatenated
// results with seed 0. Every block count from 0 to 15 and every tail length
// meets every other, so one wrong constant, rotation or tail case changes it.
uint32_t verificationValue(const Variant& variant) {
  uint8_t key[256];
  std::vector<uint8_t> results(256 * variant.outputBytes);
  for (int i = 0; i < 256; ++i) {
    key[i] = static_cast<uint8_t>(i);
    variant.hash(key, i, 256 - i, &results[i * variant.outputBytes]);
  }
  uint8_t final[16];
  variant.hash(results.data(), static_cast<int>(results.size()), 0, final);
  return uint32_t{final[0]} | uint32_t{final[1]} << 8 |
         uint32_t{final[2]} << 16 | uint32_t{final[3]} << 24;
}

TEST(MurmurHash3, MatchesPublishedVerificationValues) {
  const uint32_t want[] = {0xB0F57EE3u, 0xB3ECE62Au, 0x6384BA69u};
  for (int v = 0; v < 3; ++v)
    EXPECT_EQ(verificationValue(VARIANTS[v]), want[v]) << VARIANTS[v].name;
}

TEST(MurmurHash3, EmptyKeyWithSeedZeroHashesToZero) {
  for (const Variant& variant : VARIANTS) {
    std::vector<uint8_t> zeros(variant.outputBytes, 0);
    EXPECT_EQ(hashOf(variant, nullptr, 0, 0), zeros) << variant.name;
  }
}

TEST(MurmurHash3, EmptyKeyDependsOnSeed) {
  for (const Variant& variant : VARIANTS) {
    EXPECT_NE(hashOf(variant, nullptr, 0, 1), hashOf(variant, nullptr, 0, 2))
        << variant.name;
  }
}

TEST(MurmurHash3, KeysAtAnyAlignmentHashAlike) {
  std::mt19937 random(7);
  std::vector<uint8_t> source(200);
  for (uint8_t& byte : source) byte = static_cast<uint8_t>(random());
  // Room to place the same bytes at each of the 16 offsets of a block.
  alignas(16) uint8_t storage[16 + 200];
  for (const Variant& variant : VARIANTS) {
    for (int len : {1, 3, 4, 7, 15, 16, 17, 31, 33, 64, 199}) {
      const std::vector<uint8_t> want = hashOf(variant, source.data(), len, 42);
      for (int offset = 0; offset < 16; ++offset) {
        memcpy(storage + offset, source.data(), len);
        EXPECT_EQ(hashOf(variant, storage + offset, len, 42), want)
            << variant.name << " len " << len << " offset " << offset;
      }
    }
  }
}

// Every byte of the key, the last tail byte included, reaches the result.
TEST(MurmurHash3, EveryKeyByteCounts) {
  for (const Variant& variant : VARIANTS) {
    for (int len = 1; len <= 40; ++len) {
      std::vector<uint8_t> key(len, 0x5A);
      const std::vector<uint8_t> base = hashOf(variant, key.data(), len, 9);
      for (int i = 0; i < len; ++i) {
        key[i] ^= 1;
        EXPECT_NE(hashOf(variant, key.data(), len, 9), base)
            << variant.name << " len " << len << " byte " << i;
        key[i] ^= 1;
      }
    }
  }
}

}  // namespace
