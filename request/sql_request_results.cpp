// Cursors become result sets of the store; messages become rows of theirs.
#include <string_view>
#include <utility>

#include "dbms/dbms_handler.h"
#include "platform/qxsplt/errors.h"
#include "platform/qxutils/qx_exception.h"
#include "platform/resource_loader.h"
#include "request/sql_request.h"
#include "storage/row_lock.h"

namespace qxdbsqlengine {

namespace {

using qxutils::QXException;
using qxutils::ReadLockGuard;

// Message rows are told by these numbers, whatever the request's intervals are.
constexpr int MessageInitialInterval = 25;
constexpr int MessageInterval = 200;

}  // namespace

bool SQLRequest::HandleCursor(qxdb::Cursor& cursor, ResultSetType type, std::string tagName) {
    if (fetchObjectErrors && dbType == qxdb::DBTYPE_ORACLE)
        return HandleObjectErrorsCursor(cursor);
    if (cursor.IsComputeResultSet())
        return HandleComputeResultSet(cursor);
    qxdb::BindValue binding = cursor.Bind();
    binding.setIsUnicodeInstance(isUnicodeInstance);
    qxdb::Fields fields(binding, bindAsStrings, qxdb::ExclusionIndex(), false, nullptr);
    if (fields.GetFieldCount() == 0) {
        HandleRowCount(cursor);
        return true;
    }
    qxdb::Schema columns = binding.GetSchema();
    return HandleRows(cursor, fields, columns, type, tagName);
}

void SQLRequest::HandleRowCount(qxdb::Cursor& cursor) {
    // A call that changed nothing itself is not worth a message.
    const int minimum = requestType == RequestProcedure || requestType == RequestFunction ? 1 : 0;
    int rows = -1;
    try {
        rows = static_cast<int>(cursor.GetRowCount());
    } catch (...) {
        // Not known: nothing to show.
    }
    if (!displayRowAffected || rows < minimum)
        return;
    affectedRows = affectedRows > 0 ? affectedRows + rows : rows;
    HandleAffectedRows(rows);
}

bool SQLRequest::HandleRows(qxdb::Cursor& cursor, qxdb::Fields& fields, qxdb::Schema& columns,
                            ResultSetType type, const std::string& tagName) {
    try {
        NotifyPreResultSetBegin(type);
        DescribeColumns(cursor, fields, columns);
        if (!NotifyResultSetBegin(tagName.c_str()))
            return false;
        if (tagName.empty() && type == ResultSetNormal)
            SetTableNameFromText();
        // Under the physical number, though the row pump looks for the logical one: behind a result set of
        // another kind there may be no progress to tell until the end.
        AddRowNotificationHandler(resultSetId, {initialRowInterval, rowInterval, true});
        ProcessResults(cursor, fields, columns);
        NotifyResultSetEnd();
        return true;
    } catch (const CancelledException&) {
        NotifyResultSetEnd();
        throw;
    } catch (const Errors& errors) {
        if (IsCancelled()) {
            // What the server says to its own cancel is no error.
            NotifyResultSetEnd();
            CheckCancelled();
        }
        NotifyError(errors);
        NotifyResultSetEnd();
        return false;
    }
}

// Messages that come up meanwhile are held back: each would begin a result set of its own and overwrite the
// definitions that are being made.
void SQLRequest::DescribeColumns(qxdb::Cursor& cursor, qxdb::Fields& fields, qxdb::Schema& columns) {
    handler->CacheNotifyMessages(true, false);
    try {
        DetermineColumnDefs(cursor, fields, columns);
    } catch (...) {
        handler->CacheNotifyMessages(false, true);
        throw;
    }
    handler->CacheNotifyMessages(false, false);
}

void SQLRequest::SetTableNameFromText() {
    try {
        data->SetTableName(resultSetId, ParseGenerateInsertTableName());
    } catch (const std::out_of_range&) {
        // A key word ends the text. The rows are good all the same, they only have no table.
    }
}

void SQLRequest::ProcessResults(qxdb::Cursor& cursor, qxdb::Fields& fields, qxdb::Schema& columns) {
    handler->HandleResultSet(cursor, fields, columns);
}

void SQLRequest::DetermineColumnDefs(qxdb::Cursor& cursor, qxdb::Fields& fields, qxdb::Schema& columns) {
    handler->DetermineColumnDefs(cursor, fields, columns);
}

std::vector<ColumnDefinition>& SQLRequest::GetColumnDefinition() {
    const ReadLockGuard guard(lock, true);
    return columnDefinition;
}

bool SQLRequest::HandleObjectErrorsCursor(qxdb::Cursor& cursor) {
    try {
        qxdb::BindValue binding = cursor.Bind();
        qxdb::Fields fields(binding, bindAsStrings, qxdb::ExclusionIndex(), false, nullptr);
        if (fields.GetFieldCount() == 0)
            return true;
        qxdb::Schema columns = binding.GetSchema();
        // The rows go into the result set that is open.
        ProcessResults(cursor, fields, columns);
    } catch (const Errors& errors) {
        CheckCancelled();
        NotifyError(errors);
    }
    return true;
}

void SQLRequest::HandleAffectedRows(int count) {
    CheckCancelled();
    if (displayRowAffected && count >= 0)
        SaveNotifyMessage(std::to_string(count) + " " + ResourceLoader::LoadString(115));
}

void SQLRequest::HandleEmptyResultSet() {
    if (fetchObjectErrors && dbType == qxdb::DBTYPE_ORACLE)
        return;
    if (HasCachedMessages()) {
        if (!inResultSet)
            handler->CacheNotifyMessages(false, true);
        return;
    }
    if (doExplainPlan)
        return;
    SaveNotifyMessage(ResourceLoader::LoadString(134));
}

void SQLRequest::SaveNotifyMessage(const std::string& text) {
    CheckCancelled();
    if (inResultSet && resultSetType != ResultSetMessage)
        NotifyResultSetEnd();
    if (!inResultSet) {
        NotifyPreResultSetBegin(ResultSetMessage);
        columnDefinition.clear();
        columnDefinition.emplace_back();  // one column of text
        if (!NotifyResultSetBegin(nullptr))
            return;
    }
    noOutput = false;
    std::size_t begin = 0;
    for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', begin)) {
        InsertMessageRow(text.substr(begin, end - begin));
        begin = end + 1;
    }
    InsertMessageRow(text.substr(begin));
}

