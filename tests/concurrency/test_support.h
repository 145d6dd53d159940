// Shared by the concurrency tests: bounded waits on observable results (never
// a bare sleep for correctness), a scriptable stepper and a counting unit.
#ifndef ZUPLATFORM_TESTS_CONCURRENCY_TEST_SUPPORT_H
#define ZUPLATFORM_TESTS_CONCURRENCY_TEST_SUPPORT_H

#include <ZuPlatform/concurrency.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace zutest {

// True once predicate holds; false if it still fails after ten seconds.
template <typename Predicate>
bool waitUntil(Predicate predicate) {
  for (int poll = 0; poll < 50000 && !predicate(); ++poll) {
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  return predicate();
}

// Gives a blocked thread time to do something wrong: a check made after this
// can only catch a fault, never fail on a correct build.
inline void settle() {
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

// A one-shot gate that threads under test block on until the test opens it.
struct Gate {
  std::atomic<bool> opened{false};
  void open() { opened = true; }
  void pass() const {
    waitUntil([this] { return opened.load(); });
  }
};

// Runs body on a thread of its own, joined on destruction.
class Background {
 public:
  explicit Background(std::function<void()> body)
      : thread([this, body] {
          body();
          finished = true;
        }) {}
  ~Background() { thread.join(); }
  // Still running after being given time to return.
  bool blocked() const { return settle(), !finished; }
  bool ends() const {
    return waitUntil([this] { return finished.load(); });
  }

  std::atomic<bool> finished{false};
  std::thread thread;  // after finished, which it uses
};

// The owner locks twice; another thread gets in only after both unlocks.
template <typename Lock>
void expectRecursive(Lock& lock) {
  ASSERT_EQ(lock.lock(), 0);
  ASSERT_EQ(lock.lock(), 0);
  Background other([&] {
    lock.lock();
    lock.unlock();
  });
  lock.unlock();
  EXPECT_TRUE(other.blocked()) << "one unlock freed a lock taken twice";
  lock.unlock();
  EXPECT_TRUE(other.ends());
}

// Steps through body (go on, by default) and counts the steps and the changes
// of the thread that runs them. Change body only while stopped.
class ScriptedStepper : public ZuPlatform::StepperThread {
 public:
  std::function<bool(int)> body;
  std::atomic<int> steps{0}, workers{0};
  std::atomic<Zu::ZuThreadID> lastWorker{0};

  bool step() override {
    if (lastWorker.exchange(Zu::ZuThreadGetID()) != Zu::ZuThreadGetID()) {
      workers.fetch_add(1);
    }
    const int index = steps.fetch_add(1);
    return body ? body(index) : true;
  }
  bool stepsAdvance() {
    const int before = steps;
    return waitUntil([&] { return steps > before + 1; });
  }
  bool stepsFrozen() {
    const int before = steps;
    return settle(), steps == before;
  }
};

// What happened to logged units, in order: "p<id> " or "a<id> ". Read text
// once the threads that write it are done.
struct EventLog {
  std::mutex mutex;
  std::string text;
  void note(char what, int id) {
    std::lock_guard<std::mutex> lock(mutex);
    text += what + std::to_string(id) + " ";
  }
};

// Counts how its adds ended, after running onProcess or onAbort (which may
// block or throw), and notes each end in log if it has one.
class CountingUnit : public ZuPlatform::ThreadPool::WorkUnit {
 public:
  explicit CountingUnit(EventLog* log = nullptr, int id = 0)
      : log(log), id(id) {}
  void process() override {
    entered = true;
    if (onProcess) onProcess();
    processes.fetch_add(1);
    if (log) log->note('p', id);
  }
  void abort() override {
    if (onAbort) onAbort();
    aborts.fetch_add(1);
    if (log) log->note('a', id);
  }
  int ends() const { return processes + aborts; }

  std::function<void()> onProcess, onAbort;  // set before the add
  std::atomic<bool> entered{false};
  std::atomic<int> processes{0}, aborts{0};
  EventLog* log;
  int id;
};

}  // namespace zutest

#endif  // ZUPLATFORM_TESTS_CONCURRENCY_TEST_SUPPORT_H
