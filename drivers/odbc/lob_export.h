// Large objects on their way from servers to files.
#pragma once

#include <memory>
#include <string>

#include "drivers/odbc/row_condition.h"

namespace qxdrivers::odbc {

// Moves the value in pieces and never has it whole in memory, as far as that is in this library's hands: from
// a driver that keeps a value whole it is asked for in parts. Text is UTF-8 in the file. NULL gives an empty
// file. The file takes its name when all of it is there, and else the name keeps what it had. The condition
// finds one row; one that has gone, and a second one, are failures. Used on the thread of the connection.
// Throws Errors.
void ExportLob(const LobPlace& place, const std::shared_ptr<Session>& session, const Condition& condition,
               const std::string& fileName);

// The way of servers of which no more is known: all from one result, in pieces.
void ExportByResult(const LobPlace& place, const std::shared_ptr<Session>& session,
                    const Condition& condition, const std::string& fileName);

}  // namespace qxdrivers::odbc
