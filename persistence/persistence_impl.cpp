#include "persistence/persistence_impl.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <locale>
#include <system_error>

#include "persistence/timestamp_reader.h"
#include "platform/qxsplt/error_record.h"
#include "platform/qxsplt/errors.h"
#include "storage/cell_format.h"
#include "storage/cell_sink.h"
#include "storage/data_storage.h"
#include "storage/row_reader.h"

namespace qxdbsqlengine {
namespace {

constexpr int kLockAttempts = 12;  // of 5 seconds each

constexpr int kSpanRows = 32;  // some microseconds, for which others wait

// Holds the locks of a store's reads for a scope, where they are to be had. Null holds nothing.
class ReadSpan {
  public:
    explicit ReadSpan(DataStorage* store) : held(store != nullptr && store->BeginReads() ? store : nullptr) {}
    ~ReadSpan() {
        if (held != nullptr)
            held->EndReads();
    }
    ReadSpan(const ReadSpan&) = delete;
    ReadSpan& operator=(const ReadSpan&) = delete;
    explicit operator bool() const { return held != nullptr; }

  private:
    DataStorage* const held;
};

// Runs an action when its scope is left by an exception.
template <class Action>
class OnException {
  public:
    explicit OnException(Action newAction) : action(newAction) {}
    ~OnException() {
        if (armed)
            action();
    }
    OnException(const OnException&) = delete;
    OnException& operator=(const OnException&) = delete;
    void Dismiss() { armed = false; }

