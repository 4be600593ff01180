// The container of query results.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "platform/qxutils/read_write_lock.h"
#include "storage/data_container.h"
#include "storage/map_lock.h"
#include "storage/null_indicator.h"
#include "storage/storage_base.h"

namespace qxdbsqlengine {

// Array of a view: position is the row of the view, the item the physical row.
using RowIndexArray = StorageBase<int, int, 65536>;

// What one view has of its own in one result set.
struct RowIndexEntry {
    std::unique_ptr<RowIndexArray> rows;  // null until the view sorts or hides: then it is the identity
    std::vector<DataSort> sortKeys;
};

// One result set. Guarded by its container's lock.
struct ResultSetStorage {
    std::vector<std::unique_ptr<ColumnSetStorage>> columns;
    std::unique_ptr<NullIndicator> nullIndicator;
    int rowCount = 0;                      // physical rows
    std::map<int, RowIndexEntry> indexes;  // by view id
    ResultSetType resultSetType = ResultSetNormal;
    std::string tagName;
    std::string tableName;
};

// Rows can only be added; data lives in memory pages and, beyond the first 640 KiB or so, in a cache file
// that goes with the container. A view hides and orders rows without touching the data, at 4 bytes a row.
//
// Threads: DataContainer's rules. Readers hold the read side of `rowsLock` and then `mapLock`, since reading
// may map pages and columns have scratch members; writers hold the write side, which keeps readers out of
// both. Order: rowsLock, mapLock, indexLock.
class QXSENG2_API AppendOnlyResultsStorage : public DataContainer {
  public:
    AppendOnlyResultsStorage();
    ~AppendOnlyResultsStorage() override;

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
    std::string GetLobFileName(int index, int rs, int row, int col) override;
    int AddResultSet(const std::vector<ColumnDefinition>& columns, ResultSetType type) override;
    void InsertString(int rs, int col, const std::string& value) override;
    void InsertShort(int rs, int col, const short& value) override;
    void InsertInt(int rs, int col, const int& value) override;
    void InsertLong(int rs, int col, const long& value) override;
    void InsertInt64(int rs, int col, const __int64& value) override;
    void InsertFloat(int rs, int col, const float& value) override;
    void InsertDouble(int rs, int col, const double& value) override;
    void InsertDecimal(int rs, int col, const qxdb::Decimal& value) override;
    void InsertBinary(int rs, int col, const qxdb::DynBuffer& value) override;
    void InsertTimestamp(int rs, int col, const qxdb::Timestamp& value) override;
    void InsertLobData(int rs, int col, const std::string& text, const qxdb::DynBuffer& locatorData) override;
    void InsertEmpty(int rs, int col) override;
    void InsertNull(int rs, int col) override;
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
    // The same as HideRow: the data stays.
    void DeleteRow(int index, int rs, int row) override;
    int GetRowTranslation(int index, int rs, int row) override;
    bool VisitRow(int index, int rs, int row, const int* columns, int count, const CellFormat& format,
                  CellSink& sink) override;

  protected:
    // The physical row of a view's row; `row` itself when the view has no array or the lock was not to be
    // had.
    int GetRowFromIndex(int index, int rs, int row);

    long readLimitMs;  // how long a reader waits

  private:
    struct HeldGuards;

    ResultSetStorage& ResultSet(int rs) { return resultSets.at(static_cast<std::size_t>(rs)); }
    ColumnSetStorage& Column(int rs, int col) {
        return *ResultSet(rs).columns.at(static_cast<std::size_t>(col));
    }
    // The view's array, null while it is the identity.
    static RowIndexArray* FindRows(ResultSetStorage& set, int index);
    static int Translate(ResultSetStorage& set, int index, int row);
    // The cell's column and, in `row`, its physical row.
    ColumnSetStorage& Cell(int index, int rs, int& row, int col);
    RowIndexArray& OpenRows(ResultSetStorage& set, int index);
    static int FindFar(ResultSetStorage& set, ColumnSetStorage& column, RowIndexArray& rows,
                       const std::string& text, int startRow);
    void InsertNewRow(int rs);
    static void SortRows(ResultSetStorage& set, RowIndexArray& rows, const std::vector<DataSort>& keys,
                         int option);
    void RemoveClosedViews();
    HeldGuards& OwnGuards();

    std::deque<ResultSetStorage> resultSets;  // never empty: the first element waits for the first result set
    int resultSetCount;
    StorageAlloc<65536> allocator;
    qxutils::RecursiveReadWriteLock rowsLock;
    MapLock mapLock;
    std::string cellText;  // VisitRow's scratch, guarded by mapLock

    std::vector<int> closedViews;  // their entries still stand; guarded by indexLock

    std::mutex heldLock;  // guards `held` only
    std::map<std::thread::id, std::unique_ptr<HeldGuards>> held;
};

}  // namespace qxdbsqlengine
