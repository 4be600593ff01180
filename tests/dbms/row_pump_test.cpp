// The loop that moves the rows of a cursor into the store.
#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "engine/cancellation.h"
#include "handler_fixture.h"
#include "platform/qxutils/qx_exception.h"

namespace qxtest {
namespace {

using qxdb::Column;
using qxdbsqlengine::CancelledException;
using qxdbsqlengine::RowNotificationHandler;
using qxdbsqlengine::TypeWithNull;

using Texts = std::vector<std::string>;

std::vector<Row> Numbers(int count) {
    std::vector<Row> rows;
    for (int i = 0; i < count; ++i)
        rows.push_back({i});
    return rows;
}

// A request whose handlers are members of its own.
class HandlingRequest : public ProbeRequest {
  public:
    using ProbeRequest::ProbeRequest;

    bool ConsumeOdd(DataStorage& target, qxdb::Fields& fields) {
        fieldsTarget = &target;
        const int value = fields[0].AsInt();
        return value % 2 == 1;
    }
    bool ConsumeAll(DataStorage&, qxdb::Fields&) {
        if (++consumed == 3)
            Cancel();
        return true;
    }
    int OnRow(int state, DataStorage& target, bool isFinal) {
        rowTarget = &target;
        trace.push_back((isFinal ? "final " : "row ") + std::to_string(state) + " of " +
                        std::to_string(target.GetNumberOfRows(0)));
        return state + 10;
    }
    // Puts the sum of the staged rows into the open result set.
    int SumUp(int state, DataStorage& staged, bool isFinal) {
        if (!isFinal)
            return state + staged.GetInt(0, staged.GetNumberOfRows(0) - 1, 0);
        SmartPtr<DataStorage> target = GetData();
        qxdbsqlengine::RowLock rowLock = target->GetRowLock(0);
        rowLock.Lock();
        target->InsertInt(0, 0, state);
        rowLock.UnLock();
        return state;
    }
    TypeWithNull<std::string> AsHex(qxdb::Field& field, qxdb::Fields&) {
        return "#" + std::to_string(field.AsInt());
    }
    TypeWithNull<std::string> NoValue(qxdb::Fields& fields) { return fields[0].AsString() + " has none"; }
    TypeWithNull<int> Negated(qxdb::Field& field, qxdb::Fields&) { return -field.AsInt(); }

    DataStorage* fieldsTarget = nullptr;
    DataStorage* rowTarget = nullptr;
    int consumed = 0;
};

// Opens a result set in the owner's store and pumps the rows into it.
void PumpWith(OpenHandler& pump, ProbeRequest& owner, OpenCursor& open) {
    pump.DetermineColumnDefs(open.cursor, *open.fields, open.schema);
    owner.GetData()->AddResultSet(owner.GetColumnDefinition(), qxdbsqlengine::ResultSetNormal);
    pump.HandleResultSet(open.cursor, *open.fields, open.schema);
}

class RowPumpTest : public HandlerTest {
  protected:
    RowPumpTest() : handling(store), handlingHandler(handling, qxdb::DBTYPE_OTHER) {}

    void PumpHandling(OpenCursor& open) { PumpWith(handlingHandler, handling, open); }

