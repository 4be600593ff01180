#include "params/parameter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <locale>
#include <string>
#include <typeinfo>
#include <vector>

#include "platform/qxutils/qx_exception.h"

namespace {

using qxdb::Column;
using qxdb::DataType;
using qxdb::Decimal;
using qxdb::DynBuffer;
using qxdb::Timestamp;
using qxdbsqlengine::Parameter;
using BindType = Parameter::BindType;

constexpr char kWrongType[] = "Wrong Type Exception";
constexpr char kNull[] = "Get null value exception";
constexpr char kDefault[] = "Get default value exception";
constexpr char kBadCast[] = "Unable to perform lexical cast.";

constexpr BindType kAllTypes[] = {Column::BindUnknown, Column::BindString,      Column::BindInt,
                                  Column::BindLong,    Column::BindShort,       Column::BindFloat,
                                  Column::BindDouble,  Column::BindDecimal,     Column::BindLob,
                                  Column::BindInt64,   Column::BindBinary,      Column::BindTimestamp,
                                  Column::BindCursor,  Column::BindOtherCursor, Column::BindOtherString};

Parameter Make(BindType type, unsigned int size = 0) {
    return Parameter("p", type, DataType::DirectionIn, size, 0);
}

template <class T>
Parameter With(BindType type, const T& value, unsigned int size = 0) {
    Parameter parameter = Make(type, size);
    parameter.Set(value);
    return parameter;
}

DynBuffer BytesOf(const std::string& bytes) {
    DynBuffer buffer;
    buffer.Assign(reinterpret_cast<const unsigned char*>(bytes.data()),
                  static_cast<unsigned int>(bytes.size()));
    return buffer;
}

// What a call throws, "" when it throws nothing.
std::string FailureOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const qxutils::QXException& e) {
        return e.what();
    } catch (const std::bad_cast& e) {
        return e.what();
    }
    return "";
}

// All typed readings of a parameter, as text; a failure's message in brackets.
using Reading = std::function<std::string(const Parameter&)>;

struct NamedReading {
    const char* name;
    Reading read;
};

std::string DoubleText(double value) {
    std::string text;
    Decimal::AppendDouble(value, text);
    return text;
}

const std::vector<NamedReading>& Readings() {
    static const std::vector<NamedReading> readings = {
        {"short", [](const Parameter& p) { return std::to_string(p.AsShort()); }},
        {"int", [](const Parameter& p) { return std::to_string(p.AsInt()); }},
        {"long", [](const Parameter& p) { return std::to_string(p.AsLong()); }},
        {"float", [](const Parameter& p) { return DoubleText(static_cast<double>(p.AsFloat())); }},
        {"double", [](const Parameter& p) { return DoubleText(p.AsDouble()); }},
        {"decimal", [](const Parameter& p) { return p.AsDecimal().AsString(false, -1); }},
        {"bigint", [](const Parameter& p) { return std::to_string(p.AsBigInt()); }},
        {"timestamp", [](const Parameter& p) { return p.AsTimestamp().AsString(); }},
        {"binary", [](const Parameter& p) {
             std::string text;
             qxdb::BufferBase::AppendHex(text, p.AsBinary().GetData(), p.AsBinary().GetLength());
             return text;
         }}};
    return readings;
}

std::string ReadOr(const NamedReading& reading, const Parameter& parameter) {
    std::string text;
    const std::string failure = FailureOf([&] { text = reading.read(parameter); });
    return failure.empty() ? text : "[" + failure + "]";
}

std::vector<std::string> AllReadings(const Parameter& parameter) {
    std::vector<std::string> texts;
    for (const NamedReading& reading : Readings())
        texts.push_back(ReadOr(reading, parameter));
    return texts;
}

const std::string kW = "[Wrong Type Exception]";
const std::string kL = "[Unable to perform lexical cast.]";

