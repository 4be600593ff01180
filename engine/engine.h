// The worker thread of the system.
#pragma once

#include <atomic>
#include <deque>
#include <memory>

#include "engine/request.h"
#include "platform/export.h"
#include "platform/qxutils/contained_thread.h"
#include "platform/qxutils/critical_section.h"
#include "platform/qxutils/event.h"

namespace qxdbsqlengine {

using qxutils::ThreadAttributes;
using qxutils::ThreadPtr;

// A thread with a queue of requests, reached through ThreadPtr<IEngine>. Any thread may call it. It runs from
// Start until Stop, and is not started again: a stopped engine is replaced by a new one. When the last
// ThreadPtr goes it stops by itself.
class QXSENG2_API IEngine : public qxutils::ContainedThread {
  public:
    explicit IEngine(ThreadAttributes* attributes);
    ~IEngine() override;

    // Copies the definition, which every request gets, and lets the thread begin. No request runs before.
    virtual void Start(const ConnectionDefElement& def) = 0;
    // Asks the loop to end after the request that runs; does not wait, and does not touch that request. With
    // `cancelQueued` the first waiting request is cancelled; what waits never runs. Only the first call
    // counts. Also on the engine thread. Throws "Unable to acquire lock!".
    virtual void Stop(bool cancelQueued) = 0;
    // The engine's copy; valid as long as the engine.
    virtual ConnectionDefElement& GetConnectionDefElement() = 0;
    // Work is queued or running. Stays true for good when the loop was ended by an exception.
    virtual bool IsExecuting() const = 0;
    // Takes a waiting request out of the queue; the first one is cancelled instead, and stays. True also for
    // an id that does not wait (any more). False when the cancel failed: the engine stops then, and from now
    // on refuses every further call. Throws "Unable to acquire lock!".
    virtual bool CancelRequest(int id) = 0;
};

// A waiting request.
struct QueueEntry {
    int id;
    RequestPtr request;
};

// The state of an engine, shared by its thread and its callers.
struct EngineData {
    EngineData();
    ~EngineData();

    ConnectionDefElement connectionDef;
    std::atomic<bool> executing{false};      // work is queued or running
    std::atomic<bool> stopRequested{false};  // the loop must end
    std::deque<QueueEntry> queue;            // oldest first; guarded by lock
    qxutils::CriticalSection lock;           // never held while a request runs
    qxutils::Event wakeEvent;                // signalled while there is work; reset by the loop under lock
    int nextRequestId = 1;                   // guarded by lock
    bool discarded = false;                  // a cancel of the first request failed; guarded by lock
};

// The engine for requests held by `Ptr`; the library has the one for RequestPtr.
template <class Ptr>
class QXSENG2_API EngineT : public IEngine {
  public:
    explicit EngineT(ThreadAttributes* attributes);
    ~EngineT() override;

    // Appends the request and wakes the thread. Returns its id: 1 for the first, one more for each next.
    // Throws "Unable to acquire lock!".
    int QueueRequest(Ptr& request);
    // True while the request waits in the queue. Throws "Unable to acquire lock!".
    bool IsQueued(const Ptr& request) const;

    void Start(const ConnectionDefElement& def) override;
    void Stop(bool cancelQueued) override;
    ConnectionDefElement& GetConnectionDefElement() override;
    bool IsExecuting() const override;
    bool CancelRequest(int id) override;

  protected:
    // Runs one request after the other. Whatever leaves a request becomes an error notification and a
    // request-end notification of that request, and the loop goes on; requests that do not notify fail
    // silently.
    void Run() override;
    void NoMoreReferences() override;

  private:
    void RunQueue();
    bool TakeRequest(Ptr& request);
    void RunRequest(Request& request);

    std::unique_ptr<EngineData> data;
};

extern template class EngineT<RequestPtr>;

class QXSENG2_API Engine : public EngineT<RequestPtr> {
  public:
    explicit Engine(ThreadAttributes* attributes);
    ~Engine() override;

    // A new engine, not started. Null when the system gives no thread.
    static ThreadPtr<IEngine> Create();
};

}  // namespace qxdbsqlengine
