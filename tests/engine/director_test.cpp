// Runs of a director.
#include "engine/director.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <vector>

#include "director_support.h"
#include "platform/qxutils/lock_fault.h"
#include "platform/qxutils/qx_exception.h"

namespace {

using namespace qxdbsqlengine;
using namespace qxtest;

const Lines runLines = {"OnRequestBegin",        "OnBatchItemBegin 0 0",    "OnExecuteBegin",
                        "OnExecuteEnd",          "OnPreResultSetBegin 0 0", "OnResultSetBegin 0 0",
                        "OnResultSetUpdate 0 2", "OnResultSetEnd 0",        "OnBatchItemEnd 0 0",
                        "OnRequestEnd"};

Result TwoRows() {
    return Rows({IntColumn("A")}, {{1}, {2}});
}

TEST_F(DirectorTest, RunNotifiesInOrderAndFillsTheStore) {
    server.Expect("select a from t").Returns(TwoRows());
    Execute("select a from t");
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(calls.Lines(), runLines);
    EXPECT_EQ(lender->Calls(), (Lines{"request pubs true false", "release"}));
    const SmartPtr<DataStorage> store = director->GetDataStorage();
    ASSERT_EQ(store->GetNumberOfResultSets(), 1);
    EXPECT_EQ(store->GetNumberOfRows(0), 2);
    EXPECT_EQ(store->GetInt(0, 1, 0), 2);
    EXPECT_EQ(director->GetSQL(), "select a from t");
    server.Verify();
}

TEST_F(DirectorTest, ExecuteDuringARunDoesNothing) {
    server.Expect("first").Hangs(false).Returns(TwoRows());
    Execute("first");
    ASSERT_TRUE(server.WaitForHang());
    EXPECT_TRUE(director->IsExecuting());
    director->Execute();
    Execute("second");
    director->ReExecute();
    EXPECT_FALSE(director->ExecuteDirect("third", SQLRequest::RequestSQL, false));
    qxdb::Connection connection = server.Connect();
    EXPECT_FALSE(director->ExecuteDirect(connection, "fourth", SQLRequest::RequestSQL, false));
    director->FetchObjectErrors("o", "n", "t", false);
    server.Release();
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(director->GetSQL(), "first");
    EXPECT_EQ(server.Executed(), Lines{"first"});
    EXPECT_EQ(director->engines, 1);
    EXPECT_EQ(calls.LinesOf("OnRequestBegin").size(), 1u);
}

TEST_F(DirectorTest, ReExecuteRepeatsOnANewEngineIntoTheSameStore) {
    for (int i = 0; i < 3; ++i) {
        server.Expect("select a from t").Returns(TwoRows());
    }
    Execute("select a from t");
    ASSERT_TRUE(WaitEnd(1));
    director->ReExecute();
    ASSERT_TRUE(WaitEnd(2));
    EXPECT_EQ(director->GetDataStorage()->GetNumberOfResultSets(), 2);
    director->ClearStorage();
    EXPECT_EQ(director->GetDataStorage()->GetNumberOfResultSets(), 0);
    director->ReExecute();
    ASSERT_TRUE(WaitEnd(3));
    EXPECT_EQ(director->GetDataStorage()->GetNumberOfResultSets(), 1);
    EXPECT_EQ(director->engines, 3);
    // Registered for each run, called once all the same.
    EXPECT_EQ(calls.LinesOf("OnRequestEnd").size(), 3u);
    server.Verify();
}

TEST_F(DirectorTest, ExecuteRunsWhatTheRequestHolds) {
    const RequestPtr held = director->GetRequest();
    static_cast<SQLRequest&>(*held).SetSQL("prepared before", SQLRequest::RequestSQL, false, false);
    server.Expect("prepared before").Returns(RowCount(1));
    director->Execute();
    ASSERT_TRUE(WaitEnd());
    server.Verify();
}

// A new run right after the end of the last, while its thread still winds up.
TEST_F(DirectorTest, RunsFollowEachOtherClosely) {
    constexpr int runs = 100;
    server.AcceptOthers();
    for (std::size_t i = 1; i <= runs; ++i) {
        // Asked again and again: the end is told here a moment before the director takes the next run.
        ASSERT_TRUE(Eventually([this, i] {
            Execute("select 1");
            return calls.LinesOf("OnRequestEnd").size() >= i;
        })) << i;
    }
}

TEST_F(DirectorTest, FailureOfARunArrivesAsNotification) {
    lender->Refuse();
    Execute("select a from t");
    ASSERT_TRUE(WaitEnd());
    const Lines lines = calls.Lines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "OnRequestBegin");
    EXPECT_EQ(lines[1].rfind("OnError ", 0), 0u);
    EXPECT_EQ(lines[2], "OnRequestEnd");
    // The director is idle again.
    Execute("select a from t");
    ASSERT_TRUE(WaitEnd(2));
    EXPECT_EQ(director->engines, 2);
}

