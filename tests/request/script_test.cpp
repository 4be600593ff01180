#include <stdexcept>

#include "platform/qxutils/qx_exception.h"
#include "request/script_fixture.h"

namespace qxtest {
namespace {

constexpr const char* noResults = "The command completed with no results returned";

TEST_F(ScriptTest, ItemsRunInOrderAndTellTheirLines) {
    server.Expect("select 1").Returns(Rows({IntColumn("A")}, {{1}}));
    server.Expect("select 2").Returns(Rows({IntColumn("B")}, {{2}, {3}}));
    parser.Puts(Item("select 1").Line(3)).Puts(Item("select 2").Line(17)).Completes();
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(
        calls.Lines(),
        (Lines{"OnBatchItemBegin 0 3", "OnExecuteBegin", "OnExecuteEnd", "OnPreResultSetBegin 0 0",
               "OnResultSetBegin 0 0", "OnResultSetUpdate 0 1", "OnResultSetEnd 0", "OnBatchItemEnd 0 0",
               "OnBatchItemBegin 1 17", "OnExecuteBegin", "OnExecuteEnd", "OnPreResultSetBegin 1 0",
               "OnResultSetBegin 1 0", "OnResultSetUpdate 1 2", "OnResultSetEnd 1", "OnBatchItemEnd 1 0"}));
    EXPECT_EQ(Sets(), (Lines{"0:1", "0:2"}));
    EXPECT_EQ(request.handlerLog,
              (Lines{"PreExecute", "PreExecuteBatch", "PreExecuteStatement", "DetermineColumnDefs",
                     "HandleResultSet", "PostExecuteStatement", "PostExecuteBatch", "PreExecuteBatch",
                     "PreExecuteStatement", "DetermineColumnDefs", "HandleResultSet", "PostExecuteStatement",
                     "PostExecuteBatch", "PostExecute"}));
    EXPECT_TRUE(ParserIsGone());
    EXPECT_EQ(ScriptFailure(), "none");
}

TEST_F(ScriptTest, ParserGetsTextSettingsAndTheServersVersion) {
    parser.Completes();
    const struct {
        qxdb::DBTYPE type;
        double version;
        bool generic;
        const char* name;
        const char* separator;
    } cases[] = {
        {qxdb::DBTYPE_OTHER, 1.0, true, "Generic:1", ""},
        {qxdb::DBTYPE_OTHER, 0.0, true, "Generic:1", ""},
        {qxdb::DBTYPE_ORACLE, 9.2, true, "Generic:1", "/"},
        {qxdb::DBTYPE_ORACLE, 8.17, false, "Oracle9i", "/"},
        {qxdb::DBTYPE_DB2, 8.0, true, "Generic:1", ";"},
        {qxdb::DBTYPE_DB2, 8.0, false, "DB28", ";"},
        {qxdb::DBTYPE_DB2OS390, 7.0, true, "DB2OS390Generic:1", ";"},
        {qxdb::DBTYPE_SYBASE, 12.5, true, "Generic:0", "go"},
        {qxdb::DBTYPE_SQLSERVER, 8.0, false, "Generic:0", "go"},
        {qxdb::DBTYPE_MYSQL, 5.0, true, "MySQLGeneric:1", ";"},
        {qxdb::DBTYPE_SQLITE, 3.4, false, "Generic:1", ""},
    };
    for (const auto& one : cases) {
        request.SetUseGenericParser(one.generic);
        EXPECT_FALSE(RunScript(qxdbsrd::ConnectionDefElement(one.type, "source", one.version, "u", "p")));
        EXPECT_EQ(parser.Arguments(), (Lines{"the script", "sql", one.name, one.separator}));
    }
}

TEST_F(ScriptTest, SeparatorAndVersionedNameReachTheParser) {
    parser.Completes();
    OpenRequest db2(notifications, SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(), store, nullptr, "!");
    db2.SetUseGenericParser(false);
    db2.SetSQL("x", SQLRequest::RequestScript, false, false);
    qxdb::Connection connection = server.Connect();
    db2.Execute(qxdbsrd::ConnectionDefElement(qxdb::DBTYPE_DB2, "", 7.02, "u", "p"), connection);
    EXPECT_EQ(parser.Arguments(), (Lines{"x", "sql", "DB272", "!"}));
}

TEST_F(ScriptTest, FileIsParsedByItsNameAndDeletedWhenAsked) {
    server.Expect("select 1");
    server.Expect("select 1");
    parser.Puts("select 1").Completes();
    for (const bool deletes : {false, true}) {
        const std::string path = MakeFile();
        request.SetSQL(path, SQLRequest::RequestScript, true, deletes);
        EXPECT_EQ(request.GetSQL(), "");
        EXPECT_TRUE(request.Execute(Def()));
        EXPECT_EQ(parser.Arguments(), (Lines{path, "", "Generic:1", ""}));
        EXPECT_EQ(Exists(path), !deletes);
        EXPECT_EQ(request.GetFileName(), path);
        std::remove(path.c_str());
    }
}

// A script as text after one from a file has nothing to delete.
TEST_F(ScriptTest, TextAfterAFile) {
    const std::string path = MakeFile();
    parser.Completes();
    request.SetSQL("/nonexistent.sql", SQLRequest::RequestScript, true, true);
    EXPECT_FALSE(request.Execute(Def()));
    EXPECT_FALSE(RunScript(path));
    EXPECT_EQ(parser.Arguments()[0], path);
    EXPECT_TRUE(Exists(path));
    std::remove(path.c_str());
}

TEST_F(ScriptTest, EmptyScriptDoesNothing) {
    parser.Completes();
    EXPECT_FALSE(RunScript(""));
    EXPECT_EQ(calls.Lines(), Lines());
    EXPECT_EQ(server.Executed(), Lines());
    EXPECT_EQ(request.handlerLog, (Lines{"PreExecute", "PostExecute"}));
    EXPECT_EQ(Sets(), Lines());
}

TEST_F(ScriptTest, SkippedItemsAreToldAndNotRun) {
    parser.Puts(Item("prompt hello").Line(1).Skip()).Puts(Item("-- done").Line(2).Skip()).Completes();
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 1", "OnBatchItemEnd 0 0", "OnBatchItemBegin 1 2",
                                    "OnBatchItemEnd 1 0"}));
    EXPECT_EQ(server.Executed(), Lines());
    EXPECT_EQ(request.handlerLog, (Lines{"PreExecute", "PostExecute"}));
    EXPECT_EQ(request.GetSQL(), "");
}

