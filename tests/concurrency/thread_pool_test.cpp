#include <ZuPlatform/concurrency.h>
#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "concurrency/test_support.h"

using ZuPlatform::ThreadPool;
using zutest::settle;
using zutest::waitUntil;

namespace {

// What happened to the units, in order, as "p<id>" and "a<id>".
class EventLog {
 public:
  void note(char what, int id) {
    std::lock_guard<std::mutex> lock(mutex);
    events.push_back(what + std::to_string(id));
  }
  std::vector<std::string> read() {
    std::lock_guard<std::mutex> lock(mutex);
    return events;
  }

 private:
  std::mutex mutex;
  std::vector<std::string> events;
};

class LoggedUnit : public ThreadPool::WorkUnit {
 public:
  LoggedUnit(EventLog& log, int id) : log(log), id(id) {}
  void process() override {
    processes.fetch_add(1);
    log.note('p', id);
  }
  void abort() override {
    aborts.fetch_add(1);
    log.note('a', id);
  }
  std::atomic<int> processes{0};
  std::atomic<int> aborts{0};

 private:
  EventLog& log;
  int id;
};

// A unit whose process blocks until the test lets it go.
class BlockingUnit : public LoggedUnit {
 public:
  using LoggedUnit::LoggedUnit;
  void process() override {
    entered = true;
    mayFinish.pass();
    LoggedUnit::process();
  }
  std::atomic<bool> entered{false};
  zutest::Gate mayFinish;
};

using Events = std::vector<std::string>;

}  // namespace

TEST(ThreadPoolOrder, OneThreadRunsUnitsInQueueOrder) {
  for (bool asBatch : {false, true}) {
    EventLog log;
    BlockingUnit blocker(log, 0);
    LoggedUnit one(log, 1), two(log, 2), three(log, 3);
    {
      ThreadPool pool(1);
      pool.add(&blocker);  // keeps the three queued behind it
      ASSERT_TRUE(waitUntil([&] { return blocker.entered.load(); }));
      if (asBatch) {
        pool.add({&one, &two, &three});
      } else {
        pool.add(&one);
        pool.add(&two);
        pool.add(&three);
      }
      blocker.mayFinish.open();
      three.wait();
    }
    EXPECT_EQ(log.read(), (Events{"p0", "p1", "p2", "p3"})) << asBatch;
  }
}

TEST(ThreadPoolUnits, ReAddingARunningUnitWaitsForItsRunToEnd) {
  EventLog log;
  BlockingUnit unit(log, 7);
  ThreadPool pool(2);
  pool.add(&unit);
  ASSERT_TRUE(waitUntil([&] { return unit.entered.load(); }));

  std::atomic<bool> secondAddReturned{false};
  std::thread adder([&] {
    pool.add(&unit);
    secondAddReturned = true;
  });
  settle();
  EXPECT_FALSE(secondAddReturned) << "add of a running unit did not wait";
  unit.mayFinish.open();
  adder.join();
  EXPECT_TRUE(waitUntil([&] { return unit.processes.load() == 2; }));
  unit.wait();
  EXPECT_EQ(unit.aborts.load(), 0);
}

TEST(ThreadPoolShutdown, ZeroThreadsKeepUnitsQueuedUntilDestruction) {
  EventLog log;
  LoggedUnit one(log, 1), two(log, 2);
  std::atomic<bool> waited{false};
  std::thread waiter;
  {
    ThreadPool pool(0);
    EXPECT_EQ(pool.getThreadCount(), 0u);
    pool.add(&one);
    pool.add(&two);
    waiter = std::thread([&] {
      two.wait();
      waited = true;
    });
    settle();
    EXPECT_FALSE(waited) << "a unit of a pool without threads went idle";
  }
  waiter.join();
  EXPECT_EQ(log.read(), (Events{"a1", "a2"}));
}

// The running unit finishes by process; the queued ones are aborted in queue
// order while it still runs, and nothing is aborted that began process.
TEST(ThreadPoolShutdown, AbortsQueuedUnitsAndWaitsForTheRunningOne) {
  EventLog log;
  BlockingUnit running(log, 0);
  LoggedUnit one(log, 1), two(log, 2), three(log, 3);
  auto pool = std::make_unique<ThreadPool>(1);
  pool->add(&running);
  ASSERT_TRUE(waitUntil([&] { return running.entered.load(); }));
  pool->add({&one, &two});
  pool->add(&three);

  std::atomic<bool> destroyed{false};
  std::thread destroyer([&] {
    pool.reset();
    destroyed = true;
  });
  ASSERT_TRUE(waitUntil([&] { return three.aborts.load() == 1; }));
  settle();
  EXPECT_FALSE(destroyed) << "the destructor did not wait for process";
  running.mayFinish.open();
  destroyer.join();
  for (LoggedUnit* unit : {&one, &two, &three}) unit->wait();
  EXPECT_EQ(log.read(), (Events{"a1", "a2", "a3", "p0"}));
}

