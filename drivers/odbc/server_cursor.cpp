#include "drivers/odbc/server_cursor.h"

#include <algorithm>
#include <utility>

#include "drivers/odbc/sql_scan.h"
#include "drivers/odbc/transaction.h"

namespace qxdrivers::odbc {

namespace {

// The driver has rows of about this size in memory, but always so many rows.
constexpr __int64 chunkBytes = 4 * 1024 * 1024;
constexpr unsigned int mostRows = 1000;
constexpr unsigned int firstRows = 20;

// A connection has one at a time; it is no name that a user's own cursor has.
constexpr const char* cursorName = "qxodbc_cursor";

}  // namespace

bool ServerCursor::Fits(const std::string& sql) {
    static constexpr std::string_view changing[] = {"INSERT", "UPDATE", "DELETE", "MERGE"};
    SqlScanner scanner(sql, Family::PostgreSQL);
    SqlToken token = scanner.Next();
    const bool isWith = token.IsWord("WITH");
    if (!isWith && !token.IsWord("SELECT")) {
        return false;
    }
    bool readsTable = isWith;
    for (token = scanner.Next(); token.kind != SqlToken::End; token = scanner.Next()) {
        const bool changes = isWith && std::any_of(std::begin(changing), std::end(changing),
                                                   [&](std::string_view word) { return token.IsWord(word); });
        if (changes || token.IsWord("INTO") || token.kind == SqlToken::Marker) {
            return false;
        }
        if (token.kind == SqlToken::Semicolon) {
            return readsTable && scanner.Next().kind == SqlToken::End;
        }
        readsTable = readsTable || token.IsWord("FROM");
    }
    return readsTable;
}

ServerCursor::ServerCursor(std::shared_ptr<StatementCore> owner)
    : core(std::move(owner)), chunkRows(firstRows) {}

std::unique_ptr<ServerCursor> ServerCursor::Open(const std::shared_ptr<StatementCore>& core) {
    std::unique_ptr<ServerCursor> cursor(new ServerCursor(core));
    core->GetSession().hasServerCursor = true;
    cursor->ownsTransaction = BeginUnlessOpen(core->GetSession(), core->Context());
    cursor->Declare();
    return cursor;
}

ServerCursor::~ServerCursor() {
    core->GetSession().hasServerCursor = false;
    try {
        Finish();
    } catch (...) {
        RollBack();
    }
}

void ServerCursor::Declare() {
    // The line end keeps a comment at the end of the query from swallowing the rest.
    std::string query = core->Sql();
    SqlScanner scanner(query, Family::PostgreSQL);
    for (SqlToken token = scanner.Next(); token.kind != SqlToken::End; token = scanner.Next()) {
        if (token.kind == SqlToken::Semicolon) {
            query.resize(token.begin);
            break;
        }
    }
    const std::string text =
        std::string("DECLARE ") + cursorName + " NO SCROLL CURSOR FOR " + query + "\n;" + FetchText();
    try {
        core->Call("SQLExecDirect", [&] { return ExecuteText(core->Raw(), text); });
        isOpen = true;
        core->Call("SQLMoreResults", [&] { return SQLMoreResults(core->Raw()); });
    } catch (...) {
        RollBack();
        throw;
    }
}

std::string ServerCursor::FetchText() const {
    return "FETCH " + std::to_string(chunkRows) + " FROM " + cursorName;
}

void ServerCursor::CountBytes(__int64 rows, __int64 bytes) {
    rowsInChunk += rows;
    rowsRead += rows;
    bytesRead += bytes;
}

bool ServerCursor::FetchMore() {
    if (!isOpen || rowsInChunk < chunkRows) {
        return false;
    }
    const __int64 rowBytes = std::max<__int64>(bytesRead / std::max<__int64>(rowsRead, 1), 1);
    chunkRows = static_cast<unsigned int>(std::clamp<__int64>(chunkBytes / rowBytes, 1, mostRows));
    rowsInChunk = 0;
    SQLFreeStmt(core->Raw(), SQL_CLOSE);
    core->Call("SQLExecDirect", [&] { return ExecuteText(core->Raw(), FetchText()); });
    return true;
}

void ServerCursor::Finish() {
    if (!isOpen) {
        return;
    }
    isOpen = false;
    SQLFreeStmt(core->Raw(), SQL_CLOSE);
    core->GetSession().RunSilently(std::string("CLOSE ") + cursorName);
    if (ownsTransaction) {
        core->GetSession().RunSilently("COMMIT");
        ownsTransaction = false;
    }
}

// The user's own transaction stays as it is: the server has marked it as failed.
void ServerCursor::RollBack() noexcept {
    isOpen = false;
    if (!ownsTransaction) {
        return;
    }
    ownsTransaction = false;
    try {
        core->GetSession().RunSilently("ROLLBACK");
    } catch (...) {
        // The connection is lost, and the transaction with it.
    }
}

}  // namespace qxdrivers::odbc
