#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>

#include "dbms/sqlserver_handler.h"
#include "tsql_fixture.h"

namespace qxtest {
namespace {

using qxdbsqlengine::CancelledException;
using qxdbsqlengine::SQLServerHandler;

class SQLServerMessagesTest : public TsqlTest<SQLServerHandler, qxdb::DBTYPE_SQLSERVER> {};

TEST_F(SQLServerMessagesTest, EveryCodeHasItsClass) {
    const std::set<int> ignored = {5701, 5703, 8153, 15330};
    const std::set<int> statistics = {3612, 3613, 3615};
    int rows = 0;
    for (int code = -1; code <= 16000; ++code) {
        calls.Clear();
        const int rowsNow = Send(ServerMessage(0, code, "text"));
        ASSERT_EQ(rowsNow - rows, ignored.count(code) == 0 ? 1 : 0) << code;
        rows = rowsNow;
        const bool isShown = code != 0 && ignored.count(code) == 0 && statistics.count(code) == 0;
        ASSERT_EQ(calls.LinesOf("OnMessage"), isShown ? Lines{"OnMessage 0 text"} : Lines()) << code;
        ASSERT_EQ(calls.LinesOf("OnError"), Lines()) << code;
    }
}

TEST_F(SQLServerMessagesTest, EveryClassOfMessage) {
    ExpectOutcomes({
        // ignored, whatever the severity
        {0, 5701, "Changed database context to 'master'.", {}},
        {1, 5703, "Changed language setting to us_english.", {}},
        {0, 8153, "Null value is eliminated by an aggregate.", {}},
        {16, 8153, "Null value is eliminated by an aggregate.", {}},
        {0, 15330, "There are no matching rows on which to report.", {}},
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
        // statistics
        {0, 3612, "SQL Server Execution Times:", {{}, {}, {"SQL Server Execution Times:"}}},
        {0, 3613, "SQL Server parse and compile time:", {{}, {}, {"SQL Server parse and compile time:"}}},
        {1, 3615, "Table 'emp'. Scan count 1", {{}, {}, {"Table 'emp'. Scan count 1"}}},
        {0, 3614, "not of them", {{"not of them"}, {}, {"not of them"}}},
        // errors, statistics or not
        {2,
         208,
         "Invalid object name 'e'.",
         {{}, {"Invalid object name 'e'."}, {"Invalid object name 'e'."}}},
        {16, 3612, "broken", {{}, {"broken"}, {"broken"}}},
        {16, 0, "raised", {{}, {"raised"}, {"raised"}}},
        // no text
        {0, 2528, "", {}},
        {1, 0, "", {}},
        {16, 208, "", {}},
    });
}

TEST_F(SQLServerMessagesTest, EachLineIsAMessage) {
    ExpectOutcomes({
        {0, 1, "one\ntwo", {{"one", "two"}, {}, {"one", "two"}}},
        {0, 1, "one\r\ntwo\r\n", {{"one", "two"}, {}, {"one\r", "two\r", ""}}},
        {0, 1, "\n\none\n\n two \n", {{"one", " two "}, {}, {"", "", "one", "", " two ", ""}}},
        {0, 1, "\n", {{}, {}, {"", ""}}},
        {0, 0, "one\ntwo", {{}, {}, {"one", "two"}}},
        {0, 3615, "one\ntwo", {{}, {}, {"one", "two"}}},
        {16, 1, "one\ntwo", {{}, {"one\ntwo"}, {"one", "two"}}},
    });
}

TEST_F(SQLServerMessagesTest, StateOfTheSyntaxClassMakesAnError) {
    const struct {
        const char* text;
        const char* saved;
    } errors[] = {
        // a state and a number at the end
        {"Incorrect syntax (42000,102)", "Incorrect syntax (42000,102)"},
        {"Incorrect syntax near 'a', 'b' (42S02, 208)", "Incorrect syntax near 'a', 'b' (42S02, 208)"},
        {"[a][b][c]Incorrect syntax (42000,102)", "Incorrect syntax (42000,102)"},
        // the last "(" stands behind the comma
        {"Incorrect syntax (42000,102) (severity 15)", "Incorrect syntax (42000,102) (severity 15)"},
        {"Incorrect syntax (42000,(x", "Incorrect syntax (42000,(x"},
        {"(42, done", "(42, done"},
        {"(42,", "(42,"},
        // the bare state at the very end
        {"Incorrect syntax (42000)", "Incorrect syntax "},
        {"Invalid object, said the server (42S02)", "Invalid object, said the server "},
        {"[a][b][c]Incorrect syntax(42000)", "Incorrect syntax"},
        {"(42000)", ""},
    };
    for (const auto& one : errors) {
        const qxdb::RawMessage message = ServerMessage(0, 170, one.text);
        const Outcome expected{{}, {one.text}, {one.saved}};
        EXPECT_EQ(OutcomeOf(message), expected) << one.text;
        EXPECT_EQ(OutcomeOfHeld({message}), expected) << one.text;
    }
}

TEST_F(SQLServerMessagesTest, StateOfAnotherClassIsInformation) {
    const struct {
        const char* text;
        const char* saved;
    } informations[] = {
        {"Warning (01000,102)", "Warning (01000,102)"},
        {"Warning (01003)", "Warning "},
        {"no state, no number", "no state, no number"},
        {"42000,102", "42000,102"},
        {"(4, 2)", "(4, 2)"},
        {"( 42, 1)", "( 42, 1)"},
        {"nothing ahead of the comma, (42 rows)", "nothing ahead of the comma, (42 rows)"},
        {"(42000) in front of it", "(42000) in front of it"},
        {"at the end (4200)", "at the end (4200)"},
        {"at the end (420000)", "at the end (420000)"},
        {"a distance of (42 km)", "a distance of "},
        {"(42000,1) (01000,2) (03)", "(42000,1) (01000,2) (03)"},
        {"(", "("},
        {",", ","},
        {",(", ",("},
        {"),42(", "),42("},
    };
    for (const auto& one : informations) {
        EXPECT_EQ(OutcomeOf(ServerMessage(0, 170, one.text)), (Outcome{{one.saved}, {}, {one.saved}}))
            << one.text;
    }
}

// What the rule says, in other words.
bool HasSyntaxState(const std::string& text) {
    static const std::regex bareState("\\(42[0-9A-Za-z]{3}\\)$");
    if (std::regex_search(text, bareState))
        return true;
    std::vector<std::size_t> opens;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '(')
            opens.push_back(i);
    }
    const std::size_t comma = text.rfind(',');
    if (comma == std::string::npos)
        return false;
    if (!opens.empty() && opens.back() > comma)
        opens.pop_back();
    return !opens.empty() && text.substr(opens.back() + 1, 2) == "42";
}

