// Interface of a results store.
#pragma once

#include <deque>
#include <locale>
#include <string>
#include <vector>

#include "platform/export.h"
#include "platform/int64.h"
#include "platform/qxdb/buffer.h"
#include "platform/qxdb/decimal.h"
#include "platform/qxdb/timestamp.h"
#include "storage/cell_format.h"
#include "storage/cell_sink.h"
#include "storage/column_definition.h"
#include "storage/column_set_storage.h"
#include "storage/complex_type.h"
#include "storage/result_set_type.h"
#include "storage/row_lock.h"
#include "storage/sql_engine_critical_section.h"

namespace qxdbsqlengine {

// A list of result sets, each a list of columns, readable by row through any of several independent views,
// and filled one row at a time. Callers use it through DataStorage handles; the last handle deletes it.
//
// Numbers are 0-based: `index` is a view id from CreateNewIndex, `rs` a result set, `col` a column, `row` a
// row of the view. A result set or column out of range throws std::out_of_range.
//
// Threads: any number of readers beside one writer. A reader waits at most 5000 milliseconds for the lock;
// when that is over it silently gets the type's empty value (0, "", false). Insert... take no lock: the
// writer holds a RowLock around each row. Changes of a view take the lock exclusively and wait without limit.
class QXSENG2_API DataContainer {
  public:
    DataContainer();
    DataContainer(const DataContainer&) = delete;
    DataContainer& operator=(const DataContainer&) = delete;
    virtual ~DataContainer();

    virtual int GetNumberOfResultSets() = 0;
    // Rows that the view shows.
    virtual int GetNumberOfRows(int index, int rs) = 0;
    virtual int GetNumberOfColumns(int rs) = 0;
    virtual ResultSetType GetResultSetType(int rs) = 0;
    virtual EnumDataType GetDataType(int rs, int col) = 0;
    virtual int GetPrecision(int rs, int col) = 0;
    virtual void SetPrecision(int rs, int col, int precision) = 0;
    // The server's own type number, -1 when unknown, and type name.
    virtual int GetNativeDataType(int rs, int col) = 0;
    virtual void SetNativeDataType(int rs, int col, int type) = 0;
    virtual std::string GetNativeDataTypeName(int rs, int col) = 0;
    virtual void SetNativeDataTypeName(int rs, int col, const std::string& name) = 0;
    virtual std::string GetColumnLabel(int rs, int col) = 0;
    // The first column with this label, ignoring case; -1 when there is none or the lock was not to be had.
    virtual int FindColumnLabel(int rs, const std::string& label) = 0;
    virtual AlignHint GetAlignHint(int rs, int col) = 0;

    // Typed reads do not convert: a read of another type than the column's throws QXException ("Wrong Type
    // Exception"). A null cell reads as the empty value of its type.
    virtual std::string GetString(int index, int rs, int row, int col) = 0;
    virtual short GetShort(int index, int rs, int row, int col) = 0;
    virtual int GetInt(int index, int rs, int row, int col) = 0;
    virtual long GetLong(int index, int rs, int row, int col) = 0;
    virtual __int64 GetInt64(int index, int rs, int row, int col) = 0;
    virtual float GetFloat(int index, int rs, int row, int col) = 0;
    virtual double GetDouble(int index, int rs, int row, int col) = 0;
    virtual qxdb::Decimal GetDecimal(int index, int rs, int row, int col) = 0;
    virtual qxdb::DynBuffer GetBinary(int index, int rs, int row, int col) = 0;
    virtual qxdb::Timestamp GetTimestamp(int index, int rs, int row, int col) = 0;

    // The format of a timestamp column, null for its default and for other columns. Valid as long as the
    // column.
    virtual const char* GetDataTimeFormat(int index, int rs, int col) = 0;
    virtual bool IsNull(int index, int rs, int row, int col) = 0;
    // The text that users see; "[NULL]" for a null.
    virtual std::string AsString(int index, int rs, int row, int col, const std::locale& locale) = 0;
    // The file that holds the cell's value; empty when there is none.
    virtual std::string GetLobFileName(int index, int rs, int row, int col) = 0;

