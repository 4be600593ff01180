// Scope guard over a CriticalSection and its like.
#pragma once

#include <stdexcept>

#include "platform/os/debug_output.h"

namespace qxutils {

// Holds `Lock` (anything with `bool Lock(bool wait)` and `bool Unlock()`) for a scope. One thread; the lock
// is not owned and must outlive the guard.
template <class Lock>
class LockGuard {
  public:
    // Locks at once unless `lockNow` is false. Throws std::runtime_error "Unable to acquire lock!".
    explicit LockGuard(Lock& target, bool lockNow = true) : lock(target) {
        if (lockNow) {
            Relock();
        }
    }

    ~LockGuard() {
        if (locked && !lock.Unlock()) {
            qxos::OutputDebugStringA("Unable to release lock!");
        }
    }

    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

    // Takes the lock again after an Unlock; nothing when it is held. Throws as the constructor does.
    void Relock() {
        if (locked) {
            return;
        }
        if (!lock.Lock(true)) {
            throw std::runtime_error("Unable to acquire lock!");
        }
        locked = true;
    }

    // Releases early; nothing when the guard holds nothing. Does not throw.
    void Unlock() {
        if (locked) {
            locked = false;
            if (!lock.Unlock()) {
                qxos::OutputDebugStringA("Unable to release lock!");
            }
        }
    }

    bool IsLocked() const { return locked; }

  private:
    Lock& lock;
    bool locked = false;
};

}  // namespace qxutils
