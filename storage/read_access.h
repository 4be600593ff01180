// How a container's reads take its locks.
#pragma once

#include "platform/qxutils/read_write_lock.h"
#include "storage/map_lock.h"

namespace qxdbsqlengine {

// The read side of a container's lock for one operation, and, where pages or column values are read, the
// mutex that serialises that. Each is waited for at most `limitMs` milliseconds, so that a viewer survives a
// row that takes long; false when the time was over.
//
// A thread that holds the mutex has taken both before, in this order, and needs nothing more.
class ReadAccess {
  public:
    static constexpr long DefaultLimitMs = 5000;

    ReadAccess(qxutils::RecursiveReadWriteLock& rowsLock, long limitMs) : rows(rowsLock, true, limitMs) {}
    ReadAccess(qxutils::RecursiveReadWriteLock& rowsLock, MapLock& mapLock, long limitMs)
        : nested(mapLock.IsOwn()),
          rows(rowsLock, !nested, limitMs),
          pages(rows.IsLocked() && mapLock.Lock(limitMs) ? &mapLock : nullptr) {
        if (!pages)
            rows.Unlock();
    }
    ~ReadAccess() {
        if (pages)
            pages->Unlock();
    }
    ReadAccess(const ReadAccess&) = delete;
    ReadAccess& operator=(const ReadAccess&) = delete;

    explicit operator bool() const { return nested || rows.IsLocked(); }

  private:
    const bool nested = false;
    qxutils::ReadLockGuard rows;
    MapLock* const pages = nullptr;
};

}  // namespace qxdbsqlengine
