// The queue between the thread of a run and the main thread.

#include "tools/qxsql/run_watcher.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace qxsql {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds Long{20000};

void PushItem(RunWatcher& watcher, int line) {
    watcher.OnBatchItemBegin(0, line, line);
    watcher.OnBatchItemEnd(0, -1, qxdbsqlengine::ParameterList());
}

TEST(RunWatcher, EverythingArrivesInItsOrder) {
    constexpr int items = 50000;  // far more than the queue holds
    RunWatcher watcher;
    std::thread engine([&] {
        for (int i = 1; i <= items; ++i) {
            PushItem(watcher, i);
            if (i % 1000 == 0) {
                Errors errors;
                errors.AddRecord(UserErrorRecord(std::to_string(i)));
                watcher.OnError(errors);
            }
        }
        watcher.OnRequestEnd(0);
    });
    int line = 0;
    int ends = 0;
    int errors = 0;
    bool ended = false;
    while (!ended) {
        const std::optional<RunEvent> event = watcher.Next(milliseconds(5));
        if (!event)
            continue;
        switch (event->kind) {
            case RunEvent::ItemBegin:
                ASSERT_EQ(++line, event->line);
                break;
            case RunEvent::ItemEnd:
                ASSERT_EQ(line, ++ends);
                break;
            case RunEvent::Error:
                ASSERT_EQ(1000 * ++errors, line);
                break;
            default:
                ended = true;
        }
    }
    engine.join();
    EXPECT_EQ(items, ends);
    EXPECT_EQ(items / 1000, errors);
    EXPECT_FALSE(watcher.Next(milliseconds(0)));
}

// Items wake nobody, and are there when the waiting is over.
TEST(RunWatcher, ItemsComeAtTheEndOfTheWaitAtTheLatest) {
    RunWatcher watcher;
    std::thread engine([&] {
        std::this_thread::sleep_for(milliseconds(20));
        PushItem(watcher, 7);
    });
    const Clock::time_point start = Clock::now();
    const std::optional<RunEvent> event = watcher.Next(milliseconds(200));
    EXPECT_LT(Clock::now() - start, milliseconds(2000));
    engine.join();
    ASSERT_TRUE(event);
    EXPECT_EQ(RunEvent::ItemBegin, event->kind);
    EXPECT_EQ(7, event->line);
    // What is there already is not waited for.
    EXPECT_EQ(RunEvent::ItemEnd, watcher.Next(Long)->kind);
    EXPECT_FALSE(watcher.Next(milliseconds(1)));
}

TEST(RunWatcher, AllElseWakesAtOnce) {
    void (*const pushes[])(RunWatcher&) = {
        [](RunWatcher& watcher) { watcher.OnError(Errors()); },
        [](RunWatcher& watcher) { watcher.OnResultSetBegin(0, 0, qxdbsqlengine::ResultSetNormal); },
        [](RunWatcher& watcher) { watcher.OnResultSetEnd(0, 0); },
        [](RunWatcher& watcher) { watcher.OnCancelFailed(0); },
        [](RunWatcher& watcher) { watcher.OnRequestEnd(0); },
    };
    for (const auto push : pushes) {
        RunWatcher watcher;
        std::thread engine([&] {
            std::this_thread::sleep_for(milliseconds(20));
            push(watcher);
        });
        const Clock::time_point start = Clock::now();
        EXPECT_TRUE(watcher.Next(Long));
        EXPECT_LT(Clock::now() - start, Long / 2);
        engine.join();
    }
}

// A queue of items alone wakes the main thread before it is full, so that the engine need not wait.
TEST(RunWatcher, ManyItemsWake) {
    RunWatcher watcher;
    std::thread engine([&] {
        std::this_thread::sleep_for(milliseconds(20));
        for (int i = 1; i <= 1024; ++i)
            PushItem(watcher, i);
    });
    const Clock::time_point start = Clock::now();
    EXPECT_TRUE(watcher.Next(Long));
    EXPECT_LT(Clock::now() - start, Long / 2);
    engine.join();
}

TEST(RunWatcher, ClosingLetsAWaitingEngineGo) {
    RunWatcher watcher;
    std::thread engine([&] {
        for (int i = 1; i <= 10000; ++i)
            PushItem(watcher, i);
    });
    ASSERT_TRUE(watcher.Next(Long));
    watcher.Close();
    engine.join();
}

}  // namespace
}  // namespace qxsql
