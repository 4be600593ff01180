#include <gmock/gmock.h>

#include <stdexcept>
#include <thread>

#include "platform/qxutils/qx_exception.h"
#include "request/request_fixture.h"

namespace qxtest {
namespace {

using qxdbsqlengine::CancelledException;
using qxutils::QXException;

const Lines WholeRun = {"PreExecute",           "PreExecuteBatch",  "PreExecuteStatement",
                        "PostExecuteStatement", "PostExecuteBatch", "PostExecute"};

class ExecuteTest : public RequestTest {
  protected:
    // A run that throws QXException: its text.
    std::string RunThrows(const std::string& sql, SQLRequest::RequestType type = SQLRequest::RequestSQL) {
        try {
            Run(sql, type);
        } catch (const QXException& failure) {
            return failure.what();
        }
        return "nothing was thrown";
    }
};

TEST_F(ExecuteTest, SelectTellsAndStores) {
    server.Expect("select id, name from emp")
        .Returns(Rows({IntColumn("ID"), TextColumn("NAME")}, {{1, "Smith"}, {2, Null()}}));
    EXPECT_TRUE(Run("select id, name from emp"));
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd",
                                    "OnPreResultSetBegin 0 0", "OnResultSetBegin 0 0",
                                    "OnResultSetUpdate 0 2", "OnResultSetEnd 0", "OnBatchItemEnd 0 0"}));
    EXPECT_EQ(Sets(), (Lines{"0:2"}));
    EXPECT_EQ(RowOf(0, 0), (Lines{"1", "Smith"}));
    EXPECT_EQ(RowOf(0, 1), (Lines{"2", "[NULL]"}));
    EXPECT_EQ(store->GetTableName(0), "emp");
    EXPECT_EQ(store->GetTagName(0), "");
    EXPECT_EQ(store->GetColumnLabel(0, 1), "NAME");
    EXPECT_EQ(request.GetBatchItemIndex(), 1);
    EXPECT_EQ(request.GetStatement(), nullptr);
}

TEST_F(ExecuteTest, HandlerIsCalledInOrderAndTheConnectionTellsItOnlyOfTheItems) {
    server.Expect("x");
    request.handlerActions["PreExecuteBatch"] = [&] {
        EXPECT_EQ(server.Log(), (Lines{"callback off", "callback on"}));
    };
    request.handlerActions["PreExecute"] = [&] { EXPECT_EQ(server.Log(), (Lines{"callback off"})); };
    request.handlerActions["PostExecute"] = [&] {
        EXPECT_EQ(server.Log(), (Lines{"callback off", "callback on", "execute x", "callback off"}));
    };
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(request.handlerLog, WholeRun);
    EXPECT_EQ(server.Log(), (Lines{"callback off", "callback on", "execute x", "callback off"}));
}

TEST_F(ExecuteTest, ConnectionIsBorrowedForTheRun) {
    server.Expect("x");
    request.handlerActions["PostExecute"] = [&] {
        EXPECT_EQ(lender->Calls(), (Lines{"request source true false"}));
    };
    Run("x");
    EXPECT_EQ(lender->Calls(), (Lines{"request source true false", "release"}));
    EXPECT_EQ(request.GetUserNameA(), "scott");
    EXPECT_EQ(request.GetDBType(), qxdb::DBTYPE_OTHER);
}

TEST_F(ExecuteTest, ConnectionGoesBackWhenTheRunThrows) {
    request.handlerActions["PreExecute"] = [] { throw QXException("options"); };
    EXPECT_EQ(RunThrows("x"), "options");
    EXPECT_EQ(lender->Calls(), (Lines{"request source true false", "release"}));
}

TEST_F(ExecuteTest, NoConnectionIsAFailure) {
    lender->Refuse();
    EXPECT_EQ(RunThrows("x"), "No connection to the data source : source");
    OpenRequest alone(notifications, SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(), store, nullptr,
                      "");
    EXPECT_THROW(alone.Execute(Def()), QXException);
    EXPECT_EQ(calls.Lines(), Lines());
}

