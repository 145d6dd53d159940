#include <ZuPlatform/concurrency.h>
#include <cxxabi.h>

#include <cstdio>
#include <exception>

namespace ZuPlatform {

namespace {

// Releases the semaphore when it goes out of scope.
struct Release {
  Semaphore& semaphore;
  ~Release() { semaphore.release(); }
};

// Calls process or abort (named by what) and reports an exception out of it.
// A thread ended inside (ZuThreadExit, cancellation) is unwound by the
// runtime like an exception, and that unwind must go on: swallowing it aborts
// the process. The unwind carries no object, so the handler's reference is
// bound to null by design; the sanitizer's null check is off here alone.
__attribute__((no_sanitize("null"))) void runGuarded(
    ThreadPool::WorkUnit& unit, void (ThreadPool::WorkUnit::*call)(),
    const char* what) {
  try {
    (unit.*call)();
  } catch (abi::__forced_unwind&) {
    throw;
  } catch (const std::exception& e) {
    fprintf(stderr, "ThreadPool exception thrown in %s: %s\n", what, e.what());
  } catch (...) {
    fprintf(stderr, "ThreadPool unknown exception thrown in %s\n", what);
  }
}

}  // namespace

ThreadPool::WorkUnit::WorkUnit() : idleSemaphore(1) {}

ThreadPool::WorkUnit::~WorkUnit() = default;

void ThreadPool::WorkUnit::abort() {}

void ThreadPool::WorkUnit::wait() {
  idleSemaphore.acquire();
  idleSemaphore.release();
}

void ThreadPool::WorkUnit::acquire() { idleSemaphore.acquire(); }

// An exception stops here: the pool thread must live on to serve the queue,
// and the unit must become idle again or every wait() on it would hang; from
// the destructor's drain it also keeps the queue lock from leaking and the
// drain going. The unit is handed back on every way out.
void ThreadPool::WorkUnit::doProcessAndRelease() {
  const Release release{idleSemaphore};
  runGuarded(*this, &WorkUnit::process, "process");
}

void ThreadPool::WorkUnit::doAbortAndRelease() {
  const Release release{idleSemaphore};
  runGuarded(*this, &WorkUnit::abort, "abort");
}

}  // namespace ZuPlatform
