#include "platform/qxdb/timestamp.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "platform/qxutils/qx_exception.h"

namespace {

using qxdb::Timestamp;

constexpr char kFull[] = "yyyy-MM-dd HH:mm:ss.fffffffff";
constexpr char kDefault[] = "yyyy-MM-dd HH:mm:ss.fff";

std::string FullText(Timestamp value) {
    value.SetFormat(kFull);
    return value.AsString();
}

Timestamp Of(int year, int month, int day, int hour, int minute, int second, int fraction) {
    Timestamp value;
    value.SetDate(year, month, day);
    value.SetTime(hour, minute, second);
    value.SetFraction(fraction);
    return value;
}

TEST(Timestamp, ANewOneIsAllZeros) {
    const Timestamp value;
    EXPECT_EQ(value.AsString(), "0000-00-00 00:00:00.000");
    EXPECT_EQ(value.GetYear() + value.GetMonth() + value.GetDay() + value.GetHour() + value.GetMinute() +
                  value.GetSeconds() + value.GetFraction(),
              0);
    EXPECT_EQ(value.GetFormat(), kDefault);
}

TEST(Timestamp, CopiesAreCheap) {
    static_assert(std::is_trivially_copyable<Timestamp>::value, "copying must not allocate");
    Timestamp value("2006-12-31", "yyyy-MM-dd");
    const Timestamp copy(value);
    EXPECT_EQ(copy.AsString(), "2006-12-31");
}

TEST(Timestamp, FieldsAreKeptAsTheyAreSet) {
    const Timestamp value = Of(2006, 13, 45, 25, 61, 99, 123456789);
    EXPECT_EQ(value.GetYear(), 2006);
    EXPECT_EQ(value.GetMonth(), 13);
    EXPECT_EQ(value.GetDay(), 45);
    EXPECT_EQ(value.GetHour(), 25);
    EXPECT_EQ(value.GetMinute(), 61);
    EXPECT_EQ(value.GetSeconds(), 99);
    EXPECT_EQ(value.GetFraction(), 123456789);
    EXPECT_EQ(FullText(value), "2006-13-45 25:61:99.123456789");
}

struct ReadCase {
    const char* text;
    const char* format;  // empty: the default
    const char* full;    // null: refused
};

class TimestampRead : public testing::TestWithParam<ReadCase> {};

TEST_P(TimestampRead, ReadsOrNamesTextAndFormat) {
    const ReadCase& c = GetParam();
    const std::string format = *c.format ? c.format : kDefault;
    Timestamp parsed = Of(1, 2, 3, 4, 5, 6, 7);
    parsed.SetFormat(c.format);
    if (c.full) {
        EXPECT_EQ(FullText(Timestamp(c.text, c.format)), c.full);
        EXPECT_EQ(Timestamp(c.text, c.format).GetFormat(), format);
        EXPECT_TRUE(parsed.Parse(c.text));
        EXPECT_EQ(FullText(parsed), c.full);
        EXPECT_EQ(parsed.GetFormat(), format);
        return;
    }
    EXPECT_FALSE(parsed.Parse(c.text));
    EXPECT_TRUE(parsed == Of(1, 2, 3, 4, 5, 6, 7));
    EXPECT_EQ(parsed.GetFormat(), format);
    try {
        const Timestamp value(c.text, c.format);
        FAIL() << c.text << " became " << FullText(value);
    } catch (const qxutils::QXException& e) {
        EXPECT_EQ(std::string(e.what()),
                  "\"" + std::string(c.text) + "\" is not a timestamp of the format \"" + format + "\"");
    }
}

INSTANTIATE_TEST_SUITE_P(
    DefaultFormat, TimestampRead,
    testing::Values(ReadCase{"2006-12-31 10:20:30.456", "", "2006-12-31 10:20:30.456000000"},
                    ReadCase{"2006-12-31 10:20:30", "", "2006-12-31 10:20:30.000000000"},
                    ReadCase{"2006-12-31 10:20", "", "2006-12-31 10:20:00.000000000"},
                    ReadCase{"2006-12-31 10", "", "2006-12-31 10:00:00.000000000"},
                    ReadCase{"2006-12-31", "", "2006-12-31 00:00:00.000000000"},
                    ReadCase{"2006-12-31T10:20:30", "", "2006-12-31 10:20:30.000000000"},
                    ReadCase{"2006-12-31t10:20:30.5", "", "2006-12-31 10:20:30.500000000"},
                    ReadCase{"2006-12-31   10:20:30", "", "2006-12-31 10:20:30.000000000"},
                    ReadCase{"  2006-12-31 10:20:30.1\t\n", "", "2006-12-31 10:20:30.100000000"},
                    ReadCase{"2006-12-31 10:20:30.000000001", "", "2006-12-31 10:20:30.000000001"},
                    ReadCase{"2006-12-31 10:20:30.123456789", "", "2006-12-31 10:20:30.123456789"},
                    ReadCase{"2006-12-31 10:20:30.123456789000", "", "2006-12-31 10:20:30.123456789"},
                    ReadCase{"2006-12-31 10:20:30,25", "", "2006-12-31 10:20:30.250000000"},
                    ReadCase{"2006-1-2 3:4:5.6", "", "2006-01-02 03:04:05.600000000"},
                    ReadCase{"2006-1-2", "", "2006-01-02 00:00:00.000000000"},
                    ReadCase{"0000-00-00 00:00:00", "", "0000-00-00 00:00:00.000000000"},
                    ReadCase{"2006-00-00", "", "2006-00-00 00:00:00.000000000"},
                    ReadCase{"2004-02-29", "", "2004-02-29 00:00:00.000000000"},
                    ReadCase{"2000-02-29", "", "2000-02-29 00:00:00.000000000"},
                    ReadCase{"1500-02-29", "", "1500-02-29 00:00:00.000000000"},
                    ReadCase{"2006-12-31 24:00:00", "", "2006-12-31 24:00:00.000000000"},
                    ReadCase{"12006-12-31 01:02:03", "", "12006-12-31 01:02:03.000000000"},
                    ReadCase{"-0044-03-15", "", "-0044-03-15 00:00:00.000000000"}));

INSTANTIATE_TEST_SUITE_P(
    RefusedInDefaultFormat, TimestampRead,
    testing::Values(
        ReadCase{"", "", nullptr}, ReadCase{"   ", "", nullptr}, ReadCase{"abc", "", nullptr},
        ReadCase{"2006", "", nullptr}, ReadCase{"2006-12", "", nullptr}, ReadCase{"2006-12-", "", nullptr},
        ReadCase{"2006-12-31 10:", "", nullptr}, ReadCase{"2006-12-31T", "", nullptr},
        ReadCase{"2006-12-31 10:20:30.", "", nullptr}, ReadCase{"2006-12-31x10:20:30", "", nullptr},
        ReadCase{"06-12-31", "", nullptr}, ReadCase{"1234567-12-31", "", nullptr},
        ReadCase{"2006-13-01", "", nullptr}, ReadCase{"2006-12-32", "", nullptr},
        ReadCase{"2006-02-30", "", nullptr}, ReadCase{"2006-02-29", "", nullptr},
        ReadCase{"1900-02-29", "", nullptr}, ReadCase{"2006-04-31 10:20:30", "", nullptr},
        ReadCase{"2006-12-31 24:00:01", "", nullptr}, ReadCase{"2006-12-31 25:00:00", "", nullptr},
        ReadCase{"2006-12-31 10:60:00", "", nullptr}, ReadCase{"2006-12-31 10:20:60", "", nullptr},
        ReadCase{"2006-12-31 10:20:30Z", "", nullptr}, ReadCase{"2006-12-31 10:20:30.5+02:00", "", nullptr},
        ReadCase{"2006-12-31 10:20:30.1234567891", "", nullptr},
        ReadCase{"2006-12-31 10:20:30 x", "", nullptr}, ReadCase{"12/31/2006", "", nullptr},
        ReadCase{"2006-12-31 1a:20:30", "", nullptr}, ReadCase{"2006/12/31", "", nullptr},
        ReadCase{"[NULL]", "", nullptr}));

INSTANTIATE_TEST_SUITE_P(
    OtherFormats, TimestampRead,
    testing::Values(
        ReadCase{"12/31/2006 10:00:00", "MM/dd/yyyy HH:mm:ss.fff", "2006-12-31 10:00:00.000000000"},
        ReadCase{"1/2/2006", "MM/dd/yyyy HH:mm:ss.fff", "2006-01-02 00:00:00.000000000"},
        ReadCase{"12-31-2006 10:00:00.5", "MM-dd-yyyy HH:mm:ss.fff", "2006-12-31 10:00:00.500000000"},
        ReadCase{"31.12.2006 23:59:59.999", "dd.MM.yyyy HH:mm:ss.fff", "2006-12-31 23:59:59.999000000"},
        ReadCase{"31.12.06", "dd.MM.yyyy", nullptr},
        ReadCase{"12/31/2006 12:05:06 AM", "MM/dd/yyyy hh:mm:ss a", "2006-12-31 00:05:06.000000000"},
        ReadCase{"12/31/2006 12:05:06 pm", "MM/dd/yyyy hh:mm:ss a", "2006-12-31 12:05:06.000000000"},
        ReadCase{"12/31/2006 01:05:06 PM", "MM/dd/yyyy hh:mm:ss a", "2006-12-31 13:05:06.000000000"},
        ReadCase{"12/31/2006 11:05:06 am", "MM/dd/yyyy hh:mm:ss a", "2006-12-31 11:05:06.000000000"},
        ReadCase{"12/31/2006 13:05:06 PM", "MM/dd/yyyy hh:mm:ss a", nullptr},
        ReadCase{"12/31/2006 10:05:06 XM", "MM/dd/yyyy hh:mm:ss a", nullptr},
        ReadCase{"12/31/2006 10:05:06 P", "MM/dd/yyyy hh:mm:ss a", nullptr},
        ReadCase{"12/31/2006 23:05:06", "MM/dd/yyyy hh:mm:ss a", "2006-12-31 23:05:06.000000000"},
        ReadCase{"2006-12-31T10:20:30.456", "yyyy-MM-ddTHH:mm:ss.fff", "2006-12-31 10:20:30.456000000"},
        ReadCase{"2006-12-31 10:20:30.456", "yyyy-MM-ddTHH:mm:ss.fff", nullptr},
        ReadCase{"2006-12-31", "yyyy-MM-dd", "2006-12-31 00:00:00.000000000"},
        ReadCase{"2006-12-31 10:20:30", "yyyy-MM-dd", nullptr},
        ReadCase{"2006-12-31 10:20:30.75", "yyyy-MM-dd HH:mm:ss", "2006-12-31 10:20:30.750000000"},
        ReadCase{"2006-12-31 10:20:30.", "yyyy-MM-dd HH:mm:ss", nullptr},
        ReadCase{"20061231102030", "yyyyMMddHHmmss", "2006-12-31 10:20:30.000000000"},
        ReadCase{"20061231102030.5", "yyyyMMddHHmmss", "2006-12-31 10:20:30.500000000"},
        ReadCase{"20061231", "yyyyMMddHHmmss", "2006-12-31 00:00:00.000000000"},
        ReadCase{"2006123110203", "yyyyMMddHHmmss", "2006-12-31 10:20:03.000000000"},
        ReadCase{"20061", "yyyyMMdd", nullptr}, ReadCase{"200613", "yyyyMM", nullptr},
        ReadCase{"2006-12-31-10.20.30.123456", "yyyy-MM-dd-HH.mm.ss.ffffff", "2006-12-31 10:20:30.123456000"},
        ReadCase{"10:20:30", "HH:mm:ss", "0000-00-00 10:20:30.000000000"},
        ReadCase{"10", "HH:mm:ss", "0000-00-00 10:00:00.000000000"},
        ReadCase{"10:20 31.12.2006", "HH:mm dd.MM.yyyy", "2006-12-31 10:20:00.000000000"},
        ReadCase{"10:20", "HH:mm dd.MM.yyyy", nullptr}, ReadCase{"x", "x", nullptr},
        ReadCase{"2006", "yyyy", "2006-00-00 00:00:00.000000000"}));

// Fields that do not fit their usual width, one at a time.
TEST(Timestamp, ViewsAreTheTextsOfAnyFields) {
    const std::string longest(64, 'x');
    for (const std::string& format :
         {std::string("yyyy-MM-dd HH:mm:ss.fff"), std::string("hh:mm a dd.MM.yyyy"),
          std::string("fffffffffffff"), longest, longest + "x"}) {
        for (int field = 0; field < 7; ++field) {
            for (int amount : {-1, 0, 7, 99, 100, 999, 9999, 10000, 123456789}) {
                const auto value = [&](int which) { return which == field ? amount : 1; };
                Timestamp time;
                time.SetDate(value(0), static_cast<short>(value(1)), static_cast<short>(value(2)));
                time.SetTime(static_cast<short>(value(3)), static_cast<short>(value(4)),
                             static_cast<short>(value(5)));
                time.SetFraction(value(6));
                time.SetFormat(format);
                std::string buffer;
                EXPECT_EQ(time.View(buffer), time.AsString());
            }
        }
    }
}

struct RenderCase {
    const char* format;
    const char* expected;
};

class TimestampRender : public testing::TestWithParam<RenderCase> {};

TEST_P(TimestampRender, WritesEachLetter) {
    Timestamp value = Of(2006, 2, 3, 14, 5, 6, 123456789);
    value.SetFormat(GetParam().format);
    EXPECT_EQ(value.AsString(), GetParam().expected);
    std::string appended = "x";
    value.AppendTo(appended);
    EXPECT_EQ(appended, std::string("x") + GetParam().expected);
    for (std::string buffer : {std::string(), std::string(200, 'x')})
        EXPECT_EQ(value.View(buffer), GetParam().expected);
    std::ostringstream stream;
    stream << value;
    EXPECT_EQ(stream.str(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Formats, TimestampRender,
    testing::Values(
        RenderCase{"", "2006-02-03 14:05:06.123"}, RenderCase{kDefault, "2006-02-03 14:05:06.123"},
        RenderCase{"MM/dd/yyyy hh:mm:ss a", "02/03/2006 02:05:06 PM"},
        RenderCase{"yyyy-MM-ddTHH:mm:ss.fff", "2006-02-03T14:05:06.123"},
        RenderCase{"MM-dd-yyyy HH:mm:ss", "02-03-2006 14:05:06"}, RenderCase{"yyyy-MM-dd", "2006-02-03"},
        RenderCase{"HH:mm:ss.f", "14:05:06.1"}, RenderCase{"HH:mm:ss.ffffff", "14:05:06.123456"},
        RenderCase{"ss.fffffffffff", "06.12345678900"}, RenderCase{"yyy M d H h m s", "yyy M d H h m s"},
        RenderCase{"yyyyyyyy", "20062006"}, RenderCase{"[dd]", "[03]"},
        RenderCase{"yyyyMMddHHmmssfff", "20060203140506123"},
        RenderCase{"dd.MM.yyyy dd.MM.yyyy dd.MM.yyyy dd.MM.yyyy dd.MM.yyyy dd.MM.yyyy dd.MM.yyyy",
                   "03.02.2006 03.02.2006 03.02.2006 03.02.2006 03.02.2006 03.02.2006 03.02.2006"}));

TEST(Timestamp, TwelveHoursOfTheDay) {
    const char* expected[] = {"12 AM", "01 AM", "02 AM", "03 AM", "04 AM", "05 AM", "06 AM", "07 AM",
                              "08 AM", "09 AM", "10 AM", "11 AM", "12 PM", "01 PM", "02 PM", "03 PM",
                              "04 PM", "05 PM", "06 PM", "07 PM", "08 PM", "09 PM", "10 PM", "11 PM"};
    for (int hour = 0; hour < 24; ++hour) {
        Timestamp value = Of(0, 0, 0, hour, 0, 0, 0);
        value.SetFormat("hh a");
        EXPECT_EQ(value.AsString(), expected[hour]);
        ASSERT_TRUE(value.Parse(expected[hour]));
        EXPECT_EQ(value.GetHour(), hour);
    }
}

TEST(Timestamp, FieldsBeyondTheirWidthAreWrittenInFull) {
    EXPECT_EQ(FullText(Of(123456, 100, -5, 1000, 0, 0, 5)), "123456-100--05 1000:00:00.000000005");
    EXPECT_EQ(FullText(Of(-44, 3, 15, 0, 0, 0, 0)), "-0044-03-15 00:00:00.000000000");
    EXPECT_EQ(FullText(Of(7, 1, 1, 0, 0, 0, -1)), "0007-01-01 00:00:00.000000000");
    EXPECT_EQ(FullText(Of(std::numeric_limits<int>::min(), 1, 1, 0, 0, 0, 0)),
              "-2147483648-01-01 00:00:00.000000000");
}

TEST(Timestamp, AllPairsOfDigits) {
    for (int i = 0; i < 60; ++i) {
        const Timestamp value = Of(2000 + i, 1, 1, 0, i, i, 0);
        const std::string pair = {static_cast<char>('0' + i / 10), static_cast<char>('0' + i % 10)};
        EXPECT_EQ(value.AsString(), "20" + pair + "-01-01 00:" + pair + ":" + pair + ".000");
    }
}

TEST(Timestamp, ComparisonIsOfTheFieldsAlone) {
    Timestamp left = Of(2006, 12, 31, 1, 2, 3, 4);
    Timestamp right = left;
    right.SetFormat("yyyy");
    EXPECT_TRUE(left == right);
    EXPECT_FALSE(left != right);
    for (const Timestamp& other :
         {Of(2007, 12, 31, 1, 2, 3, 4), Of(2006, 11, 31, 1, 2, 3, 4), Of(2006, 12, 30, 1, 2, 3, 4),
          Of(2006, 12, 31, 0, 2, 3, 4), Of(2006, 12, 31, 1, 0, 3, 4), Of(2006, 12, 31, 1, 2, 0, 4),
          Of(2006, 12, 31, 1, 2, 3, 0)})
        EXPECT_TRUE(left != other);
}

TEST(Timestamp, ParseIsoKeepsTheFormatOfItsTarget) {
    Timestamp value;
    value.SetFormat("dd.MM.yyyy");
    ASSERT_TRUE(Timestamp::ParseIso("2006-12-31 10:20:30.5", value));
    EXPECT_EQ(value.AsString(), "31.12.2006");
    EXPECT_EQ(value.GetFraction(), 500000000);
    EXPECT_FALSE(Timestamp::ParseIso("31.12.2006", value));
    EXPECT_FALSE(Timestamp::ParseIso("2006-12-32", value));
    EXPECT_EQ(value.AsString(), "31.12.2006");
    // No byte behind the view is looked at.
    EXPECT_TRUE(Timestamp::ParseIso(std::string_view("2006-12-31 10:20:30", 10), value));
    EXPECT_EQ(value.GetHour(), 0);
}

TEST(Timestamp, AnEmptyFormatIsTheDefault) {
    Timestamp value("2006-12-31", "yyyy-MM-dd");
    value.SetFormat("");
    EXPECT_EQ(value.AsString(), "2006-12-31 00:00:00.000");
    EXPECT_EQ(value.GetFormat(), kDefault);
}

TEST(Timestamp, FormatsAreMadeFromSeveralThreadsAtOnce) {
    const std::string digits = "fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffff";
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&digits] {
            for (std::size_t length = 1; length < digits.size(); ++length) {
                Timestamp value;
                value.SetFormat(digits.substr(0, length));
                EXPECT_EQ(value.AsString(), std::string(length, '0'));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    Timestamp first;
    Timestamp second;
    first.SetFormat("yyyy");
    second.SetFormat("MM");
    second.SetFormat("yyyy");
    EXPECT_EQ(&first.GetFormat(), &second.GetFormat());
}

TEST(Timestamp, LongTextsAreCutInTheMessage) {
    try {
        const Timestamp value(std::string(1000, 'x'));
        FAIL();
    } catch (const qxutils::QXException& e) {
        EXPECT_EQ(std::string(e.what()), "\"" + std::string(100, 'x') +
                                             "...\" is not a timestamp of the format \"" + kDefault + "\"");
    }
}

TEST(Timestamp, EveryTextOfEveryFormatReadsBack) {
    std::mt19937 random(42);
    const auto below = [&random](unsigned int limit) { return static_cast<int>(random() % limit); };
    for (int i = 0; i < 5000; ++i) {
        const Timestamp value = Of(below(i % 2 ? 10000 : 999999), 1 + below(12), 1 + below(28), below(24),
                                   below(60), below(60), below(1000000000));
        for (const char* format : {kFull, "dd.MM.yyyy HH:mm:ss.fffffffff", "MM/dd/yyyy hh:mm:ss.fffffffff a",
                                   "yyyy-MM-ddTHH:mm:ss.fffffffff", "fffffffff ss mm HH dd MM yyyy"}) {
            Timestamp written = value;
            written.SetFormat(format);
            ASSERT_EQ(FullText(Timestamp(written.AsString(), format)), FullText(value)) << written.AsString();
        }
        Timestamp iso;
        ASSERT_TRUE(Timestamp::ParseIso(FullText(value), iso));
        ASSERT_TRUE(iso == value);
    }
}

}  // namespace