TEST_F(ExecuteTest, StatementWithoutResultsEndsWithOneMessageResultSet) {
    server.Expect("create table t");
    EXPECT_TRUE(Run("create table t"));
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd",
                                    "OnPreResultSetBegin 0 2", "OnResultSetBegin 0 2", "OnBatchItemEnd 0 0",
                                    "OnResultSetUpdate 0 1", "OnResultSetEnd 0"}));
    EXPECT_EQ(Sets(), (Lines{"2:1"}));
    EXPECT_EQ(Column(0), (Lines{"The command completed with no results returned"}));
    EXPECT_EQ(store->GetNumberOfColumns(0), 1);
    EXPECT_EQ(store->GetDataType(0, 0), qxdbsqlengine::DataTypeString);
}

TEST_F(ExecuteTest, ExplainPlanHasNoCompletionMessage) {
    server.Expect("x");
    request.SetDoExplainPlan(true);
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(Sets(), Lines());
    EXPECT_EQ(calls.Lines(),
              (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd", "OnBatchItemEnd 0 0"}));
}

TEST_F(ExecuteTest, RowCountsAreShown) {
    const struct {
        SQLRequest::RequestType type;
        unsigned int rows;
        const char* expected;
    } cases[] = {
        {SQLRequest::RequestSQL, 3, "3 row(s) affected."},
        {SQLRequest::RequestSQL, 0, "0 row(s) affected."},
        {SQLRequest::RequestProcedure, 1, "1 row(s) affected."},
        {SQLRequest::RequestProcedure, 0, "The command completed with no results returned"},
        {SQLRequest::RequestFunction, 2, "2 row(s) affected."},
        {SQLRequest::RequestFunction, 0, "The command completed with no results returned"},
    };
    for (const auto& c : cases) {
        server.Expect("x").Returns(RowCount(c.rows));
        request.ClearStorage();
        EXPECT_TRUE(Run("x", c.type));
        EXPECT_EQ(Sets(), (Lines{"2:1"}));
        EXPECT_EQ(Column(0), (Lines{c.expected}));
    }
}

TEST_F(ExecuteTest, UnknownRowCountShowsNothing) {
    server.Expect("x").Returns(UnknownRowCount());
    Run("x");
    EXPECT_EQ(Column(0), (Lines{"The command completed with no results returned"}));
    server.Expect("y").Returns(RowCountFrom([]() -> unsigned int { throw 5; }));
    Run("y");
    EXPECT_EQ(Column(1), (Lines{"The command completed with no results returned"}));
    EXPECT_TRUE(calls.LinesOf("OnError").empty());
}

TEST_F(ExecuteTest, RowCountBeyondTheSignedRangeCountsAsUnknown) {
    server.Expect("x").Returns(RowCount(0xFFFFFFFFU));
    Run("x");
    EXPECT_EQ(Column(0), (Lines{"The command completed with no results returned"}));
}

TEST_F(ExecuteTest, RowCountsMayBeLeftOut) {
    server.Expect("x").Returns(RowCount(3));
    request.SetDisplayRowAffected(false);
    Run("x");
    EXPECT_EQ(Column(0), (Lines{"The command completed with no results returned"}));
}

TEST_F(ExecuteTest, SeveralRowCountsShareTheMessageResultSet) {
    server.Expect("x").Returns(RowCount(3)).Returns(RowCount(0)).Returns(RowCount(4));
    Run("x");
    EXPECT_EQ(Sets(), (Lines{"2:3"}));
    EXPECT_EQ(Column(0), (Lines{"3 row(s) affected.", "0 row(s) affected.", "4 row(s) affected."}));
}

TEST_F(ExecuteTest, FailedStatementIsReportedAndTheItemGoesOn) {
    server.Expect("x").Fails(MakeErrors({ErrorRecord(2, 942, 1, 15, "no table", "42000", nullptr),
                                         ErrorRecord(2, 6512, 1, 1, "at line 1", "", nullptr)}));
    // The result of a statement does not decide about its item.
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnPreResultSetBegin 0 2",
                                    "OnResultSetBegin 0 2", "OnError no table | at line 1", "OnExecuteEnd",
                                    "OnBatchItemEnd 0 0", "OnResultSetUpdate 0 2", "OnResultSetEnd 0"}));
    EXPECT_EQ(Column(0), (Lines{"no table", "at line 1"}));
    EXPECT_EQ(calls.LastErrors().GetNextError().GetErrorCode(), 942);
    EXPECT_EQ(request.handlerLog,
              (Lines{"PreExecute", "PreExecuteBatch", "PreExecuteStatement", "HandleErrors",
                     "PostExecuteStatement", "PostExecuteBatch", "PostExecute"}));
    EXPECT_EQ(request.errorCount, 2);
}

