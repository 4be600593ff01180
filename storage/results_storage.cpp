#include "storage/results_storage.h"

#include <algorithm>
#include <utility>

#include "platform/qxutils/lock_guard.h"
#include "platform/qxutils/string_utils.h"
#include "storage/read_access.h"
#include "storage/row_sorter.h"

namespace qxdbsqlengine {

namespace {

using qxutils::WriteLockGuard;

// Pages from the heap before the cache file is used, and views of the file mapped at once.
constexpr int MemoryPages = 10;
constexpr int MappedViews = 100;
constexpr char NullText[] = "[NULL]";
// Rows that a search looks at one by one before it goes through the whole column.
constexpr int NearRows = 1000;

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

// Replaces rows by their positions in the array in one pass; a row that is not there gets the
// array's size.
void PositionsOf(RowIndexArray& rows, std::deque<int>& tracked) {
    const int size = rows.Size();
    std::vector<std::pair<int, std::size_t>> wanted;  // row, place in `tracked`
    wanted.reserve(tracked.size());
    for (std::size_t i = 0; i < tracked.size(); ++i) {
        wanted.emplace_back(tracked[i], i);
        tracked[i] = size;
    }
    if (wanted.empty())
        return;
    std::sort(wanted.begin(), wanted.end());
    const int least = wanted.front().first;
    const int greatest = wanted.back().first;
    for (int position = 0; position < size; ++position) {
        const int row = rows.GetItem(position);
        if (row < least || row > greatest)
            continue;
        auto found = std::lower_bound(wanted.begin(), wanted.end(), std::make_pair(row, std::size_t{0}));
        for (; found != wanted.end() && found->first == row; ++found)
            tracked[found->second] = std::min(tracked[found->second], position);
    }
}

}  // namespace

template <class Interface, class Set>
ResultsStorage<Interface, Set>::ResultsStorage(bool useCacheFile)
    : readLimitMs(ReadAccess::DefaultLimitMs),
      resultSetCount(0),
      allocator(MemoryPages, MappedViews, useCacheFile) {
    resultSets.emplace_back(allocator);
}

template <class Interface, class Set>
ResultsStorage<Interface, Set>::~ResultsStorage() {
    DropAll();
}

template <class Interface, class Set>
void ResultsStorage<Interface, Set>::DropAll() {
    held.clear();
    resultSets.clear();
}

template <class Interface, class Set>
int ResultsStorage<Interface, Set>::GetNumberOfResultSets() {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? resultSetCount : 0;
}

template <class Interface, class Set>
int ResultsStorage<Interface, Set>::GetNumberOfRows(int index, int rs) {
    const ReadAccess access(rowsLock, readLimitMs);
    if (!access)
        return 0;
    Set& set = GetResultSet(rs);
    const RowIndexArray* const rows = FindRows(set, index);
    return rows ? rows->Size() : set.Rows();
}

template <class Interface, class Set>
int ResultsStorage<Interface, Set>::GetNumberOfColumns(int rs) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? static_cast<int>(GetResultSet(rs).columns.size()) : 0;
}

template <class Interface, class Set>
ResultSetType ResultsStorage<Interface, Set>::GetResultSetType(int rs) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? GetResultSet(rs).resultSetType : ResultSetNormal;
}

template <class Interface, class Set>
EnumDataType ResultsStorage<Interface, Set>::GetDataType(int rs, int col) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? GetColumn(rs, col).GetDataType() : DataTypeString;
}

template <class Interface, class Set>
int ResultsStorage<Interface, Set>::GetPrecision(int rs, int col) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? GetColumn(rs, col).GetPrecision() : 0;
}

template <class Interface, class Set>
void ResultsStorage<Interface, Set>::SetPrecision(int rs, int col, int precision) {
    const WriteLockGuard guard(rowsLock);
    GetColumn(rs, col).SetPrecision(precision);
}

