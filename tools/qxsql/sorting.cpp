#include "tools/qxsql/sorting.h"

#include <charconv>
#include <stdexcept>
#include <string>

namespace qxsql {

int FindColumn(qxdbsqlengine::DataStorage& store, int resultSet, const std::string& name) {
    // A label goes before a number, so a column that is labelled "2" can be named.
    const int labelled = store.FindColumnLabel(resultSet, name);
    if (labelled >= 0)
        return labelled;
    int column = -1;
    const char* const end = name.data() + name.size();
    const std::from_chars_result parsed = std::from_chars(name.data(), end, column);
    const bool isNumber = parsed.ec == std::errc() && parsed.ptr == end;
    return isNumber && column >= 0 && column < store.GetNumberOfColumns(resultSet) ? column : -1;
}

std::vector<qxdbsqlengine::DataSort> ResolveSort(qxdbsqlengine::DataStorage& store, int resultSet,
                                                 const std::vector<SortTerm>& terms) {
    const int count = store.GetNumberOfColumns(resultSet);
    std::vector<qxdbsqlengine::DataSort> keys;
    for (const SortTerm& term : terms) {
        const int column = FindColumn(store, resultSet, term.column);
        if (column < 0) {
            throw std::invalid_argument("--sort: there is no column \"" + term.column + "\" in result " +
                                        std::to_string(resultSet) + " (" + std::to_string(count) +
                                        " columns)");
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