TEST(ParameterReading, EveryTypeAsEveryOther) {
    using Texts = std::vector<std::string>;
    for (BindType type : {Column::BindString, Column::BindOtherString, Column::BindUnknown, Column::BindLob})
        EXPECT_EQ(AllReadings(With(type, std::string("12"))),
                  (Texts{"12", "12", "12", "12", "12", "12", "12",
                         "[\"12\" is not a timestamp of the format "
                         "\"yyyy-MM-dd HH:mm:ss.fff\"]",
                         kW}));
    EXPECT_EQ(AllReadings(With(Column::BindString, std::string("2006-12-31"))),
              (Texts{kL, kL, kL, kL, kL, "[\"2006-12-31\" is not a decimal number]", kL,
                     "2006-12-31 00:00:00.000", kW}));
    EXPECT_EQ(AllReadings(With(Column::BindInt, 70000)),
              (Texts{"4464", "70000", "70000", "70000", "70000", "70000", "70000", kW, kW}));
    EXPECT_EQ(AllReadings(With(Column::BindLong, 70000L)),
              (Texts{"4464", "70000", "70000", "70000", "70000", "70000", "70000", kW, kW}));
    EXPECT_EQ(AllReadings(With(Column::BindShort, static_cast<short>(-7))),
              (Texts{"-7", "-7", "-7", "-7", "-7", "-7", "-7", kW, kW}));
    EXPECT_EQ(AllReadings(With(Column::BindFloat, -2.75F)),
              (Texts{"-2", "-2", "-2", "-2.75", "-2.75", "-2.75", "-2", kW, kW}));
    EXPECT_EQ(AllReadings(With(Column::BindDouble, 2.75)),
              (Texts{"2", "2", "2", "2.75", "2.75", "2.75", "2", kW, kW}));
    EXPECT_EQ(AllReadings(With(Column::BindDecimal, Decimal("-2.750"))),
              (Texts{"-2", "-2", "-2", "-2.75", "-2.75", "-2.750", "-2", kW, kW}));
    EXPECT_EQ(AllReadings(With(Column::BindInt64, __int64(4294967298))),
              (Texts{"2", "2", std::to_string(static_cast<long>(4294967298LL)), "4294967296", "4294967298",
                     "4294967298", "4294967298", kW, kW}));
    EXPECT_EQ(AllReadings(With(Column::BindBinary, BytesOf("ab"))),
              (Texts{kW, kW, kW, kW, kW, kW, kW, kW, "6162"}));
    EXPECT_EQ(AllReadings(With(Column::BindTimestamp, Timestamp("2006-12-31"))),
              (Texts{kW, kW, kW, kW, kW, kW, kW, "2006-12-31 00:00:00.000", kW}));
}

// Whether a type has a conversion to what is read; those without fail by type, null or not.
bool CanRead(BindType type, const std::string& reading) {
    const bool text = Make(type).GetType() == Column::BindString || type == Column::BindOtherString;
    if (reading == "binary")
        return type == Column::BindBinary;
    if (reading == "timestamp")
        return text || type == Column::BindTimestamp;
    return type != Column::BindBinary && type != Column::BindTimestamp;
}

TEST(ParameterReading, NullAndDefaultNeverGiveAValue) {
    for (BindType type : kAllTypes) {
        Parameter parameter = Make(type, 4);
        for (const NamedReading& reading : Readings()) {
            // The bytes themselves are handed out for drivers to fill, whatever the parameter's state.
            const bool bytes = type == Column::BindBinary && reading.name == std::string("binary");
            const bool can = CanRead(type, reading.name);
            parameter.SetNull();
            EXPECT_EQ(ReadOr(reading, parameter), bytes ? ""
                                                  : can ? "[Get null value exception]"
                                                        : kW)
                << type << " as " << reading.name;
            parameter.SetDefault();
            EXPECT_EQ(ReadOr(reading, parameter), bytes ? ""
                                                  : can ? "[Get default value exception]"
                                                        : kW)
                << type << " as " << reading.name;
        }
    }
}

TEST(ParameterReading, TextsHaveToBeNumbersToTheEnd) {
    for (const char* text : {"", " ", "12x", "x12", "1 2", "1.5.2", "--1", "12,5", "0x10"}) {
        const Parameter parameter = With(Column::BindString, std::string(text));
        const std::vector<std::string> read = AllReadings(parameter);
        for (std::size_t i : {0, 1, 2, 3, 4, 6})  // all but the decimal, the timestamp and the bytes
            EXPECT_EQ(read[i], kL) << text << " as " << Readings()[i].name;
    }
    EXPECT_EQ(With(Column::BindString, std::string(" 12 \n")).AsInt(), 12);
    EXPECT_EQ(With(Column::BindString, std::string("1e3")).AsDouble(), 1000.0);
    EXPECT_EQ(FailureOf([] { With(Column::BindString, std::string("1e3")).AsInt(); }), kBadCast);
    EXPECT_EQ(FailureOf([] { With(Column::BindString, std::string("1.5")).AsInt(); }), kBadCast);
    EXPECT_EQ(FailureOf([] { With(Column::BindString, std::string("40000")).AsShort(); }), kBadCast);
    EXPECT_EQ(FailureOf([] { With(Column::BindString, std::string("3000000000")).AsInt(); }), kBadCast);
    EXPECT_EQ(FailureOf([] { With(Column::BindString, std::string("9223372036854775808")).AsBigInt(); }),
              kBadCast);
    EXPECT_THROW(With(Column::BindString, std::string("12x")).AsInt(), std::bad_cast);
    EXPECT_THROW(With(Column::BindString, std::string("12x")).AsDecimal(), qxutils::QXException);
}

