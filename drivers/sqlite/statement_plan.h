// How SQLite carries a statement out.
#pragma once

#include <string>

#include "drivers/sqlite/database.h"

namespace qxdrivers::sqlite {

// True when every row of the statement has been made from one row, at most, of each table that it names: it
// reads no table twice, and it is not put together of several queries. Only then do all columns of a table
// in a row of the result belong to one row of the table. False too where that can't be told. Throws Errors.
// Used on the thread of the connection.
bool ReadsEachTableOnce(Database& database, const std::string& sql);

}  // namespace qxdrivers::sqlite
