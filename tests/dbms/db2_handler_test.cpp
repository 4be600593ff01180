#include "dbms/db2_handler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <typeinfo>
#include <vector>

#include "db2_explain_texts.h"
#include "engine/cancellation.h"
#include "family_fixture.h"
#include "platform/qxutils/qx_exception.h"

namespace qxtest {
namespace {

using qxdbsqlengine::CancelledException;
using qxdbsqlengine::DB2Handler;
using qxdbsqlengine::DBMSHandler;

constexpr double infinity = std::numeric_limits<double>::infinity();

class DB2HandlerTest : public FamilyTest<DB2Handler, qxdb::DBTYPE_DB2> {};

TEST_F(DB2HandlerTest, CreateGivesThisHandler) {
    const auto created = DBMSHandler::Create(request, qxdb::DBTYPE_DB2);
    ASSERT_NE(created, nullptr);
    const DBMSHandler& made = *created;
    EXPECT_TRUE(typeid(made) == typeid(DB2Handler));
}

// Options.

TEST_F(DB2HandlerTest, IsolationIsSentAboveVersion801) {
    const char* const texts[] = {"SET CURRENT ISOLATION = RESET", "SET CURRENT ISOLATION = UR",
                                 "SET CURRENT ISOLATION = CS", "SET CURRENT ISOLATION = RR",
                                 "SET CURRENT ISOLATION = RS"};
    for (long index = 0; index < 5; ++index) {
        for (const double version : {7.02, 8.0, std::nextafter(8.01, 0.0), 8.01}) {
            server.SetVersion(version);
            server.Expect("x");
            EXPECT_TRUE(Run("x", {{50473, _variant_t(index)}}));
            server.Verify();
        }
        for (const double version : {std::nextafter(8.01, infinity), 8.02, 9.0, 11.05}) {
            server.SetVersion(version);
            server.Expect(texts[index]);
            server.Expect("x");
            EXPECT_TRUE(Run("x", {{50473, _variant_t(index)}}));
            server.Verify();
        }
    }
}

TEST_F(DB2HandlerTest, IsolationOutOfRangeSendsNothing) {
    server.SetVersion(9.0);
    for (const long index : {-1L, 5L, 6L, 100000L, static_cast<long>(std::numeric_limits<int>::max()),
                             static_cast<long>(std::numeric_limits<int>::min())}) {
        server.Expect("x");
        EXPECT_TRUE(Run("x", {{50473, _variant_t(index)}}));
        server.Verify();
    }
    EXPECT_EQ(handler.GetResultsFromIntComboOption(1, 19542), "SET CURRENT ISOLATION = UR");
    EXPECT_EQ(handler.GetResultsFromIntComboOption(0, 138), "");  // a row that wants an argument
    EXPECT_EQ(handler.GetResultsFromIntComboOption(0, -1), "");
}

TEST_F(DB2HandlerTest, OptionsGoInOneBatch) {
    server.SetVersion(9.0);
    // Of the options of other servers, for want of own ones with a text.
    server.Expect("set rowcount 5\nSET NOCOUNT ON\nSET CURRENT ISOLATION = CS");
    server.Expect("x");
    EXPECT_TRUE(Run("x", {{50109, _variant_t(5L)}, {50120, _variant_t(true)}, {50473, _variant_t(2L)}}));
    server.Verify();
    server.Expect("SET NOCOUNT OFF");
    server.Expect("x");
    EXPECT_TRUE(Run("x", {{50120, _variant_t(false)}, {50473, _variant_t("77")}}));
}

TEST_F(DB2HandlerTest, EmptyOptionsRunNothingButTheDefaults) {
    server.SetVersion(9.0);
    request.SetMaxRowCount(7);
    request.SetMaxErrorCount(8);
    server.Expect("x");
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(request.GetMaxRowCount(), 0);
    EXPECT_EQ(request.GetMaxErrorCount(), 0);
    server.Expect("SET CURRENT ISOLATION = UR");
    server.Expect("x");
    EXPECT_TRUE(Run("x", {}, {{50473, _variant_t(1L)}, {50314, _variant_t(9L)}}));
    EXPECT_EQ(request.GetMaxRowCount(), 0);
}

TEST_F(DB2HandlerTest, SettingsOfTheRequest) {
    server.SetVersion(7.02);
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
}

TEST_F(DB2HandlerTest, OptionsOfAWrongTypeAreNamed) {
    server.SetVersion(9.0);
    for (const unsigned int option : {50252u, 50314u, 50470u, 50472u, 50473u}) {
        try {
            Run("x", {{option, _variant_t("much")}});
            ADD_FAILURE() << "no exception for " << option;
        } catch (const qxutils::QXException& failure) {
            EXPECT_EQ(failure.what(),
                      "Query option " + std::to_string(option) + " has a value of a wrong type");
        }
    }
}

TEST_F(DB2HandlerTest, FailingOptionsEndTheRun) {
    server.SetVersion(9.0);
    ExpectFailure("SET CURRENT ISOLATION = UR");
    EXPECT_THROW(Run("x", {{50473, _variant_t(1L)}}), Errors);
}

TEST_F(DB2HandlerTest, ThereAreNoStatistics) {
    qxdb::Connection connection = server.Connect();
    handler.SetOptionsIDSMap(connection);
    for (const bool before : {true, false})
        EXPECT_TRUE(handler.ProcStatistics(connection, {{50287, _variant_t(true)}}, before));
    EXPECT_TRUE(server.Executed().empty());
}

TEST_F(DB2HandlerTest, EveryResultOfACommandIsStoredUntilOneFails) {
    server.SetVersion(9.0);
    server.Expect("SET CURRENT ISOLATION = UR")
        .Returns(Rows({IntColumn("A")}, {{1}}))
        .Returns(Rows({IntColumn("B")}, {{2}, {3}}).FailsAtRow(1, MakeErrors("lost")))
        .Returns(Rows({IntColumn("C")}, {{4}}));
    server.Expect("x").Returns(Rows({IntColumn("X")}, {{5}}));
    EXPECT_TRUE(Run("x", {{50473, _variant_t(1L)}}));
    EXPECT_EQ(Sets(), (Lines{"0:1", "0:1", "0:1"}));
    EXPECT_EQ(Column(2), (Lines{"5"}));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError lost"}));
}

TEST_F(DB2HandlerTest, ExplainTablesAreLeftAloneWithoutExplain) {
    server.SetVersion(9.0);
    server.Expect("x");
    EXPECT_TRUE(Run("x", {{50470, _variant_t(true)}, {50472, _variant_t(true)}}));
}

// Plans.

class DB2ExplainTest : public DB2HandlerTest {
  protected:
    DB2ExplainTest() { request.SetDoExplainPlan(true); }

