// Cancelling with the times that callers get. Slow; its tests may run side by side.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "cancel_support.h"
#include "engine/force_cancel_thread.h"

namespace {

using namespace qxdbsqlengine;
using namespace qxtest;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

class RealTimesTest : public CancelTest {
  protected:
    RealTimesTest() : CancelTest(CancelTimes()) {}
};

template <class Action>
milliseconds TimeOf(const Action& action) {
    const Clock::time_point begin = Clock::now();
    action();
    return std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
}

// The mark alone: nothing runs on the server, nothing is waited for.
TEST_F(RealTimesTest, RequestThatWaitsInTheQueue) {
    const Gate gate;
    KeepBusy(director->GetEngine(), gate);
    ASSERT_TRUE(gate.WaitForArrivals(1));
    Start("x");
    EXPECT_LT(TimeOf([this] { EXPECT_TRUE(director->Cancel()); }), milliseconds(1000));
    EXPECT_FALSE(CountsAsRunning());
    gate.Open();
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(calls.Lines(),
              (Lines{"OnRequestBegin", "OnBatchItemBegin 0 0", "OnBatchItemEnd 0 0", "OnRequestEnd"}));
    EXPECT_EQ(server.CancelCount(), 0);
}

TEST_F(RealTimesTest, CancelThatReturnsAtOnce) {
    server.Expect("x").Hangs();
    Start("x");
    ASSERT_TRUE(server.WaitForHang());
    EXPECT_LT(TimeOf([this] { EXPECT_TRUE(director->Cancel()); }), milliseconds(1000));
    EXPECT_TRUE(request->cancelResult);
    EXPECT_FALSE(CountsAsRunning());
    ASSERT_TRUE(WaitEnd());
    EXPECT_LT(TimeOf([this] { EXPECT_TRUE(WaitUntilNobodyIsLeft()); }), milliseconds(1500))
        << "the watchdog looks every 300 ms";
    EXPECT_EQ(cancelFailures, 0);
}

TEST_F(RealTimesTest, CancelThatBlocksForThreeSeconds) {
    server.OnCancel([] { std::this_thread::sleep_for(milliseconds(3000)); });
    server.Expect("x").Hangs();
    Start("x");
    ASSERT_TRUE(server.WaitForHang());
    const Clock::time_point begin = Clock::now();
    const milliseconds waited = TimeOf([this] { EXPECT_TRUE(director->Cancel()); });
    EXPECT_GE(waited, milliseconds(2000));
    EXPECT_LT(waited, milliseconds(2900));
    EXPECT_FALSE(request->cancelResult);
    EXPECT_TRUE(CountsAsRunning());
    ASSERT_TRUE(WaitEnd());
    EXPECT_GE(Clock::now() - begin, milliseconds(3000));
    EXPECT_TRUE(Eventually([this] { return !CountsAsRunning(); }));
    EXPECT_EQ(calls.Lines(), (Lines{"OnRequestBegin", "OnBatchItemBegin 0 0", "OnExecuteBegin",
                                    "OnBatchItemEnd 0 0", "OnRequestEnd"}));
    EXPECT_LT(TimeOf([this] { EXPECT_TRUE(WaitUntilNobodyIsLeft()); }), milliseconds(1500));
    EXPECT_EQ(cancelFailures, 0);
}

TEST_F(RealTimesTest, DriverThatNeverReturns) {
    const Gate gate;
    server.OnCancel([gate] { gate.Pass(); });
    server.Expect("x").Does([gate] { gate.Pass(); });
    Start("x");
    ASSERT_TRUE(gate.WaitForArrivals(1));
    const milliseconds waited = TimeOf([this] { EXPECT_TRUE(director->Cancel()); });
    EXPECT_GE(waited, milliseconds(2000));
    EXPECT_LT(waited, milliseconds(3500));
    const Clock::time_point watched = Clock::now();
    EXPECT_TRUE(CountsAsRunning());
    std::this_thread::sleep_for(milliseconds(14000));
    EXPECT_TRUE(CountsAsRunning());
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
    ASSERT_TRUE(WaitForLine("OnCancelFailed"));
    EXPECT_GE(Clock::now() - watched, milliseconds(14990));
    EXPECT_LT(Clock::now() - watched, milliseconds(18000));
    EXPECT_EQ(calls.Lines(), (Lines{"OnRequestBegin", "OnBatchItemBegin 0 0", "OnExecuteBegin",
                                    "OnError " + NotRespondedText(), "OnCancelFailed"}));
    EXPECT_TRUE(Eventually([this] { return !CountsAsRunning(); }));
    EXPECT_EQ(cancelFailures, 1);
    gate.Open();
    ASSERT_TRUE(WaitEnd());
}

// A caller that wants to may wait for the end of the watchdog, up to its limit.
TEST_F(RealTimesTest, WaitForTheWatchdog) {
    const Gate gate;
    const ThreadPtr<IEngine> engine = director->GetEngine();
    KeepBusy(engine, gate);
    ASSERT_TRUE(gate.WaitForArrivals(1));
    const ThreadPtr<ForceCancelThread> watchdog = ForceCancelThread::Create();
    qxutils::Event& finished = watchdog->Start(engine, director->GetRequest());
    const milliseconds waited = TimeOf([&finished] { EXPECT_FALSE(finished.Lock()); });
    EXPECT_GE(waited, milliseconds(10000));
    EXPECT_LT(waited, milliseconds(12000));
    gate.Open();
    EXPECT_TRUE(finished.Lock());
    EXPECT_EQ(cancelFailures, 0);
}

}  // namespace
