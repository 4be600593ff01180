// Saving the result sets of a store to a file, and reading delimited text and XML back into a store.
//
//     std::atomic<bool> cancel{false};
//     Persistence file(ResultFileComma, cancel, &progress, storage);
//     file.SetFileName("/tmp/orders.csv");
//     if (!file.WriteAllResultSets())  // the reason went to progress.OnRecord
//         ...
//
// An export reads the rows that the store holds; it never goes back to a server. It runs on the thread that
// calls it, normally a worker of the caller's own.
#pragma once

#include <atomic>
#include <deque>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "platform/export.h"
#include "platform/qxdb/types.h"
#include "platform/smart_ptr.h"

class ErrorRecord;

namespace qxdbsqlengine {

class DataStorage;

// The file formats. The numbers are fixed: callers store them in their settings. Any other number (5 among
// them) has no format behind it.
enum ResultFileType : int {
    ResultFileTab = 0,             // delimited by tab, never quoted
    ResultFileComma = 1,           // delimited by comma, quoted by need
    ResultFileHtml = 2,            // one page, one table for each result set
    ResultFilePipe = 3,            // delimited by '|', quoted by need
    ResultFileExcel = 4,           // HTML dialect of a spreadsheet
    ResultFileXml = 6,             // XML with types and NULLs
    ResultFileDelimited = 7,       // delimited by comma until SetDelimiter, never quoted
    ResultFileInsert = 8,          // INSERT statements
    ResultFileSpreadsheetXml = 9,  // spreadsheet XML
};

// What a caller learns while a file is written or read.
//
// Threading: every entry is called on the thread that runs the export or import. Locking: no lock of the
// store or of the library is held, so an entry may read the store. Exceptions: what an entry throws leaves
// the running operation; the file is closed and keeps what was written so far.
class QXSENG2_API IQXPersistenceProgressCallback {
  public:
    virtual ~IQXPersistenceProgressCallback() = default;

    // The part of the work that is done, from 0 to 1: after each row written or read. Called once a row, so
    // it should be cheap. Rows may be written a few ahead of it; when it cancels or throws, those are taken
    // back.
    virtual void OnProgress(float done) = 0;

    // The number of rows that the operation is going to handle. Called by no format of this library; open to
    // formats that know their total in advance.
    virtual void OnTotalRows(int rows) = 0;

    // A failure or a remark. Severity 2 with an operating system's error number (errno) is a file that could
    // not be opened, written or read; the operation gives false. Other records of a reader name the line in
    // the file (1-based) and do not end the operation. The record lives as long as the call.
    virtual void OnRecord(const ErrorRecord& record) = 0;

    // The number of rows handled so far. Called by no format of this library.
    virtual void OnRowsDone(int rows) = 0;
};

// One file format. The format classes derive from PersistenceImpl; callers use Persistence instead.
//
// One thread at a time, except the cancel flag. Row and column numbers are 0-based.
class QXSENG2_API IPersistenceImpl {
  public:
    virtual ~IPersistenceImpl() = default;