    HandlingRequest handling;
    OpenHandler handlingHandler;
};

TEST_F(RowPumpTest, EveryTypeArrivesInItsColumn) {
    qxdb::ColumnRecord decimal = MakeColumn("DECIMAL", Column::BindDecimal);
    decimal.scale = 2;
    qxdb::ColumnRecord timestamp = MakeColumn("TIMESTAMP", Column::BindTimestamp);
    timestamp.dateTimeFormat = "yyyy-MM-dd";
    const unsigned char bytes[] = {0xDE, 0xAD};
    qxdb::DynBuffer buffer;
    buffer.Assign(bytes, 2);
    const std::vector<qxdb::ColumnRecord> columns = {TextColumn("TEXT"),
                                                     MakeColumn("SHORT", Column::BindShort),
                                                     IntColumn("INT"),
                                                     MakeColumn("LONG", Column::BindLong),
                                                     MakeColumn("INT64", Column::BindInt64),
                                                     MakeColumn("FLOAT", Column::BindFloat),
                                                     MakeColumn("DOUBLE", Column::BindDouble),
                                                     decimal,
                                                     MakeColumn("BINARY", Column::BindBinary),
                                                     timestamp,
                                                     MakeColumn("LOB", Column::BindLob, "CLOB")};
    request.SetLobPreviewSize(100);
    const Row values = {"text",
                        static_cast<short>(1),
                        2,
                        3L,
                        std::numeric_limits<__int64>::max(),
                        0.5f,
                        2.25,
                        qxdb::Decimal("1.50"),
                        buffer,
                        qxdb::Timestamp("2006-12-31 00:00:00.000"),
                        LobCell{"large", 0, false}};
    const Row nulls(columns.size(), Cell(Null()));
    OpenCursor open = Open(Rows(columns, {nulls, values, nulls}));
    Pump(open);
    ASSERT_EQ(store->GetNumberOfRows(0), 3);
    const char* const expected[] = {
        "text", "1", "2", "3", "9223372036854775807", "0.5", "2.25", "1.50", "DEAD", "2006-12-31", "large"};
    for (int column = 0; column < 11; ++column) {
        EXPECT_EQ(Column(column), (Texts{"[NULL]", expected[column], "[NULL]"})) << column;
        EXPECT_TRUE(store->IsNull(0, 0, column));
        EXPECT_FALSE(store->IsNull(0, 1, column));
        EXPECT_TRUE(store->IsNull(0, 2, column));
    }
    EXPECT_EQ(store->GetInt64(0, 1, 4), std::numeric_limits<__int64>::max());
    EXPECT_EQ(store->GetColumnLabel(0, 10), "LOB");
}

TEST_F(RowPumpTest, EmptyCursorStoresNothing) {
    OpenCursor open = Open(Rows({IntColumn("A")}, {}));
    Pump(open);
    EXPECT_EQ(store->GetNumberOfRows(0), 0);
    EXPECT_TRUE(request.updates.empty());
}

TEST_F(RowPumpTest, WithoutAStoreNothingIsFetched) {
    ProbeRequest homeless{SmartPtr<DataStorage>()};
    OpenHandler homelessHandler(homeless, qxdb::DBTYPE_OTHER);
    bool fetched = false;
    OpenCursor open = Open(Rows({IntColumn("A")}, {{1}}).AtRow(0, [&fetched] { fetched = true; }));
    homelessHandler.HandleResultSet(open.cursor, *open.fields, open.schema);
    EXPECT_FALSE(fetched);
}

TEST_F(RowPumpTest, RowLimit) {
    const struct {
        int limit;
        int rows;
        int expected;
        int fetches;  // of rows; the last fetch of a whole cursor finds the end
    } cases[] = {{0, 8, 8, 9}, {-1, 8, 8, 9}, {5, 8, 5, 5}, {1, 8, 1, 1}, {8, 8, 8, 8}, {9, 8, 8, 9}};
    for (const auto& one : cases) {
        ProbeRequest limited(NewStore());
        OpenHandler limitedHandler(limited, qxdb::DBTYPE_OTHER);
        limited.SetMaxRowCount(one.limit);
        int fetches = 0;
        Result result = Rows({IntColumn("A")}, Numbers(one.rows));
        for (int row = 0; row <= one.rows; ++row)
            result.AtRow(row, [&fetches] { ++fetches; });
        OpenCursor open = Open(std::move(result));
        PumpWith(limitedHandler, limited, open);
        EXPECT_EQ(limited.GetData()->GetNumberOfRows(0), one.expected) << one.limit;
        EXPECT_EQ(fetches, one.fetches) << one.limit;
    }
}

TEST_F(RowPumpTest, ProgressIsToldForTheFirstRowsAndThenByInterval) {
    const struct {
        RowNotificationHandler notifier;
        int rows;
        std::vector<int> expected;
    } cases[] = {
        {{3, 4, true}, 13, {0, 1, 2, 3, 7, 11}},
        {{0, 5, true}, 12, {0, 5, 10}},
        {{1, 1, true}, 4, {0, 1, 2, 3}},
        {{25, 200, true}, 30, {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12,
                               13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25}},
        {{-3, 5, true}, 9, {2, 7}},
        {{-5, 5, true}, 6, {0, 5}},
        {{2, -3, true}, 9, {0, 1, 2, 5, 8}},
        {{2, 0, true}, 9, {0, 1}},
        {{3, 4, false}, 13, {}},
    };
    for (const auto& one : cases) {
        ProbeRequest notified(NewStore());
        OpenHandler notifiedHandler(notified, qxdb::DBTYPE_OTHER);
        notified.AddRowNotificationHandler(0, one.notifier);
        OpenCursor open = Open(Rows({IntColumn("A")}, Numbers(one.rows)));
        PumpWith(notifiedHandler, notified, open);
        EXPECT_EQ(notified.updates, one.expected)
            << one.notifier.initialInterval << " " << one.notifier.interval;
    }
}

TEST_F(RowPumpTest, ProgressIsToldOutsideTheRowLock) {
    class Peeking : public ProbeRequest {
      public:
        using ProbeRequest::ProbeRequest;
        void NotifyResultSetUpdate(int rows, bool force) override {
            // Another thread reads at once what was stored.
            std::thread([this] { seen.push_back(GetData()->GetNumberOfRows(0)); }).join();
        }
        std::vector<int> seen;
    };
    Peeking peeking(NewStore());
    OpenHandler peekingHandler(peeking, qxdb::DBTYPE_OTHER);
    peeking.AddRowNotificationHandler(0, {10, 10, true});
    OpenCursor open = Open(Rows({IntColumn("A")}, Numbers(3)));
    PumpWith(peekingHandler, peeking, open);
    EXPECT_EQ(peeking.seen, (std::vector<int>{1, 2, 3}));
}

TEST_F(RowPumpTest, NotifierOfAnotherResultSetIsNotUsed) {
    request.AddRowNotificationHandler(1, {10, 10, true});
    OpenCursor open = Open(Rows({IntColumn("A")}, Numbers(3)));
    Pump(open);
    EXPECT_TRUE(request.updates.empty());
}

TEST_F(RowPumpTest, ReorderedAndDroppedColumns) {
    request.SetDoColumnReorder(true);
    request.GetColumnReorder() = {1, -1, 0};
    OpenCursor open = Open(Rows({TextColumn("A"), TextColumn("B"), TextColumn("C")},
                                {{"a1", "b1", "c1"}, {"a2", "b2", Null()}, {Null(), "b3", "c3"}}));
    Pump(open);
    ASSERT_EQ(store->GetNumberOfColumns(0), 2);
    ASSERT_EQ(store->GetNumberOfRows(0), 3);
    EXPECT_EQ(store->GetColumnLabel(0, 0), "C");
    EXPECT_EQ(Column(0), (Texts{"c1", "[NULL]", "c3"}));
    // A null in front of the column that counts the row belongs to this row, not to the one before.
    EXPECT_EQ(Column(1), (Texts{"a1", "a2", "[NULL]"}));
}

TEST_F(RowPumpTest, FieldsWithoutAPlaceInTheOrderHaveNoColumn) {
    OpenCursor open = Open(Rows({IntColumn("A"), IntColumn("B")}, {{1, 2}}));
    request.SetDoColumnReorder(true);
    request.GetColumnReorder() = {0};
    store->AddResultSet(std::vector<ColumnDefinition>(1,
                                                      [] {
                                                          ColumnDefinition definition;
                                                          definition.dataType = qxdbsqlengine::DataTypeInt;
                                                          return definition;
                                                      }()),
                        qxdbsqlengine::ResultSetNormal);
    handler.HandleResultSet(open.cursor, *open.fields, open.schema);
    EXPECT_EQ(Column(0), (Texts{"1"}));
}

TEST_F(RowPumpTest, FieldsHandlerConsumesRows) {
    handling.AddFieldsHandler(0, &HandlingRequest::ConsumeOdd);
    handling.AddRowNotificationHandler(0, {10, 10, true});
    handling.SetMaxRowCount(3);
    OpenCursor open = Open(Rows({IntColumn("A")}, Numbers(9)));
    PumpHandling(open);
    EXPECT_EQ(Column(0), (Texts{"0", "2", "4"}));  // consumed rows count for no limit
    EXPECT_EQ(handling.updates, (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(handling.fieldsTarget, &*store);
}

TEST_F(RowPumpTest, RunThatConsumesEverythingCanBeCancelled) {
    handling.AddFieldsHandler(0, &HandlingRequest::ConsumeAll);
    OpenCursor open = Open(Rows({IntColumn("A")}, Numbers(9)));
    EXPECT_THROW(PumpHandling(open), CancelledException);
    EXPECT_EQ(handling.consumed, 3);
    EXPECT_EQ(store->GetNumberOfRows(0), 0);
}

TEST_F(RowPumpTest, RowHandlerGetsStagedRowsAndAFinalCall) {
    handling.AddRowHandler(0, &HandlingRequest::OnRow);
    OpenCursor open = Open(Rows({IntColumn("A")}, Numbers(2)));
    PumpHandling(open);
    EXPECT_EQ(handling.trace, (Trace{"row 0 of 1", "row 10 of 2", "final 20 of 2"}));
    EXPECT_NE(handling.rowTarget, &*store);
    EXPECT_EQ(store->GetNumberOfResultSets(), 1);  // staged elsewhere
    EXPECT_EQ(store->GetNumberOfRows(0), 0);
}

TEST_F(RowPumpTest, RowHandlerIsCalledAtTheEndOfAnEmptyCursorToo) {
    handling.AddRowHandler(0, &HandlingRequest::OnRow);
    OpenCursor open = Open(Rows({IntColumn("A")}, {}));
    PumpHandling(open);
    EXPECT_EQ(handling.trace, (Trace{"final 0 of 0"}));
}

TEST_F(RowPumpTest, RowHandlerIsCalledAtTheEndBehindTheRowLimit) {
    handling.AddRowHandler(0, &HandlingRequest::OnRow);
    handling.SetMaxRowCount(1);
    OpenCursor open = Open(Rows({IntColumn("A")}, Numbers(5)));
    PumpHandling(open);
    EXPECT_EQ(handling.trace, (Trace{"row 0 of 1", "final 10 of 1"}));
}

TEST_F(RowPumpTest, RowHandlerFillsTheOpenResultSet) {
    handling.AddRowHandler(0, &HandlingRequest::SumUp);
    OpenCursor open = Open(Rows({IntColumn("A")}, Numbers(5)));
    PumpHandling(open);
    EXPECT_EQ(Column(0), (Texts{"10"}));
}

TEST_F(RowPumpTest, RowHandlerSeesWhatTheFieldsHandlerLeft) {
    handling.AddFieldsHandler(0, &HandlingRequest::ConsumeOdd);
    handling.AddRowHandler(0, &HandlingRequest::SumUp);
    OpenCursor open = Open(Rows({IntColumn("A")}, Numbers(6)));
    PumpHandling(open);
    EXPECT_EQ(Column(0), (Texts{"6"}));
    EXPECT_NE(handling.fieldsTarget, &*store);
}

TEST_F(RowPumpTest, ColumnHandlersReplaceValues) {
    handling.AddStringHandler(0, 1, &HandlingRequest::AsHex, &HandlingRequest::NoValue);
    handling.AddIntHandler(0, 2, &HandlingRequest::Negated);
    OpenCursor open =
        Open(Rows({TextColumn("A"), IntColumn("B"), IntColumn("C")}, {{"x", 1, 2}, {"y", Null(), Null()}}));
    PumpHandling(open);
    EXPECT_EQ(store->GetDataType(0, 1), qxdbsqlengine::DataTypeString);
    EXPECT_EQ(Column(0), (Texts{"x", "y"}));
    EXPECT_EQ(Column(1), (Texts{"#1", "y has none"}));
    EXPECT_EQ(Column(2), (Texts{"-2", "[NULL]"}));
}

// One field of each type, replaced by a handler of the same type.
class TypedHandlers : public ProbeRequest {
  public:
    using ProbeRequest::ProbeRequest;

    template <class T>
    TypeWithNull<T> Give(qxdb::Field&, qxdb::Fields&) {
        return Value<T>();
    }
    template <class T>
    static T Value() {
        return T(3);
    }
    void RegisterAll() {
        AddStringHandler(0, 0, &TypedHandlers::Give<std::string>);
        AddShortHandler(0, 1, &TypedHandlers::Give<short>);
        AddIntHandler(0, 2, &TypedHandlers::Give<int>);
        AddLongHandler(0, 3, &TypedHandlers::Give<long>);
        AddInt64Handler(0, 4, &TypedHandlers::Give<__int64>);
        AddFloatHandler(0, 5, &TypedHandlers::Give<float>);
        AddDoubleHandler(0, 6, &TypedHandlers::Give<double>);
        AddDecimalHandler(0, 7, &TypedHandlers::Give<qxdb::Decimal>);
        AddBinaryHandler(0, 8, &TypedHandlers::Give<qxdb::DynBuffer>);
        AddTimestampHandler(0, 9, &TypedHandlers::Give<qxdb::Timestamp>);
    }
};
template <>
std::string TypedHandlers::Value() {
    return "three";
}
template <>
qxdb::Decimal TypedHandlers::Value() {
    return qxdb::Decimal("3");
}
template <>
qxdb::DynBuffer TypedHandlers::Value() {
    return qxdb::DynBuffer(3, 3);
}
template <>
qxdb::Timestamp TypedHandlers::Value() {
    return qxdb::Timestamp("2003-03-03 03:03:03.000");
}

TEST_F(RowPumpTest, ColumnHandlersOfEveryType) {
    TypedHandlers typed(store);
    OpenHandler typedHandler(typed, qxdb::DBTYPE_OTHER);
    typed.RegisterAll();
    std::vector<qxdb::ColumnRecord> columns;
    for (int i = 0; i < 10; ++i)
        columns.push_back(TextColumn("C" + std::to_string(i)));
    OpenCursor open = Open(Rows(columns, {Row(10, Cell("text"))}));
    PumpWith(typedHandler, typed, open);
    const char* const expected[] = {"three", "3", "3", "3",      "3",
                                    "3",     "3", "3", "000000", "2003-03-03 03:03:03.000"};
    for (int column = 0; column < 10; ++column) {
        EXPECT_EQ(store->GetDataType(0, column), column);
        EXPECT_EQ(Column(column), (Texts{expected[column]})) << column;
    }
}

TEST_F(RowPumpTest, HandlersAreThoseOfTheLogicalResultSet) {
    // A message result set stands before: the open one is number 1 in the store and 0 logically.
    ASSERT_EQ(store->AddResultSet(std::vector<ColumnDefinition>(1), qxdbsqlengine::ResultSetMessage), 0);
    handling.AddStringHandler(0, 0, &HandlingRequest::AsHex);
    handling.AddFieldsHandler(1, &HandlingRequest::ConsumeAll);
    server.Expect("run").Returns(Rows({IntColumn("A")}, {{5}}));
    handling.SetSQL("run", handling.RequestSQL, false, false);
    handling.Execute(qxdbsrd::ConnectionDefElement(qxdb::DBTYPE_OTHER, "", 0, "", ""), Connection());
    ASSERT_EQ(store->GetNumberOfResultSets(), 2);
    EXPECT_EQ(Column(0, 1), (Texts{"#5"}));
}

TEST_F(RowPumpTest, NamedTypesAreStoredAsText) {
    OpenCursor open =
        Open(Rows({MakeColumn("A", Column::BindCursor), IntColumn("B")},
                  {{Nested(Rows({IntColumn("X"), TextColumn("Y")}, {{1, "red"}})), 5}, {qxtest::Null(), 6}}));
    Pump(open);
    EXPECT_EQ(store->GetDataType(0, 0), qxdbsqlengine::DataTypeNamedType);
    EXPECT_EQ(store->GetString(0, 0, 0), "((1, 'red'))\r\n");
    EXPECT_TRUE(store->IsNull(0, 1, 0));
    EXPECT_EQ(store->GetInt(0, 1, 1), 6);
}

// True when another thread can write into the store, so nobody holds its lock.
bool IsUnlocked(DataStorage& store) {
    std::atomic<bool> locked{false};
    qxdbsqlengine::RowLock lock = store.GetRowLock(0);
    std::thread writer([&] {
        lock.Lock();
        locked = true;
        lock.UnLock();
    });
    writer.join();
    return locked;
}

TEST_F(RowPumpTest, FailureInARowLeavesTheRowsBeforeReadable) {
    OpenCursor open = Open(Rows({IntColumn("A"), TextColumn("B"), IntColumn("C"), TextColumn("D")},
                                {{1, "one", 10, Null()},
                                 {2, "two", FailingCell{MakeErrors("bad cell")}, "never"},
                                 {3, "three", 30, "x"}}));
    EXPECT_THROW(Pump(open), Errors);
    EXPECT_TRUE(IsUnlocked(*store));
    ASSERT_EQ(store->GetNumberOfRows(0), 2);
    EXPECT_EQ(Column(0), (Texts{"1", "2"}));
    EXPECT_EQ(Column(1), (Texts{"one", "two"}));
    EXPECT_EQ(Column(2), (Texts{"10", "0"}));
    EXPECT_EQ(Column(3), (Texts{"[NULL]", ""}));
    EXPECT_EQ(store->GetInt(0, 1, 2), 0);
    EXPECT_EQ(store->GetString(0, 1, 3), "");
    EXPECT_FALSE(store->IsNull(0, 1, 2));
    // A view over the half-made row sorts by what it has.
    store->Sort(0, {qxdbsqlengine::DataSort(2, true), qxdbsqlengine::DataSort(3, true)}, nullptr, 0);
    EXPECT_EQ(Column(0), (Texts{"2", "1"}));
    EXPECT_EQ(store->FindString(0, 3, "x", 0).GetRow(), 2);
}

TEST_F(RowPumpTest, FailureInTheFirstColumnCountsNoRow) {
    OpenCursor open =
        Open(Rows({IntColumn("A"), IntColumn("B")}, {{1, 10}, {FailingCell{MakeErrors("bad")}, 20}}));
    EXPECT_THROW(Pump(open), Errors);
    EXPECT_EQ(store->GetNumberOfRows(0), 1);
    EXPECT_EQ(Column(1), (Texts{"10"}));
}

TEST_F(RowPumpTest, FailureInARowOfEveryTypeReadsAsEmptyValues) {
    const std::vector<qxdb::Column::BindType> types = {
        Column::BindString, Column::BindShort,    Column::BindInt,    Column::BindLong,
        Column::BindInt64,  Column::BindFloat,    Column::BindDouble, Column::BindDecimal,
        Column::BindBinary, Column::BindTimestamp};
    std::vector<qxdb::ColumnRecord> columns = {IntColumn("KEY"), IntColumn("BAD")};
    Row values = {1, FailingCell{MakeErrors("bad")}};
    for (const auto type : types) {
        columns.push_back(MakeColumn("C" + std::to_string(type), type));
        values.push_back(Cell(1));
    }
    OpenCursor open = Open(Rows(columns, {values}));
    EXPECT_THROW(Pump(open), Errors);
    ASSERT_EQ(store->GetNumberOfRows(0), 1);
    EXPECT_EQ(store->GetString(0, 0, 2), "");
    EXPECT_EQ(store->GetShort(0, 0, 3), 0);
    EXPECT_EQ(store->GetInt(0, 0, 4), 0);
    EXPECT_EQ(store->GetLong(0, 0, 5), 0);
    EXPECT_EQ(store->GetInt64(0, 0, 6), 0);
    EXPECT_EQ(store->GetFloat(0, 0, 7), 0.0f);
    EXPECT_EQ(store->GetDouble(0, 0, 8), 0.0);
    EXPECT_EQ(store->GetDecimal(0, 0, 9).Compare(qxdb::Decimal("0")), 0);
    EXPECT_EQ(store->GetTimestamp(0, 0, 11).GetYear(), 0);
    for (int column = 2; column < 12; ++column)
        EXPECT_NO_THROW(store->AsString(0, 0, column, std::locale::classic())) << column;
}

TEST_F(RowPumpTest, ResultSetBehindAFailedOneIsAligned) {
    server.Expect("first").Returns(
        Rows({IntColumn("A"), IntColumn("B")}, {{1, 10}, {2, FailingCell{MakeErrors("bad")}}}));
    server.Expect("second").Returns(Rows({IntColumn("A"), TextColumn("B")}, {{7, Null()}, {8, "b"}}));
    Run(qxdb::DBTYPE_OTHER, "first");
    Run(qxdb::DBTYPE_OTHER, "second");
    const int last = store->GetNumberOfResultSets() - 1;
    ASSERT_GE(last, 1);
    EXPECT_EQ(Column(0, 0), (Texts{"1", "2"}));
    EXPECT_EQ(Column(0, last), (Texts{"7", "8"}));
    EXPECT_EQ(Column(1, last), (Texts{"[NULL]", "b"}));
}

TEST_F(RowPumpTest, FailureOfAFetchKeepsTheRowsBefore) {
    OpenCursor open = Open(Rows({IntColumn("A")}, Numbers(5)).FailsAtRow(3, MakeErrors("gone")));
    EXPECT_THROW(Pump(open), Errors);
    EXPECT_EQ(Column(0), (Texts{"0", "1", "2"}));
    EXPECT_TRUE(IsUnlocked(*store));
}

TEST_F(RowPumpTest, CancelEndsTheFetching) {
    OpenCursor open = Open(Rows({IntColumn("A")}, Numbers(100)).AtRow(4, [this] { request.Cancel(); }));
    EXPECT_THROW(Pump(open), CancelledException);
    EXPECT_EQ(store->GetNumberOfRows(0), 5);  // the row that was under way is whole
    EXPECT_TRUE(IsUnlocked(*store));
}

TEST_F(RowPumpTest, CancelIsAskedOfTheServersOwnHandler) {
    class Counting : public OpenHandler {
      public:
        using OpenHandler::OpenHandler;
        void CheckCancelled() override { ++checks; }
        int checks = 0;
    };
    Counting counting(request, qxdb::DBTYPE_OTHER);
    OpenCursor open = Open(Rows({IntColumn("A")}, Numbers(6)));
    PumpWith(counting, request, open);
    EXPECT_EQ(counting.checks, 6);
}

TEST_F(RowPumpTest, ReadersSeeWholeRowsWhileRowsArrive) {
    constexpr int count = 20000;
    std::vector<Row> rows;
    for (int i = 0; i < count; ++i)
        rows.push_back({i, i, "row " + std::to_string(i)});
    OpenCursor open = Open(Rows({IntColumn("A"), IntColumn("B"), TextColumn("C")}, std::move(rows)));
    handler.DetermineColumnDefs(open.cursor, *open.fields, open.schema);
    store->AddResultSet(request.GetColumnDefinition(), qxdbsqlengine::ResultSetNormal);

    std::atomic<bool> done{false};
    std::atomic<int> mismatches{0};
    DataStorage view(*store);
    std::thread reader([&] {
        while (!done) {
            const int last = view.GetNumberOfRows(0) - 1;
            if (last < 0)
                continue;
            // Separate reads of one row that was counted already: whole under the row lock.
            if (view.GetInt(0, last, 0) != last || view.GetInt(0, last, 1) != last ||
                view.GetString(0, last, 2) != "row " + std::to_string(last))
                ++mismatches;
        }
    });
    handler.HandleResultSet(open.cursor, *open.fields, open.schema);
    done = true;
    reader.join();
    EXPECT_EQ(mismatches, 0);
    EXPECT_EQ(store->GetNumberOfRows(0), count);
}

TEST_F(RowPumpTest, WholeRunFillsTheStoreThroughTheRequest) {
    server.Expect("run").Returns(Rows({IntColumn("ID"), TextColumn("NAME")}, {{1, "Smith"}, {2, Null()}}));
    EXPECT_TRUE(Run(qxdb::DBTYPE_OTHER, "run"));
    server.Verify();
    EXPECT_EQ(Column(0), (Texts{"1", "2"}));
    EXPECT_EQ(Column(1), (Texts{"Smith", "[NULL]"}));
    EXPECT_EQ(request.updates, (std::vector<int>{0, 1, 2}));
}

}  // namespace
}  // namespace qxtest
