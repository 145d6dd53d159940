#include <ZuPlatform/concurrency.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include <cerrno>
#include <thread>

#include "concurrency/test_support.h"

using ZuPlatform::Mutex;
using ZuPlatform::Semaphore;
using zutest::settle;
using zutest::waitUntil;

namespace {

// Runs acquire on a thread of its own and tells when it has come back.
class BlockedAcquirer {
 public:
  explicit BlockedAcquirer(Semaphore& semaphore)
      : thread([this, &semaphore] {
          started = true;
          semaphore.acquire();
          returned = true;
        }) {}
  ~BlockedAcquirer() { thread.join(); }

  std::atomic<bool> started{false};
  std::atomic<bool> returned{false};
  std::thread thread;
};

}  // namespace

TEST(Semaphore, StartsAtZeroUnlessGivenACount) {
  Semaphore zeroByDefault;
  Semaphore zeroGiven(0);
  Semaphore two(2);
  two.acquire();
  two.acquire();  // two pass without any release

  for (Semaphore* semaphore : {&zeroByDefault, &zeroGiven}) {
    BlockedAcquirer waiter(*semaphore);
    ASSERT_TRUE(waitUntil([&] { return waiter.started.load(); }));
    settle();
    EXPECT_FALSE(waiter.returned) << "acquire passed a count of 0";
    semaphore->release();
    EXPECT_TRUE(waitUntil([&] { return waiter.returned.load(); }));
  }
}

std::atomic<int> signalsHandled{0};
void countSignal(int) { signalsHandled.fetch_add(1); }

TEST(Semaphore, SignalDoesNotEndTheWait) {
  struct sigaction action = {};
  struct sigaction previous = {};
  action.sa_handler = countSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = 0;  // no SA_RESTART: sem_wait sees EINTR
  ASSERT_EQ(sigaction(SIGUSR1, &action, &previous), 0);

  Semaphore semaphore;
  testing::internal::CaptureStderr();
  {
    BlockedAcquirer waiter(semaphore);
    ASSERT_TRUE(waitUntil([&] { return waiter.started.load(); }));
    settle();  // let the thread reach sem_wait
    const int before = signalsHandled.load();
    ASSERT_EQ(pthread_kill(waiter.thread.native_handle(), SIGUSR1), 0);
    ASSERT_TRUE(waitUntil([&] { return signalsHandled.load() > before; }));
    settle();
    EXPECT_FALSE(waiter.returned) << "a signal ended acquire";
    semaphore.release();
    EXPECT_TRUE(waitUntil([&] { return waiter.returned.load(); }));
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
  Mutex mutex;
  ASSERT_EQ(mutex.lock(), 0);
  ASSERT_EQ(mutex.lock(), 0);  // the owner relocks at once

  std::atomic<bool> otherHolds{false};
  std::thread other([&] {
    mutex.lock();
    otherHolds = true;
    mutex.unlock();
  });
  mutex.unlock();
  settle();
  EXPECT_FALSE(otherHolds) << "one unlock freed a mutex locked twice";
  mutex.unlock();
  EXPECT_TRUE(waitUntil([&] { return otherHolds.load(); }));
  other.join();
}

TEST(ZuThreadMutex, TryLockCountsForTheOwnerAndFailsForOthers) {
  Zu::ZuThreadMutex* mutex = Zu::ZuThreadMutexCreate();
  ASSERT_NE(mutex, nullptr);
  ASSERT_EQ(Zu::ZuThreadMutexLock(mutex), 0);
  ASSERT_EQ(Zu::ZuThreadMutexTryLock(mutex), 0);  // one more lock

  auto tryFromAnotherThread = [mutex] {
    int result = -1;
    std::thread other([&] {
      result = Zu::ZuThreadMutexTryLock(mutex);
      if (result == 0) Zu::ZuThreadMutexUnlock(mutex);
    });
    other.join();
    return result;
  };
  EXPECT_EQ(tryFromAnotherThread(), EBUSY);
  Zu::ZuThreadMutexUnlock(mutex);
  EXPECT_EQ(tryFromAnotherThread(), EBUSY) << "try-lock did not count";
  Zu::ZuThreadMutexUnlock(mutex);
  EXPECT_EQ(tryFromAnotherThread(), 0);
  Zu::ZuThreadMutexDestroy(mutex);
}

TEST(ZuMutex, ConditionVariableHandsOverUnderTheMutex) {
  Zu::ZuMutex* mutex = Zu::ZuMutexCreate();
  Zu::ZuConditionVariable* condition = Zu::ZuConditionVariableCreate();
  ASSERT_NE(mutex, nullptr);
  ASSERT_NE(condition, nullptr);
  bool ready = false;  // guarded by mutex

  std::thread waiter([&] {
    Zu::ZuMutexLock(mutex);
    while (!ready) Zu::ZuConditionVariableWait(condition, mutex);
    Zu::ZuMutexUnlock(mutex);
  });
  Zu::ZuMutexLock(mutex);
  ready = true;
  EXPECT_EQ(Zu::ZuConditionVariableSignal(condition), 0);
  Zu::ZuMutexUnlock(mutex);
  waiter.join();

  ASSERT_EQ(Zu::ZuMutexLock(mutex), 0);
  int tryResult = -1;
  std::thread other([&] { tryResult = Zu::ZuMutexTryLock(mutex); });
  other.join();
  EXPECT_EQ(tryResult, EBUSY);
  Zu::ZuMutexUnlock(mutex);
  Zu::ZuConditionVariableDestroy(condition);
  Zu::ZuMutexDestroy(mutex);
}

namespace {
struct ThreadProbe {
  std::atomic<Zu::ZuThreadID> seen{0};
};
void* recordOwnId(void* argument) {
  static_cast<ThreadProbe*>(argument)->seen = Zu::ZuThreadGetID();
  return nullptr;
}
}  // namespace

TEST(ZuThread, CreateReturnsTheIdTheThreadSees) {
  ThreadProbe probe;
  const Zu::ZuThreadID id = Zu::ZuThreadCreate(recordOwnId, &probe);
  ASSERT_NE(id, 0u);
  ASSERT_TRUE(waitUntil([&] { return probe.seen.load() != 0; }));
  EXPECT_EQ(probe.seen.load(), id);
  EXPECT_NE(id, Zu::ZuThreadGetID());
}
