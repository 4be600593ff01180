#include "platform/qxutils/read_write_lock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "platform/qxutils/lock_fault.h"

namespace {

using qxutils::ReadLockGuard;
using qxutils::RecursiveReadWriteLock;
using qxutils::WriteLockGuard;
using Clock = std::chrono::steady_clock;

long MillisecondsSince(Clock::time_point begin) {
    return static_cast<long>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin).count());
}

void SleepMs(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

bool OnOtherThread(const std::function<bool()>& operation) {
    bool result = false;
    std::thread([&] { result = operation(); }).join();
    return result;
}

bool OthersMayRead(RecursiveReadWriteLock& lock) {
    return OnOtherThread([&lock] { return lock.ReadLock(0) && lock.ReadUnlock(); });
}

bool OthersMayWrite(RecursiveReadWriteLock& lock) {
    return OnOtherThread([&lock] { return lock.WriteLock(0) && lock.WriteUnlock(); });
}

TEST(ReadWriteLockTest, ManyReadersOrOneWriter) {
    RecursiveReadWriteLock lock;
    EXPECT_TRUE(lock.ReadLock(-1));
    EXPECT_TRUE(OthersMayRead(lock));
    EXPECT_FALSE(OthersMayWrite(lock));
    EXPECT_TRUE(lock.ReadUnlock(-1));
    EXPECT_TRUE(OthersMayWrite(lock));
    EXPECT_TRUE(lock.WriteLock(-1));
    EXPECT_FALSE(OthersMayRead(lock));
    EXPECT_FALSE(OthersMayWrite(lock));
    EXPECT_TRUE(lock.WriteUnlock(-1));
    EXPECT_TRUE(OthersMayRead(lock));
}

TEST(ReadWriteLockTest, ReadAfterRead) {
    RecursiveReadWriteLock lock;
    EXPECT_TRUE(lock.ReadLock());
    EXPECT_TRUE(lock.ReadLock());
    EXPECT_TRUE(lock.ReadUnlock());
    EXPECT_FALSE(OthersMayWrite(lock));
    EXPECT_TRUE(lock.ReadUnlock());
    EXPECT_FALSE(lock.ReadUnlock());
    EXPECT_TRUE(OthersMayWrite(lock));
}

TEST(ReadWriteLockTest, ReadAfterWrite) {
    RecursiveReadWriteLock lock;
    EXPECT_TRUE(lock.WriteLock());
    EXPECT_TRUE(lock.ReadLock());
    EXPECT_TRUE(lock.ReadUnlock());
    EXPECT_FALSE(OthersMayRead(lock));
    EXPECT_TRUE(lock.WriteUnlock());
    EXPECT_TRUE(OthersMayWrite(lock));
}

TEST(ReadWriteLockTest, WriteAfterWrite) {
    RecursiveReadWriteLock lock;
    EXPECT_TRUE(lock.WriteLock());
    EXPECT_TRUE(lock.WriteLock());
    EXPECT_TRUE(lock.WriteUnlock());
    EXPECT_FALSE(OthersMayRead(lock));
    EXPECT_TRUE(lock.WriteUnlock());
    EXPECT_FALSE(lock.WriteUnlock());
    EXPECT_TRUE(OthersMayWrite(lock));
}

TEST(ReadWriteLockTest, ReaderIsRefusedTheWriteSide) {
    RecursiveReadWriteLock lock;
    lock.ReadLock();
    EXPECT_FALSE(lock.WriteLock());
    EXPECT_THROW(WriteLockGuard{lock}, std::runtime_error);
    EXPECT_TRUE(OthersMayRead(lock));
    EXPECT_TRUE(lock.ReadUnlock());
    EXPECT_TRUE(lock.WriteLock());
    EXPECT_TRUE(lock.WriteUnlock());
}

TEST(ReadWriteLockTest, ReadSideOutlivesTheWriteSide) {
    RecursiveReadWriteLock lock;
    lock.WriteLock();
    lock.ReadLock();
    EXPECT_TRUE(lock.WriteUnlock());
    EXPECT_TRUE(OthersMayRead(lock));
    EXPECT_FALSE(OthersMayWrite(lock));
    EXPECT_FALSE(lock.WriteUnlock());
    EXPECT_TRUE(lock.ReadUnlock());
    EXPECT_TRUE(OthersMayWrite(lock));
}

TEST(ReadWriteLockTest, UnlockOnAnotherThreadIsRefused) {
    RecursiveReadWriteLock lock;
    lock.WriteLock();
    EXPECT_FALSE(OnOtherThread([&lock] { return lock.WriteUnlock(); }));
    EXPECT_FALSE(OnOtherThread([&lock] { return lock.ReadUnlock(); }));
    EXPECT_FALSE(lock.ReadUnlock());
    EXPECT_FALSE(OthersMayRead(lock));
    lock.WriteUnlock();
    lock.ReadLock();
    EXPECT_FALSE(OnOtherThread([&lock] { return lock.ReadUnlock(); }));
    EXPECT_FALSE(lock.WriteUnlock());
    EXPECT_FALSE(OthersMayWrite(lock));
    lock.ReadUnlock();
}

TEST(ReadWriteLockTest, OneThreadHoldsManyLocks) {
    std::vector<std::unique_ptr<RecursiveReadWriteLock>> locks;
    for (int i = 0; i < 40; ++i) {
        locks.push_back(std::make_unique<RecursiveReadWriteLock>());
    }
    for (int i = 0; i < 40; ++i) {
        EXPECT_TRUE(i % 2 == 0 ? locks[i]->ReadLock() : locks[i]->WriteLock());
    }
    for (int i = 0; i < 40; ++i) {
        EXPECT_TRUE(locks[i]->ReadLock());
        EXPECT_FALSE(OthersMayWrite(*locks[i]));
        EXPECT_EQ(OthersMayRead(*locks[i]), i % 2 == 0);
    }
    // Released in another order than taken.
    for (int i = 0; i < 40; ++i) {
        RecursiveReadWriteLock& lock = *locks[(i * 7) % 40];
        EXPECT_TRUE(lock.ReadUnlock());
        EXPECT_TRUE((i * 7) % 40 % 2 == 0 ? lock.ReadUnlock() : lock.WriteUnlock());
        EXPECT_TRUE(OthersMayWrite(lock));
    }
}

TEST(ReadWriteLockTest, TimeoutsInMilliseconds) {
    RecursiveReadWriteLock lock;
    lock.WriteLock();
    for (const bool read : {true, false}) {
        std::thread([&lock, read] {
            Clock::time_point begin = Clock::now();
            EXPECT_FALSE(read ? lock.ReadLock(60) : lock.WriteLock(60));
            EXPECT_GE(MillisecondsSince(begin), 59);
            EXPECT_LT(MillisecondsSince(begin), 5000);
            begin = Clock::now();
            EXPECT_FALSE(read ? lock.ReadLock(0) : lock.WriteLock(0));
            EXPECT_LT(MillisecondsSince(begin), 1000);
        }).join();
    }
    lock.WriteUnlock();
    EXPECT_TRUE(OthersMayRead(lock));
    EXPECT_TRUE(OthersMayWrite(lock));
}

TEST(ReadWriteLockTest, GetsTheLockWithinTheTimeout) {
    RecursiveReadWriteLock lock;
    for (const bool read : {true, false}) {
        lock.WriteLock();
        std::thread waiter([&lock, read] {
            EXPECT_TRUE(read ? lock.ReadLock(10000) : lock.WriteLock(10000));
            EXPECT_TRUE(read ? lock.ReadUnlock() : lock.WriteUnlock());
        });
        SleepMs(30);
        lock.WriteUnlock();
        waiter.join();
    }
}

TEST(ReadWriteLockTest, ReadersQueueBehindAWaitingWriter) {
    RecursiveReadWriteLock lock;
    lock.ReadLock();
    std::atomic<int> order{0};
    int writerPlace = 0;
    int readerPlace = 0;
    std::thread writer([&] {
        EXPECT_TRUE(lock.WriteLock());
        writerPlace = ++order;
        SleepMs(10);
        lock.WriteUnlock();
    });
    // From here on the writer waits: a try to read is refused.
    while (OthersMayRead(lock)) {
        SleepMs(1);
    }
    std::thread reader([&] {
        EXPECT_TRUE(lock.ReadLock());
        readerPlace = ++order;
        lock.ReadUnlock();
    });
    SleepMs(20);
    EXPECT_EQ(order, 0);
    // This thread holds the read side, so it gets it again.
    EXPECT_TRUE(lock.ReadLock(0));
    EXPECT_TRUE(lock.ReadUnlock());
    lock.ReadUnlock();
    writer.join();
    reader.join();
    EXPECT_EQ(writerPlace, 1);
    EXPECT_EQ(readerPlace, 2);
}

TEST(ReadWriteLockTest, WriterThatGivesUpLetsTheReadersIn) {
    RecursiveReadWriteLock lock;
    lock.ReadLock();
    std::thread writer([&lock] { EXPECT_FALSE(lock.WriteLock(150)); });
    while (OthersMayRead(lock)) {
        SleepMs(1);
    }
    const Clock::time_point begin = Clock::now();
    std::thread reader([&lock] {
        EXPECT_TRUE(lock.ReadLock());
        lock.ReadUnlock();
    });
    reader.join();
    EXPECT_LT(MillisecondsSince(begin), 5000);
    writer.join();
    lock.ReadUnlock();
    EXPECT_TRUE(OthersMayWrite(lock));
}

TEST(ReadWriteLockTest, ReaderThatGivesUpIsForgotten) {
    RecursiveReadWriteLock lock;
    lock.WriteLock();
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(OnOtherThread([&lock] { return lock.ReadLock(5); }));
    }
    lock.WriteUnlock();
    EXPECT_TRUE(OthersMayWrite(lock));
}

