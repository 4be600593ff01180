#include <gmock/gmock.h>

#include "request/request_fixture.h"

namespace qxtest {
namespace {

using qxdb::Column;

class ComputeTest : public RequestTest {
  protected:
    static Result Detail() { return Rows({IntColumn("A"), IntColumn("B")}, {{1, 2}}); }
    std::vector<int> Precisions(int resultSet) {
        std::vector<int> precisions;
        for (int column = 0; column < store->GetNumberOfColumns(resultSet); ++column)
            precisions.push_back(store->GetPrecision(resultSet, column));
        return precisions;
    }
    Lines Labels(int resultSet) {
        Lines labels;
        for (int column = 0; column < store->GetNumberOfColumns(resultSet); ++column)
            labels.push_back(store->GetColumnLabel(resultSet, column));
        return labels;
    }
};

TEST_F(ComputeTest, ValuesStandUnderTheirColumns) {
    server.Expect("x").Returns(Detail()).Returns(
        ComputeRows({ComputeColumn("sum", Column::BindInt, 4), ComputeColumn("max", Column::BindString, 2)},
                    {{10, "z"}}));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(Sets(), (Lines{"0:1", "1:1"}));
    EXPECT_EQ(RowOf(1), (Lines{"", "z", "", "10"}));
    EXPECT_EQ(Labels(1), (Lines{"", "max", "", "sum"}));
    EXPECT_EQ(store->GetDataType(1, 3), qxdbsqlengine::DataTypeInt);
    EXPECT_EQ(
        calls.Lines(),
        (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd", "OnPreResultSetBegin 0 0",
               "OnResultSetBegin 0 0", "OnResultSetUpdate 0 1", "OnResultSetEnd 0", "OnPreResultSetBegin 1 1",
               "OnResultSetBegin 1 1", "OnResultSetUpdate 1 1", "OnResultSetEnd 1", "OnBatchItemEnd 0 0"}));
}

TEST_F(ComputeTest, SecondAggregateOnAColumnIsAResultSetOfItsOwn) {
    server.Expect("x").Returns(
        ComputeRows({ComputeColumn("sum", Column::BindInt, 1), ComputeColumn("min", Column::BindInt, 2),
                     ComputeColumn("avg", Column::BindDouble, 1), ComputeColumn("max", Column::BindInt, 1)},
                    {{10, 1, 2.5, 7}, {11, 2, 3.5, 8}}));
    EXPECT_TRUE(Run("x"));
    // All from the first row: it is fetched once.
    EXPECT_EQ(Sets(), (Lines{"1:1", "1:1", "1:1"}));
    EXPECT_EQ(RowOf(0), (Lines{"10", "1"}));
    EXPECT_EQ(RowOf(1), (Lines{"2.5", ""}));
    EXPECT_EQ(RowOf(2), (Lines{"7", ""}));
    EXPECT_EQ(Labels(1), (Lines{"avg", ""}));
    EXPECT_EQ(calls.LinesOf("OnPre"), (Lines{"OnPreResultSetBegin 0 1"}));
    EXPECT_EQ(calls.LinesOf("OnResultSetEnd"),
              (Lines{"OnResultSetEnd 0", "OnResultSetEnd 1", "OnResultSetEnd 2"}));
}

TEST_F(ComputeTest, CursorWithoutRowEndsItsFirstResultSetEmpty) {
    server.Expect("x").Returns(ComputeRows(
        {ComputeColumn("sum", Column::BindInt, 1), ComputeColumn("max", Column::BindInt, 1)}, {}));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(Sets(), (Lines{"1:0"}));
    EXPECT_EQ(calls.LinesOf("OnResultSet"),
              (Lines{"OnResultSetBegin 0 1", "OnResultSetUpdate 0 0", "OnResultSetEnd 0"}));
}

TEST_F(ComputeTest, CursorWithoutFieldsIsPassedOver) {
    server.Expect("x").Returns(ComputeRows({}, {{}})).Returns(Detail());
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(Sets(), (Lines{"0:1"}));
}

TEST_F(ComputeTest, ValuesOfAllTypesAndNulls) {
    const Result result =
        ComputeRows({ComputeColumn("a", Column::BindShort, 1), ComputeColumn("b", Column::BindInt, 2),
                     ComputeColumn("c", Column::BindLong, 3), ComputeColumn("d", Column::BindInt64, 4),
                     ComputeColumn("e", Column::BindFloat, 5), ComputeColumn("f", Column::BindDouble, 6),
                     ComputeColumn("g", Column::BindDecimal, 7), ComputeColumn("h", Column::BindBinary, 8),
                     ComputeColumn("i", Column::BindTimestamp, 9), ComputeColumn("j", Column::BindString, 10),
                     ComputeColumn("k", Column::BindLob, 11), ComputeColumn("l", Column::BindInt, 12)},
                    {{short(1), 2, 3L, __int64(4), 5.5F, 6.5, qxdb::Decimal("7"), qxdb::DynBuffer(1, 1),
                      qxdb::Timestamp("2006-12-31 00:00:00.000"), "text", LobCell{"lob"}, Null()}});
    server.Expect("x").Returns(result);
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(RowOf(0), (Lines{"1", "2", "3", "4", "5.5", "6.5", "7", "00", "2006-12-31 00:00:00.000", "text",
                               "lob", "[NULL]"}));
    EXPECT_EQ(store->GetDataType(0, 10), qxdbsqlengine::DataTypeString);
    EXPECT_EQ(store->GetDataType(0, 8), qxdbsqlengine::DataTypeTimestamp);
    EXPECT_TRUE(store->IsNull(0, 0, 11));
}

TEST_F(ComputeTest, BindAsStringsHoldsForComputeRowsToo) {
    server.Expect("x").Returns(ComputeRows({ComputeColumn("sum", Column::BindInt, 1)}, {{5}}));
    request.SetBindAsStrings(true);
    Run("x");
    EXPECT_EQ(store->GetDataType(0, 0), qxdbsqlengine::DataTypeString);
    EXPECT_EQ(RowOf(0), (Lines{"5"}));
}

TEST_F(ComputeTest, PrecisionFollowsTheScaleWithinTheLimits) {
    const struct {
        int minimum;
        int maximum;
        std::vector<int> expected;  // of scales 0, 3, 9 and -1
    } cases[] = {
        {-1, -1, {0, 3, 9, 0}}, {2, -1, {2, 3, 9, 2}}, {-1, 4, {0, 3, 4, 0}},
        {2, 4, {2, 3, 4, 2}},   {0, 0, {0, 0, 0, 0}},  {5, 4, {5, 5, 4, 5}},
    };
    for (const auto& c : cases) {
        std::vector<qxdb::ColumnRecord> columns;
        int under = 0;
        for (const int scale : {0, 3, 9, -1}) {
            columns.push_back(ComputeColumn("c", Column::BindDecimal, ++under));
            columns.back().scale = scale;
        }
        server.Expect("x").Returns(ComputeRows(columns, {}));
        request.ClearStorage();
        request.SetPrecisionLimits(c.minimum, c.maximum);
        Run("x");
        EXPECT_EQ(Precisions(0), c.expected) << c.minimum << " " << c.maximum;
    }
}

TEST_F(ComputeTest, OnlySomeTypesHaveAScale) {
    const struct {
        Column::BindType type;
        int expected;
    } cases[] = {{Column::BindFloat, 3},
                 {Column::BindDouble, 3},
                 {Column::BindDecimal, 3},
                 {Column::BindInt, 0},
                 {Column::BindString, 0}};
    for (const auto& c : cases) {
        qxdb::ColumnRecord column = ComputeColumn("c", c.type, 1);
        column.scale = 3;
        server.Expect("x").Returns(ComputeRows({column}, {}));
        Run("x");
        EXPECT_EQ(request.GetColumnDefinition().at(0).precision, c.expected) << c.type;
    }
}

TEST_F(ComputeTest, TimestampsKeepTheirFormat) {
    qxdb::ColumnRecord column = ComputeColumn("c", Column::BindTimestamp, 1);
    column.dateTimeFormat = "dd.MM.yyyy";
    server.Expect("x").Returns(ComputeRows({column}, {{qxdb::Timestamp("2006-12-31 00:00:00.000")}}));
    Run("x");
    EXPECT_EQ(RowOf(0), (Lines{"31.12.2006"}));
}

TEST_F(ComputeTest, LabelsMayBeLeftOut) {
    server.Expect("x").Returns(ComputeRows({ComputeColumn("sum", Column::BindInt, 1)}, {{5}}));
    request.SetColumnLabels(false);
    Run("x");
    EXPECT_EQ(Labels(0), (Lines{""}));
}

TEST_F(ComputeTest, ReorderMovesAndDropsColumns) {
    request.GetColumnReorder() = {1, -1, 0};
    request.SetDoColumnReorder(true);
    server.Expect("x").Returns(
        ComputeRows({ComputeColumn("a", Column::BindInt, 1), ComputeColumn("b", Column::BindInt, 2),
                     ComputeColumn("c", Column::BindInt, 3)},
                    {{1, 2, 3}}));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(RowOf(0), (Lines{"3", "1", ""}));
    EXPECT_EQ(Labels(0), (Lines{"c", "a", ""}));
}

TEST_F(ComputeTest, ColumnBeyondTheReorderIsDropped) {
    request.GetColumnReorder() = {0};
    request.SetDoColumnReorder(true);
    server.Expect("x").Returns(ComputeRows(
        {ComputeColumn("a", Column::BindInt, 1), ComputeColumn("b", Column::BindInt, 2)}, {{1, 2}}));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(RowOf(0), (Lines{"1", ""}));
}

TEST_F(ComputeTest, AggregateWithoutAColumnIsDropped) {
    server.Expect("x").Returns(ComputeRows(
        {ComputeColumn("a", Column::BindInt, 0), ComputeColumn("b", Column::BindInt, 1)}, {{1, 2}}));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(RowOf(0), (Lines{"2"}));
}

TEST_F(ComputeTest, MessagesBetweenTheRowsDoNotDisturbThem) {
    server.Expect("x").Returns(
        ComputeRows({ComputeColumn("sum", Column::BindInt, 2), ComputeColumn("max", Column::BindInt, 2)},
                    {{10, 7}})
            .MessageAtRow(0, Info("between")));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(Sets(), (Lines{"1:1", "2:1", "1:1"}));
    EXPECT_EQ(RowOf(0), (Lines{"", "10"}));
    EXPECT_EQ(RowOf(1), (Lines{"between"}));
    EXPECT_EQ(RowOf(2), (Lines{"", "7"}));
}

TEST_F(ComputeTest, FailureOfTheFetchIsToldAndEndsTheStatement) {
    server.Expect("x")
        .Returns(
            ComputeRows({ComputeColumn("sum", Column::BindInt, 1)}, {{10}}).FailsAtRow(0, MakeErrors("lost")))
        .Returns(Detail());
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(Sets(), (Lines{"1:0"}));
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd",
                                    "OnPreResultSetBegin 0 1", "OnResultSetBegin 0 1", "OnError lost",
                                    "OnResultSetUpdate 0 0", "OnResultSetEnd 0", "OnBatchItemEnd 0 0"}));
    EXPECT_THAT(request.handlerLog, testing::Contains("PostExecuteStatement"));
}

