// Failures that the platform will not produce on demand, and moments a thread
// passes too fast to catch, forced through the library's private seams.
#include <malloc.h>

#include <cerrno>

#include "concurrency/sleep_rule.h"
#include "concurrency/test_hooks.h"
#include "concurrency/test_support.h"
#include "support/failing_new.h"

using namespace zutest;
using namespace ZuPlatform::detail;

static std::atomic<int> creationsAllowed{0};
static std::atomic<bool> workerMayLetGo{false};

// What the platform refuses, the library lives with: the pool runs on the
// threads that started, says nothing, and its destructor never waits for one
// that did not; a stepper whose worker cannot start stays stopped; a
// semaphore whose count cannot be set reports each use and never blocks.
// Racing starts of a stopped stepper make one creation between them.
TEST(PlatformRefusals, PoolStepperAndSemaphoreCarryOn) {
  // Slow, so that a second creation would fall within the first.
  threadCreateFilter = [] { return settle(), creationsAllowed-- > 0; };
  testing::internal::CaptureStderr();
  for (auto [asked, allowed] : {std::pair{4u, 2}, {3u, 0}}) {
    creationsAllowed = allowed;
    CountingUnit units[8];
    {
      ThreadPool pool(asked);
      for (auto& unit : units) pool.add(&unit);
      for (auto& unit : units) allowed ? unit.wait() : void();
    }
    for (auto& unit : units)
      EXPECT_EQ(unit.processes - unit.aborts, allowed ? 1 : -1) << asked;
  }
  ScriptedStepper stepper;
  creationsAllowed = 1;
  std::atomic<int> running{0};
  auto start = [&] { running += stepper.start() && stepper.getThreadState(); };
  Background{start}, Background{start}, Background{start};
  EXPECT_EQ(running, 3) << "a start that failed or found the stepper stopped";
  stepper.stop();
  EXPECT_TRUE(!stepper.start() && stepper.getThreadState() == 0);
  threadCreateFilter = nullptr;
  Semaphore dead(0x80000000u);
  dead.acquire(), dead.release();
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Semaphore: sem_init failed\nSemaphore::acquire(): sem_wait "
            "failed\nSemaphore::release(): sem_post failed\n");
}

// An add whose queue cannot grow throws with nothing changed: no part of a
// batch stays queued, no unit stays claimed, the queue lock is free for
// another thread. So a retry of what was refused ends each unit exactly once.
TEST(QueueGrowthFailure, AddThrowsWithNothingQueuedOrClaimed) {
  for (bool batch : {true, false}) {
    CountingUnit units[200];
    std::vector<ThreadPool::WorkUnit*> all;
    for (auto& unit : units) all.push_back(&unit);
    std::size_t queued = 0;  // by the single adds before the refused one
    {
      ThreadPool pool(0);
      allocationsLeft = 0;
      auto addEach = [&] {
        for (; queued < all.size(); ++queued) pool.add(all[queued]);
      };
      EXPECT_THROW(batch ? pool.add(all) : addEach(), std::bad_alloc);
      allocationsLeft = -1;
      Background retry([&] { pool.add({all.begin() + queued, all.end()}); });
      EXPECT_TRUE(retry.ends()) << batch;
    }
    for (auto& unit : units) EXPECT_EQ(unit.aborts + 2 * unit.processes, 1);
  }
}

// A worker that has written STATE_STOPPED still uses the object until it lets
// go of its life mutex, so the destructor waits for that.
TEST(StepperEnd, DestructorWaitsForTheWorkerToLetGo) {
  workerEndHook = [] { waitUntil([] { return workerMayLetGo.load(); }); };
  auto* stepper = new ScriptedStepper();
  stepper->body = [](int) { return false; };
  ASSERT_TRUE(stepper->start() &&
              waitUntil([&] { return stepper->getThreadState() == 0; }));
  Background destroyer([&] { delete stepper; });
  EXPECT_TRUE(destroyer.blocked()) << "destroyed under a running worker";
  workerMayLetGo = true;
  EXPECT_TRUE(destroyer.ends());
  workerEndHook = nullptr;
}

// An empty key sizes a block but leaves it closed; an open block refuses a
// second open and keeps its key and bytes; a reopen after
// close gives zero bytes in the storage the block already had.
TEST(SharedMemory, OpenCloseAndReopen) {
  SharedMemoryBase block;
  ASSERT_TRUE(block.open("", 16) && !block.isOpen() && block.size() == 16);
  block.data()[2] = 5;  // bytes below both sizes stay
  EXPECT_TRUE(block.open("a", 8) && !block.open("b", 32) && block.isOpen());
  EXPECT_TRUE(block.key() == "a" && block.size() == 8 && block.data()[2] == 5);
  unsigned char* const storage = block.data();
  block.close();
  EXPECT_TRUE(block.open("b", 8) && block.data() == storage && !storage[2]);
}

// The recursive handle counts its owner's try-lock as one more lock; a held
// handle fails another thread's try-lock with EBUSY at once. Each destroy frees
// its handle; destroying null does nothing.
TEST(LockHandles, RecursiveForTheOwnerBusyForOthers) {
  Zu::ZuThreadMutex* recursive = Zu::ZuThreadMutexCreate();
  Zu::ZuMutex* plain = Zu::ZuMutexCreate();
  Zu::ZuMutexLock(plain), Zu::ZuThreadMutexLock(recursive);
  EXPECT_EQ(Zu::ZuThreadMutexTryLock(recursive), 0) << "the owner's try-lock";
  Zu::ZuThreadMutexUnlock(recursive);
  std::thread([&] {
    EXPECT_EQ(Zu::ZuMutexTryLock(plain), EBUSY);
    EXPECT_EQ(Zu::ZuThreadMutexTryLock(recursive), EBUSY);
  }).join();
  Zu::ZuMutexUnlock(plain), Zu::ZuThreadMutexUnlock(recursive);
  Zu::ZuConditionVariable* woken = Zu::ZuConditionVariableCreate();
  EXPECT_EQ(Zu::ZuConditionVariableSignal(woken), 0) << "with no waiter";
  Zu::ZuConditionVariableDestroy(woken);
  Zu::ZuMutexDestroy(plain), Zu::ZuThreadMutexDestroy(recursive);
  const std::size_t inUse = mallinfo2().uordblks;
  for (int i = 0; i < 1000; ++i) {
    Zu::ZuMutexDestroy(Zu::ZuMutexCreate());
    Zu::ZuThreadMutexDestroy(Zu::ZuThreadMutexCreate());
    Zu::ZuConditionVariableDestroy(Zu::ZuConditionVariableCreate());
  }
  EXPECT_LT(mallinfo2().uordblks, inUse + 1000) << "a handle left allocated";
  Zu::ZuMutexDestroy(nullptr), Zu::ZuThreadMutexDestroy(nullptr);
  Zu::ZuConditionVariableDestroy(nullptr);
}

// Up to a second of microseconds goes to usleep; longer, whole seconds to
// sleep, the rest cut off.
TEST(SleepRule, MicrosecondsUpToASecondThenWholeSeconds) {
  const unsigned long rows[][3] = {
      {0, false, 0}, {1000, false, 1000000}, {1001, true, 1}, {2999, true, 2}};
  for (const auto& [ms, whole, argument] : rows) {
    const Zu::detail::SleepCall call = Zu::detail::sleepCallFor(ms);
    EXPECT_TRUE(call.wholeSeconds == whole && call.argument == argument) << ms;
  }
}
