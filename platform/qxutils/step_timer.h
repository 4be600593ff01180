// Elapsed time of a request.
#pragma once

#include <chrono>

#include "platform/export.h"

namespace qxutils {

// A value; any thread may read it while nobody assigns.
class QXSENG2_API PerformanceStepTimer {
  public:
    // With `start` false the timer stands at 0 for good, until a running one is assigned.
    explicit PerformanceStepTimer(bool start);
    PerformanceStepTimer(const PerformanceStepTimer&);
    PerformanceStepTimer& operator=(const PerformanceStepTimer&);
    virtual ~PerformanceStepTimer();

    // Milliseconds since construction, with fractions; never decreases.
    double GetElapseTime() const;

  private:
    bool running;
    std::chrono::steady_clock::time_point begin;
};

}  // namespace qxutils
