// The two threads of a cancel by themselves, and their time limits.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "cancel_support.h"
#include "engine/cancel_times.h"
#include "engine/force_cancel_thread.h"
#include "request/cancel_thread.h"

namespace {

using namespace qxdbsqlengine;
using namespace qxtest;

TEST(CancelTimesTest, AreThePromisedOnesOutsideAScope) {
    const auto expectReal = [] {
        const CancelTimes times = GetCancelTimes();
        EXPECT_EQ(times.driverCancelMs, 2000);
        EXPECT_EQ(times.watchPasses, 50);
        EXPECT_EQ(times.watchPassMs, 300);
        EXPECT_EQ(times.watchSignalMs, 10000);
    };
    expectReal();
    {
        CancelTimes others;
        others.watchPasses = 7;
        const ScopedCancelTimes scope(others);
        EXPECT_EQ(GetCancelTimes().watchPasses, 7);
    }
    expectReal();
}

class CancelThreadTest : public testing::Test {
  protected:
    static CancelTimes Times() {
        CancelTimes times;
        times.driverCancelMs = 50;
        return times;
    }

    ScriptedServer server;
    const ScopedCancelTimes times{Times()};
};

TEST_F(CancelThreadTest, CancelsAndSignals) {
    qxdb::Connection connection = server.Connect();
    qxdb::Statement statement = connection.CreateStatement(qxdb::CursorDefault, 1);
    const qxutils::ThreadPtr<CancelThread> thread = CancelThread::Create();
    ASSERT_TRUE(thread);
    EXPECT_FALSE(thread->ExecutionCompleted());
    qxutils::Event& finished = thread->Start(statement);
    EXPECT_TRUE(Eventually([&finished] { return finished.Lock(); }));
    EXPECT_TRUE(Eventually([&thread] { return thread->ExecutionCompleted(); }));
    EXPECT_TRUE(finished.Lock()) << "it stays signalled";
    EXPECT_EQ(server.CancelCount(), 1);
}

TEST_F(CancelThreadTest, WithoutAStatementItEndsAtOnce) {
    const qxutils::ThreadPtr<CancelThread> thread = CancelThread::Create();
    qxutils::Event& finished = thread->Start(qxdb::Statement());
    EXPECT_TRUE(Eventually([&finished] { return finished.Lock(); }));
}

TEST_F(CancelThreadTest, WaitForABlockedCancelEndsAndTheThreadGoesOnAlone) {
    const Gate gate;
    server.OnCancel([gate] { gate.Pass(); });
    {
        qxdb::Connection connection = server.Connect();
        qxdb::Statement statement = connection.CreateStatement(qxdb::CursorDefault, 1);
        const qxutils::ThreadPtr<CancelThread> thread = CancelThread::Create();
        qxutils::Event& finished = thread->Start(statement);
        ASSERT_TRUE(gate.WaitForArrivals(1));
        EXPECT_FALSE(finished.Lock());
        EXPECT_FALSE(thread->ExecutionCompleted());
    }
    EXPECT_EQ(server.StatementCount(), 1) << "the statement stays as long as its cancel";
    gate.Open();
    EXPECT_TRUE(Eventually([this] { return server.StatementCount() == 0; }));
}

TEST_F(CancelThreadTest, NeverStartedItGoesWithItsHandle) {
    EXPECT_TRUE(CancelThread::Create());
}

// Tells how it is stopped.
class StoppableEngine final : public Engine {
  public:
    explicit StoppableEngine(ThreadAttributes* attributes) : Engine(attributes) {}

    static ThreadPtr<IEngine> Create() { return ThreadPtr<IEngine>(CreateThreadIntl(&Make)); }

    void Stop(bool cancelQueued) override {
        Engine::Stop(cancelQueued);
        ++(cancelQueued ? cancellingStops : otherStops);
    }

    std::atomic<int> cancellingStops{0};
    std::atomic<int> otherStops{0};

  private:
    static ContainedThread* Make(ThreadAttributes* attributes) { return new StoppableEngine(attributes); }
};

class ForceCancelThreadTest : public CancelFailedTest {
  protected:
    using Handle = ThreadPtr<ForceCancelThread>;

