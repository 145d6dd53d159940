// This program replaces the global operator new, so that the Nth allocation
// after arming throws std::bad_alloc. The listings and the walks run under
// it with N = 1, 2, ... until a call gets through: nothing but bad_alloc may
// escape, and no descriptor may stay open.
#include <cstdlib>
#include <functional>
#include <new>

#include "filesystem/scratch.h"

static long allocationsLeft = -1;  // before the one that fails; negative: none

// Not inlined: an optimiser that pairs an inlined new with its delete would
// warn that malloc'd blocks reach operator delete.
[[gnu::noinline]] void* operator new(size_t size) {
  if (allocationsLeft >= 0 && allocationsLeft-- == 0) throw std::bad_alloc();
  return std::malloc(size == 0 ? 1 : size);
}
[[gnu::noinline]] void operator delete(void* block) noexcept {
  std::free(block);
}
[[gnu::noinline]] void operator delete(void* block, size_t) noexcept {
  std::free(block);
}

namespace {

long openDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                       {});
}

using AllocationFailure = Scratch;

TEST_F(AllocationFailure, LeavesNoDescriptorOpen) {
  // Without a standard input, descriptor 0 is the first the calls get, and
  // it must come back like any other.
  close(0);
  const long atStart = openDescriptors();
  lay("s/ s/a/ s/a/f s/g");
  const Directory source(at("s")), copy(at("c")), doomed(at("r"));
  const std::function<void()> calls[] = {
      [&] { source.directories(); }, [&] { source.files(); },
      [&] { Fs::glob(source, "*", true); },
      [&] { Fs::copy(source, copy, true); }, [&] { Fs::remove(doomed); }};
  for (const auto& call : calls) {
    for (long failing = 0, failed = 1; failed; ++failing) {
      Fs::copy(source, doomed, true);  // what the last remove left, filled up
      const long before = openDescriptors();
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
  EXPECT_EQ(openDescriptors(), atStart);
}

}  // namespace
