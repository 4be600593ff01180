#include <atomic>
#include <thread>

#include "request/request_fixture.h"

namespace qxtest {
namespace {

using qxdbsqlengine::CancelledException;

class CancelTest : public RequestTest {
  protected:
    // Runs on a thread of its own; `cancelled` tells whether the run ended by CancelledException.
    void RunCancelled(const std::string& sql, const std::function<void()>& meanwhile) {
        request.SetSQL(sql, SQLRequest::RequestSQL, false, false);
        std::thread runner([&] {
            try {
                request.Execute(Def());
            } catch (const CancelledException&) {
                cancelled = true;
            }
        });
        meanwhile();
        runner.join();
    }

    bool cancelled = false;
};

TEST_F(CancelTest, WithoutARunOnlyTheMarkIsSet) {
    EXPECT_FALSE(request.IsCancelled());
    EXPECT_TRUE(request.Cancel());
    EXPECT_TRUE(request.IsCancelled());
    EXPECT_TRUE(request.Cancel());
}

TEST_F(CancelTest, WaitingRequestNeverReachesTheServer) {
    request.Cancel();
    EXPECT_THROW(Run("delete from t"), CancelledException);
    EXPECT_EQ(server.Executed(), Lines());
    EXPECT_EQ(server.CancelCount(), 0);
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 0", "OnBatchItemEnd 0 0"}));
    EXPECT_EQ(lender->Calls(), (Lines{"request source true false", "release"}));
    EXPECT_EQ(server.Log().back(), "callback off");
    EXPECT_EQ(request.handlerLog, (Lines{"PreExecute", "PreExecuteBatch"}));
}

TEST_F(CancelTest, CancelWithinTheBeginNotificationStopsTheStatement) {
    calls.OnLine([&](const std::string& line) {
        if (line == "OnExecuteBegin")
            request.Cancel();
    });
    EXPECT_THROW(Run("delete from t"), CancelledException);
    EXPECT_EQ(server.Executed(), Lines());
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnBatchItemEnd 0 0"}));
}

TEST_F(CancelTest, RunningStatementIsCancelledOnTheServer) {
    server.Expect("x").Hangs();
    RunCancelled("x", [&] {
        ASSERT_TRUE(server.WaitForHang());
        EXPECT_NE(request.GetStatement(), nullptr);
        EXPECT_TRUE(request.Cancel());
        EXPECT_EQ(request.GetStatement(), nullptr);
    });
    EXPECT_TRUE(cancelled);
    EXPECT_EQ(server.CancelCount(), 1);
    // What the server says to its own cancel is no error.
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnBatchItemEnd 0 0"}));
    EXPECT_EQ(Sets(), Lines());
}

TEST_F(CancelTest, SecondCancelDoesNotReachTheServer) {
    server.Expect("x").Hangs(false);
    RunCancelled("x", [&] {
        ASSERT_TRUE(server.WaitForHang());
        EXPECT_TRUE(request.Cancel());
        EXPECT_TRUE(request.Cancel());
        server.Release();
    });
    EXPECT_TRUE(cancelled);
    EXPECT_EQ(server.CancelCount(), 1);
}

TEST_F(CancelTest, CancelWhileRowsArriveKeepsTheRowsStoredSoFar) {
    server.Expect("x").Returns(
        Rows({IntColumn("A"), TextColumn("B")}, {{1, "a"}, {2, "b"}, {3, "c"}}).AtRow(1, [&] {
            request.Cancel();
        }));
    EXPECT_THROW(Run("x"), CancelledException);
    EXPECT_EQ(server.CancelCount(), 1);
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd",
                                    "OnPreResultSetBegin 0 0", "OnResultSetBegin 0 0",
                                    "OnResultSetUpdate 0 2", "OnResultSetEnd 0", "OnBatchItemEnd 0 0"}));
    EXPECT_EQ(Column(0, 0), (Lines{"1", "2"}));
    EXPECT_EQ(Column(0, 1), (Lines{"a", "b"}));
    // No row lock is left behind.
    std::thread([&] { store->AddResultSet({}, qxdbsqlengine::ResultSetNormal); }).join();
}

TEST_F(CancelTest, FetchThatHangsEndsWithoutAnError) {
    server.Expect("x").Returns(Rows({IntColumn("A")}, {{1}, {2}}).HangsAtRow(1));
    RunCancelled("x", [&] {
        ASSERT_TRUE(server.WaitForHang());
        EXPECT_TRUE(request.Cancel());
    });
    EXPECT_TRUE(cancelled);
    EXPECT_TRUE(calls.LinesOf("OnError").empty());
    EXPECT_EQ(calls.LinesOf("OnResultSetEnd"), (Lines{"OnResultSetEnd 0"}));
    EXPECT_EQ(Column(0), (Lines{"1"}));
}

