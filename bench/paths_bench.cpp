// The path normalisers next to the literal search-and-replace model and to
// std::filesystem, in one run. The hostile cases report bytes per second, so
// a linear normaliser shows a flat rate from 1 KiB to 1 MiB while the model's
// rate falls with the length.
#include <ZuPlatform/paths.h>
#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "../tests/support/path_model.h"

namespace {

const std::string TYPICAL = "/usr/local/lib/../share/./doc/pkg/";

// "/./x/.././x/../..." cut to length: every step of the model finds work
// near the front and shifts the whole rest of the text.
std::string hostilePath(size_t length) {
  std::string text = "/";
  while (text.size() < length) text += "./x/../";
  text.resize(length);
  return text;
}

void directoryTypical(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(ZuPlatform::Directory(TYPICAL));
  }
  state.SetBytesProcessed(state.iterations() * TYPICAL.size());
}

void fileTypical(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(ZuPlatform::File(TYPICAL));
  }
  state.SetBytesProcessed(state.iterations() * TYPICAL.size());
}

void modelTypical(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(pathmodel::directory(TYPICAL, "/"));
  }
  state.SetBytesProcessed(state.iterations() * TYPICAL.size());
}

void lexicallyNormalTypical(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::filesystem::path(TYPICAL).lexically_normal());
  }
  state.SetBytesProcessed(state.iterations() * TYPICAL.size());
}

void directoryHostile(benchmark::State& state) {
  std::string text = hostilePath(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(ZuPlatform::Directory(text));
  }
  state.SetBytesProcessed(state.iterations() * text.size());
}

void fileHostile(benchmark::State& state) {
  std::string text = hostilePath(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(ZuPlatform::File(text));
  }
  state.SetBytesProcessed(state.iterations() * text.size());
}

void modelHostile(benchmark::State& state) {
  std::string text = hostilePath(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(pathmodel::directory(text, "/"));
  }
  state.SetBytesProcessed(state.iterations() * text.size());
}

void lexicallyNormalHostile(benchmark::State& state) {
  std::filesystem::path path(hostilePath(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(path.lexically_normal());
  }
  state.SetBytesProcessed(state.iterations() * path.native().size());
}

}  // namespace

BENCHMARK(directoryTypical);
BENCHMARK(fileTypical);
BENCHMARK(modelTypical);
BENCHMARK(lexicallyNormalTypical);
BENCHMARK(directoryHostile)->Arg(1 << 10)->Arg(1 << 14)->Arg(1 << 20);
BENCHMARK(fileHostile)->Arg(1 << 10)->Arg(1 << 14)->Arg(1 << 20);
// Quadratic: 1 MiB would take minutes, so the model stops at 64 KiB.
BENCHMARK(modelHostile)->Arg(1 << 10)->Arg(1 << 14)->Arg(1 << 16);
BENCHMARK(lexicallyNormalHostile)->Arg(1 << 10)->Arg(1 << 20);

BENCHMARK_MAIN();
