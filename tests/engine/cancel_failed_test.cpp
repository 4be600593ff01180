// Runs whose driver does not heed the cancel: its cancel blocks, or its statement does not end.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "cancel_support.h"

namespace {

using namespace qxdbsqlengine;
using namespace qxtest;

// A cancel that blocks until the test opens the gate.
class BlockedCancelTest : public CancelTest {
  protected:
    BlockedCancelTest() : CancelTest(Times()) {}

    static CancelTimes Times() {
        CancelTimes times = PatientTimes();
        times.driverCancelMs = 100;
        return times;
    }
    void TearDown() override {
        cancel.Open();
        CancelTest::TearDown();
    }
    // The run of "x", whose statement ends with its cancel, or with the beginning of that.
    void StartHanging(bool cancelEndsStatementFirst = false) {
        server.OnCancel([this] { cancel.Pass(); }, cancelEndsStatementFirst);
        server.Expect("x").Hangs();
        Start("x");
        ASSERT_TRUE(server.WaitForHang());
    }

    const Gate cancel;
};

TEST_F(BlockedCancelTest, RunEndsWhenTheCancelComesBack) {
    StartHanging();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(director->Cancel());
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(100));
    EXPECT_FALSE(request->cancelResult) << "the driver's cancel is still blocked";
    EXPECT_TRUE(CountsAsRunning());
    EXPECT_EQ(cancel.Passages(), 0);
    EXPECT_EQ(calls.LinesOf("OnRequestEnd"), Lines());
    cancel.Open();
    ASSERT_TRUE(WaitEnd());
    EXPECT_TRUE(Eventually([this] { return !CountsAsRunning(); }));
    EXPECT_EQ(calls.Lines(), (Lines{"OnRequestBegin", "OnBatchItemBegin 0 0", "OnExecuteBegin",
                                    "OnBatchItemEnd 0 0", "OnRequestEnd"}));
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_EQ(cancelFailures, 0);
    EXPECT_EQ(server.CancelCount(), 1);
}

// The statement is over, but the driver is still inside its cancel: the statement stays until that is over.
TEST_F(BlockedCancelTest, StatementOutlivesItsRunUntilItsCancelIsOver) {
    StartHanging(true);
    EXPECT_TRUE(director->Cancel());
    EXPECT_FALSE(request->cancelResult);
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(Releases(), 1);
    EXPECT_EQ(server.StatementCount(), 1);
    EXPECT_EQ(cancel.Passages(), 0);
    cancel.Open();
    ASSERT_TRUE(Eventually([this] { return server.StatementCount() == 0; }));
    EXPECT_EQ(server.StatementEnds(), cancel.Threads());
}

TEST_F(BlockedCancelTest, StatementThatEndsWaitsForTheCallOfCancelToComeBack) {
    StartHanging(true);
    std::thread canceller([this] { EXPECT_TRUE(director->Cancel()); });
    ASSERT_TRUE(cancel.WaitForArrivals(1));
    // The statement ends by now; its pointer is guarded by the lock that the caller of Cancel holds.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(server.StatementCount(), 1);
    EXPECT_EQ(server.StatementEnds().size(), 0U);
    canceller.join();
    ASSERT_TRUE(WaitEnd());
}

TEST_F(BlockedCancelTest, SecondCancelReturnsAtOnceAndFindsNothing) {
    StartHanging();
    EXPECT_TRUE(director->Cancel());
    EXPECT_FALSE(request->cancelResult);
    EXPECT_TRUE(CountsAsRunning());
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(director->Cancel());
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(90));
    EXPECT_TRUE(request->cancelResult) << "nothing is left to be cancelled";
    EXPECT_FALSE(CountsAsRunning());
    EXPECT_EQ(server.CancelCount(), 1);
    cancel.Open();
    ASSERT_TRUE(WaitEnd());
}

