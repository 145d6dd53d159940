// Concurrency: locks, native threads, the stepper thread, the thread pool and
// the shared memory block.
//
// Every lock belongs to one object; no operation holds the locks of two
// objects, and no process-wide lock exists. Threads started here are detached
// at creation and can never be joined: a StepperThread signals the end of its
// worker through a mutex the worker holds for life, a ThreadPool through one
// semaphore token per thread. No wait has a timeout, and misuse is not
// detected beyond what each comment below promises. Objects are not copyable;
// the caller destroys one only when no other thread can reach it.
//
// Diagnostics of this family go straight to stderr with fwrite/fprintf,
// whatever the log threshold or handler; only SharedMemoryBase uses the log.
#ifndef ZUPLATFORM_CONCURRENCY_H
#define ZUPLATFORM_CONCURRENCY_H

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#ifndef ZUPLATFORM_API
#define ZUPLATFORM_API __attribute__((visibility("default")))
#endif
// The classes below are exported whole, so each private member function is
// marked hidden: the library exports its interface and nothing else, and a
// client can neither call nor come to depend on an internal step.
#ifndef ZUPLATFORM_INTERNAL
#define ZUPLATFORM_INTERNAL __attribute__((visibility("hidden")))
#endif

namespace Zu {

// A thread's identity: the platform's pthread_t, 64 bits wide; 0 means no
// thread. It lives in Zu beside the flat functions that produce it.
typedef std::uint64_t ZuThreadID;

// Opaque lock handles. ZuMutex is a plain (non-recursive) mutex, the only
// kind ZuConditionVariableWait accepts; ZuThreadMutex is recursive.
struct ZuMutex;
struct ZuThreadMutex;
struct ZuConditionVariable;

// Starts a detached thread running start(argument); its id, or 0 if the
// platform refused. The value start returns goes nowhere.
ZUPLATFORM_API ZuThreadID ZuThreadCreate(void* (*start)(void*), void* argument);

// The calling thread's id (pthread_self); never 0.
ZUPLATFORM_API ZuThreadID ZuThreadGetID();

// Ends the calling thread at once (pthread_exit with a null value).
ZUPLATFORM_API void ZuThreadExit() __attribute__((noreturn));

// Up to 1000 ms sleeps usleep(milliseconds * 1000); above that it sleeps
// sleep(milliseconds / 1000), whole seconds with the rest cut off. The
// platform call's result; a signal ends the sleep early. Callers stay within
// what the 32-bit platform arguments can carry.
ZUPLATFORM_API int ZuThreadSleep(unsigned long milliseconds);

// One usleep(microseconds), whatever the value; the platform call's result.
ZUPLATFORM_API int ZuThreadMicroSleep(unsigned long microseconds);

// A new unlocked non-recursive mutex; null if malloc fails.
ZUPLATFORM_API ZuMutex* ZuMutexCreate();
// Destroys and frees the mutex; null is ignored. It must be unlocked.
ZUPLATFORM_API void ZuMutexDestroy(ZuMutex* mutex);
// pthread_mutex_lock's result. Relocking by the owner is a caller's error.
ZUPLATFORM_API int ZuMutexLock(ZuMutex* mutex);
// pthread_mutex_unlock's result.
ZUPLATFORM_API int ZuMutexUnlock(ZuMutex* mutex);
// 0 if the lock was taken, EBUSY if it is held; never waits.
ZUPLATFORM_API int ZuMutexTryLock(ZuMutex* mutex);

// A new unlocked recursive mutex; null if malloc fails.
ZUPLATFORM_API ZuThreadMutex* ZuThreadMutexCreate();
// Destroys and frees the mutex; null is ignored. It must be unlocked.
ZUPLATFORM_API void ZuThreadMutexDestroy(ZuThreadMutex* mutex);
// pthread_mutex_lock's result; the owner may lock again.
ZUPLATFORM_API int ZuThreadMutexLock(ZuThreadMutex* mutex);
// pthread_mutex_unlock's result; EPERM for a thread that is not the owner.
ZUPLATFORM_API int ZuThreadMutexUnlock(ZuThreadMutex* mutex);
// 0 if taken (the owner's own try counts as one more lock), EBUSY if another
// thread holds it; never waits.
ZUPLATFORM_API int ZuThreadMutexTryLock(ZuThreadMutex* mutex);

// A new condition variable; null if malloc fails.
ZUPLATFORM_API ZuConditionVariable* ZuConditionVariableCreate();
// Destroys and frees it; null is ignored. No thread may be waiting on it.
ZUPLATFORM_API void ZuConditionVariableDestroy(ZuConditionVariable* condition);
// One pthread_cond_wait on mutex, which the caller holds; no loop, so a
// spurious wake-up returns too. The platform call's result.
ZUPLATFORM_API int ZuConditionVariableWait(ZuConditionVariable* condition,
                                           ZuMutex* mutex);
// Wakes one waiter, if any; the platform call's result.
ZUPLATFORM_API int ZuConditionVariableSignal(ZuConditionVariable* condition);

}  // namespace Zu