TEST(ParameterReading, FloatingNumbersBeyondTheRangeStopAtTheLimits) {
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(With(Column::BindDouble, 1e30).AsInt(), std::numeric_limits<int>::max());
    EXPECT_EQ(With(Column::BindDouble, -1e30).AsInt(), std::numeric_limits<int>::min());
    EXPECT_EQ(With(Column::BindDouble, 32767.9).AsShort(), 32767);
    EXPECT_EQ(With(Column::BindDouble, -32768.9).AsShort(), -32768);
    EXPECT_EQ(With(Column::BindDouble, 32768.0).AsShort(), 32767);
    EXPECT_EQ(With(Column::BindDouble, 9223372036854775807.0).AsBigInt(),
              std::numeric_limits<__int64>::max());
    EXPECT_EQ(With(Column::BindDouble, infinity).AsBigInt(), std::numeric_limits<__int64>::max());
    EXPECT_EQ(With(Column::BindDouble, -infinity).AsBigInt(), std::numeric_limits<__int64>::min());
    EXPECT_EQ(With(Column::BindDouble, std::nan("")).AsInt(), 0);
    EXPECT_EQ(With(Column::BindFloat, 1e30F).AsLong(), std::numeric_limits<long>::max());
    EXPECT_THROW(With(Column::BindDouble, infinity).AsDecimal(), qxutils::QXException);
}

TEST(ParameterReading, DecimalsGoThroughWholeOrDouble) {
    const Parameter big = With(Column::BindDecimal, Decimal("1e30"));
    EXPECT_EQ(big.AsBigInt(), std::numeric_limits<__int64>::max());
    EXPECT_EQ(big.AsDouble(), 1e30);
    EXPECT_EQ(With(Column::BindDecimal, Decimal("4294967297.9")).AsInt(), 1);
}

TEST(ParameterReading, TimestampsFromTextsUseTheParametersFormat) {
    Parameter parameter = With(Column::BindString, std::string("12/31/2006 10:00:00"));
    EXPECT_NE(FailureOf([&] { parameter.AsTimestamp(); }), "");
    parameter.SetDateTimeFormat("MM/dd/yyyy HH:mm:ss.fff");
    EXPECT_EQ(parameter.GetDateTimeFormat(), "MM/dd/yyyy HH:mm:ss.fff");
    EXPECT_EQ(parameter.AsTimestamp().AsString(), "12/31/2006 10:00:00.000");
    EXPECT_EQ(parameter.AsTimestamp().GetYear(), 2006);
    EXPECT_EQ(parameter.AsString(), "12/31/2006 10:00:00");
}

TEST(ParameterText, IsThatOfTheValueUnderneath) {
    EXPECT_EQ(With(Column::BindString, std::string("a b")).AsString(), "a b");
    EXPECT_EQ(With(Column::BindInt, -12345).AsString(), "-12345");
    EXPECT_EQ(With(Column::BindLong, 1234567L).AsString(), "1234567");
    EXPECT_EQ(With(Column::BindShort, static_cast<short>(-3)).AsString(), "-3");
    EXPECT_EQ(With(Column::BindFloat, 1.5F).AsString(), "1.5");
    EXPECT_EQ(With(Column::BindDouble, 0.25).AsString(), "0.25");
    EXPECT_EQ(With(Column::BindDouble, 1234567.5).AsString(), "1.23457e+06");
    EXPECT_EQ(With(Column::BindDecimal, Decimal("1.50")).AsString(), "1.50");
    EXPECT_EQ(With(Column::BindInt64, std::numeric_limits<__int64>::min()).AsString(),
              "-9223372036854775808");
    EXPECT_EQ(With(Column::BindBinary, BytesOf("a\xFF")).AsString(), "61FF");
    EXPECT_EQ(Make(Column::BindBinary).AsString(), "");
    EXPECT_EQ(Make(Column::BindBinary, 4).AsString(), "");
    EXPECT_EQ(With(Column::BindTimestamp, Timestamp("2006-12-31 1:2:3")).AsString(),
              "2006-12-31 01:02:03.000");
}

