#include "storage/data_storage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/qxutils/qx_exception.h"
#include "storage/container_support.h"

namespace qxdbsqlengine {
namespace {

using testing::ElementsAre;

// Tells when it is deleted.
class WatchedContainer : public AppendOnlyResultsStorage {
  public:
    explicit WatchedContainer(int& deletedCount) : deleted(deletedCount) {}
    ~WatchedContainer() override { ++deleted; }

  private:
    int& deleted;
};

template <class Call>
std::string FailureOf(Call call) {
    try {
        call();
    } catch (const qxutils::QXException& failure) {
        return failure.what();
    }
    return "no failure";
}

TEST(DataStorageTest, DefaultHandleHasNoContainer) {
    DataStorage empty;
    empty.CleanUp();
    DataStorage copy(empty);
    copy = empty;
    DataStorage null(nullptr);
    null.CleanUp();
    EXPECT_EQ("The Data Container is not editable", FailureOf([&] { empty.Edit(); }));
}

TEST(DataStorageTest, LastHandleDeletesTheContainer) {
    int deleted = 0;
    {
        DataStorage kept;
        {
            DataStorage first(new WatchedContainer(deleted));
            first.AddResultSet(Columns({DataTypeString}), ResultSetNormal);
            first.InsertString(0, 0, "a");
            DataStorage second(first);
            kept = second;
        }
        EXPECT_EQ(0, deleted);
        EXPECT_THAT(Texts(kept), ElementsAre("a"));
        DataStorage other(new WatchedContainer(deleted));
        kept = other;
        EXPECT_EQ(1, deleted);
        other = DataStorage();
        EXPECT_EQ(1, deleted);
    }
    EXPECT_EQ(2, deleted);
}

TEST(DataStorageTest, AssignmentTakesTheOthersView) {
    DataStorage store = TextStore({"b", "c", "a"});
    store.Sort(0, {DataSort(0, true)}, nullptr, 0);
    DataStorage other = TextStore({"x"});
    other.Sort(0, {DataSort(0, true)}, nullptr, 0);
    other = store;
    EXPECT_THAT(Texts(other), ElementsAre("a", "b", "c"));
    other.HideRow(0, 0);
    EXPECT_THAT(Texts(store), ElementsAre("a", "b", "c"));
    EXPECT_THAT(Texts(other), ElementsAre("b", "c"));
}

TEST(DataStorageTest, CopyKeepsTheDataAndItsOwnOrder) {
    auto first = std::make_unique<DataStorage>(TextStore({"b", "a"}));
    DataStorage second(*first);
    second.Sort(0, {DataSort(0, true)}, nullptr, 0);
    EXPECT_THAT(Texts(*first), ElementsAre("b", "a"));
    first.reset();
    EXPECT_THAT(Texts(second), ElementsAre("a", "b"));
}

TEST(DataStorageTest, CleanUpDropsTheResultSetsOfAllHandles) {
    DataStorage store = TextStore({"b", "a"});
    DataStorage other(store);
    store.CleanUp();
    EXPECT_EQ(0, other.GetNumberOfResultSets());
}

TEST(DataStorageTest, EditableResultsAreEditable) {
    DataStorage store = DataStorage::CreateResultsStorage(true);
    EXPECT_TRUE(store.IsEditable());
    store.AddResultSet(Columns({DataTypeString}), ResultSetNormal);
    store.InsertString(0, 0, "before");
    store.Edit().SetString(0, 0, 0, "after");
    EXPECT_EQ("after", store.GetString(0, 0, 0));
    DataStorage copy(store);
    EXPECT_TRUE(copy.IsEditable());
    copy.Edit().InsertRow(0, 0);
    EXPECT_EQ(2, store.GetNumberOfRows(0));
    copy = DataStorage::CreateResultsStorage(false);
    EXPECT_FALSE(copy.IsEditable());
    EXPECT_FALSE(DataStorage().IsEditable());
}

TEST(DataStorageTest, AppendOnlyResultsAreNotEditable) {
    DataStorage store = DataStorage::CreateResultsStorage(false);
    EXPECT_EQ("The Data Container is not editable", FailureOf([&] { store.Edit(); }));
    DataStorage copy(store);
    EXPECT_EQ("The Data Container is not editable", FailureOf([&] { copy.Edit(); }));
}

class ResolveTest : public testing::Test {
  protected:
    ResolveTest() {
        for (const ResultSetType type :
             {ResultSetMessage, ResultSetNormal, ResultSetNormal, ResultSetMessage, ResultSetStatistics})
            store.AddResultSet(Columns({DataTypeInt}), type);
    }
    DataStorage store = DataStorage::CreateResultsStorage(false);
};

TEST_F(ResolveTest, NumberOfTheNthOfAType) {
    EXPECT_EQ(1, store.ResolveResultSetID(ResultSetNormal, 0));
    EXPECT_EQ(2, store.ResolveResultSetID(ResultSetNormal, 1));
    EXPECT_EQ(0, store.ResolveResultSetID(ResultSetMessage, 0));
    EXPECT_EQ(3, store.ResolveResultSetID(ResultSetMessage, 1));
    EXPECT_EQ(4, store.ResolveResultSetID(ResultSetStatistics, 0));
    EXPECT_EQ(2, store.ResolveResultSetID(1));
}

TEST_F(ResolveTest, FailuresOfNumbers) {
    const std::string wrongIndex = "Invalid ResultSet Index Exception";
    const std::string wrongType = "Invalid ResultSet Type Exception";
    EXPECT_EQ(wrongIndex, FailureOf([&] { store.ResolveResultSetID(ResultSetNormal, 2); }));
    EXPECT_EQ(wrongIndex, FailureOf([&] { store.ResolveResultSetID(ResultSetNormal, -1); }));
    EXPECT_EQ(wrongIndex, FailureOf([&] { store.ResolveResultSetID(ResultSetCompute, 0); }));
    EXPECT_EQ(wrongIndex, FailureOf([&] { store.ResolveResultSetID(2); }));
    EXPECT_EQ(wrongType, FailureOf([&] { store.ResolveResultSetID(static_cast<ResultSetType>(7), 0); }));
    EXPECT_EQ(wrongType, FailureOf([&] { store.ResolveResultSetID(static_cast<ResultSetType>(-1), 0); }));
}

TEST_F(ResolveTest, PlaceAmongThoseOfItsType) {
    const int places[] = {0, 0, 1, 1, 0};
    const ResultSetType types[] = {ResultSetMessage, ResultSetNormal, ResultSetNormal, ResultSetMessage,
                                   ResultSetStatistics};
    for (int id = 0; id < 5; ++id) {
        ResultSetType type = ResultSetCompute;
        EXPECT_EQ(places[id], store.ResolveIndexOfResultSetID(id, type));
        EXPECT_EQ(types[id], type);
        EXPECT_EQ(places[id], store.ResolveIndexOfResultSetID(id));
    }
    // Two blanks, as callers know the text.
    EXPECT_EQ("Invalid ResultSet ID  Exception", FailureOf([&] { store.ResolveIndexOfResultSetID(5); }));
    EXPECT_EQ("Invalid ResultSet ID  Exception", FailureOf([&] { store.ResolveIndexOfResultSetID(-1); }));
}

TEST_F(ResolveTest, CountOfType) {
    EXPECT_EQ(2, store.GetResultSetCountOfType(ResultSetNormal));
    EXPECT_EQ(2, store.GetResultSetCountOfType(ResultSetMessage));
    EXPECT_EQ(1, store.GetResultSetCountOfType(ResultSetStatistics));
    EXPECT_EQ(0, store.GetResultSetCountOfType(ResultSetCompute));
    EXPECT_EQ(0, DataStorage::CreateResultsStorage(false).GetResultSetCountOfType(ResultSetNormal));
}

TEST(DataStorageTest, FindStringGivesAnIterator) {
    DataStorage store = TextStore({"a", "b", "c"});
    EXPECT_EQ(1, store.FindString(0, 0, "b", 0).GetRow());
    EXPECT_TRUE(store.FindString(0, 0, "b", 2) == store.GetRowEnd(0));
    EXPECT_TRUE(store.FindString(0, 0, "x", 0) == store.GetRowEnd(0));
}

TEST(DataStorageTest, HandleForwardsToItsView) {
    DataStorage store = DataStorage::CreateResultsStorage(false);
    std::vector<ColumnDefinition> definitions = {Column(DataTypeString, "name"),
                                                 Column(DataTypeDouble, "x", 4)};
    definitions[1].nativeDataType = 8;
    EXPECT_EQ(0, store.AddResultSet(definitions, ResultSetExplainPlan));
    RowLock lock = store.GetRowLock(0);
    EXPECT_TRUE(lock.Lock());
    store.InsertString(0, 0, "b");
    store.InsertDouble(0, 1, 2.5);
    EXPECT_TRUE(lock.UnLock());
    store.InsertEmpty(0, 0);
    store.InsertNull(0, 1);
    EXPECT_EQ(1, store.GetNumberOfResultSets());
    EXPECT_EQ(2, store.GetNumberOfColumns(0));
    EXPECT_EQ(ResultSetExplainPlan, store.GetResultSetType(0));
    EXPECT_EQ("name", store.GetColumnLabel(0, 0));
    EXPECT_EQ(1, store.FindColumnLabel(0, "X"));
    EXPECT_EQ(4, store.GetPrecision(0, 1));
    store.SetPrecision(0, 1, 6);
    EXPECT_EQ(6, store.GetPrecision(0, 1));
    EXPECT_EQ(8, store.GetNativeDataType(0, 1));
    store.SetNativeDataType(0, 1, 9);
    EXPECT_EQ(9, store.GetNativeDataType(0, 1));
    store.SetNativeDataTypeName(0, 1, "REAL");
    EXPECT_EQ("REAL", store.GetNativeDataTypeName(0, 1));
    EXPECT_EQ(AlignRight, store.GetAlignHint(0, 1));
    EXPECT_EQ(DataTypeDouble, store.GetDataType(0, 1));
    store.Sort(0, {DataSort(0, true)}, nullptr, 0);
    EXPECT_EQ("b", store.GetString(0, 1, 0));
    EXPECT_EQ(2.5, store.GetDouble(0, 1, 1));
    EXPECT_TRUE(store.IsNull(0, 0, 1));
    EXPECT_EQ("[NULL]", store.AsString(0, 0, 1, std::locale::classic()));
    EXPECT_EQ(1, store.GetRowTranslation(0, 0));
    EXPECT_GT(store.CompareItems(0, 0, 1, 0), 0);
    EXPECT_TRUE(store.IsSorted(0));
    store.SetTagName(0, "tag");
    store.SetTableName(0, "table");
    EXPECT_EQ("tag", store.GetTagName(0));
    EXPECT_EQ("table", store.GetTableName(0));
    EXPECT_FALSE(store.GetUseLobLocators(0, 0));
    EXPECT_EQ("", store.GetLobFileName(0, 0, 0));
    EXPECT_EQ(nullptr, store.GetDataTimeFormat(0, 0));
    class Sink : public CellSink {
      public:
        void OnCell(int, bool isNull, std::string_view text) override {
            all += std::string(text) + (isNull ? "!" : ";");
        }
        std::string all;
    } sink;
    const int columns[] = {1, 0};
    EXPECT_TRUE(store.VisitRow(0, 0, columns, 2, CellFormat::Classic(), sink));
    EXPECT_TRUE(store.VisitRow(0, 1, columns, 2, CellFormat::Classic(), sink));
    EXPECT_EQ("[NULL]!;2.5;b;", sink.all);
    store.DeleteColumn(0, 0);
    EXPECT_EQ(1, store.GetNumberOfColumns(0));
    store.DeleteRow(0, 0);
    EXPECT_EQ(1, store.GetNumberOfRows(0));
}

}  // namespace
}  // namespace qxdbsqlengine
