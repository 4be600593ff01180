// The director's look at its request.
#pragma once

#include "engine/request.h"
#include "request/sql_request.h"

namespace qxdbsqlengine {

// Null when there is no request or when it runs no SQL. Valid while `held` is.
inline SQLRequest* AsSQLRequest(const RequestPtr& held) {
    return dynamic_cast<SQLRequest*>(GetImpl(held));
}

}  // namespace qxdbsqlengine
