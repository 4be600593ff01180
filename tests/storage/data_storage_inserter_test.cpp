#include "storage/data_storage_inserter.h"

#include <gtest/gtest.h>

#include <limits>
#include <locale>
#include <string>
#include <type_traits>
#include <vector>

#include "engine/request.h"
#include "platform/qxsplt/errors.h"
#include "storage/data_storage.h"
#include "support/scripted_driver.h"

namespace qxdbsqlengine {
namespace {

// A field that hands out what it is told to.
class FakeField : public qxdb::Field {
  public:
    std::string GetName() override { return "FAKE"; }
    qxdb::Column::BindType GetType() override { return qxdb::Column::BindUnknown; }
    bool IsNull() override { return null; }
    qxdb::DynBuffer& GetBuffer() override { return buffer; }
    void GetStringInto(qxdb::StringInsert* sink) override {
        for (const std::string& piece : pieces)
            sink->Insert(piece);
        if (failsBehindPieces)
            throw qxtest::MakeErrors("broken text");
    }
    short AsShort() override { return -32768; }
    int AsInt() override { return std::numeric_limits<int>::min(); }
    long AsLong() override { return std::numeric_limits<long>::max(); }
    float AsFloat() override { return 0.5f; }
    double AsDouble() override { return -1.25; }
    qxdb::Decimal AsDecimal() override { return qxdb::Decimal("-12.345"); }
    qxdb::Timestamp AsTimestamp() override { return qxdb::Timestamp("2006-12-31 23:59:58.125"); }
    __int64 AsBigInt() override { return std::numeric_limits<__int64>::min(); }

