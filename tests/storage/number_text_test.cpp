#include "storage/number_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <iomanip>
#include <limits>
#include <locale>
#include <random>
#include <sstream>
#include <vector>

namespace qxdbsqlengine {
namespace {

using namespace std::string_literals;

std::string FloatByStream(float value, int digits) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << std::setprecision(digits) << value;
    return stream.str();
}

// The rule in its own words.
std::string FloatText(float value) {
    std::string text = FloatByStream(value, 8);
    if (text.size() >= 9)
        text = FloatByStream(value, 7);
    if (text.find('.') != std::string::npos && text.find_first_of("eE") == std::string::npos) {
        std::size_t last = text.find_last_not_of('0');
        if (text[last] == '.')
            ++last;
        text.resize(last + 1);
    }
    return text;
}

std::string AppendedFloat(float value) {
    std::string text = "<";
    AppendFloatText(value, text);
    return text.substr(1);
}

TEST(NumberTextTest, FloatsOfTheTable) {
    const struct {
        float value;
        const char* text;
    } table[] = {
        {0.0F, "0"},
        {-0.0F, "-0"},
        {1.5F, "1.5"},
        {1.0F, "1"},
        {100.0F, "100"},
        {3.1415927F, "3.141593"},
        {0.1F, "0.1"},
        {-2.25F, "-2.25"},
        {16777216.0F, "16777216"},
        {123456.78F, "123456.8"},
        {1e10F, "1e+10"},
        {1e-5F, "1e-05"},
        {std::numeric_limits<float>::infinity(), "inf"},
        {-std::numeric_limits<float>::infinity(), "-inf"},
        {std::numeric_limits<float>::max(), "3.402823e+38"},
    };
    for (const auto& each : table) {
        EXPECT_EQ(each.text, AppendedFloat(each.value));
        EXPECT_EQ(FloatText(each.value), AppendedFloat(each.value));
    }
}

TEST(NumberTextTest, FloatsAreThoseOfTheStream) {
    std::mt19937 random(3);
    for (int i = 0; i < 60000; ++i) {
        float value = 0;
        if (i % 3 == 0) {
            const std::uint32_t bits = random();
            std::memcpy(&value, &bits, sizeof value);
        } else if (i % 3 == 1) {
            value = static_cast<float>(static_cast<int>(random() % 2000000) - 1000000) / 1000.0F;
        } else {
            value =
                static_cast<float>(random() % 100000000) / std::pow(10.0F, static_cast<float>(random() % 12));
        }
        ASSERT_EQ(FloatText(value), AppendedFloat(value)) << std::hexfloat << value;
    }
}

TEST(NumberTextTest, DoublesWith15DigitsAreThoseOfTheStream) {
    std::mt19937_64 random(4);
    auto check = [](double value) {
        std::ostringstream stream;
        stream.imbue(std::locale::classic());
        stream << std::setprecision(15) << value;
        std::string text;
        AppendDoubleText(value, text);
        ASSERT_EQ(stream.str(), text);
    };
    for (double value : {0.0, -0.0, 1.0, 0.1, 1e15, 1e16, -1.5e-7, std::numeric_limits<double>::infinity(),
                         -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN(),
                         -std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::max(),
                         std::numeric_limits<double>::denorm_min()})
        check(value);
    for (int i = 0; i < 20000; ++i) {
        const std::uint64_t bits = random();
        double value = 0;
        std::memcpy(&value, &bits, sizeof value);
        check(value);
    }
}

template <class T>
T ByStream(const std::string& text) {
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    T value = 0;
    stream >> value;
    return value;
}

template <class T>
void ExpectAsStream(const std::string& text) {
    T value = 77;
    ParseNumber(text, value);
    const T expected = ByStream<T>(text);
    EXPECT_EQ(0, std::memcmp(&expected, &value, sizeof value))
        << "\"" << text << "\": " << +expected << " but " << +value;
}

void ExpectAllAsStream(const std::string& text) {
    ExpectAsStream<short>(text);
    ExpectAsStream<int>(text);
    ExpectAsStream<long>(text);
    ExpectAsStream<__int64>(text);
    ExpectAsStream<float>(text);
    ExpectAsStream<double>(text);
}

TEST(NumberTextTest, ParsedNumbersOfTheTable) {
    const struct {
        const char* text;
        int whole;
        double floating;
    } table[] = {
        {"", 0, 0},
        {"abc", 0, 0},
        {"12abc", 12, 12},
        {"  42", 42, 42},
        {"\t\n\v\f\r 7", 7, 7},
        {"+5", 5, 5},
        {"-5", -5, -5},
        {"- 5", 0, 0},
        {"+-5", 0, 0},
        {"--5", 0, 0},
        {"007", 7, 7},
        {"12.75", 12, 12.75},
        {".5", 0, 0.5},
        {"5.", 5, 5},
        {"-.5", 0, -0.5},
        {"1e3", 1, 1000},
        {"1e", 1, 0},
        {"1e+", 1, 0},
        {"e5", 0, 0},
        {"1,234", 1, 1},
        {"0x10", 0, 0},
        {"inf", 0, 0},
        {"nan", 0, 0},
        {"1 2", 1, 1},
        {".", 0, 0},
        {"99999999999", 2147483647, 99999999999.0},
        {"-99999999999", -2147483647 - 1, -99999999999.0},
    };
    for (const auto& each : table) {
        int whole = 1;
        ParseNumber(each.text, whole);
        EXPECT_EQ(each.whole, whole) << each.text;
        double floating = 1;
        ParseNumber(each.text, floating);
        EXPECT_EQ(each.floating, floating) << each.text;
        ExpectAllAsStream(each.text);
    }
}

TEST(NumberTextTest, OutOfRangeIsTheNearestLimit) {
    for (const char* text : {"32767",
                             "32768",
                             "-32768",
                             "-32769",
                             "2147483647",
                             "2147483648",
                             "-2147483648",
                             "-2147483649",
                             "9223372036854775807",
                             "9223372036854775808",
                             "-9223372036854775808",
                             "-9223372036854775809",
                             "99999999999999999999999999",
                             "+99999999999999999999999999",
                             "-99999999999999999999999999",
                             "3.5e38",
                             "-3.5e38",
                             "1e400",
                             "-1e400",
                             "1e-400",
                             "-1e-400",
                             "1e-320",
                             "1e-45",
                             "1e-50",
                             "4.9e-324",
                             "1e99999999999999999999",
                             "0e99999999999999999999",
                             "1.7976931348623157e308",
                             "1.7976931348623159e308"})
        ExpectAllAsStream(text);
    short value = 0;
    ParseNumber("40000", value);
    EXPECT_EQ(32767, value);
    double greatest = 0;
    ParseNumber("1e999", greatest);
    EXPECT_EQ(std::numeric_limits<double>::max(), greatest);
}

TEST(NumberTextTest, RandomTextsAreParsedAsTheStreamDoes) {
    const std::string alphabet = "0123456789..eE+- \tabxXfn,'_\0\x80"s;
    std::mt19937 random(5);
    for (int i = 0; i < 40000; ++i) {
        std::string text;
        const std::size_t length = random() % 10;
        for (std::size_t c = 0; c < length; ++c) {
            // Mostly digits, so that numbers come about.
            text +=
                random() % 2 ? static_cast<char>('0' + random() % 10) : alphabet[random() % alphabet.size()];
        }
        ExpectAllAsStream(text);
        if (testing::Test::HasFailure())
            return;
    }
}

TEST(NumberTextTest, DigitsOfTheLimits) {
    std::string text;
    AppendDigits(std::numeric_limits<__int64>::min(), text);
    text += ' ';
    AppendDigits(0, text);
    text += ' ';
    AppendDigits(std::numeric_limits<__int64>::max(), text);
    EXPECT_EQ("-9223372036854775808 0 9223372036854775807", text);
}

}  // namespace
}  // namespace qxdbsqlengine
