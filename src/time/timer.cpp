#include <ZuPlatform/diagnostics.h>
#include <ZuPlatform/time.h>
#include <time.h>

namespace Zu {
namespace {

// Started while the library loads, and never stopped or reset: now() reads
// only fields that no longer change, so any thread may call it, and it logs
// nothing. Its destructor does nothing, so it serves until the library goes.
ZuTimer processTimer(true);

}  // namespace

ZuTimer::ZuTimer(bool autoStart)
    : startTime(0), stopTime(0), totalTime(0), running(false) {
  if (autoStart) start();
}

ZuTimer::~ZuTimer() {}

// The stamp is taken after the message, so logging is not part of the
// interval.
void ZuTimer::start() {
  if (running) LogDebug("ZuTimer: Timer already running.\n");
  running = true;
  startTime = currentTimestamp();
}

// The stamp comes first, before any test or message, to end the interval as
// close to the call as possible.
double ZuTimer::stop() {
  stopTime = currentTimestamp();
  if (!running) LogDebug("ZuTimer: Timer is not running.\n");
  const double interval = difference(stopTime, startTime);
  totalTime = sum(totalTime, interval);
  running = false;
  return toSeconds(interval);
}

void ZuTimer::reset() {
  running = false;
  startTime = 0;
  stopTime = 0;
  totalTime = 0;
}

bool ZuTimer::isRunning() const { return running; }

double ZuTimer::getTotalTime() const { return toSeconds(totalTime); }

double ZuTimer::getLastTime() const {
  return toSeconds(difference(stopTime, startTime));
}

double ZuTimer::getTime() const {
  if (!running) LogDebug("ZuTimer: Timer is not running.\n");
  return toSeconds(difference(currentTimestamp(), startTime));
}

double ZuTimer::now() { return processTimer.getTime(); }

double ZuTimer::getPrecision() { return 1e-9; }

// A clock that cannot be read leaves the stamp at 0, never whatever the stack
// held: the failure shows as a reading of 0 and nothing is undefined.
double ZuTimer::currentTimestamp() {
  timespec stamp{};
  clock_gettime(CLOCK_MONOTONIC, &stamp);
  return static_cast<double>(stamp.tv_sec) +
         static_cast<double>(stamp.tv_nsec) / 1e9;
}

double ZuTimer::difference(double a, double b) { return a - b; }

double ZuTimer::sum(double a, double b) { return a + b; }

double ZuTimer::toSeconds(double t) { return t; }

}  // namespace Zu
