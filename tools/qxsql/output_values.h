// What a call gives back in its parameters.
#pragma once

#include <iosfwd>

#include "storage/data_storage.h"

namespace qxsql {

// One line for each output of a result set of them, between a heading and an empty line, so that they can be
// told from the rows of results:
//
//   Output values:
//   total = 12
//   note is NULL
//
// `screen`: control characters become visible marks, as in a table.
void PrintOutputValues(std::ostream& out, qxdbsqlengine::DataStorage& store, int resultSet, bool screen);

}  // namespace qxsql
