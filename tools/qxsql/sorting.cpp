#include "tools/qxsql/sorting.h"

#include <charconv>
#include <stdexcept>
#include <string>

namespace qxsql {

std::vector<qxdbsqlengine::DataSort> ResolveSort(qxdbsqlengine::DataStorage& store, int resultSet,
                                                 const std::vector<SortTerm>& terms) {
    const int count = store.GetNumberOfColumns(resultSet);
    std::vector<qxdbsqlengine::DataSort> keys;
    for (const SortTerm& term : terms) {
        // A label goes before a number, so a column that is labelled "2" can be named.
        int column = store.FindColumnLabel(resultSet, term.column);
        if (column < 0) {
            const char* const end = term.column.data() + term.column.size();
            const std::from_chars_result parsed = std::from_chars(term.column.data(), end, column);
            if (parsed.ec != std::errc() || parsed.ptr != end || column < 0 || column >= count) {
                throw std::invalid_argument("--sort: there is no column \"" + term.column + "\" in result " +
                                            std::to_string(resultSet) + " (" + std::to_string(count) +
                                            " columns)");
            }
        }
        qxdbsqlengine::DataSort key;
        key.column = column;
        key.ascending = term.ascending;
        keys.push_back(key);
    }
    return keys;
}

void SortResult(qxdbsqlengine::DataStorage& store, int resultSet, const std::vector<SortTerm>& terms) {
    if (!terms.empty())
        store.Sort(resultSet, ResolveSort(store, resultSet, terms), nullptr, 0);
}

}  // namespace qxsql