TEST_F(BlockedCancelTest, WithinACallbackOfTheRun) {
    server.OnCancel([this] { cancel.Pass(); });
    AtLine("OnExecuteBegin", [this] { EXPECT_TRUE(director->Cancel()); });
    Start("x");
    ASSERT_TRUE(WaitEnd());
    EXPECT_FALSE(request->cancelResult);
    EXPECT_EQ(server.Executed(), Lines());
    EXPECT_EQ(server.StatementCount(), 1);
    EXPECT_TRUE(Eventually([this] { return !CountsAsRunning(); }));
    cancel.Open();
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_TRUE(Eventually([this] { return server.StatementCount() == 0; }));
    EXPECT_EQ(cancelFailures, 0);
}

TEST_F(BlockedCancelTest, DirectorGoesMeanwhile) {
    StartHanging();
    const Lines before = calls.AllLines();
    director.reset();
    EXPECT_EQ(server.CancelCount(), 1);
    EXPECT_EQ(server.StatementCount(), 1);
    cancel.Open();
    EXPECT_TRUE(WaitForReturn());
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_EQ(calls.AllLines(), before);
    EXPECT_EQ(server.StatementCount(), 0);
}

TEST_F(BlockedCancelTest, SeveralThreadsAtOnce) {
    StartHanging();
    std::vector<std::thread> cancellers;
    for (int i = 0; i < 8; ++i)
        cancellers.emplace_back([this] { EXPECT_TRUE(director->Cancel()); });
    for (std::thread& canceller : cancellers)
        canceller.join();
    EXPECT_EQ(server.CancelCount(), 1);
    EXPECT_EQ(cancel.Arrivals(), 1);
    cancel.Open();
    ASSERT_TRUE(WaitEnd());
    EXPECT_FALSE(CountsAsRunning());
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_EQ(cancelFailures, 0);
}

// What is left of a statement that a run needs is asked for by its own lock.
TEST_F(BlockedCancelTest, StatementIsTakenOutOfTheRequest) {
    StartHanging();
    EXPECT_NE(request->GetStatement(), nullptr);
    EXPECT_TRUE(director->Cancel());
    EXPECT_EQ(request->GetStatement(), nullptr);
    cancel.Open();
    ASSERT_TRUE(WaitEnd());
}

// A driver that never ends the statement.
class NoEndTest : public CancelFailedTest {
  protected:
    void StartStuck() {
        server.Expect("x").Hangs(false).Returns(Rows({TextColumn("A")}, {{"a"}}));
        Start("x");
        ASSERT_TRUE(server.WaitForHang());
    }
    void GiveUp() {
        StartStuck();
        EXPECT_TRUE(director->Cancel());
        ASSERT_TRUE(WaitForLine("OnCancelFailed"));
    }
};

const Lines givenUp = {"OnRequestBegin", "OnBatchItemBegin 0 0", "OnExecuteBegin",
                       "OnError Datasource has not responded to the cancel request. Connection has been "
                       "discarded.",
                       "OnCancelFailed"};

TEST_F(NoEndTest, IsReportedOnceAndLeavesTheDirectorIdle) {
    GiveUp();
    EXPECT_EQ(calls.Lines(), givenUp);
    const Errors errors = calls.LastErrors();
    ASSERT_EQ(errors.GetNumberErrors(), 1U);
    const ErrorRecord& record = errors.GetNextError();
    EXPECT_EQ(record.GetSeverity(), 10);
    EXPECT_EQ(record.GetErrorCode(), 0);
    EXPECT_EQ(record.GetLineNumber(), 0);
    EXPECT_EQ(record.GetErrorPosition(), 0);
    EXPECT_EQ(record.GetErrorDescription(), NotRespondedText());
    EXPECT_EQ(record.GetSQLState(), "");
    EXPECT_EQ(record.GetUserData(), nullptr);
    EXPECT_TRUE(Eventually([this] { return !CountsAsRunning(); }));
    EXPECT_TRUE(director->IsExecuting()) << "the engine is still in the driver";
    EXPECT_EQ(Releases(), 0) << "nobody gets this connection";
    // The run's notifications on its own thread, the last two on the watchdog's.
    const std::vector<std::thread::id> threads = Threads();
    ASSERT_EQ(threads.size(), 5U);
    EXPECT_EQ(threads[2], threads[0]);
    EXPECT_EQ(threads[4], threads[3]);
    EXPECT_NE(threads[3], threads[0]);
    EXPECT_NE(threads[3], std::this_thread::get_id());
}

