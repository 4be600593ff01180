// The small mutual exclusion of the engine's own objects.
#pragma once

#include "platform/export.h"
#include "platform/qxutils/critical_section.h"

namespace qxdbsqlengine {

// Recursive on one thread; any thread. Taken with qxutils::LockGuard<SQLEngineCriticalSection>, which throws
// "Unable to acquire lock!" when the lock cannot be had.
class QXSENG2_API SQLEngineCriticalSection {
  public:
    SQLEngineCriticalSection() = default;
    ~SQLEngineCriticalSection() = default;
    SQLEngineCriticalSection(const SQLEngineCriticalSection&) = delete;
    SQLEngineCriticalSection& operator=(const SQLEngineCriticalSection&) = delete;

    // `wait` false: only when it is free at once.
    bool Lock(bool wait) { return section.Lock(wait); }
    bool Unlock() { return section.Unlock(); }

  private:
    qxutils::CriticalSection section;
};

}  // namespace qxdbsqlengine
