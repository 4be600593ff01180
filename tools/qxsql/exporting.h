// Writing result sets to files and streams, and loading files.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "persistence/persistence.h"
#include "platform/qxdb/types.h"
#include "platform/smart_ptr.h"
#include "storage/data_storage.h"
#include "tools/qxsql/command_line.h"
#include "tools/qxsql/progress_line.h"

namespace qxsql {

using StorePtr = qxdbsqlengine::SmartPtr<qxdbsqlengine::DataStorage>;

// When progress is shown.
ProgressLine::When ProgressOf(const CommandLine& line);

// Gives a result set that becomes INSERT statements the name of its table: that of --table, or what the run
// has found in the statement. Throws std::invalid_argument when there is none.
void NameTable(const CommandLine& line, qxdbsqlengine::DataStorage& store, int resultSet);

// The results as they are shown: the columns of --columns and the rows of --rows, result sets numbered from 0
// in the order of the list. Throws std::invalid_argument for rows that are too many.
qxdbsqlengine::DataStorage ShownResults(const CommandLine& line, qxdbsqlengine::DataStorage& store,
                                        const std::vector<int>& resultSets);

// Writes the result sets in the order of the list to `line.outputFile`, or to `out` when it is not null.
// `server`: the family of the server that they come from; INSERT statements are written for it, or for that
// of
// --dialect. False, with the reason printed, when that fails; throws
// std::invalid_argument as ShownResults.
bool WriteResults(const CommandLine& line, qxdb::DBTYPE server, const StorePtr& store,
                  const std::vector<int>& resultSets, std::ostream* out);

// Loads `line.readFile` into the store. False, with the reason printed, when it can't be read. Throws
// std::invalid_argument for a format that is not read back.
bool LoadFile(const CommandLine& line, const StorePtr& store);

}  // namespace qxsql
