// Editable results: rows that are inserted, deleted and used again, under any view.
#include "storage/editable_results_storage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "storage/container_support.h"
#include "storage/row_reader.h"
#include "storage/storage_doubles.h"
#include "storage/store_exceptions.h"

namespace qxdbsqlengine {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A container whose inside can be looked at.
class OpenEditable : public EditableResultsStorage {
  public:
    using EditableResultsStorage::allocator;
    using EditableResultsStorage::cells;
    using EditableResultsStorage::GetRowFromIndex;
    using EditableResultsStorage::readLimitMs;
    using EditableResultsStorage::resultSetCount;
    using EditableResultsStorage::resultSets;
};

class EditableResultsTest : public testing::Test {
  protected:
    EditableResultsTest() : container(new OpenEditable), store(container) {}

    // One result set of a column of texts and one of numbers.
    void Fill(const std::vector<std::string>& texts) {
        store.AddResultSet(Columns({DataTypeString, DataTypeInt}), ResultSetNormal);
        int number = 0;
        for (const std::string& text : texts)
            Append(text, number++);
    }
    void Append(const std::string& text, int number) {
        store.InsertString(0, 0, text);
        store.InsertInt(0, 1, number);
    }
    DataEdit& Edit() { return store.Edit(); }
    int PhysicalCount() { return container->resultSets.front().PhysicalRows(); }

