// Shared by the concurrency tests: bounded waits on observable results (never
// a bare sleep for correctness), a scriptable stepper and a counting unit.
#pragma once

#include <ZuPlatform/concurrency.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

namespace zutest {

using namespace ZuPlatform;
using namespace std::chrono_literals;

// True once done() holds; false if it still fails after ten seconds.
template <typename Done>
bool waitUntil(const Done& done) {
  for (int poll = 0; poll < 50000 && !done(); ++poll)
    std::this_thread::sleep_for(200us);
  return done();
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
  bool ends() const {
    return waitUntil([&] { return +finished; });
  }

  std::atomic<bool> finished{false};
  std::thread thread;  // after finished, which it uses
};

// Steps through body (go on, by default) and counts the steps. Change body
// only while stopped.
struct ScriptedStepper : StepperThread {
  std::function<bool(int)> body;
  std::atomic<int> steps{0};
  static inline std::atomic<int> stateAtEnd{-1};  // of the last one deleted

  ~ScriptedStepper() override { stateAtEnd = getThreadState(); }

  bool step() override { return body ? body(steps++) : ++steps > 0; }
  // Two more steps come; given false, none does in the time a worker has.
  bool stepsAdvance(bool advance = true) {
    const int before = steps;
    if (!advance) return settle(), steps == before;
    return waitUntil([&] { return steps > before + 1; });
  }
};

// Counts how its adds ended, after running onProcess or onAbort (which may
// throw or end the thread), and notes each end in log as "p<id> " or
// "a<id> ". Clear mayFinish to hold process back until it is set again.
struct CountingUnit : ThreadPool::WorkUnit {
  CountingUnit(int id = 0, std::string* log = nullptr) : id(id), log(log) {}
  void process() override { end(onProcess, processes, 'p'); }
  void abort() override { end(onAbort, aborts, 'a'); }
  void end(const std::function<void()>& hook, std::atomic<int>& n, char what) {
    if (what == 'p') entered = true, waitUntil([&] { return +mayFinish; });
    hook ? hook() : void(), n.fetch_add(1);
    static std::mutex logMutex;
    std::lock_guard<std::mutex> lock(logMutex);
    if (log) *log += what + std::to_string(id) + " ";
  }

  std::function<void()> onProcess, onAbort;  // set before the add
  std::atomic<bool> entered{false}, mayFinish{true};
  std::atomic<int> processes{0}, aborts{0};
  int id;
  std::string* log;
};

}  // namespace zutest
