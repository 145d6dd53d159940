// Seams through which the white-box tests make the platform fail on purpose
// or hold a thread at a chosen point. Hidden symbols: not part of the
// exported interface, and null (no effect) unless a test sets them. Each
// costs one relaxed load where a thread is created or a stepper's worker
// ends, never on a path that runs per step or per unit: the pool
// carries no seam at all (a failing queue growth is tested by failing the
// allocation itself).
#ifndef ZUPLATFORM_SRC_CONCURRENCY_TEST_HOOKS_H
#define ZUPLATFORM_SRC_CONCURRENCY_TEST_HOOKS_H

#include <atomic>

namespace ZuPlatform {
namespace detail {

// Asked before each pthread_create in Zu::ZuThreadCreate; false makes that
// creation fail as if the platform had refused it.
using ThreadCreateFilter = bool (*)();
extern std::atomic<ThreadCreateFilter> threadCreateFilter;

// Called by a stepper's worker once it has written STATE_STOPPED and before
// it lets go of the object.
using WorkerEndHook = void (*)();
extern std::atomic<WorkerEndHook> workerEndHook;

}  // namespace detail
}  // namespace ZuPlatform

#endif  // ZUPLATFORM_SRC_CONCURRENCY_TEST_HOOKS_H
