// Column discovery: from the fields of a cursor to the definitions of a result set.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "handler_fixture.h"
#include "platform/qxutils/qx_exception.h"

namespace qxtest {
namespace {

using qxdb::Column;
using qxdbsqlengine::EnumDataType;
using qxdbsqlengine::TypeWithNull;

// A locator that remembers how it was asked for.
class FakeLocator : public qxdb::LobLocatorImp {
  public:
    explicit FakeLocator(std::string madeFrom) : made(std::move(madeFrom)) {}
    std::unique_ptr<LobLocatorImp> Clone() const override { return std::make_unique<FakeLocator>(made); }
    qxdb::DynBuffer GetLocatorData() const override { return qxdb::DynBuffer(4, 4); }
    void SetLocatorData(const qxdb::DynBuffer& data) override {}
    bool IsValid(bool) const override { return true; }
    bool IsReadOnly() const override { return false; }
    bool EditAsClob() const override { return false; }
    std::string TableName() const override { return made; }
    void SetAsXMLType() override {}
    void Import(const std::string&, qxdb::Connection&, std::list<std::string>*) override {}
    void Export(const std::string&, qxdb::Connection&, std::list<std::string>*) override {}

  private:
    std::string made;
};

qxdb::LobLocator MakeFakeLocator(unsigned int field, const std::string& table, const std::string& sql,
                                 const std::string& where, bool specific) {
    return qxdb::LobLocator(new FakeLocator(std::to_string(field) + "|" + table + "|" + sql + "|" + where +
                                            "|" + (specific ? "specific" : "general")));
}

class ColumnsTest : public HandlerTest {
  protected:
    // The definition of a result set's only column.
    ColumnDefinition Define(const qxdb::ColumnRecord& column) {
        OpenCursor open = Open(Rows({column}, {}).Locator(MakeFakeLocator));
        ColumnDefinition definition;
        definition.columnLabel = "old";
        definition.timestampFormat = "old";
        definition.nativeDataType = 99;
        definition.fixedLengthString = true;
        definition.precision = 77;
        handler.FetchColumnProperties(open.cursor, 0, (*open.fields)[0], open.schema[0], definition);
        return definition;
    }
    // The definitions of columns A, B, C ... of ints.
    void DefineAll(int count) {
        std::vector<qxdb::ColumnRecord> columns;
        for (int i = 0; i < count; ++i)
            columns.push_back(IntColumn(std::string(1, static_cast<char>('A' + i))));
        OpenCursor open = Open(Rows(columns, {}));
        handler.DetermineColumnDefs(open.cursor, *open.fields, open.schema);
    }
    std::string Labels() {
        std::string labels;
        for (const ColumnDefinition& definition : request.GetColumnDefinition())
            labels += definition.columnLabel.empty() ? "-" : definition.columnLabel;
        return labels;
    }
};

TEST_F(ColumnsTest, FixedLengthStringsGoByTheTypeName) {
    const struct {
        const char* name;
        bool fixed;
    } cases[] = {{"CHAR", true},      {"char", true},     {"NCHAR", true},
                 {"nChar", true},     {"VARCHAR", false}, {"CHARACTER", false},
                 {"NVARCHAR", false}, {"", false},        {"CHAR ", false}};
    for (const auto& one : cases) {
        EXPECT_EQ(handler.IsFixedLengthString(MakeColumn("A", Column::BindString, one.name)), one.fixed)
            << one.name;
        EXPECT_EQ(Define(MakeColumn("A", Column::BindString, one.name)).fixedLengthString, one.fixed)
            << one.name;
    }
}

TEST_F(ColumnsTest, EveryFieldTypeHasItsDataTypeAndWidth) {
    const struct {
        int bindType;
        int dataType;
        int width;  // of a column of size 30
    } cases[] = {{0, 0, 0},   {1, 0, 0},  {2, 2, 0},   {3, 3, 0},   {4, 1, 0},
                 {5, 5, 30},  {6, 6, 30}, {7, 7, 30},  {8, 10, 55}, {9, 4, 0},
                 {10, 8, 30}, {11, 9, 0}, {12, 11, 0}, {13, 0, 0},  {14, 0, 0}};
    request.SetLobPreviewSize(55);
    for (const auto& one : cases) {
        qxdb::ColumnRecord column =
            MakeColumn("Label", static_cast<Column::BindType>(one.bindType), "native name");
        column.scale = 30;
        column.nativeType = -7;
        column.dateTimeFormat = "yyyy";
        const ColumnDefinition definition = Define(column);
        EXPECT_EQ(definition.dataType, one.dataType) << one.bindType;
        EXPECT_EQ(definition.precision, one.width) << one.bindType;
        EXPECT_EQ(definition.columnLabel, "Label");
        EXPECT_EQ(definition.nativeDataType, -7);
        EXPECT_EQ(definition.nativeDataTypeName, "native name");
        EXPECT_EQ(definition.timestampFormat, one.bindType == 11 ? "yyyy" : "") << one.bindType;
        EXPECT_FALSE(definition.fixedLengthString);
        EXPECT_EQ(definition.lobLocator != nullptr, one.bindType == 8) << one.bindType;
        EXPECT_EQ(definition.useLobLocators, one.bindType == 8) << one.bindType;
    }
}

TEST_F(ColumnsTest, FixedLengthIsAskedOfTheServersOwnHandler) {
    class Never : public OpenHandler {
      public:
        using OpenHandler::OpenHandler;
        bool IsFixedLengthString(const qxdb::Column& column) override {
            asked += column.GetNativeTypeName() + ";";
            return false;
        }
        std::string asked;
    };
    Never never(request, qxdb::DBTYPE_OTHER);
    OpenCursor open = Open(Rows({MakeColumn("A", Column::BindString, "CHAR"), IntColumn("B")}, {}));
    ColumnDefinition definition;
    never.FetchColumnProperties(open.cursor, 0, (*open.fields)[0], open.schema[0], definition);
    EXPECT_FALSE(definition.fixedLengthString);
    never.FetchColumnProperties(open.cursor, 1, (*open.fields)[1], open.schema[1], definition);
    EXPECT_EQ(never.asked, "CHAR;");
}

TEST_F(ColumnsTest, FieldBoundAsTextIsTextWhateverItsColumnIs) {
    server.Expect("select").Returns(Rows({MakeColumn("A", Column::BindDecimal, "NUMBER")}, {}));
    OpenCursor open(Connection(), "select", true);
    ColumnDefinition definition;
    handler.FetchColumnProperties(open.cursor, 0, (*open.fields)[0], open.schema[0], definition);
    EXPECT_EQ(definition.dataType, qxdbsqlengine::DataTypeString);
}

TEST_F(ColumnsTest, LabelsAreOptional) {
    request.SetColumnLabels(false);
    EXPECT_EQ(Define(IntColumn("A")).columnLabel, "");
}

TEST_F(ColumnsTest, WidthStaysWithinTheLimitsOfTheRequest) {
    const struct {
        int minimum;
        int maximum;
        int size;
        int expected;
    } cases[] = {
        {-1, -1, 5, 5}, {-1, -1, -3, 0},                 // no limits
        {8, -1, 5, 8},  {8, -1, 8, 8},   {8, -1, 9, 9},  // minimum
        {-1, 4, 5, 4},  {-1, 4, 4, 4},   {-1, 4, 3, 3},  // maximum
        {0, -1, -3, 0}, {2, -1, -3, 2},  {-1, 0, 5, 0},
        {8, 4, 5, 8},   {8, 4, 9, 4},  // the minimum ends the matter
    };
    for (const auto& one : cases) {
        request.SetPrecisionLimits(one.minimum, one.maximum);
        qxdb::ColumnRecord column = MakeColumn("A", Column::BindDecimal);
        column.scale = one.size;
        EXPECT_EQ(Define(column).precision, one.expected)
            << one.minimum << " " << one.maximum << " " << one.size;
    }
    request.SetPrecisionLimits(3, 6);  // also where the type has no width of its own
    EXPECT_EQ(Define(IntColumn("A")).precision, 3);
}

TEST_F(ColumnsTest, LobOfAStatementGetsALocatorFromItsSql) {
    request.SetSQL("select PHOTO from Emp where id = 1", request.RequestSQL, false, false);
    request.SetLobPreviewSize(100);
    request.SetLobStreamSize(200);
    const ColumnDefinition definition = Define(MakeColumn("PHOTO", Column::BindLob, "BLOB"));
    ASSERT_NE(definition.lobLocator, nullptr);
    // The table name runs up to the key word, blank included.
    EXPECT_EQ(definition.lobLocator->TableName(), "0|Emp |select PHOTO from Emp where id = 1|id = 1|general");
    EXPECT_EQ(definition.precision, 100);
    EXPECT_TRUE(definition.useLobLocators);
    EXPECT_FALSE(definition.useSpecificLobLocatorImpl);
}

TEST_F(ColumnsTest, LobOfAProcedureGetsALocatorWithoutSql) {
    request.SetSQL("proc from t where x", request.RequestProcedure, false, false);
    request.SetUseSpecificLobLocatorImpl(true);
    const ColumnDefinition definition = Define(MakeColumn("PHOTO", Column::BindLob, "BLOB"));
    ASSERT_NE(definition.lobLocator, nullptr);
    EXPECT_EQ(definition.lobLocator->TableName(), "0||||specific");
    EXPECT_TRUE(definition.useSpecificLobLocatorImpl);
}

TEST_F(ColumnsTest, LobWithoutLocatorsHasTheStreamSize) {
    request.SetSQL("select PHOTO from Emp", request.RequestSQL, false, false);
    request.SetUseLobLocators(false);
    request.SetLobPreviewSize(100);
    request.SetLobStreamSize(200);
    const ColumnDefinition definition = Define(MakeColumn("PHOTO", Column::BindLob, "BLOB"));
    EXPECT_EQ(definition.lobLocator, nullptr);
    EXPECT_EQ(definition.precision, 200);
    EXPECT_FALSE(definition.useLobLocators);
}

TEST_F(ColumnsTest, DefinitionsFollowTheFields) {
    DefineAll(3);
    EXPECT_EQ(Labels(), "ABC");
    DefineAll(1);
    EXPECT_EQ(Labels(), "A");
    EXPECT_TRUE(request.GetColumnReorder().empty());
}

TEST_F(ColumnsTest, ReorderMovesColumns) {
    request.SetDoColumnReorder(true);
    request.GetColumnReorder() = {2, 0, 1};
    DefineAll(3);
    EXPECT_EQ(Labels(), "BCA");
}

TEST_F(ColumnsTest, DroppedColumnsMakeTheDefinitionsShorter) {
    request.SetDoColumnReorder(true);
    request.GetColumnReorder() = {1, -1, 0};
    DefineAll(3);
    EXPECT_EQ(Labels(), "CA");
    EXPECT_EQ(request.GetHandleTypesMap()[0].size(), 2u);
}

TEST_F(ColumnsTest, FieldsBeyondTheOrderAreDropped) {
    request.SetDoColumnReorder(true);
    request.GetColumnReorder() = {0};
    DefineAll(3);
    EXPECT_EQ(Labels(), "A");
    EXPECT_EQ(request.GetColumnReorder(), (std::vector<int>{0, -1, -1}));
}

TEST_F(ColumnsTest, OrderBeyondTheFieldsIsCut) {
    request.SetDoColumnReorder(true);
    request.GetColumnReorder() = {1, 0, 2, 3};
    DefineAll(2);
    EXPECT_EQ(Labels(), "BA");
    EXPECT_EQ(request.GetColumnReorder(), (std::vector<int>{1, 0}));
}

TEST_F(ColumnsTest, OrderWithoutTheFlagIsLeftAlone) {
    request.GetColumnReorder() = {1};
    DefineAll(2);
    EXPECT_EQ(Labels(), "AB");
    EXPECT_EQ(request.GetColumnReorder(), (std::vector<int>{1}));
}

TEST_F(ColumnsTest, OrderBeyondTheColumnsIsRefused) {
    request.SetDoColumnReorder(true);
    request.GetColumnReorder() = {0, 5};
    EXPECT_THROW(DefineAll(2), qxutils::QXException);
}

TEST_F(ColumnsTest, HandlersDecideTheDataType) {
    std::vector<qxdbsqlengine::HandleColumnStruct>& handlers = request.GetHandleTypesMap()[0];
    handlers.resize(14);
    for (int type = 0; type <= 13; ++type)
        handlers[static_cast<std::size_t>(type)].type = type == 13 ? -1 : type;
    DefineAll(14);
    const std::vector<ColumnDefinition>& definitions = request.GetColumnDefinition();
    for (int type = 1; type <= 10; ++type)
        EXPECT_EQ(definitions[static_cast<std::size_t>(type)].dataType, type - 1) << type;
    for (const std::size_t column : {0u, 11u, 12u, 13u})
        EXPECT_EQ(definitions[column].dataType, qxdbsqlengine::DataTypeInt) << column;
}

TEST_F(ColumnsTest, HandlersAreThoseOfTheNextLogicalResultSet) {
    store->AddResultSet(std::vector<ColumnDefinition>(1), qxdbsqlengine::ResultSetNormal);
    store->AddResultSet(std::vector<ColumnDefinition>(1), qxdbsqlengine::ResultSetMessage);
    request.GetHandleTypesMap()[0].resize(3);
    request.GetHandleTypesMap()[1].resize(5);
    request.GetHandleTypesMap()[1][0].type = 1;
    DefineAll(2);
    EXPECT_EQ(request.GetHandleTypesMap()[0].size(), 3u);
    EXPECT_EQ(request.GetHandleTypesMap()[1].size(), 2u);
    EXPECT_EQ(request.GetHandleTypesMap().size(), 2u);
    EXPECT_EQ(request.GetColumnDefinition()[0].dataType, qxdbsqlengine::DataTypeString);
    EXPECT_EQ(request.GetColumnDefinition()[1].dataType, qxdbsqlengine::DataTypeInt);
}

TEST_F(ColumnsTest, TableNameOfAnEarlierStatementIsForgotten) {
    handler.tableName = "earlier";
    DefineAll(1);
    EXPECT_EQ(handler.tableName, "");
}

}  // namespace
}  // namespace qxtest
