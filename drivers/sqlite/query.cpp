#include "drivers/sqlite/query.h"

#include <sqlite3.h>

#include "drivers/sqlite/value_text.h"

namespace qxdrivers::sqlite {

std::string QuoteName(std::string_view name) {
    std::string quoted = "\"";
    for (const char c : name) {
        quoted.append(c == '"' ? 2 : 1, c);
    }
    return quoted + '"';
}

Query::Query(Database& owner, const std::string& sql) : database(owner) {
    Check(sqlite3_prepare_v2(database.Handle(), sql.c_str(), -1, &statement, nullptr));
}

Query::~Query() {
    sqlite3_finalize(statement);
}

void Query::Check(int code) {
    if (code != SQLITE_OK && code != SQLITE_ROW && code != SQLITE_DONE) {
        database.ThrowFailed(RunControl(), code, statement ? Stage::Run : Stage::Compile, Place());
    }
}

Query& Query::Add(std::string_view text) {
    Check(sqlite3_bind_text64(statement, ++parameters, text.data(), text.size(), SQLITE_TRANSIENT,
                              SQLITE_UTF8));
    return *this;
}

Query& Query::Add(__int64 number) {
    Check(sqlite3_bind_int64(statement, ++parameters, number));
    return *this;
}

Query& Query::AddBytes(std::string_view bytes) {
    // Without an address the value would be NULL.
    const void* const address = bytes.empty() ? "" : bytes.data();
    Check(sqlite3_bind_blob64(statement, ++parameters, address, bytes.size(), SQLITE_TRANSIENT));
    return *this;
}

Query& Query::AddZeros(__int64 count) {
    Check(sqlite3_bind_zeroblob64(statement, ++parameters, static_cast<sqlite3_uint64>(count)));
    return *this;
}

Query& Query::AddOwnedByCaller(std::string_view bytes, bool isText) {
    const char* const address = bytes.empty() ? "" : bytes.data();
    ++parameters;
    Check(isText
              ? sqlite3_bind_text64(statement, parameters, address, bytes.size(), SQLITE_STATIC, SQLITE_UTF8)
              : sqlite3_bind_blob64(statement, parameters, address, bytes.size(), SQLITE_STATIC));
    return *this;
}

bool Query::Step() {
    const int code = sqlite3_step(statement);
    Check(code);
    return code == SQLITE_ROW;
}

std::string Query::Text(int column) const {
    return std::string(TextOf(sqlite3_column_value(statement, column)));
}

__int64 Query::Number(int column) const {
    return sqlite3_column_int64(statement, column);
}

bool Query::IsNull(int column) const {
    return sqlite3_column_type(statement, column) == SQLITE_NULL;
}

void RunSilently(Database& database, const std::string& sql) {
    Query(database, sql).Step();
}

OwnTransaction::OwnTransaction(Database& owner, bool writes)
    : database(owner), isOwn(sqlite3_get_autocommit(owner.Handle()) != 0) {
    RunSilently(database, !isOwn ? "SAVEPOINT qxsqlite_lob" : writes ? "BEGIN IMMEDIATE" : "BEGIN");
    isOpen = true;
}

OwnTransaction::~OwnTransaction() {
    // Some failures, such as a full disk, have rolled all of it back already.
    if (!isOpen || sqlite3_get_autocommit(database.Handle()) != 0) {
        return;
    }
    const char* const sql = isOwn ? "ROLLBACK" : "ROLLBACK TO qxsqlite_lob; RELEASE qxsqlite_lob";
    sqlite3_exec(database.Handle(), sql, nullptr, nullptr, nullptr);
}

void OwnTransaction::Commit() {
    RunSilently(database, isOwn ? "COMMIT" : "RELEASE qxsqlite_lob");
    isOpen = false;
}

}  // namespace qxdrivers::sqlite