TEST_F(NoEndTest, CancelledTwiceItIsReportedOnce) {
    const Gate cancel;
    server.OnCancel([cancel] { cancel.Pass(); });
    StartStuck();
    EXPECT_TRUE(director->Cancel());
    EXPECT_TRUE(director->Cancel());
    ASSERT_TRUE(WaitForLine("OnCancelFailed"));
    cancel.Open();
    server.Release();
    ASSERT_TRUE(WaitEnd());
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_EQ(cancelFailures, 1);
    EXPECT_EQ(calls.LinesOf("OnError").size(), 1U);
}

TEST_F(NoEndTest, CancelledBySeveralThreadsItIsReportedOnce) {
    const Gate cancel;
    server.OnCancel([cancel] { cancel.Pass(); });
    StartStuck();
    std::vector<std::thread> cancellers;
    for (int i = 0; i < 8; ++i)
        cancellers.emplace_back([this] { EXPECT_TRUE(director->Cancel()); });
    for (std::thread& canceller : cancellers)
        canceller.join();
    ASSERT_TRUE(WaitForLine("OnCancelFailed"));
    cancel.Open();
    server.Release();
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_EQ(cancelFailures, 1);
}

// Each stage that the driver may never come back from.
struct StuckStage {
    const char* name;
    std::function<void(ScriptedServer&, CancelledRequest&, const Gate&)> prepare;
    Lines before;
    Lines late;  // when the driver comes back after all
};

std::ostream& operator<<(std::ostream& stream, const StuckStage& stage) {
    return stream << stage.name;
}

const StuckStage stuckStages[] = {
    {"SessionOptions",
     [](ScriptedServer&, CancelledRequest& request, const Gate& gate) {
         request.handlerActions["PreExecute"] = [gate] { gate.Pass(); };
     },
     {"OnRequestBegin"},
     {"OnBatchItemBegin 0 0", "OnBatchItemEnd 0 0", "OnRequestEnd"}},
    {"Executing",
     [](ScriptedServer& server, CancelledRequest&, const Gate& gate) {
         server.Expect("x").Does([gate] { gate.Pass(); });
     },
     {"OnRequestBegin", "OnBatchItemBegin 0 0", "OnExecuteBegin"},
     {"OnExecuteEnd", "OnBatchItemEnd 0 0", "OnRequestEnd"}},
    {"Failing",
     [](ScriptedServer& server, CancelledRequest&, const Gate& gate) {
         server.Expect("x").Does([gate] { gate.Pass(); }).Fails(MakeErrors("connection lost"));
     },
     {"OnRequestBegin", "OnBatchItemBegin 0 0", "OnExecuteBegin"},
     {"OnBatchItemEnd 0 0", "OnRequestEnd"}},
    {"Fetching",
     [](ScriptedServer& server, CancelledRequest&, const Gate& gate) {
         server.Expect("x").Returns(
             Rows({TextColumn("A")}, {{"a"}, {"b"}, {"c"}}).AtRow(1, [gate] { gate.Pass(); }));
     },
     {"OnRequestBegin", "OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd", "OnPreResultSetBegin 0 0",
      "OnResultSetBegin 0 0"},
     {"OnResultSetUpdate 0 2", "OnResultSetEnd 0", "OnBatchItemEnd 0 0", "OnRequestEnd"}},
    {"ResetOfTheSession",
     [](ScriptedServer& server, CancelledRequest& request, const Gate& gate) {
         server.Expect("x").Returns(RowCount(1));
         request.SetDisplayRowAffected(false);
         request.handlerActions["PostExecute"] = [gate] { gate.Pass(); };
     },
     {"OnRequestBegin", "OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd", "OnPreResultSetBegin 0 2",
      "OnResultSetBegin 0 2", "OnBatchItemEnd 0 0", "OnResultSetUpdate 0 1", "OnResultSetEnd 0"},
     {"OnRequestEnd"}},
};

