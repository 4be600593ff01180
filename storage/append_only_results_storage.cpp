#include "storage/append_only_results_storage.h"

#include <algorithm>
#include <utility>

#include "platform/qxutils/string_utils.h"
#include "storage/binary_storage.h"
#include "storage/decimal_storage.h"
#include "storage/fixed_columns.h"
#include "storage/lob_storage.h"
#include "storage/read_access.h"
#include "storage/string_storage.h"

namespace qxdbsqlengine {

namespace {

// Pages from the heap before the cache file is used, and views of the file mapped at once.
constexpr int MemoryPages = 10;
constexpr int MappedViews = 100;
constexpr char NullText[] = "[NULL]";
// Rows that a search looks at one by one before it goes through the whole column.
constexpr int NearRows = 1000;

using qxutils::WriteLockGuard;

// The keys go on naming the same columns when one is deleted.
void DropSortKey(std::vector<DataSort>& keys, int col) {
    keys.erase(
        std::remove_if(keys.begin(), keys.end(), [col](const DataSort& key) { return key.column == col; }),
        keys.end());
    for (DataSort& key : keys) {
        if (key.column > col)
            --key.column;
    }
}

// Null for an unknown data type.
std::unique_ptr<ColumnSetStorage> MakeColumn(StorageAlloc<65536>& alloc, const ColumnDefinition& definition) {
    switch (definition.dataType) {
        case DataTypeString:
            return std::make_unique<StringStorage>(alloc);
        case DataTypeShort:
            return std::make_unique<ShortStorage>(alloc);
        case DataTypeInt:
            return std::make_unique<IntStorage>(alloc);
        case DataTypeLong:
            return std::make_unique<LongStorage>(alloc);
        case DataTypeInt64:
            return std::make_unique<Int64Storage>(alloc);
        case DataTypeFloat:
            return std::make_unique<FloatStorage>(alloc, definition.precision);
        case DataTypeDouble:
            return std::make_unique<DoubleStorage>(alloc, definition.precision);
        case DataTypeDecimal:
            return std::make_unique<DecimalStorage>(alloc, definition.precision);
        case DataTypeBinary:
            return std::make_unique<BinaryStorage>(alloc);
        case DataTypeTimestamp:
            return std::make_unique<TimestampSetStorage>(alloc, definition.timestampFormat);
        case DataTypeLob:
            return std::make_unique<LobStorage>(
                alloc, definition.precision,
                definition.lobLocator ? definition.lobLocator->Clone() : qxdb::LobLocator(),
                definition.useLobLocators && definition.lobLocator);
        case DataTypeNamedType:
            return std::make_unique<NamedTypeStorage>(alloc);
    }
    return nullptr;
}

}  // namespace

// What a thread holds through LockAll or WriteLockAll.
struct AppendOnlyResultsStorage::HeldGuards {
    std::unique_ptr<qxutils::ReadLockGuard> read;
    std::unique_ptr<WriteLockGuard> write;
};

AppendOnlyResultsStorage::AppendOnlyResultsStorage()
    : readLimitMs(ReadAccess::DefaultLimitMs), resultSetCount(0), allocator(MemoryPages, MappedViews, true) {
    resultSets.emplace_back();
}

AppendOnlyResultsStorage::~AppendOnlyResultsStorage() {
    held.clear();
    resultSets.clear();  // the pages go back to the allocator, which goes first
}

int AppendOnlyResultsStorage::GetNumberOfResultSets() {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? resultSetCount : 0;
}

int AppendOnlyResultsStorage::GetNumberOfRows(int index, int rs) {
    const ReadAccess access(rowsLock, readLimitMs);
    if (!access)
        return 0;
    ResultSetStorage& set = ResultSet(rs);
    const RowIndexArray* const rows = FindRows(set, index);
    return rows ? rows->Size() : set.rowCount;
}

int AppendOnlyResultsStorage::GetNumberOfColumns(int rs) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? static_cast<int>(ResultSet(rs).columns.size()) : 0;
}

ResultSetType AppendOnlyResultsStorage::GetResultSetType(int rs) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? ResultSet(rs).resultSetType : ResultSetNormal;
}

EnumDataType AppendOnlyResultsStorage::GetDataType(int rs, int col) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? Column(rs, col).GetDataType() : DataTypeString;
}

int AppendOnlyResultsStorage::GetPrecision(int rs, int col) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? Column(rs, col).GetPrecision() : 0;
}

