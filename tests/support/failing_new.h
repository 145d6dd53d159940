// Replaces the global operator new of the test program that includes it (in
// one file only), so that a thread can make one of its allocations fail: the
// allocation after allocationsLeft more throws std::bad_alloc.
#ifndef ZU_TESTS_SUPPORT_FAILING_NEW_H
#define ZU_TESTS_SUPPORT_FAILING_NEW_H

#include <cstdlib>
#include <new>

// Negative: no allocation fails.
thread_local long allocationsLeft = -1;

// Out of line, so that the optimiser pairs no inlined new with free.
[[gnu::noinline]] void* operator new(std::size_t size) {
  if (allocationsLeft >= 0 && allocationsLeft-- == 0) throw std::bad_alloc();
  void* block = std::malloc(size ? size : 1);
  return block ? block : throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* p) noexcept { std::free(p); }
[[gnu::noinline]] void operator delete(void* p, std::size_t) noexcept {
  std::free(p);
}

#endif  // ZU_TESTS_SUPPORT_FAILING_NEW_H
