// Results of both servers through a director: long ones, several at a time, cancels, options, plans,
// messages.
#include <fstream>

#include "servers/server_run.h"
#include "support/process_status.h"

namespace qxtest {
namespace {

using Lines = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

long PeakMiB() {
    return memoryCounts ? ProcessStatus("VmHWM:") / 1024 : 0;
}

std::string Numbers(bool mariadb, int count) {
    const std::string n = std::to_string(count);
    return mariadb ? "SELECT seq, CONCAT('row number ', seq) AS t FROM seq_1_to_" + n
                   : "SELECT n, 'row number ' || n AS t FROM generate_series(1, " + n + ") s(n)";
}

// The store keeps the rows in its file. What MariaDB's driver keeps of the result itself comes on top there.
TEST(ServerResults, AMillionRowsInBoundedMemory) {
    for (const bool mariadb : {false, true}) {
        SCOPED_TRACE(mariadb ? "MariaDB" : "PostgreSQL");
        ServerRun run(mariadb);
        std::ofstream("/proc/self/clear_refs") << "5";
        const long before = PeakMiB();
        run.Run(Numbers(mariadb, 1000000));
        EXPECT_EQ(run.Errors(), Lines());
        EXPECT_LT(PeakMiB() - before, mariadb ? 200 : 100);
        const auto store = run.director.GetDataStorage();
        ASSERT_EQ(store->GetNumberOfRows(0), 1000000);
        for (const int row : {0, 1, 65536, 500000, 999999}) {
            EXPECT_EQ(store->AsString(0, row, 0, std::locale::classic()), std::to_string(row + 1));
            EXPECT_EQ(store->GetString(0, row, 1), "row number " + std::to_string(row + 1));
        }
        EXPECT_EQ(run.calls.LinesOf("OnResultSetEnd"), Lines{"OnResultSetEnd 0"});
    }
}

TEST(ServerResults, TwoDirectorsAtOnce) {
    for (const bool secondOnMariaDB : {true, false}) {
        ServerRun first(true);
        ServerRun second(secondOnMariaDB);
        first.Start("SELECT seq, SLEEP(0.6) FROM seq_1_to_5");
        second.Start(Numbers(secondOnMariaDB, 5000));
        // The second is done while the first sleeps.
        EXPECT_TRUE(Await([&] { return !second.calls.LinesOf("OnRequestEnd").empty(); }));
        EXPECT_TRUE(first.calls.LinesOf("OnRequestEnd").empty());
        second.Wait();
        first.Wait();
        EXPECT_EQ(first.Errors(), Lines());
        EXPECT_EQ(second.Errors(), Lines());
        EXPECT_EQ(first.Sets(), Lines{"0:5"});
        EXPECT_EQ(second.Sets(), Lines{"0:5000"});
    }
}

TEST(ServerResults, CancelOfASleepingStatement) {
    for (const bool mariadb : {true, false}) {
        SCOPED_TRACE(mariadb ? "MariaDB" : "PostgreSQL");
        ServerRun run(mariadb);
        qxdb::Connection watcher = DefinitionOf(mariadb).Connect();
        const std::string mark = "sleeping_" + std::to_string(Clock::now().time_since_epoch().count());
        run.Start("SELECT /* " + mark + " */ " + (mariadb ? "SLEEP(60)" : "pg_sleep(60)"));
        ASSERT_TRUE(Await([&] { return RunsOnServer(watcher, mariadb, mark); }));
        const Clock::time_point begin = Clock::now();
        EXPECT_TRUE(run.director.Cancel());
        run.Wait();
        EXPECT_LT(Clock::now() - begin, std::chrono::seconds(1));
        EXPECT_TRUE(Await([&] { return !RunsOnServer(watcher, mariadb, mark); }));
        EXPECT_TRUE(run.calls.LinesOf("OnCancelFailed").empty());
        // A cancelled director stays cancelled; the server is there for another one.
        ServerRun next(mariadb);
        next.Run("SELECT 7 AS a");
        EXPECT_EQ(next.Rows(), Lines{"7"});
    }
}

TEST(ServerResults, CancelAmongTheRows) {
    for (const bool mariadb : {true, false}) {
        ServerRun run(mariadb);
        run.Start(Numbers(mariadb, 1000000));
        const auto store = run.director.GetDataStorage();
        ASSERT_TRUE(
            Await([&] { return store->GetNumberOfResultSets() > 0 && store->GetNumberOfRows(0) > 0; }));
        EXPECT_TRUE(run.director.Cancel());
        run.Wait();
        EXPECT_LT(run.director.GetDataStorage()->GetNumberOfRows(0), 1000000);
        EXPECT_GT(run.director.GetDataStorage()->GetNumberOfRows(0), 0);
        EXPECT_EQ(run.Errors(), Lines());
    }
}

// The session's values are read by the statement that the options were set for.
TEST(ServerResults, OptionsOfMySqlAreReadBack) {
    struct OptionCase {
        unsigned int option;
        _variant_t value;
        const char* variable;
        const char* expected;
    };
    const OptionCase cases[] = {
        {50402, _variant_t(1234L), "interactive_timeout", "1234"},
        {50403, _variant_t(false), "sql_big_selects", "0"},
        {50403, _variant_t(true), "sql_big_selects", "1"},
        {50404, _variant_t(true), "sql_log_off", "1"},
        {50405, _variant_t("1000"), "sql_select_limit", "1000"},
        {50406, _variant_t(true), "sql_warnings", "1"},
        {50407, _variant_t(true), "sql_safe_updates", "1"},
        {50410, _variant_t(true), "sql_buffer_result", "1"},
        {50411, _variant_t(false), "sql_log_bin", "0"},
        {50412, _variant_t(false), "sql_quote_show_create", "0"},
        {50414, _variant_t("SERIALIZABLE"), "tx_isolation", nullptr},
        {50415, _variant_t(true), "sql_auto_is_null", "1"},
        {50416, _variant_t(false), "unique_checks", "0"},
        {50418, _variant_t(true), "big_tables", "1"},
        {50421, _variant_t(18L), "last_insert_id", "18"},
        {50422, _variant_t("latin1"), "character_set_client", "latin1"},
        {50424, _variant_t("set @a = 5;set sql_warnings = 1"), "sql_warnings", "1"},
    };
    for (const OptionCase& c : cases) {
        SCOPED_TRACE(c.option);
        ServerRun run(true);
        run.director.SetQueryOptions({}, {{c.option, c.value}});
        run.Run(std::string("select @@") + c.variable);
        if (c.option != 50418) {  // the server warns of that one
            EXPECT_EQ(run.Errors(), Lines());
        }
        if (c.expected) {
            EXPECT_EQ(run.Rows(), Lines{c.expected});
        } else {
            // It is for the next transaction only, and shows nowhere.
            EXPECT_EQ(run.Rows().size(), 1u);
        }
    }
    // What MariaDB no longer has is its own to tell.
    for (const auto& [option, variable] :
         {std::pair(50408u, "sql_log_update"), std::pair(50409u, "sql_low_priority_updates"),
          std::pair(50413u, "sql_max_join_size"), std::pair(50423u, "sql_big_tables")}) {
        ServerRun run(true);
        run.director.SetQueryOptions({}, {{option, option == 50413u ? _variant_t(1000L) : _variant_t(true)}});
        run.Run("select 1");
        EXPECT_EQ(run.Errors(), Lines{std::string("OnError Unknown system variable '") + variable + "'"});
    }
}

TEST(ServerResults, PlansInsteadOfRows) {
    qxdb::Connection connection = DefinitionOf(true).Connect();
    const TestTable table(connection, "explained", "id INT PRIMARY KEY");
    RunAll(connection, "INSERT INTO explained VALUES(1),(2)");
    ServerRun run(true);
    run.director.SetDoExplainPlan(true);
    run.Run("DELETE FROM explained WHERE id = 1");
    EXPECT_EQ(run.Errors(), Lines());
    ASSERT_EQ(run.Rows().size(), 1u);
    EXPECT_EQ(run.director.GetDataStorage()->GetColumnLabel(0, 1), "select_type");
    EXPECT_EQ(run.director.GetDataStorage()->GetString(0, 0, 2), "explained");
    EXPECT_EQ(qxtest::Rows(connection, "SELECT COUNT(*) FROM explained"), Lines{"2"});
    run.director.SetDoExplainPlan(false);
    run.Run("DELETE FROM explained WHERE id = 1");
    EXPECT_EQ(qxtest::Rows(connection, "SELECT COUNT(*) FROM explained"), Lines{"1"});
}

TEST(ServerResults, ErrorsAndMessages) {
    ServerRun mariadb(true);
    mariadb.Run("SELECT 1,\n  2\nFROMM x");
    ASSERT_EQ(mariadb.Errors().size(), 1u);
    const Errors errors = mariadb.calls.LastErrors();
    const ErrorRecord& record = errors.GetNextError();
    EXPECT_EQ(record.GetErrorCode(), 1064);
    EXPECT_EQ(record.GetSQLState(), "42000");
    EXPECT_EQ(record.GetLineNumber(), 3);
    EXPECT_EQ(record.GetErrorPosition(), 21);
    mariadb.Run("SELECT 1 / 0 AS a");
    EXPECT_EQ(mariadb.Rows(), Lines{"NULL"});
    EXPECT_EQ(mariadb.Errors(), Lines{"OnError Division by 0"});
    EXPECT_EQ(mariadb.Sets(), (Lines{"0:1", "2:1"}));

    ServerRun postgres(false);
    postgres.Run("SELECT 1,\n  2\nFROM pg_class whera relname");
    const Errors syntax = postgres.calls.LastErrors();
    const ErrorRecord& first = syntax.GetNextError();
    EXPECT_EQ(first.GetErrorDescription(), "ERROR: syntax error at or near \"relname\"");
    EXPECT_EQ(first.GetLineNumber(), 3);
    postgres.Run("DO $$ BEGIN RAISE NOTICE 'hello'; END $$");
    EXPECT_EQ(postgres.Errors(), Lines{"OnError NOTICE: hello"});
}

}  // namespace
}  // namespace qxtest
