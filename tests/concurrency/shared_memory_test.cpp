#include <ZuPlatform/concurrency.h>
#include <ZuPlatform/diagnostics.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "concurrency/test_support.h"

using ZuPlatform::SharedMemoryBase;
using zutest::settle;
using zutest::waitUntil;

namespace {

std::vector<std::string> warnings;

void keepWarnings(Zu::eLogLevel level, const char* format, va_list args) {
  char text[256];
  vsnprintf(text, sizeof text, format, args);
  if (level == Zu::LOG_LEVEL_WARN) warnings.push_back(text);
}

class SharedMemory : public testing::Test {
 protected:
  void SetUp() override {
    warnings.clear();
    previous = Zu::LogSetHandler(keepWarnings);
  }
  void TearDown() override { Zu::LogSetHandler(previous); }

  static bool allZero(const SharedMemoryBase& block) {
    for (unsigned long i = 0; i < block.size(); ++i) {
      if (block.data()[i] != 0) return false;
    }
    return true;
  }

  Zu::LogHandler previous = nullptr;
};

}  // namespace

TEST_F(SharedMemory, NewBlockIsClosedAndEmpty) {
  SharedMemoryBase block;
  EXPECT_FALSE(block.isOpen());
  EXPECT_EQ(block.size(), 0u);
  EXPECT_EQ(block.data(), nullptr);
  EXPECT_EQ(block.key(), "");
}

TEST_F(SharedMemory, SecondOpenWarnsAndChangesNothing) {
  SharedMemoryBase block;
  ASSERT_TRUE(block.open("a", 16));
  EXPECT_TRUE(block.isOpen());
  EXPECT_EQ(block.key(), "a");
  ASSERT_EQ(block.size(), 16u);
  EXPECT_TRUE(allZero(block));
  block.data()[3] = 9;

  EXPECT_FALSE(block.open("b", 32));
  EXPECT_FALSE(block.open("a", 16));
  EXPECT_EQ(warnings, std::vector<std::string>(
                          2, "SharedMemory::open: called while already open"));
  EXPECT_EQ(block.key(), "a");
  EXPECT_EQ(block.size(), 16u);
  EXPECT_EQ(block.data()[3], 9);
}

TEST_F(SharedMemory, ReopenAfterCloseGivesZeroBytesInTheSameStorage) {
  SharedMemoryBase block;
  ASSERT_TRUE(block.open("a", 16));
  unsigned char* first = block.data();
  for (unsigned long i = 0; i < 16; ++i) first[i] = 0xAB;
  block.close();
  EXPECT_FALSE(block.isOpen());
  EXPECT_EQ(block.size(), 0u);
  EXPECT_EQ(block.key(), "");
  ASSERT_TRUE(block.open("b", 8));
  EXPECT_EQ(block.data(), first);
  EXPECT_EQ(block.size(), 8u);
  EXPECT_TRUE(allZero(block));
}

TEST_F(SharedMemory, EmptyKeySizesButLeavesTheBlockClosed) {
  SharedMemoryBase block;
  ASSERT_TRUE(block.open("", 16));
  EXPECT_FALSE(block.isOpen());
  EXPECT_EQ(block.size(), 16u);
  block.data()[2] = 5;
  block.data()[12] = 6;
  ASSERT_TRUE(block.open("k", 8));  // bytes below both sizes stay
  EXPECT_EQ(block.data()[2], 5);
  ASSERT_TRUE(block.open("", 4) == false);
  block.close();
  ASSERT_TRUE(block.open("k", 0));
  EXPECT_TRUE(block.isOpen());
  EXPECT_EQ(block.size(), 0u);
  EXPECT_EQ(warnings.size(), 1u);
}

TEST_F(SharedMemory, LockIsRecursiveAndHeldAcrossThreads) {
  SharedMemoryBase block;
  ASSERT_EQ(block.lock(), 0);
  ASSERT_EQ(block.lock(), 0);
  std::atomic<bool> otherHolds{false};
  std::thread other([&] {
    block.lock();
    otherHolds = true;
    block.unlock();
  });
  block.unlock();
  settle();
  EXPECT_FALSE(otherHolds) << "one unlock freed a lock taken twice";
  block.unlock();
  EXPECT_TRUE(waitUntil([&] { return otherHolds.load(); }));
  other.join();
}
