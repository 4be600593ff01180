// What the server's catalog tells of a stored procedure or function.
#pragma once

#include <string>
#include <vector>

#include "drivers/odbc/column_types.h"
#include "drivers/odbc/session.h"
#include "platform/qxdb/types.h"

namespace qxdrivers::odbc {

struct ProcedureParameter {
    std::string name;
    qxdb::DataType::Direction direction = qxdb::DataType::DirectionIn;
    bool isReturnValue = false;
    NativeType native;
};

struct ProcedureInfo {
    bool found = false;
    bool isFunction = false;
    bool returnsRows = false;                    // a function whose rows are a result
    std::string callName;                        // what to call instead of the name that was given
    std::vector<ProcedureParameter> parameters;  // a return value first
};

// Looks a procedure up by its name, which may have the schema (on MySQL the database) in front and may stand
// in the server's quotes. Of several of one name, in the order of the catalog: the first with
// `parameterCount` parameters besides a return value; else the first with as many including it; else the
// first. Where a procedure and a function of MySQL share a name, `wantsFunction` says which is meant. A
// database of MySQL is also found in other letters, as calls out of scripts come in capitals; the procedure
// is then called by `callName`. Throws Errors when the catalog can't be read.
ProcedureInfo FindProcedure(Session& session, const std::string& name, bool wantsFunction,
                            unsigned int parameterCount);

}  // namespace qxdrivers::odbc
