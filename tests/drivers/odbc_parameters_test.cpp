// Parameters of prepared texts on real servers: every type on its way to a column of its kind and back.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "drivers/odbc_prepared.h"

namespace {

using qxdb::Column;
using qxdb::DataType;
using qxtest::Described;
using qxtest::FailureOf;
using qxtest::HintOf;
using qxtest::OpenMariaDB;
using qxtest::OpenPostgres;
using qxtest::Prepared;
using qxtest::Rows;
using qxtest::RunAll;
using qxtest::TestTable;
using Lines = std::vector<std::string>;
using Results = std::vector<Lines>;
using Setter = std::function<void(qxdb::Field&)>;

const std::string manyKinds = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80'\\%\n\t\"?";

qxdb::Timestamp Moment(const char* text, const char* format) {
    return qxdb::Timestamp(text, format);
}
Setter Bytes(const std::string& bytes) {
    return [bytes](qxdb::Field& field) {
        field.GetBuffer().Assign(reinterpret_cast<const unsigned char*>(bytes.data()),
                                 static_cast<unsigned int>(bytes.size()));
    };
}
Setter Text(const std::string& text) {
    return [text](qxdb::Field& field) { field.SetString(text); };
}
Setter Number(const char* text) {
    return [text](qxdb::Field& field) { field.SetDecimal(qxdb::Decimal(std::string(text))); };
}
Setter Time(const char* text, const char* format) {
    return [=](qxdb::Field& field) { field.SetTimestamp(Moment(text, format)); };
}
template <class T>
Setter Whole(void (qxdb::Field::*set)(T), T value) {
    return [=](qxdb::Field& field) { (field.*set)(value); };
}

struct Case {
    const char* declared;
    Setter set;
    std::string expected;  // as the driver reads the column back
};

void ExpectInColumns(qxdb::Connection connection, const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.declared) + " " + c.expected);
        TestTable table(connection, "one_parameter", std::string("n INT, v ") + c.declared);
        Prepared insert(connection, "INSERT INTO one_parameter(n, v) VALUES(?, ?)");
        for (int row = 1; row <= 2; ++row) {  // the same statement takes new values
            insert[0].SetInt(row);
            c.set(insert[1]);
            EXPECT_FALSE(insert[1].IsNull());
            EXPECT_EQ(insert.Run(), (Results{{"1 row(s)"}}));
        }
        insert[0].SetInt(3);
        insert[1].SetNull();
        EXPECT_TRUE(insert[1].IsNull());
        EXPECT_EQ(insert.Run(), (Results{{"1 row(s)"}}));
        EXPECT_EQ(Rows(connection, "SELECT v FROM one_parameter ORDER BY n"),
                  (Lines{c.expected, c.expected, "NULL"}));
        EXPECT_EQ(insert.Outputs(), Lines());
    }
}

constexpr const char* dateTime = "yyyy-MM-dd HH:mm:ss.ffffff";

