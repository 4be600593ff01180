// INSERT statements: file type 8, written only.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "persistence/persistence_impl.h"
#include "storage/cell_sink.h"

namespace qxdbsqlengine {

// Writes each row as an INSERT statement in the dialect of the server that SetDBMSType names. One thread at a
// time, except the cancel flag.
//
// The table is the one that the store has for the result set (DataStorage::SetTableName); a result set
// without one, such as a join, writes nothing. Columns that the server fills itself are left out: timestamp
// columns of Sybase and SQL Server, by their native type name, and Oracle's row ids, by their native type 11.
// Names and values stand in the order of the column list; a column that is listed twice appears once.
//
// Statements end with "go" (Sybase, SQL Server and, deliberately, MySQL), ";" (both DB2) or "/" (Oracle) on a
// line of its own; for all other servers nothing ends them. Lines end in LF. In texts only the single quote
// is escaped, by doubling it: MySQL reads backslashes as they stand under NO_BACKSLASH_ESCAPES alone.
class QXSENG2_API InsertStatementsPersistence : public PersistenceImpl {
  public:
    explicit InsertStatementsPersistence(std::atomic<bool>& cancel);
    ~InsertStatementsPersistence() override;

    // Names to write instead of the labels, by column number. Used for the columns that it is long enough
    // for.
    void SetQuotedColumnList(const std::vector<std::string>& names) override;
    std::vector<std::string> GetQuotedColumnList() const override;
    bool WriteResultSetBody(int resultSet, bool wholeFile) override;
    void WriteFileHeader() override;  // nothing
    void WriteResultSetHeader(bool includeHeaders) override;
    void WriteRow(int row) override;
    void WriteResultSetFooter() override;  // nothing

    // Adds a column to the statement's head. Nothing when it is excluded, there already, or has no name.
    // `first`: no name stands there yet.
    virtual void AddColumn(int column, bool& first);
    virtual bool IsColumnExcluded(int column);

    // The value of one cell, read by itself, as it stands in a statement; "NULL" for a NULL. WriteRow writes
    // the values of its row as these do, but all under one lock.
    virtual std::string FormatNumber(int row, int column);
    virtual std::string FormatTimestamp(int row, int column);
    virtual std::string FormatBinary(int row, int column);
    virtual std::string FormatLob(int row, int column);
    virtual std::string FormatString(int row, int column);

  private:
    enum class Kind { Plain, Quoted, OracleTime };
    // What stands around a value, and how it is written itself.
    struct Style {
        Kind kind;
        std::string_view opening;
        std::string_view closing;
    };
    class ValueWriter : public CellSink {
      public:
        explicit ValueWriter(InsertStatementsPersistence& persistence) : owner(persistence) {}
        void OnCell(int position, bool isNull, std::string_view text) override;
        // Of the next position.
        void AddStyle(const Style& style);
        void Clear();

      private:
        InsertStatementsPersistence& owner;
        std::vector<Style> styles;          // by position
        std::vector<std::string> openings;  // the same, with the separator in front
    };

    Style StyleOf(int column) const;
    Style TimestampStyle() const;
    Style LobStyle(int column) const;
    std::string_view Terminator() const;
    std::string Format(int row, int column, const Style& style) const;

    std::vector<std::string> quotedColumnList;
    std::map<int, std::string> includedColumns;  // column number to the name used
    std::vector<int> columnOrder;                // of the included columns
    std::string prefix;                          // of each statement; empty: no column is left
    std::string_view terminator;
    ValueWriter values;
};

}  // namespace qxdbsqlengine
