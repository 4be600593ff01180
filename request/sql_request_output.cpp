// Output values: parameters that came back, their result set, and the cursors among them.
#include <algorithm>
#include <string>
#include <vector>

#include "dbms/dbms_handler.h"
#include "platform/qxdb/raw_stream.h"
#include "platform/qxsplt/errors.h"
#include "platform/qxutils/lock_guard.h"
#include "platform/resource_loader.h"
#include "request/row_writer.h"
#include "request/sql_request.h"

namespace qxdbsqlengine {

namespace {

using qxdb::Column;
using qxdb::DataType;
using qxutils::WriteLockGuard;

constexpr unsigned int BinaryLobFlag = 1;

bool IsCursor(Column::BindType type) {
    return type == Column::BindCursor || type == Column::BindOtherCursor;
}

// The column of a field. Where inputs are excluded, there are fewer fields than columns.
const Column* ColumnOf(qxdb::Field& field, unsigned int index, const qxdb::Schema& columns) {
    const std::string name = field.GetName();
    const Column* const sameIndex = index < columns.GetNumberColumns() ? &columns[index] : nullptr;
    if (sameIndex != nullptr && sameIndex->GetName() == name)
        return sameIndex;
    for (unsigned int i = 0; i < columns.GetNumberColumns(); ++i) {
        if (columns[i].GetName() == name)
            return &columns[i];
    }
    return sameIndex;
}

// One byte without padding: 10 gives "A".
void AppendHexByte(std::string& text, unsigned char byte) {
    static const char digits[] = "0123456789ABCDEF";
    if (byte >= 16)
        text += digits[byte >> 4];
    text += digits[byte & 15];
}

// The beginning of a large object, at most `size` bytes. Of a binary one `size` + 1 bytes are shown however
// few were read, the rest as zeros; callers know the preview in this form.
std::string ReadLobPreview(qxdb::Field& field, int size, bool isBinary) {
    const auto limit = static_cast<unsigned int>(std::max(size, 0));
    std::vector<unsigned char> bytes(static_cast<std::size_t>(limit) + 1, 0);
    field.GetStream()->Read(bytes.data(), limit);
    if (!isBinary)
        return std::string(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0));
    std::string text;
    text.reserve(2 * bytes.size());
    for (const unsigned char byte : bytes)
        AppendHexByte(text, byte);
    return text;
}

void SetFromField(Parameter& parameter, qxdb::Field& field) {
    switch (field.GetType()) {
        case Column::BindInt:
            return parameter.Set(field.AsInt());
        case Column::BindLong:
            return parameter.Set(field.AsLong());
        case Column::BindShort:
            return parameter.Set(field.AsShort());
        case Column::BindFloat:
            return parameter.Set(field.AsFloat());
        case Column::BindDouble:
            return parameter.Set(field.AsDouble());
        case Column::BindDecimal:
            return parameter.Set(field.AsDecimal());
        case Column::BindInt64:
            return parameter.Set(field.AsBigInt());
        case Column::BindBinary:
            return parameter.Set(field.GetBuffer());
        case Column::BindTimestamp:
            return parameter.Set(field.AsTimestamp());
        default:
            return parameter.Set(field.AsString());
    }
}

void InsertParameter(DataStorage& storage, int set, int column, const Parameter& parameter) {
    if (parameter.IsNull())
        return storage.InsertNull(set, column);
    switch (parameter.GetType()) {
        case Column::BindString:
            return storage.InsertString(set, column, parameter.AsString());
        case Column::BindInt:
            return storage.InsertInt(set, column, parameter.AsInt());
        case Column::BindLong:
            return storage.InsertLong(set, column, parameter.AsLong());
        case Column::BindShort:
            return storage.InsertShort(set, column, parameter.AsShort());
        case Column::BindFloat:
            return storage.InsertFloat(set, column, parameter.AsFloat());
        case Column::BindDouble:
            return storage.InsertDouble(set, column, parameter.AsDouble());
        case Column::BindDecimal:
            return storage.InsertDecimal(set, column, parameter.AsDecimal());
        case Column::BindInt64:
            return storage.InsertInt64(set, column, parameter.AsBigInt());
        case Column::BindBinary:
            return storage.InsertBinary(set, column, parameter.AsBinary());
        case Column::BindTimestamp:
            return storage.InsertTimestamp(set, column, parameter.AsTimestamp());
        default:
            // Not shown; the cell only keeps the row complete.
            return storage.InsertEmpty(set, column);
    }
}

}  // namespace

unsigned int SQLRequest::GetStartOutputParamIndex() {
    switch (dbType) {
        case qxdb::DBTYPE_SYBASE:
        case qxdb::DBTYPE_DB2:
        case qxdb::DBTYPE_DB2OS390:
            return 0;
        case qxdb::DBTYPE_ORACLE:
            // The result of a function is an output like any other.
            return GetPrepareType() == qxdb::Statement::PrepareFunction ? 0 : 1;
        default:
            return 1;
    }
}

