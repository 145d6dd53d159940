#include <ZuPlatform/concurrency.h>
#include <pthread.h>
#include <unistd.h>

#include "concurrency/sleep_rule.h"
#include "concurrency/test_hooks.h"

static_assert(sizeof(pthread_t) == sizeof(Zu::ZuThreadID),
              "a thread id must carry a pthread_t unchanged");

namespace ZuPlatform {
namespace detail {
std::atomic<ThreadCreateFilter> threadCreateFilter{nullptr};
}  // namespace detail
}  // namespace ZuPlatform

namespace Zu {

namespace detail {

SleepCall sleepCallFor(unsigned long milliseconds) {
  const std::uint64_t microseconds = std::uint64_t{milliseconds} * 1000;
  if (microseconds > 1000000) return {true, milliseconds / 1000};
  return {false, microseconds};
}

}  // namespace detail

// Detached at once: nothing in the library joins a thread, so each end is
// signalled by the owner's own mutex or semaphore instead.
ZuThreadID ZuThreadCreate(void* (*start)(void*), void* argument) {
  auto filter = ZuPlatform::detail::threadCreateFilter.load();
  if (filter != nullptr && !filter()) return 0;
  pthread_t thread;
  if (pthread_create(&thread, nullptr, start, argument) != 0) return 0;
  pthread_detach(thread);
  return thread;
}

ZuThreadID ZuThreadGetID() { return pthread_self(); }

void ZuThreadExit() { pthread_exit(nullptr); }

int ZuThreadSleep(unsigned long milliseconds) {
  const detail::SleepCall call = detail::sleepCallFor(milliseconds);
  if (call.wholeSeconds) return sleep(static_cast<unsigned int>(call.argument));
  return usleep(static_cast<useconds_t>(call.argument));
}

int ZuThreadMicroSleep(unsigned long microseconds) {
  return usleep(static_cast<useconds_t>(microseconds));
}

}  // namespace Zu
