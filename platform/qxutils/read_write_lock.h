// The lock between the one writer of a store and its readers, and between notifying and registering.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "platform/export.h"

namespace qxutils {

// Any number of readers or one writer. Any thread.
//
// Fair by phases: a writer that takes the lock again at once first lets in all readers that waited while it
// held the lock, and readers that come while a writer waits are let in behind it. So a reader waits for one
// holding of a writer, a writer for one holding of the readers that are inside, whatever the other side does.
// Waiters spin for some tens of microseconds before they sleep, since a row writer holds the lock for less
// than a microsecond.
//
// Re-entry on one thread: read after read (also while a writer waits), read after write, write after write.
// A thread that only reads must not ask for the write side: that could wait for itself, so it is refused.
//
// Timeouts are in milliseconds: negative is no limit, 0 only tries. A false result means that the lock was
// not taken. A lock is released on the thread that took it, and is destroyed unheld.
class QXSENG2_API RecursiveReadWriteLock {
  public:
    RecursiveReadWriteLock();
    virtual ~RecursiveReadWriteLock();
    RecursiveReadWriteLock(const RecursiveReadWriteLock&) = delete;
    RecursiveReadWriteLock& operator=(const RecursiveReadWriteLock&) = delete;

    virtual bool ReadLock(long timeoutMs = -1);
    // False at once on a thread that holds the read side alone.
    virtual bool WriteLock(long timeoutMs = -1);
    // False, and nothing happens, on a thread that does not hold that side. The time is not used: releasing
    // never waits. Releasing the write side under a read side taken later keeps that read side.
    virtual bool ReadUnlock(long timeoutMs = -1);
    virtual bool WriteUnlock(long timeoutMs = -1);

  private:
    bool ReadLockSlow(long timeoutMs);
    bool WriteLockSlow(long timeoutMs);
    void ReleaseRead();
    void ReleaseWrite(bool keepRead);
    bool LeaveReadQueue(std::uint64_t phase);
    void LeaveWriteQueue(bool handoff);
    void WakeSleepers();

    std::atomic<std::uint64_t> state{0};  // layout in read_write_lock.cpp
    std::atomic<int> sleepers{0};         // waiters that are past spinning
    std::mutex sleepMutex;
    std::condition_variable sleepCondition;
};

// Holds the read side for a scope. One thread; the lock must outlive the guard.
class QXSENG2_API ReadLockGuard {
  public:
    // Locks at once when `lockNow`; `timeoutMs` holds for every locking by this guard. Does not throw:
    // IsLocked tells whether the time was over.
    ReadLockGuard(RecursiveReadWriteLock& lock, bool lockNow, long timeoutMs = -1);
    ~ReadLockGuard();
    ReadLockGuard(const ReadLockGuard&) = delete;
    ReadLockGuard& operator=(const ReadLockGuard&) = delete;

    // Takes the lock unless it is held. True when it is held afterwards.
    bool Relock();
    // Nothing when the guard holds nothing.
    void Unlock();
    bool IsLocked() const { return locked; }

  private:
    RecursiveReadWriteLock& lock;
    const long timeoutMs;
    bool locked = false;
};

// Holds the write side for a scope. One thread; the lock must outlive the guard.
class QXSENG2_API WriteLockGuard {
  public:
    // Locks at once when `lockNow`. Without a time limit a refusal throws std::runtime_error "Unable to
    // acquire lock!", so that nothing is written unguarded; with a limit IsLocked tells.
    explicit WriteLockGuard(RecursiveReadWriteLock& lock, bool lockNow = true, long timeoutMs = -1);
    ~WriteLockGuard();
    WriteLockGuard(const WriteLockGuard&) = delete;
    WriteLockGuard& operator=(const WriteLockGuard&) = delete;

    // As the constructor. True when the lock is held afterwards.
    bool Relock();
    void Unlock();
    bool IsLocked() const { return locked; }

  private:
    RecursiveReadWriteLock& lock;
    const long timeoutMs;
    bool locked = false;
};

}  // namespace qxutils