template <class Interface, class Set>
int ResultsStorage<Interface, Set>::GetNativeDataType(int rs, int col) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? GetColumn(rs, col).GetNativeDataType() : 0;
}

template <class Interface, class Set>
void ResultsStorage<Interface, Set>::SetNativeDataType(int rs, int col, int type) {
    const WriteLockGuard guard(rowsLock);
    GetColumn(rs, col).SetNativeDataType(type);
}

template <class Interface, class Set>
std::string ResultsStorage<Interface, Set>::GetNativeDataTypeName(int rs, int col) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? GetColumn(rs, col).GetNativeDataTypeName() : std::string();
}

template <class Interface, class Set>
void ResultsStorage<Interface, Set>::SetNativeDataTypeName(int rs, int col, const std::string& name) {
    const WriteLockGuard guard(rowsLock);
    GetColumn(rs, col).SetNativeDataTypeName(name);
}

template <class Interface, class Set>
std::string ResultsStorage<Interface, Set>::GetColumnLabel(int rs, int col) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? GetColumn(rs, col).GetColumnLabel() : std::string();
}

template <class Interface, class Set>
int ResultsStorage<Interface, Set>::FindColumnLabel(int rs, const std::string& label) {
    const ReadAccess access(rowsLock, readLimitMs);
    if (!access)
        return -1;
    int col = 0;
    for (const auto& column : GetResultSet(rs).columns) {
        if (qxutils::StringUtils::StringICmp(column->GetColumnLabel(), label) == 0)
            return col;
        ++col;
    }
    return -1;
}

template <class Interface, class Set>
AlignHint ResultsStorage<Interface, Set>::GetAlignHint(int rs, int col) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? GetColumn(rs, col).GetAlignHint() : AlignLeft;
}

template <class Interface, class Set>
std::string ResultsStorage<Interface, Set>::GetString(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return std::string();
    Column& column = Cell(index, rs, row, col);
    return column.AsString(row);
}

template <class Interface, class Set>
short ResultsStorage<Interface, Set>::GetShort(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return short();
    Column& column = Cell(index, rs, row, col);
    return column.AsShort(row);
}

template <class Interface, class Set>
int ResultsStorage<Interface, Set>::GetInt(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return 0;
    Column& column = Cell(index, rs, row, col);
    return column.AsInt(row);
}

template <class Interface, class Set>
long ResultsStorage<Interface, Set>::GetLong(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return 0L;
    Column& column = Cell(index, rs, row, col);
    return column.AsLong(row);
}

template <class Interface, class Set>
__int64 ResultsStorage<Interface, Set>::GetInt64(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return __int64();
    Column& column = Cell(index, rs, row, col);
    return column.AsInt64(row);
}

template <class Interface, class Set>
float ResultsStorage<Interface, Set>::GetFloat(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return 0.0F;
    Column& column = Cell(index, rs, row, col);
    return column.AsFloat(row);
}

template <class Interface, class Set>
double ResultsStorage<Interface, Set>::GetDouble(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return 0.0;
    Column& column = Cell(index, rs, row, col);
    return column.AsDouble(row);
}

template <class Interface, class Set>
qxdb::Decimal ResultsStorage<Interface, Set>::GetDecimal(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return qxdb::Decimal();
    Column& column = Cell(index, rs, row, col);
    return column.AsDecimal(row);
}

template <class Interface, class Set>
qxdb::DynBuffer ResultsStorage<Interface, Set>::GetBinary(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return qxdb::DynBuffer();
    Column& column = Cell(index, rs, row, col);
    return column.AsBinary(row);
}

template <class Interface, class Set>
qxdb::Timestamp ResultsStorage<Interface, Set>::GetTimestamp(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return qxdb::Timestamp();
    Column& column = Cell(index, rs, row, col);
    return column.AsTimestamp(row);
}

template <class Interface, class Set>
const char* ResultsStorage<Interface, Set>::GetDataTimeFormat(int, int rs, int col) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? GetColumn(rs, col).GetDataTimeFormat() : nullptr;
}

