// A row lock that is held for the time of one row.
#pragma once

#include <stdexcept>

#include "storage/row_lock.h"

namespace qxdbsqlengine {

// Throws std::runtime_error when the lock is not to be had. The lock must outlive it.
class HeldRow {
  public:
    explicit HeldRow(RowLock& rowLock) : lock(rowLock) {
        if (!lock.Lock())
            throw std::runtime_error("Unable to acquire lock!");
    }
    ~HeldRow() { lock.UnLock(); }
    HeldRow(const HeldRow&) = delete;
    HeldRow& operator=(const HeldRow&) = delete;

  private:
    RowLock& lock;
};

}  // namespace qxdbsqlengine
