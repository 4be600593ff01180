// How a container's reads take its locks.
#pragma once

#include <chrono>
#include <mutex>

#include "platform/qxutils/read_write_lock.h"

namespace qxdbsqlengine {

// The read side of a container's lock for one operation, and, where pages or column values are read, the
// mutex that serialises that. Each is waited for at most `limitMs` milliseconds, so that a viewer survives a
// row that takes long; false when the time was over.
class ReadAccess {
  public:
    static constexpr long DefaultLimitMs = 5000;

    ReadAccess(qxutils::RecursiveReadWriteLock& rowsLock, long limitMs) : rows(rowsLock, true, limitMs) {}
    ReadAccess(qxutils::RecursiveReadWriteLock& rowsLock, std::recursive_timed_mutex& mapLock, long limitMs)
        : rows(rowsLock, true, limitMs), pages(mapLock, std::defer_lock), needsPages(true) {
        if (rows.IsLocked() && !pages.try_lock())
            static_cast<void>(pages.try_lock_for(std::chrono::milliseconds(limitMs)));
    }
    ReadAccess(const ReadAccess&) = delete;
    ReadAccess& operator=(const ReadAccess&) = delete;

    explicit operator bool() const { return rows.IsLocked() && (!needsPages || pages.owns_lock()); }

  private:
    qxutils::ReadLockGuard rows;
    std::unique_lock<std::recursive_timed_mutex> pages;
    bool needsPages = false;
};

}  // namespace qxdbsqlengine
