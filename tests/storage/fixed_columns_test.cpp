#include "storage/fixed_columns.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>

#include "platform/os/debug_output.h"
#include "platform/qxutils/qx_exception.h"
#include "storage/storage_doubles.h"

namespace qxdbsqlengine {
namespace {

const double kInfinity = std::numeric_limits<double>::infinity();
const double kNaN = std::numeric_limits<double>::quiet_NaN();

class GroupedNumbers : public std::numpunct<char> {
  protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '\''; }
    std::string do_grouping() const override { return "\3"; }
};

std::locale Grouped() {
    return std::locale(std::locale::classic(), new GroupedNumbers);
}

// One fixed-size column and what it should do with two values of its type.
template <class Column, class T>
void ExpectColumnOf(Column& column, T (Column::*read)(int), void (Column::*insert)(const T&),
                    void (Column::*set)(int, const T&), const T& first, const T& second) {
    (column.*insert)(first);
    column.InsertEmpty();
    (column.*insert)(second);
    EXPECT_EQ(first, (column.*read)(0));
    EXPECT_EQ(T(), (column.*read)(1));
    EXPECT_EQ(second, (column.*read)(2));
    EXPECT_EQ(T(), (column.*read)(3));  // beyond the end
    EXPECT_EQ(T(), (column.*read)(-1));
    EXPECT_GT(0, column.CompareItems(0, 2, 0));
    EXPECT_LT(0, column.CompareItems(2, 0, 1));
    EXPECT_EQ(0, column.CompareItems(2, 2, 0));
    (column.*set)(1, second);
    EXPECT_EQ(second, (column.*read)(1));
    column.SetEmpty(2);
    EXPECT_EQ(T(), (column.*read)(2));
    column.RemoveLast();
    column.RemoveLast();
    (column.*insert)(first);
    EXPECT_EQ(first, (column.*read)(1));
    EXPECT_EQ(T(), (column.*read)(2));
}

TEST(FixedColumnsTest, KeepReplaceAndRemoveValues) {
    OpenAlloc alloc;
    ShortStorage shorts(alloc);
    ExpectColumnOf<ShortStorage, short>(shorts, &ShortStorage::AsShort, &ShortStorage::InsertShort,
                                        &ShortStorage::SetShort, -32768, 32767);
    IntStorage ints(alloc);
    ExpectColumnOf<IntStorage, int>(ints, &IntStorage::AsInt, &IntStorage::InsertInt, &IntStorage::SetInt,
                                    -2147483647 - 1, 2147483647);
    LongStorage longs(alloc);
    ExpectColumnOf<LongStorage, long>(longs, &LongStorage::AsLong, &LongStorage::InsertLong,
                                      &LongStorage::SetLong, std::numeric_limits<long>::min(),
                                      std::numeric_limits<long>::max());
    Int64Storage int64s(alloc);
    ExpectColumnOf<Int64Storage, __int64>(int64s, &Int64Storage::AsInt64, &Int64Storage::InsertInt64,
                                          &Int64Storage::SetInt64, std::numeric_limits<__int64>::min(),
                                          std::numeric_limits<__int64>::max());
    FloatStorage floats(alloc, 0);
    ExpectColumnOf<FloatStorage, float>(floats, &FloatStorage::AsFloat, &FloatStorage::InsertFloat,
                                        &FloatStorage::SetFloat, -1.5F, 1e30F);
    DoubleStorage doubles(alloc, 0);
    ExpectColumnOf<DoubleStorage, double>(doubles, &DoubleStorage::AsDouble, &DoubleStorage::InsertDouble,
                                          &DoubleStorage::SetDouble, -kInfinity, kInfinity);
    TimestampSetStorage timestamps(alloc, "");
    ExpectColumnOf<TimestampSetStorage, qxdb::Timestamp>(
        timestamps, &TimestampSetStorage::AsTimestamp, &TimestampSetStorage::InsertTimestamp,
        &TimestampSetStorage::SetTimestamp, qxdb::Timestamp("1999-12-31 23:59:59.999"),
        qxdb::Timestamp("2000-01-01"));
}

TEST(FixedColumnsTest, TextsOfWholeNumbersFollowTheLocale) {
    OpenAlloc alloc;
    ShortStorage shorts(alloc);
    IntStorage ints(alloc);
    LongStorage longs(alloc);
    Int64Storage int64s(alloc);
    shorts.InsertShort(-12345);
    ints.InsertInt(1234567);
    longs.InsertLong(-7654321);
    int64s.InsertInt64(9223372036854775807LL);
    const std::locale& classic = std::locale::classic();
    EXPECT_EQ("-12345", shorts.AsString(0, classic));
    EXPECT_EQ("1234567", ints.AsString(0, classic));
    EXPECT_EQ("-7654321", longs.AsString(0, classic));
    EXPECT_EQ("9223372036854775807", int64s.AsString(0, classic));
    EXPECT_EQ("0", ints.AsString(5, classic));
    const std::locale grouped = Grouped();
    EXPECT_EQ("-12'345", shorts.AsString(0, grouped));
    EXPECT_EQ("1'234'567", ints.AsString(0, grouped));
    EXPECT_EQ("-7'654'321", longs.AsString(0, grouped));
    EXPECT_EQ("9'223'372'036'854'775'807", int64s.AsString(0, grouped));
}

TEST(FixedColumnsTest, AppendStringAppendsWhatAsStringReturns) {
    OpenAlloc alloc;
    ShortStorage shorts(alloc);
    IntStorage ints(alloc);
    LongStorage longs(alloc);
    Int64Storage int64s(alloc);
    FloatStorage floats(alloc, 0);
    DoubleStorage doubles(alloc, 0);
    TimestampSetStorage timestamps(alloc, "");
    for (int i = -1000; i < 1000; ++i) {
        shorts.InsertShort(static_cast<short>(i * 31));
        ints.InsertInt(i * 54321);
        longs.InsertLong(i * 54321L);
        int64s.InsertInt64(i * 123456789012LL);
        floats.InsertFloat(static_cast<float>(i) / 7);
        doubles.InsertDouble(i / 7.0);
        timestamps.InsertEmpty();
    }
    for (const std::locale& locale : {std::locale::classic(), Grouped()}) {
        const CellFormat format(locale);
        std::string scratch;
        for (ColumnSetStorage* column : std::initializer_list<ColumnSetStorage*>{
                 &shorts, &ints, &longs, &int64s, &floats, &doubles, &timestamps}) {
            for (int row = 0; row < 2000; ++row) {
                std::string text = "x";
                column->AppendString(row, format, text);
                ASSERT_EQ("x" + column->AsString(row, locale), text);
                ASSERT_EQ(text.substr(1), column->ViewString(row, format, scratch));
            }
        }
        for (int row = 0; row < 2000; ++row) {
            std::stringstream stream;
            stream.imbue(locale);
            stream << int64s.AsInt64(row) << '|' << shorts.AsShort(row);
            ASSERT_EQ(stream.str(), int64s.AsString(row, locale) + "|" + shorts.AsString(row, locale));
        }
    }
}

TEST(FixedColumnsTest, FloatAndDoubleTextsDoNotFollowTheLocale) {
    OpenAlloc alloc;
    FloatStorage floats(alloc, 3);
    for (float value : {1.5F, 1.0F, 3.1415927F, 12345.678F})
        floats.InsertFloat(value);
    const std::locale grouped = Grouped();
    EXPECT_EQ("1.5", floats.AsString(0, grouped));
    EXPECT_EQ("1", floats.AsString(1, grouped));
    EXPECT_EQ("3.141593", floats.AsString(2, grouped));
    EXPECT_EQ("12345.68", floats.AsString(3, grouped));
    DoubleStorage doubles(alloc, 3);
    for (double value : {0.1, 1.0, -2.5e-7, 12345.678, 1e300}) {
        doubles.InsertDouble(value);
        EXPECT_EQ(qxdb::Decimal(value).AsStringSN(true, -1),
                  doubles.AsString(doubles.CompareItems(0, 0, 0), grouped));
        doubles.RemoveLast();
    }
}

std::string debugText;

TEST(FixedColumnsTest, DoublesThatAreNoDecimalsGoToTheStream) {
    OpenAlloc alloc;
    DoubleStorage doubles(alloc, 0);
    doubles.InsertDouble(kInfinity);
    doubles.InsertDouble(-kInfinity);
    doubles.InsertDouble(kNaN);
    debugText.clear();
    const qxos::DebugOutputHook before =
        qxos::SetDebugOutputHook([](const char* text) { debugText += text; });
    std::string text = "x";
    doubles.AppendString(0, CellFormat::Classic(), text);
    EXPECT_EQ("xinf", text);
    EXPECT_FALSE(debugText.empty());
    EXPECT_EQ('\n', debugText.back());
    EXPECT_EQ("-inf", doubles.AsString(1, std::locale::classic()));
    EXPECT_EQ("nan", doubles.AsString(2, std::locale::classic()));
    qxos::SetDebugOutputHook(before);
}

TEST(FixedColumnsTest, NaNComparesAsIfLess) {
    OpenAlloc alloc;
    DoubleStorage doubles(alloc, 0);
    FloatStorage floats(alloc, 0);
    for (double value : {kNaN, 1.0, -kInfinity, -0.0, 0.0}) {
        doubles.InsertDouble(value);
        floats.InsertFloat(static_cast<float>(value));
    }
    for (EditableSetStorage* column : std::initializer_list<EditableSetStorage*>{&doubles, &floats}) {
        EXPECT_GT(0, column->CompareItems(0, 1, 0));
        EXPECT_GT(0, column->CompareItems(1, 0, 0));
        EXPECT_GT(0, column->CompareItems(0, 0, 0));
        EXPECT_GT(0, column->CompareItems(0, 2, 0));
        EXPECT_EQ(0, column->CompareItems(3, 4, 0));
        EXPECT_EQ(0, column->CompareItems(2, 2, 0));
    }
}

TEST(FixedColumnsTest, InsertStringStoresWhatItCanRead) {
    OpenAlloc alloc;
    ShortStorage shorts(alloc);
    IntStorage ints(alloc);
    LongStorage longs(alloc);
    Int64Storage int64s(alloc);
    FloatStorage floats(alloc, 0);
    DoubleStorage doubles(alloc, 0);
    for (const char* text : {"abc", "12abc", " -7.5", "99999999999999999999", ""}) {
        for (ColumnSetStorage* column :
             std::initializer_list<ColumnSetStorage*>{&shorts, &ints, &longs, &int64s, &floats, &doubles})
            column->InsertString(text);
    }
    EXPECT_EQ(0, shorts.AsShort(0));
    EXPECT_EQ(0, ints.AsInt(0));
    EXPECT_EQ(12, ints.AsInt(1));
    EXPECT_EQ(12, int64s.AsInt64(1));
    EXPECT_EQ(12.0, doubles.AsDouble(1));
    EXPECT_EQ(-7, shorts.AsShort(2));
    EXPECT_EQ(-7.5F, floats.AsFloat(2));
    EXPECT_EQ(-7.5, doubles.AsDouble(2));
    EXPECT_EQ(32767, shorts.AsShort(3));
    EXPECT_EQ(2147483647, ints.AsInt(3));
    EXPECT_EQ(std::numeric_limits<long>::max(), longs.AsLong(3));
    EXPECT_EQ(std::numeric_limits<__int64>::max(), int64s.AsInt64(3));
    EXPECT_EQ(1e20F, floats.AsFloat(3));
    EXPECT_EQ(0, longs.AsLong(4));
}

TEST(FixedColumnsTest, PrecisionHasADefault) {
    OpenAlloc alloc;
    for (int given : {-5, 0, 1, 9}) {
        FloatStorage floats(alloc, given);
        DoubleStorage doubles(alloc, given);
        EXPECT_EQ(given < 1 ? 7 : given, floats.GetPrecision());
        EXPECT_EQ(given < 1 ? 15 : given, doubles.GetPrecision());
        floats.SetPrecision(3);
        doubles.SetPrecision(3);
        EXPECT_EQ(3, floats.GetPrecision());
        EXPECT_EQ(3, doubles.GetPrecision());
        floats.SetPrecision(0);
        doubles.SetPrecision(-1);
        EXPECT_EQ(7, floats.GetPrecision());
        EXPECT_EQ(15, doubles.GetPrecision());
    }
}

TEST(FixedColumnsTest, MeasureLooksAtTwoTextsOnly) {
    OpenAlloc alloc(1, 2, true);
    IntStorage ints(alloc);
    std::locale locale = std::locale::classic();
    RecordingMeasure measure;
    EXPECT_EQ(0, ints.GetLargestColumnSize(locale, measure));
    EXPECT_TRUE(measure.texts.empty());
    for (int i = 0; i < 100000; ++i)
        ints.InsertInt(i % 1000);
    ints.InsertInt(-123456);
    ints.InsertInt(7000);
    EXPECT_EQ(7, ints.GetLargestColumnSize(locale, measure));
    EXPECT_THAT(measure.texts, testing::ElementsAre("-123456", "7000"));

    measure.texts.clear();
    std::locale grouped = Grouped();
    EXPECT_EQ(8, ints.GetLargestColumnSize(grouped, measure));
    EXPECT_THAT(measure.texts, testing::ElementsAre("-123'456", "7'000"));
}

template <class Column>
void ExpectMeasure(Column& column, const char* least, const char* greatest) {
    RecordingMeasure measure;
    std::locale locale = std::locale::classic();
    column.GetLargestColumnSize(locale, measure);
    EXPECT_THAT(measure.texts, testing::ElementsAre(least, greatest));
}

TEST(FixedColumnsTest, MeasureOfEachNumericType) {
    OpenAlloc alloc;
    ShortStorage shorts(alloc);
    LongStorage longs(alloc);
    Int64Storage int64s(alloc);
    FloatStorage floats(alloc, 0);
    DoubleStorage doubles(alloc, 0);
    for (const char* text : {"5", "-3", "8", "0"}) {
        for (ColumnSetStorage* column :
             std::initializer_list<ColumnSetStorage*>{&shorts, &longs, &int64s, &floats, &doubles})
            column->InsertString(text);
    }
    ExpectMeasure(shorts, "-3", "8");
    ExpectMeasure(longs, "-3", "8");
    ExpectMeasure(int64s, "-3", "8");
    ExpectMeasure(floats, "-3", "8");
    ExpectMeasure(doubles, "-3", "8");
}

TEST(TimestampSetStorageTest, RendersAndReadsInTheColumnsFormat) {
    OpenAlloc alloc;
    TimestampSetStorage column(alloc, "dd/MM/yyyy HH:mm");
    EXPECT_STREQ("dd/MM/yyyy HH:mm", column.GetDataTimeFormat());
    column.InsertString("31/12/2003 08:15");
    column.InsertTimestamp(qxdb::Timestamp("2004-01-02 03:04:05.678"));
    column.InsertEmpty();
    EXPECT_EQ("31/12/2003 08:15", column.AsString(0, std::locale::classic()));
    EXPECT_EQ("02/01/2004 03:04", column.AsString(1, std::locale::classic()));
    EXPECT_EQ("02/01/2004 03:04", column.AsTimestamp(1).AsString());
    EXPECT_EQ(5, column.AsTimestamp(1).GetSeconds());
    EXPECT_EQ("00/00/0000 00:00", column.AsString(2, std::locale::classic()));

    TimestampSetStorage plain(alloc, "");
    EXPECT_EQ(nullptr, plain.GetDataTimeFormat());
    plain.InsertString("2004-01-02 03:04:05.678");
    EXPECT_EQ("2004-01-02 03:04:05.678", plain.AsString(0, std::locale::classic()));
    EXPECT_THROW(plain.InsertString("tomorrow"), qxutils::QXException);
    EXPECT_EQ(qxdb::Timestamp(), plain.AsTimestamp(1));
}

TEST(TimestampSetStorageTest, ColumnOfZerosMeasuresNothing) {
    OpenAlloc alloc;
    std::locale locale = std::locale::classic();
    for (const char* format : {"", "yyyy-MM-dd", "yyyy-MM-dd HH:mm:ss.ffffff"}) {
        TimestampSetStorage column(alloc, format);
        RecordingMeasure measure;
        EXPECT_EQ(0, column.GetLargestColumnSize(locale, measure));
        for (int i = 0; i < 5000; ++i)
            column.InsertEmpty();
        EXPECT_EQ(0, column.GetLargestColumnSize(locale, measure));
        EXPECT_TRUE(measure.texts.empty());
        qxdb::Timestamp value;
        value.SetFraction(1);
        column.InsertTimestamp(value);
        qxdb::Timestamp sample("2000-12-31 12:55:55");
        sample.SetFraction(555555);
        if (*format)
            sample.SetFormat(format);
        EXPECT_EQ(static_cast<int>(sample.AsString().size()), column.GetLargestColumnSize(locale, measure));
        EXPECT_THAT(measure.texts, testing::ElementsAre(sample.AsString()));
        EXPECT_EQ(value, column.AsTimestamp(5000));  // the sample leaves no trace
    }
}

TEST(TimestampSetStorageTest, OrdersByAllFields) {
    OpenAlloc alloc;
    TimestampSetStorage column(alloc, "yyyy");
    column.InsertString("2004");
    column.InsertTimestamp(qxdb::Timestamp("2004-01-01 00:00:00.002"));
    column.InsertTimestamp(qxdb::Timestamp("2004-01-01 00:00:00.001"));
    EXPECT_LT(0, column.CompareItems(1, 2, 0));
    EXPECT_GT(0, column.CompareItems(2, 1, 0));
    EXPECT_GT(0, column.CompareItems(0, 2, 0));
    EXPECT_EQ(0, column.CompareItems(1, 1, 0));
}

TEST(FixedColumnsTest, RefusedMemoryAddsNoRow) {
    OpenAlloc alloc(10, 2, false);
    IntStorage column(alloc);
    {
        RefusedMemory refused(0);
        EXPECT_THROW(column.InsertInt(5), std::bad_alloc);
    }
    column.InsertInt(6);
    EXPECT_EQ(6, column.AsInt(0));
}

}  // namespace
}  // namespace qxdbsqlengine