TEST_F(ComputeTest, FailureInTheMiddleOfTheRowLeavesItReadable) {
    server.Expect("x").Returns(
        ComputeRows({ComputeColumn("a", Column::BindInt, 1), ComputeColumn("b", Column::BindInt, 2),
                     ComputeColumn("c", Column::BindInt, 3)},
                    {{1, FailingCell{MakeErrors("bad value")}, 3}}));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError bad value"}));
    EXPECT_EQ(RowOf(0), (Lines{"1", "0", "0"}));
    std::thread([&] { store->AddResultSet({}, qxdbsqlengine::ResultSetNormal); }).join();
}

TEST_F(ComputeTest, FailureInTheFirstColumnMakesNoRow) {
    server.Expect("x").Returns(
        ComputeRows({ComputeColumn("a", Column::BindInt, 1), ComputeColumn("b", Column::BindInt, 2)},
                    {{FailingCell{MakeErrors("bad value")}, 2}}));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(Sets(), (Lines{"1:0"}));
}

TEST_F(ComputeTest, FailureOfTheBindingIsTold) {
    server.Expect("x").Returns(ComputeRows({ComputeColumn("a", Column::BindInt, 1)}, {{1}}).AtBind([] {
        throw MakeErrors("no binding");
    }));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError no binding"}));
    EXPECT_EQ(Sets(), Lines());
}

TEST_F(ComputeTest, CancelledFetchIsNoError) {
    server.Expect("x").Returns(ComputeRows({ComputeColumn("a", Column::BindInt, 1)}, {{1}}).AtRow(0, [&] {
        request.Cancel();
        throw MakeErrors("cancelled");
    }));
    EXPECT_THROW(Run("x"), qxdbsqlengine::CancelledException);
    EXPECT_TRUE(calls.LinesOf("OnError").empty());
    EXPECT_EQ(calls.LinesOf("OnResultSetEnd"), (Lines{"OnResultSetEnd 0"}));
}

}  // namespace
}  // namespace qxtest