    // Starts the watchdog of the director's request.
    qxutils::Event& Watch(const Handle& watchdog, const ThreadPtr<IEngine>& engine) {
        return watchdog->Start(engine, director->GetRequest());
    }
    static bool WaitForEnd(const Handle& watchdog) {
        return Eventually([&watchdog] { return watchdog->ExecutionCompleted(); });
    }
};

TEST_F(ForceCancelThreadTest, IdleEngineIsLeftAlone) {
    const ThreadPtr<IEngine> engine = director->GetEngine();
    const Handle watchdog = ForceCancelThread::Create();
    ASSERT_TRUE(watchdog);
    EXPECT_TRUE(Watch(watchdog, engine).Lock());
    ASSERT_TRUE(WaitForEnd(watchdog));
    EXPECT_EQ(cancelFailures, 0);
    // Not stopped: it still runs what it gets.
    const Gate gate;
    KeepBusy(engine, gate);
    EXPECT_TRUE(gate.WaitForArrivals(1));
    gate.Open();
}

TEST_F(ForceCancelThreadTest, WithoutAnEngineThereIsNothingToWatch) {
    const Handle watchdog = ForceCancelThread::Create();
    EXPECT_TRUE(Watch(watchdog, ThreadPtr<IEngine>()).Lock());
    ASSERT_TRUE(WaitForEnd(watchdog));
    EXPECT_EQ(cancelFailures, 0);
}

TEST_F(ForceCancelThreadTest, EngineThatEndsIsSignalledAndStartsNothingMore) {
    const ScopedCancelTimes patient(PatientTimes());
    const Gate first;
    const Gate second;
    const ThreadPtr<IEngine> engine = StoppableEngine::Create();
    const auto* const stops = static_cast<StoppableEngine*>(engine.operator->());
    engine->Start(def);
    KeepBusy(engine, first);
    ASSERT_TRUE(first.WaitForArrivals(1));
    KeepBusy(engine, second);
    const Handle watchdog = ForceCancelThread::Create();
    qxutils::Event& finished = Watch(watchdog, engine);
    EXPECT_TRUE(engine->IsExecuting());
    EXPECT_FALSE(watchdog->ExecutionCompleted());
    ASSERT_TRUE(Eventually([stops] { return stops->cancellingStops > 0; }));
    EXPECT_EQ(stops->otherStops, 0);
    first.Open();
    EXPECT_TRUE(finished.Lock());
    EXPECT_TRUE(Eventually([&engine] { return engine->ExecutionCompleted(); }));
    EXPECT_EQ(second.Arrivals(), 0);
    EXPECT_EQ(cancelFailures, 0);
}

TEST_F(ForceCancelThreadTest, EngineThatDoesNotEndIsGivenUpWithoutASignal) {
    const Gate gate;
    const ThreadPtr<IEngine> engine = director->GetEngine();
    KeepBusy(engine, gate);
    ASSERT_TRUE(gate.WaitForArrivals(1));
    const Handle watchdog = ForceCancelThread::Create();
    qxutils::Event& finished = Watch(watchdog, engine);
    ASSERT_TRUE(WaitForEnd(watchdog));
    EXPECT_EQ(cancelFailures, 1);
    finished.SetTimeout(0);
    EXPECT_FALSE(finished.Lock());
    // Its body runs once.
    static_cast<qxutils::ContainedThread&>(*watchdog.operator->()).Run();
    EXPECT_EQ(cancelFailures, 1);
    gate.Open();
    EXPECT_TRUE(Eventually([&engine] { return engine->ExecutionCompleted(); }));
}

// Only a request that runs SQL can tell anybody.
TEST_F(ForceCancelThreadTest, OtherRequestsAreGivenUpInSilence) {
    const Gate gate;
    const ThreadPtr<IEngine> engine = director->GetEngine();
    KeepBusy(engine, gate);
    ASSERT_TRUE(gate.WaitForArrivals(1));
    const Handle watchdog = ForceCancelThread::Create();
    watchdog->Start(engine, RequestPtr(new GateRequest(gate)));
    ASSERT_TRUE(WaitForEnd(watchdog));
    EXPECT_EQ(calls.AllLines(), Lines());
    gate.Open();
}

}  // namespace
