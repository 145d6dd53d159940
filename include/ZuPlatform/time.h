// Time and processor: a stopwatch over the monotonic clock, the process's CPU
// time and the number of processors online.
//
// Times are double seconds. A clock stamp is the clock's value, not a time of
// day: only differences of stamps mean anything.
#ifndef ZUPLATFORM_TIME_H
#define ZUPLATFORM_TIME_H

#ifndef ZUPLATFORM_API
#define ZUPLATFORM_API __attribute__((visibility("default")))
#endif

namespace Zu {

// A stopwatch: the stamps of its last start and stop and the total of the
// intervals measured. It never fails; wrong use (start while running, stop or
// getTime while stopped) logs a message through LogDebug and the operation
// does its work all the same. One thread at a time per object; no lock.
class ZUPLATFORM_API ZuTimer {
 public:
  // All times 0, stopped; then started if autoStart is true (the default).
  explicit ZuTimer(bool autoStart = true);
  // Does nothing.
  ~ZuTimer();

  // Stamps the start and runs; on a running timer it restarts the interval,
  // leaving the total alone, and logs "ZuTimer: Timer already running.".
  void start();
  // Stamps the stop, adds the interval since the last start to the total and
  // returns that interval. On a stopped timer it logs "ZuTimer: Timer is not
  // running." and measures from the old start (from stamp 0 if never started).
  double stop();
  // Stops and clears all times, adding nothing; no message.
  void reset();
  // Whether the timer runs.
  bool isRunning() const;
  // The sum of the intervals stop has measured; the running one is not in it.
  double getTotalTime() const;
  // Last stop minus last start, whatever the state (negative after a
  // restart that has not been stopped yet).
  double getLastTime() const;
  // Seconds from the last start to now, changing nothing; on a stopped timer
  // it logs "ZuTimer: Timer is not running." and still measures.
  double getTime() const;

  // Seconds since the library was loaded, from a timer that runs from then on.
  static double now();
  // The resolution the timer reports: 1e-9 seconds, whatever the clock does.
  static double getPrecision();
  // One reading of the monotonic clock, in seconds; 0 if the clock cannot be
  // read (no message).
  static double currentTimestamp();
  // a - b.
  static double difference(double a, double b);
  // a + b.
  static double sum(double a, double b);
  // t in seconds: stamps already are, so t unchanged.
  static double toSeconds(double t);

 private:
  double startTime;
  double stopTime;
  double totalTime;
  bool running;
};

// The number of processors online, read once per process and then remembered
// (a separate memory from ZuPlatform::CPU::getCoreCount); -1 if the system
// cannot tell, and that is remembered too.
ZUPLATFORM_API int ZuThreadGetCPUCount();

}  // namespace Zu

namespace ZuPlatform {

// Namespaces, not classes: callers use the qualified names only.
namespace CycleTime {

// User CPU time of all threads of the process so far, in seconds (system time
// and children not counted; microsecond resolution). If the system cannot
// tell, logs through Zu::LogError and, if that returns, gives 0.0.
ZUPLATFORM_API double getCurrentValue();

}  // namespace CycleTime

namespace CPU {

// The number of processors online, read once per process and then remembered
// (a separate memory from Zu::ZuThreadGetCPUCount); -1 if the system cannot
// tell, and that is remembered too.
ZUPLATFORM_API int getCoreCount();

}  // namespace CPU
}  // namespace ZuPlatform

#endif  // ZUPLATFORM_TIME_H
