// What the containers of append-only and of editable results have in common: reading, views and the lock.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "platform/qxutils/read_write_lock.h"
#include "storage/data_container.h"
#include "storage/map_lock.h"
#include "storage/result_set_storage.h"
#include "storage/storage_base.h"

namespace qxdbsqlengine {

// `Interface`: DataContainer or EditableDataContainer. `Set`: the result set that goes with it.
//
// Threads: DataContainer's rules. Readers hold the read side of `rowsLock` and then `mapLock`, since reading
// may map pages and columns have scratch members; writers hold the write side, which keeps readers out of
// both. Order: rowsLock, mapLock, indexLock.
template <class Interface, class Set>
class QXSENG2_API ResultsStorage : public Interface {
  public:
    ~ResultsStorage() override;

    int GetNumberOfResultSets() override;
    int GetNumberOfRows(int index, int rs) override;
    int GetNumberOfColumns(int rs) override;
    ResultSetType GetResultSetType(int rs) override;
    EnumDataType GetDataType(int rs, int col) override;
    int GetPrecision(int rs, int col) override;
    void SetPrecision(int rs, int col, int precision) override;
    int GetNativeDataType(int rs, int col) override;
    void SetNativeDataType(int rs, int col, int type) override;
    std::string GetNativeDataTypeName(int rs, int col) override;
    void SetNativeDataTypeName(int rs, int col, const std::string& name) override;
    std::string GetColumnLabel(int rs, int col) override;
    int FindColumnLabel(int rs, const std::string& label) override;
    AlignHint GetAlignHint(int rs, int col) override;
    std::string GetString(int index, int rs, int row, int col) override;
    short GetShort(int index, int rs, int row, int col) override;
    int GetInt(int index, int rs, int row, int col) override;
    long GetLong(int index, int rs, int row, int col) override;
    __int64 GetInt64(int index, int rs, int row, int col) override;
    float GetFloat(int index, int rs, int row, int col) override;
    double GetDouble(int index, int rs, int row, int col) override;
    qxdb::Decimal GetDecimal(int index, int rs, int row, int col) override;
    qxdb::DynBuffer GetBinary(int index, int rs, int row, int col) override;
    qxdb::Timestamp GetTimestamp(int index, int rs, int row, int col) override;
    const char* GetDataTimeFormat(int index, int rs, int col) override;
    bool IsNull(int index, int rs, int row, int col) override;
    std::string AsString(int index, int rs, int row, int col, const std::locale& locale) override;
    int AddResultSet(const std::vector<ColumnDefinition>& columns, ResultSetType type) override;
    void HideRow(int index, int rs, int row) override;
    int CompareItems(int index, int rs, int col, int row1, int row2) override;
    void Sort(int index, int rs, const std::vector<DataSort>& keys, std::deque<int>* rowsToTrack,
              int option) override;
    void ReSort(int index, int rs) override;
    void FlipSort(int index, int rs, int col, std::deque<int>* rowsToTrack, int option) override;
    bool IsSorted(int index, int rs) override;
    int GetLargestColumnSize(int rs, int col, std::locale& locale,
                             LargestColumnItemCallback& callback) override;
    LobExtract GetLob(int index, int rs, int row, int col) override;
    bool GetUseLobLocators(int rs, int col) override;
    NamedTypeExtract GetNamedType(int index, int rs, int row, int col) override;
    void TrackRearrangedRows(int fromIndex, int rs, int toIndex, std::deque<int>& rows) override;
    int FindString(int index, int rs, int col, const std::string& text, int startRow) override;
    RowLock GetRowLock(int rs) override;
    int CreateNewIndexAsCopyOfIndex(int index) override;
    bool DestroyIndex(int index) override;
    void CleanUp() override;
    std::string GetTagName(int rs) override;
    void SetTagName(int rs, std::string name) override;
    std::string GetTableName(int rs) override;
    void SetTableName(int rs, std::string name) override;
    void LockAll() override;
    void WriteLockAll() override;
    void UnlockAll() override;
    void DeleteColumn(int index, int rs, int col) override;
    int GetRowTranslation(int index, int rs, int row) override;
    bool BeginReads() override;
    void EndReads() override;
    bool VisitRow(int index, int rs, int row, const int* columns, int count, const CellFormat& format,
                  CellSink& sink) override;

  protected:
    using Column = typename Set::ColumnType;

    explicit ResultsStorage(bool useCacheFile);

    // An empty column for the definition; null for an unknown data type.
    virtual std::unique_ptr<Column> MakeColumn(const ColumnDefinition& definition) = 0;

    // The physical row of a view's row, or its logical row; `row` itself when the lock was not to be had.
    int GetRowFromIndex(int index, int rs, int row, bool toPhysical = true);

    Set& GetResultSet(int rs) { return resultSets.at(static_cast<std::size_t>(rs)); }
    Column& GetColumn(int rs, int col) { return *GetResultSet(rs).columns.at(static_cast<std::size_t>(col)); }
    // The view's array, null while it is the identity.
    static RowIndexArray* FindRows(Set& set, int index) {
        if (set.indexes.empty())
            return nullptr;
        const auto entry = set.indexes.find(index);
        return entry == set.indexes.end() ? nullptr : entry->second.rows.get();
    }
    // The logical row of a view's row.
    static int ViewRow(Set& set, int index, int row) {
        RowIndexArray* const rows = FindRows(set, index);
        return rows ? rows->GetItem(row) : row;
    }
    static int Translate(Set& set, int index, int row) { return set.Physical(ViewRow(set, index, row)); }
    // The cell's column and, in `row`, its physical row.
    Column& Cell(int index, int rs, int& row, int col) {
        Set& set = GetResultSet(rs);
        row = Translate(set, index, row);
        return *set.columns.at(static_cast<std::size_t>(col));
    }
    RowIndexArray& OpenRows(Set& set, int index);
    // Drops all holds and result sets. For destructors: what columns lie in must outlive them.
    void DropAll();

    long readLimitMs;  // how long a reader waits

    std::deque<Set> resultSets;  // never empty: the first element waits for the first result set
    int resultSetCount;
    StorageAlloc<65536> allocator;
    qxutils::RecursiveReadWriteLock rowsLock;
    MapLock mapLock;

  private:
    // What a thread holds through LockAll or WriteLockAll.
    struct HeldGuards {
        std::unique_ptr<qxutils::ReadLockGuard> read;
        std::unique_ptr<qxutils::WriteLockGuard> write;
    };

    static int FindFar(Set& set, Column& column, RowIndexArray& rows, const std::string& text, int startRow);
    static void SortRows(Set& set, RowIndexArray& rows, const std::vector<DataSort>& keys, int option);
    void RemoveClosedViews();
    HeldGuards& OwnGuards();

    std::string cellText;  // VisitRow's scratch, guarded by mapLock

    std::vector<int> closedViews;  // their entries still stand; guarded by indexLock

    std::mutex heldLock;  // guards `held` only
    std::map<std::thread::id, std::unique_ptr<HeldGuards>> held;
};

extern template class ResultsStorage<DataContainer, ResultSetStorage>;
extern template class ResultsStorage<EditableDataContainer, EditResultSetStorage>;

}  // namespace qxdbsqlengine
