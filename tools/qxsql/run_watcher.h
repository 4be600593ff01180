// What a run tells, as a queue of events for the main thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>

#include "engine/callbacks.h"
#include "engine/director.h"
#include "platform/qxsplt/errors.h"
#include "storage/data_storage.h"

namespace qxsql {

struct RunEvent {
    enum Kind { Error, ResultBegin, ResultEnd, ItemBegin, ItemEnd, CancelFailed, RequestEnd };
    Kind kind = RequestEnd;
    int resultSet = -1;
    qxdbsqlengine::ResultSetType type = qxdbsqlengine::ResultSetNormal;
    int line = 0;           // of ItemBegin: where it begins in the script, 0 outside one
    bool executed = false;  // of ItemEnd: a statement was sent to the server
    int messages = 0;       // of ItemEnd: rows of the message result set `resultSet`, if one is open
    Errors errors;
};

// Registered with a director; its callbacks run on the engine thread and only queue events, so that the
// engine waits for the screen only when it is thousands of events ahead.
class RunWatcher final : public qxdbsqlengine::ErrorCallback,
                         public qxdbsqlengine::RequestCallback,
                         public qxdbsqlengine::ExecutionCallback,
                         public qxdbsqlengine::ResultSetCallback,
                         public qxdbsqlengine::BatchCallback {
  public:
    RunWatcher() = default;
    // Lets go an engine thread that waits for room.
    ~RunWatcher();
    RunWatcher(const RunWatcher&) = delete;
    RunWatcher& operator=(const RunWatcher&) = delete;

    // Registers itself with the director, which must go first.
    void Watch(qxdbsqlengine::CSingleRequestDirector& director);
    // The next event, or nothing when none comes within `patience`. Beginnings and ends of items may come as
    // late as that. Main thread.
    std::optional<RunEvent> Next(std::chrono::milliseconds patience);
    // From now on events are dropped. Main thread.
    void Close();

    void OnError(const Errors& errors) override;
    void OnRequestBegin(double elapsed) override;
    void OnRequestEnd(double elapsed) override;
    void OnCancelFailed(double elapsed) override;
    void OnExecuteBegin(double elapsed) override;
    void OnExecuteEnd(double elapsed) override;
    void OnPreResultSetBegin(double elapsed, int resultSetId, qxdbsqlengine::ResultSetType type) override;
    void OnResultSetBegin(double elapsed, int resultSetId, qxdbsqlengine::ResultSetType type) override;
    void OnResultSetUpdate(double elapsed, int resultSetId, int rows) override;
    void OnResultSetEnd(double elapsed, int resultSetId) override;
    void OnBatchItemBegin(double elapsed, int itemIndex, int itemValue) override;
    void OnBatchItemEnd(double elapsed, int rowCount,
                        const qxdbsqlengine::ParameterList& parameters) override;

  private:
    void Push(RunEvent event);

    // Engine thread only.
    qxdbsqlengine::DataStorage store;  // a handle of its own
    int messageSet = -1;               // the open message result set
    bool executed = false;             // by the item under way

    std::mutex lock;
    // Guarded by lock.
    std::condition_variable arrived;
    std::condition_variable taken;
    std::deque<RunEvent> events;
    bool closed = false;
};

}  // namespace qxsql
