#include "engine/connection_request.h"

namespace qxdbsqlengine {

ConnectionRequestCallback::~ConnectionRequestCallback() = default;

IConnectionRequestNotifyCallback::IConnectionRequestNotifyCallback() = default;

IConnectionRequestNotifyCallback::IConnectionRequestNotifyCallback(const IConnectionRequestNotifyCallback&) =
    default;

IConnectionRequestNotifyCallback& IConnectionRequestNotifyCallback::operator=(
    const IConnectionRequestNotifyCallback&) = default;

IConnectionRequestNotifyCallback::~IConnectionRequestNotifyCallback() = default;

ConnectionWrapper::ConnectionWrapper(const ConnectionRequestCallbackPtr& connectionCallback)
    : callback(connectionCallback) {}

ConnectionWrapper::~ConnectionWrapper() {
    if (connection != nullptr && callback) {
        callback->ReleaseConnection(connection);
    }
}

qxdb::Connection* ConnectionWrapper::GetConnection(char const* dataSourceName, bool first, bool second) {
    if (callback) {
        connection = callback->RequestConnection(dataSourceName, first, second);
    }
    return connection;
}

}  // namespace qxdbsqlengine
