#include <gtest/gtest.h>
#include <sqlite3.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "drivers/sqlite_support.h"

namespace {

using qxdb::StatementProperties;
using qxtest::FailureOf;
using qxtest::Open;
using qxtest::OpenResult;
using qxtest::Rows;
using qxtest::RunAll;
using Lines = std::vector<std::string>;
using Results = std::vector<Lines>;

constexpr const char* endless =
    "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT count(*) FROM n WHERE i < 0";
constexpr const char* endlessRows =
    "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM n";

qxdb::Statement StatementOf(qxdb::Connection connection, const std::string& sql) {
    qxdb::Statement statement = connection.CreateStatement(qxdb::CursorDefault, 1);
    statement.SetStatement(sql);
    return statement;
}

TEST(SQLiteStatement, StatementsOfATextGiveTheirResultsInOrder) {
    EXPECT_EQ(RunAll(Open(":memory:"),
                     "CREATE TABLE t(a INT, b TEXT);\n"
                     "INSERT INTO t VALUES(1, 'one'), (2, 'two');\n"
                     "SELECT * FROM t; UPDATE t SET b = 'x' WHERE a > 5; SELECT a FROM t WHERE 0;\n"
                     "DELETE FROM t;"),
              (Results{{"2 row(s)"}, {"1|one", "2|two"}, {"0 row(s)"}, {}, {"2 row(s)"}}));
}

TEST(SQLiteStatement, KindOfResultByStatement) {
    struct Case {
        const char* sql;
        Results expected;
    };
    const Case cases[] = {
        {"", {}},
        {" \n\t;;; ", {}},
        {"-- only a comment", {}},
        {"/* a comment */ ; /* another, not closed", {}},
        {"\xEF\xBB\xBFSELECT 1", {{"1"}}},
        {"CREATE TABLE x(a)", {}},
        {"DROP TABLE t", {}},
        {"CREATE INDEX i ON t(a)", {}},
        {"ALTER TABLE t RENAME TO u", {}},
        {"BEGIN; ROLLBACK", {}},
        {"SAVEPOINT s; RELEASE s", {}},
        {"VACUUM", {}},
        {"ANALYZE", {}},
        {"ATTACH ':memory:' AS z; DETACH z", {}},
        {"PRAGMA foreign_keys = ON", {}},
        {"PRAGMA foreign_keys", {{"0"}}},
        {"PRAGMA table_info(t)", {{"0|a|INT|0|NULL|0"}}},
        {"PRAGMA table_info(nosuch)", {{}}},
        {"EXPLAIN QUERY PLAN SELECT * FROM t", {{"2|0|0|SCAN t"}}},
        {"VALUES(1),(2)", {{"1", "2"}}},
        {"CREATE TABLE x AS SELECT 1", {}},
        {"INSERT INTO t VALUES(1)", {{"1 row(s)"}}},
        {"  -- first\n insert into t values(1),(2)", {{"2 row(s)"}}},
        {"INSERT INTO t SELECT 1 WHERE 0", {{"0 row(s)"}}},
        {"REPLACE INTO t VALUES(1)", {{"1 row(s)"}}},
        {"UPDATE t SET a = 1", {{"0 row(s)"}}},
        {"WITH w AS (SELECT 5 AS a) INSERT INTO t SELECT a FROM w", {{"1 row(s)"}}},
        {"WITH w AS (SELECT 5 AS a) SELECT a FROM w", {{"5"}}},
        {"INSERT INTO t VALUES(7) RETURNING a, a + 1", {{"7|8"}}},
        {"SELECT 1; -- the end", {{"1"}}},
        {"SELECT ';'; SELECT 2", {{";"}, {"2"}}},
        {"CREATE TRIGGER g AFTER INSERT ON t BEGIN DELETE FROM t; SELECT 1; END; SELECT 3", {{"3"}}},
    };
    for (const Case& c : cases) {
        qxdb::Connection connection = Open(":memory:");
        RunAll(connection, "CREATE TABLE t(a INT)");
        EXPECT_EQ(RunAll(connection, c.sql), c.expected) << c.sql;
    }
}

TEST(SQLiteStatement, EachStatementRunsWhenItsResultIsAskedFor) {
    qxdb::Connection connection = Open(":memory:");
    RunAll(connection, "CREATE TABLE t(a INT)");
    qxdb::Statement statement = StatementOf(connection, "SELECT 1; INSERT INTO t VALUES(5)");
    statement.Execute();
    EXPECT_TRUE(statement.ResultSetAvailable());
    EXPECT_TRUE(statement.ResultSetAvailable());  // asking again moves nothing
    statement.GetResults(1, "");
    EXPECT_EQ(Rows(connection, "SELECT count(*) FROM t"), Lines{"0"});
    EXPECT_TRUE(statement.ResultSetAvailable());
    EXPECT_EQ(Rows(connection, "SELECT count(*) FROM t"), Lines{"1"});
    EXPECT_EQ(statement.GetResults(1, "").GetRowCount(), 1u);
    EXPECT_FALSE(statement.ResultSetAvailable());
    EXPECT_FALSE(statement.ResultSetAvailable());
    EXPECT_EQ(FailureOf([&] { statement.GetResults(1, ""); }).text, "No result is waiting to be taken");
}

TEST(SQLiteStatement, ResultThatIsNotReadDoesNotHoldTheNext) {
    qxdb::Statement statement = StatementOf(Open(":memory:"), std::string(endlessRows) + "; SELECT 2");
    statement.Execute();
    ASSERT_TRUE(statement.ResultSetAvailable());
    qxdb::Cursor first = statement.GetResults(1, "");
    qxdb::BindValue binding = first.Bind();
    qxdb::Fields fields(binding, false, {}, false, nullptr);
    EXPECT_TRUE(first.Fetch(qxdb::Cursor::DirectionNext, 1));
    EXPECT_EQ(fields[0].AsBigInt(), 1);
    ASSERT_TRUE(statement.ResultSetAvailable());
    EXPECT_FALSE(first.Fetch(qxdb::Cursor::DirectionNext, 1));
    EXPECT_TRUE(fields[0].IsNull());
    EXPECT_FALSE(statement.GetResults(1, "").Fetch(qxdb::Cursor::DirectionNext, 2) &&
                 statement.ResultSetAvailable());
}

TEST(SQLiteStatement, ReturningKeepsItsChangesWhenItIsLeft) {
    qxdb::Connection connection = Open(":memory:");
    RunAll(connection, "CREATE TABLE t(a INT)");
    {
        OpenResult result(connection, "INSERT INTO t VALUES(1), (2), (3) RETURNING a");
        EXPECT_TRUE(result.Fetch());
    }
    EXPECT_EQ(Rows(connection, "SELECT count(*) FROM t"), Lines{"3"});
}

TEST(SQLiteStatement, FetchAfterTheEndGivesNoRow) {
    OpenResult result(Open(":memory:"), "SELECT 1");
    EXPECT_TRUE(result.Fetch());
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(result.Fetch());
        EXPECT_TRUE(result[0].IsNull());
    }
}

