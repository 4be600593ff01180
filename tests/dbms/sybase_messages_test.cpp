#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "dbms/sybase_handler.h"
#include "tsql_fixture.h"

namespace qxtest {
namespace {

using qxdbsqlengine::CancelledException;
using qxdbsqlengine::SybaseHandler;

using Codes = std::vector<std::pair<int, int>>;  // first and last

bool Has(const Codes& codes, int code) {
    for (const auto& range : codes) {
        if (range.first <= code && code <= range.second)
            return true;
    }
    return false;
}

class SybaseMessagesTest : public TsqlTest<SybaseHandler, qxdb::DBTYPE_SYBASE> {};

TEST_F(SybaseMessagesTest, EveryCodeHasItsClass) {
    const Codes ignored = {{2401, 2401}, {2402, 2402}, {2403, 2403}, {2408, 2408},
                           {2409, 2409}, {2411, 2411}, {2412, 2412}, {2414, 2414},
                           {2415, 2415}, {5701, 5701}, {5703, 5703}, {5704, 5704}};
    const Codes statisticsAndPlans = {
        {3612, 3615},   {1562, 1562},   {3630, 3630},   {6201, 6206},   {6209, 6227},   {6248, 6248},
        {6272, 6289},   {6292, 6292},   {9546, 9548},   {10201, 10211}, {10213, 10213}, {10214, 10214},
        {10218, 10225}, {10237, 10237}, {10239, 10239}, {10240, 10240}, {10244, 10244}, {10246, 10252}};
    int rows = 0;
    for (int code = -1; code <= 12000; ++code) {
        calls.Clear();
        const int rowsNow = Send(ServerMessage(0, code, "text"));
        ASSERT_EQ(rowsNow - rows, Has(ignored, code) ? 0 : 1) << code;
        rows = rowsNow;
        const bool isShown = code != 0 && !Has(ignored, code) && !Has(statisticsAndPlans, code);
        ASSERT_EQ(calls.LinesOf("OnMessage"), isShown ? Lines{"OnMessage 0 text"} : Lines()) << code;
        ASSERT_EQ(calls.LinesOf("OnError"), Lines()) << code;
    }
}

TEST_F(SybaseMessagesTest, EveryClassOfMessage) {
    ExpectOutcomes({
        // ignored, whatever the severity
        {0, 5701, "Changed database context to 'master'.", {}},
        {1, 5704, "Changed client character set setting to 'utf8'.", {}},
        {10, 2401, "Character set conversion is not available.", {}},
        // information, by severity
        {0,
         2528,
         "DBCC execution completed.",
         {{"DBCC execution completed."}, {}, {"DBCC execution completed."}}},
        {1, 2528, "completed", {{"completed"}, {}, {"completed"}}},
        {-1, 2528, "completed", {{"completed"}, {}, {"completed"}}},
        // printed by the statement itself
        {0, 0, "printed", {{}, {}, {"printed"}}},
        {0, 0, " ", {{}, {}, {" "}}},
        // statistics and plans are saved only
        {0, 3612, "Execution Time 0.", {{}, {}, {"Execution Time 0."}}},
        {1, 3614, "Total writes for this command: 0", {{}, {}, {"Total writes for this command: 0"}}},
        {0, 3615, "Table: emp scan count 1", {{}, {}, {"Table: emp scan count 1"}}},
        {0, 6201, "QUERY PLAN FOR STATEMENT 1", {{}, {}, {"QUERY PLAN FOR STATEMENT 1"}}},
        {0, 10252, "|SCAN Operator", {{}, {}, {"|SCAN Operator"}}},
        // errors, plans or not
        {2, 208, "emp not found.", {{}, {"emp not found."}, {"emp not found."}}},
        {16, 6201, "broken", {{}, {"broken"}, {"broken"}}},
        {16, 0, "raised", {{}, {"raised"}, {"raised"}}},
        // no text
        {0, 2528, "", {}},
        {1, 0, "", {}},
        {16, 208, "", {}},
    });
}

TEST_F(SybaseMessagesTest, TextsStayAsTheyAre) {
    ExpectOutcomes({
        // no states, no prefixes
        {0, 1, "text (42000)", {{"text (42000)"}, {}, {"text (42000)"}}},
        {0, 1, "text (42000,102)", {{"text (42000,102)"}, {}, {"text (42000,102)"}}},
        {0, 1, "[a][b][c]text (01000)", {{"[a][b][c]text (01000)"}, {}, {"[a][b][c]text (01000)"}}},
        {16, 1, "[a][b][c]text (42000)", {{}, {"[a][b][c]text (42000)"}, {"[a][b][c]text (42000)"}}},
        // lines
        {0, 1, "one\ntwo", {{"one", "two"}, {}, {"one", "two"}}},
        {0, 1, "one\r\ntwo\n", {{"one", "two"}, {}, {"one\r", "two", ""}}},
        {0, 1, "\n\none\n\n two \n", {{"one", " two "}, {}, {"", "", "one", "", " two ", ""}}},
        {0, 1, "\n", {{}, {}, {"", ""}}},
        {0, 0, "one\ntwo", {{}, {}, {"one", "two"}}},
        {0, 6203, "one\ntwo", {{}, {}, {"one", "two"}}},
        {16, 1, "one\ntwo", {{}, {"one\ntwo"}, {"one", "two"}}},
    });
}

TEST_F(SybaseMessagesTest, ErrorIsHandedOnAsItCame) {
    int mark = 0;
    qxdb::RawMessage message = ServerMessage(16, 208, "emp not found.\n");
    message.userData = &mark;
    OutcomeOf(message);
    const Errors errors = calls.LastErrors();
    ASSERT_EQ(errors.GetNumberErrors(), 1u);
    const ErrorRecord& record = errors.GetNextError();
    EXPECT_EQ(record.GetSeverity(), 16);
    EXPECT_EQ(record.GetErrorCode(), 208);
    EXPECT_EQ(record.GetLineNumber(), 7);
    EXPECT_EQ(record.GetErrorPosition(), 3);
    EXPECT_EQ(record.GetErrorDescription(), "emp not found.\n");
    EXPECT_EQ(record.GetSQLState(), "ZZZZZ");
    EXPECT_EQ(record.GetUserData(), &mark);
}

TEST_F(SybaseMessagesTest, StreamOfAllClassesKeepsItsOrder) {
    server.Expect("x")
        .Message(ServerMessage(0, 5701, "Changed database context."))
        .Message(ServerMessage(0, 0, "printed"))
        .Message(ServerMessage(0, 6201, "QUERY PLAN"))
        .Message(ServerMessage(0, 2528, "completed\nreally"))
        .Message(ServerMessage(16, 208, "emp not found."))
        .Returns(Rows({IntColumn("A")}, {{1}}))
        .MessageAfter(ServerMessage(0, 3612, "Execution Time 0."));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(Sets(), (Lines{"2:5", "0:1", "2:1"}));
    EXPECT_EQ(Column(0), (Lines{"printed", "QUERY PLAN", "completed", "really", "emp not found."}));
    EXPECT_EQ(Column(2), (Lines{"Execution Time 0."}));
    EXPECT_EQ(
        calls.Lines(),
        (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnPreResultSetBegin 0 2", "OnResultSetBegin 0 2",
               "OnMessage 0 completed", "OnMessage 0 really", "OnError emp not found.", "OnExecuteEnd",
               "OnResultSetUpdate 0 5", "OnResultSetEnd 0", "OnPreResultSetBegin 1 0", "OnResultSetBegin 1 0",
               "OnResultSetUpdate 1 1", "OnResultSetEnd 1", "OnPreResultSetBegin 2 2", "OnResultSetBegin 2 2",
               "OnBatchItemEnd 0 0", "OnResultSetUpdate 2 1", "OnResultSetEnd 2"}));
}

TEST_F(SybaseMessagesTest, HeldMessagesReplayInOrderBehindTheRows) {
    const std::vector<qxdb::RawMessage> stream = {
        ServerMessage(0, 2402, "not converted"),   ServerMessage(0, 2528, "first"),
        ServerMessage(16, 3607, "Divide by zero"), ServerMessage(0, 6213, "a plan"),
        ServerMessage(0, 3615, "a statistic"),     ServerMessage(0, 0, "last")};
    EXPECT_EQ(OutcomeOfHeld(stream), (Outcome{{"first"},
                                              {"Divide by zero"},
                                              {"first", "Divide by zero", "a plan", "a statistic", "last"}}));
    EXPECT_EQ(calls.Lines(),
              (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd", "OnPreResultSetBegin 0 0",
                     "OnResultSetBegin 0 0", "OnResultSetUpdate 0 2", "OnResultSetEnd 0", "OnMessage 0 first",
                     "OnPreResultSetBegin 1 2", "OnResultSetBegin 1 2", "OnError Divide by zero",
                     "OnBatchItemEnd 0 0", "OnResultSetUpdate 1 5", "OnResultSetEnd 1"}));
}

