#include <ZuPlatform/diagnostics.h>

#include <cstdarg>
#include <cstdio>

#include "concurrency/test_support.h"

using ZuPlatform::SharedMemoryBase;

namespace {

std::vector<std::string> warnings;

bool allZero(const SharedMemoryBase& block) {
  return std::all_of(block.data(), block.data() + block.size(),
                     [](unsigned char byte) { return byte == 0; });
}

}  // namespace

// An empty key sizes the block but leaves it closed; an open one refuses a
// second open with a warning and no change; close and reopen give zero bytes
// in the storage the block already had.
TEST(SharedMemory, Lifecycle) {
  const Zu::LogHandler previous = Zu::LogSetHandler(
      [](Zu::eLogLevel level, const char* format, va_list args) {
        char text[256];
        vsnprintf(text, sizeof text, format, args);
        if (level == Zu::LOG_LEVEL_WARN) warnings.push_back(text);
      });
  SharedMemoryBase block;
  EXPECT_EQ(block.data(), nullptr);
  ASSERT_TRUE(block.open("", 16));
  EXPECT_FALSE(block.isOpen());
  EXPECT_EQ(block.size(), 16u);
  block.data()[2] = 5;
  ASSERT_TRUE(block.open("a", 8));  // bytes below both sizes stay
  EXPECT_TRUE(block.isOpen());
  EXPECT_EQ(block.data()[2], 5);
  std::fill(block.data(), block.data() + 8, 0xAB);

  EXPECT_FALSE(block.open("b", 32));
  EXPECT_EQ(warnings, std::vector<std::string>{
                          "SharedMemory::open: called while already open"});
  EXPECT_EQ(block.key(), "a");
  EXPECT_EQ(block.size(), 8u);
  EXPECT_EQ(block.data()[7], 0xAB);

  unsigned char* const storage = block.data();
  block.close();
  EXPECT_FALSE(block.isOpen());
  EXPECT_EQ(block.size(), 0u);
  EXPECT_EQ(block.key(), "");
  ASSERT_TRUE(block.open("b", 8));
  EXPECT_EQ(block.data(), storage);
  EXPECT_EQ(block.size(), 8u);
  EXPECT_TRUE(allZero(block));
  Zu::LogSetHandler(previous);
}

TEST(SharedMemory, LockIsRecursiveAndHeldAcrossThreads) {
  SharedMemoryBase block;
  zutest::expectRecursive(block);
}
