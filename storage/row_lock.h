// Exclusive hold of a results container for the time of one row.
#pragma once

#include <memory>

#include "platform/export.h"

namespace qxutils {
class RecursiveReadWriteLock;
}

namespace qxdbsqlengine {

// Copyable, counted handle on the write side of a container's lock. One thread at a time: all copies of one
// handle belong to the thread that locks. The container must outlive every copy.
//
// Copies share one count of locks: Lock on one copy may be followed by UnLock on another. When the last copy
// goes while it still holds, the hold is given back, so a row that ends in an exception blocks nobody.
class QXSENG2_API RowLock {
  public:
    explicit RowLock(qxutils::RecursiveReadWriteLock& lock);
    RowLock(const RowLock& other);
    RowLock& operator=(const RowLock& other);
    ~RowLock();

    // Waits without limit until readers and other writers are out. True when held; may be nested.
    bool Lock();
    // Gives one Lock back. False, and nothing happens, when this handle holds nothing.
    bool UnLock();

  private:
    struct State;
    std::shared_ptr<State> state;
};

}  // namespace qxdbsqlengine