void SQLRequest::InsertMessageRow(const std::string& line) {
    {
        RowLock row = data->GetRowLock(resultSetId);
        row.Lock();
        data->InsertString(resultSetId, 0, line);
        row.UnLock();
    }
    const int last = data->GetNumberOfRows(resultSetId) - 1;
    if (last < MessageInitialInterval || (last - MessageInitialInterval) % MessageInterval == 0) {
        // The number told is 0 for messages.
        NotifyResultSetUpdate(0, false);
    }
}

bool SQLRequest::HasCachedMessages() {
    return handler && handler->HasCachedNotifyMessages();
}

// Lets go what the handler holds back, and closes what is open then. The definitions and the type of the
// result set that is about to begin survive: both steps may write a message result set.
void SQLRequest::CloseOpenResultSet() {
    const ResultSetType type = resultSetType;
    std::vector<ColumnDefinition> kept;
    kept.swap(columnDefinition);
    if (HasCachedMessages())
        handler->CacheNotifyMessages(false, true);
    if (inResultSet)
        NotifyResultSetEnd();
    // Closing a result set of rows lets messages go as well.
    if (inResultSet)
        NotifyResultSetEnd();
    kept.swap(columnDefinition);
    resultSetType = type;
}

void SQLRequest::NotifyPreResultSetBegin(ResultSetType type) {
    CloseOpenResultSet();
    resultSetType = type;
    if (data)
        resultSetId = data->GetNumberOfResultSets();
    DispatchCallbacks::NotifyPreResultSetBegin(resultSetId, type);
}

bool SQLRequest::NotifyResultSetBegin(const std::vector<ColumnDefinition>& definitions, const char* tagName) {
    CloseOpenResultSet();
    if (&definitions != &columnDefinition)
        columnDefinition = definitions;
    return NotifyResultSetBegin(tagName);
}

