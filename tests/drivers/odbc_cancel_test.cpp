// Cancellation, time limits and lost servers.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "drivers/odbc_support.h"

namespace {

using qxtest::FailureOf;
using qxtest::OpenMariaDB;
using qxtest::OpenPostgres;
using qxtest::OpenResult;
using qxtest::Rows;
using qxtest::RunAll;
using qxtest::TestTable;
using Clock = std::chrono::steady_clock;
using Lines = std::vector<std::string>;

// Whether another connection sees a statement with this mark at work.
bool RunsOnServer(qxdb::Connection watcher, bool mariadb, const std::string& mark) {
    const std::string sql =
        mariadb ? "SELECT COUNT(*) FROM information_schema.processlist WHERE info LIKE '%" + mark +
                      "%' AND info NOT LIKE '%processlist%'"
                : "SELECT count(*) FROM pg_stat_activity WHERE state = 'active' AND query LIKE '%" + mark +
                      "%' AND query NOT LIKE '%pg_stat_activity%'";
    return Rows(watcher, sql).front() != "0";
}

bool Await(const std::function<bool()>& condition) {
    const Clock::time_point end = Clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (Clock::now() > end) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

// Cancels once the server is at work; the statement must be over within a second from there.
void ExpectCancelled(bool mariadb, const std::string& sql, const std::string& state) {
    qxdb::Connection connection = mariadb ? OpenMariaDB() : OpenPostgres();
    qxdb::Connection watcher = mariadb ? OpenMariaDB() : OpenPostgres();
    qxdb::Statement statement = connection.CreateStatement(qxdb::CursorDefault, 1);
    const std::string mark = "cancel_mark_" + std::to_string(Clock::now().time_since_epoch().count());
    statement.SetStatement("/* " + mark + " */ " + sql);
    Clock::time_point cancelled;
    std::thread canceller([&] {
        EXPECT_TRUE(Await([&] { return RunsOnServer(watcher, mariadb, mark); }));
        cancelled = Clock::now();
        statement.Cancel();
    });
    const qxtest::Failure failure = FailureOf([&] {
        statement.Execute();
        while (statement.ResultSetAvailable()) {
            qxtest::TakeResult(statement.GetResults(1, ""), false);
        }
    });
    const Clock::time_point ended = Clock::now();
    canceller.join();
    EXPECT_EQ(failure.state, state);
    EXPECT_EQ(failure.severity, 2);
    EXPECT_LT(ended - cancelled, std::chrono::seconds(1));
    EXPECT_TRUE(Await([&] { return !RunsOnServer(watcher, mariadb, mark); }));
    // Statement and connection go on.
    statement.SetStatement("SELECT 3");
    EXPECT_TRUE(statement.Execute());
    ASSERT_TRUE(statement.ResultSetAvailable());
    EXPECT_EQ(qxtest::TakeResult(statement.GetResults(1, ""), false), Lines{"3"});
    EXPECT_EQ(Rows(connection, "SELECT 4"), Lines{"4"});
}

TEST(OdbcCancel, ASleepingStatementOfMariaDB) {
    ExpectCancelled(true, "SELECT SLEEP(60)", "HY018");
}

TEST(OdbcCancel, ASleepingStatementOfPostgres) {
    ExpectCancelled(false, "SELECT pg_sleep(60)", "57014");
}

TEST(OdbcCancel, AQueryOfPostgresThroughACursor) {
    ExpectCancelled(false, "SELECT pg_sleep(0.2) FROM generate_series(1, 1000)", "57014");
}

TEST(OdbcCancel, BetweenRows) {
    for (const bool mariadb : {true, false}) {
        qxdb::Connection connection = mariadb ? OpenMariaDB() : OpenPostgres();
        OpenResult result(connection, mariadb ? "SELECT seq FROM seq_1_to_100000"
                                              : "SELECT n FROM generate_series(1, 100000) s(n)");
        ASSERT_TRUE(result.Fetch());
        std::thread([&] { result.statement.Cancel(); }).join();
        const qxtest::Failure failure = FailureOf([&] {
            while (result.Fetch()) {
            }
        });
        EXPECT_EQ(failure.text, "The statement was cancelled");
        EXPECT_EQ(failure.state, "HY008");
        EXPECT_EQ(Rows(connection, "SELECT 5"), Lines{"5"});
    }
}

TEST(OdbcCancel, WithNothingRunningDoesNothing) {
    for (const bool mariadb : {true, false}) {
        qxdb::Connection connection = mariadb ? OpenMariaDB() : OpenPostgres();
        qxdb::Statement statement = connection.CreateStatement(qxdb::CursorDefault, 1);
        statement.Cancel();
        statement.SetStatement("SELECT 1");
        statement.Cancel();
        statement.Execute();
        ASSERT_TRUE(statement.ResultSetAvailable());
        EXPECT_EQ(qxtest::TakeResult(statement.GetResults(1, ""), false), Lines{"1"});
        EXPECT_FALSE(statement.ResultSetAvailable());
        statement.Cancel();
        EXPECT_TRUE(statement.Execute());
    }
}

// Cancels come from another thread at any point of many short statements; none may be lost or hit a later
// one.
TEST(OdbcCancel, AtAnyPoint) {
    for (const bool mariadb : {true, false}) {
        qxdb::Connection connection = mariadb ? OpenMariaDB() : OpenPostgres();
        qxdb::Statement statement = connection.CreateStatement(qxdb::CursorDefault, 1);
        std::atomic<bool> done{false};
        std::thread canceller([&] {
            while (!done) {
                statement.Cancel();
            }
        });
        int cancelled = 0;
        for (int i = 0; i < 300; ++i) {
            try {
                statement.SetStatement(mariadb ? "SELECT seq FROM seq_1_to_2000"
                                               : "SELECT n FROM generate_series(1, 2000) s(n)");
                statement.Execute();
                while (statement.ResultSetAvailable()) {
                    qxtest::TakeResult(statement.GetResults(1, ""), false);
                }
            } catch (const Errors&) {
                ++cancelled;
            }
        }
        done = true;
        canceller.join();
        EXPECT_GT(cancelled, 0);
        EXPECT_EQ(Rows(connection, "SELECT 6"), Lines{"6"});
    }
}

TEST(OdbcCancel, TimeLimits) {
    qxdb::Connection postgres = OpenPostgres();
    qxdb::Statement statement = postgres.CreateStatement(qxdb::CursorDefault, 1);
    EXPECT_TRUE(statement.GetProperties().SupportsProperty(qxdb::StatementProperties::CapabilityTimeout));
    statement.GetProperties().SetTimeout(1);
    statement.SetStatement("SELECT pg_sleep(30)");
    const Clock::time_point begin = Clock::now();
    EXPECT_EQ(FailureOf([&] { statement.Execute(); }).state, "57014");
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(10));
    statement.GetProperties().SetTimeout(0);
    statement.SetStatement("SELECT 1");
    EXPECT_TRUE(statement.Execute());
    // MariaDB's driver has none.
    EXPECT_FALSE(OpenMariaDB()
                     .CreateStatement(qxdb::CursorDefault, 1)
                     .GetProperties()
                     .SupportsProperty(qxdb::StatementProperties::CapabilityTimeout));
}

TEST(OdbcLoss, AConnectionThatTheServerEnds) {
    for (const bool mariadb : {true, false}) {
        SCOPED_TRACE(mariadb ? "MariaDB" : "PostgreSQL");
        qxdb::Connection connection = mariadb ? OpenMariaDB() : OpenPostgres();
        qxdb::Connection other = mariadb ? OpenMariaDB() : OpenPostgres();
        const std::string id =
            Rows(connection, mariadb ? "SELECT CONNECTION_ID()" : "SELECT pg_backend_pid()").front();
        OpenResult result(connection, mariadb ? "SELECT seq FROM seq_1_to_100000"
                                              : "SELECT n FROM generate_series(1, 100000) s(n)");
        ASSERT_TRUE(result.Fetch());
        RunAll(other, mariadb ? "KILL CONNECTION " + id : "SELECT pg_terminate_backend(" + id + ")");
        // MariaDB's driver has all rows already; the loss shows with the next statement.
        try {
            while (result.Fetch()) {
            }
            EXPECT_TRUE(mariadb);
        } catch (const Errors& errors) {
            ASSERT_GT(errors.GetNumberErrors(), 0u);
            EXPECT_FALSE(errors.GetNextError().GetErrorDescription().empty());
        }
        EXPECT_THROW(RunAll(connection, "SELECT 1"), Errors);
        EXPECT_THROW(RunAll(connection, "SELECT 1"), Errors);
        EXPECT_EQ(Rows(mariadb ? OpenMariaDB() : OpenPostgres(), "SELECT 2"), Lines{"2"});
    }
}

TEST(OdbcLoss, ATableThatGoesInMidFetch) {
    // MariaDB's driver has all rows; the next execution fails with the server's text.
    qxdb::Connection connection = OpenMariaDB();
    qxdb::Connection other = OpenMariaDB();
    RunAll(other, "CREATE OR REPLACE TABLE going AS SELECT seq FROM seq_1_to_5000");
    qxdb::Statement statement = connection.CreateStatement(qxdb::CursorDefault, 1);
    statement.Prepare("SELECT seq FROM going", qxdb::Statement::PrepareSQL);
    statement.Execute();
    ASSERT_TRUE(statement.ResultSetAvailable());
    qxdb::Cursor cursor = statement.GetResults(1, "");
    ASSERT_TRUE(cursor.Fetch(qxdb::Cursor::DirectionNext, 1));
    RunAll(other, "DROP TABLE going");
    int rows = 1;
    while (cursor.Fetch(qxdb::Cursor::DirectionNext, 1)) {
        ++rows;
    }
    EXPECT_EQ(rows, 5000);
    const qxtest::Failure failure = FailureOf([&] { statement.Execute(); });
    EXPECT_EQ(failure.text, "Table 'qx.going' doesn't exist");
    EXPECT_EQ(failure.state, "42S02");
    // PostgreSQL keeps the table from others while it is read; one's own connection is refused.
    qxdb::Connection postgres = OpenPostgres();
    TestTable table(postgres, "going", "n integer");
    RunAll(postgres, "INSERT INTO going SELECT generate_series(1, 5000)");
    OpenResult result(postgres, "SELECT n FROM going");
    ASSERT_TRUE(result.Fetch());
    const qxtest::Failure refusal = FailureOf(postgres, "DROP TABLE going");
    EXPECT_EQ(refusal.state, "55006");
    EXPECT_NE(refusal.text.find("going"), std::string::npos);
}

// A server of the test's own, killed while a query is under way.
class KilledServer : public testing::TestWithParam<const char*> {
  protected:
    static int Script(const std::string& arguments) {
        return std::system((std::string(QX_SERVERS_SCRIPT) + " " + arguments).c_str());
    }
    void SetUp() override {
        file = testing::TempDir() + "qx_killed_" + GetParam() + "_" + std::to_string(getpid()) + ".env";
        // The servers live as long as this process.
        setenv("QX_SERVERS_OWNER", std::to_string(getpid()).c_str(), 1);
        ASSERT_EQ(Script("start " + file + " " + GetParam()), 0);
    }
    void TearDown() override { Script("stop " + file); }

