// The lookup table of the reflected CRC-32 (polynomial 0xEDB88320), private
// to the library. It is computed by the compiler, so it is complete before
// any thread can read it and no first call has to build or publish it.
#ifndef ZUPLATFORM_SRC_DATA_CRC32_TABLE_H
#define ZUPLATFORM_SRC_DATA_CRC32_TABLE_H

#include <array>
#include <cstdint>

namespace Zu {
namespace detail {

constexpr uint32_t CRC32_POLYNOMIAL = 0xEDB88320u;

using Crc32Table = std::array<uint32_t, 256>;

// Built by doubling rather than entry by entry: the table is linear over
// exclusive or, so entry i + j is entry i combined with entry j whenever the
// bits of i and j do not overlap. Only the eight single-bit entries need the
// polynomial division, one shift each, walking from bit 7 (entry 128) down to
// bit 0 (entry 1); every other entry is one exclusive or of two known ones.
constexpr Crc32Table makeCrc32Table() {
  Crc32Table table{};
  uint32_t value = 1;
  for (int i = 128; i > 0; i >>= 1) {
    value = (value & 1) ? (value >> 1) ^ CRC32_POLYNOMIAL : value >> 1;
    for (int j = 0; j < 256; j += 2 * i) table[i + j] = value ^ table[j];
  }
  return table;
}

inline constexpr Crc32Table crc32Table = makeCrc32Table();

}  // namespace detail
}  // namespace Zu

#endif  // ZUPLATFORM_SRC_DATA_CRC32_TABLE_H
