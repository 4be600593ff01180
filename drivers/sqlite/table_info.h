// What the catalog says of a table.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "drivers/sqlite/database.h"

namespace qxdrivers::sqlite {

// A table of an attached database. Both empty: none.
struct TableName {
    std::string schema;
    std::string table;

    bool operator==(const TableName& other) const { return schema == other.schema && table == other.table; }
    // As it stands in SQL.
    std::string Quoted() const;
};

// The column of a table that a column of a result shows. Both names are empty for an expression. Of a view it
// is the column behind the view.
struct ColumnOrigin {
    TableName table;
    std::string column;
};
ColumnOrigin OriginOf(sqlite3_stmt* statement, int column);

struct TableInfo {
    std::vector<std::string> columns;    // stored ones, in the order of storage
    std::vector<std::string> generated;  // columns that are computed, stored or not
    // Sets of columns of which each finds one row at most: the row number under the name by which results
    // know it, the primary key, the unique indexes.
    std::vector<std::vector<std::string>> keys;
    std::string rowNumber;        // a name of it that no column hides; empty for tables without one
    std::string rowNumberColumn;  // the column that is the row number; empty when there is none

    bool IsKeyColumn(const std::string& column) const;
};

// Empty when there is no such table: it is a view, virtual, or has gone. Throws Errors. Used on the thread of
// the connection.
std::optional<TableInfo> FindTable(Database& database, const TableName& name);

// Whether anything but the row itself depends on what a column holds: an index, a trigger, a constraint. What
// is written into a value without a statement must not be seen by any of them.
bool IsColumnWatched(Database& database, const TableName& name, const std::string& column);

}  // namespace qxdrivers::sqlite
