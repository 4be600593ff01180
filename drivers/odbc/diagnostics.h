// What a server, its driver or the driver manager has to say, as records.
#pragma once

#include <string>
#include <vector>

#include "drivers/odbc/odbc_api.h"
#include "drivers/odbc/server_traits.h"
#include "platform/qxdb/callback.h"
#include "platform/qxsplt/errors.h"

namespace qxdrivers::odbc {

// A handle of any kind, to ask for its diagnostics.
struct HandleRef {
    SQLSMALLINT type;
    SQLHANDLE handle;
};

// What a text of a server is about: whose it is, and of which SQL.
struct ErrorContext {
    Family family = Family::Other;
    const std::string* sql = nullptr;  // null: no line and position can be found
};

constexpr int severityInformation = 0;
constexpr int severityWarning = 1;
constexpr int severityError = 2;

// The diagnostics that the last call on a handle left. The tags that name the components ("[vendor][driver]")
// and what a driver adds behind a server's text are taken away. Severity is left at 0.
std::vector<qxdb::RawMessage> ReadMessages(HandleRef handle, const ErrorContext& context);

// The same as the Errors of a failed call; `operation` names the call for a driver that says nothing at all.
Errors ReadErrors(HandleRef handle, const char* operation, const ErrorContext& context);

// True when a message has one of the states by which a driver only tells that it chose another value for an
// attribute, or that a value did not fit its buffer: this driver sees to both.
bool IsHousekeeping(const qxdb::RawMessage& message);

// Finds line and position in the text of a message: both are given as the server wrote them, else found where
// the piece of the SQL that the server quotes stands once in it. Both count from 1, the position in bytes
// from the start of the SQL.
void FindPlace(qxdb::RawMessage& message, const ErrorContext& context);

// A record of the driver itself: code 0, severity 2.
Errors MakeErrors(const std::string& text, const std::string& sqlState);
[[noreturn]] void ThrowRefusal(const std::string& text, const std::string& sqlState);

}  // namespace qxdrivers::odbc
