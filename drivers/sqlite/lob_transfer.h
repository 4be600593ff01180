// Large objects on their way between files and the database.
#pragma once

#include <list>
#include <string>

#include "drivers/sqlite/database.h"
#include "drivers/sqlite/row_condition.h"

namespace qxdrivers::sqlite {

// Both find the row by the texts of its cells, and work in a transaction of their own, or in a savepoint of
// the one that is open. Text is UTF-8 in files. Used on the thread of the connection. Throw Errors; the file
// or the value then is what it was.

// The value goes into the file piece by piece. NULL gives an empty file. Where SQLite has no access to the
// pieces of a value (WITHOUT ROWID, a table with generated columns) it is in memory once.
void ExportLob(const LobPlace& place, Database& database, const std::list<std::string>* rowValues,
               const std::string& fileName);

// Bytes go into the value piece by piece where SQLite can make room for them without having them: when only
// NULLs follow in the row, and no index, trigger or constraint looks at the column. Otherwise, and for text
// always, the new row is in memory once (text in a database in UTF-16 twice, in that encoding), and read from
// a mapped copy of the file.
void ImportLob(const LobPlace& place, Database& database, const std::list<std::string>* rowValues,
               const std::string& fileName);

}  // namespace qxdrivers::sqlite
