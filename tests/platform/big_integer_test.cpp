#include <gtest/gtest.h>

#include <boost/multiprecision/cpp_int.hpp>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "platform/qxdb/big_integer.h"
#include "platform/qxutils/qx_exception.h"

namespace {

using boost::multiprecision::cpp_int;
using qxdb::BigInteger;
using qxdb::Magnitude;
using Bytes = std::vector<unsigned char>;

Bytes DigitsOf(const BigInteger& number, BigInteger::NumberFormat format) {
    Bytes bytes{9, 9, 9};
    number.GetQXDBByteDigits(bytes, format);
    return bytes;
}

struct TextCase {
    const char* text;
    int radix;
    const char* decimal;
    Bytes plain;
    const char* hexPlain;
    const char* hexTerminated;
};

class BigIntegerText : public testing::TestWithParam<TextCase> {};

TEST_P(BigIntegerText, GivesTheStatedBytesAndTexts) {
    const TextCase& c = GetParam();
    const BigInteger number(c.text, c.radix);
    EXPECT_EQ(number.AsString(10, BigInteger::NumberPlain), c.decimal);
    EXPECT_EQ(DigitsOf(number, BigInteger::NumberPlain), c.plain);
    Bytes terminated = c.plain;
    terminated.push_back(0);
    EXPECT_EQ(DigitsOf(number, BigInteger::NumberTerminated), terminated);
    EXPECT_EQ(number.AsString(16, BigInteger::NumberPlain), c.hexPlain);
    EXPECT_EQ(number.AsString(16, BigInteger::NumberTerminated), c.hexTerminated);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, BigIntegerText,
    testing::Values(TextCase{"0", 10, "0", {0}, "0", "00"}, TextCase{"-0", 10, "0", {0}, "0", "00"},
                    TextCase{"255", 10, "255", {255}, "FF", "FF"},
                    TextCase{"+255", 10, "255", {255}, "FF", "FF"}, TextCase{"10", 10, "10", {10}, "A", "0A"},
                    TextCase{"000255", 10, "255", {255}, "FF", "FF"},
                    TextCase{"-255", 10, "-255", {255}, "-FF", "-FF"},
                    TextCase{"65280", 10, "65280", {255, 0}, "FF00", "FF00"},
                    TextCase{"FF00", 16, "65280", {255, 0}, "FF00", "FF00"},
                    TextCase{"00FF", 16, "255", {0, 255}, "FF", "00FF"},
                    TextCase{"FFF", 16, "4095", {15, 255}, "FFF", "0FFF"},
                    TextCase{"0", 16, "0", {0}, "0", "00"}, TextCase{"0000", 16, "0", {0, 0}, "0", "0000"},
                    TextCase{"ab", 16, "171", {171}, "AB", "AB"},
                    TextCase{"18446744073709551615", 10, "18446744073709551615", Bytes(8, 255),
                             "FFFFFFFFFFFFFFFF", "FFFFFFFFFFFFFFFF"},
                    TextCase{"18446744073709551616",
                             10,
                             "18446744073709551616",
                             {1, 0, 0, 0, 0, 0, 0, 0, 0},
                             "10000000000000000",
                             "010000000000000000"},
                    TextCase{"-18446744073709551616",
                             10,
                             "-18446744073709551616",
                             {1, 0, 0, 0, 0, 0, 0, 0, 0},
                             "-10000000000000000",
                             "-010000000000000000"},
                    TextCase{"11111111", 2, "255", {255}, "FF", "FF"},
                    TextCase{"zZ", 36, "1295", {5, 15}, "50F", "050F"}));

// A reader that drops one 0 byte at the end of terminated digits, as binary columns do when they take a text.
TEST(BigInteger, HexadecimalTextComesBackByteForByteThroughTheTerminator) {
    for (const char* text :
         {"FF00", "00FF", "00", "0000", "FF", "010000", "FF0000", "00000000000000000000FF00",
          "0102030405060708090A0B0C0D0E0F00", "FFFFFFFFFFFFFFFFFF00"}) {
        Bytes digits = DigitsOf(BigInteger(text, 16), BigInteger::NumberTerminated);
        ASSERT_FALSE(digits.empty());
        if (digits.back() == 0)
            digits.pop_back();
        std::string back;
        for (unsigned char byte : digits) {
            back += "0123456789ABCDEF"[byte >> 4];
            back += "0123456789ABCDEF"[byte & 15];
        }
        EXPECT_EQ(back, text);
    }
}

TEST(BigInteger, ByteDigitsComeBackInBothFormats) {
    for (const Bytes& bytes : {Bytes{0}, Bytes{1}, Bytes{0, 0}, Bytes{255, 0}, Bytes{0, 255}, Bytes{1, 2, 3},
                               Bytes{1, 0, 0, 0, 0, 0, 0, 0, 0, 0}, Bytes(40, 0), Bytes(33, 255)}) {
        for (auto format : {BigInteger::NumberPlain, BigInteger::NumberTerminated}) {
            const Bytes written = DigitsOf(BigInteger(bytes, BigInteger::NumberPlain), format);
            BigInteger back;
            back.SetQXDBByteDigits(written, format);
            EXPECT_EQ(DigitsOf(back, BigInteger::NumberPlain), bytes);
            EXPECT_EQ(DigitsOf(BigInteger(written, format), BigInteger::NumberPlain), bytes);
        }
    }
}

TEST(BigInteger, DigitsWithoutATerminatorKeepTheirLastByte) {
    const BigInteger number(Bytes{1, 2}, BigInteger::NumberTerminated);
    EXPECT_EQ(number.AsString(10, BigInteger::NumberPlain), "258");
}

TEST(BigInteger, NoBytesAreZero) {
    BigInteger number("-77", 10);
    number.SetQXDBByteDigits(Bytes(), BigInteger::NumberPlain);
    EXPECT_EQ(number.AsString(10, BigInteger::NumberPlain), "0");
    EXPECT_FALSE(number.IsNegative());
    EXPECT_EQ(DigitsOf(number, BigInteger::NumberPlain), Bytes{0});
    EXPECT_EQ(DigitsOf(BigInteger(), BigInteger::NumberPlain), Bytes{0});
}

TEST(BigInteger, SettingBytesEndsASign) {
    BigInteger number("-77", 10);
    number.SetQXDBByteDigits(Bytes{5}, BigInteger::NumberPlain);
    EXPECT_EQ(number.AsString(10, BigInteger::NumberPlain), "5");
}

TEST(BigInteger, NegateTurnsTheSignExceptOfZero) {
    BigInteger number("12", 10);
    EXPECT_EQ(number.Negate().AsString(10, BigInteger::NumberPlain), "-12");
    EXPECT_EQ(number.Negate().AsString(10, BigInteger::NumberPlain), "12");
    BigInteger zero;
    EXPECT_FALSE(zero.Negate().IsNegative());
}

struct BadCase {
    const char* text;
    int radix;
};

class BigIntegerBadText : public testing::TestWithParam<BadCase> {};

TEST_P(BigIntegerBadText, ThrowsAndNamesTheText) {
    const BadCase& c = GetParam();
    try {
        const BigInteger number(c.text, c.radix);
        FAIL() << c.text << " became " << number.AsString(10, BigInteger::NumberPlain);
    } catch (const qxutils::QXException& e) {
        EXPECT_EQ(std::string(e.what()),
                  "\"" + std::string(c.text) + "\" is not a number of radix " + std::to_string(c.radix));
    }
}

INSTANTIATE_TEST_SUITE_P(Texts, BigIntegerBadText,
                         testing::Values(BadCase{"", 10}, BadCase{"", 16}, BadCase{"-", 10}, BadCase{"+", 10},
                                         BadCase{"--1", 10}, BadCase{"12a", 10}, BadCase{" 12", 10},
                                         BadCase{"12 ", 10}, BadCase{"1.5", 10}, BadCase{"FG", 16},
                                         BadCase{"0xFF", 16}, BadCase{"-FF", 16}, BadCase{"+FF", 16},
                                         BadCase{"102", 2}, BadCase{"9", 9}, BadCase{"1", 1},
                                         BadCase{"1", 37}, BadCase{"[NULL]", 16}));

TEST(BigInteger, OverlongTextsAreRefusedAndCutInTheMessage) {
    const std::string text(65536, '1');
    try {
        const BigInteger number(text, 10);
        FAIL();
    } catch (const qxutils::QXException& e) {
        EXPECT_EQ(std::string(e.what()), "\"" + std::string(100, '1') + "...\" is not a number of radix 10");
    }
    EXPECT_EQ(BigInteger(text.substr(1), 10).AsString(10, BigInteger::NumberPlain), text.substr(1));
}

TEST(BigInteger, LongBinaryValuesStayCheap) {
    std::string text;
    for (int i = 0; i < 1000000; ++i)
        text += i % 3 ? "A7" : "00";
    const BigInteger number(text, 16);
    EXPECT_EQ(number.AsString(16, BigInteger::NumberTerminated), text);
}

TEST(BigInteger, AnUnknownRadixOfAsStringThrows) {
    EXPECT_THROW(BigInteger("1", 10).AsString(1, BigInteger::NumberPlain), qxutils::QXException);
    EXPECT_THROW(BigInteger("1", 10).AsString(37, BigInteger::NumberPlain), qxutils::QXException);
}

TEST(BigInteger, CompareGoesByValue) {
    EXPECT_LT(BigInteger("-2", 10).Compare(BigInteger("-1", 10)), 0);
    EXPECT_LT(BigInteger("-1", 10).Compare(BigInteger("0", 10)), 0);
    EXPECT_GT(BigInteger("18446744073709551616", 10).Compare(BigInteger("18446744073709551615", 10)), 0);
    EXPECT_LT(BigInteger("-18446744073709551616", 10).Compare(BigInteger("-18446744073709551615", 10)), 0);
    EXPECT_EQ(BigInteger("00FF", 16).Compare(BigInteger("255", 10)), 0);
}

cpp_int RandomNumber(std::mt19937_64& random) {
    static constexpr int kBits[] = {1, 8, 31, 32, 33, 63, 64, 65, 127, 128, 129, 300, 1000};
    const int bits = kBits[random() % (sizeof(kBits) / sizeof(kBits[0]))];
    cpp_int value = 0;
    for (int i = 0; i < bits; i += 64)
        value = (value << 64) | random();
    value &= (cpp_int(1) << bits) - 1;
    return value;
}

Magnitude MagnitudeOf(const cpp_int& value) {
    Magnitude magnitude;
    EXPECT_TRUE(magnitude.SetDigits(value.str(), 10));
    return magnitude;
}

std::string TextOf(const Magnitude& magnitude, int radix = 10) {
    std::string text;
    magnitude.AppendDigits(text, radix);
    return text;
}

std::string InRadix(cpp_int value, int radix) {
    std::string text;
    do {
        const int digit = static_cast<int>(value % radix);
        text.insert(text.begin(), "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"[digit]);
        value /= radix;
    } while (value != 0);
    return text;
}

TEST(Magnitude, ArithmeticAgreesWithTheLibrary) {
    std::mt19937_64 random(20061231);
    for (int i = 0; i < 3000; ++i) {
        const cpp_int a = RandomNumber(random);
        const cpp_int b = RandomNumber(random);
        Magnitude sum = MagnitudeOf(a);
        sum.Add(MagnitudeOf(b));
        ASSERT_EQ(TextOf(sum), cpp_int(a + b).str());
        ASSERT_EQ(sum.IsSmall(), a + b <= std::numeric_limits<std::uint64_t>::max());
        const int order = MagnitudeOf(a).Compare(MagnitudeOf(b));
        ASSERT_EQ(order < 0, a < b);
        ASSERT_EQ(order > 0, a > b);
        Magnitude difference = MagnitudeOf(a > b ? a : b);
        difference.Subtract(MagnitudeOf(a > b ? b : a));
        ASSERT_EQ(TextOf(difference), cpp_int(a > b ? a - b : b - a).str());
        ASSERT_EQ(MagnitudeOf(a).IsOdd(), a % 2 == 1);
        const auto exponent = static_cast<unsigned int>(random() % 40);
        const cpp_int power = boost::multiprecision::pow(cpp_int(10), exponent);
        Magnitude product = MagnitudeOf(a);
        product.MultiplyByPowerOf10(exponent);
        ASSERT_EQ(TextOf(product), cpp_int(a * power).str());
        Magnitude quotient = MagnitudeOf(a);
        const Magnitude::Remainder rest = quotient.DivideByPowerOf10(exponent);
        ASSERT_EQ(TextOf(quotient), cpp_int(a / power).str());
        const cpp_int twice = a % power * 2;
        const Magnitude::Remainder expected = twice == 0      ? Magnitude::RemainderNone
                                              : twice < power ? Magnitude::RemainderBelowHalf
                                              : twice > power ? Magnitude::RemainderAboveHalf
                                                              : Magnitude::RemainderHalf;
        ASSERT_EQ(rest, expected) << a << " / 10^" << exponent;
    }
}

TEST(Magnitude, ExactHalvesAreSeen) {
    for (unsigned int exponent = 1; exponent < 45; ++exponent) {
        Magnitude half(5);
        half.MultiplyByPowerOf10(exponent - 1);
        Magnitude more(half);
        more.Add(Magnitude(1));
        Magnitude less(half);
        less.Subtract(Magnitude(1));
        EXPECT_EQ(half.DivideByPowerOf10(exponent), Magnitude::RemainderHalf) << exponent;
        EXPECT_TRUE(half.IsZero());
        EXPECT_EQ(more.DivideByPowerOf10(exponent), Magnitude::RemainderAboveHalf) << exponent;
        EXPECT_EQ(less.DivideByPowerOf10(exponent), Magnitude::RemainderBelowHalf) << exponent;
    }
}

TEST(Magnitude, TextsAndBytesAgreeWithTheLibrary) {
    std::mt19937_64 random(7);
    for (int i = 0; i < 2000; ++i) {
        const cpp_int value = RandomNumber(random);
        const Magnitude magnitude = MagnitudeOf(value);
        const int radix = 2 + static_cast<int>(random() % 35);
        const std::string text = TextOf(magnitude, radix);
        ASSERT_EQ(text, InRadix(value, radix)) << radix;
        Magnitude back;
        ASSERT_TRUE(back.SetDigits("000" + text, radix));
        ASSERT_EQ(back.Compare(magnitude), 0);
        Bytes expected;
        export_bits(value, std::back_inserter(expected), 8);
        Bytes bytes(magnitude.ByteCount());
        magnitude.WriteBytes(bytes.data());
        ASSERT_EQ(bytes, expected);
        bytes.insert(bytes.begin(), random() % 12, 0);
        back.SetBytes(bytes.data(), bytes.size());
        ASSERT_EQ(back.Compare(magnitude), 0);
        ASSERT_EQ(back.IsSmall(), magnitude.IsSmall());
    }
}

TEST(Magnitude, CopiesAndMovesKeepSmallAndBigApart) {
    const cpp_int huge = cpp_int(1) << 200;
    const Magnitude big = MagnitudeOf(huge);
    const Magnitude small(7);
    Magnitude value(big);
    EXPECT_EQ(TextOf(value), huge.str());
    value = small;
    EXPECT_EQ(TextOf(value), "7");
    value = big;
    EXPECT_EQ(TextOf(value), huge.str());
    const Magnitude& alias = value;
    value = alias;
    EXPECT_EQ(TextOf(value), huge.str());
    Magnitude moved(std::move(value));
    EXPECT_EQ(TextOf(moved), huge.str());
    EXPECT_TRUE(value.IsZero());  // NOLINT(bugprone-use-after-move): this is the test
    value = std::move(moved);
    EXPECT_EQ(TextOf(value), huge.str());
    EXPECT_TRUE(moved.IsZero());
    value.Add(value);
    EXPECT_EQ(TextOf(value), cpp_int(huge * 2).str());
    value.Subtract(value);
    EXPECT_TRUE(value.IsZero());
}

TEST(Magnitude, BadDigitsLeaveTheValue) {
    Magnitude value(5);
    EXPECT_FALSE(value.SetDigits("", 10));
    EXPECT_FALSE(value.SetDigits("12x", 10));
    EXPECT_FALSE(value.SetDigits("1234567890123456789012345678901234567890x", 10));
    EXPECT_EQ(TextOf(value), "5");
}

}  // namespace
