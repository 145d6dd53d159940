// A message the threshold drops, against the indirect call it should cost;
// the allocator table's entry points against malloc and free themselves.
#include <ZuPlatform/diagnostics.h>
#include <ZuPlatform/memory.h>
#include <benchmark/benchmark.h>

#include <cstdlib>

namespace {

// The indirect call every message pays: an empty function behind a pointer
// the compiler cannot see through.
void emptyFunction(int, const char*) {}
void (*volatile emptyTarget)(int, const char*) = emptyFunction;

void filteredTrace(benchmark::State& state) {
  Zu::LogSetLevel(Zu::LOG_LEVEL_DEBUG);
  for (auto _ : state) Zu::LogTrace("dropped %d", 1);
}

void indirectEmptyCall(benchmark::State& state) {
  for (auto _ : state) emptyTarget(6, "dropped %d");
}

BENCHMARK(filteredTrace);
BENCHMARK(indirectEmptyCall);

void tableCreateDestroy(benchmark::State& state) {
  const unsigned long size = state.range(0);
  for (auto _ : state) {
    void* block = KaMemoryAPI_create(size);
    benchmark::DoNotOptimize(block);
    KaMemoryAPI_destroy(block);
  }
}

void mallocFree(benchmark::State& state) {
  const size_t size = state.range(0);
  for (auto _ : state) {
    void* block = malloc(size);
    benchmark::DoNotOptimize(block);
    free(block);
  }
}

void tableCreateDestroyAligned(benchmark::State& state) {
  const unsigned long size = state.range(0);
  for (auto _ : state) {
    void* block = KaMemoryAPI_createAligned(size, 64);
    benchmark::DoNotOptimize(block);
    KaMemoryAPI_destroyAligned(block);
  }
}

BENCHMARK(tableCreateDestroy)->Arg(32)->Arg(4096);
BENCHMARK(mallocFree)->Arg(32)->Arg(4096);
BENCHMARK(tableCreateDestroyAligned)->Arg(32)->Arg(4096);

}  // namespace

BENCHMARK_MAIN();