template <class Interface, class Set>
bool ResultsStorage<Interface, Set>::IsNull(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return false;
    Cell(index, rs, row, col);
    return GetResultSet(rs).nullIndicator->IsNull(col, row);
}

template <class Interface, class Set>
std::string ResultsStorage<Interface, Set>::AsString(int index, int rs, int row, int col,
                                                     const std::locale& locale) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return std::string();
    Column& column = Cell(index, rs, row, col);
    if (GetResultSet(rs).nullIndicator->IsNull(col, row))
        return NullText;
    return column.AsString(row, locale);
}

template <class Interface, class Set>
int ResultsStorage<Interface, Set>::AddResultSet(const std::vector<ColumnDefinition>& columns,
                                                 ResultSetType type) {
    const WriteLockGuard guard(rowsLock);
    if (resultSetCount > 0)
        resultSets.emplace_back(allocator);
    ++resultSetCount;
    Set& set = resultSets.back();
    set.resultSetType = type;
    set.nullIndicator = std::make_unique<NullIndicator>(allocator, static_cast<__int64>(columns.size()));
    for (const ColumnDefinition& definition : columns) {
        std::unique_ptr<Column> column = MakeColumn(definition);
        if (!column)
            return -1;
        column->SetColumnLabel(definition.columnLabel);
        column->SetNativeDataType(definition.nativeDataType);
        column->SetNativeDataTypeName(definition.nativeDataTypeName);
        set.columns.push_back(std::move(column));
    }
    return static_cast<int>(resultSets.size()) - 1;
}

template <class Interface, class Set>
int ResultsStorage<Interface, Set>::GetLargestColumnSize(int rs, int col, std::locale& locale,
                                                         LargestColumnItemCallback& callback) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    return access ? GetColumn(rs, col).GetLargestColumnSize(locale, callback) : 0;
}

template <class Interface, class Set>
LobExtract ResultsStorage<Interface, Set>::GetLob(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return LobExtract(qxdb::LobLocator(), std::list<std::string>(), std::string());
    Column& column = Cell(index, rs, row, col);
    Set& set = GetResultSet(rs);
    std::list<std::string> rowValues;
    int other = 0;
    for (const auto& item : set.columns)
        rowValues.push_back(
            set.nullIndicator->IsNull(other++, row) ? NullText : item->AsString(row, std::locale::classic()));
    return LobExtract(column.GetLob(row), rowValues, column.GetLobFileName(row));
}

template <class Interface, class Set>
bool ResultsStorage<Interface, Set>::GetUseLobLocators(int rs, int col) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access && GetColumn(rs, col).GetUseLobLocators();
}

template <class Interface, class Set>
NamedTypeExtract ResultsStorage<Interface, Set>::GetNamedType(int index, int rs, int row, int col) {
    std::string text;
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (access) {
        Column& column = Cell(index, rs, row, col);
        text = column.AsString(row);
    }
    return NamedTypeExtract(text);
}

template <class Interface, class Set>
int ResultsStorage<Interface, Set>::FindString(int index, int rs, int col, const std::string& text,
                                               int startRow) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return 0;
    Set& set = GetResultSet(rs);
    Column& column = GetColumn(rs, col);
    RowIndexArray* const rows = FindRows(set, index);
    const int count = rows ? rows->Size() : set.Rows();
    int row = startRow < 0 ? 0 : startRow;
    // In the order of the view first, which finds a near row at once.
    const int nearEnd = rows && count - row > NearRows ? row + NearRows : count;
    for (; row < nearEnd; ++row) {
        if (column.EqualsString(set.Physical(rows ? rows->GetItem(row) : row), text))
            return row;
    }
    return row < count ? FindFar(set, column, *rows, text, row) : count;
}