TEST_F(SybaseMessagesTest, IgnoredMessagesAreNotHeldBack) {
    handler.CacheNotifyMessages(true, false);
    for (const int code : {2401, 2402, 2403, 2408, 2409, 2411, 2412, 2414, 2415, 5701, 5703, 5704}) {
        Send(ServerMessage(0, code, "text"));
        EXPECT_FALSE(handler.HasCachedNotifyMessages()) << code;
    }
    Send(ServerMessage(0, 5702, "text"));
    EXPECT_TRUE(handler.HasCachedNotifyMessages());
    EXPECT_EQ(calls.Lines(), Lines());
    handler.CacheNotifyMessages(false, false);  // kept for a later flush
    EXPECT_TRUE(handler.HasCachedNotifyMessages());
    handler.CacheNotifyMessages(false, true);
    EXPECT_FALSE(handler.HasCachedNotifyMessages());
    EXPECT_EQ(calls.LinesOf("OnMessage"), (Lines{"OnMessage 0 text"}));
}

TEST_F(SybaseMessagesTest, HeldTextOfTheEngineIsSavedOnly) {
    handler.CacheNotifyMessages(true, false);
    EXPECT_EQ(handler.HandleInformationNotify("text"), 1);
    EXPECT_EQ(calls.Lines(), Lines());
    handler.CacheNotifyMessages(false, true);
    EXPECT_EQ(OutcomeOfRun(), (Outcome{{}, {}, {"text"}}));
}

