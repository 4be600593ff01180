#include "storage/editable_results_storage.h"

#include <limits>
#include <new>

#include "storage/editable_binary_storage.h"
#include "storage/editable_decimal_storage.h"
#include "storage/editable_lob_storage.h"
#include "storage/editable_string_storage.h"
#include "storage/fixed_columns.h"
#include "storage/read_access.h"

namespace qxdbsqlengine {

namespace {

constexpr int NoLimit = std::numeric_limits<int>::max();

// Columns of fixed-size values can parse a text at their end only: the value is moved from there.
// `end`: the number of rows that the column has.
void RefillString(EditableSetStorage& column, int row, int end, const std::string& text) {
    const auto move = [&](auto read, auto set) {
        column.InsertString(text);
        (column.*set)(row, (column.*read)(end));
        column.RemoveLast();
    };
    switch (column.GetDataType()) {
        case DataTypeShort:
            return move(&ColumnSetStorage::AsShort, &EditableSetStorage::SetShort);
        case DataTypeInt:
            return move(&ColumnSetStorage::AsInt, &EditableSetStorage::SetInt);
        case DataTypeLong:
            return move(&ColumnSetStorage::AsLong, &EditableSetStorage::SetLong);
        case DataTypeInt64:
            return move(&ColumnSetStorage::AsInt64, &EditableSetStorage::SetInt64);
        case DataTypeFloat:
            return move(&ColumnSetStorage::AsFloat, &EditableSetStorage::SetFloat);
        case DataTypeDouble:
            return move(&ColumnSetStorage::AsDouble, &EditableSetStorage::SetDouble);
        case DataTypeTimestamp:
            return move(&ColumnSetStorage::AsTimestamp, &EditableSetStorage::SetTimestamp);
        default:
            column.SetString(row, text);
    }
}

// Undoes what an insertion has prepared, unless it goes through.
template <class Undo>
class Rollback {
  public:
    explicit Rollback(Undo undoAction) : undo(undoAction) {}
    ~Rollback() {
        if (armed)
            undo();
    }
    Rollback(const Rollback&) = delete;
    Rollback& operator=(const Rollback&) = delete;

    void Disarm() { armed = false; }

