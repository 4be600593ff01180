// Which options of the command line go together.
#pragma once

#include "tools/qxsql/command_line.h"

namespace qxsql {

// Throws std::invalid_argument that names the options which do not.
void Check(const CommandLine& line);

}  // namespace qxsql
