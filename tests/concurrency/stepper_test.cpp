#include <ZuPlatform/concurrency.h>
#include <gtest/gtest.h>

#include <functional>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "concurrency/test_support.h"

using ZuPlatform::IStepperThread;
using ZuPlatform::StepperThread;
using zutest::settle;
using zutest::waitUntil;

namespace {

constexpr auto STOPPED = IStepperThread::STATE_STOPPED;
constexpr auto RUNNING = IStepperThread::STATE_RUNNING;
constexpr auto PAUSED = IStepperThread::STATE_PAUSED;

// A stepper whose step runs a body chosen by the test (true by default) and
// counts steps and the workers that ran them. Change the body only while
// stopped.
class ScriptedStepper : public StepperThread {
 public:
  std::function<bool(int)> body;
  std::atomic<int> steps{0};

  bool step() override {
    {
      std::lock_guard<std::mutex> lock(workersMutex);
      workers.insert(Zu::ZuThreadGetID());
    }
    const int index = steps.fetch_add(1);
    return body ? body(index) : true;
  }

  std::size_t workerCount() {
    std::lock_guard<std::mutex> lock(workersMutex);
    return workers.size();
  }

  bool stepsAdvance() {
    const int before = steps.load();
    return waitUntil([&] { return steps.load() > before + 1; });
  }

  bool reachesStopped() {
    return waitUntil([&] { return getThreadState() == STOPPED; });
  }

 private:
  std::mutex workersMutex;
  std::set<Zu::ZuThreadID> workers;
};

}  // namespace

// --- the state table, from a controlling thread ------------------------------

TEST(StepperStateTable, StoppedIgnoresAllButStart) {
  ScriptedStepper stepper;
  EXPECT_EQ(stepper.getThreadState(), STOPPED);
  stepper.stop();
  stepper.join();
  stepper.pause(true);
  EXPECT_EQ(stepper.getThreadState(), STOPPED);
  stepper.pause(false);
  EXPECT_EQ(stepper.getThreadState(), STOPPED);
  EXPECT_FALSE(stepper.isCurrentThread());
  EXPECT_EQ(stepper.steps.load(), 0);
}

TEST(StepperStateTable, RunningStepsUntilStopped) {
  ScriptedStepper stepper;
  ASSERT_TRUE(stepper.start());
  EXPECT_EQ(stepper.getThreadState(), RUNNING);  // set before start returns
  EXPECT_TRUE(stepper.start());
  EXPECT_TRUE(stepper.stepsAdvance());
  stepper.pause(false);
  EXPECT_EQ(stepper.getThreadState(), RUNNING);
  EXPECT_FALSE(stepper.isCurrentThread());

  std::atomic<bool> joined{false};
  std::thread joiner([&] {
    stepper.join();
    joined = true;
  });
  settle();
  EXPECT_FALSE(joined) << "join returned while the worker runs";
  stepper.stop();
  EXPECT_EQ(stepper.getThreadState(), STOPPED);  // at once, no waiting
  EXPECT_TRUE(waitUntil([&] { return joined.load(); }));
  joiner.join();
  EXPECT_EQ(stepper.workerCount(), 1u);
  EXPECT_FALSE(stepper.isCurrentThread());
}

TEST(StepperStateTable, PausedHoldsUntilThePauserResumes) {
  ScriptedStepper stepper;
  ASSERT_TRUE(stepper.start());
  stepper.pause(true);
  ASSERT_EQ(stepper.getThreadState(), PAUSED);
  const int frozen = stepper.steps.load();

  EXPECT_TRUE(stepper.start());  // does not resume
  stepper.pause(true);           // pauses do not nest
  EXPECT_EQ(stepper.getThreadState(), PAUSED);

  // Another thread: pause(true), pause(false) and start() change nothing,
  // and join() waits for the end.
  std::atomic<bool> joined{false};
  std::thread other([&] {
    stepper.pause(true);
    stepper.pause(false);
    EXPECT_TRUE(stepper.start());
    stepper.join();
    joined = true;
  });
  settle();
  EXPECT_EQ(stepper.getThreadState(), PAUSED);
  EXPECT_EQ(stepper.steps.load(), frozen) << "a step ran during the pause";
  EXPECT_FALSE(joined);

  stepper.pause(false);  // one resume ends both pause(true) calls
  EXPECT_EQ(stepper.getThreadState(), RUNNING);
  EXPECT_TRUE(stepper.stepsAdvance());
  stepper.pause(true);
  stepper.stop();  // from the pausing thread: resumes and ends
  EXPECT_EQ(stepper.getThreadState(), STOPPED);
  EXPECT_TRUE(waitUntil([&] { return joined.load(); }));
  other.join();
}

