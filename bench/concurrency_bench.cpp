// The thread pool against a plain mutex-and-condition-variable pool doing the
// same trivial work, and the stepper's pause round trip against an ungated
// mutex pause. Ratios are printed after the table.
#include <ZuPlatform/concurrency.h>
#include <benchmark/benchmark.h>

#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int UNITS = 200000;
constexpr unsigned int THREADS = 2;

// Opened by whichever unit brings the count to its target.
class Completion {
 public:
  void reset(int target) {
    count.store(0);
    goal = target;
    std::lock_guard<std::mutex> lock(mutex);
    done = false;
  }
  void countOne() {
    if (count.fetch_add(1, std::memory_order_acq_rel) + 1 != goal) return;
    std::lock_guard<std::mutex> lock(mutex);
    done = true;
    condition.notify_all();
  }
  void wait() {
    std::unique_lock<std::mutex> lock(mutex);
    condition.wait(lock, [this] { return done; });
  }

 private:
  alignas(64) std::atomic<int> count{0};
  int goal = 0;
  std::mutex mutex;
  std::condition_variable condition;
  bool done = false;
};

Completion completion;

class IncrementUnit : public ZuPlatform::ThreadPool::WorkUnit {
 public:
  void process() override { completion.countOne(); }
};

// The peer: one mutex, one condition variable, one deque of plain tasks.
struct Task {
  void run() { completion.countOne(); }
};

class BaselinePool {
 public:
  explicit BaselinePool(unsigned int count) {
    for (unsigned int i = 0; i < count; ++i)
      threads.emplace_back([this] { serve(); });
  }
  ~BaselinePool() {
    {
      std::lock_guard<std::mutex> lock(mutex);
      stopping = true;
    }
    condition.notify_all();
    for (auto& thread : threads) thread.join();
  }
  void add(Task* task) {
    {
      std::lock_guard<std::mutex> lock(mutex);
      queue.push_back(task);
    }
    condition.notify_one();
  }
  void add(const std::vector<Task*>& tasks) {
    {
      std::lock_guard<std::mutex> lock(mutex);
      queue.insert(queue.end(), tasks.begin(), tasks.end());
    }
    condition.notify_all();
  }

 private:
  void serve() {
    for (;;) {
      std::unique_lock<std::mutex> lock(mutex);
      condition.wait(lock, [this] { return stopping || !queue.empty(); });
      if (queue.empty()) return;
      Task* task = queue.front();
      queue.pop_front();
      lock.unlock();
      task->run();
    }
  }

  std::mutex mutex;
  std::condition_variable condition;
  std::deque<Task*> queue;
  bool stopping = false;
  std::vector<std::thread> threads;
};

void BM_ThreadPool_OneByOne(benchmark::State& state) {
  std::vector<IncrementUnit> units(UNITS);
  ZuPlatform::ThreadPool pool(THREADS);
  for (auto _ : state) {
    completion.reset(UNITS);
    for (auto& unit : units) pool.add(&unit);
    completion.wait();
  }
  for (auto& unit : units) unit.wait();
  state.SetItemsProcessed(state.iterations() * UNITS);
}

void BM_ThreadPool_Batch(benchmark::State& state) {
  std::vector<IncrementUnit> units(UNITS);
  std::vector<ZuPlatform::ThreadPool::WorkUnit*> batch;
  for (auto& unit : units) batch.push_back(&unit);
  ZuPlatform::ThreadPool pool(THREADS);
  for (auto _ : state) {
    completion.reset(UNITS);
    pool.add(batch);
    completion.wait();
  }
  for (auto& unit : units) unit.wait();
  state.SetItemsProcessed(state.iterations() * UNITS);
}

void BM_Baseline_OneByOne(benchmark::State& state) {
  std::vector<Task> tasks(UNITS);
  BaselinePool pool(THREADS);
  for (auto _ : state) {
    completion.reset(UNITS);
    for (auto& task : tasks) pool.add(&task);
    completion.wait();
  }
  state.SetItemsProcessed(state.iterations() * UNITS);
}

