// Sort key parts of columns whose keys have no shortcut.
#pragma once

#include <cstddef>
#include <string>

#include "storage/column_set_storage.h"
#include "storage/sort_key.h"

namespace qxdbsqlengine {

// Puts the wanted part of each row, as the column's AppendSortKey gives it, filled up with zeros.
inline void PutAppendedSortKeys(ColumnSetStorage& column, SortKeySink& sink) {
    const std::size_t greatestPart = 12;
    std::string part;
    for (std::size_t i = 0; i < sink.Count(); ++i) {
        SortKeyPosition position = sink.Position();
        part.clear();
        column.AppendSortKey(sink.Row(i), position, sink.PartSize(), part);
        part.resize(greatestPart, '\0');
        sink.PutBytes(i, reinterpret_cast<const unsigned char*>(part.data()));
    }
}

}  // namespace qxdbsqlengine
