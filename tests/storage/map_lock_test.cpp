#include "storage/map_lock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>
#include <vector>

namespace qxdbsqlengine {
namespace {

TEST(MapLockTest, KeepsOthersOutUntilTheLastUnlock) {
    MapLock lock;
    const auto isFree = [&lock] {
        return std::async(std::launch::async,
                          [&lock] {
                              const bool locked = lock.Lock(1);
                              if (locked)
                                  lock.Unlock();
                              return locked;
                          })
            .get();
    };
    EXPECT_TRUE(lock.Lock(0));
    EXPECT_TRUE(lock.Lock(0));
    EXPECT_FALSE(isFree());
    lock.Unlock();
    EXPECT_FALSE(isFree());
    lock.Unlock();
    EXPECT_TRUE(isFree());
}

TEST(MapLockTest, WaitsForItsLimit) {
    MapLock lock;
    ASSERT_TRUE(lock.Lock(0));
    std::async(std::launch::async, [&lock] {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(lock.Lock(50));
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
    }).get();
    std::future<bool> later = std::async(std::launch::async, [&lock] {
        const bool locked = lock.Lock(10000);
        if (locked)
            lock.Unlock();
        return locked;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // asleep by now
    lock.Unlock();
    EXPECT_TRUE(later.get());
}

TEST(MapLockTest, CountsUnderContention) {
    MapLock lock;
    int count = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&lock, &count] {
            for (int i = 0; i < 20000; ++i) {
                if (!lock.Lock(60000))
                    continue;
                ++count;
                if (i % 1000 == 0)
                    std::this_thread::sleep_for(std::chrono::microseconds(200));
                lock.Unlock();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(80000, count);
}

}  // namespace
}  // namespace qxdbsqlengine
