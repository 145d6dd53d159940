#include <ZuPlatform/concurrency.h>
#include <sched.h>

namespace ZuPlatform {

namespace {

// How long an idle pool thread stays awake before it sleeps on
// workSemaphore: about a microsecond of pause, then up to TOKEN_YIELDS turns
// of the processor to whoever else wants it (each about a microsecond when
// nobody does, a time slice when somebody does).
constexpr int TOKEN_SPINS = 50;
constexpr int TOKEN_YIELDS = 50;

// Counts the thread out on every way it leaves threadMain, also when it is
// ended inside process(): the destructor then collects that token at once
// instead of waiting for a thread that is gone.
struct CountOut {
  Semaphore& done;
  ~CountOut() { done.release(); }
};

}  // namespace

// A thread that could not be created is simply not counted, and nothing is
// said: the destructor hands out and collects one token per thread that
// really runs.
ThreadPool::ThreadPool(unsigned int count)
    : workSemaphore(0),
      doneSemaphore(0),
      shuttingDown(false),
      threadCount(count),
      startedThreadCount(0) {
  for (unsigned int i = 0; i < count; ++i) {
    if (Zu::ZuThreadCreate(ThreadPoolFunctionImpl, this) != 0)
      ++startedThreadCount;
  }
}

ThreadPool::~ThreadPool() {
  queueMutex.lock();
  // Popped before abort, so that an abort which adds (the mutex is
  // recursive) puts its unit behind the others and this loop drains it too.
  while (!queue.empty()) {
    WorkUnit* unit = queue.front();
    queue.pop_front();
    unit->doAbortAndRelease();
  }
  shuttingDown = true;
  queueMutex.unlock();
  for (unsigned int i = 0; i < startedThreadCount; ++i) workSemaphore.release();
  for (unsigned int i = 0; i < startedThreadCount; ++i) doneSemaphore.acquire();
}

// The claim comes before queueMutex, so an add waiting for a busy unit holds
// no lock of the pool; the token goes out after the unlock, so a woken thread
// never finds the lock taken by the adder.
void ThreadPool::add(WorkUnit* unit) {
  if (unit == nullptr) return;
  unit->acquire();
  queueMutex.lock();
  if (shuttingDown) {
    queueMutex.unlock();
    unit->doAbortAndRelease();
    return;
  }
  try {
    queue.push_back(unit);
  } catch (...) {
    queueMutex.unlock();
    unit->idleSemaphore.release();
    throw;
  }
  queueMutex.unlock();
  workSemaphore.release();
}

// All or nothing: a push that throws takes the pushed part of the batch back
// out before anyone can see it.
void ThreadPool::add(const std::vector<WorkUnit*>& units) {
  for (WorkUnit* unit : units) unit->acquire();
  queueMutex.lock();
  if (shuttingDown) {
    queueMutex.unlock();
    for (WorkUnit* unit : units) unit->doAbortAndRelease();
    return;
  }
  std::size_t pushed = 0;
  try {
    for (WorkUnit* unit : units) {
      queue.push_back(unit);
      ++pushed;
    }
  } catch (...) {
    for (; pushed > 0; --pushed) queue.pop_back();
    queueMutex.unlock();
    for (WorkUnit* unit : units) unit->idleSemaphore.release();
    throw;
  }
  queueMutex.unlock();
  for (std::size_t i = 0; i < units.size(); ++i) workSemaphore.release();
}

// A pool thread asleep in sem_wait costs the adder dearly: as long as any
// thread is registered as a waiter, every sem_post makes a wake-up system
// call, even when the thread it woke has not run yet. The threads are quicker
// than an adder and keep running dry; if they slept each time, nearly every
// add would pay for a wake-up. So a thread with nothing to do stays awake for
// a while. It spins only briefly, since a thread spinning on the adder's core
// keeps the adder from posting; then it yields, which hands that core back to
// the adder, and it sleeps only when still no token has come.
void ThreadPool::takeToken() {
  for (int spin = 0; spin < TOKEN_SPINS; ++spin) {
    if (workSemaphore.tryAcquire()) return;
    __builtin_ia32_pause();
  }
  for (int turn = 0; turn < TOKEN_YIELDS; ++turn) {
    if (workSemaphore.tryAcquire()) return;
    sched_yield();
  }
  workSemaphore.acquire();
}

unsigned int ThreadPool::getThreadCount() const { return threadCount; }

// Each token taken before shutdown matches one queued unit, so the queue is
// never empty here; a token taken after shutdown means leave.
void ThreadPool::threadMain() {
  const CountOut countOut{doneSemaphore};
  for (;;) {
    takeToken();
    queueMutex.lock();
    if (shuttingDown) {
      queueMutex.unlock();
      break;
    }
    WorkUnit* unit = queue.front();
    queue.pop_front();
    queueMutex.unlock();
    unit->doProcessAndRelease();
  }
}

}  // namespace ZuPlatform

void* ThreadPoolFunctionImpl(void* pool) {
  static_cast<ZuPlatform::ThreadPool*>(pool)->threadMain();
  return nullptr;
}
