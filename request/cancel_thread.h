// The thread that a driver's cancel runs on. Internal to the request.
#pragma once

#include "platform/qxdb/statement.h"
#include "platform/qxutils/contained_thread.h"
#include "platform/qxutils/event.h"

namespace qxdbsqlengine {

// Cancels one statement, so that the caller of SQLRequest::Cancel can stop waiting for a driver whose cancel
// blocks. Nobody waits for the thread itself; one that never comes back is left behind.
//
// It holds a handle of its own on the statement. Once the caller has given up waiting, the engine thread may
// end the statement while the driver is still inside this cancel: the statement must not go from under it.
class CancelThread final : public qxutils::ContainedThread {
  public:
    explicit CancelThread(qxutils::ThreadAttributes* attributes);
    ~CancelThread() override;

    // Not started. Null when the system gives no thread.
    static qxutils::ThreadPtr<CancelThread> Create();

    // Begins the cancel, once. The event is signalled when the driver's cancel has come back; a wait for it
    // takes 2000 ms at most. It is valid as long as the thread is held.
    qxutils::Event& Start(const qxdb::Statement& running);

  protected:
    void Run() override;
    void NoMoreReferences() override;

  private:
    qxdb::Statement statement;  // null until Start, and again when the cancel has come back
    qxutils::Event finished;
};

}  // namespace qxdbsqlengine
