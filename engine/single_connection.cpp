#include "engine/single_connection.h"

#include "platform/qxutils/qx_exception.h"

namespace qxdbsqlengine {

SingleConnection::SingleConnection(const qxdb::ConnectionDef& definition)
    : connection(definition.Connect()) {}

SingleConnection::~SingleConnection() = default;

qxdb::Connection* SingleConnection::RequestConnection(char const*, bool, bool) {
    std::unique_lock<std::mutex> guard(lock);
    returned.wait(guard, [this] { return !lent; });
    lent = true;
    return &connection;
}

void SingleConnection::ReleaseConnection(qxdb::Connection*) {
    const std::lock_guard<std::mutex> guard(lock);
    lent = false;
    returned.notify_one();
}

ServerIdentifier SingleConnection::GetServerIdentifier(char const* dataSourceName, bool) {
    throw qxutils::QXException(std::string("No server is known for a data copy from ") +
                               (dataSourceName == nullptr ? "" : dataSourceName));
}

}  // namespace qxdbsqlengine
