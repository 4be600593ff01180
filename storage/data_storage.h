// Handle on a results store.
#pragma once

#include <deque>
#include <locale>
#include <string>
#include <vector>

#include "platform/export.h"
#include "storage/data_container.h"
#include "storage/data_edit.h"
#include "storage/row_iterator.h"

namespace qxdbsqlengine {

// A results container together with a view of one's own. Handles on one container share the data; each has
// its own order and hidden rows. The last handle deletes the container.
//
// One handle belongs to one thread at a time; handles on one container may live on different threads. What
// the forwarded operations do, lock and throw stands at DataContainer. A handle without a container (the
// default) takes only CleanUp, assignment and destruction.
class QXSENG2_API DataStorage {
  public:
    DataStorage();
    // Takes the container over and opens a view on it; null gives an empty handle.
    explicit DataStorage(DataContainer* newContainer);
    // The same container; the new view starts with the order and hidden rows of the other.
    DataStorage(const DataStorage& other);
    // Gives the own view up first. A handle must not be assigned to itself.
    DataStorage& operator=(const DataStorage& other);
    ~DataStorage();

    // A new empty container in a new handle. Editable results lie in memory with all they have; others move
    // to a cache file as they grow.
    static DataStorage CreateResultsStorage(bool editable);
    // Another handle on the same container, with a new view: all rows in the order in which they arrived, so
    // that its row numbers are the physical rows, save in editable results. Not for an empty handle.
    DataStorage ArrivalOrder();
    // Whether Edit works.
    bool IsEditable() const { return edit.container != nullptr; }

    // Drops all result sets; nothing for an empty handle.
    void CleanUp();

    int GetNumberOfResultSets();
    int GetNumberOfRows(int rs);
    int GetNumberOfColumns(int rs);
    ResultSetType GetResultSetType(int rs);
    AlignHint GetAlignHint(int rs, int col);
    EnumDataType GetDataType(int rs, int col);
    int GetPrecision(int rs, int col);
    void SetPrecision(int rs, int col, int precision);
    int GetNativeDataType(int rs, int col);
    void SetNativeDataType(int rs, int col, int type);
    std::string GetNativeDataTypeName(int rs, int col);
    void SetNativeDataTypeName(int rs, int col, const std::string& name);
    std::string GetColumnLabel(int rs, int col);
    int FindColumnLabel(int rs, const std::string& label);

    std::string GetString(int rs, int row, int col);
    short GetShort(int rs, int row, int col);
    int GetInt(int rs, int row, int col);
    long GetLong(int rs, int row, int col);
    __int64 GetInt64(int rs, int row, int col);
    float GetFloat(int rs, int row, int col);
    double GetDouble(int rs, int row, int col);
    qxdb::Decimal GetDecimal(int rs, int row, int col);
    qxdb::DynBuffer GetBinary(int rs, int row, int col);
    qxdb::Timestamp GetTimestamp(int rs, int row, int col);
    const char* GetDataTimeFormat(int rs, int col);
    bool IsNull(int rs, int row, int col);
    std::string AsString(int rs, int row, int col, const std::locale& locale);
    std::string GetLobFileName(int rs, int row, int col);

    int AddResultSet(const std::vector<ColumnDefinition>& columns, ResultSetType type);
    void InsertString(int rs, int col, const std::string& value);
    void InsertShort(int rs, int col, const short& value);
    void InsertInt(int rs, int col, const int& value);
    void InsertLong(int rs, int col, const long& value);
    void InsertInt64(int rs, int col, const __int64& value);
    void InsertFloat(int rs, int col, const float& value);
    void InsertDouble(int rs, int col, const double& value);
    void InsertDecimal(int rs, int col, const qxdb::Decimal& value);
    void InsertBinary(int rs, int col, const qxdb::DynBuffer& value);
    void InsertTimestamp(int rs, int col, const qxdb::Timestamp& value);
    void InsertLobData(int rs, int col, const std::string& text, const qxdb::DynBuffer& locatorData);
    void InsertEmpty(int rs, int col);
    void InsertNull(int rs, int col);

    void HideRow(int rs, int row);
    int CompareItems(int rs, int col, int row1, int row2);
    void Sort(int rs, const std::vector<DataSort>& keys, std::deque<int>* rowsToTrack, int option);
    void ReSort(int rs);
    void FlipSort(int rs, int col, std::deque<int>* rowsToTrack, int option);
    bool IsSorted(int rs);
    int GetLargestColumnSize(int rs, int col, std::locale& locale, LargestColumnItemCallback& callback);
    LobExtract GetLob(int rs, int row, int col);
    bool GetUseLobLocators(int rs, int col);
    NamedTypeExtract GetNamedType(int rs, int row, int col);
    RowLock GetRowLock(int rs);
    std::string GetTagName(int rs);
    void SetTagName(int rs, std::string name);
    std::string GetTableName(int rs);
    void SetTableName(int rs, std::string name);
    void LockAll();
    void WriteLockAll();
    void UnlockAll();
    void DeleteColumn(int rs, int col);
    void DeleteRow(int rs, int row);
    int GetRowTranslation(int rs, int row);
    bool BeginReads();
    void EndReads();
    bool VisitRow(int rs, int row, const int* columns, int count, const CellFormat& format, CellSink& sink);

    // Row numbers of this handle become those of `other`, a handle on the same container.
    void TrackRearrangedRows(int rs, DataStorage& other, std::deque<int>& rows);

    RowIterator GetRowIterator(int rs, int row);
    // Behind the last row as of this call; rows that arrive later lie beyond it.
    RowIterator GetRowEnd(int rs);
    // At the row found, or equal to the end.
    RowIterator FindString(int rs, int col, const std::string& text, int startRow);

    // The number of the n-th result set (from 0) of a type; QXException when the type is none of the seven or
    // there are not as many.
    int ResolveResultSetID(ResultSetType type, int n);
    // The same for normal result sets.
    int ResolveResultSetID(int n);
    // The place of result set `id` among those of its type, from 0, and the type. QXException when there is
    // none.
    int ResolveIndexOfResultSetID(int id, ResultSetType& type);
    int ResolveIndexOfResultSetID(int id);
    int GetResultSetCountOfType(ResultSetType type);

    // Changes to the data; QXException "The Data Container is not editable" when they are not possible. Valid
    // as long as the handle.
    DataEdit& Edit();

  private:
    friend class RowIterator;

    void Release();

    DataContainer* container;
    int indexId;
    DataEdit edit;
};

}  // namespace qxdbsqlengine
