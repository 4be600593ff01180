#include "storage/column_definition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "platform/qxdb/buffer.h"
#include "platform/qxdb/decimal.h"
#include "storage/store_exceptions.h"

namespace qxdbsqlengine {
namespace {

// Counts the objects of its kind.
class CountedLocator : public qxdb::LobLocatorImp {
  public:
    explicit CountedLocator(int& liveCount) : live(liveCount) { ++live; }
    ~CountedLocator() override { --live; }
    std::unique_ptr<LobLocatorImp> Clone() const override { return std::make_unique<CountedLocator>(live); }
    qxdb::DynBuffer GetLocatorData() const override { return qxdb::DynBuffer(); }
    void SetLocatorData(const qxdb::DynBuffer&) override {}
    bool IsValid(bool) const override { return true; }
    bool IsReadOnly() const override { return false; }
    bool EditAsClob() const override { return false; }
    std::string TableName() const override { return "T"; }
    void SetAsXMLType() override {}
    void Import(const std::string&, qxdb::Connection&, std::list<std::string>*) override {}
    void Export(const std::string&, qxdb::Connection&, std::list<std::string>*) override {}

  private:
    int& live;
};

TEST(EnumDataTypeTest, NumbersAreFixed) {
    EXPECT_EQ(0, DataTypeString);
    EXPECT_EQ(1, DataTypeShort);
    EXPECT_EQ(2, DataTypeInt);
    EXPECT_EQ(3, DataTypeLong);
    EXPECT_EQ(4, DataTypeInt64);
    EXPECT_EQ(5, DataTypeFloat);
    EXPECT_EQ(6, DataTypeDouble);
    EXPECT_EQ(7, DataTypeDecimal);
    EXPECT_EQ(8, DataTypeBinary);
    EXPECT_EQ(9, DataTypeTimestamp);
    EXPECT_EQ(10, DataTypeLob);
    EXPECT_EQ(11, DataTypeNamedType);
    EXPECT_EQ(0, AlignLeft);
    EXPECT_EQ(1, AlignRight);
}

TEST(ColumnDefinitionTest, ResetGoesBackToTheStateOfANewOne) {
    int live = 0;
    ColumnDefinition definition;
    definition.dataType = DataTypeLob;
    definition.precision = 4000;
    definition.columnLabel = "photo";
    definition.timestampFormat = "yyyy";
    definition.lobLocator = std::make_unique<qxdb::LobLocator>(new CountedLocator(live));
    definition.useLobLocators = true;
    definition.useSpecificLobLocatorImpl = true;
    definition.nativeDataType = 113;
    definition.nativeDataTypeName = "BLOB";
    definition.fixedLengthString = true;
    EXPECT_EQ(1, live);

    definition.Reset();
    EXPECT_EQ(0, live);
    for (const ColumnDefinition& each : {definition, ColumnDefinition()}) {
        EXPECT_EQ(DataTypeString, each.dataType);
        EXPECT_EQ(0, each.precision);
        EXPECT_EQ("", each.columnLabel);
        EXPECT_EQ("", each.timestampFormat);
        EXPECT_EQ(nullptr, each.lobLocator);
        EXPECT_FALSE(each.useLobLocators);
        EXPECT_FALSE(each.useSpecificLobLocatorImpl);
        EXPECT_EQ(-1, each.nativeDataType);
        EXPECT_EQ("", each.nativeDataTypeName);
        EXPECT_FALSE(each.fixedLengthString);
    }
}

TEST(ColumnDefinitionTest, CopyHasItsOwnLocator) {
    int live = 0;
    ColumnDefinition definition;
    definition.columnLabel = "photo";
    definition.nativeDataType = 7;
    definition.lobLocator = std::make_unique<qxdb::LobLocator>(new CountedLocator(live));
    {
        ColumnDefinition copy(definition);
        EXPECT_EQ(2, live);
        EXPECT_NE(definition.lobLocator, copy.lobLocator);
        EXPECT_EQ("photo", copy.columnLabel);
        EXPECT_EQ(7, copy.nativeDataType);
        copy = definition;
        EXPECT_EQ(2, live);
        ColumnDefinition moved(std::move(copy));
        EXPECT_EQ(2, live);
        EXPECT_EQ("photo", moved.columnLabel);
    }
    EXPECT_EQ(1, live);
}

template <class T>
class TypeWithNullTest : public testing::Test {};
using NullableTypes = testing::Types<std::string, short, int, long, __int64, float, double, qxdb::Decimal,
                                     qxdb::DynBuffer, qxdb::Timestamp>;
TYPED_TEST_SUITE(TypeWithNullTest, NullableTypes, );

TYPED_TEST(TypeWithNullTest, IsNullUntilItHasAValue) {
    TypeWithNull<TypeParam> value;
    EXPECT_TRUE(value.IsNull());
    value.SetValue(TypeParam());
    EXPECT_FALSE(value.IsNull());
    const TypeWithNull<TypeParam> copy = value;
    EXPECT_FALSE(copy.IsNull());
    value.SetNull();
    EXPECT_TRUE(value.IsNull());
    const TypeWithNull<TypeParam> converted = TypeParam();
    EXPECT_FALSE(converted.IsNull());
}

TEST(TypeWithNullTest, CarriesItsValue) {
    TypeWithNull<std::string> text(std::string("abc"));
    EXPECT_EQ("abc", text.GetValue());
    text.SetNull();
    EXPECT_EQ("", text.GetValue());
}

TEST(ResultsTimestampTest, LayoutIsThePageFormat) {
    EXPECT_EQ(16u, sizeof(ResultsTimestamp));
    EXPECT_EQ(0u, offsetof(ResultsTimestamp, year));
    EXPECT_EQ(4u, offsetof(ResultsTimestamp, month));
    EXPECT_EQ(6u, offsetof(ResultsTimestamp, day));
    EXPECT_EQ(8u, offsetof(ResultsTimestamp, hour));
    EXPECT_EQ(10u, offsetof(ResultsTimestamp, minute));
    EXPECT_EQ(11u, offsetof(ResultsTimestamp, second));
    EXPECT_EQ(12u, offsetof(ResultsTimestamp, fraction));

    qxdb::Timestamp source;
    source.SetDate(-2, 3, 4);
    source.SetTime(5, 255, 61);
    source.SetFraction(0x01020304);
    const ResultsTimestamp stored(source);
    const unsigned char expected[16] = {0xFE, 0xFF, 0xFF, 0xFF, 3, 0, 4, 0, 5, 0, 255, 61, 4, 3, 2, 1};
    EXPECT_EQ(0, std::memcmp(expected, &stored, sizeof expected));

    const ResultsTimestamp empty;
    const unsigned char zeros[16] = {};
    EXPECT_EQ(0, std::memcmp(zeros, &empty, sizeof zeros));
}

TEST(ResultsTimestampTest, WritesTheFieldsBackAndLeavesTheFormat) {
    const ResultsTimestamp stored(
        qxdb::Timestamp("2004-02-29 23:59:58.123456789", "yyyy-MM-dd HH:mm:ss.fffffffff"));
    qxdb::Timestamp target;
    target.SetFormat("dd/MM/yyyy HH:mm:ss.fffffffff");
    stored.AsTimestamp(target);
    EXPECT_EQ("29/02/2004 23:59:58.123456789", target.AsString());
}

TEST(ResultsTimestampTest, FormatPlaysNoPartInTheComparison) {
    qxdb::Timestamp formatted;
    formatted.SetFormat("yyyy");
    EXPECT_EQ(ResultsTimestamp(), ResultsTimestamp(formatted));
    EXPECT_EQ(ResultsTimestamp(), ResultsTimestamp(qxdb::Timestamp()));
}

TEST(ResultsTimestampTest, OrdersByTheFieldsFromYearToFraction) {
    // Each is greater than all before it: the first field that differs decides.
    std::vector<ResultsTimestamp> ascending(1);
    auto add = [&](int year, int month, int day, int hour, int minute, int second, int fraction) {
        ResultsTimestamp value;
        value.year = year;
        value.month = static_cast<short>(month);
        value.day = static_cast<short>(day);
        value.hour = static_cast<short>(hour);
        value.minute = static_cast<unsigned char>(minute);
        value.second = static_cast<unsigned char>(second);
        value.fraction = fraction;
        ascending.push_back(value);
    };
    add(0, 0, 0, 0, 0, 0, 1);
    add(0, 0, 0, 0, 0, 1, 0);
    add(0, 0, 0, 0, 200, 0, 0);
    add(0, 0, 0, 1, 0, 0, 0);
    add(0, 0, 1, 0, 0, 0, 0);
    add(0, 1, 0, 0, 0, 0, 0);
    add(1, 0, 0, 0, 0, 0, 0);
    ascending.insert(ascending.begin(), ResultsTimestamp());
    ascending.front().year = -1;
    for (std::size_t i = 0; i < ascending.size(); ++i) {
        for (std::size_t j = 0; j < ascending.size(); ++j) {
            const ResultsTimestamp& a = ascending[i];
            const ResultsTimestamp& b = ascending[j];
            EXPECT_EQ(i < j, a < b) << i << " " << j;
            EXPECT_EQ(i > j, a > b) << i << " " << j;
            EXPECT_EQ(i <= j, a <= b) << i << " " << j;
            EXPECT_EQ(i >= j, a >= b) << i << " " << j;
            EXPECT_EQ(i == j, a == b) << i << " " << j;
            EXPECT_EQ(i != j, a != b) << i << " " << j;
        }
    }
}

template <class Thrower>
std::string TextOf(Thrower thrower) {
    try {
        thrower();
    } catch (const qxutils::QXException& failure) {
        return failure.what();
    }
    return "nothing thrown";
}

TEST(StoreExceptionsTest, HaveTheTextsOfTheTable) {
    EXPECT_EQ("Wrong Type Exception", TextOf([] { throw BadTypeException(); }));
    EXPECT_EQ("The Data Container is not editable", TextOf(ThrowDataEditException));
    EXPECT_EQ("Invalid ResultSet Type Exception", TextOf(ThrowResultSetTypeException));
    EXPECT_EQ("Invalid ResultSet Index Exception", TextOf(ThrowResultSetIndexException));
    EXPECT_EQ("Invalid ResultSet ID  Exception", TextOf(ThrowResultSetIDException));
}

}  // namespace
}  // namespace qxdbsqlengine