  private:
    Undo undo;
    bool armed = true;
};

// Adds an item to the array of every view.
void PushBackToViews(EditResultSetStorage& set, int row) {
    std::vector<RowIndexArray*> done;
    Rollback rollback([&done] {
        for (RowIndexArray* const rows : done)
            rows->RemoveBack();
    });
    done.reserve(set.indexes.size());
    for (auto& entry : set.indexes) {
        if (entry.second.rows) {
            entry.second.rows->PushBack(row);
            done.push_back(entry.second.rows.get());
        }
    }
    rollback.Disarm();
}

void RemoveBackOfViews(EditResultSetStorage& set) {
    for (auto& entry : set.indexes) {
        if (entry.second.rows)
            entry.second.rows->RemoveBack();
    }
}

// Logical row `pos` has come in between: the array's last item stands for it.
void MakeRoom(RowIndexArray& rows, int pos) {
    int count = 0;
    for (int from = 0; from < rows.Size(); from += count) {
        int* const items = rows.Span(from, count);
        for (int i = 0; i < count; ++i)
            items[i] += items[i] >= pos ? 1 : 0;
    }
    rows.GetItem(rows.Size() - 1) = pos;
}

// Logical row `pos` is gone.
void CloseGap(RowIndexArray& rows, int pos) {
    int found = -1;
    int count = 0;
    for (int from = 0; from < rows.Size(); from += count) {
        int* const items = rows.Span(from, count);
        for (int i = 0; i < count; ++i) {
            if (items[i] == pos)
                found = from + i;
            items[i] -= items[i] > pos ? 1 : 0;
        }
    }
    if (found >= 0)
        rows.Erase(found);
}

}  // namespace

EditableResultsStorage::EditableResultsStorage()
    : ResultsStorage(false), cells(allocator), compactBelow(NoLimit) {}

EditableResultsStorage::~EditableResultsStorage() {
    DropAll();
}

std::unique_ptr<EditableSetStorage> EditableResultsStorage::MakeColumn(const ColumnDefinition& definition) {
    switch (definition.dataType) {
        case DataTypeString:
            return std::make_unique<EditableStringStorage>(cells);
        case DataTypeShort:
            return std::make_unique<ShortStorage>(allocator);
        case DataTypeInt:
            return std::make_unique<IntStorage>(allocator);
        case DataTypeLong:
            return std::make_unique<LongStorage>(allocator);
        case DataTypeInt64:
            return std::make_unique<Int64Storage>(allocator);
        case DataTypeFloat:
            return std::make_unique<FloatStorage>(allocator, definition.precision);
        case DataTypeDouble:
            return std::make_unique<DoubleStorage>(allocator, definition.precision);
        case DataTypeDecimal:
            return std::make_unique<EditableDecimalStorage>(cells, definition.precision);
        case DataTypeBinary:
            return std::make_unique<EditableBinaryStorage>(cells);
        case DataTypeTimestamp:
            return std::make_unique<TimestampSetStorage>(allocator, definition.timestampFormat);
        case DataTypeLob:
            return std::make_unique<EditableLobStorage>(
                cells, definition.precision,
                definition.lobLocator ? definition.lobLocator->Clone() : qxdb::LobLocator(),
                definition.useLobLocators && definition.lobLocator, definition.useSpecificLobLocatorImpl);
        case DataTypeNamedType:
            return std::make_unique<EditableNamedTypeStorage>(cells);
    }
    return nullptr;
}

// Opens a row at the end. Nothing has changed when it throws.
void EditableResultsStorage::InsertNewRow(EditResultSetStorage& set) {
    CompleteRow(set);
    PushBackToViews(set, set.Rows());
    Rollback rollback([&set] { RemoveBackOfViews(set); });
    set.openRow = set.mainIndex->AddRow();
    rollback.Disarm();
    set.refillRow = set.mainIndex->ValueInserted() ? -1 : set.openRow;
    set.openColumn = 0;
}

// REQUIRES: no column has got a value of the new row.
void EditableResultsStorage::UndoNewRow(EditResultSetStorage& set) {
    RemoveBackOfViews(set);
    set.mainIndex->UndoAddRow();
    set.refillRow = -1;
    set.openColumn = -1;
}

// Gives a row that was not written to its end the values that it lacks, so that the columns stay of one
// length.
void EditableResultsStorage::CompleteRow(EditResultSetStorage& set) {
    if (set.openColumn < 0)
        return;
    if (set.refillRow < 0) {
        for (; set.openColumn < static_cast<int>(set.columns.size()); ++set.openColumn)
            set.columns[static_cast<std::size_t>(set.openColumn)]->InsertEmpty();
    }
    // What its writer still has goes into these.
    set.refillRow = set.openRow;
    set.openColumn = -1;
}

// `insert(column)` appends the cell to its column; `refill(column, row, end)` puts it to a physical row that
// the column has, of `end` rows.
template <class Insert, class Refill>
void EditableResultsStorage::AppendCell(int rs, int col, Insert insert, Refill refill) {
    EditResultSetStorage& set = GetResultSet(rs);
    EditableSetStorage& column = *set.columns.at(static_cast<std::size_t>(col));
    if (col == 0)
        InsertNewRow(set);
    Rollback rollback([&set, col] {
        if (col == 0)
            UndoNewRow(set);
    });
    if (set.refillRow >= 0) {
        refill(column, set.refillRow, set.PhysicalRows());
        set.nullIndicator->ClearNull(col, set.refillRow);
    } else {
        insert(column);
    }
    rollback.Disarm();
    if (set.openColumn >= 0)
        set.openColumn = col + 1 < static_cast<int>(set.columns.size()) ? col + 1 : -1;
}

template <class Value>
void EditableResultsStorage::AppendValue(int rs, int col, const Value& value,
                                         void (ColumnSetStorage::*insert)(const Value&),
                                         void (EditableSetStorage::*set)(int, const Value&)) {
    AppendCell(
        rs, col, [&](EditableSetStorage& column) { (column.*insert)(value); },
        [&](EditableSetStorage& column, int row, int) { (column.*set)(row, value); });
}

void EditableResultsStorage::InsertString(int rs, int col, const std::string& value) {
    AppendCell(
        rs, col, [&](EditableSetStorage& column) { column.InsertString(value); },
        [&](EditableSetStorage& column, int row, int end) { RefillString(column, row, end, value); });
}

void EditableResultsStorage::InsertShort(int rs, int col, const short& value) {
    AppendValue(rs, col, value, &ColumnSetStorage::InsertShort, &EditableSetStorage::SetShort);
}

void EditableResultsStorage::InsertInt(int rs, int col, const int& value) {
    AppendValue(rs, col, value, &ColumnSetStorage::InsertInt, &EditableSetStorage::SetInt);
}

void EditableResultsStorage::InsertLong(int rs, int col, const long& value) {
    AppendValue(rs, col, value, &ColumnSetStorage::InsertLong, &EditableSetStorage::SetLong);
}

void EditableResultsStorage::InsertInt64(int rs, int col, const __int64& value) {
    AppendValue(rs, col, value, &ColumnSetStorage::InsertInt64, &EditableSetStorage::SetInt64);
}

void EditableResultsStorage::InsertFloat(int rs, int col, const float& value) {
    AppendValue(rs, col, value, &ColumnSetStorage::InsertFloat, &EditableSetStorage::SetFloat);
}

void EditableResultsStorage::InsertDouble(int rs, int col, const double& value) {
    AppendValue(rs, col, value, &ColumnSetStorage::InsertDouble, &EditableSetStorage::SetDouble);
}

void EditableResultsStorage::InsertDecimal(int rs, int col, const qxdb::Decimal& value) {
    AppendValue(rs, col, value, &ColumnSetStorage::InsertDecimal, &EditableSetStorage::SetDecimal);
}

void EditableResultsStorage::InsertBinary(int rs, int col, const qxdb::DynBuffer& value) {
    AppendValue(rs, col, value, &ColumnSetStorage::InsertBinary, &EditableSetStorage::SetBinary);
}

void EditableResultsStorage::InsertTimestamp(int rs, int col, const qxdb::Timestamp& value) {
    AppendValue(rs, col, value, &ColumnSetStorage::InsertTimestamp, &EditableSetStorage::SetTimestamp);
}

void EditableResultsStorage::InsertLobData(int rs, int col, const std::string& text,
                                           const qxdb::DynBuffer& locatorData) {
    AppendCell(
        rs, col, [&](EditableSetStorage& column) { column.InsertLobData(text, locatorData); },
        [&](EditableSetStorage& column, int row, int) {
            column.SetLobData(row, text, locatorData, std::string());
        });
}

void EditableResultsStorage::InsertEmpty(int rs, int col) {
    AppendCell(
        rs, col, [](EditableSetStorage& column) { column.InsertEmpty(); },
        [](EditableSetStorage& column, int row, int) { column.SetEmpty(row); });
}

void EditableResultsStorage::InsertNull(int rs, int col) {
    InsertEmpty(rs, col);
    EditResultSetStorage& set = GetResultSet(rs);
    set.nullIndicator->SetNull(col, set.openRow);
}

std::string EditableResultsStorage::GetLobFileName(int index, int rs, int row, int col) {
    const ReadAccess access(rowsLock, mapLock, readLimitMs);
    if (!access)
        return std::string();
    Column& column = Cell(index, rs, row, col);
    return column.GetLobFileName(row);
}

void EditableResultsStorage::DeleteColumn(int index, int rs, int col) {
    const qxutils::WriteLockGuard guard(rowsLock);
    CompleteRow(GetResultSet(rs));
    ResultsStorage::DeleteColumn(index, rs, col);
    CompactCells();
}

void EditableResultsStorage::DeleteRow(int index, int rs, int row) {
    const qxutils::WriteLockGuard guard(rowsLock);
    EditResultSetStorage& set = GetResultSet(rs);
    CompleteRow(set);
    RowIndexArray* const view = FindRows(set, index);
    if (row < 0 || row >= (view ? view->Size() : set.Rows()))
        return;
    const int pos = ViewRow(set, index, row);
    const int physical = set.Physical(pos);
    // Only data of locators can be refused memory here; then the row stays.
    for (const auto& column : set.columns)
        column->SetEmpty(physical);
    set.mainIndex->DeleteRow(pos);
    for (auto& entry : set.indexes) {
        if (entry.second.rows)
            CloseGap(*entry.second.rows, pos);
    }
    CompactCells();
}

// The physical row of a row of the view, -1 when the view has no such row.
int EditableResultsStorage::FindEdited(EditResultSetStorage& set, int index, int row) {
    RowIndexArray* const view = FindRows(set, index);
    if (row < 0 || row >= (view ? view->Size() : set.Rows()))
        return -1;
    return Translate(set, index, row);
}

// `set(column, physicalRow)` changes the cell.
template <class Set>
void EditableResultsStorage::EditCell(int index, int rs, int row, int col, Set set) {
    EditResultSetStorage& target = GetResultSet(rs);
    EditableSetStorage& column = *target.columns.at(static_cast<std::size_t>(col));
    CompleteRow(target);
    const int physical = FindEdited(target, index, row);
    if (physical < 0)
        return;
    set(column, physical);
    CompactCells();
}

void EditableResultsStorage::CompactCells() {
    if (!cells.IsSparse() || cells.CellsInUse() >= compactBelow)
        return;
    try {
        const int end = cells.DenseEnd();
        for (EditResultSetStorage& set : resultSets) {
            for (const auto& column : set.columns)
                column->MoveDown(end);
        }
        compactBelow = NoLimit;
    } catch (const std::bad_alloc&) {
        // The edit itself is done, and what has not moved is where it was.
        compactBelow = cells.CellsInUse() - cells.CellsInUse() / 16;
    }
}

void EditableResultsStorage::SetString(int index, int rs, int row, int col, const std::string& value) {
    EditCell(index, rs, row, col,
             [&](EditableSetStorage& column, int physical) { column.SetString(physical, value); });
}

void EditableResultsStorage::SetShort(int index, int rs, int row, int col, const short& value) {
    EditCell(index, rs, row, col,
             [&](EditableSetStorage& column, int physical) { column.SetShort(physical, value); });
}

void EditableResultsStorage::SetInt(int index, int rs, int row, int col, const int& value) {
    EditCell(index, rs, row, col,
             [&](EditableSetStorage& column, int physical) { column.SetInt(physical, value); });
}

void EditableResultsStorage::SetLong(int index, int rs, int row, int col, const long& value) {
    EditCell(index, rs, row, col,
             [&](EditableSetStorage& column, int physical) { column.SetLong(physical, value); });
}

void EditableResultsStorage::SetInt64(int index, int rs, int row, int col, const __int64& value) {
    EditCell(index, rs, row, col,
             [&](EditableSetStorage& column, int physical) { column.SetInt64(physical, value); });
}

void EditableResultsStorage::SetFloat(int index, int rs, int row, int col, const float& value) {
    EditCell(index, rs, row, col,
             [&](EditableSetStorage& column, int physical) { column.SetFloat(physical, value); });
}

void EditableResultsStorage::SetDouble(int index, int rs, int row, int col, const double& value) {
    EditCell(index, rs, row, col,
             [&](EditableSetStorage& column, int physical) { column.SetDouble(physical, value); });
}

void EditableResultsStorage::SetBinary(int index, int rs, int row, int col, const qxdb::DynBuffer& value) {
    EditCell(index, rs, row, col,
             [&](EditableSetStorage& column, int physical) { column.SetBinary(physical, value); });
}

void EditableResultsStorage::SetDecimal(int index, int rs, int row, int col, const qxdb::Decimal& value) {
    EditCell(index, rs, row, col,
             [&](EditableSetStorage& column, int physical) { column.SetDecimal(physical, value); });
}

void EditableResultsStorage::SetTimestamp(int index, int rs, int row, int col, const qxdb::Timestamp& value) {
    EditCell(index, rs, row, col,
             [&](EditableSetStorage& column, int physical) { column.SetTimestamp(physical, value); });
}

void EditableResultsStorage::SetLobData(int index, int rs, int row, int col, const std::string& text,
                                        const std::string& fileName) {
    EditCell(index, rs, row, col,
             [&](EditableSetStorage& column, int physical) { column.SetLobData(physical, text, fileName); });
}

void EditableResultsStorage::SetLobData(int index, int rs, int row, int col, const std::string& text,
                                        const qxdb::DynBuffer& locatorData, const std::string& fileName) {
    EditCell(index, rs, row, col, [&](EditableSetStorage& column, int physical) {
        column.SetLobData(physical, text, locatorData, fileName);
    });
}

void EditableResultsStorage::SetEmpty(int index, int rs, int row, int col) {
    EditCell(index, rs, row, col,
             [](EditableSetStorage& column, int physical) { column.SetEmpty(physical); });
}

void EditableResultsStorage::SetNull(int index, int rs, int row, int col) {
    EditCell(index, rs, row, col, [&](EditableSetStorage& column, int physical) {
        column.SetEmpty(physical);
        GetResultSet(rs).nullIndicator->SetNull(col, physical);
    });
}

void EditableResultsStorage::InsertRow(int index, int rs, int row) {
    EditResultSetStorage& set = GetResultSet(rs);
    CompleteRow(set);
    RowIndexArray* const view = FindRows(set, index);
    const bool isThere = row >= 0 && row < (view ? view->Size() : set.Rows());
    const int pos = isThere ? ViewRow(set, index, row) : set.Rows();
    // What can be refused comes first.
    PushBackToViews(set, 0);
    Rollback viewsBack([&set] { RemoveBackOfViews(set); });
    std::size_t extended = 0;
    Rollback columnsBack([&set, &extended] {
        while (extended > 0)
            set.columns[--extended]->RemoveLast();
    });
    if (!set.mainIndex->HasOpenRow()) {
        for (; extended < set.columns.size(); ++extended)
            set.columns[extended]->InsertEmpty();
    }
    set.mainIndex->InsertRow(pos);
    columnsBack.Disarm();
    viewsBack.Disarm();
    for (auto& entry : set.indexes) {
        if (entry.second.rows)
            MakeRoom(*entry.second.rows, pos);
    }
}

}  // namespace qxdbsqlengine
