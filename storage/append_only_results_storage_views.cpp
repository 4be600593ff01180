// The views of a container: translation, hiding, sorting, tracking.
#include <algorithm>
#include <numeric>
#include <utility>

#include "platform/qxutils/lock_guard.h"
#include "storage/append_only_results_storage.h"
#include "storage/read_access.h"
#include "storage/row_sorter.h"

namespace qxdbsqlengine {

namespace {

using qxutils::WriteLockGuard;

// Makes the array list the rows 0 to rowCount - 1, as far as it does not.
void ResetRows(RowIndexArray& rows, int rowCount) {
    while (rows.Size() > rowCount)
        rows.RemoveBack();
    for (int row = rows.Size(); row < rowCount; ++row)
        rows.PushBack(row);
}

// Replaces physical rows by their positions in the array in one pass; a row that is not there gets the
// array's size.
void PositionsOf(RowIndexArray& rows, std::deque<int>& tracked) {
    const int size = rows.Size();
    std::vector<std::pair<int, std::size_t>> wanted;  // physical row, place in `tracked`
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
        const int physical = rows.GetItem(position);
        if (physical < least || physical > greatest)
            continue;
        auto found = std::lower_bound(wanted.begin(), wanted.end(), std::make_pair(physical, std::size_t{0}));
        for (; found != wanted.end() && found->first == physical; ++found)
            tracked[found->second] = std::min(tracked[found->second], position);
    }
}

}  // namespace

RowIndexArray* AppendOnlyResultsStorage::FindRows(ResultSetStorage& set, int index) {
    if (set.indexes.empty())
        return nullptr;
    const auto entry = set.indexes.find(index);
    return entry == set.indexes.end() ? nullptr : entry->second.rows.get();
}

int AppendOnlyResultsStorage::Translate(ResultSetStorage& set, int index, int row) {
    RowIndexArray* const rows = FindRows(set, index);
    return rows ? rows->GetItem(row) : row;
}

ColumnSetStorage& AppendOnlyResultsStorage::Cell(int index, int rs, int& row, int col) {
    ResultSetStorage& set = ResultSet(rs);
    row = Translate(set, index, row);
    return *set.columns.at(static_cast<std::size_t>(col));
}

RowIndexArray& AppendOnlyResultsStorage::OpenRows(ResultSetStorage& set, int index) {
    RowIndexEntry& entry = set.indexes[index];
    if (!entry.rows) {
        auto rows = std::make_unique<RowIndexArray>(allocator);
        ResetRows(*rows, set.rowCount);
        entry.rows = std::move(rows);
    }
    return *entry.rows;
}

int AppendOnlyResultsStorage::GetRowFromIndex(int index, int rs, int row) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    return access ? Translate(ResultSet(rs), index, row) : row;
}

int AppendOnlyResultsStorage::GetRowTranslation(int index, int rs, int row) {
    return GetRowFromIndex(index, rs, row);
}

void AppendOnlyResultsStorage::HideRow(int index, int rs, int row) {
    const WriteLockGuard guard(rowsLock);
    RowIndexArray& rows = OpenRows(ResultSet(rs), index);
    const int size = rows.Size();
    if (row < 0 || row >= size)
        return;
    for (int to = row; to < size - 1; ++to) {
        const int moved = rows.GetItem(to + 1);
        rows.GetItem(to) = moved;
    }
    rows.RemoveBack();
}

void AppendOnlyResultsStorage::DeleteRow(int index, int rs, int row) {
    HideRow(index, rs, row);
}

int AppendOnlyResultsStorage::CompareItems(int index, int rs, int col, int row1, int row2) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return 0;
    ResultSetStorage& set = ResultSet(rs);
    return Column(rs, col).CompareItems(Translate(set, index, row1), Translate(set, index, row2), 0);
}

void AppendOnlyResultsStorage::Sort(int index, int rs, const std::vector<DataSort>& keys,
                                    std::deque<int>* rowsToTrack, int option) {
    const WriteLockGuard guard(rowsLock);
    ResultSetStorage& set = ResultSet(rs);
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

void AppendOnlyResultsStorage::ReSort(int index, int rs) {
    const WriteLockGuard guard(rowsLock);
    ResultSetStorage& set = ResultSet(rs);
    const auto entry = set.indexes.find(index);
    if (entry != set.indexes.end() && entry->second.rows)
        SortRows(set, *entry->second.rows, entry->second.sortKeys, 0);
}

void AppendOnlyResultsStorage::FlipSort(int index, int rs, int col, std::deque<int>* rowsToTrack,
                                        int option) {
    const WriteLockGuard guard(rowsLock);
    ResultSetStorage& set = ResultSet(rs);
    bool ascending = true;
    const auto entry = set.indexes.find(index);
    if (entry != set.indexes.end()) {
        const std::vector<DataSort>& keys = entry->second.sortKeys;
        if (keys.size() == 1 && keys.front().column == col)
            ascending = !keys.front().ascending;
    }
    Sort(index, rs, {DataSort(col, ascending)}, rowsToTrack, option);
}

bool AppendOnlyResultsStorage::IsSorted(int index, int rs) {
    const ReadAccess access(rowsLock, readLimitMs);
    if (!access)
        return false;
    ResultSetStorage& set = ResultSet(rs);
    const auto entry = set.indexes.find(index);
    return entry != set.indexes.end() && !entry->second.sortKeys.empty();
}

void AppendOnlyResultsStorage::SortRows(ResultSetStorage& set, RowIndexArray& rows,
                                        const std::vector<DataSort>& keys, int option) {
    std::vector<SortColumn> columns;
    for (const DataSort& key : keys)
        columns.push_back(
            {set.columns.at(static_cast<std::size_t>(key.column)).get(), key.column, key.ascending});
    RowSorter sorter(std::move(columns), set.nullIndicator.get(), option);
    sorter.Sort(rows, set.rowCount);
}

void AppendOnlyResultsStorage::TrackRearrangedRows(int fromIndex, int rs, int toIndex,
                                                   std::deque<int>& rows) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return;
    ResultSetStorage& set = ResultSet(rs);
    for (int& row : rows)
        row = Translate(set, fromIndex, row);
    if (RowIndexArray* const target = FindRows(set, toIndex))
        PositionsOf(*target, rows);
}

int AppendOnlyResultsStorage::CreateNewIndexAsCopyOfIndex(int source) {
    const WriteLockGuard guard(rowsLock);
    RemoveClosedViews();
    const int index = DataContainer::CreateNewIndexAsCopyOfIndex(source);
    for (ResultSetStorage& set : resultSets) {
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

bool AppendOnlyResultsStorage::DestroyIndex(int index) {
    // A thread that holds the read side through LockAll may drop a handle: the view's memory goes later then.
    if (rowsLock.WriteLock()) {
        for (ResultSetStorage& set : resultSets)
            set.indexes.erase(index);
        RemoveClosedViews();
        rowsLock.WriteUnlock();
    } else {
        const qxutils::LockGuard<SQLEngineCriticalSection> viewGuard(indexLock);
        closedViews.push_back(index);
    }
    return DataContainer::DestroyIndex(index);
}

void AppendOnlyResultsStorage::RemoveClosedViews() {
    const qxutils::LockGuard<SQLEngineCriticalSection> viewGuard(indexLock);
    for (const int index : closedViews) {
        for (ResultSetStorage& set : resultSets)
            set.indexes.erase(index);
    }
    closedViews.clear();
}

}  // namespace qxdbsqlengine
