// Large objects of a result to files and back: --lob-export and --lob-import.
#pragma once

#include "tools/qxsql/command_line.h"
#include "tools/qxsql/exporting.h"
#include "tools/qxsql/presenter.h"
#include "tools/qxsql/tool_connection.h"

namespace qxsql {

// Carries out the transfers of the command line, one after the other, up to the first that fails. `store` has
// the rows in the order in which places are meant; `resultSet` is below 0 when there is none. The connection
// must have no run. Returns the exit code, ExitDone when all went well. Throws std::invalid_argument, with
// nothing transferred, for a place that the result does not have or that holds no large object. Main thread.
int RunLobTransfers(const CommandLine& line, ToolConnection& connection,
                    const qxdbsqlengine::SmartPtr<qxdbsqlengine::ConnectionRequestCallback>& lender,
                    const StorePtr& store, int resultSet);

}  // namespace qxsql
