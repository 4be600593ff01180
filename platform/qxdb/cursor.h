// One result of a statement: rows, or a row count.
#pragma once

#include <memory>
#include <string>

#include "platform/export.h"
#include "platform/qxdb/bind_value.h"
#include "platform/qxdb/lob_locator.h"

namespace qxdb {

class CursorImpl;

// Handle; a copy is another handle on the same cursor. Used on the thread of the statement. Valid until the
// statement's next result is taken.
class QXSENG2_API Cursor {
  public:
    enum Direction : int { DirectionNext = 1 };

    Cursor();
    explicit Cursor(std::shared_ptr<CursorImpl> impl);
    ~Cursor();
    Cursor(const Cursor&);
    Cursor& operator=(const Cursor&);

    // Moves one row forward; false at the end. Values are then read through the Fields made on Bind().
    // Throws Errors.
    bool Fetch(Direction direction, unsigned int rows);
    BindValue Bind();
    // True for a compute row set (Sybase, SQL Server).
    bool IsComputeResultSet();
    // Rows affected by a statement without columns. Throws Errors when the server does not tell.
    unsigned int GetRowCount();
    // `fieldIndex` from 0. An empty locator when the object can't be found again.
    LobLocator GetLocator(unsigned int fieldIndex, const std::string& tableName, const std::string& sqlText,
                          const std::string& whereClause, bool useSpecificImpl);

  private:
    std::shared_ptr<CursorImpl> impl;
};

}  // namespace qxdb