TEST_F(ExecuteTest, FailureOfTheHandlerBeforeTheStatementCountsAsTheStatements) {
    request.handlerActions["PreExecuteStatement"] = [] { throw MakeErrors("before"); };
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(server.Executed(), Lines());
    EXPECT_EQ(Column(0), (Lines{"before"}));
    EXPECT_EQ(request.handlerLog,
              (Lines{"PreExecute", "PreExecuteBatch", "PreExecuteStatement", "HandleErrors",
                     "PostExecuteStatement", "PostExecuteBatch", "PostExecute"}));
}

TEST_F(ExecuteTest, FailureBetweenResultsEndsTheItem) {
    server.Expect("x")
        .Returns(Rows({IntColumn("A")}, {{1}}))
        .Returns(Rows({IntColumn("A")}, {{2}}).FailsOnAvailable(MakeErrors("second failed")));
    EXPECT_FALSE(Run("x"));
    EXPECT_EQ(Sets(), (Lines{"0:1", "2:1"}));
    EXPECT_EQ(Column(1), (Lines{"second failed"}));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError second failed"}));
    // The closing calls of statement and item are left out, that of the run is not.
    EXPECT_EQ(request.handlerLog,
              (Lines{"PreExecute", "PreExecuteBatch", "PreExecuteStatement", "DetermineColumnDefs",
                     "HandleResultSet", "HandleErrors", "PostExecute"}));
    EXPECT_EQ(calls.LinesOf("OnBatchItemEnd").size(), 1U);
}

TEST_F(ExecuteTest, FailureBeforeTheItemBeginsIsReported) {
    request.handlerActions["PreExecuteBatch"] = [] { throw MakeErrors("no trace"); };
    EXPECT_FALSE(Run("x"));
    EXPECT_EQ(calls.Lines(), (Lines{"OnPreResultSetBegin 0 2", "OnResultSetBegin 0 2", "OnError no trace",
                                    "OnResultSetUpdate 0 1", "OnResultSetEnd 0"}));
    EXPECT_EQ(request.handlerLog, (Lines{"PreExecute", "PreExecuteBatch", "HandleErrors", "PostExecute"}));
}

TEST_F(ExecuteTest, StandardExceptionEndsTheItem) {
    server.Expect("x").Does([] { throw std::runtime_error("driver fault"); });
    EXPECT_FALSE(Run("x"));
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnError driver fault",
                                    "OnBatchItemEnd 0 0"}));
    EXPECT_EQ(Sets(), Lines());
    const Errors errors = calls.LastErrors();
    ASSERT_EQ(errors.GetNumberErrors(), 1U);
    EXPECT_EQ(errors.GetNextError().GetSeverity(), 0);
    EXPECT_EQ(request.handlerLog,
              (Lines{"PreExecute", "PreExecuteBatch", "PreExecuteStatement", "PostExecute"}));
    EXPECT_EQ(request.GetStatement(), nullptr);
}

TEST_F(ExecuteTest, UnknownExceptionEndsTheItem) {
    server.Expect("x").Does([] { throw 5; });
    EXPECT_FALSE(Run("x"));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError Unknown Error"}));
    EXPECT_EQ(calls.LinesOf("OnBatchItemEnd"), (Lines{"OnBatchItemEnd 0 0"}));
}

TEST_F(ExecuteTest, FailureWhileRowsArriveClosesTheirResultSet) {
    server.Expect("x").Returns(
        Rows({IntColumn("A")}, {{1}, {2}}).AtRow(1, [] { throw std::runtime_error("driver fault"); }));
    EXPECT_FALSE(Run("x"));
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd",
                                    "OnPreResultSetBegin 0 0", "OnResultSetBegin 0 0", "OnError driver fault",
                                    "OnResultSetUpdate 0 1", "OnResultSetEnd 0", "OnBatchItemEnd 0 0"}));
    EXPECT_EQ(Column(0), (Lines{"1"}));
}

TEST_F(ExecuteTest, FailureOfTheOptionsLeavesTheRun) {
    request.handlerActions["PreExecute"] = [] { throw MakeErrors("options"); };
    EXPECT_THROW(Run("x"), Errors);
    EXPECT_EQ(request.handlerLog, (Lines{"PreExecute"}));
    EXPECT_EQ(server.Log(), (Lines{"callback off", "callback off"}));
}