// Skipping comes before every other kind.
TEST_F(ScriptTest, SkippedItemIsNothingElse) {
    parser.Puts(Item("x").Skip().Procedure().DataCopy()).Completes();
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 0", "OnBatchItemEnd 0 0"}));
}

TEST_F(ScriptTest, ItemsOfAtMostOneCharacterAreEmpty) {
    const unsigned short accented[] = {0x00E9, 0};
    parser.Puts(Item("").Line(1))
        .Puts(Item(";").Line(2))
        .Puts(Item(qxutils::wstring16(accented)).Line(3))
        .Completes();
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(server.Executed(), Lines());
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 1", "OnPreResultSetBegin 0 2", "OnResultSetBegin 0 2",
                                    "OnBatchItemEnd 0 0", "OnBatchItemBegin 1 2", "OnBatchItemEnd 1 0",
                                    "OnBatchItemBegin 2 3", "OnBatchItemEnd 2 0", "OnResultSetUpdate 0 3",
                                    "OnResultSetEnd 0"}));
    EXPECT_EQ(Column(0), (Lines{noResults, noResults, noResults}));
    EXPECT_EQ(request.handlerLog, (Lines{"PreExecute", "PostExecute"}));
}

TEST_F(ScriptTest, TwoCharactersAreAStatement) {
    server.Expect("go");
    parser.Puts("go").Completes();
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(server.Executed(), (Lines{"go"}));
}

TEST_F(ScriptTest, MessagesOfAllItemsShareOneResultSet) {
    server.Expect("create a");
    server.Expect("create b");
    parser.Puts("create a").Puts("create b").Completes();
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(Sets(), (Lines{"2:2"}));
    EXPECT_EQ(calls.LinesOf("OnResultSetEnd"), (Lines{"OnResultSetEnd 0"}));
    EXPECT_EQ(calls.Lines().back(), "OnResultSetEnd 0");
}

TEST_F(ScriptTest, TextIsConvertedToTheLocalCodePage) {
    const unsigned short text[] = {'x', ' ', 0x00E9, 0x4E2D, 0xD83D, 0xDE00, 0xD83D, '!', 0};
    server.Expect("x \xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80\xEF\xBF\xBD!");
    parser.Puts(Item(qxutils::wstring16(text))).Completes();
    EXPECT_TRUE(RunScript());
}

