// Refused locks on demand, for tests.
#pragma once

#include <atomic>

#include "platform/export.h"

namespace qxutils {

// Lets tests refuse a lock at the moment they choose.
class QXSENG2_API LockFaultInjector {
  public:
    virtual ~LockFaultInjector();
    // Called on the locking thread before each Lock, ReadLock and WriteLock, with the address of the lock;
    // true makes that operation return false at once.
    virtual bool RefuseLock(const void* lock) = 0;
};

// Process-wide, not owned; null removes it. It must outlive every locking that began while it was set.
QXSENG2_API void SetLockFaultInjector(LockFaultInjector* injector);

namespace internal {

QXSENG2_API extern std::atomic<LockFaultInjector*> lockFaultInjector;

// One load while no injector is set.
inline bool LockRefused(const void* lock) {
    LockFaultInjector* const injector = lockFaultInjector.load(std::memory_order_acquire);
    return injector != nullptr && injector->RefuseLock(lock);
}

}  // namespace internal
}  // namespace qxutils
