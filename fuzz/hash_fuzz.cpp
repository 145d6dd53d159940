// Checks the hashes and the CRC for properties that any input must keep: the
// CRC of a range cut anywhere, continued through its seed, equals the CRC of
// the whole; each hash gives the same value for the same bytes at every
// alignment; and the CRC agrees with a plain bit-by-bit computation.
#include <ZuPlatform/data.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

// The polynomial applied one bit at a time: slow and obviously right.
uint32_t crcBitwise(const uint8_t* data, size_t size) {
  uint32_t crc = 0xFFFFFFFFu;
  for (size_t i = 0; i < size; ++i) {
    crc ^= data[i];
    for (int bit = 0; bit < 8; ++bit)
      crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
  }
  return ~crc;
}

typedef void (*Hash)(const void*, int, unsigned int, void*);

void checkAlignments(Hash hash, const uint8_t* data, size_t size,
                     unsigned int seed) {
  uint8_t want[16] = {};
  hash(data, static_cast<int>(size), seed, want);
  std::vector<uint8_t> shifted(size + 16);
  for (size_t offset = 1; offset < 16; offset += 3) {
    std::memcpy(shifted.data() + offset, data, size);
    uint8_t got[16] = {};
    hash(shifted.data() + offset, static_cast<int>(size), seed, got);
    if (std::memcmp(want, got, sizeof want) != 0) __builtin_trap();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > (1u << 16)) return 0;
  const unsigned int whole =
      Zu::calculateCRC32(data, static_cast<int>(size), 0);
  if (whole != crcBitwise(data, size)) __builtin_trap();
  const size_t cut = size == 0 ? 0 : data[0] % (size + 1);
  const unsigned int head = Zu::calculateCRC32(data, static_cast<int>(cut), 0);
  const unsigned int joined = Zu::calculateCRC32(
      data + cut, static_cast<int>(size - cut), static_cast<int>(head));
  if (joined != whole) __builtin_trap();

  const unsigned int seed = size >= 4 ? data[1] * 0x01000193u : 0;
  checkAlignments(MurmurHash3_x86_32, data, size, seed);
  checkAlignments(MurmurHash3_x86_128, data, size, seed);
  checkAlignments(MurmurHash3_x64_128, data, size, seed);
  return 0;
}
