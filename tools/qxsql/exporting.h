// Writing result sets as delimited text, and loading delimited text.
#pragma once

#include <deque>
#include <iosfwd>
#include <string>

#include "persistence/persistence.h"
#include "platform/smart_ptr.h"
#include "storage/data_storage.h"
#include "tools/qxsql/command_line.h"
#include "tools/qxsql/progress_line.h"

namespace qxsql {

using StorePtr = qxdbsqlengine::SmartPtr<qxdbsqlengine::DataStorage>;

// The file type for a format name, or for a file's extension when the name is empty: .csv comma, .psv and
// .pipe pipe, all others tab. "delimited", or a delimiter that is given: the free form.
qxdbsqlengine::ResultFileType FileTypeFor(const CommandLine& line, const std::string& fileName);

// Writes the result sets in the order of the list to `line.outputFile`. False, with the reason printed, when
// the file can't be written.
bool ExportToFile(const CommandLine& line, const StorePtr& store, const std::deque<int>& resultSets);

// Writes one result set as tab-delimited text (or as --format says) to an open stream.
bool WriteToStream(const CommandLine& line, const StorePtr& store, int resultSet, std::ostream& out);

// Loads `line.readFile` into the store. False, with the reason printed, when it can't be read.
bool LoadFile(const CommandLine& line, const StorePtr& store);

}  // namespace qxsql