// A sorted view jumps between pages, so the rest is searched in the order of the pages.
template <class Interface, class Set>
int ResultsStorage<Interface, Set>::FindFar(Set& set, Column& column, RowIndexArray& rows,
                                            const std::string& text, int startRow) {
    const int physicalRows = set.PhysicalRows();
    std::vector<bool> found(static_cast<std::size_t>(physicalRows));
    bool any = false;
    for (int physical = 0; physical < physicalRows; ++physical) {
        if (column.EqualsString(physical, text)) {
            found[static_cast<std::size_t>(physical)] = true;
            any = true;
        }
    }
    const int count = rows.Size();
    for (int row = startRow; any && row < count; ++row) {
        if (found[static_cast<std::size_t>(set.Physical(rows.GetItem(row)))])
            return row;
    }
    return count;
}

template <class Interface, class Set>
void ResultsStorage<Interface, Set>::CleanUp() {
    const WriteLockGuard guard(rowsLock);
    resultSets.clear();
    resultSets.emplace_back(allocator);
    resultSetCount = 0;
}

template <class Interface, class Set>
RowLock ResultsStorage<Interface, Set>::GetRowLock(int) {
    return RowLock(rowsLock);
}

template <class Interface, class Set>
std::string ResultsStorage<Interface, Set>::GetTagName(int rs) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? GetResultSet(rs).tagName : std::string();
}

template <class Interface, class Set>
void ResultsStorage<Interface, Set>::SetTagName(int rs, std::string name) {
    const WriteLockGuard guard(rowsLock);
    GetResultSet(rs).tagName = std::move(name);
}

template <class Interface, class Set>
std::string ResultsStorage<Interface, Set>::GetTableName(int rs) {
    const ReadAccess access(rowsLock, readLimitMs);
    return access ? GetResultSet(rs).tableName : std::string();
}

template <class Interface, class Set>
void ResultsStorage<Interface, Set>::SetTableName(int rs, std::string name) {
    const WriteLockGuard guard(rowsLock);
    GetResultSet(rs).tableName = std::move(name);
}

template <class Interface, class Set>
typename ResultsStorage<Interface, Set>::HeldGuards& ResultsStorage<Interface, Set>::OwnGuards() {
    const std::lock_guard<std::mutex> guard(heldLock);
    std::unique_ptr<HeldGuards>& own = held[std::this_thread::get_id()];
    if (!own)
        own = std::make_unique<HeldGuards>();
    return *own;
}

template <class Interface, class Set>
void ResultsStorage<Interface, Set>::LockAll() {
    HeldGuards& own = OwnGuards();
    if (!own.read && !own.write)
        own.read = std::make_unique<qxutils::ReadLockGuard>(rowsLock, true);
}

template <class Interface, class Set>
void ResultsStorage<Interface, Set>::WriteLockAll() {
    HeldGuards& own = OwnGuards();
    if (own.write)
        return;
    own.read.reset();
    own.write = std::make_unique<WriteLockGuard>(rowsLock);
}

template <class Interface, class Set>
void ResultsStorage<Interface, Set>::UnlockAll() {
    std::unique_ptr<HeldGuards> released;
    const std::lock_guard<std::mutex> guard(heldLock);
    const auto own = held.find(std::this_thread::get_id());
    if (own == held.end())
        return;
    released = std::move(own->second);
    held.erase(own);
}

template <class Interface, class Set>
void ResultsStorage<Interface, Set>::DeleteColumn(int, int rs, int col) {
    const WriteLockGuard guard(rowsLock);
    Set& set = GetResultSet(rs);
    if (col < 0 || col >= static_cast<int>(set.columns.size()))
        return;
    set.columns.erase(set.columns.begin() + col);
    set.nullIndicator->DeleteColumn(col);
    for (auto& entry : set.indexes)
        DropSortKey(entry.second.sortKeys, col);
}

template <class Interface, class Set>
bool ResultsStorage<Interface, Set>::BeginReads() {
    if (mapLock.HasWaiters() || !rowsLock.ReadLock(readLimitMs))
        return false;
    if (mapLock.Lock(readLimitMs))
        return true;
    rowsLock.ReadUnlock();
    return false;
}

