// Running SQL and presenting what comes back.
#pragma once

#include <string>

#include "tools/qxsql/command_line.h"

namespace qxsql {

// Runs `sql` on the connection of the command line, shows or exports its results, and returns the exit code.
int RunSql(const CommandLine& line, const std::string& sql);

// Loads the file of --read, sorts it as asked, and shows or exports it.
int RunRead(const CommandLine& line);

}  // namespace qxsql
