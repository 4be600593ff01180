// Failures of SQLite, and of this driver, as Errors.
#pragma once

#include <string>

#include "drivers/sqlite/source_text.h"

struct sqlite3;

namespace qxdrivers::sqlite {

enum class Stage { Compile, Run };

// The closest standard SQL state of an extended result code. While compiling, the message tells a missing
// table from a missing column.
std::string SqlState(int code, Stage stage, const std::string& message);

// One record of severity 2.
[[noreturn]] void ThrowFailure(int code, const std::string& message, const std::string& sqlState,
                               Place place);

// The connection's last failure; call it before anything else is done with the connection.
[[noreturn]] void ThrowLastFailure(sqlite3* handle, Stage stage, Place place);

// A refusal of the driver itself: code 0.
[[noreturn]] void ThrowRefusal(const std::string& message, const std::string& sqlState);

}  // namespace qxdrivers::sqlite
