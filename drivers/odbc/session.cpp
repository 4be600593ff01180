#include "drivers/odbc/session.h"

#include <algorithm>
#include <cstring>

#include "drivers/odbc/catalog_text.h"
#include "drivers/odbc/wide_text.h"

namespace qxdrivers::odbc {

namespace {

constexpr unsigned int killConnectSeconds = 5;

SQLUINTEGER NumberInformation(SQLHDBC connection, SQLUSMALLINT item) {
    SQLUINTEGER value = 0;
    SQLSMALLINT length = 0;
    SQLGetInfoW(connection, item, &value, static_cast<SQLSMALLINT>(sizeof value), &length);
    return value;
}

// True when the driver knows wide character columns.
bool KnowsWideText(SQLHDBC connection) {
    const StatementHandle statement(connection);
    return SQL_SUCCEEDED(SQLGetTypeInfoW(statement.Raw(), SQL_WVARCHAR)) &&
           SQL_SUCCEEDED(SQLFetch(statement.Raw()));
}

bool Contains(const std::string& text, const char* piece) {
    return text.find(piece) != std::string::npos;
}

}  // namespace

Session::Session(const DriverOptions& driverOptions) : options(driverOptions) {}

std::shared_ptr<Session> Session::Open(const qxdb::ConnectionDef& definition) {
    const std::string text = CompleteConnectionText(definition);
    std::shared_ptr<Session> session(new Session(DriverOptions::Parse(definition.GetOptions())));
    session->handle.Connect(text, session->options.connectTimeoutSeconds);
    session->connectionText = text;
    session->LearnTraits(text, definition.GetType());
    return session;
}

void Session::LearnTraits(const std::string& givenText, qxdb::DBTYPE givenType) {
    const ConnectionText text = ConnectionText::Parse(givenText);
    const std::string product = Information(SQL_DBMS_NAME);
    const std::string driver = Information(SQL_DRIVER_NAME);
    traits.family = FamilyOf(product);
    detectedType = ServerTypeOf(traits.family, product);
    traits.type = givenType == qxdb::DBTYPE_UNSET ? detectedType : givenType;
    traits.version = VersionNumber(traits.family, Information(SQL_DBMS_VER));
    traits.identifierQuote = Information(SQL_IDENTIFIER_QUOTE_CHAR);
    if (traits.identifierQuote == " ") {
        traits.identifierQuote.clear();
    }
    const SQLUINTEGER getData = NumberInformation(Raw(), SQL_GETDATA_EXTENSIONS);
    constexpr SQLUINTEGER anywhere = SQL_GD_ANY_COLUMN | SQL_GD_ANY_ORDER | SQL_GD_BOUND;
    traits.getDataAnywhere = !options.readsSequentially && (getData & anywhere) == anywhere;
    // MariaDB's driver claims blocks too, but then reads from another row and loses its place.
    traits.getDataInBlocks =
        traits.getDataAnywhere && (getData & SQL_GD_BLOCK) != 0 && traits.family != Family::MySQL;
    if (traits.family == Family::MySQL) {
        traits.narrowText = text.Get("CHARSET") == "utf8mb4";
        traits.asksForWarnings = options.asksForWarnings;
        traits.zeroDatesTold = ZeroDatesAreTold();
        serverThread = QueryNumber("SELECT CONNECTION_ID()", 0);
    }
    traits.unlimitedAsLob = options.unlimitedAsLob;
    traits.serverCursors = Contains(driver, "psqlodbc") && !text.Has("UseDeclareFetch");
    unicode = traits.narrowText || KnowsWideText(Raw());
}

std::string Session::Information(SQLUSMALLINT item) const {
    SQLWCHAR value[256] = {};
    SQLSMALLINT bytes = 0;
    std::string text;
    if (SQL_SUCCEEDED(SQLGetInfoW(Raw(), item, value, static_cast<SQLSMALLINT>(sizeof value), &bytes))) {
        const auto length = static_cast<std::size_t>(std::max<SQLSMALLINT>(bytes, 0)) / sizeof(SQLWCHAR);
        AppendTerminated(value, std::min(length, std::size(value) - 1), text);
    }
    return text;
}

// Asks the driver how it hands out a date of zeros and a NULL as structures: both as NULL, but with the
// structure zeroed for the one and left alone for the other. Any other answer, and a failure, is no.
bool Session::ZeroDatesAreTold() {
    constexpr int rows = 2;
    const StatementHandle statement(Raw());
    SQL_TIMESTAMP_STRUCT values[rows];
    SQLLEN indicators[rows] = {};
    std::memset(values, 0x55, sizeof values);
    const std::string sql =
        "SELECT CAST(NULL AS DATETIME) AS a UNION ALL SELECT CAST('0000-00-00 00:00:00' AS DATETIME)";
    const bool read = SQL_SUCCEEDED(SQLSetStmtAttrW(statement.Raw(), SQL_ATTR_ROW_ARRAY_SIZE,
                                                    AttributeValue(rows), SQL_IS_UINTEGER)) &&
                      SQL_SUCCEEDED(ExecuteText(statement.Raw(), sql)) &&
                      SQL_SUCCEEDED(SQLBindCol(statement.Raw(), 1, SQL_C_TYPE_TIMESTAMP, values,
                                               sizeof values[0], indicators)) &&
                      SQL_SUCCEEDED(SQLFetch(statement.Raw()));
    constexpr SQLSMALLINT untouched = 0x5555;
    return read && indicators[0] == SQL_NULL_DATA && values[0].year == untouched &&
           indicators[1] == SQL_NULL_DATA && values[1].year == 0 && values[1].month == 0;
}

void Session::SetCurrentDatabase(const std::string& name) {
    // Without a length: MariaDB's driver takes one for that of characters, and reads twice as far.
    CatalogName terminated(name);
    const SQLRETURN code = SQLSetConnectAttrW(Raw(), SQL_ATTR_CURRENT_CATALOG, terminated.Text(), SQL_NTS);
    if (!SQL_SUCCEEDED(code)) {
        throw ReadErrors({SQL_HANDLE_DBC, Raw()}, "SQLSetConnectAttr", {traits.family, nullptr});
    }
    // PostgreSQL's driver accepts any name and stays where it is.
    if (CurrentDatabase() != name) {
        ThrowRefusal("The connection stays in database \"" + CurrentDatabase() +
                         "\": the server can't change to \"" + name + "\"",
                     "HYC00");
    }
}

std::string Session::CurrentDatabase() const {
    SQLWCHAR name[256] = {};
    SQLINTEGER bytes = 0;
    std::string text;
    if (SQL_SUCCEEDED(SQLGetConnectAttrW(Raw(), SQL_ATTR_CURRENT_CATALOG, name,
                                         static_cast<SQLINTEGER>(sizeof name), &bytes))) {
        const auto length = static_cast<std::size_t>(std::max<SQLINTEGER>(bytes, 0)) / sizeof(SQLWCHAR);
        AppendTerminated(name, std::min(length, std::size(name) - 1), text);
    }
    return text;
}

void Session::RunSilently(const std::string& sql) {
    const StatementHandle statement(Raw());
    const SQLRETURN code = ExecuteText(statement.Raw(), sql);
    if (!SQL_SUCCEEDED(code) && code != SQL_NO_DATA) {
        throw ReadErrors({SQL_HANDLE_STMT, statement.Raw()}, "SQLExecDirect", {traits.family, nullptr});
    }
}

// The drivers of MySQL close the statement, under the thread that uses it, whenever they find no answer of
// the server under way at that moment.
void Session::Interrupt(SQLHSTMT statement) const noexcept {
    if (serverThread == 0) {
        SQLCancel(statement);
        return;
    }
    try {
        KillQuery();
    } catch (...) {
        // No second connection: the statement runs to its end.
    }
}

// On a connection that does nothing the server drops the request.
void Session::KillQuery() const {
    ConnectionHandle killer;
    killer.Connect(connectionText, killConnectSeconds);
    const StatementHandle statement(killer.Raw());
    ExecuteText(statement.Raw(), "KILL QUERY " + std::to_string(serverThread));
}

__int64 Session::QueryNumber(const char* sql, __int64 otherwise) const {
    const StatementHandle statement(Raw());
    const bool read =
        SQL_SUCCEEDED(ExecuteText(statement.Raw(), sql)) && SQL_SUCCEEDED(SQLFetch(statement.Raw()));
    return read ? ReadCatalogNumber(statement.Raw(), 1, otherwise) : otherwise;
}

void Session::Report(HandleRef source, const std::string* sql) {
    if (!callback) {
        return;
    }
    const ErrorContext context{traits.family, sql};
    for (qxdb::RawMessage& message : ReadMessages(source, context)) {
        if (!IsHousekeeping(message)) {
            FindPlace(message, context);
            message.severity = message.sqlState == "00000" ? severityInformation : severityWarning;
            Report(message);
        }
    }
}

void Session::Report(const qxdb::RawMessage& message) {
    if (callback) {
        callback->HandleRawMessage(message);
    }
}

}  // namespace qxdrivers::odbc