    void ExpectUser() {
        server.Expect("SELECT DISTINCT USER FROM SYSCAT.DBAUTH")
            .Returns(Rows({TextColumn("USER")}, {{"SCOTT   "}}));
    }
    Step& ExpectCount(const std::string& schema, const std::string& table, int count) {
        return server
            .Expect("SELECT COUNT(*) FROM SYSCAT.TABLES WHERE TABSCHEMA = '" + schema + "' AND TABNAME = '" +
                    table + "'")
            .Returns(Rows({IntColumn("1")}, {{count}}));
    }
    static bool IsNewIn8(const std::string& table) {
        return table == "ADVISE_INSTANCE" || table == "ADVISE_MQT" || table == "ADVISE_PARTITION" ||
               table == "ADVISE_TABLE";
    }
    // The look for all tables that a server of this version has; `missing` ones are not there.
    void ExpectCounts(double version, const std::string& schema, const Lines& missing = {}) {
        for (const char* const table : explainTables) {
            if (version <= 8.0 && IsNewIn8(table))
                continue;
            bool isMissing = false;
            for (const std::string& name : missing)
                isMissing |= name == table || name == "*";
            ExpectCount(schema, table, isMissing ? 0 : 1);
        }
    }
    void ExpectErase(double version, const std::string& schema) {
        for (const std::string& text : EraseTexts(version, schema))
            server.Expect(text);
    }
    void ExpectPlanOfX(double version, const std::string& schema) {
        server.Expect("EXPLAIN ALL SET QUERYTAG='VELLOMARK' FOR x");
        server.Expect(PlanQuery(schema)).Returns(PlanRows());
        ExpectErase(version, schema);
    }
    static Result PlanRows() { return Rows({IntColumn("1"), IntColumn("TAR")}, {{1, -1}, {1, 0}, {2, 1}}); }

