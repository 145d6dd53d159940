#include <ZuPlatform/data.h>

#include <cstdint>
#include <cstring>

// The three hashes read the key in blocks straight from the caller's memory.
// A block load goes through memcpy: the key may sit at any address and be of
// any type, and a fixed-size memcpy compiles to the same single load that a
// cast would, without the undefined behaviour of a misaligned or
// type-punned read.
namespace {

uint32_t load32(const uint8_t* bytes) {
  uint32_t word;
  memcpy(&word, bytes, sizeof word);
  return word;
}

uint64_t load64(const uint8_t* bytes) {
  uint64_t word;
  memcpy(&word, bytes, sizeof word);
  return word;
}

uint32_t rotl32(uint32_t x, int r) { return (x << r) | (x >> (32 - r)); }

uint64_t rotl64(uint64_t x, int r) { return (x << r) | (x >> (64 - r)); }

// Final avalanche: every input bit reaches every output bit.
uint32_t fmix32(uint32_t h) {
  h ^= h >> 16;
  h *= 0x85ebca6bu;
  h ^= h >> 13;
  h *= 0xc2b2ae35u;
  h ^= h >> 16;
  return h;
}

uint64_t fmix64(uint64_t k) {
  k ^= k >> 33;
  k *= 0xff51afd7ed558ccdull;
  k ^= k >> 33;
  k *= 0xc4ceb9fe1a85ec53ull;
  k ^= k >> 33;
  return k;
}

}  // namespace

// The block loops are short chains of multiplies and rotations; where one
// straddles a 64-byte boundary the processor fetches two lines per pass and
// loses about a tenth of its speed, by nothing but the placement the linker
// happens to give. Starting each loop on a boundary makes the speed
// independent of that placement.
#if defined(__GNUC__) && !defined(__clang__)
#define ZU_ALIGNED_LOOPS __attribute__((optimize("align-loops=64")))
#else
#define ZU_ALIGNED_LOOPS
#endif

