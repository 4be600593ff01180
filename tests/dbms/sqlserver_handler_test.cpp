#include "dbms/sqlserver_handler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <typeinfo>

#include "platform/qxutils/qx_exception.h"
#include "tsql_fixture.h"

namespace qxtest {
namespace {

using qxdbsqlengine::CancelledException;
using qxdbsqlengine::DBMSHandler;
using qxdbsqlengine::SQLServerHandler;

const double versions[] = {6.05, std::nextafter(7.0, 0.0), 7.0, std::nextafter(7.0, 8.0), 8.0, 15.0};

class SQLServerHandlerTest : public TsqlTest<SQLServerHandler, qxdb::DBTYPE_SQLSERVER> {};

TEST_F(SQLServerHandlerTest, CreateGivesThisHandler) {
    const auto created = DBMSHandler::Create(request, qxdb::DBTYPE_SQLSERVER);
    ASSERT_NE(created, nullptr);
    const DBMSHandler& made = *created;
    EXPECT_TRUE(typeid(made) == typeid(SQLServerHandler));
}

// Options.

struct OptionCase {
    unsigned int option;
    _variant_t value;
    const char* sql;
};

const OptionCase optionCases[] = {
    {50120, _variant_t(true), "SET NOCOUNT ON"},
    {50121, _variant_t(false), "SET NOEXEC OFF"},
    {50122, _variant_t(true), "SET STATISTICS IO ON"},
    {50123, _variant_t(true), "SET STATISTICS TIME ON"},
    {50124, _variant_t(false), "SET PARSEONLY OFF"},
    {50125, _variant_t(true), "SET FORCEPLAN ON"},
    {50126, _variant_t(500L), "set rowcount 500"},
    {50127, _variant_t(true), "SET ANSI_NULLS ON"},
    {50128, _variant_t(false), "SET QUOTED_IDENTIFIER OFF"},
    {50129, _variant_t(true), "SET ARITHIGNORE ON"},
    {50130, _variant_t(true), "SET ARITHABORT ON"},
    {50298, _variant_t(true), "SET ANSI_NULL_DFLT_ON ON"},
    {50299, _variant_t(false), "SET ANSI_PADDING OFF"},
    {50300, _variant_t(true), "SET ANSI_WARNINGS ON"},
    {50301, _variant_t(true), "SET CURSOR_CLOSE_ON_COMMIT ON"},
    {50302, _variant_t(false), "SET IMPLICIT_TRANSACTIONS OFF"},
    {50462, _variant_t(true), "SET FMTONLY ON"},
    {50481, _variant_t(true), "SET CONCAT_NULL_YIELDS_NULL ON"},
    {50286, _variant_t(true), "SET ANSI_DEFAULTS ON"},
    {50131, _variant_t(0L), "SET TRANSACTION ISOLATION LEVEL READ COMMITTED"},
    {50131, _variant_t(1L), "SET TRANSACTION ISOLATION LEVEL READ UNCOMMITTED"},
    {50131, _variant_t(2, VT_INT), "SET TRANSACTION ISOLATION LEVEL REPEATABLE READ"},
    {50131, _variant_t(3L), "SET TRANSACTION ISOLATION LEVEL SERIALIZABLE"},
};

TEST_F(SQLServerHandlerTest, EachOptionIsSentOnEveryVersion) {
    for (const OptionCase& one : optionCases) {
        SCOPED_TRACE(one.sql);
        for (const double version : versions) {
            server.SetVersion(version);
            ExpectSent({one.sql}, {}, {{one.option, one.value}});
            ExpectSent({one.sql}, {one.sql}, {}, {{one.option, one.value}});
        }
    }
}

TEST_F(SQLServerHandlerTest, OptionsGoInOneBatchWithTheAnsiDefaultsFirstAndTheIsolationLast) {
    OptionMap options;
    for (const OptionCase& one : optionCases)
        options[one.option] = one.value;
    ExpectSent({"SET ANSI_DEFAULTS ON\nSET NOCOUNT ON\nSET NOEXEC OFF\nSET STATISTICS IO ON\nSET STATISTICS "
                "TIME ON\n"
                "SET PARSEONLY OFF\nSET FORCEPLAN ON\nset rowcount 500\nSET ANSI_NULLS ON\n"
                "SET QUOTED_IDENTIFIER OFF\nSET ARITHIGNORE ON\nSET ARITHABORT ON\nSET ANSI_NULL_DFLT_ON ON\n"
                "SET ANSI_PADDING OFF\nSET ANSI_WARNINGS ON\nSET CURSOR_CLOSE_ON_COMMIT ON\n"
                "SET IMPLICIT_TRANSACTIONS OFF\nSET FMTONLY ON\nSET CONCAT_NULL_YIELDS_NULL ON\n"
                "SET TRANSACTION ISOLATION LEVEL SERIALIZABLE"},
               {}, options);
}

TEST_F(SQLServerHandlerTest, DefaultsAreSentBehindTheRun) {
    ExpectSent({"SET NOCOUNT ON"}, {"SET ANSI_DEFAULTS OFF\nSET NOCOUNT OFF\nset rowcount 0"},
               {{50120, _variant_t(true)}},
               {{50120, _variant_t(false)}, {50126, _variant_t(0L)}, {50286, _variant_t(false)}});
}

TEST_F(SQLServerHandlerTest, WithoutOptionsTheDefaultsAreSentTwiceAndTheLimitsGo) {
    request.SetMaxRowCount(5);
    request.SetMaxErrorCount(6);
    server.Expect("SET NOCOUNT OFF");
    server.Expect("x").Does([this] {
        EXPECT_EQ(request.GetMaxRowCount(), 0);
        EXPECT_EQ(request.GetMaxErrorCount(), 0);
        request.SetMaxRowCount(5);
        request.SetMaxErrorCount(6);
    });
    server.Expect("SET NOCOUNT OFF");
    EXPECT_TRUE(Run("x", {}, {{50120, _variant_t(false)}}));
    EXPECT_EQ(request.GetMaxRowCount(), 0);
    EXPECT_EQ(request.GetMaxErrorCount(), 0);
}

TEST_F(SQLServerHandlerTest, EmptyMapsSendNothing) {
    ExpectSent({}, {}, {});
}

TEST_F(SQLServerHandlerTest, LimitsAmongTheOptionsCountForTheRun) {
    server.Expect("x").Does([this] {
        EXPECT_EQ(request.GetMaxErrorCount(), 3);
        EXPECT_FALSE(request.GetUseGenericParser());
    });
    EXPECT_TRUE(Run("x", {{50147, _variant_t(3L)}, {50385, _variant_t(true)}}));
    EXPECT_EQ(request.GetMaxErrorCount(), 0);
}

TEST_F(SQLServerHandlerTest, ValuesOfAnotherTypeGoAsTheyRead) {
    ExpectSent({"SET ANSI_DEFAULTS ON\nSET NOEXEC 1\nSET STATISTICS IO maybe\nset rowcount 9\n"
                "SET TRANSACTION ISOLATION LEVEL REPEATABLE READ"},
               {},
               {{50120, _variant_t(0.5)},      // no type of an option
                {50121, _variant_t(1L)},       // a number into %s
                {50122, _variant_t("maybe")},  // a text into %s
                {50123, _variant_t()},         // no type of an option
                {50126, _variant_t("9")},      // a number as text into %d
                {50286, _variant_t(1L)},
                {50131, _variant_t("2")}});
    ExpectSent({}, {}, {{50126, _variant_t(true)}});    // a flag into %d
    ExpectSent({}, {}, {{50126, _variant_t("some")}});  // no number into %d
    ExpectSent({"SET ANSI_DEFAULTS OFF\nSET TRANSACTION ISOLATION LEVEL READ COMMITTED"}, {},
               {{50286, _variant_t()}, {50131, _variant_t()}});
}

TEST_F(SQLServerHandlerTest, OptionsOfAWrongTypeAreNamed) {
    for (const unsigned int option : {50252u, 50286u, 50131u, 50147u, 50385u}) {
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

TEST_F(SQLServerHandlerTest, IsolationOutOfRangeSendsNothing) {
    constexpr long least = std::numeric_limits<int>::min();
    constexpr long greatest = std::numeric_limits<int>::max();
    for (const long index : {-1L, -100L, least, 4L, 7L, 38L, 100L, greatest})
        ExpectSent({}, {}, {{50131, _variant_t(index)}});
    EXPECT_EQ(handler.GetResultsFromIntComboOption(2, 2654),
              "SET TRANSACTION ISOLATION LEVEL REPEATABLE READ");
    EXPECT_EQ(handler.GetResultsFromIntComboOption(4, 2654), "");  // a row that wants an argument
    EXPECT_EQ(handler.GetResultsFromIntComboOption(-1, 2654), "");
    EXPECT_EQ(handler.GetResultsFromIntComboOption(0, -1), "");
    EXPECT_EQ(handler.GetResultsFromIntComboOption(1, std::numeric_limits<int>::max()), "");
}

TEST_F(SQLServerHandlerTest, LobStreamSizeComesFromTheOptionsThenTheDefaults) {
    const struct {
        OptionMap defaults;
        OptionMap options;
        int size;
    } cases[] = {
        {{}, {}, 0},
        {{{50252, _variant_t(100L)}}, {}, 100},
        {{}, {{50252, _variant_t(200L)}}, 200},
        {{{50252, _variant_t(100L)}}, {{50252, _variant_t(200L)}}, 200},
        {{{50252, _variant_t(100L)}}, {{50120, _variant_t(0.5)}}, 100},
    };
    for (const auto& one : cases) {
        request.SetLobStreamSize(55);
        ExpectSent({}, {}, one.options, one.defaults);
        EXPECT_EQ(request.GetLobStreamSize(), one.size);
    }
}

TEST_F(SQLServerHandlerTest, LobStreamSizeIsSetAheadOfTheOptions) {
    server.Expect("SET NOCOUNT ON").Does([this] { EXPECT_EQ(request.GetLobStreamSize(), 70); });
    server.Expect("x");
    EXPECT_TRUE(Run("x", {{50120, _variant_t(true)}, {50252, _variant_t(70L)}}));
}

TEST_F(SQLServerHandlerTest, RowsOfSessionStatementsAreDroppedAndTheirMessagesNotShown) {
    server.Expect("SET NOCOUNT ON")
        .Message(ServerMessage(16, 105, "unclosed"))
        .Returns(Rows({IntColumn("X")}, {{2}}))
        .Returns(RowCount(1));
    server.Expect("x").Returns(Rows({IntColumn("A")}, {{1}}));
    server.Expect("SET NOCOUNT OFF").Message(ServerMessage(0, 1, "off")).Returns(RowCount(4));
    EXPECT_TRUE(Run("x", {{50120, _variant_t(true)}}, {{50120, _variant_t(false)}}));
    EXPECT_EQ(Sets(), (Lines{"0:1"}));
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
    EXPECT_EQ(calls.LinesOf("OnMessage"), Lines());
}

TEST_F(SQLServerHandlerTest, FailingOptionsEndTheRun) {
    ExpectFailure("SET NOCOUNT ON");
    EXPECT_THROW(Run("x", {{50120, _variant_t(true)}}, {{50120, _variant_t(false)}}), Errors);
    server.Verify();
    server.Expect("x");
    ExpectFailure("SET NOCOUNT OFF");
    EXPECT_THROW(Run("x", {{50121, _variant_t(0.5)}}, {{50120, _variant_t(false)}}), Errors);
}

TEST_F(SQLServerHandlerTest, FailedStatementStillGetsTheDefaultsBack) {
    server.Expect("SET NOCOUNT ON");
    ExpectFailure("x");
    server.Expect("SET NOCOUNT OFF");
    EXPECT_TRUE(Run("x", {{50120, _variant_t(true)}}, {{50120, _variant_t(false)}}));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError no such table"}));
}

TEST_F(SQLServerHandlerTest, CancelAtEachStepSendsNothingMore) {
    const Lines steps = {"SET NOCOUNT ON", "x", "SET NOCOUNT OFF"};
    // Behind a cancelled statement the session is left as it is.
    for (std::size_t last = 0; last < steps.size(); ++last)
        ExpectCancelAt(steps, last, {{50120, _variant_t(true)}}, {{50120, _variant_t(false)}}, false);
}

// Plans.

class SQLServerExplainTest : public SQLServerHandlerTest {
  protected:
    SQLServerExplainTest() { request.SetDoExplainPlan(true); }

    static std::string ModeText(double version, bool on) {
        return std::string(version < 7.0 ? "SET SHOWPLAN,NOEXEC " : "SET SHOWPLAN_ALL ") +
               (on ? "ON" : "OFF");
    }
};

TEST_F(SQLServerExplainTest, ShowPlanModeGoesByVersion) {
    for (const double version : versions) {
        SCOPED_TRACE(version);
        request.ClearStorage();
        server.SetVersion(version);
        server.Expect(ModeText(version, true));
        server.Expect("x").Returns(
            Rows({TextColumn("StmtText"), IntColumn("StmtId")}, {{"x", 1}, {"|--", 1}}));
        server.Expect(ModeText(version, false));
        EXPECT_TRUE(Run("x"));
        EXPECT_EQ(Sets(), (Lines{"0:2"}));
        EXPECT_EQ(Column(0), (Lines{"x", "|--"}));
        EXPECT_EQ(request.GetSQL(), "x");
        EXPECT_TRUE(request.GetDoExplainPlan());
        server.Verify();
    }
}

TEST_F(SQLServerExplainTest, ModeCanBeSwitchedAlone) {
    for (const double version : versions) {
        server.SetVersion(version);
        qxdb::Connection connection = server.Connect();
        server.Expect(ModeText(version, true));
        handler.BeginExplainPlanMode(connection);
        server.Expect(ModeText(version, false));
        handler.EndExplainPlanMode(connection);
        server.Verify();
    }
}

TEST_F(SQLServerExplainTest, NoOptionIsSentAheadAndTheDefaultsAreSentBehind) {
    server.SetVersion(8.0);
    request.SetMaxErrorCount(6);
    server.Expect("SET SHOWPLAN_ALL ON");
    server.Expect("x").Does([this] { EXPECT_EQ(request.GetMaxErrorCount(), 6); });
    server.Expect("SET SHOWPLAN_ALL OFF");
    server.Expect("SET NOCOUNT OFF");
    EXPECT_TRUE(Run("x",
                    {{50120, _variant_t(true)},
                     {50131, _variant_t(1L)},
                     {50147, _variant_t(2L)},
                     {50252, _variant_t(9L)}},
                    {{50120, _variant_t(false)}}));
    EXPECT_EQ(request.GetLobStreamSize(), 9);
    EXPECT_EQ(request.GetMaxErrorCount(), 0);
}

TEST_F(SQLServerExplainTest, ModeIsSwitchedOncePerRunAndNotPerItem) {
    server.SetVersion(8.0);
    server.Expect("SET SHOWPLAN_ALL ON");
    server.Expect("x")
        .Returns(Rows({TextColumn("StmtText")}, {{"1"}}))
        .Returns(Rows({TextColumn("StmtText")}, {{"2"}, {"3"}}));
    server.Expect("SET SHOWPLAN_ALL OFF");
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(Sets(), (Lines{"0:1", "0:2"}));
}

TEST_F(SQLServerExplainTest, StatementWithoutAPlanSaysNothing) {
    server.SetVersion(8.0);
    server.Expect("SET SHOWPLAN_ALL ON");
    server.Expect("x");
    server.Expect("SET SHOWPLAN_ALL OFF");
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(Sets(), Lines());
}

TEST_F(SQLServerExplainTest, FailureInEachStep) {
    server.SetVersion(8.0);
    ExpectFailure("SET SHOWPLAN_ALL ON");
    EXPECT_THROW(Run("x"), Errors);
    server.Verify();

    server.Expect("SET SHOWPLAN_ALL ON");
    ExpectFailure("x");
    server.Expect("SET SHOWPLAN_ALL OFF");
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError no such table"}));
    server.Verify();

    server.Expect("SET SHOWPLAN_ALL ON");
    server.Expect("x");
    ExpectFailure("SET SHOWPLAN_ALL OFF");
    EXPECT_THROW(Run("x", {}, {{50120, _variant_t(false)}}), Errors);
    EXPECT_TRUE(request.GetDoExplainPlan());
}

TEST_F(SQLServerExplainTest, CancelAtEachStepSendsNothingMore) {
    server.SetVersion(8.0);
    const Lines steps = {"SET SHOWPLAN_ALL ON", "x", "SET SHOWPLAN_ALL OFF", "SET NOCOUNT OFF"};
    for (std::size_t last = 0; last < steps.size(); ++last)
        ExpectCancelAt(steps, last, {{50120, _variant_t(true)}}, {{50120, _variant_t(false)}}, true);
}

TEST_F(SQLServerExplainTest, CancelWhileThePlanIsReadEndsItsResultSet) {
    server.SetVersion(8.0);
    server.Expect("SET SHOWPLAN_ALL ON");
    server.Expect("x").Returns(
        Rows({TextColumn("StmtText")}, {{"1"}, {"2"}}).AtRow(1, [this] { request.Cancel(); }));
    EXPECT_THROW(Run("x"), CancelledException);
    EXPECT_EQ(calls.LinesOf("OnResultSetEnd"), (Lines{"OnResultSetEnd 0"}));
}

}  // namespace
}  // namespace qxtest
