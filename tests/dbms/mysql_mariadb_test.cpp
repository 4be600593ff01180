// The MySQL handler on MariaDB, whose parser and variables check the texts.
#include <algorithm>
#include <typeinfo>

#include "dbms/mysql_handler.h"
#include "dbms/option_table.h"
#include "drivers/odbc_support.h"
#include "platform/qxutils/qx_exception.h"
#include "real_server_fixture.h"

namespace qxtest {
namespace {

using qxdbsqlengine::CancelledException;
using qxdbsqlengine::DBMSHandler;
using qxdbsqlengine::MySQLHandler;

class MySQLOnMariaDBTest : public RealServerTest {
  protected:
    MySQLOnMariaDBTest() : RealServerTest(qxdb::DBTYPE_MYSQL, OpenMariaDB()) {
        RunAll(connection, "create temporary table emp(id integer, name varchar(10))");
        RunAll(connection, "insert into emp values(1, 'Ann'), (2, 'Bob'), (3, 'Cid')");
    }
    // The session's own value of a variable; "nothing" when the server does not know it.
    std::string VariableOf(const std::string& name) {
        return Ask("select session_value from information_schema.system_variables where variable_name = '" +
                   name + "'");
    }
};

TEST_F(MySQLOnMariaDBTest, TypeOfTheServerGetsThisHandler) {
    const auto created = DBMSHandler::Create(request, type);
    const DBMSHandler& made = *created;
    EXPECT_TRUE(typeid(made) == typeid(MySQLHandler));
    EXPECT_GE(connection.GetServerVersionNumber(), 4.11);  // so that every option is sent
}

struct VariableCase {
    unsigned int option;
    _variant_t value;
    const char* variable;
    const char* expected;
};

const VariableCase variableCases[] = {
    {50402, _variant_t(1234L), "interactive_timeout", "1234"},
    {50403, _variant_t(false), "sql_big_selects", "OFF"},
    {50403, _variant_t(true), "sql_big_selects", "ON"},
    {50404, _variant_t(true), "sql_log_off", "ON"},
    {50405, _variant_t("DEFAULT"), "sql_select_limit", "18446744073709551615"},
    {50406, _variant_t(true), "sql_warnings", "ON"},
    {50407, _variant_t(true), "sql_safe_updates", "ON"},
    {50408, _variant_t(true), "sql_log_update", ""},
    {50409, _variant_t(true), "sql_low_priority_updates", ""},
    {50410, _variant_t(true), "sql_buffer_result", "ON"},
    {50411, _variant_t(false), "sql_log_bin", "OFF"},
    {50412, _variant_t(false), "sql_quote_show_create", "OFF"},
    {50413, _variant_t(1000L), "sql_max_join_size", ""},
    {50415, _variant_t(true), "sql_auto_is_null", "ON"},
    {50416, _variant_t(false), "unique_checks", "OFF"},
    {50418, _variant_t(true), "big_tables", "ON"},
    {50419, _variant_t("DEMAND"), "query_cache_type", ""},
    {50420, _variant_t(17L), "insert_id", "17"},
    {50421, _variant_t(18L), "last_insert_id", "18"},
    {50422, _variant_t("latin1"), "character_set_client", "latin1"},
    {50423, _variant_t(true), "sql_big_tables", ""},
};

// The server takes each statement that names a variable it knows, and says of the others that it does not.
TEST_F(MySQLOnMariaDBTest, VariablesAreSet) {
    for (const VariableCase& one : variableCases) {
        SCOPED_TRACE(std::to_string(one.option) + " " + one.variable);
        const bool isKnown = VariableOf(one.variable) != "nothing";
        try {
            EXPECT_TRUE(Run("select 1", {{one.option, one.value}}));
            EXPECT_TRUE(isKnown);
            EXPECT_EQ(Column(0), (Lines{"1"}));
            if (std::string(one.expected) != "") {
                EXPECT_EQ(VariableOf(one.variable), one.expected);
            }
        } catch (const Errors& errors) {
            const std::string text = TextOf(errors);
            if (isKnown) {
                // A cache that was switched off when the server started can't be switched on.
                EXPECT_NE(text.find("Query cache"), std::string::npos) << text;
            } else {
                EXPECT_EQ(text, "Unknown system variable '" + std::string(one.variable) + "'");
            }
            EXPECT_EQ(Sets(), Lines());
        }
        RunAll(connection, "set sql_select_limit = default");
    }
}

TEST_F(MySQLOnMariaDBTest, EveryVariableOfTheTableIsTried) {
    Lines tried = {"50147", "50385", "50414", "50424", "50463"};  // tested by themselves
    for (const VariableCase& one : variableCases)
        tried.push_back(std::to_string(one.option));
    for (const qxdbsqlengine::OptionInfo& info :
         qxdbsqlengine::DescribeOptions(type, connection.GetServerVersionNumber()))
        EXPECT_NE(std::find(tried.begin(), tried.end(), std::to_string(info.option)), tried.end())
            << info.option;
}

TEST_F(MySQLOnMariaDBTest, IsolationIsSet) {
    for (const char* const level : {"READ UNCOMMITTED", "READ COMMITTED", "REPEATABLE READ", "SERIALIZABLE"})
        EXPECT_TRUE(Run("select 1", {{50414, _variant_t(level)}})) << level;
    EXPECT_THROW(Run("select 1", {{50414, _variant_t("HIGHEST")}}), Errors);
}

TEST_F(MySQLOnMariaDBTest, LimitOfSelectsCounts) {
    EXPECT_TRUE(Run("select name from emp order by id", {{50405, _variant_t(2L)}}));
    EXPECT_EQ(Column(0), (Lines{"Ann", "Bob"}));
    EXPECT_TRUE(Run("select name from emp order by id", {{50463, _variant_t(1L)}}));
    EXPECT_EQ(Column(0), (Lines{"Ann"}));
    EXPECT_TRUE(
        Run("select name from emp order by id", {{50405, _variant_t("DEFAULT")}, {50463, _variant_t(0L)}}));
    EXPECT_EQ(Column(0), (Lines{"Ann", "Bob", "Cid"}));
}

TEST_F(MySQLOnMariaDBTest, StartUpCommandsRunInTheSession) {
    EXPECT_TRUE(Run("select cast(@a as char(9)), @b", {{50424, _variant_t("set @a = 'x';set @b = 5")}}));
    EXPECT_EQ(Column(0, 0), (Lines{"x"}));
    EXPECT_EQ(Column(0, 1), (Lines{"5"}));
    EXPECT_EQ(Sets(), (Lines{"0:1"}));
    EXPECT_TRUE(Run("select cast(@a as char(9))", {{50424, _variant_t("select 1;set @a = 'y';")}}));
    EXPECT_EQ(Column(0), (Lines{"y"}));
    EXPECT_THROW(Run("select 1", {{50424, _variant_t("set @a = 'z';nonsense;set @a = 'never'")}}), Errors);
    EXPECT_EQ(Ask("select @a"), "z");
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
}

TEST_F(MySQLOnMariaDBTest, OptionThatIsRefusedLeavesAUsableSession) {
    EXPECT_THROW(Run("select 1", {{50422, _variant_t("klingon")}}), Errors);
    EXPECT_TRUE(Run("select 1"));
    EXPECT_EQ(Sets(), (Lines{"0:1"}));
}

TEST_F(MySQLOnMariaDBTest, SelectIsExplained) {
    request.SetDoExplainPlan(true);
    EXPECT_TRUE(Run("select name from emp where id = 2", {{50403, _variant_t(true)}}));
    EXPECT_EQ(Sets(), (Lines{"0:1"}));
    EXPECT_EQ(store->GetColumnLabel(0, 0), "id");
    EXPECT_EQ(store->GetColumnLabel(0, 2), "table");
    EXPECT_EQ(Column(0, 2), (Lines{"emp"}));
}

TEST_F(MySQLOnMariaDBTest, ExplainedDeleteDeletesNothing) {
    request.SetDoExplainPlan(true);
    EXPECT_TRUE(Run("delete from emp where id > 1"));
    EXPECT_EQ(Sets(), (Lines{"0:1"}));
    EXPECT_EQ(Ask("select count(*) from emp"), "3");
}

TEST_F(MySQLOnMariaDBTest, StatementWithoutAPlanIsAnError) {
    request.SetDoExplainPlan(true);
    EXPECT_TRUE(Run("drop temporary table emp"));
    EXPECT_EQ(calls.LinesOf("OnError").size(), 1u);
    EXPECT_EQ(Ask("select count(*) from emp"), "3");
}

TEST_F(MySQLOnMariaDBTest, WarningsAreToldAndSaved) {
    EXPECT_TRUE(Run("select 1 / 0"));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError Division by 0"}));
    EXPECT_EQ(Sets(), (Lines{"0:1", "2:1"}));
    EXPECT_EQ(Column(1), (Lines{"Division by 0"}));
}

TEST_F(MySQLOnMariaDBTest, WarningsOfSessionStatementsAreNotShown) {
    EXPECT_TRUE(Run("select name from emp", {{50424, _variant_t("drop table if exists not_there_at_all")}}));
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
    EXPECT_EQ(Sets(), (Lines{"0:3"}));
}

TEST_F(MySQLOnMariaDBTest, CancelAmongTheStartUpCommandsEndsTheRun) {
    request.Cancel();
    EXPECT_THROW(Run("select 1", {{50424, _variant_t("set @a = 'never'")}}), CancelledException);
    EXPECT_EQ(Ask("select @a"), "NULL");
}

}  // namespace
}  // namespace qxtest