void AppendOnlyResultsStorage::SetPrecision(int rs, int col, int precision) {
    const WriteLockGuard guard(rowsLock);
    Column(rs, col).SetPrecision(precision);
}

int AppendOnlyResultsStorage::GetNativeDataType(int rs, int col) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? Column(rs, col).GetNativeDataType() : 0;
}

void AppendOnlyResultsStorage::SetNativeDataType(int rs, int col, int type) {
    const WriteLockGuard guard(rowsLock);
    Column(rs, col).SetNativeDataType(type);
}

std::string AppendOnlyResultsStorage::GetNativeDataTypeName(int rs, int col) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? Column(rs, col).GetNativeDataTypeName() : std::string();
}

void AppendOnlyResultsStorage::SetNativeDataTypeName(int rs, int col, const std::string& name) {
    const WriteLockGuard guard(rowsLock);
    Column(rs, col).SetNativeDataTypeName(name);
}

std::string AppendOnlyResultsStorage::GetColumnLabel(int rs, int col) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? Column(rs, col).GetColumnLabel() : std::string();
}

int AppendOnlyResultsStorage::FindColumnLabel(int rs, const std::string& label) {
    const ReadAccess access(rowsLock, readLimitMs);
    if (!access)
        return -1;
    int col = 0;
    for (const auto& column : ResultSet(rs).columns) {
        if (qxutils::StringUtils::StringICmp(column->GetColumnLabel(), label) == 0)
            return col;
        ++col;
    }
    return -1;
}

AlignHint AppendOnlyResultsStorage::GetAlignHint(int rs, int col) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? Column(rs, col).GetAlignHint() : AlignLeft;
}

std::string AppendOnlyResultsStorage::GetString(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return std::string();
    ColumnSetStorage& column = Cell(index, rs, row, col);
    return column.AsString(row);
}

short AppendOnlyResultsStorage::GetShort(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return short();
    ColumnSetStorage& column = Cell(index, rs, row, col);
    return column.AsShort(row);
}

int AppendOnlyResultsStorage::GetInt(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return 0;
    ColumnSetStorage& column = Cell(index, rs, row, col);
    return column.AsInt(row);
}

long AppendOnlyResultsStorage::GetLong(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return 0L;
    ColumnSetStorage& column = Cell(index, rs, row, col);
    return column.AsLong(row);
}

__int64 AppendOnlyResultsStorage::GetInt64(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return __int64();
    ColumnSetStorage& column = Cell(index, rs, row, col);
    return column.AsInt64(row);
}

float AppendOnlyResultsStorage::GetFloat(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return 0.0F;
    ColumnSetStorage& column = Cell(index, rs, row, col);
    return column.AsFloat(row);
}

double AppendOnlyResultsStorage::GetDouble(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return 0.0;
    ColumnSetStorage& column = Cell(index, rs, row, col);
    return column.AsDouble(row);
}

qxdb::Decimal AppendOnlyResultsStorage::GetDecimal(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return qxdb::Decimal();
    ColumnSetStorage& column = Cell(index, rs, row, col);
    return column.AsDecimal(row);
}

qxdb::DynBuffer AppendOnlyResultsStorage::GetBinary(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return qxdb::DynBuffer();
    ColumnSetStorage& column = Cell(index, rs, row, col);
    return column.AsBinary(row);
}

qxdb::Timestamp AppendOnlyResultsStorage::GetTimestamp(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return qxdb::Timestamp();
    ColumnSetStorage& column = Cell(index, rs, row, col);
    return column.AsTimestamp(row);
}

const char* AppendOnlyResultsStorage::GetDataTimeFormat(int, int rs, int col) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? Column(rs, col).GetDataTimeFormat() : nullptr;
}

bool AppendOnlyResultsStorage::IsNull(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return false;
    Cell(index, rs, row, col);
    return ResultSet(rs).nullIndicator->IsNull(col, row);
}

std::string AppendOnlyResultsStorage::AsString(int index, int rs, int row, int col,
                                               const std::locale& locale) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return std::string();
    ColumnSetStorage& column = Cell(index, rs, row, col);
    if (ResultSet(rs).nullIndicator->IsNull(col, row))
        return NullText;
    return column.AsString(row, locale);
}

std::string AppendOnlyResultsStorage::GetLobFileName(int, int, int, int) {
    return std::string();
}