    OpenEditable* container;  // the handle's
    DataStorage store;
};

const std::vector<DataSort> ascending = {DataSort(0, true)};
const std::vector<DataSort> descending = {DataSort(0, false)};

TEST_F(EditableResultsTest, NewStoreHasNoResultSetAndYetAnElement) {
    EXPECT_EQ(0, store.GetNumberOfResultSets());
    EXPECT_EQ(1u, container->resultSets.size());
    EXPECT_NE(nullptr, container->resultSets.front().mainIndex);
    EXPECT_EQ(0, store.AddResultSet(Columns({DataTypeString}), ResultSetMessage));
    EXPECT_EQ(1u, container->resultSets.size());
    EXPECT_EQ(1, store.AddResultSet(Columns({DataTypeString}), ResultSetNormal));
    EXPECT_EQ(2, store.GetNumberOfResultSets());
    EXPECT_EQ(ResultSetMessage, store.GetResultSetType(0));
}

TEST_F(EditableResultsTest, UnknownDataTypeGivesMinusOne) {
    EXPECT_EQ(-1, store.AddResultSet(Columns({DataTypeInt, static_cast<EnumDataType>(12)}), ResultSetNormal));
    EXPECT_EQ(1, store.GetNumberOfColumns(0));
}

TEST_F(EditableResultsTest, EveryTypeOfColumn) {
    ColumnDefinition stamp = Column(DataTypeTimestamp, "stamp");
    stamp.timestampFormat = "yyyy-MM-dd";
    stamp.nativeDataType = 93;
    stamp.nativeDataTypeName = "DATE";
    std::vector<ColumnDefinition> definitions =
        Columns({DataTypeString, DataTypeShort, DataTypeInt, DataTypeLong, DataTypeInt64});
    for (const EnumDataType type : {DataTypeFloat, DataTypeDouble, DataTypeDecimal})
        definitions.push_back(Column(type, "", 2));
    definitions.push_back(Column(DataTypeBinary));
    definitions.push_back(stamp);
    definitions.push_back(Column(DataTypeLob, "", 4000));
    definitions.push_back(Column(DataTypeNamedType));
    store.AddResultSet(definitions, ResultSetNormal);
    for (int col = 0; col < 12; ++col)
        EXPECT_EQ(col, store.GetDataType(0, col));
    EXPECT_EQ("stamp", store.GetColumnLabel(0, 9));
    EXPECT_EQ(93, store.GetNativeDataType(0, 9));
    EXPECT_EQ("DATE", store.GetNativeDataTypeName(0, 9));
    EXPECT_STREQ("yyyy-MM-dd", store.GetDataTimeFormat(0, 9));
    EXPECT_EQ(2, store.GetPrecision(0, 7));
    EXPECT_EQ(4000, store.GetPrecision(0, 10));
    qxdb::DynBuffer bytes(2, 2);
    const auto insert = [&] {
        store.InsertString(0, 0, "text");
        store.InsertShort(0, 1, 1);
        store.InsertInt(0, 2, 2);
        store.InsertLong(0, 3, 3);
        store.InsertInt64(0, 4, 4);
        store.InsertFloat(0, 5, 5.5F);
        store.InsertDouble(0, 6, 6.5);
        store.InsertDecimal(0, 7, qxdb::Decimal(725, 2));
        store.InsertBinary(0, 8, bytes);
        store.InsertTimestamp(0, 9, qxdb::Timestamp("2024-01-02 03:04:05.000"));
        store.InsertLobData(0, 10, "preview", qxdb::DynBuffer());
        store.InsertString(0, 11, "(1)");
    };
    const std::vector<std::string> inserted = {"text", "1",    "2",    "3",          "4",       "5.5",
                                               "6.5",  "7.25", "0000", "2024-01-02", "preview", "(1)"};
    insert();
    for (int col = 0; col < 12; ++col)
        EXPECT_EQ(inserted[static_cast<std::size_t>(col)], store.AsString(0, 0, col, std::locale::classic()));
    bytes.GetBuffer()[1] = 0xAB;
    Edit().SetString(0, 0, 0, "other text, which is longer");
    Edit().SetShort(0, 0, 1, -1);
    Edit().SetInt(0, 0, 2, -2);
    Edit().SetLong(0, 0, 3, -3);
    Edit().SetInt64(0, 0, 4, -4);
    Edit().SetFloat(0, 0, 5, -5.5F);
    Edit().SetDouble(0, 0, 6, -6.5);
    Edit().SetDecimal(0, 0, 7, qxdb::Decimal(-725, 2));
    Edit().SetBinary(0, 0, 8, bytes);
    Edit().SetTimestamp(0, 0, 9, qxdb::Timestamp("1999-12-31 03:04:05.000"));
    Edit().SetLobData(0, 0, 10, "other preview", "/files/a");
    Edit().SetString(0, 0, 11, "(2, (3))");
    const std::vector<std::string> changed = {"other text, which is longer",
                                              "-1",
                                              "-2",
                                              "-3",
                                              "-4",
                                              "-5.5",
                                              "-6.5",
                                              "-7.25",
                                              "00AB",
                                              "1999-12-31",
                                              "other preview",
                                              "(2, (3))"};
    for (int col = 0; col < 12; ++col)
        EXPECT_EQ(changed[static_cast<std::size_t>(col)], store.AsString(0, 0, col, std::locale::classic()));
    EXPECT_EQ("/files/a", store.GetLobFileName(0, 0, 10));
    Edit().SetLobData(0, 0, 10, "third", qxdb::DynBuffer(), "/files/b");
    EXPECT_EQ("/files/b", store.GetLobFileName(0, 0, 10));
    EXPECT_EQ("/files/b", store.GetLob(0, 0, 10).GetFileName());
    EXPECT_THROW(store.GetLobFileName(0, 0, 0), BadTypeException);
    for (int col = 0; col < 12; ++col)
        Edit().SetEmpty(0, 0, col);
    const std::vector<std::string> empty = {"",  "0",    "0", "0",          "0", "0",
                                            "0", "0.00", "",  "0000-00-00", "",  ""};
    for (int col = 0; col < 12; ++col)
        EXPECT_EQ(empty[static_cast<std::size_t>(col)], store.AsString(0, 0, col, std::locale::classic()));
    // A row that is used again takes the same calls.
    Edit().DeleteRow(0, 0);
    bytes = qxdb::DynBuffer(2, 2);
    insert();
    EXPECT_EQ(1, PhysicalCount());
    for (int col = 0; col < 12; ++col)
        EXPECT_EQ(inserted[static_cast<std::size_t>(col)], store.AsString(0, 0, col, std::locale::classic()));
}

// Text goes into numbers and timestamps whether the row is new or used again.
TEST_F(EditableResultsTest, InsertStringParses) {
    store.AddResultSet(Columns({DataTypeShort, DataTypeInt, DataTypeLong, DataTypeInt64, DataTypeFloat,
                                DataTypeDouble, DataTypeTimestamp, DataTypeDecimal, DataTypeBinary}),
                       ResultSetNormal);
    const std::vector<std::string> texts = {"12abc", "13", "14", "15", "1.5", "2.5", "2024-01-02"};
    const std::vector<std::string> stored = {"12", "13", "14", "15", "1.5", "2.5", "2024-01-02 00:00:00.000"};
    for (int round = 0; round < 3; ++round) {
        for (int col = 0; col < 7; ++col)
            store.InsertString(0, col, texts[static_cast<std::size_t>(col)]);
        EXPECT_THROW(store.InsertString(0, 7, "1"), BadTypeException);
        EXPECT_THROW(store.InsertString(0, 8, "FF"), BadTypeException);
        store.InsertEmpty(0, 7);
        store.InsertEmpty(0, 8);
        const int row = round < 2 ? round : 1;
        for (int col = 0; col < 7; ++col)
            EXPECT_EQ(stored[static_cast<std::size_t>(col)],
                      store.AsString(0, row, col, std::locale::classic()));
        if (round == 1)
            Edit().DeleteRow(0, 0);
    }
    EXPECT_EQ(2, PhysicalCount());
}

// Rows A, B, C; B is deleted, a row inserted at 1.
TEST_F(EditableResultsTest, InsertedRowUsesTheDeletedOneAgain) {
    Fill({"A", "B", "C"});
    Edit().SetNull(0, 1, 1);
    Edit().DeleteRow(0, 1);
    EXPECT_THAT(Texts(store), ElementsAre("A", "C"));
    EXPECT_THAT(PhysicalRows(store), ElementsAre(0, 2));
    Edit().InsertRow(0, 1);
    EXPECT_THAT(PhysicalRows(store), ElementsAre(0, 1, 2));
    EXPECT_EQ(3, PhysicalCount());  // the columns did not grow
    EXPECT_THAT(Texts(store), ElementsAre("A", "", "C"));
    // Its null marks are those that B had.
    EXPECT_FALSE(store.IsNull(0, 1, 0));
    EXPECT_TRUE(store.IsNull(0, 1, 1));
    EXPECT_EQ("[NULL]", store.AsString(0, 1, 1, std::locale::classic()));
    EXPECT_EQ(0, store.GetInt(0, 1, 1));
    Edit().InsertRow(0, 1);
    EXPECT_THAT(PhysicalRows(store), ElementsAre(0, 3, 1, 2));
    EXPECT_FALSE(store.IsNull(0, 1, 1));
}

TEST_F(EditableResultsTest, AppendedRowOverwritesTheDeletedOne) {
    Fill({"A", "B", "C"});
    Edit().SetNull(0, 1, 0);
    Edit().SetNull(0, 1, 1);
    Edit().DeleteRow(0, 1);
    store.InsertString(0, 0, "D");
    // The other columns still have what the deletion left.
    EXPECT_THAT(Texts(store), ElementsAre("A", "C", "D"));
    EXPECT_TRUE(store.IsNull(0, 2, 1));
    store.InsertInt(0, 1, 7);
    EXPECT_THAT(PhysicalRows(store), ElementsAre(0, 2, 1));
    EXPECT_THAT(Texts(store, 1), ElementsAre("0", "2", "7"));
    EXPECT_FALSE(store.IsNull(0, 2, 1));
    Append("E", 8);
    EXPECT_THAT(PhysicalRows(store), ElementsAre(0, 2, 1, 3));
    EXPECT_THAT(Texts(store), ElementsAre("A", "C", "D", "E"));
}

TEST_F(EditableResultsTest, NullsAndEmptyValuesOfRowsUsedAgain) {
    Fill({"A", "B"});
    Edit().DeleteRow(0, 0);
    store.InsertNull(0, 0);
    store.InsertNull(0, 1);
    EXPECT_THAT(Texts(store), ElementsAre("B", "[NULL]"));
    EXPECT_THAT(Texts(store, 1), ElementsAre("1", "[NULL]"));
    EXPECT_THAT(PhysicalRows(store), ElementsAre(1, 0));
    Edit().DeleteRow(0, 1);
    store.InsertEmpty(0, 0);
    store.InsertEmpty(0, 1);
    EXPECT_THAT(Texts(store), ElementsAre("B", ""));
    EXPECT_THAT(Texts(store, 1), ElementsAre("1", "0"));
    store.InsertNull(0, 0);
    store.InsertNull(0, 1);
    EXPECT_THAT(Texts(store), ElementsAre("B", "", "[NULL]"));
    EXPECT_THAT(Texts(store, 1), ElementsAre("1", "0", "[NULL]"));
}

TEST_F(EditableResultsTest, DeletedLastRowIsUsedByTheNext) {
    Fill({"A", "B", "C"});
    Edit().DeleteRow(0, 2);
    Append("D", 9);
    EXPECT_THAT(PhysicalRows(store), ElementsAre(0, 1, 2));
    EXPECT_THAT(Texts(store), ElementsAre("A", "B", "D"));
}

TEST_F(EditableResultsTest, SetLeavesTheNullMarkAlone) {
    Fill({"A"});
    Edit().SetNull(0, 0, 0);
    EXPECT_TRUE(store.IsNull(0, 0, 0));
    EXPECT_EQ("", store.GetString(0, 0, 0));
    Edit().SetString(0, 0, 0, "new");
    EXPECT_TRUE(store.IsNull(0, 0, 0));
    EXPECT_EQ("[NULL]", store.AsString(0, 0, 0, std::locale::classic()));
    EXPECT_EQ("new", store.GetString(0, 0, 0));
    Edit().SetEmpty(0, 0, 0);
    EXPECT_TRUE(store.IsNull(0, 0, 0));
    EXPECT_EQ("", store.GetString(0, 0, 0));
}

TEST_F(EditableResultsTest, InsertedRowComesAtTheEndOfViewsWithAnOrderOfTheirOwn) {
    Fill({"C", "A", "D", "B"});
    DataStorage sorted(store);
    sorted.Sort(0, ascending, nullptr, 0);
    DataStorage filtered(store);
    filtered.HideRow(0, 0);
    sorted.Edit().InsertRow(0, 1);  // at "B", which is logical row 3
    EXPECT_THAT(Texts(store), ElementsAre("C", "A", "D", "", "B"));
    EXPECT_THAT(Texts(sorted), ElementsAre("A", "B", "C", "D", ""));
    EXPECT_THAT(Texts(filtered), ElementsAre("A", "D", "B", ""));
    filtered.Edit().InsertRow(0, 0);
    filtered.Edit().SetString(0, 4, 0, "new");
    EXPECT_THAT(Texts(store), ElementsAre("C", "new", "A", "D", "", "B"));
    EXPECT_THAT(Texts(sorted), ElementsAre("A", "B", "C", "D", "", "new"));
    EXPECT_THAT(Texts(filtered), ElementsAre("A", "D", "B", "", "new"));
    sorted.ReSort(0);
    EXPECT_THAT(Texts(sorted), ElementsAre("", "A", "B", "C", "D", "new"));
}

TEST_F(EditableResultsTest, InsertRowBeyondTheEndAppends) {
    Fill({"A", "B"});
    Edit().InsertRow(0, 2);
    Edit().SetString(0, 2, 0, "end");
    Edit().InsertRow(0, 99);
    Edit().InsertRow(0, -1);
    EXPECT_THAT(Texts(store), ElementsAre("A", "B", "end", "", ""));
    DataStorage sorted(store);
    sorted.Sort(0, ascending, nullptr, 0);
    sorted.Edit().InsertRow(0, 5);
    EXPECT_THAT(PhysicalRows(store), ElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_EQ(6, sorted.GetNumberOfRows(0));
}

TEST_F(EditableResultsTest, InsertRowIntoNothing) {
    store.AddResultSet(Columns({DataTypeString, DataTypeDecimal}), ResultSetNormal);
    store.Sort(0, ascending, nullptr, 0);
    Edit().InsertRow(0, 0);
    EXPECT_THAT(Texts(store), ElementsAre(""));
    EXPECT_THAT(Texts(store, 1), ElementsAre("0"));
}

TEST_F(EditableResultsTest, DeleteRowTakesItOutOfAllViews) {
    Fill({"C", "A", "D", "B"});
    DataStorage sorted(store);
    sorted.Sort(0, descending, nullptr, 0);
    DataStorage filtered(store);
    filtered.HideRow(0, 1);
    sorted.Edit().DeleteRow(0, 1);  // "C"
    EXPECT_THAT(Texts(store), ElementsAre("A", "D", "B"));
    EXPECT_THAT(Texts(sorted), ElementsAre("D", "B", "A"));
    EXPECT_THAT(Texts(filtered), ElementsAre("D", "B"));
    store.Edit().DeleteRow(0, 0);  // "A", which `filtered` hides
    EXPECT_THAT(Texts(sorted), ElementsAre("D", "B"));
    EXPECT_THAT(Texts(filtered), ElementsAre("D", "B"));
    for (const int row : {-1, 2, 99}) {
        Edit().DeleteRow(0, row);
        sorted.Edit().DeleteRow(0, row);
    }
    store.DeleteRow(0, 1);  // the handle's operation is the same
    EXPECT_THAT(Texts(store), ElementsAre("D"));
    EXPECT_THAT(Texts(sorted), ElementsAre("D"));
}

TEST_F(EditableResultsTest, RowsOutOfRangeAreNotSet) {
    Fill({"A", "B"});
    DataStorage sorted(store);
    sorted.Sort(0, ascending, nullptr, 0);
    for (DataStorage* const handle : {&store, &sorted}) {
        for (const int row : {-1, 2, 99}) {
            handle->Edit().SetString(0, row, 0, "x");
            handle->Edit().SetInt(0, row, 1, 5);
            handle->Edit().SetEmpty(0, row, 0);
            handle->Edit().SetNull(0, row, 0);
        }
        EXPECT_THAT(Texts(*handle), ElementsAre("A", "B"));
        EXPECT_THAT(Texts(*handle, 1), ElementsAre("0", "1"));
    }
    EXPECT_THROW(Edit().SetString(1, 0, 0, "x"), std::out_of_range);
    EXPECT_THROW(Edit().SetString(0, 0, 2, "x"), std::out_of_range);
    EXPECT_THROW(Edit().SetString(0, 0, -1, "x"), std::out_of_range);
    EXPECT_THROW(Edit().InsertRow(1, 0), std::out_of_range);
    EXPECT_THROW(Edit().DeleteRow(1, 0), std::out_of_range);
    EXPECT_THROW(Edit().SetInt(0, 0, 0, 5), BadTypeException);
}

TEST_F(EditableResultsTest, HideRowHidesInOneViewOnly) {
    Fill({"A", "B", "C"});
    DataStorage other(store);
    store.HideRow(0, 1);
    EXPECT_THAT(Texts(store), ElementsAre("A", "C"));
    EXPECT_THAT(Texts(other), ElementsAre("A", "B", "C"));
    store.Sort(0, {}, nullptr, 0);
    EXPECT_THAT(Texts(store), ElementsAre("A", "C"));
    DataStorage copy(store);
    EXPECT_THAT(Texts(copy), ElementsAre("A", "C"));
}

// Sorts by empty keys bring back the logical order, which is not that of the physical rows.
TEST_F(EditableResultsTest, EmptyKeysBringTheLogicalOrder) {
    Fill({"B", "C"});
    Edit().InsertRow(0, 0);
    Edit().SetString(0, 0, 0, "A");
    EXPECT_THAT(PhysicalRows(store), ElementsAre(2, 0, 1));
    store.Sort(0, descending, nullptr, 0);
    EXPECT_TRUE(store.IsSorted(0));
    EXPECT_THAT(Texts(store), ElementsAre("C", "B", "A"));
    store.Sort(0, {}, nullptr, 0);
    EXPECT_FALSE(store.IsSorted(0));
    EXPECT_THAT(Texts(store), ElementsAre("A", "B", "C"));
}

TEST_F(EditableResultsTest, SortMapsLogicalRowsToPhysicalOnes) {
    Fill({"d", "b", "a", "c"});
    Edit().DeleteRow(0, 1);
    Edit().InsertRow(0, 0);  // uses the physical row of "b"
    Edit().SetString(0, 0, 0, "e");
    Edit().SetNull(0, 2, 1);
    std::deque<int> tracked = {0, 3};
    store.FlipSort(0, 0, &tracked, 0);
    EXPECT_THAT(Texts(store), ElementsAre("a", "c", "d", "e"));
    EXPECT_THAT(tracked, ElementsAre(3, 1));
    store.FlipSort(0, 0, nullptr, 0);
    EXPECT_THAT(Texts(store), ElementsAre("e", "d", "c", "a"));
    store.Sort(0, {DataSort(1, true), DataSort(0, true)}, nullptr, 0);
    EXPECT_THAT(Texts(store, 1), ElementsAre("[NULL]", "0", "0", "3"));
    EXPECT_THAT(Texts(store), ElementsAre("a", "d", "e", "c"));
    store.FlipSort(0, 0, nullptr, 0);  // was sorted by two keys
    EXPECT_THAT(Texts(store), ElementsAre("a", "c", "d", "e"));
}

// Rows with equal values keep the order in which they stand, wherever their values lie.
TEST_F(EditableResultsTest, EqualRowsKeepTheirLogicalOrder) {
    Fill({"x", "x", "x"});
    Edit().DeleteRow(0, 0);
    Append("x", 9);  // physical row 0, the last row
    store.Sort(0, ascending, nullptr, 0);
    EXPECT_THAT(Texts(store, 1), ElementsAre("1", "2", "9"));
    store.Sort(0, descending, nullptr, 0);
    EXPECT_THAT(Texts(store, 1), ElementsAre("1", "2", "9"));
}

TEST_F(EditableResultsTest, TheSortOptionIsNotPassedOn) {
    Fill({"x10", "x9"});
    store.Sort(0, ascending, nullptr, 1);
    EXPECT_THAT(Texts(store), ElementsAre("x9", "x10"));
    store.FlipSort(0, 0, nullptr, 1);
    EXPECT_THAT(Texts(store), ElementsAre("x10", "x9"));
    EXPECT_GT(store.CompareItems(0, 0, 0, 1), 0);
}

TEST_F(EditableResultsTest, LobsDoNotChangeASort) {
    store.AddResultSet(Columns({DataTypeLob}), ResultSetNormal);
    for (const char* text : {"b", "a", "c"})
        store.InsertLobData(0, 0, text, qxdb::DynBuffer());
    store.Sort(0, ascending, nullptr, 0);
    EXPECT_THAT(Texts(store), ElementsAre("b", "a", "c"));
    store.Sort(0, descending, nullptr, 0);
    EXPECT_THAT(Texts(store), ElementsAre("b", "a", "c"));
}

TEST_F(EditableResultsTest, RowsAreTrackedBetweenViews) {
    Fill({"d", "b", "a", "c"});
    Edit().DeleteRow(0, 0);
    Append("e", 9);  // physical row 0
    DataStorage sorted(store);
    sorted.Sort(0, descending, nullptr, 0);
    sorted.HideRow(0, 1);  // "c"
    std::deque<int> rows = {0, 1, 2, 3};
    store.TrackRearrangedRows(0, sorted, rows);
    EXPECT_THAT(rows, ElementsAre(1, 2, 3, 0));  // behind the end for what is hidden
    rows = {0, 2};
    sorted.TrackRearrangedRows(0, store, rows);
    EXPECT_THAT(rows, ElementsAre(3, 1));
}

TEST_F(EditableResultsTest, FindStringGoesByTheView) {
    Fill({"a", "b", "a"});
    Edit().InsertRow(0, 0);
    EXPECT_EQ(1, store.FindString(0, 0, "a", 0).GetRow());
    EXPECT_EQ(3, store.FindString(0, 0, "a", 2).GetRow());
    EXPECT_EQ(4, store.FindString(0, 0, "c", 0).GetRow());
    EXPECT_EQ(4, store.FindString(0, 0, "a", 99).GetRow());
    EXPECT_EQ(0, store.FindString(0, 0, "", 0).GetRow());
    store.Sort(0, descending, nullptr, 0);
    EXPECT_EQ(0, store.FindString(0, 0, "b", 0).GetRow());
    // Far into a view with an order of its own.
    for (int i = 0; i < 3000; ++i)
        Append("x" + std::to_string(i), i);
    Edit().DeleteRow(0, 5);
    store.Sort(0, {DataSort(1, false)}, nullptr, 0);
    EXPECT_EQ("x7", store.FindString(0, 0, "x7", 0).GetString(0));
    EXPECT_EQ(store.GetNumberOfRows(0), store.FindString(0, 0, "nowhere", 0).GetRow());
}

TEST_F(EditableResultsTest, RowFromIndexGoesToLogicalAndPhysicalRows) {
    Fill({"b", "a"});
    Edit().InsertRow(0, 0);
    Edit().SetString(0, 0, 0, "c");
    store.Sort(0, ascending, nullptr, 0);
    EXPECT_EQ(2, container->GetRowFromIndex(0, 0, 0, false));
    EXPECT_EQ(1, container->GetRowFromIndex(0, 0, 0, true));
    EXPECT_EQ(0, container->GetRowFromIndex(0, 0, 2, false));
    EXPECT_EQ(2, container->GetRowFromIndex(0, 0, 2, true));
    EXPECT_EQ(2, store.GetRowTranslation(0, 2));
}

TEST_F(EditableResultsTest, DeleteColumnKeepsTheNullsOfTheOthers) {
    store.AddResultSet(Columns({DataTypeString, DataTypeInt, DataTypeString}), ResultSetNormal);
    for (int row = 0; row < 3; ++row) {
        store.InsertString(0, 0, std::string(100, 'x'));
        store.InsertInt(0, 1, row);
        store.InsertString(0, 2, "last");
    }
    Edit().SetNull(0, 1, 2);
    store.Sort(0, {DataSort(0, true), DataSort(1, false)}, nullptr, 0);
    const int before = container->cells.CellsInUse();
    store.DeleteColumn(0, 0);
    EXPECT_EQ(2, store.GetNumberOfColumns(0));
    EXPECT_EQ(before - 3 - 2, container->cells.CellsInUse());  // three chains, a slot cell, a directory
    EXPECT_THAT(Texts(store, 1), ElementsAre("last", "[NULL]", "last"));
    store.FlipSort(0, 0, nullptr, 0);  // the other key went on naming its column
    EXPECT_THAT(Texts(store), ElementsAre("0", "1", "2"));
    store.DeleteColumn(0, 7);
    store.DeleteColumn(0, -1);
    EXPECT_EQ(2, store.GetNumberOfColumns(0));
    Edit().InsertRow(0, 0);
    EXPECT_EQ(4, store.GetNumberOfRows(0));
}

TEST_F(EditableResultsTest, CleanUpBeginsAnew) {
    Fill({"A", std::string(1000, 'B')});
    Edit().DeleteRow(0, 0);
    store.Sort(0, ascending, nullptr, 0);
    store.CleanUp();
    EXPECT_EQ(0, store.GetNumberOfResultSets());
    EXPECT_EQ(1u, container->resultSets.size());
    EXPECT_EQ(0, container->cells.CellsInUse());
    Fill({"C"});
    EXPECT_THAT(PhysicalRows(store), ElementsAre(0));
    EXPECT_THAT(Texts(store), ElementsAre("C"));
    EXPECT_FALSE(store.IsSorted(0));
}

TEST_F(EditableResultsTest, NothingIsWrittenToAFile) {
    RefusingFiles files;
    Fill({});
    const std::string text(1000, 'x');
    for (int row = 0; row < 3000; ++row)
        Append(text, row);
    EXPECT_EQ(0, files.operations);
    EXPECT_EQ(text, store.GetString(0, 2999, 0));
}

TEST_F(EditableResultsTest, MemoryOfDeletedValuesComesBack) {
    Fill({});
    const std::string text(1000, 'x');
    for (int row = 0; row < 1000; ++row)
        Append(text, row);
    const int cellsOfRows = container->cells.CellsInUse();
    EXPECT_EQ(1000 * 9 + 125 + 4, cellsOfRows);
    for (int row = 0; row < 1000; ++row)
        Edit().DeleteRow(0, 0);
    EXPECT_EQ(125 + 4, container->cells.CellsInUse());
    for (int row = 0; row < 1000; ++row)
        Append(text, row);
    EXPECT_EQ(cellsOfRows, container->cells.CellsInUse());
}

// Whatever is deleted, the pages are those that the rest needs, and a few more.
TEST_F(EditableResultsTest, PagesOfDeletedValuesGoBack) {
    store.AddResultSet(Columns({DataTypeString, DataTypeDecimal, DataTypeLob, DataTypeBinary}),
                       ResultSetNormal);
    const auto textOf = [](int row) { return std::to_string(row) + std::string(400, 't'); };
    const auto decimalOf = [](int row) {
        return qxdb::Decimal("123456789012345678901234567890." + std::to_string(row + 1));
    };
    constexpr int rows = 6000;
    for (int row = 0; row < rows; ++row) {
        store.InsertString(0, 0, textOf(row));
        store.InsertDecimal(0, 1, decimalOf(row));
        store.InsertLobData(0, 2, textOf(row), qxdb::DynBuffer());
        store.InsertBinary(0, 3, qxdb::DynBuffer(200, 200));
    }
    EXPECT_GT(container->cells.PagesInUse(), 120);
    for (int left = rows; left > rows / 10; --left) {
        Edit().DeleteRow(0, left % 9 * (left / 10));  // from all places
        const int pages = container->cells.DenseEnd() / CellAlloc::kCellsPerPage;
        ASSERT_LE(container->cells.PagesInUse(), pages + pages / 12 + 2);
    }
    EXPECT_LT(container->cells.PagesInUse(), 25);
    const std::vector<int> physical = PhysicalRows(store);
    ASSERT_EQ(600u, physical.size());
    for (int row = 0; row < 600; ++row) {
        const int first = physical[static_cast<std::size_t>(row)];
        ASSERT_EQ(textOf(first), store.GetString(0, row, 0));
        ASSERT_EQ(0, decimalOf(first).Compare(store.GetDecimal(0, row, 1)));
        ASSERT_EQ(textOf(first), store.GetString(0, row, 2));
        ASSERT_EQ(std::string(400, '0'), store.GetString(0, row, 3));
    }
    // Values that become shorter count as well.
    for (int row = 0; row < 600; ++row)
        Edit().SetString(0, row, 0, "short");
    for (int row = 0; row < 600; ++row)
        Edit().SetNull(0, row, 2);
    store.DeleteColumn(0, 3);
    EXPECT_LT(container->cells.PagesInUse(), 10);
    EXPECT_EQ("short", store.GetString(0, 599, 0));
}

// Memory refused while cells are moved together: the edit is done, and nothing is lost.
TEST(EditableResultsFaultTest, RefusedMemoryWhileCellsMove) {
    const std::string text(1000, 't');
    for (int n = 0; n < 3; ++n) {
        DataStorage store = DataStorage::CreateResultsStorage(true);
        store.AddResultSet(Columns({DataTypeString}), ResultSetNormal);
        for (int row = 0; row < 3000; ++row)
            store.InsertString(0, 0, text + std::to_string(row));
        // The lowest pages go, so moving down asks for new ones.
        for (int row = 0; row < 1500; ++row) {
            RefusedMemory refused(n);
            store.Edit().DeleteRow(0, 0);
        }
        ASSERT_EQ(1500, store.GetNumberOfRows(0));
        for (int row = 0; row < 1500; ++row)
            ASSERT_EQ(text + std::to_string(row + 1500), store.GetString(0, row, 0));
    }
}

// A value that a column does not take leaves no row, or a row that the next one completes.
TEST_F(EditableResultsTest, UnfinishedRows) {
    Fill({"A"});
    DataStorage sorted(store);
    sorted.Sort(0, ascending, nullptr, 0);
    EXPECT_THROW(store.InsertInt(0, 0, 5), BadTypeException);
    EXPECT_EQ(1, store.GetNumberOfRows(0));
    EXPECT_EQ(1, sorted.GetNumberOfRows(0));
    store.InsertString(0, 0, "B");
    EXPECT_THROW(store.InsertDouble(0, 1, 5), BadTypeException);
    Append("C", 7);
    EXPECT_THAT(Texts(store), ElementsAre("A", "B", "C"));
    EXPECT_THAT(Texts(store, 1), ElementsAre("0", "0", "7"));
    // So it is when the row was used again.
    Edit().DeleteRow(0, 1);
    EXPECT_THROW(store.InsertInt(0, 0, 5), BadTypeException);
    EXPECT_EQ(2, store.GetNumberOfRows(0));
    EXPECT_EQ(2, sorted.GetNumberOfRows(0));
    store.InsertString(0, 0, "D");
    Append("E", 8);
    EXPECT_THAT(PhysicalRows(store), ElementsAre(0, 2, 1, 3));
    EXPECT_THAT(Texts(store, 1), ElementsAre("0", "7", "0", "8"));
}

// An edit between the cells of a row that is being written.
TEST_F(EditableResultsTest, EditsWithinARow) {
    Fill({"A"});
    const std::vector<std::function<void()>> edits = {
        [this] { Edit().SetInt(0, 1, 1, 5); }, [this] { Edit().SetNull(0, 0, 0); },
        [this] { Edit().InsertRow(0, 0); },    [this] { Edit().DeleteRow(0, 0); },
        [this] { store.DeleteColumn(0, 9); },
    };
    int number = 10;
    for (const std::function<void()>& edit : edits) {
        store.InsertString(0, 0, "row");
        edit();
        store.InsertInt(0, 1, number);
        const int last = store.GetNumberOfRows(0) - 1;
        EXPECT_EQ("row", store.GetString(0, last, 0));
        EXPECT_EQ(number, store.GetInt(0, last, 1));
        ++number;
    }
    Append("end", 99);
    EXPECT_EQ(99, store.GetInt(0, store.GetNumberOfRows(0) - 1, 1));
}

// Every request for memory of each operation is refused once: the rows stay what they are.
TEST(EditableResultsFaultTest, RefusedMemory) {
    const std::string text(300, 't');
    const std::vector<std::function<void(DataStorage&)>> operations = {
        [&](DataStorage& store) { store.InsertString(0, 0, text); },
        [&](DataStorage& store) { store.Edit().InsertRow(0, 3); },
        [&](DataStorage& store) { store.Edit().DeleteRow(0, 3); },
        [&](DataStorage& store) { store.HideRow(0, 3); },
        [&](DataStorage& store) { store.Sort(0, descending, nullptr, 0); },
    };
    for (std::size_t operation = 0; operation < operations.size(); ++operation) {
        bool reached = true;
        for (int n = 0; reached; ++n) {
            DataStorage store = DataStorage::CreateResultsStorage(true);
            store.AddResultSet(Columns({DataTypeString, DataTypeDecimal, DataTypeInt}), ResultSetNormal);
            DataStorage sorted(store);
            for (int row = 0; row < 256; ++row) {  // the next row needs cells, chunks and a word
                store.InsertString(0, 0, "row " + std::to_string(row));
                store.InsertDecimal(0, 1, qxdb::Decimal(row, 0));
                store.InsertInt(0, 2, row);
                if (row == 0)
                    sorted.Sort(0, descending, nullptr, 0);
            }
            const std::vector<std::string> before = Texts(store);
            const std::vector<std::string> sortedBefore = Texts(sorted);
            bool thrown = false;
            {
                RefusedMemory refused(n);
                try {
                    operations[operation](store);
                } catch (const std::bad_alloc&) {
                    thrown = true;
                }
                reached = refused.WasReached();
            }
            if (thrown) {
                ASSERT_EQ(before, Texts(store)) << operation << " " << n;
                ASSERT_EQ(sortedBefore, Texts(sorted)) << operation << " " << n;
            }
            // And all goes on.
            store.InsertString(0, 0, "new");
            store.InsertDecimal(0, 1, qxdb::Decimal(-1, 0));
            store.InsertInt(0, 2, -1);
            const int last = store.GetNumberOfRows(0) - 1;
            ASSERT_EQ("new", store.GetString(0, last, 0)) << operation << " " << n;
            ASSERT_EQ("-1", store.AsString(0, last, 1, std::locale::classic()));
            ASSERT_EQ(-1, store.GetInt(0, last, 2));
            ASSERT_EQ("new", store.GetString(0, store.FindString(0, 0, "new", 0).GetRow(), 0));
        }
    }
}

TEST_F(EditableResultsTest, ReadsGiveUpAfterTheirTime) {
    Fill({"A"});
    EXPECT_EQ(5000, container->readLimitMs);
}

// A reader in sequence shows the view, though its rows are not where it would look for them.
TEST_F(EditableResultsTest, RowReaderFollowsTheView) {
    Fill({});
    for (int row = 0; row < 500; ++row)
        Append("r" + std::to_string(row), row);
    for (int row = 0; row < 100; ++row)
        Edit().DeleteRow(0, row);
    for (int row = 0; row < 50; ++row)
        Edit().InsertRow(0, 7);
    store.Sort(0, {DataSort(1, false), DataSort(0, true)}, nullptr, 0);
    class Sink : public CellSink {
      public:
        void OnCell(int, bool, std::string_view text) override { texts.emplace_back(text); }
        std::vector<std::string> texts;
    } sink;
    RowReader reader(store, 0, {0}, CellFormat::Classic());
    for (int row = 0; row < store.GetNumberOfRows(0); ++row)
        ASSERT_TRUE(reader.Visit(row, sink));
    EXPECT_EQ(Texts(store), sink.texts);
}

}  // namespace
}  // namespace qxdbsqlengine
