// The columns that tell the rows of a table apart.
#pragma once

#include <string>
#include <vector>

#include "drivers/odbc/session.h"

namespace qxdrivers::odbc {

// A table as the driver names it; parts that it does not have are empty.
struct TableName {
    std::string catalog;
    std::string schema;
    std::string table;
};

// Sets of columns of which each finds one row at most: the primary key first, then the unique indexes. Empty
// when there are none, or when the catalog can't be asked now.
std::vector<std::vector<std::string>> FindKeys(Session& session, const TableName& table);

}  // namespace qxdrivers::odbc
