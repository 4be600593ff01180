// Compute rows, and the helpers that write rows out of other rows.
#include <algorithm>
#include <map>
#include <string>
#include <utility>

#include "platform/qxsplt/errors.h"
#include "request/row_writer.h"
#include "request/sql_request.h"

namespace qxdbsqlengine {

namespace {

// The value of a field as a cell.
void InsertField(DataStorage& storage, int set, int column, qxdb::Field& field) {
    if (field.IsNull())
        return storage.InsertNull(set, column);
    switch (field.GetType()) {
        case qxdb::Column::BindShort:
            return storage.InsertShort(set, column, field.AsShort());
        case qxdb::Column::BindInt:
            return storage.InsertInt(set, column, field.AsInt());
        case qxdb::Column::BindLong:
            return storage.InsertLong(set, column, field.AsLong());
        case qxdb::Column::BindInt64:
            return storage.InsertInt64(set, column, field.AsBigInt());
        case qxdb::Column::BindFloat:
            return storage.InsertFloat(set, column, field.AsFloat());
        case qxdb::Column::BindDouble:
            return storage.InsertDouble(set, column, field.AsDouble());
        case qxdb::Column::BindDecimal:
            return storage.InsertDecimal(set, column, field.AsDecimal());
        case qxdb::Column::BindBinary:
            return storage.InsertBinary(set, column, field.GetBuffer());
        case qxdb::Column::BindTimestamp:
            return storage.InsertTimestamp(set, column, field.AsTimestamp());
        default:
            return storage.InsertString(set, column, field.AsString());
    }
}

// Sums wrap around like the unsigned type of the same width.
template <class T, class Wrapping, class Read>
T WrappingSum(int first, int end, Read read) {
    Wrapping sum = 0;
    for (int row = first; row < end; ++row)
        sum = static_cast<Wrapping>(sum + static_cast<Wrapping>(read(row)));
    return static_cast<T>(sum);
}

template <class T, class Read>
T PlainSum(int first, int end, T sum, Read read) {
    for (int row = first; row < end; ++row)
        sum += read(row);
    return sum;
}

// Rolls up one column of the rows `first` to before `end` of `from` into a cell of `to`.
void CompressColumn(DataStorage& from, int fromSet, DataStorage& to, int toSet, int column, int first,
                    int end) {
    switch (from.GetDataType(fromSet, column)) {
        case DataTypeString:
            return to.InsertString(toSet, column, from.GetString(fromSet, first, column));
        case DataTypeShort:
            return to.InsertShort(toSet, column, WrappingSum<short, unsigned short>(first, end, [&](int row) {
                                      return from.GetShort(fromSet, row, column);
                                  }));
        case DataTypeInt:
            return to.InsertInt(toSet, column, WrappingSum<int, unsigned int>(first, end, [&](int row) {
                                    return from.GetInt(fromSet, row, column);
                                }));
        case DataTypeLong:
            return to.InsertLong(toSet, column, WrappingSum<long, unsigned long>(first, end, [&](int row) {
                                     return from.GetLong(fromSet, row, column);
                                 }));
        case DataTypeInt64:
            return to.InsertInt64(toSet, column,
                                  WrappingSum<__int64, unsigned long long>(first, end, [&](int row) {
                                      return from.GetInt64(fromSet, row, column);
                                  }));
        case DataTypeFloat:
            return to.InsertFloat(toSet, column, PlainSum(first, end, 0.0F, [&](int row) {
                                      return from.GetFloat(fromSet, row, column);
                                  }));
        case DataTypeDouble:
            return to.InsertDouble(toSet, column, PlainSum(first, end, 0.0, [&](int row) {
                                       return from.GetDouble(fromSet, row, column);
                                   }));
        case DataTypeDecimal:
            return to.InsertDecimal(toSet, column, PlainSum(first, end, qxdb::Decimal(0, 0), [&](int row) {
                                        return from.GetDecimal(fromSet, row, column);
                                    }));
        case DataTypeTimestamp: {
            int greatest = first;
            for (int row = first + 1; row < end; ++row) {
                if (from.CompareItems(fromSet, column, row, greatest) > 0)
                    greatest = row;
            }
            return to.InsertTimestamp(toSet, column, from.GetTimestamp(fromSet, greatest, column));
        }
        default:
            // Nothing to roll up; the cell keeps the row complete.
            return to.InsertEmpty(toSet, column);
    }
}

}  // namespace

// Field numbers of a compute cursor: by how many aggregates stand before it on the same select-list column,
// then by that column.
struct SQLRequest::ComputeRows {
    std::map<int, std::map<int, unsigned int>> rows;
    int maxTarget = -1;
};

bool SQLRequest::HandleComputeResultSet(qxdb::Cursor& cursor) {
    try {
        qxdb::BindValue binding = cursor.Bind();
        qxdb::Fields fields(binding, bindAsStrings, qxdb::ExclusionIndex(), false, nullptr);
        if (fields.GetFieldCount() == 0)
            return true;
        return WriteComputeRows(cursor, fields, binding.GetSchema());
    } catch (const Errors& errors) {
        CheckCancelled();
        NotifyError(errors);
        return false;
    }
}

SQLRequest::ComputeRows SQLRequest::GroupComputeColumns(qxdb::Fields& fields,
                                                        const qxdb::Schema& columns) const {
    ComputeRows groups;
    std::map<int, int> occurrences;
    for (unsigned int i = 0; i < fields.GetFieldCount(); ++i) {
        const int target = columns[i].GetComputeColumn() - 1;
        groups.rows[occurrences[target]++][target] = i;
        groups.maxTarget = std::max(groups.maxTarget, target);
    }
    return groups;
}

// The column of the result set that a select-list column goes to, negative for none.
int SQLRequest::MapComputeColumn(int target, int columnCount) {
    if (GetDoColumnReorder()) {
        const std::vector<int>& reorder = GetColumnReorder();
        if (target < 0 || target >= static_cast<int>(reorder.size()))
            return -1;
        target = reorder[static_cast<std::size_t>(target)];
    }
    return target < columnCount ? target : -1;
}

bool SQLRequest::WriteComputeRows(qxdb::Cursor& cursor, qxdb::Fields& fields, const qxdb::Schema& columns) {
    const ComputeRows groups = GroupComputeColumns(fields, columns);
    const int columnCount = groups.maxTarget + 1;
    NotifyPreResultSetBegin(ResultSetCompute);
    bool isFetched = false;
    for (const auto& group : groups.rows) {
        std::map<int, unsigned int> fieldOfColumn;
        for (const auto& entry : group.second) {
            const int column = MapComputeColumn(entry.first, columnCount);
            if (column >= 0)
                fieldOfColumn.emplace(column, entry.second);
        }
        // Both anew each time: a message let go behind the result set before has made its own of them.
        resultSetType = ResultSetCompute;
        columnDefinition.clear();
        columnDefinition.resize(static_cast<std::size_t>(columnCount));
        for (const auto& entry : fieldOfColumn) {
            DefineComputeColumn(fields[entry.second], columns[entry.second],
                                columnDefinition[static_cast<std::size_t>(entry.first)]);
        }
        if (!NotifyResultSetBegin(nullptr))
            return false;
        if (!isFetched && !cursor.Fetch(qxdb::Cursor::DirectionNext, 1)) {
            NotifyResultSetEnd();
            return true;
        }
        isFetched = true;
        {
            RowWriter row(*data, resultSetId, columnCount);
            for (const auto& entry : fieldOfColumn) {
                row.SkipTo(entry.first);
                row.Put([&](DataStorage& target, int set, int column) {
                    InsertField(target, set, column, fields[entry.second]);
                });
            }
            row.SkipTo(columnCount);
        }
        NotifyResultSetUpdate(1, false);
        NotifyResultSetEnd();
    }
    return true;
}

void SQLRequest::DefineComputeColumn(qxdb::Field& field, const qxdb::Column& column,
                                     ColumnDefinition& definition) {
    definition.dataType = GetDataType(field.GetType());
    switch (definition.dataType) {
        case DataTypeLob:
            definition.dataType = DataTypeString;
            break;
        case DataTypeFloat:
        case DataTypeDouble:
        case DataTypeDecimal:
        case DataTypeBinary:
            definition.precision = column.GetScale();
            break;
        case DataTypeTimestamp:
            definition.timestampFormat = column.GetDateTimeFormat();
            break;
        default:
            break;
    }
    if (columnLabels)
        definition.columnLabel = column.GetName();
    LimitPrecision(definition);
}

void SQLRequest::LimitPrecision(ColumnDefinition& definition) {
    if (definition.precision < 0)
        definition.precision = 0;
    const int minimum = minPrecision;
    const int maximum = maxPrecision;
    if (minimum >= 0 && definition.precision < minimum)
        definition.precision = minimum;
    else if (maximum >= 0 && definition.precision > maximum)
        definition.precision = maximum;
}

int SQLRequest::CompressOnColumns(int firstRow, DataStorage& details, bool isFinal, int rowCount,
                                  const std::vector<int>& keyColumns) {
    if (!(isFinal && rowCount > 0) && firstRow + 1 >= rowCount)
        return firstRow;
    // Rows on their way to a row handler lie in a store of their own with one result set.
    const int detailSet = resultSetId < details.GetNumberOfResultSets() ? resultSetId : 0;
    bool isChanged = isFinal;
    for (std::size_t i = 0; i < keyColumns.size() && !isChanged; ++i)
        isChanged = details.CompareItems(detailSet, keyColumns[i], rowCount - 2, rowCount - 1) != 0;
    if (!isChanged)
        return firstRow;
    const int end = isFinal ? rowCount : rowCount - 1;
    const int columnCount = details.GetNumberOfColumns(detailSet);
    RowWriter row(*data, resultSetId, columnCount);
    for (int i = 0; i < columnCount; ++i) {
        row.Put([&](DataStorage& target, int set, int column) {
            CompressColumn(details, detailSet, target, set, column, firstRow, end);
        });
    }
    return end;
}

void SQLRequest::CopyData(DataStorage& source, DataStorage& target, int sourceSet, int targetSet,
                          int sourceRow, int firstColumn, int endColumn, int targetColumn) {
    const RowIterator row = source.GetRowIterator(sourceSet, sourceRow);
    for (int column = firstColumn; column < endColumn; ++column, ++targetColumn) {
        if (row.IsNull(column)) {
            target.InsertNull(targetSet, targetColumn);
            continue;
        }
        switch (source.GetDataType(sourceSet, column)) {
            case DataTypeShort:
                target.InsertShort(targetSet, targetColumn, row.GetShort(column));
                break;
            case DataTypeInt:
                target.InsertInt(targetSet, targetColumn, row.GetInt(column));
                break;
            case DataTypeLong:
                target.InsertLong(targetSet, targetColumn, row.GetLong(column));
                break;
            case DataTypeInt64:
                target.InsertInt64(targetSet, targetColumn, row.GetInt64(column));
                break;
            case DataTypeFloat:
                target.InsertFloat(targetSet, targetColumn, row.GetFloat(column));
                break;
            case DataTypeDouble:
                target.InsertDouble(targetSet, targetColumn, row.GetDouble(column));
                break;
            case DataTypeDecimal:
                target.InsertDecimal(targetSet, targetColumn, row.GetDecimal(column));
                break;
            case DataTypeBinary: {
                // Append-only columns give their bytes out as hexadecimal text alone.
                qxdb::DynBuffer bytes;
                qxdb::BufferBase::ParseHex(row.AsPlainString(column), bytes);
                target.InsertBinary(targetSet, targetColumn, bytes);
                break;
            }
            case DataTypeTimestamp:
                target.InsertTimestamp(targetSet, targetColumn, row.GetTimestamp(column));
                break;
            case DataTypeLob:
                target.InsertLobData(targetSet, targetColumn, row.GetString(column), qxdb::DynBuffer());
                break;
            default:
                target.InsertString(targetSet, targetColumn, row.GetString(column));
                break;
        }
    }
}

}  // namespace qxdbsqlengine