TEST(MariaDBParameters, EveryTypeArrivesInItsColumn) {
    qxdb::Connection connection = OpenMariaDB();
    RunAll(connection, "SET sql_mode=''");
    ExpectInColumns(
        connection,
        {
            {"TINYINT", Whole<short>(&qxdb::Field::SetShort, -128), "-128"},
            {"SMALLINT", Whole<short>(&qxdb::Field::SetShort, -32768), "-32768"},
            {"INT", Whole<int>(&qxdb::Field::SetInt, -2147483647 - 1), "-2147483648"},
            {"INT UNSIGNED", Whole<__int64>(&qxdb::Field::SetBigInt, 4294967295), "4294967295"},
            {"BIGINT", Whole<long>(&qxdb::Field::SetLong, 9223372036854775807), "9223372036854775807"},
            {"BIGINT", Whole<__int64>(&qxdb::Field::SetBigInt, std::numeric_limits<__int64>::min()),
             "-9223372036854775808"},
            {"BIGINT UNSIGNED", Number("18446744073709551615"), "18446744073709551615"},
            {"BIT(1)", Whole<short>(&qxdb::Field::SetShort, 1), "1"},
            {"FLOAT", Whole<float>(&qxdb::Field::SetFloat, 1.5F), "1.5"},
            {"DOUBLE", Whole<double>(&qxdb::Field::SetDouble, 0.1 + 0.2), "0.30000000000000004"},
            {"DOUBLE", Whole<double>(&qxdb::Field::SetDouble, -1.7976931348623157e308),
             "-1.7976931348623157E+308"},
            {"DECIMAL(65,30)", Number("-12345678901234567890123456789012345.123456789012345678901234567890"),
             "-12345678901234567890123456789012345.123456789012345678901234567890"},
            {"DECIMAL(10,2)", Number("-0.05"), "-0.05"},
            {"VARCHAR(100)", Text(manyKinds), manyKinds},
            {"VARCHAR(100)", Text(""), ""},
            {"CHAR(5)", Text("abc"), "abc"},
            {"LONGTEXT", Text(std::string(1200000, 'x') + manyKinds), std::string(1200000, 'x') + manyKinds},
            {"ENUM('small','\xC3\xA4')", Text("\xC3\xA4"), "\xC3\xA4"},
            {"JSON", Text("{\"a\": 1}"), "{\"a\": 1}"},
            {"UUID", Text("123e4567-e89b-12d3-a456-426655440000"), "123e4567-e89b-12d3-a456-426655440000"},
            {"VARBINARY(100)", Bytes(std::string("\0\xFF\r\n'\\\0", 7)), "00FF0D0A275C00"},
            {"VARBINARY(100)", Bytes(""), ""},
            {"LONGBLOB", Bytes(std::string(70000, '\xFE')),
             [] {
                 std::string hex;
                 for (int i = 0; i < 70000; ++i) {
                     hex += "FE";
                 }
                 return hex;
             }()},
            {"DATE", Time("2024-02-29", "yyyy-MM-dd"), "2024-02-29"},
            {"DATE", Time("0000-00-00", "yyyy-MM-dd"), "0000-00-00"},
            {"DATETIME", Time("2024-02-29 23:59:58", "yyyy-MM-dd HH:mm:ss"), "2024-02-29 23:59:58"},
            {"DATETIME(6)", Time("2024-02-29 12:34:56.027111", dateTime), "2024-02-29 12:34:56.027111"},
            {"TIME(6)", Text("-838:59:58.5"), "-838:59:58.500000"},
            {"YEAR", Whole<int>(&qxdb::Field::SetInt, 2024), "2024"},
            // Texts are read by the server where the column is of another kind.
            {"INT", Text("42"), "42"},
            {"DECIMAL(20,5)", Text("3.25"), "3.25000"},
            {"DATETIME", Text("2024-02-29 23:59:58"), "2024-02-29 23:59:58"},
        });
}

TEST(PostgresParameters, EveryTypeArrivesInItsColumn) {
    qxdb::Connection connection = OpenPostgres();
    RunAll(connection, "SET timezone = 'UTC'");
    ExpectInColumns(
        connection,
        {
            {"smallint", Whole<short>(&qxdb::Field::SetShort, -32768), "-32768"},
            {"integer", Whole<int>(&qxdb::Field::SetInt, -2147483647 - 1), "-2147483648"},
            {"bigint", Whole<__int64>(&qxdb::Field::SetBigInt, std::numeric_limits<__int64>::min()),
             "-9223372036854775808"},
            {"boolean", Text("true"), "1"},
            {"boolean", Text("0"), "0"},
            {"real", Whole<float>(&qxdb::Field::SetFloat, 1.5F), "1.5"},
            {"double precision", Whole<double>(&qxdb::Field::SetDouble, 0.1 + 0.2), "0.30000000000000004"},
            {"double precision", Whole<double>(&qxdb::Field::SetDouble, -1.7976931348623157e308),
             "-1.7976931348623157E+308"},
            {"numeric(65,30)", Number("-12345678901234567890123456789012345.123456789012345678901234567890"),
             "-12345678901234567890123456789012345.123456789012345678901234567890"},
            {"numeric", Number("1.25"), "1.25"},
            {"varchar(100)", Text(manyKinds), manyKinds},
            {"text", Text(""), ""},
            {"text", Text(std::string(1200000, 'x') + manyKinds), std::string(1200000, 'x') + manyKinds},
            {"jsonb", Text("{\"a\":1}"), "{\"a\": 1}"},
            {"uuid", Text("123e4567-e89b-12d3-a456-426655440000"), "123e4567-e89b-12d3-a456-426655440000"},
            {"bytea", Bytes(std::string("\0\xFF\r\n'\\\0", 7)), "00FF0D0A275C00"},
            {"bytea", Bytes(""), ""},
            {"date", Time("2024-02-29", "yyyy-MM-dd"), "2024-02-29"},
            {"timestamp", Time("2024-02-29 12:34:56.027111", dateTime), "2024-02-29 12:34:56.027111"},
            {"timestamp(0)", Time("9999-12-31 23:59:59", "yyyy-MM-dd HH:mm:ss"), "9999-12-31 23:59:59"},
            {"time", Time("12:34:56.027111", "HH:mm:ss.ffffff"), "12:34:56.027111"},
            {"interval", Text("1 day 02:03:04"), "1 day 02:03:04"},
            {"inet", Text("10.0.0.1"), "10.0.0.1"},
            {"integer[]", Text("{1,NULL,3}"), "{1,NULL,3}"},
            {"integer", Text("42"), "42"},
            {"numeric(20,5)", Text("3.25"), "3.25000"},
        });
}