class StuckStageTest : public CancelFailedTest, public testing::WithParamInterface<StuckStage> {
  protected:
    void ReachStage() {
        GetParam().prepare(server, *request, gate);
        Start("x");
        ASSERT_TRUE(gate.WaitForArrivals(1));
    }
    void TearDown() override {
        gate.Open();
        CancelFailedTest::TearDown();
    }
    static Lines Joined(std::initializer_list<Lines> parts) {
        Lines all;
        for (const Lines& part : parts)
            all.insert(all.end(), part.begin(), part.end());
        return all;
    }

    const Gate gate;
    const Lines reported = {"OnError " + NotRespondedText(), "OnCancelFailed"};
};

TEST_P(StuckStageTest, IsGivenUpAndMayComeBackLate) {
    ReachStage();
    EXPECT_TRUE(director->Cancel());
    EXPECT_TRUE(request->cancelResult);
    ASSERT_TRUE(WaitForLine("OnCancelFailed"));
    EXPECT_EQ(calls.Lines(), Joined({GetParam().before, reported}));
    gate.Open();
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(calls.Lines(), Joined({GetParam().before, reported, GetParam().late}));
    EXPECT_EQ(Releases(), 1);
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_EQ(cancelFailures, 1);
}

TEST_P(StuckStageTest, DirectorGoesBeforeItIsGivenUp) {
    ReachStage();
    EXPECT_TRUE(director->Cancel());
    const Lines before = calls.LinesOf("OnRequest");
    director.reset();
    // The watchdog tells nobody, and the run goes on with what it holds itself.
    EXPECT_TRUE(Eventually([this] { return cancelFailures == 1; }));
    EXPECT_EQ(calls.LinesOf("OnRequest"), before);
    gate.Open();
    EXPECT_TRUE(WaitForReturn());
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_EQ(calls.LinesOf("OnRequest"), before);
}

TEST_P(StuckStageTest, DirectorGoesAfterwards) {
    ReachStage();
    EXPECT_TRUE(director->Cancel());
    ASSERT_TRUE(WaitForLine("OnCancelFailed"));
    director.reset();
    EXPECT_EQ(Releases(), 0);
    gate.Open();
    EXPECT_TRUE(WaitForReturn());
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_EQ(calls.Lines(), Joined({GetParam().before, reported}));
}

TEST_P(StuckStageTest, DirectorGoesWithinTheError) {
    std::atomic<bool> gone{false};
    AtLine(reported[0], [&] {
        director.reset();
        gone = true;
    });
    ReachStage();
    EXPECT_TRUE(director->Cancel());
    ASSERT_TRUE(Eventually([&] { return gone && cancelFailures == 1; }));
    gate.Open();
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_EQ(calls.Lines(), Joined({GetParam().before, {reported[0]}}));
}

TEST_P(StuckStageTest, DirectorGoesWithinTheEnd) {
    std::atomic<bool> gone{false};
    AtLine(reported[1], [&] {
        director.reset();
        gone = true;
    });
    ReachStage();
    EXPECT_TRUE(director->Cancel());
    ASSERT_TRUE(Eventually([&gone] { return gone.load(); }));
    gate.Open();
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_EQ(calls.Lines(), Joined({GetParam().before, reported}));
}

INSTANTIATE_TEST_SUITE_P(Stages, StuckStageTest, testing::ValuesIn(stuckStages),
                         [](const testing::TestParamInfo<StuckStage>& it) { return it.param.name; });

TEST_F(NoEndTest, CancelThatNeverComesBackEither) {
    const Gate cancel;
    server.OnCancel([cancel] { cancel.Pass(); });
    GiveUp();
    EXPECT_EQ(calls.Lines(), givenUp);
    EXPECT_FALSE(request->cancelResult);
    EXPECT_TRUE(Eventually([this] { return !CountsAsRunning(); }));
    director.reset();
    EXPECT_EQ(server.StatementCount(), 1);
    // Late, and in any order.
    server.Release();
    EXPECT_TRUE(WaitForReturn());
    EXPECT_EQ(server.StatementCount(), 1);
    cancel.Open();
    EXPECT_TRUE(Eventually([this] { return server.StatementCount() == 0; }));
    EXPECT_EQ(calls.Lines(), givenUp);
}

