#include "concurrency/test_support.h"

using namespace zutest;

constexpr int STOPPED = 0, RUNNING = 1, PAUSED = 2;
// Outcomes besides a state: the call waits until the test thread stops the
// worker, may do so, or the protocol forbids it to this caller.
constexpr int WAITS = -1, MAY_WAIT = -2, BARRED = -3;
// In the order of the table's columns; RESUME is pause(false).
enum Op { START, PAUSE, RESUME, STOP, JOIN, IS_CURRENT, OPS };
// SELF set the state up: in STATE_PAUSED it is the pausing thread.
enum Caller { SELF, OTHER, WORKER };

// Each operation in each state from each kind of caller, on a fresh stepper.
// start() is always true, isCurrentThread() only on the worker, and the steps
// go on exactly when the state says so.
TEST(StepperStateTable, EachOperationInEachState) {
  const struct {
    int from;
    Caller by;
    int after[OPS];
  } rows[] = {
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
  for (const auto& row : rows) {
    for (int op = 0; op < OPS; ++op) {
      if (row.after[op] == BARRED) continue;
      SCOPED_TRACE(testing::Message() << op << row.by << row.from);  // digits
      const bool waits = row.after[op] < 0;
      const int want = waits ? STOPPED : row.after[op];
      ScriptedStepper stepper;
      std::atomic<int> result{-1};  // -1 until the operation has returned
      auto run = [&] {
        if (op == PAUSE || op == RESUME) stepper.pause(op == PAUSE);
        if (op == STOP) stepper.stop();
        if (op == JOIN) stepper.join();
        result = op == START ? stepper.start()
                             : op != IS_CURRENT || stepper.isCurrentThread();
      };
      if (row.by == WORKER)
        stepper.body = [&](int i) { return i || (run(), 1); };
      ASSERT_TRUE(row.from == STOPPED || stepper.start());
      if (row.from == PAUSED) stepper.pause(true);
      if (row.by == SELF && !waits) run();
      if (row.by == OTHER || waits) {
        Background caller(run);
        EXPECT_TRUE(row.after[op] != WAITS ||
                    (caller.blocked() && stepper.getThreadState() == row.from));
        if (waits) stepper.stop();
        EXPECT_TRUE(caller.ends());
      }
      ASSERT_TRUE(waitUntil([&] { return result != -1; }));
      EXPECT_EQ(result, op != IS_CURRENT || row.by == WORKER);
      EXPECT_TRUE(waitUntil([&] { return stepper.getThreadState() == want; }));
      EXPECT_TRUE(stepper.stepsAdvance(want == RUNNING ||
                                       (row.by == WORKER && want == PAUSED)));
      // A single resume ends a pause.
      EXPECT_TRUE(row.from != PAUSED || want != PAUSED ||
                  (stepper.pause(false), stepper.stepsAdvance()));
      stepper.stop();
    }
  }
}

// A worker ended by a throwing step, or by its thread ending inside step:
// afterwards the state reads STATE_STOPPED and the step mutex is free, so the
// stepper starts again, and destroy() ends it before deleting, running or
// paused. A thread ended inside step goes without a word, also when it holds
// a pause it took itself.
TEST(StepperEnd, EachEndReportsAndAllowsRestart) {
  const std::pair<bool (*)(ScriptedStepper&), const char*> rows[] = {
      {[](ScriptedStepper&) -> bool { throw std::runtime_error("disk full"); },
       "StepperThread exception thrown in thread: disk full\n"},
      {[](ScriptedStepper&) -> bool { throw 42; },
       "StepperThread unknown exception thrown in thread\n"},
      {[](ScriptedStepper& s) -> bool { s.pause(true), Zu::ZuThreadExit(); },
       ""},
  };
  for (const auto& [lastStep, stderrText] : rows) {
    auto* stepper = new ScriptedStepper();
    stepper->body = [&, last = lastStep](int i) { return i || last(*stepper); };
    testing::internal::CaptureStderr();
    ASSERT_TRUE(stepper->start());
    stepper->join();  // the worker ends by itself
    EXPECT_EQ(testing::internal::GetCapturedStderr(), stderrText);
    EXPECT_TRUE(stepper->getThreadState() == STOPPED && stepper->steps == 1);
    EXPECT_TRUE(stepper->start() && stepper->stepsAdvance()) << "no restart";
    if (*stderrText) stepper->pause(true);
    stepper->destroy();
    EXPECT_EQ(ScriptedStepper::stateAtEnd, STOPPED) << "deleted while running";
  }
}

// A pause that meets the worker's own end leaves STATE_STOPPED and a pause
// that stop() hands back, before or after a restart; then a worker steps and
// the same thread can pause it again.
TEST(StepperEnd, PauseMeetingTheWorkersEndAllowsRestart) {
  for (bool restartFirst : {false, true}) {
    ScriptedStepper stepper;
    // The first step lasts long enough for the pause to come in during it.
    stepper.body = [](int i) { return i || (settle(), false); };
    ASSERT_TRUE(stepper.start() && waitUntil([&] { return +stepper.steps; }));
    stepper.pause(true);  // meets the step that ends the worker
    ASSERT_TRUE(waitUntil([&] { return stepper.getThreadState() == STOPPED; }));
    EXPECT_TRUE(!restartFirst || stepper.start());
    stepper.stop();
    EXPECT_TRUE(stepper.start() && stepper.stepsAdvance()) << restartFirst;
    EXPECT_TRUE((stepper.pause(true), stepper.stepsAdvance(false)));
    stepper.stop();
  }
}
