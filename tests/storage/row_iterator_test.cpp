#include "storage/row_iterator.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "platform/os/user_locale.h"
#include "storage/container_support.h"

namespace qxdbsqlengine {
namespace {

TEST(RowIteratorTest, WalksTheViewInItsOrder) {
    DataStorage store = TextStore({"b", "c", "a"});
    store.Sort(0, {DataSort(0, true)}, nullptr, 0);
    std::string all;
    for (RowIterator row = store.GetRowIterator(0, 0); row != store.GetRowEnd(0); ++row)
        all += row.GetString(0);
    EXPECT_EQ("abc", all);
}

TEST(RowIteratorTest, EndIsASnapshot) {
    DataStorage store = TextStore({"a"});
    const RowIterator end = store.GetRowEnd(0);
    store.InsertString(0, 0, "b");
    EXPECT_EQ(1, end.GetRow());
    EXPECT_EQ(2, store.GetRowEnd(0).GetRow());
}

TEST(RowIteratorTest, MovesAndCompares) {
    DataStorage store = TextStore({"a", "b", "c", "d"});
    RowIterator row = store.GetRowIterator(0, 1);
    EXPECT_EQ(1, (row++).GetRow());
    EXPECT_EQ(2, row.GetRow());
    EXPECT_EQ(3, (++row).GetRow());
    EXPECT_EQ(3, (row--).GetRow());
    EXPECT_EQ(1, (--row).GetRow());
    EXPECT_EQ(3, (row += 2).GetRow());
    EXPECT_EQ(0, (row -= 3).GetRow());
    EXPECT_EQ(-4, row - store.GetRowEnd(0));
    RowIterator same(row);
    EXPECT_TRUE(row == same);
    EXPECT_FALSE(row != same);
    ++same;
    EXPECT_FALSE(row == same);
    EXPECT_TRUE(row != same);
}

TEST(RowIteratorTest, EqualityKnowsResultSetAndHandle) {
    DataStorage store = TextStore({"a"});
    store.AddResultSet(Columns({DataTypeString}), ResultSetNormal);
    DataStorage other(store);
    const RowIterator row = store.GetRowIterator(0, 0);
    EXPECT_FALSE(row == store.GetRowIterator(1, 0));
    EXPECT_FALSE(row == other.GetRowIterator(0, 0));
    EXPECT_TRUE(row == store.GetRowIterator(0, 0));
    // Inequality compares rows alone.
    EXPECT_FALSE(row != store.GetRowIterator(1, 0));
    EXPECT_FALSE(row != other.GetRowIterator(0, 0));
}

TEST(RowIteratorTest, ReadsEveryType) {
    DataStorage store = DataStorage::CreateResultsStorage(false);
    store.AddResultSet(
        Columns({DataTypeString, DataTypeShort, DataTypeInt, DataTypeLong, DataTypeInt64, DataTypeFloat,
                 DataTypeDouble, DataTypeDecimal, DataTypeTimestamp, DataTypeString}),
        ResultSetNormal);
    store.InsertString(0, 0, "text");
    store.InsertShort(0, 1, 1);
    store.InsertInt(0, 2, 2);
    store.InsertLong(0, 3, 3);
    store.InsertInt64(0, 4, 4);
    store.InsertFloat(0, 5, 5.5F);
    store.InsertDouble(0, 6, 6.5);
    store.InsertDecimal(0, 7, qxdb::Decimal("7.5"));
    store.InsertTimestamp(0, 8, qxdb::Timestamp("2024-01-02 03:04:05.000"));
    store.InsertNull(0, 9);
    const RowIterator row = store.GetRowIterator(0, 0);
    EXPECT_EQ("text", row.GetString(0));
    EXPECT_EQ(1, row.GetShort(1));
    EXPECT_EQ(2, row.GetInt(2));
    EXPECT_EQ(3, row.GetLong(3));
    EXPECT_EQ(4, row.GetInt64(4));
    EXPECT_EQ(5.5F, row.GetFloat(5));
    EXPECT_EQ(6.5, row.GetDouble(6));
    EXPECT_EQ(0, row.GetDecimal(7).Compare(qxdb::Decimal("7.5")));
    EXPECT_EQ(qxdb::Timestamp("2024-01-02 03:04:05.000"), row.GetTimestamp(8));
    EXPECT_TRUE(row.IsNull(9));
    EXPECT_FALSE(row.IsNull(0));
    EXPECT_EQ("[NULL]", row.AsPlainString(9));
    EXPECT_EQ("5.5", row.AsPlainString(5));
    EXPECT_EQ("2024-01-02 03:04:05.000", row.AsPlainString(8));
}

// Numbers in threes, as in many languages.
class Grouping : public std::numpunct<char> {
  protected:
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(FormatIteratorTest, FormattedIsInTheUsersLocale) {
    DataStorage store = DataStorage::CreateResultsStorage(false);
    store.AddResultSet(Columns({DataTypeInt, DataTypeInt}), ResultSetNormal);
    store.InsertInt(0, 0, 1234567);
    store.InsertNull(0, 1);
    FormatIterator row(&store, 0, 0);
    EXPECT_EQ("1234567", row.AsString(0, false));
    std::locale& user = FormatIterator::GetLocale();
    const std::locale before = user;
    user = std::locale(before, new Grouping);
    EXPECT_EQ("1.234.567", row.AsString(0, true));
    EXPECT_EQ("1234567", row.AsString(0, false));
    EXPECT_EQ("[NULL]", row.AsString(1, true));
    user = before;
}

TEST(FormatIteratorTest, IsMadeFromARowIterator) {
    DataStorage store = TextStore({"a", "b"});
    const RowIterator second = store.GetRowIterator(0, 1);
    FormatIterator row(second);
    EXPECT_EQ("b", row.AsString(0, true));
    FormatIterator first(&store, 0, 0);
    EXPECT_EQ("a", first.AsString(0, true));
    first = second;
    EXPECT_EQ("b", first.AsString(0, true));
    FormatIterator copy(first);
    copy = row;
    EXPECT_TRUE(copy == row);
}

TEST(FormatIteratorTest, LocaleIsTheUsersOrTheClassicOne) {
    std::string expected;
    try {
        expected = std::locale(qxos::UserLocaleName()).name();
    } catch (const std::runtime_error&) {
        expected = std::locale::classic().name();
    }
    std::vector<std::thread> threads;
    std::vector<std::locale*> locales(4, nullptr);
    for (std::locale*& locale : locales)
        threads.emplace_back([&locale] { locale = &FormatIterator::GetLocale(); });
    for (std::thread& thread : threads)
        thread.join();
    for (const std::locale* locale : locales)
        EXPECT_EQ(&FormatIterator::GetLocale(), locale);
    EXPECT_EQ(expected, FormatIterator::GetLocale().name());
}

}  // namespace
}  // namespace qxdbsqlengine
