#include <time.h>

#include "concurrency/test_support.h"

using ZuPlatform::ThreadPool;
using namespace zutest;

TEST(ThreadPoolOrder, OneThreadRunsUnitsInQueueOrder) {
  for (bool asBatch : {false, true}) {
    EventLog log;
    Gate mayFinish;
    CountingUnit blocker(&log, 0), one(&log, 1), two(&log, 2), three(&log, 3);
    blocker.onProcess = [&] { mayFinish.pass(); };
    {
      ThreadPool pool(1);
      pool.add(&blocker);  // keeps the others queued behind it
      ASSERT_TRUE(waitUntil([&] { return blocker.entered.load(); }));
      if (asBatch) pool.add({&one, &two, &three});
      for (CountingUnit* unit : {&one, &two, &three}) {
        if (!asBatch) pool.add(unit);
      }
      mayFinish.open();
      three.wait();
    }
    EXPECT_EQ(log.text, "p0 p1 p2 p3 ") << "batch: " << asBatch;
  }
}

TEST(ThreadPoolUnits, ReAddingARunningUnitWaitsForItsRunToEnd) {
  Gate mayFinish;
  CountingUnit unit;
  unit.onProcess = [&] { mayFinish.pass(); };
  ThreadPool pool(2);
  pool.add(&unit);
  ASSERT_TRUE(waitUntil([&] { return unit.entered.load(); }));
  {
    Background adder([&] { pool.add(&unit); });
    EXPECT_TRUE(adder.blocked()) << "add of a running unit did not wait";
    mayFinish.open();
    EXPECT_TRUE(adder.ends());
  }
  EXPECT_TRUE(waitUntil([&] { return unit.processes == 2; }));
  unit.wait();
  EXPECT_EQ(unit.aborts, 0);
}

// Queued units are aborted in queue order while a running unit still runs;
// that one finishes by process before the destructor returns. Without threads
// every unit waits in the queue until then.
TEST(ThreadPoolShutdown, AbortsQueuedUnitsAndWaitsForTheRunningOne) {
  for (unsigned int threads : {0u, 1u}) {
    EventLog log;
    Gate mayFinish;
    CountingUnit first(&log, 0), one(&log, 1), two(&log, 2), three(&log, 3);
    first.onProcess = [&] { mayFinish.pass(); };
    auto pool = std::make_unique<ThreadPool>(threads);
    EXPECT_EQ(pool->getThreadCount(), threads);
    pool->add(&first);
    ASSERT_TRUE(waitUntil([&] { return !threads || first.entered; }));
    pool->add({&one, &two});
    pool->add(&three);
    Background waiter([&] { three.wait(); });
    EXPECT_TRUE(waiter.blocked()) << "a unit went idle before its turn";
    Background destroyer([&] { pool.reset(); });
    EXPECT_TRUE(waiter.ends());
    EXPECT_TRUE(!threads || destroyer.blocked()) << "did not wait for process";
    mayFinish.open();
    EXPECT_TRUE(destroyer.ends());
    EXPECT_EQ(log.text, threads ? "a1 a2 a3 p0 " : "a0 a1 a2 a3 ");
  }
}

// Producers add the same units again and again, singly and in batches; half
// of the units add a fresh follow-up unit from process; the pool is destroyed
// while work is still queued and running. Every add ends in exactly one
// process or one abort.
TEST(ThreadPoolShutdown, EveryAddEndsInExactlyOneProcessOrAbort) {
  constexpr int PRODUCERS = 4, UNITS_PER_PRODUCER = 16, ROUNDS = 40;
  constexpr int UNITS = PRODUCERS * UNITS_PER_PRODUCER;
  for (int trial = 0; trial < 5; ++trial) {
    SCOPED_TRACE(trial);
    // Each spare is added once, so an add from process never waits.
    std::vector<CountingUnit> units(UNITS), spares(UNITS / 2 * ROUNDS);
    std::atomic<int> adds{0}, nextSpare{0};
    auto pool = std::make_unique<ThreadPool>(3);
    ThreadPool* const shared = pool.get();  // reset() clears pool first
    for (int i = 0; i < UNITS; i += 2) {
      units[i].onProcess = [&] {
        adds.fetch_add(1);
        shared->add(&spares[nextSpare.fetch_add(1)]);
      };
    }
    std::vector<std::thread> producers;
    for (int p = 0; p < PRODUCERS; ++p) {
      producers.emplace_back([&, p] {
        for (int round = 0; round < ROUNDS; ++round) {
          std::vector<ThreadPool::WorkUnit*> batch;
          for (int u = 0; u < UNITS_PER_PRODUCER; ++u) {
            adds.fetch_add(1);
            batch.push_back(&units[p * UNITS_PER_PRODUCER + u]);
            if (round % 2 == 0) shared->add(batch.back());
          }
          if (round % 2 == 1) shared->add(batch);
        }
      });
    }
    for (auto& producer : producers) producer.join();
    pool.reset();  // while units still run and add their follow-ups
    int ended = 0;
    for (auto* list : {&units, &spares}) {
      for (auto& unit : *list) ended += unit.ends();
    }
    EXPECT_EQ(ended, adds);
    for (auto& unit : units) EXPECT_EQ(unit.ends(), ROUNDS);
  }
}

// Threads that run out of work stay awake only briefly: once the last unit
// is done, the pool uses next to no processor time until the next add.
TEST(ThreadPoolUnits, ThreadsWithNothingToDoGoToSleep) {
  auto cpuMilliseconds = [] {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return now.tv_sec * 1000.0 + now.tv_nsec / 1e6;
  };
  CountingUnit unit;
  ThreadPool pool(2);
  pool.add(&unit);
  unit.wait();
  settle();
  double before = cpuMilliseconds();
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_LT(cpuMilliseconds() - before, 30.0)
      << "idle pool threads kept the processor busy (ms of CPU in 300 ms)";
}

// The pool thread survives to process what follows; with no thread, the drain
// at destruction goes on past a throwing abort. Either way the unit is idle.
TEST(ThreadPoolFailures, ExceptionsOutOfUnitsAreReportedAndContained) {
  struct Row {
    bool inProcess;  // else in abort
    void (*thrower)();
    const char* stderrText;
  };
  const Row rows[] = {
      {true, [] { throw std::runtime_error("no route"); },
       "ThreadPool exception thrown in process: no route\n"},
      {true, [] { throw 3; },
       "ThreadPool unknown exception thrown in process\n"},
      {false, [] { throw std::logic_error("bad state"); },
       "ThreadPool exception thrown in abort: bad state\n"},
      {false, [] { throw "text"; },
       "ThreadPool unknown exception thrown in abort\n"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.stderrText);
    EventLog log;
    CountingUnit thrower, secondThrower, after(&log, 1);
    for (CountingUnit* unit : {&thrower, &secondThrower}) {
      (row.inProcess ? unit->onProcess : unit->onAbort) = row.thrower;
    }
    testing::internal::CaptureStderr();
    {
      ThreadPool pool(row.inProcess ? 1 : 0);
      for (CountingUnit* unit : {&thrower, &secondThrower, &after}) {
        pool.add(unit);
        if (row.inProcess) unit->wait();
      }
    }
    thrower.wait();
    secondThrower.wait();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string(row.stderrText) + row.stderrText);
    EXPECT_EQ(log.text, row.inProcess ? "p1 " : "a1 ");
  }
}
