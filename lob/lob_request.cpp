#include "lob/lob_request.h"

#include "platform/os/file_mapping.h"
#include "platform/qxutils/qx_exception.h"

namespace qxdbsqlengine {

namespace {

std::string MakeTempFile() {
    qxos::TempFile created;
    if (!created.Create("LOB_")) {
        throw qxutils::QXException("No temporary file can be made in " + qxos::TempDirectory());
    }
    return created.Keep();
}

}  // namespace

LobRequest::LobRequest(const NotificationCallbacksPtr& notifications,
                       const ConnectionRequestCallbackPtr& connections)
    : SQLRequest(notifications, connections, SmartPtr<DataStorage>(new DataStorage()), nullptr,
                 std::string()) {}

LobRequest::~LobRequest() = default;

std::unique_ptr<SQLRequest> LobRequest::CloneRequest() {
    return CloneRequest(SmartPtr<DataStorage>(), SmartPtr<NotificationCallbacks>());
}

std::unique_ptr<SQLRequest> LobRequest::CloneRequest(const SmartPtr<DataStorage>&,
                                                     const SmartPtr<NotificationCallbacks>&) {
    return nullptr;
}

ExportLobRequest::ExportLobRequest(const NotificationCallbacksPtr& notifications,
                                   const ConnectionRequestCallbackPtr& connections,
                                   const qxdb::LobLocator& lobLocator,
                                   const std::list<std::string>& rowValues, const std::string& file)
    : LobRequest(notifications, connections), locator(lobLocator), values(rowValues), fileName(file) {}

ExportLobRequest::ExportLobRequest(const NotificationCallbacksPtr& notifications,
                                   const ConnectionRequestCallbackPtr& connections, LobExtract& lob)
    : ExportLobRequest(notifications, connections, lob.GetLobLocator(), lob.GetValueList(),
                       lob.GetFileName()) {}

ExportLobRequest::~ExportLobRequest() = default;

bool ExportLobRequest::Execute(const qxdbsrd::ConnectionDefElement& def, qxdb::Connection& connection) {
    CheckCancelled();
    UseDatabase(def, connection);
    if (fileName.empty()) {
        fileName = MakeTempFile();
    }
    // The engine brackets the run too. Callers count on both pairs: the first end lets the director go, the
    // second finds it idle.
    NotifyRequestBegin();
    locator.Export(fileName, connection, &values);
    NotifyLobExtracted(fileName);
    NotifyRequestEnd();
    return true;
}

bool ExportLobRequest::Execute(const qxdbsrd::ConnectionDefElement& def) {
    return SQLRequest::Execute(def);
}

ImportLobRequest::ImportLobRequest(const NotificationCallbacksPtr& notifications,
                                   const ConnectionRequestCallbackPtr& connections,
                                   const qxdb::LobLocator& lobLocator,
                                   const std::list<std::string>& rowValues, const std::string& file)
    : LobRequest(notifications, connections), locator(lobLocator), values(rowValues), fileName(file) {}

ImportLobRequest::ImportLobRequest(const NotificationCallbacksPtr& notifications,
                                   const ConnectionRequestCallbackPtr& connections, LobExtract& lob)
    : ImportLobRequest(notifications, connections, lob.GetLobLocator(), lob.GetValueList(),
                       lob.GetFileName()) {}

ImportLobRequest::~ImportLobRequest() = default;

bool ImportLobRequest::Execute(const qxdbsrd::ConnectionDefElement& def, qxdb::Connection& connection) {
    CheckCancelled();
    UseDatabase(def, connection);
    NotifyRequestBegin();
    locator.Import(fileName, connection, &values);
    NotifyLobImported();
    NotifyRequestEnd();
    return true;
}

bool ImportLobRequest::Execute(const qxdbsrd::ConnectionDefElement& def) {
    return SQLRequest::Execute(def);
}

}  // namespace qxdbsqlengine
