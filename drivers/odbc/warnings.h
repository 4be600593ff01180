// Warnings that a server keeps until they are asked for.
#pragma once

#include <string>

#include "drivers/odbc/session.h"

namespace qxdrivers::odbc {

// MySQL keeps the warnings of a statement that used no table beyond the next such statement. Clears those
// that were reported, unless the text is about to look at them.
void ForgetReportedWarnings(Session& session, const std::string& sql);

// Hands the warnings of the statement that has just ended to the receiver of messages, if there is one, as
// informational records. A failure to read them is not told: the statement itself was good.
void ReportWarnings(Session& session, const std::string& sql) noexcept;

}  // namespace qxdrivers::odbc
