// Sorting a result set as the user asked.
#pragma once

#include <string>
#include <vector>

#include "storage/data_storage.h"
#include "tools/qxsql/command_line.h"

namespace qxsql {

// The column of that label, in any case, or of that number from 0; -1 when the result does not have it.
int FindColumn(qxdbsqlengine::DataStorage& store, int resultSet, const std::string& name);

// Sort keys for one result set. A term names a column by its label, any case, or by its number from 0. Throws
// std::invalid_argument that names the column when the result does not have it.
std::vector<qxdbsqlengine::DataSort> ResolveSort(qxdbsqlengine::DataStorage& store, int resultSet,
                                                 const std::vector<SortTerm>& terms);

// Sorts the handle's view; nothing for an empty list.
void SortResult(qxdbsqlengine::DataStorage& store, int resultSet, const std::vector<SortTerm>& terms);

}  // namespace qxsql
