#include "dbms/db2os390_handler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <typeinfo>
#include <vector>

#include "engine/cancellation.h"
#include "family_fixture.h"
#include "platform/qxutils/qx_exception.h"

namespace qxtest {
namespace {

using qxdbsqlengine::CancelledException;
using qxdbsqlengine::DB2OS390Handler;
using qxdbsqlengine::DBMSHandler;

// Its plans have the numbers 4711, 4712 and so on.
class CountingDB2OS390Handler : public DB2OS390Handler {
  public:
    using DB2OS390Handler::CreateTables;
    using DB2OS390Handler::DB2OS390Handler;
    using DB2OS390Handler::owner;

  protected:
    std::string NewQueryNumber() override { return std::to_string(next++); }

  private:
    int next = 4711;
};

class DB2OS390HandlerTest : public FamilyTest<CountingDB2OS390Handler, qxdb::DBTYPE_DB2OS390> {
  protected:
    Step& ExpectCount(const std::string& table, int count) {
        return server
            .Expect("SELECT COUNT (*) FROM SYSIBM.SYSTABLES WHERE CREATOR = '" + userName + "' AND NAME = '" +
                    table + "'")
            .Returns(Rows({IntColumn("1")}, {{count}}));
    }
    static Result PlanRows() { return Rows({IntColumn("QUERYNO")}, {{4711}, {4711}}); }

