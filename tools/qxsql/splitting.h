// --split: what the script parser makes of a script.
#pragma once

#include "tools/qxsql/command_line.h"

namespace qxsql {

// Has the script of the command line parsed in its dialect and prints its items to standard output as they
// come, one JSON object a line. Returns the exit code; throws FileFailure.
int RunSplit(const CommandLine& line);

}  // namespace qxsql
