#include "lob/lob_request_director.h"

namespace qxdbsqlengine {

namespace {

template <class... Transfer>
RequestPtr MakeRequest(CLobRequestDirector::Direction direction, Transfer&&... transfer) {
    return direction == CLobRequestDirector::Import ? RequestPtr(new ImportLobRequest(transfer...))
                                                    : RequestPtr(new ExportLobRequest(transfer...));
}

}  // namespace

CLobRequestDirector::CLobRequestDirector(const ConnectionDefElement& def,
                                         const ConnectionRequestCallbackPtr& connections,
                                         const qxdb::LobLocator& locator,
                                         const std::list<std::string>& rowValues, const std::string& file,
                                         Direction direction)
    : CSingleRequestDirector(def, connections, nullptr, std::string(), false) {
    SetRequest(MakeRequest(direction, GetNotificationCallbacks(), connections, locator, rowValues, file));
}

CLobRequestDirector::CLobRequestDirector(const ConnectionDefElement& def,
                                         const ConnectionRequestCallbackPtr& connections, LobExtract& lob,
                                         Direction direction)
    : CSingleRequestDirector(def, connections, nullptr, std::string(), false) {
    SetRequest(MakeRequest(direction, GetNotificationCallbacks(), connections, lob));
}

// The request goes first, so that leaving the run finds nothing to cancel: a transfer can't be stopped, and a
// watchdog would only wait for it.
CLobRequestDirector::~CLobRequestDirector() {
    SetRequest(RequestPtr());
    LeaveRun();
}

CSingleRequestDirector* CLobRequestDirector::CloneDirector() {
    return nullptr;
}

}  // namespace qxdbsqlengine