TEST(SQLiteStatement, RowCountOfRowsIsRefused) {
    OpenResult result(Open(":memory:"), "SELECT 1");
    EXPECT_EQ(FailureOf([&] { result.cursor.GetRowCount(); }).text, "A result with columns has no row count");
}

TEST(SQLiteStatement, FailuresCarryCodeStateAndPlaceInTheWholeText) {
    struct Case {
        const char* sql;
        int code;
        const char* state;
        int line;
        int position;
        const char* text;
    };
    const Case cases[] = {
        {"SELEC 1", SQLITE_ERROR, "42000", 1, 1, "near \"SELEC\": syntax error"},
        {"SELECT 1 FROM", SQLITE_ERROR, "42000", 1, 1, "incomplete input"},
        {"SELECT 1;\nSELECT 2;\n  SELECT 3 FROMM t", SQLITE_ERROR, "42000", 3, 38,
         "near \"t\": syntax error"},
        {"SELECT nocol FROM t", SQLITE_ERROR, "42S22", 1, 8, "no such column: nocol"},
        {"/* x */\n\nSELECT a,\n nocol FROM t", SQLITE_ERROR, "42S22", 4, 21, "no such column: nocol"},
        {"SELECT 1;\n SELECT * FROM nosuch", SQLITE_ERROR, "42S02", 2, 12, "no such table: nosuch"},
        {"CREATE TABLE t(b)", SQLITE_ERROR, "42S01", 1, 14, "table t already exists"},
        {"SELECT nofunc(1)", SQLITE_ERROR, "42000", 1, 8, "no such function: nofunc"},
        {"INSERT INTO t VALUES(1);\nINSERT INTO t VALUES(1)", SQLITE_CONSTRAINT_UNIQUE, "23000", 2, 26,
         "UNIQUE constraint failed: t.a"},
        {"INSERT INTO t VALUES(NULL)", SQLITE_CONSTRAINT_NOTNULL, "23000", 1, 1,
         "NOT NULL constraint failed: t.a"},
        {"SELECT 1;\n\n -- comment\n SELECT json('[')", SQLITE_ERROR, "HY000", 4, 25, "malformed JSON"},
        {"SELECT abs(-9223372036854775808)", SQLITE_ERROR, "HY000", 1, 1, "integer overflow"},
        {"SELECT 1; SELECT '\xC3\xA4', nocol", SQLITE_ERROR, "42S22", 1, 24, "no such column: nocol"},
        {"SELECT 1; SELECT ?", SQLITE_RANGE, "07001", 1, 11,
         "The statement has parameters, and was not prepared"},
        {"COMMIT", SQLITE_ERROR, "HY000", 1, 1, "cannot commit - no transaction is active"},
    };
    for (const Case& c : cases) {
        qxdb::Connection connection = Open(":memory:");
        RunAll(connection, "CREATE TABLE t(a INT UNIQUE NOT NULL)");
        const qxtest::Failure failure = FailureOf(connection, c.sql);
        EXPECT_EQ(failure.text, c.text);
        EXPECT_EQ(failure.code, c.code) << c.sql;
        EXPECT_EQ(failure.state, c.state) << c.sql;
        EXPECT_EQ(failure.line, c.line) << c.sql;
        EXPECT_EQ(failure.position, c.position) << c.sql;
        EXPECT_EQ(failure.severity, 2);
    }
}