// The memory of the whole script is given back; the text is that of the last item.
TEST_F(ScriptTest, TextOfTheRequestIsTheItems) {
    Lines texts;
    calls.OnLine([&](const std::string& line) {
        if (line.compare(0, 16, "OnBatchItemBegin") == 0)
            texts.push_back(request.GetSQL());
    });
    server.AcceptOthers();
    parser.Puts(Item("prompt").Skip()).Puts("one").Puts("two").Completes();
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(texts, (Lines{"", "one", "two"}));
    EXPECT_EQ(request.GetSQL(), "two");
}

TEST_F(ScriptTest, ErrorInTheMiddleIsReportedAndTheRunGoesOn) {
    server.Expect("aa");
    server.Expect("bb").Fails(MakeErrors("no such thing"));
    server.Expect("cc").Returns(Rows({IntColumn("A")}, {}).FailsAtRow(0, MakeErrors("fetch")));
    server.Expect("dd");
    parser.Puts(Item("aa").Line(1))
        .Puts(Item("bb").Line(2))
        .Puts(Item("cc").Line(3))
        .Puts(Item("dd").Line(4));
    parser.Completes();
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError no such thing", "OnError fetch"}));
    EXPECT_EQ(
        calls.LinesOf("OnBatchItem"),
        (Lines{"OnBatchItemBegin 0 1", "OnBatchItemEnd 0 0", "OnBatchItemBegin 1 2", "OnBatchItemEnd 1 0",
               "OnBatchItemBegin 2 3", "OnBatchItemEnd 2 0", "OnBatchItemBegin 3 4", "OnBatchItemEnd 3 0"}));
    EXPECT_EQ(request.errorCount, 2);
}

// True when one of the items gave true.
TEST_F(ScriptTest, ResultOfTheRun) {
    request.handlerActions["PreExecuteBatch"] = [] { throw std::runtime_error("refused"); };
    parser.Puts("aa").Puts("bb").Completes();
    EXPECT_FALSE(RunScript());
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError refused", "OnError refused"}));

    FakeParser other;
    other.Puts("aa").Puts(Item("x").Skip()).Puts("bb").Completes();
    EXPECT_TRUE(RunScript());
}

TEST_F(ScriptTest, ErrorLimitEndsTheScript) {
    const struct {
        int limit;
        Lines executed;
        int errorsLeft;
    } cases[] = {
        {0, {"a1", "a2", "a3", "a4"}, 3}, {1, {"a1", "a2"}, 0},
        {2, {"a1", "a2", "a3"}, 0},       {3, {"a1", "a2", "a3", "a4"}, 3},
        {4, {"a1", "a2", "a3", "a4"}, 3},
    };
    for (const auto& one : cases) {
        ScriptedServer failing;
        failing.Expect("a1");
        failing.Expect("a2").Fails(MakeErrors("2"));
        failing.Expect("a3").Fails(MakeErrors("3"));
        failing.Expect("a4").Fails(MakeErrors("4"));
        FakeParser four;
        four.Puts("a1").Puts("a2").Puts("a3").Puts("a4").Completes();
        LimitErrors(one.limit);
        request.SetSQL("x", SQLRequest::RequestScript, false, false);
        qxdb::Connection connection = failing.Connect();
        EXPECT_TRUE(request.Execute(Def(), connection));
        EXPECT_EQ(failing.Executed(), one.executed) << one.limit;
        EXPECT_EQ(request.errorCount, one.errorsLeft) << one.limit;
        EXPECT_EQ(ScriptFailure(), "none");
        failing.Forget();
    }
}

// The limit is looked at before each item, a skipped one as well; what is left of the script isn't told.
TEST_F(ScriptTest, ErrorLimitComesBeforeTheNextItem) {
    server.Expect("aa").Fails(MakeErrors("no"));
    parser.Puts("aa").Puts(Item("prompt").Skip()).WaitsForCancel();
    LimitErrors(1);
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(calls.LinesOf("OnBatchItemBegin"), (Lines{"OnBatchItemBegin 0 0"}));
    EXPECT_EQ(request.errorCount, 0);
    EXPECT_EQ(request.handlerLog.back(), "PostExecute");
    EXPECT_TRUE(ParserIsGone());
}

