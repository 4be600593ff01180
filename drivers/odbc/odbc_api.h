// The ODBC interface as this driver calls it.
//
// Texts go through the wide entry points, so that a driver manager never converts them by the locale of the
// process. SQLWCHAR is UTF-16, on every system that the driver builds on.
#pragma once

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

namespace qxdrivers::odbc {

static_assert(sizeof(SQLWCHAR) == 2, "wide text of ODBC is UTF-16");

// A number where an attribute is passed as a pointer.
inline SQLPOINTER AttributeValue(SQLULEN value) {
    return reinterpret_cast<SQLPOINTER>(value);
}

}  // namespace qxdrivers::odbc
