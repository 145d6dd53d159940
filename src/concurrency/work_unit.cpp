#include <ZuPlatform/concurrency.h>

#include <cstdio>
#include <cstring>
#include <exception>

namespace ZuPlatform {

namespace {

void writeError(const char* text) { fwrite(text, 1, strlen(text), stderr); }

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
// and the unit must become idle again or every wait() on it would hang.
void ThreadPool::WorkUnit::doProcessAndRelease() {
  try {
    process();
  } catch (const std::exception& e) {
    fprintf(stderr, "ThreadPool exception thrown in process: %s\n", e.what());
  } catch (...) {
    writeError("ThreadPool unknown exception thrown in process\n");
  }
  idleSemaphore.release();
}

// The same guard as above; from the destructor's drain it also keeps the
// queue lock from leaking and the drain going.
void ThreadPool::WorkUnit::doAbortAndRelease() {
  try {
    abort();
  } catch (const std::exception& e) {
    fprintf(stderr, "ThreadPool exception thrown in abort: %s\n", e.what());
  } catch (...) {
    writeError("ThreadPool unknown exception thrown in abort\n");
  }
  idleSemaphore.release();
}

}  // namespace ZuPlatform