TEST_F(SQLServerMessagesTest, EveryShortTextIsReadByTheRule) {
    const std::string alphabet = "(42,)x";
    std::string text;
    int rows = 0;
    const auto check = [&] {
        calls.Clear();
        const int rowsNow = Send(ServerMessage(0, 170, text));
        ASSERT_EQ(rowsNow, rows + 1) << text;
        rows = rowsNow;
        ASSERT_EQ(calls.LinesOf("OnError").size(), HasSyntaxState(text) ? 1u : 0u) << text;
    };
    // All texts of up to 4 characters, alone and around a state.
    for (const std::string frame : {"", "(42000)", "(42,", "x(4200"}) {
        for (int length = 1; length <= 4; ++length) {
            int count = 1;
            for (int i = 0; i < length; ++i)
                count *= static_cast<int>(alphabet.size());
            for (int number = 0; number < count; ++number) {
                std::string part;
                for (int i = 0, rest = number; i < length; ++i, rest /= static_cast<int>(alphabet.size()))
                    part += alphabet[static_cast<std::size_t>(rest) % alphabet.size()];
                text = part + frame;
                check();
                text = frame + part;
                check();
            }
        }
    }
}

TEST_F(SQLServerMessagesTest, MessageThatBecomesAnErrorKeepsAllButItsSeverity) {
    int mark = 0;
    qxdb::RawMessage message = ServerMessage(1, 170, "[a][b][c]Incorrect syntax (42000)");
    message.userData = &mark;
    OutcomeOf(message);
    const Errors errors = calls.LastErrors();
    ASSERT_EQ(errors.GetNumberErrors(), 1u);
    const ErrorRecord& record = errors.GetNextError();
    EXPECT_EQ(record.GetSeverity(), 2);
    EXPECT_EQ(record.GetErrorCode(), 170);
    EXPECT_EQ(record.GetLineNumber(), 7);
    EXPECT_EQ(record.GetErrorPosition(), 3);
    EXPECT_EQ(record.GetErrorDescription(), "[a][b][c]Incorrect syntax (42000)");
    EXPECT_EQ(record.GetSQLState(), "ZZZZZ");
    EXPECT_EQ(record.GetUserData(), &mark);
}

