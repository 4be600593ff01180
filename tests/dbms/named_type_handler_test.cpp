// Named types: the cursors within fields, and the text that is stored for them.
#include "storage/named_type_handler.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "handler_fixture.h"
#include "platform/qxsplt/errors.h"

namespace qxtest {
namespace {

using qxdb::Column;
using qxdbsqlengine::ColumnDefinition;
using qxdbsqlengine::DataStorage;
using qxdbsqlengine::DataTypeInt;
using qxdbsqlengine::DataTypeNamedType;
using qxdbsqlengine::NamedTypeHandler;

qxdb::ColumnRecord ObjectColumn(const std::string& name) {
    return MakeColumn(name, Column::BindCursor, "OBJECT");
}

// A collection of numbers.
NestedCell Numbers(const std::vector<int>& values) {
    std::vector<Row> rows;
    for (const int value : values)
        rows.push_back({value});
    return Nested(Rows({IntColumn("VALUE")}, rows));
}

class NamedTypeHandlerTest : public HandlerTest {
  protected:
    // A store with a column of named types and one of numbers.
    static DataStorage MakeStore(bool editable) {
        DataStorage made = DataStorage::CreateResultsStorage(editable);
        std::vector<ColumnDefinition> columns(2);
        columns[0].dataType = DataTypeNamedType;
        columns[1].dataType = DataTypeInt;
        made.AddResultSet(columns, qxdbsqlengine::ResultSetNormal);
        return made;
    }
    // Stores one row for each cell and returns the store.
    DataStorage Store(const std::vector<Cell>& cells, bool editable = false) {
        std::vector<Row> rows;
        for (const Cell& cell : cells)
            rows.push_back({cell});
        OpenCursor open = Open(Rows({ObjectColumn("A")}, rows));
        DataStorage target = MakeStore(editable);
        NamedTypeHandler inserter(&(*open.fields)[0], &target, 0, 0);
        while (open.cursor.Fetch(qxdb::Cursor::DirectionNext, 1)) {
            inserter.Insert();
            target.InsertInt(0, 1, 1);
        }
        return target;
    }
    std::string TextOf(const Cell& cell) { return Store({cell}).GetString(0, 0, 0); }
};

TEST_F(NamedTypeHandlerTest, TextsOfOneLevel) {
    const std::vector<qxdb::ColumnRecord> two = {IntColumn("X"), TextColumn("Y")};
    const struct {
        Cell cell;
        const char* text;
    } table[] = {
        {Numbers({}), "(NULL)\r\n"},
        {Numbers({1}), "(1)\r\n"},
        {Numbers({1, 2, 3}), "(1,2,3)\r\n"},
        {Nested(Rows({IntColumn("VALUE")}, {{Null()}, {2}, {Null()}})), "(NULL,2,NULL)\r\n"},
        {Nested(Rows({TextColumn("VALUE")}, {{"a"}, {""}, {"it's"}})), "('a','','it's')\r\n"},
        {Nested(Rows(two, {})), "(NULL)\r\n"},
        {Nested(Rows(two, {{1, "red"}})), "((1, 'red'))\r\n"},
        {Nested(Rows(two, {{Null(), Null()}})), "((NULL,NULL))\r\n"},
        {Nested(Rows(two, {{1, Null()}})), "((1,NULL))\r\n"},
        {Nested(Rows(two, {{Null(), "red"}})), "((NULL, 'red'))\r\n"},
        {Nested(Rows(two, {{1, "red"}, {2, "blue"}})), "((1, 'red')\r\n,(2, 'blue')\r\n)\r\n"},
        {Nested(Rows(two, {{1, "a"}, {2, "b"}, {3, Null()}})),
         "((1, 'a')\r\n,(2, 'b')\r\n,(3,NULL)\r\n)\r\n"},
    };
    for (const auto& each : table)
        EXPECT_EQ(TextOf(each.cell), each.text);
}

// Only character values stand in quotes.
TEST_F(NamedTypeHandlerTest, ValuesOfEveryType) {
    const std::vector<qxdb::ColumnRecord> columns = {TextColumn("TEXT"),
                                                     MakeColumn("SHORT", Column::BindShort),
                                                     MakeColumn("DOUBLE", Column::BindDouble),
                                                     MakeColumn("DECIMAL", Column::BindDecimal),
                                                     MakeColumn("TIMESTAMP", Column::BindTimestamp),
                                                     MakeColumn("OTHER", Column::BindOtherString)};
    EXPECT_EQ(TextOf(Nested(Rows(columns, {{"text", static_cast<short>(-3), 1.5, qxdb::Decimal("2.50"),
                                            qxdb::Timestamp("2006-12-31 00:00:00.000"), "other"}}))),
              "(('text', -3, 1.5, 2.50, 2006-12-31 00:00:00.000, other))\r\n");
}

TEST_F(NamedTypeHandlerTest, CursorsWithinCursors) {
    // Two levels: an object with a collection, with an empty one, and without.
    const std::vector<qxdb::ColumnRecord> order = {IntColumn("ID"), ObjectColumn("ITEMS"),
                                                   TextColumn("NOTE")};
    EXPECT_EQ(TextOf(Nested(Rows(order, {{1, Numbers({10, 20}), "x"}}))), "((1, (10,20)\r\n, 'x'))\r\n");
    EXPECT_EQ(TextOf(Nested(Rows(order, {{1, Numbers({}), "x"}, {2, Null(), Null()}}))),
              "((1, (NULL)\r\n, 'x')\r\n,(2,NULL,NULL)\r\n)\r\n");
    // A collection of objects.
    const std::vector<qxdb::ColumnRecord> point = {IntColumn("X"), IntColumn("Y")};
    const NestedCell first = Nested(Rows(point, {{1, 2}}));
    const NestedCell second = Nested(Rows(point, {{3, 4}}));
    EXPECT_EQ(TextOf(Nested(Rows({ObjectColumn("POINT")}, {{first}, {Null()}, {second}}))),
              "(((1, 2))\r\n,NULL,((3, 4))\r\n)\r\n");
    // Three levels.
    const NestedCell polygon = Nested(Rows({ObjectColumn("POINT")}, {{first}, {second}}));
    EXPECT_EQ(TextOf(Nested(Rows({TextColumn("NAME"), ObjectColumn("SHAPE")}, {{"p", polygon}}))),
              "(('p', (((1, 2))\r\n,((3, 4))\r\n)\r\n))\r\n");
    // Every cursor of every row is its own.
    EXPECT_EQ(TextOf(Nested(Rows({ObjectColumn("SHAPE")}, {{polygon}, {polygon}}))),
              "((((1, 2))\r\n,((3, 4))\r\n)\r\n,(((1, 2))\r\n,((3, 4))\r\n)\r\n)\r\n");
}

TEST_F(NamedTypeHandlerTest, NullIsANullAndNotItsText) {
    for (const bool editable : {false, true}) {
        DataStorage target = Store({Null(), Numbers({1}), Null()}, editable);
        ASSERT_EQ(target.GetNumberOfRows(0), 3);
        EXPECT_TRUE(target.IsNull(0, 0, 0));
        EXPECT_EQ(target.GetString(0, 0, 0), "");
        EXPECT_EQ(target.AsString(0, 0, 0, std::locale::classic()), "[NULL]");
        EXPECT_FALSE(target.IsNull(0, 1, 0));
        EXPECT_EQ(target.GetString(0, 1, 0), "(1)\r\n");
        EXPECT_TRUE(target.IsNull(0, 2, 0));
        std::string text;
        EXPECT_TRUE(target.GetNamedType(0, 1, 0).AsString(text));
        EXPECT_EQ(text, "(1)\r\n");
    }
}

// What goes wrong at any depth goes through, and adds no cell.
TEST_F(NamedTypeHandlerTest, FailuresGoThrough) {
    const auto failing = [] { return qxtest::FailingCell{qxtest::MakeErrors("broken")}; };
    const NestedCell deep =
        Nested(Rows({ObjectColumn("A")}, {{Nested(Rows({IntColumn("B")}, {{1}, {failing()}}))}}));
    const NestedCell late = Nested(Rows({IntColumn("B")}, {{1}}).FailsAtRow(1, qxtest::MakeErrors("late")));
    for (const auto& [cell, message] : std::vector<std::pair<Cell, std::string>>{
             {deep, "broken"}, {late, "late"}, {Cell(failing()), "broken"}}) {
        OpenCursor open = Open(Rows({ObjectColumn("A")}, {{cell}, {Numbers({7})}}));
        DataStorage target = MakeStore(false);
        NamedTypeHandler inserter(&(*open.fields)[0], &target, 0, 0);
        ASSERT_TRUE(open.cursor.Fetch(qxdb::Cursor::DirectionNext, 1));
        try {
            inserter.Insert();
            FAIL() << "no failure";
        } catch (const Errors& errors) {
            EXPECT_EQ(qxtest::TextOf(errors), message);
        }
        EXPECT_EQ(target.GetNumberOfRows(0), 0);
        ASSERT_TRUE(open.cursor.Fetch(qxdb::Cursor::DirectionNext, 1));
        inserter.Insert();
        EXPECT_EQ(target.GetString(0, 0, 0), "(7)\r\n");
    }
}

}  // namespace
}  // namespace qxtest
