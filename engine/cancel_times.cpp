#include "engine/cancel_times.h"

#include <mutex>

namespace qxdbsqlengine {

namespace {

std::mutex timesMutex;
CancelTimes times;  // guarded by timesMutex

CancelTimes Exchange(const CancelTimes& newTimes) {
    const std::lock_guard<std::mutex> guard(timesMutex);
    const CancelTimes before = times;
    times = newTimes;
    return before;
}

}  // namespace

CancelTimes GetCancelTimes() {
    const std::lock_guard<std::mutex> guard(timesMutex);
    return times;
}

ScopedCancelTimes::ScopedCancelTimes(const CancelTimes& newTimes) : before(Exchange(newTimes)) {}

ScopedCancelTimes::~ScopedCancelTimes() {
    Exchange(before);
}

}  // namespace qxdbsqlengine
