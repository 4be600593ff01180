#include "engine/request.h"

namespace qxdbsqlengine {

Request::Request() = default;

Request::~Request() = default;

bool Request::Execute(const ConnectionDefElement&, qxdb::Connection&) {
    return false;
}

bool Request::Execute(const ConnectionDefElement&) {
    return false;
}

bool Request::Cancel() {
    cancelled = true;
    return true;
}

bool Request::IsCancelled() {
    return cancelled;
}

void Request::OnCancelled() {}

void Request::CheckCancelled() {
    if (cancelled) {
        ThrowCancelled();
    }
}

void Request::ThrowCancelled() {
    OnCancelled();
    throw CancelledException();
}

}  // namespace qxdbsqlengine