TEST(ParameterText, ANullOrDefaultOneGivesTheStoredItem) {
    Parameter parameter = Make(Column::BindInt);
    parameter.SetNull();
    EXPECT_EQ(parameter.AsString(), "0");
    parameter.Set(5);
    parameter.SetDefault();
    EXPECT_EQ(parameter.AsString(), "5");
}

struct Thousands : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
    char do_decimal_point() const override { return ','; }
};

TEST(ParameterText, TheProcessWideLocalePlaysNoPart) {
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Thousands));
    const std::string whole = With(Column::BindInt, 1234567).AsString();
    const std::string floating = With(Column::BindDouble, 1234.5).AsString();
    const double read = With(Column::BindString, std::string("1234.5")).AsDouble();
    const double set = With(Column::BindDouble, std::string("1234.5")).AsDouble();
    std::locale::global(before);
    EXPECT_EQ(whole, "1234567");
    EXPECT_EQ(floating, "1234.5");
    EXPECT_EQ(read, 1234.5);
    EXPECT_EQ(set, 1234.5);
}

// What is stored when a value is set, as text; "[message]" when it is refused.
template <class T>
std::string Stored(BindType type, const T& value) {
    Parameter parameter = Make(type, 16);
    const std::string failure = FailureOf([&] { parameter.Set(value); });
    return failure.empty() ? parameter.AsString() : "[" + failure + "]";
}

struct SetRow {
    BindType type;
    std::vector<std::string> stored;  // short, int, long, int64, float, double, decimal, timestamp, binary
};

class ParameterSetting : public testing::TestWithParam<SetRow> {};

TEST_P(ParameterSetting, EveryTypeIntoThisOne) {
    const BindType type = GetParam().type;
    const Timestamp moment("2006-12-31 10:20:30.5");
    const std::vector<std::string> stored = {
        Stored(type, static_cast<short>(12)), Stored(type, 1234),   Stored(type, 70000L),
        Stored(type, __int64(4294967298)),    Stored(type, 2.5F),   Stored(type, -2.75),
        Stored(type, Decimal("-2.750")),      Stored(type, moment), Stored(type, BytesOf("ab"))};
    EXPECT_EQ(stored, GetParam().stored);
}

INSTANTIATE_TEST_SUITE_P(
    Types, ParameterSetting,
    testing::Values(
        SetRow{
            Column::BindString,
            {"12", "1234", "70000", "4294967298", "2.5", "-2.75", "-2.750", "2006-12-31 10:20:30.500", kW}},
        SetRow{
            Column::BindOtherString,
            {"12", "1234", "70000", "4294967298", "2.5", "-2.75", "-2.750", "2006-12-31 10:20:30.500", kW}},
        SetRow{Column::BindInt, {"12", "1234", "70000", "2", "2", "-2", "-2", kW, kW}},
        SetRow{Column::BindLong,
               {"12", "1234", "70000", std::to_string(static_cast<long>(4294967298LL)), "2", "-2", "-2", kW,
                kW}},
        SetRow{Column::BindShort, {"12", "1234", "4464", "2", "2", "-2", "-2", kW, kW}},
        SetRow{Column::BindFloat, {"12", "1234", "70000", "4.29497e+09", "2.5", "-2.75", "-2.75", kW, kW}},
        SetRow{Column::BindDouble, {"12", "1234", "70000", "4.29497e+09", "2.5", "-2.75", "-2.75", kW, kW}},
        SetRow{Column::BindDecimal, {"12", "1234", "70000", "4294967298", "2.5", "-2.75", "-2.750", kW, kW}},
        SetRow{Column::BindInt64, {"12", "1234", "70000", "4294967298", "2", "-2", "-2", kW, kW}},
        // Whole numbers become the bytes of the number.
        SetRow{Column::BindBinary, {"0C", "04D2", "011170", "0100000002", kW, kW, kW, kW, "6162"}},
        SetRow{Column::BindTimestamp, {kW, kW, kW, kW, kW, kW, kW, "2006-12-31 10:20:30.500", kW}}));

