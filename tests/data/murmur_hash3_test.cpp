#include <ZuPlatform/data.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace {

struct Variant {
  const char* name;
  void (*hash)(const void*, int, unsigned int, void*);
  int outputBytes;
  uint32_t verification;
};

const Variant VARIANTS[] = {
    {"x86_32", MurmurHash3_x86_32, 4, 0xB0F57EE3u},
    {"x86_128", MurmurHash3_x86_128, 16, 0xB3ECE62Au},
    {"x64_128", MurmurHash3_x64_128, 16, 0x6384BA69u},
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
TEST(MurmurHash3, MatchesPublishedVerificationValues) {
  for (const Variant& variant : VARIANTS) {
    uint8_t key[256];
    std::vector<uint8_t> results;
    for (int i = 0; i < 256; ++i) {
      key[i] = static_cast<uint8_t>(i);
      const std::vector<uint8_t> hash = hashOf(variant, key, i, 256 - i);
      results.insert(results.end(), hash.begin(), hash.end());
    }
    const std::vector<uint8_t> final =
        hashOf(variant, results.data(), static_cast<int>(results.size()), 0);
    EXPECT_EQ(uint32_t{final[0]} | uint32_t{final[1]} << 8 |
                  uint32_t{final[2]} << 16 | uint32_t{final[3]} << 24,
              variant.verification)
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
    for (int len : {1, 3, 7, 15, 16, 17, 33, 199}) {
      const std::vector<uint8_t> want = hashOf(variant, source.data(), len, 42);
      for (int offset = 0; offset < 16; ++offset) {
        memcpy(storage + offset, source.data(), len);
        EXPECT_EQ(hashOf(variant, storage + offset, len, 42), want)
            << variant.name << " len " << len << " offset " << offset;
      }
    }
  }
}

}  // namespace
