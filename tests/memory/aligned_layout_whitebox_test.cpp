#include <gtest/gtest.h>

#include <cstdint>

#include "memory/aligned_layout.h"

namespace {

// Addresses that malloc would not hand out on demand, to pin the exact pad.
TEST(AlignedLayout, PadAtKnownAddresses) {
  const struct {
    uintptr_t address;
    unsigned long alignment;
    unsigned long want;
  } rows[] = {
      // already aligned: a whole alignment, never 0
      {0x1000, 16, 16},
      {0x1000, 4, 4},
      {0x1000, 4096, 4096},
      {0x1002, 6, 6},
      // the gap is enough for the pad word
      {0x1010, 64, 48},
      {0x1001, 8, 7},
      {0x1004, 8, 4},
      // the gap is too small: one alignment more
      {0x100E, 16, 18},
      {0x1000, 6, 8},  // 4096 % 6 == 4: gap 2, then 8
      // below 4: whole steps until the word fits; 0 counts as 1
      {0x1000, 3, 5},
      {0x1002, 3, 6},
      {0x1001, 2, 5},
      {0x1000, 1, 4},
      {0x1000, 0, 4},
  };
  for (const auto& row : rows)
    EXPECT_EQ(Zu::detail::alignedPad(row.address, row.alignment), row.want)
        << std::hex << row.address << " alignment " << std::dec
        << row.alignment;
}

}  // namespace
