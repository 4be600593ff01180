#include "storage/append_only_results_storage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/qxutils/qx_exception.h"
#include "storage/container_support.h"
#include "storage/store_exceptions.h"

namespace qxdbsqlengine {
namespace {

using testing::ElementsAre;

// A locator with a name, as a server column has it.
class NamedLocator : public qxdb::LobLocatorImp {
  public:
    std::unique_ptr<LobLocatorImp> Clone() const override { return std::make_unique<NamedLocator>(); }
    qxdb::DynBuffer GetLocatorData() const override { return qxdb::DynBuffer(); }
    void SetLocatorData(const qxdb::DynBuffer&) override {}
    bool IsValid(bool) const override { return true; }
    bool IsReadOnly() const override { return false; }
    bool EditAsClob() const override { return true; }
    std::string TableName() const override { return "PHOTOS"; }
    void SetAsXMLType() override {}
    void Import(const std::string&, qxdb::Connection&, std::list<std::string>*) override {}
    void Export(const std::string&, qxdb::Connection&, std::list<std::string>*) override {}
};

qxdb::DynBuffer Bytes(const std::string& text) {
    qxdb::DynBuffer buffer;
    buffer.Assign(reinterpret_cast<const unsigned char*>(text.data()),
                  static_cast<unsigned int>(text.size()));
    return buffer;
}

const std::vector<EnumDataType> allTypes = {
    DataTypeString, DataTypeShort,   DataTypeInt,    DataTypeLong,      DataTypeInt64, DataTypeFloat,
    DataTypeDouble, DataTypeDecimal, DataTypeBinary, DataTypeTimestamp, DataTypeLob,   DataTypeNamedType};

class AppendOnlyResultsStorageTest : public testing::Test {
  protected:
    void InsertRowOfAllTypes(int rs) {
        store.InsertString(rs, 0, "text");
        store.InsertShort(rs, 1, -12);
        store.InsertInt(rs, 2, 123456);
        store.InsertLong(rs, 3, 77L);
        store.InsertInt64(rs, 4, 9000000000LL);
        store.InsertFloat(rs, 5, 1.5F);
        store.InsertDouble(rs, 6, 0.1);
        store.InsertDecimal(rs, 7, qxdb::Decimal("12.50"));
        store.InsertBinary(rs, 8, Bytes("\xFF\x01"));
        store.InsertTimestamp(rs, 9, qxdb::Timestamp("2024-02-29 12:34:56.000"));
        store.InsertLobData(rs, 10, "preview", Bytes("locator"));
        store.InsertString(rs, 11, "(1, 2)");
    }

