#include "platform/qxutils/event.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <thread>

namespace {

using qxutils::Event;
using Clock = std::chrono::steady_clock;

long MillisecondsSince(Clock::time_point begin) {
    return static_cast<long>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin).count());
}

TEST(EventTest, ManualResetStaysSignalled) {
    Event event(true, false, "");
    event.SetTimeout(10);
    EXPECT_FALSE(event.Lock());
    EXPECT_TRUE(event.SetEvent());
    EXPECT_TRUE(event.Lock());
    EXPECT_TRUE(event.Lock());
    EXPECT_TRUE(event.ResetEvent());
    EXPECT_FALSE(event.Lock());
}

TEST(EventTest, AutomaticResetLetsOneThrough) {
    Event event(false, false, "");
    event.SetTimeout(10);
    event.SetEvent();
    event.SetEvent();
    EXPECT_TRUE(event.Lock());
    EXPECT_FALSE(event.Lock());
}

TEST(EventTest, InitialStateIsTaken) {
    Event manual(true, true, "");
    Event automatic(false, true, "");
    manual.SetTimeout(0);
    automatic.SetTimeout(0);
    EXPECT_TRUE(manual.Lock());
    EXPECT_TRUE(manual.Lock());
    EXPECT_TRUE(automatic.Lock());
    EXPECT_FALSE(automatic.Lock());
}

TEST(EventTest, TimeoutIsInMilliseconds) {
    Event event(true, false, "");
    event.SetTimeout(60);
    const Clock::time_point begin = Clock::now();
    EXPECT_FALSE(event.Lock());
    EXPECT_GE(MillisecondsSince(begin), 59);
    EXPECT_LT(MillisecondsSince(begin), 5000);
}

TEST(EventTest, WithoutTimeoutWaitsForTheSignal) {
    Event event(true, false, "");
    std::thread setter([&event] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        event.SetEvent();
    });
    const Clock::time_point begin = Clock::now();
    EXPECT_TRUE(event.Lock());
    EXPECT_GE(MillisecondsSince(begin), 45);
    setter.join();
}

TEST(EventTest, NegativeTimeoutIsNoLimitAgain) {
    Event event(true, false, "");
    event.SetTimeout(0);
    event.SetTimeout(-1);
    std::thread setter([&event] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        event.SetEvent();
    });
    EXPECT_TRUE(event.Lock());
    setter.join();
}

TEST(EventTest, UnlockDoesNothing) {
    Event event(false, false, "");
    event.SetTimeout(0);
    EXPECT_TRUE(event.Unlock());
    EXPECT_FALSE(event.Lock());
    event.SetEvent();
    EXPECT_TRUE(event.Unlock());
    EXPECT_TRUE(event.Lock());
}

// The waiter may destroy the event as soon as its wait is over.
TEST(EventTest, MayGoRightAfterTheWait) {
    for (int i = 0; i < 200; ++i) {
        auto event = std::make_unique<Event>(true, false, "");
        std::thread setter([target = event.get()] { target->SetEvent(); });
        EXPECT_TRUE(event->Lock());
        // SetEvent itself may still hold the mutex; taking it once more orders the two.
        event->ResetEvent();
        setter.join();
        event.reset();
    }
}

}  // namespace
