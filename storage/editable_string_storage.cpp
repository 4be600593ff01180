#include "storage/editable_string_storage.h"

#include "storage/measure_texts.h"
#include "storage/value_parts.h"

namespace qxdbsqlengine {

EditableStringStorage::~EditableStringStorage() = default;

int EditableStringStorage::CompareItems(int row1, int row2, int) {
    return CompareTexts(values, row1, row2, 0);
}

int EditableStringStorage::GetLargestColumnSize(std::locale&, LargestColumnItemCallback& callback) {
    return MeasureTexts(values, callback,
                        [this](int row, std::string& text) { values.ReadAppend(row, text); });
}

void EditableStringStorage::PutSortKeys(SortKeySink& sink) {
    PutTextSortKeys<CellSortSource>(values, sink);
}

void EditableStringStorage::AppendSortKey(int row, SortKeyPosition& position, std::size_t maxBytes,
                                          std::string& out) {
    CellSortSource source(values, row);
    TextSortKey().Append(source, position, maxBytes, out);
}

EditableNamedTypeStorage::~EditableNamedTypeStorage() = default;

}  // namespace qxdbsqlengine
