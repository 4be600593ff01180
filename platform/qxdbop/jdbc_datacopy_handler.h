// Data copies: the items of a script that move data between servers.
//
// Such an item begins with the word DATACOPY, in any case; what follows is a matter between whoever writes
// the script and the library that runs it. The engine hands the whole text of the item over, together with
// what the library knows the present server by. The copy runs over connections of the library's own, on the
// thread of the run, and may take as long as it likes.
//
// The engine brings no such library: whoever has one registers it here.
#pragma once

#include <functional>
#include <memory>

#include "platform/export.h"
#include "platform/qxdbop/java_error.h"
#include "platform/qxdbop/server_identifier.h"
#include "platform/qxutils/java_string.h"

namespace qxdbop {

using qxutils::JavaString;

// Implemented by the library that runs data copies: one object for each copy. Both operations throw
// JavaError.
class QXSENG2_API DatacopyImpl {
  public:
    virtual ~DatacopyImpl();
    // The command, as it stands in the script. Called once, before Run.
    virtual void Init(const JavaString& command) = 0;
    // Returns when the copy is done.
    virtual void Run() = 0;
};

using DatacopyFactory = std::function<std::unique_ptr<DatacopyImpl>(const ServerIdentifier& server)>;

// What data copies are run by from now on, in place of what was registered before; an empty factory leaves
// none. Any thread; copies under way go on.
QXSENG2_API void RegisterDatacopy(DatacopyFactory factory);

// One data copy, as the engine runs it: made, `init`, `run`. One thread. Without a registered library `init`
// and `run` throw JavaError "Data copy is not possible: no data-operations library is registered.".
class QXSENG2_API JDBCDatacopyHandler {
  public:
    explicit JDBCDatacopyHandler(const ServerIdentifier& server);
    ~JDBCDatacopyHandler();
    JDBCDatacopyHandler(const JDBCDatacopyHandler&) = delete;
    JDBCDatacopyHandler& operator=(const JDBCDatacopyHandler&) = delete;

    void init(const JavaString& command);
    void run();

  private:
    DatacopyImpl& Impl();

    std::unique_ptr<DatacopyImpl> impl;
};

}  // namespace qxdbop