TEST(SQLiteStatement, FailureOfALaterStatementComesWhenItIsAskedFor) {
    qxdb::Connection connection = Open(":memory:");
    qxdb::Statement statement =
        StatementOf(connection, "CREATE TABLE t(a); INSERT INTO t VALUES(1); SELEC; INSERT INTO t VALUES(2)");
    EXPECT_TRUE(statement.Execute());
    EXPECT_TRUE(statement.ResultSetAvailable());
    statement.GetResults(1, "");
    EXPECT_EQ(FailureOf([&] { statement.ResultSetAvailable(); }).position, 45);
    EXPECT_FALSE(statement.ResultSetAvailable());  // the rest of the text does not run
    EXPECT_EQ(Rows(connection, "SELECT count(*) FROM t"), Lines{"1"});
}

TEST(SQLiteStatement, FailureInTheMiddleOfTheRows) {
    OpenResult result(Open(":memory:"), "SELECT abs(column1) FROM (VALUES(1), (-9223372036854775808), (3))");
    EXPECT_TRUE(result.Fetch());
    EXPECT_EQ(FailureOf([&] { result.Fetch(); }).text, "integer overflow");
    EXPECT_FALSE(result.Fetch());
    EXPECT_FALSE(result.statement.ResultSetAvailable());
}

TEST(SQLiteStatement, ZeroByteInTheTextIsRefused) {
    qxdb::Connection connection = Open(":memory:");
    const qxtest::Failure failure =
        FailureOf(connection, std::string("CREATE TABLE t(a);\nSELECT 1\0; SELECT 2", 38));
    EXPECT_EQ(failure.text, "The SQL text has a zero byte");
    EXPECT_EQ(failure.line, 2);
    EXPECT_EQ(failure.position, 28);
    EXPECT_EQ(Rows(connection, "SELECT count(*) FROM sqlite_master"), Lines{"0"});
}

TEST(SQLiteStatement, StatementCanRunAgainAndTakeAnotherText) {
    qxdb::Connection connection = Open(":memory:");
    qxdb::Statement statement = StatementOf(connection, "SELECT 1; SELECT 2");
    for (int i = 0; i < 2; ++i) {
        statement.Execute();
        ASSERT_TRUE(statement.ResultSetAvailable());  // left at the first result the first time
    }
    statement.SetStatement("CREATE TABLE t(a)");
    EXPECT_FALSE(statement.ResultSetAvailable());
    statement.Execute();
    EXPECT_FALSE(statement.ResultSetAvailable());
    EXPECT_EQ(Rows(connection, "SELECT name FROM sqlite_master"), Lines{"t"});
}

