#include <pthread.h>
#include <signal.h>

#include <cerrno>

#include "concurrency/test_support.h"

using ZuPlatform::Semaphore;
using namespace zutest;

TEST(Semaphore, StartsAtZeroUnlessGivenACount) {
  Semaphore zeroByDefault, zeroGiven(0), two(2);
  two.acquire();
  two.acquire();  // two pass without any release, a third waits
  for (Semaphore* semaphore : {&zeroByDefault, &zeroGiven, &two}) {
    Background waiter([&] { semaphore->acquire(); });
    EXPECT_TRUE(waiter.blocked()) << "acquire passed a count of 0";
    semaphore->release();
    EXPECT_TRUE(waiter.ends());
  }
}

std::atomic<int> signalsHandled{0};

TEST(Semaphore, SignalDoesNotEndTheWait) {
  struct sigaction action = {}, previous = {};
  action.sa_handler = [](int) { signalsHandled.fetch_add(1); };
  sigemptyset(&action.sa_mask);  // no SA_RESTART: sem_wait sees EINTR
  ASSERT_EQ(sigaction(SIGUSR1, &action, &previous), 0);
  Semaphore semaphore;
  testing::internal::CaptureStderr();
  {
    Background waiter([&] { semaphore.acquire(); });
    ASSERT_TRUE(waiter.blocked());  // in sem_wait by now
    ASSERT_EQ(pthread_kill(waiter.thread.native_handle(), SIGUSR1), 0);
    ASSERT_TRUE(waitUntil([&] { return signalsHandled > 0; }));
    EXPECT_TRUE(waiter.blocked()) << "a signal ended acquire";
    semaphore.release();
    EXPECT_TRUE(waiter.ends());
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  sigaction(SIGUSR1, &previous, nullptr);
}

// A count above SEM_VALUE_MAX makes sem_init fail; the dead semaphore reports
// each use and never blocks.
TEST(Semaphore, DeadSemaphoreReportsEachUseAndNeverBlocks) {
  testing::internal::CaptureStderr();
  {
    Semaphore dead(0x80000000u);
    dead.acquire();
    dead.release();
    dead.acquire();
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Semaphore: sem_init failed\n"
            "Semaphore::acquire(): sem_wait failed\n"
            "Semaphore::release(): sem_post failed\n"
            "Semaphore::acquire(): sem_wait failed\n");
}

TEST(Mutex, OwnerRelocksAndOthersWaitForEveryUnlock) {
  ZuPlatform::Mutex mutex;
  expectRecursive(mutex);
}

// Another thread's try-lock fails with EBUSY, and the owner's own try-lock of
// the recursive handle counts as one more lock.
TEST(ZuTryLock, FailsWithEbusyForOtherThreads) {
  Zu::ZuThreadMutex* recursive = Zu::ZuThreadMutexCreate();
  Zu::ZuMutex* plain = Zu::ZuMutexCreate();
  auto tryElsewhere = [&](bool onRecursive) {
    int result = -1;
    std::thread([&] {
      result = onRecursive ? Zu::ZuThreadMutexTryLock(recursive)
                           : Zu::ZuMutexTryLock(plain);
      if (result == 0 && onRecursive) Zu::ZuThreadMutexUnlock(recursive);
    }).join();
    return result;
  };
  ASSERT_EQ(Zu::ZuMutexLock(plain), 0);
  EXPECT_EQ(tryElsewhere(false), EBUSY);
  Zu::ZuMutexUnlock(plain);
  ASSERT_EQ(Zu::ZuThreadMutexLock(recursive), 0);
  ASSERT_EQ(Zu::ZuThreadMutexTryLock(recursive), 0);
  Zu::ZuThreadMutexUnlock(recursive);
  EXPECT_EQ(tryElsewhere(true), EBUSY) << "the owner's try-lock did not count";
  Zu::ZuThreadMutexUnlock(recursive);
  EXPECT_EQ(tryElsewhere(true), 0);
  Zu::ZuThreadMutexDestroy(recursive);
  Zu::ZuMutexDestroy(plain);
}

TEST(ZuThread, CreateReturnsTheIdTheThreadSees) {
  static std::atomic<Zu::ZuThreadID> seen{0};
  const Zu::ZuThreadID id = Zu::ZuThreadCreate(
      [](void*) -> void* { return seen = Zu::ZuThreadGetID(), nullptr; },
      nullptr);
  ASSERT_NE(id, 0u);
  ASSERT_TRUE(waitUntil([&] { return seen != 0; }));
  EXPECT_EQ(seen, id);
  EXPECT_NE(id, Zu::ZuThreadGetID());
}