    bool null = false;
    std::vector<std::string> pieces;
    bool failsBehindPieces = false;
    qxdb::DynBuffer buffer;
};

DataStorage MakeStore(const std::vector<EnumDataType>& types) {
    std::vector<ColumnDefinition> columns(types.size());
    for (std::size_t i = 0; i < types.size(); ++i) {
        columns[i].dataType = types[i];
        columns[i].precision = types[i] == DataTypeDecimal ? 3 : 0;
    }
    DataStorage store = DataStorage::CreateResultsStorage(false);
    store.AddResultSet(columns, ResultSetNormal);
    return store;
}

std::string CellText(DataStorage& store, int row, int column) {
    return store.AsString(0, row, column, std::locale::classic());
}

// A value, then a null, by the inserter of the type.
template <class Inserter>
DataStorage InsertValueAndNull(EnumDataType type, FakeField& field) {
    DataStorage store = MakeStore({type});
    Inserter inserter(&field, &store, 0, 0);
    inserter.Insert();
    field.null = true;
    inserter.Insert();
    EXPECT_EQ(store.GetNumberOfRows(0), 2);
    EXPECT_FALSE(store.IsNull(0, 0, 0));
    EXPECT_TRUE(store.IsNull(0, 1, 0));
    return store;
}

TEST(DataStorageInserterTest, ShortGoesToTheColumn) {
    FakeField field;
    DataStorage store = InsertValueAndNull<ShortDataStorageInserter>(DataTypeShort, field);
    EXPECT_EQ(store.GetShort(0, 0, 0), -32768);
    EXPECT_EQ(store.GetShort(0, 1, 0), 0);
}

TEST(DataStorageInserterTest, IntGoesToTheColumn) {
    FakeField field;
    DataStorage store = InsertValueAndNull<IntDataStorageInserter>(DataTypeInt, field);
    EXPECT_EQ(store.GetInt(0, 0, 0), std::numeric_limits<int>::min());
}

TEST(DataStorageInserterTest, LongGoesToTheColumnWhole) {
    FakeField field;
    DataStorage store = InsertValueAndNull<LongDataStorageInserter>(DataTypeLong, field);
    EXPECT_EQ(store.GetLong(0, 0, 0), std::numeric_limits<long>::max());
}

TEST(DataStorageInserterTest, Int64GoesToTheColumn) {
    FakeField field;
    DataStorage store = InsertValueAndNull<Int64DataStorageInserter>(DataTypeInt64, field);
    EXPECT_EQ(store.GetInt64(0, 0, 0), std::numeric_limits<__int64>::min());
}

TEST(DataStorageInserterTest, FloatGoesToTheColumn) {
    FakeField field;
    DataStorage store = InsertValueAndNull<FloatDataStorageInserter>(DataTypeFloat, field);
    EXPECT_EQ(store.GetFloat(0, 0, 0), 0.5f);
}

TEST(DataStorageInserterTest, DoubleGoesToTheColumn) {
    FakeField field;
    DataStorage store = InsertValueAndNull<DoubleDataStorageInserter>(DataTypeDouble, field);
    EXPECT_EQ(store.GetDouble(0, 0, 0), -1.25);
}

TEST(DataStorageInserterTest, DecimalGoesToTheColumn) {
    FakeField field;
    DataStorage store = InsertValueAndNull<DecimalDataStorageInserter>(DataTypeDecimal, field);
    EXPECT_EQ(store.GetDecimal(0, 0, 0).Compare(qxdb::Decimal("-12.345")), 0);
}

TEST(DataStorageInserterTest, BinaryGoesToTheColumn) {
    FakeField field;
    const unsigned char bytes[] = {0x00, 0xFF, 0x10};
    field.buffer.Assign(bytes, 3);
    DataStorage store = InsertValueAndNull<BinaryDataStorageInserter>(DataTypeBinary, field);
    EXPECT_EQ(CellText(store, 0, 0), "00FF10");
}

TEST(DataStorageInserterTest, TimestampGoesToTheColumn) {
    FakeField field;
    DataStorage store = InsertValueAndNull<TimestampDataStorageInserter>(DataTypeTimestamp, field);
    EXPECT_EQ(store.GetTimestamp(0, 0, 0).AsString(), "2006-12-31 23:59:58.125");
}

TEST(DataStorageInserterTest, StringGoesToTheColumn) {
    FakeField field;
    field.pieces = {std::string("a\0b", 3)};
    DataStorage store = InsertValueAndNull<StringDataStorageInserter>(DataTypeString, field);
    EXPECT_EQ(store.GetString(0, 0, 0), std::string("a\0b", 3));
    EXPECT_EQ(CellText(store, 1, 0), "[NULL]");
}

TEST(DataStorageInserterTest, PiecesOfOneTextMakeOneCell) {
    DataStorage store = MakeStore({DataTypeString});
    FakeField field;
    StringDataStorageInserter inserter(&field, &store, 0, 0);
    field.pieces = {"one ", "", "two ", "three"};
    inserter.Insert();
    field.pieces = {};  // an empty text
    inserter.Insert();
    field.pieces = {"next"};
    inserter.Insert();
    ASSERT_EQ(store.GetNumberOfRows(0), 3);
    EXPECT_EQ(store.GetString(0, 0, 0), "one two three");
    EXPECT_EQ(store.GetString(0, 1, 0), "");
    EXPECT_FALSE(store.IsNull(0, 1, 0));
    EXPECT_EQ(store.GetString(0, 2, 0), "next");
}

TEST(DataStorageInserterTest, TextFromOutsideIsACellByItself) {
    DataStorage store = MakeStore({DataTypeString});
    FakeField field;
    StringDataStorageInserter inserter(&field, &store, 0, 0);
    qxdb::StringInsert& sink = inserter;
    sink.Insert("first");
    sink.Insert("second");
    ASSERT_EQ(store.GetNumberOfRows(0), 2);
    EXPECT_EQ(store.GetString(0, 0, 0), "first");
    EXPECT_EQ(store.GetString(0, 1, 0), "second");
}

TEST(DataStorageInserterTest, FailureInATextStoresNothingOfIt) {
    DataStorage store = MakeStore({DataTypeString});
    FakeField field;
    field.pieces = {"half"};
    field.failsBehindPieces = true;
    StringDataStorageInserter inserter(&field, &store, 0, 0);
    EXPECT_THROW(inserter.Insert(), Errors);
    EXPECT_EQ(store.GetNumberOfRows(0), 0);
    static_cast<qxdb::StringInsert&>(inserter).Insert("outside");
    field.failsBehindPieces = false;
    field.pieces = {"whole"};
    inserter.Insert();
    EXPECT_EQ(store.GetString(0, 0, 0), "outside");
    EXPECT_EQ(store.GetString(0, 1, 0), "whole");
}

TEST(DataStorageInserterTest, HugeTextIsStoredWhole) {
    DataStorage store = MakeStore({DataTypeString});
    FakeField field;
    field.pieces = {std::string(3 * 1024 * 1024, 'x')};
    StringDataStorageInserter inserter(&field, &store, 0, 0);
    inserter.Insert();
    field.pieces = {"small"};
    inserter.Insert();
    EXPECT_EQ(store.GetString(0, 0, 0).size(), 3u * 1024 * 1024);
    EXPECT_EQ(store.GetString(0, 1, 0), "small");
}

TEST(DataStorageInserterTest, ColumnAndResultSetAreThoseOfTheConstructor) {
    DataStorage store = MakeStore({DataTypeString});
    std::vector<ColumnDefinition> columns(2);
    columns[1].dataType = DataTypeInt;
    store.AddResultSet(columns, ResultSetNormal);
    FakeField field;
    field.pieces = {"key"};
    StringDataStorageInserter first(&field, &store, 1, 0);
    IntDataStorageInserter second(&field, &store, 1, 1);
    first.Insert();
    second.Insert();
    EXPECT_EQ(store.GetNumberOfRows(0), 0);
    ASSERT_EQ(store.GetNumberOfRows(1), 1);
    EXPECT_EQ(store.GetInt(1, 0, 1), std::numeric_limits<int>::min());
}

TEST(DataStorageInserterTest, WrongColumnTypeIsRefused) {
    DataStorage store = MakeStore({DataTypeString});
    FakeField field;
    IntDataStorageInserter inserter(&field, &store, 0, 0);
    EXPECT_THROW(inserter.Insert(), std::exception);
}

// What the handlers of one value type give.
template <class T>
struct Sample;
template <>
struct Sample<std::string> {
    using Inserter = StringDataStorageInserter;
    static constexpr EnumDataType type = DataTypeString;
    static std::string Value() { return "made"; }
    static const char* Text() { return "made"; }
    static const char* BaseText() { return "field"; }
};
template <>
struct Sample<short> {
    using Inserter = ShortDataStorageInserter;
    static constexpr EnumDataType type = DataTypeShort;
    static short Value() { return 7; }
    static const char* Text() { return "7"; }
    static const char* BaseText() { return "-32768"; }
};
template <>
struct Sample<int> {
    using Inserter = IntDataStorageInserter;
    static constexpr EnumDataType type = DataTypeInt;
    static int Value() { return 8; }
    static const char* Text() { return "8"; }
    static const char* BaseText() { return "-2147483648"; }
};
template <>
struct Sample<long> {
    using Inserter = LongDataStorageInserter;
    static constexpr EnumDataType type = DataTypeLong;
    static long Value() { return 9; }
    static const char* Text() { return "9"; }
    static std::string BaseText() { return std::to_string(std::numeric_limits<long>::max()); }
};
template <>
struct Sample<__int64> {
    using Inserter = Int64DataStorageInserter;
    static constexpr EnumDataType type = DataTypeInt64;
    static __int64 Value() { return 10; }
    static const char* Text() { return "10"; }
    static const char* BaseText() { return "-9223372036854775808"; }
};
template <>
struct Sample<float> {
    using Inserter = FloatDataStorageInserter;
    static constexpr EnumDataType type = DataTypeFloat;
    static float Value() { return 1.5f; }
    static const char* Text() { return "1.5"; }
    static const char* BaseText() { return "0.5"; }
};
template <>
struct Sample<double> {
    using Inserter = DoubleDataStorageInserter;
    static constexpr EnumDataType type = DataTypeDouble;
    static double Value() { return 2.5; }
    static const char* Text() { return "2.5"; }
    static const char* BaseText() { return "-1.25"; }
};
template <>
struct Sample<qxdb::Decimal> {
    using Inserter = DecimalDataStorageInserter;
    static constexpr EnumDataType type = DataTypeDecimal;
    static qxdb::Decimal Value() { return qxdb::Decimal("3.125"); }
    static const char* Text() { return "3.125"; }
    static const char* BaseText() { return "-12.345"; }
};
template <>
struct Sample<qxdb::DynBuffer> {
    using Inserter = BinaryDataStorageInserter;
    static constexpr EnumDataType type = DataTypeBinary;
    static qxdb::DynBuffer Value() {
        const unsigned char bytes[] = {0xAB};
        qxdb::DynBuffer buffer;
        buffer.Assign(bytes, 1);
        return buffer;
    }
    static const char* Text() { return "AB"; }
    static const char* BaseText() { return "C0DE"; }
};
template <>
struct Sample<qxdb::Timestamp> {
    using Inserter = TimestampDataStorageInserter;
    static constexpr EnumDataType type = DataTypeTimestamp;
    static qxdb::Timestamp Value() { return qxdb::Timestamp("1999-01-02 03:04:05.000"); }
    static const char* Text() { return "1999-01-02 03:04:05.000"; }
    static const char* BaseText() { return "2006-12-31 23:59:58.125"; }
};

// A request with one handler pair.
template <class T>
class HandlerRequest : public Request {
  public:
    bool Execute(const qxdbsrd::ConnectionDefElement&, qxdb::Connection&) override { return true; }
    bool Execute(const qxdbsrd::ConnectionDefElement&) override { return true; }

