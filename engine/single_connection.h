// A connection callback for callers that need no pool.
#pragma once

#include <condition_variable>
#include <mutex>

#include "engine/connection_request.h"
#include "platform/export.h"
#include "platform/qxdb/manager.h"

namespace qxdbsqlengine {

// Opens one connection when it is made and lends it to one run at a time; a second run waits until the first
// has given it back. The connection closes with this object, which the shared handle keeps alive as long as a
// director or a run needs it. Any thread.
class QXSENG2_API SingleConnection : public ConnectionRequestCallback {
  public:
    // Connects; throws the driver's Errors.
    explicit SingleConnection(const qxdb::ConnectionDef& definition);
    ~SingleConnection() override;

    // The data source name is that of the definition, whatever is asked for.
    qxdb::Connection* RequestConnection(char const* dataSourceName, bool first, bool second) override;
    void ReleaseConnection(qxdb::Connection* connection) override;
    // Throws QXException: data copies need a callback that knows their servers.
    ServerIdentifier GetServerIdentifier(char const* dataSourceName, bool) override;

    // The lent connection itself, for what a caller asks it between runs (server version, driver).
    qxdb::Connection& GetConnection() { return connection; }

  private:
    qxdb::Connection connection;
    std::mutex lock;
    std::condition_variable returned;
    bool lent = false;
};

}  // namespace qxdbsqlengine