// --- the state table, from the worker inside step ----------------------------

TEST(StepperFromWorker, OperationsInsideStep) {
  struct Row {
    const char* name;
    // Runs inside step number index; returns what step returns.
    std::function<bool(ScriptedStepper&, int)> body;
    int stepsAtEnd;  // steps run when the worker has ended by itself, or -1
  };
  const std::vector<Row> rows = {
      {"stop ends after this step",
       [](ScriptedStepper& s, int) {
         s.stop();  // returns at once: the worker owns lifeMutex
         return true;
       },
       1},
      {"join returns at once",
       [](ScriptedStepper& s, int i) {
         s.join();
         return i < 2;
       },
       3},
      {"start is true and adds no worker",
       [](ScriptedStepper& s, int i) { return s.start() && i < 2; }, 3},
      {"isCurrentThread holds on the worker",
       [](ScriptedStepper& s, int) { return !s.isCurrentThread(); }, 1},
      {"pause(true) does not wait and pause(false) undoes it",
       [](ScriptedStepper& s, int i) {
         if (i == 0) s.pause(true);
         if (i == 1 && s.getThreadState() != PAUSED) return false;
         if (i == 2) s.pause(false);
         return i < 3 && (i < 2 || s.getThreadState() == RUNNING);
       },
       4},
  };
  for (const Row& row : rows) {
    ScriptedStepper stepper;
    stepper.body = [&](int i) { return row.body(stepper, i); };
    ASSERT_TRUE(stepper.start()) << row.name;
    EXPECT_TRUE(stepper.reachesStopped()) << row.name;
    stepper.join();
    EXPECT_EQ(stepper.steps.load(), row.stepsAtEnd) << row.name;
    EXPECT_EQ(stepper.workerCount(), 1u) << row.name;
  }
}

// --- the pause bound ---------------------------------------------------------

TEST(StepperPause, WaitsForTheRunningStepToEnd) {
  ScriptedStepper stepper;
  zutest::Gate stepMayEnd;
  std::atomic<bool> stepEnded{false};
  stepper.body = [&](int i) {
    if (i == 0) {
      stepMayEnd.pass();
      stepEnded = true;
    }
    return true;
  };
  ASSERT_TRUE(stepper.start());
  ASSERT_TRUE(waitUntil([&] { return stepper.steps.load() == 1; }));

  std::atomic<bool> paused{false};
  std::atomic<bool> endedWhenPaused{false};
  std::thread pauser([&] {
    stepper.pause(true);
    endedWhenPaused = stepEnded.load();
    paused = true;
    const int frozen = stepper.steps.load();
    settle();
    EXPECT_EQ(stepper.steps.load(), frozen) << "a step ran during the pause";
    stepper.stop();
  });
  settle();
  EXPECT_FALSE(paused) << "pause returned while a step was running";
  stepMayEnd.open();
  pauser.join();
  EXPECT_TRUE(endedWhenPaused);
  EXPECT_EQ(stepper.getThreadState(), STOPPED);
}

// --- exceptions out of step, and restart -------------------------------------

TEST(StepperEnd, EachEndReportsAndAllowsRestart) {
  struct Row {
    const char* name;
    std::function<bool(ScriptedStepper&)> firstStep;
    const char* stderrText;
  };
  const std::vector<Row> rows = {
      {"step returns false", [](ScriptedStepper&) { return false; }, ""},
      {"standard exception",
       [](ScriptedStepper&) -> bool { throw std::runtime_error("disk full"); },
       "StepperThread exception thrown in thread: disk full\n"},
      {"anything else thrown", [](ScriptedStepper&) -> bool { throw 42; },
       "StepperThread unknown exception thrown in thread\n"},
      {"stop inside step",
       [](ScriptedStepper& s) {
         s.stop();
         return true;
       },
       ""},
  };
  for (const Row& row : rows) {
    ScriptedStepper stepper;
    stepper.body = [&](int i) {
      return i == 0 ? row.firstStep(stepper) : true;
    };
    testing::internal::CaptureStderr();
    ASSERT_TRUE(stepper.start()) << row.name;
    stepper.join();  // the worker ends by itself
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.stderrText)
        << row.name;
    EXPECT_EQ(stepper.getThreadState(), STOPPED) << row.name;
    EXPECT_EQ(stepper.steps.load(), 1) << row.name;

    ASSERT_TRUE(stepper.start()) << row.name << ": restart";
    EXPECT_TRUE(stepper.stepsAdvance()) << row.name << ": restart";
    stepper.stop();
  }
}

