// How a container's reads take its locks.
#pragma once

#include <chrono>
#include <mutex>

#include "platform/qxutils/read_write_lock.h"

namespace qxdbsqlengine {

// The read side of a container's lock for one operation, and, where pages or column values are read, the
// mutex that serialises that. Each is waited for at most 5000 milliseconds, so that a viewer survives a row
// that takes long; false when the time was over.
class ReadAccess {
  public:
    static constexpr long LimitMs = 5000;

    explicit ReadAccess(qxutils::RecursiveReadWriteLock& rowsLock) : rows(rowsLock, true, LimitMs) {}
    ReadAccess(qxutils::RecursiveReadWriteLock& rowsLock, std::recursive_timed_mutex& mapLock)
        : rows(rowsLock, true, LimitMs), pages(mapLock, std::defer_lock), needsPages(true) {
        if (rows.IsLocked() && !pages.try_lock())
            pages.try_lock_for(std::chrono::milliseconds(LimitMs));
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
