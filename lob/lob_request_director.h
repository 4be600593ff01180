// The director of one transfer of a large object.
#pragma once

#include <list>
#include <string>

#include "engine/director.h"
#include "lob/lob_request.h"
#include "platform/export.h"

namespace qxdbsqlengine {

// Saves one large object to a file, or loads a file into one, on a thread of its own:
//
//   LobExtract lob = store->GetLob(resultSet, row, column);
//   CLobRequestDirector director(def, connections, lob, CLobRequestDirector::Export);
//   director.RegisterCallback(...);          // OnLobExtracted gives the name of the file
//   director.Execute();
//
// What is transferred is fixed when the director is made; each Execute transfers it again, to or from the
// same file. A run on an engine gives OnRequestBegin and OnRequestEnd twice: once around the transfer, and
// once around the run. The director is idle with the first end, but its engine is not: start the next run
// when IsExecuting is false. ExecuteDirect gives one pair; its text and type mean nothing. GetDataStorage
// gives a store that stays empty.
//
// Threads, ownership and failures are those of the base. Destroying the director ends the notifications, and
// leaves a transfer under way to end by itself.
class QXSENG2_API CLobRequestDirector : public CSingleRequestDirector {
  public:
    // Every value but Import means an export.
    enum Direction : int { Import = 0, Export = 1 };

    // See ExportLobRequest and ImportLobRequest.
    CLobRequestDirector(const ConnectionDefElement& connectionDef,
                        const ConnectionRequestCallbackPtr& connectionRequestCallback,
                        const qxdb::LobLocator& locator, const std::list<std::string>& rowValues,
                        const std::string& file, Direction direction);
    CLobRequestDirector(const ConnectionDefElement& connectionDef,
                        const ConnectionRequestCallbackPtr& connectionRequestCallback, LobExtract& lob,
                        Direction direction);
    ~CLobRequestDirector() override;

    // A transfer has no clone: null.
    CSingleRequestDirector* CloneDirector() override;
};

}  // namespace qxdbsqlengine