// The thread identity is also reachable without the namespace.
using Zu::ZuThreadID;

namespace ZuPlatform {

// A recursive mutex held inside the object.
// Only the owner can unlock it, as often as it locked it.
class ZUPLATFORM_API Mutex {
 public:
  // An unlocked recursive mutex.
  Mutex();
  // The mutex must be unlocked.
  ~Mutex();
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  // Waits for the lock; the owner gets it again at once. The platform result.
  int lock();
  // Gives back one lock; EPERM, and no change, for a thread not the owner.
  int unlock();

 private:
  pthread_mutex_t mutex;
};

// A counting semaphore private to the process; starts at 0 unless given a
// count. Its sem_t sits in a heap block of its own.
//
// If sem_init fails (a count above SEM_VALUE_MAX), the constructor writes
// "Semaphore: sem_init failed\n" and the object is dead: it never hands the
// uninitialised sem_t to the platform, so every acquire() writes the acquire
// message below and returns at once, and every release() writes the release
// message and returns. A dead semaphore never blocks, and each use is
// reported rather than waiting forever for a count that cannot come.
class ZUPLATFORM_API Semaphore {
 public:
  // Count 0.
  Semaphore();
  // Count count; see above for a count the platform refuses.
  explicit Semaphore(unsigned int count);
  // No thread may be waiting.
  ~Semaphore();
  Semaphore(const Semaphore&) = delete;
  Semaphore& operator=(const Semaphore&) = delete;

  // Waits until the count is above 0 and takes one; a signal never ends the
  // wait. Any other failure writes "Semaphore::acquire(): sem_wait failed\n"
  // and returns without taking.
  void acquire();
  // Adds one; on failure writes "Semaphore::release(): sem_post failed\n".
  void release();

 private:
  friend class ThreadPool;  // spins on tryAcquire before it sleeps
  // Takes one if the count is above 0, without waiting.
  ZUPLATFORM_INTERNAL bool tryAcquire();

  struct Block;  // the sem_t and whether sem_init took it
  Block* semaphore;
};

// The interface of a thread that repeats one step; it holds the state.
class ZUPLATFORM_API IStepperThread {
 public:
  // 32 bits wide.
  enum eState : int {
    STATE_STOPPED = 0,  // no worker thread exists
    STATE_RUNNING = 1,  // the worker exists and steps
    STATE_PAUSED = 2    // the worker exists and a thread holds the pause
  };

  // STATE_STOPPED.
  IStepperThread();
  IStepperThread(const IStepperThread&) = delete;
  IStepperThread& operator=(const IStepperThread&) = delete;

  // The virtual operations are declared in their vtable order, which binary
  // clients depend on: start, pause, stop, isCurrentThread, then the
  // destructor.

