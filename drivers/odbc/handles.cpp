#include "drivers/odbc/handles.h"

#include "drivers/odbc/diagnostics.h"
#include "drivers/odbc/wide_text.h"

namespace qxdrivers::odbc {

namespace {

WideText TerminatedText(const std::string& utf8) {
    WideText text = ToWide(utf8);
    text.push_back(0);
    return text;
}

}  // namespace

ConnectionHandle::ConnectionHandle() {
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment))) {
        ThrowRefusal("The ODBC driver manager gives no environment", "HY001");
    }
    SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION, AttributeValue(SQL_OV_ODBC3), 0);
    const SQLRETURN code = SQLAllocHandle(SQL_HANDLE_DBC, environment, &connection);
    if (!SQL_SUCCEEDED(code)) {
        const Errors errors = ReadErrors({SQL_HANDLE_ENV, environment}, "SQLAllocHandle", ErrorContext());
        SQLFreeHandle(SQL_HANDLE_ENV, environment);
        throw errors;
    }
}

ConnectionHandle::~ConnectionHandle() {
    if (connected && !SQL_SUCCEEDED(SQLDisconnect(connection))) {
        // A driver refuses while it knows of an open transaction.
        SQLEndTran(SQL_HANDLE_DBC, connection, SQL_ROLLBACK);
        SQLDisconnect(connection);
    }
    SQLFreeHandle(SQL_HANDLE_DBC, connection);
    SQLFreeHandle(SQL_HANDLE_ENV, environment);
}

void ConnectionHandle::Connect(const std::string& connectionText, unsigned int timeoutSeconds) {
    if (timeoutSeconds > 0) {
        SQLSetConnectAttrW(connection, SQL_ATTR_LOGIN_TIMEOUT, AttributeValue(timeoutSeconds),
                           SQL_IS_UINTEGER);
    }
    WideText text = TerminatedText(connectionText);
    SQLSMALLINT ignored = 0;
    SQLWCHAR completed[1024];
    const SQLRETURN code = SQLDriverConnectW(connection, nullptr, text.data(), SQL_NTS, completed,
                                             static_cast<SQLSMALLINT>(sizeof completed / sizeof completed[0]),
                                             &ignored, SQL_DRIVER_NOPROMPT);
    if (!SQL_SUCCEEDED(code)) {
        throw ReadErrors({SQL_HANDLE_DBC, connection}, "SQLDriverConnect", ErrorContext());
    }
    connected = true;
}

StatementHandle::StatementHandle(SQLHDBC connection) {
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_STMT, connection, &statement))) {
        throw ReadErrors({SQL_HANDLE_DBC, connection}, "SQLAllocHandle", ErrorContext());
    }
}

StatementHandle::~StatementHandle() {
    SQLFreeHandle(SQL_HANDLE_STMT, statement);
}

SQLRETURN ExecuteText(SQLHSTMT statement, const std::string& sql) {
    WideText text = TerminatedText(sql);
    return SQLExecDirectW(statement, text.data(), SQL_NTS);
}

SQLRETURN PrepareText(SQLHSTMT statement, const std::string& sql) {
    WideText text = TerminatedText(sql);
    return SQLPrepareW(statement, text.data(), SQL_NTS);
}

CatalogName::CatalogName(const std::string& name) : text(name.empty() ? WideText() : TerminatedText(name)) {}

}  // namespace qxdrivers::odbc
