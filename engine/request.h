// The unit of work of an engine thread.
#pragma once

#include <atomic>

#include "engine/cancellation.h"
#include "platform/export.h"
#include "platform/qxdbsrd/connection_def_element.h"
#include "platform/smart_ptr.h"

namespace qxdb {
class Connection;
}

namespace qxdbsqlengine {

using qxdbsrd::ConnectionDefElement;

// Base of everything that can be queued on an engine.
//
// Owned through RequestPtr, by the director, by the engine's queue and by the engine while it runs; the last
// of them deletes it, on whatever thread that is. Execute runs on one thread at a time; Cancel and
// IsCancelled may be called from any thread.
class QXSENG2_API Request {
  public:
    Request();
    virtual ~Request();
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    // Runs the whole request over `connection`, or over one that it obtains itself. What leaves them by
    // exception is turned into notifications by the engine. Here they do nothing and return false.
    virtual bool Execute(const ConnectionDefElement& def, qxdb::Connection& connection);
    virtual bool Execute(const ConnectionDefElement& def);
    // Asks the run to end. True when nothing is left to be waited for; here always. There is no way back: a
    // cancelled request stays cancelled.
    virtual bool Cancel();
    virtual bool IsCancelled();
    // Called on the thread of the run, right before CancelledException is thrown.
    virtual void OnCancelled();

  protected:
    // For the places where a run may end: throws CancelledException when the request was cancelled.
    void CheckCancelled();

  private:
    [[noreturn]] void ThrowCancelled();

    std::atomic<bool> cancelled{false};
};

using RequestPtr = SmartPtr<Request>;

}  // namespace qxdbsqlengine