  // True if a worker was started or already exists.
  virtual bool start() = 0;
  // True pauses, false resumes.
  virtual void pause(bool paused) = 0;
  // Ends the worker and waits for its end.
  virtual void stop() = 0;
  // True on the worker thread only.
  virtual bool isCurrentThread() const = 0;
  // Does nothing of its own.
  virtual ~IStepperThread();

  // The state; safe from any thread.
  eState getThreadState() const;
  // Overwrites the state with no other effect.
  void setThreadState(eState state);

 protected:
  // Written by the worker and by controlling threads outside any lock, so it
  // is atomic: stores release and loads acquire, and the transitions that
  // can race (pause against the worker's end) are compare-and-swaps.
  std::atomic<eState> threadState;
};

// A worker thread that calls step() until step returns false or throws, or a
// controlling thread stops it; it can be paused between two steps.
//
// Callers derive from it and supply step(). The protocol:
// - start() from STATE_STOPPED creates the worker and returns once the worker
//   has set STATE_RUNNING; in any other state it returns true and does
//   nothing (it does not resume a pause). Concurrent start() calls are
//   serialised, so at most one worker is created by them; a start() that sees
//   a worker on its way out (stop requested, state not yet STATE_STOPPED)
//   returns true and creates nothing.
// - pause(true) in STATE_RUNNING waits for the current step to end (at most
//   one step, however short steps are: the pausing thread holds a gate that
//   the worker must pass between two steps) and returns holding the step
//   mutex, with STATE_PAUSED. The pause belongs to the calling thread; pauses
//   do not nest. In any other state it does nothing.
// - pause(false) ends the pause that the calling thread holds, whatever the
//   state reads: it sets STATE_RUNNING if the state is STATE_PAUSED, then
//   hands back the step mutex. From a thread that holds no pause it does
//   nothing, so it cannot unlock a mutex of another thread.
// - stop() sets the stop request, ends the caller's own pause if it holds
//   one, and waits for the worker's end. The state then reads STATE_STOPPED
//   always: STATE_RUNNING is written before the step mutex is handed back, so
//   the worker's final STATE_STOPPED is the last write. From inside step() it
//   only sets the request: this step ends, no further one begins.
// - A pause(true) that meets the worker's own end (step returning false or
//   throwing) either finds the state STATE_STOPPED and does nothing, or takes
//   the pause just before the worker ends; then the state reads
//   STATE_STOPPED while the caller still holds the step mutex, and its
//   pause(false) or stop() hands it back. start() works from there: a new
//   worker waits for that hand-back before its first step.
// - A worker that ends while holding a pause it took from inside step()
//   hands the step mutex back itself, so no mutex stays locked by a thread
//   that is gone.
// - join() waits for the end; destroy() stops and deletes.
// - A step that throws ends the worker; the event goes to stderr as
//   "StepperThread exception thrown in thread: <what()>\n", or
//   "StepperThread unknown exception thrown in thread\n". Nothing reaches the
//   controlling threads.
// - A worker ended inside step() (Zu::ZuThreadExit, or cancellation at a
//   cancellation point) is let go: the runtime unwinds the thread like an
//   exception, and nothing here swallows that unwind, so no message is
//   written. On its way out the worker does what any end does: it hands back
//   the step mutex and a pause it took itself, sets STATE_STOPPED and lets go
//   of the object, so join() and stop() return, start() creates a fresh
//   worker and the object can be destroyed.
// - After any end, start() creates a fresh worker.
// Limits: the pausing thread must not join() (the worker cannot end until it
// resumes); a pause(true) from inside step() must not meet a pause(true) of
// another thread; destroy() must not be called from step(); the state must
// read STATE_STOPPED, with no pause held, when the destructor runs.
class ZUPLATFORM_API StepperThread : public IStepperThread {
 public:
  // Holds the worker's entry.
  class ZUPLATFORM_API Impl {
   public:
    // The worker's body; stepper is the StepperThread. Returns null.
    static void* StepperThreadFunction(void* stepper);
  };

