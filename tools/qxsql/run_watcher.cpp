#include "tools/qxsql/run_watcher.h"

#include <utility>

namespace qxsql {

std::optional<RunEvent> RunWatcher::Next(std::chrono::milliseconds patience) {
    std::unique_lock<std::mutex> guard(lock);
    if (!arrived.wait_for(guard, patience, [this] { return !events.empty(); }))
        return std::nullopt;
    RunEvent event = std::move(events.front());
    events.pop_front();
    return event;
}

void RunWatcher::Push(RunEvent event) {
    // Notified under the lock: behind the last event the main thread destroys this object.
    const std::lock_guard<std::mutex> guard(lock);
    events.push_back(std::move(event));
    arrived.notify_one();
}

void RunWatcher::OnError(const Errors& errors) {
    RunEvent event{RunEvent::Error, -1, qxdbsqlengine::ResultSetNormal, errors};
    Push(std::move(event));
}

void RunWatcher::OnRequestBegin(double) {}

void RunWatcher::OnRequestEnd(double) {
    Push({RunEvent::RequestEnd, -1, qxdbsqlengine::ResultSetNormal, Errors()});
}

void RunWatcher::OnCancelFailed(double) {
    Push({RunEvent::RequestEnd, -1, qxdbsqlengine::ResultSetNormal, Errors()});
}

void RunWatcher::OnPreResultSetBegin(double, int, qxdbsqlengine::ResultSetType) {}

void RunWatcher::OnResultSetBegin(double, int resultSetId, qxdbsqlengine::ResultSetType type) {
    Push({RunEvent::ResultBegin, resultSetId, type, Errors()});
}

void RunWatcher::OnResultSetUpdate(double, int, int) {}

void RunWatcher::OnResultSetEnd(double, int resultSetId) {
    Push({RunEvent::ResultEnd, resultSetId, qxdbsqlengine::ResultSetNormal, Errors()});
}

}  // namespace qxsql