extern "C" {

ZU_ALIGNED_LOOPS void MurmurHash3_x86_32(const void* key, int len,
                                         unsigned int seed, void* out) {
  const uint8_t* data = static_cast<const uint8_t*>(key);
  const int blockCount = len / 4;
  const uint32_t c1 = 0xcc9e2d51u;
  const uint32_t c2 = 0x1b873593u;

  uint32_t h1 = seed;
  for (int i = 0; i < blockCount; ++i) {
    uint32_t k1 = load32(data + 4 * i);
    k1 *= c1;
    k1 = rotl32(k1, 15);
    k1 *= c2;
    h1 ^= k1;
    h1 = rotl32(h1, 13);
    h1 = h1 * 5 + 0xe6546b64u;
  }

  // The last len % 4 bytes, lowest address in the lowest bits.
  const uint8_t* tail = data + 4 * blockCount;
  uint32_t k1 = 0;
  switch (len & 3) {
    case 3:
      k1 ^= uint32_t{tail[2]} << 16;
      [[fallthrough]];
    case 2:
      k1 ^= uint32_t{tail[1]} << 8;
      [[fallthrough]];
    case 1:
      k1 ^= tail[0];
      k1 *= c1;
      k1 = rotl32(k1, 15);
      k1 *= c2;
      h1 ^= k1;
  }

  h1 ^= static_cast<uint32_t>(len);
  h1 = fmix32(h1);
  memcpy(out, &h1, sizeof h1);
}

ZU_ALIGNED_LOOPS void MurmurHash3_x86_128(const void* key, int len,
                                          unsigned int seed, void* out) {
  const uint8_t* data = static_cast<const uint8_t*>(key);
  const int blockCount = len / 16;
  const uint32_t c1 = 0x239b961bu;
  const uint32_t c2 = 0xab0e9789u;
  const uint32_t c3 = 0x38b34ae5u;
  const uint32_t c4 = 0xa1e38b93u;

  uint32_t h1 = seed;
  uint32_t h2 = seed;
  uint32_t h3 = seed;
  uint32_t h4 = seed;
  for (int i = 0; i < blockCount; ++i) {
    const uint8_t* block = data + 16 * i;
    uint32_t k1 = load32(block);
    uint32_t k2 = load32(block + 4);
    uint32_t k3 = load32(block + 8);
    uint32_t k4 = load32(block + 12);

    k1 *= c1;
    k1 = rotl32(k1, 15);
    k1 *= c2;
    h1 ^= k1;
    h1 = rotl32(h1, 19);
    h1 += h2;
    h1 = h1 * 5 + 0x561ccd1bu;

    k2 *= c2;
    k2 = rotl32(k2, 16);
    k2 *= c3;
    h2 ^= k2;
    h2 = rotl32(h2, 17);
    h2 += h3;
    h2 = h2 * 5 + 0x0bcaa747u;

    k3 *= c3;
    k3 = rotl32(k3, 17);
    k3 *= c4;
    h3 ^= k3;
    h3 = rotl32(h3, 15);
    h3 += h4;
    h3 = h3 * 5 + 0x96cd1c35u;

    k4 *= c4;
    k4 = rotl32(k4, 18);
    k4 *= c1;
    h4 ^= k4;
    h4 = rotl32(h4, 13);
    h4 += h1;
    h4 = h4 * 5 + 0x32ac3b17u;
  }

  // The tail fills the lanes from the top down, each lane mixed once it is
  // complete; the fall-through carries on into the lower lanes.
  const uint8_t* tail = data + 16 * blockCount;
  uint32_t k1 = 0;
  uint32_t k2 = 0;
  uint32_t k3 = 0;
  uint32_t k4 = 0;
  switch (len & 15) {
    case 15:
      k4 ^= uint32_t{tail[14]} << 16;
      [[fallthrough]];
    case 14:
      k4 ^= uint32_t{tail[13]} << 8;
      [[fallthrough]];
    case 13:
      k4 ^= tail[12];
      k4 *= c4;
      k4 = rotl32(k4, 18);
      k4 *= c1;
      h4 ^= k4;
      [[fallthrough]];
    case 12:
      k3 ^= uint32_t{tail[11]} << 24;
      [[fallthrough]];
    case 11:
      k3 ^= uint32_t{tail[10]} << 16;
      [[fallthrough]];
    case 10:
      k3 ^= uint32_t{tail[9]} << 8;
      [[fallthrough]];
    case 9:
      k3 ^= tail[8];
      k3 *= c3;
      k3 = rotl32(k3, 17);
      k3 *= c4;
      h3 ^= k3;
      [[fallthrough]];
    case 8:
      k2 ^= uint32_t{tail[7]} << 24;
      [[fallthrough]];
    case 7:
      k2 ^= uint32_t{tail[6]} << 16;
      [[fallthrough]];
    case 6:
      k2 ^= uint32_t{tail[5]} << 8;
      [[fallthrough]];
    case 5:
      k2 ^= tail[4];
      k2 *= c2;
      k2 = rotl32(k2, 16);
      k2 *= c3;
      h2 ^= k2;
      [[fallthrough]];
    case 4:
      k1 ^= uint32_t{tail[3]} << 24;
      [[fallthrough]];
    case 3:
      k1 ^= uint32_t{tail[2]} << 16;
      [[fallthrough]];
    case 2:
      k1 ^= uint32_t{tail[1]} << 8;
      [[fallthrough]];
    case 1:
      k1 ^= tail[0];
      k1 *= c1;
      k1 = rotl32(k1, 15);
      k1 *= c2;
      h1 ^= k1;
  }

  const uint32_t length = static_cast<uint32_t>(len);
  h1 ^= length;
  h2 ^= length;
  h3 ^= length;
  h4 ^= length;

  h1 += h2;
  h1 += h3;
  h1 += h4;
  h2 += h1;
  h3 += h1;
  h4 += h1;

  h1 = fmix32(h1);
  h2 = fmix32(h2);
  h3 = fmix32(h3);
  h4 = fmix32(h4);

  h1 += h2;
  h1 += h3;
  h1 += h4;
  h2 += h1;
  h3 += h1;
  h4 += h1;

  const uint32_t result[4] = {h1, h2, h3, h4};
  memcpy(out, result, sizeof result);
}

ZU_ALIGNED_LOOPS void MurmurHash3_x64_128(const void* key, int len,
                                          unsigned int seed, void* out) {
  const uint8_t* data = static_cast<const uint8_t*>(key);
  const int blockCount = len / 16;
  const uint64_t c1 = 0x87c37b91114253d5ull;
  const uint64_t c2 = 0x4cf5ad432745937full;

  uint64_t h1 = seed;
  uint64_t h2 = seed;
  for (int i = 0; i < blockCount; ++i) {
    const uint8_t* block = data + 16 * i;
    uint64_t k1 = load64(block);
    uint64_t k2 = load64(block + 8);

    k1 *= c1;
    k1 = rotl64(k1, 31);
    k1 *= c2;
    h1 ^= k1;
    h1 = rotl64(h1, 27);
    h1 += h2;
    h1 = h1 * 5 + 0x52dce729u;

    k2 *= c2;
    k2 = rotl64(k2, 33);
    k2 *= c1;
    h2 ^= k2;
    h2 = rotl64(h2, 31);
    h2 += h1;
    h2 = h2 * 5 + 0x38495ab5u;
  }

  const uint8_t* tail = data + 16 * blockCount;
  uint64_t k1 = 0;
  uint64_t k2 = 0;
  switch (len & 15) {
    case 15:
      k2 ^= uint64_t{tail[14]} << 48;
      [[fallthrough]];
    case 14:
      k2 ^= uint64_t{tail[13]} << 40;
      [[fallthrough]];
    case 13:
      k2 ^= uint64_t{tail[12]} << 32;
      [[fallthrough]];
    case 12:
      k2 ^= uint64_t{tail[11]} << 24;
      [[fallthrough]];
    case 11:
      k2 ^= uint64_t{tail[10]} << 16;
      [[fallthrough]];
    case 10:
      k2 ^= uint64_t{tail[9]} << 8;
      [[fallthrough]];
    case 9:
      k2 ^= tail[8];
      k2 *= c2;
      k2 = rotl64(k2, 33);
      k2 *= c1;
      h2 ^= k2;
      [[fallthrough]];
    case 8:
      k1 ^= uint64_t{tail[7]} << 56;
      [[fallthrough]];
    case 7:
      k1 ^= uint64_t{tail[6]} << 48;
      [[fallthrough]];
    case 6:
      k1 ^= uint64_t{tail[5]} << 40;
      [[fallthrough]];
    case 5:
      k1 ^= uint64_t{tail[4]} << 32;
      [[fallthrough]];
    case 4:
      k1 ^= uint64_t{tail[3]} << 24;
      [[fallthrough]];
    case 3:
      k1 ^= uint64_t{tail[2]} << 16;
      [[fallthrough]];
    case 2:
      k1 ^= uint64_t{tail[1]} << 8;
      [[fallthrough]];
    case 1:
      k1 ^= tail[0];
      k1 *= c1;
      k1 = rotl64(k1, 31);
      k1 *= c2;
      h1 ^= k1;
  }

  const uint64_t length = static_cast<uint64_t>(len);
  h1 ^= length;
  h2 ^= length;

  h1 += h2;
  h2 += h1;

  h1 = fmix64(h1);
  h2 = fmix64(h2);

  h1 += h2;
  h2 += h1;

  const uint64_t result[2] = {h1, h2};
  memcpy(out, result, sizeof result);
}

}  // extern "C"
