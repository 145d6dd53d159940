#include <ZuPlatform/data.h>

#include <cstdint>

#include "data/crc32_table.h"

namespace Zu {
namespace {

// The seed and the result are finished CRCs, so the register starts from the
// seed's inverse and is inverted again at the end: that is what lets a result
// be handed back as the seed of the next piece.
uint32_t crc32Update(uint32_t seed, const uint8_t* data, int64_t length) {
  if (length == 0) return seed;
  uint32_t crc = ~seed;
  for (int64_t i = 0; i < length; ++i)
    crc = (crc >> 8) ^ detail::crc32Table[(crc ^ data[i]) & 0xFFu];
  return ~crc;
}

}  // namespace

unsigned int calculateCRC32(const void* data, int length, int seed) {
  return crc32Update(static_cast<uint32_t>(seed),
                     static_cast<const uint8_t*>(data), length);
}

}  // namespace Zu
