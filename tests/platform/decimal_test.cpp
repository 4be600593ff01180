#include "platform/qxdb/decimal.h"

#include <gtest/gtest.h>

#include <boost/multiprecision/cpp_int.hpp>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "platform/qxutils/qx_exception.h"

namespace {

using boost::multiprecision::cpp_int;
using qxdb::BigInteger;
using qxdb::Decimal;

std::string Plain(const Decimal& value) {
    return value.AsString(false, -1);
}

Decimal Parsed(const std::string& text) {
    return Decimal(text);
}

struct ParseCase {
    const char* text;
    const char* plain;
    int scale;
};

class DecimalParse : public testing::TestWithParam<ParseCase> {};

TEST_P(DecimalParse, ReadsDigitsAndScale) {
    const ParseCase& c = GetParam();
    const Decimal value = Parsed(c.text);
    EXPECT_EQ(Plain(value), c.plain);
    EXPECT_EQ(value.GetScale(), c.scale);
    EXPECT_EQ(value.IsNegative(), c.plain[0] == '-');
    std::ostringstream stream;
    stream << value;
    EXPECT_EQ(stream.str(), c.plain);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, DecimalParse,
    testing::Values(ParseCase{"0", "0", 0}, ParseCase{"-0", "0", 0}, ParseCase{"-0.00", "0.00", 2},
                    ParseCase{"1.50", "1.50", 2}, ParseCase{" \t-12.5\n", "-12.5", 1},
                    ParseCase{"+7", "7", 0}, ParseCase{".5", "0.5", 1}, ParseCase{"5.", "5", 0},
                    ParseCase{"-.05", "-0.05", 2}, ParseCase{"007", "7", 0}, ParseCase{"1e3", "1000", 0},
                    ParseCase{"1.5E3", "1500", 0}, ParseCase{"1.2345e2", "123.45", 2},
                    ParseCase{"12e-3", "0.012", 3}, ParseCase{"1e+0", "1", 0}, ParseCase{"0e5", "0", 0},
                    ParseCase{"0e999999999999", "0", 0},
                    ParseCase{"18446744073709551615", "18446744073709551615", 0},
                    ParseCase{"18446744073709551616", "18446744073709551616", 0},
                    ParseCase{"9999999999999999999", "9999999999999999999", 0},
                    ParseCase{"-1234567890123456789012345678901234567890.123",
                              "-1234567890123456789012345678901234567890.123", 3},
                    ParseCase{"0.00000000000000000000000000000000000001",
                              "0.00000000000000000000000000000000000001", 38},
                    ParseCase{"000000000000000000000000000000000001.5", "1.5", 1},
                    ParseCase{"123456789012345678901234567890e-10", "12345678901234567890.1234567890", 10}));

class DecimalBadText : public testing::TestWithParam<const char*> {};

TEST_P(DecimalBadText, ThrowsNamingTheTextAndChangesNothing) {
    const std::string text = GetParam();
    try {
        const Decimal value(text);
        FAIL() << text << " became " << Plain(value);
    } catch (const qxutils::QXException& e) {
        EXPECT_EQ(std::string(e.what()), "\"" + text + "\" is not a decimal number");
    }
    Decimal value = Parsed("12.5");
    EXPECT_THROW(value.SetString(text), qxutils::QXException);
    EXPECT_FALSE(Decimal::TryParse(text, value));
    EXPECT_EQ(Plain(value), "12.5");
}

INSTANTIATE_TEST_SUITE_P(Texts, DecimalBadText,
                         testing::Values("", " ", ".", "-", "+.", "abc", "12x", "1 2", "1.2.3", "--1", "- 1",
                                         "1e", "1e+", "1e2.5", "e5", "1,5", "0x10", "NaN", "Infinity",
                                         "[NULL]", "1e999999999999", "1e-32768", "1e65535"));

TEST(Decimal, TheWidestTextsThatAreTaken) {
    EXPECT_EQ(Parsed("1e65534").GetMagnitude().AsString(10, BigInteger::NumberPlain).size(), 65535U);
    EXPECT_EQ(Parsed("1e-32767").GetScale(), 32767);
    const std::string digits(65535, '7');
    EXPECT_EQ(Plain(Parsed(digits)), digits);
    EXPECT_THROW(Parsed(digits + "7"), qxutils::QXException);
}

TEST(Decimal, BytesOfZeroInsideATextAreRefused) {
    EXPECT_THROW(Parsed(std::string("1\0", 2)), qxutils::QXException);
}

TEST(Decimal, WholeNumbersAreTheMagnitude) {
    EXPECT_EQ(Plain(Decimal()), "0");
    EXPECT_EQ(Plain(Decimal(static_cast<short>(-32768), 0)), "-32768");
    EXPECT_EQ(Plain(Decimal(15, 1)), "1.5");
    EXPECT_EQ(Plain(Decimal(-5, 3)), "-0.005");
    EXPECT_EQ(Plain(Decimal(7L, 0)), "7");
    EXPECT_EQ(Plain(Decimal(std::numeric_limits<__int64>::min(), 0)), "-9223372036854775808");
    EXPECT_EQ(Plain(Decimal(std::numeric_limits<__int64>::max(), 4)), "922337203685477.5807");
    EXPECT_EQ(Plain(Decimal(0, 2)), "0.00");
    EXPECT_FALSE(Decimal(0, 2).IsNegative());
}

TEST(Decimal, FromBigIntegerTakesSignAndMagnitude) {
    EXPECT_EQ(Plain(Decimal(BigInteger("-12345", 10), 2)), "-123.45");
    Decimal value;
    EXPECT_EQ(Plain(value.Set(BigInteger("00FF", 16), 1)), "25.5");
    EXPECT_EQ(value.GetMagnitude().AsString(16, BigInteger::NumberTerminated), "FF");
    EXPECT_EQ(Parsed("-2.50").GetMagnitude().AsString(10, BigInteger::NumberPlain), "250");
    EXPECT_FALSE(Parsed("-2.50").GetMagnitude().IsNegative());
}

TEST(Decimal, AScaleBeyondTheLimitThrows) {
    EXPECT_THROW(Decimal(1, Decimal::MaxScale + 1), qxutils::QXException);
    EXPECT_THROW(Decimal(BigInteger("1", 10), 4000000000U), qxutils::QXException);
    Decimal value(15, 1);
    EXPECT_THROW(value.SetScale(Decimal::MaxScale + 1, Decimal::RoundHalfUp), qxutils::QXException);
    EXPECT_EQ(Plain(value), "1.5");
}

struct RenderCase {
    const char* text;
    bool trim;
    int digits;
    const char* expected;
};

class DecimalRender : public testing::TestWithParam<RenderCase> {};

TEST_P(DecimalRender, TrimsPadsAndRounds) {
    const RenderCase& c = GetParam();
    const Decimal value = Parsed(c.text);
    EXPECT_EQ(value.AsString(c.trim, c.digits), c.expected);
    std::string appended = "x";
    value.AppendTo(appended, ',', c.trim, c.digits);
    std::string expected = c.expected;
    const std::size_t point = expected.find('.');
    if (point != std::string::npos)
        expected[point] = ',';
    EXPECT_EQ(appended, "x" + expected);
    EXPECT_EQ(value.AsString(',', c.trim, c.digits), expected);
    for (std::string buffer : {std::string(), std::string(200, 'x')})
        EXPECT_EQ(value.View(buffer, ',', c.trim, c.digits), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Values, DecimalRender,
    testing::Values(
        RenderCase{"1.50", false, -1, "1.50"}, RenderCase{"1.50", true, -1, "1.5"},
        RenderCase{"1.00", true, -1, "1"}, RenderCase{"100", true, -1, "100"},
        RenderCase{"0.00", true, -1, "0"}, RenderCase{"0.00", false, -1, "0.00"},
        RenderCase{"0.050", true, -1, "0.05"}, RenderCase{"1.5", false, 3, "1.500"},
        RenderCase{"1.5", true, 3, "1.5"}, RenderCase{"7", false, 2, "7.00"}, RenderCase{"7", true, 2, "7"},
        RenderCase{"1.005", false, 2, "1.01"}, RenderCase{"1.004", false, 2, "1.00"},
        RenderCase{"1.004", true, 2, "1"}, RenderCase{"-1.005", false, 2, "-1.01"},
        RenderCase{"0.5", false, 0, "1"}, RenderCase{"-0.4", false, 0, "0"},
        RenderCase{"-0.004", false, 2, "0.00"}, RenderCase{"9.99", false, 1, "10.0"},
        RenderCase{"1.25", false, -2, "1.25"}, RenderCase{"0", false, 2, "0.00"},
        RenderCase{"0.001", false, 2, "0.00"},
        RenderCase{"123456789012345678901234567890.125", false, 2, "123456789012345678901234567890.13"},
        RenderCase{"-123456789012345678901234567890.500", true, -1, "-123456789012345678901234567890.5"}));

TEST(Decimal, DigitsAreLimitedByTheGreatestScale) {
    EXPECT_EQ(Decimal(1, 0).AsString(false, std::numeric_limits<int>::max()).size(), Decimal::MaxScale + 2U);
    EXPECT_EQ(Parsed("1e30").AsStringSN(false, std::numeric_limits<int>::max()).size(),
              Decimal::MaxScale + 6U);
}

struct RoundCase {
    const char* text;
    Decimal::RoundingMode mode;
    const char* expected;
};

class DecimalRound : public testing::TestWithParam<RoundCase> {};

TEST_P(DecimalRound, ToOneDigit) {
    const RoundCase& c = GetParam();
    Decimal value = Parsed(c.text);
    EXPECT_EQ(&value.SetScale(1, c.mode), &value);
    EXPECT_EQ(Plain(value), c.expected);
    EXPECT_EQ(value.GetScale(), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Values, DecimalRound,
    testing::Values(
        RoundCase{"1.25", Decimal::RoundHalfUp, "1.3"}, RoundCase{"-1.25", Decimal::RoundHalfUp, "-1.3"},
        RoundCase{"1.249", Decimal::RoundHalfUp, "1.2"}, RoundCase{"-0.04", Decimal::RoundHalfUp, "0.0"},
        RoundCase{"1.29", Decimal::RoundDown, "1.2"}, RoundCase{"-1.29", Decimal::RoundDown, "-1.2"},
        RoundCase{"1.21", Decimal::RoundUp, "1.3"}, RoundCase{"-1.21", Decimal::RoundUp, "-1.3"},
        RoundCase{"1.20", Decimal::RoundUp, "1.2"}, RoundCase{"1.29", Decimal::RoundFloor, "1.2"},
        RoundCase{"-1.21", Decimal::RoundFloor, "-1.3"}, RoundCase{"1.21", Decimal::RoundCeiling, "1.3"},
        RoundCase{"-1.29", Decimal::RoundCeiling, "-1.2"}, RoundCase{"1.25", Decimal::RoundHalfDown, "1.2"},
        RoundCase{"1.251", Decimal::RoundHalfDown, "1.3"}, RoundCase{"1.25", Decimal::RoundHalfEven, "1.2"},
        RoundCase{"1.35", Decimal::RoundHalfEven, "1.4"}, RoundCase{"1.251", Decimal::RoundHalfEven, "1.3"},
        RoundCase{"9.99", Decimal::RoundHalfUp, "10.0"}, RoundCase{"5", Decimal::RoundHalfUp, "5.0"},
        RoundCase{"1.25", static_cast<Decimal::RoundingMode>(4), "1.3"},
        RoundCase{"99999999999999999999999.95", Decimal::RoundHalfUp, "100000000000000000000000.0"},
        RoundCase{"18446744073709551615", Decimal::RoundHalfUp, "18446744073709551615.0"},
        RoundCase{"0.000000000000000000000000000001", Decimal::RoundHalfUp, "0.0"}));

TEST(Decimal, TheEngineRoundsWithModeSeven) {
    Decimal value = Parsed("2.5");
    value.SetScale(0, static_cast<Decimal::RoundingMode>(7));
    EXPECT_EQ(Plain(value), "3");
}

struct CompareCase {
    const char* left;
    const char* right;
    int order;
};

class DecimalCompare : public testing::TestWithParam<CompareCase> {};

TEST_P(DecimalCompare, IsExactAcrossScales) {
    const CompareCase& c = GetParam();
    const int order = Parsed(c.left).Compare(Parsed(c.right));
    EXPECT_EQ((order > 0) - (order < 0), c.order);
    const int reverse = Parsed(c.right).Compare(Parsed(c.left));
    EXPECT_EQ((reverse > 0) - (reverse < 0), -c.order);
}

INSTANTIATE_TEST_SUITE_P(Values, DecimalCompare,
                         testing::Values(CompareCase{"1.50", "1.5", 0}, CompareCase{"0.00", "-0", 0},
                                         CompareCase{"1.51", "1.5", 1}, CompareCase{"-1.51", "-1.5", -1},
                                         CompareCase{"-1", "1", -1}, CompareCase{"0", "0.0001", -1},
                                         CompareCase{"18446744073709551615", "18446744073709551615.5", -1},
                                         CompareCase{"1e40", "1e39", 1}, CompareCase{"-1e40", "1e-30", -1},
                                         CompareCase{"0.1", "0.10000000000000000000000000000000001", -1}));

struct AddCase {
    const char* left;
    const char* right;
    const char* sum;
};

class DecimalAdd : public testing::TestWithParam<AddCase> {};

TEST_P(DecimalAdd, IsExactAtTheGreaterScale) {
    const AddCase& c = GetParam();
    Decimal left = Parsed(c.left);
    left += Parsed(c.right);
    EXPECT_EQ(Plain(left), c.sum);
    Decimal right = Parsed(c.right);
    right += Parsed(c.left);
    EXPECT_EQ(Plain(right), c.sum);
}

INSTANTIATE_TEST_SUITE_P(Values, DecimalAdd,
                         testing::Values(AddCase{"1.5", "2.25", "3.75"}, AddCase{"1.5", "-1.50", "0.00"},
                                         AddCase{"-1", "-2", "-3"}, AddCase{"-5", "3", "-2"},
                                         AddCase{"5", "-3", "2"},
                                         AddCase{"18446744073709551615", "1", "18446744073709551616"},
                                         AddCase{"18446744073709551616", "-1", "18446744073709551615"},
                                         AddCase{"18446744073709551615", "0.1", "18446744073709551615.1"},
                                         AddCase{"1e30", "-0.001", "999999999999999999999999999999.999"}));

TEST(Decimal, AddingToItself) {
    Decimal value = Parsed("-12.5");
    value += value;
    EXPECT_EQ(Plain(value), "-25.0");
}

TEST(Decimal, WholeNumberReadingCutsAndStopsAtTheLimits) {
    EXPECT_EQ(Parsed("12.99").AsBigInt(), 12);
    EXPECT_EQ(Parsed("-12.99").AsBigInt(), -12);
    EXPECT_EQ(Parsed("0.99").AsBigInt(), 0);
    EXPECT_EQ(Parsed("9223372036854775807").AsBigInt(), std::numeric_limits<__int64>::max());
    EXPECT_EQ(Parsed("9223372036854775807.9").AsBigInt(), std::numeric_limits<__int64>::max());
    EXPECT_EQ(Parsed("9223372036854775808").AsBigInt(), std::numeric_limits<__int64>::max());
    EXPECT_EQ(Parsed("-9223372036854775808").AsBigInt(), std::numeric_limits<__int64>::min());
    EXPECT_EQ(Parsed("-9223372036854775809").AsBigInt(), std::numeric_limits<__int64>::min());
    EXPECT_EQ(Parsed("1e100").AsBigInt(), std::numeric_limits<__int64>::max());
    EXPECT_EQ(Parsed("-1e100").AsBigInt(), std::numeric_limits<__int64>::min());
}

TEST(Decimal, DoubleReadingIsCorrectlyRounded) {
    EXPECT_EQ(Parsed("0.1").AsDouble(), 0.1);
    EXPECT_EQ(Parsed("-123.456").AsDouble(), -123.456);
    EXPECT_EQ(Parsed("9007199254740993").AsDouble(), 9007199254740992.0);
    EXPECT_EQ(Parsed("9007199254740993.00000000000001").AsDouble(), 9007199254740994.0);
    EXPECT_EQ(Parsed("5e-324").AsDouble(), std::numeric_limits<double>::denorm_min());
    EXPECT_EQ(Parsed("2.2250738585072011e-308").AsDouble(), 2.2250738585072011e-308);
    EXPECT_EQ(Parsed("1e-400").AsDouble(), 0.0);
    EXPECT_EQ(Parsed("1e400").AsDouble(), std::numeric_limits<double>::max());
    EXPECT_EQ(Parsed("-1e400").AsDouble(), -std::numeric_limits<double>::max());
    EXPECT_EQ(Parsed("0e-10").AsDouble(), 0.0);
}

struct DoubleCase {
    double value;
    const char* plain;       // Decimal(value)
    const char* scientific;  // what users see
};

class DecimalOfDouble : public testing::TestWithParam<DoubleCase> {};

TEST_P(DecimalOfDouble, IsTheShortestTextThatReadsBack) {
    const DoubleCase& c = GetParam();
    const Decimal value(c.value);
    EXPECT_EQ(Plain(value), c.plain);
    EXPECT_EQ(value.AsStringSN(true, -1), c.scientific);
    std::string text = "x";
    Decimal::AppendDouble(c.value, text);
    EXPECT_EQ(text, std::string("x") + c.scientific);
    EXPECT_EQ(value.AsDouble(), c.value);
}

INSTANTIATE_TEST_SUITE_P(
    Values, DecimalOfDouble,
    testing::Values(DoubleCase{0.0, "0", "0"}, DoubleCase{-0.0, "0", "0"}, DoubleCase{1.5, "1.5", "1.5"},
                    DoubleCase{-1.5, "-1.5", "-1.5"}, DoubleCase{0.1, "0.1", "0.1"},
                    DoubleCase{0.001, "0.001", "0.001"}, DoubleCase{0.00001, "0.00001", "0.00001"},
                    DoubleCase{0.000001, "0.000001", "1E-06"}, DoubleCase{2.5e-7, "0.00000025", "2.5E-07"},
                    DoubleCase{123456789012345.0, "123456789012345", "123456789012345"},
                    DoubleCase{100.0, "100", "100"}, DoubleCase{1e15, "1000000000000000", "1000000000000000"},
                    DoubleCase{9007199254740992.0, "9007199254740992", "9007199254740992"},
                    DoubleCase{1e16, "10000000000000000", "1E+16"},
                    DoubleCase{12345678901234568.0, "12345678901234568", "1.2345678901234568E+16"},
                    DoubleCase{1e22, "10000000000000000000000", "1E+22"},
                    DoubleCase{-2.5e22, "-25000000000000000000000", "-2.5E+22"},
                    DoubleCase{0.30000000000000004, "0.30000000000000004", "0.30000000000000004"},
                    DoubleCase{1234567.875, "1234567.875", "1234567.875"}));

TEST(Decimal, ExtremeDoubles) {
    EXPECT_EQ(Decimal(1e300).AsStringSN(true, -1), "1E+300");
    EXPECT_EQ(Decimal(std::numeric_limits<double>::max()).AsStringSN(true, -1), "1.7976931348623157E+308");
    EXPECT_EQ(Decimal(-5e-324).AsStringSN(true, -1), "-5E-324");
    EXPECT_EQ(Decimal(5e-324).GetScale(), 324);
}

TEST(Decimal, WhatIsNoFiniteNumberThrows) {
    for (double value : {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                         std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_THROW(Decimal{value}, qxutils::QXException);
        std::string text = "x";
        EXPECT_THROW(Decimal::AppendDouble(value, text), qxutils::QXException);
        EXPECT_EQ(text, "x");
    }
}

struct ScientificCase {
    const char* text;
    bool trim;
    int digits;
    const char* expected;
};

class DecimalScientific : public testing::TestWithParam<ScientificCase> {};

TEST_P(DecimalScientific, OfAnyDecimal) {
    const ScientificCase& c = GetParam();
    EXPECT_EQ(Parsed(c.text).AsStringSN(c.trim, c.digits), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Values, DecimalScientific,
    testing::Values(ScientificCase{"1.500", true, -1, "1.5"}, ScientificCase{"1.500", false, -1, "1.500"},
                    ScientificCase{"1.555", true, 2, "1.56"}, ScientificCase{"1e20", true, -1, "1E+20"},
                    ScientificCase{"1e20", false, -1, "1.00000000000000000000E+20"},
                    ScientificCase{"1e20", false, 2, "1.00E+20"}, ScientificCase{"1e20", true, 2, "1E+20"},
                    ScientificCase{"123456789012345678901", true, 3, "1.235E+20"},
                    ScientificCase{"999999999999999999999", true, 3, "1E+21"},
                    ScientificCase{"999999999999999999999", false, 3, "1.000E+21"},
                    ScientificCase{"-0.00000012345", true, 2, "-1.23E-07"},
                    ScientificCase{"0.0000005", false, 0, "5E-07"},
                    ScientificCase{"0.0000000", false, -1, "0.0000000"},
                    ScientificCase{"0.0000000", true, -1, "0"}));

TEST(Decimal, EveryDoubleReadsBackFromItsTexts) {
    std::mt19937_64 random(314159);
    for (int i = 0; i < 20000; ++i) {
        double value = 0;
        if (i % 2) {
            const std::uint64_t bits = random();
            static_assert(sizeof(bits) == sizeof(value), "doubles have 64 bits");
            std::memcpy(&value, &bits, sizeof(value));
            if (!std::isfinite(value))
                continue;
        } else {
            value = static_cast<double>(static_cast<std::int64_t>(random() % 2000000000)) / 1000.0 - 1000000;
        }
        const Decimal decimal(value);
        std::string text;
        Decimal::AppendDouble(value, text);
        ASSERT_EQ(text, decimal.AsStringSN(true, -1));
        ASSERT_EQ(std::strtod(text.c_str(), nullptr), value) << text;
        ASSERT_EQ(decimal.AsDouble(), value) << text;
        ASSERT_EQ(Parsed(text).Compare(decimal), 0);
    }
}

TEST(Decimal, ByteDigitsComeBack) {
    for (const char* text : {"0", "0.00", "1", "-255", "256.5", "18446744073709551615",
                             "18446744073709551616", "-123456789012345678901234567890.5"}) {
        const Decimal value = Parsed(text);
        unsigned char bytes[64];
        EXPECT_EQ(value.AppendMagnitudeBytes(bytes, 0), value.AppendMagnitudeBytes(bytes, sizeof(bytes)));
        const std::size_t count = value.AppendMagnitudeBytes(bytes, sizeof(bytes));
        std::vector<unsigned char> digits;
        value.GetMagnitude().GetQXDBByteDigits(digits, BigInteger::NumberPlain);
        EXPECT_EQ(digits, std::vector<unsigned char>(bytes, bytes + count)) << text;
        Decimal back = Parsed("-99999999999999999999999999");
        back.SetFromBytes(value.IsNegative(), static_cast<unsigned int>(value.GetScale()), bytes, count);
        EXPECT_EQ(Plain(back), text);
    }
}

TEST(Decimal, TooFewBytesOfRoomAreNotTouched) {
    unsigned char bytes[2] = {7, 7};
    EXPECT_EQ(Parsed("16777216").AppendMagnitudeBytes(bytes, 2), 4U);
    EXPECT_EQ(bytes[0], 7);
    EXPECT_EQ(bytes[1], 7);
}

TEST(Decimal, ZeroFromBytesIsNeverNegative) {
    Decimal value;
    value.SetFromBytes(true, 2, nullptr, 0);
    EXPECT_FALSE(value.IsNegative());
    EXPECT_EQ(Plain(value), "0.00");
}

TEST(Decimal, FromScaledAndBack) {
    const Decimal value = Decimal::FromScaled(true, 12345, 2);
    EXPECT_EQ(Plain(value), "-123.45");
    std::uint64_t small = 0;
    EXPECT_TRUE(value.GetSmall(small));
    EXPECT_EQ(small, 12345U);
    EXPECT_FALSE(Parsed("18446744073709551616").GetSmall(small));
    EXPECT_FALSE(Decimal::FromScaled(true, 0, 0).IsNegative());
}

TEST(Decimal, CopiesAndMoves) {
    const Decimal big = Parsed("-123456789012345678901234567890.5");
    Decimal value(big);
    value += Decimal(5, 1);
    EXPECT_EQ(Plain(big), "-123456789012345678901234567890.5");
    EXPECT_EQ(Plain(value), "-123456789012345678901234567890.0");
    value = Decimal(1, 0);
    EXPECT_EQ(Plain(value), "1");
    value = big;
    const Decimal moved(std::move(value));
    EXPECT_EQ(Plain(moved), Plain(big));
}

// A decimal as the arithmetic library sees it: the value times 10^60.
cpp_int Widened(const Decimal& value) {
    cpp_int number(value.GetMagnitude().AsString(10, BigInteger::NumberPlain));
    number *= boost::multiprecision::pow(cpp_int(10), static_cast<unsigned int>(60 - value.GetScale()));
    return value.IsNegative() ? cpp_int(-number) : number;
}

TEST(Decimal, ArithmeticAgreesWithTheLibrary) {
    std::mt19937_64 random(271828);
    const auto make = [&random] {
        std::string text = random() % 2 ? "-" : "";
        const std::size_t digits = 1 + random() % 45;
        for (std::size_t i = 0; i < digits; ++i)
            text += static_cast<char>(i == 0 ? '1' + random() % 9 : '0' + random() % 10);
        return text + "e-" + std::to_string(random() % 30);
    };
    for (int i = 0; i < 3000; ++i) {
        const Decimal a = Parsed(make());
        const Decimal b = Parsed(make());
        Decimal sum(a);
        sum += b;
        ASSERT_EQ(Widened(sum), Widened(a) + Widened(b));
        ASSERT_EQ(sum.GetScale(), std::max(a.GetScale(), b.GetScale()));
        const int order = a.Compare(b);
        ASSERT_EQ(order < 0, Widened(a) < Widened(b));
        ASSERT_EQ(order > 0, Widened(a) > Widened(b));
        const auto scale = static_cast<unsigned int>(random() % 35);
        Decimal rounded(a);
        rounded.SetScale(scale, Decimal::RoundHalfUp);
        const cpp_int step = boost::multiprecision::pow(cpp_int(10), 60 - scale);
        cpp_int expected = (abs(Widened(a)) + step / 2) / step * step;
        if (a.IsNegative())
            expected = -expected;
        ASSERT_EQ(Widened(rounded), expected);
        ASSERT_EQ(a.AsString(false, static_cast<int>(scale)), Plain(rounded));
        ASSERT_EQ(Parsed(Plain(a)).Compare(a), 0);
        ASSERT_EQ(Parsed(a.AsStringSN(true, -1)).Compare(a), 0);
        ASSERT_EQ(a.AsDouble(), std::strtod(Plain(a).c_str(), nullptr));
    }
}

}  // namespace
