// The skeleton that all file formats share: it opens the stream, walks result sets and rows, counts progress
// and honours the cancel flag, and asks the format class for each piece of text.
#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "persistence/output_buffer.h"
#include "persistence/persistence.h"

class Errors;

namespace qxdbsqlengine {

class RowReader;
class TimestampReader;
struct CellSink;

// Base of the format classes. One thread at a time, except the cancel flag.
//
// A format writes by appending to Out(); the skeleton hands full blocks on to the file. Once a block could
// not be written, nothing more is asked of the format: no further rows, no footers.
class QXSENG2_API PersistenceImpl : public IPersistenceImpl {
  public:
    explicit PersistenceImpl(std::atomic<bool>& cancel);
    // Closes what is still open.
    ~PersistenceImpl() override;
    PersistenceImpl(const PersistenceImpl&) = delete;
    PersistenceImpl& operator=(const PersistenceImpl&) = delete;

    void SetCancelled(bool cancelled) override;
    void SetProgressCallback(IQXPersistenceProgressCallback* newCallback) override;
    void SetDataStorage(const SmartPtr<DataStorage>& newStorage) override;
    void SetFileName(const char* newFileName) override;
    std::string GetFileName() const override;
    void SetTableName(const char* newTableName) override;
    std::string GetTableName() const override;
    void SetRowList(const std::vector<int>& rows) override;
    void GetRowList(std::vector<int>& rows) const override;
    void SetColumnList(const std::vector<int>& columns) override;
    void GetColumnList(std::vector<int>& columns) const override;
    void SetQuotedColumnList(const std::vector<std::string>& names) override;  // does nothing
    std::vector<std::string> GetQuotedColumnList() const override;             // empty
    void SetDBMSType(qxdb::DBTYPE type) override;
    qxdb::DBTYPE GetDBMSType() const override;
    void SetDelimiter(char delimiter) override;  // does nothing
    void SetIncludeHeaders(bool include) override;
    void SetUseQuotingLogic(bool use) override;
    void SetExpandTabs(bool expand) override;
    bool WriteAllResultSets() override;
    bool WriteResultSets(std::deque<int> resultSets) override;
    bool WriteResultSet(int resultSet, bool wholeFile) override;
    bool ReadAllResultSets() override;
    void SetOutputStream(std::ostream* stream) override;

    // The row loop of one result set: header, rows, footer, with the head and foot of the file around them
    // when it is `wholeFile`. False when the file could not be opened or written; true also after a cancel.
    virtual bool WriteResultSetBody(int resultSet, bool wholeFile);
    // Reads what stands before the rows of a result set. False when there is none; always so in the base.
    virtual bool ReadResultSetHeader(bool includeHeaders);
    // Reads one row into the store. False at the end of the file; always so in the base.
    virtual bool ReadRow();
    virtual void WriteFileHeader() = 0;
    virtual void WriteResultSetHeader(bool includeHeaders) = 0;
    // `row`: 0-based row of the view.
    virtual void WriteRow(int row) = 0;
    virtual void WriteResultSetFooter() = 0;
    virtual void WriteFileFooter();  // nothing

    // Forward to the callback; nothing without one.
    virtual void NotifyTotalRows(int rows);
    virtual void NotifyRecord(const ErrorRecord& record);
    virtual void NotifyRowsDone(int rows);
    // Hands each record of the list to NotifyRecord, from the first on.
    virtual void NotifyErrors(Errors& errors);
    virtual void NotifyRowsRead(int rows);