TEST(ParameterSettingText, NumbersTakeTheLeadingPart) {
    for (BindType type : {Column::BindInt, Column::BindLong, Column::BindShort, Column::BindInt64}) {
        EXPECT_EQ(Stored(type, std::string("12x")), "12") << type;
        EXPECT_EQ(Stored(type, std::string(" -12.9")), "-12") << type;
        EXPECT_EQ(Stored(type, std::string("x")), "0") << type;
        EXPECT_EQ(Stored(type, std::string("")), "0") << type;
    }
    for (BindType type : {Column::BindFloat, Column::BindDouble}) {
        EXPECT_EQ(Stored(type, std::string("1.5x")), "1.5") << type;
        EXPECT_EQ(Stored(type, std::string("2.5e1")), "25") << type;
        EXPECT_EQ(Stored(type, std::string("x")), "0") << type;
    }
}

TEST(ParameterSettingText, NumbersBeyondTheRangeStoreTheNearestLimit) {
    EXPECT_EQ(Stored(Column::BindShort, std::string("40000")), "32767");
    EXPECT_EQ(Stored(Column::BindShort, std::string("-40000")), "-32768");
    EXPECT_EQ(Stored(Column::BindInt, std::string("3000000000")), "2147483647");
    EXPECT_EQ(Stored(Column::BindInt64, std::string("-9999999999999999999")), "-9223372036854775808");
    EXPECT_EQ(With(Column::BindDouble, std::string("1e999")).AsDouble(), std::numeric_limits<double>::max());
}

TEST(ParameterSettingText, DecimalsAndTimestampsAreStrict) {
    EXPECT_EQ(Stored(Column::BindDecimal, std::string(" 1.50 ")), "1.50");
    EXPECT_EQ(Stored(Column::BindDecimal, std::string("1.5x")), "[\"1.5x\" is not a decimal number]");
    EXPECT_EQ(Stored(Column::BindTimestamp, std::string("2006-12-31")), "2006-12-31 00:00:00.000");
    EXPECT_EQ(Stored(Column::BindTimestamp, std::string("yesterday")),
              "[\"yesterday\" is not a timestamp of the format \"yyyy-MM-dd HH:mm:ss.fff\"]");
}

TEST(ParameterSettingText, ARefusedValueChangesNothing) {
    Parameter parameter = With(Column::BindDecimal, Decimal("1.5"));
    EXPECT_THROW(parameter.Set(std::string("x")), qxutils::QXException);
    EXPECT_THROW(parameter.Set(Timestamp()), qxutils::QXException);
    EXPECT_EQ(parameter.AsString(), "1.5");
    parameter.SetNull();
    EXPECT_THROW(parameter.Set(std::numeric_limits<double>::infinity()), qxutils::QXException);
    EXPECT_TRUE(parameter.IsNull());
}

struct BinaryCase {
    std::string text;
    const char* hex;
};

class ParameterBinary : public testing::TestWithParam<BinaryCase> {};

TEST_P(ParameterBinary, FromText) {
    Parameter parameter = Make(Column::BindBinary, 4);
    parameter.SetNull();
    parameter.Set(GetParam().text);
    EXPECT_FALSE(parameter.IsNull());
    EXPECT_EQ(parameter.AsString(), GetParam().hex);
    EXPECT_EQ(parameter.GetLength(), std::string(GetParam().hex).size() / 2);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ParameterBinary,
    testing::Values(BinaryCase{"", ""}, BinaryCase{"255", "FF"}, BinaryCase{"0xFF", "FF"},
                    BinaryCase{"0XfF", "FF"}, BinaryCase{"ff", "6666"}, BinaryCase{"0", "00"},
                    BinaryCase{"10", "0A"}, BinaryCase{"65280", "FF00"}, BinaryCase{"0255", "FF"},
                    BinaryCase{"0x", ""}, BinaryCase{"0xF", "0F"}, BinaryCase{"0x00FF", "00FF"},
                    BinaryCase{"0xFF00", "FF00"}, BinaryCase{"0xFG", "30784647"}, BinaryCase{"x", "78"},
                    BinaryCase{"-5", "2D35"}, BinaryCase{"1 ", "3120"}, BinaryCase{"abcdefgh", "61626364"},
                    BinaryCase{std::string("a\0b", 3), "610062"},
                    BinaryCase{"18446744073709551616", "010000000000000000"},
                    BinaryCase{"0x0102030405", "0102030405"}));

