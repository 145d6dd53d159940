#include <cstring>

#include "concurrency/test_support.h"

using ZuPlatform::IStepperThread;
using namespace zutest;

namespace {

constexpr int STOPPED = IStepperThread::STATE_STOPPED;
constexpr int RUNNING = IStepperThread::STATE_RUNNING;
constexpr int PAUSED = IStepperThread::STATE_PAUSED;
// Outcomes besides a state: the call waits until the test thread stops the
// worker, may do so, or the protocol forbids it to this caller.
constexpr int WAITS = -1, MAY_WAIT = -2, BARRED = -3;

enum Op { START, PAUSE, RESUME, STOP, JOIN, IS_CURRENT, OPS };
const char* const OP_NAMES[] = {"start", "pause(true)", "pause(false)",
                                "stop",  "join",        "isCurrentThread"};
// SELF set the state up: in STATE_PAUSED it is the pausing thread.
enum Caller { SELF, OTHER, WORKER };

// The operation's result; true for those that return nothing.
bool apply(ScriptedStepper& stepper, int op) {
  if (op == START) return stepper.start();
  if (op == PAUSE) stepper.pause(true);
  if (op == RESUME) stepper.pause(false);
  if (op == STOP) stepper.stop();
  if (op == JOIN) stepper.join();
  return op == IS_CURRENT ? stepper.isCurrentThread() : true;
}

}  // namespace

// Each operation in each state from each kind of caller, on a fresh stepper.
// start() is always true, isCurrentThread() only on the worker; the steps go
// on exactly when the state says so, and one worker at most ever runs.
TEST(StepperStateTable, EachOperationInEachState) {
  struct Row {
    int from;
    Caller by;
    int after[OPS];  // in the order of Op
  };
  const Row rows[] = {
      {STOPPED, SELF, {RUNNING, STOPPED, STOPPED, STOPPED, STOPPED, STOPPED}},
      {RUNNING, SELF, {RUNNING, PAUSED, RUNNING, STOPPED, WAITS, RUNNING}},
      // Inside step nothing waits, stop ends the worker after this step, and
      // the worker's own pause does not hold back its steps.
      {RUNNING, WORKER, {RUNNING, PAUSED, RUNNING, STOPPED, RUNNING, RUNNING}},
      {PAUSED, SELF, {PAUSED, PAUSED, RUNNING, STOPPED, BARRED, PAUSED}},
      // The pause stays with the pausing thread. A stop ends a worker still
      // between two steps at once, else one waiting for the step mutex after
      // the pauser lets go.
      {PAUSED, OTHER, {PAUSED, PAUSED, PAUSED, MAY_WAIT, WAITS, PAUSED}},
  };
  for (const Row& row : rows) {
    for (int op = 0; op < OPS; ++op) {
      if (row.after[op] == BARRED) continue;
      SCOPED_TRACE(testing::Message() << OP_NAMES[op] << " by caller " << row.by
                                      << " in state " << row.from);
      const bool waits = row.after[op] == WAITS || row.after[op] == MAY_WAIT;
      const int want = waits ? STOPPED : row.after[op];
      ScriptedStepper stepper;
      std::atomic<int> result{-1};  // -1 until the operation has returned
      auto run = [&] { result = apply(stepper, op); };
      if (row.by == WORKER)
        stepper.body = [&](int i) { return i || (run(), 1); };
      ASSERT_TRUE(row.from == STOPPED || stepper.start());
      if (row.from == PAUSED) stepper.pause(true);
      if (row.by == SELF && !waits) run();
      if (row.by == OTHER || waits) {
        Background caller(run);
        if (row.after[op] == WAITS) {
          EXPECT_TRUE(caller.blocked());
          EXPECT_EQ(stepper.getThreadState(), row.from);
        }
        if (waits) stepper.stop();
        EXPECT_TRUE(caller.ends());
      }
      ASSERT_TRUE(waitUntil([&] { return result != -1; }));
      EXPECT_EQ(result, op != IS_CURRENT || row.by == WORKER);
      const auto reached = [&] { return stepper.getThreadState() == want; };
      EXPECT_TRUE(row.by == WORKER ? waitUntil(reached) : reached())
          << "state " << stepper.getThreadState();
      const bool stepping =
          want == RUNNING || (row.by == WORKER && want == PAUSED);
      EXPECT_TRUE(stepping ? stepper.stepsAdvance() : stepper.stepsFrozen());
      if (row.from == PAUSED && want == PAUSED) {
        stepper.pause(false);  // a single resume ends the pause
        EXPECT_TRUE(stepper.stepsAdvance());
      }
      stepper.stop();
      EXPECT_EQ(stepper.getThreadState(), STOPPED);
      EXPECT_LE(stepper.workers, 1);
    }
  }
}