TEST(PostgresParameters, AreDescribedByTheServer) {
    qxdb::Connection connection = OpenPostgres();
    TestTable table(connection, "described_parameters",
                    "a smallint, b integer, c bigint, d real, e double precision, f numeric(20,5), "
                    "g varchar(10), h text, i bytea, j date, k timestamp(3), l boolean, m uuid");
    Prepared insert(connection, "INSERT INTO described_parameters VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?)");
    EXPECT_EQ(insert.Shape(), (Lines{":4:0", ":2:0", ":9:0", ":5:0", ":6:0", ":7:0", ":1:0", ":1:0", ":10:0",
                                     ":11:0", ":11:0", ":4:0", ":1:0"}));
    EXPECT_EQ(insert.statement.GetBindHint().GetNumberColumns(), 13u);
    EXPECT_EQ(insert.binding.GetSchema()[9].GetDateTimeFormat(), "yyyy-MM-dd");
}

// MariaDB's driver describes none: whatever the marker stands for, it is a text.
TEST(MariaDBParameters, AreTextsWithoutAHint) {
    qxdb::Connection connection = OpenMariaDB();
    TestTable table(connection, "described_parameters", "a INT, b DATE");
    Prepared insert(connection, "INSERT INTO described_parameters VALUES(?, ?)");
    EXPECT_EQ(insert.Shape(), (Lines{":1:0", ":1:0"}));
}

TEST(OdbcParameters, AHintDescribesThem) {
    for (const bool mariadb : {true, false}) {
        qxdb::Connection connection = mariadb ? OpenMariaDB() : OpenPostgres();
        TestTable table(connection, "hinted", "a INT, b DECIMAL(10,3), c DATE, d VARCHAR(20)");
        qxdb::ColumnRecord date = Described("the_date", Column::BindTimestamp);
        date.dateTimeFormat = "yyyy-MM-dd";
        const qxdb::Schema hint =
            HintOf({Described("the_int", Column::BindInt), Described("the_number", Column::BindDecimal), date,
                    Described("the_text", Column::BindOtherString)});
        Prepared insert(connection, "INSERT INTO hinted VALUES(?, ?, ?, ?)", qxdb::Statement::PrepareSQL, {},
                        hint);
        EXPECT_EQ(insert.Shape(), (Lines{"the_int:2:0", "the_number:7:0", "the_date:11:0", "the_text:14:0"}));
        EXPECT_EQ(insert.statement.GetBindHint()[1].GetName(), "the_number");
        insert[0].SetInt(5);
        insert[1].SetDecimal(qxdb::Decimal(std::string("1.125")));
        insert[2].SetTimestamp(Moment("2024-02-29", "yyyy-MM-dd"));
        insert[3].SetString("t");
        EXPECT_EQ(insert.Run(), (Results{{"1 row(s)"}}));
        EXPECT_EQ(Rows(connection, "SELECT * FROM hinted"), Lines{"5|1.125|2024-02-29|t"});
        for (unsigned int i = 0; i < 4; ++i) {
            insert[i].SetNull();
        }
        EXPECT_EQ(insert.Run(), (Results{{"1 row(s)"}}));
        EXPECT_EQ(Rows(connection,
                       "SELECT COUNT(*) FROM hinted WHERE a IS NULL AND b IS NULL AND c IS NULL "
                       "AND d IS NULL"),
                  Lines{"1"});
    }
}