// --- races settled by design -------------------------------------------------

TEST(StepperRaces, ConcurrentStartsCreateOneWorker) {
  constexpr int STARTERS = 4;
  for (int round = 0; round < 30; ++round) {
    ScriptedStepper stepper;
    std::atomic<int> ready{0};
    std::atomic<int> accepted{0};
    std::vector<std::thread> starters;
    for (int i = 0; i < STARTERS; ++i) {
      starters.emplace_back([&] {
        ready.fetch_add(1);
        while (ready.load() < STARTERS) std::this_thread::yield();
        if (stepper.start()) accepted.fetch_add(1);
      });
    }
    for (auto& starter : starters) starter.join();
    EXPECT_EQ(accepted.load(), STARTERS);
    ASSERT_TRUE(stepper.stepsAdvance());
    stepper.stop();
    ASSERT_EQ(stepper.workerCount(), 1u) << "round " << round;
  }
}

TEST(StepperRaces, StopOnAPausedWorkerAlwaysEndsStopped) {
  ScriptedStepper stepper;
  for (int round = 0; round < 300; ++round) {
    ASSERT_TRUE(stepper.start());
    stepper.pause(true);
    stepper.stop();
    ASSERT_EQ(stepper.getThreadState(), STOPPED) << "round " << round;
  }
}

// The worker's last step returns false while another thread asks for a pause.
// Whichever writes last, the worker ends, the state settles at STATE_STOPPED,
// the pauser's pause(false) or stop() hands the step mutex back, and a fresh
// start() steps again.
TEST(StepperRaces, PauseMeetingTheWorkersEndLeavesARestartableStepper) {
  enum HandBack { RESUME, STOP, START_THEN_RESUME };
  for (int round = 0; round < 90; ++round) {
    const HandBack handBack = static_cast<HandBack>(round % 3);
    ScriptedStepper stepper;
    zutest::Gate lastStepMayEnd;
    stepper.body = [&](int) {
      lastStepMayEnd.pass();
      return false;
    };
    ASSERT_TRUE(stepper.start());
    std::atomic<bool> pauseReturned{false};
    zutest::Gate mayHandBack;
    std::thread pauser([&] {
      // During or after the last step, never before it.
      ASSERT_TRUE(waitUntil([&] { return stepper.steps.load() == 1; }));
      stepper.pause(true);
      pauseReturned = true;
      mayHandBack.pass();
      if (handBack == STOP) {
        stepper.stop();
      } else {
        stepper.pause(false);
      }
    });
    std::this_thread::sleep_for(std::chrono::microseconds(round * 7 % 300));
    lastStepMayEnd.open();
    ASSERT_TRUE(waitUntil([&] { return pauseReturned.load(); }));
    ASSERT_TRUE(stepper.reachesStopped())
        << "round " << round << " state " << stepper.getThreadState()
        << " steps " << stepper.steps.load();

    stepper.join();
    stepper.body = nullptr;  // step on for good from now
    if (handBack == START_THEN_RESUME) {
      ASSERT_TRUE(stepper.start());  // its worker waits for the hand-back
      mayHandBack.open();
    } else {
      mayHandBack.open();
      pauser.join();
      ASSERT_TRUE(stepper.start());
    }
    EXPECT_TRUE(stepper.stepsAdvance()) << "round " << round;
    if (handBack == START_THEN_RESUME) pauser.join();
    stepper.stop();
    EXPECT_EQ(stepper.getThreadState(), STOPPED);
  }
}

TEST(StepperRaces, PauseTakenInsideTheLastStepIsHandedBack) {
  ScriptedStepper stepper;
  stepper.body = [&](int) {
    stepper.pause(true);  // never undone by the step itself
    return false;
  };
  ASSERT_TRUE(stepper.start());
  stepper.join();
  EXPECT_EQ(stepper.getThreadState(), STOPPED);
  stepper.body = nullptr;
  ASSERT_TRUE(stepper.start());
  EXPECT_TRUE(stepper.stepsAdvance()) << "step mutex left with a dead thread";
  stepper.stop();
}

TEST(StepperLifetime, DestroyStopsTheWorkerFirst) {
  struct Counted : ScriptedStepper {
    std::atomic<bool>* destroyed;
    ~Counted() override { *destroyed = true; }
  };
  std::atomic<bool> destroyed{false};
  auto* stepper = new Counted();
  stepper->destroyed = &destroyed;
  ASSERT_TRUE(stepper->start());
  stepper->pause(true);
  stepper->destroy();  // from the pausing thread: resumes, stops, deletes
  EXPECT_TRUE(destroyed);
}
