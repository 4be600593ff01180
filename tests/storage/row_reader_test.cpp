#include "storage/row_reader.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "storage/column_definition.h"

namespace qxdbsqlengine {
namespace {

struct Texts final : CellSink {
    std::vector<std::string> cells;
    void OnCell(int position, bool isNull, std::string_view text) override {
        EXPECT_EQ(static_cast<int>(cells.size()), position);
        cells.push_back((isNull ? "NULL:" : "") + std::string(text));
    }
};

// A number, a text of up to `longest` bytes and the row's number as text; every seventh text is NULL.
DataStorage MakeStore(int rows, std::size_t longest) {
    DataStorage store = DataStorage::CreateResultsStorage(false);
    std::vector<ColumnDefinition> columns(3);
    columns[0].dataType = DataTypeInt;
    columns[1].dataType = DataTypeString;
    columns[2].dataType = DataTypeString;
    store.AddResultSet(columns, ResultSetNormal);
    std::mt19937 random(5);
    for (int row = 0; row < rows; ++row) {
        store.InsertInt(0, 0, static_cast<int>(random() % 1000));
        if (row % 7 == 0)
            store.InsertNull(0, 1);
        else
            store.InsertString(0, 1,
                               std::string(random() % (longest + 1), static_cast<char>('a' + row % 26)));
        store.InsertString(0, 2, std::to_string(row));
    }
    return store;
}

// What the reader gives must be what a read of each row at its place gives.
void ExpectSameRows(DataStorage& store, const std::vector<int>& columns, int step = 1) {
    RowReader reader(store, 0, columns, CellFormat::Classic());
    for (int row = 0; row < store.GetNumberOfRows(0); row += step) {
        Texts read;
        ASSERT_TRUE(reader.Visit(row, read));
        Texts expected;
        ASSERT_TRUE(store.VisitRow(0, row, columns.data(), static_cast<int>(columns.size()),
                                   CellFormat::Classic(), expected));
        ASSERT_EQ(expected.cells, read.cells) << "row " << row;
    }
}

TEST(RowReader, UnsortedViewInOrder) {
    DataStorage store = MakeStore(500, 40);
    ExpectSameRows(store, {0, 1, 2});
}

TEST(RowReader, SortedViewInOrderAcrossSeveralBlocks) {
    DataStorage store = MakeStore(30000, 40);
    store.Sort(0, {{0, true}, {1, false}}, nullptr, 0);
    ExpectSameRows(store, {2, 0, 1, 0});
    // Twenty columns make blocks of 26,214 rows, and more than are read in one go.
    std::vector<int> many;
    for (int i = 0; i < 20; ++i)
        many.push_back(i % 3);
    ExpectSameRows(store, many);
}

TEST(RowReader, SortedViewOutOfSequence) {
    DataStorage store = MakeStore(2000, 40);
    store.Sort(0, {{1, true}}, nullptr, 0);
    ExpectSameRows(store, {0, 1, 2}, 3);
    RowReader reader(store, 0, {2}, CellFormat::Classic());
    for (const int row : {0, 1, 2, 1999, 5, 6, 0, 1}) {
        Texts read;
        ASSERT_TRUE(reader.Visit(row, read));
        EXPECT_EQ(store.GetString(0, row, 2), read.cells.at(0));
    }
}

TEST(RowReader, HiddenRowsStayHidden) {
    DataStorage store = MakeStore(1000, 10);
    store.Sort(0, {{0, false}}, nullptr, 0);
    for (int i = 0; i < 100; ++i)
        store.HideRow(0, i * 3);
    ASSERT_EQ(900, store.GetNumberOfRows(0));
    ExpectSameRows(store, {0, 1, 2});
}

TEST(RowReader, ValuesThatFillABlockMakeItShorter) {
    // 400 rows of 100 KiB are more than twice a block's text; a hundred fit.
    DataStorage store = MakeStore(1, 1);
    std::vector<ColumnDefinition> columns(2);
    columns[0].dataType = DataTypeInt;
    columns[1].dataType = DataTypeString;
    store.CleanUp();
    store.AddResultSet(columns, ResultSetNormal);
    for (int row = 0; row < 400; ++row) {
        store.InsertInt(0, 0, row * 31 % 400);
        store.InsertString(0, 1, std::string(100 * 1024, static_cast<char>('a' + row % 26)));
    }
    store.Sort(0, {{0, true}}, nullptr, 0);
    ExpectSameRows(store, {0, 1});
}

TEST(RowReader, AValueLargerThanABlock) {
    DataStorage store = MakeStore(200, 10);
    store.CleanUp();
    std::vector<ColumnDefinition> columns(2);
    columns[0].dataType = DataTypeInt;
    columns[1].dataType = DataTypeString;
    store.AddResultSet(columns, ResultSetNormal);
    for (int row = 0; row < 100; ++row) {
        store.InsertInt(0, 0, 100 - row);
        store.InsertString(0, 1, row == 50 ? std::string(RowReader::BlockBytes + 1, 'x') : "short");
    }
    store.Sort(0, {{0, true}}, nullptr, 0);
    ExpectSameRows(store, {0, 1});
}

TEST(RowReader, NoRowsAndNoColumns) {
    DataStorage store = MakeStore(0, 10);
    store.Sort(0, {{0, true}}, nullptr, 0);
    ExpectSameRows(store, {0, 1});
    DataStorage rows = MakeStore(100, 10);
    rows.Sort(0, {{0, true}}, nullptr, 0);
    ExpectSameRows(rows, {});
}

TEST(DataStorage, ArrivalOrderIsAViewOfItsOwn) {
    DataStorage store = MakeStore(100, 10);
    store.Sort(0, {{0, true}}, nullptr, 0);
    store.HideRow(0, 0);
    DataStorage arrival = store.ArrivalOrder();
    ASSERT_EQ(100, arrival.GetNumberOfRows(0));
    ASSERT_EQ(99, store.GetNumberOfRows(0));
    for (int row = 0; row < 100; ++row)
        EXPECT_EQ(std::to_string(row), arrival.GetString(0, row, 2));
    for (int row = 0; row < 99; ++row)
        EXPECT_EQ(std::to_string(store.GetRowTranslation(0, row)), store.GetString(0, row, 2));
}

}  // namespace
}  // namespace qxdbsqlengine
