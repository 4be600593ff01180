// What servers say: errors with their places, warnings, notices.
#include <gtest/gtest.h>

#include "drivers/odbc_support.h"

namespace {

using qxtest::Failure;
using qxtest::FailureOf;
using qxtest::Messages;
using qxtest::OpenMariaDB;
using qxtest::OpenPostgres;
using qxtest::Rows;
using qxtest::RunAll;
using qxtest::TestTable;
using Lines = std::vector<std::string>;

void ExpectFailure(qxdb::Connection connection, const std::string& sql, const Failure& expected) {
    SCOPED_TRACE(sql);
    const Failure failure = FailureOf(connection, sql);
    EXPECT_EQ(failure.text, expected.text);
    EXPECT_EQ(failure.state, expected.state);
    EXPECT_EQ(failure.code, expected.code);
    EXPECT_EQ(failure.line, expected.line);
    EXPECT_EQ(failure.position, expected.position);
    EXPECT_EQ(failure.severity, 2);
}

const std::string syntaxText =
    "You have an error in your SQL syntax; check the manual that corresponds to your MariaDB server version "
    "for the right syntax to use near ";

TEST(MariaDBMessages, ErrorsHaveCodeStateTextAndPlace) {
    qxdb::Connection connection = OpenMariaDB();
    ExpectFailure(connection, "SELECT * FROM nope",
                  {2, 1146, 0, 0, "Table 'qx.nope' doesn't exist", "42S02"});
    ExpectFailure(connection, "SELECT 1,\n  2\nFROMM x",
                  {2, 1064, 3, 21, syntaxText + "'x' at line 3", "42000"});
    ExpectFailure(connection, "SELEC 1\nFROM x",
                  {2, 1064, 1, 1, syntaxText + "'SELEC 1\nFROM x' at line 1", "42000"});
    // The rest of the text is quoted at most up to 80 characters; the place is the same.
    ExpectFailure(connection, "SELECT 'line\n1',\n\n wher (" + std::string(200, '1') + ")",
                  {2, 1305, 0, 0, "FUNCTION qx.wher does not exist", "42000"});
    ExpectFailure(connection, "SELECT\n1 1 1\n FROM t",
                  {2, 1064, 2, 10, syntaxText + "'1 1\n FROM t' at line 2", "42000"});
    ExpectFailure(connection, "SELECT (1", {2, 1064, 1, 0, syntaxText + "'' at line 1", "42000"});
    ExpectFailure(connection,
                  "SIGNAL SQLSTATE '45000' SET MESSAGE_TEXT = 'own \xE2\x82\xAC', MYSQL_ERRNO = 5000",
                  {2, 5000, 0, 0, "own \xE2\x82\xAC", "45000"});
    EXPECT_EQ(Rows(connection, "SELECT 1"), Lines{"1"});
}

TEST(PostgresMessages, ErrorsHaveStateTextAndPlace) {
    qxdb::Connection connection = OpenPostgres();
    ExpectFailure(connection, "SELECT * FROM nope",
                  {2, 1, 0, 0, "ERROR: relation \"nope\" does not exist", "42P01"});
    ExpectFailure(connection, "SELECT 1,\n  2\nFROM pg_class whera relname",
                  {2, 1, 3, 35, "ERROR: syntax error at or near \"relname\"", "42601"});
    ExpectFailure(connection, "selec 1", {2, 1, 1, 1, "ERROR: syntax error at or near \"selec\"", "42601"});
    // The word stands there twice, so that its place can't be told.
    ExpectFailure(connection, "SELECT 1 AS x FROM x x x",
                  {2, 1, 0, 0, "ERROR: syntax error at or near \"x\"", "42601"});
    ExpectFailure(connection, "SELECT (1,\n2", {2, 1, 2, 13, "ERROR: syntax error at end of input", "42601"});
    ExpectFailure(connection, "SELECT 1/0", {2, 1, 0, 0, "ERROR: division by zero", "22012"});
    ExpectFailure(connection,
                  "DO $$ BEGIN RAISE EXCEPTION 'own \xE2\x82\xAC' USING ERRCODE = 'QX001'; END $$",
                  {2, 1, 0, 0, "ERROR: own \xE2\x82\xAC", "QX001"});
    EXPECT_EQ(Rows(connection, "SELECT 1"), Lines{"1"});
}

TEST(MariaDBMessages, WarningsAreInformationalRecords) {
    qxdb::Connection connection = OpenMariaDB();
    TestTable table(connection, "warned", "a TINYINT");
    Messages messages;
    connection.SetCallback(&messages);
    RunAll(connection, "INSERT IGNORE INTO warned VALUES(1000)");
    ASSERT_EQ(messages.all.size(), 1u);
    EXPECT_EQ(messages.all[0].text, "Out of range value for column 'a' at row 1");
    EXPECT_EQ(messages.all[0].code, 1264);
    EXPECT_EQ(messages.all[0].severity, 1);
    EXPECT_EQ(messages.all[0].sqlState, "01000");
    messages.all.clear();

    RunAll(connection, "DROP TABLE IF EXISTS not_there_at_all");
    ASSERT_EQ(messages.all.size(), 1u);
    EXPECT_EQ(messages.all[0].text, "Unknown table 'qx.not_there_at_all'");
    EXPECT_EQ(messages.all[0].severity, 0);
    EXPECT_EQ(messages.all[0].sqlState, "00000");
    messages.all.clear();

    // Of a query they come when it is at its end.
    {
        qxtest::OpenResult result(connection, "SELECT 1 / 0, CAST('1\xE2\x82\xAC' AS SIGNED)");
        EXPECT_TRUE(result.Fetch());
        EXPECT_FALSE(result.Fetch());
        EXPECT_TRUE(messages.all.empty());
        EXPECT_FALSE(result.statement.ResultSetAvailable());
    }
    ASSERT_EQ(messages.all.size(), 2u);
    EXPECT_EQ(messages.all[0].text, "Division by 0");
    EXPECT_EQ(messages.all[1].text, "Truncated incorrect INTEGER value: '1\xE2\x82\xAC'");
    messages.all.clear();

    connection.SetCallback(nullptr);
    RunAll(connection, "INSERT IGNORE INTO warned VALUES(1000)");
    EXPECT_TRUE(messages.all.empty());
    // Nor is whoever listens later told of them, behind a statement that uses no table.
    connection.SetCallback(&messages);
    RunAll(connection, "SET @a = 1");
    EXPECT_TRUE(messages.all.empty());
    RunAll(connection, "INSERT IGNORE INTO warned VALUES(1000)");
    EXPECT_EQ(messages.all.size(), 1u);
}

// A statement that uses no table leaves the warnings of the one before it on the server.
TEST(MariaDBMessages, WarningsAreNotToldTwice) {
    qxdb::Connection connection = OpenMariaDB();
    Messages messages;
    connection.SetCallback(&messages);
    RunAll(connection, "SELECT 1 / 0");
    EXPECT_EQ(messages.all.size(), 1u);
    RunAll(connection, "SELECT 1");
    RunAll(connection, "SET @a = 1");
    EXPECT_EQ(messages.all.size(), 1u);
    // The same again is a new one.
    RunAll(connection, "SELECT 1 / 0");
    EXPECT_EQ(messages.all.size(), 2u);
    // The user's own question is answered.
    EXPECT_EQ(Rows(connection, "SHOW WARNINGS"), Lines{"Warning|1365|Division by 0"});
    EXPECT_EQ(Rows(connection, "SELECT @@warning_count"), Lines{"1"});
    EXPECT_EQ(messages.all.size(), 2u);
}

TEST(MariaDBMessages, QuestionsAboutTheStatementBeforeAreAnswered) {
    const std::string found = "SELECT SQL_CALC_FOUND_ROWS seq FROM seq_1_to_5 LIMIT 2";
    qxdb::Connection connection = OpenMariaDB();
    TestTable table(connection, "counted_rows", "a INT");
    Messages messages;
    connection.SetCallback(&messages);
    RunAll(connection, found);
    EXPECT_EQ(Rows(connection, "SELECT FOUND_ROWS()"), Lines{"5"});
    // Asking for warnings costs the count of rows, unless that is switched off.
    qxdb::Connection silent = OpenMariaDB("", "warnings=off");
    silent.SetCallback(&messages);
    RunAll(silent, "INSERT IGNORE INTO counted_rows VALUES (1), ('x')");
    EXPECT_EQ(Rows(silent, "SELECT ROW_COUNT()"), Lines{"2"});
    EXPECT_TRUE(messages.all.empty());
}

TEST(PostgresMessages, NoticesComeOneByOne) {
    qxdb::Connection connection = OpenPostgres();
    Messages messages;
    connection.SetCallback(&messages);
    RunAll(connection,
           "DO $$ BEGIN RAISE NOTICE 'hello \xF0\x9F\x98\x80; you'; RAISE WARNING 'second %', 2; END $$");
    ASSERT_EQ(messages.all.size(), 2u);
    EXPECT_EQ(messages.all[0].text, "NOTICE: hello \xF0\x9F\x98\x80; you");
    EXPECT_LT(messages.all[0].severity, 2);
    EXPECT_EQ(messages.all[1].text, "WARNING: second 2");
    EXPECT_LT(messages.all[1].severity, 2);
    messages.all.clear();
    RunAll(connection, "DROP TABLE IF EXISTS not_there_at_all");
    ASSERT_EQ(messages.all.size(), 1u);
    EXPECT_EQ(messages.all[0].text, "NOTICE: table \"not_there_at_all\" does not exist, skipping");
    EXPECT_EQ(messages.all[0].sqlState, "00000");
    messages.all.clear();
    // Values that are longer than their cells are no news.
    EXPECT_EQ(Rows(connection, "SELECT repeat('x', 5000) FROM generate_series(1, 2)").size(), 2u);
    EXPECT_TRUE(messages.all.empty());
    connection.SetCallback(nullptr);
    RunAll(connection, "DO $$ BEGIN RAISE NOTICE 'silent'; END $$");
    EXPECT_TRUE(messages.all.empty());
}

TEST(PostgresMessages, NoticesOfAQueryThroughACursor) {
    qxdb::Connection connection = OpenPostgres();
    RunAll(connection,
           "CREATE OR REPLACE FUNCTION noisy(n integer) RETURNS integer LANGUAGE plpgsql AS "
           "$$ BEGIN RAISE NOTICE 'row %', n; RETURN n; END $$");
    Messages messages;
    connection.SetCallback(&messages);
    EXPECT_EQ(Rows(connection, "SELECT noisy(n) FROM generate_series(1, 3) s(n)"), (Lines{"1", "2", "3"}));
    ASSERT_EQ(messages.all.size(), 3u);
    EXPECT_EQ(messages.all[2].text, "NOTICE: row 3");
    connection.SetCallback(nullptr);
    RunAll(connection, "DROP FUNCTION noisy");
}

}  // namespace
