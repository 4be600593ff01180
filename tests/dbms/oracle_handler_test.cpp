#include "dbms/oracle_handler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <typeinfo>

#include "engine/cancellation.h"
#include "oracle_fixture.h"
#include "platform/qxutils/qx_exception.h"

namespace qxtest {
namespace {

using qxdbsqlengine::CancelledException;
using qxdbsqlengine::DBMSHandler;
using qxdbsqlengine::OracleHandler;

using OracleHandlerTest = OracleTest;

TEST_F(OracleHandlerTest, CreateGivesThisHandler) {
    const auto created = DBMSHandler::Create(request, qxdb::DBTYPE_ORACLE);
    ASSERT_NE(created, nullptr);
    const DBMSHandler& made = *created;
    EXPECT_TRUE(typeid(made) == typeid(OracleHandler));
}

// Enabling the server's output.

struct OutputCase {
    const char* what;
    OptionMap defaults;
    OptionMap options;
    const char* sql;
};

const OutputCase outputCases[] = {
    {"nothing asked for", {}, {}, Disable},
    {"off", {{50149, _variant_t(false)}}, {}, Disable},
    {"off, with a size", {{50149, _variant_t(false)}, {50206, _variant_t(5000L)}}, {}, Disable},
    {"a size alone", {{50206, _variant_t(5000L)}}, {}, Disable},
    {"among the current options", {}, {{50149, _variant_t(true)}, {50206, _variant_t(5000L)}}, Disable},
    {"off by default, on now", {{50149, _variant_t(false)}}, {{50149, _variant_t(true)}}, Disable},
    {"number", {{50149, _variant_t(0L)}}, {}, Disable},
    {"unset", {{50149, _variant_t()}}, {}, Disable},
};

const OutputCase enabledCases[] = {
    {"on", {{50149, _variant_t(true)}}, {}, "BEGIN DBMS_OUTPUT.ENABLE; END;"},
    {"on by default, off now",
     {{50149, _variant_t(true)}},
     {{50149, _variant_t(false)}},
     "BEGIN DBMS_OUTPUT.ENABLE; END;"},
    {"number", {{50149, _variant_t(1L)}}, {}, "BEGIN DBMS_OUTPUT.ENABLE; END;"},
    {"the server's size",
     {{50149, _variant_t(true)}, {50206, _variant_t(0L)}},
     {},
     "BEGIN DBMS_OUTPUT.ENABLE; END;"},
    {"a size",
     {{50149, _variant_t(true)}, {50206, _variant_t(20000L)}},
     {},
     "BEGIN DBMS_OUTPUT.ENABLE(20000); END;"},
    {"a size as VT_INT",
     {{50149, _variant_t(true)}, {50206, _variant_t(1000000)}},
     {},
     "BEGIN DBMS_OUTPUT.ENABLE(1000000); END;"},
    {"a size as text",
     {{50149, _variant_t(true)}, {50206, _variant_t("3000")}},
     {},
     "BEGIN DBMS_OUTPUT.ENABLE(3000); END;"},
    {"another size now",
     {{50149, _variant_t(true)}, {50206, _variant_t(20000L)}},
     {{50206, _variant_t(7L)}},
     "BEGIN DBMS_OUTPUT.ENABLE(20000); END;"},
};

TEST_F(OracleHandlerTest, OutputIsDisabledUnlessTheDefaultsAskForIt) {
    for (const OutputCase& one : outputCases) {
        SCOPED_TRACE(one.what);
        server.Expect(one.sql);
        server.Expect("select 1 from dual");
        EXPECT_TRUE(Run("select 1 from dual", one.options, one.defaults));
        server.Verify();
    }
}

TEST_F(OracleHandlerTest, OutputIsEnabledByTheDefaults) {
    for (const OutputCase& one : enabledCases) {
        SCOPED_TRACE(one.what);
        server.Expect(one.sql);
        server.Expect("select 1 from dual");
        ExpectNoLine();
        EXPECT_TRUE(Run("select 1 from dual", one.options, one.defaults));
        server.Verify();
    }
}

TEST_F(OracleHandlerTest, OutputOptionsOfAWrongTypeAreNamed) {
    for (const unsigned int option : {50149u, 50206u}) {
        OptionMap defaults = {{50149, _variant_t(true)}};
        defaults[option] = _variant_t("a lot");
        try {
            Run("x", {}, defaults);
            ADD_FAILURE() << "no exception for " << option;
        } catch (const qxutils::QXException& failure) {
            EXPECT_EQ(failure.what(),
                      "Query option " + std::to_string(option) + " has a value of a wrong type");
        }
    }
    EXPECT_TRUE(server.Executed().empty());
}

TEST_F(OracleHandlerTest, FailureOfTheOutputCommandEndsTheRun) {
    ExpectFailure(Disable);
    EXPECT_THROW(Run("select 1 from dual"), Errors);
    ExpectFailure("BEGIN DBMS_OUTPUT.ENABLE; END;");
    EXPECT_THROW(Run("select 1 from dual", {}, {{50149, _variant_t(true)}}), Errors);
}

TEST_F(OracleHandlerTest, OutputCommandIsSentWhenObjectErrorsAreFetchedAndWhenExplaining) {
    request.SetFetchObjectErrors(true);
    server.Expect("BEGIN DBMS_OUTPUT.ENABLE; END;");
    server.Expect("x");
    EXPECT_TRUE(Run("x", {}, {{50149, _variant_t(true)}}));
    request.SetFetchObjectErrors(false);
    request.SetDoExplainPlan(true);
    server.SetVersion(8.17);
    server.Expect("BEGIN DBMS_OUTPUT.ENABLE; END;");
    ExpectGoodPlanTable();
    server.Expect(ExplainText("x"));
    server.Expect(PlanText());
    EXPECT_TRUE(Run("x", {}, {{50149, _variant_t(true)}}));
}

// Settings of the request.

TEST_F(OracleHandlerTest, LobStreamSizeComesFromTheOptionsThenTheDefaults) {
    const struct {
        OptionMap defaults;
        OptionMap options;
        int size;
    } cases[] = {
        {{}, {}, 256},
        {{{50331, _variant_t(100L)}}, {}, 100},
        {{}, {{50331, _variant_t(200L)}}, 200},
        {{{50331, _variant_t(100L)}}, {{50331, _variant_t(200)}}, 200},
        {{{50331, _variant_t(100L)}}, {{50331, _variant_t(0L)}}, 0},
        {{{50331, _variant_t(100L)}}, {{50147, _variant_t(1L)}}, 100},
        {{{50331, _variant_t("77")}}, {}, 77},
    };
    for (const auto& one : cases) {
        server.Expect(Disable);
        server.Expect("x");
        EXPECT_TRUE(Run("x", one.options, one.defaults));
        EXPECT_EQ(request.GetLobStreamSize(), one.size);
    }
    EXPECT_THROW(Run("x", {{50331, _variant_t("big")}}), qxutils::QXException);
}

TEST_F(OracleHandlerTest, LimitsComeFromTheCurrentOptions) {
    server.Expect(Disable);
    server.Expect("x");
    EXPECT_TRUE(Run("x", {{50313, _variant_t(10L)}, {50147, _variant_t(3L)}, {50385, _variant_t(true)}},
                    {{50313, _variant_t(99L)}}));
    EXPECT_EQ(request.GetMaxRowCount(), 10);
    EXPECT_EQ(request.GetMaxErrorCount(), 3);
    EXPECT_TRUE(request.GetUseGenericParser());  // of no meaning here
    server.Expect(Disable);
    server.Expect("x");
    EXPECT_TRUE(Run("x", {{50313, _variant_t(11)}}));
    EXPECT_EQ(request.GetMaxRowCount(), 11);
    EXPECT_EQ(request.GetMaxErrorCount(), 3);
    EXPECT_THROW(Run("x", {{50313, _variant_t("few")}}), qxutils::QXException);
    EXPECT_THROW(Run("x", {{50147, _variant_t("few")}}), qxutils::QXException);
}

TEST_F(OracleHandlerTest, EmptyOptionsTakeTheLimitsAwayAndSendNothing) {
    request.SetMaxRowCount(10);
    request.SetMaxErrorCount(3);
    server.Expect(Disable);
    server.Expect("x");
    EXPECT_TRUE(
        Run("x", {}, {{50287, _variant_t(true)}, {50313, _variant_t(9L)}, {50306, _variant_t(true)}}));
    EXPECT_EQ(request.GetMaxRowCount(), 0);
    EXPECT_EQ(request.GetMaxErrorCount(), 0);
}

TEST_F(OracleHandlerTest, SessionOptionsOfOtherServersSendNothingAheadOfTheRun) {
    qxdb::Connection connection = server.Connect();
    handler.SetOptionsIDSMap(connection);
    handler.ExecuteOptions(connection, {{50120, _variant_t(true)}, {50287, _variant_t(true)}});
    handler.ResetOptions(connection, {{50120, _variant_t(true)}});
    handler.SetOptions(connection, {}, {{50120, _variant_t(true)}});
    EXPECT_TRUE(server.Executed().empty());
}

TEST_F(OracleHandlerTest, LimitsStayWhileExplainingAndFetchingObjectErrors) {
    qxdb::Connection connection = server.Connect();
    request.SetMaxRowCount(10);
    request.SetMaxErrorCount(3);
    const OptionMap options = {{50313, _variant_t(1L)}, {50147, _variant_t(1L)}};
    request.SetDoExplainPlan(true);
    handler.SetOptions(connection, options, options);
    handler.SetOptions(connection, options, {});
    request.SetDoExplainPlan(false);
    request.SetFetchObjectErrors(true);
    handler.SetOptions(connection, options, options);
    handler.SetOptions(connection, options, {});
    EXPECT_EQ(request.GetMaxRowCount(), 10);
    EXPECT_EQ(request.GetMaxErrorCount(), 3);
}

// Statistics.

const char* const Counters =
    ", S.VALUE FROM SYS.V_$STATNAME N, SYS.V_$MYSTAT S WHERE N.STATISTIC#=S.STATISTIC# AND NAME IN (";

std::string Statistics(const std::string& heading, const std::string& names) {
    return "SELECT N.NAME" + heading + Counters + names + ") ORDER BY N.NAME";
}

const std::string networkQuery =
    Statistics(" \"Network Activity\"",
               "'bytes sent via SQL*Net to client','bytes received via SQL*Net from client', "
               "'SQL*Net roundtrips to/from client'");
const std::string sortQuery = Statistics(" \"Sort Activity\"",
                                         "'table fetch continued row','sorts (memory)','sorts "
                                         "(disk)','sorts(rows)','rows processed'");
const std::string ioNames =
    "'recursive calls','db block gets','consistent gets','consistent changes','physical reads',"
    "'physical writes','redo size'";
const std::string indexNames =
    "'index fast full scans (direct read)','index fast full scans (full)',"
    "'index fast full scans (rowid ranges)'";
const std::string parseNames =
    "'parse count (hard)','parse count (total)','parse time cpu','parse time elapsed'";
const std::string tableQuery =
    Statistics(" \"Table Activity\"",
               "'table scans (direct read)','table scans (cache partitions)','table scans (long tables)',"
               "'table scans (rowid ranges)','table scans (short tables)'");
const std::string osQuery =
    Statistics(" \"OS Activity\"", "'OS Page faults','OS Swaps','OS System time used','OS User time used'");
const std::string waitQuery =
    Statistics(" \"Wait Activity\"",
               "'application wait time','cluster wait time','concurrency wait time','enqueue waits',"
               "'redo log space wait time','user I/O wait time'");
const std::string before10Io = Statistics(" \"I/O Activity\"", ioNames);
const std::string from10Io = Statistics(" \"I/O Activity\"", ioNames + ",'user calls'");
const std::string before10Index = Statistics(" \"Index Activity\"", indexNames);
const std::string from10Index = Statistics("", indexNames + ",'index fetch by key'");
const std::string before10Parse = Statistics(" \"Parse Activity\"", parseNames);
const std::string from10Parse = Statistics(" \"Parse Activity\"", parseNames + ",'parse count (failures)'");

const OptionMap allStatistics = {{50287, _variant_t(true)}, {50288, _variant_t(true)},
                                 {50289, _variant_t(true)}, {50448, _variant_t(true)},
                                 {50449, _variant_t(true)}, {50450, _variant_t(true)},
                                 {50451, _variant_t(true)}, {50452, _variant_t(true)}};

TEST_F(OracleHandlerTest, StatisticsRunBehindTheStatementOneResultSetEach) {
    const struct {
        double version;
        Lines queries;
    } cases[] = {
        {8.17, {networkQuery, before10Io, sortQuery, before10Index, before10Parse, tableQuery}},
        {std::nextafter(10.0, 0.0),
         {networkQuery, before10Io, sortQuery, before10Index, before10Parse, tableQuery}},
        {10.0, {networkQuery, from10Io, sortQuery, from10Index, from10Parse, tableQuery, osQuery, waitQuery}},
        {std::nextafter(10.0, 11.0),
         {networkQuery, from10Io, sortQuery, from10Index, from10Parse, tableQuery, osQuery, waitQuery}},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.version);
        request.ClearStorage();
        server.SetVersion(one.version);
        server.Expect(Disable);
        server.Expect("x").Returns(Rows({IntColumn("X")}, {{1}, {2}}));
        Lines sets = {"0:2"};
        for (const std::string& query : one.queries) {
            server.Expect(query).Returns(Rows({TextColumn("A"), IntColumn("VALUE")}, {{"a", 1}}));
            sets.push_back("6:1");
        }
        EXPECT_TRUE(Run("x", allStatistics));
        EXPECT_EQ(Sets(), sets);
        server.Verify();
    }
}

TEST_F(OracleHandlerTest, StatisticsRunOnlyWhereAskedForByATrueFlag) {
    server.SetVersion(10.0);
    server.Expect(Disable);
    server.Expect("x");
    server.Expect(sortQuery);
    EXPECT_TRUE(Run("x",
                    {{50287, _variant_t(false)},
                     {50288, _variant_t(1L)},
                     {50289, _variant_t(true)},
                     {50306, _variant_t(1L)},
                     {50448, _variant_t("true")},
                     {50449, _variant_t(1.0)},
                     {50450, _variant_t()},
                     {60000, _variant_t(true)}},  // no such option
                    {{50452, _variant_t(true)}}));
}

TEST_F(OracleHandlerTest, OptionWithoutARowOnTheVersionStaysSilent) {
    server.SetVersion(9.2);
    server.Expect(Disable);
    server.Expect("x");
    EXPECT_TRUE(Run("x", {{50451, _variant_t(true)}, {50452, _variant_t(true)}}));
}

const std::string timeBefore = "SELECT 'Before' \"Execution Information\", SYSDATE \"VALUE\" FROM DUAL";
const std::string timeAfter = "SELECT 'After' \"Execution Information\", SYSDATE \"VALUE\" FROM DUAL";
const std::string cpuQuery =
    "SELECT N.NAME \"Execution Information\", S.VALUE FROM SYS.V_$STATNAME N, SYS.V_$MYSTAT S WHERE "
    "N.STATISTIC#=S.STATISTIC# AND NAME IN ('CPU used by this session') ORDER BY N.NAME";

TEST_F(OracleHandlerTest, ExecutionInformationRunsBeforeAndAfter) {
    server.SetVersion(9.2);
    const Result one = Rows({TextColumn("Execution Information"), TextColumn("VALUE")}, {{"a", "b"}});
    server.Expect(timeBefore).Returns(one);
    server.Expect(Disable);
    server.Expect("x").Returns(Rows({IntColumn("X")}, {}));
    server.Expect(sortQuery).Returns(one);
    server.Expect(timeAfter).Returns(one);
    server.Expect(cpuQuery).Returns(one);
    EXPECT_TRUE(Run("x", {{50306, _variant_t(true)}, {50289, _variant_t(true)}}));
    EXPECT_EQ(Sets(), (Lines{"6:1", "0:0", "6:1", "6:1", "6:1"}));
}

TEST_F(OracleHandlerTest, NoExecutionInformationUnlessOn) {
    server.Expect(Disable);
    server.Expect("x");
    EXPECT_TRUE(Run("x", {{50306, _variant_t(false)}}));
}

TEST_F(OracleHandlerTest, FailingStatisticsEndTheRun) {
    ExpectFailure(timeBefore);
    EXPECT_THROW(Run("x", {{50306, _variant_t(true)}}), Errors);
    server.Expect(Disable);
    server.Expect("x");
    ExpectFailure(networkQuery);
    EXPECT_THROW(Run("x", {{50287, _variant_t(true)}, {50289, _variant_t(true)}}), Errors);
}

TEST_F(OracleHandlerTest, CancelAmongTheStatisticsSendsNothingMore) {
    server.Expect(Disable);
    server.Expect("x");
    server.Expect(networkQuery)
        .Returns(Rows({TextColumn("A"), IntColumn("VALUE")}, {{"a", 1}, {"b", 2}}).AtRow(1, [this] {
            request.Cancel();
        }));
    EXPECT_THROW(Run("x", {{50287, _variant_t(true)}, {50289, _variant_t(true)}}), CancelledException);
    EXPECT_EQ(server.Executed().back(), networkQuery);
}

TEST_F(OracleHandlerTest, CancelInTheOutputCommandSendsNothingMore) {
    server.Expect(Disable).Does([this] { request.Cancel(); });
    EXPECT_THROW(Run("x"), CancelledException);
    EXPECT_EQ(server.Executed(), (Lines{Disable}));
}

TEST_F(OracleHandlerTest, EveryResultOfAStatisticIsStoredUntilOneFails) {
    server.Expect(Disable);
    server.Expect("x").Returns(Rows({IntColumn("X")}, {}));
    server.Expect(networkQuery)
        .Returns(Rows({IntColumn("A")}, {{1}}))
        .Returns(Rows({IntColumn("B")}, {{2}, {3}}).FailsAtRow(1, MakeErrors("lost")))
        .Returns(Rows({IntColumn("C")}, {{4}}));
    server.Expect(sortQuery).Returns(Rows({IntColumn("D")}, {{5}}));
    EXPECT_TRUE(Run("x", {{50287, _variant_t(true)}, {50289, _variant_t(true)}}));
    EXPECT_EQ(Sets(), (Lines{"0:0", "6:1", "6:1", "6:1"}));
    EXPECT_EQ(Column(3), (Lines{"5"}));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError lost"}));
}

}  // namespace
}  // namespace qxtest
