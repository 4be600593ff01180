#include "storage/row_lock.h"

#include "platform/qxutils/read_write_lock.h"

namespace qxdbsqlengine {

struct RowLock::State {
    explicit State(qxutils::RecursiveReadWriteLock& target) : lock(target) {}
    ~State() {
        for (; held > 0; --held)
            lock.WriteUnlock();
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    qxutils::RecursiveReadWriteLock& lock;
    int held = 0;
};

RowLock::RowLock(qxutils::RecursiveReadWriteLock& lock) : state(std::make_shared<State>(lock)) {}
RowLock::RowLock(const RowLock&) = default;
RowLock& RowLock::operator=(const RowLock&) = default;
RowLock::~RowLock() = default;

bool RowLock::Lock() {
    if (!state->lock.WriteLock())
        return false;
    ++state->held;
    return true;
}

bool RowLock::UnLock() {
    if (state->held == 0)
        return false;
    --state->held;
    return state->lock.WriteUnlock();
}

}  // namespace qxdbsqlengine