bool SQLRequest::NotifyResultSetBegin(const char* tagName) {
    CloseOpenResultSet();
    if (!data)
        return inResultSet;
    const int before = data->GetNumberOfResultSets();
    data->AddResultSet(columnDefinition, resultSetType);
    const int after = data->GetNumberOfResultSets();
    if (after <= before)
        return inResultSet;
    if (handler)
        handler->CacheNotifyMessages(resultSetType != ResultSetMessage, false);
    resultSetId = after - 1;
    if (tagName != nullptr)
        data->SetTagName(resultSetId, tagName);
    DispatchCallbacks::NotifyResultSetBegin(resultSetId, resultSetType);
    inMessageResultSet = inResultSet && resultSetType == ResultSetMessage;
    return inResultSet;
}

void SQLRequest::NotifyResultSetUpdate(int rows, bool force) {
    DispatchCallbacks::NotifyResultSetUpdate(resultSetId, rows, force);
}

void SQLRequest::NotifyResultSetEnd() {
    if (inMessageResultSet && HasCachedMessages())
        handler->CacheNotifyMessages(false, true);
    if (inResultSet && data)
        NotifyResultSetUpdate(data->GetNumberOfRows(resultSetId), true);
    DispatchCallbacks::NotifyResultSetEnd(resultSetId);
    if (data)
        resultSetId = data->GetNumberOfResultSets();
    if (handler)
        handler->CacheNotifyMessages(false, true);
    // Letting the messages go may have made a result set, which is open or has been closed again.
    if (!inResultSet && data)
        resultSetId = data->GetNumberOfResultSets();
}

bool SQLRequest::IsNormalResultSetType(ResultSetType type) {
    switch (type) {
        case ResultSetNormal:
        case ResultSetCursorParameter:
        case ResultSetExplainPlan:
        case ResultSetStatistics:
            return true;
        default:
            return false;
    }
}

int SQLRequest::ResolveLogicalResultSetId(int id) {
    if (!data || id < 0 || id >= data->GetNumberOfResultSets())
        throw QXException(ResourceLoader::LoadString(120));
    if (!IsNormalResultSetType(data->GetResultSetType(id)))
        throw QXException("ResolveLogicalResultSetId " + ResourceLoader::LoadString(129));
    return CountNormalResultSets(id + 1) - 1;
}

int SQLRequest::ResolveNextLogicalResultSetId() {
    return data ? CountNormalResultSets(data->GetNumberOfResultSets()) : 0;
}

// Among the first `end` result sets of the store. Goes on from where the last count of this run ended: a
// script can have many thousands of them.
int SQLRequest::CountNormalResultSets(int end) {
    CountedSets known = countedSets;
    if (known.end > data->GetNumberOfResultSets())
        known = CountedSets();  // the store was emptied meanwhile
    CountedSets counted = known.end <= end ? known : CountedSets();
    for (; counted.end < end; ++counted.end) {
        if (IsNormalResultSetType(data->GetResultSetType(counted.end)))
            ++counted.normal;
    }
    countedSets = counted.end > known.end ? counted : known;
    return counted.normal;
}

EnumDataType SQLRequest::GetDataType(qxdb::Column::BindType type) {
    switch (type) {
        case qxdb::Column::BindInt:
            return DataTypeInt;
        case qxdb::Column::BindLong:
            return DataTypeLong;
        case qxdb::Column::BindShort:
            return DataTypeShort;
        case qxdb::Column::BindFloat:
            return DataTypeFloat;
        case qxdb::Column::BindDouble:
            return DataTypeDouble;
        case qxdb::Column::BindDecimal:
            return DataTypeDecimal;
        case qxdb::Column::BindLob:
            return DataTypeLob;
        case qxdb::Column::BindInt64:
            return DataTypeInt64;
        case qxdb::Column::BindBinary:
            return DataTypeBinary;
        case qxdb::Column::BindTimestamp:
            return DataTypeTimestamp;
        default:
            return DataTypeString;
    }
}

}  // namespace qxdbsqlengine