bool SQLRequest::HandleOutputParameters(std::unique_ptr<qxdb::Fields>& fields, qxdb::Schema& outputs) {
    try {
        CheckCancelled();
        const unsigned int count = fields->GetFieldCount();
        const unsigned int start = GetStartOutputParamIndex();
        if (start >= count)
            return true;
        bool hasValues = false;
        bool hasCursors = false;
        for (unsigned int i = start; i < count; ++i) {
            qxdb::Field& field = (*fields)[i];
            if (field.GetDirection() == DataType::DirectionIn)
                continue;
            if (IsCursor(field.GetType())) {
                hasCursors = true;
                continue;
            }
            hasValues = true;
            AddOutputParameter(field, ColumnOf(field, i, outputs));
        }
        CheckCancelled();
        if (hasValues)
            ShowOutputParameters();
        return hasCursors ? HandleCursorOutputParameters(fields) : true;
    } catch (const CancelledException&) {
        throw;
    } catch (Errors& errors) {
        handler->HandleErrors(errors);
    } catch (const std::exception& failure) {
        NotifyErrorText(failure.what());
    } catch (...) {
        NotifyErrorText(ResourceLoader::LoadString(121));
    }
    return false;
}

// Reads one output value. `column` describes it, null when nothing does.
void SQLRequest::AddOutputParameter(qxdb::Field& field, const Column* column) {
    const Column::BindType type = field.GetType();
    Parameter parameter(field.GetName(), type, field.GetDirection(), 0, 0);
    if (type == Column::BindBinary) {
        const qxdb::DynBuffer& buffer = field.GetBuffer();
        parameter.SetSize(buffer.GetSize());
        parameter.SetLength(buffer.GetLength());
    }
    LookupParameter(parameter);
    if (field.IsNull()) {
        parameter.SetNull();
    } else if (type == Column::BindLob) {
        const bool isBinary = column != nullptr && (column->GetLobFlags() & BinaryLobFlag) != 0;
        parameter.Set(ReadLobPreview(field, lobPreviewSize, isBinary));
    } else {
        SetFromField(parameter, field);
    }
    const WriteLockGuard guard(lock);
    outputParameters.PushBack(parameter);
}

// The result set of the output values, which does not stay open when it fails.
void SQLRequest::ShowOutputParameters() {
    try {
        CreateParameterResultset();
    } catch (...) {
        if (inResultSet)
            NotifyResultSetEnd();
        throw;
    }
}

void SQLRequest::CreateParameterResultset() {
    const auto count = static_cast<int>(outputParameters.GetParameterCount());
    if (count == 0)
        return;
    NotifyPreResultSetBegin(ResultSetParameter);
    columnDefinition.clear();
    for (const Parameter& parameter : outputParameters)
        columnDefinition.push_back(DefineParameterColumn(parameter));
    if (!NotifyResultSetBegin(nullptr))
        return;
    {
        RowWriter row(*data, resultSetId, count);
        for (const Parameter& parameter : outputParameters) {
            row.Put([&parameter](DataStorage& storage, int set, int column) {
                InsertParameter(storage, set, column, parameter);
            });
        }
    }
    NotifyResultSetUpdate(1, false);
    NotifyResultSetEnd();
}

ColumnDefinition SQLRequest::DefineParameterColumn(const Parameter& parameter) const {
    ColumnDefinition definition;
    definition.dataType = GetDataType(parameter.GetType());
    definition.precision = std::max(parameter.GetScale(), 0);
    definition.columnLabel = parameter.GetName();
    if (definition.dataType == DataTypeTimestamp)
        definition.timestampFormat = parameter.GetDateTimeFormat();
    const int minimum = minPrecision;
    const int maximum = maxPrecision;
    // Unlike the maximum of other columns, this one counts unless it is 0: without limits the precision is
    // -1. Callers know parameter result sets by it, so it stays.
    if (minimum >= 0 && minimum > definition.precision)
        definition.precision = minimum;
    else if (maximum != 0 && maximum < definition.precision)
        definition.precision = maximum;
    return definition;
}

bool SQLRequest::HandleCursorOutputParameters(std::unique_ptr<qxdb::Fields>& fields) {
    for (unsigned int i = GetStartOutputParamIndex(); i < fields->GetFieldCount(); ++i) {
        qxdb::Field& field = (*fields)[i];
        if (field.GetDirection() == DataType::DirectionIn || field.GetType() != Column::BindCursor)
            continue;
        CheckCancelled();
        if (!HandleCursor(field.GetCursor(), ResultSetCursorParameter, field.GetName()))
            return false;
    }
    return true;
}

}  // namespace qxdbsqlengine
