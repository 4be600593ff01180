#include "drivers/odbc/temporary_table.h"

namespace qxdrivers::odbc {

TemporaryTable::TemporaryTable(const LobPlace& place, Session& owner, const std::string& columns)
    : session(owner), name((place.database.empty() ? "" : place.database + ".") + "qxodbc_lob") {
    session.RunSilently("CREATE TEMPORARY TABLE " + name + "(" + columns + ")");
}

TemporaryTable::~TemporaryTable() {
    try {
        session.RunSilently("DROP TEMPORARY TABLE IF EXISTS " + name);
    } catch (...) {
        // The connection is lost, and its tables with it.
    }
}

}  // namespace qxdrivers::odbc