TEST(OdbcParameters, StorageOfTheCaller) {
    for (const bool mariadb : {true, false}) {
        SCOPED_TRACE(mariadb ? "MariaDB" : "PostgreSQL");
        qxdb::Connection connection = mariadb ? OpenMariaDB() : OpenPostgres();
        TestTable table(connection, "stored",
                        std::string("a SMALLINT, b INT, c BIGINT, d BIGINT, e REAL, f DOUBLE PRECISION, g ") +
                            (mariadb ? "VARBINARY(9), h DATETIME(3)" : "bytea, h timestamp(3)") +
                            ", i VARCHAR(9), j DECIMAL(9,2)");
        Prepared insert(connection, "INSERT INTO stored VALUES(?,?,?,?,?,?,?,?,?,?)");
        short a = 1;
        int b = 2;
        long c = 3;
        __int64 d = 4;
        float e = 5.5F;
        double f = 6.25;
        qxdb::DynBuffer g;
        g.Assign(reinterpret_cast<const unsigned char*>("\x00\x07"), 2);
        qxdb::Timestamp h("2024-02-29 01:02:03.004");
        std::string i = "nine";
        qxdb::Decimal j(std::string("10.25"));
        qxdb::BasicFixedString<char> text(i, -1, 0);
        qxdb::FixedDecimal number(j, -1, -1);
        const auto in = DataType::DirectionIn;
        EXPECT_EQ(insert.binding.GetNextBind(), 1u);
        insert.binding.Bind(in, 1, a, nullptr);
        EXPECT_EQ(insert.binding.GetNextBind(), 2u);
        insert.binding.Bind(in, 2, b, nullptr);
        insert.binding.Bind(in, 3, c, nullptr);
        insert.binding.Bind(in, 4, d, nullptr);
        insert.binding.Bind(in, 5, e, nullptr);
        insert.binding.Bind(in, 6, f, nullptr);
        insert.binding.Bind(in, 7, g, nullptr);
        insert.binding.Bind(in, 8, h, nullptr);
        insert.binding.Bind(in, 9, text, nullptr);
        insert.binding.Bind(in, 10, number, nullptr);
        EXPECT_EQ(insert.binding.GetNextBind(), 11u);
        EXPECT_EQ(insert.Run(), (Results{{"1 row(s)"}}));
        // The storage is read when the statement runs.
        a = -1;
        i = "changed";
        long isNull = -1;
        insert.binding.Bind(in, 2, b, &isNull);
        EXPECT_EQ(insert.Run(), (Results{{"1 row(s)"}}));
        EXPECT_EQ(Rows(connection, "SELECT * FROM stored ORDER BY a DESC"),
                  (Lines{"1|2|3|4|5.5|6.25|0007|2024-02-29 01:02:03.004|nine|10.25",
                         "-1|NULL|3|4|5.5|6.25|0007|2024-02-29 01:02:03.004|changed|10.25"}));
        EXPECT_EQ(FailureOf([&] { insert.binding.Bind(in, 11, a, nullptr); }).text,
                  "The statement has 10 parameter(s), so there is no 11");
        EXPECT_EQ(FailureOf([&] { insert.binding.Bind(in, 0, a, nullptr); }).state, "07009");
    }
}

