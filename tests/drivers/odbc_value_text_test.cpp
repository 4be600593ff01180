// Texts of values: Unicode, numbers, times; and the types of columns of servers that are not here.
#include <gtest/gtest.h>

#include <limits>

#include "drivers/odbc/column_types.h"
#include "drivers/odbc/parameter_value.h"
#include "drivers/odbc/value_text.h"
#include "drivers/odbc/wide_text.h"
#include "support/driver_support.h"

namespace {

using qxdb::Column;
using qxdrivers::odbc::AppendReal;
using qxdrivers::odbc::AppendUtf8;
using qxdrivers::odbc::Family;
using qxdrivers::odbc::NativeType;
using qxdrivers::odbc::ReadTime;
using qxdrivers::odbc::ServerTraits;
using qxdrivers::odbc::TimePart;
using qxdrivers::odbc::TimestampFormatOf;
using qxdrivers::odbc::TimeText;
using qxdrivers::odbc::ToWide;
using qxdrivers::odbc::TypeOf;
using qxdrivers::odbc::ValueType;
using qxdrivers::odbc::WholeCharacters;
using qxdrivers::odbc::WideText;
using qxtest::FailureOf;

std::string BackFrom(const WideText& wide) {
    std::string text;
    AppendUtf8(wide.data(), wide.size(), text);
    return text;
}

TEST(OdbcText, EveryCharacterThereAndBack) {
    std::string all;
    for (unsigned int c = 1; c <= 0x10FFFF; c += c < 0x900 ? 1 : 97) {
        if (c >= 0xD800 && c <= 0xDFFF) {
            continue;
        }
        if (c < 0x80) {
            all += static_cast<char>(c);
        } else if (c < 0x800) {
            all += {static_cast<char>(0xC0 | c >> 6), static_cast<char>(0x80 | (c & 0x3F))};
        } else if (c < 0x10000) {
            all += {static_cast<char>(0xE0 | c >> 12), static_cast<char>(0x80 | (c >> 6 & 0x3F)),
                    static_cast<char>(0x80 | (c & 0x3F))};
        } else {
            all += {static_cast<char>(0xF0 | c >> 18), static_cast<char>(0x80 | (c >> 12 & 0x3F)),
                    static_cast<char>(0x80 | (c >> 6 & 0x3F)), static_cast<char>(0x80 | (c & 0x3F))};
        }
    }
    EXPECT_EQ(BackFrom(ToWide(all)), all);
    EXPECT_EQ(ToWide("\xF0\x9F\x98\x80"), (WideText{0xD83D, 0xDE00}));
    // Halves without a partner are kept.
    EXPECT_EQ(BackFrom({0xD83D, 'a', 0xDE00}),
              "\xED\xA0\xBD"
              "a\xED\xB8\x80");
    EXPECT_EQ(ToWide("\xED\xA0\xBD"), WideText{0xD83D});
    EXPECT_EQ(BackFrom({}), "");
}

TEST(OdbcText, WhatIsNoUtf8IsRefused) {
    for (const char* const bad : {"\x80", "a\xC3", "\xC0\x80", "\xE2\x82", "\xE2(\xA1",
                                  "\xF8\x88\x80\x80\x80", "\xF4\x90\x80\x80", "\xE0\x80\x80", "\xFF"}) {
        EXPECT_EQ(FailureOf([&] { ToWide(bad); }).state, "22021");
    }
    EXPECT_EQ(FailureOf([] { ToWide("ab\xC3(x"); }).text, "The text is no UTF-8 at byte 3");
}

TEST(OdbcText, WholeCharactersOfAPiece) {
    const std::string text = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80z";
    static constexpr std::size_t whole[] = {0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10, 11};
    for (std::size_t i = 0; i <= text.size(); ++i) {
        EXPECT_EQ(WholeCharacters(std::string_view(text).substr(0, i)), whole[i]) << i;
    }
    EXPECT_EQ(WholeCharacters("\x80\x80\x80\x80\x80"), 5u);  // nothing to wait for
}

template <class T>
std::string RealText(T value) {
    std::string text;
    AppendReal(value, text);
    return text;
}

TEST(OdbcText, Reals) {
    EXPECT_EQ(RealText(0.1), "0.1");
    EXPECT_EQ(RealText(0.1f), "0.1");
    EXPECT_EQ(RealText(16777216.0f), "16777216");
    EXPECT_EQ(RealText(1e300), "1E+300");
    EXPECT_EQ(RealText(-std::numeric_limits<double>::infinity()), "-Infinity");
    EXPECT_EQ(RealText(std::numeric_limits<float>::infinity()), "Infinity");
    EXPECT_EQ(RealText(std::numeric_limits<double>::quiet_NaN()), "NaN");
}

TEST(OdbcText, TimesAreReadStrictly) {
    struct Case {
        const char* text;
        TimePart part;
        bool zeroDates;
        const char* read;  // null: refused
    };
    static constexpr Case cases[] = {
        {"2024-02-29 12:34:56.123456789", TimePart::DateTime, false, "2024-02-29 12:34:56.123456789"},
        {"2024-02-29", TimePart::Date, false, "2024-02-29 00:00:00.000000000"},
        {"2024-02-30", TimePart::Date, false, nullptr},
        {"0000-00-00", TimePart::Date, true, "0000-00-00 00:00:00.000000000"},
        {"0000-00-00", TimePart::Date, false, nullptr},
        {"2024-00-01", TimePart::Date, false, nullptr},
        {"2024-01-01 00:00:00 BC", TimePart::DateTime, false, nullptr},
        {"infinity", TimePart::DateTime, false, nullptr},
        {"", TimePart::DateTime, false, nullptr},
        {"23:59:59.5", TimePart::TimeOfDay, false, "0000-00-00 23:59:59.500000000"},
        {"24:00:00", TimePart::TimeOfDay, false, "0000-00-00 24:00:00.000000000"},
        {"24:00:01", TimePart::TimeOfDay, false, nullptr},
        {"25:00:00", TimePart::TimeOfDay, false, nullptr},
        {"12:60:00", TimePart::TimeOfDay, false, nullptr},
        {"12:00", TimePart::TimeOfDay, false, nullptr},
        {"12:00:00.", TimePart::TimeOfDay, false, nullptr},
        {"12:00:00.1234567891", TimePart::TimeOfDay, false, nullptr},
        {"12:00:00+02", TimePart::TimeOfDay, false, nullptr},
        {"-12:00:00", TimePart::TimeOfDay, false, nullptr},
    };
    for (const Case& c : cases) {
        qxdb::Timestamp value;
        value.SetFormat("yyyy-MM-dd HH:mm:ss.fffffffff");
        EXPECT_EQ(ReadTime(c.text, c.part, c.zeroDates, value), c.read != nullptr) << c.text;
        EXPECT_EQ(value.AsString(), c.read ? c.read : "0000-00-00 00:00:00.000000000") << c.text;
    }
}

TEST(OdbcText, TimesAreWrittenWithTheDigitsThatThereAre) {
    qxdb::Timestamp value;
    value.SetDate(2024, 2, 29);
    value.SetTime(1, 2, 3);
    EXPECT_EQ(TimeText(value, TimePart::DateTime), "2024-02-29 01:02:03");
    EXPECT_EQ(TimeText(value, TimePart::Date), "2024-02-29");
    value.SetFraction(120000000);
    EXPECT_EQ(TimeText(value, TimePart::DateTime), "2024-02-29 01:02:03.120");
    value.SetFraction(1000);
    EXPECT_EQ(TimeText(value, TimePart::TimeOfDay), "01:02:03.000001");
    value.SetFraction(1);
    EXPECT_EQ(TimeText(value, TimePart::DateTime), "2024-02-29 01:02:03.000000001");
}

NativeType Native(SQLSMALLINT sqlType, SQLULEN size, SQLSMALLINT digits = 0, const char* name = "") {
    NativeType native;
    native.sqlType = sqlType;
    native.size = size;
    native.digits = digits;
    native.typeName = name;
    return native;
}

// Types as drivers of other servers describe them.
TEST(OdbcTypes, OfOtherServers) {
    struct Case {
        Family family;
        NativeType native;
        Column::BindType type;
        int scale;
        const char* format;
    };
    const Case cases[] = {
        {Family::SQLServer, Native(SQL_WVARCHAR, 0, 0, "nvarchar"), Column::BindLob, 0, ""},  // (max)
        {Family::SQLServer, Native(SQL_VARBINARY, 0, 0, "varbinary"), Column::BindLob, 0, ""},
        {Family::SQLServer, Native(SQL_WVARCHAR, 4000), Column::BindString, 0, ""},
        {Family::SQLServer, Native(SQL_WLONGVARCHAR, 1073741823, 0, "ntext"), Column::BindLob, 0, ""},
        {Family::SQLServer, Native(SQL_DECIMAL, 19, 4, "money"), Column::BindDecimal, 4, ""},
        {Family::SQLServer, Native(-154, 16, 7, "time"), Column::BindTimestamp, 7, "HH:mm:ss.fffffffff"},
        {Family::SQLServer, Native(-155, 34, 7, "datetimeoffset"), Column::BindString, 0, ""},
        {Family::SQLServer, Native(-150, 8000, 0, "sql_variant"), Column::BindString, 0, ""},
        {Family::SQLServer, Native(-152, 0, 0, "xml"), Column::BindLob, 0, ""},
        {Family::SQLServer, Native(SQL_TYPE_TIMESTAMP, 23, 3, "datetime"), Column::BindTimestamp, 3,
         "yyyy-MM-dd HH:mm:ss.fff"},
        {Family::SQLServer, Native(SQL_GUID, 36), Column::BindString, 0, ""},
        {Family::Oracle, Native(SQL_DECIMAL, 38, 0, "NUMBER"), Column::BindDecimal, 0, ""},
        {Family::Oracle, Native(SQL_LONGVARCHAR, 2147483647, 0, "CLOB"), Column::BindLob, 0, ""},
        {Family::DB2, Native(-98, 1048576, 0, "BLOB"), Column::BindLob, 0, ""},
        {Family::DB2, Native(-99, 100, 0, "CLOB"), Column::BindLob, 0, ""},
        {Family::DB2, Native(-95, 10, 0, "GRAPHIC"), Column::BindString, 0, ""},
        {Family::DB2, Native(-360, 34, 0, "DECFLOAT"), Column::BindDecimal, 0, ""},
        {Family::DB2, Native(SQL_TYPE_TIMESTAMP, 32, 12, "TIMESTAMP"), Column::BindTimestamp, 9,
         "yyyy-MM-dd HH:mm:ss.fffffffff"},
        {Family::Sybase, Native(SQL_TYPE_DATE, 10, 0, "date"), Column::BindTimestamp, 0, "yyyy-MM-dd"},
        {Family::Sybase, Native(SQL_TYPE_TIME, 12, 3, "time"), Column::BindTimestamp, 3, "HH:mm:ss.fff"},
        {Family::Other, Native(SQL_INTERVAL_DAY_TO_SECOND, 20), Column::BindString, 0, ""},
        {Family::Other, Native(SQL_BINARY, 16), Column::BindBinary, 0, ""},
        {Family::Other, Native(SQL_LONGVARCHAR, 0, 0, "string"), Column::BindLob, 0, ""},
        {Family::Other, Native(SQL_VARCHAR, 0, 0, "string"), Column::BindString, 0, ""},
        {Family::Other, Native(SQL_VARCHAR, 1000001), Column::BindLob, 0, ""},
        {Family::Other, Native(SQL_VARCHAR, 1000000), Column::BindString, 0, ""},
        {Family::Other, Native(12345, 1), Column::BindString, 0, ""},
    };
    for (const Case& c : cases) {
        ServerTraits traits;
        traits.family = c.family;
        const ValueType type = TypeOf(c.native, traits);
        qxdb::ColumnRecord record;
        qxdrivers::odbc::DescribeType(c.native, type, record);
        EXPECT_EQ(record.type, c.type) << c.native.typeName << c.native.sqlType;
        EXPECT_EQ(record.scale, c.scale) << c.native.typeName << c.native.sqlType;
        EXPECT_EQ(record.dateTimeFormat, c.format) << c.native.typeName << c.native.sqlType;
    }
    EXPECT_EQ(TimestampFormatOf(TimePart::DateTime, 4), "yyyy-MM-dd HH:mm:ss.ffffff");
}

TEST(OdbcValues, StorageTakesWhatFitsAndRefusesTheRest) {
    using qxdrivers::odbc::ParameterValue;
    using qxdrivers::odbc::StoreValue;
    int number = 7;
    StoreValue(ParameterValue(__int64{42}), &number);
    EXPECT_EQ(number, 42);
    StoreValue(ParameterValue(std::string("-5")), &number);
    EXPECT_EQ(number, -5);
    StoreValue(ParameterValue(), &number);
    EXPECT_EQ(number, 0);
    short small = 0;
    EXPECT_EQ(FailureOf([&] { StoreValue(ParameterValue(__int64{70000}), &small); }).text,
              "The output value '70000' does not fit the bound variable");
    EXPECT_EQ(FailureOf([&] { StoreValue(ParameterValue(std::string("abc")), &number); }).state, "22003");
    EXPECT_EQ(FailureOf([&] { StoreValue(ParameterValue(1.5), &number); }).state, "22003");
    double real = 0;
    StoreValue(ParameterValue(std::string("1.5")), &real);
    EXPECT_EQ(real, 1.5);
    qxdb::Timestamp time;
    time.SetFormat("dd.MM.yyyy");
    StoreValue(ParameterValue(std::string("2024-02-29 00:00:00")), &time);
    EXPECT_EQ(time.AsString(), "29.02.2024");
    StoreValue(ParameterValue(), &time);
    EXPECT_EQ(time.AsString(), "00.00.0000");
    std::string text = "old";
    StoreValue(ParameterValue(), qxdb::BasicFixedString<char>(text, -1, 0));
    EXPECT_EQ(text, "");
    qxdb::Decimal decimal;
    StoreValue(ParameterValue(std::string("12.50")), qxdb::FixedDecimal(decimal, -1, -1));
    EXPECT_EQ(decimal.AsString(false, -1), "12.50");
    qxdb::DynBuffer bytes;
    StoreValue(ParameterValue(std::string("ab")), &bytes);
    EXPECT_EQ(bytes.GetLength(), 2u);
}

}  // namespace
