// Every type of both servers, from a statement to the cells of the store.
#include "servers/server_run.h"

namespace qxtest {
namespace {

using qxdbsqlengine::EnumDataType;
using Lines = std::vector<std::string>;

struct TypeCase {
    const char* declared;
    const char* value;  // SQL
    EnumDataType type;  // of the column in the store
    const char* expected;
};

const TypeCase mariadbCases[] = {
    {"BIT(1)", "b'1'", qxdbsqlengine::DataTypeShort, "1"},
    {"TINYINT", "-128", qxdbsqlengine::DataTypeShort, "-128"},
    {"TINYINT UNSIGNED", "255", qxdbsqlengine::DataTypeShort, "255"},
    {"SMALLINT UNSIGNED", "65535", qxdbsqlengine::DataTypeInt, "65535"},
    {"MEDIUMINT", "-8388608", qxdbsqlengine::DataTypeInt, "-8388608"},
    {"INT UNSIGNED", "4294967295", qxdbsqlengine::DataTypeInt64, "4294967295"},
    {"BIGINT", "-9223372036854775808", qxdbsqlengine::DataTypeInt64, "-9223372036854775808"},
    {"BIGINT UNSIGNED", "18446744073709551615", qxdbsqlengine::DataTypeDecimal, "18446744073709551615"},
    {"DECIMAL(65,30)", "-12345678901234567890123456789012345.123456789012345678901234567890",
     qxdbsqlengine::DataTypeDecimal, "-12345678901234567890123456789012345.123456789012345678901234567890"},
    {"FLOAT", "1.5", qxdbsqlengine::DataTypeFloat, "1.5"},
    {"DOUBLE", "-2.25", qxdbsqlengine::DataTypeDouble, "-2.25"},
    {"YEAR", "2024", qxdbsqlengine::DataTypeInt, "2024"},
    {"CHAR(5)", "'abc'", qxdbsqlengine::DataTypeString, "abc"},
    {"VARCHAR(20)", "'\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80'", qxdbsqlengine::DataTypeString,
     "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
    {"TEXT", "'text \xF0\x9F\x98\x80'", qxdbsqlengine::DataTypeString, "text \xF0\x9F\x98\x80"},
    {"LONGTEXT", "'long \xF0\x9F\x98\x80'", qxdbsqlengine::DataTypeLob, "long \xF0\x9F\x98\x80"},
    {"JSON", "'{\"a\": 1}'", qxdbsqlengine::DataTypeLob, "{\"a\": 1}"},
    {"ENUM('small','\xC3\xA4')", "'\xC3\xA4'", qxdbsqlengine::DataTypeString, "\xC3\xA4"},
    {"SET('x','y')", "'x,y'", qxdbsqlengine::DataTypeString, "x,y"},
    {"UUID", "'123e4567-e89b-12d3-a456-426655440000'", qxdbsqlengine::DataTypeString,
     "123e4567-e89b-12d3-a456-426655440000"},
    {"VARBINARY(10)", "x'00FF0D0A27'", qxdbsqlengine::DataTypeBinary, "00FF0D0A27"},
    {"LONGBLOB", "x'00FF27'", qxdbsqlengine::DataTypeLob, "00FF27"},
    {"DATE", "'2024-02-29'", qxdbsqlengine::DataTypeTimestamp, "2024-02-29"},
    {"DATE", "'0000-00-00'", qxdbsqlengine::DataTypeTimestamp, "0000-00-00"},
    {"DATETIME", "'2024-02-29 23:59:58'", qxdbsqlengine::DataTypeTimestamp, "2024-02-29 23:59:58"},
    {"DATETIME(6)", "'2024-02-29 12:34:56.027111'", qxdbsqlengine::DataTypeTimestamp,
     "2024-02-29 12:34:56.027111"},
    {"TIMESTAMP(3)", "'2024-02-29 12:34:56.027'", qxdbsqlengine::DataTypeTimestamp,
     "2024-02-29 12:34:56.027"},
    {"TIME", "'-838:59:59'", qxdbsqlengine::DataTypeString, "-838:59:59"},
};

const TypeCase postgresCases[] = {
    {"smallint", "-32768", qxdbsqlengine::DataTypeShort, "-32768"},
    {"integer", "-2147483648", qxdbsqlengine::DataTypeInt, "-2147483648"},
    {"bigint", "-9223372036854775808", qxdbsqlengine::DataTypeInt64, "-9223372036854775808"},
    {"boolean", "true", qxdbsqlengine::DataTypeShort, "1"},
    {"numeric(65,30)", "-12345678901234567890123456789012345.123456789012345678901234567890",
     qxdbsqlengine::DataTypeDecimal, "-12345678901234567890123456789012345.123456789012345678901234567890"},
    {"numeric", "1.25", qxdbsqlengine::DataTypeDecimal, "1.25"},
    {"real", "1.5", qxdbsqlengine::DataTypeFloat, "1.5"},
    {"double precision", "-2.25", qxdbsqlengine::DataTypeDouble, "-2.25"},
    {"money", "1234.56", qxdbsqlengine::DataTypeString, "$1,234.56"},
    {"bit(12)", "B'101010101010'", qxdbsqlengine::DataTypeString, "101010101010"},
    {"char(5)", "'abc'", qxdbsqlengine::DataTypeString, "abc  "},
    {"varchar(20)", "'\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80'", qxdbsqlengine::DataTypeString,
     "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
    {"text", "'text \xF0\x9F\x98\x80'", qxdbsqlengine::DataTypeString, "text \xF0\x9F\x98\x80"},
    {"bytea", "'\\x00FF0D0A27'", qxdbsqlengine::DataTypeBinary, "00FF0D0A27"},
    {"date", "'2024-02-29'", qxdbsqlengine::DataTypeTimestamp, "2024-02-29"},
    {"time(3)", "'23:59:59.027'", qxdbsqlengine::DataTypeTimestamp, "23:59:59.027"},
    {"timestamp", "'2024-02-29 12:34:56.027111'", qxdbsqlengine::DataTypeTimestamp,
     "2024-02-29 12:34:56.027111"},
    {"interval", "'1 year 2 mons 3 days 04:05:06.789'", qxdbsqlengine::DataTypeString,
     "1 year 2 mons 3 days 04:05:06.789"},
    {"jsonb", "'{\"b\":1}'", qxdbsqlengine::DataTypeString, "{\"b\": 1}"},
    {"uuid", "'123E4567-e89b-12d3-a456-426655440000'", qxdbsqlengine::DataTypeString,
     "123e4567-e89b-12d3-a456-426655440000"},
    {"inet", "'10.0.0.1'", qxdbsqlengine::DataTypeString, "10.0.0.1"},
    {"integer[]", "'{1,NULL,3}'", qxdbsqlengine::DataTypeString, "{1,NULL,3}"},
};

// One table with a column for each case, whose second row is NULL throughout.
template <std::size_t size>
void ExpectInStore(bool mariadb, const TypeCase (&cases)[size]) {
    qxdb::Connection connection = DefinitionOf(mariadb).Connect();
    if (mariadb) {
        RunAll(connection, "SET sql_mode=''");
    }
    std::string columns = "n INT";
    std::string values = "1";
    std::string nulls = "2";
    std::string expected = "1";
    std::string expectedNulls = "2";
    for (std::size_t i = 0; i < size; ++i) {
        columns += ", c" + std::to_string(i) + " " + cases[i].declared + " NULL";
        values += std::string(", ") + cases[i].value;
        nulls += ", NULL";
        expected += std::string("|") + cases[i].expected;
        expectedNulls += "|NULL";
    }
    const TestTable table(connection, "all_types", columns);
    RunAll(connection, "INSERT INTO all_types VALUES(" + values + "),(" + nulls + ")");
    ServerRun run(mariadb);
    run.director.SetUseLobLocators(false);
    run.director.SetLobStreamSize(1000);
    for (const bool asStrings : {false, true}) {
        run.director.SetBindAsStrings(asStrings);
        run.Run("SELECT * FROM all_types ORDER BY n");
        EXPECT_EQ(run.Errors(), Lines());
        EXPECT_EQ(run.Rows(), (Lines{expected, expectedNulls}));
        const auto store = run.director.GetDataStorage();
        ASSERT_EQ(store->GetNumberOfColumns(0), static_cast<int>(size) + 1);
        for (std::size_t i = 0; i < size; ++i) {
            EXPECT_EQ(store->GetDataType(0, static_cast<int>(i) + 1),
                      asStrings ? qxdbsqlengine::DataTypeString : cases[i].type)
                << cases[i].declared;
        }
    }
}

TEST(ServerTypes, OfMariaDBInTheStore) {
    ExpectInStore(true, mariadbCases);
}

TEST(ServerTypes, OfPostgresInTheStore) {
    ExpectInStore(false, postgresCases);
}

// A value that does not fit its column ends the run, and says where it stands.
TEST(ServerTypes, AValueThatDoesNotFitIsTold) {
    ServerRun run(false);
    run.Run("SELECT 1::numeric AS a UNION ALL SELECT 'NaN'::numeric");
    EXPECT_EQ(run.Errors(), (Lines{"OnError Result set 1, row 2, column \"a\": the value 'NaN' does not fit "
                                   "the type numeric"}));
    run.director.SetBindAsStrings(true);
    run.Run("SELECT 1::numeric AS a UNION ALL SELECT 'NaN'::numeric");
    EXPECT_EQ(run.Errors(), Lines());
    EXPECT_EQ(run.Rows(), (Lines{"1", "NaN"}));
}

}  // namespace
}  // namespace qxtest