TEST_F(SQLServerMessagesTest, ErrorIsHandedOnAsItCame) {
    OutcomeOf(ServerMessage(16, 208, "[a][b][c]Invalid object (42S02)"));
    const Errors errors = calls.LastErrors();
    ASSERT_EQ(errors.GetNumberErrors(), 1u);
    const ErrorRecord& record = errors.GetNextError();
    EXPECT_EQ(record.GetSeverity(), 16);
    EXPECT_EQ(record.GetErrorCode(), 208);
    EXPECT_EQ(record.GetLineNumber(), 7);
    EXPECT_EQ(record.GetErrorPosition(), 3);
    EXPECT_EQ(record.GetErrorDescription(), "[a][b][c]Invalid object (42S02)");
    EXPECT_EQ(record.GetSQLState(), "ZZZZZ");
    EXPECT_EQ(Column(0), (Lines{"Invalid object "}));
}

TEST_F(SQLServerMessagesTest, WhatStandsAroundTheServersTextIsCutOff) {
    const struct {
        const char* text;
        const char* own;
    } cases[] = {
        {"[vendor][driver][server]text", "text"},
        {"[vendor][driver][server]text (01000)", "text "},
        {"[vendor][driver][server][more]text", "[more]text"},
        {"[vendor][driver]text", "[vendor][driver]text"},
        {"[vendor]text", "[vendor]text"},
        {"[vendor] a] b] c", " c"},
        {" [vendor][driver][server]text", " [vendor][driver][server]text"},
        {"text [a][b][c]", "text [a][b][c]"},
        {"[a][b][c]x", "x"},
        {"]]]x", "]]]x"},
        {"[]]]x", "x"},
        {"text(01000)", "text"},
        {"text(01000) ", "text(01000) "},
        {"text(0100)", "text(0100)"},
        {"text(010000)", "text(010000)"},
        {"text(a b c)", "text"},
        {"(01000)x", "(01000)x"},
        {"x)", "x)"},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(OutcomeOf(ServerMessage(0, 1, one.text)), (Outcome{{one.own}, {}, {one.own}})) << one.text;
        EXPECT_EQ(OutcomeOf(ServerMessage(0, 0, one.text)), (Outcome{{}, {}, {one.own}})) << one.text;
        EXPECT_EQ(OutcomeOf(ServerMessage(16, 1, one.text)), (Outcome{{}, {one.text}, {one.own}}))
            << one.text;
    }
    // Nothing left: no message, and an empty line.
    EXPECT_EQ(OutcomeOf(ServerMessage(0, 1, "[a][b][c](01000)")), (Outcome{{}, {}, {""}}));
    EXPECT_EQ(OutcomeOf(ServerMessage(0, 1, "(01000)")), (Outcome{{}, {}, {""}}));
}

