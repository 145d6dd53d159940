// This program replaces the global operator new, so that the Nth allocation
// after arming throws std::bad_alloc. The listings and the walks run under
// it with N = 1, 2, ... until a call gets through: nothing but bad_alloc may
// escape, and no descriptor may stay open.
#include <dirent.h>

#include <cstdlib>
#include <functional>
#include <new>

#include "filesystem/scratch.h"

namespace {
long allocationsLeft = -1;  // before the one that fails; negative: none
}  // namespace

void* operator new(size_t size) {
  if (allocationsLeft >= 0 && allocationsLeft-- == 0) throw std::bad_alloc();
  return std::malloc(size == 0 ? 1 : size);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, size_t) noexcept { std::free(block); }

namespace {

int openDescriptors() {
  int count = 0;
  DIR* descriptors = opendir("/proc/self/fd");
  while (readdir(descriptors) != nullptr) ++count;
  closedir(descriptors);
  return count;
}

using AllocationFailure = Scratch;

TEST_F(AllocationFailure, LeavesNoDescriptorOpen) {
  lay("s/ s/a/ s/a/f s/g");
  const Directory source(at("s")), copy(at("c")), doomed(at("r"));
  const std::function<void()> calls[] = {
      [&] { source.directories(); }, [&] { source.files(); },
      [&] { Fs::glob(source, "*", true); },
      [&] { Fs::copy(source, copy, true); }, [&] { Fs::remove(doomed); }};
  for (const auto& call : calls) {
    for (long failing = 0, failed = 1; failed; ++failing) {
      Fs::copy(source, doomed, true);  // what the last remove left, filled up
      const int before = openDescriptors();
      allocationsLeft = failing;
      try {
        call();
        failed = 0;
      } catch (const std::bad_alloc&) {
      }
      allocationsLeft = -1;
      ASSERT_EQ(openDescriptors(), before) << &call - calls << ' ' << failing;
    }
  }
}

}  // namespace