TEST_F(CancelTest, FailureOfTheNextResultAfterACancelIsNoError) {
    server.Expect("x")
        .Returns(Rows({IntColumn("A")}, {}).AtRow(0, [&] { request.Cancel(); }))
        .FailsAfter(MakeErrors("operation cancelled"));
    EXPECT_THROW(Run("x"), CancelledException);
    EXPECT_TRUE(calls.LinesOf("OnError").empty());
    EXPECT_EQ(Sets(), (Lines{"0:0"}));
    EXPECT_EQ(calls.LinesOf("OnBatchItemEnd").size(), 1U);
}

TEST_F(CancelTest, NextResultIsNotTakenAfterACancel) {
    server.Expect("x")
        .Returns(Rows({IntColumn("A")}, {}).AtRow(0, [&] { request.Cancel(); }))
        .Returns(Rows({IntColumn("B")}, {{1}}));
    EXPECT_THROW(Run("x"), CancelledException);
    EXPECT_EQ(Sets(), (Lines{"0:0"}));
}

TEST_F(CancelTest, RowCountOfACancelledRequestIsNotShown) {
    server.Expect("x").Returns(RowCountFrom([&] {
        request.Cancel();
        return 5U;
    }));
    EXPECT_THROW(Run("x"), CancelledException);
    EXPECT_EQ(Sets(), Lines());
}

TEST_F(CancelTest, StatementIsCancelledAtMostOnceAndNotBehindItsEnd) {
    server.Expect("x");
    calls.OnLine([&](const std::string& line) {
        if (line.compare(0, 14, "OnBatchItemEnd") == 0)
            request.Cancel();
    });
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(server.CancelCount(), 0);
}

TEST_F(CancelTest, CancelledRequestStaysCancelledAndItsCloneRuns) {
    request.Cancel();
    for (int i = 0; i < 2; ++i)
        EXPECT_THROW(Run("x"), CancelledException);
    EXPECT_EQ(server.Executed(), Lines());

    server.Expect("x").Returns(Rows({IntColumn("A")}, {{1}}));
    const std::unique_ptr<SQLRequest> clone = request.CloneRequest();
    EXPECT_FALSE(clone->IsCancelled());
    EXPECT_TRUE(clone->Execute(Def()));
    EXPECT_EQ(Sets(), (Lines{"0:1"}));
}

TEST_F(CancelTest, OnAnEngineACancelIsAnEndWithoutAnError) {
    server.Expect("x").Hangs();
    request.SetSQL("x", SQLRequest::RequestSQL, false, false);
    std::thread canceller([&] {
        EXPECT_TRUE(server.WaitForHang());
        request.Cancel();
    });
    RunOnEngine();
    canceller.join();
    EXPECT_EQ(calls.Lines(), (Lines{"OnRequestBegin", "OnBatchItemBegin 0 0", "OnExecuteBegin",
                                    "OnBatchItemEnd 0 0", "OnRequestEnd"}));
}

// Another thread reads the store over a view of its own and asks and sets what it may while rows arrive.
TEST_F(CancelTest, CallersReadAndSetDuringARun) {
    std::vector<Row> rows;
    for (int i = 0; i < 3000; ++i)
        rows.push_back({i, "name " + std::to_string(i)});
    server.Expect("x").Returns(Rows({IntColumn("A"), TextColumn("B")}, rows));
    DataStorage view(*store);
    request.SetSQL("x", SQLRequest::RequestSQL, false, false);
    std::atomic<bool> ended{false};
    std::thread runner([&] {
        EXPECT_TRUE(request.Execute(Def()));
        ended = true;
    });
    int round = 0;
    while (!ended) {
        ++round;
        request.SetMaxRowCount(0);
        request.SetRowInterval(100 + round % 10);
        request.SetDatabase("pubs");
        EXPECT_EQ(request.GetSQL(), "x");
        request.GetStatement();
        request.GetUserNameA();
        EXPECT_FALSE(request.IsCancelled());
        if (view.GetNumberOfResultSets() == 0)
            continue;
        const int last = view.GetNumberOfRows(0) - 1;
        if (last < 0)
            continue;
        EXPECT_EQ(view.GetInt(0, last, 0), last);
        EXPECT_EQ(view.GetString(0, last, 1), "name " + std::to_string(last));
    }
    runner.join();
    EXPECT_EQ(view.GetNumberOfRows(0), 3000);
}

// Statements come and go while another thread cancels: the pointer is never used behind its end.
TEST_F(CancelTest, CancelRacesWithTheEndOfAStatement) {
    for (int i = 0; i < 200; ++i) {
        ScriptedServer quick;
        quick.AcceptOthers();
        const std::unique_ptr<SQLRequest> clone = request.CloneRequest(NewStore(), notifications);
        clone->SetSQL("x", SQLRequest::RequestSQL, false, false);
        qxdb::Connection connection = quick.Connect();
        std::thread canceller([&] { EXPECT_TRUE(clone->Cancel()); });
        try {
            clone->Execute(Def(), connection);
        } catch (const CancelledException&) {
        }
        canceller.join();
        EXPECT_TRUE(clone->IsCancelled());
    }
}

}  // namespace
}  // namespace qxtest
