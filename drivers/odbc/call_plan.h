// How a call reaches a server and how its outputs come back.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "drivers/odbc/parameters.h"
#include "drivers/odbc/procedure.h"
#include "platform/qxdb/bind_value.h"
#include "platform/qxdb/statement.h"

namespace qxdrivers::odbc {

// One way to run a prepared text. Positions are those of a ParameterBinding.
struct CallPlan {
    enum class Outputs {
        Bound,      // through ODBC's output parameters
        Row,        // as the row of the first result with columns
        Variables,  // in variables of the session, which are read behind the last result
    };
    struct Marker {
        std::size_t slot;
        bool asInput;  // an output is passed like an input here
    };

    std::string sql;
    std::vector<Marker> markers;  // one for each "?" in the text
    Outputs outputs = Outputs::Bound;
    std::vector<std::size_t> outputSlots;  // in the order of the row or of the variables
    // The row that brings the outputs, and nothing else, is no result of its own.
    bool hidesRow = false;
    // Variables that an input-output parameter sets first.
    std::vector<std::size_t> variableInputs;

    // The session variable of a position.
    static std::string VariableOf(std::size_t slot);
};

// The parameters of a call by name, in the order in which the caller is to see them:
//  - as the server declares them; the return value of a function behind them on servers that the engine reads
//    outputs from position 1 on, else in front;
//  - where the engine reads from position 1 on, an output at position 0 has another position behind all
//    others, of the same name, which only shows it. An input-output parameter at position 0 is an input.
// `showReturnCode`: a procedure's return code, where the server has one, in front.
std::vector<ParameterDescription> DescribeCall(const ProcedureInfo& procedure, const ServerTraits& traits,
                                               bool showReturnCode);

// The plan of a call by name. `excluded`: positions that are left to the server's default.
CallPlan PlanCall(const std::string& name, bool isFunction, bool returnsRows, ParameterBinding& binding,
                  const qxdb::ExclusionIndex& excluded, const ServerTraits& traits);

// The plan of a prepared text, whose markers are the positions in order. A call whose outputs the driver
// can't deliver is written anew. Throws Errors where an output has no way back.
CallPlan PlanText(const std::string& sql, ParameterBinding& binding, Session& session);

}  // namespace qxdrivers::odbc
