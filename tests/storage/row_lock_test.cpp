#include "storage/row_lock.h"

#include <gtest/gtest.h>

#include <future>
#include <stdexcept>

#include "platform/qxutils/lock_fault.h"
#include "platform/qxutils/lock_guard.h"
#include "platform/qxutils/read_write_lock.h"
#include "storage/sql_engine_critical_section.h"

namespace qxdbsqlengine {
namespace {

class RowLockTest : public testing::Test {
  protected:
    // Whether another thread gets the read side at once.
    bool IsFree() {
        return std::async(std::launch::async,
                          [this] {
                              if (!lock.ReadLock(0))
                                  return false;
                              lock.ReadUnlock();
                              return true;
                          })
            .get();
    }

    qxutils::RecursiveReadWriteLock lock;
};

TEST_F(RowLockTest, HoldsTheWriteSide) {
    RowLock row(lock);
    EXPECT_TRUE(IsFree());
    EXPECT_TRUE(row.Lock());
    EXPECT_FALSE(IsFree());
    EXPECT_TRUE(row.UnLock());
    EXPECT_TRUE(IsFree());
}

TEST_F(RowLockTest, UnLockWithoutLockIsRefused) {
    RowLock row(lock);
    EXPECT_FALSE(row.UnLock());
    EXPECT_TRUE(row.Lock());
    EXPECT_TRUE(row.UnLock());
    EXPECT_FALSE(row.UnLock());
    EXPECT_TRUE(IsFree());
}

TEST_F(RowLockTest, Nests) {
    RowLock row(lock);
    EXPECT_TRUE(row.Lock());
    EXPECT_TRUE(row.Lock());
    EXPECT_TRUE(row.UnLock());
    EXPECT_FALSE(IsFree());
    EXPECT_TRUE(row.UnLock());
    EXPECT_TRUE(IsFree());
}

TEST_F(RowLockTest, CopiesShareTheHold) {
    RowLock row(lock);
    {
        RowLock copy(row);
        EXPECT_TRUE(copy.Lock());
    }
    EXPECT_FALSE(IsFree());
    EXPECT_TRUE(row.UnLock());
    EXPECT_TRUE(IsFree());
}

TEST_F(RowLockTest, LastCopyGivesTheHoldBack) {
    try {
        RowLock row(lock);
        RowLock copy(lock);
        copy = row;
        row.Lock();
        copy.Lock();
        throw std::runtime_error("row failed");
    } catch (const std::runtime_error&) {
    }
    EXPECT_TRUE(IsFree());
}

TEST_F(RowLockTest, ThreadThatReadsIsRefused) {
    RowLock row(lock);
    ASSERT_TRUE(lock.ReadLock());
    EXPECT_FALSE(row.Lock());
    EXPECT_FALSE(row.UnLock());
    lock.ReadUnlock();
}

TEST(SQLEngineCriticalSectionTest, IsRecursiveAndTakenWithAGuard) {
    SQLEngineCriticalSection section;
    const qxutils::LockGuard<SQLEngineCriticalSection> outer(section);
    const qxutils::LockGuard<SQLEngineCriticalSection> inner(section);
    EXPECT_FALSE(std::async(std::launch::async, [&section] { return section.Lock(false); }).get());
}

// Refuses every lock while it lives.
class RefusingLocks : public qxutils::LockFaultInjector {
  public:
    RefusingLocks() { qxutils::SetLockFaultInjector(this); }
    ~RefusingLocks() override { qxutils::SetLockFaultInjector(nullptr); }
    bool RefuseLock(const void*) override { return true; }
};

TEST(SQLEngineCriticalSectionTest, RefusedLockThrows) {
    SQLEngineCriticalSection section;
    const RefusingLocks refusing;
    try {
        const qxutils::LockGuard<SQLEngineCriticalSection> guard(section);
        FAIL() << "the lock was taken";
    } catch (const std::exception& failure) {
        EXPECT_STREQ("Unable to acquire lock!", failure.what());
    }
}

}  // namespace
}  // namespace qxdbsqlengine
