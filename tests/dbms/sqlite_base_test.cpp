// The base handler on SQLite.
#include <typeinfo>

#include "drivers/sqlite/sqlite_driver.h"
#include "platform/qxdb/manager.h"
#include "platform/qxutils/qx_exception.h"
#include "real_server_fixture.h"

namespace qxtest {
namespace {

using qxdbsqlengine::CancelledException;
using qxdbsqlengine::DBMSHandler;

qxdb::Connection OpenMemory() {
    qxdrivers::RegisterSQLite();
    return qxdb::Manager::Instance().Bind(qxdb::DBTYPE_SQLITE, ":memory:", "", "", "sqlite", "").Connect();
}

class SQLiteBaseTest : public RealServerTest {
  protected:
    SQLiteBaseTest() : RealServerTest(qxdb::DBTYPE_SQLITE, OpenMemory()) {
        RunAll(connection, "create table emp(id integer, name text)");
        RunAll(connection, "insert into emp values(1, 'Ann'), (2, 'Bob'), (3, 'Cid')");
    }
};

TEST_F(SQLiteBaseTest, RunsOnTheBase) {
    const auto created = DBMSHandler::Create(request, qxdb::DBTYPE_SQLITE);
    const DBMSHandler& made = *created;
    EXPECT_TRUE(typeid(made) == typeid(DBMSHandler));
}

TEST_F(SQLiteBaseTest, OptionsOfEveryServerAreHeeded) {
    request.SetMaxErrorCount(9);
    EXPECT_TRUE(Run("select name from emp", {{50147, _variant_t(4L)}, {50385, _variant_t(true)}}));
    EXPECT_EQ(Column(0), (Lines{"Ann", "Bob", "Cid"}));
    EXPECT_EQ(request.GetMaxErrorCount(), 4);
    EXPECT_FALSE(request.GetUseGenericParser());
    // Unknown ids and values of no option's type say nothing to the server.
    EXPECT_TRUE(Run("select name from emp", {{60000, _variant_t(true)}, {50120, _variant_t(1.5)}}));
    EXPECT_EQ(Sets(), (Lines{"0:3"}));
    EXPECT_EQ(request.GetMaxErrorCount(), 4);
    EXPECT_TRUE(Run("select name from emp", {}, {{50147, _variant_t(5L)}}));
    EXPECT_EQ(request.GetMaxErrorCount(), 0);
}

TEST_F(SQLiteBaseTest, LimitOfRowsHoldsWhileThereAreOptions) {
    request.SetMaxRowCount(2);
    EXPECT_TRUE(Run("select name from emp", {{50147, _variant_t(0L)}}));
    EXPECT_EQ(Column(0), (Lines{"Ann", "Bob"}));
    EXPECT_TRUE(Run("select name from emp"));
    EXPECT_EQ(Column(0), (Lines{"Ann", "Bob", "Cid"}));
}

TEST_F(SQLiteBaseTest, OptionsOfAWrongTypeAreNamed) {
    for (const unsigned int option : {50147u, 50385u}) {
        try {
            Run("select name from emp", {{option, _variant_t("some")}});
            ADD_FAILURE() << "no exception for " << option;
        } catch (const qxutils::QXException& failure) {
            EXPECT_EQ(failure.what(),
                      "Query option " + std::to_string(option) + " has a value of a wrong type");
        }
        EXPECT_EQ(Sets(), Lines());
    }
}

TEST_F(SQLiteBaseTest, OptionOfAnotherServerIsRefusedByTheDatabase) {
    EXPECT_THROW(Run("delete from emp", {{50120, _variant_t(true)}}), Errors);
    EXPECT_EQ(Ask("select count(*) from emp"), "3");
    EXPECT_TRUE(Run("select name from emp"));
    EXPECT_EQ(Sets(), (Lines{"0:3"}));
}

TEST_F(SQLiteBaseTest, ThereAreNoPlansAndStatementsRunAsTheyAre) {
    request.SetDoExplainPlan(true);
    EXPECT_TRUE(Run("select name from emp", {{50147, _variant_t(4L)}, {50120, _variant_t(true)}}));
    EXPECT_EQ(Sets(), (Lines{"0:3"}));
    EXPECT_EQ(request.GetSQL(), "select name from emp");
    EXPECT_EQ(request.GetMaxErrorCount(), 0);  // options have no say while explaining
    EXPECT_TRUE(Run("begin"));
    EXPECT_EQ(Sets(), Lines());  // and nothing is said about it
    EXPECT_TRUE(Run("commit"));
    // The database's own words for a plan are a statement like any other.
    EXPECT_TRUE(Run("explain query plan select name from emp"));
    EXPECT_EQ(Sets(), (Lines{"0:1"}));
    EXPECT_NE(Column(0, 3).at(0).find("emp"), std::string::npos);
}

TEST_F(SQLiteBaseTest, ErrorsAreToldOnceAndSaved) {
    EXPECT_TRUE(Run("select salary from emp"));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError no such column: salary"}));
    EXPECT_EQ(Sets(), (Lines{"2:1"}));
    EXPECT_EQ(Column(0), (Lines{"no such column: salary"}));
    EXPECT_TRUE(Run("select count(*) from emp"));
    EXPECT_EQ(Column(0), (Lines{"3"}));
}

TEST_F(SQLiteBaseTest, ChangesAreCounted) {
    EXPECT_TRUE(Run("update emp set name = 'x' where id > 1"));
    EXPECT_EQ(Column(0), (Lines{"2 row(s) affected."}));
}

TEST_F(SQLiteBaseTest, CancelInTheRowsLeavesASessionThatGoesOn) {
    calls.OnLine([this](const std::string& line) {
        if (line == "OnResultSetBegin 0 0")
            request.Cancel();
    });
    const std::string endless =
        "with recursive n(i) as (select 1 union all select i + 1 from n) select i from n";
    EXPECT_THROW(Run(endless), CancelledException);
    EXPECT_EQ(calls.LinesOf("OnResultSetEnd"), (Lines{"OnResultSetEnd 0"}));
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
    EXPECT_EQ(Ask("select count(*) from emp"), "3");
}

}  // namespace
}  // namespace qxtest