void BM_Baseline_Batch(benchmark::State& state) {
  std::vector<Task> tasks(UNITS);
  std::vector<Task*> batch;
  for (auto& task : tasks) batch.push_back(&task);
  BaselinePool pool(THREADS);
  for (auto _ : state) {
    completion.reset(UNITS);
    pool.add(batch);
    completion.wait();
  }
  state.SetItemsProcessed(state.iterations() * UNITS);
}

class InstantStepper : public ZuPlatform::StepperThread {
 public:
  bool step() override {
    steps.fetch_add(1, std::memory_order_relaxed);
    return true;
  }
  std::atomic<long> steps{0};
};

void BM_Stepper_PauseRoundTrip(benchmark::State& state) {
  InstantStepper stepper;
  stepper.start();
  for (auto _ : state) {
    stepper.pause(true);
    stepper.pause(false);
  }
  stepper.stop();
  state.counters["steps_per_round"] =
      static_cast<double>(stepper.steps.load()) / state.iterations();
}

// The peer: a worker that steps under one mutex and a pause that simply
// takes that mutex, with no gate to keep the worker from retaking it.
void BM_UngatedPause_RoundTrip(benchmark::State& state) {
  std::mutex stepMutex;
  std::atomic<bool> stopping{false};
  std::atomic<long> steps{0};
  std::thread worker([&] {
    while (!stopping.load(std::memory_order_relaxed)) {
      std::lock_guard<std::mutex> lock(stepMutex);
      steps.fetch_add(1, std::memory_order_relaxed);
    }
  });
  for (auto _ : state) {
    stepMutex.lock();
    stepMutex.unlock();
  }
  stopping = true;
  worker.join();
  state.counters["steps_per_round"] =
      static_cast<double>(steps.load()) / state.iterations();
}

BENCHMARK(BM_ThreadPool_OneByOne)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Baseline_OneByOne)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ThreadPool_Batch)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Baseline_Batch)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Stepper_PauseRoundTrip)->UseRealTime();
BENCHMARK(BM_UngatedPause_RoundTrip)->UseRealTime();

// Keeps each benchmark's real time per iteration so the ratios can be
// printed once the table is done. With repetitions the median stands for the
// benchmark; with --benchmark_report_aggregates_only it is all there is.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.iterations == 0) continue;
      const std::string& name = run.run_name.function_name;
      bool median =
          run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
      if (run.run_type == Run::RT_Aggregate && !median) continue;
      if (!median && medians.count(name) != 0) continue;
      if (median) medians.insert(name);
      seconds[name] =
          run.real_accumulated_time / static_cast<double>(run.iterations);
    }
  }

  void printRatio(const char* label, const std::string& ours,
                  const std::string& peer, double perIteration) const {
    auto o = seconds.find(ours);
    auto p = seconds.find(peer);
    if (o == seconds.end() || p == seconds.end()) return;
    printf("%-36s %12.0f vs %12.0f /s   time ratio %.2f\n", label,
           perIteration / o->second, perIteration / p->second,
           o->second / p->second);
  }

 private:
  std::map<std::string, double> seconds;
  std::set<std::string> medians;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  printf("\n%-36s %12s    %12s\n", "ours vs peer", "ours", "peer");
  reporter.printRatio("units, one by one (units/s)", "BM_ThreadPool_OneByOne",
                      "BM_Baseline_OneByOne", UNITS);
  reporter.printRatio("units, one batch (units/s)", "BM_ThreadPool_Batch",
                      "BM_Baseline_Batch", UNITS);
  reporter.printRatio("pause round trips (trips/s)",
                      "BM_Stepper_PauseRoundTrip", "BM_UngatedPause_RoundTrip",
                      1);
  benchmark::Shutdown();
  return 0;
}