TEST(SQLiteStatement, LongTextOfManyStatementsTakesLinearTime) {
    std::string text;
    for (int i = 0; i < 20000; ++i) {
        text +=
            "-- statement of a long script, with a comment that makes the text longer\nSAVEPOINT s; RELEASE "
            "s;\n";
    }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(RunAll(Open(":memory:"), text + "SELECT 'end'"), (Results{{"end"}}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST(SQLiteStatement, LockedDatabaseFailsAfterTheTimeout) {
    const qxtest::TempFolder folder;
    const std::string file = folder.File("a.db");
    qxdb::Connection first = Open(file, "create");
    RunAll(first, "CREATE TABLE t(a INT); BEGIN EXCLUSIVE");
    qxdb::Connection second = Open(file, "timeout=100");
    const auto start = std::chrono::steady_clock::now();
    const qxtest::Failure failure = FailureOf(second, "SELECT 1;\nSELECT * FROM t");
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(failure.code, SQLITE_BUSY);
    EXPECT_EQ(failure.state, "HYT00");
    EXPECT_EQ(failure.text, "database is locked: \"" + file + "\" is in use by another connection");
    EXPECT_EQ(failure.line, 2);
    EXPECT_GE(waited, std::chrono::milliseconds(95));
    EXPECT_LT(waited, std::chrono::seconds(3));
    RunAll(first, "COMMIT");
    EXPECT_EQ(Rows(second, "SELECT count(*) FROM t"), Lines{"0"});
}

TEST(SQLiteStatement, WaitsForALockThatGoes) {
    const qxtest::TempFolder folder;
    const std::string file = folder.File("a.db");
    qxdb::Connection first = Open(file, "create");
    RunAll(first, "CREATE TABLE t(a INT); BEGIN IMMEDIATE; INSERT INTO t VALUES(1)");
    qxdb::Connection second = Open(file);
    std::thread waiter(
        [&] { EXPECT_EQ(RunAll(second, "INSERT INTO t VALUES(2)"), (Results{{"1 row(s)"}})); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    RunAll(first, "COMMIT");
    waiter.join();
    EXPECT_EQ(Rows(first, "SELECT a FROM t ORDER BY a"), (Lines{"1", "2"}));
}

TEST(SQLiteStatement, DropOfATableThatIsReadIsRefused) {
    qxdb::Connection connection = Open(":memory:");
    RunAll(connection, "CREATE TABLE t(a INT); INSERT INTO t VALUES(1), (2)");
    OpenResult result(connection, "SELECT a FROM t");
    result.Fetch();
    const qxtest::Failure failure = FailureOf(connection, "DROP TABLE t");
    EXPECT_EQ(failure.code, SQLITE_LOCKED);
    EXPECT_EQ(failure.state, "55006");
}

// Cancels again and again until the action is over, since a cancel that comes before it starts does nothing.
template <class Action>
qxtest::Failure FailureWhenCancelled(qxdb::Statement statement, Action action) {
    std::atomic<bool> over{false};
    std::thread canceller([&] {
        while (!over) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            statement.Cancel();
        }
    });
    const qxtest::Failure failure = FailureOf(action);
    over = true;
    canceller.join();
    return failure;
}

void ExpectCancelled(const qxtest::Failure& failure) {
    EXPECT_EQ(failure.text, "The statement was cancelled");
    EXPECT_EQ(failure.code, SQLITE_INTERRUPT);
    EXPECT_EQ(failure.state, "HY008");
}

TEST(SQLiteCancel, StopsALongQueryFromAnotherThread) {
    qxdb::Connection connection = Open(":memory:");
    qxdb::Statement statement = StatementOf(connection, endless);
    ExpectCancelled(FailureWhenCancelled(statement, [&] { statement.Execute(); }));
    EXPECT_EQ(Rows(connection, "SELECT 1"), Lines{"1"});
    statement.SetStatement("SELECT 2");
    EXPECT_TRUE(statement.Execute());
}

TEST(SQLiteCancel, StopsALaterStatementOfTheText) {
    qxdb::Statement statement = StatementOf(Open(":memory:"), std::string("SELECT 1;\n") + endless);
    statement.Execute();
    statement.ResultSetAvailable();
    statement.GetResults(1, "");
    const qxtest::Failure failure = FailureWhenCancelled(statement, [&] { statement.ResultSetAvailable(); });
    ExpectCancelled(failure);
    EXPECT_EQ(failure.line, 2);
    EXPECT_FALSE(statement.ResultSetAvailable());
}

TEST(SQLiteCancel, StopsTheFetchOfManyRows) {
    OpenResult result(Open(":memory:"), endlessRows);
    ExpectCancelled(FailureWhenCancelled(result.statement, [&] {
        while (result.Fetch()) {
        }
    }));
    EXPECT_FALSE(result.Fetch());
}

TEST(SQLiteCancel, BetweenTwoFetchesStopsTheNext) {
    OpenResult result(Open(":memory:"), endlessRows);
    EXPECT_TRUE(result.Fetch());
    result.statement.Cancel();
    ExpectCancelled(FailureOf([&] { result.Fetch(); }));
}

TEST(SQLiteCancel, EndsTheWaitForALock) {
    const qxtest::TempFolder folder;
    const std::string file = folder.File("a.db");
    qxdb::Connection first = Open(file, "create");
    RunAll(first, "CREATE TABLE t(a INT); BEGIN IMMEDIATE");
    qxdb::Connection second = Open(file, "timeout=60000");
    qxdb::Statement statement = StatementOf(second, "INSERT INTO t VALUES(1)");
    const auto start = std::chrono::steady_clock::now();
    ExpectCancelled(FailureWhenCancelled(statement, [&] { statement.Execute(); }));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(SQLiteCancel, LeavesOtherStatementsOfTheConnectionAlone) {
    qxdb::Connection connection = Open(":memory:");
    OpenResult other(connection, endlessRows);
    EXPECT_TRUE(other.Fetch());
    qxdb::Statement statement = StatementOf(connection, endless);
    ExpectCancelled(FailureWhenCancelled(statement, [&] { statement.Execute(); }));
    EXPECT_TRUE(other.Fetch());
    EXPECT_EQ(other[0].AsBigInt(), 2);
    other.statement.Cancel();
    EXPECT_EQ(Rows(connection, "SELECT 1"), Lines{"1"});
    ExpectCancelled(FailureOf([&] { other.Fetch(); }));
}

TEST(SQLiteCancel, DoesNothingWhenNothingRuns) {
    qxdb::Connection connection = Open(":memory:");
    qxdb::Statement statement = StatementOf(connection, "SELECT 1");
    statement.Cancel();
    EXPECT_TRUE(statement.Execute());
    EXPECT_TRUE(statement.ResultSetAvailable());
    statement.GetResults(1, "");
    EXPECT_FALSE(statement.ResultSetAvailable());
    statement.Cancel();
    EXPECT_TRUE(statement.Execute());
    EXPECT_EQ(Rows(connection, "SELECT 1"), Lines{"1"});
}

TEST(SQLiteCancel, IsSafeAfterTheConnectionHandleIsGone) {
    qxdb::Statement statement = StatementOf(Open(":memory:"), "SELECT 1");
    statement.Cancel();
    statement.Execute();
    statement.Cancel();
    statement = qxdb::Statement();
    statement.Cancel();
}

TEST(SQLiteCancel, RacesWithManyShortStatements) {
    qxdb::Connection connection = Open(":memory:");
    qxdb::Statement statement = StatementOf(connection, "SELECT 1; SELECT 2");
    std::atomic<bool> over{false};
    std::thread canceller([&] {
        while (!over) {
            statement.Cancel();
        }
    });
    int finished = 0;
    int cancelled = 0;
    while (finished + cancelled < 2000) {
        try {
            statement.Execute();
            while (statement.ResultSetAvailable()) {
                qxdb::Cursor cursor = statement.GetResults(1, "");
                while (cursor.Fetch(qxdb::Cursor::DirectionNext, 1)) {
                }
            }
            ++finished;
        } catch (const Errors& errors) {
            EXPECT_EQ(errors.GetNextError().GetErrorCode(), SQLITE_INTERRUPT);
            ++cancelled;
        }
        EXPECT_EQ(Rows(connection, "SELECT 3"), Lines{"3"});  // another handle is never hit
    }
    over = true;
    canceller.join();
}

TEST(SQLiteProperties, OnlyRowsAndTimeAreSupported) {
    qxdb::Statement statement = Open(":memory:").CreateStatement(qxdb::CursorDefault, 1);
    StatementProperties& properties = statement.GetProperties();
    const std::pair<StatementProperties::Capabilities, bool> expected[] = {
        {StatementProperties::CapabilityMaxRows, true},
        {StatementProperties::CapabilityNoScan, false},
        {StatementProperties::CapabilityTimeout, true},
        {StatementProperties::CapabilityDescribeOnly, false},
        {StatementProperties::CapabilityExclusionIndex, false},
        {StatementProperties::CapabilityProcParamCount, false},
        {StatementProperties::CapabilityShowReturnCode, false},
    };
    for (const auto& [capability, supported] : expected) {
        EXPECT_EQ(properties.SupportsProperty(capability), supported) << capability;
    }
    properties.SetNoScan(true);
    properties.SetDescribeOnly(true);
    properties.SetExclusionIndex({{0, 0}});
    properties.SetProcParamCount(1);
    properties.SetShowReturnCode(true);
    statement.SetStatement("SELECT 1");
    EXPECT_TRUE(statement.Execute());
    EXPECT_TRUE(statement.ResultSetAvailable());
}

TEST(SQLiteProperties, MaxRowsEndsEachResult) {
    for (const unsigned int limit : {1u, 2u, 5u, 0u}) {
        qxdb::Statement statement =
            StatementOf(Open(":memory:"), "VALUES(1),(2),(3); SELECT 1 WHERE 0; VALUES(4),(5),(6)");
        statement.GetProperties().SetMaxRows(limit);
        statement.Execute();
        std::vector<unsigned int> counts;
        while (statement.ResultSetAvailable()) {
            qxdb::Cursor cursor = statement.GetResults(1, "");
            unsigned int count = 0;
            while (cursor.Fetch(qxdb::Cursor::DirectionNext, 1)) {
                ++count;
            }
            counts.push_back(count);
        }
        const unsigned int most = limit == 0 ? 3 : std::min(limit, 3u);
        EXPECT_EQ(counts, (std::vector<unsigned int>{most, 0, most})) << limit;
    }
}

TEST(SQLiteProperties, MaxRowsKeepsAllChangesOfReturning) {
    qxdb::Connection connection = Open(":memory:");
    RunAll(connection, "CREATE TABLE t(a INT)");
    qxdb::Statement statement = StatementOf(connection, "INSERT INTO t VALUES(1),(2),(3) RETURNING a");
    statement.GetProperties().SetMaxRows(1);
    statement.Execute();
    statement.ResultSetAvailable();
    qxdb::Cursor cursor = statement.GetResults(1, "");
    EXPECT_TRUE(cursor.Fetch(qxdb::Cursor::DirectionNext, 1));
    EXPECT_FALSE(cursor.Fetch(qxdb::Cursor::DirectionNext, 1));
    EXPECT_EQ(Rows(connection, "SELECT count(*) FROM t"), Lines{"3"});
}

TEST(SQLiteProperties, TimeoutStopsAStatement) {
    qxdb::Connection connection = Open(":memory:");
    qxdb::Statement statement = StatementOf(connection, endless);
    statement.GetProperties().SetTimeout(1);
    const auto start = std::chrono::steady_clock::now();
    const qxtest::Failure failure = FailureOf([&] { statement.Execute(); });
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(failure.text, "The statement was stopped after 1 second(s)");
    EXPECT_EQ(failure.code, SQLITE_INTERRUPT);
    EXPECT_EQ(failure.state, "HYT00");
    EXPECT_GE(waited, std::chrono::milliseconds(950));
    EXPECT_LT(waited, std::chrono::seconds(10));
    EXPECT_EQ(Rows(connection, "SELECT 1"), Lines{"1"});
    statement.SetStatement("SELECT 1");
    EXPECT_TRUE(statement.Execute());
}

TEST(SQLiteProperties, TimeoutEndsTheWaitForALock) {
    const qxtest::TempFolder folder;
    const std::string file = folder.File("a.db");
    qxdb::Connection first = Open(file, "create");
    RunAll(first, "CREATE TABLE t(a INT); BEGIN IMMEDIATE");
    qxdb::Statement statement = StatementOf(Open(file, "timeout=60000"), "INSERT INTO t VALUES(1)");
    statement.GetProperties().SetTimeout(1);
    EXPECT_EQ(FailureOf([&] { statement.Execute(); }).text, "The statement was stopped after 1 second(s)");
}

TEST(SQLiteProperties, TimeoutDoesNotCountTheTimeBetweenFetches) {
    qxdb::Statement statement = StatementOf(Open(":memory:"), endlessRows);
    statement.GetProperties().SetTimeout(1);
    statement.Execute();
    statement.ResultSetAvailable();
    qxdb::Cursor cursor = statement.GetResults(1, "");
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(1300);
    while (std::chrono::steady_clock::now() < end) {
        ASSERT_TRUE(cursor.Fetch(qxdb::Cursor::DirectionNext, 1));
    }
}

}  // namespace
