// Seams through which the white-box tests make the platform fail on purpose.
// Hidden symbols: not part of the exported interface, and null (no effect)
// unless a test sets them.
#ifndef ZUPLATFORM_SRC_CONCURRENCY_TEST_HOOKS_H
#define ZUPLATFORM_SRC_CONCURRENCY_TEST_HOOKS_H

#include <atomic>

namespace ZuPlatform {
namespace detail {

// Asked before each pthread_create in Zu::ZuThreadCreate; false makes that
// creation fail as if the platform had refused it.
using ThreadCreateFilter = bool (*)();
extern std::atomic<ThreadCreateFilter> threadCreateFilter;

// Called under the queue lock just before each push in ThreadPool::add; may
// throw, standing in for the queue's growth running out of memory.
using QueueGrowthHook = void (*)();
extern std::atomic<QueueGrowthHook> queueGrowthHook;

// Called by StepperThread::pause(true) once it holds the gate and before it
// waits for the step mutex.
using PauseGateHook = void (*)();
extern std::atomic<PauseGateHook> pauseGateHook;

}  // namespace detail
}  // namespace ZuPlatform

#endif  // ZUPLATFORM_SRC_CONCURRENCY_TEST_HOOKS_H
