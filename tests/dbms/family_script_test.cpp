// Scripts of several items on each family: what is sent once for a run, and what for each item.
#include <gtest/gtest.h>

#include <string>

#include "db2_explain_texts.h"
#include "dbms/db2_handler.h"
#include "dbms/db2os390_handler.h"
#include "dbms/mysql_handler.h"
#include "dbms/sqlserver_handler.h"
#include "dbms/sybase_handler.h"
#include "engine/cancellation.h"
#include "family_fixture.h"
#include "oracle_fixture.h"
#include "support/fake_parser.h"

namespace qxtest {
namespace {

using qxdbsqlengine::CancelledException;

// Its plans have the numbers 4711, 4712 and so on.
class CountingDB2OS390Handler : public qxdbsqlengine::DB2OS390Handler {
  public:
    using DB2OS390Handler::DB2OS390Handler;

  protected:
    std::string NewQueryNumber() override { return std::to_string(next++); }

  private:
    int next = 4711;
};

// A script of the items "a" and "b".
template <class Fixture, qxdb::DBTYPE Type>
class ScriptOf : public Fixture {
  protected:
    ScriptOf() { parser.Puts("a;").Puts("b;").Completes(); }

    bool RunScript(const OptionMap& options = {}, const OptionMap& defaults = {}) {
        this->request.SetSQL("script", SQLRequest::RequestScript, false, false);
        this->request.SetQueryOptions(options, defaults);
        qxdb::Connection connection = this->server.Connect();
        return this->request.Execute(qxdbsrd::ConnectionDefElement(Type, "", 0.0, this->userName, "tiger"),
                                     connection);
    }
    // Plays both items without explaining, with `before` and `after` around the run.
    void ExpectPlainScript(const Lines& before, const Lines& after, const OptionMap& options,
                           const OptionMap& defaults = {}) {
        for (const std::string& sql : before)
            this->server.Expect(sql);
        this->server.Expect("a;").Returns(Rows({IntColumn("A")}, {{1}}));
        this->server.Expect("b;").Returns(Rows({IntColumn("B")}, {{2}}));
        for (const std::string& sql : after)
            this->server.Expect(sql);
        EXPECT_TRUE(RunScript(options, defaults));
        EXPECT_EQ(this->Sets(), (Lines{"0:1", "0:1"}));
        this->server.Verify();
    }