TEST_F(DirectorTest, ServerErrorsArriveOnce) {
    server.Expect("broken").Fails(MakeErrors("no such thing"));
    Execute("broken");
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(calls.LinesOf("OnError"), Lines{"OnError no such thing"});
    EXPECT_EQ(calls.Lines().back(), "OnRequestEnd");
}

TEST_F(DirectorTest, BadArgumentsLeaveExecuteBeforeAnyQueueing) {
    EXPECT_THROW(director->Execute("x", static_cast<SQLRequest::RequestType>(7), false, false),
                 qxutils::QXException);
    EXPECT_THROW(director->Execute("/no/such/file.sql", SQLRequest::RequestSQL, true, false),
                 qxutils::QXException);
    EXPECT_EQ(director->engines, 0);
    EXPECT_FALSE(director->IsExecuting());
    server.Expect("fine").Returns(RowCount(0));
    Execute("fine");
    ASSERT_TRUE(WaitEnd());
    server.Verify();
}

TEST_F(DirectorTest, NoEngineThreadIsReportedAndTheDirectorStaysIdle) {
    director->noEngine = true;
    EXPECT_THROW(Execute("x"), qxutils::QXException);
    EXPECT_FALSE(director->IsExecuting());
    director->noEngine = false;
    server.Expect("x").Returns(RowCount(0));
    Execute("x");
    ASSERT_TRUE(WaitEnd());
}

TEST_F(DirectorTest, ExecuteDirectRunsOnTheCallersThread) {
    server.Expect("select a from t").Returns(TwoRows());
    const std::thread::id self = std::this_thread::get_id();
    bool sameThread = true;
    bool executing = false;
    calls.OnLine([&](const std::string&) {
        sameThread = sameThread && std::this_thread::get_id() == self;
        executing = executing || director->IsExecuting();
        // The lock is held by this thread, and registering takes it again.
        director->RegisterCallback(static_cast<ErrorCallback&>(calls));
    });
    EXPECT_TRUE(director->ExecuteDirect("select a from t", SQLRequest::RequestSQL, false));
    EXPECT_TRUE(sameThread);
    EXPECT_FALSE(executing);
    EXPECT_EQ(calls.Lines(), Lines(runLines.begin() + 1, runLines.end() - 1));
    EXPECT_EQ(lender->Calls(), (Lines{"request pubs true false", "release"}));
    EXPECT_EQ(director->engines, 0);
    EXPECT_FALSE(director->IsExecuting());
}

TEST_F(DirectorTest, ExecuteDirectOverAGivenConnection) {
    server.Expect("select a from t").Returns(TwoRows());
    server.Expect("select a from t").Returns(TwoRows());
    qxdb::Connection connection = server.Connect();
    EXPECT_TRUE(director->ExecuteDirect(connection, "select a from t", SQLRequest::RequestSQL, false));
    EXPECT_EQ(lender->Calls(), Lines{});
    EXPECT_TRUE(director->ExecuteDirect(connection, "select a from t", SQLRequest::RequestSQL, false));
    EXPECT_EQ(director->GetDataStorage()->GetNumberOfResultSets(), 2);
    server.Verify();
}

TEST_F(DirectorTest, ExecuteDirectGivesTheRequestsResult) {
    server.Expect("select a from t").Returns(TwoRows());
    EXPECT_TRUE(director->ExecuteDirect("select a from t", SQLRequest::RequestSQL, false));
    struct Failing : SQLRequest {
        Failing(const ConnectionRequestCallbackPtr& lender, const SmartPtr<DataStorage>& store)
            : SQLRequest(SmartPtr<NotificationCallbacks>(new NotificationCallbacks), lender, store, nullptr,
                         "") {}
        bool Execute(const ConnectionDefElement&) override { return false; }
        bool Execute(const ConnectionDefElement&, qxdb::Connection&) override { return false; }
    };
    director->SetRequest(RequestPtr(new Failing(connections, director->GetDataStorage())));
    EXPECT_FALSE(director->ExecuteDirect("x", SQLRequest::RequestSQL, false));
    qxdb::Connection connection = server.Connect();
    EXPECT_FALSE(director->ExecuteDirect(connection, "x", SQLRequest::RequestSQL, false));
}