  // STATE_STOPPED; no thread starts.
  StepperThread();
  // Does not stop the worker: use destroy() or stop() first. It waits for a
  // worker that has just written STATE_STOPPED to let go of the object.
  ~StepperThread() override;

  // True if a worker was started or already exists; false, with the state
  // left at STATE_STOPPED, if no thread could be created.
  bool start() override;
  // See the protocol above.
  void pause(bool paused) override;
  // Ends the worker and waits; STATE_STOPPED afterwards (see above).
  void stop() override;
  // True if the calling thread is the worker; false while there is none.
  bool isCurrentThread() const override;

  // Waits for the worker's end without asking for it; at once when called
  // from the worker itself. Afterwards no worker touches the object.
  virtual void join();
  // One step, on the worker with the step mutex held: true to go on, false to
  // end the worker.
  virtual bool step() = 0;

  // Stops the worker if there is one, then deletes the object. The object
  // must come from new.
  void destroy();

 private:
  ZUPLATFORM_INTERNAL bool holdsPause() const;
  ZUPLATFORM_INTERNAL void releasePause();

  // The cross-thread fields are atomics (stores release, loads acquire).
  std::atomic<bool> stopRequested;       // read by the worker after each step
  std::atomic<Zu::ZuThreadID> threadId;  // the worker; 0 while none
  Mutex lifeMutex;  // held by the worker for its whole life
  Mutex stepMutex;  // held around each step, and for the whole of a pause
  Mutex gateMutex;  // held by a pausing thread while it waits for stepMutex
  Semaphore startSemaphore;  // released once by a new worker
  Mutex startMutex;          // keeps concurrent start() calls apart
  std::atomic<Zu::ZuThreadID> pauseOwner;  // the thread holding the pause
};

// A fixed number of detached threads serving one FIFO queue of work units.
//
// Every add() of a unit ends in exactly one process() or abort() of it:
// units still queued when the pool is destroyed get abort(), and a unit in
// process() finishes first. Units belong to the caller; the pool never
// deletes one.
//
// - Threads that could not be created: the pool says nothing and runs with
//   those that started, and its destructor waits for the started ones only.
//   getThreadCount() still gives the number asked for. With none started,
//   units stay queued until destruction, as with ThreadPool(0).
// - An exception out of process() or abort() is caught: the thread goes on,
//   the unit becomes idle (wait() returns), and stderr gets
//   "ThreadPool exception thrown in process: <what()>\n" (or "in abort"), or
//   "ThreadPool unknown exception thrown in process\n" (or "in abort").
// - A pool thread ended inside process() (Zu::ZuThreadExit, or cancellation
//   at a cancellation point) is let go, without a message: the unit becomes
//   idle, the thread counts as ended, so the destructor does not wait for it,
//   and the other threads go on serving the queue (with none left, units stay
//   queued until destruction). An abort() called by add() may end its thread
//   the same way, and the unit becomes idle; an abort() called by the
//   destructor must not, since a destructor cannot be unwound.
// - An exception from the queue's growth in add() (std::bad_alloc) reaches
//   the caller with nothing changed: no lock held, nothing queued (a batch is
//   all or nothing), and every unit of the call idle again, neither processed
//   nor aborted.
// Limits: a unit stays alive until idle again; process() and abort() must
// not delete, add or wait on their own unit; a batch holds no null and no
// unit twice; the pool is not destroyed on one of its own threads, and other
// threads have left add() before the destructor begins.
class ZUPLATFORM_API ThreadPool {
 public:
  // The base of the units. Idle, claimed by an add, queued, running or
  // aborting; an idle unit can be added again, to any pool.
  class ZUPLATFORM_API WorkUnit {
   public:
    // An idle unit.
    WorkUnit();
    // Does not wait: the unit must be idle.
    virtual ~WorkUnit();
    WorkUnit(const WorkUnit&) = delete;
    WorkUnit& operator=(const WorkUnit&) = delete;

