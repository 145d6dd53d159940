// Failures that the platform will not produce on demand, and moments a thread
// passes too fast to catch, forced through the library's private seams.
#include <cstdlib>
#include <new>
#include <tuple>

#include "concurrency/sleep_rule.h"
#include "concurrency/test_hooks.h"
#include "concurrency/test_support.h"

using namespace zutest;

static std::atomic<int> creationsAllowed{0}, gateHeld{0};
static std::atomic<bool> workerMayLetGo{false};
static thread_local bool failAllocations = false;

// Every allocation of this program; fails while the thread says so. Out of
// line, so that the compiler pairs no new expression with free.
[[gnu::noinline]] void* operator new(std::size_t size) {
  void* block = failAllocations ? nullptr : std::malloc(size ? size : 1);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
[[gnu::noinline]] void operator delete(void* block) noexcept {
  std::free(block);
}
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}

TEST(SleepRule, BoundaryLiesBetween1000And1001Milliseconds) {
  // Milliseconds, then sleep(argument) or else usleep(argument).
  const std::tuple<unsigned long, bool, std::uint64_t> rows[] = {
      {0, false, 0},   {1, false, 1000}, {1000, false, 1000000},
      {1001, true, 1}, {1999, true, 1},  {2000, true, 2}};
  for (const auto& [milliseconds, wholeSeconds, argument] : rows) {
    const auto call = Zu::detail::sleepCallFor(milliseconds);
    EXPECT_EQ(call.wholeSeconds, wholeSeconds) << milliseconds;
    EXPECT_EQ(call.argument, argument) << milliseconds;
  }
}

// The pool runs on the threads that started, says nothing, and its destructor
// never waits for one that did not; a stepper whose worker cannot start stays
// stopped.
TEST(ThreadCreationFailure, PoolAndStepperCarryOn) {
  ZuPlatform::detail::threadCreateFilter = [] {
    return creationsAllowed.fetch_sub(1) > 0;
  };
  for (const auto& [asked, allowed] : {std::pair{4u, 2}, {3u, 0}, {2u, 2}}) {
    SCOPED_TRACE(asked);
    creationsAllowed = allowed;
    std::vector<CountingUnit> units(8);
    testing::internal::CaptureStderr();
    {
      ThreadPool pool(asked);
      EXPECT_EQ(pool.getThreadCount(), asked);
      for (auto& unit : units) pool.add(&unit);
      for (auto& unit : units) allowed > 0 ? unit.wait() : void();
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    for (auto& unit : units)
      EXPECT_EQ(unit.processes - unit.aborts, allowed > 0 ? 1 : -1);
  }
  ScriptedStepper stepper;
  creationsAllowed = 0;
  EXPECT_TRUE(!stepper.start() &&
              stepper.getThreadState() == ScriptedStepper::STATE_STOPPED);
  creationsAllowed = 1;
  EXPECT_TRUE(stepper.start() && stepper.stepsAdvance());
  stepper.stop();
  ZuPlatform::detail::threadCreateFilter = nullptr;
}

// An add whose queue cannot grow throws with nothing changed: no part of a
// batch stays queued, no unit stays claimed, the queue lock is free for
// another thread. So a retry of what was refused ends each unit exactly once.
TEST(QueueGrowthFailure, AddThrowsWithNothingQueuedOrClaimed) {
  for (bool batch : {true, false}) {
    std::vector<CountingUnit> units(200);
    std::vector<ThreadPool::WorkUnit*> all;
    for (auto& unit : units) all.push_back(&unit);
    std::size_t queued = 0;  // by the single adds before the refused one
    {
      ThreadPool pool(0);
      failAllocations = true;
      try {
        if (batch) pool.add(all);
        for (; !batch && queued < all.size(); ++queued) pool.add(all[queued]);
      } catch (const std::bad_alloc&) {
        failAllocations = false;
      }
      ASSERT_FALSE(failAllocations) << "the queue never grew";
      Background retry([&] { pool.add({all.begin() + queued, all.end()}); });
      EXPECT_TRUE(retry.ends()) << batch;
    }
    for (auto& unit : units) EXPECT_EQ(unit.aborts + 2 * unit.processes, 1);
  }
}

// Against steps that return at once, a step that begins after the pausing
// thread holds the gate can only be the one the worker had already headed
// into: the worker must pass the gate before each further step. Without the
// gate it retakes the unfair step mutex ahead of the pause, again and again.
TEST(StepperPauseBound, AtMostOneStepBeginsOnceThePauseHoldsTheGate) {
  ScriptedStepper stepper;
  std::atomic<int> stepsAfterGate{0};
  stepper.body = [&](int) { return stepsAfterGate += gateHeld, true; };
  ZuPlatform::detail::pauseGateHook = [] { gateHeld = true; };
  ASSERT_TRUE(stepper.start());
  int most = 0;
  for (int round = 0; round < 2000; ++round) {
    stepper.pause(true);
    const int frozen = stepper.steps;
    most = std::max(most, stepsAfterGate.exchange(0));
    gateHeld = false;
    std::this_thread::yield();
    EXPECT_EQ(stepper.steps, frozen) << "a step ran during a pause";
    stepper.pause(false);
  }
  stepper.stop();
  ZuPlatform::detail::pauseGateHook = nullptr;
  EXPECT_LE(most, 1);
}

// A worker that has written STATE_STOPPED still uses the object until it lets
// go of its life mutex, so the destructor waits for that.
TEST(StepperEnd, DestructorWaitsForTheWorkerToLetGo) {
  ZuPlatform::detail::workerEndHook = [] { waitUntil(workerMayLetGo); };
  auto* stepper = new ScriptedStepper();
  stepper->body = [](int) { return false; };
  ASSERT_TRUE(stepper->start());
  ASSERT_TRUE(waitUntil([&] { return stepper->getThreadState() == 0; }));
  Background destroyer([&] { delete stepper; });
  EXPECT_TRUE(destroyer.blocked()) << "destroyed under a running worker";
  workerMayLetGo = true;
  EXPECT_TRUE(destroyer.ends());
  ZuPlatform::detail::workerEndHook = nullptr;
}