TEST_F(ExecuteTest, FailureBehindTheRunLeavesIt) {
    server.Expect("x");
    request.handlerActions["PostExecute"] = [] { throw MakeErrors("statistics"); };
    EXPECT_THROW(Run("x"), Errors);
    EXPECT_EQ(server.Log(),
              (Lines{"callback off", "callback on", "execute x", "callback off", "callback off"}));
}

TEST_F(ExecuteTest, DatabaseIsMadeCurrentWithoutMessages) {
    server.Expect("x");
    request.SetDatabase("pubs");
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(server.Log(), (Lines{"callback off", "callback on", "callback off", "database pubs",
                                   "callback on", "execute x", "callback off"}));
}

TEST_F(ExecuteTest, RefusedDatabaseIsNoFailure) {
    server.Expect("x");
    server.FailSetCurrentDatabase(MakeErrors("no such database"));
    request.SetDatabase("pubs");
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(server.Log(), (Lines{"callback off", "callback on", "callback off", "database pubs",
                                   "callback on", "execute x", "callback off"}));
    EXPECT_TRUE(calls.LinesOf("OnError").empty());
}

TEST_F(ExecuteTest, WithoutDataSourceTheDatabaseIsNotTouched) {
    server.Expect("x");
    request.SetDatabase("pubs");
    request.SetSQL("x", SQLRequest::RequestSQL, false, false);
    qxdb::Connection connection = server.Connect();
    EXPECT_TRUE(request.Execute(Def(qxdb::DBTYPE_OTHER, ""), connection));
    EXPECT_EQ(server.Log(), (Lines{"callback off", "callback on", "execute x", "callback off"}));
}

TEST_F(ExecuteTest, TimestampFormatGoesToTheConnection) {
    server.Expect("x");
    request.SetTimestampFormat("yyyy-MM-dd");
    Run("x");
    EXPECT_EQ(server.Log(), (Lines{"callback off", "callback on", "timestamp format yyyy-MM-dd", "execute x",
                                   "callback off"}));
}

TEST_F(ExecuteTest, StatementPropertiesAreAppliedToTheStatement) {
    server.Expect("x");
    qxdbsqlengine::RequestStatementProperties properties;
    properties.SetTimeout(30);
    properties.SetMaxRows(5);
    request.SetStatementProperties(properties);
    Run("x");
    EXPECT_EQ(server.Log(),
              (Lines{"callback off", "callback on", "maxrows 5", "timeout 30", "execute x", "callback off"}));
}

TEST_F(ExecuteTest, RunningStatementIsShown) {
    server.Expect("x").Does([&] { EXPECT_NE(request.GetStatement(), nullptr); });
    Run("x");
    EXPECT_EQ(request.GetStatement(), nullptr);
}

TEST_F(ExecuteTest, UnicodeIsAskedOfTheConnectionOnSomeServers) {
    const struct {
        qxdb::DBTYPE type;
        bool expected;
    } cases[] = {
        {qxdb::DBTYPE_SYBASE, true},   {qxdb::DBTYPE_SQLSERVER, true}, {qxdb::DBTYPE_ORACLE, true},
        {qxdb::DBTYPE_DB2OS390, true}, {qxdb::DBTYPE_MYSQL, false},    {qxdb::DBTYPE_OTHER, false},
    };
    for (const auto& c : cases) {
        server.SetUnicode(true);
        server.Expect("x");
        Run(c.type, "x");
        EXPECT_EQ(request.IsUnicodeInstance(), c.expected) << c.type;
        server.SetUnicode(false);
        server.Expect("x");
        Run(c.type, "x");
        EXPECT_FALSE(request.IsUnicodeInstance()) << c.type;
    }
}

TEST_F(ExecuteTest, UnicodeInstanceIsToldToTheBinding) {
    server.SetUnicode(true);
    server.Expect("x").Returns(Rows({IntColumn("A")}, {}));
    Run(qxdb::DBTYPE_SQLSERVER, "x");
    EXPECT_THAT(server.Log(), testing::Contains("unicode binding"));
}

