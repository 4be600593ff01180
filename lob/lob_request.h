// Requests that carry one large object between the server and a file.
#pragma once

#include <list>
#include <memory>
#include <string>

#include "engine/connection_request.h"
#include "engine/notification.h"
#include "platform/export.h"
#include "platform/qxdb/lob_locator.h"
#include "request/sql_request.h"
#include "storage/complex_type.h"

namespace qxdbsqlengine {

using NotificationCallbacksPtr = SmartPtr<NotificationCallbacks>;

// What exports and imports have in common: a run without statements and without results. It is an SQLRequest,
// so that directors and engines treat it as any other; its text, settings and options mean nothing, except
// for the database, which is made current before the transfer.
//
// Ownership and threads are those of SQLRequest. A transfer can't be stopped: Cancel marks the request, which
// ends a run that has not begun its transfer, and every later one, by CancelledException; a transfer under
// way goes on to its end.
class QXSENG2_API LobRequest : public SQLRequest {
  public:
    // The request has an empty store of its own, which nobody is shown.
    LobRequest(const NotificationCallbacksPtr& notifications,
               const ConnectionRequestCallbackPtr& connections);
    ~LobRequest() override;

    // A transfer is not repeated by another request: null.
    std::unique_ptr<SQLRequest> CloneRequest() override;
    std::unique_ptr<SQLRequest> CloneRequest(const SmartPtr<DataStorage>& store,
                                             const SmartPtr<NotificationCallbacks>& notifications) override;
};

// Writes a large object to a file; OnLobExtracted gives the name of the file.
class QXSENG2_API ExportLobRequest : public LobRequest {
  public:
    // `rowValues`: the texts of the row's cells, as qxdb::LobLocator::Export wants them. With an empty
    // `file` the first run makes a temporary file "LOB_...", of which later runs write the same; it belongs
    // to the caller, and nothing here removes it. The locator is copied.
    ExportLobRequest(const NotificationCallbacksPtr& notifications,
                     const ConnectionRequestCallbackPtr& connections, const qxdb::LobLocator& lobLocator,
                     const std::list<std::string>& rowValues, const std::string& file);
    // All three from `lob`, which is not kept.
    ExportLobRequest(const NotificationCallbacksPtr& notifications,
                     const ConnectionRequestCallbackPtr& connections, LobExtract& lob);
    ~ExportLobRequest() override;

    // The transfer between OnRequestBegin and OnRequestEnd of its own; an engine gives another pair around
    // them. Errors of the driver, and QXException when there is no temporary file to be had, leave it without
    // OnLobExtracted and OnRequestEnd.
    bool Execute(const qxdbsrd::ConnectionDefElement& def, qxdb::Connection& connection) override;
    bool Execute(const qxdbsrd::ConnectionDefElement& def) override;

  private:
    qxdb::LobLocator locator;
    std::list<std::string> values;
    std::string fileName;
};

// Writes a file into a large object; OnLobImported tells that it is done.
class QXSENG2_API ImportLobRequest : public LobRequest {
  public:
    // As those of ExportLobRequest; there is no temporary file.
    ImportLobRequest(const NotificationCallbacksPtr& notifications,
                     const ConnectionRequestCallbackPtr& connections, const qxdb::LobLocator& lobLocator,
                     const std::list<std::string>& rowValues, const std::string& file);
    ImportLobRequest(const NotificationCallbacksPtr& notifications,
                     const ConnectionRequestCallbackPtr& connections, LobExtract& lob);
    ~ImportLobRequest() override;

    // As ExportLobRequest does, with OnLobImported.
    bool Execute(const qxdbsrd::ConnectionDefElement& def, qxdb::Connection& connection) override;
    bool Execute(const qxdbsrd::ConnectionDefElement& def) override;

  private:
    qxdb::LobLocator locator;
    std::list<std::string> values;
    std::string fileName;
};

}  // namespace qxdbsqlengine
