#include "storage/map_lock.h"

#include "platform/os/cpu_relax.h"

namespace qxdbsqlengine {

namespace {

constexpr int Tries = 200;

}  // namespace

MapLock::MapLock() = default;

MapLock::~MapLock() = default;

bool MapLock::Wait(long limitMs) {
    for (int i = 0; i < Tries; ++i) {
        qxos::CpuRelax();
        if (mutex.try_lock())
            return true;
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(limitMs);
    std::unique_lock<std::mutex> sleeping(sleepMutex);
    ++waiters;
    bool locked = mutex.try_lock();
    while (!locked) {
        const bool timedOut = sleepCondition.wait_until(sleeping, deadline) == std::cv_status::timeout;
        locked = mutex.try_lock();
        if (timedOut)
            break;
    }
    --waiters;
    return locked;
}

void MapLock::WakeOne() {
    // Under the mutex: a waiter is either still before its try or already asleep.
    const std::lock_guard<std::mutex> waking(sleepMutex);
    sleepCondition.notify_one();
}

}  // namespace qxdbsqlengine
