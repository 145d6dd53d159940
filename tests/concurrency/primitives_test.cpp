#include <ZuPlatform/diagnostics.h>
#include <signal.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>

#include "concurrency/test_support.h"

using namespace zutest;

// A count of 0 makes acquire wait for a release, and a signal does not end the
// wait; a count of 2 lets two through. A count the platform refuses leaves a
// dead semaphore that reports each use and never blocks.
TEST(Semaphore, CountsWaitThroughSignalsAndADeadOneReports) {
  struct sigaction action = {};
  action.sa_handler = [](int) {};  // no SA_RESTART: sem_wait sees EINTR
  ASSERT_EQ(sigaction(SIGUSR1, &action, nullptr), 0);
  testing::internal::CaptureStderr();
  Semaphore zero, two(2);
  two.acquire(), two.acquire();
  for (Semaphore* semaphore : {&zero, &two}) {
    Background waiter([&] { semaphore->acquire(); });
    EXPECT_TRUE(waiter.blocked()) << "acquire passed a count of 0";
    pthread_kill(waiter.thread.native_handle(), SIGUSR1);
    EXPECT_TRUE(waiter.blocked()) << "a signal ended acquire";
    semaphore->release();
    EXPECT_TRUE(waiter.ends());
  }
  Semaphore dead(0x80000000u);
  dead.acquire(), dead.release();
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Semaphore: sem_init failed\n"
            "Semaphore::acquire(): sem_wait failed\n"
            "Semaphore::release(): sem_post failed\n");
}

// The recursive mutexes let their owner lock again, also by a try-lock, and
// let another thread in only after the last unlock; a held mutex fails
// another thread's try-lock with EBUSY at once. A waiter on a condition
// variable lets go of the plain mutex until it is signalled.
TEST(Mutexes, RecursiveForTheOwnerBusyForOthersAndSignalled) {
  Mutex mutex;
  ASSERT_EQ(mutex.lock() + mutex.lock(), 0);
  Background other([&] { mutex.lock(), mutex.unlock(); });
  mutex.unlock();
  EXPECT_TRUE(other.blocked()) << "one unlock freed a lock taken twice";
  mutex.unlock();
  EXPECT_TRUE(other.ends());
  Zu::ZuThreadMutex* recursive = Zu::ZuThreadMutexCreate();
  Zu::ZuMutex* plain = Zu::ZuMutexCreate();
  Zu::ZuConditionVariable* condition = Zu::ZuConditionVariableCreate();
  ASSERT_EQ(Zu::ZuMutexLock(plain) + Zu::ZuThreadMutexLock(recursive) +
                Zu::ZuThreadMutexTryLock(recursive),
            0);
  Zu::ZuThreadMutexUnlock(recursive);
  std::thread([&] {
    EXPECT_EQ(Zu::ZuMutexTryLock(plain), EBUSY);
    EXPECT_EQ(Zu::ZuThreadMutexTryLock(recursive), EBUSY) << "try not counted";
  }).join();
  bool signalled = false;  // under plain
  Background signaller([&] {
    Zu::ZuMutexLock(plain), signalled = true;
    Zu::ZuConditionVariableSignal(condition), Zu::ZuMutexUnlock(plain);
  });
  while (!signalled) Zu::ZuConditionVariableWait(condition, plain);
  Zu::ZuMutexUnlock(plain), Zu::ZuThreadMutexUnlock(recursive);
  Zu::ZuMutexDestroy(nullptr), Zu::ZuMutexDestroy(plain);
  Zu::ZuThreadMutexDestroy(nullptr), Zu::ZuThreadMutexDestroy(recursive);
  Zu::ZuConditionVariableDestroy(nullptr);
  Zu::ZuConditionVariableDestroy(condition);
}

TEST(ZuThread, CreateReturnsTheIdTheThreadSees) {
  static std::atomic<Zu::ZuThreadID> seen{0};
  const Zu::ZuThreadID id = Zu::ZuThreadCreate(
      [](void*) -> void* { return seen = Zu::ZuThreadGetID(), nullptr; },
      nullptr);
  ASSERT_TRUE(waitUntil([&] { return seen != 0; }));
  EXPECT_TRUE(id == seen && id != Zu::ZuThreadGetID());
}

static std::string warnings;

// An empty key sizes the block but leaves it closed; an open one refuses a
// second open with a warning and no change; close and reopen give zero bytes
// in the storage the block already had.
TEST(SharedMemory, Lifecycle) {
  const Zu::LogHandler previous =
      Zu::LogSetHandler([](Zu::eLogLevel level, const char* format, va_list) {
        warnings += std::to_string(level) + format;  // no arguments
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
  EXPECT_EQ(warnings, "3SharedMemory::open: called while already open");
  EXPECT_TRUE(block.key() == "a" && block.size() == 8 &&
              block.data()[7] == 0xAB);
  unsigned char* const storage = block.data();
  block.close();
  EXPECT_TRUE(!block.isOpen() && block.size() == 0 && block.key().empty());
  ASSERT_TRUE(block.open("b", 8));
  EXPECT_TRUE(block.data() == storage && block.size() == 8);
  EXPECT_EQ(std::count(block.data(), block.data() + 8, 0), 8);
  Zu::LogSetHandler(previous);
}