TEST_F(DirectorTest, FailedExecuteDirectLeavesTheDirectorRunning) {
    lender->Refuse();
    EXPECT_THROW(director->ExecuteDirect("select a from t", SQLRequest::RequestSQL, false), std::exception);
    EXPECT_FALSE(director->ExecuteDirect("select a from t", SQLRequest::RequestSQL, false));
    Execute("select a from t");
    EXPECT_EQ(director->engines, 0);
    // A cancel ends that state.
    EXPECT_TRUE(director->Cancel());
    Execute("select a from t");
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(director->engines, 1);
}

TEST_F(DirectorTest, BadTypeLeavesExecuteDirectIdle) {
    EXPECT_THROW(director->ExecuteDirect("x", static_cast<SQLRequest::RequestType>(-1), false),
                 qxutils::QXException);
    server.Expect("x").Returns(RowCount(0));
    EXPECT_TRUE(director->ExecuteDirect("x", SQLRequest::RequestSQL, false));
}

TEST_F(DirectorTest, FetchObjectErrorsIsForOracleOnly) {
    director->FetchObjectErrors("o", "n", "t", false);
    EXPECT_EQ(director->engines, 0);
    EXPECT_EQ(director->GetSQL(), "");
    EXPECT_FALSE(director->CheckingObjectErrors());
}

class OracleDirectorTest : public DirectorTest {
  protected:
    OracleDirectorTest() : DirectorTest(qxdb::DBTYPE_ORACLE) {}
};

struct ObjectErrorsCase {
    const char* owner;
    const char* name;
    const char* type;
    bool useDba;
    const char* sql;
};

class ObjectErrorsTest : public OracleDirectorTest, public testing::WithParamInterface<ObjectErrorsCase> {};

TEST_P(ObjectErrorsTest, StatementAndFlag) {
    const ObjectErrorsCase& c = GetParam();
    // Stays at the connection, so that the run is seen under way.
    std::atomic<bool> checking{false};
    calls.OnLine([&](const std::string& line) {
        if (line == "OnRequestBegin") {
            checking = director->CheckingObjectErrors();
        }
    });
    lender->Refuse();
    director->FetchObjectErrors(c.owner, c.name, c.type, c.useDba);
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(director->GetSQL(), c.sql);
    EXPECT_TRUE(checking);
    EXPECT_TRUE(Eventually([this] { return !director->CheckingObjectErrors(); }));
    // An ordinary run takes the flag back.
    checking = true;
    Execute("select 1");
    ASSERT_TRUE(WaitEnd(2));
    EXPECT_FALSE(checking);
}

INSTANTIATE_TEST_SUITE_P(
    Clauses, ObjectErrorsTest,
    testing::Values(
        ObjectErrorsCase{
            "SCOTT", "P1", "PROCEDURE", false,
            "SELECT LINE, POSITION, TEXT FROM ALL_ERRORS WHERE OWNER = 'SCOTT' AND NAME = 'P1' AND "
            "TYPE = 'PROCEDURE' ORDER BY LINE, POSITION"},
        ObjectErrorsCase{
            "SCOTT", nullptr, "VIEW", false,
            "SELECT LINE, POSITION, TEXT FROM ALL_ERRORS WHERE OWNER = 'SCOTT' AND TYPE = 'VIEW' "
            "ORDER BY LINE, POSITION"},
        ObjectErrorsCase{
            nullptr, "P1", "VIEW", false,
            "SELECT LINE, POSITION, TEXT FROM ALL_ERRORS WHERE NAME = 'P1' AND TYPE = 'VIEW' ORDER "
            "BY LINE, POSITION"},
        ObjectErrorsCase{
            nullptr, nullptr, "VIEW", false,
            "SELECT LINE, POSITION, TEXT FROM ALL_ERRORS WHERE TYPE = 'VIEW' ORDER BY LINE, POSITION"},
        ObjectErrorsCase{
            "O'X", nullptr, "VIEW", true,
            "SELECT LINE, POSITION, TEXT FROM SYS.DBA_ERRORS WHERE OWNER = 'O'X' AND TYPE = 'VIEW' "
            "ORDER BY LINE, POSITION"}));

