#include <ctime>

#include "concurrency/test_support.h"

using namespace zutest;

// Queued units run in queue order once the running one is done. If the pool
// goes first, it aborts them in that order while the running unit still runs,
// and returns once that one has finished by process. Without threads every
// unit waits in the queue until then.
TEST(ThreadPoolOrder, QueuedUnitsRunOrAreAbortedInQueueOrder) {
  const struct {
    unsigned int threads;
    bool drain;  // before the pool goes
    const char* events;
  } rows[] = {{1, true, "p0 p1 p2 p3 "},
              {1, false, "a1 a2 a3 p0 "},
              {0, false, "a0 a1 a2 a3 "}};
  for (const auto& row : rows) {
    EventLog log;
    CountingUnit first(&log, 0), one(&log, 1), two(&log, 2), three(&log, 3);
    first.mayFinish = false;
    auto pool = std::make_unique<ThreadPool>(row.threads);
    pool->add(&first);  // keeps the others queued behind it
    ASSERT_TRUE(waitUntil([&] { return !row.threads || first.entered; }));
    pool->add({&one, &two});
    pool->add(&three);
    Background waiter([&] { three.wait(); });
    EXPECT_TRUE(waiter.blocked()) << "a unit went idle before its turn";
    if (row.drain) first.mayFinish = true, three.wait();
    Background destroyer([&] { pool.reset(); });
    EXPECT_TRUE(waiter.ends());
    EXPECT_TRUE(row.drain || !row.threads || destroyer.blocked());
    first.mayFinish = true;
    EXPECT_TRUE(destroyer.ends());
    EXPECT_EQ(log.text, row.events);
  }
}

TEST(ThreadPoolUnits, ReAddingARunningUnitWaitsForItsRunToEnd) {
  CountingUnit unit;
  unit.mayFinish = false;
  ThreadPool pool(2);
  pool.add(&unit);
  ASSERT_TRUE(waitUntil(unit.entered));
  Background adder([&] { pool.add(&unit); });
  EXPECT_TRUE(adder.blocked()) << "add of a running unit did not wait";
  unit.mayFinish = true;
  EXPECT_TRUE(adder.ends());
  unit.wait();  // for the second run
  EXPECT_EQ(unit.processes, 2);
}

// Producers add the same units again and again, singly and in batches; half
// of the units add a fresh follow-up unit from process; the pool is destroyed
// while work is still queued and running. Every add ends in exactly one
// process or one abort.
TEST(ThreadPoolShutdown, EveryAddEndsInExactlyOneProcessOrAbort) {
  constexpr int PRODUCERS = 4, PER_PRODUCER = 16, ROUNDS = 40;
  for (int trial = 0; trial < 5; ++trial) {
    SCOPED_TRACE(trial);
    // Each spare is added once, so an add from process never waits.
    std::vector<CountingUnit> units(PRODUCERS * PER_PRODUCER),
        spares(units.size() / 2 * ROUNDS);
    std::atomic<int> adds{0}, nextSpare{0};
    auto pool = std::make_unique<ThreadPool>(3);
    ThreadPool* const shared = pool.get();  // reset() clears pool first
    for (size_t i = 0; i < units.size(); i += 2)
      units[i].onProcess = [&] { ++adds, shared->add(&spares[nextSpare++]); };
    std::vector<std::thread> producers;
    for (int p = 0; p < PRODUCERS; ++p)
      producers.emplace_back([&, p] {
        std::vector<ThreadPool::WorkUnit*> batch;
        for (int u = 0; u < PER_PRODUCER; ++u)
          batch.push_back(&units[p * PER_PRODUCER + u]);
        for (int round = 0; round < ROUNDS; ++round) {
          adds += PER_PRODUCER;
          if (round % 2) shared->add(batch);
          for (auto* unit : batch) round % 2 ? void() : shared->add(unit);
        }
      });
    for (auto& producer : producers) producer.join();
    pool.reset();  // while units still run and add their follow-ups
    int ended = PRODUCERS * PER_PRODUCER * ROUNDS;  // as checked below
    for (auto& unit : spares) ended += unit.processes + unit.aborts;
    EXPECT_EQ(ended, adds);
    for (auto& unit : units) EXPECT_EQ(unit.processes + unit.aborts, ROUNDS);
  }
}

// Threads that run out of work stay awake only briefly: once the last unit
// is done, the pool uses next to no processor time until the next add.
TEST(ThreadPoolUnits, ThreadsWithNothingToDoGoToSleep) {
  CountingUnit unit;
  ThreadPool pool(2);
  pool.add(&unit), unit.wait();
  settle();
  const std::clock_t before = std::clock();  // processor time of all threads
  std::this_thread::sleep_for(300ms);
  EXPECT_LT((std::clock() - before) * 1000.0 / CLOCKS_PER_SEC, 30.0)
      << "idle pool threads kept the processor busy (ms of CPU in 300 ms)";
}

// The pool thread survives to process what follows; with no thread, the drain
// at destruction goes on past a throwing abort. Either way the unit is idle.
TEST(ThreadPoolFailures, ExceptionsOutOfUnitsAreReportedAndContained) {
  const struct {
    void (*thrower)();
    const char* stderrText;  // names where it was thrown
  } rows[] = {
      {[] { throw std::runtime_error("no route"); },
       "ThreadPool exception thrown in process: no route\n"},
      {[] { throw 3; }, "ThreadPool unknown exception thrown in process\n"},
      {[] { throw std::logic_error("bad state"); },
       "ThreadPool exception thrown in abort: bad state\n"},
      {[] { throw "text"; }, "ThreadPool unknown exception thrown in abort\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.stderrText);
    const bool inProcess = std::strstr(row.stderrText, "process");
    CountingUnit first, second, after;
    for (auto* unit : {&first, &second})
      (inProcess ? unit->onProcess : unit->onAbort) = row.thrower;
    testing::internal::CaptureStderr();
    {
      ThreadPool pool(inProcess ? 1 : 0);
      for (auto* unit : {&first, &second, &after})
        pool.add(unit), inProcess ? unit->wait() : void();
    }
    for (auto* unit : {&first, &second}) unit->wait();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string(row.stderrText) + row.stderrText);
    EXPECT_EQ(inProcess ? after.processes : after.aborts, 1);
  }
}
