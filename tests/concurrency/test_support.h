// Shared by the concurrency tests: bounded waits on observable results (never
// a bare sleep for correctness), a scriptable stepper and a counting unit.
#ifndef ZUPLATFORM_TESTS_CONCURRENCY_TEST_SUPPORT_H
#define ZUPLATFORM_TESTS_CONCURRENCY_TEST_SUPPORT_H

#include <ZuPlatform/concurrency.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace zutest {

using namespace std::chrono_literals;
using namespace ZuPlatform;

// True once predicate holds; false if it still fails after ten seconds.
template <typename Predicate>
bool waitUntil(Predicate predicate) {
  for (int poll = 0; poll < 50000 && !predicate(); ++poll)
    std::this_thread::sleep_for(200us);
  return predicate();
}
// Gates that threads under test block on until the test sets them, and flags.
inline bool waitUntil(const std::atomic<bool>& flag) {
  return waitUntil([&] { return flag.load(); });
}

// Gives a blocked thread time to do something wrong: a check made after this
// can only catch a fault, never fail on a correct build.
inline void settle() { std::this_thread::sleep_for(20ms); }

// Runs body on a thread of its own, joined on destruction. blocked(): still
// running after being given time to return.
struct Background {
  explicit Background(std::function<void()> body)
      : thread([this, body] { body(), finished = true; }) {}
  ~Background() { thread.join(); }
  bool blocked() const { return settle(), !finished; }
  bool ends() const { return waitUntil(finished); }

  std::atomic<bool> finished{false};
  std::thread thread;  // after finished, which it uses
};

// The owner locks twice; another thread gets in only after both unlocks.
template <typename Lock>
void expectRecursive(Lock& lock) {
  ASSERT_EQ(lock.lock() + lock.lock(), 0);
  Background other([&] { lock.lock(), lock.unlock(); });
  lock.unlock();
  EXPECT_TRUE(other.blocked()) << "one unlock freed a lock taken twice";
  lock.unlock();
  EXPECT_TRUE(other.ends());
}

// Steps through body (go on, by default) and counts the steps and the changes
// of the thread that runs them. Change body only while stopped.
struct ScriptedStepper : StepperThread {
  std::function<bool(int)> body;
  std::atomic<int> steps{0}, workers{0};
  std::atomic<Zu::ZuThreadID> lastWorker{0};

  bool step() override {
    workers += lastWorker.exchange(Zu::ZuThreadGetID()) != Zu::ZuThreadGetID();
    const int index = steps.fetch_add(1);
    return body ? body(index) : true;
  }
  // Two more steps come; given false, none does in the time a worker has.
  bool stepsAdvance(bool advance = true) {
    const int before = steps;
    if (!advance) return settle(), steps == before;
    return waitUntil([&] { return steps > before + 1; });
  }
};

// What happened to logged units, in order: "p<id> " or "a<id> ". Read it once
// the threads that write it are done.
struct EventLog {
  std::mutex mutex;
  std::string text;
};

// Counts how its adds ended, after running onProcess or onAbort (which may
// throw), and notes each end in log if it has one. Clear mayFinish to hold
// process back until it is set again.
struct CountingUnit : ThreadPool::WorkUnit {
  explicit CountingUnit(EventLog* log = nullptr, int id = 0)
      : log(log), id(id) {}
  void process() override { end(onProcess, processes, 'p'); }
  void abort() override { end(onAbort, aborts, 'a'); }
  void end(const std::function<void()>& hook, std::atomic<int>& n, char what) {
    if (what == 'p') entered = true, waitUntil(mayFinish);
    if (hook) hook();
    n.fetch_add(1);
    if (!log) return;
    std::lock_guard<std::mutex> lock(log->mutex);
    log->text += what + std::to_string(id) + " ";
  }

  std::function<void()> onProcess, onAbort;  // set before the add
  std::atomic<bool> entered{false}, mayFinish{true};
  std::atomic<int> processes{0}, aborts{0};
  EventLog* log;
  int id;
};

}  // namespace zutest

#endif  // ZUPLATFORM_TESTS_CONCURRENCY_TEST_SUPPORT_H
