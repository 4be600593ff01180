#include "drivers/odbc/warnings.h"

#include "drivers/odbc/sql_scan.h"

namespace qxdrivers::odbc {

namespace {

// What the text asks the server about the statement before it, which a statement in between would change.
bool LooksBack(const std::string& sql) {
    const std::string first = FirstWord(sql, Family::MySQL);
    return first == "SHOW" || first == "GET" ||
           HasWord(sql, Family::MySQL, {"ROW_COUNT", "FOUND_ROWS", "@@WARNING_COUNT", "@@ERROR_COUNT"});
}

// FOUND_ROWS would be asked for next.
bool IsLookedBackAt(const std::string& sql) {
    return HasWord(sql, Family::MySQL, {"SQL_CALC_FOUND_ROWS"});
}

struct WarningRow {
    SQLCHAR level[32] = {};
    SQLINTEGER code = 0;
    SQLCHAR text[4096] = {};
    SQLLEN levelBytes = 0;
    SQLLEN codeBytes = 0;
    SQLLEN textBytes = 0;
};

void ReadWarnings(Session& session) {
    const StatementHandle statement(session.Raw());
    WarningRow row;
    const bool good =
        SQL_SUCCEEDED(ExecuteText(statement.Raw(), "SHOW WARNINGS")) &&
        SQL_SUCCEEDED(
            SQLBindCol(statement.Raw(), 1, SQL_C_CHAR, row.level, sizeof row.level, &row.levelBytes)) &&
        SQL_SUCCEEDED(SQLBindCol(statement.Raw(), 2, SQL_C_SLONG, &row.code, 0, &row.codeBytes)) &&
        SQL_SUCCEEDED(SQLBindCol(statement.Raw(), 3, SQL_C_CHAR, row.text, sizeof row.text, &row.textBytes));
    while (good && SQL_SUCCEEDED(SQLFetch(statement.Raw()))) {
        qxdb::RawMessage message;
        const bool isNote = std::string(reinterpret_cast<const char*>(row.level)) == "Note";
        message.severity = isNote ? severityInformation : severityWarning;
        message.code = row.code;
        message.text = reinterpret_cast<const char*>(row.text);
        message.sqlState = isNote ? "00000" : "01000";
        session.warningsAreStale = true;
        session.Report(message);
    }
}

}  // namespace

void ForgetReportedWarnings(Session& session, const std::string& sql) {
    if (!session.Traits().asksForWarnings || !session.callback || !session.warningsAreStale ||
        LooksBack(sql)) {
        return;
    }
    session.warningsAreStale = false;
    session.RunSilently("SELECT 1 FROM (SELECT 1) AS qxodbc");
}

void ReportWarnings(Session& session, const std::string& sql) noexcept {
    if (!session.Traits().asksForWarnings || LooksBack(sql) || IsLookedBackAt(sql)) {
        return;
    }
    if (!session.callback) {
        // There may be some, which nobody is told; a later statement must not be told them for its own.
        session.warningsAreStale = true;
        return;
    }
    try {
        ReadWarnings(session);
    } catch (...) {
        // The next statement tells of a connection that is lost.
    }
}

}  // namespace qxdrivers::odbc
