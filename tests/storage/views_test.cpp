#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <stdexcept>

#include "storage/container_support.h"

namespace qxdbsqlengine {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::vector<DataSort> ascending = {DataSort(0, true)};
const std::vector<DataSort> descending = {DataSort(0, false)};

TEST(ViewsTest, SortedViewTakesNewRowsAtItsEndUntilReSort) {
    DataStorage store = TextStore({"c", "a"});
    store.Sort(0, ascending, nullptr, 0);
    store.InsertString(0, 0, "d");
    store.InsertString(0, 0, "b");
    EXPECT_THAT(Texts(store), ElementsAre("a", "c", "d", "b"));
    store.ReSort(0);
    EXPECT_THAT(Texts(store), ElementsAre("a", "b", "c", "d"));
}

TEST(ViewsTest, ReSortOfAViewThatWasNeverSortedDoesNothing) {
    DataStorage store = TextStore({"c", "a"});
    store.ReSort(0);
    EXPECT_THAT(Texts(store), ElementsAre("c", "a"));
    EXPECT_FALSE(store.IsSorted(0));
}

TEST(ViewsTest, ReSortOfAViewThatOnlyHidesBringsArrivalOrder) {
    DataStorage store = TextStore({"c", "a", "b"});
    store.HideRow(0, 0);
    store.ReSort(0);
    EXPECT_THAT(Texts(store), ElementsAre("a", "b"));
}

TEST(ViewsTest, EmptyKeysBringArrivalOrderOfTheRowsOfTheView) {
    DataStorage store = TextStore({"c", "a", "b", "d"});
    store.Sort(0, descending, nullptr, 0);
    EXPECT_TRUE(store.IsSorted(0));
    store.HideRow(0, 0);  // d
    store.HideRow(0, 2);  // a
    store.Sort(0, {}, nullptr, 0);
    EXPECT_FALSE(store.IsSorted(0));
    EXPECT_THAT(Texts(store), ElementsAre("c", "b"));
}

TEST(ViewsTest, EmptyKeysOnAnUntouchedView) {
    DataStorage store = TextStore({"b", "a"});
    store.Sort(0, {}, nullptr, 0);
    EXPECT_THAT(Texts(store), ElementsAre("b", "a"));
    store.Sort(0, {}, nullptr, 1);
    EXPECT_THAT(Texts(store), ElementsAre("b", "a"));
}

TEST(ViewsTest, SortOfNoRows) {
    DataStorage store = TextStore({});
    std::deque<int> tracked = {0};
    store.Sort(0, ascending, nullptr, 0);
    store.Sort(0, ascending, nullptr, 1);
    EXPECT_THAT(Texts(store), IsEmpty());
    store.InsertString(0, 0, "b");
    store.InsertString(0, 0, "a");
    EXPECT_THAT(Texts(store), ElementsAre("b", "a"));
}

TEST(ViewsTest, FlipSortAlternates) {
    DataStorage store = TextStore({"b", "a", "c"});
    store.FlipSort(0, 0, nullptr, 0);
    EXPECT_THAT(Texts(store), ElementsAre("a", "b", "c"));
    store.FlipSort(0, 0, nullptr, 0);
    EXPECT_THAT(Texts(store), ElementsAre("c", "b", "a"));
    store.FlipSort(0, 0, nullptr, 0);
    EXPECT_THAT(Texts(store), ElementsAre("a", "b", "c"));
}

TEST(ViewsTest, FlipSortOfTwoKeysOrAnotherColumnAscends) {
    DataStorage store = DataStorage::CreateResultsStorage(false);
    store.AddResultSet(Columns({DataTypeString, DataTypeInt}), ResultSetNormal);
    for (int row = 0; row < 4; ++row) {
        store.InsertString(0, 0, std::string(1, static_cast<char>('a' + row)));
        store.InsertInt(0, 1, -row);
    }
    store.Sort(0, {DataSort(0, true), DataSort(1, true)}, nullptr, 0);
    store.FlipSort(0, 0, nullptr, 0);
    EXPECT_THAT(Texts(store), ElementsAre("a", "b", "c", "d"));
    store.FlipSort(0, 0, nullptr, 0);
    EXPECT_THAT(Texts(store), ElementsAre("d", "c", "b", "a"));
    store.FlipSort(0, 1, nullptr, 0);
    EXPECT_THAT(Texts(store, 1), ElementsAre("-3", "-2", "-1", "0"));
    store.FlipSort(0, 0, nullptr, 0);
    EXPECT_THAT(Texts(store), ElementsAre("a", "b", "c", "d"));
}

TEST(ViewsTest, HiddenRowsAreGoneInOneViewOnly) {
    DataStorage store = TextStore({"a", "b", "c"});
    DataStorage other(store);
    store.HideRow(0, 1);
    EXPECT_THAT(Texts(store), ElementsAre("a", "c"));
    EXPECT_EQ(2, store.GetNumberOfRows(0));
    EXPECT_THAT(Texts(other), ElementsAre("a", "b", "c"));
    EXPECT_EQ(3, other.GetNumberOfRows(0));
    store.HideRow(0, 2);
    store.HideRow(0, -1);
    EXPECT_EQ(2, store.GetNumberOfRows(0));
    store.DeleteRow(0, 0);
    EXPECT_THAT(Texts(store), ElementsAre("c"));
    store.InsertString(0, 0, "d");
    EXPECT_THAT(Texts(store), ElementsAre("c", "d"));
    EXPECT_THAT(Texts(other), ElementsAre("a", "b", "c", "d"));
}

TEST(ViewsTest, CopyBeginsWithTheOrderAndHiddenRowsOfItsSource) {
    DataStorage store = TextStore({"b", "d", "a", "c"});
    store.Sort(0, descending, nullptr, 0);
    store.HideRow(0, 1);
    DataStorage copy(store);
    EXPECT_THAT(Texts(copy), ElementsAre("d", "b", "a"));
    EXPECT_TRUE(copy.IsSorted(0));
    copy.FlipSort(0, 0, nullptr, 0);  // the keys were copied too
    EXPECT_THAT(Texts(copy), ElementsAre("a", "b", "d"));
    EXPECT_THAT(Texts(store), ElementsAre("d", "b", "a"));
    store.InsertString(0, 0, "e");
    EXPECT_THAT(Texts(copy), ElementsAre("a", "b", "d", "e"));
}

TEST(ViewsTest, ViewsOfResultSetsAreIndependent) {
    DataStorage store = TextStore({"b", "a"});
    store.AddResultSet(Columns({DataTypeString}), ResultSetNormal);
    store.InsertString(1, 0, "z");
    store.InsertString(1, 0, "y");
    store.Sort(0, ascending, nullptr, 0);
    EXPECT_THAT(Texts(store, 0, 1), ElementsAre("z", "y"));
    EXPECT_FALSE(store.IsSorted(1));
    store.Sort(1, ascending, nullptr, 0);
    EXPECT_THAT(Texts(store, 0, 1), ElementsAre("y", "z"));
    EXPECT_THAT(Texts(store), ElementsAre("a", "b"));
}

TEST(ViewsTest, TrackedRowsFollowTheSort) {
    DataStorage store = TextStore({"c", "a", "d", "b"});
    std::deque<int> rows = {0, 2, 2, 3};
    store.Sort(0, ascending, &rows, 0);
    EXPECT_THAT(rows, ElementsAre(2, 3, 3, 1));
    store.FlipSort(0, 0, &rows, 0);
    EXPECT_THAT(rows, ElementsAre(1, 0, 0, 2));
    store.Sort(0, {}, &rows, 0);
    EXPECT_THAT(rows, ElementsAre(0, 2, 2, 3));
    std::deque<int> none;
    store.Sort(0, ascending, &none, 0);
    EXPECT_THAT(none, IsEmpty());
}

TEST(ViewsTest, TrackedRowBehindTheEndIsTheFirstPhysicalRow) {
    // A position that a view does not have reads as physical row 0.
    DataStorage store = TextStore({"c", "a"});
    std::deque<int> rows = {7};
    store.Sort(0, ascending, &rows, 0);
    EXPECT_THAT(rows, ElementsAre(1));
}

TEST(ViewsTest, ManyTrackedRows) {
    std::mt19937 random(3);
    std::vector<std::string> texts;
    for (int row = 0; row < 3000; ++row)
        texts.push_back(std::to_string(random() % 100000));
    DataStorage store = TextStore(texts);
    std::deque<int> rows;
    for (int row = 2999; row >= 0; row -= 2)
        rows.push_back(row);
    const std::deque<int> before = rows;
    store.Sort(0, ascending, &rows, 0);
    const std::vector<int> order = PhysicalRows(store);
    for (std::size_t i = 0; i < rows.size(); ++i)
        ASSERT_EQ(before[i], order[static_cast<std::size_t>(rows[i])]);
}

TEST(ViewsTest, TrackRearrangedRowsGoesFromOneViewToAnother) {
    DataStorage plain = TextStore({"c", "a", "d", "b"});
    DataStorage sorted(plain);
    sorted.Sort(0, ascending, nullptr, 0);
    DataStorage reversed(plain);
    reversed.Sort(0, descending, nullptr, 0);
    std::deque<int> rows = {0, 1, 2, 3};
    plain.TrackRearrangedRows(0, sorted, rows);
    EXPECT_THAT(rows, ElementsAre(2, 0, 3, 1));
    sorted.TrackRearrangedRows(0, reversed, rows);
    EXPECT_THAT(rows, ElementsAre(1, 3, 0, 2));
    reversed.TrackRearrangedRows(0, plain, rows);
    EXPECT_THAT(rows, ElementsAre(0, 1, 2, 3));
    reversed.HideRow(0, 0);  // "d", physical row 2
    plain.TrackRearrangedRows(0, reversed, rows);
    EXPECT_THAT(rows, ElementsAre(0, 2, 3, 1));  // 3: the row count, where no such row is shown
}

TEST(ViewsTest, RowTranslation) {
    DataStorage store = TextStore({"c", "a", "b"});
    EXPECT_EQ(1, store.GetRowTranslation(0, 1));
    EXPECT_EQ(99, store.GetRowTranslation(0, 99));
    store.Sort(0, ascending, nullptr, 0);
    EXPECT_THAT(PhysicalRows(store), ElementsAre(1, 2, 0));
    EXPECT_EQ(0, store.GetRowTranslation(0, 99));
    EXPECT_EQ(0, store.GetRowTranslation(0, -1));
}

TEST(ViewsTest, CompareItemsGoesByTheViewsRows) {
    DataStorage store = TextStore({"c", "a"});
    EXPECT_GT(store.CompareItems(0, 0, 0, 1), 0);
    store.Sort(0, ascending, nullptr, 0);
    EXPECT_LT(store.CompareItems(0, 0, 0, 1), 0);
    EXPECT_EQ(0, store.CompareItems(0, 0, 1, 1));
}

TEST(ViewsTest, CompareItemsKeepsToItsStepsWhereSortIsConsistent) {
    DataStorage store = TextStore({"101", "110", "1000"});
    // These three go round in circles; the sort does not.
    EXPECT_LT(store.CompareItems(0, 0, 0, 1), 0);
    EXPECT_LT(store.CompareItems(0, 0, 1, 2), 0);
    EXPECT_LT(store.CompareItems(0, 0, 2, 0), 0);
    std::vector<std::string> texts = {"101", "110", "1000"};
    std::sort(texts.begin(), texts.end());
    do {
        DataStorage any = TextStore(texts);
        any.Sort(0, ascending, nullptr, 0);
        EXPECT_THAT(Texts(any), ElementsAre("101", "110", "1000"));
    } while (std::next_permutation(texts.begin(), texts.end()));
}

TEST(ViewsTest, NullsAreLowest) {
    DataStorage store = DataStorage::CreateResultsStorage(false);
    store.AddResultSet(Columns({DataTypeInt}), ResultSetNormal);
    store.InsertInt(0, 0, 0);
    store.InsertNull(0, 0);
    store.InsertInt(0, 0, -5);
    store.InsertNull(0, 0);
    for (const int option : {0, 1}) {
        store.Sort(0, ascending, nullptr, option);
        EXPECT_THAT(Texts(store), ElementsAre("[NULL]", "[NULL]", "-5", "0"));
        store.Sort(0, descending, nullptr, option);
        EXPECT_THAT(Texts(store), ElementsAre("0", "-5", "[NULL]", "[NULL]"));
    }
}

TEST(ViewsTest, OptionComparesDigitRunsAsFractions) {
    DataStorage store = TextStore({"x2", "x12", "x1", "x007", "x7"});
    store.Sort(0, ascending, nullptr, 0);
    EXPECT_THAT(Texts(store), ElementsAre("x1", "x2", "x007", "x7", "x12"));
    store.Sort(0, ascending, nullptr, 1);
    EXPECT_THAT(Texts(store), ElementsAre("x007", "x1", "x12", "x2", "x7"));
    // A resort by the view's keys has option 0.
    store.ReSort(0);
    EXPECT_THAT(Texts(store), ElementsAre("x1", "x2", "x007", "x7", "x12"));
}

TEST(ViewsTest, SortKeysFollowTheirColumns) {
    DataStorage store = DataStorage::CreateResultsStorage(false);
    store.AddResultSet(Columns({DataTypeInt, DataTypeInt, DataTypeString}), ResultSetNormal);
    const auto insert = [&store](const char* text) {
        store.InsertInt(0, 0, 1);
        store.InsertInt(0, 1, 1);
        store.InsertString(0, 2, text);
    };
    insert("b");
    insert("c");
    store.Sort(0, {DataSort(1, true), DataSort(2, false)}, nullptr, 0);
    store.DeleteColumn(0, 1);
    store.InsertInt(0, 0, 0);
    store.InsertString(0, 1, "d");
    store.ReSort(0);
    EXPECT_THAT(Texts(store, 1), ElementsAre("d", "c", "b"));
    store.DeleteColumn(0, 1);
    EXPECT_FALSE(store.IsSorted(0));
}

TEST(ViewsTest, RefusedSortChangesNothing) {
    DataStorage store = TextStore({"b", "a"});
    std::deque<int> rows = {1};
    store.LockAll();
    EXPECT_THROW(store.Sort(0, ascending, &rows, 0), std::runtime_error);
    store.UnlockAll();
    EXPECT_THROW(store.Sort(0, {DataSort(1, true)}, &rows, 0), std::out_of_range);
    EXPECT_THAT(rows, ElementsAre(1));
    EXPECT_FALSE(store.IsSorted(0));
    EXPECT_THAT(Texts(store), ElementsAre("b", "a"));
}

TEST(ViewsTest, DestroyedViewsLeaveTheOthersAlone) {
    DataStorage store = TextStore({"b", "a"});
    {
        DataStorage sorted(store);
        sorted.Sort(0, ascending, nullptr, 0);
    }
    store.InsertString(0, 0, "c");
    EXPECT_THAT(Texts(store), ElementsAre("b", "a", "c"));
}

}  // namespace
}  // namespace qxdbsqlengine
