// Statements of the handler's own in the middle of a run that explains.
#pragma once

#include "request/sql_request.h"

namespace qxdbsqlengine {

// Takes the request out of its explain mode for the length of a scope. It goes back into it in any case: a
// script must not run its next statements for real because one plan could not be read.
class ExplainPause {
  public:
    explicit ExplainPause(SQLRequest& explaining) : request(explaining) { request.SetDoExplainPlan(false); }
    ~ExplainPause() { request.SetDoExplainPlan(true); }
    ExplainPause(const ExplainPause&) = delete;
    ExplainPause& operator=(const ExplainPause&) = delete;

  private:
    SQLRequest& request;
};

}  // namespace qxdbsqlengine
