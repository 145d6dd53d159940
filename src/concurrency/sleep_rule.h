// The choice between sleep and usleep that Zu::ZuThreadSleep makes, kept
// apart so that tests can check the boundary without sleeping through it.
#ifndef ZUPLATFORM_SRC_CONCURRENCY_SLEEP_RULE_H
#define ZUPLATFORM_SRC_CONCURRENCY_SLEEP_RULE_H

#include <cstdint>

namespace Zu {
namespace detail {

struct SleepCall {
  bool wholeSeconds;       // sleep(argument) rather than usleep(argument)
  std::uint64_t argument;  // seconds or microseconds
};

// Up to one second of microseconds goes to usleep; anything longer becomes
// whole seconds, the remainder cut off.
SleepCall sleepCallFor(unsigned long milliseconds);

}  // namespace detail
}  // namespace Zu

#endif  // ZUPLATFORM_SRC_CONCURRENCY_SLEEP_RULE_H
