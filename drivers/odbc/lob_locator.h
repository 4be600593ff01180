// Large objects found again by the key of their row.
#pragma once

#include <memory>
#include <string>

#include "drivers/odbc/result_set.h"
#include "platform/qxdb/lob_locator.h"

namespace qxdrivers::odbc {

// The locator of a large object column of a result; the rows are told apart by the texts of their cells,
// which Import and Export get. Which table and which columns that is the driver tells, or else `tableName`.
// The row is found by the primary key, or by a unique index whose columns are all there; without any of them
// by all columns that can be compared, and then it is read-only. Empty when neither the driver nor the caller
// knows the table.
qxdb::LobLocator MakeLobLocator(const std::shared_ptr<ResultSet>& result, unsigned int column,
                                const std::string& tableName);

}  // namespace qxdrivers::odbc
