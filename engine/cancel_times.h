// The time limits of cancelling. Internal to the library: its symbols are hidden, and callers do not include
// it.
#pragma once

namespace qxdbsqlengine {

// What callers are promised (engine/cancellation.h) rests on these.
struct CancelTimes {
    long driverCancelMs = 2000;  // a caller's wait for the driver's cancel
    int watchPasses = 50;        // looks of the watchdog at a run that was cancelled
    long watchPassMs = 300;      // between two of them
    long watchSignalMs = 10000;  // of a wait for the end of the watchdog
};

// The times in force: those above.
CancelTimes GetCancelTimes();

// For tests alone, which link the layers statically and can't always wait for so long: other times for the
// length of a scope, for all threads. What was begun within it keeps its times.
class ScopedCancelTimes {
  public:
    explicit ScopedCancelTimes(const CancelTimes& times);
    ~ScopedCancelTimes();
    ScopedCancelTimes(const ScopedCancelTimes&) = delete;
    ScopedCancelTimes& operator=(const ScopedCancelTimes&) = delete;

  private:
    const CancelTimes before;
};

}  // namespace qxdbsqlengine