    // Begins a result set and returns its number; -1 when a definition has an unknown data type. Result sets
    // before it stay complete and readable.
    virtual int AddResultSet(const std::vector<ColumnDefinition>& columns, ResultSetType type) = 0;

    // A row is written column by column from column 0 on, under a RowLock; column 0 opens the row.
    virtual void InsertString(int rs, int col, const std::string& value) = 0;
    virtual void InsertShort(int rs, int col, const short& value) = 0;
    virtual void InsertInt(int rs, int col, const int& value) = 0;
    virtual void InsertLong(int rs, int col, const long& value) = 0;
    virtual void InsertInt64(int rs, int col, const __int64& value) = 0;
    virtual void InsertFloat(int rs, int col, const float& value) = 0;
    virtual void InsertDouble(int rs, int col, const double& value) = 0;
    virtual void InsertDecimal(int rs, int col, const qxdb::Decimal& value) = 0;
    virtual void InsertBinary(int rs, int col, const qxdb::DynBuffer& value) = 0;
    virtual void InsertTimestamp(int rs, int col, const qxdb::Timestamp& value) = 0;
    virtual void InsertLobData(int rs, int col, const std::string& text,
                               const qxdb::DynBuffer& locatorData) = 0;
    // The empty value of the column's type.
    virtual void InsertEmpty(int rs, int col) = 0;
    // The empty value and the null mark.
    virtual void InsertNull(int rs, int col) = 0;

    // Takes a row out of the view only. Rows out of range are ignored.
    virtual void HideRow(int index, int rs, int row) = 0;
    // Negative, 0 or positive, by the order of the column's type.
    virtual int CompareItems(int index, int rs, int col, int row1, int row2) = 0;
    // Sorts the view by `keys`, the most significant first; nulls are the lowest values. Empty keys bring
    // back the order of arrival of the rows that the view has. `rowsToTrack`, when not null, holds row
    // numbers of the view, which become the rows' new numbers. `option` 0 orders digit runs in texts by their
    // value; any other compares them digit by digit from the left.
    virtual void Sort(int index, int rs, const std::vector<DataSort>& keys, std::deque<int>* rowsToTrack,
                      int option) = 0;
    // Sorts again by the view's keys; rows that arrived since the sort move to their places.
    virtual void ReSort(int index, int rs) = 0;
    // A click on a heading: sorts by `col` alone, ascending; descending when it is sorted by it ascending.
    virtual void FlipSort(int index, int rs, int col, std::deque<int>* rowsToTrack, int option) = 0;
    virtual bool IsSorted(int index, int rs) = 0;

    // The greatest width of the column's texts as `callback` measures them, over all rows, hidden ones too.
    virtual int GetLargestColumnSize(int rs, int col, std::locale& locale,
                                     LargestColumnItemCallback& callback) = 0;
    virtual LobExtract GetLob(int index, int rs, int row, int col) = 0;
    virtual bool GetUseLobLocators(int rs, int col) = 0;
    virtual NamedTypeExtract GetNamedType(int index, int rs, int row, int col) = 0;

    // Turns row numbers of one view into those of another. A row that the other does not show gets its row
    // count.
    virtual void TrackRearrangedRows(int fromIndex, int rs, int toIndex, std::deque<int>& rows) = 0;
    // The first row from `startRow` on whose text is `text` byte for byte; the row count when there is none.
    // Only for columns of texts.
    virtual int FindString(int index, int rs, int col, const std::string& text, int startRow) = 0;

    virtual RowLock GetRowLock(int rs) = 0;

    // Views: the number of open views is the reference count of the container. DestroyIndex returns true when
    // it closed the last one; the caller deletes the container then.
    virtual int CreateNewIndex();
    // The new view starts with the order, hidden rows and sort keys of `index`.
    virtual int CreateNewIndexAsCopyOfIndex(int index);
    virtual bool DestroyIndex(int index);
    // Back to no result sets. Memory is kept for reuse.
    virtual void CleanUp();

