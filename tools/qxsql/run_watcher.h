// What a run tells, as a queue of events for the main thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>

#include "engine/callbacks.h"
#include "platform/qxsplt/errors.h"

namespace qxsql {

struct RunEvent {
    enum Kind { Error, ResultBegin, ResultEnd, RequestEnd };
    Kind kind;
    int resultSet = -1;
    qxdbsqlengine::ResultSetType type = qxdbsqlengine::ResultSetNormal;
    Errors errors;
};

// Registered with a director; its callbacks run on the engine thread and only queue events, so that the
// engine never waits for the screen. Must outlive the run.
class RunWatcher final : public qxdbsqlengine::ErrorCallback,
                         public qxdbsqlengine::RequestCallback,
                         public qxdbsqlengine::ResultSetCallback {
  public:
    // The next event, or nothing when none comes within `patience`. Main thread.
    std::optional<RunEvent> Next(std::chrono::milliseconds patience);

    void OnError(const Errors& errors) override;
    void OnRequestBegin(double elapsed) override;
    void OnRequestEnd(double elapsed) override;
    void OnCancelFailed(double elapsed) override;
    void OnPreResultSetBegin(double elapsed, int resultSetId, qxdbsqlengine::ResultSetType type) override;
    void OnResultSetBegin(double elapsed, int resultSetId, qxdbsqlengine::ResultSetType type) override;
    void OnResultSetUpdate(double elapsed, int resultSetId, int rows) override;
    void OnResultSetEnd(double elapsed, int resultSetId) override;

  private:
    void Push(RunEvent event);

    std::mutex lock;
    std::condition_variable arrived;
    std::deque<RunEvent> events;
};

}  // namespace qxsql
