// The results of a run as an export needs them.

#include "tools/qxsql/export_view.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "storage/column_definition.h"
#include "storage/row_reader.h"

namespace qxsql {
namespace {

using namespace qxdbsqlengine;

class TextSink final : public CellSink {
  public:
    void OnCell(int position, bool isNull, std::string_view value) override {
        text += std::to_string(position) + (isNull ? "-" : "=") + std::string(value) + ";";
    }
    std::string text;
};

class ExportViewTest : public testing::Test {
  protected:
    ExportViewTest() : store(DataStorage::CreateResultsStorage(false)) {
        for (int rs = 0; rs < 3; ++rs) {
            std::vector<ColumnDefinition> columns(3);
            columns[0].columnLabel = "n" + std::to_string(rs);
            columns[0].dataType = DataTypeInt;
            columns[1].columnLabel = "s" + std::to_string(rs);
            columns[2].columnLabel = "b" + std::to_string(rs);
            columns[2].dataType = DataTypeBinary;
            columns[2].nativeDataType = 7;
            columns[2].nativeDataTypeName = "RAW";
            store.AddResultSet(columns, rs == 0 ? ResultSetMessage : ResultSetNormal);
            for (int row = 0; row < 4; ++row)
                AddRow(rs, row);
            store.SetTableName(rs, "t" + std::to_string(rs));
        }
    }
    void AddRow(int rs, int row) {
        RowLock lock = store.GetRowLock(rs);
        lock.Lock();
        store.InsertInt(rs, 0, 10 * rs + row);
        store.InsertString(rs, 1, "a\\]]>" + std::to_string(row));
        store.InsertNull(rs, 2);
        lock.UnLock();
    }
    static std::string Row(DataStorage& view, int rs, int row, std::vector<int> columns) {
        TextSink sink;
        EXPECT_TRUE(view.VisitRow(rs, row, columns.data(), static_cast<int>(columns.size()),
                                  CellFormat::Classic(), sink));
        return sink.text;
    }
    DataStorage store;
};

TEST_F(ExportViewTest, NumbersResultsColumnsAndRowsAnew) {
    ExportChoice choice;
    choice.resultSets = {2, 1};
    choice.columns = {1, 7, 0, 1};
    choice.allRows = false;
    choice.rows = {{3, 0, 3}, {}};
    DataStorage view = ExportView::Of(store, choice);
    ASSERT_EQ(2, view.GetNumberOfResultSets());
    EXPECT_EQ(3, view.GetNumberOfRows(0));
    EXPECT_EQ(0, view.GetNumberOfRows(1));
    EXPECT_EQ(3, view.GetNumberOfColumns(0));
    EXPECT_EQ("s2", view.GetColumnLabel(0, 0));
    EXPECT_EQ("n2", view.GetColumnLabel(0, 1));
    EXPECT_EQ("s1", view.GetColumnLabel(1, 2));
    EXPECT_EQ(1, view.FindColumnLabel(0, "N2"));
    EXPECT_EQ(-1, view.FindColumnLabel(0, "b2"));
    EXPECT_EQ("t2", view.GetTableName(0));
    EXPECT_EQ(ResultSetNormal, view.GetResultSetType(0));
    EXPECT_EQ(DataTypeInt, view.GetDataType(0, 1));
    EXPECT_EQ(AlignRight, view.GetAlignHint(0, 1));
    EXPECT_EQ(23, view.GetInt(0, 0, 1));
    EXPECT_EQ(20, view.GetInt(0, 1, 1));
    EXPECT_EQ("a\\]]>3", view.GetString(0, 2, 0));
    EXPECT_EQ("20", view.AsString(0, 1, 1, std::locale::classic()));
    EXPECT_EQ("0=23;1=a\\]]>3;", Row(view, 0, 0, {1, 2}));
    EXPECT_THROW(view.GetColumnLabel(0, 3), std::out_of_range);
    EXPECT_THROW(view.GetNumberOfRows(2), std::out_of_range);
    EXPECT_THROW(view.GetInt(0, 3, 1), std::out_of_range);
}

TEST_F(ExportViewTest, FollowsTheViewThatItWasMadeFrom) {
    DataSort descending;
    descending.column = 0;
    descending.ascending = false;
    store.Sort(1, {descending}, nullptr, 0);
    ExportChoice choice;
    choice.resultSets = {1};
    choice.allRows = false;
    choice.rows = {{0, 1, 3}};
    DataStorage view = ExportView::Of(store, choice);
    EXPECT_TRUE(view.IsSorted(0));
    EXPECT_EQ(13, view.GetInt(0, 0, 0));
    EXPECT_EQ(12, view.GetInt(0, 1, 0));
    EXPECT_EQ(10, view.GetInt(0, 2, 0));
    EXPECT_EQ(3, view.GetRowTranslation(0, 0));
    EXPECT_EQ(0, view.GetRowTranslation(0, 2));
    // A copy has the same rows; the order of arrival is that of the store.
    DataStorage copy(view);
    EXPECT_EQ(12, copy.GetInt(0, 1, 0));
    DataStorage arrival = view.ArrivalOrder();
    EXPECT_EQ(4, arrival.GetNumberOfRows(0));
    EXPECT_EQ(10, arrival.GetInt(0, 0, 0));
    // Later changes of the view are its own.
    store.Sort(1, {}, nullptr, 0);
    EXPECT_EQ(13, view.GetInt(0, 0, 0));
}

TEST_F(ExportViewTest, BytesAsLiteralsOfServers) {
    ColumnDefinition bytes;
    bytes.dataType = DataTypeBinary;
    const int set = store.AddResultSet({bytes}, ResultSetNormal);
    qxdb::DynBuffer raw;
    ASSERT_TRUE(qxdb::BufferBase::ParseHex("00FF", raw));
    store.InsertBinary(set, 0, raw);
    store.InsertBinary(set, 0, qxdb::DynBuffer());
    store.InsertNull(set, 0);
    const struct {
        ValueForm form;
        const char* value;
        const char* none;
    } cases[] = {{ValueForm::AsItIs, "0=00FF;", "0=;"},
                 {ValueForm::HexLiteral, "0=X'00FF';", "0=X'';"},
                 {ValueForm::ByteaLiteral, "0='\\x00FF';", "0='\\x';"},
                 {ValueForm::ZeroXLiteral, "0=0x00FF;", "0='';"}};
    for (const auto& one : cases) {
        ExportChoice choice;
        choice.resultSets = {set};
        choice.form = [&one](DataStorage&, int, int) { return one.form; };
        DataStorage view = ExportView::Of(store, choice);
        EXPECT_EQ(one.value, Row(view, 0, 0, {0}));
        EXPECT_EQ(one.none, Row(view, 0, 1, {0}));
        EXPECT_EQ("0-[NULL];", Row(view, 0, 2, {0}));
        EXPECT_EQ(one.form == ValueForm::AsItIs ? DataTypeBinary : DataTypeInt, view.GetDataType(0, 0));
    }
}

TEST_F(ExportViewTest, ValuesInTheirForms) {
    ExportChoice choice;
    choice.resultSets = {1};
    choice.label = [](const std::string& label) { return "<" + label + ">"; };
    choice.hideNativeTypes = true;
    bool lost = false;
    choice.lostCharacters = &lost;
    ValueForm textForm = ValueForm::BackslashEscape;
    choice.form = [&textForm](DataStorage& from, int rs, int column) {
        EXPECT_EQ(1, rs);
        if (from.GetDataType(rs, column) == DataTypeBinary)
            return ValueForm::HexLiteral;
        return from.GetDataType(rs, column) == DataTypeInt ? ValueForm::AsItIs : textForm;
    };
    DataStorage escaped = ExportView::Of(store, choice);
    EXPECT_EQ("<s1>", escaped.GetColumnLabel(0, 1));
    EXPECT_EQ(-1, escaped.GetNativeDataType(0, 2));
    EXPECT_EQ("", escaped.GetNativeDataTypeName(0, 2));
    EXPECT_EQ(DataTypeInt, escaped.GetDataType(0, 2)) << "a literal is written as it stands";
    EXPECT_EQ("0-[NULL];1=a\\\\]]>2;2=12;", Row(escaped, 0, 2, {2, 1, 0}));
    textForm = ValueForm::CdataText;
    DataStorage divided = ExportView::Of(store, choice);
    EXPECT_EQ("0=a\\]]]]><![CDATA[>0;", Row(divided, 0, 0, {1}));
    EXPECT_FALSE(lost);
    {
        RowLock lock = store.GetRowLock(1);
        lock.Lock();
        store.InsertInt(1, 0, 9);
        store.InsertString(1, 1,
                           "\x01"
                           "a\t\r\n\x1F\x7F\xC3\xBC");
        store.InsertNull(1, 2);
        lock.UnLock();
    }
    DataStorage controls = ExportView::Of(store, choice);
    EXPECT_EQ("0=?a\t\r\n?\x7F\xC3\xBC;", Row(controls, 0, 4, {1}));
    EXPECT_TRUE(lost);
    textForm = ValueForm::XmlText;
    lost = false;
    DataStorage texts = ExportView::Of(store, choice);
    EXPECT_EQ("0=a\\]]>0;", Row(texts, 0, 0, {1}));
    EXPECT_FALSE(lost);
    EXPECT_EQ("0=?a\t\r\n?\x7F\xC3\xBC;", Row(texts, 0, 4, {1}));
    EXPECT_TRUE(lost);
    choice.form = nullptr;
    choice.hideNativeTypes = false;
    DataStorage plain = ExportView::Of(store, choice);
    EXPECT_EQ("0=a\\]]>0;", Row(plain, 0, 0, {1}));
    EXPECT_EQ("RAW", plain.GetNativeDataTypeName(0, 2));
}

TEST_F(ExportViewTest, ChangesNothing) {
    ExportChoice choice;
    choice.resultSets = {1};
    DataStorage view = ExportView::Of(store, choice);
    EXPECT_THROW(view.HideRow(0, 0), std::logic_error);
    EXPECT_THROW(view.Sort(0, {}, nullptr, 0), std::logic_error);
    EXPECT_THROW(view.InsertInt(0, 0, 1), std::logic_error);
    EXPECT_THROW(view.AddResultSet({}, ResultSetNormal), std::logic_error);
    EXPECT_THROW(view.DeleteRow(0, 0), std::logic_error);
    EXPECT_THROW(view.SetTableName(0, "x"), std::logic_error);
    EXPECT_EQ("t1", store.GetTableName(1));
    EXPECT_EQ(4, store.GetNumberOfRows(1));
}

}  // namespace
}  // namespace qxsql
