// Every type of MariaDB there and back: inserted, selected, compared exactly.
#include <gtest/gtest.h>

#include "drivers/odbc_support.h"

namespace {

using qxdb::Column;
using qxtest::OpenMariaDB;
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

// The greatest and the smallest of everything.
constexpr TypeCase cases[] = {

    {"TINYINT", "-128", Column::BindShort, "-128", nullptr},
    {"TINYINT UNSIGNED", "255", Column::BindShort, "255", nullptr},
    {"BOOLEAN", "TRUE", Column::BindShort, "1", nullptr},
    {"SMALLINT", "-32768", Column::BindShort, "-32768", nullptr},
    {"SMALLINT UNSIGNED", "65535", Column::BindInt, "65535", nullptr},
    {"MEDIUMINT", "-8388608", Column::BindInt, "-8388608", nullptr},
    {"MEDIUMINT UNSIGNED", "16777215", Column::BindInt64, "16777215", nullptr},
    {"INT", "-2147483648", Column::BindInt, "-2147483648", nullptr},
    {"INT UNSIGNED", "4294967295", Column::BindInt64, "4294967295", nullptr},
    {"BIGINT", "-9223372036854775808", Column::BindInt64, "-9223372036854775808", nullptr},
    {"BIGINT UNSIGNED", "18446744073709551615", Column::BindDecimal, "18446744073709551615", nullptr},
    {"YEAR", "2155", Column::BindInt, "2155", nullptr},
    {"DECIMAL(65,30)", "-12345678901234567890123456789012345.123456789012345678901234567890",
     Column::BindDecimal, "-12345678901234567890123456789012345.123456789012345678901234567890", nullptr},
    {"DECIMAL(65,0)", "99999999999999999999999999999999999999999999999999999999999999999",
     Column::BindDecimal, "99999999999999999999999999999999999999999999999999999999999999999", nullptr},
    {"DECIMAL(10,2)", "1.50", Column::BindDecimal, "1.50", nullptr},
    {"NUMERIC(38,38)", "0.00000000000000000000000000000000000001", Column::BindDecimal,
     "0.00000000000000000000000000000000000001", nullptr},
    {"FLOAT", "1.1", Column::BindFloat, "1.1", nullptr},
    {"FLOAT", "3.40282e38", Column::BindFloat, "3.40282e+38", "3.40282E+38"},
    {"DOUBLE", "1.1", Column::BindDouble, "1.1", nullptr},
    {"DOUBLE", "0.1e0 + 0.2e0", Column::BindDouble, "0.30000000000000004", nullptr},
    {"DOUBLE", "-1.7976931348623157e308", Column::BindDouble, "-1.7976931348623157E+308", nullptr},
    {"BIT(1)", "1", Column::BindShort, "1", nullptr},
    {"BIT(12)", "b'101010101010'", Column::BindBinary, "0AAA", nullptr},
    {"BIT(64)", "b'1111111100000000111111110000000011111111000000001111111100000001'", Column::BindBinary,
     "FF00FF00FF00FF01", nullptr},
    {"CHAR(5)", "'abc'", Column::BindString, "abc", nullptr},
    {"VARCHAR(20)", "'\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80'", Column::BindString,
     "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", nullptr},
    {"VARCHAR(3)", "'\xF0\x9F\x98\x80\xF0\x9F\x98\x81\xF0\x9F\x98\x82'", Column::BindString,
     "\xF0\x9F\x98\x80\xF0\x9F\x98\x81\xF0\x9F\x98\x82", nullptr},
    {"VARCHAR(20)", "''", Column::BindString, "", nullptr},
    {"VARCHAR(16000)", "CONCAT('<', REPEAT('\xE2\x82\xAC', 3), '>')", Column::BindString,
     "<\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC>", nullptr},
    {"VARCHAR(20) CHARACTER SET latin1", "'\xC3\xA4'", Column::BindString, "\xC3\xA4", nullptr},
    {"TINYTEXT", "'tiny'", Column::BindString, "tiny", nullptr},
    {"TEXT", "'text'", Column::BindString, "text", nullptr},
    {"MEDIUMTEXT", "'medium \xE2\x82\xAC'", Column::BindLob, "medium \xE2\x82\xAC", nullptr},
    {"LONGTEXT", "'long \xF0\x9F\x98\x80'", Column::BindLob, "long \xF0\x9F\x98\x80", nullptr},
    {"JSON", "'{\"a\": [1, \"\xC3\xA4\"]}'", Column::BindLob, "{\"a\": [1, \"\xC3\xA4\"]}", nullptr},
    {"ENUM('small','\xC3\xA4')", "'\xC3\xA4'", Column::BindString, "\xC3\xA4", nullptr},
    {"SET('x','y')", "'x,y'", Column::BindString, "x,y", nullptr},
    {"UUID", "'123e4567-e89b-12d3-a456-426655440000'", Column::BindString,
     "123e4567-e89b-12d3-a456-426655440000", nullptr},
    {"INET6", "'2001:db8::ff00:42:8329'", Column::BindString, "2001:db8::ff00:42:8329", nullptr},
    {"BINARY(4)", "x'00FF10'", Column::BindBinary, "00FF1000", nullptr},
    {"VARBINARY(10)", "x'00FF0D0A27'", Column::BindBinary, "00FF0D0A27", nullptr},
    {"VARBINARY(10)", "''", Column::BindBinary, "", nullptr},
    {"TINYBLOB", "x'0001'", Column::BindBinary, "0001", nullptr},
    {"BLOB", "x'FFFE'", Column::BindBinary, "FFFE", nullptr},
    {"MEDIUMBLOB", "'abc'", Column::BindLob, "abc", "616263"},
    {"LONGBLOB", "'abc'", Column::BindLob, "abc", "616263"},
    {"DATE", "'2024-02-29'", Column::BindTimestamp, "2024-02-29", nullptr},
    {"DATE", "'9999-12-31'", Column::BindTimestamp, "9999-12-31", nullptr},
    {"DATE", "'0000-00-00'", Column::BindTimestamp, "0000-00-00", nullptr},
    {"DATE", "'2020-00-00'", Column::BindTimestamp, "2020-00-00", nullptr},
    {"DATETIME", "'2024-02-29 23:59:58'", Column::BindTimestamp, "2024-02-29 23:59:58", nullptr},
    {"DATETIME", "'0000-00-00'", Column::BindTimestamp, "0000-00-00 00:00:00", nullptr},
    {"DATETIME(1)", "'1000-01-01 00:00:00.7'", Column::BindTimestamp, "1000-01-01 00:00:00.700", nullptr},
    {"DATETIME(3)", "'2024-02-29 12:34:56.027'", Column::BindTimestamp, "2024-02-29 12:34:56.027", nullptr},
    {"DATETIME(6)", "'2024-02-29 12:34:56.027111'", Column::BindTimestamp, "2024-02-29 12:34:56.027111",
     nullptr},
    {"TIMESTAMP", "'2024-02-29 12:34:56'", Column::BindTimestamp, "2024-02-29 12:34:56", nullptr},
    {"TIMESTAMP(6)", "'2024-02-29 12:34:56.000001'", Column::BindTimestamp, "2024-02-29 12:34:56.000001",
     nullptr},
    {"TIME", "'-838:59:59'", Column::BindString, "-838:59:59", nullptr},
    {"TIME(6)", "'12:34:56.123456'", Column::BindString, "12:34:56.123456", nullptr},

};

void ExpectBack(qxdb::Connection connection, const TypeCase& c) {
    SCOPED_TRACE(std::string(c.declared) + " " + c.value);
    RunAll(connection, "SET sql_mode=''");
    RunAll(connection, "DROP TEMPORARY TABLE IF EXISTS one_type");
    RunAll(connection, std::string("CREATE TEMPORARY TABLE one_type(n INT, v ") + c.declared + " NULL)");
    RunAll(connection,
           std::string("INSERT INTO one_type VALUES(1, ") + c.value + "), (2, NULL), (3, " + c.value + ")");
    const std::string select = "SELECT v FROM one_type ORDER BY n";
    OpenResult result(connection, select);
    EXPECT_EQ(result[0].GetType(), c.type);
    EXPECT_EQ(result.cursor.Bind().GetSchema()[0].GetType(), c.type);
    ASSERT_TRUE(result.Fetch());
    ASSERT_FALSE(result[0].IsNull());
    EXPECT_EQ(ReadNatively(result[0]), c.expected);
    ASSERT_TRUE(result.Fetch());
    EXPECT_TRUE(result[0].IsNull());
    ASSERT_TRUE(result.Fetch());
    ASSERT_FALSE(result[0].IsNull());
    EXPECT_EQ(ReadNatively(result[0]), c.expected);
    EXPECT_FALSE(result.Fetch());
    EXPECT_TRUE(result[0].IsNull());

    const std::string text = c.asText ? c.asText : c.expected;
    EXPECT_EQ(qxtest::Rows(connection, select, true), (std::vector<std::string>{text, "NULL", text}));
}

TEST(MariaDBTypes, ComeBackAsTheyWere) {
    qxdb::Connection connection = OpenMariaDB();
    for (const TypeCase& c : cases) {
        ExpectBack(connection, c);
    }
}

// Without the driver's word on dates of zeros they come as text, which must read alike.
TEST(MariaDBTypes, TimestampFormatOfTheConnection) {
    qxdb::Connection connection = OpenMariaDB();
    connection.GetProperties().SetTimestampFormat("dd.MM.yyyy HH:mm");
    EXPECT_EQ(qxtest::Rows(connection,
                           "SELECT TIMESTAMP '2024-02-29 12:34:56', DATE '2024-02-29', TIME '12:00:00'"),
              (std::vector<std::string>{"29.02.2024 12:34|2024-02-29|12:00:00"}));
    connection.GetProperties().SetTimestampFormat("");
    EXPECT_EQ(qxtest::Rows(connection, "SELECT TIMESTAMP '2024-02-29 12:34:56'"),
              (std::vector<std::string>{"2024-02-29 12:34:56"}));
}

TEST(MariaDBTypes, SchemaTellsTheServersNames) {
    qxdb::Connection connection = OpenMariaDB();
    OpenResult result(
        connection, "SELECT CAST(1 AS DECIMAL(20,7)) AS `d \xC3\xA4`, CAST('x' AS CHAR(3)) AS c, x'00' AS b");
    const qxdb::Schema schema = result.cursor.Bind().GetSchema();
    ASSERT_EQ(schema.GetNumberColumns(), 3u);
    EXPECT_EQ(schema[0].GetName(), "d \xC3\xA4");
    EXPECT_EQ(result[0].GetName(), "d \xC3\xA4");
    EXPECT_EQ(schema[0].GetScale(), 7);
    EXPECT_EQ(schema[0].GetNativeTypeName(), "decimal");
    EXPECT_EQ(schema[0].GetNativeType(), 3);
    EXPECT_EQ(schema[0].GetDirection(), qxdb::DataType::DirectionOut);
    EXPECT_EQ(schema[1].GetNativeTypeName(), "varchar");
    EXPECT_EQ(schema[2].GetNativeTypeName(), "varbinary");
}

}  // namespace
