// Plans of Oracle.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "engine/cancellation.h"
#include "oracle_fixture.h"

namespace qxtest {
namespace {

using qxdbsqlengine::CancelledException;

const std::string createBegin =
    "CREATE TABLE QUILLHAVEN_EXPLAIN_PLAN(statement_id VARCHAR2(30),timestamp DATE,remarks VARCHAR2(80),"
    "operation VARCHAR2(30),options VARCHAR2(30),object_node VARCHAR2(128),object_owner VARCHAR2(30),"
    "object_name VARCHAR2(30),object_instance NUMERIC ,object_type VARCHAR2(30),optimizer VARCHAR2(255),"
    "search_columns NUMERIC,id NUMERIC,parent_id NUMERIC,position NUMERIC,cost NUMBER NULL,cardinality "
    "NUMBER NULL,bytes NUMBER NULL,other_tag VARCHAR2(255) NULL,partition_start VARCHAR2(255),"
    "partition_stop VARCHAR2(255),partition_id NUMERIC,other LONG";
const std::string columnsFrom9 =
    ",distribution varchar2(30),cpu_cost numeric,io_cost numeric,temp_space numeric,access_predicates "
    "varchar2(4000),filter_predicates varchar2(4000)";
const std::string columnsFrom101 =
    ",projection varchar2(4000),time numeric,qblock_name varchar2(30),other_xml clob";

class OracleExplainTest : public OracleTest {
  protected:
    OracleExplainTest() {
        request.SetDoExplainPlan(true);
        server.SetVersion(9.2);
    }
    static Result PlanRows() {
        return Rows({TextColumn("OPERATION"), IntColumn("ID")},
                    {{"SELECT STATEMENT", 0}, {"TABLE ACCESS", 1}});
    }
    // The end of a run of "x" behind the look for the plan table.
    void ExpectPlanOfX() {
        server.Expect(ExplainText("x"));
        server.Expect(PlanText()).Returns(PlanRows());
    }
};

TEST_F(OracleExplainTest, FitTableIsUsedAsItIs) {
    server.Expect(Disable);
    ExpectGoodPlanTable();
    ExpectPlanOfX();
    EXPECT_TRUE(Run("x", {{50313, _variant_t(1L)}}, {{50313, _variant_t(1L)}}));
    EXPECT_EQ(Sets(), (Lines{"5:2"}));
    EXPECT_EQ(Column(0), (Lines{"SELECT STATEMENT", "TABLE ACCESS"}));
    EXPECT_TRUE(request.GetDoExplainPlan());
    EXPECT_EQ(request.GetSQL(), ExplainText("x"));
}

TEST_F(OracleExplainTest, MissingTableIsCreatedByVersion) {
    const struct {
        double version;
        std::string columns;
    } cases[] = {
        {7.34, createBegin},
        {std::nextafter(9.0, 0.0), createBegin},
        {9.0, createBegin + columnsFrom9},
        {9.2, createBegin + columnsFrom9},
        {10.0, createBegin + columnsFrom9},
        {std::nextafter(10.1, 0.0), createBegin + columnsFrom9},
        {10.1, createBegin + columnsFrom9 + columnsFrom101},
        {19.3, createBegin + columnsFrom9 + columnsFrom101},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.version);
        server.SetVersion(one.version);
        server.Expect(Disable);
        ExpectFailure(ProbeTable);
        server.Expect(one.columns + ")");
        server.Expect(ExplainText("x"));
        server.Expect(one.version < 8.0 ? OldPlanText() : PlanText());
        EXPECT_TRUE(Run("x"));
        server.Verify();
    }
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());  // a probe may fail
}

TEST_F(OracleExplainTest, OldTableIsDroppedFirst) {
    const struct {
        const char* user;
        const char* drop;
    } cases[] = {{"scott", "DROP TABLE SCOTT.QUILLHAVEN_EXPLAIN_PLAN"},
                 {"SCOTT", "DROP TABLE SCOTT.QUILLHAVEN_EXPLAIN_PLAN"}};
    for (const auto& one : cases) {
        userName = one.user;
        server.Expect(Disable);
        server.Expect(ProbeTable);
        ExpectFailure(ProbeCost);
        server.Expect(one.drop);
        server.Expect(createBegin + columnsFrom9 + ")");
        ExpectPlanOfX();
        EXPECT_TRUE(Run("x"));
        server.Verify();
    }
}