// The engine of a run that was given up is kept, and stopped: what is queued there doesn't start. Callers
// make a new director.
TEST_F(NoEndTest, NextRunOfTheSameDirectorDoesNotStart) {
    GiveUp();
    ASSERT_TRUE(Eventually([this] { return !CountsAsRunning(); }));
    Start("y");
    EXPECT_TRUE(CountsAsRunning());
    EXPECT_EQ(director->engines, 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    EXPECT_EQ(calls.Lines(), givenUp);
    EXPECT_EQ(server.Executed(), (Lines{"x"}));
    // Not when the driver comes back either.
    server.Release();
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(calls.LinesOf("OnRequestBegin").size(), 1U);
    EXPECT_EQ(server.Executed(), (Lines{"x"}));
}

TEST_F(NoEndTest, NewDirectorRuns) {
    GiveUp();
    OpenDirector next(def, connections, nullptr, std::string(), true);
    RecordingCallbacks nextCalls;
    nextCalls.RegisterWith(next);
    server.Expect("y").Returns(Rows({TextColumn("A")}, {{"next"}}));
    next.Execute("y", SQLRequest::RequestSQL, false, false);
    ASSERT_TRUE(Eventually([&] { return nextCalls.LinesOf("OnRequestEnd").size() == 1; }));
    EXPECT_EQ(nextCalls.LinesOf("OnError"), Lines());
    EXPECT_EQ(Column(next.GetDataStorage()), (Lines{"next"}));
}

// A request whose turn never comes is given up as well, and doesn't run later.
TEST_F(CancelFailedTest, QueuedBehindARunThatDoesNotEnd) {
    const Gate gate;
    const ThreadPtr<IEngine> engine = director->GetEngine();
    KeepBusy(engine, gate);
    ASSERT_TRUE(gate.WaitForArrivals(1));
    Start("x");
    EXPECT_TRUE(director->Cancel());
    ASSERT_TRUE(WaitForLine("OnCancelFailed"));
    EXPECT_EQ(calls.Lines(), (Lines{"OnError " + NotRespondedText(), "OnCancelFailed"}));
    gate.Open();
    ASSERT_TRUE(Eventually([&engine] { return engine->ExecutionCompleted(); }));
    EXPECT_EQ(calls.LinesOf("OnRequest"), Lines());
    EXPECT_EQ(server.Executed(), Lines());
}

// A callback that fails keeps the end from nobody.
TEST_F(NoEndTest, CallbackThatThrowsInTheError) {
    AtLine("OnError " + NotRespondedText(), [] { throw 1; });
    GiveUp();
    EXPECT_TRUE(Eventually([this] { return !CountsAsRunning(); }));
}

// The driver goes on sending messages while the run is given up: two threads are in the callbacks.
TEST_F(CancelFailedTest, EngineNotifiesMeanwhile) {
    std::atomic<bool> stop{false};
    std::atomic<int> sent{0};
    server.Expect("x").onExecute.push_back([&](qxdb::Callback* callback) {
        while (!stop && sent < 100000) {
            callback->HandleRawMessage(Info("still here"));
            ++sent;
        }
    });
    Start("x");
    ASSERT_TRUE(Eventually([&sent] { return sent > 0; }));
    EXPECT_TRUE(director->Cancel());
    ASSERT_TRUE(WaitForLine("OnCancelFailed"));
    const int before = sent;
    ASSERT_TRUE(Eventually([&] { return sent > before || sent == 100000; }));
    stop = true;
    ASSERT_TRUE(WaitEnd());
    const Lines lines = calls.AllLines();
    const auto error = std::find(lines.begin(), lines.end(), "OnError " + NotRespondedText());
    const auto failed = std::find(lines.begin(), lines.end(), "OnCancelFailed");
    EXPECT_LT(error - lines.begin(), failed - lines.begin());
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "OnError still here"), sent);
    EXPECT_EQ(lines.back(), "OnRequestEnd");
}

}  // namespace