TEST(StepperEnd, EachEndReportsAndAllowsRestart) {
  struct Row {
    bool (*lastStep)(ScriptedStepper&);
    const char* stderrText;
  };
  const Row rows[] = {
      {[](ScriptedStepper&) { return false; }, ""},
      {[](ScriptedStepper&) -> bool { throw std::runtime_error("disk full"); },
       "StepperThread exception thrown in thread: disk full\n"},
      {[](ScriptedStepper&) -> bool { throw 42; },
       "StepperThread unknown exception thrown in thread\n"},
      // The worker hands back a pause it took itself and never undid.
      {[](ScriptedStepper& s) { return s.pause(true), false; }, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(&row - rows);
    ScriptedStepper stepper;
    stepper.body = [&](int i) { return i > 0 || row.lastStep(stepper); };
    testing::internal::CaptureStderr();
    ASSERT_TRUE(stepper.start());
    stepper.join();  // the worker ends by itself
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.stderrText);
    EXPECT_EQ(stepper.getThreadState(), STOPPED);
    EXPECT_EQ(stepper.steps, 1);
    ASSERT_TRUE(stepper.start());
    EXPECT_TRUE(stepper.stepsAdvance()) << "no restart";
    stepper.stop();
  }
}

TEST(StepperRaces, ConcurrentStartsCreateOneWorker) {
  constexpr int STARTERS = 4;
  for (int round = 0; round < 30; ++round) {
    ScriptedStepper stepper;
    std::atomic<int> ready{0}, accepted{0};
    std::vector<std::thread> starters;
    for (int i = 0; i < STARTERS; ++i) {
      starters.emplace_back([&] {
        ready.fetch_add(1);
        while (ready < STARTERS) std::this_thread::yield();
        accepted += stepper.start();
      });
    }
    for (auto& starter : starters) starter.join();
    EXPECT_EQ(accepted, STARTERS);
    ASSERT_TRUE(stepper.stepsAdvance());
    stepper.stop();
    ASSERT_EQ(stepper.workers, 1) << "round " << round;
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

// The worker's last step returns false while another thread asks for a pause,
// which cannot return before that step ends. Whichever writes last, the state
// settles at STATE_STOPPED, the pauser's pause(false) or stop() hands the step
// mutex back, and a start(), even one made before that hand-back, steps again.
TEST(StepperRaces, PauseMeetingTheWorkersEndLeavesARestartableStepper) {
  enum HandBack { RESUME, STOP, START_THEN_RESUME };
  for (int round = 0; round < 90; ++round) {
    SCOPED_TRACE(round);
    const auto handBack = static_cast<HandBack>(round % 3);
    ScriptedStepper stepper;
    Gate lastStepMayEnd, mayHandBack;
    stepper.body = [&](int) { return lastStepMayEnd.pass(), false; };
    ASSERT_TRUE(stepper.start());
    std::atomic<bool> paused{false};
    Background pauser([&] {
      waitUntil([&] { return stepper.steps == 1; });  // inside the last step
      stepper.pause(true);
      paused = true;
      mayHandBack.pass();
      handBack == STOP ? stepper.stop() : stepper.pause(false);
    });
    // The first rounds leave the pauser time to be waiting for the step.
    std::this_thread::sleep_for(
        std::chrono::microseconds(round < 3 ? 20000 : round * 7 % 300));
    EXPECT_FALSE(paused) << "pause returned while a step was running";
    lastStepMayEnd.open();
    ASSERT_TRUE(waitUntil([&] { return paused.load(); }));
    stepper.join();
    EXPECT_EQ(stepper.getThreadState(), STOPPED);
    stepper.body = nullptr;  // step on for good from now
    if (handBack != START_THEN_RESUME) {
      mayHandBack.open();
      EXPECT_TRUE(pauser.ends());
    }
    ASSERT_TRUE(stepper.start());  // its worker waits for any hand-back
    mayHandBack.open();
    EXPECT_TRUE(stepper.stepsAdvance());
    EXPECT_TRUE(pauser.ends());
    stepper.stop();
  }
}

TEST(StepperLifetime, DestroyFromThePauserStopsTheWorkerFirst) {
  auto* stepper = new ScriptedStepper();
  ASSERT_TRUE(stepper->start());
  stepper->pause(true);
  stepper->destroy();  // a worker left stepping would touch freed memory
}

namespace {

// The vtable slot that a pointer to a virtual member names. The Itanium C++
// ABI stores such a pointer as one plus the byte offset of the slot.
template <typename Member>
long vtableSlot(Member member) {
  static_assert(sizeof member == 2 * sizeof(long), "Itanium member pointer");
  long words[2];
  std::memcpy(words, &member, sizeof words);
  return (words[0] - 1) / static_cast<long>(sizeof(void*));
}

}  // namespace

// Clients built against an earlier copy of the library call through these
// slots: the interface's four operations come before its destructor (two
// slots), and the stepper adds join and step behind them.
TEST(StepperLayout, VirtualOperationsKeepTheirSlots) {
  using ZuPlatform::StepperThread;
  const struct {
    const char* name;
    long slot;
    long expected;
  } rows[] = {
      {"start", vtableSlot(&IStepperThread::start), 0},
      {"pause", vtableSlot(&IStepperThread::pause), 1},
      {"stop", vtableSlot(&IStepperThread::stop), 2},
      {"isCurrentThread", vtableSlot(&IStepperThread::isCurrentThread), 3},
      {"join", vtableSlot(&StepperThread::join), 6},
      {"step", vtableSlot(&StepperThread::step), 7},
  };
  for (const auto& row : rows) EXPECT_EQ(row.slot, row.expected) << row.name;
}