    const std::string explain = "EXPLAIN ALL SET QUERYNO=4711 FOR x";
    const std::string planWithCosts =
        "SELECT * FROM PLAN_TABLE A, DSN_STATEMNT_TABLE B WHERE A.QUERYNO = 4711 AND A.QUERYNO = B.QUERYNO "
        "ORDER BY A.QBLOCKNO, A.PLANNO, A.MIXOPSEQ";
    const std::string plan =
        "SELECT * FROM PLAN_TABLE WHERE QUERYNO = 4711 ORDER BY QBLOCKNO, PLANNO, MIXOPSEQ";
};

TEST_F(DB2OS390HandlerTest, CreateGivesThisHandler) {
    const auto created = DBMSHandler::Create(request, qxdb::DBTYPE_DB2OS390);
    ASSERT_NE(created, nullptr);
    const DBMSHandler& made = *created;
    EXPECT_TRUE(typeid(made) == typeid(DB2OS390Handler));
}

TEST_F(DB2OS390HandlerTest, SettingsOfTheRequest) {
    const struct {
        OptionMap defaults;
        OptionMap options;
        int size;
    } cases[] = {
        {{}, {}, 0},
        {{{50252, _variant_t(100L)}}, {}, 100},
        {{}, {{50252, _variant_t(200L)}}, 200},
        {{{50252, _variant_t(100L)}}, {{50252, _variant_t(200L)}}, 200},
    };
    for (const auto& one : cases) {
        request.SetLobStreamSize(55);
        server.Expect("x");
        EXPECT_TRUE(Run("x", one.options, one.defaults));
        EXPECT_EQ(request.GetLobStreamSize(), one.size);
    }
    server.Expect("x");
    EXPECT_TRUE(Run("x", {{50314, _variant_t(12L)}, {50147, _variant_t(3L)}, {50385, _variant_t(true)}}));
    EXPECT_EQ(request.GetMaxRowCount(), 12);
    EXPECT_EQ(request.GetMaxErrorCount(), 3);
    EXPECT_FALSE(request.GetUseGenericParser());
    server.Expect("x");
    EXPECT_TRUE(Run("x", {}, {{50314, _variant_t(9L)}}));
    EXPECT_EQ(request.GetMaxRowCount(), 0);
    EXPECT_THROW(Run("x", {{50314, _variant_t("many")}}), qxutils::QXException);
    EXPECT_THROW(Run("x", {{50252, _variant_t("much")}}), qxutils::QXException);
}

TEST_F(DB2OS390HandlerTest, ExplainsByVersion) {
    request.SetDoExplainPlan(true);
    for (const double version : {5.0, std::nextafter(6.0, 0.0), 6.0, std::nextafter(6.0, 7.0), 7.0, 8.0}) {
        SCOPED_TRACE(version);
        request.ClearStorage();
        server.SetVersion(version);
        ExpectCount("PLAN_TABLE", 1);
        if (version >= 6.0)
            ExpectCount("DSN_STATEMNT_TABLE", 1);
        server.Expect(explain);
        server.Expect(version >= 6.0 ? planWithCosts : plan).Returns(PlanRows());
        EXPECT_TRUE(Run("x", {{50314, _variant_t(1L)}, {50120, _variant_t(true)}}));
        EXPECT_EQ(Sets(), (Lines{"5:1"}));  // the limit of rows counts
        EXPECT_EQ(calls.LinesOf("OnMessage"), Lines());
        EXPECT_TRUE(request.GetDoExplainPlan());
        EXPECT_EQ(request.GetSQL(), explain);
        server.Verify();
    }
}

TEST_F(DB2OS390HandlerTest, MissingTablesAreTold) {
    request.SetDoExplainPlan(true);
    const struct {
        double version;
        int plan;
        int costs;
        const char* list;
    } cases[] = {
        {5.0, 0, 0, "PLAN_TABLE"},
        {6.0, 0, 1, "PLAN_TABLE"},
        {6.0, 1, 0, "DSN_STATEMNT_TABLE"},
        {6.0, 0, 0, "PLAN_TABLE, DSN_STATEMNT_TABLE"},
    };
    for (const auto& one : cases) {
        calls.Clear();
        server.SetVersion(one.version);
        ExpectCount("PLAN_TABLE", one.plan);
        if (one.version >= 6.0)
            ExpectCount("DSN_STATEMNT_TABLE", one.costs);
        server.Expect(explain);
        server.Expect(one.version >= 6.0 ? planWithCosts : plan);
        EXPECT_TRUE(Run("x"));
        EXPECT_EQ(calls.LinesOf("OnMessage"),
                  (Lines{"OnMessage 2 Following explain table(s) are missing:\n " + std::string(one.list)}));
        EXPECT_EQ(calls.LinesOf("OnError"), Lines());
        server.Verify();
    }
}

TEST_F(DB2OS390HandlerTest, MissingTableOfCostsGoesUnnoticedOnVersion5) {
    request.SetDoExplainPlan(true);
    server.SetVersion(5.0);
    ExpectCount("PLAN_TABLE", 2);
    server.Expect(explain);
    server.Expect(plan);
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(calls.LinesOf("OnMessage"), Lines());
}

TEST_F(DB2OS390HandlerTest, TablesAreThoseOfTheUser) {
    request.SetDoExplainPlan(true);
    server.SetVersion(5.0);
    for (const char* const name : {"SCOTT", "", "scott"}) {
        userName = name;
        ExpectCount("PLAN_TABLE", 1);
        server.Expect(explain);
        server.Expect(plan);
        EXPECT_TRUE(Run("x"));
        server.Verify();
    }
}

TEST_F(DB2OS390HandlerTest, TablesCanBeCreated) {
    qxdb::Connection connection = server.Connect();
    OpenFamilyHandler<CountingDB2OS390Handler> creating(request, request.uses);
    creating.owner = "SCOTT";
    server.Expect(
        "CREATE TABLE SCOTT.PLAN_TABLE (QUERYNO INTEGER NOT NULL, QBLOCKNO SMALLINT NOT NULL, APPLNAME "
        "CHAR(8) "
        "NOT NULL, PROGNAME CHAR(8) NOT NULL, PLANNO SMALLINT NOT NULL, METHOD SMALLINT NOT NULL, CREATOR "
        "CHAR(8) NOT NULL, TNAME CHAR(18) NOT NULL, TABNO SMALLINT NOT NULL, ACCESSTYPE CHAR(2) NOT NULL, "
        "MATCHCOLS SMALLINT NOT NULL, ACCESSCREATOR CHAR(8) NOT NULL, ACCESSNAME CHAR(18) NOT NULL, "
        "INDEXONLY "
        "CHAR(1) NOT NULL, SORTN_UNIQ CHAR(1) NOT NULL, SORTN_JOIN CHAR(1) NOT NULL, SORTN_ORDERBY CHAR(1) "
        "NOT "
        "NULL, SORTN_GROUPBY CHAR(1) NOT NULL, SORTC_UNIQ CHAR(1) NOT NULL, SORTC_JOIN CHAR(1) NOT NULL, "
        "SORTC_ORDERBY CHAR(1) NOT NULL, SORTC_GROUPBY CHAR(1) NOT NULL, TSLOCKMODE CHAR(3) NOT NULL, "
        "TIMESTAMP CHAR(16) NOT NULL, REMARKS VARCHAR(254) NOT NULL, PREFETCH CHAR(1) NOT NULL WITH DEFAULT, "
        "COLUMN_FN_EVAL CHAR(1) NOT NULL WITH DEFAULT, MIXOPSEQ SMALLINT NOT NULL WITH DEFAULT, VERSION "
        "VARCHAR(64) NOT NULL WITH DEFAULT, COLLID CHAR(18) NOT NULL WITH DEFAULT, ACCESS_DEGREE SMALLINT, "
        "ACCESS_PGROUP_ID SMALLINT, JOIN_DEGREE SMALLINT, JOIN_PGROUP_ID SMALLINT, SORTC_PGROUP_ID SMALLINT, "
        "SORTN_PGROUP_ID SMALLINT, PARALLELISM_MODE CHAR(1), MERGE_JOIN_COLS SMALLINT, CORRELATION_NAME "
        "CHAR(18), PAGE_RANGE CHAR(1) NOT NULL WITH DEFAULT, JOIN_TYPE CHAR(1) NOT NULL WITH DEFAULT, "
        "GROUP_MEMBER CHAR(8) NOT NULL WITH DEFAULT, IBM_SERVICE_DATA VARCHAR(254) NOT NULL WITH DEFAULT, "
        "WHEN_OPTIMIZE CHAR(1) NOT NULL WITH DEFAULT, QBLOCK_TYPE CHAR(6) NOT NULL WITH DEFAULT, BIND_TIME "
        "TIMESTAMP NOT NULL WITH DEFAULT, OPTHINT CHAR(8) NOT NULL WITH DEFAULT, HINT_USED CHAR(8) NOT NULL "
        "WITH DEFAULT, PRIMARY_ACCESSTYPE CHAR(1) NOT NULL WITH DEFAULT)");
    server.Expect(
        "CREATE TABLE SCOTT.DSN_STATEMNT_TABLE (QUERYNO INTEGER NOT NULL WITH DEFAULT, APPLNAME CHAR(8) NOT "
        "NULL "
        "WITH DEFAULT, PROGNAME CHAR(8) NOT NULL WITH DEFAULT, COLLID CHAR(18) NOT NULL WITH DEFAULT, "
        "GROUP_MEMBER CHAR(8) NOT NULL WITH DEFAULT, EXPLAIN_TIME TIMESTAMP NOT NULL WITH DEFAULT, STMT_TYPE "
        "CHAR(6) NOT NULL WITH DEFAULT, COST_CATEGORY CHAR(1) NOT NULL WITH DEFAULT, PROCMS INTEGER NOT NULL "
        "WITH DEFAULT, PROCSU INTEGER NOT NULL WITH DEFAULT, REASON VARCHAR(254) NOT NULL WITH DEFAULT)");
    server.Expect(
        "CREATE TABLE SCOTT.DSN_FUNCTION_TABLE (QUERYNO INTEGER NOT NULL WITH DEFAULT, QBLOCKNO INTEGER NOT "
        "NULL "
        "WITH DEFAULT, APPLNAME CHAR(8) NOT NULL WITH DEFAULT, PROGNAME CHAR(8) NOT NULL WITH DEFAULT, "
        "COLLID "
        "CHAR(18) NOT NULL WITH DEFAULT, GROUP_MEMBER CHAR(8) NOT NULL WITH DEFAULT, EXPLAIN_TIME TIMESTAMP "
        "NOT "
        "NULL WITH DEFAULT, SCHEMA_NAME CHAR(8) NOT NULL WITH DEFAULT, FUNCTION_NAME CHAR(18) NOT NULL WITH "
        "DEFAULT, SPEC_FUNC_NAME CHAR(18) NOT NULL WITH DEFAULT, FUNCTION_TYPE CHAR(2) NOT NULL WITH "
        "DEFAULT, "
        "VIEW_CREATOR CHAR(8) NOT NULL WITH DEFAULT, VIEW_NAME CHAR(18) NOT NULL WITH DEFAULT, PATH "
        "VARCHAR(254) NOT NULL WITH DEFAULT, FUNCTION_TEXT VARCHAR(254) NOT NULL WITH DEFAULT)");
    creating.CreateTables(connection, {"DSN_FUNCTION_TABLE", "PLAN_TABLE", "DSN_STATEMNT_TABLE", "OTHER"});
    server.Verify();
}

TEST_F(DB2OS390HandlerTest, ThereAreNoStatistics) {
    qxdb::Connection connection = server.Connect();
    handler.SetOptionsIDSMap(connection);
    for (const bool before : {true, false})
        EXPECT_TRUE(handler.ProcStatistics(connection, {{50287, _variant_t(true)}}, before));
    EXPECT_TRUE(server.Executed().empty());
}

TEST_F(DB2OS390HandlerTest, EveryPlanIsStoredUntilOneFails) {
    request.SetDoExplainPlan(true);
    server.SetVersion(5.0);
    ExpectCount("PLAN_TABLE", 1);
    server.Expect(explain);
    server.Expect(plan)
        .Returns(PlanRows())
        .Returns(PlanRows().FailsAtRow(1, MakeErrors("lost")))
        .Returns(PlanRows());
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(Sets(), (Lines{"5:2", "5:1"}));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError lost"}));
    EXPECT_TRUE(request.GetDoExplainPlan());
}

TEST_F(DB2OS390HandlerTest, FailuresAroundThePlan) {
    request.SetDoExplainPlan(true);
    server.SetVersion(6.0);
    ExpectCount("PLAN_TABLE", 1).Fails(MakeErrors("denied"));
    EXPECT_THROW(Run("x"), Errors);
    server.Verify();

    ExpectCount("PLAN_TABLE", 1);
    ExpectCount("DSN_STATEMNT_TABLE", 1);
    ExpectFailure(explain);
    ExpectFailure(planWithCosts);
    EXPECT_FALSE(Run("x"));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError no such table", "OnError no such table"}));
    EXPECT_TRUE(request.GetDoExplainPlan());
}

TEST_F(DB2OS390HandlerTest, EveryItemHasANumberOfItsOwn) {
    request.SetDoExplainPlan(true);
    qxdb::Connection connection = server.Connect();
    for (int number = 4711; number <= 4713; ++number) {
        request.SetSQL("x %s", SQLRequest::RequestFunction, false, false);
        handler.PreExecuteBatch(connection);
        EXPECT_EQ(request.GetSQL(), "EXPLAIN ALL SET QUERYNO=" + std::to_string(number) + " FOR x %s");
        EXPECT_EQ(request.GetRequestType(), SQLRequest::RequestFunction);
    }
}

TEST_F(DB2OS390HandlerTest, NumbersAreTicksOfTheMachine) {
    request.SetDoExplainPlan(true);
    DB2OS390Handler plain(request);
    qxdb::Connection connection = server.Connect();
    request.SetSQL("x", SQLRequest::RequestSQL, false, false);
    plain.PreExecuteBatch(connection);
    const std::string sql = request.GetSQL();
    const std::size_t begin = sql.find('=') + 1;
    const std::size_t end = sql.find(' ', begin);
    EXPECT_GT(end, begin);
    EXPECT_EQ(sql.substr(begin, end - begin).find_first_not_of("0123456789"), std::string::npos) << sql;
    EXPECT_EQ(sql.substr(end), " FOR x");
}

TEST_F(DB2OS390HandlerTest, CancelAtEachStepSendsNothingMore) {
    const Lines steps = {
        "SELECT COUNT (*) FROM SYSIBM.SYSTABLES WHERE CREATOR = 'scott' AND NAME = 'PLAN_TABLE'",
        "SELECT COUNT (*) FROM SYSIBM.SYSTABLES WHERE CREATOR = 'scott' AND NAME = 'DSN_STATEMNT_TABLE'",
        explain, planWithCosts};
    server.SetVersion(6.0);
    for (std::size_t last = 0; last < steps.size(); ++last) {
        SCOPED_TRACE(steps[last]);
        FamilyRequest<CountingDB2OS390Handler> one(
            notifications, SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(), store, nullptr, "");
        one.SetDoExplainPlan(true);
        one.SetSQL("x", SQLRequest::RequestSQL, false, false);
        const std::size_t before = server.Executed().size();
        for (std::size_t i = 0; i <= last; ++i) {
            Step& step = server.Expect(steps[i]).Returns(PlanRows());
            if (i == last)
                step.Does([&one] { one.Cancel(); });
        }
        qxdb::Connection connection = server.Connect();
        EXPECT_THROW(one.Execute(qxdbsrd::ConnectionDefElement(qxdb::DBTYPE_DB2OS390, "", 0.0, "scott", ""),
                                 connection),
                     CancelledException);
        EXPECT_EQ(server.Executed().size(), before + last + 1);
        EXPECT_TRUE(one.GetDoExplainPlan());
        server.Verify();
    }
}

}  // namespace
}  // namespace qxtest