    std::string file;
};

TEST_P(KilledServer, GivesErrorsAndIsThereAgainForTheNextConnection) {
    const bool mariadb = GetParam() == std::string("mariadb");
    const qxtest::Servers servers(file);
    qxdrivers::RegisterODBC();
    // By driver and not by data source: the driver manager keeps what it read of the session's data sources.
    const qxdb::ConnectionDef definition(qxdb::DBTYPE_UNSET,
                                         servers.Get(mariadb ? "QX_MARIADB_DRIVER" : "QX_POSTGRES_DRIVER"),
                                         "qx", servers.Get("QX_SERVERS_PASSWORD"), "odbc", "");
    qxdb::Connection connection = definition.Connect();
    OpenResult result(connection, mariadb ? "SELECT seq FROM seq_1_to_1000000"
                                          : "SELECT n FROM generate_series(1, 1000000) s(n)");
    ASSERT_TRUE(result.Fetch());
    // Another one waits for an answer at that moment.
    qxdb::Connection waiting = definition.Connect();
    qxdb::Connection watcher = definition.Connect();
    std::atomic<bool> failed{false};
    std::thread waiter([&] {
        try {
            RunAll(waiting, mariadb ? "SELECT /* waits */ SLEEP(60)" : "SELECT /* waits */ pg_sleep(60)");
        } catch (const Errors& errors) {
            failed = errors.GetNumberErrors() > 0 && !errors.GetNextError().GetErrorDescription().empty();
        }
    });
    EXPECT_TRUE(Await([&] { return RunsOnServer(watcher, mariadb, "/* waits */"); }));
    ASSERT_EQ(Script("kill " + file + " " + GetParam()), 0);
    waiter.join();
    EXPECT_TRUE(failed);
    try {
        while (result.Fetch()) {
        }
        EXPECT_TRUE(mariadb);
    } catch (const Errors& errors) {
        EXPECT_FALSE(errors.GetNextError().GetErrorDescription().empty());
    }
    EXPECT_THROW(RunAll(connection, "SELECT 1"), Errors);
    EXPECT_THROW(definition.Connect(), Errors);
    ASSERT_EQ(Script("restart " + file + " " + GetParam()), 0);
    EXPECT_EQ(Rows(definition.Connect(), "SELECT 2"), Lines{"2"});
}

INSTANTIATE_TEST_SUITE_P(Each, KilledServer, testing::Values("mariadb", "postgres"),
                         [](const auto& each) { return std::string(each.param); });

}  // namespace