TEST_F(DirectorTest, CancelWithoutARunStartsNothing) {
    EXPECT_TRUE(director->Cancel());
    EXPECT_FALSE(director->IsCancelled());
    server.Expect("x").Returns(RowCount(0));
    Execute("x");
    ASSERT_TRUE(WaitEnd());
    EXPECT_TRUE(director->Cancel());
    EXPECT_FALSE(director->IsCancelled());
}

TEST_F(DirectorTest, CancelEndsAHangingStatement) {
    server.Expect("slow").Hangs();
    Execute("slow");
    ASSERT_TRUE(server.WaitForHang());
    EXPECT_TRUE(director->Cancel());
    EXPECT_TRUE(director->IsCancelled());
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(server.CancelCount(), 1);
    EXPECT_EQ(calls.LinesOf("OnRequestEnd").size(), 1u);
    EXPECT_EQ(calls.LinesOf("OnCancelFailed"), Lines{});
}

// The first cancel was answered, so the director counts as idle although the run goes on.
TEST_F(DirectorTest, CancelledDirectorCountsAsIdle) {
    server.Expect("slow").Hangs(false);
    Execute("slow");
    ASSERT_TRUE(server.WaitForHang());
    EXPECT_TRUE(director->Cancel());
    EXPECT_TRUE(director->IsExecuting());
    EXPECT_FALSE(director->CheckingObjectErrors());
    EXPECT_TRUE(director->Cancel());
    EXPECT_EQ(server.CancelCount(), 1);
    server.Release();
    ASSERT_TRUE(WaitEnd());
}

// A request whose cancel says that the run is still stuck.
struct StuckRequest : SQLRequest {
    StuckRequest(const ConnectionRequestCallbackPtr& lender, const SmartPtr<DataStorage>& store)
        : SQLRequest(SmartPtr<NotificationCallbacks>(new NotificationCallbacks), lender, store, nullptr, "") {
    }
    bool Execute(const ConnectionDefElement&, qxdb::Connection&) override { return true; }
    bool Execute(const ConnectionDefElement&) override {
        entered = true;
        while (!leave) {
            std::this_thread::yield();
        }
        return true;
    }
    bool Cancel() override {
        ++cancels;
        return leave;
    }
    std::atomic<bool> entered{false};
    std::atomic<bool> leave{false};
    std::atomic<int> cancels{0};
};

TEST_F(DirectorTest, StuckCancelKeepsTheRunUnderWay) {
    auto* const stuck = new StuckRequest(connections, director->GetDataStorage());
    const RequestPtr held(stuck);
    director->SetRequest(held);
    director->Execute();
    ASSERT_TRUE(Eventually([stuck] { return stuck->entered.load(); }));
    EXPECT_TRUE(director->Cancel());
    EXPECT_TRUE(director->Cancel());
    EXPECT_EQ(stuck->cancels, 2) << "a further cancel must get through";
    // The run that was given up leaves the director idle, and its engine is stopped but kept.
    director->OnCancelFailed(0.0);
    EXPECT_TRUE(director->Cancel());
    EXPECT_EQ(stuck->cancels, 2);
    EXPECT_TRUE(director->IsExecuting());
    director->Execute();
    EXPECT_EQ(director->engines, 1);
    stuck->leave = true;
    EXPECT_TRUE(Eventually([this] { return !director->IsExecuting(); }));
}

TEST_F(DirectorTest, EngineIsKeptUntilItsRunHasEnded) {
    const ThreadPtr<IEngine> first = director->GetEngine();
    EXPECT_EQ(director->GetEngine().operator->(), first.operator->());
    EXPECT_EQ(director->engines, 1);
    EXPECT_FALSE(director->IsExecuting());
    EXPECT_EQ(first->GetConnectionDefElement().GetDataSourceName(), "pubs");
    server.Expect("x").Returns(RowCount(0));
    Execute("x");
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(director->engines, 1);
    EXPECT_TRUE(Eventually([&first] { return first->ExecutionCompleted(); }));
    EXPECT_NE(director->GetEngine().operator->(), first.operator->());
    EXPECT_EQ(director->engines, 2);
}

