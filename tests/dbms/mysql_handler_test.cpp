#include "dbms/mysql_handler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <typeinfo>

#include "engine/cancellation.h"
#include "family_fixture.h"
#include "platform/qxutils/qx_exception.h"

namespace qxtest {
namespace {

using qxdbsqlengine::CancelledException;
using qxdbsqlengine::DBMSHandler;
using qxdbsqlengine::MySQLHandler;

class OpenMySQLHandler : public MySQLHandler {
  public:
    using MySQLHandler::MySQLHandler;
    using MySQLHandler::ParseDelimString;
};

class MySQLHandlerTest : public FamilyTest<MySQLHandler, qxdb::DBTYPE_MYSQL> {
  protected:
    // Expects `sql` to be all that the options send ahead of a run.
    void ExpectSent(const Lines& sql, const OptionMap& options, const OptionMap& defaults = {}) {
        for (const std::string& one : sql)
            server.Expect(one);
        server.Expect("select 1");
        EXPECT_TRUE(Run("select 1", options, defaults));
        server.Verify();
    }
};

TEST_F(MySQLHandlerTest, CreateGivesThisHandler) {
    const auto created = DBMSHandler::Create(request, qxdb::DBTYPE_MYSQL);
    ASSERT_NE(created, nullptr);
    const DBMSHandler& made = *created;
    EXPECT_TRUE(typeid(made) == typeid(MySQLHandler));
}

struct VariableCase {
    unsigned int option;
    double version;  // 0: any
    _variant_t value;
    const char* sql;
};

const VariableCase variableCases[] = {
    {50403, 0, _variant_t(true), "set sql_big_selects=1"},
    {50404, 0, _variant_t(false), "set sql_log_off=0"},
    {50405, 0, _variant_t("DEFAULT"), "set sql_select_limit=DEFAULT"},
    {50423, 0, _variant_t(true), "set sql_big_tables=1"},
    {50406, 3.2211, _variant_t(true), "set sql_warnings=1"},
    {50407, 3.2223, _variant_t(false), "set sql_safe_updates=0"},
    {50408, 3.225, _variant_t(true), "set sql_log_update=1"},
    {50409, 3.225, _variant_t(true), "set sql_low_priority_updates=1"},
    {50410, 3.2313, _variant_t(false), "set sql_buffer_result=0"},
    {50411, 3.2316, _variant_t(true), "set sql_log_bin=1"},
    {50412, 3.2326, _variant_t(true), "set sql_quote_show_create=1"},
    {50413, 3.235, _variant_t(1000L), "set sql_max_join_size=1000"},
    {50414, 3.235, _variant_t("READ COMMITTED"), "set transaction isolation level READ COMMITTED"},
    {50415, 3.2352, _variant_t(false), "set sql_auto_is_null=0"},
    {50416, 3.2352, _variant_t(true), "set unique_checks=1"},
    {50402, 3.237, _variant_t(28800, VT_INT), "set interactive_timeout=28800"},
    {50418, 4.0, _variant_t(true), "set big_tables=1"},
    {50419, 4.01, _variant_t("DEMAND"), "set query_cache_type=DEMAND"},
    {50420, 4.03, _variant_t(17L), "set insert_id=17"},
    {50421, 4.03, _variant_t(18L), "set last_insert_id=18"},
    {50422, 4.11, _variant_t("utf8"), "set character_set_client=utf8"},
};

TEST_F(MySQLHandlerTest, EachVariableIsSentFromItsVersionOn) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const VariableCase& one : variableCases) {
        SCOPED_TRACE(one.option);
        if (one.version > 0) {
            server.SetVersion(std::nextafter(one.version, 0.0));
            ExpectSent({}, {{one.option, one.value}});
        }
        for (const double version : {one.version, std::nextafter(one.version, infinity), 10.116}) {
            server.SetVersion(version);
            ExpectSent({one.sql}, {{one.option, one.value}});
        }
    }
}

