// Where a run gets its connection from.
#pragma once

#include "platform/export.h"
#include "platform/qxdbop/server_identifier.h"
#include "platform/smart_ptr.h"

namespace qxdb {
class Connection;
}

namespace qxdbsqlengine {

using qxdbop::ServerIdentifier;

// Implemented by the caller of the library, who lends open connections. Shared by handle between a director
// and its requests. Called on the thread of the run, so an implementation that serves several directors locks
// for itself.
class QXSENG2_API ConnectionRequestCallback {
  public:
    // An open connection for the data source, for this run alone until it is released. Null when there is
    // none; Errors and other exceptions end the run as its failure. Requests pass true and false.
    virtual qxdb::Connection* RequestConnection(char const* dataSourceName, bool first, bool second) = 0;
    // Takes back what RequestConnection gave. Must not throw: it runs while failures unwind.
    virtual void ReleaseConnection(qxdb::Connection* connection) = 0;
    virtual ~ConnectionRequestCallback();
    // The server's name for the data-copy handler. Requests pass true.
    virtual ServerIdentifier GetServerIdentifier(char const* dataSourceName, bool) = 0;
};

using ConnectionRequestCallbackPtr = SmartPtr<ConnectionRequestCallback>;

// For callers that tell their own parts about the lending of connections. The library only declares it and
// calls none of it. Data source names are those of RequestConnection.
class QXSENG2_API IConnectionRequestNotifyCallback {
  public:
    IConnectionRequestNotifyCallback();
    IConnectionRequestNotifyCallback(const IConnectionRequestNotifyCallback&);
    IConnectionRequestNotifyCallback& operator=(const IConnectionRequestNotifyCallback&);

    virtual void OnConnectionRequested(char const* dataSourceName) = 0;
    virtual void OnConnectionOpened(char const* dataSourceName, qxdb::Connection* connection) = 0;
    virtual void OnConnectionRefused(char const* dataSourceName) = 0;
    virtual void OnConnectionReleased(qxdb::Connection* connection) = 0;
    virtual void OnConnectionClosed(char const* dataSourceName) = 0;

  protected:
    ~IConnectionRequestNotifyCallback();
};

// Holds one borrowed connection for a scope and gives it back, also when the run throws. One thread.
class QXSENG2_API ConnectionWrapper {
  public:
    // A null callback is allowed: there is no connection then.
    explicit ConnectionWrapper(const ConnectionRequestCallbackPtr& callback);
    virtual ~ConnectionWrapper();
    ConnectionWrapper(const ConnectionWrapper&) = delete;
    ConnectionWrapper& operator=(const ConnectionWrapper&) = delete;

    // Borrows from the callback; null when there is none. Owned by the lender, valid as long as the wrapper.
    // Call it once: only the connection of the last call is given back.
    qxdb::Connection* GetConnection(char const* dataSourceName, bool first, bool second);

  private:
    ConnectionRequestCallbackPtr callback;
    qxdb::Connection* connection = nullptr;
};

}  // namespace qxdbsqlengine
