// A lock that one thread may take several times.
#pragma once

#include <atomic>
#include <mutex>
#include <thread>

#include "platform/export.h"

namespace qxutils {

// Mutual exclusion; recursive on one thread. Any thread. Not held when it is destroyed.
class QXSENG2_API CriticalSection {
  public:
    CriticalSection();
    ~CriticalSection();
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    // `wait` true blocks without limit; false gives up at once when another thread holds the lock. False when
    // the lock was not taken. Each success needs one Unlock.
    bool Lock(bool wait);
    // False, and nothing happens, on a thread that does not hold the lock.
    bool Unlock();

  private:
    std::mutex mutex;
    std::atomic<std::thread::id> owner;
    int depth = 0;  // touched by the owner only
};

}  // namespace qxutils
