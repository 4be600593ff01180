#include <gtest/gtest.h>

#include <cctype>
#include <ostream>

#include "drivers/sqlite/declared_type.h"
#include "drivers/sqlite_support.h"

namespace {

using qxdb::Column;
using qxtest::Open;
using qxtest::RunAll;

struct TypeCase {
    const char* declared;
    Column::BindType type;
    int scale;
    const char* format;
    unsigned int lobFlags;
    const char* nativeName;
};

void PrintTo(const TypeCase& c, std::ostream* out) {
    *out << c.declared;
}

std::string NameOf(const testing::TestParamInfo<TypeCase>& info) {
    std::string name = std::to_string(info.index) + "_";
    for (const char c : std::string(info.param.declared)) {
        name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    }
    return name;
}

class DeclaredColumn : public testing::TestWithParam<TypeCase> {};

TEST_P(DeclaredColumn, HasItsType) {
    const TypeCase& expected = GetParam();
    qxdb::Connection connection = Open(":memory:");
    RunAll(connection, std::string("CREATE TABLE t(a ") + expected.declared + ")");
    qxtest::OpenResult result(connection, "SELECT a FROM t");
    const qxdb::Schema schema = result.binding.GetSchema();
    ASSERT_EQ(schema.GetNumberColumns(), 1u);
    EXPECT_EQ(schema[0].GetType(), expected.type);
    EXPECT_EQ(result[0].GetType(), expected.type);
    EXPECT_EQ(schema[0].GetScale(), expected.scale);
    EXPECT_EQ(schema[0].GetDateTimeFormat(), expected.format);
    EXPECT_EQ(schema[0].GetLobFlags(), expected.lobFlags);
    EXPECT_EQ(schema[0].GetNativeTypeName(), expected.nativeName);
    EXPECT_EQ(schema[0].GetName(), "a");
    EXPECT_EQ(schema[0].GetNativeType(), -1);
    EXPECT_EQ(schema[0].GetComputeColumn(), 0);
    EXPECT_EQ(schema[0].GetDirection(), qxdb::DataType::DirectionOut);
}

const TypeCase typeCases[] = {
    {"INT", Column::BindInt64, 0, "", 0, "INT"},
    {"INTEGER", Column::BindInt64, 0, "", 0, "INTEGER"},
    {"bigInt", Column::BindInt64, 0, "", 0, "bigInt"},
    {"BIGINT", Column::BindInt64, 0, "", 0, "BIGINT"},
    {"INT8", Column::BindInt64, 0, "", 0, "INT8"},
    {"BIGINT UNSIGNED", Column::BindInt64, 0, "", 0, "BIGINT UNSIGNED"},
    {"UNSIGNED BIG INT", Column::BindInt64, 0, "", 0, "UNSIGNED BIG INT"},
    {"MEDIUMINT", Column::BindInt, 0, "", 0, "MEDIUMINT"},
    {"INT4", Column::BindInt, 0, "", 0, "INT4"},
    {"SMALLINT", Column::BindShort, 0, "", 0, "SMALLINT"},
    {"INT2", Column::BindShort, 0, "", 0, "INT2"},
    {"TINYINT(1)", Column::BindShort, 0, "", 0, "TINYINT"},
    {"BOOL", Column::BindShort, 0, "", 0, "BOOL"},
    {"BOOLEAN", Column::BindShort, 0, "", 0, "BOOLEAN"},
    {"REAL", Column::BindDouble, 0, "", 0, "REAL"},
    {"DOUBLE", Column::BindDouble, 0, "", 0, "DOUBLE"},
    {"DOUBLE PRECISION", Column::BindDouble, 0, "", 0, "DOUBLE PRECISION"},
    {"FLOAT", Column::BindDouble, 0, "", 0, "FLOAT"},
    {"FLOAT(24)", Column::BindDouble, 0, "", 0, "FLOAT"},
    {"FLOATING POINT", Column::BindDouble, 0, "", 0, "FLOATING POINT"},
    {"DECIMAL", Column::BindDecimal, 0, "", 0, "DECIMAL"},
    {"DECIMAL(12,2)", Column::BindDecimal, 2, "", 0, "DECIMAL"},
    {"DECIMAL( 12 , 4 )", Column::BindDecimal, 4, "", 0, "DECIMAL"},
    {"NUMERIC(10)", Column::BindDecimal, 0, "", 0, "NUMERIC"},
    {"NUMERIC(10,5)", Column::BindDecimal, 5, "", 0, "NUMERIC"},
    {"NUMBER(8,3)", Column::BindDecimal, 3, "", 0, "NUMBER"},
    {"DEC(8,1)", Column::BindDecimal, 1, "", 0, "DEC"},
    {"CHAR(10)", Column::BindString, 0, "", 0, "CHAR"},
    {"NCHAR(10)", Column::BindString, 0, "", 0, "NCHAR"},
    {"CHARACTER(20)", Column::BindString, 0, "", 0, "CHARACTER"},
    {"VARCHAR(255)", Column::BindString, 0, "", 0, "VARCHAR"},
    {"VARYING CHARACTER(255)", Column::BindString, 0, "", 0, "VARYING CHARACTER"},
    {"NATIVE CHARACTER(70)", Column::BindString, 0, "", 0, "NATIVE CHARACTER"},
    {"NVARCHAR(100)", Column::BindString, 0, "", 0, "NVARCHAR"},
    {"VARCHAR2(100)", Column::BindString, 0, "", 0, "VARCHAR2"},
    {"NVARCHAR2(100)", Column::BindString, 0, "", 0, "NVARCHAR2"},
    {"TEXT", Column::BindString, 0, "", 0, "TEXT"},
    {"TINYTEXT", Column::BindString, 0, "", 0, "TINYTEXT"},
    {"CITEXT", Column::BindString, 0, "", 0, "CITEXT"},
    {"VARCHAR(1000000)", Column::BindString, 0, "", 0, "VARCHAR"},
    {"VARCHAR(1000001)", Column::BindLob, 0, "", 0, "VARCHAR"},
    {"VARCHAR(99999999999999999999)", Column::BindLob, 0, "", 0, "VARCHAR"},
    {"BLOB", Column::BindBinary, 0, "", 0, "BLOB"},
    {"BINARY(16)", Column::BindBinary, 0, "", 0, "BINARY"},
    {"VARBINARY(16)", Column::BindBinary, 0, "", 0, "VARBINARY"},
    {"TINYBLOB", Column::BindBinary, 0, "", 0, "TINYBLOB"},
    {"BYTEA", Column::BindBinary, 0, "", 0, "BYTEA"},
    {"RAW(16)", Column::BindBinary, 0, "", 0, "RAW"},
    {"BLOB(2000000)", Column::BindLob, 0, "", 1, "BLOB"},
    {"CLOB", Column::BindLob, 0, "", 0, "CLOB"},
    {"NCLOB", Column::BindLob, 0, "", 0, "NCLOB"},
    {"LONGTEXT", Column::BindLob, 0, "", 0, "LONGTEXT"},
    {"MEDIUMTEXT", Column::BindLob, 0, "", 0, "MEDIUMTEXT"},
    {"LONGBLOB", Column::BindLob, 0, "", 1, "LONGBLOB"},
    {"MEDIUMBLOB", Column::BindLob, 0, "", 1, "MEDIUMBLOB"},
    {"DATE", Column::BindTimestamp, 0, "yyyy-MM-dd", 0, "DATE"},
    {"DATETIME", Column::BindTimestamp, 3, "yyyy-MM-dd HH:mm:ss.fff", 0, "DATETIME"},
    {"TIMESTAMP", Column::BindTimestamp, 3, "yyyy-MM-dd HH:mm:ss.fff", 0, "TIMESTAMP"},
    {"TIMESTAMP(0)", Column::BindTimestamp, 0, "yyyy-MM-dd HH:mm:ss", 0, "TIMESTAMP"},
    {"DATETIME(1)", Column::BindTimestamp, 1, "yyyy-MM-dd HH:mm:ss.f", 0, "DATETIME"},
    {"TIMESTAMP(6)", Column::BindTimestamp, 6, "yyyy-MM-dd HH:mm:ss.ffffff", 0, "TIMESTAMP"},
    {"TIMESTAMP(9)", Column::BindTimestamp, 9, "yyyy-MM-dd HH:mm:ss.fffffffff", 0, "TIMESTAMP"},
    {"TIMESTAMP(12)", Column::BindTimestamp, 9, "yyyy-MM-dd HH:mm:ss.fffffffff", 0, "TIMESTAMP"},
    {"TIMESTAMP WITHOUT TIME ZONE", Column::BindTimestamp, 3, "yyyy-MM-dd HH:mm:ss.fff", 0,
     "TIMESTAMP WITHOUT TIME ZONE"},
    {"TIME", Column::BindTimestamp, 0, "HH:mm:ss", 0, "TIME"},
    {"TIME(3)", Column::BindTimestamp, 3, "HH:mm:ss.fff", 0, "TIME"},
    {"GEOMETRY", Column::BindString, 0, "", 0, "GEOMETRY"},
    {"POINT", Column::BindString, 0, "", 0, "POINT"},
    {"", Column::BindString, 0, "", 0, "TEXT"},
};

INSTANTIATE_TEST_SUITE_P(SQLite, DeclaredColumn, testing::ValuesIn(typeCases), NameOf);

TEST(SQLiteDeclaredType, OddTextsAreReadAsFarAsTheyGo) {
    using qxdrivers::sqlite::ParseDeclaredType;
    EXPECT_EQ(ParseDeclaredType("DECIMAL(12").scale, 0);
    EXPECT_EQ(ParseDeclaredType("DECIMAL(12,").scale, 0);
    EXPECT_EQ(ParseDeclaredType("DECIMAL()").type, Column::BindDecimal);
    EXPECT_EQ(ParseDeclaredType("TIMESTAMP(3) WITH TIME ZONE").type, Column::BindString);
    EXPECT_EQ(ParseDeclaredType("TIMESTAMP(3) WITH TIME ZONE").name, "TIMESTAMP WITH TIME ZONE");
    EXPECT_EQ(ParseDeclaredType("DECIMAL(5,-2)").scale, 0);
    EXPECT_EQ(ParseDeclaredType("  int  unsigned ").name, "int unsigned");
    EXPECT_EQ(ParseDeclaredType(")(").type, Column::BindUnknown);
    EXPECT_EQ(ParseDeclaredType("DECIMAL(9999999999999999999999,9999999999999999999)").scale, 255);
}

struct DerivedCase {
    const char* expression;
    Column::BindType type;
    const char* nativeName;
};

TEST(SQLiteDeclaredType, ExpressionsTakeTheTypeOfTheFirstRow) {
    const DerivedCase cases[] = {
        {"1 + 1", Column::BindInt64, "INTEGER"},    {"1.5", Column::BindDouble, "REAL"},
        {"'a' || 'b'", Column::BindString, "TEXT"}, {"x'00'", Column::BindBinary, "BLOB"},
        {"NULL", Column::BindString, "TEXT"},
    };
    for (const DerivedCase& c : cases) {
        qxtest::OpenResult result(Open(":memory:"), std::string("SELECT ") + c.expression);
        EXPECT_EQ(result[0].GetType(), c.type) << c.expression;
        EXPECT_EQ(result.binding.GetSchema()[0].GetNativeTypeName(), c.nativeName) << c.expression;
    }
    qxtest::OpenResult none(Open(":memory:"), "SELECT 1 + 1 WHERE 0");
    EXPECT_EQ(none[0].GetType(), Column::BindString);
}

TEST(SQLiteDeclaredType, UnknownDeclaredTypesTakeTheTypeOfTheFirstRow) {
    qxdb::Connection connection = Open(":memory:");
    RunAll(connection, "CREATE TABLE t(a GEOMETRY, b ANY); INSERT INTO t VALUES(x'01', 1.5)");
    qxtest::OpenResult result(connection, "SELECT a, b FROM t");
    EXPECT_EQ(result[0].GetType(), Column::BindBinary);
    EXPECT_EQ(result[1].GetType(), Column::BindDouble);
    EXPECT_EQ(result.binding.GetSchema()[0].GetNativeTypeName(), "GEOMETRY");
}

TEST(SQLiteDeclaredType, ViewsKeepTheTypesOfTheirTables) {
    qxdb::Connection connection = Open(":memory:");
    RunAll(connection, "CREATE TABLE t(a DECIMAL(9,3)); CREATE VIEW v AS SELECT a AS b FROM t");
    qxtest::OpenResult result(connection, "SELECT b AS c FROM v");
    EXPECT_EQ(result[0].GetName(), "c");
    EXPECT_EQ(result[0].GetType(), Column::BindDecimal);
    EXPECT_EQ(result.binding.GetSchema()[0].GetScale(), 3);
}

TEST(SQLiteDeclaredType, TimestampsWithoutDigitsTakeThoseOfTheFirstRow) {
    struct Case {
        const char* declared;
        const char* value;
        const char* format;
    };
    const Case cases[] = {
        {"DATETIME", "2024-01-02 03:04:05", "yyyy-MM-dd HH:mm:ss.fff"},
        {"DATETIME", "2024-01-02 03:04:05.5", "yyyy-MM-dd HH:mm:ss.fff"},
        {"DATETIME", "2024-01-02 03:04:05.123456", "yyyy-MM-dd HH:mm:ss.ffffff"},
        {"DATETIME", "2024-01-02 03:04:05.1234567", "yyyy-MM-dd HH:mm:ss.fffffffff"},
        {"DATETIME", "2024-01-02 03:04:05.100000000", "yyyy-MM-dd HH:mm:ss.fff"},
        {"DATETIME", "nonsense", "yyyy-MM-dd HH:mm:ss.fff"},
        {"DATETIME(3)", "2024-01-02 03:04:05.123456", "yyyy-MM-dd HH:mm:ss.fff"},
        {"TIME", "03:04:05", "HH:mm:ss"},
        {"TIME", "03:04:05.25", "HH:mm:ss.fff"},
        {"DATE", "2024-01-02 03:04:05.123456", "yyyy-MM-dd"},
    };
    for (const Case& c : cases) {
        qxdb::Connection connection = Open(":memory:");
        RunAll(connection,
               std::string("CREATE TABLE t(a ") + c.declared + "); INSERT INTO t VALUES('" + c.value + "')");
        qxtest::OpenResult result(connection, "SELECT a FROM t");
        EXPECT_EQ(result.binding.GetSchema()[0].GetDateTimeFormat(), c.format) << c.declared << c.value;
    }
}

}  // namespace