// A writer that takes the lock again at once lets a waiting reader in after one holding.
TEST(ReadWriteLockTest, BusyWriterDoesNotStarveReaders) {
    RecursiveReadWriteLock lock;
    std::atomic<bool> stop{false};
    std::atomic<long> rows{0};
    std::thread writer([&] {
        while (!stop) {
            lock.WriteLock();
            ++rows;
            lock.WriteUnlock();
        }
    });
    while (rows == 0) {
        std::this_thread::yield();
    }
    long most = 0;
    for (int i = 0; i < 2000; ++i) {
        const long before = rows;
        ASSERT_TRUE(lock.ReadLock(10000));
        // One row may have been under way, one may have begun between the look and the queueing.
        most = std::max(most, rows - before);
        lock.ReadUnlock();
    }
    stop = true;
    writer.join();
    // A preempted reader sees more rows pass before it queues; starving would show as the whole run.
    EXPECT_GT(rows, 0);
    EXPECT_LT(most, rows);
}

TEST(ReadWriteLockTest, BusyReadersDoNotStarveAWriter) {
    RecursiveReadWriteLock lock;
    std::atomic<bool> stop{false};
    std::vector<std::thread> readers;
    std::atomic<int> ready{0};
    for (int t = 0; t < 3; ++t) {
        readers.emplace_back([&] {
            bool first = true;
            while (!stop) {
                lock.ReadLock();
                if (first) {
                    ++ready;
                    first = false;
                }
                lock.ReadUnlock();
            }
        });
    }
    while (ready < 3) {
        std::this_thread::yield();
    }
    for (int i = 0; i < 200; ++i) {
        ASSERT_TRUE(lock.WriteLock(10000)) << i;
        lock.WriteUnlock();
    }
    stop = true;
    for (std::thread& reader : readers) {
        reader.join();
    }
}