TEST_F(ScriptTest, ProgressInBytes) {
    std::vector<long> done;
    calls.OnLine([&](const std::string& line) {
        if (line.compare(0, 11, "OnBatchItem") == 0)
            done.push_back(request.GetScriptBytesDone());
    });
    server.AcceptOthers();
    parser.Puts(Item("aa").End(10)).Puts(Item("prompt").Skip().End(25)).Puts(Item(";").End(30));
    parser.Completes();
    EXPECT_EQ(request.GetScriptBytesDone(), 0);
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(done, (std::vector<long>{0, 0, 10, 10, 25, 25}));
    EXPECT_EQ(request.GetScriptBytesDone(), 30);

    FakeParser empty;
    empty.Completes();
    EXPECT_FALSE(RunScript());
    EXPECT_EQ(request.GetScriptBytesDone(), 0);
}

TEST_F(ScriptTest, ParserFailureIsToldToWhoAsksOnly) {
    server.Expect("aa");
    parser.Puts("aa").Fails(E_FAIL, "byte 7, line 2: not text");
    std::string during;
    calls.OnLine([&](const std::string& line) {
        if (line.compare(0, 14, "OnBatchItemEnd") == 0)
            during = ScriptFailure();
    });
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
    EXPECT_EQ(ScriptFailure(), "0x80004005 byte 7, line 2: not text");
    // Asked while the run goes on: it may not be known yet.
    EXPECT_TRUE(during == "none" || during == ScriptFailure()) << during;

    FakeParser good;
    good.Completes();
    RunScript();
    EXPECT_EQ(ScriptFailure(), "none");
}

TEST_F(ScriptTest, ParserThatThrowsEndsTheScriptInOrder) {
    server.Expect("aa");
    parser.Puts("aa").Does([] { throw std::runtime_error("lost"); });
    request.SetSQL("x", SQLRequest::RequestScript, false, false);
    RunOnEngine();
    EXPECT_EQ(calls.Lines().front(), "OnRequestBegin");
    EXPECT_EQ(calls.Lines().back(), "OnRequestEnd");
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
    EXPECT_EQ(ScriptFailure(), "0x80004005 lost");
    EXPECT_TRUE(ParserIsGone());
}

TEST_F(ScriptTest, WithoutAParserTheScriptIsEmpty) {
    qxos::UnregisterComponent(CLSID_QXScriptParserFactory);
    request.SetSQL("select 1", SQLRequest::RequestScript, false, false);
    RunOnEngine();
    EXPECT_EQ(calls.Lines(), (Lines{"OnRequestBegin", "OnRequestEnd"}));
    EXPECT_EQ(ScriptFailure(), "0x80040154 There is no script parser. Failure code 0x80040154");
}

TEST_F(ScriptTest, ARequestRunsSeveralScripts) {
    server.AcceptOthers();
    for (int i = 0; i < 3; ++i) {
        FakeParser one;
        one.Puts(Item("run " + std::to_string(i)).Line(i)).Completes();
        EXPECT_TRUE(RunScript());
    }
    EXPECT_EQ(server.Executed(), (Lines{"run 0", "run 1", "run 2"}));
    EXPECT_EQ(calls.LinesOf("OnBatchItemBegin"),
              (Lines{"OnBatchItemBegin 0 0", "OnBatchItemBegin 0 1", "OnBatchItemBegin 0 2"}));
}

TEST_F(ScriptTest, WhatACallbackThrowsIsAFailureOfItsItem) {
    server.Expect("bb");
    parser.Puts(Item("prompt").Skip()).Puts(";").Puts("bb").Completes();
    int items = 0;
    calls.OnLine([&](const std::string& line) {
        if (line.compare(0, 16, "OnBatchItemBegin") == 0 && ++items <= 2)
            throw std::runtime_error("callback " + std::to_string(items));
    });
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError callback 1", "OnError callback 2"}));
    EXPECT_EQ(calls.LinesOf("OnBatchItemEnd").size(), 3U);
}

class ScriptProcedureTest : public ScriptTest {
  protected:
    static qxdb::ColumnRecord In(const std::string& name) {
        return MakeParameter(name, qxdb::Column::BindString);
    }
    // Lines of the server that begin so.
    Lines LogOf(const std::string& prefix) const {
        Lines lines;
        for (const std::string& line : server.Log()) {
            if (line.compare(0, prefix.size(), prefix) == 0)
                lines.push_back(line);
        }
        return lines;
    }
};