TEST_F(SQLServerMessagesTest, StreamOfAllClassesKeepsItsOrder) {
    server.Expect("x")
        .Message(ServerMessage(0, 5701, "Changed database context."))
        .Message(ServerMessage(0, 0, "printed"))
        .Message(ServerMessage(0, 2528, "completed\nreally"))
        .Message(ServerMessage(0, 3615, "Scan count 1"))
        .Message(ServerMessage(16, 208, "[a][b][c]Invalid object"))
        .Message(ServerMessage(0, 170, "Incorrect syntax (42000)"))
        .Returns(Rows({IntColumn("A")}, {{1}}))
        .MessageAfter(ServerMessage(0, 3612, "Execution Times"));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(Sets(), (Lines{"2:6", "0:1", "2:1"}));
    EXPECT_EQ(Column(0), (Lines{"printed", "completed", "really", "Scan count 1", "Invalid object",
                                "Incorrect syntax "}));
    EXPECT_EQ(Column(2), (Lines{"Execution Times"}));
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 0",
                                    "OnExecuteBegin",
                                    "OnPreResultSetBegin 0 2",
                                    "OnResultSetBegin 0 2",
                                    "OnMessage 0 completed",
                                    "OnMessage 0 really",
                                    "OnError [a][b][c]Invalid object",
                                    "OnError Incorrect syntax (42000)",
                                    "OnExecuteEnd",
                                    "OnResultSetUpdate 0 6",
                                    "OnResultSetEnd 0",
                                    "OnPreResultSetBegin 1 0",
                                    "OnResultSetBegin 1 0",
                                    "OnResultSetUpdate 1 1",
                                    "OnResultSetEnd 1",
                                    "OnPreResultSetBegin 2 2",
                                    "OnResultSetBegin 2 2",
                                    "OnBatchItemEnd 0 0",
                                    "OnResultSetUpdate 2 1",
                                    "OnResultSetEnd 2"}));
}

TEST_F(SQLServerMessagesTest, HeldMessagesReplayInOrderBehindTheRows) {
    const std::vector<qxdb::RawMessage> stream = {
        ServerMessage(0, 8153, "Null value is eliminated."), ServerMessage(0, 2528, "first"),
        ServerMessage(16, 8134, "Divide by zero"),           ServerMessage(0, 3615, "Scan count 1"),
        ServerMessage(0, 170, "Incorrect syntax (42000)"),   ServerMessage(0, 0, "last")};
    EXPECT_EQ(OutcomeOfHeld(stream),
              (Outcome{{"first"},
                       {"Divide by zero", "Incorrect syntax (42000)"},
                       {"first", "Divide by zero", "Scan count 1", "Incorrect syntax ", "last"}}));
    EXPECT_EQ(calls.Lines(),
              (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd", "OnPreResultSetBegin 0 0",
                     "OnResultSetBegin 0 0", "OnResultSetUpdate 0 2", "OnResultSetEnd 0", "OnMessage 0 first",
                     "OnPreResultSetBegin 1 2", "OnResultSetBegin 1 2", "OnError Divide by zero",
                     "OnError Incorrect syntax (42000)", "OnBatchItemEnd 0 0", "OnResultSetUpdate 1 5",
                     "OnResultSetEnd 1"}));
}