    AppendOnlyResultsStorage store;
    const int view = store.CreateNewIndex();
};

TEST_F(AppendOnlyResultsStorageTest, BeginsWithoutResultSets) {
    EXPECT_EQ(0, store.GetNumberOfResultSets());
    // The place for the first result set is there already: it is empty and not out of range.
    EXPECT_EQ(0, store.GetNumberOfRows(view, 0));
    EXPECT_EQ(0, store.GetNumberOfColumns(0));
    EXPECT_THROW(store.GetNumberOfRows(view, 1), std::out_of_range);
    EXPECT_EQ(0, store.AddResultSet(Columns({DataTypeString}), ResultSetMessage));
    EXPECT_EQ(1, store.GetNumberOfResultSets());
    EXPECT_THROW(store.GetNumberOfRows(view, 1), std::out_of_range);
    EXPECT_EQ(1, store.AddResultSet(Columns({DataTypeInt, DataTypeInt}), ResultSetNormal));
    EXPECT_EQ(2, store.GetNumberOfResultSets());
    EXPECT_EQ(ResultSetMessage, store.GetResultSetType(0));
    EXPECT_EQ(ResultSetNormal, store.GetResultSetType(1));
    EXPECT_EQ(1, store.GetNumberOfColumns(0));
    EXPECT_EQ(2, store.GetNumberOfColumns(1));
}

TEST_F(AppendOnlyResultsStorageTest, EveryTypeIsStoredAndRead) {
    ASSERT_EQ(0, store.AddResultSet(Columns(allTypes), ResultSetNormal));
    InsertRowOfAllTypes(0);
    ASSERT_EQ(1, store.GetNumberOfRows(view, 0));
    for (int col = 0; col < 12; ++col)
        EXPECT_EQ(allTypes[static_cast<std::size_t>(col)], store.GetDataType(0, col)) << col;
    EXPECT_EQ("text", store.GetString(view, 0, 0, 0));
    EXPECT_EQ(-12, store.GetShort(view, 0, 0, 1));
    EXPECT_EQ(123456, store.GetInt(view, 0, 0, 2));
    EXPECT_EQ(77L, store.GetLong(view, 0, 0, 3));
    EXPECT_EQ(9000000000LL, store.GetInt64(view, 0, 0, 4));
    EXPECT_EQ(1.5F, store.GetFloat(view, 0, 0, 5));
    EXPECT_EQ(0.1, store.GetDouble(view, 0, 0, 6));
    EXPECT_EQ(0, store.GetDecimal(view, 0, 0, 7).Compare(qxdb::Decimal("12.5")));
    EXPECT_EQ("FF01", store.GetString(view, 0, 0, 8));
    EXPECT_THROW(store.GetBinary(view, 0, 0, 8), BadTypeException);
    EXPECT_EQ(qxdb::Timestamp("2024-02-29 12:34:56.000"), store.GetTimestamp(view, 0, 0, 9));
    EXPECT_EQ("preview", store.GetString(view, 0, 0, 10));
    EXPECT_EQ("(1, 2)", store.GetString(view, 0, 0, 11));
    const char* const texts[] = {"text", "-12",   "123456", "77",    "9000000000", "1.5",
                                 "0.1",  "12.50", "FF01",   nullptr, "preview",    "(1, 2)"};
    for (int col = 0; col < 12; ++col) {
        if (col == 7 || col == 9)
            continue;
        EXPECT_EQ(texts[col], store.AsString(view, 0, 0, col, std::locale::classic())) << col;
    }
    EXPECT_EQ("2024-02-29 12:34:56.000", store.AsString(view, 0, 0, 9, std::locale::classic()));
    EXPECT_EQ(AlignLeft, store.GetAlignHint(0, 0));
    EXPECT_EQ(AlignRight, store.GetAlignHint(0, 7));
}

TEST_F(AppendOnlyResultsStorageTest, DefinitionsReachTheirColumns) {
    std::vector<ColumnDefinition> definitions = {
        Column(DataTypeDecimal, "Price", 2), Column(DataTypeFloat, "f", 3), Column(DataTypeDouble, "d", 0),
        Column(DataTypeTimestamp, "when")};
    definitions[0].nativeDataType = 17;
    definitions[0].nativeDataTypeName = "NUMERIC";
    definitions[3].timestampFormat = "yyyy-MM-dd";
    store.AddResultSet(definitions, ResultSetNormal);
    EXPECT_EQ(2, store.GetPrecision(0, 0));
    EXPECT_EQ(3, store.GetPrecision(0, 1));
    EXPECT_EQ(15, store.GetPrecision(0, 2));
    EXPECT_EQ(0, store.GetPrecision(0, 3));
    EXPECT_EQ("Price", store.GetColumnLabel(0, 0));
    EXPECT_EQ(17, store.GetNativeDataType(0, 0));
    EXPECT_EQ("NUMERIC", store.GetNativeDataTypeName(0, 0));
    EXPECT_EQ(-1, store.GetNativeDataType(0, 1));
    EXPECT_EQ(nullptr, store.GetDataTimeFormat(view, 0, 0));
    EXPECT_STREQ("yyyy-MM-dd", store.GetDataTimeFormat(view, 0, 3));
    store.SetPrecision(0, 0, 4);
    store.SetNativeDataType(0, 0, 99);
    store.SetNativeDataTypeName(0, 0, "MONEY");
    EXPECT_EQ(4, store.GetPrecision(0, 0));
    EXPECT_EQ(99, store.GetNativeDataType(0, 0));
    EXPECT_EQ("MONEY", store.GetNativeDataTypeName(0, 0));
}

TEST_F(AppendOnlyResultsStorageTest, UnknownDataTypeGivesMinusOneAndKeepsTheColumnsBefore) {
    std::vector<ColumnDefinition> definitions =
        Columns({DataTypeInt, static_cast<EnumDataType>(12), DataTypeInt});
    EXPECT_EQ(-1, store.AddResultSet(definitions, ResultSetNormal));
    EXPECT_EQ(1, store.GetNumberOfColumns(0));
    EXPECT_EQ(-1, store.AddResultSet(Columns({static_cast<EnumDataType>(-1)}), ResultSetNormal));
    EXPECT_EQ(0, store.GetNumberOfColumns(1));
    EXPECT_EQ(2, store.AddResultSet(Columns({DataTypeInt}), ResultSetNormal));
}

TEST_F(AppendOnlyResultsStorageTest, FirstColumnOpensTheRow) {
    store.AddResultSet(Columns({DataTypeString, DataTypeString}), ResultSetNormal);
    store.InsertString(0, 0, "a");
    EXPECT_EQ(1, store.GetNumberOfRows(view, 0));
    EXPECT_EQ("", store.GetString(view, 0, 0, 1));
    store.InsertString(0, 1, "b");
    EXPECT_EQ(1, store.GetNumberOfRows(view, 0));
    EXPECT_EQ("b", store.GetString(view, 0, 0, 1));
}

TEST_F(AppendOnlyResultsStorageTest, NullIsAnEmptyValueWithAMark) {
    store.AddResultSet(Columns(allTypes), ResultSetNormal);
    for (int col = 0; col < 12; ++col)
        store.InsertNull(0, col);
    for (int col = 0; col < 12; ++col)
        store.InsertEmpty(0, col);
    InsertRowOfAllTypes(0);
    for (int col = 0; col < 12; ++col) {
        EXPECT_TRUE(store.IsNull(view, 0, 0, col)) << col;
        EXPECT_EQ("[NULL]", store.AsString(view, 0, 0, col, std::locale::classic())) << col;
        EXPECT_FALSE(store.IsNull(view, 0, 1, col)) << col;
        EXPECT_FALSE(store.IsNull(view, 0, 2, col)) << col;
    }
    EXPECT_EQ("", store.GetString(view, 0, 0, 0));
    EXPECT_EQ(0, store.GetInt(view, 0, 0, 2));
    EXPECT_EQ(qxdb::Timestamp(), store.GetTimestamp(view, 0, 0, 9));
    EXPECT_EQ("", store.AsString(view, 0, 1, 0, std::locale::classic()));
    EXPECT_EQ("0", store.AsString(view, 0, 1, 2, std::locale::classic()));
    EXPECT_EQ("text", store.GetString(view, 0, 2, 0));
}

TEST_F(AppendOnlyResultsStorageTest, WrongTypeGoesThroughToTheCaller) {
    store.AddResultSet(Columns({DataTypeShort}), ResultSetNormal);
    store.InsertShort(0, 0, 5);
    try {
        store.GetInt(view, 0, 0, 0);
        FAIL() << "a short was read as an int";
    } catch (const qxutils::QXException& failure) {
        EXPECT_STREQ("Wrong Type Exception", failure.what());
    }
    EXPECT_THROW(store.InsertInt(0, 0, 5), BadTypeException);
    EXPECT_EQ(1, store.GetNumberOfRows(view, 0));
    // The lock is free again.
    EXPECT_EQ(5, store.GetShort(view, 0, 0, 0));
}

TEST_F(AppendOnlyResultsStorageTest, NumbersOutOfRangeThrow) {
    store.AddResultSet(Columns({DataTypeString}), ResultSetNormal);
    store.InsertString(0, 0, "a");
    const std::locale& classic = std::locale::classic();
    std::locale locale = classic;
    for (const int bad : {-1, 1, 1000}) {
        EXPECT_THROW(store.GetResultSetType(bad), std::out_of_range);
        EXPECT_THROW(store.GetNumberOfColumns(bad), std::out_of_range);
        EXPECT_THROW(store.GetTagName(bad), std::out_of_range);
        EXPECT_THROW(store.SetTagName(bad, ""), std::out_of_range);
        EXPECT_THROW(store.GetDataType(bad, 0), std::out_of_range);
        EXPECT_THROW(store.GetDataType(0, bad), std::out_of_range);
        EXPECT_THROW(store.GetString(view, 0, 0, bad), std::out_of_range);
        EXPECT_THROW(store.GetString(view, bad, 0, 0), std::out_of_range);
        EXPECT_THROW(store.IsNull(view, 0, 0, bad), std::out_of_range);
        EXPECT_THROW(store.AsString(view, 0, 0, bad, classic), std::out_of_range);
        EXPECT_THROW(store.InsertString(0, bad, "x"), std::out_of_range);
        EXPECT_THROW(store.InsertString(bad, 0, "x"), std::out_of_range);
        EXPECT_THROW(store.InsertNull(0, bad), std::out_of_range);
        EXPECT_THROW(store.HideRow(view, bad, 0), std::out_of_range);
        EXPECT_THROW(store.Sort(view, bad, {}, nullptr, 0), std::out_of_range);
        EXPECT_THROW(store.Sort(view, 0, {DataSort(bad, true)}, nullptr, 0), std::out_of_range);
        EXPECT_THROW(store.FindString(view, 0, bad, "a", 0), std::out_of_range);
        EXPECT_THROW(store.CompareItems(view, 0, bad, 0, 0), std::out_of_range);
        EXPECT_THROW(store.DeleteColumn(view, bad, 0), std::out_of_range);
    }
    EXPECT_FALSE(store.IsSorted(view, 0));
    EXPECT_EQ(1, store.GetNumberOfRows(view, 0));
}

TEST_F(AppendOnlyResultsStorageTest, RowsOutOfRangeReadAsEmptyValues) {
    store.AddResultSet(Columns({DataTypeString, DataTypeInt}), ResultSetNormal);
    store.InsertString(0, 0, "a");
    store.InsertNull(0, 1);
    for (const int row : {-1, 1, 100000}) {
        EXPECT_EQ("", store.GetString(view, 0, row, 0));
        EXPECT_EQ(0, store.GetInt(view, 0, row, 1));
        EXPECT_FALSE(store.IsNull(view, 0, row, 1));
    }
}

TEST_F(AppendOnlyResultsStorageTest, FindsColumnLabelsWithoutRegardToCase) {
    store.AddResultSet({Column(DataTypeInt, "id"), Column(DataTypeInt, "Name"), Column(DataTypeInt, "NAME")},
                       ResultSetNormal);
    EXPECT_EQ(1, store.FindColumnLabel(0, "name"));
    EXPECT_EQ(0, store.FindColumnLabel(0, "ID"));
    EXPECT_EQ(-1, store.FindColumnLabel(0, "nam"));
    EXPECT_EQ(-1, store.FindColumnLabel(0, ""));
}

TEST_F(AppendOnlyResultsStorageTest, FindString) {
    store.AddResultSet(Columns({DataTypeString, DataTypeInt}), ResultSetNormal);
    for (const char* text : {"a", "b", "A", "b", "ab"}) {
        store.InsertString(0, 0, text);
        store.InsertInt(0, 1, 0);
    }
    store.InsertNull(0, 0);
    store.InsertInt(0, 1, 0);
    EXPECT_EQ(1, store.FindString(view, 0, 0, "b", 0));
    EXPECT_EQ(1, store.FindString(view, 0, 0, "b", 1));
    EXPECT_EQ(3, store.FindString(view, 0, 0, "b", 2));
    EXPECT_EQ(6, store.FindString(view, 0, 0, "b", 4));
    EXPECT_EQ(6, store.FindString(view, 0, 0, "b", 6));
    EXPECT_EQ(6, store.FindString(view, 0, 0, "b", 1000));
    EXPECT_EQ(1, store.FindString(view, 0, 0, "b", -5));
    EXPECT_EQ(2, store.FindString(view, 0, 0, "A", 0));
    EXPECT_EQ(5, store.FindString(view, 0, 0, "", 0));
    EXPECT_EQ(6, store.FindString(view, 0, 0, "nowhere", 0));
    EXPECT_THROW(store.FindString(view, 0, 1, "0", 0), BadTypeException);
    store.Sort(view, 0, {DataSort(0, false)}, nullptr, 0);
    EXPECT_EQ(0, store.FindString(view, 0, 0, "b", 0));
    EXPECT_EQ(5, store.FindString(view, 0, 0, "", 0));
}

TEST_F(AppendOnlyResultsStorageTest, FindStringGoesByTheViewAlsoFarAway) {
    store.AddResultSet(Columns({DataTypeString}), ResultSetNormal);
    const int rows = 5000;
    for (int row = 0; row < rows; ++row)
        store.InsertString(0, 0, row % 2500 == 0 ? "pin" : "hay" + std::to_string(row));
    store.Sort(view, 0, {DataSort(0, true)}, nullptr, 0);
    EXPECT_EQ(rows - 2, store.FindString(view, 0, 0, "pin", 0));
    EXPECT_EQ(rows - 1, store.FindString(view, 0, 0, "pin", rows - 1));
    EXPECT_EQ(rows, store.FindString(view, 0, 0, "needle", 10));
    store.HideRow(view, 0, rows - 2);
    EXPECT_EQ(rows - 2, store.FindString(view, 0, 0, "pin", 0));
    store.HideRow(view, 0, rows - 2);
    EXPECT_EQ(rows - 2, store.FindString(view, 0, 0, "pin", 0));  // none: the row count
    EXPECT_EQ(2, store.FindString(view, 0, 0, "hay3", 0));
}

TEST_F(AppendOnlyResultsStorageTest, LargestColumnSizeCoversHiddenRows) {
    class Width : public LargestColumnItemCallback {
      public:
        int GetItemWidth(const std::string& text) override { return static_cast<int>(text.size()); }
    } width;
    store.AddResultSet(Columns({DataTypeString}), ResultSetNormal);
    std::locale locale = std::locale::classic();
    EXPECT_EQ(0, store.GetLargestColumnSize(0, 0, locale, width));
    store.InsertString(0, 0, "long text");
    store.InsertString(0, 0, "short");
    store.HideRow(view, 0, 0);
    EXPECT_EQ(9, store.GetLargestColumnSize(0, 0, locale, width));
}

TEST_F(AppendOnlyResultsStorageTest, LobExtractHasLocatorAndTextsOfItsRow) {
    std::vector<ColumnDefinition> definitions = {
        Column(DataTypeInt, "id"), Column(DataTypeLob, "photo", 32000), Column(DataTypeString, "remark")};
    definitions[1].lobLocator = std::make_unique<qxdb::LobLocator>(new NamedLocator);
    definitions[1].useLobLocators = true;
    store.AddResultSet(definitions, ResultSetNormal);
    for (int row = 0; row < 2; ++row) {
        store.InsertInt(0, 0, 1000 + row);
        store.InsertLobData(0, 1, "preview" + std::to_string(row), qxdb::DynBuffer());
        store.InsertNull(0, 2);
    }
    store.Sort(view, 0, {DataSort(0, false)}, nullptr, 0);
    LobExtract lob = store.GetLob(view, 0, 0, 1);
    EXPECT_TRUE(lob.IsValid(true));
    EXPECT_EQ("PHOTOS", lob.TableName());
    EXPECT_THAT(lob.GetValueList(), ElementsAre("1001", "preview1", "[NULL]"));
    EXPECT_EQ("", lob.GetFileName());
    EXPECT_TRUE(lob.IsTempFileName());
    EXPECT_EQ("", store.GetLobFileName(view, 0, 0, 1));
    EXPECT_TRUE(store.GetUseLobLocators(0, 1));
    EXPECT_FALSE(store.GetUseLobLocators(0, 0));
    EXPECT_THROW(store.GetLob(view, 0, 0, 0), BadTypeException);
}

TEST_F(AppendOnlyResultsStorageTest, LobWithoutLocatorIsNotUsedByLocator) {
    std::vector<ColumnDefinition> definitions = {Column(DataTypeLob)};
    definitions[0].useLobLocators = true;
    store.AddResultSet(definitions, ResultSetNormal);
    store.InsertLobData(0, 0, "preview", qxdb::DynBuffer());
    EXPECT_FALSE(store.GetUseLobLocators(0, 0));
    EXPECT_FALSE(store.GetLob(view, 0, 0, 0).IsValid(true));
}

TEST_F(AppendOnlyResultsStorageTest, NamedTypeExtractHasTheText) {
    store.AddResultSet(Columns({DataTypeNamedType}), ResultSetNormal);
    store.InsertString(0, 0, "(1, 'x')");
    NamedTypeExtract value = store.GetNamedType(view, 0, 0, 0);
    std::string text;
    EXPECT_TRUE(value.AsString(text));
    EXPECT_EQ("(1, 'x')", text);
}

TEST_F(AppendOnlyResultsStorageTest, NamesForExport) {
    store.AddResultSet(Columns({DataTypeInt}), ResultSetNormal);
    EXPECT_EQ("", store.GetTagName(0));
    EXPECT_EQ("", store.GetTableName(0));
    store.SetTagName(0, "tag");
    store.SetTableName(0, "TABLE");
    EXPECT_EQ("tag", store.GetTagName(0));
    EXPECT_EQ("TABLE", store.GetTableName(0));
}

TEST_F(AppendOnlyResultsStorageTest, DeletedColumnTakesItsNullsAlong) {
    store.AddResultSet({Column(DataTypeInt, "a"), Column(DataTypeString, "b")}, ResultSetNormal);
    for (int row = 0; row < 20; ++row) {
        if (row == 7)
            store.InsertNull(0, 0);
        else
            store.InsertInt(0, 0, row);
        if (row % 3 == 0)
            store.InsertNull(0, 1);
        else
            store.InsertString(0, 1, "x");
    }
    store.DeleteColumn(view, 0, 2);
    store.DeleteColumn(view, 0, -1);
    EXPECT_EQ(2, store.GetNumberOfColumns(0));
    store.DeleteColumn(view, 0, 1);
    EXPECT_EQ(1, store.GetNumberOfColumns(0));
    EXPECT_EQ("a", store.GetColumnLabel(0, 0));
    for (int row = 0; row < 20; ++row)
        EXPECT_EQ(row == 7, store.IsNull(view, 0, row, 0)) << row;
    EXPECT_EQ(20, store.GetNumberOfRows(view, 0));
    store.InsertNull(0, 0);
    EXPECT_TRUE(store.IsNull(view, 0, 20, 0));
    store.DeleteColumn(view, 0, 0);
    EXPECT_EQ(0, store.GetNumberOfColumns(0));
}

TEST_F(AppendOnlyResultsStorageTest, CleanUpGoesBackToTheBeginning) {
    store.AddResultSet(Columns({DataTypeInt}), ResultSetStatistics);
    store.AddResultSet(Columns({DataTypeInt}), ResultSetNormal);
    store.InsertInt(0, 0, 1);
    store.HideRow(view, 0, 0);
    store.SetTagName(0, "tag");
    store.CleanUp();
    EXPECT_EQ(0, store.GetNumberOfResultSets());
    EXPECT_EQ(0, store.GetNumberOfRows(view, 0));
    EXPECT_THROW(store.GetNumberOfRows(view, 1), std::out_of_range);
    EXPECT_EQ(0, store.AddResultSet(Columns({DataTypeString}), ResultSetNormal));
    store.InsertString(0, 0, "again");
    EXPECT_EQ(1, store.GetNumberOfRows(view, 0));
    EXPECT_EQ("again", store.GetString(view, 0, 0, 0));
    EXPECT_EQ("", store.GetTagName(0));
}

TEST_F(AppendOnlyResultsStorageTest, ManyPagesComeBackFromTheCacheFile) {
    store.AddResultSet(Columns({DataTypeString, DataTypeInt}), ResultSetNormal);
    const int rows = 120000;  // about 100 views of texts alone
    for (int row = 0; row < rows; ++row) {
        store.InsertString(0, 0, std::string(40, static_cast<char>('a' + row % 26)) + std::to_string(row));
        store.InsertInt(0, 1, row);
    }
    store.Sort(view, 0, {DataSort(1, false)}, nullptr, 0);
    for (int row = 0; row < rows; row += 997) {
        const int physical = rows - 1 - row;
        ASSERT_EQ(std::string(40, static_cast<char>('a' + physical % 26)) + std::to_string(physical),
                  store.GetString(view, 0, row, 0));
    }
    store.CleanUp();
    store.AddResultSet(Columns({DataTypeInt}), ResultSetNormal);
    for (int row = 0; row < rows; ++row)
        store.InsertInt(0, 0, row);
    EXPECT_EQ(rows - 1, store.GetInt(view, 0, rows - 1, 0));
}

class GroupsOfThree : public std::numpunct<char> {
  protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

class RecordingSink : public CellSink {
  public:
    void OnCell(int position, bool isNull, std::string_view text) override {
        cells.push_back(std::to_string(position) + (isNull ? "!" : "=") + std::string(text));
    }
    std::vector<std::string> cells;
};

TEST_F(AppendOnlyResultsStorageTest, VisitRowGivesWhatAsStringGives) {
    store.AddResultSet(Columns(allTypes), ResultSetNormal);
    InsertRowOfAllTypes(0);
    for (int col = 0; col < 12; ++col)
        store.InsertNull(0, col);
    store.Sort(view, 0, {DataSort(0, true)}, nullptr, 0);
    const int columns[] = {11, 0, 7, 6, 5, 9, 0, 8, 10, 4, 3, 2, 1};
    for (int row = 0; row < 2; ++row) {
        RecordingSink sink;
        ASSERT_TRUE(store.VisitRow(view, 0, row, columns, 13, CellFormat::Classic(), sink));
        ASSERT_EQ(13U, sink.cells.size());
        for (int position = 0; position < 13; ++position)
            EXPECT_EQ(std::to_string(position) + (row == 0 ? "!" : "=") +
                          store.AsString(view, 0, row, columns[position], std::locale::classic()),
                      sink.cells[static_cast<std::size_t>(position)]);
    }
    RecordingSink sink;
    EXPECT_TRUE(store.VisitRow(view, 0, 0, nullptr, 0, CellFormat::Classic(), sink));
    EXPECT_TRUE(sink.cells.empty());
    const int bad[] = {0, 12};
    EXPECT_THROW(store.VisitRow(view, 0, 0, bad, 2, CellFormat::Classic(), sink), std::out_of_range);
}

// Columns have short cuts for their views: these are values that take them, and values that can't.
TEST_F(AppendOnlyResultsStorageTest, VisitRowGivesWhatAsStringGivesForAnyValue) {
    const std::vector<EnumDataType> types = {DataTypeShort,   DataTypeInt,     DataTypeLong,
                                             DataTypeInt64,   DataTypeFloat,   DataTypeDouble,
                                             DataTypeDecimal, DataTypeDecimal, DataTypeTimestamp};
    std::vector<ColumnDefinition> definitions = Columns(types);
    definitions[7].precision = 3;
    store.AddResultSet(definitions, ResultSetNormal);
    const double infinity = std::numeric_limits<double>::infinity();
    const std::vector<double> doubles = {0,    -0.0, 1.5,      -2.5e-7,   1e300,     -5e-324,
                                         1e16, 0.1,  infinity, -infinity, 12345.678, std::nan("")};
    const std::vector<std::string> decimals = {"0",
                                               "-0.00",
                                               "1.2345",
                                               "-1.2355",
                                               "99999.9995",
                                               "1e-40",
                                               "7e60",
                                               "12.30",
                                               "-0.001",
                                               "18446744073709551615",
                                               "18446744073709551616",
                                               "5"};
    for (std::size_t i = 0; i < doubles.size(); ++i) {
        const auto number =
            static_cast<__int64>(std::clamp(doubles[i], -30000.0, 30000.0) * (i == 11 ? 0 : 1));
        store.InsertShort(0, 0, static_cast<short>(i == 11 ? -32768 : number));
        store.InsertInt(0, 1, i == 11 ? std::numeric_limits<int>::min() : static_cast<int>(number));
        store.InsertLong(0, 2, i == 11 ? std::numeric_limits<long>::min() : static_cast<long>(number));
        store.InsertInt64(0, 3, i == 11 ? std::numeric_limits<__int64>::min() : number);
        store.InsertFloat(0, 4, static_cast<float>(doubles[i]));
        store.InsertDouble(0, 5, doubles[i]);
        store.InsertDecimal(0, 6, qxdb::Decimal(decimals[i]));
        store.InsertDecimal(0, 7, qxdb::Decimal(decimals[i]));
        qxdb::Timestamp time;
        time.SetDate(i == 11 ? 12345 : 2024, static_cast<short>(i), 31);
        time.SetFraction(static_cast<int>(i) * 90909090);
        store.InsertTimestamp(0, 8, time);
    }
    const int columns[] = {0, 1, 2, 3, 4, 5, 6, 7, 8};
    const CellFormat grouped(std::locale(std::locale::classic(), new GroupsOfThree));
    for (const CellFormat* format : {&CellFormat::Classic(), &grouped}) {
        for (int row = 0; row < static_cast<int>(doubles.size()); ++row) {
            RecordingSink sink;
            ASSERT_TRUE(store.VisitRow(view, 0, row, columns, 9, *format, sink));
            for (int col = 0; col < 9; ++col)
                EXPECT_EQ(std::to_string(col) + "=" + store.AsString(view, 0, row, col, format->GetLocale()),
                          sink.cells[static_cast<std::size_t>(col)]);
        }
    }
}

}  // namespace
}  // namespace qxdbsqlengine
