// The container of results that the caller may change.
#pragma once

#include "storage/cell_alloc.h"
#include "storage/results_storage.h"

namespace qxdbsqlengine {

// Cells can be overwritten, rows inserted and deleted. Everything lies on the heap: 16 bytes for a text, 12
// for a decimal, the size of the value for the other types, 128-byte cells for what is longer, and 4 bytes a
// row for the order. There is no log of changes and no undo.
//
// A row of a view goes through the view's array to a logical row, and that through the MainIndex of the
// result set to the physical row, under which the columns know it. A new row of the order shows in a sorted
// or filtered view at its end. Deleted rows give their memory back; their physical rows are used again.
//
// Values of many lengths that come and go leave pages of cells half empty. When they have become some 8 %
// more than the cells need, the edit that made them so moves the cells together, which takes a pass over all
// long values: the pages in use never exceed what the values need by more than 10 % or two pages.
//
// Threads: those of EditableDataContainer and ResultsStorage.
class QXSENG2_API EditableResultsStorage
    : public ResultsStorage<EditableDataContainer, EditResultSetStorage> {
  public:
    EditableResultsStorage();
    ~EditableResultsStorage() override;

    // A row that a writer has left unfinished gets empty values in the columns that it did not reach, as soon
    // as another row begins or anything is edited.
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
    std::string GetLobFileName(int index, int rs, int row, int col) override;
    void DeleteColumn(int index, int rs, int col) override;
    // Takes the row out of all views. Rows out of range are ignored.
    void DeleteRow(int index, int rs, int row) override;

    // Rows out of range are ignored by all Set operations.
    void SetString(int index, int rs, int row, int col, const std::string& value) override;
    void SetShort(int index, int rs, int row, int col, const short& value) override;
    void SetInt(int index, int rs, int row, int col, const int& value) override;
    void SetLong(int index, int rs, int row, int col, const long& value) override;
    void SetInt64(int index, int rs, int row, int col, const __int64& value) override;
    void SetFloat(int index, int rs, int row, int col, const float& value) override;
    void SetDouble(int index, int rs, int row, int col, const double& value) override;
    void SetBinary(int index, int rs, int row, int col, const qxdb::DynBuffer& value) override;
    void SetDecimal(int index, int rs, int row, int col, const qxdb::Decimal& value) override;
    void SetTimestamp(int index, int rs, int row, int col, const qxdb::Timestamp& value) override;
    void SetLobData(int index, int rs, int row, int col, const std::string& text,
                    const std::string& fileName) override;
    void SetLobData(int index, int rs, int row, int col, const std::string& text,
                    const qxdb::DynBuffer& locatorData, const std::string& fileName) override;
    void SetEmpty(int index, int rs, int row, int col) override;
    void SetNull(int index, int rs, int row, int col) override;
    // At the end when the view has no such row. Throws std::bad_alloc; nothing has changed then. A physical
    // row that is used again keeps the null marks that it had.
    void InsertRow(int index, int rs, int row) override;

  protected:
    std::unique_ptr<EditableSetStorage> MakeColumn(const ColumnDefinition& definition) override;

    CellAlloc cells;  // of all columns of variable length

  private:
    void CompactCells();
    static void InsertNewRow(EditResultSetStorage& set);
    static void UndoNewRow(EditResultSetStorage& set);
    static void CompleteRow(EditResultSetStorage& set);
    static int FindEdited(EditResultSetStorage& set, int index, int row);

    template <class Insert, class Refill>
    void AppendCell(int rs, int col, Insert insert, Refill refill);
    template <class Value>
    void AppendValue(int rs, int col, const Value& value, void (ColumnSetStorage::*insert)(const Value&),
                     void (EditableSetStorage::*set)(int, const Value&));
    template <class Set>
    void EditCell(int index, int rs, int row, int col, Set set);

    // Moving cells together was refused memory: it is not tried again before there are fewer cells than this.
    int compactBelow;
};

}  // namespace qxdbsqlengine
