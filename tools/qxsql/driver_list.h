// --drivers: what connections can be made of.
#pragma once

#include <iosfwd>

namespace qxsql {

// One line for each driver of this program, and of ODBC for each driver and data source that is installed:
// how a CONNECTION begins with it, and what it is.
void PrintDrivers(std::ostream& out);

}  // namespace qxsql
