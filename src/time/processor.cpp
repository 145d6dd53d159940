#include <ZuPlatform/diagnostics.h>
#include <ZuPlatform/time.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>

namespace {

// 0 means "not asked yet", so a count of 0 is asked for again, while the -1
// of a failed sysconf is kept like any count. Two threads in a first call may
// both ask and both store; relaxed atomics make that race harmless and cost
// a plain load and store.
int readOnlineProcessors(std::atomic<int>& cache) {
  int count = cache.load(std::memory_order_relaxed);
  if (count != 0) return count;
  count = static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN));
  cache.store(count, std::memory_order_relaxed);
  return count;
}

std::atomic<int> coreCountCache{0};
std::atomic<int> threadCpuCountCache{0};

}  // namespace

namespace ZuPlatform {
namespace CycleTime {

double getCurrentValue() {
  rusage usage;
  if (getrusage(RUSAGE_SELF, &usage) == -1) {
    Zu::LogError(
        "ZuPlatform::CycleTime::getCurrentValue: unable to get time\n");
    return 0.0;
  }
  return static_cast<double>(usage.ru_utime.tv_sec) +
         static_cast<double>(usage.ru_utime.tv_usec) / 1000000.0;
}

}  // namespace CycleTime

namespace CPU {

int getCoreCount() { return readOnlineProcessors(coreCountCache); }

}  // namespace CPU
}  // namespace ZuPlatform

namespace Zu {

int ZuThreadGetCPUCount() { return readOnlineProcessors(threadCpuCountCache); }

}  // namespace Zu
