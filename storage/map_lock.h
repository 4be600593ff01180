// Mutual exclusion of a container's readers while they map pages.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "platform/export.h"

namespace qxdbsqlengine {

// Recursive on one thread, with a time limit; any thread. Held for the reading of one row, thousands of times
// for a screen, so waiters try for some microseconds before they sleep. Not held when it is destroyed.
class QXSENG2_API MapLock {
  public:
    MapLock();
    ~MapLock();
    MapLock(const MapLock&) = delete;
    MapLock& operator=(const MapLock&) = delete;

    // False when the lock was not to be had for `limitMs` milliseconds. Each success needs one Unlock.
    bool Lock(long limitMs) {
        const std::thread::id self = std::this_thread::get_id();
        if (owner.load(std::memory_order_relaxed) == self) {
            ++depth;
            return true;
        }
        if (!mutex.try_lock() && !Wait(limitMs))
            return false;
        owner.store(self, std::memory_order_relaxed);
        return true;
    }
    // Whether this thread holds it.
    bool IsOwn() const { return owner.load(std::memory_order_relaxed) == std::this_thread::get_id(); }
    // Whether somebody sleeps until it is free. Who takes it again and again then keeps each holding short,
    // or the sleeper never finds it free.
    bool HasWaiters() const { return waiters.load(std::memory_order_relaxed) > 0; }
    // REQUIRES: this thread holds it.
    void Unlock() {
        if (depth > 0) {
            --depth;
            return;
        }
        owner.store(std::thread::id(), std::memory_order_relaxed);
        mutex.unlock();
        // Reads as it writes, so that a waiter that was not counted yet finds the mutex free.
        if (waiters.fetch_add(0) > 0)
            WakeOne();
    }

  private:
    bool Wait(long limitMs);
    void WakeOne();

    std::mutex mutex;
    std::atomic<std::thread::id> owner;
    int depth = 0;  // beyond the first; touched by the owner only
    std::atomic<int> waiters{0};
    std::mutex sleepMutex;
    std::condition_variable sleepCondition;
};

}  // namespace qxdbsqlengine
