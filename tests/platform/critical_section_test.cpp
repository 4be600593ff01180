#include "platform/qxutils/critical_section.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/os/debug_output.h"
#include "platform/qxutils/lock_fault.h"
#include "platform/qxutils/lock_guard.h"

namespace {

using qxutils::CriticalSection;
using Guard = qxutils::LockGuard<CriticalSection>;

std::vector<std::string> debugTexts;

void CollectDebugText(const char* text) {
    debugTexts.push_back(text);
}

// Collects debug texts for a scope.
struct DebugTexts {
    DebugTexts() {
        debugTexts.clear();
        qxos::SetDebugOutputHook(&CollectDebugText);
    }
    ~DebugTexts() { qxos::SetDebugOutputHook(nullptr); }
};

bool LockFreeForOthers(CriticalSection& section) {
    bool free = false;
    std::thread([&] {
        free = section.Lock(false);
        if (free) {
            section.Unlock();
        }
    }).join();
    return free;
}

TEST(CriticalSectionTest, IsRecursiveOnOneThread) {
    CriticalSection section;
    EXPECT_TRUE(section.Lock(true));
    EXPECT_TRUE(section.Lock(true));
    EXPECT_TRUE(section.Lock(false));
    EXPECT_TRUE(section.Unlock());
    EXPECT_TRUE(section.Unlock());
    EXPECT_FALSE(LockFreeForOthers(section));
    EXPECT_TRUE(section.Unlock());
    EXPECT_TRUE(LockFreeForOthers(section));
}

TEST(CriticalSectionTest, UnlockIsRefusedWithoutTheLock) {
    CriticalSection section;
    EXPECT_FALSE(section.Unlock());
    section.Lock(true);
    bool unlocked = true;
    std::thread([&] { unlocked = section.Unlock(); }).join();
    EXPECT_FALSE(unlocked);
    EXPECT_FALSE(LockFreeForOthers(section));
    EXPECT_TRUE(section.Unlock());
    EXPECT_FALSE(section.Unlock());
}

TEST(CriticalSectionTest, ExcludesOtherThreads) {
    CriticalSection section;
    int count = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 5000; ++i) {
                section.Lock(true);
                section.Lock(true);
                ++count;
                section.Unlock();
                section.Unlock();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(count, 20000);
}

TEST(LockGuardTest, HoldsForItsScope) {
    CriticalSection section;
    {
        const Guard guard(section);
        EXPECT_TRUE(guard.IsLocked());
        EXPECT_FALSE(LockFreeForOthers(section));
    }
    EXPECT_TRUE(LockFreeForOthers(section));
}

TEST(LockGuardTest, LocksLaterWhenAsked) {
    CriticalSection section;
    Guard guard(section, false);
    EXPECT_FALSE(guard.IsLocked());
    EXPECT_TRUE(LockFreeForOthers(section));
    guard.Relock();
    EXPECT_FALSE(LockFreeForOthers(section));
}

TEST(LockGuardTest, EarlyUnlockIsDoneOnce) {
    CriticalSection section;
    section.Lock(true);
    {
        Guard guard(section);
        guard.Unlock();
        guard.Unlock();
        EXPECT_FALSE(guard.IsLocked());
    }
    // The outer locking must still be there.
    EXPECT_FALSE(LockFreeForOthers(section));
    section.Unlock();
}

struct FakeLock {
    bool locks = true;
    bool unlocks = true;
    int lockCalls = 0;
    int unlockCalls = 0;
    bool lastWait = false;

    bool Lock(bool wait) {
        ++lockCalls;
        lastWait = wait;
        return locks;
    }
    bool Unlock() {
        ++unlockCalls;
        return unlocks;
    }
};

TEST(LockGuardTest, RefusedLockThrows) {
    FakeLock lock;
    lock.locks = false;
    try {
        const qxutils::LockGuard<FakeLock> guard(lock);
        FAIL() << "no exception";
    } catch (const std::exception& failure) {
        EXPECT_STREQ(failure.what(), "Unable to acquire lock!");
    }
    EXPECT_TRUE(lock.lastWait);
    EXPECT_EQ(lock.lockCalls, 1);
    EXPECT_EQ(lock.unlockCalls, 0);
}

TEST(LockGuardTest, FailedReleaseGoesToTheDebugOutput) {
    const DebugTexts texts;
    FakeLock lock;
    lock.unlocks = false;
    { const qxutils::LockGuard<FakeLock> guard(lock); }
    {
        qxutils::LockGuard<FakeLock> guard(lock);
        guard.Unlock();
    }
    EXPECT_EQ(lock.unlockCalls, 2);
    EXPECT_EQ(debugTexts, (std::vector<std::string>{"Unable to release lock!", "Unable to release lock!"}));
}

struct RefuseOne : qxutils::LockFaultInjector {
    const void* target = nullptr;
    bool RefuseLock(const void* lock) override { return lock == target; }
};

TEST(LockFaultInjectorTest, RefusesTheLockItNames) {
    CriticalSection refused;
    CriticalSection other;
    RefuseOne injector;
    injector.target = &refused;
    qxutils::SetLockFaultInjector(&injector);
    EXPECT_FALSE(refused.Lock(true));
    EXPECT_TRUE(other.Lock(true));
    EXPECT_THROW(Guard{refused}, std::runtime_error);
    qxutils::SetLockFaultInjector(nullptr);
    EXPECT_TRUE(refused.Lock(true));
    refused.Unlock();
    other.Unlock();
}

}  // namespace