  protected:
    // Where the bytes of the file are appended.
    OutputBuffer& Out() { return buffer; }
    // Takes the column count of the current result set and resolves the column list: all columns when the
    // list is empty, else its entries in its order without those outside the result set. To be called by
    // WriteResultSetHeader; the result is valid until the next call.
    const std::vector<int>& SelectColumns();
    const std::vector<int>& SelectedColumns() const { return selectedColumns; }
    // For formats that leave some of the selected columns out: only these, all valid, are visited.
    void RestrictColumns(const std::vector<int>& columns) { selectedColumns = columns; }
    // Hands the texts of the selected columns of a row to `sink`, in the classic locale. While another thread
    // holds the store (a writer waiting for a large object in the middle of a row), tries again until the
    // cancel flag is set, at most 12 times 5 seconds; then the export fails with a record.
    void VisitSelectedColumns(int row, CellSink& sink);
    // From now on the values of the selected timestamp columns are read along with each row. To be called by
    // WriteResultSetHeader behind SelectColumns, by formats that write timestamps in a format of their own.
    void ReadTimestamps(const char* format);
    // The text in that format of the timestamp at a position of the row that is being visited. Valid until
    // the next call.
    std::string_view TimestampText(int position);
    // A column of the current result set holds numbers, whose texts have no character that any format
    // escapes.
    bool IsNumber(int column) const;
    // A cell of the current result set as AsString gives it; for single cells, not for loops.
    std::string CellText(int row, int column) const;
    // The same for a timestamp, in a format.
    std::string TimestampText(int row, int column, const char* format) const;

    // The file could not be opened, read or written: tells the callback (severity 2, the number, the file's
    // name and the system's text) and makes the running operation end with false.
    void ReportFileFailure(int systemError);
    // The same for a failure that has a text of its own.
    void ReportFailure(int code, const std::string& text);
    bool HasFailed() const { return failed; }
    // Tells the callback something about the file that does not end the operation. `line`: in the file, from
    // 1; 0 for the file as a whole.
    void ReportRemark(int severity, long long line, const std::string& text);
    bool IsCancelled() const { return cancelled.load(std::memory_order_relaxed); }

    // For formats that read a file in a way of their own: BeginOperation forgets the last operation's failure
    // and reports a missing store, OpenInput reports a file that cannot be opened.
    bool BeginOperation();
    bool OpenInput();
    void CloseInput();
    // Reads the next bytes of the input, up to `count`; fewer only at the end of the file or after a failure,
    // which has been reported then.
    std::size_t ReadInput(char* to, std::size_t count);
    // The input was opened and stands at its start.
    virtual void OnInputOpened();
    // How many bytes of the input are worked off.
    virtual long long InputPosition();
    // Reading has ended, by the end of the file, a cancel or a failure: the last chance for a record.
    virtual void OnInputClosing();

    void CountRow();  // one more row done

    SmartPtr<DataStorage> storage;
    int currentResultSet = -1;
    std::string fileName;
    std::string tableName;
    bool includeHeaders = true;
    qxdb::DBTYPE dbmsType = qxdb::DBTYPE_UNSET;
    std::vector<int> rowList;     // empty: all rows
    std::vector<int> columnList;  // empty: all columns
    int resultSetsWritten = 0;
    std::ofstream output;
    std::ifstream input;
    IQXPersistenceProgressCallback* callback = nullptr;
    int totalRows = 0;
    int rowsDone = 0;
    int columnCount = 0;
    std::atomic<bool>& cancelled;
    bool useQuotingLogic = true;
    bool expandTabs = true;

  private:
    struct WrittenRow {
        std::size_t end;  // in the buffer
        int taken;        // rows done with it: one, and those of a row list that were skipped before it
    };

    std::ostream& Output() { return outputStream != nullptr ? *outputStream : output; }
    bool OpenOutput();
    bool FlushOutput();
    bool CloseOutput();
    void AbandonOutput();
    bool WriteList(const std::deque<int>& resultSets);
    void WriteRows(int resultSet);
    void WriteListedRows(int resultSet);
    template <class Take>
    void WriteInSpans(Take take);
    bool WriteOneRow(int row);
    bool ReportRows(const WrittenRow* written, int rows);
    void CountRows(int count);
    void ReadRows(long long size);
    bool ReadOpenInput();
    void ReportProgress();
    std::string WithFileName(const std::string& text) const;

    std::ostream* outputStream = nullptr;         // a caller's stream instead of `output`
    OutputBuffer buffer;                          // formatted, not yet in the file
    std::vector<int> selectedColumns;             // of the current result set
    std::unique_ptr<RowReader> rowReader;         // of the current result set when its view is sorted
    std::unique_ptr<TimestampReader> timestamps;  // of the current result set when the format asked for it
    bool failed = false;                          // a failure of the running operation was reported
};

}  // namespace qxdbsqlengine
