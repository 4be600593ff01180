// The order of rows in editable results.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/export.h"
#include "storage/storage_base.h"

namespace qxdbsqlengine {

// Position is the logical row, the item the physical row, that is the item number in the columns. Physical
// rows of deleted rows are used again, the smallest first, since columns of editable results can be
// overwritten. No lock of its own.
//
// Invariant: `nextOpen` is -1 or the smallest physical row, among all that were ever handed out, that is not
// in the array.
class QXSENG2_API MainIndex : public StorageBase<int, int, 65536> {
  public:
    explicit MainIndex(StorageAlloc<65536>& allocator);
    ~MainIndex();

    using StorageBase<int, int, 65536>::Size;
    // The physical row at `pos`; the shared zero item when out of range. Valid until the next call.
    int& GetMappedValue(const int& pos) { return GetItem(pos); }
    // The first position of `physical`, Size() when it is not there. Linear.
    int FindValue(const int& physical);

    // Appends a row and returns its physical row: the smallest free one, else a new one. Throws
    // std::bad_alloc; nothing has changed then.
    int AddRow();
    // The same, at position `pos` (0 to Size()); later rows move up.
    int InsertRow(int pos);
    // Takes position `pos` out; later rows move down. Returns the physical row, now free; -1, and nothing
    // happens, when there is no such position.
    int DeleteRow(const int& pos);
    // Takes the row of the last AddRow back: a new physical row is handed out anew then. REQUIRES: nothing
    // has changed since.
    void UndoAddRow();

    // True when the last AddRow or InsertRow handed out a physical row that the columns do not have yet.
    bool ValueInserted() const { return valueInserted; }
    // True when the next one will not.
    bool HasOpenRow() const { return nextOpen >= 0; }
    // How many physical rows were ever handed out.
    int PhysicalRows() const { return physicalRows; }

  protected:
    // Moves `nextOpen` from the row just reused to the next free one, -1 when there is none.
    void CalcNextOpen();

  private:
    int nextOpen;
    bool valueInserted;
    int physicalRows;
    std::vector<std::uint64_t> openRows;  // a bit for each physical row, set while it is free
};

}  // namespace qxdbsqlengine
