// Large objects on their way from files to servers.
#pragma once

#include <memory>
#include <string>

#include "drivers/odbc/lob_source.h"
#include "drivers/odbc/row_condition.h"

namespace qxdrivers::odbc {

// Moves the file in pieces and never has it whole in memory, as far as that is in this library's hands. Text
// is UTF-8 in the file; what is no UTF-8, and characters that the column's character set does not have, are
// failures. The condition finds one row; one that has gone is a failure. The row has its old value until one
// statement gives it all of the new one; a transaction of the user's goes on, whatever happens. Used on the
// thread of the connection. Throws Errors.
void ImportLob(const LobPlace& place, const std::shared_ptr<Session>& session, const Condition& condition,
               LobSource& source);

// The way of servers of which no more is known: all in one parameter, in pieces.
void ImportByParameter(const LobPlace& place, const std::shared_ptr<Session>& session,
                       const Condition& condition, LobSource& source);

}  // namespace qxdrivers::odbc
