// The row of a large object, as SQL finds it again.
#pragma once

#include <list>
#include <memory>
#include <string>
#include <vector>

#include "drivers/odbc/parameter_buffers.h"

namespace qxdrivers::odbc {

// A column by which the row is found.
struct FindingColumn {
    std::size_t position;  // in the row
    std::string name;      // in the table, quoted
    NativeType native;
    ValueType type;
    std::string timeFormat;
};

// What all locators of a column have in common. Never changed once it is made.
struct LobPlace {
    std::string table;     // as the caller may see it
    std::string database;  // of MySQL, quoted; empty for the current one
    std::string source;    // as it stands in SQL
    std::string column;    // quoted
    ValueType type;
    std::vector<FindingColumn> columns;
    bool hasKey = false;
};

// Floating numbers are no good to find a row by, nor are times whose texts leave something out, and large
// objects are what is looked for.
bool CanFind(const ValueType& type, const std::string& timeFormat);

// A condition and the values of its parameters.
struct Condition {
    std::string sql;
    std::vector<ParameterDescription> descriptions;
    std::vector<ParameterValue> values;
    bool hasNull = false;  // of a cell, which makes a unique index no key of the row
};

// The condition that finds the row by the texts of its cells. Throws Errors when a value is missing or does
// not read as its column's type.
Condition MakeCondition(const LobPlace& place, const std::list<std::string>* rowValues,
                        const ServerTraits& traits);

// A statement whose last parameters are those of a condition. The constructor prepares it. All throw Errors.
class Execution {
  public:
    Execution(const std::shared_ptr<Session>& session, const std::string& sql, const Condition& condition);

    // `first`: how many parameters stand in front of the condition.
    void BindCondition(unsigned int first);
    SQLRETURN Execute();
    // Stands on the first row; false when there is none.
    bool Fetch();
    StatementCore& Core() { return *core; }

  private:
    const std::shared_ptr<StatementCore> core;
    const std::shared_ptr<ParameterBinding> binding;
    std::unique_ptr<ParameterBuffers> buffers;
};

// The number that a query gives, 0 for NULL. Throws Errors, also when there is no row.
__int64 QueryRow(const std::shared_ptr<Session>& session, const std::string& sql, const Condition& condition);

// How many rows the condition finds. Throws Errors.
__int64 CountRows(const LobPlace& place, const std::shared_ptr<Session>& session, const Condition& condition);

// What keeps a transfer from its row: it is gone, or there are others like it.
[[noreturn]] void ThrowRowGone(const LobPlace& place);
[[noreturn]] void ThrowRowNotAlone(const LobPlace& place, __int64 others);

}  // namespace qxdrivers::odbc