TEST(OdbcParameters, OfAQueryInAnyPlace) {
    for (const bool mariadb : {true, false}) {
        qxdb::Connection connection = mariadb ? OpenMariaDB() : OpenPostgres();
        TestTable table(connection, "searched", "n INT, v VARCHAR(20)");
        RunAll(connection, "INSERT INTO searched VALUES(1,'a'),(2,'b'),(3,'?'),(4,'d')");
        Prepared select(
            connection,
            "SELECT n, v FROM searched /* ? */ WHERE v <> '?' AND n > ? AND n < ? ORDER BY n -- ?");
        ASSERT_EQ(select.fields->GetFieldCount(), 2u);
        select[0].SetInt(1);
        select[1].SetInt(5);
        EXPECT_EQ(select.Run(), (Results{{"2|b", "4|d"}}));
        select[1].SetInt(3);
        EXPECT_EQ(select.Run(), (Results{{"2|b"}}));
        select[0].SetNull();
        EXPECT_EQ(select.Run(), (Results{{}}));
    }
}

TEST(OdbcParameters, WithoutAnyAndOfABadText) {
    for (const bool mariadb : {true, false}) {
        qxdb::Connection connection = mariadb ? OpenMariaDB() : OpenPostgres();
        Prepared none(connection, "SELECT 1");
        EXPECT_EQ(none.fields->GetFieldCount(), 0u);
        EXPECT_EQ(none.Run(), (Results{{"1"}}));
        EXPECT_EQ(none.Run(), (Results{{"1"}}));
        EXPECT_EQ(FailureOf([&] {
                      Prepared bad(connection, "SELECT * FROM no_such_table WHERE a = ?");
                      bad.Run();
                  }).state,
                  mariadb ? "42S02" : "42P01");
        EXPECT_EQ(Rows(connection, "SELECT 2"), Lines{"2"});
    }
}

// A value that the column refuses is the server's to tell.
TEST(OdbcParameters, ARefusedValueIsTold) {
    qxdb::Connection mariadb = OpenMariaDB();
    RunAll(mariadb, "SET sql_mode='STRICT_ALL_TABLES'");
    TestTable table(mariadb, "strict", "a TINYINT");
    Prepared insert(mariadb, "INSERT INTO strict VALUES(?)");
    insert[0].SetInt(1000);
    const qxtest::Failure outOfRange = FailureOf([&] { insert.Run(); });
    EXPECT_EQ(outOfRange.text, "Out of range value for column 'a' at row 1");
    EXPECT_EQ(outOfRange.code, 1264);
    EXPECT_EQ(outOfRange.state, "22003");
    insert[0].SetInt(100);
    EXPECT_EQ(insert.Run(), (Results{{"1 row(s)"}}));

    qxdb::Connection postgres = OpenPostgres();
    Prepared select(postgres, "SELECT 1 / ?::integer");
    select[0].SetInt(0);
    EXPECT_EQ(FailureOf([&] { select.Run(); }).state, "22012");
    select[0].SetString("\xFF");
    EXPECT_EQ(FailureOf([&] { select.Run(); }).text, "The text is no UTF-8 at byte 1");
    select[0].SetInt(1);
    EXPECT_EQ(select.Run(), (Results{{"1"}}));
}

TEST(OdbcProperties, SupportedOnes) {
    using Properties = qxdb::StatementProperties;
    struct Support {
        Properties::Capabilities capability;
        bool mariadb;
        bool postgres;
    };
    constexpr Support table[] = {
        {Properties::CapabilityMaxRows, true, true},
        {Properties::CapabilityNoScan, true, true},
        {Properties::CapabilityTimeout, false, true},
        {Properties::CapabilityDescribeOnly, true, true},
        {Properties::CapabilityExclusionIndex, true, true},
        {Properties::CapabilityProcParamCount, true, true},
        {Properties::CapabilityShowReturnCode, false, false},
    };
    qxdb::Statement mariadb = OpenMariaDB().CreateStatement(qxdb::CursorDefault, 1);
    qxdb::Statement postgres = OpenPostgres().CreateStatement(qxdb::CursorDefault, 1);
    for (const Support& support : table) {
        EXPECT_EQ(mariadb.GetProperties().SupportsProperty(support.capability), support.mariadb)
            << support.capability;
        EXPECT_EQ(postgres.GetProperties().SupportsProperty(support.capability), support.postgres)
            << support.capability;
    }
    EXPECT_FALSE(mariadb.GetProperties().SupportsProperty(static_cast<Properties::Capabilities>(128)));
}

}  // namespace