TEST_F(OracleExplainTest, OwnerOfAnOldTableIsAskedForWhereNoUserIsKnown) {
    userName = "";
    server.Expect(Disable);
    server.Expect(ProbeTable);
    ExpectFailure(ProbeCost);
    server.Expect("SELECT DISTINCT USER FROM DUAL").Returns(Rows({TextColumn("USER")}, {{"OPS$scott"}}));
    server.Expect("DROP TABLE \"OPS$scott\".QUILLHAVEN_EXPLAIN_PLAN");
    server.Expect(createBegin + columnsFrom9 + ")");
    ExpectPlanOfX();
    EXPECT_TRUE(Run("x"));
}

TEST_F(OracleExplainTest, TableIsLookedForInTheSchemaOfAnotherUser) {
    request.SetExplainPlanAlterSessionUser("hr");
    server.Expect(Disable);
    server.Expect("ALTER SESSION SET CURRENT_SCHEMA = hr");
    ExpectGoodPlanTable();
    ExpectPlanOfX();
    EXPECT_TRUE(Run("x"));
    server.Verify();
    // the drop still goes by the user of the connection
    server.Expect(Disable);
    server.Expect("ALTER SESSION SET CURRENT_SCHEMA = hr");
    server.Expect(ProbeTable);
    ExpectFailure(ProbeCost);
    server.Expect("DROP TABLE SCOTT.QUILLHAVEN_EXPLAIN_PLAN");
    server.Expect(createBegin + columnsFrom9 + ")");
    ExpectPlanOfX();
    EXPECT_TRUE(Run("x"));
}

TEST_F(OracleExplainTest, CommandsAroundTheTableShowNothing) {
    userName = "";
    server.Expect(Disable);
    server.Expect(ProbeTable).Returns(Rows({IntColumn("C")}, {{0}}));
    ExpectFailure(ProbeCost);
    server.Expect("SELECT DISTINCT USER FROM DUAL").Returns(Rows({TextColumn("USER")}, {{"SCOTT"}}));
    server.Expect("DROP TABLE \"SCOTT\".QUILLHAVEN_EXPLAIN_PLAN").Returns(RowCount(0));
    server.Expect(createBegin + columnsFrom9 + ")")
        .Returns(RowCount(0))
        .Returns(Rows({IntColumn("C")}, {{1}}));
    ExpectPlanOfX();
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(Sets(), (Lines{"5:2"}));
}

TEST_F(OracleExplainTest, ProbesReadTheirRows) {
    int fetched = 0;
    server.Expect(Disable);
    server.Expect(ProbeTable)
        .Returns(Rows({IntColumn("C")}, {{0}}).AtRow(0, [&fetched] { ++fetched; }).AtRow(1, [&fetched] {
            ++fetched;
        }));
    server.Expect(ProbeCost);
    ExpectPlanOfX();
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(fetched, 2);
}

TEST_F(OracleExplainTest, ProbeThatFailsWhileItIsReadCountsAsFailed) {
    server.Expect(Disable);
    server.Expect(ProbeTable).Returns(Rows({IntColumn("C")}, {{0}}).FailsAtRow(0, MakeErrors("gone")));
    server.Expect(createBegin + columnsFrom9 + ")");
    ExpectPlanOfX();
    EXPECT_TRUE(Run("x"));
}

