#include "request/field_handlers.h"

#include "request/request_fixture.h"

namespace qxtest {
namespace {

using qxdb::Field;
using qxdb::Fields;
using qxdbsqlengine::EnumDataType;
using qxdbsqlengine::HandleColumnStruct;
using qxdbsqlengine::TypeWithNull;

// A request that makes its own cells.
class HandlingRequest : public OpenRequest {
  public:
    using OpenRequest::OpenRequest;

    TypeWithNull<std::string> Text(Field& field, Fields&) {
        return std::string("<" + field.AsString() + ">");
    }
    TypeWithNull<std::string> NoText(Fields&) { return std::string("none"); }
    TypeWithNull<short> Short(Field&, Fields&) { return short(2); }
    TypeWithNull<int> Int(Field& field, Fields&) {
        return field.AsInt() == 0 ? TypeWithNull<int>() : TypeWithNull<int>(field.AsInt() * 10);
    }
    TypeWithNull<int> NoInt(Fields&) { return -1; }
    TypeWithNull<int> OtherInt(Field&, Fields&) { return 7; }
    TypeWithNull<long> Long(Field&, Fields&) { return 4L; }
    TypeWithNull<__int64> Int64(Field&, Fields&) { return __int64(5); }
    TypeWithNull<float> Float(Field&, Fields&) { return 6.0F; }
    TypeWithNull<double> Double(Field&, Fields&) { return 7.0; }
    TypeWithNull<qxdb::Decimal> Decimal(Field&, Fields&) { return qxdb::Decimal("8.5"); }
    TypeWithNull<qxdb::DynBuffer> Binary(Field&, Fields&) { return qxdb::DynBuffer(1, 1); }
    TypeWithNull<qxdb::Timestamp> Stamp(Field&, Fields&) {
        return qxdb::Timestamp("2006-12-31 00:00:00.000");
    }
    std::string Lob(Field&, Fields&) { return "lob"; }

    bool SkipOdd(DataStorage&, Fields& fields) { return fields[0].AsInt() % 2 != 0; }
    int Count(int state, DataStorage&, bool isFinal) {
        rowCalls.push_back(std::to_string(state) + (isFinal ? " end" : ""));
        return state + 1;
    }

    Lines rowCalls;
};

class FieldHandlersTest : public RequestTest {
  protected:
    FieldHandlersTest()
        : handling(notifications, SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(), store, nullptr, "") {}

    void RunHandling(Result result) {
        server.Expect("select a").Returns(std::move(result));
        handling.SetSQL("select a", SQLRequest::RequestSQL, false, false);
        qxdb::Connection connection = server.Connect();
        EXPECT_TRUE(handling.Execute(Def(), connection));
    }

