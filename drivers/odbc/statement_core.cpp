#include "drivers/odbc/statement_core.h"

namespace qxdrivers::odbc {

void StatementCore::Look(const char* operation, SQLRETURN code) {
    if (code == SQL_NO_DATA || code == SQL_NEED_DATA) {
        return;
    }
    const HandleRef source{SQL_HANDLE_STMT, Raw()};
    if (code == SQL_SUCCESS_WITH_INFO) {
        session->Report(source, sql.get());
        return;
    }
    // The failure stays among the server's warnings, but it is told here.
    session->warningsAreStale = true;
    throw ReadErrors(source, operation, Context());
}

}  // namespace qxdrivers::odbc
