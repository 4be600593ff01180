#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cctype>
#include <cstdlib>
#include <ostream>
#include <stdexcept>

#include "drivers/sqlite_support.h"

namespace {

using qxdb::Column;
using qxtest::FailureOf;
using qxtest::Open;
using qxtest::OpenResult;
using qxtest::ReadNatively;
using qxtest::Rows;
using qxtest::RunAll;
using Lines = std::vector<std::string>;

// A table t of one column a with these SQL values, in order.
qxdb::Connection TableOf(const std::string& declared, std::initializer_list<const char*> values) {
    qxdb::Connection connection = Open(":memory:");
    RunAll(connection, "CREATE TABLE t(a " + declared + ")");
    for (const char* value : values) {
        RunAll(connection, std::string("INSERT INTO t VALUES(") + value + ")");
    }
    return connection;
}

struct FitCase {
    const char* declared;
    const char* value;     // SQL
    const char* expected;  // as read; null: it does not fit
    const char* shown;     // the value in the message
};

void PrintTo(const FitCase& c, std::ostream* out) {
    *out << c.declared << " " << c.value;
}

std::string NameOf(const testing::TestParamInfo<FitCase>& info) {
    std::string name = std::to_string(info.index) + "_";
    for (const char c : std::string(info.param.declared) + "_" + info.param.value) {
        name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    }
    return name.substr(0, 60);
}

class Value : public testing::TestWithParam<FitCase> {};

TEST_P(Value, FitsOrIsRefused) {
    const FitCase& c = GetParam();
    qxdb::Connection connection = Open(":memory:");
    RunAll(connection, std::string("CREATE TABLE t(\"the col\" ") + c.declared +
                           "); INSERT INTO t VALUES(NULL), (" + c.value + ")");
    OpenResult result(connection, "SELECT \"the col\" FROM t ORDER BY rowid");
    ASSERT_TRUE(result.Fetch());
    EXPECT_TRUE(result[0].IsNull());
    ASSERT_TRUE(result.Fetch());
    EXPECT_FALSE(result[0].IsNull());
    if (c.expected) {
        EXPECT_EQ(ReadNatively(result[0]), c.expected);
        EXPECT_FALSE(result.Fetch());
        EXPECT_TRUE(result[0].IsNull());
        return;
    }
    const qxtest::Failure failure = FailureOf([&] { ReadNatively(result[0]); });
    const std::string type = std::string(c.declared).substr(0, std::string(c.declared).find('('));
    EXPECT_EQ(failure.text, "Result set 1, row 2, column \"the col\": the value " + std::string(c.shown) +
                                " does not fit the type " + type);
    EXPECT_EQ(failure.code, SQLITE_MISMATCH);
    EXPECT_EQ(failure.state, "22018");
    EXPECT_EQ(failure.severity, 2);
    EXPECT_EQ(failure.line, 1);
}

const FitCase fitCases[] = {
    {"INTEGER", "9223372036854775807", "9223372036854775807", ""},
    {"INTEGER", "-9223372036854775808", "-9223372036854775808", ""},
    {"INTEGER", "9223372036854775808", nullptr, "'9223372036854775808.0' (REAL)"},
    {"INTEGER", "1.5", nullptr, "'1.5' (REAL)"},
    {"INTEGER", "1e300", nullptr, "'1.0e+300' (REAL)"},
    {"INTEGER", "1e999", nullptr, "'Inf' (REAL)"},
    {"INTEGER", "-1e999", nullptr, "'-Inf' (REAL)"},
    {"INTEGER", "'abc'", nullptr, "'abc' (TEXT)"},
    {"INTEGER", "''", nullptr, "'' (TEXT)"},
    {"INTEGER", "x'0102'", nullptr, "'0102' (BLOB)"},
    {"MEDIUMINT", "2147483647", "2147483647", ""},
    {"MEDIUMINT", "-2147483648", "-2147483648", ""},
    {"MEDIUMINT", "2147483648", nullptr, "'2147483648' (INTEGER)"},
    {"MEDIUMINT", "-2147483649", nullptr, "'-2147483649' (INTEGER)"},
    {"SMALLINT", "32767", "32767", ""},
    {"SMALLINT", "-32768", "-32768", ""},
    {"SMALLINT", "32768", nullptr, "'32768' (INTEGER)"},
    {"SMALLINT", "-32769", nullptr, "'-32769' (INTEGER)"},
    {"BOOLEAN", "1", "1", ""},
    {"BOOLEAN", "true", "1", ""},
    {"BOOLEAN", "'true'", nullptr, "'true' (TEXT)"},
    {"DOUBLE", "1.5", "1.5", ""},
    {"DOUBLE", "3", "3", ""},
    {"DOUBLE", "1e300", "1E+300", ""},
    {"DOUBLE", "'x'", nullptr, "'x' (TEXT)"},
    {"DOUBLE", "x'00'", nullptr, "'00' (BLOB)"},
    {"DECIMAL(12,2)", "12.5", "12.50", ""},
    {"DECIMAL(12,2)", "12", "12.00", ""},
    {"DECIMAL(12,2)", "0", "0.00", ""},
    {"DECIMAL(12,2)", "-0.01", "-0.01", ""},
    {"DECIMAL(12,2)", "0.07", "0.07", ""},
    {"DECIMAL(12,2)", "1234567890.12", "1234567890.12", ""},
    {"DECIMAL(12,2)", "9999999999.99", "9999999999.99", ""},
    {"DECIMAL(12,2)", "0.125", "0.125", ""},
    {"DECIMAL(12,2)", "0.1 + 0.2", "0.30000000000000004", ""},
    {"DECIMAL(12,2)", "9223372036854775807", "9223372036854775807.00", ""},
    {"DECIMAL(12,2)", "-9223372036854775808", "-9223372036854775808.00", ""},
    {"DECIMAL(30,20)", "5", "5.00000000000000000000", ""},
    {"DECIMAL(30,20)", "0.1", "0.10000000000000000000", ""},
    {"DECIMAL(12,2)", "1e20", "100000000000000000000.00", ""},
    {"DECIMAL(12,2)", "1e999", nullptr, "'Inf' (REAL)"},
    {"DECIMAL(12,2)", "'n/a'", nullptr, "'n/a' (TEXT)"},
    {"DECIMAL(12,2)", "''", nullptr, "'' (TEXT)"},
    {"DECIMAL(12,2)", "x'31'", nullptr, "'31' (BLOB)"},
    {"NUMERIC", "1.25", "1.25", ""},
    {"VARCHAR(10)", "'abc'", "abc", ""},
    {"VARCHAR(10)", "''", "", ""},
    {"VARCHAR(2)", "'longer than declared'", "longer than declared", ""},
    {"VARCHAR(10)", "12", "12", ""},
    {"VARCHAR(10)", "1.5", "1.5", ""},
    {"VARCHAR(10)", "x'4142'", nullptr, "'4142' (BLOB)"},
    {"BLOB", "x'00FF10'", "00FF10", ""},
    {"BLOB", "x''", "", ""},
    {"BLOB", "'abc'", "616263", ""},
    {"BLOB", "5", nullptr, "'5' (INTEGER)"},
    {"BLOB", "2.0", nullptr, "'2.0' (REAL)"},
    {"CLOB", "'a long text in pieces'", "a long text in pieces", ""},
    {"CLOB", "''", "", ""},
    {"CLOB", "42", "42", ""},
    {"CLOB", "x'41'", nullptr, "'41' (BLOB)"},
    {"LONGBLOB", "x'4142434445464748'", "ABCDEFGH", ""},
    {"LONGBLOB", "'text'", "text", ""},
    {"LONGBLOB", "7", nullptr, "'7' (INTEGER)"},
    {"DATE", "'2024-02-29'", "2024-02-29", ""},
    {"DATE", "'2024-02-29 00:00:00'", "2024-02-29", ""},
    {"DATE", "'2024-02-29 00:00:01'", nullptr, "'2024-02-29 00:00:01' (TEXT)"},
    {"DATE", "'2023-02-29'", nullptr, "'2023-02-29' (TEXT)"},
    {"DATE", "'29.02.2024'", nullptr, "'29.02.2024' (TEXT)"},
    {"DATE", "20240229", nullptr, "'20240229' (INTEGER)"},
    {"DATE", "2460369.5", nullptr, "'2460369.5' (REAL)"},
    {"DATETIME", "'2024-02-29 23:59:59'", "2024-02-29 23:59:59.000", ""},
    {"DATETIME", "'2024-02-29T23:59:59.5'", "2024-02-29 23:59:59.500", ""},
    {"DATETIME", "'2024-02-29 23:59:59.0001'", nullptr, "'2024-02-29 23:59:59.0001' (TEXT)"},
    {"DATETIME", "'2024-02-29 23:59:59Z'", nullptr, "'2024-02-29 23:59:59Z' (TEXT)"},
    {"DATETIME", "1700000000", nullptr, "'1700000000' (INTEGER)"},
    {"DATETIME", "x'32303234'", nullptr, "'32303234' (BLOB)"},
    {"TIMESTAMP(6)", "'2024-02-29 23:59:59.123456'", "2024-02-29 23:59:59.123456", ""},
    {"TIMESTAMP(0)", "'2024-02-29 23:59:59'", "2024-02-29 23:59:59", ""},
    {"TIMESTAMP(0)", "'2024-02-29 23:59:59.1'", nullptr, "'2024-02-29 23:59:59.1' (TEXT)"},
    {"TIME", "'10:30:59'", "10:30:59", ""},
    {"TIME", "'10:30'", "10:30:00", ""},
    {"TIME", "'10:30:59.5'", nullptr, "'10:30:59.5' (TEXT)"},
    {"TIME(3)", "'10:30:59.5'", "10:30:59.500", ""},
    {"TIME", "'2024-02-29 10:30:59'", nullptr, "'2024-02-29 10:30:59' (TEXT)"},
    {"TIME", "'25:00'", nullptr, "'25:00' (TEXT)"},
    {"GEOMETRY", "'no type, and NULL in the first row'", "no type, and NULL in the first row", ""},
    {"GEOMETRY", "17", "17", ""},
    {"GEOMETRY", "x'17'", nullptr, "'17' (BLOB)"},
};

INSTANTIATE_TEST_SUITE_P(SQLite, Value, testing::ValuesIn(fitCases), NameOf);

TEST(SQLiteFields, TextInADecimalColumnIsExact) {
    qxdb::Connection connection = TableOf("DECIMAL(12,2)", {"1"});
    OpenResult result(connection,
                      "SELECT a FROM t UNION ALL SELECT ' 12345678901234567890.123456789 ' "
                      "UNION ALL SELECT '-1.5' UNION ALL SELECT '1.5x'");
    EXPECT_EQ(result[0].GetType(), Column::BindDecimal);
    ASSERT_TRUE(result.Fetch() && result.Fetch());
    EXPECT_EQ(result[0].AsDecimal().AsString(false, -1), "12345678901234567890.123456789");
    ASSERT_TRUE(result.Fetch());
    EXPECT_EQ(result[0].AsDecimal().AsString(false, -1), "-1.50");
    ASSERT_TRUE(result.Fetch());
    EXPECT_EQ(FailureOf([&] { result[0].AsDecimal(); }).text,
              "Result set 1, row 4, column \"a\": the value '1.5x' (TEXT) does not fit the type DECIMAL");
}

TEST(SQLiteFields, EveryCentIsExact) {
    qxdb::Connection connection = Open(":memory:");
    RunAll(connection,
           "CREATE TABLE t(n INT, a DECIMAL(12,2));"
           "WITH RECURSIVE c(i) AS (SELECT -20000 UNION ALL SELECT i + 1 FROM c WHERE i < 20000) "
           "INSERT INTO t SELECT i * 7919 + i, (i * 7919 + i) / 100.0 FROM c");
    OpenResult result(connection, "SELECT n, a FROM t");
    int rows = 0;
    for (; result.Fetch(); ++rows) {
        const qxdb::Decimal expected(result[0].AsBigInt(), 2);
        const qxdb::Decimal value = result[1].AsDecimal();
        ASSERT_EQ(value.Compare(expected), 0) << result[0].AsBigInt();
        ASSERT_EQ(value.GetScale(), 2);
    }
    EXPECT_EQ(rows, 40001);
}

TEST(SQLiteFields, WholeRealFitsAnIntegerColumn) {
    OpenResult result(Open(":memory:"), "SELECT 1 AS a UNION ALL SELECT 2.0 UNION ALL SELECT 2.5");
    ASSERT_TRUE(result.Fetch() && result.Fetch());
    EXPECT_EQ(result[0].AsBigInt(), 2);
    EXPECT_EQ(result[0].AsLong(), 2);
    EXPECT_EQ(result[0].AsShort(), 2);
    ASSERT_TRUE(result.Fetch());
    EXPECT_EQ(FailureOf([&] { result[0].AsBigInt(); }).text,
              "Result set 1, row 3, column \"a\": the value '2.5' (REAL) does not fit the type INTEGER");
    EXPECT_EQ(result[0].AsDouble(), 2.5);
    EXPECT_EQ(result[0].AsString(), "2.5");
}

TEST(SQLiteFields, IntegerThatNoDoubleHoldsDoesNotFitADouble) {
    OpenResult result(Open(":memory:"),
                      "SELECT 0.5 AS a UNION ALL SELECT 9007199254740992 UNION ALL SELECT 9007199254740993");
    ASSERT_TRUE(result.Fetch() && result.Fetch());
    EXPECT_EQ(result[0].AsDouble(), 9007199254740992.0);
    ASSERT_TRUE(result.Fetch());
    EXPECT_EQ(FailureOf([&] { result[0].AsDouble(); }).text,
              "Result set 1, row 3, column \"a\": the value '9007199254740993' (INTEGER) does not fit the "
              "type REAL");
}

TEST(SQLiteFields, EmptyTextInTheFirstRowStaysAStringColumn) {
    OpenResult result(Open(":memory:"), "SELECT '' AS a UNION ALL SELECT 12 UNION ALL SELECT 0.1");
    ASSERT_TRUE(result.Fetch());
    EXPECT_FALSE(result[0].IsNull());
    EXPECT_EQ(result[0].AsString(), "");
    ASSERT_TRUE(result.Fetch());
    EXPECT_EQ(ReadNatively(result[0]), "12");
    ASSERT_TRUE(result.Fetch());
    EXPECT_EQ(ReadNatively(result[0]), "0.1");
}

TEST(SQLiteFields, LongValuesAreCutInMessagesAtACharacter) {
    struct Case {
        std::string value;
        std::string shown;
    };
    const std::string umlaut = "\xC3\xA4";
    const Case cases[] = {
        {"'" + std::string(60, 'x') + "'", std::string(60, 'x') + "' (TEXT)"},
        {"'" + std::string(61, 'x') + "'", std::string(60, 'x') + "...' (TEXT)"},
        {"'" + std::string(59, 'x') + umlaut + "y'", std::string(59, 'x') + "...' (TEXT)"},
        {"'" + std::string(58, 'x') + umlaut + "y'", std::string(58, 'x') + umlaut + "...' (TEXT)"},
        {"zeroblob(31)", std::string(60, '0') + "...' (BLOB)"},
        {"zeroblob(30)", std::string(60, '0') + "' (BLOB)"},
        // no characters at all: continuation bytes only
        {"CAST(x'" + std::string(140, '8') + "' AS TEXT)", std::string(60, '\x88') + "...' (TEXT)"},
    };
    for (const Case& c : cases) {
        OpenResult result(Open(":memory:"), "SELECT 1 AS a UNION ALL SELECT " + c.value);
        ASSERT_TRUE(result.Fetch() && result.Fetch());
        EXPECT_EQ(
            FailureOf([&] { result[0].AsInt(); }).text,
            "Result set 1, row 2, column \"a\": the value '" + c.shown + " does not fit the type INTEGER");
    }
}

TEST(SQLiteFields, MisfitNamesTheResultSetAndItsPlaceInTheText) {
    qxdb::Connection connection = TableOf("INT", {"1", "'x'"});
    qxdb::Statement statement = connection.CreateStatement(qxdb::CursorDefault, 1);
    statement.SetStatement("SELECT 1;\nUPDATE t SET a = a;\n\n  SELECT a FROM t");
    statement.Execute();
    qxdb::Cursor cursor;
    while (statement.ResultSetAvailable()) {
        cursor = statement.GetResults(1, "");
        if (cursor.Bind().GetSchema().GetNumberColumns() == 1 &&
            cursor.Bind().GetSchema()[0].GetName() == "a") {
            break;
        }
    }
    qxdb::BindValue binding = cursor.Bind();
    qxdb::Fields fields(binding, false, {}, false, nullptr);
    cursor.Fetch(qxdb::Cursor::DirectionNext, 1);
    cursor.Fetch(qxdb::Cursor::DirectionNext, 1);
    const qxtest::Failure failure = FailureOf([&] { fields[0].AsBigInt(); });
    EXPECT_EQ(failure.text,
              "Result set 2, row 2, column \"a\": the value 'x' (TEXT) does not fit the type INT");
    EXPECT_EQ(failure.line, 4);
    EXPECT_EQ(failure.position, 34);
}

TEST(SQLiteFields, ReadingGoesOnAfterAMisfit) {
    OpenResult result(TableOf("INT", {"1", "'x'", "3"}), "SELECT a FROM t");
    ASSERT_TRUE(result.Fetch() && result.Fetch());
    FailureOf([&] { result[0].AsBigInt(); });
    EXPECT_EQ(result[0].AsString(), "x");
    ASSERT_TRUE(result.Fetch());
    EXPECT_EQ(result[0].AsBigInt(), 3);
    EXPECT_FALSE(result.Fetch());
}

TEST(SQLiteFields, BindAsStringsReadsEverything) {
    qxdb::Connection connection = TableOf(
        "DATE", {"1", "-1.5", "0.1", "1e20", "1e-7", "1e999", "'any text'", "x'00AB'", "NULL", "100.0"});
    EXPECT_EQ(Rows(connection, "SELECT a FROM t", true),
              (Lines{"1", "-1.5", "0.1", "1.0e+20", "1.0e-07", "Inf", "any text", "00AB", "NULL", "100"}));
    OpenResult result(connection, "SELECT a, 1 AS b, x'FF' AS c, 5.0 AS d FROM t", true);
    ASSERT_TRUE(result.Fetch());
    for (unsigned int i = 0; i < 4; ++i) {
        EXPECT_EQ(result[i].GetType(), Column::BindString);
    }
    EXPECT_EQ(ReadNatively(result[2]), "FF");
    EXPECT_EQ(ReadNatively(result[3]), "5.0");
}

TEST(SQLiteFields, RealsAsStringsReadBackAsTheSameNumber) {
    for (const double value : {0.1 + 0.2, 1.0 / 3, 5e-324, 1.7976931348623157e308, -123456.789}) {
        qxdb::Connection connection = Open(":memory:");
        qxdb::Statement statement = connection.CreateStatement(qxdb::CursorDefault, 1);
        statement.Prepare("SELECT ?", qxdb::Statement::PrepareSQL);
        qxdb::BindValue binding = statement.Bind();
        qxdb::Fields parameters(binding, false, {}, false, nullptr);
        parameters[0].SetDouble(value);
        statement.Execute();
        ASSERT_TRUE(statement.ResultSetAvailable());
        qxdb::Cursor cursor = statement.GetResults(1, "");
        qxdb::BindValue row = cursor.Bind();
        qxdb::Fields fields(row, true, {}, false, nullptr);
        ASSERT_TRUE(cursor.Fetch(qxdb::Cursor::DirectionNext, 1));
        EXPECT_EQ(std::strtod(fields[0].AsString().c_str(), nullptr), value);
    }
}

TEST(SQLiteFields, TextKeepsEveryByte) {
    struct Case {
        const char* sql;
        std::string expected;
    };
    const Case cases[] = {
        {"CAST(x'610062' AS TEXT)", std::string("a\0b", 3)},
        {"CAST(x'000000' AS TEXT)", std::string(3, '\0')},
        {"CAST(x'FFFE80C0' AS TEXT)", "\xFF\xFE\x80\xC0"},
        {"char(128512)", "\xF0\x9F\x98\x80"},
        {"'\xF0\x9F\x98\x80\xE2\x82\xAC'", "\xF0\x9F\x98\x80\xE2\x82\xAC"},
    };
    for (const Case& c : cases) {
        OpenResult result(Open(":memory:"), std::string("SELECT ") + c.sql);
        ASSERT_TRUE(result.Fetch());
        EXPECT_EQ(ReadNatively(result[0]), c.expected) << c.sql;
        OpenResult asString(Open(":memory:"), std::string("SELECT ") + c.sql, true);
        ASSERT_TRUE(asString.Fetch());
        EXPECT_EQ(ReadNatively(asString[0]), c.expected) << c.sql;
    }
}

TEST(SQLiteFields, DatabasesInUtf16GiveUtf8) {
    qxdb::Connection connection = Open(":memory:");
    RunAll(connection,
           "PRAGMA encoding = 'UTF-16le'; CREATE TABLE t(a TEXT, b BLOB, c CLOB);"
           "INSERT INTO t VALUES('\xF0\x9F\x98\x80x', '\xC3\xA4', '\xE2\x82\xAC')");
    OpenResult result(connection, "SELECT a, b, c FROM t");
    ASSERT_TRUE(result.Fetch());
    EXPECT_EQ(ReadNatively(result[0]), "\xF0\x9F\x98\x80x");
    EXPECT_EQ(ReadNatively(result[1]), "C3A4");
    EXPECT_EQ(ReadNatively(result[2]), "\xE2\x82\xAC");
}

TEST(SQLiteFields, NotANumberIsNull) {
    OpenResult result(Open(":memory:"), "SELECT 1e999 - 1e999 AS a, 9e999 * 0 AS b");
    ASSERT_TRUE(result.Fetch());
    EXPECT_TRUE(result[0].IsNull());
    EXPECT_TRUE(result[1].IsNull());
}

TEST(SQLiteFields, BigBlobIsReadInPieces) {
    constexpr unsigned int size = 20000003;
    qxdb::Connection connection = Open(":memory:");
    RunAll(connection,
           "CREATE TABLE t(a LONGBLOB, b BLOB); INSERT INTO t SELECT zeroblob(20000000) || x'010203', "
           "x'0A0B'; UPDATE t SET a = CAST(a AS BLOB)");
    OpenResult result(connection, "SELECT a, b FROM t");
    ASSERT_TRUE(result.Fetch());
    std::vector<unsigned char> piece(65536);
    qxdb::RawStream* stream = result[0].GetStream();
    unsigned int total = 0;
    unsigned int sum = 0;
    while (const unsigned int count = stream->Read(piece.data(), 65536)) {
        EXPECT_TRUE(count == 65536 || total + count == size);
        total += count;
        for (unsigned int i = 0; i < count; ++i) {
            sum += piece[i];
        }
    }
    EXPECT_EQ(total, size);
    EXPECT_EQ(sum, 6u);
    EXPECT_EQ(stream->Read(piece.data(), 10), 0u);
    EXPECT_EQ(result[0].GetStream()->Read(piece.data(), 10), 10u);  // a new stream starts again
    EXPECT_EQ(ReadNatively(result[1]), "0A0B");
}

TEST(SQLiteFields, StreamIsRefusedAfterItsRow) {
    OpenResult result(TableOf("CLOB", {"'first'", "'second'"}), "SELECT a FROM t");
    ASSERT_TRUE(result.Fetch());
    qxdb::RawStream* stream = result[0].GetStream();
    unsigned char bytes[10];
    EXPECT_EQ(stream->Read(bytes, 2), 2u);
    ASSERT_TRUE(result.Fetch());
    const char* refused = "A large object can't be read after its row";
    EXPECT_EQ(FailureOf([&] { stream->Read(bytes, 2); }).text, refused);
    stream = result[0].GetStream();
    EXPECT_FALSE(result.Fetch());
    EXPECT_EQ(FailureOf([&] { stream->Read(bytes, 2); }).text, refused);
}

TEST(SQLiteFields, LocatorIsEmpty) {
    OpenResult result(TableOf("CLOB", {"'x'"}), "SELECT a FROM t");
    EXPECT_FALSE(result.cursor.GetLocator(0, "t", "SELECT a FROM t", "", false).IsValid(false));
    EXPECT_FALSE(result.cursor.IsComputeResultSet());
}

TEST(SQLiteFields, ReadsThatAKindDoesNotHaveAreRefused) {
    OpenResult result(Open(":memory:"), "SELECT 1 AS n");
    ASSERT_TRUE(result.Fetch());
    EXPECT_EQ(FailureOf([&] { result[0].GetStream(); }).text, "Field \"n\" has no GetStream");
    EXPECT_EQ(FailureOf([&] { result[0].AsTimestamp(); }).text, "Field \"n\" has no AsTimestamp");
    EXPECT_EQ(FailureOf([&] { result[0].SetInt(1); }).text, "Field \"n\" has no SetInt");
    EXPECT_THROW((*result.fields)[1], std::out_of_range);
    EXPECT_EQ(result[0].AsDecimal().AsString(false, -1), "1");
    EXPECT_EQ(result[0].AsFloat(), 1.0f);
}

TEST(SQLiteFields, ExcludedColumnsHaveNoField) {
    OpenResult result(Open(":memory:"), "SELECT 1 AS a, 2 AS b, 3 AS c");
    qxdb::Fields fields(result.binding, false, {{1, 1}}, false, nullptr);
    ASSERT_EQ(fields.GetFieldCount(), 2u);
    EXPECT_EQ(fields[0].GetName(), "a");
    EXPECT_EQ(fields[1].GetName(), "c");
    EXPECT_EQ(result.binding.GetSchema().GetNumberColumns(), 3u);
}

TEST(SQLiteFields, TimestampFormatOfTheConnectionIsForDateTimesOnly) {
    qxdb::Connection connection = Open(":memory:");
    RunAll(connection,
           "CREATE TABLE t(a DATETIME, b DATE, c TIME, d TIMESTAMP(6));"
           "INSERT INTO t VALUES('2024-12-31 10:20:30.5', '2024-12-31', '10:20:30', '31.12.2024 10:20')");
    connection.GetProperties().SetTimestampFormat("dd.MM.yyyy HH:mm");
    OpenResult result(connection, "SELECT a, b, c, d FROM t");
    EXPECT_EQ(result.binding.GetSchema()[0].GetDateTimeFormat(), "dd.MM.yyyy HH:mm");
    ASSERT_TRUE(result.Fetch());
    EXPECT_EQ(result[0].AsTimestamp().AsString(), "31.12.2024 10:20");
    EXPECT_EQ(result[0].AsTimestamp().GetFraction(), 500000000);
    EXPECT_EQ(result[1].AsTimestamp().AsString(), "2024-12-31");
    EXPECT_EQ(result[2].AsTimestamp().AsString(), "10:20:30");
    EXPECT_EQ(result[3].AsTimestamp().AsString(), "31.12.2024 10:20");  // stored in the connection's format
    connection.GetProperties().SetTimestampFormat("");
    EXPECT_EQ(OpenResult(connection, "SELECT a FROM t").binding.GetSchema()[0].GetDateTimeFormat(),
              "yyyy-MM-dd HH:mm:ss.fff");
}

TEST(SQLiteFields, NullsOfEveryType) {
    qxdb::Connection connection = Open(":memory:");
    RunAll(connection,
           "CREATE TABLE t(a INT, b SMALLINT, c REAL, d DECIMAL(5,2), e TEXT, f BLOB, g CLOB, h DATETIME);"
           "INSERT INTO t DEFAULT VALUES");
    EXPECT_EQ(Rows(connection, "SELECT * FROM t"), Lines{"NULL|NULL|NULL|NULL|NULL|NULL|NULL|NULL"});
}

}  // namespace