TEST_F(MySQLHandlerTest, VariablesGoOneByOneInOrderOfTheirIds) {
    OptionMap options;
    for (const VariableCase& one : variableCases)
        options[one.option] = one.value;
    server.SetVersion(5.0);
    ExpectSent({"set interactive_timeout=28800",
                "set sql_big_selects=1",
                "set sql_log_off=0",
                "set sql_select_limit=DEFAULT",
                "set sql_warnings=1",
                "set sql_safe_updates=0",
                "set sql_log_update=1",
                "set sql_low_priority_updates=1",
                "set sql_buffer_result=0",
                "set sql_log_bin=1",
                "set sql_quote_show_create=1",
                "set sql_max_join_size=1000",
                "set transaction isolation level READ COMMITTED",
                "set sql_auto_is_null=0",
                "set unique_checks=1",
                "set big_tables=1",
                "set query_cache_type=DEMAND",
                "set insert_id=17",
                "set last_insert_id=18",
                "set character_set_client=utf8",
                "set sql_big_tables=1"},
               options);
}

TEST_F(MySQLHandlerTest, FlagsAreOneAndZero) {
    handler.SetOptionsIDSMap(server.Connect());
    EXPECT_EQ(handler.GetResultsFromBoolOption(true, 2820), "set sql_big_selects=1");
    EXPECT_EQ(handler.GetResultsFromBoolOption(false, 2820), "set sql_big_selects=0");
}

TEST_F(MySQLHandlerTest, NoOptionSetsAutocommit) {
    server.SetVersion(100.0);
    handler.SetOptionsIDSMap(server.Connect());
    for (const auto& entry : handler.optionRows)
        EXPECT_NE(entry.second, 2834u) << entry.first;
    ExpectSent({}, {{50417, _variant_t(true)}});
}

TEST_F(MySQLHandlerTest, ValuesOfAnotherTypeGoAsTheyRead) {
    server.SetVersion(5.0);
    ExpectSent({"set interactive_timeout=1", "set sql_big_selects=7", "set sql_select_limit=100",
                "set sql_max_join_size=500"},
               {{50402, _variant_t(true)},
                {50403, _variant_t(7L)},
                {50405, _variant_t(100L)},
                {50406, _variant_t(1.5)},  // no type of an option
                {50407, _variant_t()},
                {50413, _variant_t("500")},
                {50420, _variant_t("last")}});  // no number
}

TEST_F(MySQLHandlerTest, CurrentOptionsComeBeforeDefaultsAndTheSessionIsNotResetAfterTheRun) {
    ExpectSent({"set sql_log_off=1"}, {{50404, _variant_t(true)}},
               {{50403, _variant_t(true)}, {50404, _variant_t(false)}});
}

TEST_F(MySQLHandlerTest, WithoutOptionsTheDefaultsAreSentAndTheLimitsGo) {
    request.SetMaxRowCount(5);
    request.SetMaxErrorCount(6);
    ExpectSent({"set sql_big_selects=0"}, {},
               {{50403, _variant_t(false)}, {50424, _variant_t("set names utf8")}, {50463, _variant_t(9L)}});
    EXPECT_EQ(request.GetMaxRowCount(), 0);
    EXPECT_EQ(request.GetMaxErrorCount(), 0);
}

TEST_F(MySQLHandlerTest, LimitsOfTheRequest) {
    ExpectSent({}, {{50463, _variant_t(12L)}, {50147, _variant_t(3L)}, {50385, _variant_t(true)}});
    EXPECT_EQ(request.GetMaxRowCount(), 12);
    EXPECT_EQ(request.GetMaxErrorCount(), 3);
    EXPECT_FALSE(request.GetUseGenericParser());
    ExpectSent({}, {{50463, _variant_t("4")}});
    EXPECT_EQ(request.GetMaxRowCount(), 4);
    ExpectSent({}, {{50147, _variant_t(2L)}});
    EXPECT_EQ(request.GetMaxRowCount(), 4);  // without the option it stays
}

TEST_F(MySQLHandlerTest, RowLimitHolds) {
    server.Expect("select x").Returns(Rows({IntColumn("X")}, {{1}, {2}, {3}}));
    EXPECT_TRUE(Run("select x", {{50463, _variant_t(2L)}}));
    EXPECT_EQ(Column(0), (Lines{"1", "2"}));
}