    TypeWithNull<T> OnValue(qxdb::Field& field, qxdb::Fields& fields) {
        ++valueCalls;
        lastField = &field;
        lastFields = &fields;
        return result;
    }
    TypeWithNull<T> OnNull(qxdb::Fields& fields) {
        ++nullCalls;
        lastFields = &fields;
        return result;
    }

    TypeWithNull<T> result;
    int valueCalls = 0;
    int nullCalls = 0;
    qxdb::Field* lastField = nullptr;
    qxdb::Fields* lastFields = nullptr;
};

template <class T>
class HandlerDataStorageInserterTest : public ::testing::Test {
  protected:
    using Inserter = HandlerDataStorageInserter<TypeWithNull<T>, typename Sample<T>::Inserter>;

    HandlerDataStorageInserterTest()
        : store(MakeStore({Sample<T>::type})),
          fields(binding, false, qxdb::ExclusionIndex(), false, nullptr) {
        const unsigned char bytes[] = {0xC0, 0xDE};
        field.buffer.Assign(bytes, 2);
        field.pieces = {"fi", "eld"};
    }

    static qxdb::BindValue BindNothing(qxtest::ScriptedServer& server) {
        server.Expect("select").Returns(qxtest::Rows({}, {}));
        qxdb::Statement statement = server.Connect().CreateStatement(qxdb::CursorDefault, 1);
        statement.SetStatement("select");
        statement.Execute();
        statement.ResultSetAvailable();
        return statement.GetResults(1, "").Bind();
    }
    std::string Insert(bool withValueHandler, bool withNullHandler) {
        using Probe = HandlerRequest<T>;
        Inserter inserter(
            &field, &store, 0, 0, fields, &request,
            withValueHandler ? static_cast<typename Inserter::ValueHandler>(&Probe::OnValue) : nullptr,
            withNullHandler ? static_cast<typename Inserter::NullHandler>(&Probe::OnNull) : nullptr);
        inserter.Insert();
        EXPECT_EQ(store.GetNumberOfRows(0), 1);
        return CellText(store, 0, 0);
    }

