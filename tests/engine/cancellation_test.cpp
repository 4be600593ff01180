// Runs that are cancelled and end: at every stage, from every thread.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "cancel_support.h"

namespace {

using namespace qxdbsqlengine;
using namespace qxtest;

// Where the run stands when it is cancelled.
struct Stage {
    const char* name;
    // Makes the run of "x" stop there. It goes on by the gate, or when its statement is cancelled.
    std::function<void(ScriptedServer&, OpenDirector&, CancelledRequest&, const Gate&)> prepare;
    bool statementRuns;  // and is cancelled on the server
    Lines executed;
    Lines lines;
    Lines rows;  // that are kept
};

std::ostream& operator<<(std::ostream& stream, const Stage& stage) {
    return stream << stage.name;
}

Result TwoRows() {
    return Rows({TextColumn("A")}, {{"a"}, {"b"}});
}

void StopAtHandler(CancelledRequest& request, const std::string& call, const Gate& gate) {
    request.handlerActions[call] = [gate] { gate.Pass(); };
}

const Lines endBeforeTheStatement = {"OnRequestBegin", "OnBatchItemBegin 0 0", "OnBatchItemEnd 0 0",
                                     "OnRequestEnd"};
const Lines endWithinTheStatement = {"OnRequestBegin", "OnBatchItemBegin 0 0", "OnExecuteBegin",
                                     "OnBatchItemEnd 0 0", "OnRequestEnd"};
const Lines wholeRun = {"OnRequestBegin",        "OnBatchItemBegin 0 0",    "OnExecuteBegin",
                        "OnExecuteEnd",          "OnPreResultSetBegin 0 0", "OnResultSetBegin 0 0",
                        "OnResultSetUpdate 0 2", "OnResultSetEnd 0",        "OnBatchItemEnd 0 0",
                        "OnRequestEnd"};

Lines EndAfterRows(int rows) {
    return {"OnRequestBegin",
            "OnBatchItemBegin 0 0",
            "OnExecuteBegin",
            "OnExecuteEnd",
            "OnPreResultSetBegin 0 0",
            "OnResultSetBegin 0 0",
            "OnResultSetUpdate 0 " + std::to_string(rows),
            "OnResultSetEnd 0",
            "OnBatchItemEnd 0 0",
            "OnRequestEnd"};
}

const Stage stages[] = {
    {"Queued",
     [](ScriptedServer&, OpenDirector& director, CancelledRequest&, const Gate& gate) {
         KeepBusy(director.GetEngine(), gate);
     },
     false,
     {},
     endBeforeTheStatement,
     {}},
    {"SessionOptions",
     [](ScriptedServer&, OpenDirector&, CancelledRequest& request, const Gate& gate) {
         StopAtHandler(request, "PreExecute", gate);
     },
     false,
     {},
     endBeforeTheStatement,
     {}},
    {"BeforeTheItem",
     [](ScriptedServer&, OpenDirector&, CancelledRequest& request, const Gate& gate) {
         StopAtHandler(request, "PreExecuteBatch", gate);
     },
     false,
     {},
     endBeforeTheStatement,
     {}},
    {"BeforeTheStatement",
     [](ScriptedServer&, OpenDirector&, CancelledRequest& request, const Gate& gate) {
         StopAtHandler(request, "PreExecuteStatement", gate);
     },
     true,
     {},
     endWithinTheStatement,
     {}},
    {"Executing",
     [](ScriptedServer& server, OpenDirector&, CancelledRequest&, const Gate& gate) {
         server.Expect("x").Does([gate] { gate.Pass(); }).Returns(TwoRows());
     },
     true,
     {"x"},
     {"OnRequestBegin", "OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd", "OnBatchItemEnd 0 0",
      "OnRequestEnd"},
     {}},
    {"DescribingColumns",
     [](ScriptedServer& server, OpenDirector&, CancelledRequest& request, const Gate& gate) {
         server.Expect("x").Returns(TwoRows());
         StopAtHandler(request, "DetermineColumnDefs", gate);
     },
     true,
     {"x"},
     EndAfterRows(1),
     {"a"}},
    {"FirstRow",
     [](ScriptedServer& server, OpenDirector&, CancelledRequest&, const Gate& gate) {
         server.Expect("x").Returns(TwoRows().AtRow(0, [gate] { gate.Pass(); }));
     },
     true,
     {"x"},
     EndAfterRows(1),
     {"a"}},
    {"SecondRow",
     [](ScriptedServer& server, OpenDirector&, CancelledRequest&, const Gate& gate) {
         server.Expect("x").Returns(TwoRows().AtRow(1, [gate] { gate.Pass(); }));
     },
     true,
     {"x"},
     EndAfterRows(2),
     {"a", "b"}},
    {"EndOfRows",
     [](ScriptedServer& server, OpenDirector&, CancelledRequest&, const Gate& gate) {
         server.Expect("x")
             .Returns(TwoRows().AtRow(2, [gate] { gate.Pass(); }))
             .Returns(Rows({TextColumn("B")}, {{"c"}}));
     },
     true,
     {"x"},
     EndAfterRows(2),
     {"a", "b"}},
    {"BetweenItems",
     [](ScriptedServer& server, OpenDirector&, CancelledRequest& request, const Gate& gate) {
         server.Expect("x").Returns(TwoRows());
         request.items = [&request, gate](qxdb::Connection& connection) {
             request.ExecuteBatchItem(connection);
             gate.Pass();
             return request.ExecuteBatchItem(connection);
         };
     },
     false,
     {"x"},
     {"OnRequestBegin", "OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd", "OnPreResultSetBegin 0 0",
      "OnResultSetBegin 0 0", "OnResultSetUpdate 0 2", "OnResultSetEnd 0", "OnBatchItemEnd 0 0",
      "OnBatchItemBegin 1 0", "OnBatchItemEnd 1 0", "OnRequestEnd"},
     {"a", "b"}},
    {"AfterTheStatement",
     [](ScriptedServer& server, OpenDirector&, CancelledRequest& request, const Gate& gate) {
         server.Expect("x").Returns(TwoRows());
         StopAtHandler(request, "PostExecuteStatement", gate);
     },
     true,
     {"x"},
     wholeRun,
     {"a", "b"}},
    {"ResetOfTheSession",
     [](ScriptedServer& server, OpenDirector&, CancelledRequest& request, const Gate& gate) {
         server.Expect("x").Returns(TwoRows());
         StopAtHandler(request, "PostExecute", gate);
     },
     false,
     {"x"},
     wholeRun,
     {"a", "b"}},
};

class StageTest : public CancelTest, public testing::WithParamInterface<Stage> {
  protected:
    // The run of "x", standing at the stage.
    void ReachStage() {
        GetParam().prepare(server, *director, *request, gate);
        Start("x");
        ASSERT_TRUE(gate.WaitForArrivals(1));
    }
    void TearDown() override {
        gate.Open();
        CancelTest::TearDown();
    }

