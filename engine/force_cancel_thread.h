// The watchdog of a cancelled run. Internal to the director.
#pragma once

#include "engine/cancel_times.h"
#include "engine/engine.h"
#include "engine/request.h"
#include "platform/qxutils/contained_thread.h"
#include "platform/qxutils/event.h"

namespace qxdbsqlengine {

// Gives the engine of a cancelled run 15 seconds to become idle. When the time is up it reports the run as
// failed (OnError, OnCancelFailed), on its own thread and through the request, so that it may outlive the
// director; the engine's thread is left behind inside the driver.
class ForceCancelThread final : public qxutils::ContainedThread {
  public:
    explicit ForceCancelThread(qxutils::ThreadAttributes* attributes);
    ~ForceCancelThread() override;

    // Not started. Null when the system gives no thread.
    static qxutils::ThreadPtr<ForceCancelThread> Create();

    // Begins to watch, once. Without an engine there is nothing to stop or to give up. The event is signalled
    // when the run has ended in time, and never when it was given up; a wait for it takes 10 000 ms at most.
    // It is valid as long as the thread is held.
    qxutils::Event& Start(const ThreadPtr<IEngine>& runningEngine, const RequestPtr& runningRequest);

  protected:
    void Run() override;
    void NoMoreReferences() override;

  private:
    bool EngineIsIdle() const;
    bool RequestWaits() const;
    bool EndsInTime();
    void GiveUp();

    const CancelTimes times;
    ThreadPtr<IEngine> engine;
    RequestPtr request;
    qxutils::Event finished;
    bool started = false;
};

}  // namespace qxdbsqlengine
