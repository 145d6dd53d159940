#include <ZuPlatform/concurrency.h>
#include <cxxabi.h>

#include <cstdio>
#include <cstring>
#include <exception>

#include "concurrency/test_hooks.h"

// Ordering of the unlocked fields. Every hand-over between threads here is a
// message: one side writes a field, the other acts on what it reads, and no
// thread writes one field and then must see another thread's write to a
// second one. Release stores and acquire loads are therefore enough. The two
// writers of the state that can collide, a pausing thread and the worker at
// its end, settle it on the one atomic: the pause goes in by
// compare-and-swap from STATE_RUNNING, and the worker's STATE_STOPPED is a
// plain store that always wins when it comes last.

namespace ZuPlatform {

namespace detail {
std::atomic<WorkerEndHook> workerEndHook{nullptr};
}  // namespace detail

namespace {

constexpr auto ACQUIRE = std::memory_order_acquire;
constexpr auto RELEASE = std::memory_order_release;

void writeError(const char* text) { fwrite(text, 1, strlen(text), stderr); }

// Moves the state from one value to another only if it still holds the first.
bool moveState(std::atomic<IStepperThread::eState>& state,
               IStepperThread::eState from, IStepperThread::eState to) {
  return state.compare_exchange_strong(from, to, std::memory_order_acq_rel,
                                       ACQUIRE);
}

// One step: false when the worker is to end, after step() said so or threw.
// A thread ended inside step() (ZuThreadExit, cancellation) is unwound by the
// runtime like an exception, and that unwind must go on: swallowing it aborts
// the process. The unwind carries no object, so the handler's reference is
// bound to null by design; the sanitizer's null check is off here alone.
__attribute__((no_sanitize("null"))) bool stepOnce(StepperThread& stepper) {
  try {
    return stepper.step();
  } catch (abi::__forced_unwind&) {
    throw;
  } catch (const std::exception& e) {
    fprintf(stderr, "StepperThread exception thrown in thread: %s\n", e.what());
  } catch (...) {
    writeError("StepperThread unknown exception thrown in thread\n");
  }
  return false;
}

}  // namespace

IStepperThread::IStepperThread() : threadState(STATE_STOPPED) {}

IStepperThread::~IStepperThread() = default;

IStepperThread::eState IStepperThread::getThreadState() const {
  return threadState.load(ACQUIRE);
}

void IStepperThread::setThreadState(eState state) {
  threadState.store(state, RELEASE);
}

StepperThread::StepperThread()
    : stopRequested(true), threadId(0), startSemaphore(0), pauseOwner(0) {}

// A worker writes STATE_STOPPED a moment before it lets go of lifeMutex; the
// members must outlive that last unlock.
StepperThread::~StepperThread() {
  lifeMutex.lock();
  lifeMutex.unlock();
}

void* StepperThread::Impl::StepperThreadFunction(void* argument) {
  auto* self = static_cast<StepperThread*>(argument);
  self->threadId.store(Zu::ZuThreadGetID(), RELEASE);
  self->lifeMutex.lock();
  self->setThreadState(STATE_RUNNING);
  self->startSemaphore.release();
  // The worker's last acts, on every way out: also when the thread is ended
  // inside step() and unwound.
  struct End {
    StepperThread* self;
    bool stepping;
    ~End() {
      if (stepping) self->stepMutex.unlock();
      // A pause taken from inside step and never undone would leave stepMutex
      // locked by a thread about to vanish; the next worker would wait
      // forever.
      if (self->holdsPause()) self->releasePause();
      self->threadId.store(0, RELEASE);
      self->setThreadState(STATE_STOPPED);
      auto hook = detail::workerEndHook.load(std::memory_order_relaxed);
      if (hook != nullptr) hook();
      self->lifeMutex.unlock();
    }
  } end{self, false};
  do {
    self->stepMutex.lock();
    end.stepping = true;
    if (!stepOnce(*self)) self->stopRequested.store(true, RELEASE);
    end.stepping = false;
    self->stepMutex.unlock();
    // A pausing thread holds the gate while it waits for stepMutex, so the
    // worker cannot take stepMutex back before the pause has it: a pause
    // waits for one step at most, however short the steps are.
    self->gateMutex.lock();
    self->gateMutex.unlock();
  } while (!self->stopRequested.load(ACQUIRE));
  return nullptr;
}

// Serialised, so that two callers that both find STATE_STOPPED cannot both
// create a worker: the second one sees the state the first worker has set.
bool StepperThread::start() {
  startMutex.lock();
  bool started = true;
  if (getThreadState() == STATE_STOPPED) {
    stopRequested.store(false, RELEASE);
    if (Zu::ZuThreadCreate(Impl::StepperThreadFunction, this) == 0) {
      started = false;
    } else {
      startSemaphore.acquire();
    }
  }
  startMutex.unlock();
  return started;
}

void StepperThread::pause(bool paused) {
  if (!paused) {
    if (holdsPause()) releasePause();
    return;
  }
  if (holdsPause() || getThreadState() != STATE_RUNNING) return;
  gateMutex.lock();
  stepMutex.lock();
  // The worker may have ended while we waited; then there is nothing to
  // pause, and keeping stepMutex would only block the next worker.
  if (moveState(threadState, STATE_RUNNING, STATE_PAUSED)) {
    pauseOwner.store(Zu::ZuThreadGetID(), RELEASE);
  } else {
    stepMutex.unlock();
  }
  gateMutex.unlock();
}

// STATE_RUNNING goes in before stepMutex is handed back: once the worker can
// step again it may also reach its end, and its STATE_STOPPED must be the
// last word. The compare-and-swap leaves a STATE_STOPPED (a worker that ended
// under the pause) or a new worker's state alone.
void StepperThread::releasePause() {
  pauseOwner.store(0, RELEASE);
  moveState(threadState, STATE_PAUSED, STATE_RUNNING);
  stepMutex.unlock();
}

bool StepperThread::holdsPause() const {
  return pauseOwner.load(ACQUIRE) == Zu::ZuThreadGetID();
}

void StepperThread::stop() {
  const bool ownPause = holdsPause();
  if (getThreadState() == STATE_STOPPED) {
    // The worker ended under our pause; hand stepMutex back for the next one.
    if (ownPause) pause(false);
    return;
  }
  stopRequested.store(true, RELEASE);
  if (ownPause || getThreadState() == STATE_PAUSED) pause(false);
  // Returns at once on the worker, which owns lifeMutex; elsewhere it waits
  // until the worker has written STATE_STOPPED.
  lifeMutex.lock();
  lifeMutex.unlock();
}

// Taken even in STATE_STOPPED: a worker that has just written that state may
// still be about to unlock lifeMutex, and after join the caller may free us.
void StepperThread::join() {
  lifeMutex.lock();
  lifeMutex.unlock();
}

bool StepperThread::isCurrentThread() const {
  return threadId.load(ACQUIRE) == Zu::ZuThreadGetID();
}

// The worker ends while the most derived object is still whole, which the
// destructor alone cannot ensure.
void StepperThread::destroy() {
  if (getThreadState() != STATE_STOPPED || holdsPause()) stop();
  delete this;
}

}  // namespace ZuPlatform
