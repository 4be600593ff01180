#include "platform/qxutils/critical_section.h"

#include "platform/qxutils/lock_fault.h"

namespace qxutils {

namespace internal {

std::atomic<LockFaultInjector*> lockFaultInjector{nullptr};

}  // namespace internal

LockFaultInjector::~LockFaultInjector() = default;

void SetLockFaultInjector(LockFaultInjector* injector) {
    internal::lockFaultInjector.store(injector, std::memory_order_release);
}

CriticalSection::CriticalSection() = default;

CriticalSection::~CriticalSection() = default;

bool CriticalSection::Lock(bool wait) {
    if (internal::LockRefused(this)) {
        return false;
    }
    // Only this thread itself can have stored its id, so a plain comparison decides.
    const std::thread::id self = std::this_thread::get_id();
    if (owner.load(std::memory_order_relaxed) == self) {
        ++depth;
        return true;
    }
    if (wait) {
        mutex.lock();
    } else if (!mutex.try_lock()) {
        return false;
    }
    owner.store(self, std::memory_order_relaxed);
    depth = 1;
    return true;
}

bool CriticalSection::Unlock() {
    if (owner.load(std::memory_order_relaxed) != std::this_thread::get_id()) {
        return false;
    }
    if (--depth == 0) {
        owner.store(std::thread::id(), std::memory_order_relaxed);
        mutex.unlock();
    }
    return true;
}

}  // namespace qxutils
