#include "dbms/sybase_handler.h"

#include <gtest/gtest.h>

#include <string>
#include <typeinfo>
#include <vector>

#include "platform/qxutils/qx_exception.h"
#include "tsql_fixture.h"

namespace qxtest {
namespace {

using qxdb::Column;
using qxdbsqlengine::CancelledException;
using qxdbsqlengine::DBMSHandler;
using qxdbsqlengine::SybaseHandler;

// It takes no notice of them.
const double versions[] = {4.9, 11.92, 12.5, 15.7};

class SybaseHandlerTest : public TsqlTest<SybaseHandler, qxdb::DBTYPE_SYBASE> {};

TEST_F(SybaseHandlerTest, CreateGivesThisHandler) {
    const auto created = DBMSHandler::Create(request, qxdb::DBTYPE_SYBASE);
    ASSERT_NE(created, nullptr);
    const DBMSHandler& made = *created;
    EXPECT_TRUE(typeid(made) == typeid(SybaseHandler));
}

// Options.

struct OptionCase {
    unsigned int option;
    _variant_t value;
    const char* sql;
};

const OptionCase optionCases[] = {
    {50101, _variant_t(true), "SET NOCOUNT ON"},
    {50102, _variant_t(false), "SET NOEXEC OFF"},
    {50105, _variant_t(true), "SET STATISTICS SUBQUERYCACHE ON"},
    {50107, _variant_t(true), "SET PREFETCH ON"},
    {50108, _variant_t(false), "SET PARSEONLY OFF"},
    {50109, _variant_t(500L), "set rowcount 500"},
    {50110, _variant_t(4, VT_INT), "SET TABLE COUNT 4"},
    {50111, _variant_t(true), "SET CHAINED ON"},
    {50112, _variant_t(3L), "SET TRANSACTION ISOLATION LEVEL 3"},
    {50113, _variant_t(true), "SET ARITHIGNORE ARITH_OVERFLOW ON"},
    {50114, _variant_t(false), "SET ARITHABORT ARITH_OVERFLOW OFF"},
    {50115, _variant_t(true), "SET ARITHABORT NUMERIC_TRUNCATION ON"},
    {50116, _variant_t(true), "SET ANSINULL ON"},
    {50118, _variant_t(false), "SET QUOTED_IDENTIFIER OFF"},
    {50359, _variant_t(true), "dbcc traceon (3604)"},
    {50360, _variant_t(true), "dbcc traceon (3605)"},
    {50357, _variant_t(true), "dbcc traceon (302)"},
    {50358, _variant_t(true), "dbcc traceon (310)"},
    {50103, _variant_t(true), "SET STATISTICS IO ON"},
    {50104, _variant_t(false), "SET STATISTICS TIME OFF"},
    {50106, _variant_t(true), "SET FORCEPLAN ON"},
    {50100, _variant_t(false), "SET SHOWPLAN OFF"},
};

TEST_F(SybaseHandlerTest, EachOptionIsSentOnEveryVersion) {
    for (const OptionCase& one : optionCases) {
        SCOPED_TRACE(one.sql);
        for (const double version : versions) {
            server.SetVersion(version);
            ExpectSent({one.sql}, {}, {{one.option, one.value}});
            ExpectSent({one.sql}, {one.sql}, {}, {{one.option, one.value}});
        }
    }
}

TEST_F(SybaseHandlerTest, OptionsGoInOneBatchThenTheTraceFlagsThenStatisticsAndPlans) {
    OptionMap options;
    for (const OptionCase& one : optionCases)
        options[one.option] = one.value;
    ExpectSent({"SET NOCOUNT ON\nSET NOEXEC OFF\nSET STATISTICS SUBQUERYCACHE ON\nSET PREFETCH ON\n"
                "SET PARSEONLY OFF\nset rowcount 500\nSET TABLE COUNT 4\nSET CHAINED ON\n"
                "SET TRANSACTION ISOLATION LEVEL 3\nSET ARITHIGNORE ARITH_OVERFLOW ON\n"
                "SET ARITHABORT ARITH_OVERFLOW OFF\nSET ARITHABORT NUMERIC_TRUNCATION ON\nSET ANSINULL ON\n"
                "SET QUOTED_IDENTIFIER OFF\ndbcc traceon (3604, 3605, 302, 310)\nSET STATISTICS IO ON\n"
                "SET STATISTICS TIME OFF\nSET FORCEPLAN ON\nSET SHOWPLAN OFF"},
               {}, options);
}

TEST_F(SybaseHandlerTest, TraceFlagsAreOneLineInTheirOrder) {
    const struct {
        OptionMap options;
        Lines sent;
    } cases[] = {
        {{{50359, _variant_t(true)}, {50358, _variant_t(true)}}, {"dbcc traceon (3604, 310)"}},
        {{{50357, _variant_t(true)}, {50360, _variant_t(true)}}, {"dbcc traceon (3605, 302)"}},
        {{{50357, _variant_t(true)}, {50358, _variant_t(true)}, {50359, _variant_t(true)}},
         {"dbcc traceon (3604, 302, 310)"}},
        {{{50359, _variant_t(false)}, {50360, _variant_t(true)}}, {"dbcc traceon (3605)"}},
        // never switched off
        {{{50359, _variant_t(false)}, {50360, _variant_t(false)}}, {}},
        {{{50359, _variant_t()}}, {}},
        {{{50359, _variant_t(1L)}}, {"dbcc traceon (3604)"}},
    };
    for (const auto& one : cases)
        ExpectSent(one.sent, {}, one.options);
}

TEST_F(SybaseHandlerTest, DefaultsAreSentBehindTheRun) {
    ExpectSent({"SET NOCOUNT ON\ndbcc traceon (3604)"}, {"SET NOCOUNT OFF\nset rowcount 0\nSET SHOWPLAN OFF"},
               {{50101, _variant_t(true)}, {50359, _variant_t(true)}},
               {{50101, _variant_t(false)},
                {50109, _variant_t(0L)},
                {50359, _variant_t(false)},
                {50100, _variant_t(false)}});
}

TEST_F(SybaseHandlerTest, WithoutOptionsTheDefaultsAreSentTwiceAndTheLimitsGo) {
    server.Expect("SET CHAINED OFF");
    server.Expect("x").Does([this] {
        request.SetMaxRowCount(5);
        request.SetMaxErrorCount(6);
    });
    server.Expect("SET CHAINED OFF");
    EXPECT_TRUE(Run("x", {}, {{50111, _variant_t(false)}}));
    EXPECT_EQ(request.GetMaxRowCount(), 0);
    EXPECT_EQ(request.GetMaxErrorCount(), 0);
}

TEST_F(SybaseHandlerTest, EmptyMapsSendNothing) {
    ExpectSent({}, {}, {});
}

TEST_F(SybaseHandlerTest, LimitsAmongTheOptionsCountForTheRun) {
    server.Expect("x").Does([this] {
        EXPECT_EQ(request.GetMaxErrorCount(), 3);
        EXPECT_FALSE(request.GetUseGenericParser());
    });
    EXPECT_TRUE(Run("x", {{50147, _variant_t(3L)}, {50385, _variant_t(true)}}));
    EXPECT_EQ(request.GetMaxErrorCount(), 0);
}

TEST_F(SybaseHandlerTest, ValuesOfAnotherTypeGoAsTheyRead) {
    ExpectSent({"SET NOEXEC 1\nSET PREFETCH maybe\nset rowcount 9\nSET STATISTICS IO ON\nSET FORCEPLAN OFF"},
               {},
               {{50101, _variant_t(0.5)},        // no type of an option
                {50102, _variant_t(1L)},         // a number into %s
                {50105, _variant_t()},           // no type of an option
                {50107, _variant_t("maybe")},    // a text into %s
                {50109, _variant_t("9")},        // a number as text into %d
                {50110, _variant_t(true)},       // a flag into %d
                {50112, _variant_t("highest")},  // no number into %d
                {50103, _variant_t(1L)},
                {50106, _variant_t()}});
}

TEST_F(SybaseHandlerTest, OptionsOfAWrongTypeAreNamed) {
    for (const unsigned int option :
         {50252u, 50359u, 50360u, 50357u, 50358u, 50103u, 50104u, 50106u, 50100u, 50147u, 50385u}) {
        try {
            Run("x", {{option, _variant_t("much")}});
            ADD_FAILURE() << "no exception for " << option;
        } catch (const qxutils::QXException& failure) {
            EXPECT_EQ(failure.what(),
                      "Query option " + std::to_string(option) + " has a value of a wrong type");
        }
        server.Verify();
    }
    EXPECT_TRUE(server.Executed().empty());
}

TEST_F(SybaseHandlerTest, LobStreamSizeComesFromTheOptionsThenTheDefaults) {
    const struct {
        OptionMap defaults;
        OptionMap options;
        int size;
    } cases[] = {
        {{}, {}, 0},
        {{{50252, _variant_t(100L)}}, {}, 100},
        {{}, {{50252, _variant_t(200L)}}, 200},
        {{{50252, _variant_t(100L)}}, {{50252, _variant_t(200L)}}, 200},
        {{{50252, _variant_t(100L)}}, {{50101, _variant_t(0.5)}}, 100},
    };
    for (const auto& one : cases) {
        request.SetLobStreamSize(55);
        ExpectSent({}, {}, one.options, one.defaults);
        EXPECT_EQ(request.GetLobStreamSize(), one.size);
    }
    server.Expect("SET NOCOUNT ON").Does([this] { EXPECT_EQ(request.GetLobStreamSize(), 70); });
    server.Expect("x");
    EXPECT_TRUE(Run("x", {{50101, _variant_t(true)}, {50252, _variant_t(70L)}}));
}

TEST_F(SybaseHandlerTest, RowsOfSessionStatementsAreDroppedAndTheirMessagesNotShown) {
    server.Expect("dbcc traceon (3604)")
        .Message(ServerMessage(0, 2528, "DBCC execution completed."))
        .Returns(Rows({IntColumn("X")}, {{2}}))
        .Returns(RowCount(1));
    server.Expect("x").Returns(Rows({IntColumn("A")}, {{1}}));
    server.Expect("SET NOCOUNT OFF").Message(ServerMessage(16, 1, "off")).Returns(RowCount(4));
    EXPECT_TRUE(Run("x", {{50359, _variant_t(true)}}, {{50101, _variant_t(false)}}));
    EXPECT_EQ(Sets(), (Lines{"0:1"}));
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
    EXPECT_EQ(calls.LinesOf("OnMessage"), Lines());
}

TEST_F(SybaseHandlerTest, FailingOptionsEndTheRun) {
    ExpectFailure("dbcc traceon (302)");
    EXPECT_THROW(Run("x", {{50357, _variant_t(true)}}, {{50101, _variant_t(false)}}), Errors);
    server.Verify();
    server.Expect("x");
    ExpectFailure("SET NOCOUNT OFF");
    EXPECT_THROW(Run("x", {{50101, _variant_t(0.5)}}, {{50101, _variant_t(false)}}), Errors);
}

TEST_F(SybaseHandlerTest, CancelAtEachStepSendsNothingMore) {
    const Lines steps = {"SET NOCOUNT ON", "x", "SET NOCOUNT OFF"};
    for (std::size_t last = 0; last < steps.size(); ++last)
        ExpectCancelAt(steps, last, {{50101, _variant_t(true)}}, {{50101, _variant_t(false)}}, false);
}

// Plans.

class SybaseExplainTest : public SybaseHandlerTest {
  protected:
    SybaseExplainTest() { request.SetDoExplainPlan(true); }
};

TEST_F(SybaseExplainTest, PlanArrivesAsSavedMessages) {
    for (const double version : versions) {
        SCOPED_TRACE(version);
        request.ClearStorage();
        calls.Clear();
        server.SetVersion(version);
        server.Expect("SET SHOWPLAN,NOEXEC ON");
        server.Expect("x")
            .Message(ServerMessage(0, 6201, "QUERY PLAN FOR STATEMENT 1"))
            .Message(ServerMessage(0, 6203, "    STEP 1"));
        server.Expect("SET SHOWPLAN,NOEXEC OFF");
        EXPECT_TRUE(Run("x"));
        EXPECT_EQ(Sets(), (Lines{"2:2"}));
        EXPECT_EQ(Column(0), (Lines{"QUERY PLAN FOR STATEMENT 1", "    STEP 1"}));
        EXPECT_EQ(calls.LinesOf("OnMessage"), Lines());
        EXPECT_EQ(request.GetSQL(), "x");
        EXPECT_TRUE(request.GetDoExplainPlan());
        server.Verify();
    }
}

TEST_F(SybaseExplainTest, ModeCanBeSwitchedAlone) {
    qxdb::Connection connection = server.Connect();
    server.Expect("SET SHOWPLAN,NOEXEC ON");
    handler.BeginExplainPlanMode(connection);
    server.Expect("SET SHOWPLAN,NOEXEC OFF");
    handler.EndExplainPlanMode(connection);
}

TEST_F(SybaseExplainTest, NoOptionIsSentAheadAndTheDefaultsAreSentBehind) {
    request.SetMaxErrorCount(6);
    server.Expect("SET SHOWPLAN,NOEXEC ON");
    server.Expect("x").Does([this] { EXPECT_EQ(request.GetMaxErrorCount(), 6); });
    server.Expect("SET SHOWPLAN,NOEXEC OFF");
    server.Expect("SET NOCOUNT OFF");
    EXPECT_TRUE(Run("x", {{50101, _variant_t(true)}, {50147, _variant_t(2L)}, {50252, _variant_t(9L)}},
                    {{50101, _variant_t(false)}}));
    EXPECT_EQ(request.GetLobStreamSize(), 9);
    EXPECT_EQ(request.GetMaxErrorCount(), 0);
}

TEST_F(SybaseExplainTest, BothShowPlanStatementsGoOut) {
    server.Expect("SET SHOWPLAN,NOEXEC ON");
    server.Expect("x");
    server.Expect("SET SHOWPLAN,NOEXEC OFF");
    server.Expect("SET SHOWPLAN ON");
    EXPECT_TRUE(Run("x", {{50100, _variant_t(true)}}, {{50100, _variant_t(true)}}));
}

TEST_F(SybaseExplainTest, StatementWithoutAPlanSaysNothing) {
    server.Expect("SET SHOWPLAN,NOEXEC ON");
    server.Expect("x");
    server.Expect("SET SHOWPLAN,NOEXEC OFF");
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(Sets(), Lines());
}

TEST_F(SybaseExplainTest, FailureInEachStep) {
    ExpectFailure("SET SHOWPLAN,NOEXEC ON");
    EXPECT_THROW(Run("x"), Errors);
    server.Verify();

    server.Expect("SET SHOWPLAN,NOEXEC ON");
    ExpectFailure("x");
    server.Expect("SET SHOWPLAN,NOEXEC OFF");
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError no such table"}));
    server.Verify();

    server.Expect("SET SHOWPLAN,NOEXEC ON");
    server.Expect("x");
    ExpectFailure("SET SHOWPLAN,NOEXEC OFF");
    EXPECT_THROW(Run("x", {}, {{50101, _variant_t(false)}}), Errors);
    EXPECT_TRUE(request.GetDoExplainPlan());
}

TEST_F(SybaseExplainTest, CancelAtEachStepSendsNothingMore) {
    const Lines steps = {"SET SHOWPLAN,NOEXEC ON", "x", "SET SHOWPLAN,NOEXEC OFF", "SET NOCOUNT OFF"};
    for (std::size_t last = 0; last < steps.size(); ++last)
        ExpectCancelAt(steps, last, {{50101, _variant_t(true)}}, {{50101, _variant_t(false)}}, true);
}

// Columns.

class SybaseColumnsTest : public SybaseHandlerTest {
  protected:
    static qxdb::ColumnRecord NativeColumn(Column::BindType type, int nativeType, int scale) {
        qxdb::ColumnRecord column = MakeColumn("c", type, "native");
        column.nativeType = nativeType;
        column.scale = scale;
        return column;
    }
    std::vector<int> PrecisionsOf(const std::vector<qxdb::ColumnRecord>& columns) {
        server.Expect("x").Returns(Rows(columns, {}));
        EXPECT_TRUE(Run("x"));
        std::vector<int> precisions;
        for (const qxdbsqlengine::ColumnDefinition& definition : request.GetColumnDefinition())
            precisions.push_back(definition.precision);
        return precisions;
    }
};

TEST_F(SybaseColumnsTest, MoneyHasTwoDigitsBehindThePoint) {
    std::vector<qxdb::ColumnRecord> columns;
    for (const int nativeType : {13, 14, 15, 16, 0, -14})
        columns.push_back(NativeColumn(Column::BindDecimal, nativeType, 4));
    EXPECT_EQ(PrecisionsOf(columns), (std::vector<int>{4, 2, 2, 4, 4, 4}));
}

TEST_F(SybaseColumnsTest, MoneyHasTwoDigitsHoweverItIsBound) {
    for (const Column::BindType type : {Column::BindFloat, Column::BindDouble, Column::BindDecimal,
                                        Column::BindString, Column::BindInt, Column::BindInt64}) {
        EXPECT_EQ(PrecisionsOf({NativeColumn(type, 14, 4), NativeColumn(type, 15, 0)}),
                  (std::vector<int>{2, 2}))
            << type;
    }
}

TEST_F(SybaseColumnsTest, DigitsOfMoneyStayWithinTheLimitsOfTheRequest) {
    const struct {
        int minimum;
        int maximum;
        std::vector<int> expected;  // of money, small money and a decimal of scale 4
    } cases[] = {
        {-1, -1, {2, 2, 4}}, {3, -1, {3, 3, 4}}, {-1, 1, {1, 1, 1}}, {-1, 3, {2, 2, 3}},
        {0, 0, {0, 0, 0}},   {5, 4, {5, 5, 5}},  {2, 2, {2, 2, 2}},
    };
    for (const auto& one : cases) {
        request.SetPrecisionLimits(one.minimum, one.maximum);
        EXPECT_EQ(
            PrecisionsOf({NativeColumn(Column::BindDecimal, 14, 4), NativeColumn(Column::BindDecimal, 15, 0),
                          NativeColumn(Column::BindDecimal, 10, 4)}),
            one.expected)
            << one.minimum << " " << one.maximum;
    }
}

TEST_F(SybaseColumnsTest, EverythingElseOfAColumnIsAsOnOtherServers) {
    server.Expect("x").Returns(
        Rows({NativeColumn(Column::BindDecimal, 14, 4)}, {{qxdb::Decimal("12.3456")}}));
    EXPECT_TRUE(Run("x"));
    const qxdbsqlengine::ColumnDefinition& definition = request.GetColumnDefinition().at(0);
    EXPECT_EQ(definition.dataType, qxdbsqlengine::DataTypeDecimal);
    EXPECT_EQ(definition.nativeDataType, 14);
    EXPECT_EQ(definition.nativeDataTypeName, "native");
    EXPECT_EQ(definition.columnLabel, "c");
    EXPECT_EQ(store->GetPrecision(0, 0), 2);
    EXPECT_EQ(store->GetDecimal(0, 0, 0).AsString(false, -1), "12.3456");  // the value stays whole
}

}  // namespace
}  // namespace qxtest
