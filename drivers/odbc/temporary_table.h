// A table of MySQL's that one connection has for itself.
#pragma once

#include <string>

#include "drivers/odbc/row_condition.h"

namespace qxdrivers::odbc {

// In the database of the large object, which needs the privilege for temporary tables there. Used on the
// thread of the connection.
class TemporaryTable {
  public:
    // Throws Errors.
    TemporaryTable(const LobPlace& place, Session& owner, const std::string& columns);
    ~TemporaryTable();
    TemporaryTable(const TemporaryTable&) = delete;
    TemporaryTable& operator=(const TemporaryTable&) = delete;

    // As it stands in SQL.
    const std::string& Name() const { return name; }

  private:
    Session& session;
    const std::string name;
};

}  // namespace qxdrivers::odbc
