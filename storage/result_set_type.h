// What a result set in a store is. Values are fixed: they travel to callers and windows as numbers.
#pragma once

namespace qxdbsqlengine {

enum ResultSetType : int {
    ResultSetNormal = 0,           // an ordinary cursor of a statement
    ResultSetCompute = 1,          // a compute row
    ResultSetMessage = 2,          // server output and saved messages, one text column
    ResultSetParameter = 3,        // output parameters gathered into one result set
    ResultSetCursorParameter = 4,  // a cursor that came back in an output parameter
    ResultSetExplainPlan = 5,      // the rows of a plan
    ResultSetStatistics = 6        // a statistics query
};

}  // namespace qxdbsqlengine
