#include <ZuPlatform/diagnostics.h>

#include <cstdarg>

#include "concurrency/test_support.h"

using namespace zutest;

std::vector<std::string> warnings;

// An empty key sizes the block but leaves it closed; an open one refuses a
// second open with a warning and no change; close and reopen give zero bytes
// in the storage the block already had.
TEST(SharedMemory, Lifecycle) {
  const Zu::LogHandler previous =
      Zu::LogSetHandler([](Zu::eLogLevel level, const char* format, va_list) {
        if (level == Zu::LOG_LEVEL_WARN) warnings.push_back(format);  // no args
      });
  SharedMemoryBase block;
  EXPECT_EQ(block.data(), nullptr);
  ASSERT_TRUE(block.open("", 16));
  EXPECT_TRUE(!block.isOpen() && block.size() == 16);
  block.data()[2] = 5;
  ASSERT_TRUE(block.open("a", 8));  // bytes below both sizes stay
  EXPECT_TRUE(block.isOpen() && block.data()[2] == 5);
  std::fill(block.data(), block.data() + 8, 0xAB);

  EXPECT_FALSE(block.open("b", 32));
  EXPECT_EQ(warnings, std::vector<std::string>{
                          "SharedMemory::open: called while already open"});
  EXPECT_TRUE(block.key() == "a" && block.size() == 8 &&
              block.data()[7] == 0xAB);

  unsigned char* const storage = block.data();
  block.close();
  EXPECT_TRUE(!block.isOpen() && block.size() == 0 && block.key().empty());
  ASSERT_TRUE(block.open("b", 8));
  EXPECT_TRUE(block.data() == storage && block.size() == 8);
  EXPECT_TRUE(std::all_of(block.data(), block.data() + 8,
                          [](unsigned char byte) { return byte == 0; }));
  Zu::LogSetHandler(previous);
  expectRecursive(block);  // held across threads
}