template <class Interface, class Set>
void ResultsStorage<Interface, Set>::EndReads() {
    mapLock.Unlock();
    rowsLock.ReadUnlock();
}

template <class Interface, class Set>
bool ResultsStorage<Interface, Set>::VisitRow(int index, int rs, int row, const int* columns, int count,
                                              const CellFormat& format, CellSink& sink) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return false;
    Set& set = GetResultSet(rs);
    const int physical = Translate(set, index, row);
    const NullRow nulls(set.nullIndicator.get(), physical);
    for (int position = 0; position < count; ++position) {
        const int col = columns[position];
        Column& column = *set.columns.at(static_cast<std::size_t>(col));
        if (nulls.IsNull(col))
            sink.OnCell(position, true, NullText);
        else
            sink.OnCell(position, false, column.ViewString(physical, format, cellText));
    }
    return true;
}

template <class Interface, class Set>
RowIndexArray& ResultsStorage<Interface, Set>::OpenRows(Set& set, int index) {
    RowIndexEntry& entry = set.indexes[index];
    if (!entry.rows) {
        auto rows = std::make_unique<RowIndexArray>(allocator);
        const int count = set.Rows();
        for (int row = 0; row < count; ++row)
            rows->PushBack(row);
        entry.rows = std::move(rows);
    }
    return *entry.rows;
}

template <class Interface, class Set>
int ResultsStorage<Interface, Set>::GetRowFromIndex(int index, int rs, int row, bool toPhysical) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return row;
    Set& set = GetResultSet(rs);
    return toPhysical ? Translate(set, index, row) : ViewRow(set, index, row);
}

template <class Interface, class Set>
void ResultsStorage<Interface, Set>::HideRow(int index, int rs, int row) {
    const WriteLockGuard guard(rowsLock);
    RowIndexArray& rows = OpenRows(GetResultSet(rs), index);
    if (row >= 0 && row < rows.Size())
        rows.Erase(row);
}

template <class Interface, class Set>
void ResultsStorage<Interface, Set>::SortRows(Set& set, RowIndexArray& rows,
                                              const std::vector<DataSort>& keys, int option) {
    std::vector<SortColumn> columns;
    for (const DataSort& key : keys)
        columns.push_back(
            {set.columns.at(static_cast<std::size_t>(key.column)).get(), key.column, key.ascending});
    const std::vector<int> physicalRows = set.ListPhysicalRows();
    RowSorter sorter(std::move(columns), set.nullIndicator.get(), Set::kSortsByOption ? option : 0,
                     physicalRows);
    sorter.Sort(rows, set.Rows());
}

template <class Interface, class Set>
int ResultsStorage<Interface, Set>::GetRowTranslation(int index, int rs, int row) {
    return GetRowFromIndex(index, rs, row);
}

template <class Interface, class Set>
int ResultsStorage<Interface, Set>::CompareItems(int index, int rs, int col, int row1, int row2) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return 0;
    Set& set = GetResultSet(rs);
    return GetColumn(rs, col).CompareItems(Translate(set, index, row1), Translate(set, index, row2), 0);
}

template <class Interface, class Set>
void ResultsStorage<Interface, Set>::Sort(int index, int rs, const std::vector<DataSort>& keys,
                                          std::deque<int>* rowsToTrack, int option) {
    const WriteLockGuard guard(rowsLock);
    Set& set = GetResultSet(rs);
    for (const DataSort& key : keys)
        static_cast<void>(set.columns.at(static_cast<std::size_t>(key.column)));
    RowIndexArray& rows = OpenRows(set, index);
    std::deque<int> tracked;
    if (rowsToTrack) {
        for (const int row : *rowsToTrack)
            tracked.push_back(rows.GetItem(row));
    }
    std::vector<DataSort> newKeys = keys;
    SortRows(set, rows, keys, option);
    set.indexes[index].sortKeys.swap(newKeys);
    if (rowsToTrack) {
        PositionsOf(rows, tracked);
        rowsToTrack->swap(tracked);
    }
}

