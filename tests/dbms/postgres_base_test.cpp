// The base handler on PostgreSQL.
#include <typeinfo>

#include "drivers/odbc_support.h"
#include "platform/qxutils/qx_exception.h"
#include "real_server_fixture.h"

namespace qxtest {
namespace {

using qxdbsqlengine::CancelledException;
using qxdbsqlengine::DBMSHandler;

class PostgresBaseTest : public RealServerTest {
  protected:
    PostgresBaseTest() : RealServerTest(qxdb::DBTYPE_OTHER, OpenPostgres()) {
        RunAll(connection, "create temporary table emp(id integer, name text)");
        RunAll(connection, "insert into emp values(1, 'Ann'), (2, 'Bob'), (3, 'Cid')");
    }
};

TEST_F(PostgresBaseTest, RunsOnTheBase) {
    const auto created = DBMSHandler::Create(request, qxdb::DBTYPE_OTHER);
    const DBMSHandler& made = *created;
    EXPECT_TRUE(typeid(made) == typeid(DBMSHandler));
}

TEST_F(PostgresBaseTest, OptionsOfEveryServerAreHeeded) {
    EXPECT_TRUE(Run("select name from emp", {{50147, _variant_t(4L)}, {50385, _variant_t(true)}}));
    EXPECT_EQ(Column(0), (Lines{"Ann", "Bob", "Cid"}));
    EXPECT_EQ(request.GetMaxErrorCount(), 4);
    EXPECT_FALSE(request.GetUseGenericParser());
    EXPECT_TRUE(Run("select name from emp", {{60000, _variant_t(true)}, {50120, _variant_t(1.5)}}));
    EXPECT_EQ(Sets(), (Lines{"0:3"}));
    EXPECT_TRUE(Run("select name from emp", {}, {{50147, _variant_t(5L)}}));
    EXPECT_EQ(request.GetMaxErrorCount(), 0);
}

TEST_F(PostgresBaseTest, OptionsOfAWrongTypeAreNamed) {
    for (const unsigned int option : {50147u, 50385u}) {
        try {
            Run("select name from emp", {{option, _variant_t("some")}});
            ADD_FAILURE() << "no exception for " << option;
        } catch (const qxutils::QXException& failure) {
            EXPECT_EQ(failure.what(),
                      "Query option " + std::to_string(option) + " has a value of a wrong type");
        }
    }
}

TEST_F(PostgresBaseTest, OptionOfAnotherServerIsRefusedByTheServer) {
    try {
        Run("delete from emp", {{50120, _variant_t(true)}});
        ADD_FAILURE() << "no failure";
    } catch (const Errors& errors) {
        EXPECT_NE(TextOf(errors).find("ON"), std::string::npos) << TextOf(errors);
    }
    EXPECT_EQ(Ask("select count(*) from emp"), "3");
    EXPECT_TRUE(Run("select name from emp"));
    EXPECT_EQ(Sets(), (Lines{"0:3"}));
}

TEST_F(PostgresBaseTest, NoticesAreToldAndSaved) {
    EXPECT_TRUE(Run("do $$ begin raise notice 'hello'; raise warning 'careful'; end $$"));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError NOTICE: hello", "OnError WARNING: careful"}));
    EXPECT_EQ(calls.LinesOf("OnMessage"), Lines());
    EXPECT_EQ(Sets(), (Lines{"2:2"}));
    EXPECT_EQ(Column(0), (Lines{"NOTICE: hello", "WARNING: careful"}));
}

TEST_F(PostgresBaseTest, NoticesOfRowsStandBehindThem) {
    RunAll(connection,
           "create or replace function pg_temp.noisy(n integer) returns integer language plpgsql as $$ begin "
           "raise notice 'row %', n; return n; end $$");
    EXPECT_TRUE(Run("select pg_temp.noisy(id) from emp order by id"));
    // The driver may bring them ahead of the rows, when it fetches these at once.
    EXPECT_EQ(calls.LinesOf("OnError"),
              (Lines{"OnError NOTICE: row 1", "OnError NOTICE: row 2", "OnError NOTICE: row 3"}));
    ASSERT_EQ(store->GetNumberOfResultSets(), 2);
    const int rows = store->GetResultSetType(0) == qxdbsqlengine::ResultSetNormal ? 0 : 1;
    EXPECT_EQ(Column(rows), (Lines{"1", "2", "3"}));
    EXPECT_EQ(Column(1 - rows), (Lines{"NOTICE: row 1", "NOTICE: row 2", "NOTICE: row 3"}));
}

TEST_F(PostgresBaseTest, NoticesOfSessionStatementsAreNotShown) {
    // An option whose statement the server takes: the isolation of another family.
    EXPECT_TRUE(Run("select 1", {{50414, _variant_t("read committed")}}));
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
    EXPECT_EQ(Sets(), (Lines{"0:1"}));
}

TEST_F(PostgresBaseTest, ThereAreNoPlansAndStatementsRunAsTheyAre) {
    request.SetDoExplainPlan(true);
    EXPECT_TRUE(Run("select name from emp", {{50147, _variant_t(4L)}, {50120, _variant_t(true)}}));
    EXPECT_EQ(Sets(), (Lines{"0:3"}));
    EXPECT_EQ(request.GetSQL(), "select name from emp");
    EXPECT_EQ(request.GetMaxErrorCount(), 0);
    // The server's own words for a plan are a statement like any other.
    EXPECT_TRUE(Run("explain select name from emp"));
    EXPECT_EQ(Sets().size(), 1u);
    EXPECT_NE(Column(0).at(0).find("emp"), std::string::npos);
}

TEST_F(PostgresBaseTest, ErrorsAreToldOnceWithTheirPlaceAndSaved) {
    EXPECT_TRUE(Run("select name\nfrom emp\nwhera id"));
    const std::string text = "ERROR: syntax error at or near \"id\"";
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError " + text}));
    const Errors errors = calls.LastErrors();
    const ErrorRecord& record = errors.GetNextError();
    EXPECT_EQ(record.GetSQLState(), "42601");
    EXPECT_EQ(record.GetLineNumber(), 3);
    EXPECT_EQ(record.GetErrorPosition(), 28);
    EXPECT_EQ(Column(0), (Lines{text}));
    EXPECT_TRUE(Run("select count(*) from emp"));
    EXPECT_EQ(Column(0), (Lines{"3"}));
}

TEST_F(PostgresBaseTest, FailureAmongTheRowsKeepsTheRowsBeforeIt) {
    EXPECT_TRUE(Run("select 10 / (2 - id) from emp order by id"));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError ERROR: division by zero"}));
    EXPECT_EQ(Ask("select count(*) from emp"), "3");
}

TEST_F(PostgresBaseTest, CancelInTheRowsLeavesASessionThatGoesOn) {
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