    // Names under which the result set is exported.
    virtual std::string GetTagName(int rs) = 0;
    virtual void SetTagName(int rs, std::string name) = 0;
    virtual std::string GetTableName(int rs) = 0;
    virtual void SetTableName(int rs, std::string name) = 0;

    // Hold the container stable through many calls of this thread: against writers (LockAll), or against
    // everybody. Not counted: UnlockAll drops what this thread holds, on the thread that took it. No time
    // limit. Under LockAll the thread itself cannot change the container: that throws std::runtime_error
    // "Unable to acquire lock!"; only dropping a view is let through.
    virtual void LockAll() = 0;
    virtual void WriteLockAll() = 0;
    virtual void UnlockAll() = 0;

    virtual void DeleteColumn(int index, int rs, int col) = 0;
    virtual void DeleteRow(int index, int rs, int row) = 0;
    // The number under which the columns know the row.
    virtual int GetRowTranslation(int index, int rs, int row) = 0;

    // Hands the texts of the row's cells in `columns` (count of them, in that order) to `sink`, exactly those
    // of AsString with the format's locale, under one lock and without an allocation for each cell. False,
    // with nothing handed out, when the lock was not to be had.
    virtual bool VisitRow(int index, int rs, int row, const int* columns, int count, const CellFormat& format,
                          CellSink& sink) = 0;

    // Takes the locks that VisitRow takes, so that the reads of some rows on this thread cost them once. For
    // some microseconds only: writers and other readers wait meanwhile. False, with nothing taken, when
    // another reader waits already or a lock was not to be had; a success needs one EndReads.
    virtual bool BeginReads() = 0;
    virtual void EndReads() = 0;

  protected:
    int nextIndexId;  // guarded by indexLock, as is indexCount
    int indexCount;
    SQLEngineCriticalSection indexLock;  // taken behind the container's rows lock, never before it
};

// A container whose cells can be overwritten and whose rows can be inserted and deleted.
//
// The Set operations and InsertRow take no lock: the caller holds WriteLockAll or a RowLock when another
// thread may read. Set does not touch the null mark: a null cell stays null.
class QXSENG2_API EditableDataContainer : public DataContainer {
  public:
    ~EditableDataContainer() override;

    virtual void SetString(int index, int rs, int row, int col, const std::string& value) = 0;
    virtual void SetShort(int index, int rs, int row, int col, const short& value) = 0;
    virtual void SetInt(int index, int rs, int row, int col, const int& value) = 0;
    virtual void SetLong(int index, int rs, int row, int col, const long& value) = 0;
    virtual void SetInt64(int index, int rs, int row, int col, const __int64& value) = 0;
    virtual void SetFloat(int index, int rs, int row, int col, const float& value) = 0;
    virtual void SetDouble(int index, int rs, int row, int col, const double& value) = 0;
    virtual void SetBinary(int index, int rs, int row, int col, const qxdb::DynBuffer& value) = 0;
    virtual void SetDecimal(int index, int rs, int row, int col, const qxdb::Decimal& value) = 0;
    virtual void SetTimestamp(int index, int rs, int row, int col, const qxdb::Timestamp& value) = 0;
    virtual void SetLobData(int index, int rs, int row, int col, const std::string& text,
                            const std::string& fileName) = 0;
    virtual void SetLobData(int index, int rs, int row, int col, const std::string& text,
                            const qxdb::DynBuffer& locatorData, const std::string& fileName) = 0;
    virtual void SetEmpty(int index, int rs, int row, int col) = 0;
    // The empty value and the null mark.
    virtual void SetNull(int index, int rs, int row, int col) = 0;
    // A new row of empty values at the place of `row`.
    virtual void InsertRow(int index, int rs, int row) = 0;
};

}  // namespace qxdbsqlengine