    const Gate gate;
};

TEST_P(StageTest, EndsWithoutAnError) {
    ReachStage();
    const SmartPtr<DataStorage> store = director->GetDataStorage();
    EXPECT_TRUE(CountsAsRunning());
    EXPECT_TRUE(director->Cancel());
    EXPECT_TRUE(request->cancelResult);
    EXPECT_FALSE(CountsAsRunning()) << "idle at once";
    EXPECT_TRUE(director->IsExecuting()) << "the engine is still at it";
    EXPECT_TRUE(director->IsCancelled());
    EXPECT_EQ(server.CancelCount(), GetParam().statementRuns ? 1 : 0);
    gate.Open();
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(calls.Lines(), GetParam().lines);
    EXPECT_EQ(server.Executed(), GetParam().executed);
    EXPECT_EQ(Releases(), 1);
    EXPECT_EQ(store->GetNumberOfResultSets(), GetParam().rows.empty() ? 0 : 1);
    EXPECT_EQ(store->GetNumberOfResultSets() == 0 ? Lines() : Column(store), GetParam().rows);
    // All on the one thread of the run.
    const std::vector<std::thread::id> threads = Threads();
    EXPECT_EQ(std::count(threads.begin(), threads.end(), threads[0]), static_cast<long>(threads.size()));
    EXPECT_NE(threads[0], std::this_thread::get_id());
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_EQ(cancelFailures, 0);
    EXPECT_EQ(server.StatementCount(), 0);
}

TEST_P(StageTest, DirectorGoes) {
    ReachStage();
    const Lines before = calls.AllLines();
    director.reset();
    EXPECT_EQ(server.CancelCount(), GetParam().statementRuns ? 1 : 0);
    gate.Open();
    EXPECT_TRUE(WaitForReturn());
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_EQ(calls.AllLines(), before);
    EXPECT_EQ(server.Executed(), GetParam().executed);
    EXPECT_EQ(cancelFailures, 0);
}

TEST_P(StageTest, AfterItAnotherDirectorRuns) {
    ReachStage();
    EXPECT_TRUE(director->Cancel());
    OpenDirector next(def, connections, nullptr, std::string(), true);
    RecordingCallbacks nextCalls;
    nextCalls.RegisterWith(next);
    server.Expect("y").Returns(Rows({TextColumn("A")}, {{"next"}}));
    next.Execute("y", SQLRequest::RequestSQL, false, false);
    // The first run may still be at the server; the second one does not wait for it.
    ASSERT_TRUE(Eventually([&] { return nextCalls.LinesOf("OnRequestEnd").size() == 1; }));
    EXPECT_EQ(calls.LinesOf("OnRequestEnd"), Lines());
    EXPECT_EQ(nextCalls.LinesOf("OnError"), Lines());
    EXPECT_EQ(Column(next.GetDataStorage()), (Lines{"next"}));
    gate.Open();
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(calls.Lines(), GetParam().lines);
}

INSTANTIATE_TEST_SUITE_P(Stages, StageTest, testing::ValuesIn(stages),
                         [](const testing::TestParamInfo<Stage>& it) { return it.param.name; });

// Cancelled within one of its own notifications.
struct WithinCase {
    const char* name;
    const char* line;
    int cancels;  // on the server
    Lines executed;
    Lines after;  // the lines that follow
};

std::ostream& operator<<(std::ostream& stream, const WithinCase& within) {
    return stream << within.name;
}

const WithinCase withins[] = {
    {"RequestBegin", "OnRequestBegin", 0, {}, {"OnBatchItemBegin 0 0", "OnBatchItemEnd 0 0", "OnRequestEnd"}},
    {"BatchItemBegin", "OnBatchItemBegin 0 0", 0, {}, {"OnBatchItemEnd 0 0", "OnRequestEnd"}},
    {"ExecuteBegin", "OnExecuteBegin", 1, {}, {"OnBatchItemEnd 0 0", "OnRequestEnd"}},
    {"ExecuteEnd", "OnExecuteEnd", 1, {"x"}, {"OnBatchItemEnd 0 0", "OnRequestEnd"}},
    {"PreResultSetBegin",
     "OnPreResultSetBegin 0 0",
     1,
     {"x"},
     {"OnResultSetBegin 0 0", "OnResultSetUpdate 0 1", "OnResultSetEnd 0", "OnBatchItemEnd 0 0",
      "OnRequestEnd"}},
    {"ResultSetBegin",
     "OnResultSetBegin 0 0",
     1,
     {"x"},
     {"OnResultSetUpdate 0 1", "OnResultSetEnd 0", "OnBatchItemEnd 0 0", "OnRequestEnd"}},
    {"ResultSetEnd", "OnResultSetEnd 0", 1, {"x"}, {"OnBatchItemEnd 0 0", "OnRequestEnd"}},
    {"BatchItemEnd", "OnBatchItemEnd 0 0", 0, {"x"}, {"OnRequestEnd"}},
    {"RequestEnd", "OnRequestEnd", 0, {"x"}, {}},
};

class WithinTest : public CancelTest, public testing::WithParamInterface<WithinCase> {};

TEST_P(WithinTest, EndsWithoutAnError) {
    const WithinCase& within = GetParam();
    if (!within.executed.empty())
        server.Expect("x").Returns(TwoRows());
    std::atomic<bool> result{false};
    AtLine(within.line, [&] { result = director->Cancel(); });
    Start("x");
    ASSERT_TRUE(WaitEnd());
    EXPECT_TRUE(result);
    EXPECT_EQ(server.CancelCount(), within.cancels);
    EXPECT_EQ(server.Executed(), within.executed);
    const Lines lines = calls.Lines();
    const auto at = std::find(lines.begin(), lines.end(), within.line);
    ASSERT_NE(at, lines.end());
    EXPECT_EQ(Lines(at + 1, lines.end()), within.after);
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_EQ(cancelFailures, 0);
}

INSTANTIATE_TEST_SUITE_P(Notifications, WithinTest, testing::ValuesIn(withins),
                         [](const testing::TestParamInfo<WithinCase>& it) { return it.param.name; });

TEST_F(CancelTest, WithoutARunNothingStarts) {
    EXPECT_TRUE(director->Cancel());
    EXPECT_FALSE(director->IsCancelled());
    EXPECT_EQ(director->engines, 0);
}

TEST_F(CancelTest, StatementThatWaitsForItsCancelEnds) {
    server.Expect("x").Hangs();
    Start("x");
    ASSERT_TRUE(server.WaitForHang());
    EXPECT_TRUE(director->Cancel());
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(calls.Lines(), endWithinTheStatement);
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    // The thread that ran a statement ends it, although another one cancelled it.
    EXPECT_EQ(server.StatementEnds(), std::vector<std::thread::id>{Threads()[0]});
}

TEST_F(CancelTest, FetchThatWaitsForItsCancelEnds) {
    server.Expect("x").Returns(TwoRows().HangsAtRow(1));
    Start("x");
    ASSERT_TRUE(server.WaitForHang());
    const SmartPtr<DataStorage> store = director->GetDataStorage();
    EXPECT_TRUE(director->Cancel());
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(calls.Lines(), EndAfterRows(1));
    EXPECT_EQ(Column(store), (Lines{"a"}));
}

// The driver's cancel runs on a thread of its own, neither the caller's nor that of the run.
TEST_F(CancelTest, DriverIsCancelledOnAThreadOfItsOwn) {
    const Gate cancel;
    cancel.Open();
    server.OnCancel([cancel] { cancel.Pass(); });
    server.Expect("x").Hangs();
    Start("x");
    ASSERT_TRUE(server.WaitForHang());
    EXPECT_TRUE(director->Cancel());
    ASSERT_TRUE(WaitEnd());
    ASSERT_EQ(cancel.Threads().size(), 1U);
    EXPECT_NE(cancel.Threads()[0], std::this_thread::get_id());
    EXPECT_NE(cancel.Threads()[0], Threads()[0]);
}

// What the server says to its own cancel is no error, whatever it says.
TEST_F(CancelTest, ServerWithNothingToSayToItsCancelIsNoError) {
    const Gate gate;
    server.Expect("x").Does([gate] { gate.Pass(); }).Fails(Errors());
    Start("x");
    ASSERT_TRUE(gate.WaitForArrivals(1));
    EXPECT_TRUE(director->Cancel());
    gate.Open();
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
}

TEST_F(CancelTest, SeveralThreadsAtOnce) {
    server.Expect("x").Hangs();
    Start("x");
    ASSERT_TRUE(server.WaitForHang());
    std::atomic<int> results{0};
    std::vector<std::thread> cancellers;
    for (int i = 0; i < 8; ++i)
        cancellers.emplace_back([&] { results += director->Cancel() ? 1 : 0; });
    for (std::thread& canceller : cancellers)
        canceller.join();
    EXPECT_EQ(results, 8);
    EXPECT_FALSE(CountsAsRunning());
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(server.CancelCount(), 1);
    EXPECT_EQ(calls.Lines(), endWithinTheStatement);
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_EQ(cancelFailures, 0);
}

// The end of a run and its cancel, at the same moment: the run ends once, and the director is idle.
TEST_F(CancelTest, RacesWithTheEndOfTheRun) {
    server.AcceptOthers();
    for (int i = 0; i < 200; ++i) {
        OpenDirector passing(def, connections, nullptr, std::string(), true);
        RecordingCallbacks own;
        own.RegisterWith(passing);
        passing.Execute("x", SQLRequest::RequestSQL, false, false);
        for (int spin = 0; spin < (i % 50) * 20 && passing.IsExecuting(); ++spin)
            std::this_thread::yield();
        EXPECT_TRUE(passing.Cancel());
        ASSERT_TRUE(Eventually([&own] { return own.LinesOf("OnRequestEnd").size() == 1; })) << i;
        EXPECT_EQ(own.LinesOf("OnError"), Lines());
        EXPECT_EQ(own.LinesOf("OnCancelFailed"), Lines());
    }
}

// A cancelled run that another one keeps waiting is heard of as well.
TEST_F(CancelTest, QueuedRequestEndsWhenItsTurnComes) {
    const Gate gate;
    KeepBusy(director->GetEngine(), gate);
    ASSERT_TRUE(gate.WaitForArrivals(1));
    Start("x");
    EXPECT_TRUE(director->Cancel());
    EXPECT_FALSE(CountsAsRunning());
    // The watchdog looks several times meanwhile.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(calls.Lines(), Lines());
    gate.Open();
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(calls.Lines(), endBeforeTheStatement);
}

// What runs on the caller's own thread is cancelled, but not watched.
TEST_F(CancelFailedTest, ExecuteDirectIsNeverGivenUp) {
    server.Expect("x").Hangs(false);
    std::thread runner([this] {
        EXPECT_THROW(director->ExecuteDirect("x", SQLRequest::RequestSQL, false), CancelledException);
    });
    ASSERT_TRUE(server.WaitForHang());
    EXPECT_TRUE(director->Cancel());
    EXPECT_EQ(server.CancelCount(), 1);
    EXPECT_FALSE(CountsAsRunning());
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    server.Release();
    runner.join();
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnBatchItemEnd 0 0"}));
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_EQ(cancelFailures, 0);
}

}  // namespace