TEST(ParameterBinaryRoom, WithoutASizeTextsDoNothingAtAll) {
    Parameter parameter = Make(Column::BindBinary);
    parameter.Set(std::string("255"));
    EXPECT_EQ(parameter.GetLength(), 0U);
    parameter.SetNull();
    parameter.Set(std::string("255"));
    parameter.Set(12);
    EXPECT_TRUE(parameter.IsNull());
    parameter.SetDefault();
    parameter.Set(std::string(""));
    EXPECT_TRUE(parameter.IsDefault());
    parameter.Set(BytesOf("ab"));
    EXPECT_FALSE(parameter.IsDefault());
    EXPECT_EQ(parameter.AsString(), "6162");
}

TEST(ParameterBinaryRoom, SizeAndLengthAreThoseOfTheBuffer) {
    Parameter parameter("b", Column::BindBinary, DataType::DirectionOut, 8, 3);
    EXPECT_EQ(parameter.GetSize(), 8U);
    EXPECT_EQ(parameter.GetLength(), 3U);
    EXPECT_EQ(parameter.AsString(), "000000");
    parameter.SetSize(2);
    EXPECT_EQ(parameter.GetLength(), 2U);
    parameter.SetLength(1);
    EXPECT_EQ(parameter.AsString(), "00");
    parameter.AsBinary().GetBuffer()[0] = 0x7F;
    EXPECT_EQ(parameter.AsString(), "7F");
    EXPECT_EQ(Parameter("b", Column::BindBinary, DataType::DirectionOut, 0, 3).GetLength(), 0U);
}

TEST(ParameterBinaryRoom, OtherTypesHaveNeitherSizeNorLength) {
    Parameter parameter("s", Column::BindString, DataType::DirectionIn, 8, 3);
    parameter.SetSize(5);
    parameter.SetLength(5);
    EXPECT_EQ(parameter.GetSize(), 0U);
    EXPECT_EQ(parameter.GetLength(), 0U);
    EXPECT_EQ(parameter.AsString(), "");
}

TEST(Parameter, ANewOneIsNeitherNullNorDefault) {
    for (BindType type : kAllTypes) {
        const Parameter parameter("name", type, DataType::DirectionInOut, 0, 0);
        EXPECT_FALSE(parameter.IsNull()) << type;
        EXPECT_FALSE(parameter.IsDefault()) << type;
        EXPECT_EQ(parameter.GetName(), "name");
        EXPECT_EQ(parameter.GetDefaultValue(), "");
        EXPECT_EQ(parameter.GetDirection(), DataType::DirectionInOut);
        EXPECT_EQ(parameter.GetDateTimeFormat(), "");
    }
    EXPECT_EQ(Make(Column::BindString).AsString(), "");
    EXPECT_EQ(Parameter(Column::BindInt, DataType::DirectionIn, 0, 0).GetName(), "");
}

TEST(Parameter, TypesThatAreHeldAsTextsReportString) {
    for (BindType type : kAllTypes) {
        const bool text = type == Column::BindUnknown || type == Column::BindLob ||
                          type == Column::BindCursor || type == Column::BindOtherCursor;
        EXPECT_EQ(Make(type).GetType(), text ? Column::BindString : type);
    }
}

TEST(Parameter, UnknownTypesAreRefused) {
    for (int type : {15, 16, 1000, -1})
        EXPECT_EQ(FailureOf([type] { Make(static_cast<BindType>(type)); }), "Type not supported exception")
            << type;
}

TEST(Parameter, NullAndDefaultExcludeEachOtherAndEndWithAValue) {
    Parameter parameter = Make(Column::BindInt);
    parameter.SetNull();
    EXPECT_TRUE(parameter.IsNull());
    EXPECT_FALSE(parameter.IsDefault());
    parameter.SetDefault();
    EXPECT_FALSE(parameter.IsNull());
    EXPECT_TRUE(parameter.IsDefault());
    parameter.SetNull();
    EXPECT_FALSE(parameter.IsDefault());
    parameter.Set(1);
    EXPECT_FALSE(parameter.IsNull());
    EXPECT_FALSE(parameter.IsDefault());
    EXPECT_EQ(FailureOf([&] {
                  parameter.SetNull();
                  parameter.AsInt();
              }),
              kNull);
    EXPECT_EQ(FailureOf([&] {
                  parameter.SetDefault();
                  parameter.AsInt();
              }),
              kDefault);
    EXPECT_EQ(FailureOf([&] { parameter.AsBinary(); }), kWrongType);
}