    qxtest::ScriptedServer server;
    qxdb::BindValue binding = BindNothing(server);
    DataStorage store;
    qxdb::Fields fields;
    FakeField field;
    HandlerRequest<T> request;
};

using ValueTypes = ::testing::Types<std::string, short, int, long, __int64, float, double, qxdb::Decimal,
                                    qxdb::DynBuffer, qxdb::Timestamp>;
struct ValueTypeNames {
    template <class T>
    static std::string GetName(int) {
        static const char* const names[] = {"String", "Short",  "Int",     "Long",   "Int64",
                                            "Float",  "Double", "Decimal", "Binary", "Timestamp"};
        return names[Sample<T>::type];
    }
};
TYPED_TEST_SUITE(HandlerDataStorageInserterTest, ValueTypes, ValueTypeNames);

TYPED_TEST(HandlerDataStorageInserterTest, WithoutHandlersAValueIsStoredAsByTheBase) {
    EXPECT_EQ(this->Insert(false, false), Sample<TypeParam>::BaseText());
}

TYPED_TEST(HandlerDataStorageInserterTest, WithoutHandlersANullIsStoredAsByTheBase) {
    this->field.null = true;
    EXPECT_EQ(this->Insert(false, false), "[NULL]");
}

TYPED_TEST(HandlerDataStorageInserterTest, ValueHandlerReplacesAValue) {
    this->request.result = Sample<TypeParam>::Value();
    EXPECT_EQ(this->Insert(true, true), Sample<TypeParam>::Text());
    EXPECT_EQ(this->request.valueCalls, 1);
    EXPECT_EQ(this->request.nullCalls, 0);
    EXPECT_EQ(this->request.lastField, &this->field);
    EXPECT_EQ(this->request.lastFields, &this->fields);
}

TYPED_TEST(HandlerDataStorageInserterTest, ValueHandlerTurnsAValueIntoANull) {
    this->request.result.SetNull();
    EXPECT_EQ(this->Insert(true, false), "[NULL]");
    EXPECT_TRUE(this->store.IsNull(0, 0, 0));
}

TYPED_TEST(HandlerDataStorageInserterTest, NullHandlerTurnsANullIntoAValue) {
    this->field.null = true;
    this->request.result = Sample<TypeParam>::Value();
    EXPECT_EQ(this->Insert(true, true), Sample<TypeParam>::Text());
    EXPECT_EQ(this->request.valueCalls, 0);
    EXPECT_EQ(this->request.nullCalls, 1);
    EXPECT_EQ(this->request.lastFields, &this->fields);
    EXPECT_FALSE(this->store.IsNull(0, 0, 0));
}

TYPED_TEST(HandlerDataStorageInserterTest, NullHandlerMayLeaveANull) {
    this->field.null = true;
    EXPECT_EQ(this->Insert(false, true), "[NULL]");
    EXPECT_EQ(this->request.nullCalls, 1);
}

TYPED_TEST(HandlerDataStorageInserterTest, ValueHandlerAloneLeavesNullsToTheBase) {
    this->field.null = true;
    this->request.result = Sample<TypeParam>::Value();
    EXPECT_EQ(this->Insert(true, false), "[NULL]");
    EXPECT_EQ(this->request.valueCalls, 0);
}

TYPED_TEST(HandlerDataStorageInserterTest, NullHandlerAloneLeavesValuesToTheBase) {
    this->request.result.SetNull();
    EXPECT_EQ(this->Insert(false, true), Sample<TypeParam>::BaseText());
    EXPECT_EQ(this->request.nullCalls, 0);
}

}  // namespace
}  // namespace qxdbsqlengine
