// Running SQL and scripts, and presenting what comes back.
#pragma once

#include "tools/qxsql/command_line.h"

namespace qxsql {

// Runs what the command line says on its connection, shows or exports the results, and returns the exit code.
// Throws FileFailure.
int RunOnConnection(const CommandLine& line);

// --options: prints the query options of the server, or of the family without one. Returns the exit code.
int ListOptions(const CommandLine& line);

// Loads the file of --read, sorts it as asked, and shows or exports it.
int RunRead(const CommandLine& line);

}  // namespace qxsql