    // Stores through the reference that was given at construction. Any thread.
    virtual void SetCancelled(bool cancelled) = 0;
    // Not owned; null for none. Must outlive the object or be set to null before it goes.
    virtual void SetProgressCallback(IQXPersistenceProgressCallback* callback) = 0;
    virtual void SetDataStorage(const SmartPtr<DataStorage>& storage) = 0;
    virtual void SetFileName(const char* fileName) = 0;  // null is taken as ""
    virtual std::string GetFileName() const = 0;
    virtual void SetTableName(const char* tableName) = 0;  // null is taken as ""
    virtual std::string GetTableName() const = 0;
    virtual void SetRowList(const std::vector<int>& rows) = 0;
    virtual void GetRowList(std::vector<int>& rows) const = 0;
    virtual void SetColumnList(const std::vector<int>& columns) = 0;
    virtual void GetColumnList(std::vector<int>& columns) const = 0;
    virtual void SetQuotedColumnList(const std::vector<std::string>& names) = 0;
    virtual std::vector<std::string> GetQuotedColumnList() const = 0;
    virtual void SetDBMSType(qxdb::DBTYPE type) = 0;
    virtual qxdb::DBTYPE GetDBMSType() const = 0;
    virtual void SetDelimiter(char delimiter) = 0;
    virtual void SetIncludeHeaders(bool include) = 0;
    virtual void SetUseQuotingLogic(bool use) = 0;
    virtual void SetExpandTabs(bool expand) = 0;
    virtual bool WriteAllResultSets() = 0;
    virtual bool WriteResultSets(std::deque<int> resultSets) = 0;
    virtual bool WriteResultSet(int resultSet, bool wholeFile) = 0;
    virtual bool ReadAllResultSets() = 0;
    virtual void SetOutputStream(std::ostream* stream) = 0;
};

// The class that callers use: a handle on one format.
//
// One thread at a time. The cancel flag, the callback and the store's handle must outlive it; the flag is
// read between two rows, so another thread cancels within the time of one row. A cancelled export leaves a
// complete file with the rows so far and gives true.
//
// The store may still be growing: a row is read under the store's read lock, and an export holds the rows
// that were there when its result set began. LockAll on the store keeps it still over a whole export.
//
// Failures: a file that cannot be opened, written to its end or read gives false, and the reason goes to
// IQXPersistenceProgressCallback::OnRecord. In particular a disk that fills up never looks like success: the
// export stops at the failing block and leaves the file as it is. What the store throws (std::out_of_range
// for a result set that it does not have) goes to the caller, after the file is closed.
class QXSENG2_API Persistence {
  public:
    // A handle for a number without a format stays empty: its setters do nothing, its actions give false.
    Persistence(ResultFileType type, std::atomic<bool>& cancel, IQXPersistenceProgressCallback* callback,
                const SmartPtr<DataStorage>& storage);
    ~Persistence();
    Persistence(const Persistence&) = delete;
    Persistence& operator=(const Persistence&) = delete;

    // Path in the local code page; null is taken as "". A new name closes a file that is still open under
    // another name.
    void SetFileName(const char* fileName);
    std::string GetFileName() const;
    // For the delimited formats: the byte between two fields. A double quote makes the single quote the
    // quoting character.
    void SetDelimiter(char delimiter);
    // True (the default): a result set begins with a line of column labels, in writing and in reading.
    void SetIncludeHeaders(bool include);
    // True (the default): values are quoted by need; false: what would need quotes becomes blanks.
    void SetUseQuotingLogic(bool use);
    // True (the default): a tab in a value becomes four blanks.
    void SetExpandTabs(bool expand);
    // Kept for callers; null is taken as "". INSERT statements name the table that the store has for the
    // result set (DataStorage::SetTableName), not this one.
    void SetTableName(const char* tableName);
    // The rows of the view to write, in this order; empty for all. Numbers outside the result set are left
    // out. Dropped by WriteAllResultSets and WriteResultSets when they write more than one result set.
    void SetRowList(const std::vector<int>& rows);
    // The columns to write, in this order; empty for all. Numbers outside the result set are left out.
    void SetColumnList(const std::vector<int>& columns);
    // For INSERT statements: the quoted names of all columns, by column number.
    void SetQuotedColumnList(const std::vector<std::string>& names);
    // For INSERT statements: the server whose dialect is written.
    void SetDBMSType(qxdb::DBTYPE type);

    // Writes every result set of the store and closes the file. A store without result sets gives an empty
    // file.
    bool WriteAllResultSets();
    // Writes the given result sets in the given order and closes the file; an empty list means all.
    bool WriteResultSets(const std::deque<int>& resultSets);
    // Writes one result set. With `wholeFile` the file gets head and foot and is closed; without, it stays
    // open and the next call goes on behind (all bytes so far are in the file when the call is back).
    bool WriteResultSet(int resultSet, bool wholeFile);
    // Reads the file and adds its result sets to the store. An empty file adds none and gives true. Formats
    // that are not read back give false.
    bool ReadAllResultSets();

    // Writing goes to this open stream, such as standard output, instead of a file of its own; null ends
    // that. Not owned, and never closed: at the end of a file it is flushed. A failure is reported as that of
    // a file.
    void SetOutputStream(std::ostream* stream);

  private:
    std::unique_ptr<IPersistenceImpl> impl;
};

}  // namespace qxdbsqlengine
