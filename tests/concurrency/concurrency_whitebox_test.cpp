// Failures that the platform will not produce on demand, forced through the
// library's private seams.
#include <ZuPlatform/concurrency.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "concurrency/sleep_rule.h"
#include "concurrency/test_hooks.h"
#include "concurrency/test_support.h"

using ZuPlatform::ThreadPool;
using zutest::waitUntil;

TEST(SleepRule, BoundaryLiesBetween1000And1001Milliseconds) {
  struct Row {
    unsigned long milliseconds;
    bool wholeSeconds;
    std::uint64_t argument;
  };
  const Row rows[] = {
      // microseconds through usleep
      {0, false, 0},
      {1, false, 1000},
      {1000, false, 1000000},
      // whole seconds through sleep, the rest cut off
      {1001, true, 1},
      {1999, true, 1},
      {2000, true, 2},
      {2999, true, 2},
  };
  for (const Row& row : rows) {
    const Zu::detail::SleepCall call =
        Zu::detail::sleepCallFor(row.milliseconds);
    EXPECT_EQ(call.wholeSeconds, row.wholeSeconds) << row.milliseconds;
    EXPECT_EQ(call.argument, row.argument) << row.milliseconds;
  }
}

namespace {

// Lets the first `allowed` thread creations through, refuses the rest.
std::atomic<int> creationsAllowed{0};
bool allowWhileBudgetLasts() { return creationsAllowed.fetch_sub(1) > 0; }

class RefusedThreads : public testing::Test {
 protected:
  void refuseAfter(int allowed) {
    creationsAllowed = allowed;
    ZuPlatform::detail::threadCreateFilter = allowWhileBudgetLasts;
  }
  void TearDown() override { ZuPlatform::detail::threadCreateFilter = nullptr; }
};

class CountingUnit : public ThreadPool::WorkUnit {
 public:
  void process() override { processes.fetch_add(1); }
  void abort() override { aborts.fetch_add(1); }
  std::atomic<int> processes{0};
  std::atomic<int> aborts{0};
};

}  // namespace

TEST_F(RefusedThreads, PoolRunsOnTheThreadsThatStartedAndNeverWaitsForOthers) {
  struct Row {
    unsigned int asked;
    int allowed;
    const char* stderrText;
  };
  const Row rows[] = {
      {4, 2, "ThreadPool: started 2 of 4 threads\n"},
      {3, 0, "ThreadPool: started 0 of 3 threads\n"},
      {2, 2, ""},
  };
  for (const Row& row : rows) {
    refuseAfter(row.allowed);
    std::vector<CountingUnit> units(8);
    testing::internal::CaptureStderr();
    std::atomic<bool> destroyed{false};
    std::thread owner([&] {
      ThreadPool pool(row.asked);
      EXPECT_EQ(pool.getThreadCount(), row.asked);
      for (auto& unit : units) pool.add(&unit);
      if (row.allowed > 0) {
        for (auto& unit : units) unit.wait();
      }
    });  // the destructor runs on owner
    owner.join();
    destroyed = true;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.stderrText);
    int processed = 0, aborted = 0;
    for (auto& unit : units) {
      processed += unit.processes;
      aborted += unit.aborts;
    }
    EXPECT_EQ(processed, row.allowed > 0 ? 8 : 0) << row.asked;
    EXPECT_EQ(aborted, row.allowed > 0 ? 0 : 8) << row.asked;
  }
}

TEST_F(RefusedThreads, StepperStartFailsAndLeavesItStopped) {
  class Counting : public ZuPlatform::StepperThread {
   public:
    bool step() override {
      steps.fetch_add(1);
      return true;
    }
    std::atomic<int> steps{0};
  };
  Counting stepper;
  refuseAfter(0);
  EXPECT_FALSE(stepper.start());
  EXPECT_EQ(stepper.getThreadState(), Counting::STATE_STOPPED);
  stepper.stop();  // nothing to wait for
  ZuPlatform::detail::threadCreateFilter = nullptr;
  ASSERT_TRUE(stepper.start());
  EXPECT_TRUE(waitUntil([&] { return stepper.steps.load() > 0; }));
  stepper.stop();
}