    // The work, on a pool thread with no lock of the pool held.
    virtual void process() = 0;
    // Told instead of process() when the unit will not run; does nothing by
    // default. Runs on the destroying thread (pool lock held) or in add().
    virtual void abort();

    // Returns once the unit is idle, and leaves it idle; at once if it is.
    void wait();
    // Claims the unit, waiting while it is queued or running; add() calls it.
    void acquire();
    // process(), then the unit is idle again; an exception is caught (above).
    void doProcessAndRelease();
    // abort(), then the unit is idle again; an exception is caught (above).
    void doAbortAndRelease();

   private:
    friend class ThreadPool;  // hands a claim back when queueing fails
    Semaphore idleSemaphore;  // 1 while idle, 0 from a claim to the release
  };

  // Starts count threads (0 is allowed) without waiting for them to begin.
  explicit ThreadPool(unsigned int count);
  // Aborts what is queued, ends the threads and waits for them, including one
  // that is in process(). Must not run on a pool thread.
  ~ThreadPool();
  ThreadPool(const ThreadPool&) = delete;
  ThreadPool& operator=(const ThreadPool&) = delete;

  // Claims the unit (waiting while it is queued or running, with no lock of
  // the pool held) and queues it; after shutdown it aborts it. Null: nothing.
  void add(WorkUnit* unit);
  // Claims every unit in order, then queues them in order in one piece, so
  // no other add falls between them; after shutdown aborts them all. Empty:
  // nothing.
  void add(const std::vector<WorkUnit*>& units);
  // The number of threads asked for at construction.
  unsigned int getThreadCount() const;
  // The body of a pool thread; only ThreadPoolFunctionImpl calls it.
  void threadMain();

 private:
  ZUPLATFORM_INTERNAL void takeToken();

  Semaphore workSemaphore;  // a token per queued unit, one per thread at end
  Semaphore doneSemaphore;  // a token per thread that has left threadMain
  Mutex queueMutex;         // guards queue and shuttingDown; recursive
  std::deque<WorkUnit*> queue;
  bool shuttingDown;
  unsigned int threadCount;
  unsigned int startedThreadCount;  // those the destructor waits for
};

// A block of bytes with a key and a recursive lock, shared between the
// threads of one process. Plain heap memory: the key is only stored, and two
// blocks opened with one key share nothing.
//
// Only lock() and unlock() touch the lock; callers bracket their own use of
// the other operations and of the bytes with them.
class ZUPLATFORM_API SharedMemoryBase {
 public:
  // Closed and empty; data() is null.
  SharedMemoryBase();
  // close(), then frees everything; takes no lock.
  ~SharedMemoryBase();
  SharedMemoryBase(const SharedMemoryBase&) = delete;
  SharedMemoryBase& operator=(const SharedMemoryBase&) = delete;

  // Stores key and sizes the block to size, new bytes 0; true. When already
  // open: logs the warning "SharedMemory::open: called while already open",
  // changes nothing, false. An empty key leaves the block closed but sized.
  // std::bad_alloc passes through with the key already stored.
  bool open(const std::string& key, unsigned long size);
  // Clears the key and sizes the block to 0; the storage stays.
  void close();
  // True if the key is not empty.
  bool isOpen() const;
  // The first byte; null if the block never had storage. Valid until an
  // open() needs more storage, or the object goes.
  unsigned char* data();
  const unsigned char* data() const;
  // The key; empty when closed.
  const std::string& key() const;
  // The number of bytes.
  unsigned long size() const;
  // Takes the recursive lock; the platform result.
  int lock();
  // Gives back one lock; the platform result.
  int unlock();

 private:
  class Impl;
  Impl* impl;
};

}  // namespace ZuPlatform

// A pool thread's entry: runs threadMain() of the ThreadPool given, returns
// null.
ZUPLATFORM_API void* ThreadPoolFunctionImpl(void* pool);

#endif  // ZUPLATFORM_CONCURRENCY_H
