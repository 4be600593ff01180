// The row of a large object, as SQL finds it again.
#pragma once

#include <list>
#include <string>
#include <vector>

#include "drivers/sqlite/declared_type.h"
#include "drivers/sqlite/query.h"
#include "drivers/sqlite/table_info.h"

namespace qxdrivers::sqlite {

// A column by which the row is found.
struct FindingColumn {
    std::size_t position;  // in the row
    std::string name;      // in the table
    qxdb::Column::BindType type;
    std::string timeFormat;
};

// What all locators of a column have in common. Never changed once it is made.
struct LobPlace {
    TableName table;
    std::string column;
    std::size_t position = 0;  // of the large object in the row
    bool binary = false;
    std::vector<FindingColumn> columns;
    std::string refusal;   // why there can be no transfer; empty when there can
    std::string readOnly;  // why the object can't be written; empty when it can
};

// Floating numbers are no good to find a row by, and large objects are what is looked for.
bool CanFind(qxdb::Column::BindType type);

// The condition that finds a row by the texts of its cells. SQLite keeps one and the same text of a cell in
// several ways, so that the condition has all values that a text may stand for.
class RowCondition {
  public:
    // Throws Errors when there are no texts, or too few, or when they are those of no row: of an outer join
    // that found none.
    RowCondition(const LobPlace& place, const std::list<std::string>* rowValues);

    // " WHERE ...".
    const std::string& Sql() const { return sql; }
    // The values of its parameters, behind those that the query has already.
    void AddTo(Query& query) const;

  private:
    struct Value {
        enum class Kind { Text, Bytes, Number } kind;
        std::string text;
        __int64 number;
    };
    void AddColumn(const FindingColumn& column, const std::string& text);
    void AddText(const std::string& text);

    std::string sql;
    std::vector<Value> values;
};

}  // namespace qxdrivers::sqlite
