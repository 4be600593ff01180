#include "platform/qxutils/step_timer.h"

namespace qxutils {

PerformanceStepTimer::PerformanceStepTimer(bool start)
    : running(start), begin(std::chrono::steady_clock::now()) {}

PerformanceStepTimer::PerformanceStepTimer(const PerformanceStepTimer&) = default;

PerformanceStepTimer& PerformanceStepTimer::operator=(const PerformanceStepTimer&) = default;

PerformanceStepTimer::~PerformanceStepTimer() = default;

double PerformanceStepTimer::GetElapseTime() const {
    if (!running) {
        return 0.0;
    }
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
}

}  // namespace qxutils
