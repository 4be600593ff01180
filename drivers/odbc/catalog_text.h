// Reading of the results of catalog functions.
#pragma once

#include <optional>
#include <string>

#include "drivers/odbc/odbc_api.h"
#include "drivers/odbc/wide_text.h"
#include "platform/int64.h"

namespace qxdrivers::odbc {

// A column of the current row, from 1; nothing for NULL and for a column that can't be read. Longer texts
// than catalogs have are cut.
std::optional<std::string> ReadCatalogText(SQLHSTMT statement, SQLUSMALLINT column);
__int64 ReadCatalogNumber(SQLHSTMT statement, SQLUSMALLINT column, __int64 otherwise);

// An attribute of a column of a result, such as its type's name.
std::string ReadColumnText(SQLHSTMT statement, SQLUSMALLINT column, SQLUSMALLINT attribute);

}  // namespace qxdrivers::odbc
