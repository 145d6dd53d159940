// Failures that the platform will not produce on demand, forced through the
// library's private seams.
#include <new>
#include <tuple>

#include "concurrency/sleep_rule.h"
#include "concurrency/test_hooks.h"
#include "concurrency/test_support.h"

using namespace zutest;

static std::atomic<int> creationsAllowed{0}, pushesBeforeThrow{0}, gateHeld{0};

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

// The pool runs on the threads that started, and its destructor never waits
// for one that did not; a stepper whose worker cannot start stays stopped.
TEST(ThreadCreationFailure, PoolAndStepperCarryOn) {
  const struct {
    unsigned int asked;
    int allowed;
    const char* stderrText;
  } rows[] = {{4, 2, "ThreadPool: started 2 of 4 threads\n"},
              {3, 0, "ThreadPool: started 0 of 3 threads\n"},
              {2, 2, ""}};
  ZuPlatform::detail::threadCreateFilter = [] {
    return creationsAllowed.fetch_sub(1) > 0;
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.asked);
    creationsAllowed = row.allowed;
    std::vector<CountingUnit> units(8);
    testing::internal::CaptureStderr();
    {
      ThreadPool pool(row.asked);
      EXPECT_EQ(pool.getThreadCount(), row.asked);
      for (auto& unit : units) pool.add(&unit);
      for (auto& unit : units) row.allowed > 0 ? unit.wait() : void();
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.stderrText);
    for (auto& unit : units)
      EXPECT_EQ(unit.processes - unit.aborts, row.allowed > 0 ? 1 : -1);
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

// The add throws with nothing changed: a batch leaves no part of itself
// queued, no unit stays claimed (the retry would wait for it), none is
// processed or aborted, and the pool thread can still take the queue lock.
TEST(QueueGrowthFailure, AddThrowsWithNothingQueuedOrClaimed) {
  ZuPlatform::detail::queueGrowthHook = [] {
    if (pushesBeforeThrow.fetch_sub(1) == 0) throw std::bad_alloc();
  };
  for (int throwAtPush : {-1, 0, 2}) {  // -1: a single add
    SCOPED_TRACE(throwAtPush);
    EventLog log;
    CountingUnit a(&log, 1), b(&log, 2), c(&log, 3);
    {
      ThreadPool pool(1);
      pushesBeforeThrow = std::max(throwAtPush, 0);  // below 0 none throws
      EXPECT_THROW(throwAtPush < 0 ? pool.add(&a) : pool.add({&a, &b, &c}),
                   std::bad_alloc);
      Background retry([&] { pool.add({&a, &b, &c}), c.wait(); });
      EXPECT_TRUE(retry.ends());
    }
    EXPECT_EQ(log.text, "p1 p2 p3 ");
  }
  ZuPlatform::detail::queueGrowthHook = nullptr;
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
