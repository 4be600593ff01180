// A compiled statement, and one run of it that gives a result.
#pragma once

#include <memory>
#include <vector>

#include "drivers/sqlite/database.h"
#include "drivers/sqlite/declared_type.h"
#include "drivers/sqlite/source_text.h"
#include "platform/int64.h"
#include "platform/qxdb/schema.h"

struct sqlite3_stmt;

namespace qxdrivers::sqlite {

// Owner of a compiled statement. Used on the thread of the connection.
class CompiledStatement {
  public:
    CompiledStatement(std::shared_ptr<Database> owner, sqlite3_stmt* compiled, SourceText where);
    ~CompiledStatement();
    CompiledStatement(const CompiledStatement&) = delete;
    CompiledStatement& operator=(const CompiledStatement&) = delete;

    Database& GetDatabase() const { return *database; }
    sqlite3_stmt* Raw() const { return statement; }
    const SourceText& Source() const { return source; }

  private:
    const std::shared_ptr<Database> database;
    sqlite3_stmt* const statement;
    const SourceText source;
};

// What is known of a result column before the first value is read.
struct ResultColumn {
    std::shared_ptr<const qxdb::ColumnRecord> record;
    DeclaredType type;
    bool ownFormat = true;  // a timestamp in the column's own format, not in the connection's
};

// One run of a statement: rows, or a row count, or nothing. Cursors and fields share it; it stays readable as
// an empty result after Close. Used on the thread of the connection.
class Run {
  public:
    Run(std::shared_ptr<CompiledStatement> compiled, std::shared_ptr<RunControl> runControl);
    ~Run();
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    enum class Outcome { Nothing, RowCount, Rows };
    // Runs up to the first row or the end. Throws Errors.
    Outcome Start();
    // The position of this result among those with columns of the text, from 1.
    void SetResultSetNumber(int number) { resultSetNumber = number; }
    // Moves to the next row, the first time to the first; false at the end. Throws Errors.
    bool Fetch();
    // Ends the run and lets its locks go. Later fetches give no row.
    void Close();

    sqlite3_stmt* Raw() const { return statement; }
    const CompiledStatement& Compiled() const { return *compiledStatement; }
    const std::vector<ResultColumn>& Columns() const { return columns; }
    // Rows changed by a statement without columns. Throws Errors for one with columns.
    __int64 GetRowCount() const;
    // Of the current row, from 1; 0 before the first.
    __int64 Row() const { return row; }
    // Changes whenever values that were read are no longer the current ones.
    unsigned long Position() const { return position; }
    // Values can be read: a row was fetched and the run is not over.
    bool HasRow() const { return open && !rowWaiting && row > 0; }

    // Throws the Errors of a value that does not fit its column.
    [[noreturn]] void ThrowMisfit(int column, const std::string& wanted) const;

  private:
    void Describe();
    ResultColumn DescribeColumn(int column) const;
    bool IsUnlimitedLob(int column, const DeclaredType& type) const;
    bool StepOn(bool first);

    const std::shared_ptr<CompiledStatement> compiledStatement;
    const std::shared_ptr<RunControl> control;
    Database& database;
    sqlite3_stmt* const statement;
    std::vector<ResultColumn> columns;
    __int64 rowCount = 0;
    __int64 row = 0;
    unsigned long position = 0;
    int resultSetNumber = 0;
    bool open = false;        // stepped and not yet at the end
    bool rowWaiting = false;  // the first row was stepped to, and not yet fetched
};

}  // namespace qxdrivers::sqlite