TEST(ReadWriteLockTest, BusyWriterDoesNotStarveAnother) {
    RecursiveReadWriteLock lock;
    std::atomic<bool> stop{false};
    std::thread busy([&] {
        while (!stop) {
            lock.WriteLock();
            lock.WriteUnlock();
        }
    });
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(lock.WriteLock(10000)) << i;
        lock.WriteUnlock();
    }
    stop = true;
    busy.join();
}

// Sides, timeouts and nesting mixed on several threads; a lost wake-up hangs, a broken exclusion shows in the
// plain numbers.
TEST(ReadWriteLockTest, ExcludesUnderLoad) {
    RecursiveReadWriteLock lock;
    long first = 0;
    long second = 0;
    std::atomic<long> written{0};
    std::vector<std::thread> threads;
    for (unsigned int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            unsigned int random = t * 7919u + 1u;
            for (int i = 0; i < 4000; ++i) {
                random = random * 1103515245u + 12345u;
                const unsigned int kind = (random >> 16) % 8;
                const long timeout = kind % 2 == 0 ? -1 : static_cast<long>(kind % 3);
                if (kind < 3) {
                    if (lock.WriteLock(timeout)) {
                        ++first;
                        lock.ReadLock();
                        ++second;
                        lock.ReadUnlock();
                        ++written;
                        lock.WriteUnlock();
                    }
                } else if (lock.ReadLock(timeout)) {
                    EXPECT_EQ(first, second);
                    lock.ReadLock();
                    if (kind == 7) {
                        std::this_thread::yield();
                    }
                    EXPECT_EQ(first, second);
                    lock.ReadUnlock();
                    lock.ReadUnlock();
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(first, written);
    EXPECT_EQ(second, written);
    EXPECT_TRUE(OthersMayWrite(lock));
}

TEST(ReadLockGuardTest, LocksNowOrLater) {
    RecursiveReadWriteLock lock;
    {
        ReadLockGuard guard(lock, true);
        EXPECT_TRUE(guard.IsLocked());
        EXPECT_FALSE(OthersMayWrite(lock));
        guard.Unlock();
        guard.Unlock();
        EXPECT_FALSE(guard.IsLocked());
        EXPECT_TRUE(OthersMayWrite(lock));
        EXPECT_TRUE(guard.Relock());
        EXPECT_TRUE(guard.Relock());
        EXPECT_FALSE(OthersMayWrite(lock));
    }
    EXPECT_TRUE(OthersMayWrite(lock));
    ReadLockGuard late(lock, false);
    EXPECT_FALSE(late.IsLocked());
    EXPECT_TRUE(OthersMayWrite(lock));
}

TEST(ReadLockGuardTest, TimeLimitShows) {
    RecursiveReadWriteLock lock;
    lock.WriteLock();
    std::thread([&lock] {
        ReadLockGuard guard(lock, true, 20);
        EXPECT_FALSE(guard.IsLocked());
        EXPECT_FALSE(guard.Relock());
    }).join();
    lock.WriteUnlock();
    EXPECT_TRUE(OthersMayWrite(lock));
}

TEST(WriteLockGuardTest, HoldsForItsScope) {
    RecursiveReadWriteLock lock;
    {
        WriteLockGuard guard(lock);
        EXPECT_TRUE(guard.IsLocked());
        EXPECT_FALSE(OthersMayRead(lock));
        guard.Unlock();
        EXPECT_TRUE(OthersMayRead(lock));
        EXPECT_TRUE(guard.Relock());
        EXPECT_FALSE(OthersMayRead(lock));
    }
    EXPECT_TRUE(OthersMayRead(lock));
    lock.WriteLock();
    std::thread([&lock] {
        WriteLockGuard guard(lock, true, 20);
        EXPECT_FALSE(guard.IsLocked());
    }).join();
    lock.WriteUnlock();
}

struct RefuseOne : qxutils::LockFaultInjector {
    const void* target = nullptr;
    bool RefuseLock(const void* lock) override { return lock == target; }
};

TEST(ReadWriteLockTest, InjectedRefusal) {
    RecursiveReadWriteLock lock;
    RefuseOne injector;
    injector.target = &lock;
    qxutils::SetLockFaultInjector(&injector);
    EXPECT_FALSE(lock.ReadLock());
    EXPECT_FALSE(lock.WriteLock());
    EXPECT_FALSE(ReadLockGuard(lock, true).IsLocked());
    EXPECT_THROW(WriteLockGuard{lock}, std::runtime_error);
    qxutils::SetLockFaultInjector(nullptr);
    EXPECT_TRUE(OthersMayWrite(lock));
}

}  // namespace