    const OptionMap create = {{50472, _variant_t(true)}};
};

TEST_F(DB2ExplainTest, TablesThatAreThereAreEmptiedAndUsed) {
    for (const double version : {7.02, std::nextafter(8.0, 0.0), 8.0, std::nextafter(8.0, 9.0), 8.01, 8.02,
                                 std::nextafter(9.0, 0.0), 9.0, 9.07, 11.05}) {
        SCOPED_TRACE(version);
        request.ClearStorage();
        server.SetVersion(version);
        ExpectUser();
        ExpectCounts(version, "SCOTT");
        ExpectErase(version, "SCOTT");
        ExpectPlanOfX(version, "SCOTT");
        EXPECT_TRUE(Run("x"));
        EXPECT_EQ(Sets(), (Lines{"5:3"}));
        EXPECT_EQ(Column(0, 1), (Lines{"-1", "0", "1"}));
        EXPECT_TRUE(request.GetDoExplainPlan());
        EXPECT_EQ(request.GetSQL(), "EXPLAIN ALL SET QUERYTAG='VELLOMARK' FOR x");
        server.Verify();
    }
}

TEST_F(DB2ExplainTest, MissingTablesAreCreatedByVersion) {
    for (const double version : {7.02, std::nextafter(8.0, 0.0), 8.0, std::nextafter(8.0, 9.0), 8.02,
                                 std::nextafter(9.0, 0.0), 9.0, 11.05}) {
        SCOPED_TRACE(version);
        server.SetVersion(version);
        ExpectUser();
        ExpectCounts(version, "SCOTT", {"*"});
        for (const char* const table : explainTables) {
            if (version <= 8.0 && IsNewIn8(table))
                continue;
            for (const std::string& text : CreateTexts(table, version, "SCOTT"))
                server.Expect(text);
        }
        ExpectErase(version, "SCOTT");
        ExpectPlanOfX(version, "SCOTT");
        EXPECT_TRUE(Run("x", create));
        server.Verify();
    }
}

TEST_F(DB2ExplainTest, OnlyMissingTablesAreCreated) {
    server.SetVersion(8.02);
    ExpectUser();
    ExpectCounts(8.02, "SCOTT", {"EXPLAIN_ARGUMENT", "ADVISE_WORKLOAD"});
    for (const char* const table : {"EXPLAIN_ARGUMENT", "ADVISE_WORKLOAD"}) {
        for (const std::string& text : CreateTexts(table, 8.02, "SCOTT"))
            server.Expect(text);
    }
    ExpectErase(8.02, "SCOTT");
    ExpectPlanOfX(8.02, "SCOTT");
    EXPECT_TRUE(Run("x", create));
}

TEST_F(DB2ExplainTest, MissingTablesWithoutCreationLeaveTheErrorToTheServer) {
    server.SetVersion(8.02);
    ExpectUser();
    ExpectCounts(8.02, "SCOTT", {"EXPLAIN_STREAM"});
    ExpectFailure("EXPLAIN ALL SET QUERYTAG='VELLOMARK' FOR x");
    ExpectFailure(PlanQuery("SCOTT"));
    EXPECT_FALSE(Run("x", {{50472, _variant_t(false)}}));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError no such table", "OnError no such table"}));
    EXPECT_TRUE(request.GetDoExplainPlan());
}

TEST_F(DB2ExplainTest, TablesOfTheSystemsSchemaTakeThePlaceOfTheUsersOwn) {
    server.SetVersion(9.0);
    ExpectUser();
    for (const char* const table : explainTables) {
        const bool isThere = std::string(table) != "ADVISE_MQT";
        ExpectCount("SCOTT", table, isThere ? 1 : 0);
        if (isThere)
            server.Expect("DROP TABLE SCOTT." + std::string(table));
    }
    ExpectCounts(9.0, "SYSTOOLS");
    ExpectErase(9.0, "SYSTOOLS");
    ExpectPlanOfX(9.0, "SYSTOOLS");
    EXPECT_TRUE(Run("x", {{50470, _variant_t(true)}}));
}

TEST_F(DB2ExplainTest, TablesOfTheSystemsSchemaAreCreated) {
    server.SetVersion(7.02);
    ExpectUser();
    for (const char* const table : explainTables)  // all of them, whatever the version
        ExpectCount("SCOTT", table, 0);
    ExpectCounts(7.02, "SYSTOOLS", {"EXPLAIN_INSTANCE"});
    for (const std::string& text : CreateTexts("EXPLAIN_INSTANCE", 7.02, "SYSTOOLS"))
        server.Expect(text);
    ExpectErase(7.02, "SYSTOOLS");
    ExpectPlanOfX(7.02, "SYSTOOLS");
    EXPECT_TRUE(Run("x", {{50470, _variant_t(true)}, {50472, _variant_t(true)}}));
}

TEST_F(DB2ExplainTest, NoSessionOptionIsSentButTheHandlersOwnCount) {
    server.SetVersion(9.0);
    request.SetMaxErrorCount(4);
    ExpectUser();
    ExpectCounts(9.0, "SCOTT");
    ExpectErase(9.0, "SCOTT");
    ExpectPlanOfX(9.0, "SCOTT");
    EXPECT_TRUE(Run("x", {{50473, _variant_t(1L)}, {50314, _variant_t(2L)}, {50147, _variant_t(9L)}}));
    EXPECT_EQ(request.GetMaxRowCount(), 2);
    EXPECT_EQ(request.GetMaxErrorCount(), 4);
    EXPECT_EQ(Sets(), (Lines{"5:2"}));
}

TEST_F(DB2ExplainTest, RowCountsOfTheCleanUpAreNotShown) {
    server.SetVersion(7.02);
    ExpectUser();
    ExpectCounts(7.02, "SCOTT");
    for (const std::string& text : EraseTexts(7.02, "SCOTT"))
        server.Expect(text).Returns(RowCount(3));
    server.Expect("EXPLAIN ALL SET QUERYTAG='VELLOMARK' FOR x");
    server.Expect(PlanQuery("SCOTT")).Returns(PlanRows());
    for (const std::string& text : EraseTexts(7.02, "SCOTT"))
        server.Expect(text).Returns(RowCount(3));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(Sets(), (Lines{"5:3"}));
}

TEST_F(DB2ExplainTest, ExplainIsOffWhileThePlanIsReadAndErased) {
    bool whileRead = true;
    bool whileErased = true;
    server.SetVersion(7.02);
    ExpectUser();
    ExpectCounts(7.02, "SCOTT");
    ExpectErase(7.02, "SCOTT");
    server.Expect("EXPLAIN ALL SET QUERYTAG='VELLOMARK' FOR x");
    server.Expect(PlanQuery("SCOTT")).Does([&] { whileRead = request.GetDoExplainPlan(); });
    bool isFirst = true;
    for (const std::string& text : EraseTexts(7.02, "SCOTT")) {
        Step& step = server.Expect(text);
        if (isFirst)
            step.Does([&] { whileErased = request.GetDoExplainPlan(); });
        isFirst = false;
    }
    EXPECT_TRUE(Run("x"));
    EXPECT_FALSE(whileRead);
    EXPECT_FALSE(whileErased);
    EXPECT_TRUE(request.GetDoExplainPlan());
}

TEST_F(DB2ExplainTest, SqlIsExplainedWhateverItsForm) {
    const std::string sql = "select '%s%d' from \"T\"\n-- 100%";
    request.SetSQL(sql, SQLRequest::RequestProcedure, false, false);
    qxdb::Connection connection = server.Connect();
    handler.PreExecuteBatch(connection);
    EXPECT_EQ(request.GetSQL(), "EXPLAIN ALL SET QUERYTAG='VELLOMARK' FOR " + sql);
    EXPECT_EQ(request.GetRequestType(), SQLRequest::RequestProcedure);
}

TEST_F(DB2ExplainTest, FailureInEachStepAheadEndsTheRun) {
    server.SetVersion(8.02);
    ExpectFailure("SELECT DISTINCT USER FROM SYSCAT.DBAUTH");
    EXPECT_THROW(Run("x", create), Errors);
    server.Verify();

    ExpectUser();
    ExpectCount("SCOTT", "EXPLAIN_INSTANCE", 1).Fails(MakeErrors("denied"));
    EXPECT_THROW(Run("x", create), Errors);
    server.Verify();

    ExpectUser();
    ExpectCounts(8.02, "SCOTT", {"EXPLAIN_STATEMENT"});
    ExpectFailure(CreateTexts("EXPLAIN_STATEMENT", 8.02, "SCOTT")[0]);
    EXPECT_THROW(Run("x", create), Errors);
    server.Verify();

    ExpectUser();
    ExpectCounts(8.02, "SCOTT", {"EXPLAIN_STATEMENT"});
    server.Expect(CreateTexts("EXPLAIN_STATEMENT", 8.02, "SCOTT")[0]);
    ExpectFailure(CreateTexts("EXPLAIN_STATEMENT", 8.02, "SCOTT")[1]);
    EXPECT_THROW(Run("x", create), Errors);
    server.Verify();

    ExpectUser();
    ExpectCount("SCOTT", "EXPLAIN_INSTANCE", 1);
    ExpectFailure("DROP TABLE SCOTT.EXPLAIN_INSTANCE");
    EXPECT_THROW(Run("x", {{50470, _variant_t(true)}}), Errors);
    server.Verify();

    ExpectUser();
    ExpectCounts(8.02, "SCOTT");
    ExpectFailure(EraseTexts(8.02, "SCOTT")[0]);
    EXPECT_THROW(Run("x", create), Errors);
    EXPECT_TRUE(request.GetDoExplainPlan());
}

TEST_F(DB2ExplainTest, FailingCleanUpIsReported) {
    server.SetVersion(7.02);
    ExpectUser();
    ExpectCounts(7.02, "SCOTT");
    ExpectErase(7.02, "SCOTT");
    server.Expect("EXPLAIN ALL SET QUERYTAG='VELLOMARK' FOR x");
    server.Expect(PlanQuery("SCOTT")).Returns(PlanRows());
    ExpectFailure(EraseTexts(7.02, "SCOTT")[0]);
    EXPECT_FALSE(Run("x"));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError no such table"}));
    EXPECT_TRUE(request.GetDoExplainPlan());
}

TEST_F(DB2ExplainTest, CancelAtEachStepSendsNothingMore) {
    Lines steps = {"SELECT DISTINCT USER FROM SYSCAT.DBAUTH"};
    for (const char* const table : explainTables)
        steps.push_back("SELECT COUNT(*) FROM SYSCAT.TABLES WHERE TABSCHEMA = 'SCOTT' AND TABNAME = '" +
                        std::string(table) + "'");
    for (const char* const table : explainTables) {
        for (const std::string& text : CreateTexts(table, 9.0, "SCOTT"))
            steps.push_back(text);
    }
    for (const std::string& text : EraseTexts(9.0, "SCOTT"))
        steps.push_back(text);
    steps.push_back("EXPLAIN ALL SET QUERYTAG='VELLOMARK' FOR x");
    steps.push_back(PlanQuery("SCOTT"));
    for (const std::string& text : EraseTexts(9.0, "SCOTT"))
        steps.push_back(text);
    server.SetVersion(9.0);
    for (std::size_t last = 0; last + 1 < steps.size(); ++last) {
        SCOPED_TRACE(std::to_string(last) + " " + steps[last]);
        FamilyRequest<DB2Handler> one(notifications, SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(),
                                      store, nullptr, "");
        one.SetDoExplainPlan(true);
        one.SetSQL("x", SQLRequest::RequestSQL, false, false);
        one.SetQueryOptions(create, {});
        const std::size_t before = server.Executed().size();
        for (std::size_t i = 0; i <= last; ++i) {
            Step& step = server.Expect(steps[i]);
            if (i == 0)
                step.Returns(Rows({TextColumn("USER")}, {{"SCOTT"}}));
            if (i == last)
                step.Does([&one] { one.Cancel(); });
        }
        qxdb::Connection connection = server.Connect();
        EXPECT_THROW(
            one.Execute(qxdbsrd::ConnectionDefElement(qxdb::DBTYPE_DB2, "", 0.0, "scott", ""), connection),
            CancelledException);
        EXPECT_EQ(server.Executed().size(), before + last + 1);
        EXPECT_TRUE(one.GetDoExplainPlan());
        server.Verify();
    }
}

TEST_F(DB2ExplainTest, CancelWhileThePlanIsReadEndsItsResultSet) {
    server.SetVersion(7.02);
    ExpectUser();
    ExpectCounts(7.02, "SCOTT");
    ExpectErase(7.02, "SCOTT");
    server.Expect("EXPLAIN ALL SET QUERYTAG='VELLOMARK' FOR x");
    server.Expect(PlanQuery("SCOTT")).Returns(PlanRows().AtRow(1, [this] { request.Cancel(); }));
    EXPECT_THROW(Run("x"), CancelledException);
    EXPECT_EQ(calls.LinesOf("OnResultSetEnd"), (Lines{"OnResultSetEnd 0"}));
    EXPECT_TRUE(request.GetDoExplainPlan());
}

}  // namespace
}  // namespace qxtest
