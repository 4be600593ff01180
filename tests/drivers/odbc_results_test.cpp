// Results of real servers: blocks, long values, several results, counts.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "drivers/odbc_support.h"
#include "support/process_status.h"

namespace {

using qxdb::Column;
using qxtest::FailureOf;
using qxtest::OpenMariaDB;
using qxtest::OpenPostgres;
using qxtest::OpenResult;
using qxtest::ReadNatively;
using qxtest::Rows;
using qxtest::RunAll;
using qxtest::TestTable;
using Lines = std::vector<std::string>;
using Results = std::vector<Lines>;

// Memory of the process in use, in KiB.
long ResidentKiB() {
    return qxtest::memoryCounts ? qxtest::ProcessStatus("VmRSS:") : 0;
}

struct Totals {
    long rows = 0;
    __int64 numbers = 0;
    std::size_t characters = 0;
    long growthKiB = 0;
};

// Reads a number and a text from each row.
Totals ReadThrough(OpenResult& result) {
    Totals totals;
    const long before = ResidentKiB();
    while (result.Fetch()) {
        totals.numbers += result[0].AsBigInt();
        totals.characters += result[1].AsString().size();
        ++totals.rows;
        if (totals.rows % 100000 == 0) {
            totals.growthKiB = std::max(totals.growthKiB, ResidentKiB() - before);
        }
    }
    return totals;
}

constexpr long million = 1000000;
constexpr long allowedKiB = 24 * 1024;

TEST(PostgresResults, AMillionRowsInBoundedMemory) {
    qxdb::Connection connection = OpenPostgres();
    const long before = ResidentKiB();
    OpenResult result(connection,
                      "SELECT n::bigint, 'row number ' || n FROM generate_series(1, 1000000) AS s(n)");
    const Totals totals = ReadThrough(result);
    EXPECT_EQ(totals.rows, million);
    EXPECT_EQ(totals.numbers, __int64{million} * (million + 1) / 2);
    EXPECT_EQ(totals.characters, 11u * million + 5888896u);
    EXPECT_LT(totals.growthKiB, allowedKiB);
    EXPECT_LT(ResidentKiB() - before, allowedKiB);
}

// MariaDB's driver of the 3.1 series keeps the whole result itself; reading it adds nothing to that.
TEST(MariaDBResults, AMillionRowsAddNoMemoryToTheDriversOwn) {
    qxdb::Connection connection = OpenMariaDB();
    OpenResult result(connection, "SELECT seq, CONCAT('row number ', seq) FROM seq_1_to_1000000");
    const Totals totals = ReadThrough(result);
    EXPECT_EQ(totals.rows, million);
    EXPECT_EQ(totals.characters, 11u * million + 5888896u);
    EXPECT_LT(totals.growthKiB, allowedKiB);
}

TEST(OdbcResults, BlocksOfAnySizeGiveTheSameRows) {
    Lines expected;
    for (int i = 1; i <= 2500; ++i) {
        expected.push_back(std::to_string(i) + "|" + (i % 3 == 0 ? "NULL" : "v" + std::to_string(i)));
    }
    for (const char* const options : {"", "block=1", "block=2", "block=7", "block=999", "block=1000"}) {
        EXPECT_EQ(Rows(OpenMariaDB("", options),
                       "SELECT seq, IF(seq % 3 = 0, NULL, CONCAT('v', seq)) FROM seq_1_to_2500"),
                  expected)
            << options;
        EXPECT_EQ(Rows(OpenPostgres("", options),
                       "SELECT n, CASE WHEN n % 3 > 0 THEN 'v' || n END FROM generate_series(1, 2500) s(n)"),
                  expected)
            << options;
    }
}

// Rows of which a thousand would not fit the memory of a block.
TEST(MariaDBResults, WideRows) {
    std::string columns;
    std::string values;
    std::string expected;
    for (int i = 0; i < 40; ++i) {
        const std::string number = std::to_string(i);
        values += (i > 0 ? "," : "") + ("CAST(CONCAT('value " + number + " of row ', seq) AS CHAR(4000))");
    }
    const Lines rows = Rows(OpenMariaDB(), "SELECT " + values + " FROM seq_1_to_300");
    ASSERT_EQ(rows.size(), 300u);
    for (std::size_t row = 0; row < rows.size(); ++row) {
        std::string line;
        for (int i = 0; i < 40; ++i) {
            line += (i > 0 ? "|value " : "value ") + std::to_string(i) + " of row " + std::to_string(row + 1);
        }
        EXPECT_EQ(rows[row], line);
    }
}

// The text of a cell in the tests of long values: characters of one to four bytes.
std::string LongText(int repeats) {
    std::string text;
    for (int i = 0; i < repeats; ++i) {
        text += "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80";
    }
    return text;
}

// Lengths around those of cells and of pieces, in characters of 10 bytes or 5 UTF-16 units.
constexpr int lengths[] = {0, 1, 101, 102, 103, 127, 128, 1638, 6553, 6554, 13107, 13108, 20000};

TEST(PostgresResults, LongTextsAreWhole) {
    for (const char* const options : {"", "getdata=sequential"}) {
        qxdb::Connection connection = OpenPostgres("", options);
        TestTable table(connection, "long_texts", "n integer, a text, x integer, b text");
        std::string values;
        for (const int length : lengths) {
            const std::string number = std::to_string(length);
            values += (values.empty() ? "(" : ",(") + number +
                      ",repeat('a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80'," + number + ")," + number +
                      ",NULL),(" + number + ",NULL," + number +
                      ",'<' || repeat('a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80'," + number + "))";
        }
        RunAll(connection, "INSERT INTO long_texts VALUES " + values);
        for (const char* const select : {"SELECT n, a, x, b FROM long_texts", "TABLE long_texts"}) {
            OpenResult result(connection, select);
            for (const int length : lengths) {
                ASSERT_TRUE(result.Fetch());
                EXPECT_EQ(ReadNatively(result[1]), LongText(length)) << length;
                EXPECT_EQ(result[2].AsInt(), length);
                EXPECT_TRUE(result[3].IsNull());
                ASSERT_TRUE(result.Fetch());
                EXPECT_TRUE(result[1].IsNull());
                EXPECT_EQ(result[2].AsInt(), length);
                EXPECT_EQ(ReadNatively(result[3]), "<" + LongText(length)) << length;
            }
            EXPECT_FALSE(result.Fetch());
        }
    }
}

// TEXT is read whole, LONGTEXT and LONGBLOB as streams; fields are read in any order.
TEST(MariaDBResults, LongTextsAreWhole) {
    for (const char* const options : {"", "getdata=sequential"}) {
        const bool anyOrder = *options == '\0';
        qxdb::Connection connection = OpenMariaDB("", options);
        TestTable table(connection, "long_texts",
                        "n INT, a TEXT, b LONGTEXT, x BIGINT, c LONGBLOB, d VARCHAR(9)");
        for (const int length : lengths) {
            const std::string number = std::to_string(length);
            const std::string text = "REPEAT('a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80'," + number + ")";
            RunAll(connection, "INSERT INTO long_texts VALUES (" + number + ", LEFT(" + text + ", 6000)," +
                                   text + "," + number + "," + text + ",'end'),(" + number +
                                   ", NULL, NULL, NULL, NULL, NULL)");
        }
        OpenResult result(connection, "SELECT * FROM long_texts");
        EXPECT_EQ(result[1].GetType(), Column::BindString);
        EXPECT_EQ(result[2].GetType(), Column::BindLob);
        EXPECT_EQ(result.cursor.Bind().GetSchema()[2].GetLobFlags(), 0u);
        EXPECT_EQ(result.cursor.Bind().GetSchema()[4].GetLobFlags(), 1u);
        for (const int length : lengths) {
            ASSERT_TRUE(result.Fetch());
            const std::string text = LongText(length);
            if (anyOrder) {
                EXPECT_EQ(result[5].AsString(), "end");
            }
            EXPECT_FALSE(result[1].IsNull());
            EXPECT_EQ(ReadNatively(result[1]), length <= 1500 ? text : LongText(1500));
            EXPECT_EQ(ReadNatively(result[1]), length <= 1500 ? text : LongText(1500));
            EXPECT_FALSE(result[2].IsNull());
            EXPECT_EQ(ReadNatively(result[2]), text);
            EXPECT_EQ(result[3].AsBigInt(), length);
            EXPECT_EQ(ReadNatively(result[4]), text);
            EXPECT_EQ(result[5].AsString(), "end");
            ASSERT_TRUE(result.Fetch());
            for (unsigned int i = 1; i < 6; ++i) {
                EXPECT_TRUE(result[i].IsNull()) << i;
            }
        }
        EXPECT_FALSE(result.Fetch());
    }
}

TEST(OdbcResults, ALargeObjectStreamsInPieces) {
    constexpr std::size_t size = 20 * 1024 * 1024;
    qxdb::Connection connection = OpenMariaDB();
    OpenResult result(connection, "SELECT CAST(REPEAT('0123456789abcdef', 1310720) AS CHAR) AS t");
    ASSERT_TRUE(result.Fetch());
    ASSERT_EQ(result[0].GetType(), Column::BindLob);
    const long before = ResidentKiB();
    qxdb::RawStream* const stream = result[0].GetStream();
    std::vector<unsigned char> piece(100000);
    std::size_t total = 0;
    bool same = true;
    while (const unsigned int count = stream->Read(piece.data(), static_cast<unsigned int>(piece.size()))) {
        for (unsigned int i = 0; i < count; ++i) {
            same = same && piece[i] == "0123456789abcdef"[(total + i) % 16];
        }
        total += count;
    }
    EXPECT_EQ(total, size);
    EXPECT_TRUE(same);
    EXPECT_LT(ResidentKiB() - before, 4 * 1024);
    EXPECT_FALSE(result.Fetch());
    EXPECT_EQ(FailureOf([&] { stream->Read(piece.data(), 1); }).state, "HY010");
}

TEST(OdbcResults, ALargeObjectIsReadOnce) {
    OpenResult result(OpenMariaDB(),
                      "SELECT CAST('abcdef' AS CHAR) AS a, t FROM (SELECT REPEAT('x', 3000000) t) s");
    ASSERT_TRUE(result.Fetch());
    unsigned char bytes[4] = {};
    EXPECT_EQ(result[1].GetStream()->Read(bytes, 4), 4u);
    EXPECT_EQ(result[1].AsString().size(), 3000000u - 4);  // goes on where the stream is
    EXPECT_EQ(result[1].GetStream()->Read(bytes, 4), 0u);
}

TEST(OdbcResults, EmptyResultsHaveColumns) {
    for (const auto& [connection, sql] :
         {std::pair(OpenMariaDB(), "SELECT seq, 'a' AS a FROM seq_1_to_3 WHERE seq > 5"),
          std::pair(OpenPostgres(), "SELECT n, 'a' AS a FROM generate_series(1, 3) s(n) WHERE n > 5")}) {
        OpenResult result(connection, sql);
        EXPECT_EQ(result.cursor.Bind().GetSchema().GetNumberColumns(), 2u);
        EXPECT_EQ(result.fields->GetFieldCount(), 2u);
        EXPECT_EQ(result[1].GetName(), "a");
        EXPECT_FALSE(result.Fetch());
        EXPECT_FALSE(result.Fetch());
        EXPECT_TRUE(result[0].IsNull());
        EXPECT_FALSE(result.statement.ResultSetAvailable());
        EXPECT_EQ(FailureOf([&] { result.cursor.GetRowCount(); }).state, "HY010");
    }
}

TEST(MariaDBResults, AProcedureGivesSeveral) {
    qxdb::Connection connection = OpenMariaDB();
    RunAll(connection, "DROP PROCEDURE IF EXISTS several");
    RunAll(connection,
           "CREATE PROCEDURE several() BEGIN SELECT 1 AS a, 'x' AS b UNION ALL SELECT 2, NULL; "
           "SELECT seq FROM seq_1_to_3 WHERE FALSE; SELECT 'last' AS c; END");
    EXPECT_EQ(RunAll(connection, "CALL several()"), (Results{{"1|x", "2|NULL"}, {}, {"last"}}));
    // Taken without being read to the end.
    OpenResult result(connection, "{call several()}");
    ASSERT_TRUE(result.Fetch());
    ASSERT_TRUE(result.statement.ResultSetAvailable());
    EXPECT_FALSE(result.statement.GetResults(1, "").Fetch(qxdb::Cursor::DirectionNext, 1));
    EXPECT_TRUE(result[0].IsNull());
    ASSERT_TRUE(result.statement.ResultSetAvailable());
    EXPECT_EQ(qxtest::TakeResult(result.statement.GetResults(1, ""), false), Lines{"last"});
    EXPECT_FALSE(result.statement.ResultSetAvailable());
    EXPECT_EQ(FailureOf([&] { result.statement.GetResults(1, ""); }).state, "24000");
    RunAll(connection, "DROP PROCEDURE several");
}

TEST(OdbcResults, CountsOfRows) {
    for (const bool mariadb : {true, false}) {
        SCOPED_TRACE(mariadb ? "MariaDB" : "PostgreSQL");
        qxdb::Connection connection = mariadb ? OpenMariaDB() : OpenPostgres();
        RunAll(connection, "DROP TABLE IF EXISTS counted");
        EXPECT_EQ(RunAll(connection, "CREATE TABLE counted(a INT)"), Results());
        EXPECT_EQ(RunAll(connection, "INSERT INTO counted VALUES(1),(2),(3)"), (Results{{"3 row(s)"}}));
        EXPECT_EQ(RunAll(connection, "UPDATE counted SET a = a + 1 WHERE a > 1"), (Results{{"2 row(s)"}}));
        EXPECT_EQ(RunAll(connection, " /* none */ DELETE FROM counted WHERE a > 100"),
                  (Results{{"0 row(s)"}}));
        EXPECT_EQ(RunAll(connection, "delete from counted"), (Results{{"3 row(s)"}}));
        EXPECT_EQ(RunAll(connection, "SELECT a FROM counted"), (Results{{}}));
        EXPECT_EQ(RunAll(connection, "DROP TABLE counted"), Results());
        EXPECT_EQ(RunAll(connection, mariadb ? "SET @a = 1" : "SET extra_float_digits = 1"), Results());
    }
}

TEST(PostgresResults, TextsOfSeveralStatements) {
    qxdb::Connection connection = OpenPostgres();
    TestTable table(connection, "several", "a integer");
    EXPECT_EQ(RunAll(connection, "SELECT 1; INSERT INTO several VALUES (1),(2); SELECT a FROM several"),
              (Results{{"1"}, {"2 row(s)"}, {"1", "2"}}));
}

// Queries that a cursor can't be declared for run as they are.
TEST(PostgresResults, QueriesWithoutACursor) {
    qxdb::Connection connection = OpenPostgres();
    TestTable table(connection, "sources", "a integer");
    EXPECT_EQ(RunAll(connection,
                     "WITH x AS (INSERT INTO sources VALUES (1), (2), (3) RETURNING a) SELECT a FROM x"),
              (Results{{"1", "2", "3"}}));
    RunAll(connection, "DROP TABLE IF EXISTS targets");
    EXPECT_EQ(RunAll(connection, "SELECT a INTO targets FROM sources WHERE a > 1"), (Results{{"2 row(s)"}}));
    EXPECT_EQ(Rows(connection, "TABLE targets"), (Lines{"2", "3"}));
    EXPECT_EQ(Rows(connection, "SELECT a FROM targets FOR UPDATE"), (Lines{"2", "3"}));
    EXPECT_EQ(Rows(connection, "WITH x AS (SELECT a FROM targets) SELECT a FROM x -- comment"),
              (Lines{"2", "3"}));
    EXPECT_EQ(Rows(connection, "SELECT a FROM targets;\n"), (Lines{"2", "3"}));
    EXPECT_EQ(Rows(connection, "SELECT ';' || a FROM targets /* ; */"), (Lines{";2", ";3"}));
    EXPECT_EQ(Rows(connection, "INSERT INTO targets SELECT a + 10 FROM targets RETURNING a"),
              (Lines{"12", "13"}));
    RunAll(connection, "DROP TABLE targets");
}

// A cursor on the server must be no more to be seen than a plain statement.
TEST(PostgresResults, CursorsAndTransactions) {
    qxdb::Connection connection = OpenPostgres();
    qxdb::Connection other = OpenPostgres();
    TestTable table(connection, "ledger", "a integer");
    // Without a transaction of the user's: everything is committed.
    EXPECT_EQ(Rows(connection, "SELECT a FROM ledger"), Lines());
    RunAll(connection, "INSERT INTO ledger VALUES (1)");
    EXPECT_EQ(Rows(other, "SELECT a FROM ledger"), Lines{"1"});
    // In one: it goes on behind the query.
    RunAll(connection, "BEGIN");
    RunAll(connection, "INSERT INTO ledger VALUES (2)");
    EXPECT_EQ(Rows(connection, "SELECT a FROM ledger"), (Lines{"1", "2"}));
    EXPECT_EQ(Rows(other, "SELECT a FROM ledger"), Lines{"1"});
    RunAll(connection, "ROLLBACK");
    EXPECT_EQ(Rows(connection, "SELECT a FROM ledger"), Lines{"1"});
    // An error leaves the user's transaction failed, as the server has it, and does not end it.
    RunAll(connection, "BEGIN");
    RunAll(connection, "INSERT INTO ledger VALUES (3)");
    EXPECT_EQ(FailureOf(connection, "SELECT a / 0 FROM ledger").state, "22012");
    EXPECT_EQ(FailureOf(connection, "INSERT INTO ledger VALUES (4)").state, "25P02");
    EXPECT_EQ(FailureOf(connection, "SELECT a FROM ledger").state, "25P02");
    RunAll(connection, "COMMIT");
    EXPECT_EQ(Rows(connection, "SELECT a FROM ledger"), Lines{"1"});
    // An error outside of one leaves nothing behind.
    EXPECT_EQ(FailureOf(connection, "SELECT a / 0 FROM ledger").state, "22012");
    EXPECT_EQ(FailureOf(connection, "SELECT a FROM no_such_table").state, "42P01");
    RunAll(connection, "INSERT INTO ledger VALUES (5)");
    EXPECT_EQ(Rows(other, "SELECT a FROM ledger"), (Lines{"1", "5"}));
}

TEST(PostgresResults, AQueryThatChangesRowsOnTheSideIsCommitted) {
    qxdb::Connection connection = OpenPostgres();
    qxdb::Connection other = OpenPostgres();
    TestTable table(connection, "calls", "a integer");
    RunAll(connection,
           "CREATE OR REPLACE FUNCTION log_call(n integer) RETURNS integer LANGUAGE sql AS "
           "$$ INSERT INTO calls VALUES (n) RETURNING a $$");
    EXPECT_EQ(Rows(connection, "SELECT log_call(n) FROM generate_series(1, 3) s(n)"), (Lines{"1", "2", "3"}));
    EXPECT_EQ(Rows(other, "SELECT count(*) FROM calls"), Lines{"3"});
    {
        // Left after the first row, as by a limit of the caller's.
        OpenResult result(connection, "SELECT log_call(n) FROM generate_series(11, 13) s(n)");
        ASSERT_TRUE(result.Fetch());
    }
    EXPECT_EQ(Rows(other, "SELECT count(*) FROM calls"), Lines{"6"});
    RunAll(connection, "DROP FUNCTION log_call");
}

TEST(PostgresResults, AnErrorInMidFetchComesBehindTheRowsBeforeIt) {
    qxdb::Connection connection = OpenPostgres();
    OpenResult result(connection, "SELECT n, 1 / (50000 - n) FROM generate_series(1, 100000) s(n)");
    int rows = 0;
    const qxtest::Failure failure = FailureOf([&] {
        while (result.Fetch()) {
            EXPECT_EQ(result[0].AsInt(), ++rows);
        }
    });
    EXPECT_EQ(failure.text, "ERROR: division by zero");
    EXPECT_EQ(failure.state, "22012");
    EXPECT_GT(rows, 45000);
    EXPECT_LT(rows, 50000);
    EXPECT_FALSE(result.Fetch());
    EXPECT_EQ(Rows(connection, "SELECT n FROM generate_series(1, 2) s(n)"), (Lines{"1", "2"}));
}

TEST(PostgresResults, TwoAtATimeOnOneConnection) {
    qxdb::Connection connection = OpenPostgres();
    OpenResult first(connection, "SELECT n FROM generate_series(1, 3000) s(n)");
    ASSERT_TRUE(first.Fetch());
    OpenResult second(connection, "SELECT n FROM generate_series(1, 3000) s(n)");
    int rows = 1;
    while (first.Fetch()) {
        ASSERT_TRUE(second.Fetch());
        EXPECT_EQ(first[0].AsInt(), ++rows);
        EXPECT_EQ(second[0].AsInt(), rows - 1);
    }
    EXPECT_EQ(rows, 3000);
    EXPECT_TRUE(second.Fetch());
    EXPECT_FALSE(second.Fetch());
}

TEST(MariaDBResults, TwoAtATimeOnOneConnection) {
    qxdb::Connection connection = OpenMariaDB();
    OpenResult first(connection, "SELECT seq FROM seq_1_to_3000");
    ASSERT_TRUE(first.Fetch());
    OpenResult second(connection, "SELECT seq FROM seq_1_to_3000");
    int rows = 1;
    while (first.Fetch()) {
        ASSERT_TRUE(second.Fetch());
        EXPECT_EQ(first[0].AsBigInt(), ++rows);
        EXPECT_EQ(second[0].AsBigInt(), rows - 1);
    }
    EXPECT_EQ(rows, 3000);
}

TEST(OdbcResults, ALimitOfRows) {
    for (const auto& [connection, sql] :
         {std::pair(OpenMariaDB(), "SELECT seq FROM seq_1_to_5000"),
          std::pair(OpenPostgres(), "SELECT n FROM generate_series(1, 5000) s(n)")}) {
        for (const unsigned int limit : {1u, 10u, 1234u}) {
            qxdb::Statement statement = qxdb::Connection(connection).CreateStatement(qxdb::CursorDefault, 1);
            EXPECT_TRUE(
                statement.GetProperties().SupportsProperty(qxdb::StatementProperties::CapabilityMaxRows));
            statement.GetProperties().SetMaxRows(limit);
            statement.SetStatement(sql);
            statement.Execute();
            ASSERT_TRUE(statement.ResultSetAvailable());
            EXPECT_EQ(qxtest::TakeResult(statement.GetResults(1, ""), false).size(), limit);
            EXPECT_FALSE(statement.ResultSetAvailable());
        }
        EXPECT_EQ(Rows(connection, "SELECT 7"), Lines{"7"});
    }
}

TEST(OdbcResults, DescribeOnly) {
    for (const bool mariadb : {true, false}) {
        qxdb::Connection connection = mariadb ? OpenMariaDB() : OpenPostgres();
        TestTable table(connection, "described", "a INT, b VARCHAR(10)");
        qxdb::Statement statement = connection.CreateStatement(qxdb::CursorDefault, 1);
        EXPECT_TRUE(
            statement.GetProperties().SupportsProperty(qxdb::StatementProperties::CapabilityDescribeOnly));
        statement.GetProperties().SetDescribeOnly(true);
        statement.SetStatement("SELECT a, b FROM described");
        statement.Execute();
        ASSERT_TRUE(statement.ResultSetAvailable());
        qxdb::Cursor cursor = statement.GetResults(1, "");
        EXPECT_EQ(cursor.Bind().GetSchema()[1].GetName(), "b");
        EXPECT_EQ(cursor.Bind().GetSchema()[0].GetType(), Column::BindInt);
        EXPECT_FALSE(cursor.Fetch(qxdb::Cursor::DirectionNext, 1));
        EXPECT_FALSE(statement.ResultSetAvailable());
        // What changes rows is not run.
        statement.SetStatement("INSERT INTO described VALUES(1, 'x')");
        statement.Execute();
        EXPECT_FALSE(statement.ResultSetAvailable());
        EXPECT_EQ(Rows(connection, "SELECT COUNT(*) FROM described"), Lines{"0"});
    }
}

TEST(OdbcResults, FieldsReadNumbersInEveryWidth) {
    OpenResult result(OpenMariaDB(),
                      "SELECT 200, 70000, CAST(5000000000 AS SIGNED), CAST(1.5 AS DECIMAL(5,2)), "
                      "2.5E0, CAST(18446744073709551615 AS UNSIGNED), CAST(3 AS DECIMAL(5,0))");
    ASSERT_TRUE(result.Fetch());
    EXPECT_EQ(result[0].AsShort(), 200);
    EXPECT_EQ(result[0].AsBigInt(), 200);
    EXPECT_EQ(result[0].AsDouble(), 200.0);
    EXPECT_EQ(result[0].AsDecimal().AsString(false, -1), "200");
    EXPECT_EQ(result[1].AsInt(), 70000);
    EXPECT_EQ(FailureOf([&] { result[1].AsShort(); }).state, "22018");
    EXPECT_EQ(result[2].AsLong(), 5000000000);
    EXPECT_EQ(
        FailureOf([&] { result[2].AsInt(); }).text,
        "Result set 1, row 1, column \"CAST(5000000000 AS SIGNED)\": the value '5000000000' does not fit "
        "the type bigint");
    EXPECT_EQ(result[3].AsDouble(), 1.5);
    EXPECT_EQ(FailureOf([&] { result[3].AsBigInt(); }).state, "22018");
    EXPECT_EQ(result[4].AsFloat(), 2.5f);
    EXPECT_EQ(FailureOf([&] { result[5].AsBigInt(); }).state, "22018");
    EXPECT_EQ(result[5].AsDecimal().AsString(false, -1), "18446744073709551615");
    EXPECT_EQ(result[6].AsBigInt(), 3);
    EXPECT_EQ(FailureOf([&] { result[0].AsTimestamp(); }).text, "Field \"200\" has no AsTimestamp");
    EXPECT_EQ(FailureOf([&] { result[0].GetStream(); }).text, "Field \"200\" has no GetStream");
}

}  // namespace
