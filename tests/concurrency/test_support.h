// Bounded waits shared by the concurrency tests: every wait on another thread
// polls an observable result against a deadline, never a bare sleep.
#ifndef ZUPLATFORM_TESTS_CONCURRENCY_TEST_SUPPORT_H
#define ZUPLATFORM_TESTS_CONCURRENCY_TEST_SUPPORT_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace zutest {

constexpr std::chrono::seconds WAIT_LIMIT{10};

// True once predicate holds; false if it still fails after limit.
template <typename Predicate>
bool waitUntil(Predicate predicate,
               std::chrono::milliseconds limit = WAIT_LIMIT) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!predicate()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  return true;
}

// Gives a blocked thread time to do something wrong: a check made after this
// can only catch a fault, never cause a failure on a correct build.
inline void settle() {
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

// A one-shot gate that threads under test block on until the test opens it.
class Gate {
 public:
  void open() {
    std::lock_guard<std::mutex> lock(mutex);
    opened = true;
    condition.notify_all();
  }
  void pass() {
    std::unique_lock<std::mutex> lock(mutex);
    condition.wait(lock, [this] { return opened; });
  }

 private:
  std::mutex mutex;
  std::condition_variable condition;
  bool opened = false;
};

}  // namespace zutest

#endif  // ZUPLATFORM_TESTS_CONCURRENCY_TEST_SUPPORT_H
