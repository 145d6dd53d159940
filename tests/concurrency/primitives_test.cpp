#include <ZuPlatform/diagnostics.h>
#include <signal.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>

#include "concurrency/test_support.h"

using namespace zutest;

// Two acquires pass a count of 2 and a third waits for a release, which a
// signal does not end. A count the platform refuses leaves a dead semaphore
// that reports each use and never blocks.
TEST(Semaphore, CountsWaitThroughSignalsAndADeadOneReports) {
  struct sigaction action = {};
  action.sa_handler = [](int) {};  // no SA_RESTART: sem_wait sees EINTR
  ASSERT_EQ(sigaction(SIGUSR1, &action, nullptr), 0);
  testing::internal::CaptureStderr();
  Semaphore two(2), dead(0x80000000u);
  two.acquire(), two.acquire();
  Background waiter([&] { two.acquire(); });
  EXPECT_TRUE(waiter.blocked()) << "acquire passed a count of 0";
  pthread_kill(waiter.thread.native_handle(), SIGUSR1);
  EXPECT_TRUE(waiter.blocked()) << "a signal ended acquire";
  two.release(), dead.acquire(), dead.release();
  EXPECT_TRUE(waiter.ends());
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Semaphore: sem_init failed\n"
            "Semaphore::acquire(): sem_wait failed\n"
            "Semaphore::release(): sem_post failed\n");
}

// The recursive handle lets its owner lock again, also by a try-lock; a held
// mutex fails another thread's try-lock with EBUSY at once. A waiter on a
// condition variable lets go of the plain mutex until it is signalled.
// Destroying null does nothing.
TEST(Mutexes, RecursiveForTheOwnerBusyForOthersAndSignalled) {
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
  Zu::ZuMutexDestroy(plain), Zu::ZuThreadMutexDestroy(recursive);
  Zu::ZuConditionVariableDestroy(condition);
  Zu::ZuMutexDestroy(nullptr), Zu::ZuThreadMutexDestroy(nullptr);
  Zu::ZuConditionVariableDestroy(nullptr);
}

static std::string warnings;

// An empty key sizes the block but leaves it closed; an open one refuses a
// second open with a warning and no change; close and reopen give zero bytes
// in the storage the block already had.
TEST(SharedMemory, Lifecycle) {
  const Zu::LogHandler previous =
      Zu::LogSetHandler([](Zu::eLogLevel level, const char* text, va_list) {
        warnings += std::to_string(level) + text;  // no arguments
      });
  SharedMemoryBase block;
  ASSERT_TRUE(block.open("", 16) && !block.isOpen() && block.size() == 16);
  block.data()[2] = 5;  // bytes below both sizes stay
  EXPECT_TRUE(block.open("a", 8) && !block.open("b", 32) && block.isOpen());
  EXPECT_TRUE(block.key() == "a" && block.size() == 8 && block.data()[2] == 5);
  EXPECT_EQ(warnings, "3SharedMemory::open: called while already open");
  unsigned char* const storage = block.data();
  block.close();
  EXPECT_TRUE(!block.isOpen() && block.size() == 0 && block.key().empty());
  EXPECT_TRUE(block.open("b", 8) && block.data() == storage &&
              std::count(storage, storage + 8, 0) == 8);
  Zu::LogSetHandler(previous);
}
