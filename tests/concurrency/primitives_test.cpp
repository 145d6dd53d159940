#include <signal.h>

#include <cerrno>

#include "concurrency/test_support.h"

using namespace zutest;

std::atomic<int> signalsHandled{0};

// Each waits for a release even through a signal, which must not end the wait.
TEST(Semaphore, StartsAtZeroUnlessGivenACountAndWaitsThroughSignals) {
  struct sigaction action = {}, previous = {};
  action.sa_handler = [](int) { signalsHandled.fetch_add(1); };
  sigemptyset(&action.sa_mask);  // no SA_RESTART: sem_wait sees EINTR
  ASSERT_EQ(sigaction(SIGUSR1, &action, &previous), 0);
  Semaphore zeroByDefault, zeroGiven(0), two(2);
  two.acquire(), two.acquire();  // two pass without any release, a third waits
  testing::internal::CaptureStderr();
  for (Semaphore* semaphore : {&zeroByDefault, &zeroGiven, &two}) {
    const int handled = signalsHandled;
    Background waiter([&] { semaphore->acquire(); });
    EXPECT_TRUE(waiter.blocked()) << "acquire passed a count of 0";
    EXPECT_EQ(pthread_kill(waiter.thread.native_handle(), SIGUSR1), 0);
    EXPECT_TRUE(waitUntil([&] { return signalsHandled > handled; }));
    EXPECT_TRUE(waiter.blocked()) << "a signal ended acquire";
    semaphore->release();
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
    dead.acquire(), dead.release(), dead.acquire();
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Semaphore: sem_init failed\n"
            "Semaphore::acquire(): sem_wait failed\n"
            "Semaphore::release(): sem_post failed\n"
            "Semaphore::acquire(): sem_wait failed\n");
}

// The owner relocks the recursive mutexes. Another thread's try-lock fails
// with EBUSY, and the owner's own try-lock of the recursive handle counts as
// one more lock.
TEST(Mutexes, RecursiveForTheOwnerAndBusyForOthers) {
  Mutex mutex;
  expectRecursive(mutex);
  Zu::ZuThreadMutex* recursive = Zu::ZuThreadMutexCreate();
  Zu::ZuMutex* plain = Zu::ZuMutexCreate();
  auto tryElsewhere = [&] {  // releases what it gets
    std::pair<int, int> results;
    std::thread([&] {
      if (!(results.first = Zu::ZuMutexTryLock(plain)))
        Zu::ZuMutexUnlock(plain);
      results.second = Zu::ZuThreadMutexTryLock(recursive);
      if (!results.second) Zu::ZuThreadMutexUnlock(recursive);
    }).join();
    return results;
  };
  ASSERT_EQ(Zu::ZuMutexLock(plain) + Zu::ZuThreadMutexLock(recursive), 0);
  ASSERT_EQ(Zu::ZuThreadMutexTryLock(recursive), 0);
  Zu::ZuThreadMutexUnlock(recursive);
  EXPECT_EQ(tryElsewhere(), std::make_pair(EBUSY, EBUSY))
      << "the owner's try-lock did not count";
  Zu::ZuMutexUnlock(plain), Zu::ZuThreadMutexUnlock(recursive);
  EXPECT_EQ(tryElsewhere(), std::make_pair(0, 0));
  Zu::ZuThreadMutexDestroy(recursive);
  Zu::ZuMutexDestroy(plain);
}

TEST(ZuThread, CreateReturnsTheIdTheThreadSees) {
  static std::atomic<Zu::ZuThreadID> seen{0};
  const Zu::ZuThreadID id = Zu::ZuThreadCreate(
      [](void*) -> void* { return seen = Zu::ZuThreadGetID(), nullptr; },
      nullptr);
  ASSERT_TRUE(waitUntil([&] { return seen != 0; }));
  EXPECT_EQ(seen, id);
  EXPECT_NE(id, Zu::ZuThreadGetID());
}
