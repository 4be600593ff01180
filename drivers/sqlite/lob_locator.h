// Large objects found again by the key of their row.
#pragma once

#include <memory>

#include "drivers/sqlite/run.h"
#include "platform/qxdb/lob_locator.h"

namespace qxdrivers::sqlite {

// The locator of a large object column of a result; the rows are told apart by the texts of their cells,
// which Import and Export get. The row is found by its number, the primary key, or a unique index whose
// columns are all there; without any of them by all columns that can be compared, and then it is read-only.
// It is not valid where the column is no column of a table, and where a row of the result may be made from
// several rows of that table; a transfer says why. Empty for other columns.
qxdb::LobLocator MakeLobLocator(Run& run, unsigned int column);

}  // namespace qxdrivers::sqlite