  private:
    Action action;
    bool armed = true;
};

int ClampToInt(long long value) {
    return static_cast<int>(std::min<long long>(value, std::numeric_limits<int>::max()));
}

int CurrentSystemError() {
    return errno != 0 ? errno : EIO;
}

}  // namespace

PersistenceImpl::PersistenceImpl(std::atomic<bool>& cancel) : cancelled(cancel) {
    // Bytes are collected in large blocks here, a second buffer would only copy them.
    output.rdbuf()->pubsetbuf(nullptr, 0);
    input.rdbuf()->pubsetbuf(nullptr, 0);
}

PersistenceImpl::~PersistenceImpl() = default;

void PersistenceImpl::SetCancelled(bool cancel) {
    cancelled.store(cancel);
}

void PersistenceImpl::SetProgressCallback(IQXPersistenceProgressCallback* newCallback) {
    callback = newCallback;
}

void PersistenceImpl::SetDataStorage(const SmartPtr<DataStorage>& newStorage) {
    rowReader.reset();
    timestamps.reset();
    storage = newStorage;
}

void PersistenceImpl::SetFileName(const char* newFileName) {
    const std::string name = newFileName == nullptr ? "" : newFileName;
    if (name != fileName && output.is_open())
        CloseOutput();
    fileName = name;
}

std::string PersistenceImpl::GetFileName() const {
    return fileName;
}

void PersistenceImpl::SetTableName(const char* newTableName) {
    tableName = newTableName == nullptr ? "" : newTableName;
}

std::string PersistenceImpl::GetTableName() const {
    return tableName;
}

void PersistenceImpl::SetRowList(const std::vector<int>& rows) {
    rowList = rows;
}

void PersistenceImpl::GetRowList(std::vector<int>& rows) const {
    rows = rowList;
}

void PersistenceImpl::SetColumnList(const std::vector<int>& columns) {
    columnList = columns;
}

void PersistenceImpl::GetColumnList(std::vector<int>& columns) const {
    columns = columnList;
}

void PersistenceImpl::SetQuotedColumnList(const std::vector<std::string>&) {}

std::vector<std::string> PersistenceImpl::GetQuotedColumnList() const {
    return {};
}

void PersistenceImpl::SetDBMSType(qxdb::DBTYPE type) {
    dbmsType = type;
}

qxdb::DBTYPE PersistenceImpl::GetDBMSType() const {
    return dbmsType;
}

void PersistenceImpl::SetDelimiter(char) {}

void PersistenceImpl::SetIncludeHeaders(bool include) {
    includeHeaders = include;
}

void PersistenceImpl::SetUseQuotingLogic(bool use) {
    useQuotingLogic = use;
}

void PersistenceImpl::SetExpandTabs(bool expand) {
    expandTabs = expand;
}

bool PersistenceImpl::WriteAllResultSets() {
    if (!BeginOperation())
        return false;
    std::deque<int> all;
    for (int i = 0; i < storage->GetNumberOfResultSets(); ++i)
        all.push_back(i);
    return WriteList(all);
}

bool PersistenceImpl::WriteResultSets(std::deque<int> resultSets) {
    if (resultSets.empty())
        return WriteAllResultSets();
    return BeginOperation() && WriteList(resultSets);
}

bool PersistenceImpl::BeginOperation() {
    failed = false;
    if (!storage)
        ReportFailure(0, "There is no store");
    return !failed;
}

bool PersistenceImpl::WriteList(const std::deque<int>& resultSets) {
    if (!OpenOutput())
        return false;
    OnException guard([this] { AbandonOutput(); });
    if (resultSets.size() > 1)
        rowList.clear();  // row numbers mean nothing across result sets
    long long total = 0;
    for (int resultSet : resultSets)
        total += storage->GetNumberOfRows(resultSet);
    totalRows = ClampToInt(total);
    rowsDone = 0;
    currentResultSet = -1;
    resultSetsWritten = 0;
    bool first = true;
    for (int resultSet : resultSets) {
        currentResultSet = resultSet;
        if (first)
            WriteFileHeader();
        first = false;
        if (!WriteResultSetBody(resultSet, false)) {
            guard.Dismiss();
            return false;
        }
    }
    if (!resultSets.empty())
        WriteFileFooter();
    guard.Dismiss();
    return CloseOutput();
}

bool PersistenceImpl::WriteResultSet(int resultSet, bool wholeFile) {
    if (!BeginOperation())
        return false;
    rowsDone = 0;
    totalRows = rowList.empty() ? storage->GetNumberOfRows(resultSet)
                                : ClampToInt(static_cast<long long>(rowList.size()));
    currentResultSet = resultSet;
    resultSetsWritten = 0;
    return WriteResultSetBody(resultSet, wholeFile);
}

bool PersistenceImpl::WriteResultSetBody(int resultSet, bool wholeFile) {
    if (!OpenOutput())
        return false;
    OnException guard([this] { AbandonOutput(); });
    currentResultSet = resultSet;
    rowReader.reset();
    timestamps.reset();
    if (wholeFile)
        WriteFileHeader();
    WriteResultSetHeader(includeHeaders);
    if (storage->IsSorted(resultSet))
        rowReader = std::make_unique<RowReader>(*storage, resultSet, selectedColumns, CellFormat::Classic());
    if (rowList.empty())
        WriteRows(resultSet);
    else
        WriteListedRows(resultSet);
    rowReader.reset();
    timestamps.reset();
    if (!failed) {
        WriteResultSetFooter();
        if (wholeFile)
            WriteFileFooter();
        ++resultSetsWritten;
    }
    guard.Dismiss();
    if (wholeFile || !FlushOutput())
        return CloseOutput();
    return true;
}

void PersistenceImpl::WriteRows(int resultSet) {
    RowIterator row = storage->GetRowIterator(resultSet, 0);
    const RowIterator end = storage->GetRowEnd(resultSet);
    WriteInSpans([&row, &end](int& number, int& taken) {
        taken = row == end ? 0 : 1;
        if (row == end)
            return false;
        number = row.GetRow();
        ++row;
        return true;
    });
}

void PersistenceImpl::WriteListedRows(int resultSet) {
    const int rowCount = storage->GetNumberOfRows(resultSet);
    std::size_t next = 0;
    WriteInSpans([&, this](int& number, int& taken) {
        for (taken = 0; next < rowList.size();) {
            number = rowList[next];
            ++next;
            ++taken;
            if (number >= 0 && number < rowCount)
                return true;
        }
        return false;
    });
}

// `take` gives the next row's number and how many rows are done with it, those that are skipped before it
// included; false behind the last row. A few rows at a time are written under one lock of the store; their
// progress is told behind it, when the callback may take its time or use the store.
template <class Take>
void PersistenceImpl::WriteInSpans(Take take) {
    WrittenRow written[kSpanRows];
    for (bool more = true; more && !IsCancelled();) {
        int rows = 0;
        int taken = 0;
        {
            const ReadSpan span(rowReader ? nullptr : &*storage);
            const int most = span ? kSpanRows : 1;
            int row = 0;
            while (rows < most && !buffer.IsFull() && !IsCancelled() && (more = take(row, taken)) &&
                   WriteOneRow(row))
                written[rows++] = {buffer.Size(), taken};
        }
        if (!ReportRows(written, rows) || failed)
            return;
        if (!more)
            CountRows(taken);
        if (buffer.IsFull() && !FlushOutput())
            return;
    }
}

// A row stands in the file as a whole or not at all. False when it could not be read.
bool PersistenceImpl::WriteOneRow(int row) {
    const std::size_t start = buffer.Size();
    OnException guard([this, start] { buffer.Truncate(start); });
    WriteRow(row);
    guard.Dismiss();
    return !failed;
}

// A callback that cancels, or throws, does so behind its row: those that were written ahead are taken back.
// False after a cancel.
bool PersistenceImpl::ReportRows(const WrittenRow* written, int rows) {
    const bool already = IsCancelled();
    for (int i = 0; i < rows; ++i) {
        CountRows(written[i].taken);
        OnException guard([this, &written, i] { buffer.Truncate(written[i].end); });
        ReportProgress();
        guard.Dismiss();
        if (!already && IsCancelled()) {
            buffer.Truncate(written[i].end);
            return false;
        }
    }
    return true;
}

void PersistenceImpl::CountRows(int count) {
    for (; count > 0; --count)
        CountRow();
}

void PersistenceImpl::CountRow() {
    if (rowsDone < std::numeric_limits<int>::max())
        ++rowsDone;
}

// More rows than the total can come by: a store that grows, a row list with repetitions.
void PersistenceImpl::ReportProgress() {
    if (callback == nullptr)
        return;
    const bool complete = totalRows <= 0 || rowsDone >= totalRows;
    callback->OnProgress(complete ? 1.0f : static_cast<float>(static_cast<double>(rowsDone) / totalRows));
}

const std::vector<int>& PersistenceImpl::SelectColumns() {
    columnCount = storage->GetNumberOfColumns(currentResultSet);
    selectedColumns.clear();
    if (columnList.empty())
        for (int column = 0; column < columnCount; ++column)
            selectedColumns.push_back(column);
    for (int column : columnList)
        if (column >= 0 && column < columnCount)
            selectedColumns.push_back(column);
    return selectedColumns;
}

void PersistenceImpl::VisitSelectedColumns(int row, CellSink& sink) {
    const std::size_t start = buffer.Size();
    for (int attempt = 0; attempt < kLockAttempts && !(attempt > 0 && IsCancelled()); ++attempt) {
        if (timestamps && !timestamps->Read(row))
            continue;
        if (rowReader
                ? rowReader->Visit(row, sink)
                : storage->VisitRow(currentResultSet, row, selectedColumns.data(),
                                    static_cast<int>(selectedColumns.size()), CellFormat::Classic(), sink))
            return;
        buffer.Truncate(start);
    }
    ReportFailure(ETIMEDOUT, "Row " + std::to_string(row + 1) + " could not be read: the store is in use");
}

void PersistenceImpl::ReadTimestamps(const char* format) {
    timestamps = std::make_unique<TimestampReader>(*storage, currentResultSet, selectedColumns, format);
}

std::string_view PersistenceImpl::TimestampText(int position) {
    return timestamps->Text(position);
}

bool PersistenceImpl::IsNumber(int column) const {
    const EnumDataType type = storage->GetDataType(currentResultSet, column);
    return type >= DataTypeShort && type <= DataTypeDecimal;
}

std::string PersistenceImpl::CellText(int row, int column) const {
    return storage->AsString(currentResultSet, row, column, std::locale::classic());
}

std::string PersistenceImpl::TimestampText(int row, int column, const char* format) const {
    qxdb::Timestamp value = storage->GetTimestamp(currentResultSet, row, column);
    value.SetFormat(format);
    return value.AsString();
}

bool PersistenceImpl::ReadAllResultSets() {
    rowsDone = 0;
    if (!BeginOperation() || !OpenInput())
        return false;
    OnException guard([this] { CloseInput(); });
    const bool complete = ReadOpenInput();
    guard.Dismiss();
    CloseInput();
    return complete;
}

bool PersistenceImpl::ReadOpenInput() {
    errno = 0;
    input.peek();  // some things open and have a size, yet cannot be read: a directory
    if (input.bad()) {
        ReportFileFailure(CurrentSystemError());
        return false;
    }
    input.clear();
    errno = 0;
    input.seekg(0, std::ios::end);
    const long long size = static_cast<long long>(input.tellg());
    if (size < 0) {
        ReportFileFailure(CurrentSystemError());
        return false;
    }
    if (size < 1)
        return true;
    input.clear();
    input.seekg(0);
    currentResultSet = -1;
    resultSetsWritten = 0;
    OnInputOpened();
    const bool hasHeader = ReadResultSetHeader(includeHeaders);
    if (!hasHeader && InputPosition() == 0)
        return false;  // this format is not read back
    ReadRows(size);
    OnInputClosing();
    if (!failed && !IsCancelled() && InputPosition() < size)
        ReportFailure(EIO, "The file ended after " + std::to_string(InputPosition()) + " of " +
                               std::to_string(size) + " bytes");
    return !failed;
}

void PersistenceImpl::ReadRows(long long size) {
    while (!IsCancelled() && ReadRow()) {
        if (callback == nullptr)
            continue;
        const double done = static_cast<double>(InputPosition()) / static_cast<double>(size);
        callback->OnProgress(static_cast<float>(std::min(done, 1.0)));
    }
}

std::size_t PersistenceImpl::ReadInput(char* to, std::size_t count) {
    errno = 0;
    input.read(to, static_cast<std::streamsize>(count));
    if (input.bad() && !failed)
        ReportFileFailure(CurrentSystemError());
    return static_cast<std::size_t>(input.gcount());
}

void PersistenceImpl::OnInputOpened() {}

long long PersistenceImpl::InputPosition() {
    return static_cast<long long>(input.tellg());
}

void PersistenceImpl::OnInputClosing() {}

bool PersistenceImpl::ReadResultSetHeader(bool) {
    return false;
}

bool PersistenceImpl::ReadRow() {
    return false;
}

void PersistenceImpl::WriteFileFooter() {}

void PersistenceImpl::NotifyTotalRows(int rows) {
    if (callback != nullptr)
        callback->OnTotalRows(rows);
}

void PersistenceImpl::NotifyRecord(const ErrorRecord& record) {
    if (callback != nullptr)
        callback->OnRecord(record);
}

void PersistenceImpl::NotifyRowsDone(int rows) {
    if (callback != nullptr)
        callback->OnRowsDone(rows);
}

void PersistenceImpl::NotifyErrors(Errors& errors) {
    if (callback == nullptr)
        return;
    errors.Reset();
    while (errors.MoreErrors())
        NotifyRecord(errors.GetNextError());
}

void PersistenceImpl::NotifyRowsRead(int rows) {
    if (callback != nullptr)
        callback->OnRowsDone(rows);
}

std::string PersistenceImpl::WithFileName(const std::string& text) const {
    return fileName.empty() ? text : fileName + " -- " + text;
}

void PersistenceImpl::ReportFileFailure(int systemError) {
    ReportFailure(systemError, std::generic_category().message(systemError));
}

void PersistenceImpl::ReportFailure(int code, const std::string& text) {
    failed = true;
    NotifyRecord(ErrorRecord(2, code, 0, 0, WithFileName(text), "", nullptr));
}

void PersistenceImpl::ReportRemark(int severity, long long line, const std::string& text) {
    NotifyRecord(ErrorRecord(severity, 0, ClampToInt(line), 0, WithFileName(text), "", nullptr));
}

void PersistenceImpl::SetOutputStream(std::ostream* stream) {
    if (output.is_open())
        CloseOutput();
    outputStream = stream;
}

bool PersistenceImpl::OpenOutput() {
    if (output.is_open())
        return true;
    failed = false;
    if (outputStream != nullptr)
        return true;
    buffer.Clear();
    errno = 0;
    output.clear();
    output.open(fileName, std::ios::out | std::ios::binary);
    if (output.is_open())
        return true;
    ReportFileFailure(CurrentSystemError());
    return false;
}

// Hands the collected bytes to the file. After a failure nothing more is written.
bool PersistenceImpl::FlushOutput() {
    if (!failed && buffer.Size() != 0) {
        errno = 0;
        Output().write(buffer.Data(), static_cast<std::streamsize>(buffer.Size()));
        if (!Output().good())
            ReportFileFailure(CurrentSystemError());
    }
    buffer.Clear();
    return !failed;
}

bool PersistenceImpl::CloseOutput() {
    FlushOutput();
    buffer.Release();
    errno = 0;
    if (outputStream != nullptr)
        outputStream->flush();
    else
        output.close();
    if (Output().fail() && !failed)
        ReportFileFailure(CurrentSystemError());
    return !failed;
}

// The way out of an exception: the file keeps what it has, and nobody is told a second reason.
void PersistenceImpl::AbandonOutput() {
    if (!failed && buffer.Size() != 0)
        Output().write(buffer.Data(), static_cast<std::streamsize>(buffer.Size()));
    rowReader.reset();
    timestamps.reset();
    buffer.Release();
    if (outputStream == nullptr)
        output.close();
}

bool PersistenceImpl::OpenInput() {
    if (input.is_open())
        return true;
    errno = 0;
    input.clear();
    input.open(fileName, std::ios::in | std::ios::binary);
    if (input.is_open())
        return true;
    ReportFileFailure(CurrentSystemError());
    return false;
}

void PersistenceImpl::CloseInput() {
    input.close();
    input.clear();
}

}  // namespace qxdbsqlengine