struct CommandsCase {
    const char* commands;
    Lines sent;
};

TEST_F(MySQLHandlerTest, StartUpCommandsAreCutAtSemicolons) {
    const CommandsCase cases[] = {
        {"", {}},
        {"set names utf8", {"set names utf8"}},
        {"a;b", {"a", "b"}},
        {"a;b;", {"a", "b"}},
        {"a;", {"a"}},
        {"a;b;c", {"a", "b", "c"}},
        {" a ; b ", {" a ", " b "}},
        // an empty command ends the cutting, what is left goes in one piece
        {";", {}},
        {";a;b", {"a;b"}},
        {"a;;b;c", {"a", "b;c"}},
        {"a;;", {"a"}},
        {"a;;;", {"a", ";"}},
    };
    for (const CommandsCase& one : cases) {
        SCOPED_TRACE(one.commands);
        ExpectSent(one.sent, {{50424, _variant_t(one.commands)}});
    }
}

TEST_F(MySQLHandlerTest, StartUpCommandsComeBehindTheVariables) {
    request.SetMaxRowCount(5);
    ExpectSent(
        {"set sql_big_selects=1", "set names utf8", "set @a=1"},
        {{50424, _variant_t("set names utf8;set @a=1")}, {50403, _variant_t(true)}, {50463, _variant_t(8L)}});
    EXPECT_EQ(request.GetMaxRowCount(), 8);
}

TEST_F(MySQLHandlerTest, RowsOfStartUpCommandsAreDropped) {
    server.Expect("select 2").Returns(Rows({IntColumn("X")}, {{2}})).Returns(RowCount(1));
    server.Expect("select 1").Returns(Rows({IntColumn("X")}, {{1}}));
    EXPECT_TRUE(Run("select 1", {{50424, _variant_t("select 2")}}));
    EXPECT_EQ(Sets(), (Lines{"0:1"}));
}

TEST_F(MySQLHandlerTest, FailingStartUpCommandEndsTheRun) {
    server.Expect("a");
    ExpectFailure("b");
    EXPECT_THROW(Run("select 1", {{50424, _variant_t("a;b;c")}}), Errors);
    EXPECT_EQ(server.Executed(), (Lines{"a", "b"}));
}

TEST_F(MySQLHandlerTest, FailingVariableEndsTheRun) {
    ExpectFailure("set sql_big_selects=1");
    EXPECT_THROW(Run("select 1", {{50403, _variant_t(true)}, {50424, _variant_t("a")}}), Errors);
    EXPECT_EQ(server.Executed(), (Lines{"set sql_big_selects=1"}));
}

TEST_F(MySQLHandlerTest, OptionsOfTheHandlerWithValuesOfAWrongType) {
    const struct {
        unsigned int option;
        _variant_t value;
    } cases[] = {{50424, _variant_t(true)},
                 {50424, _variant_t(5L)},
                 {50463, _variant_t("many")},
                 {50147, _variant_t("")}};
    for (const auto& one : cases) {
        try {
            Run("select 1", {{one.option, one.value}});
            ADD_FAILURE() << "no exception for " << one.option;
        } catch (const qxutils::QXException& failure) {
            EXPECT_EQ(failure.what(),
                      "Query option " + std::to_string(one.option) + " has a value of a wrong type");
        }
    }
    EXPECT_TRUE(server.Executed().empty());
    ExpectSent({}, {{50424, _variant_t()}});  // not set: an empty list
}

TEST_F(MySQLHandlerTest, ExplainsByAPrefix) {
    request.SetDoExplainPlan(true);
    server.Expect("EXPLAIN select * from emp")
        .Returns(Rows({IntColumn("id"), TextColumn("table")}, {{1, "emp"}}));
    EXPECT_TRUE(Run("select * from emp"));
    EXPECT_EQ(Sets(), (Lines{"0:1"}));
    EXPECT_EQ(Column(0, 1), (Lines{"emp"}));
    EXPECT_EQ(request.GetSQL(), "EXPLAIN select * from emp");
    EXPECT_TRUE(request.GetDoExplainPlan());
}