TEST(Parameter, SettersOfItsOwnState) {
    Parameter parameter = Make(Column::BindInt);
    parameter.SetName("other");
    parameter.SetDefaultValue("7");
    parameter.SetDirection(DataType::DirectionOut);
    EXPECT_EQ(parameter.GetName(), "other");
    EXPECT_EQ(parameter.GetDefaultValue(), "7");
    EXPECT_EQ(parameter.GetDirection(), DataType::DirectionOut);
}

TEST(Parameter, TheItemIsTheValueItself) {
    Parameter whole = With(Column::BindInt, 5);
    *static_cast<int*>(whole.GetItemPtr()) = 6;
    EXPECT_EQ(whole.AsInt(), 6);
    Parameter text = With(Column::BindLob, std::string("a"));
    *static_cast<std::string*>(text.GetItemPtr()) += "b";
    EXPECT_EQ(text.AsString(), "ab");
    Parameter other = With(Column::BindLong, 5L);
    EXPECT_EQ(*static_cast<long*>(other.GetItemPtr()), 5L);
    Parameter narrow = With(Column::BindShort, static_cast<short>(5));
    EXPECT_EQ(*static_cast<short*>(narrow.GetItemPtr()), 5);
    Parameter single = With(Column::BindFloat, 1.5F);
    EXPECT_EQ(*static_cast<float*>(single.GetItemPtr()), 1.5F);
    Parameter floating = With(Column::BindDouble, 1.5);
    EXPECT_EQ(*static_cast<double*>(floating.GetItemPtr()), 1.5);
    Parameter decimal = With(Column::BindDecimal, Decimal(15, 1));
    EXPECT_EQ(static_cast<Decimal*>(decimal.GetItemPtr())->AsString(false, -1), "1.5");
    Parameter wide = With(Column::BindInt64, __int64(5));
    EXPECT_EQ(*static_cast<__int64*>(wide.GetItemPtr()), 5);
    Parameter binary = With(Column::BindBinary, BytesOf("a"));
    EXPECT_EQ(binary.GetItemPtr(), &binary.AsBinary());
    Parameter moment = With(Column::BindTimestamp, Timestamp("2006-12-31"));
    EXPECT_EQ(static_cast<Timestamp*>(moment.GetItemPtr())->GetDay(), 31);
}

TEST(Parameter, ScaleIsThatOfADecimalThatIsNotNull) {
    Parameter decimal = With(Column::BindDecimal, Decimal("1.250"));
    EXPECT_EQ(decimal.GetScale(), 3);
    decimal.SetNull();
    EXPECT_EQ(decimal.GetScale(), 0);
    EXPECT_EQ(With(Column::BindString, std::string("1.250")).GetScale(), 0);
    EXPECT_EQ(With(Column::BindDouble, 1.25).GetScale(), 0);
}

TEST(Parameter, ATimestampsFormatGovernsItsText) {
    Parameter parameter = With(Column::BindTimestamp, Timestamp("2006-12-31 10:20:30"));
    parameter.SetDateTimeFormat("dd.MM.yyyy");
    EXPECT_EQ(parameter.AsString(), "31.12.2006");
    parameter.SetDateTimeFormat("");
    EXPECT_EQ(parameter.AsString(), "31.12.2006");
    EXPECT_EQ(parameter.GetDateTimeFormat(), "");
    parameter.SetDateTimeFormat("MM/yyyy");
    parameter.Set(Timestamp("2007-01-02", "yyyy-MM-dd"));
    EXPECT_EQ(parameter.AsString(), "01/2007");
    Parameter plain = Make(Column::BindTimestamp);
    plain.Set(Timestamp("2007-01-02", "yyyy-MM-dd"));
    EXPECT_EQ(plain.AsString(), "2007-01-02");
}

TEST(ParameterCopy, HasNameDefaultTypeDirectionAndValue) {
    const std::vector<Parameter> sources = {
        With(Column::BindString, std::string("a")),
        With(Column::BindOtherString, std::string("b")),
        With(Column::BindInt, 1),
        With(Column::BindLong, 2L),
        With(Column::BindShort, static_cast<short>(3)),
        With(Column::BindFloat, 1.5F),
        With(Column::BindDouble, 2.5),
        With(Column::BindDecimal, Decimal("1.50")),
        With(Column::BindInt64, __int64(4)),
        With(Column::BindBinary, BytesOf("ab")),
        With(Column::BindTimestamp, Timestamp("2006-12-31", "yyyy-MM-dd"))};
    for (const Parameter& source : sources) {
        Parameter named(source);
        named.SetName("n");
        named.SetDefaultValue("d");
        named.SetDirection(DataType::DirectionOut);
        Parameter copy(named);
        EXPECT_EQ(copy.GetType(), source.GetType());
        EXPECT_EQ(copy.AsString(), source.AsString());
        EXPECT_EQ(copy.GetName(), "n");
        EXPECT_EQ(copy.GetDefaultValue(), "d");
        EXPECT_EQ(copy.GetDirection(), DataType::DirectionOut);
        EXPECT_NE(copy.GetItemPtr(), named.GetItemPtr());
    }
}