TEST_F(SQLServerMessagesTest, IgnoredMessagesAreNotHeldBack) {
    handler.CacheNotifyMessages(true, false);
    for (const int code : {5701, 5703, 8153, 15330}) {
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

TEST_F(SQLServerMessagesTest, HeldTextOfTheEngineIsSavedOnly) {
    handler.CacheNotifyMessages(true, false);
    EXPECT_EQ(handler.HandleInformationNotify("text"), 1);
    EXPECT_EQ(handler.HandleInformationNotify(""), 0);
    EXPECT_EQ(calls.Lines(), Lines());
    handler.CacheNotifyMessages(false, true);
    EXPECT_EQ(OutcomeOfRun(), (Outcome{{}, {}, {"text"}}));
}

TEST_F(SQLServerMessagesTest, MessagesCountAsOutputAndErrorsAsErrors) {
    server.Expect("x").Message(ServerMessage(0, 0, "printed"));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(Column(0), (Lines{"printed"}));
    EXPECT_EQ(request.errorCount, 0);
    server.Expect("x").Message(ServerMessage(0, 2528, "information")).Message(ServerMessage(16, 1, "error"));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(request.errorCount, 1);
}

TEST_F(SQLServerMessagesTest, IgnoredMessagesAreNoOutput) {
    server.Expect("use master").Message(ServerMessage(0, 5701, "Changed database context."));
    EXPECT_TRUE(Run("use master"));
    EXPECT_EQ(Column(0), (Lines{"The command completed with no results returned"}));
    EXPECT_EQ(calls.LinesOf("OnMessage"), Lines());
}

TEST_F(SQLServerMessagesTest, FailedStatementIsSavedAsItCame) {
    server.Expect("x")
        .Message(ServerMessage(0, 0, "printed"))
        .Fails(MakeErrors({ErrorRecord(16, 208, 1, 0, "[a][b][c]Invalid object (42S02)", "42S02", nullptr)}));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(
        OutcomeOfRun(),
        (Outcome{{}, {"[a][b][c]Invalid object (42S02)"}, {"printed", "[a][b][c]Invalid object (42S02)"}}));
}

TEST_F(SQLServerMessagesTest, MessagesDuringExplainAreSortedAlike) {
    server.SetVersion(8.0);
    request.SetDoExplainPlan(true);
    server.Expect("SET SHOWPLAN_ALL ON").Message(ServerMessage(0, 2528, "unseen"));
    server.Expect("x")
        .Message(ServerMessage(0, 5701, "Changed database context."))
        .Message(ServerMessage(0, 2528, "seen"))
        .Returns(Rows({TextColumn("StmtText")}, {{"x"}}));
    server.Expect("SET SHOWPLAN_ALL OFF").Message(ServerMessage(16, 1, "unseen"));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(OutcomeOfRun(), (Outcome{{"seen"}, {}, {"seen"}}));
}

TEST_F(SQLServerMessagesTest, CancelFromAMessageStaysInsideAndEndsTheRun) {
    for (const std::string prefix : {"OnMessage", "OnError"}) {
        FamilyRequest<SQLServerHandler> one(
            notifications, SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(), store, nullptr, "");
        request.ClearStorage();
        calls.OnLine([&](const std::string& line) {
            if (line.compare(0, prefix.size(), prefix) == 0)
                one.Cancel();
        });
        server.Expect("x")
            .Message(ServerMessage(prefix == "OnError" ? 16 : 0, 2528, "one\ntwo"))
            .Returns(Rows({IntColumn("A")}, {{1}}));
        one.SetSQL("x", SQLRequest::RequestSQL, false, false);
        one.SetQueryOptions({}, {{50120, _variant_t(0.5)}});
        qxdb::Connection connection = server.Connect();
        EXPECT_THROW(
            one.Execute(qxdbsrd::ConnectionDefElement(qxdb::DBTYPE_SQLSERVER, "", 0.0, "", ""), connection),
            CancelledException);
        EXPECT_EQ(Sets(), Lines());
        server.Verify();
        calls.OnLine(nullptr);
    }
}

TEST_F(SQLServerMessagesTest, CancelFromAHeldMessageEndsTheRunBehindTheOthers) {
    ExpectCancelInReplay();
}

TEST_F(SQLServerMessagesTest, MessagesOfACancelledRequestAreToldButNotSaved) {
    request.Cancel();
    Send(ServerMessage(0, 2528, "late"));
    Send(ServerMessage(16, 1, "later"));
    EXPECT_EQ(handler.HandleInformationNotify("latest"), 1);
    EXPECT_EQ(OutcomeOfRun(), (Outcome{{"late"}, {"later"}, {}}));
}

}  // namespace
}  // namespace qxtest
