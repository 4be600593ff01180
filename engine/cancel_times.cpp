#include "engine/cancel_times.h"

#include <mutex>
#include <optional>

namespace qxdbsqlengine {

namespace {

std::mutex timesMutex;
std::optional<CancelTimes> testTimes;  // guarded by timesMutex

void SetTestTimes(const std::optional<CancelTimes>& times) {
    const std::lock_guard<std::mutex> guard(timesMutex);
    testTimes = times;
}

}  // namespace

CancelTimes GetCancelTimes() {
    const std::lock_guard<std::mutex> guard(timesMutex);
    return testTimes.value_or(CancelTimes());
}

ScopedCancelTimes::ScopedCancelTimes(const CancelTimes& times) {
    SetTestTimes(times);
}

ScopedCancelTimes::~ScopedCancelTimes() {
    SetTestTimes(std::nullopt);
}

}  // namespace qxdbsqlengine