TEST_F(DirectorTest, ReleaseEngineStopsIt) {
    director->ReleaseEngine();
    const ThreadPtr<IEngine> engine = director->GetEngine();
    director->ReleaseEngine();
    EXPECT_TRUE(Eventually([&engine] { return engine->ExecutionCompleted(); }));
    director->ReleaseEngine();
}

TEST_F(DirectorTest, DefinitionIsForTheNextEngine) {
    server.AcceptOthers();
    Execute("x");
    ASSERT_TRUE(WaitEnd(1));
    def.SetDataSourceName("other");
    director->SetConnectionDefElement(def);
    def.SetDataSourceName("changed later");
    Execute("x");
    ASSERT_TRUE(WaitEnd(2));
    EXPECT_EQ(lender->Calls(),
              (Lines{"request pubs true false", "release", "request other true false", "release"}));
}

struct RefuseOne : qxutils::LockFaultInjector {
    std::atomic<const void*> target{nullptr};
    bool RefuseLock(const void* lock) override {
        last = lock;
        return lock == target;
    }
    const void* last = nullptr;
};

TEST_F(DirectorTest, RefusedLockLeavesTheOperations) {
    // The first lock of a registration is the director's own.
    struct First : qxutils::LockFaultInjector {
        const void* lock = nullptr;
        bool RefuseLock(const void* asked) override {
            lock = lock == nullptr ? asked : lock;
            return false;
        }
    } first;
    qxutils::SetLockFaultInjector(&first);
    director->RegisterCallback(static_cast<ErrorCallback&>(calls));
    RefuseOne refuse;
    refuse.target = first.lock;
    qxutils::SetLockFaultInjector(&refuse);
    EXPECT_THROW(director->Execute(), std::runtime_error);
    EXPECT_THROW(Execute("x"), std::runtime_error);
    EXPECT_THROW(director->ExecuteDirect("x", SQLRequest::RequestSQL, false), std::runtime_error);
    EXPECT_THROW(director->RegisterCallback(static_cast<ErrorCallback&>(calls)), std::runtime_error);
    EXPECT_THROW(director->UnregisterCallback(static_cast<ErrorCallback&>(calls)), std::runtime_error);
    EXPECT_THROW(director->Clear(), std::runtime_error);
    qxutils::SetLockFaultInjector(nullptr);
    EXPECT_EQ(director->engines, 0);
    server.Expect("x").Returns(RowCount(0));
    Execute("x");
    EXPECT_TRUE(WaitEnd());
}

TEST_F(DirectorTest, UnregisteredCallbacksAreNotCalled) {
    director->UnregisterCallback(static_cast<ErrorCallback&>(calls));
    director->UnregisterCallback(static_cast<MessageCallback&>(calls));
    director->UnregisterCallback(static_cast<ExecutionCallback&>(calls));
    director->UnregisterCallback(static_cast<ResultSetCallback&>(calls));
    director->UnregisterCallback(static_cast<BatchCallback&>(calls));
    director->UnregisterCallback(static_cast<LobCallback&>(calls));
    director->UnregisterCallback(static_cast<DebugEventCallback&>(calls));
    server.Expect("x").Returns(TwoRows());
    Execute("x");
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnRequestEnd"}));
    calls.Clear();
    director->UnregisterCallback(static_cast<RequestCallback&>(calls));
    server.Expect("x").Returns(TwoRows());
    ASSERT_TRUE(director->ExecuteDirect("x", SQLRequest::RequestSQL, false));
    EXPECT_EQ(calls.AllLines(), Lines{});
}

TEST_F(DirectorTest, ClearEndsAllNotificationsButTheNextRunIsSeen) {
    director->Clear();
    server.AcceptOthers();
    ASSERT_TRUE(director->ExecuteDirect("x", SQLRequest::RequestSQL, false));
    EXPECT_EQ(calls.AllLines(), Lines{});
    Execute("x");
    EXPECT_TRUE(Eventually([this] { return !director->IsExecuting(); }));
    Execute("x");
    EXPECT_EQ(director->engines, 2) << "the director must have seen the end of its run";
}

// What a callback throws is a failure of the run, and the run still ends.
TEST_F(DirectorTest, ThrowingCallbackFailsTheRun) {
    server.AcceptOthers();
    calls.OnLine([](const std::string& line) {
        if (line == "OnRequestBegin") {
            throw std::runtime_error("callback");
        }
    });
    Execute("x");
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnError callback", "OnRequestEnd"}));
    EXPECT_EQ(server.Executed(), Lines{});
}

}  // namespace
