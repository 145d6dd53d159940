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
    std::string log;
    CountingUnit first(0, &log), one(1, &log), two(2, &log), three(3, &log);
    first.mayFinish = false;
    auto pool = std::make_unique<ThreadPool>(row.threads);
    pool->add(&first);  // keeps the others queued behind it
    ASSERT_TRUE(waitUntil([&] { return !row.threads || first.entered; }));
    pool->add({&one, &two});
    pool->add(nullptr);
    pool->add(&three);
    Background waiter([&] { three.wait(); });
    EXPECT_TRUE(waiter.blocked()) << "a unit went idle before its turn";
    if (row.drain) first.mayFinish = true, three.wait();
    Background destroyer([&] { pool.reset(); });
    EXPECT_TRUE(waiter.ends());
    EXPECT_TRUE(row.drain || !row.threads || destroyer.blocked());
    first.mayFinish = true;
    EXPECT_TRUE(destroyer.ends());
    EXPECT_EQ(log, row.events) << row.threads << row.drain;
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
    EXPECT_EQ(ended, adds) << "trial " << trial;
    for (auto& unit : units) EXPECT_EQ(unit.processes + unit.aborts, ROUNDS);
  }
}

// While the pool goes, an abort that adds puts its unit behind the queued
// ones, and the drain aborts it too; once the drain is over, adds from a
// running unit, singly or in a batch, are aborted on the spot and leave the
// queue lock free, so another thread's add still gets through. The destructor
// waits for the running unit, which makes that add safe.
TEST(ThreadPoolShutdown, AddsDuringShutdownEndInAbort) {
  std::string log;
  CountingUnit running(0, &log), queued(1, &log), fromAbort(2, &log),
      batchA(3, &log), batchB(4, &log), single(5, &log);
  auto pool = std::make_unique<ThreadPool>(1);
  ThreadPool* const shared = pool.get();
  queued.onAbort = [&] { shared->add(&fromAbort); };
  running.onProcess = [&] {
    waitUntil([&] { return queued.aborts == 1; });  // the drain holds the lock
    shared->add({&batchA, &batchB});
    std::thread([&] { shared->add(&single); }).join();
  };
  pool->add(&running);
  ASSERT_TRUE(waitUntil(running.entered));
  pool->add(&queued);
  pool.reset();
  EXPECT_EQ(log, "a1 a2 a3 a4 a5 p0 ");
}

// An exception out of a unit is reported and contained: the unit becomes idle
// and the pool thread, or the destructor's drain, goes on. A thread ended
// inside process is let go without a word: its unit becomes idle, the other
// threads serve on, and the destructor does not wait for the one that is gone.
TEST(ThreadPoolFailures, UnitsThatThrowOrEndTheirThreadBecomeIdle) {
  const struct {
    void (*fail)();
    unsigned int threads, threadsLeft;
    const char* stderrText;
  } rows[] = {
      {[] { throw std::runtime_error("no route"); }, 1, 1,
       "ThreadPool exception thrown in process: no route\n"},
      {[] { throw 3; }, 1, 1,
       "ThreadPool unknown exception thrown in process\n"},
      {[] { throw std::logic_error("bad state"); }, 0, 0,
       "ThreadPool exception thrown in abort: bad state\n"},
      {[] { throw "text"; }, 0, 0,
       "ThreadPool unknown exception thrown in abort\n"},
      {Zu::ZuThreadExit, 2, 1, ""},
      {cancelSelf, 1, 0, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    CountingUnit failing, after;
    (row.threads ? failing.onProcess : failing.onAbort) = row.fail;
    testing::internal::CaptureStderr();
    {
      ThreadPool pool(row.threads);
      pool.add(&failing);
      if (row.threads) failing.wait();
      pool.add(&after);
      if (row.threadsLeft) after.wait();
    }
    failing.wait();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.stderrText);
    EXPECT_EQ(row.threadsLeft ? after.processes : after.aborts, 1);
  }
}