namespace {

struct FollowUps;

// Counts how each of its adds ended; with follow-ups set, its process adds a
// fresh unit to the pool.
class CountingUnit : public ThreadPool::WorkUnit {
 public:
  void process() override;
  void abort() override { aborts.fetch_add(1); }
  std::atomic<int> processes{0};
  std::atomic<int> aborts{0};
  FollowUps* followUps = nullptr;
};

struct FollowUps {
  ThreadPool* pool = nullptr;
  std::atomic<int>* adds = nullptr;
  std::atomic<int> next{0};
  // Each spare is added once, so an add from process never waits.
  std::vector<std::unique_ptr<CountingUnit>> spares;
};

void CountingUnit::process() {
  processes.fetch_add(1);
  if (followUps == nullptr) return;
  followUps->adds->fetch_add(1);
  followUps->pool->add(followUps->spares[followUps->next.fetch_add(1)].get());
}

}  // namespace

// Exactly once: producers add units (the same units again and again), half
// of the units add a fresh follow-up unit from process, and the pool is
// destroyed while work is still queued and running. Every add ends in one
// process or one abort.
TEST(ThreadPoolShutdown, EveryAddEndsInExactlyOneProcessOrAbort) {
  constexpr int PRODUCERS = 4;
  constexpr int UNITS_PER_PRODUCER = 16;
  constexpr int ROUNDS = 40;
  constexpr int UNITS = PRODUCERS * UNITS_PER_PRODUCER;

  for (int trial = 0; trial < 5; ++trial) {
    auto pool = std::make_unique<ThreadPool>(3);
    std::atomic<int> adds{0};
    FollowUps followUps;
    followUps.pool = pool.get();
    followUps.adds = &adds;
    for (int i = 0; i < UNITS * ROUNDS; ++i)
      followUps.spares.push_back(std::make_unique<CountingUnit>());
    std::vector<std::unique_ptr<CountingUnit>> units;
    for (int i = 0; i < UNITS; ++i) {
      units.push_back(std::make_unique<CountingUnit>());
      if (i % 2 == 0) units.back()->followUps = &followUps;
    }

    std::vector<std::thread> producers;
    for (int p = 0; p < PRODUCERS; ++p) {
      producers.emplace_back([&, p] {
        for (int round = 0; round < ROUNDS; ++round) {
          std::vector<ThreadPool::WorkUnit*> batch;
          for (int u = 0; u < UNITS_PER_PRODUCER; ++u) {
            CountingUnit* unit = units[p * UNITS_PER_PRODUCER + u].get();
            adds.fetch_add(1);
            if (round % 2 == 0) {
              pool->add(unit);
            } else {
              batch.push_back(unit);
            }
          }
          if (!batch.empty()) pool->add(batch);
        }
      });
    }
    for (auto& producer : producers) producer.join();
    pool.reset();  // while units still run and add their follow-ups

    int ended = 0;
    for (auto* list : {&units, &followUps.spares}) {
      for (auto& unit : *list) {
        ASSERT_LE(unit->processes + unit->aborts, ROUNDS);
        ended += unit->processes + unit->aborts;
      }
    }
    EXPECT_EQ(ended, adds.load()) << "trial " << trial;
    for (auto& unit : units) ASSERT_EQ(unit->processes + unit->aborts, ROUNDS);
  }
}

TEST(ThreadPoolFailures, ExceptionsOutOfUnitsAreReportedAndContained) {
  struct Row {
    const char* name;
    bool inProcess;  // else in abort
    std::function<void()> thrower;
    const char* stderrText;
  };
  const std::vector<Row> rows = {
      {"process, standard", true, [] { throw std::runtime_error("no route"); },
       "ThreadPool exception thrown in process: no route\n"},
      {"process, other", true, [] { throw 3; },
       "ThreadPool unknown exception thrown in process\n"},
      {"abort, standard", false, [] { throw std::logic_error("bad state"); },
       "ThreadPool exception thrown in abort: bad state\n"},
      {"abort, other", false, [] { throw "text"; },
       "ThreadPool unknown exception thrown in abort\n"},
  };
  class ThrowingUnit : public ThreadPool::WorkUnit {
   public:
    explicit ThrowingUnit(const Row& row) : row(row) {}
    void process() override {
      if (row.inProcess) row.thrower();
    }
    void abort() override {
      if (!row.inProcess) row.thrower();
    }
    const Row& row;
  };
  for (const Row& row : rows) {
    EventLog log;
    ThrowingUnit thrower(row), secondThrower(row);
    LoggedUnit after(log, 1);
    testing::internal::CaptureStderr();
    {
      // One thread: it must survive the throw to process what follows. With
      // no thread the units are aborted at destruction, the drain going on
      // past a throwing abort.
      ThreadPool pool(row.inProcess ? 1 : 0);
      pool.add(&thrower);
      if (row.inProcess) thrower.wait();
      pool.add(&secondThrower);
      pool.add(&after);
      if (row.inProcess) after.wait();
    }
    thrower.wait();  // idle again: the semaphore was released
    secondThrower.wait();
    const std::string text = testing::internal::GetCapturedStderr();
    EXPECT_EQ(text, std::string(row.stderrText) + row.stderrText) << row.name;
    EXPECT_EQ(log.read(), (Events{row.inProcess ? "p1" : "a1"})) << row.name;
  }
}
