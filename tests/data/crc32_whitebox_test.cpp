#include <gtest/gtest.h>

#include <cstdint>

#include "data/crc32_table.h"

namespace {

// The table the doubling method yields must be the standard one, entry by
// entry: each entry is the CRC register after eight shifts of its index.
TEST(Crc32Table, EqualsTheStandardTable) {
  const Zu::detail::Crc32Table& table = Zu::detail::crc32Table;
  EXPECT_EQ(table[1], 0x77073096u);
  EXPECT_EQ(table[255], 0x2D02EF8Du);
  for (uint32_t index = 0; index < 256; ++index) {
    uint32_t want = index;
    for (int bit = 0; bit < 8; ++bit)
      want = (want & 1) ? (want >> 1) ^ 0xEDB88320u : want >> 1;
    EXPECT_EQ(table[index], want) << "entry " << index;
  }
}

}  // namespace