namespace {

// Throws std::bad_alloc at the push with this number (0 is the next one).
std::atomic<int> pushesBeforeThrow{-1};
void throwAtChosenPush() {
  if (pushesBeforeThrow.fetch_sub(1) == 0) throw std::bad_alloc();
}

class LoggedUnit : public CountingUnit {
 public:
  LoggedUnit(std::vector<int>& log, int id) : log(log), id(id) {}
  void process() override {
    CountingUnit::process();
    log.push_back(id);  // one pool thread: no lock needed
  }
  std::vector<int>& log;
  int id;
};

}  // namespace

// The add throws with nothing changed: the units are idle, never processed
// nor aborted, the queue lock is free for the pool thread, and a batch leaves
// no part of itself behind.
TEST(QueueGrowthFailure, AddThrowsWithNothingQueuedOrClaimed) {
  struct Row {
    const char* name;
    bool asBatch;
    int throwAtPush;
  };
  const Row rows[] = {
      {"single add", false, 0},
      {"batch, first push", true, 0},
      {"batch, third push", true, 2},
  };
  for (const Row& row : rows) {
    std::vector<int> log;
    LoggedUnit a(log, 1), b(log, 2), c(log, 3), marker(log, 9);
    {
      ThreadPool pool(1);
      ZuPlatform::detail::queueGrowthHook = throwAtChosenPush;
      pushesBeforeThrow = row.throwAtPush;
      if (row.asBatch) {
        EXPECT_THROW(pool.add({&a, &b, &c}), std::bad_alloc) << row.name;
      } else {
        EXPECT_THROW(pool.add(&a), std::bad_alloc) << row.name;
      }
      ZuPlatform::detail::queueGrowthHook = nullptr;

      // Every unit of the call is idle: a claim left behind would block.
      std::atomic<bool> allIdle{false};
      std::thread waiter([&] {
        a.wait();
        b.wait();
        c.wait();
        allIdle = true;
      });
      EXPECT_TRUE(waitUntil([&] { return allIdle.load(); })) << row.name;
      waiter.join();
      // The pool thread can still take the queue lock.
      pool.add(&marker);
      marker.wait();
    }
    EXPECT_EQ(log, std::vector<int>{9}) << row.name;
    for (LoggedUnit* unit : {&a, &b, &c}) {
      EXPECT_EQ(unit->processes + unit->aborts, 0) << row.name;
    }
  }
}

namespace {

std::atomic<bool> gateHeld{false};
void noteGateHeld() { gateHeld = true; }

}  // namespace

// Against steps that return at once, a step that begins after the pausing
// thread holds the gate can only be the one the worker had already headed
// into: the worker must pass the gate before each further step. Without the
// gate it retakes the unfair step mutex ahead of the pause, again and again.
TEST(StepperPauseBound, AtMostOneStepBeginsOnceThePauseHoldsTheGate) {
  class InstantStepper : public ZuPlatform::StepperThread {
   public:
    bool step() override {
      steps.fetch_add(1);
      if (gateHeld) stepsAfterGate.fetch_add(1);
      return true;
    }
    std::atomic<int> steps{0};
    std::atomic<int> stepsAfterGate{0};
  };
  InstantStepper stepper;
  ZuPlatform::detail::pauseGateHook = noteGateHeld;
  ASSERT_TRUE(stepper.start());
  int most = 0;
  for (int round = 0; round < 2000; ++round) {
    stepper.pause(true);
    const int frozen = stepper.steps.load();
    most = std::max(most, stepper.stepsAfterGate.exchange(0));
    gateHeld = false;
    std::this_thread::yield();
    ASSERT_EQ(stepper.steps.load(), frozen) << "a step ran during a pause";
    stepper.pause(false);
  }
  stepper.stop();
  ZuPlatform::detail::pauseGateHook = nullptr;
  EXPECT_LE(most, 1);
}