TEST_F(ScriptProcedureTest, CallIsBoundByPosition) {
    server.Expect("SCOTT.\"my proc\"").Parameters({In("A"), In("B"), In("C"), In("D")});
    server.Expect("plain");
    parser.Puts(Item("exec scott.\"my proc\"( 7 , 'it''s', NULL, 'NULL' )").Procedure().Line(5))
        .Puts("plain")
        .Completes();
    SQLRequest::RequestType during = SQLRequest::RequestSQL;
    request.handlerActions["PreExecuteStatement"] = [&] {
        if (during == SQLRequest::RequestSQL)
            during = request.GetRequestType();
    };
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(during, SQLRequest::RequestProcedure);
    EXPECT_EQ(request.GetRequestType(), SQLRequest::RequestScript);
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
    EXPECT_EQ(calls.LinesOf("OnBatchItemBegin"), (Lines{"OnBatchItemBegin 0 5", "OnBatchItemBegin 1 0"}));
    EXPECT_EQ(LogOf("set "),
              (Lines{"set 0 string '7'", "set 1 string 'it's'", "set 2 null", "set 3 string ''NULL''"}));
    // As a procedure; the next item is plain SQL again.
    for (const std::string& line : LogOf("prepare "))
        EXPECT_EQ(line, "prepare 1 SCOTT.\"my proc\"");
    EXPECT_EQ(request.GetParameters().GetParameterCount(), 0U);
}

// One character is a name, here, and no empty item.
TEST_F(ScriptProcedureTest, ShortNameWithoutArguments) {
    server.Expect("P");
    parser.Puts(Item("exec p()").Procedure()).Completes();
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
}

TEST_F(ScriptProcedureTest, OutputsComeBack) {
    server.Expect("P")
        .Parameters({In("A"), MakeParameter("B", qxdb::Column::BindString, qxdb::DataType::DirectionOut)})
        .Output(1, "result");
    parser.Puts(Item("call p(1, ?)").Procedure()).Completes();
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
    EXPECT_EQ(calls.LinesOf("OnBatchItemEnd"), (Lines{"OnBatchItemEnd 0 1"}));
}

TEST_F(ScriptProcedureTest, CallThatCannotBeReadIsPlainSql) {
    server.Expect("exec p(1");
    server.Expect("exec p");
    parser.Puts(Item("exec p(1").Procedure()).Puts(Item("exec p").Procedure()).Completes();
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(LogOf("prepare "), Lines());
}

// Without a key word nothing is left of the name, and an empty item is not run.
TEST_F(ScriptProcedureTest, CallWithoutAKeyWordIsAnEmptyItem) {
    parser.Puts(Item("p(1)").Procedure()).Completes();
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(server.Executed(), Lines());
    EXPECT_EQ(Column(0), (Lines{noResults}));
}

TEST_F(ScriptProcedureTest, SettingsAreRestoredAfterAFailure) {
    for (const bool prepares : {false, true}) {
        request.SetDoPrepare(prepares);
        server.Expect("P").FailsOnPrepare(MakeErrors("no such procedure")).NeverExecuted();
        server.Expect("plain");
        FakeParser failing;
        failing.Puts(Item("exec p(1)").Procedure()).Puts("plain").Completes();
        calls.Clear();
        EXPECT_TRUE(RunScript());
        EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError no such procedure"}));
        EXPECT_EQ(request.GetRequestType(), SQLRequest::RequestScript);
        EXPECT_EQ(!LogOf("prepare 0 plain").empty(), prepares);
    }
}

TEST_F(ScriptTest, ParametersOfTheCallerServeTheFirstItem) {
    qxdbsqlengine::ParameterList list;
    list.PushBack(qxdbsqlengine::Parameter(qxdb::Column::BindString, qxdb::DataType::DirectionIn, 0, 0));
    request.SetParameters(list);
    server.AcceptOthers();
    std::vector<unsigned int> counts;
    request.handlerActions["PreExecuteStatement"] = [&] {
        counts.push_back(request.GetParameters().GetParameterCount());
    };
    parser.Puts("aa").Puts("bb").Completes();
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(counts, (std::vector<unsigned int>{1, 0}));
}

}  // namespace
}  // namespace qxtest
