// The null marks of one result set.
#pragma once

#include <cstdint>

#include "platform/int64.h"
#include "storage/storage_base.h"

namespace qxdbsqlengine {

// Bit matrix of rows by columns: the bit of a cell is row * columns + column, in byte bit / 8 at bit % 8,
// least significant first. It grows only as far as the last null reaches, so a result set without nulls costs
// nothing. No lock of its own; the container's covers it.
//
// Columns and rows are 0-based and physical. Negative numbers and columns beyond the width are not checked by
// SetNull and ClearNull (the container does); IsNull gives false for what was never set.
class NullIndicator {
  public:
    NullIndicator(StorageAlloc<65536>& alloc, __int64 columnCount);

    void SetNull(int column, int row);
    void ClearNull(int column, int row);
    bool IsNull(int column, int row);

    // The marks of one row side by side, that of column 0 lowest, where FitsWord(): one look at the pages for
    // all of its cells.
    bool FitsWord() const { return columns <= 57; }  // up to 7 more bits stand before them in their byte
    std::uint64_t RowBits(int row);

    // Takes one column's bits out of every row; the other bits move together. Nothing happens to the bits
    // when it is the last column. True.
    bool DeleteColumn(int column);

    // True as long as no null was ever set: readers of many rows skip their tests then.
    bool IsUnused() const { return bits.Size() == 0; }

  protected:
    void SetBit(__int64 bit);
    void ClearBit(__int64 bit);
    bool TestBit(__int64 bit);

  private:
    StorageBase<char, int, 65536> bits;
    __int64 columns;
};

// The marks of one row, for readers of all of its cells. Serialised as the indicator, which may be null.
class NullRow {
  public:
    NullRow(NullIndicator* indicator, int physicalRow)
        : nulls(indicator != nullptr && !indicator->IsUnused() ? indicator : nullptr),
          row(physicalRow),
          asWord(nulls == nullptr || nulls->FitsWord()),
          bits(nulls != nullptr && asWord ? nulls->RowBits(row) : 0) {}

    bool IsNull(int column) const {
        return asWord ? ((bits >> column) & 1U) != 0 : nulls->IsNull(column, row);
    }

  private:
    NullIndicator* const nulls;
    const int row;
    const bool asWord;
    const std::uint64_t bits;
};

}  // namespace qxdbsqlengine