TEST_F(OracleExplainTest, FailuresAroundTheTableEndTheRun) {
    server.Expect(Disable);
    ExpectFailure(ProbeTable);
    ExpectFailure(createBegin + columnsFrom9 + ")");
    EXPECT_THROW(Run("x"), Errors);
    server.Verify();

    server.Expect(Disable);
    server.Expect(ProbeTable);
    ExpectFailure(ProbeCost);
    ExpectFailure("DROP TABLE SCOTT.QUILLHAVEN_EXPLAIN_PLAN");
    EXPECT_THROW(Run("x"), Errors);
    server.Verify();

    request.SetExplainPlanAlterSessionUser("hr");
    server.Expect(Disable);
    ExpectFailure("ALTER SESSION SET CURRENT_SCHEMA = hr");
    EXPECT_THROW(Run("x"), Errors);
    server.Verify();

    request.SetExplainPlanAlterSessionUser(nullptr);
    userName = "";
    server.Expect(Disable);
    server.Expect(ProbeTable);
    ExpectFailure(ProbeCost);
    ExpectFailure("SELECT DISTINCT USER FROM DUAL");
    EXPECT_THROW(Run("x"), Errors);
}

TEST_F(OracleExplainTest, PlanIsReadByVersion) {
    const struct {
        double version;
        bool old;
    } cases[] = {{7.34, true}, {std::nextafter(8.0, 0.0), true}, {8.0, false}, {8.17, false}, {10.1, false}};
    for (const auto& one : cases) {
        SCOPED_TRACE(one.version);
        server.SetVersion(one.version);
        server.Expect(Disable);
        ExpectGoodPlanTable();
        server.Expect(ExplainText("x"));
        server.Expect(one.old ? OldPlanText() : PlanText());
        EXPECT_TRUE(Run("x"));
        server.Verify();
    }
}

TEST_F(OracleExplainTest, PlanHasTwelveColumnsOnVersion7) {
    server.SetVersion(7.34);
    server.Expect(Disable);
    ExpectGoodPlanTable();
    server.Expect(ExplainText("x"));
    const std::string columns = OldPlanText();
    const std::string list = columns.substr(7, columns.find(" FROM ") - 7);
    std::vector<qxdb::ColumnRecord> record;
    std::size_t begin = 0;
    for (std::size_t end = list.find(','); begin != std::string::npos; end = list.find(',', begin)) {
        record.push_back(TextColumn(list.substr(begin, end - begin)));
        begin = end == std::string::npos ? end : end + 1;
    }
    server.Expect(columns).Returns(Rows(record, {}));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(store->GetNumberOfColumns(0), 12);
}

TEST_F(OracleExplainTest, SqlIsExplainedWhateverItsForm) {
    const std::string sql = "-- all\nselect '%s %d' from \"T\"";
    server.Expect(Disable);
    ExpectGoodPlanTable();
    server.Expect(ExplainText(sql));
    server.Expect(PlanText());
    EXPECT_TRUE(Run(sql));
}

TEST_F(OracleExplainTest, ExplainKeepsTheTypeOfTheRequest) {
    request.SetSQL("p", SQLRequest::RequestProcedure, false, false);
    qxdb::Connection connection = server.Connect();
    handler.PreExecuteBatch(connection);
    EXPECT_EQ(request.GetSQL(), ExplainText("p"));
    EXPECT_EQ(request.GetRequestType(), SQLRequest::RequestProcedure);
}

TEST_F(OracleExplainTest, EveryItemHasANumberOfItsOwn) {
    qxdb::Connection connection = server.Connect();
    for (int number = 4711; number <= 4713; ++number) {
        request.SetSQL("x", SQLRequest::RequestSQL, false, false);
        handler.PreExecuteBatch(connection);
        EXPECT_EQ(request.GetSQL(), ExplainText("x", number));
    }
}

TEST_F(OracleExplainTest, NumbersAreTicksOfTheMachine) {
    qxdbsqlengine::OracleHandler plain(request);
    qxdb::Connection connection = server.Connect();
    request.SetSQL("x", SQLRequest::RequestSQL, false, false);
    plain.PreExecuteBatch(connection);
    const std::string sql = request.GetSQL();
    const std::size_t begin = ExplainText("").find('\'') + 1;
    const std::size_t end = sql.find('\'', begin);
    const std::string number = sql.substr(begin, end - begin);
    EXPECT_FALSE(number.empty());
    EXPECT_EQ(number.find_first_not_of("0123456789"), std::string::npos) << sql;
    EXPECT_EQ(sql.substr(end), "' INTO QUILLHAVEN_EXPLAIN_PLAN FOR x");
}

