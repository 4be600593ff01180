// Owners of ODBC handles.
#pragma once

#include <memory>
#include <string>

#include "drivers/odbc/odbc_api.h"
#include "drivers/odbc/wide_text.h"

namespace qxdrivers::odbc {

// An environment and the one connection in it. Connections do not share an environment: what a driver manager
// guards by the environment then never makes two connections wait for each other. Disconnects and frees both;
// a transaction that is still open is rolled back. Used on the thread of the connection.
class ConnectionHandle {
  public:
    // Throws Errors.
    ConnectionHandle();
    ~ConnectionHandle();
    ConnectionHandle(const ConnectionHandle&) = delete;
    ConnectionHandle& operator=(const ConnectionHandle&) = delete;

    // `timeoutSeconds` 0: the driver's own limit. Throws Errors with what the driver manager or the server
    // says.
    void Connect(const std::string& connectionText, unsigned int timeoutSeconds);
    SQLHDBC Raw() const { return connection; }

  private:
    SQLHENV environment = SQL_NULL_HENV;
    SQLHDBC connection = SQL_NULL_HDBC;
    bool connected = false;
};

// A statement handle; frees it. Keeps nothing else alive: its owner holds the connection.
class StatementHandle {
  public:
    // Throws Errors.
    explicit StatementHandle(SQLHDBC connection);
    ~StatementHandle();
    StatementHandle(const StatementHandle&) = delete;
    StatementHandle& operator=(const StatementHandle&) = delete;

    SQLHSTMT Raw() const { return statement; }

  private:
    SQLHSTMT statement = SQL_NULL_HSTMT;
};

// Texts of SQL and names go with a terminator, and not with their lengths: MariaDB's driver takes the letters
// U+00D8 to U+00DB for halves of pairs, and reads as far beyond a given length as there are such letters.
// Throw Errors for what is no UTF-8.
SQLRETURN ExecuteText(SQLHSTMT statement, const std::string& sql);
SQLRETURN PrepareText(SQLHSTMT statement, const std::string& sql);

// A name for a catalog function. An empty one is none at all.
class CatalogName {
  public:
    explicit CatalogName(const std::string& name);
    SQLWCHAR* Text() { return text.empty() ? nullptr : text.data(); }
    SQLSMALLINT Length() const { return text.empty() ? SQLSMALLINT{0} : SQLSMALLINT{SQL_NTS}; }

  private:
    WideText text;
};

}  // namespace qxdrivers::odbc