TEST_F(ExecuteTest, Db2CodeSetIsAskedOverAConnectionOfItsOwn) {
    const struct {
        std::vector<std::pair<std::string, std::string>> configuration;
        bool expected;
    } cases[] = {
        {{{"Database code set", "UTF-8"}}, true},
        {{{"Database code page", "1208"}, {"Database code set", "UTF-8"}}, true},
        {{{"Database code set", "ISO8859-1"}, {"Database code set", "UTF-8"}}, true},
        {{{"Database code set", "utf-8"}}, false},
        {{{"database code set", "UTF-8"}}, false},
        {{}, false},
    };
    for (const auto& c : cases) {
        ScriptedServer configurationServer;
        configurationServer.SetConfiguration(c.configuration);
        Lines definitions;
        RegisterScriptedDriver("scripted configuration", qxdb::DBTYPE_DB2CONFIG, configurationServer,
                               &definitions);
        server.Expect("x");
        Run(qxdb::DBTYPE_DB2, "x");
        EXPECT_EQ(request.IsUnicodeInstance(), c.expected);
        EXPECT_EQ(definitions, (Lines{"13|source|scott|tiger||"}));
        EXPECT_EQ(configurationServer.Log(), (Lines{"load configuration source"}));
    }
}

TEST_F(ExecuteTest, FailedCodeSetProbeMeansNotUnicode) {
    ScriptedServer configurationServer;  // nothing to load
    RegisterScriptedDriver("scripted configuration", qxdb::DBTYPE_DB2CONFIG, configurationServer);
    server.SetUnicode(true);
    server.Expect("x");
    EXPECT_TRUE(Run(qxdb::DBTYPE_DB2, "x"));
    EXPECT_FALSE(request.IsUnicodeInstance());
    EXPECT_TRUE(calls.LinesOf("OnError").empty());
}

TEST_F(ExecuteTest, MaxErrorsOccurred) {
    const struct {
        int limit;
        int errors;
        bool expected;
    } cases[] = {{0, 0, false}, {0, 5, false}, {1, 0, false}, {1, 1, true},
                 {3, 2, false}, {3, 3, true},  {3, 4, true}};
    for (const auto& c : cases) {
        request.SetMaxErrorCount(c.limit);
        request.errorCount = c.errors;
        EXPECT_EQ(request.MaxErrorsOccurred(), c.expected) << c.limit << " " << c.errors;
    }
}

TEST_F(ExecuteTest, RequestRunsAgainAndCountsErrorsAnew) {
    server.Expect("x").Fails(MakeErrors("first"));
    server.Expect("x").Returns(Rows({IntColumn("A")}, {{1}}));
    Run("x");
    EXPECT_EQ(request.errorCount, 1);
    Run("x");
    EXPECT_EQ(request.errorCount, 0);
    EXPECT_EQ(request.handlersMade, 2);
    EXPECT_EQ(Sets(), (Lines{"2:1", "0:1"}));
    EXPECT_EQ(calls.LinesOf("OnBatchItemEnd"), (Lines{"OnBatchItemEnd 0 0", "OnBatchItemEnd 0 0"}));
    EXPECT_EQ(lender->Calls().size(), 4U);
}

TEST_F(ExecuteTest, NewItemClosesTheItemBeforeIt) {
    server.Expect("a").Returns(Rows({IntColumn("A")}, {{1}}));
    server.Expect("b");
    request.items = [&](qxdb::Connection& connection) {
        request.NotifyBatchItemBegin();
        EXPECT_TRUE(request.inBatchItem);
        request.SetSQL("a", SQLRequest::RequestSQL, false, false);
        EXPECT_TRUE(request.ExecuteBatchItem(connection));
        request.SetSQL("b", SQLRequest::RequestSQL, false, false);
        EXPECT_TRUE(request.ExecuteBatchItem(connection));
        return true;
    };
    EXPECT_TRUE(Run("a"));
    EXPECT_EQ(calls.LinesOf("OnBatchItem"),
              (Lines{"OnBatchItemBegin 0 0", "OnBatchItemEnd 0 0", "OnBatchItemBegin 1 0",
                     "OnBatchItemEnd 1 0", "OnBatchItemBegin 2 0", "OnBatchItemEnd 2 0"}));
    request.NotifyBatchItemEnd();
    EXPECT_EQ(request.GetBatchItemIndex(), 3);
}

