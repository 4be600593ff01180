// Large objects on their way between files and servers.
#pragma once

#include <memory>
#include <string>

#include "drivers/odbc/row_condition.h"

namespace qxdrivers::odbc {

// Both move the value in pieces and never have it whole in memory, as far as that is in this library's hands:
// drivers that keep a value whole get it in pieces of some megabytes, of which several are on the way then.
// Text is UTF-8 in files. The condition finds one row. Used on the thread of the connection. Throw Errors.

// NULL gives an empty file.
void ExportLob(const LobPlace& place, const std::shared_ptr<Session>& session, const Condition& condition,
               const std::string& fileName);
void ImportLob(const LobPlace& place, const std::shared_ptr<Session>& session, const Condition& condition,
               const std::string& fileName);

}  // namespace qxdrivers::odbc