    FakeParser parser;
};

// Oracle.

using OracleScriptTest = ScriptOf<OracleTest, qxdb::DBTYPE_ORACLE>;

TEST_F(OracleScriptTest, OutputOfEachItemIsLabelledWithItsNumber) {
    server.Expect(Enable);
    server.Expect("a;");
    ExpectLine("of a");
    ExpectNoLine();
    server.Expect("b;");
    ExpectLine("of b");
    ExpectLine("more of b");
    ExpectNoLine();
    EXPECT_TRUE(RunScript({}, showOutput));
    EXPECT_EQ(Sets(), (Lines{"2:1", "2:2"}));
    EXPECT_EQ(store->GetColumnLabel(0, 0), "DBMS_OUTPUT Results Batch 1");
    EXPECT_EQ(store->GetColumnLabel(1, 0), "DBMS_OUTPUT Results Batch 2");
    EXPECT_EQ(Column(1), (Lines{"of b", "more of b"}));
}

TEST_F(OracleScriptTest, EachItemIsExplainedUnderANumberOfItsOwn) {
    server.SetVersion(9.2);
    request.SetDoExplainPlan(true);
    server.Expect(Disable);
    ExpectGoodPlanTable();
    server.Expect(ExplainText("a;", 4711));
    server.Expect(PlanText(4711)).Returns(Rows({TextColumn("OPERATION")}, {{"plan of a"}}));
    server.Expect(ExplainText("b;", 4712));
    server.Expect(PlanText(4712)).Returns(Rows({TextColumn("OPERATION")}, {{"plan of b"}}));
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(Sets(), (Lines{"5:1", "5:1"}));
    EXPECT_EQ(Column(1), (Lines{"plan of b"}));
}

TEST_F(OracleScriptTest, NextItemIsStillExplainedWhenAPlanCantBeRead) {
    server.SetVersion(9.2);
    request.SetDoExplainPlan(true);
    server.Expect(Disable);
    ExpectGoodPlanTable();
    server.Expect(ExplainText("a;", 4711));
    ExpectFailure(PlanText(4711));
    server.Expect(ExplainText("b;", 4712));
    server.Expect(PlanText(4712)).Returns(Rows({TextColumn("OPERATION")}, {{"plan of b"}}));
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError no such table"}));
}

TEST_F(OracleScriptTest, StatisticsRunOnceForTheRun) {
    const std::string before = "SELECT 'Before' \"Execution Information\", SYSDATE \"VALUE\" FROM DUAL";
    server.Expect(before);
    server.Expect(Disable);
    server.Expect("a;").Returns(Rows({IntColumn("A")}, {}));
    server.Expect("b;").Returns(Rows({IntColumn("A")}, {}));
    server.Expect("SELECT 'After' \"Execution Information\", SYSDATE \"VALUE\" FROM DUAL");
    server.Expect(
        "SELECT N.NAME \"Execution Information\", S.VALUE FROM SYS.V_$STATNAME N, SYS.V_$MYSTAT S WHERE "
        "N.STATISTIC#=S.STATISTIC# AND NAME IN ('CPU used by this session') ORDER BY N.NAME");
    EXPECT_TRUE(RunScript({{50306, _variant_t(true)}}));
}

// DB2.

using DB2ScriptTest = ScriptOf<FamilyTest<qxdbsqlengine::DB2Handler, qxdb::DBTYPE_DB2>, qxdb::DBTYPE_DB2>;

TEST_F(DB2ScriptTest, OptionsAreSentOnceAndNotResetAfterTheRun) {
    server.SetVersion(9.0);
    ExpectPlainScript({"SET CURRENT ISOLATION = UR"}, {}, {{50473, _variant_t(1L)}},
                      {{50473, _variant_t(0L)}});
}

TEST_F(DB2ScriptTest, EachItemIsExplainedReadAndErased) {
    server.SetVersion(7.02);
    request.SetDoExplainPlan(true);
    server.Expect("SELECT DISTINCT USER FROM SYSCAT.DBAUTH").Returns(Rows({TextColumn("1")}, {{"SCOTT"}}));
    for (const std::string table : explainTables) {
        if (CreateTexts(table, 7.02, "SCOTT").empty())
            continue;  // not on this version
        server
            .Expect("SELECT COUNT(*) FROM SYSCAT.TABLES WHERE TABSCHEMA = 'SCOTT' AND TABNAME = '" + table +
                    "'")
            .Returns(Rows({IntColumn("1")}, {{1}}));
    }
    const auto expectErase = [this] {
        for (const std::string& text : EraseTexts(7.02, "SCOTT"))
            server.Expect(text);
    };
    expectErase();
    for (const std::string item : {"a;", "b;"}) {
        server.Expect("EXPLAIN ALL SET QUERYTAG='VELLOMARK' FOR " + item);
        server.Expect(PlanQuery("SCOTT")).Returns(Rows({IntColumn("1"), IntColumn("TAR")}, {{1, -1}}));
        expectErase();
    }
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(Sets(), (Lines{"5:1", "5:1"}));
}

// DB2 for OS/390.

using DB2OS390ScriptTest =
    ScriptOf<FamilyTest<CountingDB2OS390Handler, qxdb::DBTYPE_DB2OS390>, qxdb::DBTYPE_DB2OS390>;

TEST_F(DB2OS390ScriptTest, EachItemIsExplainedUnderANumberOfItsOwn) {
    server.SetVersion(5.0);
    request.SetDoExplainPlan(true);
    server.Expect("SELECT COUNT (*) FROM SYSIBM.SYSTABLES WHERE CREATOR = 'scott' AND NAME = 'PLAN_TABLE'")
        .Returns(Rows({IntColumn("1")}, {{1}}));
    server.Expect("EXPLAIN ALL SET QUERYNO=4711 FOR a;");
    server.Expect("SELECT * FROM PLAN_TABLE WHERE QUERYNO = 4711 ORDER BY QBLOCKNO, PLANNO, MIXOPSEQ")
        .Returns(Rows({IntColumn("QUERYNO")}, {{4711}}));
    server.Expect("EXPLAIN ALL SET QUERYNO=4712 FOR b;");
    server.Expect("SELECT * FROM PLAN_TABLE WHERE QUERYNO = 4712 ORDER BY QBLOCKNO, PLANNO, MIXOPSEQ")
        .Returns(Rows({IntColumn("QUERYNO")}, {{4712}}));
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(Sets(), (Lines{"5:1", "5:1"}));
    EXPECT_EQ(Column(1), (Lines{"4712"}));
}

TEST_F(DB2OS390ScriptTest, RunWithoutExplainSendsNothingOfItsOwn) {
    ExpectPlainScript({}, {}, {{50314, _variant_t(1L)}});
}

// SQL Server.

using SQLServerScriptTest =
    ScriptOf<FamilyTest<qxdbsqlengine::SQLServerHandler, qxdb::DBTYPE_SQLSERVER>, qxdb::DBTYPE_SQLSERVER>;

TEST_F(SQLServerScriptTest, OptionsAndDefaultsAreSentOnce) {
    ExpectPlainScript({"SET NOCOUNT ON"}, {"SET NOCOUNT OFF"}, {{50120, _variant_t(true)}},
                      {{50120, _variant_t(false)}});
}

TEST_F(SQLServerScriptTest, ShowPlanModeLastsForTheWholeScript) {
    server.SetVersion(8.0);
    request.SetDoExplainPlan(true);
    ExpectPlainScript({"SET SHOWPLAN_ALL ON"}, {"SET SHOWPLAN_ALL OFF", "SET NOCOUNT OFF"},
                      {{50120, _variant_t(true)}}, {{50120, _variant_t(false)}});
}

TEST_F(SQLServerScriptTest, ModeEndsBehindAFailedItem) {
    server.SetVersion(6.5);
    request.SetDoExplainPlan(true);
    server.Expect("SET SHOWPLAN,NOEXEC ON");
    ExpectFailure("a;");
    server.Expect("b;");
    server.Expect("SET SHOWPLAN,NOEXEC OFF");
    EXPECT_TRUE(RunScript());
}

TEST_F(SQLServerScriptTest, MessagesOfAllItemsJoinOneResultSet) {
    qxdb::RawMessage printed;
    printed.text = "printed";
    qxdb::RawMessage ignored;
    ignored.code = 5701;
    ignored.text = "Changed database context.";
    server.Expect("a;").Message(ignored).Message(printed);
    server.Expect("b;").Message(printed);
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(Sets(), (Lines{"2:2"}));
}

TEST_F(SQLServerScriptTest, LimitOfErrorsCountsMessagesThatAreErrors) {
    qxdb::RawMessage error;
    error.severity = 16;
    error.code = 208;
    error.text = "Invalid object";
    server.Expect("a;").Message(error);
    EXPECT_TRUE(RunScript({{50147, _variant_t(1L)}}));  // the second item is not sent
    EXPECT_EQ(server.Executed(), (Lines{"a;"}));
}

// Sybase.

using SybaseScriptTest =
    ScriptOf<FamilyTest<qxdbsqlengine::SybaseHandler, qxdb::DBTYPE_SYBASE>, qxdb::DBTYPE_SYBASE>;

TEST_F(SybaseScriptTest, OptionsAndDefaultsAreSentOnce) {
    ExpectPlainScript({"SET NOCOUNT ON\ndbcc traceon (3604)"}, {"SET NOCOUNT OFF"},
                      {{50101, _variant_t(true)}, {50359, _variant_t(true)}}, {{50101, _variant_t(false)}});
}

TEST_F(SybaseScriptTest, ShowPlanModeLastsForTheWholeScript) {
    request.SetDoExplainPlan(true);
    ExpectPlainScript({"SET SHOWPLAN,NOEXEC ON"}, {"SET SHOWPLAN,NOEXEC OFF"}, {});
}

TEST_F(SybaseScriptTest, CancelBetweenItemsLeavesTheRest) {
    server.Expect("SET NOCOUNT ON");
    server.Expect("a;").Returns(Rows({IntColumn("A")}, {{1}}).AtRow(1, [this] { request.Cancel(); }));
    EXPECT_THROW(RunScript({{50101, _variant_t(true)}}, {{50101, _variant_t(false)}}), CancelledException);
    EXPECT_EQ(server.Executed(), (Lines{"SET NOCOUNT ON", "a;"}));
}

// MySQL.

using MySQLScriptTest =
    ScriptOf<FamilyTest<qxdbsqlengine::MySQLHandler, qxdb::DBTYPE_MYSQL>, qxdb::DBTYPE_MYSQL>;

TEST_F(MySQLScriptTest, VariablesAndStartUpCommandsAreSentOnce) {
    ExpectPlainScript({"set sql_log_off=1", "use shop"}, {},
                      {{50404, _variant_t(true)}, {50424, _variant_t("use shop")}},
                      {{50404, _variant_t(false)}});
}

TEST_F(MySQLScriptTest, EachItemIsExplained) {
    request.SetDoExplainPlan(true);
    server.Expect("EXPLAIN a;").Returns(Rows({IntColumn("id")}, {{1}}));
    server.Expect("EXPLAIN b;").Returns(Rows({IntColumn("id")}, {{2}}));
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(Sets(), (Lines{"0:1", "0:1"}));
}

}  // namespace
}  // namespace qxtest
