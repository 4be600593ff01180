// Every type of PostgreSQL there and back: inserted, selected, compared exactly.
#include <gtest/gtest.h>

#include "drivers/odbc_support.h"

namespace {

using qxdb::Column;
using qxtest::FailureOf;
using qxtest::OpenPostgres;
using qxtest::OpenResult;
using qxtest::ReadNatively;
using qxtest::RunAll;

struct TypeCase {
    const char* declared;
    const char* value;  // SQL
    Column::BindType type;
    const char* expected;  // as its type reads it
    const char* asText;    // with bindAsStrings; null: the same
};

constexpr TypeCase cases[] = {

    {"smallint", "-32768", Column::BindShort, "-32768", nullptr},
    {"integer", "-2147483648", Column::BindInt, "-2147483648", nullptr},
    {"bigint", "-9223372036854775808", Column::BindInt64, "-9223372036854775808", nullptr},
    {"oid", "4294967295", Column::BindInt64, "4294967295", nullptr},
    {"boolean", "true", Column::BindShort, "1", nullptr},
    {"boolean", "false", Column::BindShort, "0", nullptr},
    {"numeric(65,30)", "-12345678901234567890123456789012345.123456789012345678901234567890",
     Column::BindDecimal, "-12345678901234567890123456789012345.123456789012345678901234567890", nullptr},
    {"numeric(10,2)", "1.5", Column::BindDecimal, "1.50", nullptr},
    {"numeric", "1234567890123456789012345678901234567890123456789012345678901234.5", Column::BindDecimal,
     "1234567890123456789012345678901234567890123456789012345678901234.5", nullptr},
    {"numeric", "1.25", Column::BindDecimal, "1.25", nullptr},
    {"real", "1.1", Column::BindFloat, "1.1", nullptr},
    {"double precision", "0.1::float8 + 0.2::float8", Column::BindDouble, "0.30000000000000004", nullptr},
    {"double precision", "'-1.7976931348623157e308'", Column::BindDouble, "-1.7976931348623157E+308",
     nullptr},
    {"money", "1234.56", Column::BindString, "$1,234.56", nullptr},
    {"bit(1)", "B'1'", Column::BindString, "1", nullptr},
    {"bit(12)", "B'101010101010'", Column::BindString, "101010101010", nullptr},
    {"bit varying", "B'101'", Column::BindString, "101", nullptr},
    {"char(5)", "'abc'", Column::BindString, "abc  ", nullptr},
    {"varchar(20)", "'\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80'", Column::BindString,
     "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", nullptr},
    {"varchar(3)", "'\xF0\x9F\x98\x80\xF0\x9F\x98\x81\xF0\x9F\x98\x82'", Column::BindString,
     "\xF0\x9F\x98\x80\xF0\x9F\x98\x81\xF0\x9F\x98\x82", nullptr},
    {"varchar", "''", Column::BindString, "", nullptr},
    {"text", "'text \xF0\x9F\x98\x80'", Column::BindString, "text \xF0\x9F\x98\x80", nullptr},
    {"name", "'a_name'", Column::BindString, "a_name", nullptr},
    {"\"char\"", "'c'", Column::BindString, "c", nullptr},
    {"bytea", "'\\x00FF0D0A27'", Column::BindBinary, "00FF0D0A27", nullptr},
    {"bytea", "''", Column::BindBinary, "", nullptr},
    {"date", "'2024-02-29'", Column::BindTimestamp, "2024-02-29", nullptr},
    {"date", "'0001-01-01'", Column::BindTimestamp, "0001-01-01", nullptr},
    {"time", "'12:34:56.123456'", Column::BindTimestamp, "12:34:56.123456", nullptr},
    {"time(0)", "'24:00:00'", Column::BindTimestamp, "24:00:00", nullptr},
    {"time(3)", "'23:59:59.027'", Column::BindTimestamp, "23:59:59.027", nullptr},
    {"time with time zone", "'12:34:56.123456+02'", Column::BindString, "12:34:56.123456+02", nullptr},
    {"timestamp", "'2024-02-29 12:34:56.027111'", Column::BindTimestamp, "2024-02-29 12:34:56.027111",
     nullptr},
    {"timestamp(0)", "'2024-02-29 12:34:56'", Column::BindTimestamp, "2024-02-29 12:34:56", nullptr},
    {"timestamp(3)", "'9999-12-31 23:59:59.999'", Column::BindTimestamp, "9999-12-31 23:59:59.999", nullptr},
    {"timestamp with time zone", "'2024-02-29 12:34:56.123456+02'", Column::BindTimestamp,
     "2024-02-29 10:34:56.123456", nullptr},
    {"interval", "'1 year 2 mons 3 days 04:05:06.789'", Column::BindString,
     "1 year 2 mons 3 days 04:05:06.789", nullptr},
    {"interval year to month", "'1 year 2 mons'", Column::BindString, "1 year 2 mons", nullptr},
    {"interval day to second", "'-3 days 04:05:06'", Column::BindString, "-3 days +04:05:06", nullptr},
    {"json", "'{\"a\": [1, \"\xC3\xA4\"]}'", Column::BindString, "{\"a\": [1, \"\xC3\xA4\"]}", nullptr},
    {"jsonb", "'{\"b\":1,\"a\":2}'", Column::BindString, "{\"a\": 2, \"b\": 1}", nullptr},
    {"xml", "'<a>\xE2\x82\xAC</a>'", Column::BindString, "<a>\xE2\x82\xAC</a>", nullptr},
    {"uuid", "'123E4567-e89b-12d3-a456-426655440000'", Column::BindString,
     "123e4567-e89b-12d3-a456-426655440000", nullptr},
    {"inet", "'10.0.0.1/8'", Column::BindString, "10.0.0.1/8", nullptr},
    {"cidr", "'10.0.0.0/8'", Column::BindString, "10.0.0.0/8", nullptr},
    {"macaddr", "'08:00:2b:01:02:03'", Column::BindString, "08:00:2b:01:02:03", nullptr},
    {"integer[]", "'{1,NULL,3}'", Column::BindString, "{1,NULL,3}", nullptr},
    {"text[]", "'{a,\"b,c\"}'", Column::BindString, "{a,\"b,c\"}", nullptr},
    {"point", "'(1,2)'", Column::BindString, "(1,2)", nullptr},
    {"int4range", "'[1,5)'", Column::BindString, "[1,5)", nullptr},
    {"tsvector", "'fat cat'", Column::BindString, "'cat' 'fat'", nullptr},
};

void ExpectBack(qxdb::Connection connection, const TypeCase& c) {
    SCOPED_TRACE(std::string(c.declared) + " " + c.value);
    RunAll(connection, "SET timezone = 'UTC'");
    RunAll(connection, "DROP TABLE IF EXISTS one_type");
    RunAll(connection, std::string("CREATE TEMPORARY TABLE one_type(n INT, v ") + c.declared + ")");
    RunAll(connection,
           std::string("INSERT INTO one_type VALUES(1, ") + c.value + "), (2, NULL), (3, " + c.value + ")");
    // The first runs through a cursor on the server, the second does not.
    for (const char* const select : {"SELECT v FROM one_type ORDER BY n", "TABLE one_type"}) {
        const unsigned int column = select[0] == 'T' ? 1 : 0;
        OpenResult result(connection, select);
        EXPECT_EQ(result[column].GetType(), c.type) << select;
        EXPECT_EQ(result.cursor.Bind().GetSchema()[column].GetType(), c.type) << select;
        ASSERT_TRUE(result.Fetch());
        ASSERT_FALSE(result[column].IsNull());
        EXPECT_EQ(ReadNatively(result[column]), c.expected) << select;
        ASSERT_TRUE(result.Fetch());
        EXPECT_TRUE(result[column].IsNull());
        ASSERT_TRUE(result.Fetch());
        ASSERT_FALSE(result[column].IsNull());
        EXPECT_EQ(ReadNatively(result[column]), c.expected) << select;
        EXPECT_FALSE(result.Fetch());
        EXPECT_TRUE(result[column].IsNull());
    }
    const std::string text = c.asText ? c.asText : c.expected;
    EXPECT_EQ(qxtest::Rows(connection, "SELECT v FROM one_type ORDER BY n", true),
              (std::vector<std::string>{text, "NULL", text}));
}

TEST(PostgresTypes, ComeBackAsTheyWere) {
    qxdb::Connection connection = OpenPostgres();
    for (const TypeCase& c : cases) {
        ExpectBack(connection, c);
    }
}

struct MisfitCase {
    const char* value;  // SQL
    const char* shown;
    const char* type;
};

// What the driver hands out is not always what the server has; what can be told apart is refused.
TEST(PostgresTypes, ValuesThatDoNotFitAreRefused) {
    static constexpr MisfitCase misfits[] = {
        {"'NaN'::numeric", "NaN", "numeric"},
        {"'-infinity'::date", "0000-00-00", "date"},
        {"'12345-01-01'::date", "1234-00-00", "date"},
        {"'12345-01-01'::timestamp", "0000-00-00 00:00:00", "timestamp without time zone"},
        {"'0044-03-15 12:00 BC'::timestamp", "0044-03-15 12:00:00 BC", "timestamp without time zone"},
        {"'-infinity'::timestamp", "9999-01-01 00:00:00 BC", "timestamp without time zone"},
    };
    qxdb::Connection connection = OpenPostgres();
    for (const MisfitCase& c : misfits) {
        OpenResult result(connection, std::string("SELECT 1, ") + c.value + " AS \"the col\"");
        ASSERT_TRUE(result.Fetch());
        const qxtest::Failure failure = FailureOf([&] { ReadNatively(result[1]); });
        EXPECT_EQ(failure.text, "Result set 1, row 1, column \"the col\": the value '" +
                                    std::string(c.shown) + "' does not fit the type " + c.type);
        EXPECT_EQ(failure.state, "22018");
        EXPECT_EQ(failure.severity, 2);
        EXPECT_EQ(qxtest::Rows(connection, std::string("SELECT ") + c.value, true),
                  (std::vector<std::string>{c.shown}));
    }
}

TEST(PostgresTypes, FloatsThatAreNoNumbers) {
    qxdb::Connection connection = OpenPostgres();
    EXPECT_EQ(qxtest::Rows(connection, "SELECT 'NaN'::float8, 'Infinity'::float8, '-Infinity'::float4"),
              (std::vector<std::string>{"NaN|Infinity|-Infinity"}));
}

// A number without a declared scale must not be rounded by one that the driver made up from other rows.
TEST(PostgresTypes, NumbersWithoutAScaleHaveNone) {
    qxdb::Connection connection = OpenPostgres();
    OpenResult result(connection,
                      "SELECT v::numeric, v::numeric(10,3), v::numeric(5,-2) FROM (VALUES (1.5)) x(v)");
    const qxdb::Schema schema = result.cursor.Bind().GetSchema();
    EXPECT_EQ(schema[0].GetScale(), 0);
    EXPECT_EQ(schema[1].GetScale(), 3);
    EXPECT_EQ(schema[2].GetScale(), 0);
}

TEST(PostgresTypes, TimestampFormatOfTheConnection) {
    qxdb::Connection connection = OpenPostgres();
    connection.GetProperties().SetTimestampFormat("MM/dd/yyyy hh:mm a");
    EXPECT_EQ(qxtest::Rows(connection, "SELECT TIMESTAMP '2024-02-29 13:34:56', DATE '2024-02-29'"),
              (std::vector<std::string>{"02/29/2024 01:34 PM|2024-02-29"}));
}

}  // namespace
