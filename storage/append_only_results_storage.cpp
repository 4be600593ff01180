#include "storage/append_only_results_storage.h"

#include "storage/binary_storage.h"
#include "storage/decimal_storage.h"
#include "storage/fixed_columns.h"
#include "storage/lob_storage.h"
#include "storage/string_storage.h"

namespace qxdbsqlengine {

AppendOnlyResultsStorage::AppendOnlyResultsStorage() : ResultsStorage(true) {}

AppendOnlyResultsStorage::~AppendOnlyResultsStorage() = default;

std::string AppendOnlyResultsStorage::GetLobFileName(int, int, int, int) {
    return std::string();
}

std::unique_ptr<ColumnSetStorage> AppendOnlyResultsStorage::MakeColumn(const ColumnDefinition& definition) {
    switch (definition.dataType) {
        case DataTypeString:
            return std::make_unique<StringStorage>(allocator);
        case DataTypeShort:
            return std::make_unique<ShortStorage>(allocator);
        case DataTypeInt:
            return std::make_unique<IntStorage>(allocator);
        case DataTypeLong:
            return std::make_unique<LongStorage>(allocator);
        case DataTypeInt64:
            return std::make_unique<Int64Storage>(allocator);
        case DataTypeFloat:
            return std::make_unique<FloatStorage>(allocator, definition.precision);
        case DataTypeDouble:
            return std::make_unique<DoubleStorage>(allocator, definition.precision);
        case DataTypeDecimal:
            return std::make_unique<DecimalStorage>(allocator, definition.precision);
        case DataTypeBinary:
            return std::make_unique<BinaryStorage>(allocator);
        case DataTypeTimestamp:
            return std::make_unique<TimestampSetStorage>(allocator, definition.timestampFormat);
        case DataTypeLob:
            return std::make_unique<LobStorage>(
                allocator, definition.precision,
                definition.lobLocator ? definition.lobLocator->Clone() : qxdb::LobLocator(),
                definition.useLobLocators && definition.lobLocator);
        case DataTypeNamedType:
            return std::make_unique<NamedTypeStorage>(allocator);
    }
    return nullptr;
}

void AppendOnlyResultsStorage::InsertString(int rs, int col, const std::string& value) {
    GetColumn(rs, col).InsertString(value);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertShort(int rs, int col, const short& value) {
    GetColumn(rs, col).InsertShort(value);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertInt(int rs, int col, const int& value) {
    GetColumn(rs, col).InsertInt(value);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertLong(int rs, int col, const long& value) {
    GetColumn(rs, col).InsertLong(value);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertInt64(int rs, int col, const __int64& value) {
    GetColumn(rs, col).InsertInt64(value);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertFloat(int rs, int col, const float& value) {
    GetColumn(rs, col).InsertFloat(value);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertDouble(int rs, int col, const double& value) {
    GetColumn(rs, col).InsertDouble(value);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertDecimal(int rs, int col, const qxdb::Decimal& value) {
    GetColumn(rs, col).InsertDecimal(value);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertBinary(int rs, int col, const qxdb::DynBuffer& value) {
    GetColumn(rs, col).InsertBinary(value);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertTimestamp(int rs, int col, const qxdb::Timestamp& value) {
    GetColumn(rs, col).InsertTimestamp(value);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertLobData(int rs, int col, const std::string& text,
                                             const qxdb::DynBuffer& locatorData) {
    GetColumn(rs, col).InsertLobData(text, locatorData);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertEmpty(int rs, int col) {
    GetColumn(rs, col).InsertEmpty();
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertNull(int rs, int col) {
    InsertEmpty(rs, col);
    ResultSetStorage& set = GetResultSet(rs);
    set.nullIndicator->SetNull(col, set.rowCount - 1);
}

void AppendOnlyResultsStorage::InsertNewRow(int rs) {
    ResultSetStorage& set = GetResultSet(rs);
    for (auto& entry : set.indexes) {
        if (entry.second.rows)
            entry.second.rows->PushBack(set.rowCount);
    }
    ++set.rowCount;
}

void AppendOnlyResultsStorage::DeleteRow(int index, int rs, int row) {
    HideRow(index, rs, row);
}

}  // namespace qxdbsqlengine
