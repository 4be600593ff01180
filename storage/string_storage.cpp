#include "storage/string_storage.h"

#include "storage/measure_texts.h"
#include "storage/value_parts.h"

namespace qxdbsqlengine {

StringStorage::~StringStorage() = default;

int StringStorage::CompareItems(int row1, int row2, int option) {
    return CompareTexts(values, row1, row2, option);
}

int StringStorage::GetLargestColumnSize(std::locale&, LargestColumnItemCallback& callback) {
    return MeasureTexts(values, callback,
                        [this](int row, std::string& text) { values.ReadAppend(row, text); });
}

void StringStorage::PutSortKeys(SortKeySink& sink) {
    PutTextSortKeys<VarLengthSortSource>(values, sink);
}

void StringStorage::AppendSortKey(int row, SortKeyPosition& position, std::size_t maxBytes,
                                  std::string& out) {
    VarLengthSortSource source(values, row);
    TextSortKey().Append(source, position, maxBytes, out);
}

NamedTypeStorage::~NamedTypeStorage() = default;

}  // namespace qxdbsqlengine
