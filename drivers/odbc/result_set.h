// One result of a statement: its columns, and its rows a block at a time.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "drivers/odbc/column_types.h"
#include "drivers/odbc/long_reader.h"
#include "drivers/odbc/server_cursor.h"
#include "drivers/odbc/statement_core.h"
#include "platform/int64.h"
#include "platform/qxdb/schema.h"

namespace qxdrivers::odbc {

// A column of a result and the memory that the driver fills for it.
struct ResultColumn {
    std::shared_ptr<const qxdb::ColumnRecord> record;
    NativeType native;
    ValueType type;
    bool ownFormat = true;  // a timestamp in the column's own format, not in the connection's

    SQLSMALLINT cType = SQL_C_CHAR;
    std::size_t cellBytes = 0;
    bool isBound = false;  // false: read when it is asked for
    std::unique_ptr<unsigned char[]> cells;
    std::vector<SQLLEN> indicators;

    // Of a value that does not fit its cell, or has none: what was read for the current row.
    unsigned long loadedPosition = 0;
    bool loadedNull = false;
    std::string loaded;

    bool IsWide() const { return cType == SQL_C_WCHAR; }
    bool IsLob() const { return type.kind == ValueKind::CharacterLob || type.kind == ValueKind::BinaryLob; }
};

// Rows are fetched into column-wise buffers of at most 4 MiB and handed out one by one; the first blocks are
// small, so that the first rows of a slow statement come early. Columns whose values are long, or of unknown
// length, are read by SQLGetData from the row when they are asked for. Stays readable as an empty result
// after Close. Used on the thread of the statement.
class ResultSet {
  public:
    // Describes the result that the handle is on. `number`: its position among those with columns of the
    // text, from 1. `rows`: where further rows come from when the driver's result is at its end; may be null.
    // `described`: nothing was executed, so there are no rows. Throws Errors.
    ResultSet(std::shared_ptr<StatementCore> owner, int number, std::unique_ptr<ServerCursor> rows,
              bool described);
    ~ResultSet();
    ResultSet(const ResultSet&) = delete;
    ResultSet& operator=(const ResultSet&) = delete;

    const std::vector<ResultColumn>& Columns() const { return columns; }
    StatementCore& Core() const { return *core; }

    // Moves one row forward; false at the end. Throws Errors.
    bool Fetch();
    // Ends the result: the driver no longer knows its buffers.
    void Close();

    // A row was fetched and the result is not over.
    bool HasRow() const { return isOpen && row > 0; }
    // Of the current row, from 1.
    __int64 Row() const { return row; }
    // Changes whenever values that were read are no longer the current ones; never 0 once a row was fetched.
    unsigned long Position() const { return position; }

    // The value's bytes as the driver delivered them, and its length or SQL_NULL_DATA. Only for columns whose
    // values have a fixed length, and with a row.
    const unsigned char* Cell(std::size_t column);
    SQLLEN Indicator(std::size_t column);
    // The value of a column of text or bytes: null pointer for NULL. Text of a wide cell stays wide, which
    // `isWide` tells; text that had to be read behind the cell comes as UTF-8. Valid until the row moves.
    const char* Variable(std::size_t column, std::size_t& bytes, bool& isWide);
    // Opens a large object of the current row for reading.
    void OpenLob(std::size_t column, LongReader& reader);

    // Throws the Errors of a value that does not fit its column.
    [[noreturn]] void ThrowMisfit(std::size_t column, const std::string& value) const;

  private:
    void Describe(std::size_t count);
    ResultColumn DescribeColumn(SQLUSMALLINT ordinal) const;
    void Bind();
    bool NextBlock();
    bool FetchBlock();
    void SetBlockRows(unsigned int rows);
    void PrepareCells();
    void CountBytes();
    void CheckRow();
    void Load(std::size_t column);
    void PointAtRow();
    bool IsCut(const ResultColumn& column, SQLLEN indicator) const;

    const std::shared_ptr<StatementCore> core;
    const int resultSetNumber;
    std::unique_ptr<ServerCursor> source;
    std::vector<ResultColumn> columns;
    std::vector<std::size_t> timestampColumns;  // those whose zero dates are told by the structure
    std::vector<std::size_t> bitColumns;
    std::size_t firstLong = 0;  // the first column that is not bound

    bool isOpen;
    bool isBound = false;
    unsigned int blockLimit = 1;  // most rows of a block
    unsigned int blockRows = 0;   // rows asked for
    SQLULEN rowsFetched = 0;      // rows in the block; written by the driver
    std::vector<SQLUSMALLINT> rowStatus;
    std::optional<Errors> blockErrors;  // of rows of the block
    SQLULEN blockRow = 0;               // the current row in the block
    SQLULEN positionedRow = 0;          // where SQLSetPos points, from 1; 0 not yet
    __int64 row = 0;
    unsigned long position = 0;
};

}  // namespace qxdrivers::odbc
