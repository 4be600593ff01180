// One result set of a container. Guarded by its container's lock.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/export.h"
#include "storage/column_definition.h"
#include "storage/column_set_storage.h"
#include "storage/main_index.h"
#include "storage/null_indicator.h"
#include "storage/result_set_type.h"
#include "storage/storage_base.h"

namespace qxdbsqlengine {

// Array of a view: position is the row of the view, the item the logical row.
using RowIndexArray = StorageBase<int, int, 65536>;

// What one view has of its own in one result set.
struct RowIndexEntry {
    std::unique_ptr<RowIndexArray> rows;  // null until the view sorts or hides: then it is the identity
    std::vector<DataSort> sortKeys;
};

// Rows can only be added: a logical row is the physical row, under which the columns know it.
struct QXSENG2_API ResultSetStorage {
    using ColumnType = ColumnSetStorage;
    static constexpr bool kSortsByOption = true;

    explicit ResultSetStorage(StorageAlloc<65536>&) {}

    int Rows() const { return rowCount; }
    int PhysicalRows() const { return rowCount; }
    int Physical(int row) { return row; }
    // The physical rows by logical row; empty where they are the same.
    std::vector<int> ListPhysicalRows() { return {}; }

    std::vector<std::unique_ptr<ColumnSetStorage>> columns;
    std::unique_ptr<NullIndicator> nullIndicator;
    int rowCount = 0;
    std::map<int, RowIndexEntry> indexes;  // by view id
    ResultSetType resultSetType = ResultSetNormal;
    std::string tagName;
    std::string tableName;
};

// Rows can be inserted, moved and deleted: a logical row is a position in `mainIndex`, which has the physical
// row.
struct QXSENG2_API EditResultSetStorage {
    using ColumnType = EditableSetStorage;
    // Editable columns of texts do not know the option.
    static constexpr bool kSortsByOption = false;

    explicit EditResultSetStorage(StorageAlloc<65536>& alloc)
        : mainIndex(std::make_unique<MainIndex>(alloc)) {}

    int Rows() const { return mainIndex->Size(); }
    int PhysicalRows() const { return mainIndex->PhysicalRows(); }
    int Physical(int row) { return mainIndex->GetMappedValue(row); }
    std::vector<int> ListPhysicalRows() {
        std::vector<int> rows(static_cast<std::size_t>(mainIndex->Size()));
        mainIndex->Read(0, rows.data(), mainIndex->Size());
        return rows;
    }

    std::vector<std::unique_ptr<EditableSetStorage>> columns;
    std::unique_ptr<NullIndicator> nullIndicator;
    std::unique_ptr<MainIndex> mainIndex;
    std::map<int, RowIndexEntry> indexes;  // by view id
    ResultSetType resultSetType = ResultSetNormal;
    int refillRow = -1;  // the physical row that the row being appended reuses, -1 for a new one
    std::string tagName;
    std::string tableName;
    // The row being appended: its physical row, and the column that it has reached, -1 when it is whole.
    int openRow = -1;
    int openColumn = -1;
};

}  // namespace qxdbsqlengine
