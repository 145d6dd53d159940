#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <memory>
#include <vector>

#include "concurrency/test_support.h"

using namespace zutest;

// Queued units run in queue order once the running one is done. If the pool
// goes first, it aborts them in that order while the running unit still runs,
// and returns once that one has finished by process. Without threads every
// unit waits in the queue until then. A signal to a waiter leaves it waiting.
TEST(ThreadPoolOrder, QueuedUnitsRunOrAreAbortedInQueueOrder) {
  const std::tuple<unsigned int, bool, const char*> rows[] = {
      {1, true, "p0 p1 p2 p3 "},  // with the units run before the pool goes
      {1, false, "a1 a2 a3 p0 "},
      {0, false, "a0 a1 a2 a3 "}};
  for (auto [threads, drain, events] : rows) {
    std::string log;
    CountingUnit first(0, &log), one(1, &log), two(2, &log), three(3, &log);
    first.mayFinish = false;
    auto pool = std::make_unique<ThreadPool>(threads);
    pool->add(&first);  // keeps the others queued behind it
    ASSERT_TRUE(waitUntil([&] { return !threads || first.entered; }));
    pool->add({&one, &two}), pool->add(nullptr), pool->add(&three);
    sysv_signal(SIGUSR1, [](int) {});  // no SA_RESTART: sem_wait sees EINTR
    Background waiter([&] { three.wait(); });
    settle(), pthread_kill(waiter.thread.native_handle(), SIGUSR1);
    EXPECT_TRUE(waiter.blocked()) << "a unit went idle before its turn";
    if (drain) first.mayFinish = true, three.wait();
    Background destroyer([&] { pool.reset(); });
    EXPECT_TRUE(waiter.ends() && (drain || !threads || destroyer.blocked()));
    first.mayFinish = true;
    EXPECT_TRUE(destroyer.ends() && log == events) << threads << drain << log;
  }
}

// While the pool goes, an abort that adds puts its unit behind the queued
// ones, and the drain aborts it too. Once the drain is over, adds from a
// running unit, in a batch or singly, are aborted on the spot and leave the
// queue lock free for another thread: the destructor waits for the running
// unit, so that thread's add is safe.
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
  ASSERT_TRUE(waitUntil([&] { return running.entered.load(); }));
  pool->add(&queued), pool.reset();
  EXPECT_EQ(log, "a1 a2 a3 a4 a5 p0 ");
}

// An exception out of a unit is reported and contained: the unit becomes idle
// and the pool thread, or the destructor's drain, goes on. A thread ended
// inside process is let go without a word: its unit becomes idle, the other
// threads serve on, and the destructor does not wait for the one that is gone.
TEST(ThreadPoolFailures, UnitsThatThrowOrEndTheirThreadBecomeIdle) {
  const std::tuple<void (*)(), unsigned int, unsigned int, const char*> rows[] =
      {{[] { throw std::runtime_error("no route"); }, 1, 1,
        "ThreadPool exception thrown in process: no route\n"},
       {[] { throw "text"; }, 0, 0,
        "ThreadPool unknown exception thrown in abort\n"},
       {Zu::ZuThreadExit, 2, 1, ""}};
  for (auto [fail, threads, threadsLeft, stderrText] : rows) {
    CountingUnit failing, after;
    (threads ? failing.onProcess : failing.onAbort) = fail;
    testing::internal::CaptureStderr();
    {
      ThreadPool pool(threads);
      pool.add(&failing), threads ? failing.wait() : void();
      pool.add(&after), threadsLeft ? after.wait() : void();
    }
    failing.wait();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), stderrText);
    EXPECT_EQ(threadsLeft ? after.processes : after.aborts, 1) << threads;
  }
}

// Four producers feed a pool of three, singly and in batches of two, round
// after round: every add ends exactly once, by process, whatever the
// interleaving.
TEST(ThreadPoolLoad, EveryAddEndsExactlyOnceByProcess) {
  const int perProducer = 1000, rounds = 10;
  std::unique_ptr<CountingUnit[]> units(new CountingUnit[4 * perProducer]);
  {
    ThreadPool pool(3);
    for (int round = 0; round < rounds; ++round) {
      std::vector<std::thread> producers;
      for (int first = 0; first < 4 * perProducer; first += perProducer) {
        producers.emplace_back([&, first] {
          for (int i = first; i < first + perProducer; i += 4) {
            pool.add(&units[i]), pool.add(&units[i + 1]);
            pool.add({&units[i + 2], &units[i + 3]});
          }
        });
      }
      for (std::thread& producer : producers) producer.join();
      for (int i = 0; i < 4 * perProducer; ++i) units[i].wait();
    }
  }
  for (int i = 0; i < 4 * perProducer; ++i) {
    ASSERT_EQ(units[i].processes * 100 + units[i].aborts, rounds * 100)
        << "unit " << i;
  }
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// Leaves no room for another thread's stack, then exits with whether
// creating one gave 0.
void createWithoutRoom() {
  unsigned long pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  const rlim_t room = (pages + 256) * sysconf(_SC_PAGESIZE);
  const struct rlimit limit = {room, room};
  setrlimit(RLIMIT_AS, &limit);
  exit(Zu::ZuThreadCreate([](void*) -> void* { return nullptr; }, nullptr));
}

// A thread that cannot be created gives 0. In a fresh process, with no freed
// stack cached to reuse; not under a sanitizer, whose reservations leave no
// address space to limit.
TEST(NativeThreads, ACreationThatFailsGivesZero) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(createWithoutRoom(), testing::ExitedWithCode(0), "");
}
#endif