TEST_F(ExecuteTest, OpenResultSetOfRowsIsClosedByTheItem) {
    server.Expect("x");
    request.handlerActions["PreExecuteBatch"] = [&] {
        request.GetColumnDefinition().resize(1);
        request.NotifyPreResultSetBegin(qxdbsqlengine::ResultSetExplainPlan);
        EXPECT_TRUE(request.NotifyResultSetBegin(nullptr));
    };
    request.SetDoExplainPlan(true);
    Run("x");
    EXPECT_EQ(calls.Lines(), (Lines{"OnPreResultSetBegin 0 5", "OnResultSetBegin 0 5",
                                    "OnResultSetUpdate 0 0", "OnResultSetEnd 0", "OnBatchItemBegin 0 0",
                                    "OnExecuteBegin", "OnExecuteEnd", "OnBatchItemEnd 0 0"}));
}

struct CallbackCase {
    const char* line;  // the callback that throws
    bool result;
    Lines errors;
    Lines sets;
};

TEST_F(ExecuteTest, FailureOfACallbackIsAFailureOfTheItem) {
    const Lines reported = {"OnError callback"};
    const CallbackCase cases[] = {
        {"OnBatchItemBegin", false, reported, {}},       {"OnExecuteBegin", false, reported, {}},
        {"OnExecuteEnd", false, reported, {}},           {"OnPreResultSetBegin", false, reported, {}},
        {"OnResultSetBegin", false, reported, {"0:0"}},  {"OnResultSetEnd", false, reported, {"0:1"}},
        {"OnResultSetUpdate", false, reported, {"0:1"}}, {"OnBatchItemEnd", false, reported, {"0:1"}},
    };
    for (const CallbackCase& c : cases) {
        calls.Clear();
        request.ClearStorage();
        server.Expect("x").Returns(Rows({IntColumn("A")}, {{1}}));
        bool isFirst = true;
        calls.OnLine([&](const std::string& line) {
            if (isFirst && line.compare(0, std::string(c.line).size(), c.line) == 0) {
                isFirst = false;
                throw std::runtime_error("callback");
            }
        });
        EXPECT_EQ(Run("x"), c.result) << c.line;
        EXPECT_EQ(calls.LinesOf("OnError"), c.errors) << c.line;
        EXPECT_EQ(Sets(), c.sets) << c.line;
        EXPECT_FALSE(request.inResultSet) << c.line;
        EXPECT_FALSE(request.inBatchItem) << c.line;
        EXPECT_EQ(lender->Calls().back(), "release");
        calls.OnLine(nullptr);
        // No row lock is held: another thread can write.
        std::thread([&] { store->AddResultSet({}, qxdbsqlengine::ResultSetNormal); }).join();
        EXPECT_EQ(store->GetNumberOfResultSets(), static_cast<int>(c.sets.size()) + 1);
        // Up to OnExecuteBegin the statement does not reach the server.
        server.Forget();
    }
}

TEST_F(ExecuteTest, FailureOfTheErrorCallbackLeavesTheRun) {
    server.Expect("x").Does([] { throw std::runtime_error("driver fault"); });
    calls.OnLine([](const std::string& line) {
        if (line == "OnError driver fault")
            throw std::runtime_error("callback");
    });
    EXPECT_THROW(Run("x"), std::runtime_error);
    EXPECT_EQ(lender->Calls().back(), "release");
    EXPECT_EQ(server.Log().back(), "callback off");
}

TEST_F(ExecuteTest, EngineBracketsTheRun) {
    server.Expect("x").Returns(Rows({IntColumn("A")}, {{1}}));
    request.SetSQL("x", SQLRequest::RequestSQL, false, false);
    RunOnEngine();
    EXPECT_EQ(calls.Lines(),
              (Lines{"OnRequestBegin", "OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd",
                     "OnPreResultSetBegin 0 0", "OnResultSetBegin 0 0", "OnResultSetUpdate 0 1",
                     "OnResultSetEnd 0", "OnBatchItemEnd 0 0", "OnRequestEnd"}));
    EXPECT_EQ(Column(0), (Lines{"1"}));
}

TEST_F(ExecuteTest, EngineReportsWhatLeavesTheRun) {
    request.handlerActions["PreExecute"] = [] { throw QXException("options"); };
    request.SetSQL("x", SQLRequest::RequestSQL, false, false);
    RunOnEngine();
    EXPECT_EQ(calls.Lines(), (Lines{"OnRequestBegin", "OnError options", "OnRequestEnd"}));
}

}  // namespace
}  // namespace qxtest
