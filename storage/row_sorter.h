// The sort of a view.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "storage/column_set_storage.h"
#include "storage/null_indicator.h"
#include "storage/sort_key.h"
#include "storage/storage_base.h"

namespace qxdbsqlengine {

// One column to sort by; the column is not owned.
struct SortColumn {
    ColumnSetStorage* column;
    int number;  // in the null indicator
    bool ascending;
};

// Sorts an array of rows by the values of columns, nulls lowest, for one call of Sort. The caller
// holds the container exclusively. When something throws (memory, a column), the array keeps its old order.
//
// With option 0 it goes by sort keys (sort_key.h), 16 bytes a row in one vector: all rows get the first 12
// bytes of their key, in page order, and are sorted as integers. Rows that tie get a rank instead and the
// next 8 bytes, again all of them in page order, and so on to the end of the key and then to the next column.
// Ties deep in long texts are settled group by group, over what the group has in common.
//
// Any other option compares digit runs as fractions, which makes no consistent order: those rows are merged
// by comparing the columns themselves, which cannot leave the array whatever the comparison says.
class RowSorter {
  public:
    // `nulls` may be null when there are no columns. `physicalRows`: the physical rows by the rows that the
    // array to sort holds; empty where it holds physical rows itself.
    RowSorter(std::vector<SortColumn> sortColumns, NullIndicator* nulls, int option,
              std::vector<int> physicalRows = {});
    ~RowSorter();

    // `rowCount`: all rows; an array of as many rows has them all. Rows with equal values end up in the order
    // of their numbers.
    void Sort(StorageBase<int, int, 65536>& rows, int rowCount);

  private:
    class Comparator;
    // Rows that are equal as far as was looked: items [first, last), to be placed from `rank` on, and where
    // in their keys to look next.
    struct Group {
        std::size_t first;
        std::size_t last;
        std::size_t rank;
        SortKeyPosition position;
    };
    // What is known of an item, in the low half of SortItem::high once its rank stands in the high half.
    enum State : unsigned { Placed, EqualSoFar, Open };

    void SortByKeys(StorageBase<int, int, 65536>& rows, int rowCount);
    void SortByComparison(StorageBase<int, int, 65536>& rows);
    void ListRows(StorageBase<int, int, 65536>& rows, int rowCount);
    void SortColumnKeys(const SortColumn& by);
    void SplitNulls(const SortColumn& by);
    void SortPart(const SortColumn& by, const SortKeyPosition& position, bool oneGroup);
    bool IsOneGroup() const;
    void OrderOpenByRow();
    std::size_t KeepOpen(State state);
    void SplitRuns(std::size_t first, std::size_t last, bool ranked, std::size_t base, bool ascending,
                   std::size_t lengthLeft);
    void Mark(std::size_t first, std::size_t last, std::size_t rank, State state);
    void SortDeep(const SortColumn& by, const SortKeyPosition& position);
    void SortGroup(const SortColumn& by, Group group, std::vector<Group>& pending);
    void SortSmallGroup(const SortColumn& by, const Group& group);
    bool SkipCommon(ColumnSetStorage& column, Group& group);
    void PlaceEqual();
    const int* RowMap() const { return physicalRows.empty() ? nullptr : physicalRows.data(); }
    int PhysicalRow(const SortItem& item) const {
        return physicalRows.empty() ? static_cast<int>(item.Row()) : physicalRows[item.Row()];
    }

    std::vector<SortColumn> columns;
    NullIndicator* nullIndicator;
    int sortOption;
    const std::vector<int> physicalRows;

    std::vector<SortItem> items;
    std::size_t open = 0;  // the first `open` items are to be looked at; the others wait or are placed
    std::string text;      // scratch
};

}  // namespace qxdbsqlengine