    HandlingRequest handling;
};

TEST_F(FieldHandlersTest, EachKindHasItsTypeNumber) {
    handling.AddStringHandler(3, 0, &HandlingRequest::Text);
    handling.AddShortHandler(3, 1, &HandlingRequest::Short);
    handling.AddIntHandler(3, 2, &HandlingRequest::Int);
    handling.AddLongHandler(3, 3, &HandlingRequest::Long);
    handling.AddInt64Handler(3, 4, &HandlingRequest::Int64);
    handling.AddFloatHandler(3, 5, &HandlingRequest::Float);
    handling.AddDoubleHandler(3, 6, &HandlingRequest::Double);
    handling.AddDecimalHandler(3, 7, &HandlingRequest::Decimal);
    handling.AddBinaryHandler(3, 8, &HandlingRequest::Binary);
    handling.AddTimestampHandler(3, 9, &HandlingRequest::Stamp);
    handling.AddLobHandler(3, 10, &HandlingRequest::Lob);
    const std::vector<HandleColumnStruct>& columns = handling.GetHandleTypesMap().at(3);
    ASSERT_EQ(columns.size(), 11U);
    for (std::size_t i = 0; i < columns.size(); ++i)
        EXPECT_EQ(columns[i].type, static_cast<int>(i) + 1);
    EXPECT_NE(columns[0].GetHandler<TypeWithNull<std::string>>(), nullptr);
    EXPECT_EQ(columns[0].GetHandler<TypeWithNull<int>>(), nullptr);
    EXPECT_EQ(columns[0].GetHandler<std::string>(), nullptr);
    EXPECT_EQ(columns[0].GetSecondHandler<TypeWithNull<std::string>>(), nullptr);
    EXPECT_NE(columns[10].GetHandler<std::string>(), nullptr);
}

TEST_F(FieldHandlersTest, ColumnsGrowAndColumnsBetweenHaveNoHandler) {
    handling.AddIntHandler(0, 2, &HandlingRequest::Int);
    std::vector<HandleColumnStruct>& columns = handling.GetHandleTypesMap()[0];
    ASSERT_EQ(columns.size(), 3U);
    EXPECT_EQ(columns[0].type, 0);
    EXPECT_EQ(columns[1].type, 0);
    EXPECT_EQ(columns[2].type, 3);
    handling.AddShortHandler(0, 0, &HandlingRequest::Short);
    EXPECT_EQ(handling.GetHandleTypesMap()[0].size(), 3U);
}

TEST_F(FieldHandlersTest, MissingSecondHandlerKeepsTheOneThatIsThere) {
    handling.AddIntHandler(0, 0, &HandlingRequest::Int, &HandlingRequest::NoInt);
    handling.AddIntHandler(0, 0, &HandlingRequest::OtherInt);
    const HandleColumnStruct& column = handling.GetHandleTypesMap()[0][0];
    EXPECT_EQ(column.GetHandler<TypeWithNull<int>>(),
              static_cast<qxdbsqlengine::FieldHandler<TypeWithNull<int>>>(&HandlingRequest::OtherInt));
    EXPECT_EQ(column.GetSecondHandler<TypeWithNull<int>>(),
              static_cast<qxdbsqlengine::NullFieldHandler<TypeWithNull<int>>>(&HandlingRequest::NoInt));
}

TEST_F(FieldHandlersTest, HandlersMakeTheCellsOfARun) {
    handling.AddIntHandler(0, 0, &HandlingRequest::Int, &HandlingRequest::NoInt);
    handling.AddStringHandler(0, 1, &HandlingRequest::Text, &HandlingRequest::NoText);
    RunHandling(Rows({TextColumn("A"), IntColumn("B"), TextColumn("C")},
                     {{1, 2, "x"}, {0, Null(), "y"}, {Null(), 3, Null()}}));
    EXPECT_EQ(store->GetDataType(0, 0), qxdbsqlengine::DataTypeInt);
    EXPECT_EQ(store->GetDataType(0, 1), qxdbsqlengine::DataTypeString);
    EXPECT_EQ(RowOf(0, 0), (Lines{"10", "<2>", "x"}));
    EXPECT_EQ(RowOf(0, 1), (Lines{"[NULL]", "none", "y"}));
    EXPECT_EQ(RowOf(0, 2), (Lines{"-1", "<3>", "[NULL]"}));
}

TEST_F(FieldHandlersTest, FieldsHandlerTakesRowsAway) {
    handling.AddFieldsHandler(0, &HandlingRequest::SkipOdd);
    RunHandling(Rows({IntColumn("A")}, {{1}, {2}, {3}, {4}}));
    EXPECT_EQ(Column(0), (Lines{"2", "4"}));
}

TEST_F(FieldHandlersTest, RowHandlerIsCalledForEachRowAndAtTheEnd) {
    handling.AddRowHandler(0, &HandlingRequest::Count);
    RunHandling(Rows({IntColumn("A")}, {{1}, {2}}));
    EXPECT_EQ(handling.rowCalls, (Lines{"0", "1", "2 end"}));
    // What the handler does not put there is not in the result set.
    EXPECT_EQ(Sets(), (Lines{"0:0"}));
}

TEST_F(FieldHandlersTest, ReorderLeavesOutNegativeColumns) {
    handling.GetColumnReorder() = {1, -1, 0};
    handling.SetDoColumnReorder(true);
    EXPECT_TRUE(handling.GetDoColumnReorder());
    RunHandling(Rows({IntColumn("A"), IntColumn("B"), IntColumn("C")}, {{1, 2, 3}}));
    EXPECT_EQ(RowOf(0), (Lines{"3", "1"}));
}

TEST_F(FieldHandlersTest, RowNotificationHandlersAreReplaced) {
    handling.AddRowNotificationHandler(2, {1, 2, true});
    handling.AddRowNotificationHandler(2, {3, 4, false});
    const qxdbsqlengine::RowNotificationHandler& stored = handling.GetRowNotificationHandlerMap().at(2);
    EXPECT_EQ(stored.initialInterval, 3);
    EXPECT_EQ(stored.interval, 4);
    EXPECT_FALSE(stored.enabled);
    const qxdbsqlengine::RowNotificationHandler defaults;
    EXPECT_EQ(defaults.initialInterval, 25);
    EXPECT_EQ(defaults.interval, 200);
    EXPECT_TRUE(defaults.enabled);
}

}  // namespace
}  // namespace qxtest
