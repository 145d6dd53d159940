// Copy, glob and the wildcard matcher, each next to a peer in the same run:
// copy against the same 32 KiB read/write loop written out here, glob
// against nftw with fnmatch, the matcher against fnmatch with FNM_CASEFOLD
// (on texts without "/", where the two agree). The scratch files live under
// TMPDIR (or /tmp) and are removed at the end.
#include <ZuPlatform/filesystem.h>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "../tests/support/match_model.h"

namespace {

namespace Fs = ZuPlatform::Filesystem;

constexpr size_t COPY_SIZE = 256u << 20;
std::string scratch;  // ends in "/"

void makeCopySource() {
  const int fd = open((scratch + "big").c_str(), O_WRONLY | O_CREAT, 0644);
  std::string block(1 << 20, '\0');
  for (size_t i = 0; i < block.size(); ++i) block[i] = char(i * 131 + 7);
  for (size_t done = 0; done < COPY_SIZE; done += block.size()) {
    if (::write(fd, block.data(), block.size()) < 0) break;
  }
  close(fd);
  mkdir((scratch + "copies").c_str(), 0777);
}

// 20 x 10 directories of 100 files each, half of them *.txt.
void makeGlobTree() {
  const std::string top = scratch + "tree/";
  mkdir(top.c_str(), 0777);
  for (int i = 0; i < 20; ++i) {
    const std::string a = top + "a" + std::to_string(i) + "/";
    mkdir(a.c_str(), 0777);
    for (int j = 0; j < 10; ++j) {
      const std::string b = a + "b" + std::to_string(j) + "/";
      mkdir(b.c_str(), 0777);
      for (int k = 0; k < 100; ++k) {
        const std::string name =
            b + "file" + std::to_string(k) + (k % 2 ? ".txt" : ".log");
        close(open(name.c_str(), O_WRONLY | O_CREAT, 0644));
      }
    }
  }
}

int removeEntry(const char* path, const struct stat*, int type, FTW*) {
  type == FTW_DP ? rmdir(path) : unlink(path);
  return 0;
}

void copyOurs(benchmark::State& state) {
  const ZuPlatform::File source(scratch + "big");
  const ZuPlatform::Directory target(scratch + "copies");
  for (auto _ : state) {
    if (!Fs::copy(source, target, true)) state.SkipWithError("copy failed");
  }
  state.SetBytesProcessed(state.iterations() * COPY_SIZE);
}

// The loop a caller would write without the library.
void copyLoop(benchmark::State& state) {
  const std::string source = scratch + "big";
  const std::string target = scratch + "copies/big";
  for (auto _ : state) {
    const int in = open(source.c_str(), O_RDONLY);
    const int out = open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    char buffer[32768];
    ssize_t got;
    while ((got = read(in, buffer, sizeof buffer)) > 0) {
      for (ssize_t put = 0; put < got;) {
        const ssize_t n = ::write(out, buffer + put, got - put);
        if (n <= 0) break;
        put += n;
      }
    }
    close(in);
    close(out);
  }
  state.SetBytesProcessed(state.iterations() * COPY_SIZE);
}

void globOurs(benchmark::State& state) {
  const ZuPlatform::Directory tree(scratch + "tree");
  for (auto _ : state) {
    std::vector<ZuPlatform::File> found = Fs::glob(tree, "*.txt", true);
    if (found.size() != 10000) state.SkipWithError("wrong count");
    benchmark::DoNotOptimize(found.data());
  }
  state.SetItemsProcessed(state.iterations() * 20000);
}

std::vector<std::string>* nftwFound;
int collect(const char* path, const struct stat* status, int, FTW* where) {
  if (S_ISREG(status->st_mode) &&
      fnmatch("*.txt", path + where->base, FNM_CASEFOLD) == 0) {
    nftwFound->push_back(path);
  }
  return 0;
}

void globNftw(benchmark::State& state) {
  const std::string tree = scratch + "tree";
  for (auto _ : state) {
    std::vector<std::string> found;
    nftwFound = &found;
    nftw(tree.c_str(), collect, 64, 0);
    if (found.size() != 10000) state.SkipWithError("wrong count");
    benchmark::DoNotOptimize(found.data());
  }
  state.SetItemsProcessed(state.iterations() * 20000);
}

// The standard library's own walk, with the same filter.
void globStdRecursive(benchmark::State& state) {
  namespace fs = std::filesystem;
  const fs::path tree = scratch + "tree";
  for (auto _ : state) {
    std::vector<std::string> found;
    for (const fs::directory_entry& entry :
         fs::recursive_directory_iterator(tree)) {
      if (entry.is_regular_file() &&
          fnmatch("*.txt", entry.path().filename().c_str(), FNM_CASEFOLD) ==
              0) {
        found.push_back(entry.path().string());
      }
    }
    if (found.size() != 10000) state.SkipWithError("wrong count");
    benchmark::DoNotOptimize(found.data());
  }
  state.SetItemsProcessed(state.iterations() * 20000);
}

struct MatchCase {
  const char* pattern;
  std::string text;
};

MatchCase matchCase(int which) {
  if (which == 0) return {"*.txt", "readme.TXT"};
  if (which == 1) {
    std::mt19937 random(5);
    std::string text(64, ' ');
    for (char& byte : text) byte = "abcdefghij"[random() % 10];
    return {"*a*b*c", text};
  }
  return {"*a*a*a*a*a*a*a*b", std::string(which, 'a')};
}

void matchOurs(benchmark::State& state) {
  const MatchCase c = matchCase(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(libwdmatch_match_i(c.pattern, c.text.c_str()));
  }
  state.SetBytesProcessed(state.iterations() * c.text.size());
}

void matchFnmatch(benchmark::State& state) {
  const MatchCase c = matchCase(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(fnmatch(c.pattern, c.text.c_str(), FNM_CASEFOLD));
  }
  state.SetBytesProcessed(state.iterations() * c.text.size());
}

// The table model, to show what a split search costs on the same inputs.
void matchModel(benchmark::State& state) {
  const MatchCase c = matchCase(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(zutest::matchModel(c.pattern, c.text));
  }
  state.SetBytesProcessed(state.iterations() * c.text.size());
}

}  // namespace

BENCHMARK(copyOurs)->Unit(benchmark::kMillisecond)->Iterations(4);
BENCHMARK(copyLoop)->Unit(benchmark::kMillisecond)->Iterations(4);
BENCHMARK(globOurs)->Unit(benchmark::kMillisecond);
BENCHMARK(globNftw)->Unit(benchmark::kMillisecond);
BENCHMARK(globStdRecursive)->Unit(benchmark::kMillisecond);
// 0: typical, 1: medium, 32 and up: adversarial over that many bytes.
BENCHMARK(matchOurs)->Arg(0)->Arg(1)->Arg(32)->Arg(1024)->Arg(32768);
BENCHMARK(matchFnmatch)->Arg(0)->Arg(1)->Arg(32)->Arg(1024)->Arg(32768);
BENCHMARK(matchModel)->Arg(0)->Arg(1)->Arg(32);

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const char* tmp = getenv("TMPDIR");
  std::string pattern =
      std::string(tmp && *tmp ? tmp : "/tmp") + "/zu_filesystem_bench_XXXXXX";
  if (mkdtemp(&pattern[0]) == nullptr) return 1;
  scratch = pattern + "/";
  makeCopySource();
  makeGlobTree();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  nftw(scratch.c_str(), removeEntry, 64, FTW_DEPTH | FTW_PHYS);
  return 0;
}