int AppendOnlyResultsStorage::AddResultSet(const std::vector<ColumnDefinition>& columns, ResultSetType type) {
    const WriteLockGuard guard(rowsLock);
    if (resultSetCount > 0)
        resultSets.emplace_back();
    ++resultSetCount;
    ResultSetStorage& set = resultSets.back();
    set.rowCount = 0;
    set.resultSetType = type;
    set.nullIndicator = std::make_unique<NullIndicator>(allocator, static_cast<__int64>(columns.size()));
    for (const ColumnDefinition& definition : columns) {
        std::unique_ptr<ColumnSetStorage> column = MakeColumn(allocator, definition);
        if (!column)
            return -1;
        column->SetColumnLabel(definition.columnLabel);
        column->SetNativeDataType(definition.nativeDataType);
        column->SetNativeDataTypeName(definition.nativeDataTypeName);
        set.columns.push_back(std::move(column));
    }
    return static_cast<int>(resultSets.size()) - 1;
}

void AppendOnlyResultsStorage::InsertString(int rs, int col, const std::string& value) {
    Column(rs, col).InsertString(value);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertShort(int rs, int col, const short& value) {
    Column(rs, col).InsertShort(value);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertInt(int rs, int col, const int& value) {
    Column(rs, col).InsertInt(value);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertLong(int rs, int col, const long& value) {
    Column(rs, col).InsertLong(value);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertInt64(int rs, int col, const __int64& value) {
    Column(rs, col).InsertInt64(value);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertFloat(int rs, int col, const float& value) {
    Column(rs, col).InsertFloat(value);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertDouble(int rs, int col, const double& value) {
    Column(rs, col).InsertDouble(value);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertDecimal(int rs, int col, const qxdb::Decimal& value) {
    Column(rs, col).InsertDecimal(value);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertBinary(int rs, int col, const qxdb::DynBuffer& value) {
    Column(rs, col).InsertBinary(value);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertTimestamp(int rs, int col, const qxdb::Timestamp& value) {
    Column(rs, col).InsertTimestamp(value);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertLobData(int rs, int col, const std::string& text,
                                             const qxdb::DynBuffer& locatorData) {
    Column(rs, col).InsertLobData(text, locatorData);
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertEmpty(int rs, int col) {
    Column(rs, col).InsertEmpty();
    if (col == 0)
        InsertNewRow(rs);
}

void AppendOnlyResultsStorage::InsertNull(int rs, int col) {
    InsertEmpty(rs, col);
    ResultSetStorage& set = ResultSet(rs);
    set.nullIndicator->SetNull(col, set.rowCount - 1);
}

void AppendOnlyResultsStorage::InsertNewRow(int rs) {
    ResultSetStorage& set = ResultSet(rs);
    for (auto& entry : set.indexes) {
        if (entry.second.rows)
            entry.second.rows->PushBack(set.rowCount);
    }
    ++set.rowCount;
}

int AppendOnlyResultsStorage::GetLargestColumnSize(int rs, int col, std::locale& locale,
                                                   LargestColumnItemCallback& callback) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    return access ? Column(rs, col).GetLargestColumnSize(locale, callback) : 0;
}

LobExtract AppendOnlyResultsStorage::GetLob(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return LobExtract(qxdb::LobLocator(), std::list<std::string>(), std::string());
    ColumnSetStorage& column = Cell(index, rs, row, col);
    ResultSetStorage& set = ResultSet(rs);
    std::list<std::string> rowValues;
    int other = 0;
    for (const auto& item : set.columns)
        rowValues.push_back(
            set.nullIndicator->IsNull(other++, row) ? NullText : item->AsString(row, std::locale::classic()));
    return LobExtract(column.GetLob(row), rowValues, column.GetLobFileName(row));
}

bool AppendOnlyResultsStorage::GetUseLobLocators(int rs, int col) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access && Column(rs, col).GetUseLobLocators();
}

NamedTypeExtract AppendOnlyResultsStorage::GetNamedType(int index, int rs, int row, int col) {
    std::string text;
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (access) {
        ColumnSetStorage& column = Cell(index, rs, row, col);
        text = column.AsString(row);
    }
    return NamedTypeExtract(text);
}

int AppendOnlyResultsStorage::FindString(int index, int rs, int col, const std::string& text, int startRow) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return 0;
    ResultSetStorage& set = ResultSet(rs);
    ColumnSetStorage& column = Column(rs, col);
    RowIndexArray* const rows = FindRows(set, index);
    const int count = rows ? rows->Size() : set.rowCount;
    int row = startRow < 0 ? 0 : startRow;
    // In the order of the view first, which finds a near row at once.
    const int nearEnd = rows && count - row > NearRows ? row + NearRows : count;
    for (; row < nearEnd; ++row) {
        if (column.EqualsString(rows ? rows->GetItem(row) : row, text))
            return row;
    }
    return row < count ? FindFar(set, column, *rows, text, row) : count;
}

// A sorted view jumps between pages, so the rest is searched in the order of the pages.
int AppendOnlyResultsStorage::FindFar(ResultSetStorage& set, ColumnSetStorage& column, RowIndexArray& rows,
                                      const std::string& text, int startRow) {
    std::vector<bool> found(static_cast<std::size_t>(set.rowCount));
    bool any = false;
    for (int physical = 0; physical < set.rowCount; ++physical) {
        if (column.EqualsString(physical, text)) {
            found[static_cast<std::size_t>(physical)] = true;
            any = true;
        }
    }
    const int count = rows.Size();
    for (int row = startRow; any && row < count; ++row) {
        if (found[static_cast<std::size_t>(rows.GetItem(row))])
            return row;
    }
    return count;
}

RowLock AppendOnlyResultsStorage::GetRowLock(int) {
    return RowLock(rowsLock);
}

void AppendOnlyResultsStorage::CleanUp() {
    const WriteLockGuard guard(rowsLock);
    resultSets.clear();
    resultSets.emplace_back();
    resultSetCount = 0;
}

std::string AppendOnlyResultsStorage::GetTagName(int rs) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? ResultSet(rs).tagName : std::string();
}

void AppendOnlyResultsStorage::SetTagName(int rs, std::string name) {
    const WriteLockGuard guard(rowsLock);
    ResultSet(rs).tagName = std::move(name);
}

std::string AppendOnlyResultsStorage::GetTableName(int rs) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? ResultSet(rs).tableName : std::string();
}

void AppendOnlyResultsStorage::SetTableName(int rs, std::string name) {
    const WriteLockGuard guard(rowsLock);
    ResultSet(rs).tableName = std::move(name);
}

AppendOnlyResultsStorage::HeldGuards& AppendOnlyResultsStorage::OwnGuards() {
    const std::lock_guard<std::mutex> guard(heldLock);
    std::unique_ptr<HeldGuards>& own = held[std::this_thread::get_id()];
    if (!own)
        own = std::make_unique<HeldGuards>();
    return *own;
}

void AppendOnlyResultsStorage::LockAll() {
    HeldGuards& own = OwnGuards();
    if (!own.read && !own.write)
        own.read = std::make_unique<qxutils::ReadLockGuard>(rowsLock, true);
}

void AppendOnlyResultsStorage::WriteLockAll() {
    HeldGuards& own = OwnGuards();
    if (own.write)
        return;
    own.read.reset();
    own.write = std::make_unique<WriteLockGuard>(rowsLock);
}

void AppendOnlyResultsStorage::UnlockAll() {
    std::unique_ptr<HeldGuards> released;
    const std::lock_guard<std::mutex> guard(heldLock);
    const auto own = held.find(std::this_thread::get_id());
    if (own == held.end())
        return;
    released = std::move(own->second);
    held.erase(own);
}

void AppendOnlyResultsStorage::DeleteColumn(int, int rs, int col) {
    const WriteLockGuard guard(rowsLock);
    ResultSetStorage& set = ResultSet(rs);
    if (col < 0 || col >= static_cast<int>(set.columns.size()))
        return;
    set.columns.erase(set.columns.begin() + col);
    set.nullIndicator->DeleteColumn(col);
    for (auto& entry : set.indexes)
        DropSortKey(entry.second.sortKeys, col);
}

bool AppendOnlyResultsStorage::VisitRow(int index, int rs, int row, const int* columns, int count,
                                        const CellFormat& format, CellSink& sink) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return false;
    ResultSetStorage& set = ResultSet(rs);
    const int physical = Translate(set, index, row);
    NullIndicator* const nulls =
        set.nullIndicator && !set.nullIndicator->IsUnused() ? set.nullIndicator.get() : nullptr;
    for (int position = 0; position < count; ++position) {
        const int col = columns[position];
        ColumnSetStorage& column = *set.columns.at(static_cast<std::size_t>(col));
        if (nulls && nulls->IsNull(col, physical))
            sink.OnCell(position, true, NullText);
        else
            sink.OnCell(position, false, column.ViewString(physical, format, cellText));
    }
    return true;
}

}  // namespace qxdbsqlengine