TEST(ParameterCopy, NullAndDefaultStay) {
    for (BindType type : kAllTypes) {
        Parameter source = Make(type, 4);
        source.SetNull();
        EXPECT_TRUE(Parameter(source).IsNull()) << type;
        source.SetDefault();
        EXPECT_TRUE(Parameter(source).IsDefault()) << type;
        EXPECT_EQ(Parameter(source).GetSize(), type == Column::BindBinary ? 4U : 0U);
    }
}

TEST(ParameterCopy, ANullTimestampKeepsItsFormat) {
    Parameter source = Make(Column::BindTimestamp);
    source.SetDateTimeFormat("dd.MM.yyyy");
    source.SetNull();
    EXPECT_EQ(Parameter(source).GetDateTimeFormat(), "dd.MM.yyyy");
    Parameter assigned = Make(Column::BindTimestamp);
    assigned = source;
    EXPECT_EQ(assigned.GetDateTimeFormat(), "dd.MM.yyyy");
    source.SetDefault();
    Parameter second = Make(Column::BindTimestamp);
    second = source;
    EXPECT_TRUE(second.IsDefault());
    EXPECT_EQ(second.GetDateTimeFormat(), "dd.MM.yyyy");
}

TEST(ParameterCopy, TheFormatOfATextComesAlong) {
    Parameter source = With(Column::BindString, std::string("31.12.2006"));
    source.SetDateTimeFormat("dd.MM.yyyy");
    EXPECT_EQ(Parameter(source).AsTimestamp().GetYear(), 2006);
}

TEST(ParameterAssign, TakesTheValueAndNothingElse) {
    Parameter source = With(Column::BindString, std::string("12x"));
    source.SetName("source");
    source.SetDefaultValue("d");
    Parameter target("target", Column::BindInt, DataType::DirectionOut, 0, 0);
    target = source;
    EXPECT_EQ(target.AsInt(), 12);
    EXPECT_EQ(target.GetName(), "target");
    EXPECT_EQ(target.GetDefaultValue(), "");
    EXPECT_EQ(target.GetType(), Column::BindInt);
    EXPECT_EQ(target.GetDirection(), DataType::DirectionOut);
}

TEST(ParameterAssign, ConvertsFromTheSourcesType) {
    Parameter text = Make(Column::BindString);
    text = With(Column::BindDecimal, Decimal("1.50"));
    EXPECT_EQ(text.AsString(), "1.50");
    text = With(Column::BindTimestamp, Timestamp("2006-12-31", "yyyy-MM-dd"));
    EXPECT_EQ(text.AsString(), "2006-12-31");
    Parameter whole = Make(Column::BindInt);
    whole = With(Column::BindDouble, 2.9);
    EXPECT_EQ(whole.AsInt(), 2);
    EXPECT_EQ(FailureOf([&] { whole = With(Column::BindBinary, BytesOf("a")); }), kWrongType);
    EXPECT_EQ(FailureOf([&] { whole = With(Column::BindTimestamp, Timestamp()); }), kWrongType);
    EXPECT_EQ(whole.AsInt(), 2);
}

TEST(ParameterAssign, NullAndDefaultOfTheSource) {
    Parameter source = Make(Column::BindString);
    source.SetNull();
    Parameter target = With(Column::BindInt, 5);
    target = source;
    EXPECT_TRUE(target.IsNull());
    source.SetDefault();
    target = source;
    EXPECT_TRUE(target.IsDefault());
    source.Set(std::string("7"));
    target = source;
    EXPECT_EQ(target.AsInt(), 7);
}

TEST(ParameterAssign, ToItselfDoesNothing) {
    Parameter parameter = With(Column::BindString, std::string("a"));
    const Parameter& alias = parameter;
    parameter = alias;
    EXPECT_EQ(parameter.AsString(), "a");
}

}  // namespace