TEST_F(SybaseMessagesTest, IgnoredMessagesAreNoOutput) {
    server.Expect("use master").Message(ServerMessage(0, 5701, "Changed database context."));
    EXPECT_TRUE(Run("use master"));
    EXPECT_EQ(Column(0), (Lines{"The command completed with no results returned"}));
    EXPECT_EQ(calls.LinesOf("OnMessage"), Lines());
}

TEST_F(SybaseMessagesTest, CancelFromAMessageStaysInsideAndEndsTheRun) {
    for (const std::string prefix : {"OnMessage", "OnError"}) {
        FamilyRequest<SybaseHandler> one(notifications, SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(),
                                         store, nullptr, "");
        calls.OnLine([&](const std::string& line) {
            if (line.compare(0, prefix.size(), prefix) == 0)
                one.Cancel();
        });
        server.Expect("x")
            .Message(ServerMessage(prefix == "OnError" ? 16 : 0, 2528, "one\ntwo"))
            .Returns(Rows({IntColumn("A")}, {{1}}));
        one.SetSQL("x", SQLRequest::RequestSQL, false, false);
        qxdb::Connection connection = server.Connect();
        EXPECT_THROW(
            one.Execute(qxdbsrd::ConnectionDefElement(qxdb::DBTYPE_SYBASE, "", 0.0, "", ""), connection),
            CancelledException);
        EXPECT_EQ(Sets(), Lines());
        server.Verify();
        calls.OnLine(nullptr);
    }
}

TEST_F(SybaseMessagesTest, CancelFromAHeldMessageEndsTheRunBehindTheOthers) {
    ExpectCancelInReplay();
}

TEST_F(SybaseMessagesTest, MessagesOfACancelledRequestAreToldButNotSaved) {
    request.Cancel();
    Send(ServerMessage(0, 2528, "late"));
    Send(ServerMessage(16, 1, "later"));
    EXPECT_EQ(OutcomeOfRun(), (Outcome{{"late"}, {"later"}, {}}));
}

}  // namespace
}  // namespace qxtest