TEST_F(OracleExplainTest, FailedExplainIsReportedAndItsEmptyPlanShown) {
    server.Expect(Disable);
    ExpectGoodPlanTable();
    ExpectFailure(ExplainText("x"));
    server.Expect(PlanText()).Returns(Rows({TextColumn("OPERATION")}, {}));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError no such table"}));
    EXPECT_EQ(Sets().back(), "5:0");
}

TEST_F(OracleExplainTest, RequestStillExplainsWhenThePlanCantBeRead) {
    server.Expect(Disable);
    ExpectGoodPlanTable();
    server.Expect(ExplainText("x"));
    ExpectFailure(PlanText());
    EXPECT_FALSE(Run("x"));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError no such table"}));
    EXPECT_TRUE(request.GetDoExplainPlan());
}

TEST_F(OracleExplainTest, ExplainIsOffWhileThePlanIsRead) {
    bool whileRead = true;
    server.Expect(Disable);
    ExpectGoodPlanTable();
    server.Expect(ExplainText("x"));
    server.Expect(PlanText()).Does([&] { whileRead = request.GetDoExplainPlan(); });
    EXPECT_TRUE(Run("x"));
    EXPECT_FALSE(whileRead);
    EXPECT_TRUE(request.GetDoExplainPlan());
}

TEST_F(OracleExplainTest, NothingIsPutOutAndNothingSaidWhileExplaining) {
    server.Expect(Enable);
    ExpectGoodPlanTable();
    ExpectPlanOfX();
    EXPECT_TRUE(Run("x", {}, {{50149, _variant_t(true)}}));
    EXPECT_EQ(Sets(), (Lines{"5:2"}));
}

TEST_F(OracleExplainTest, CancelAtEachStepSendsNothingMore) {
    const Lines steps = {Disable,
                         ProbeTable,
                         ProbeCost,
                         "DROP TABLE SCOTT.QUILLHAVEN_EXPLAIN_PLAN",
                         createBegin + columnsFrom9 + ")",
                         ExplainText("x"),
                         PlanText()};
    for (std::size_t last = 0; last + 1 < steps.size(); ++last) {
        SCOPED_TRACE(steps[last]);
        FamilyRequest<CountingOracleHandler> one(
            notifications, SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(), store, nullptr, "");
        one.SetDoExplainPlan(true);
        one.SetSQL("x", SQLRequest::RequestSQL, false, false);
        const std::size_t before = server.Executed().size();
        for (std::size_t i = 0; i <= last; ++i) {
            Step& step = server.Expect(steps[i]);
            if (i == last)
                step.Does([&one] { one.Cancel(); });
            if (steps[i] == ProbeCost)
                step.Fails(MakeErrors("no such column"));
        }
        qxdb::Connection connection = server.Connect();
        EXPECT_THROW(
            one.Execute(qxdbsrd::ConnectionDefElement(qxdb::DBTYPE_ORACLE, "", 0.0, "scott", ""), connection),
            CancelledException);
        EXPECT_EQ(server.Executed().size(), before + last + 1);
        server.Verify();
    }
}

TEST_F(OracleExplainTest, CancelWhileThePlanIsReadEndsItsResultSet) {
    server.Expect(Disable);
    ExpectGoodPlanTable();
    server.Expect(ExplainText("x"));
    server.Expect(PlanText()).Returns(PlanRows().AtRow(1, [this] { request.Cancel(); }));
    EXPECT_THROW(Run("x"), CancelledException);
    EXPECT_TRUE(request.GetDoExplainPlan());
    EXPECT_EQ(calls.LinesOf("OnResultSetEnd"), (Lines{"OnResultSetEnd 0"}));
}

}  // namespace
}  // namespace qxtest