TEST_F(MySQLHandlerTest, ExplainSendsNoVariablesButTheStartUpCommands) {
    request.SetDoExplainPlan(true);
    request.SetMaxErrorCount(6);
    server.Expect("use shop");
    server.Expect("EXPLAIN select 1");
    EXPECT_TRUE(Run("select 1", {{50403, _variant_t(true)},
                                 {50424, _variant_t("use shop")},
                                 {50463, _variant_t(9L)},
                                 {50147, _variant_t(2L)}}));
    EXPECT_EQ(request.GetMaxRowCount(), 9);
    EXPECT_EQ(request.GetMaxErrorCount(), 6);
    server.Expect("EXPLAIN select 2");
    EXPECT_TRUE(Run("select 2", {}, {{50403, _variant_t(true)}}));
    EXPECT_EQ(request.GetMaxErrorCount(), 6);
}

TEST_F(MySQLHandlerTest, ExplainKeepsTheTypeOfTheRequest) {
    request.SetDoExplainPlan(true);
    request.SetSQL("p", SQLRequest::RequestProcedure, false, false);
    qxdb::Connection connection = server.Connect();
    handler.PreExecuteBatch(connection);
    EXPECT_EQ(request.GetSQL(), "EXPLAIN p");
    EXPECT_EQ(request.GetRequestType(), SQLRequest::RequestProcedure);
}

TEST_F(MySQLHandlerTest, ExplainKeepsTheFileOfTheScript) {
    request.SetDoExplainPlan(true);
    request.SetSQL("script.sql", SQLRequest::RequestScript, true, false);
    qxdb::Connection connection = server.Connect();
    handler.PreExecuteBatch(connection);
    EXPECT_EQ(request.GetFileName(), "script.sql");
    EXPECT_EQ(request.GetRequestType(), SQLRequest::RequestScript);
}

TEST_F(MySQLHandlerTest, StatementStaysAsItIsWithoutExplain) {
    ExpectSent({}, {});
    EXPECT_EQ(request.GetSQL(), "select 1");
}

TEST_F(MySQLHandlerTest, FailedExplainIsReportedAsAnError) {
    request.SetDoExplainPlan(true);
    ExpectFailure("EXPLAIN drop table t");
    EXPECT_TRUE(Run("drop table t"));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError no such table"}));
}

TEST_F(MySQLHandlerTest, CancelAmongTheOptionsSendsNothingMore) {
    server.Expect("set sql_big_selects=1").Does([this] { request.Cancel(); });
    EXPECT_THROW(Run("select 1", {{50403, _variant_t(true)}, {50404, _variant_t(true)}}), CancelledException);
    EXPECT_EQ(server.Executed(), (Lines{"set sql_big_selects=1"}));
}

TEST_F(MySQLHandlerTest, CancelAmongTheStartUpCommandsSendsNothingMore) {
    server.Expect("a").Does([this] { request.Cancel(); });
    EXPECT_THROW(Run("select 1", {{50424, _variant_t("a;b")}}), CancelledException);
    EXPECT_EQ(server.Executed(), (Lines{"a"}));
}

TEST(MySQLParseDelimStringTest, CutsTheFirstPiece) {
    const SmartPtr<DataStorage> store(new DataStorage(DataStorage::CreateResultsStorage(false)));
    SQLRequest request(SmartPtr<qxdbsqlengine::NotificationCallbacks>(),
                       SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(), store, nullptr, "");
    OpenMySQLHandler handler(request);
    const struct {
        const char* text;
        const char* delimiter;
        const char* part;
        const char* rest;
    } cases[] = {
        {"a;b;c", ";", "a", "b;c"}, {"a;", ";", "a", ""},
        {";a", ";", "", "a"},       {"abc", ";", "", "abc"},
        {"", ";", "", ""},          {"a--b--c", "--", "a", "b--c"},
        {"a-b", "--", "", "a-b"},   {"one;;two", ";;", "one", "two"},
    };
    for (const auto& one : cases) {
        std::string rest = one.text;
        EXPECT_EQ(handler.ParseDelimString(rest, one.delimiter), one.part) << one.text;
        EXPECT_EQ(rest, one.rest) << one.text;
    }
}

}  // namespace
}  // namespace qxtest
