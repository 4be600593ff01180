// Statements of the driver's own.
#pragma once

#include <string>
#include <string_view>

#include "drivers/sqlite/database.h"
#include "platform/int64.h"

struct sqlite3_stmt;

namespace qxdrivers::sqlite {

// `"name"`, with quotes in it doubled.
std::string QuoteName(std::string_view name);

// One statement: prepared, given its values, stepped through. Its failures are Errors without a place, since
// the text is not the caller's. Used on the thread of the connection.
class Query {
  public:
    Query(Database& owner, const std::string& sql);
    ~Query();
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;

    // Values for the parameters in their order. Texts and bytes are copied.
    Query& Add(std::string_view text);
    Query& Add(__int64 number);
    Query& AddBytes(std::string_view bytes);
    Query& AddZeros(__int64 count);
    // Stay the caller's until the statement has gone.
    Query& AddOwnedByCaller(std::string_view bytes, bool isText);

    // True on a row. A statement that is used again goes on from its start behind the last row.
    bool Step();
    // Of the current row; columns count from 0. Empty and 0 for NULL.
    std::string Text(int column) const;
    __int64 Number(int column) const;
    bool IsNull(int column) const;
    sqlite3_stmt* Raw() const { return statement; }

  private:
    void Check(int code);

    Database& database;
    sqlite3_stmt* statement = nullptr;
    int parameters = 0;
};

// Runs a statement that gives nothing.
void RunSilently(Database& database, const std::string& sql);

// The transaction of a transfer: one of its own, or where the caller has one open a savepoint in that. Rolled
// back unless it was committed. Used on the thread of the connection.
class OwnTransaction {
  public:
    // `writes`: a transaction of its own gets the lock for writing at once. Throws Errors.
    OwnTransaction(Database& owner, bool writes);
    ~OwnTransaction();
    OwnTransaction(const OwnTransaction&) = delete;
    OwnTransaction& operator=(const OwnTransaction&) = delete;

    // Throws Errors.
    void Commit();

  private:
    Database& database;
    const bool isOwn;
    bool isOpen = false;
};

}  // namespace qxdrivers::sqlite
