// Containers for tests: filling, reading back, and a time limit that a test can wait for.
#pragma once

#include <deque>
#include <locale>
#include <string>
#include <vector>

#include "storage/append_only_results_storage.h"
#include "storage/data_storage.h"

namespace qxdbsqlengine {

// A container whose readers give up after a few milliseconds.
class ImpatientStorage : public AppendOnlyResultsStorage {
  public:
    explicit ImpatientStorage(long limitMs) { readLimitMs = limitMs; }
    using AppendOnlyResultsStorage::GetRowFromIndex;
};

inline ColumnDefinition Column(EnumDataType type, const std::string& label = std::string(),
                               int precision = 0) {
    ColumnDefinition definition;
    definition.dataType = type;
    definition.columnLabel = label;
    definition.precision = precision;
    return definition;
}

inline std::vector<ColumnDefinition> Columns(const std::vector<EnumDataType>& types) {
    std::vector<ColumnDefinition> definitions;
    for (const EnumDataType type : types)
        definitions.push_back(Column(type));
    return definitions;
}

// A store with one result set of one column of texts.
inline DataStorage TextStore(const std::vector<std::string>& texts) {
    DataStorage store = DataStorage::CreateResultsStorage(false);
    store.AddResultSet(Columns({DataTypeString}), ResultSetNormal);
    for (const std::string& text : texts)
        store.InsertString(0, 0, text);
    return store;
}

// The plain texts of a column in the order of the handle's view.
inline std::vector<std::string> Texts(DataStorage& store, int col = 0, int rs = 0) {
    std::vector<std::string> texts;
    const int rows = store.GetNumberOfRows(rs);
    for (int row = 0; row < rows; ++row)
        texts.push_back(store.AsString(rs, row, col, std::locale::classic()));
    return texts;
}

inline std::vector<int> PhysicalRows(DataStorage& store, int rs = 0) {
    std::vector<int> rows;
    const int count = store.GetNumberOfRows(rs);
    for (int row = 0; row < count; ++row)
        rows.push_back(store.GetRowTranslation(rs, row));
    return rows;
}

}  // namespace qxdbsqlengine