template <class Interface, class Set>
void ResultsStorage<Interface, Set>::ReSort(int index, int rs) {
    const WriteLockGuard guard(rowsLock);
    Set& set = GetResultSet(rs);
    const auto entry = set.indexes.find(index);
    if (entry != set.indexes.end() && entry->second.rows)
        SortRows(set, *entry->second.rows, entry->second.sortKeys, 0);
}

template <class Interface, class Set>
void ResultsStorage<Interface, Set>::FlipSort(int index, int rs, int col, std::deque<int>* rowsToTrack,
                                              int option) {
    const WriteLockGuard guard(rowsLock);
    Set& set = GetResultSet(rs);
    bool ascending = true;
    const auto entry = set.indexes.find(index);
    if (entry != set.indexes.end()) {
        const std::vector<DataSort>& keys = entry->second.sortKeys;
        if (keys.size() == 1 && keys.front().column == col)
            ascending = !keys.front().ascending;
    }
    Sort(index, rs, {DataSort(col, ascending)}, rowsToTrack, option);
}

template <class Interface, class Set>
bool ResultsStorage<Interface, Set>::IsSorted(int index, int rs) {
    const ReadAccess access(rowsLock, readLimitMs);
    if (!access)
        return false;
    Set& set = GetResultSet(rs);
    const auto entry = set.indexes.find(index);
    return entry != set.indexes.end() && !entry->second.sortKeys.empty();
}

template <class Interface, class Set>
void ResultsStorage<Interface, Set>::TrackRearrangedRows(int fromIndex, int rs, int toIndex,
                                                         std::deque<int>& rows) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return;
    Set& set = GetResultSet(rs);
    for (int& row : rows)
        row = ViewRow(set, fromIndex, row);
    if (RowIndexArray* const target = FindRows(set, toIndex))
        PositionsOf(*target, rows);
}

template <class Interface, class Set>
int ResultsStorage<Interface, Set>::CreateNewIndexAsCopyOfIndex(int source) {
    const WriteLockGuard guard(rowsLock);
    RemoveClosedViews();
    const int index = Interface::CreateNewIndexAsCopyOfIndex(source);
    for (Set& set : resultSets) {
        const auto entry = set.indexes.find(source);
        if (entry == set.indexes.end() || !entry->second.rows)
            continue;
        RowIndexEntry copy;
        copy.rows = std::make_unique<RowIndexArray>(allocator);
        const int size = entry->second.rows->Size();
        for (int position = 0; position < size; ++position)
            copy.rows->PushBack(entry->second.rows->GetItem(position));
        copy.sortKeys = entry->second.sortKeys;
        set.indexes[index] = std::move(copy);
    }
    return index;
}

template <class Interface, class Set>
bool ResultsStorage<Interface, Set>::DestroyIndex(int index) {
    // A thread that holds the read side through LockAll may drop a handle: the view's memory goes later then.
    if (rowsLock.WriteLock()) {
        for (Set& set : resultSets)
            set.indexes.erase(index);
        RemoveClosedViews();
        rowsLock.WriteUnlock();
    } else {
        const qxutils::LockGuard<SQLEngineCriticalSection> viewGuard(this->indexLock);
        closedViews.push_back(index);
    }
    return Interface::DestroyIndex(index);
}

template <class Interface, class Set>
void ResultsStorage<Interface, Set>::RemoveClosedViews() {
    const qxutils::LockGuard<SQLEngineCriticalSection> viewGuard(this->indexLock);
    for (const int index : closedViews) {
        for (Set& set : resultSets)
            set.indexes.erase(index);
    }
    closedViews.clear();
}

template class ResultsStorage<DataContainer, ResultSetStorage>;
template class ResultsStorage<EditableDataContainer, EditResultSetStorage>;

}  // namespace qxdbsqlengine
